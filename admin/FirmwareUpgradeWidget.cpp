#include "FirmwareUpgradeWidget.h"
#include "ui_FirmwareUpgradeWidget.h"

#include "DeviceController.h"
#include "DialogUtil.h"
#include "MessageBoxUtil.h"

FirmwareUpgradeWidget::FirmwareUpgradeWidget(QWidget* parent)
    : QWidget(parent), ui(new Ui::FirmwareUpgradeWidget), m_controller(new DeviceController(this))
{
    ui->setupUi(this);
    ui->progressBar->setValue(0);
    setBusy(false);
    connect(m_controller, &DeviceController::returnFirmwareUpgradeProgress, this,
            &FirmwareUpgradeWidget::updateProgress);
    connect(m_controller, &DeviceController::returnFirmwareResult, this, &FirmwareUpgradeWidget::updateResult);
    connect(m_controller, &DeviceController::busyChanged, this, &FirmwareUpgradeWidget::setBusy);
}

FirmwareUpgradeWidget::~FirmwareUpgradeWidget()
{
    delete ui;
}

void FirmwareUpgradeWidget::setBusy(bool busy)
{
    // An upload or a restart under way: a second one must not start beside it.
    ui->label_busy->setVisible(busy);
    for (QWidget* control : {static_cast<QWidget*>(ui->button_select_file), static_cast<QWidget*>(ui->button_upgrade),
                             static_cast<QWidget*>(ui->button_reboot), static_cast<QWidget*>(ui->edit_path)})
        control->setEnabled(!busy);
}

void FirmwareUpgradeWidget::setDevice(Device& device)
{
    m_device = device;
}

void FirmwareUpgradeWidget::on_button_select_file_clicked()
{
    const QString path = DialogUtil::getOpenFileName(this, tr("选择文件"), QString(), QStringLiteral("*.tmp"));
    if (!path.isEmpty())
        ui->edit_path->setText(path);
}

void FirmwareUpgradeWidget::on_button_upgrade_clicked()
{
    QString path = ui->edit_path->text();
    if (path.isEmpty())
        return;
    ui->progressBar->setValue(0);
    emit m_controller->firmwareUpgrade(m_device, path);
}

void FirmwareUpgradeWidget::updateProgress(int percent)
{
    ui->progressBar->setValue(percent);
}

void FirmwareUpgradeWidget::updateResult(bool ok, const QString& reason)
{
    if (ok)
        MessageBoxUtil::infoMsg(this, tr("Velkor 消息"),
                                tr("更新文件上传成功，服务器已关闭服务器进行更新工作，整个过程需时约3分钟。更新完成后服务器将自动重新开启服务，期间请保证服务器电源稳定。"));
    else
        MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), tr("更新失败：%1").arg(reason));
    ui->progressBar->setValue(0);
}

void FirmwareUpgradeWidget::on_button_reboot_clicked()
{
    if (MessageBoxUtil::question(this, tr("Velkor 消息"),
                                 tr("此操作将影响当前用户工作数据,并且服务器将重新启动，您确定要继续吗?"),
                                 QMessageBox::Warning)
        != QMessageBox::Yes)
        return;
    emit m_controller->rebootDevice(m_device);
}

void FirmwareUpgradeWidget::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange)
        ui->retranslateUi(this);
    QWidget::changeEvent(event);
}

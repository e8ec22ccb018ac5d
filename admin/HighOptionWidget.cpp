#include "HighOptionWidget.h"
#include "ui_HighOptionWidget.h"

#include "DeviceController.h"
#include "MessageBoxUtil.h"

HighOptionWidget::HighOptionWidget(QWidget* parent)
    : QWidget(parent), ui(new Ui::HighOptionWidget), m_controller(new DeviceController(this))
{
    ui->setupUi(this);
    setBusy(false);
    connect(m_controller, &DeviceController::returnHighOption, this, &HighOptionWidget::showHighOption);
    connect(m_controller, &DeviceController::returnSetHighOptionResult, this,
            &HighOptionWidget::showSetHighOptionResult);
    connect(m_controller, &DeviceController::busyChanged, this, &HighOptionWidget::setBusy);
}

HighOptionWidget::~HighOptionWidget()
{
    delete ui;
}

void HighOptionWidget::setBusy(bool busy)
{
    ui->label_busy->setVisible(busy);
    ui->edit_high_option->setReadOnly(busy);
    ui->button_apply->setEnabled(!busy);
}

void HighOptionWidget::setDevice(Device& device)
{
    m_device = device;
    ui->edit_high_option->clear();
    emit m_controller->getHighOptionSetting(m_device);
}

void HighOptionWidget::showHighOption(QString& text)
{
    ui->edit_high_option->setPlainText(text);
}

void HighOptionWidget::on_button_apply_clicked()
{
    QString text = ui->edit_high_option->toPlainText();
    // An empty file would wipe the device's settings; it is what a failed load leaves.
    if (text.trimmed().isEmpty())
        return;
    emit m_controller->setHighOption(m_device, text);
}

void HighOptionWidget::showSetHighOptionResult(bool ok)
{
    if (ok)
        MessageBoxUtil::infoMsg(this, tr("Velkor 消息"), tr("修改高级参数设置成功"));
    else
        MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), tr("修改高级参数设置失败"));
}

void HighOptionWidget::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange)
        ui->retranslateUi(this);
    QWidget::changeEvent(event);
}

#include "FaxQueueWidget.h"
#include "ui_FaxQueueWidget.h"

#include "DeviceController.h"
#include "DeviceFaxUtil.h"

namespace {

enum Column { COL_SERVER, COL_TASK, COL_FILE, COL_PRIORITY, COL_NUMBER, COL_RECEIVER, COL_SENDER, COL_DIAL, COL_TIME,
              COL_REMARK };

} // namespace

FaxQueueWidget::FaxQueueWidget(QWidget* parent)
    : QWidget(parent), ui(new Ui::FaxQueueWidget), m_controller(new DeviceController(this))
{
    ui->setupUi(this);
    DeviceFaxUtil::prepareTable(ui->tableWidget, headers());
    setBusy(false);
    connect(m_controller, &DeviceController::returnFaxQueue, this, &FaxQueueWidget::showFaxQueueList);
    connect(m_controller, &DeviceController::returnSendFaxPause, this, &FaxQueueWidget::sendFaxPauseResult);
    connect(m_controller, &DeviceController::returnFaxFilePathResult, this, &FaxQueueWidget::viewFaxFile);
    connect(m_controller, &DeviceController::busyChanged, this, &FaxQueueWidget::setBusy);
}

FaxQueueWidget::~FaxQueueWidget()
{
    delete ui;
}

QStringList FaxQueueWidget::headers() const
{
    return {tr("服务器"), tr("任务编号"), tr("文件编号"), tr("发送优先级"), tr("传真号码"),
            tr("收件人"), tr("发件人"), tr("拨号重试"), tr("发送时间"), tr("文字备注")};
}

void FaxQueueWidget::setBusy(bool busy)
{
    ui->label_busy->setVisible(busy);
    for (QPushButton* button : {ui->button_refresh, ui->button_stop_send, ui->button_content})
        button->setEnabled(!busy);
}

void FaxQueueWidget::setDevice(Device& device)
{
    m_device = device;
    emit m_controller->getFaxQueue(m_device);
}

void FaxQueueWidget::on_button_refresh_clicked()
{
    emit m_controller->getFaxQueue(m_device);
}

void FaxQueueWidget::clearWidget()
{
    ui->tableWidget->setRowCount(0);
}

void FaxQueueWidget::showFaxQueueList(QList<Fax>& faxes)
{
    clearWidget();
    for (const Fax& fax : faxes)
        DeviceFaxUtil::appendRow(ui->tableWidget,
                                 {fax.serverID, QString::number(fax.taskID), fax.file,
                                  DeviceFaxUtil::priorityText(fax.priority), fax.cid, fax.receiver, fax.sender,
                                  QStringLiteral("%1/%2").arg(fax.dialAlready).arg(fax.dialTotal), fax.time,
                                  fax.remark});
}

void FaxQueueWidget::on_button_stop_send_clicked()
{
    m_stopping = DeviceFaxUtil::currentText(ui->tableWidget, COL_TASK);
    if (m_stopping.isEmpty())
        return;
    emit m_controller->sendFaxPause(m_device, m_stopping);
}

void FaxQueueWidget::sendFaxPauseResult()
{
    // The device stopped the task: its row goes (found by number, wherever the selection is).
    DeviceFaxUtil::removeRow(ui->tableWidget, COL_TASK, m_stopping);
    m_stopping.clear();
}

void FaxQueueWidget::on_button_content_clicked()
{
    QString file = DeviceFaxUtil::currentText(ui->tableWidget, COL_FILE);
    if (file.isEmpty())
        return;
    QString name = DeviceFaxUtil::localName(DeviceFaxUtil::currentText(ui->tableWidget, COL_TIME), file);
    emit m_controller->downloadFaxFile(m_device, file, name);
}

void FaxQueueWidget::viewFaxFile(QString& path)
{
    DeviceFaxUtil::openInEditor(path, this);
}

void FaxQueueWidget::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        ui->retranslateUi(this);
        ui->tableWidget->setHorizontalHeaderLabels(headers());
    }
    QWidget::changeEvent(event);
}

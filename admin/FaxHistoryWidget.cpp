#include "FaxHistoryWidget.h"
#include "ui_FaxHistoryWidget.h"

#include "DeviceController.h"
#include "DeviceFaxUtil.h"
#include "MessageBoxUtil.h"

#include <QSignalBlocker>

namespace {

enum Column { COL_DIRECTION, COL_RECEIVER, COL_SENDER, COL_NUMBER, COL_TIME, COL_DURATION, COL_STATUS, COL_TASK,
              COL_FILE, COL_SERVER, COL_LINE, COL_SPEED };

// Faxes the device received are addressed to this receiver.
const QString PUBLIC_RECEIVER = QStringLiteral("public");

} // namespace

FaxHistoryWidget::FaxHistoryWidget(QWidget* parent)
    : QWidget(parent), ui(new Ui::FaxHistoryWidget), m_controller(new DeviceController(this))
{
    ui->setupUi(this);
    DeviceFaxUtil::prepareTable(ui->tableWidget, headers());
    ui->combo_user->addItem(tr("所有用户"));
    const QDate today = QDate::currentDate();
    ui->date_begin->setDate(today.addMonths(-1));
    ui->date_end->setDate(today);
    setBusy(false);
    connect(m_controller, &DeviceController::returnUserList, this, &FaxHistoryWidget::showUserList);
    connect(m_controller, &DeviceController::returnFaxQueue, this, &FaxHistoryWidget::showFaxQueueList);
    connect(m_controller, &DeviceController::returnDeleteFaxResult, this, &FaxHistoryWidget::deleteFaxResult);
    connect(m_controller, &DeviceController::returnFaxFilePathResult, this, &FaxHistoryWidget::viewFaxFile);
    connect(m_controller, &DeviceController::busyChanged, this, &FaxHistoryWidget::setBusy);
}

FaxHistoryWidget::~FaxHistoryWidget()
{
    delete ui;
}

QStringList FaxHistoryWidget::headers() const
{
    return {tr("方向"), tr("收件人"), tr("发件人"), tr("传真号码"), tr("时间"), tr("耗时(秒)"),
            tr("状态"), tr("任务编号"), tr("文件编号"), tr("服务器编号"), tr("线路"), tr("速度(bps)")};
}

void FaxHistoryWidget::setBusy(bool busy)
{
    ui->label_busy->setVisible(busy);
    for (QPushButton* button : {ui->button_search, ui->button_delete, ui->button_content})
        button->setEnabled(!busy);
}

void FaxHistoryWidget::setDevice(Device& device)
{
    m_device = device;
    emit m_controller->getUserList(m_device);
}

void FaxHistoryWidget::showUserList(QString& list)
{
    // "所有用户" stays first; the accounts are listed anew on every load.
    const QSignalBlocker blocker(ui->combo_user);
    while (ui->combo_user->count() > 1)
        ui->combo_user->removeItem(1);
    ui->combo_user->addItems(list.split(QLatin1Char(','), Qt::SkipEmptyParts));
}

void FaxHistoryWidget::on_check_send_toggled(bool checked)
{
    // One direction always stays chosen.
    ui->check_recv->setEnabled(checked);
}

void FaxHistoryWidget::on_check_recv_toggled(bool checked)
{
    ui->check_send->setEnabled(checked);
}

void FaxHistoryWidget::on_button_search_clicked()
{
    QString user = ui->combo_user->currentIndex() <= 0 ? QString() : ui->combo_user->currentText();
    QString begin = ui->date_begin->date().toString(QStringLiteral("yyyy-MM-dd")) + QStringLiteral(" 00:00:01");
    QString end = ui->date_end->date().toString(QStringLiteral("yyyy-MM-dd")) + QStringLiteral(" 23:59:59");
    const bool send = ui->check_send->isChecked();
    const bool recv = ui->check_recv->isChecked();
    QString type = send && recv ? QStringLiteral("recvsend") : send ? QStringLiteral("send") : QStringLiteral("recv");
    QString number = ui->edit_faxNumber->text();
    emit m_controller->getFaxHistory(m_device, user, begin, end, type, number);
}

void FaxHistoryWidget::clearWidget()
{
    ui->tableWidget->setRowCount(0);
}

void FaxHistoryWidget::showFaxQueueList(QList<Fax>& faxes)
{
    clearWidget();
    for (const Fax& fax : faxes) {
        const bool received = fax.receiver == PUBLIC_RECEIVER;
        DeviceFaxUtil::appendRow(ui->tableWidget,
                                 {received ? tr("接收") : tr("发送"), fax.receiver, fax.sender,
                                  received ? fax.numberDialled : fax.cid, fax.time, QString::number(fax.duration),
                                  DeviceFaxUtil::statusText(fax.status), QString::number(fax.taskID), fax.file,
                                  fax.serverID, QString::number(fax.line), QString::number(fax.trainingValue)});
    }
}

void FaxHistoryWidget::on_button_delete_clicked()
{
    m_deleting = DeviceFaxUtil::currentText(ui->tableWidget, COL_TASK);
    if (m_deleting.isEmpty())
        return;
    emit m_controller->deleteFax(m_device, m_deleting);
}

void FaxHistoryWidget::deleteFaxResult(int result)
{
    if (result == 0)
        DeviceFaxUtil::removeRow(ui->tableWidget, COL_TASK, m_deleting);
    else if (result == 1)
        MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), tr("当前设置不允许彻底删除"));
    else
        MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), tr("删除失败"));
    m_deleting.clear();
}

void FaxHistoryWidget::on_button_content_clicked()
{
    QString file = DeviceFaxUtil::currentText(ui->tableWidget, COL_FILE);
    if (file.isEmpty())
        return;
    QString name = DeviceFaxUtil::localName(DeviceFaxUtil::currentText(ui->tableWidget, COL_TIME), file);
    emit m_controller->downloadFaxFile(m_device, file, name);
}

void FaxHistoryWidget::viewFaxFile(QString& path)
{
    DeviceFaxUtil::openInEditor(path, this);
}

void FaxHistoryWidget::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        ui->retranslateUi(this);
        ui->tableWidget->setHorizontalHeaderLabels(headers());
        ui->combo_user->setItemText(0, tr("所有用户"));
    }
    QWidget::changeEvent(event);
}

#include "SendBoxWidget.h"

#include "ui_SendBoxWidget.h"

#include "DatabaseManager.h"
#include "FaxExporter.h"
#include "FaxRows.h"
#include "FaxStatus.h"
#include "FaxTable.h"
#include "LogUtil.h"
#include "MessageBoxUtil.h"
#include "SendFaxController.h"
#include "TiffUtil.h"
#include "TimeUtil.h"

#include <QCursor>
#include <QEvent>
#include <QItemSelectionModel>
#include <QMenu>
#include <QPainter>

namespace {
const QString HEADER_KEY = QStringLiteral("send_column_sort");
constexpr int STATUS_INTERVAL_MS = 2000;
constexpr int COLUMN_STATUS = 0;
constexpr int COLUMN_TASK = 1;
constexpr int COLUMN_PAGES = 5;
constexpr int COLUMN_DIALS = 6;
constexpr int COLUMN_TIME = 7;
constexpr int COLUMN_REMARK = 8;
constexpr int COLUMN_ISSUE = 9;

// The report page and the box its thumbnail is fitted into.
constexpr int REPORT_WIDTH = 1728;
constexpr int REPORT_HEIGHT = 2254;
constexpr int THUMB_HEIGHT = 1500;
constexpr int THUMB_WIDTH = 1428;
constexpr int THUMB_CENTRE_X = 863;
constexpr int THUMB_CENTRE_Y = 1349;
// A page taller than the box's own proportion is fitted by its height, any other by its width.
constexpr float THUMB_RATIO = float(THUMB_HEIGHT) / float(THUMB_WIDTH);

// The outbox names the states of a sent fax; a received fax's state has no word here.
QString statusWord(int status)
{
    const bool sending = (status >= FaxStatus::SEND_FAX_FAILED && status <= FaxStatus::SEND_FAX_PLAN)
        || status == FaxStatus::SEND_FAX_UPLOAD_UNKNOWN || status == FaxStatus::SEND_FAX_NOT_FOUND;
    return sending ? FaxStatus::statusText(status) : QString();
}

// The states in which the device takes a pause: queued, sending, or waiting for its plan time.
bool canPause(const Fax& fax)
{
    return fax.taskID != 0
        && (fax.status == FaxStatus::SEND_FAX_WAITTING || fax.status == FaxStatus::SEND_FAX_SENDING
            || fax.status == FaxStatus::SEND_FAX_PLAN);
}

QString dialText(const Fax& fax)
{
    return SendBoxWidget::tr("%1次(%2次)").arg(fax.dialAlready).arg(fax.dialTotal);
}
}

SendBoxWidget::SendBoxWidget(QWidget* parent)
    : QWidget(parent)
    , ui(new Ui::SendBoxWidget)
    , m_statusTimer(this)
{
    ui->setupUi(this);
    FaxTable::splitWithPreview(ui->splitter);
    FaxTable::setup(ui->tableWidget, headers(), QHeaderView::Interactive);
    ui->tableWidget->horizontalHeader()->setStretchLastSection(true);
    m_rows = std::make_unique<FaxRows>(this, ui->tableWidget, ui->imageViewer, m_faxes,
                                       [this](int row, Fax& fax) { setDatas(row, fax); });
    connect(ui->tableWidget->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            &SendBoxWidget::currentFaxChanged);
    setDefaultWidths();
    reacquire();
    FaxTable::restoreHeaderState(ui->tableWidget, HEADER_KEY);
    FaxTable::fitHeaders(ui->tableWidget);

    m_controller = new SendFaxController(this);
    connect(m_controller, &SendFaxController::saveTaskID, this, &SendBoxWidget::updateFaxTaksId);
    connect(m_controller, &SendFaxController::updateFax, this, &SendBoxWidget::updateFaxInfo);
    connect(m_controller, &SendFaxController::uploadFaxFailed, this, &SendBoxWidget::updateUploadFaxFailed);
    connect(m_controller, &SendFaxController::reUploadUnconfirmed, this, &SendBoxWidget::confirmReUpload);
    connect(m_controller, &SendFaxController::faxSent, this, &SendBoxWidget::outputSentFax);
    m_output.setMaxThreadCount(1);

    // The controller drops a tick while its previous round still runs, so a slow device does
    // not pile up rounds.
    m_statusTimer.setObjectName(QStringLiteral("statusTimer"));
    connect(&m_statusTimer, &QTimer::timeout, this, &SendBoxWidget::get_fax_status);
    m_statusTimer.start(STATUS_INTERVAL_MS);
}

SendBoxWidget::~SendBoxWidget()
{
    m_statusTimer.stop();
    FaxTable::saveHeaderState(ui->tableWidget, HEADER_KEY);
    // The controller waits for an upload or round in progress before the form goes, and a
    // copy of the automatic output is finished, not cut off.
    delete m_controller;
    m_output.waitForDone();
    delete ui;
}

// Widths that show a typical value of each column whole; a saved header state replaces them.
void SendBoxWidget::setDefaultWidths()
{
    // The status column fits its longest word, in the language shown.
    const QStringList samples{ statusWord(FaxStatus::SEND_FAX_NOT_FOUND), "000000", "普通", "02188888888",
                               "王五贸易公司", "已完成10页100%(共10页)", "10次(10次)", "2024-03-19 10:00:00",
                               "文字备注文字", "No answer", "5A3C0001" };
    const QFontMetrics metrics(ui->tableWidget->font());
    const QStringList titles = headers();
    for (int column = 0; column < samples.size(); ++column)
        ui->tableWidget->setColumnWidth(column,
            qMax(metrics.horizontalAdvance(samples.at(column)), metrics.horizontalAdvance(titles.at(column))) + 24);
}

QStringList SendBoxWidget::headers() const
{
    return { tr("状态"), tr("任务编号"), tr("优先级"), tr("传真号码"), tr("发送到"), tr("已发页数"),
             tr("拨号重试"), tr("发送时间"), tr("文字备注"), tr("失败原因"), tr("服务器") };
}

void SendBoxWidget::setDatas(int row, Fax& fax)
{
    FaxTable::setRow(ui->tableWidget, row,
        { statusWord(fax.status), QString::number(fax.taskID), FaxStatus::priorityText(fax.priority), fax.cid,
          fax.receiver, tr("已完成%1页(共%2页)").arg(fax.pageSended).arg(fax.pageTotal), dialText(fax), fax.time,
          fax.remark, fax.issue, fax.serverID });
}

void SendBoxWidget::reacquire()
{
    m_rows->showAll(DatabaseManager().querySendFaxes());
}

void SendBoxWidget::insertFaxToList(QList<Fax> faxes)
{
    for (Fax& fax : faxes) {
        m_rows->prepend(fax);
        m_uploading.insert(fax.id);
        emit m_controller->sendFax(fax);
    }
}

void SendBoxWidget::addFax(Fax& fax)
{
    fax.isDelete = 0;
    m_rows->prepend(fax);
}

void SendBoxWidget::clearSelectItems()
{
    m_rows->clearSelection();
}

Fax SendBoxWidget::getSelectItemPath()
{
    return m_rows->currentFax().value_or(Fax());
}

void SendBoxWidget::get_fax_status()
{
    emit m_controller->getFaxStatus2();
}

void SendBoxWidget::updateFaxTaksId(Fax& fax)
{
    const int row = m_faxes.indexOf(fax);
    if (row < 0)
        return;
    m_uploading.remove(fax.id);
    m_faxes[row].taskID = fax.taskID;
    m_faxes[row].status = fax.status;
    ui->tableWidget->setItem(row, COLUMN_TASK, new QTableWidgetItem(QString::number(fax.taskID)));
    ui->tableWidget->setItem(row, COLUMN_STATUS, new QTableWidgetItem(statusWord(fax.status)));
}

void SendBoxWidget::updateUploadFaxFailed(Fax& fax)
{
    m_uploading.remove(fax.id);
    const int row = m_faxes.indexOf(fax);
    if (row < 0)
        return;
    m_faxes[row].status = fax.status; // 3, or "上传结果未知" when the device may hold it
    ui->tableWidget->setItem(row, COLUMN_STATUS, new QTableWidgetItem(statusWord(fax.status)));
}

void SendBoxWidget::confirmReUpload(Fax& fax)
{
    m_uploading.remove(fax.id);
    const QString text = tr("无法查看设备的传真队列（此账号可能没有权限），不能确认发往 %1 的传真是否已在设备上。"
                            "再次上传可能使对方收到两份。\n仍要再次上传吗？")
                             .arg(fax.cid);
    if (MessageBoxUtil::question(this, tr("Velkor 消息"), text) != QMessageBox::Yes)
        return;
    m_uploading.insert(fax.id);
    emit m_controller->reUploadFax(fax, true);
}

int SendBoxWidget::uploadsUnderWay() const
{
    return m_uploading.size();
}

// One fax of a status round: the device's record, already in FAXES, shown in its row.
void SendBoxWidget::updateFaxInfo(Fax& fax)
{
    const int row = m_faxes.indexOf(fax);
    if (row < 0)
        return;
    Fax& shown = m_faxes[row];
    shown.status = fax.status;
    shown.pageTotal = fax.pageTotal;
    shown.pageSended = fax.pageSended;
    shown.pagePercent = fax.pagePercent;
    shown.dialTotal = fax.dialTotal;
    shown.dialAlready = fax.dialAlready;
    shown.sendState = fax.sendState;
    shown.trainingValue = fax.trainingValue;
    shown.duration = fax.duration;
    shown.time = fax.time;
    shown.issue = fax.issue;

    QTableWidget* table = ui->tableWidget;
    table->setItem(row, COLUMN_STATUS, new QTableWidgetItem(statusWord(shown.status)));
    table->setItem(row, COLUMN_PAGES,
        new QTableWidgetItem(FaxStatus::progressText(
            shown.sendState, shown.pageSended, shown.pagePercent, shown.pageTotal, shown.trainingValue)));
    table->setItem(row, COLUMN_DIALS, new QTableWidgetItem(dialText(shown)));
    table->setItem(row, COLUMN_TIME, new QTableWidgetItem(shown.time));
    table->setItem(row, COLUMN_ISSUE, new QTableWidgetItem(shown.issue));
}

// Writing a long fax as PDF takes a while: never on this thread.
void SendBoxWidget::outputSentFax(Fax& fax)
{
    const Fax sent = fax;
    m_output.start([sent] { FaxExporter::exportSentFax(sent); });
}

void SendBoxWidget::on_tableWidget_clicked(const QModelIndex& index)
{
    m_rows->choose(index.row());
}

void SendBoxWidget::on_tableWidget_doubleClicked(const QModelIndex& index)
{
    if (std::optional<Fax> fax = m_rows->faxAt(index.row()))
        emit showFaxDetailWindow(*fax);
}

void SendBoxWidget::on_tableWidget_customContextMenuRequested(const QPoint& pos)
{
    const int row = m_rows->rowAt(pos);
    if (row < 0)
        return;
    const int status = m_faxes.at(row).status;
    QMenu* menu = m_rows->newMenu();
    menu->addAction(tr("转发"), this, &SendBoxWidget::actionForward);
    menu->addAction(tr("重试"), this, &SendBoxWidget::actionRetry);
    menu->addAction(tr("删除"), this, &SendBoxWidget::actionDelete);
    menu->addAction(tr("添加备注"), this, &SendBoxWidget::actionRemark);
    menu->addAction(tr("内部分发"), this, &SendBoxWidget::actionDistribute);
    QAction* stop = menu->addAction(tr("暂停发送"), this, &SendBoxWidget::actionStopSend);
    stop->setEnabled(canPause(m_faxes.at(row)));
    QAction* upload = menu->addAction(tr("开始上传"), this, &SendBoxWidget::actionReUpload);
    upload->setEnabled(status == FaxStatus::SEND_FAX_UNSEND || status == FaxStatus::SEND_FAX_UPLOAD_UNKNOWN);
    menu->addAction(tr("保存为联系人"), this, &SendBoxWidget::actionAddContact);
    menu->addAction(tr("传真发送报告"), this, &SendBoxWidget::actionTransReport);
    menu->popup(QCursor::pos());
}

void SendBoxWidget::actionForward()
{
    if (std::optional<Fax> fax = m_rows->currentFax())
        emit forward(*fax);
}

void SendBoxWidget::deviceCommand(bool retry)
{
    std::optional<Fax> fax = m_rows->currentFax();
    if (!fax)
        return;
    Device device = DatabaseManager().queryDevice(fax->serverID);
    QString taskID = QString::number(fax->taskID);
    LogUtil::d(QStringLiteral("serverId:%1 , taskID:%2").arg(fax->serverID, taskID));
    // The new state arrives with a later status round.
    if (retry)
        emit m_controller->sendFaxRetry(device, taskID);
    else
        emit m_controller->sendFaxPause(device, taskID);
}

void SendBoxWidget::actionRetry()
{
    deviceCommand(true);
}

// The device keeps a paused fax; "重试" sends it on.
void SendBoxWidget::actionStopSend()
{
    const std::optional<Fax> fax = m_rows->currentFax();
    if (!fax || !canPause(*fax))
        return;
    const QString question = tr("暂停发送到 %1 的传真（任务编号 %2）？\n暂停后可用“重试”继续发送。")
                                 .arg(fax->receiver.isEmpty() ? fax->cid : fax->receiver)
                                 .arg(fax->taskID);
    if (MessageBoxUtil::question(this, QStringLiteral("Velkor"), question) == QMessageBox::Yes)
        deviceCommand(false);
}

// Only a job whose upload failed is uploaded again; there is no automatic retry of an upload.
// One the device may hold already is looked for there first.
void SendBoxWidget::actionReUpload()
{
    const int row = m_rows->currentRow();
    if (row < 0 || m_uploading.contains(m_faxes.at(row).id))
        return;
    Fax fax = m_faxes.at(row);
    if (fax.status != FaxStatus::SEND_FAX_UNSEND && fax.status != FaxStatus::SEND_FAX_UPLOAD_UNKNOWN)
        return;
    m_uploading.insert(fax.id);
    emit m_controller->reUploadFax(fax, false);
}

void SendBoxWidget::actionDelete()
{
    QList<Fax> deleted = m_rows->deleteSelected();
    if (!deleted.isEmpty())
        emit deleteFax(deleted);
}

void SendBoxWidget::actionRemark()
{
    m_rows->editRemark(COLUMN_REMARK, tr("添加备注"));
}

void SendBoxWidget::actionDistribute()
{
    m_rows->distribute();
}

void SendBoxWidget::actionAddContact()
{
    m_rows->addContact();
}

void SendBoxWidget::actionTransReport()
{
    const int row = m_rows->currentRow();
    if (row < 0)
        return;
    QImage report = makeTransReport(m_faxes.at(row));
    emit showTransReport(report);
}

QList<QPair<QString, QString>> SendBoxWidget::transReportRows(const Fax& fax)
{
    return {
        { tr("报告时间:"), TimeUtil::getNow() },
        { tr("PID:"), QStringLiteral("Velkor[") + fax.serverID + QLatin1Char(']') },
        { tr("TID:"), QString::number(fax.taskID) },
        { tr("发送时间:"), fax.time },
        { tr("收件人:"), fax.receiver },
        { tr("传真号码:"), fax.cid },
        // The device's record gives the seconds the line was held; 0 until it has.
        { tr("耗时:"), tr("%1秒").arg(fax.duration) },
        { tr("发送页数:"), tr("%1(共%2页)").arg(fax.pageSended).arg(fax.pageTotal) },
        { tr("结果:"), fax.status == FaxStatus::SEND_FAX_SUCCESS ? tr("成功") : fax.issue },
    };
}

QImage SendBoxWidget::makeTransReport(const Fax& fax)
{
    QImage image(REPORT_WIDTH, REPORT_HEIGHT, QImage::Format_RGBA8888);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setPen(Qt::black);

    QFont font;
    font.setPixelSize(48);
    painter.setFont(font);
    const QString title = tr("传真发送报告");
    painter.drawText((REPORT_WIDTH - painter.fontMetrics().horizontalAdvance(title)) / 2, 90, title);

    font.setPixelSize(32);
    painter.setFont(font);
    int y = 180;
    for (const auto& row : transReportRows(fax)) {
        painter.drawText(145, y, row.first);
        painter.drawText(450, y, row.second);
        y += 50;
    }

    // Only the first page is drawn, so only the first page is decoded.
    const QImage first = TiffUtil::tiffPageToImg(fax.filepath, 0);
    if (first.isNull())
        return image;
    const int w = first.width();
    const int h = first.height();
    int newWidth = THUMB_WIDTH;
    int newHeight = int(double(THUMB_WIDTH) / w * h);
    if (float(h) / float(w) > THUMB_RATIO) {
        newHeight = THUMB_HEIGHT;
        newWidth = int(double(THUMB_HEIGHT) / h * w);
    }
    const QImage thumb = first.scaled(newWidth, newHeight, Qt::IgnoreAspectRatio, Qt::FastTransformation);
    const QRect r = thumb.rect();
    const int dx = r.right() - r.left();
    const int dy = r.bottom() - r.top();
    const int x0 = THUMB_CENTRE_X - dx / 2;
    const int y0 = THUMB_CENTRE_Y - dy / 2;
    painter.drawImage(x0, y0, thumb);
    painter.drawLine(x0, y0, x0 + dx, y0);
    painter.drawLine(x0, y0, x0, y0 + dy);
    painter.drawLine(x0, y0 + dy, x0 + dx, y0 + dy);
    painter.drawLine(x0 + dx, y0, x0 + dx, y0 + dy);
    return image;
}

void SendBoxWidget::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        ui->retranslateUi(this);
        ui->tableWidget->setHorizontalHeaderLabels(headers());
        FaxTable::fitHeaders(ui->tableWidget);
        // Words and counts follow the language too; live progress returns with the next round.
        for (int row = 0; row < m_faxes.size(); ++row)
            setDatas(row, m_faxes[row]);
    }
    QWidget::changeEvent(event);
}

#include "ReceiveBoxWidget.h"

#include "ui_ReceiveBoxWidget.h"

#include "AppSettings.h"
#include "Controller.h"
#include "DatabaseManager.h"
#include "FaxRows.h"
#include "FaxStatus.h"
#include "FaxTable.h"
#include "MessageBoxUtil.h"
#include "OCRUtil.h"

#include <QCursor>
#include <QEvent>
#include <QItemSelectionModel>
#include <QMenu>
#include <algorithm>

namespace {
const QString HEADER_KEY = QStringLiteral("receive_column_sort");
constexpr int FIRST_POLL_MS = 3000;
constexpr int DEVICE_PORT = 3007;
constexpr int COLUMN_STATUS = 0;
constexpr int COLUMN_REMARK = 5;

// The inbox names only the states a received fax can be in, plus the two end states of a send.
QString statusWord(int status)
{
    const bool shown = status == FaxStatus::SEND_FAX_FAILED || status == FaxStatus::SEND_FAX_SUCCESS
        || (status >= FaxStatus::RECV_FAX_UNREAD && status <= FaxStatus::RECV_FAX_FAILED);
    return shown ? FaxStatus::statusText(status) : QString();
}
}

ReceiveBoxWidget::ReceiveBoxWidget(QWidget* parent)
    : QWidget(parent)
    , ui(new Ui::ReceiveBoxWidget)
    , m_pollTimer(this)
{
    ui->setupUi(this);
    FaxTable::splitWithPreview(ui->splitter);
    FaxTable::setup(ui->tableWidget, headers(), QHeaderView::Stretch);
    m_rows = std::make_unique<FaxRows>(this, ui->tableWidget, ui->imageViewer, m_faxes,
                                       [this](int row, Fax& fax) { setDatas(row, fax); });
    // Opening an unread fax makes it read; "replied", "forwarded" and "printed" stay as they are.
    m_rows->setOpened([this](int row) {
        if (m_faxes.at(row).status == FaxStatus::RECV_FAX_UNREAD)
            setReadState(row, FaxStatus::RECV_FAX_READED);
    });
    connect(ui->tableWidget->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            &ReceiveBoxWidget::currentFaxChanged);
    reacquire();
    FaxTable::restoreHeaderState(ui->tableWidget, HEADER_KEY);

    m_controller = new Controller(this);
    connect(m_controller, &Controller::showStrProgress, this, &ReceiveBoxWidget::showProgress);
    connect(m_controller, &Controller::mainHandleDownloadFaxInfoResult, this,
            &ReceiveBoxWidget::handleDownloadFaxInfoResult);
    connect(m_controller, &Controller::backgroundDownloadInfoFinish, this,
            &ReceiveBoxWidget::handleBackgroundDownloadInfoResult);
    connect(m_controller, &Controller::storageFailed, this, &ReceiveBoxWidget::showStorageFailure);

    m_pollTimer.setObjectName(QStringLiteral("pollTimer"));
    m_pollTimer.setSingleShot(true);
    connect(&m_pollTimer, &QTimer::timeout, this, &ReceiveBoxWidget::get_new_fax);
    m_pollTimer.start(FIRST_POLL_MS);
}

ReceiveBoxWidget::~ReceiveBoxWidget()
{
    m_pollTimer.stop();
    FaxTable::saveHeaderState(ui->tableWidget, HEADER_KEY);
    // The controller waits for a run in progress before the form goes.
    delete m_controller;
    delete ui;
}

QStringList ReceiveBoxWidget::headers() const
{
    return { tr("状态"), tr("来电号码"), tr("来自"), tr("页数"), tr("接收时间"), tr("文字备注"), tr("服务器") };
}

void ReceiveBoxWidget::setDatas(int row, Fax& fax)
{
    FaxTable::setRow(ui->tableWidget, row,
        { statusWord(fax.status), fax.cid, fax.sender, QString::number(fax.pageTotal), fax.time,
          fax.remark, fax.serverID });
}

void ReceiveBoxWidget::refill()
{
    m_rows->showAll(DatabaseManager().queryReceiveFaxes());
}

void ReceiveBoxWidget::reacquire()
{
    refill();
}

void ReceiveBoxWidget::downloadFaxInfo(Device& device)
{
    emit m_controller->downloadFaxInfo(device, DEVICE_PORT);
}

void ReceiveBoxWidget::get_new_fax()
{
    emit m_controller->backgroundDownloadFaxInfo(DEVICE_PORT);
}

void ReceiveBoxWidget::showProgress(QString text)
{
    emit statusShowProgress(text);
}

void ReceiveBoxWidget::handleDownloadFaxInfoResult()
{
    refill();
    emit statusShowProgress(QString());
}

// The table is rebuilt from the database, not from the faxes in the signal; the notice counts
// the faxes of this one poll that arrived (not those shown as failed).
void ReceiveBoxWidget::handleBackgroundDownloadInfoResult(QList<Fax>& newFaxes)
{
    const auto arrived = std::count_if(newFaxes.cbegin(), newFaxes.cend(),
                                       [](const Fax& fax) { return fax.status != FaxStatus::RECV_FAX_FAILED; });
    if (!newFaxes.isEmpty()) {
        refill();
        emit statusShowProgress(QString());
    }
    if (arrived > 0) {
        m_storageFailureShown = false; // stored again: a later failure is told anew
        QString tips = tr("收到%1份传真").arg(arrived);
        emit showReceiveFaxTips(tips);
    }
    int seconds = AppSettings::userConfig()
                      ->value(AppSettings::KEY_GET_FAX_TIME, AppSettings::DEFAULT_GET_FAX_TIME)
                      .toInt();
    if (seconds <= 0)
        seconds = AppSettings::DEFAULT_GET_FAX_TIME;
    m_pollTimer.start(seconds * 1000);
}

void ReceiveBoxWidget::addFax(Fax& fax)
{
    fax.isDelete = 0;
    m_rows->prepend(fax);
}

void ReceiveBoxWidget::clearSelectItems()
{
    m_rows->clearSelection();
}

Fax ReceiveBoxWidget::getSelectItemPath()
{
    return m_rows->currentFax().value_or(Fax());
}

void ReceiveBoxWidget::setReadState(int row, int status)
{
    Fax& fax = m_faxes[row];
    fax.status = status;
    ui->tableWidget->setItem(row, COLUMN_STATUS, new QTableWidgetItem(statusWord(status)));
    DatabaseManager().updateFaxReaded(fax);
}

void ReceiveBoxWidget::on_tableWidget_clicked(const QModelIndex& index)
{
    m_rows->choose(index.row());
}

void ReceiveBoxWidget::on_tableWidget_doubleClicked(const QModelIndex& index)
{
    std::optional<Fax> fax = m_rows->faxAt(index.row());
    if (fax && fax->status != FaxStatus::RECV_FAX_FAILED) // no file to open yet
        emit showFaxDetailWindow(*fax);
}

void ReceiveBoxWidget::on_tableWidget_customContextMenuRequested(const QPoint& pos)
{
    const int row = m_rows->rowAt(pos);
    if (row < 0)
        return;
    QMenu* menu = m_rows->newMenu();
    const int status = m_faxes.at(row).status;
    if (status == FaxStatus::RECV_FAX_FAILED) {
        // Nothing to show, reply to or forward until the file has come.
        menu->addAction(tr("重试"), this, &ReceiveBoxWidget::actionRetry);
        menu->addAction(tr("删除"), this, &ReceiveBoxWidget::actionDelete);
        menu->popup(QCursor::pos());
        return;
    }
    menu->addAction(tr("回复"), this, &ReceiveBoxWidget::actionReply);
    menu->addAction(tr("转发"), this, &ReceiveBoxWidget::actionForward);
    menu->addAction(tr("删除"), this, &ReceiveBoxWidget::actionDelete);
    menu->addAction(tr("内部分发"), this, &ReceiveBoxWidget::actionDistribute);
    menu->addAction(tr("添加备注"), this, &ReceiveBoxWidget::actionRemark);
    menu->addAction(tr("保存为联系人"), this, &ReceiveBoxWidget::actionAddContact);
    menu->addAction(tr("OCR识别"), this, &ReceiveBoxWidget::actionOCR);
    if (status == FaxStatus::RECV_FAX_UNREAD)
        menu->addAction(tr("标记为已读"), this, &ReceiveBoxWidget::actionMakeReaded);
    else if (status == FaxStatus::RECV_FAX_READED)
        menu->addAction(tr("标记为未读"), this, &ReceiveBoxWidget::actionMakeReaded);
    menu->popup(QCursor::pos());
}

void ReceiveBoxWidget::actionReply()
{
    if (std::optional<Fax> fax = m_rows->currentFax())
        emit reply(*fax);
}

void ReceiveBoxWidget::actionForward()
{
    if (std::optional<Fax> fax = m_rows->currentFax())
        emit forward(*fax);
}

void ReceiveBoxWidget::actionDelete()
{
    QList<Fax> deleted = m_rows->deleteSelected();
    if (!deleted.isEmpty())
        emit deleteFax(deleted);
}

// The device's mark stays below a fax not fetched, so any run of its device asks for it again.
void ReceiveBoxWidget::actionRetry()
{
    if (std::optional<Fax> fax = m_rows->currentFax()) {
        Device device = DatabaseManager().queryDevice(fax->serverID);
        if (device.id > 0)
            downloadFaxInfo(device);
    }
}

// Once, until faxes are stored again: every poll meets the same full disk.
void ReceiveBoxWidget::showStorageFailure(QString folder)
{
    if (m_storageFailureShown)
        return;
    m_storageFailureShown = true;
    MessageBoxUtil::warningMsg(this, tr("Velkor 消息"),
                               tr("接收的传真无法保存到 %1：请检查磁盘空间和文件夹的写入权限。\n"
                                  "传真仍保留在设备上，问题解决后会自动接收。")
                                   .arg(folder));
}

void ReceiveBoxWidget::actionDistribute()
{
    m_rows->distribute();
}

void ReceiveBoxWidget::actionRemark()
{
    m_rows->editRemark(COLUMN_REMARK, tr("添加备注"));
}

void ReceiveBoxWidget::actionAddContact()
{
    m_rows->addContact();
}

void ReceiveBoxWidget::actionOCR()
{
    const int row = m_rows->currentRow();
    if (row < 0)
        return;
    OCRUtil::startRecognizer(this, m_faxes.at(row).filepath);
}

void ReceiveBoxWidget::actionMakeReaded()
{
    const int row = m_rows->currentRow();
    if (row < 0)
        return;
    const int status = m_faxes.at(row).status;
    if (status == FaxStatus::RECV_FAX_READED)
        setReadState(row, FaxStatus::RECV_FAX_UNREAD);
    else if (status == FaxStatus::RECV_FAX_UNREAD)
        setReadState(row, FaxStatus::RECV_FAX_READED);
}

void ReceiveBoxWidget::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange) {
        ui->retranslateUi(this);
        ui->tableWidget->setHorizontalHeaderLabels(headers());
        // Status words follow the language too.
        for (int row = 0; row < m_faxes.size(); ++row)
            if (QTableWidgetItem* item = ui->tableWidget->item(row, COLUMN_STATUS))
                item->setText(statusWord(m_faxes.at(row).status));
    }
    QWidget::changeEvent(event);
}

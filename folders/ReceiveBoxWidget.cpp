#include "ReceiveBoxWidget.h"

#include "ui_ReceiveBoxWidget.h"

#include "AddContactDialog.h"
#include "AppSettings.h"
#include "Contact.h"
#include "Controller.h"
#include "DatabaseManager.h"
#include "DialogUtil.h"
#include "FaxDistributeDialog.h"
#include "FaxStatus.h"
#include "FaxTable.h"
#include "LogUtil.h"
#include "OCRUtil.h"

#include <QCursor>
#include <QEvent>
#include <QMenu>

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
        || (status >= FaxStatus::RECV_FAX_UNREAD && status <= FaxStatus::RECV_FAX_PRINTED);
    return shown ? FaxStatus::statusText(status) : QString();
}
}

ReceiveBoxWidget::ReceiveBoxWidget(QWidget* parent)
    : QWidget(parent)
    , ui(new Ui::ReceiveBoxWidget)
    , m_pollTimer(this)
{
    ui->setupUi(this);
    ui->splitter->setStretchFactor(0, 2);
    ui->splitter->setStretchFactor(1, 1);
    ui->splitter->setSizes({ 800, 400 });
    FaxTable::setup(ui->tableWidget, headers(), QHeaderView::Stretch);
    ui->tableWidget->verticalHeader()->setVisible(false);
    reacquire();
    FaxTable::restoreHeaderState(ui->tableWidget, HEADER_KEY);

    m_controller = new Controller(this);
    connect(m_controller, &Controller::showStrProgress, this, &ReceiveBoxWidget::showProgress);
    connect(m_controller, &Controller::mainHandleDownloadFaxInfoResult, this,
            &ReceiveBoxWidget::handleDownloadFaxInfoResult);
    connect(m_controller, &Controller::backgroundDownloadInfoFinish, this,
            &ReceiveBoxWidget::handleBackgroundDownloadInfoResult);

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
    m_faxes = DatabaseManager().queryReceiveFaxes();
    // Rows beyond the list would break the row-by-row mirror, so the count follows the list.
    ui->tableWidget->setRowCount(m_faxes.size());
    for (int row = 0; row < m_faxes.size(); ++row)
        setDatas(row, m_faxes[row]);
}

void ReceiveBoxWidget::reacquire()
{
    ui->tableWidget->clearContents();
    ui->tableWidget->setRowCount(0);
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
// the faxes of this one poll.
void ReceiveBoxWidget::handleBackgroundDownloadInfoResult(QList<Fax>& newFaxes)
{
    if (!newFaxes.isEmpty()) {
        refill();
        emit statusShowProgress(QString());
        QString tips = tr("收到%1份传真").arg(newFaxes.size());
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
    ui->tableWidget->insertRow(0);
    setDatas(0, fax);
    m_faxes.prepend(fax);
}

void ReceiveBoxWidget::clearSelectItems()
{
    QString none;
    ui->imageViewer->openImageResource(none);
    ui->tableWidget->setCurrentItem(nullptr);
}

int ReceiveBoxWidget::currentFaxRow() const
{
    const int row = ui->tableWidget->currentRow();
    return row >= 0 && row < m_faxes.size() ? row : -1;
}

Fax ReceiveBoxWidget::getSelectItemPath()
{
    return m_faxes.value(ui->tableWidget->currentRow());
}

void ReceiveBoxWidget::setReadState(int row, int status)
{
    Fax& fax = m_faxes[row];
    fax.status = status;
    ui->tableWidget->setItem(row, COLUMN_STATUS, new QTableWidgetItem(statusWord(status)));
    DatabaseManager().updateFaxReaded(fax);
}

// Opening an unread fax makes it read; "replied", "forwarded" and "printed" stay as they are.
void ReceiveBoxWidget::on_tableWidget_clicked(const QModelIndex& index)
{
    const int row = index.row();
    if (row < 0 || row >= m_faxes.size())
        return;
    QString path = m_faxes.at(row).filepath;
    ui->imageViewer->openImageResource(path);
    if (m_faxes.at(row).status == FaxStatus::RECV_FAX_UNREAD)
        setReadState(row, FaxStatus::RECV_FAX_READED);
}

void ReceiveBoxWidget::on_tableWidget_doubleClicked(const QModelIndex& index)
{
    if (index.row() < 0 || index.row() >= m_faxes.size())
        return;
    Fax fax = m_faxes.at(index.row());
    emit showFaxDetailWindow(fax);
}

void ReceiveBoxWidget::on_tableWidget_customContextMenuRequested(const QPoint& pos)
{
    const QModelIndex index = ui->tableWidget->indexAt(pos);
    if (!index.isValid() || index.row() >= m_faxes.size())
        return;
    delete m_menu; // only the last menu is kept
    m_menu = new QMenu(this);
    m_menu->setObjectName(QStringLiteral("menu_right"));
    m_menu->setAttribute(Qt::WA_DeleteOnClose);
    m_menu->addAction(tr("回复"), this, &ReceiveBoxWidget::actionReply);
    m_menu->addAction(tr("转发"), this, &ReceiveBoxWidget::actionForward);
    m_menu->addAction(tr("删除"), this, &ReceiveBoxWidget::actionDelete);
    m_menu->addAction(tr("内部分发"), this, &ReceiveBoxWidget::actionDistribute);
    m_menu->addAction(tr("添加备注"), this, &ReceiveBoxWidget::actionRemark);
    m_menu->addAction(tr("保存为联系人"), this, &ReceiveBoxWidget::actionAddContact);
    m_menu->addAction(tr("OCR识别"), this, &ReceiveBoxWidget::actionOCR);
    const int status = m_faxes.at(index.row()).status;
    if (status == FaxStatus::RECV_FAX_UNREAD)
        m_menu->addAction(tr("标记为已读"), this, &ReceiveBoxWidget::actionMakeReaded);
    else if (status == FaxStatus::RECV_FAX_READED)
        m_menu->addAction(tr("标记为未读"), this, &ReceiveBoxWidget::actionMakeReaded);
    m_menu->popup(QCursor::pos());
}

void ReceiveBoxWidget::actionReply()
{
    const int row = currentFaxRow();
    if (row < 0)
        return;
    Fax fax = m_faxes.at(row);
    emit reply(fax);
}

void ReceiveBoxWidget::actionForward()
{
    const int row = currentFaxRow();
    if (row < 0)
        return;
    Fax fax = m_faxes.at(row);
    emit forward(fax);
}

// Rows go highest first, so that a removal shifts no row still to come. The files stay: a
// deleted fax can be restored.
void ReceiveBoxWidget::actionDelete()
{
    QList<Fax> deleted;
    const QList<int> rows = FaxTable::selectedRowsDescending(ui->tableWidget);
    for (int row : rows) {
        LogUtil::d(QStringLiteral("row:%1").arg(row));
        if (row >= m_faxes.size())
            continue;
        deleted.prepend(m_faxes.takeAt(row));
        ui->tableWidget->removeRow(row);
    }
    if (deleted.isEmpty())
        return;
    QString none;
    ui->imageViewer->openImageResource(none);
    DatabaseManager().deleteFaxList(deleted);
    emit deleteFax(deleted);
}

void ReceiveBoxWidget::actionDistribute()
{
    const int row = currentFaxRow();
    if (row < 0)
        return;
    const Fax& fax = m_faxes.at(row);
    QString serverID = fax.serverID;
    Device device = DatabaseManager().queryDevice(serverID);
    QString taskID = QString::number(fax.taskID);
    auto* dialog = new FaxDistributeDialog(device, taskID, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->show();
}

void ReceiveBoxWidget::actionRemark()
{
    const int row = currentFaxRow();
    if (row < 0)
        return;
    bool ok = false;
    const QString text = DialogUtil::getText(this, tr("添加备注"), QString(), QLineEdit::Normal,
                                             m_faxes.at(row).remark, &ok);
    if (!ok)
        return;
    Fax& fax = m_faxes[row];
    fax.remark = text;
    ui->tableWidget->setItem(row, COLUMN_REMARK, new QTableWidgetItem(text));
    DatabaseManager().updateFaxRemark(fax);
}

void ReceiveBoxWidget::actionAddContact()
{
    const int row = currentFaxRow();
    if (row < 0)
        return;
    Contact contact;
    contact.id = 0;
    contact.businessFax = m_faxes.at(row).cid;
    if (m_addContactDialog)
        m_addContactDialog->close();
    m_addContactDialog = new AddContactDialog(contact, this);
    m_addContactDialog->setAttribute(Qt::WA_DeleteOnClose);
    m_addContactDialog->show();
}

void ReceiveBoxWidget::actionOCR()
{
    const int row = currentFaxRow();
    if (row < 0)
        return;
    OCRUtil::startRecognizer(this, m_faxes.at(row).filepath);
}

void ReceiveBoxWidget::actionMakeReaded()
{
    const int row = currentFaxRow();
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

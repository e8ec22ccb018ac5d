#include "DeleteBoxWidget.h"

#include "ui_DeleteBoxWidget.h"

#include "DatabaseManager.h"
#include "FaxStatus.h"
#include "FaxTable.h"

#include <QCursor>
#include <QEvent>
#include <QMenu>

namespace {
const QString HEADER_KEY = QStringLiteral("delete_column_sort");
constexpr int TAG_SENT = 1;
}

DeleteBoxWidget::DeleteBoxWidget(QWidget* parent)
    : QWidget(parent)
    , ui(new Ui::DeleteBoxWidget)
{
    ui->setupUi(this);
    // The table takes the larger share; the preview scrolls.
    ui->splitter->setStretchFactor(0, 2);
    ui->splitter->setStretchFactor(1, 1);
    ui->splitter->setSizes({ 800, 400 });
    FaxTable::setup(ui->tableWidget, headers(), QHeaderView::Interactive);
    ui->tableWidget->verticalHeader()->setVisible(false);
    reacquire();
    // A first start fits the columns to what they hold; later starts take the user's widths.
    ui->tableWidget->resizeColumnsToContents();
    FaxTable::restoreHeaderState(ui->tableWidget, HEADER_KEY);
    createRightMenu();
}

DeleteBoxWidget::~DeleteBoxWidget()
{
    FaxTable::saveHeaderState(ui->tableWidget, HEADER_KEY);
    delete ui;
}

QStringList DeleteBoxWidget::headers() const
{
    return { tr("状态"), tr("接收号码"), tr("收件人"), tr("发送号码"), tr("发件人"),
             tr("页数"), tr("时间"), tr("文字备注"), tr("失败原因"), tr("服务器") };
}

void DeleteBoxWidget::createRightMenu()
{
    m_menu = new QMenu(this);
    m_menu->setObjectName(QStringLiteral("menu_right"));
    m_actionRestore = m_menu->addAction(tr("还原"), this, &DeleteBoxWidget::restore);
    m_actionDelete = m_menu->addAction(tr("删除"), this, &DeleteBoxWidget::deletePermanently);
}

// The number column a fax uses depends on its direction: the number dialled for a sent fax,
// the caller's number for a received one.
void DeleteBoxWidget::setDatas(int row, const Fax& fax)
{
    const bool sent = fax.tag == TAG_SENT;
    FaxTable::setRow(ui->tableWidget, row,
        { FaxStatus::statusText(fax.status), sent ? fax.cid : QString(), fax.receiver, sent ? QString() : fax.cid,
          fax.sender, QString::number(fax.pageTotal), fax.time, fax.remark, fax.issue, fax.serverID });
}

void DeleteBoxWidget::reacquire()
{
    m_faxes = DatabaseManager().queryDeleteFaxes();
    ui->tableWidget->clearContents();
    ui->tableWidget->setRowCount(m_faxes.size());
    for (int row = 0; row < m_faxes.size(); ++row)
        setDatas(row, m_faxes.at(row));
}

void DeleteBoxWidget::addFax(QList<Fax>& faxes)
{
    for (Fax fax : faxes) {
        fax.isDelete = 1;
        ui->tableWidget->insertRow(0);
        setDatas(0, fax);
        m_faxes.prepend(fax);
    }
}

void DeleteBoxWidget::clearSelectItems()
{
    QString none;
    ui->imageViewer->openImageResource(none);
    ui->tableWidget->setCurrentItem(nullptr);
}

Fax DeleteBoxWidget::getSelectItemPath()
{
    return m_faxes.value(ui->tableWidget->currentRow());
}

bool DeleteBoxWidget::takeCurrent(Fax& fax)
{
    const int row = ui->tableWidget->currentRow();
    if (row < 0 || row >= m_faxes.size())
        return false;
    fax = m_faxes.takeAt(row);
    ui->tableWidget->removeRow(row);
    // The preview may show the fax that has just gone.
    QString none;
    ui->imageViewer->openImageResource(none);
    return true;
}

void DeleteBoxWidget::restore()
{
    Fax fax;
    if (!takeCurrent(fax))
        return;
    DatabaseManager().restoreFax(fax);
    fax.isDelete = 0;
    emit restoreFax(fax);
}

// Only the record goes: the fax file stays on disk, as a deleted fax is still the user's paper.
void DeleteBoxWidget::deletePermanently()
{
    Fax fax;
    if (!takeCurrent(fax))
        return;
    DatabaseManager().permanentlyDelete(fax);
}

void DeleteBoxWidget::on_tableWidget_clicked(const QModelIndex& index)
{
    if (index.row() < 0 || index.row() >= m_faxes.size())
        return;
    QString path = m_faxes.at(index.row()).filepath;
    ui->imageViewer->openImageResource(path);
}

void DeleteBoxWidget::on_tableWidget_doubleClicked(const QModelIndex& index)
{
    if (index.row() < 0 || index.row() >= m_faxes.size())
        return;
    Fax fax = m_faxes.at(index.row());
    emit showFaxDetailWindow(fax);
}

void DeleteBoxWidget::on_tableWidget_customContextMenuRequested(const QPoint& pos)
{
    if (!ui->tableWidget->indexAt(pos).isValid())
        return;
    m_menu->popup(QCursor::pos());
}

void DeleteBoxWidget::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange && m_menu) {
        ui->retranslateUi(this);
        ui->tableWidget->setHorizontalHeaderLabels(headers());
        m_actionRestore->setText(tr("还原"));
        m_actionDelete->setText(tr("删除"));
    }
    QWidget::changeEvent(event);
}

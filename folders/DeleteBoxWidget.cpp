#include "DeleteBoxWidget.h"

#include "ui_DeleteBoxWidget.h"

#include "DatabaseManager.h"
#include "FaxRows.h"
#include "FaxStatus.h"
#include "FaxTable.h"
#include "MessageBoxUtil.h"

#include <QCursor>
#include <QEvent>
#include <QItemSelectionModel>
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
    FaxTable::splitWithPreview(ui->splitter);
    FaxTable::setup(ui->tableWidget, headers(), QHeaderView::Interactive);
    m_rows = std::make_unique<FaxRows>(this, ui->tableWidget, ui->imageViewer, m_faxes,
                                       [this](int row, const Fax& fax) { setDatas(row, fax); });
    connect(ui->tableWidget->selectionModel(), &QItemSelectionModel::currentRowChanged, this,
            &DeleteBoxWidget::currentFaxChanged);
    reacquire();
    // A first start fits the columns to what they hold; later starts take the user's widths.
    ui->tableWidget->resizeColumnsToContents();
    FaxTable::restoreHeaderState(ui->tableWidget, HEADER_KEY);
    FaxTable::fitHeaders(ui->tableWidget);
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
    m_rows->showAll(DatabaseManager().queryDeleteFaxes());
}

void DeleteBoxWidget::addFax(QList<Fax>& faxes)
{
    for (Fax fax : faxes) {
        fax.isDelete = 1;
        m_rows->prepend(fax);
    }
}

void DeleteBoxWidget::clearSelectItems()
{
    m_rows->clearSelection();
}

Fax DeleteBoxWidget::getSelectItemPath()
{
    return m_rows->currentFax().value_or(Fax());
}

void DeleteBoxWidget::restore()
{
    std::optional<Fax> fax = m_rows->takeCurrent();
    if (!fax)
        return;
    DatabaseManager().restoreFax(*fax);
    fax->isDelete = 0;
    emit restoreFax(*fax);
}

// Only the record goes: the fax file stays on disk, as a deleted fax is still the user's paper.
void DeleteBoxWidget::deletePermanently()
{
    if (m_rows->currentRow() < 0
        || MessageBoxUtil::question(this, tr("Velkor 消息"), tr("永久删除这份传真？它将无法还原。"), QMessageBox::Warning)
            != QMessageBox::Yes)
        return;
    if (std::optional<Fax> fax = m_rows->takeCurrent())
        DatabaseManager().permanentlyDelete(*fax);
}

void DeleteBoxWidget::on_tableWidget_clicked(const QModelIndex& index)
{
    m_rows->choose(index.row());
}

void DeleteBoxWidget::on_tableWidget_doubleClicked(const QModelIndex& index)
{
    if (std::optional<Fax> fax = m_rows->faxAt(index.row()))
        emit showFaxDetailWindow(*fax);
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
        FaxTable::fitHeaders(ui->tableWidget);
        m_actionRestore->setText(tr("还原"));
        m_actionDelete->setText(tr("删除"));
    }
    QWidget::changeEvent(event);
}

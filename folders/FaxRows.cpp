#include "FaxRows.h"

#include "AddContactDialog.h"
#include "Contact.h"
#include "DatabaseManager.h"
#include "DialogUtil.h"
#include "FaxDistributeDialog.h"
#include "FaxTable.h"
#include "LogUtil.h"
#include "MessageBoxUtil.h"
#include "MyImageViewer.h"

#include <QItemSelectionModel>
#include <QMenu>
#include <QScrollBar>
#include <QSet>
#include <QTableWidget>

FaxRows::FaxRows(QWidget* folder, QTableWidget* table, MyImageViewer* viewer, QList<Fax>& faxes,
                 std::function<void(int, Fax&)> fill)
    : m_folder(folder)
    , m_table(table)
    , m_viewer(viewer)
    , m_faxes(faxes)
    , m_fill(std::move(fill))
{
    // Keys move the current row as clicks do, and the fax shown follows either way.
    m_currentConnection = QObject::connect(table->selectionModel(), &QItemSelectionModel::currentRowChanged, folder,
                                           [this](const QModelIndex& current) {
                                               if (!m_rebuilding && current.isValid())
                                                   choose(current.row());
                                           });
}

FaxRows::~FaxRows()
{
    QObject::disconnect(m_currentConnection);
}

int FaxRows::faxRow(int row) const
{
    return row >= 0 && row < m_faxes.size() ? row : -1;
}

int FaxRows::currentRow() const
{
    return faxRow(m_table->currentRow());
}

int FaxRows::rowAt(const QPoint& pos) const
{
    const QModelIndex index = m_table->indexAt(pos);
    return index.isValid() ? faxRow(index.row()) : -1;
}

std::optional<Fax> FaxRows::faxAt(int row) const
{
    if (faxRow(row) < 0)
        return std::nullopt;
    return m_faxes.at(row);
}

std::optional<Fax> FaxRows::currentFax() const
{
    return faxAt(m_table->currentRow());
}

int FaxRows::idAt(int row) const
{
    return faxRow(row) >= 0 ? m_faxes.at(row).id : -1;
}

void FaxRows::showAll(const QList<Fax>& faxes)
{
    QItemSelectionModel* selection = m_table->selectionModel();
    QScrollBar* scroll = m_table->verticalScrollBar();
    QSet<int> chosen;
    for (const QModelIndex& index : selection->selectedRows())
        chosen.insert(idAt(index.row()));
    const int currentId = idAt(m_table->currentRow());
    const int currentColumn = qMax(0, m_table->currentColumn());
    const int topId = idAt(m_table->rowAt(0));
    const int scrolled = scroll->value();

    m_rebuilding = true;
    m_faxes = faxes;
    // Rows beyond the list would break the row-by-row mirror, so the count follows the list.
    m_table->setRowCount(m_faxes.size());
    for (int row = 0; row < m_faxes.size(); ++row)
        m_fill(row, m_faxes[row]);

    QItemSelection rows;
    int current = -1;
    int top = -1;
    for (int row = 0; row < m_faxes.size(); ++row) {
        const int id = m_faxes.at(row).id;
        if (chosen.contains(id))
            rows.select(m_table->model()->index(row, 0), m_table->model()->index(row, m_table->columnCount() - 1));
        if (id == currentId)
            current = row;
        if (id == topId)
            top = row;
    }
    selection->select(rows, QItemSelectionModel::ClearAndSelect);
    selection->setCurrentIndex(current >= 0 ? m_table->model()->index(current, currentColumn) : QModelIndex(),
                               QItemSelectionModel::NoUpdate);
    // A list read at its top stays there, so new faxes come into sight; one read further
    // down keeps the fax it showed first.
    if (scrolled > 0 && top >= 0)
        m_table->scrollTo(m_table->model()->index(top, 0), QAbstractItemView::PositionAtTop);
    else
        scroll->setValue(scrolled);
    m_rebuilding = false;
    // The fax in the preview has gone from the folder.
    if (current < 0 && m_shownId != -1)
        clearPreview();
}

void FaxRows::prepend(Fax& fax)
{
    m_table->insertRow(0);
    m_fill(0, fax);
    m_faxes.prepend(fax);
}

bool FaxRows::preview(int row)
{
    if (faxRow(row) < 0)
        return false;
    QString path = m_faxes.at(row).filepath;
    m_shownId = m_faxes.at(row).id;
    m_viewer->openImageResource(path);
    return true;
}

void FaxRows::choose(int row)
{
    if (faxRow(row) < 0 || m_faxes.at(row).id == m_shownId)
        return;
    preview(row);
    if (m_opened)
        m_opened(row);
}

void FaxRows::setOpened(std::function<void(int)> opened)
{
    m_opened = std::move(opened);
}

void FaxRows::clearPreview()
{
    m_shownId = -1;
    QString none;
    m_viewer->openImageResource(none);
}

void FaxRows::dropCurrent()
{
    m_table->selectionModel()->setCurrentIndex(QModelIndex(), QItemSelectionModel::NoUpdate);
}

void FaxRows::clearSelection()
{
    clearPreview();
    m_table->setCurrentItem(nullptr);
}

std::optional<Fax> FaxRows::takeCurrent()
{
    const int row = currentRow();
    if (row < 0)
        return std::nullopt;
    dropCurrent();
    const Fax fax = m_faxes.takeAt(row);
    m_table->removeRow(row);
    // The preview may show the fax that has just gone.
    clearPreview();
    return fax;
}

// Rows go highest first, so that a removal shifts no row still to come.
QList<Fax> FaxRows::deleteSelected()
{
    QList<Fax> deleted;
    const QList<int> rows = FaxTable::selectedRowsDescending(m_table);
    if (rows.isEmpty()
        || MessageBoxUtil::question(m_folder, tr("Velkor 消息"),
                                    tr("将选中的传真（%1份）移到已删除的传真？").arg(rows.size()))
            != QMessageBox::Yes)
        return deleted;
    dropCurrent();
    for (int row : rows) {
        LogUtil::d(QStringLiteral("row:%1").arg(row));
        if (row >= m_faxes.size())
            continue;
        deleted.prepend(m_faxes.takeAt(row));
        m_table->removeRow(row);
    }
    if (deleted.isEmpty())
        return deleted;
    clearPreview();
    DatabaseManager().deleteFaxList(deleted);
    return deleted;
}

QMenu* FaxRows::newMenu()
{
    delete m_menu;
    m_menu = new QMenu(m_folder);
    m_menu->setObjectName(QStringLiteral("menu_right"));
    m_menu->setAttribute(Qt::WA_DeleteOnClose);
    return m_menu;
}

void FaxRows::editRemark(int column, const QString& title)
{
    const int row = currentRow();
    if (row < 0)
        return;
    bool ok = false;
    const QString text =
        DialogUtil::getText(m_folder, title, QString(), QLineEdit::Normal, m_faxes.at(row).remark, &ok);
    if (!ok)
        return;
    Fax& fax = m_faxes[row];
    fax.remark = text;
    m_table->setItem(row, column, new QTableWidgetItem(text));
    DatabaseManager().updateFaxRemark(fax);
}

void FaxRows::distribute()
{
    std::optional<Fax> fax = currentFax();
    if (!fax)
        return;
    Device device = DatabaseManager().queryDevice(fax->serverID);
    QString taskID = QString::number(fax->taskID);
    auto* dialog = new FaxDistributeDialog(device, taskID, m_folder);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->show();
}

// Only the last contact dialog stays open.
void FaxRows::addContact()
{
    const int row = currentRow();
    if (row < 0)
        return;
    Contact contact;
    contact.id = 0;
    contact.businessFax = m_faxes.at(row).cid;
    if (m_addContactDialog)
        m_addContactDialog->close();
    m_addContactDialog = new AddContactDialog(contact, m_folder);
    m_addContactDialog->setAttribute(Qt::WA_DeleteOnClose);
    m_addContactDialog->show();
}

#pragma once

#include "Fax.h"

#include <QCoreApplication>
#include <QList>
#include <QPointer>
#include <QString>
#include <functional>
#include <optional>

class AddContactDialog;
class MyImageViewer;
class QMenu;
class QPoint;
class QTableWidget;
class QWidget;

// The rows of a fax folder: the list of faxes its table mirrors row by row, and the preview
// beside it. The row work the folders have in common is done here; each folder keeps its own
// slots and signals and calls this behind them.
class FaxRows
{
    Q_DECLARE_TR_FUNCTIONS(FaxRows)

public:
    // fill writes a fax into a table row (the folder's own columns). Dialogs and menus opened
    // here belong to folder.
    FaxRows(QWidget* folder, QTableWidget* table, MyImageViewer* viewer, QList<Fax>& faxes,
            std::function<void(int, Fax&)> fill);
    ~FaxRows();

    // row when it holds a fax, else -1.
    int faxRow(int row) const;
    int currentRow() const;
    // The row of the cell at pos when it holds a fax, else -1.
    int rowAt(const QPoint& pos) const;
    // A copy of the row's fax; none when the row holds none.
    std::optional<Fax> faxAt(int row) const;
    std::optional<Fax> currentFax() const;

    // Makes these faxes the list and shows them, one row a fax. The current row, the selected
    // rows and the view stay on the faxes they were on, wherever the new list puts them.
    void showAll(const QList<Fax>& faxes);
    // Puts the fax at the head of the list and in a new row 0.
    void prepend(Fax& fax);

    // Opens the row's fax in the preview; false when the row holds none.
    bool preview(int row);
    // The user chose the row (click or keys): unless the preview shows its fax already, the
    // fax goes there and opened hears of it.
    void choose(int row);
    void setOpened(std::function<void(int)> opened);
    void clearPreview();
    // Clears the preview and the current row.
    void clearSelection();

    // Takes the current row out of table and list and clears the preview; none when no row is
    // current.
    std::optional<Fax> takeCurrent();
    // Moves every selected fax to the deleted items once the user agrees; the faxes moved, in
    // table order. The files stay: a deleted fax can be restored.
    QList<Fax> deleteSelected();

    // A new context menu; only the last one is kept.
    QMenu* newMenu();

    // The actions on the current row that the inbox and the outbox share.
    // Asks for the remark (titled title) and shows it in column.
    void editRemark(int column, const QString& title);
    void distribute();
    void addContact();

private:
    // No row is current any more (before rows go, so that no other fax opens in their place).
    void dropCurrent();
    int idAt(int row) const;

    QWidget* m_folder;
    QTableWidget* m_table;
    MyImageViewer* m_viewer;
    QList<Fax>& m_faxes;
    std::function<void(int, Fax&)> m_fill;
    std::function<void(int)> m_opened;
    QMetaObject::Connection m_currentConnection;
    int m_shownId = -1; // the fax in the preview
    bool m_rebuilding = false;
    QPointer<QMenu> m_menu;
    QPointer<AddContactDialog> m_addContactDialog;
};

#pragma once

#include "Fax.h"

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
public:
    // fill writes a fax into a table row (the folder's own columns). Dialogs and menus opened
    // here belong to folder.
    FaxRows(QWidget* folder, QTableWidget* table, MyImageViewer* viewer, QList<Fax>& faxes,
            std::function<void(int, Fax&)> fill);

    // row when it holds a fax, else -1.
    int faxRow(int row) const;
    int currentRow() const;
    // The row of the cell at pos when it holds a fax, else -1.
    int rowAt(const QPoint& pos) const;
    // A copy of the row's fax; none when the row holds none.
    std::optional<Fax> faxAt(int row) const;
    std::optional<Fax> currentFax() const;

    // Makes the table show the whole list, one row a fax.
    void showAll();
    // Puts the fax at the head of the list and in a new row 0.
    void prepend(Fax& fax);

    // Opens the row's fax in the preview; false when the row holds none.
    bool preview(int row);
    void clearPreview();
    // Clears the preview and the current row.
    void clearSelection();

    // Takes the current row out of table and list and clears the preview; none when no row is
    // current.
    std::optional<Fax> takeCurrent();
    // Moves every selected fax to the deleted items; the faxes moved, in table order. The
    // files stay: a deleted fax can be restored.
    QList<Fax> deleteSelected();

    // A new context menu; only the last one is kept.
    QMenu* newMenu();

    // The actions on the current row that the inbox and the outbox share.
    // Asks for the remark (titled title) and shows it in column.
    void editRemark(int column, const QString& title);
    void distribute();
    void addContact();

private:
    QWidget* m_folder;
    QTableWidget* m_table;
    MyImageViewer* m_viewer;
    QList<Fax>& m_faxes;
    std::function<void(int, Fax&)> m_fill;
    QPointer<QMenu> m_menu;
    QPointer<AddContactDialog> m_addContactDialog;
};

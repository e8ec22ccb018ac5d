#pragma once

#include <QHeaderView>
#include <QList>
#include <QSettings>
#include <QStringList>
#include <memory>

class QSplitter;
class QTableWidget;

// What the three fax folders (inbox, outbox, deleted items) have in common: a table whose rows
// mirror a QList<Fax>, set up the same way, with the header state kept between sessions.
class FaxTable
{
public:
    // Columns and headers; solid grid, whole-row selection, no editing, no sorting (a sort would
    // break the row-by-row mirror of the list), movable sections, no row numbers, custom
    // context menu.
    static void setup(QTableWidget* table, const QStringList& headers, QHeaderView::ResizeMode mode);
    // The table beside its preview takes two thirds of the width.
    static void splitWithPreview(QSplitter* splitter);
    // Widens every column too narrow for its header text (another language, an old saved width).
    static void fitHeaders(QTableWidget* table);
    // Gives the row fresh items with these texts, one a column.
    static void setRow(QTableWidget* table, int row, const QStringList& texts);
    // The selected rows, highest first, so that removing them one by one shifts none still to come.
    static QList<int> selectedRowsDescending(QTableWidget* table);

    // Where the header states live: INI format, user scope, organisation "Test".
    static std::unique_ptr<QSettings> headerSettings();
    // Order and widths of the columns under key ("receive_column_sort", "send_column_sort",
    // "delete_column_sort").
    static void saveHeaderState(QTableWidget* table, const QString& key);
    // Restores what saveHeaderState stored; a missing or foreign state leaves the header as it is.
    static bool restoreHeaderState(QTableWidget* table, const QString& key);
};

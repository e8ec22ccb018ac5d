#pragma once

#include "Fax.h"

#include <QString>
#include <QStringList>

class QTableWidget;
class QWidget;

// What the queue and history panels share: their table rows, and opening a fax of the
// device in the viewer.
namespace DeviceFaxUtil {

// Word of a priority in the queue; empty for a value outside 1-4.
QString priorityText(int priority);
// Word of a status in the history; empty for a value without one.
QString statusText(int status);
// The local file name of a fax of the device: its time and its file number, so that two
// faxes of one second do not share a file.
QString localName(const QString& time, const QString& fileNumber);
// Sets the header and empties the table.
void prepareTable(QTableWidget* table, const QStringList& headers);
void appendRow(QTableWidget* table, const QStringList& texts);
// Text of a cell of the current row; empty without a current row.
QString currentText(QTableWidget* table, int column);
// Removes the first row whose column holds text; false when there is none.
bool removeRow(QTableWidget* table, int column, const QString& text);
// Opens the fax file in the viewer, a window owned by owner.
void openInEditor(const QString& path, QWidget* owner);

} // namespace DeviceFaxUtil

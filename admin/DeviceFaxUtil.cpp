#include "DeviceFaxUtil.h"

#include "FaxDetailWindow.h"

#include <QCoreApplication>
#include <QHeaderView>
#include <QTableWidget>

namespace DeviceFaxUtil {

QString priorityText(int priority)
{
    switch (priority) {
    case 1: return QCoreApplication::translate("FaxQueueWidget", "低");
    case 2: return QCoreApplication::translate("FaxQueueWidget", "普通");
    case 3: return QCoreApplication::translate("FaxQueueWidget", "高");
    case 4: return QCoreApplication::translate("FaxQueueWidget", "紧急");
    default: return QString();
    }
}

QString statusText(int status)
{
    switch (status) {
    case 1: return QCoreApplication::translate("FaxHistoryWidget", "失败");
    case 2: return QCoreApplication::translate("FaxHistoryWidget", "成功");
    case 5: return QCoreApplication::translate("FaxHistoryWidget", "排队中");
    case 7: return QCoreApplication::translate("FaxHistoryWidget", "已停止");
    case 11: return QCoreApplication::translate("FaxHistoryWidget", "未读");
    case 12: return QCoreApplication::translate("FaxHistoryWidget", "已读");
    case 13: return QCoreApplication::translate("FaxHistoryWidget", "已回复");
    case 14: return QCoreApplication::translate("FaxHistoryWidget", "已转发");
    case 15: return QCoreApplication::translate("FaxHistoryWidget", "已打印");
    default: return QString();
    }
}

QString localName(const QString& time, const QString& fileNumber)
{
    QString digits;
    for (const QChar c : time)
        if (c.isDigit())
            digits += c;
    return digits + QLatin1Char('_') + fileNumber;
}

void prepareTable(QTableWidget* table, const QStringList& headers)
{
    table->setRowCount(0);
    table->setColumnCount(headers.size());
    table->setHorizontalHeaderLabels(headers);
    table->horizontalHeader()->setStretchLastSection(true);
    table->verticalHeader()->hide();
}

void appendRow(QTableWidget* table, const QStringList& texts)
{
    const int row = table->rowCount();
    table->insertRow(row);
    for (int column = 0; column < texts.size(); ++column)
        table->setItem(row, column, new QTableWidgetItem(texts[column]));
}

QString currentText(QTableWidget* table, int column)
{
    const int row = table->currentRow();
    const QTableWidgetItem* item = row < 0 ? nullptr : table->item(row, column);
    return item ? item->text() : QString();
}

bool removeRow(QTableWidget* table, int column, const QString& text)
{
    for (int row = 0; row < table->rowCount(); ++row) {
        const QTableWidgetItem* item = table->item(row, column);
        if (item && item->text() == text) {
            table->removeRow(row);
            return true;
        }
    }
    return false;
}

void openInEditor(const QString& path, QWidget* owner)
{
    Fax fax;
    fax.filepath = path;
    auto* window = new FaxDetailWindow(fax, owner);
    window->show();
}

} // namespace DeviceFaxUtil

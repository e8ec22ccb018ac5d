#include "ContactTable.h"

#include <QAbstractItemView>
#include <QHeaderView>
#include <QTableWidget>

QString ContactTable::faxNumber(const Contact& contact)
{
    if (!contact.businessFax.isEmpty())
        return contact.businessFax;
    if (!contact.houseFax.isEmpty())
        return contact.houseFax;
    return contact.otherFax;
}

bool ContactTable::matches(const Contact& contact, const QString& text)
{
    return contact.company.indexOf(text, 0, Qt::CaseInsensitive) >= 0
        || contact.businessFax.indexOf(text, 0, Qt::CaseInsensitive) >= 0
        || contact.represented.indexOf(text, 0, Qt::CaseInsensitive) >= 0;
}

void ContactTable::setup(QTableWidget* table, const QStringList& headers)
{
    table->setColumnCount(headers.size());
    table->setHorizontalHeaderLabels(headers);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    table->verticalHeader()->setVisible(false);
}

void ContactTable::setRow(QTableWidget* table, int row, const QStringList& texts)
{
    for (int column = 0; column < texts.size(); ++column) {
        QTableWidgetItem* cell = table->item(row, column);
        if (!cell) {
            cell = new QTableWidgetItem;
            table->setItem(row, column, cell);
        }
        cell->setText(texts.at(column));
    }
}

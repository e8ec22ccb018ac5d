#include "FaxTable.h"

#include <QAbstractItemView>
#include <QItemSelectionModel>
#include <QSplitter>
#include <QTableWidget>
#include <algorithm>

void FaxTable::setup(QTableWidget* table, const QStringList& headers, QHeaderView::ResizeMode mode)
{
    table->setColumnCount(headers.size());
    table->setHorizontalHeaderLabels(headers);
    table->setShowGrid(true);
    table->setGridStyle(Qt::SolidLine);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setEditTriggers(QAbstractItemView::NoEditTriggers);
    table->setSortingEnabled(false);
    table->horizontalHeader()->setSectionsMovable(true);
    table->horizontalHeader()->setSectionResizeMode(mode);
    table->verticalHeader()->setVisible(false);
    table->setContextMenuPolicy(Qt::CustomContextMenu);
}

void FaxTable::splitWithPreview(QSplitter* splitter)
{
    splitter->setStretchFactor(0, 2);
    splitter->setStretchFactor(1, 1);
    splitter->setSizes({ 800, 400 });
}

void FaxTable::fitHeaders(QTableWidget* table)
{
    QHeaderView* header = table->horizontalHeader();
    for (int column = 0; column < table->columnCount(); ++column)
        if (header->sectionSize(column) < header->sectionSizeHint(column))
            header->resizeSection(column, header->sectionSizeHint(column));
}

void FaxTable::setRow(QTableWidget* table, int row, const QStringList& texts)
{
    for (int column = 0; column < texts.size(); ++column)
        table->setItem(row, column, new QTableWidgetItem(texts.at(column)));
}

QList<int> FaxTable::selectedRowsDescending(QTableWidget* table)
{
    QList<int> rows;
    for (const QModelIndex& index : table->selectionModel()->selectedRows(0))
        rows.append(index.row());
    std::sort(rows.begin(), rows.end(), std::greater<int>());
    return rows;
}

std::unique_ptr<QSettings> FaxTable::headerSettings()
{
    return std::make_unique<QSettings>(QSettings::IniFormat, QSettings::UserScope, QStringLiteral("Test"));
}

void FaxTable::saveHeaderState(QTableWidget* table, const QString& key)
{
    auto settings = headerSettings();
    settings->setValue(key, table->horizontalHeader()->saveState());
    settings->sync();
}

bool FaxTable::restoreHeaderState(QTableWidget* table, const QString& key)
{
    const QByteArray state = headerSettings()->value(key).toByteArray();
    return !state.isEmpty() && table->horizontalHeader()->restoreState(state);
}

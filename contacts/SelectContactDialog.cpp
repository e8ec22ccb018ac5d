#include "SelectContactDialog.h"

#include "ui_SelectContactDialog.h"

#include "ContactTable.h"
#include "DatabaseManager.h"

#include <QItemSelectionModel>
#include <QSignalBlocker>
#include <algorithm>

SelectContactDialog::SelectContactDialog(QWidget* parent)
    : QDialog(parent)
    , ui(new Ui::SelectContactDialog)
{
    ui->setupUi(this);
    const QStringList headers = { tr("联系人"), tr("传真号码") };
    ContactTable::setup(ui->tableWidget, headers);
    ContactTable::setup(ui->tableWidget_selected, headers);
    {
        const QSignalBlocker block(ui->combo_contact_type);
        ui->combo_contact_type->addItem(tr("全部联系人"), 0);
        DatabaseManager db;
        for (const ContactType& type : db.queryContactTypes())
            ui->combo_contact_type->addItem(type.name, type.id);
    }
    loadLeft();
}

SelectContactDialog::~SelectContactDialog()
{
    delete ui;
}

void SelectContactDialog::loadLeft()
{
    DatabaseManager db;
    const int index = ui->combo_contact_type->currentIndex();
    const QList<Contact> category
        = index <= 0 ? db.queryContacts() : db.queryContacts(ui->combo_contact_type->itemData(index).toInt());
    const QString text = ui->lineEdit->text();
    m_left.clear();
    for (const Contact& c : category) {
        const bool chosen
            = std::any_of(m_right.cbegin(), m_right.cend(), [&](const Contact& r) { return r.id == c.id; });
        if (chosen)
            continue;
        if (ContactTable::matches(c, text))
            m_left.append(c);
    }
    fill(ui->tableWidget, m_left);
}

void SelectContactDialog::fill(QTableWidget* table, const QList<Contact>& contacts)
{
    table->clearContents();
    table->setRowCount(contacts.size());
    for (int row = 0; row < contacts.size(); ++row)
        ContactTable::setRow(table, row, { contacts.at(row).represented, ContactTable::faxNumber(contacts.at(row)) });
}

QList<int> SelectContactDialog::selectedRows(QTableWidget* table)
{
    QList<int> rows;
    for (const QModelIndex& index : table->selectionModel()->selectedRows(0))
        rows.append(index.row());
    return rows;
}

QList<int> SelectContactDialog::allRows(int count)
{
    QList<int> rows;
    for (int row = 0; row < count; ++row)
        rows.append(row);
    return rows;
}

void SelectContactDialog::move(QList<int> rows, QList<Contact>& from, QList<Contact>& to)
{
    std::sort(rows.begin(), rows.end());
    rows.erase(std::unique(rows.begin(), rows.end()), rows.end());
    for (int row : rows) {
        if (row >= 0 && row < from.size())
            to.append(from.at(row));
    }
    for (auto it = rows.crbegin(); it != rows.crend(); ++it) {
        if (*it >= 0 && *it < from.size())
            from.removeAt(*it);
    }
    fill(ui->tableWidget, m_left);
    fill(ui->tableWidget_selected, m_right);
}

void SelectContactDialog::on_combo_contact_type_currentIndexChanged(int)
{
    loadLeft();
}

void SelectContactDialog::on_lineEdit_textChanged(const QString&)
{
    loadLeft();
}

void SelectContactDialog::on_button_selected_clicked()
{
    move(selectedRows(ui->tableWidget), m_left, m_right);
}

void SelectContactDialog::on_button_noselected_clicked()
{
    move(selectedRows(ui->tableWidget_selected), m_right, m_left);
}

void SelectContactDialog::on_button_all_selected_clicked()
{
    move(allRows(m_left.size()), m_left, m_right);
}

void SelectContactDialog::on_button_all_noseleected_clicked()
{
    move(allRows(m_right.size()), m_right, m_left);
}

void SelectContactDialog::on_tableWidget_cellDoubleClicked(int row, int)
{
    move({ row }, m_left, m_right);
}

void SelectContactDialog::on_tableWidget_selected_cellDoubleClicked(int row, int)
{
    move({ row }, m_right, m_left);
}

void SelectContactDialog::on_button_ok_clicked()
{
    emit returnSelectContactList(m_right);
    accept();
}

void SelectContactDialog::on_button_cancel_clicked()
{
    reject();
}

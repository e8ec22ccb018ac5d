#include "ContactWindow.h"

#include "ui_ContactWindow.h"

#include "AddContactDialog.h"
#include "ContactCsv.h"
#include "ContactTable.h"
#include "ContactTypeDialog.h"
#include "DatabaseManager.h"
#include "DialogUtil.h"
#include "LogUtil.h"
#include "MessageBoxUtil.h"

#include <QItemSelectionModel>
#include <QSignalBlocker>
#include <algorithm>

ContactWindow::ContactWindow(QWidget* parent)
    : QMainWindow(parent)
    , ui(new Ui::ContactWindow)
{
    ui->setupUi(this);
    ContactTable::setup(ui->tableWidget, { tr("类别"), tr("联系人"), tr("公司"), tr("传真号码"), tr("电邮") });
    connect(ui->action_csv_export, &QAction::triggered, this, &ContactWindow::importToCSV);
    connect(ui->action_csv_import, &QAction::triggered, this, &ContactWindow::importFromCSV);
    loadContactTypes();
    loadCategory();
}

ContactWindow::~ContactWindow()
{
    delete ui;
}

void ContactWindow::loadContactTypes()
{
    DatabaseManager db;
    m_types = db.queryContactTypes();
    const QSignalBlocker block1(ui->combo_contact_type1);
    const QSignalBlocker block2(ui->combo_contact_type2);
    ui->combo_contact_type1->clear();
    ui->combo_contact_type2->clear();
    ui->combo_contact_type1->addItem(tr("全部联系人"), 0);
    for (const ContactType& type : m_types) {
        ui->combo_contact_type1->addItem(type.name, type.id);
        ui->combo_contact_type2->addItem(type.name, type.id);
    }
}

void ContactWindow::loadCategory()
{
    DatabaseManager db;
    const int index = ui->combo_contact_type1->currentIndex();
    if (index <= 0)
        m_categoryContacts = db.queryContacts();
    else
        m_categoryContacts = db.queryContacts(ui->combo_contact_type1->itemData(index).toInt());
    showMatching();
}

void ContactWindow::showMatching()
{
    const QString text = ui->lineEdit->text();
    m_contacts.clear();
    for (const Contact& c : m_categoryContacts) {
        if (ContactTable::matches(c, text))
            m_contacts.append(c);
    }
    ui->tableWidget->clearContents();
    ui->tableWidget->setRowCount(m_contacts.size());
    for (int row = 0; row < m_contacts.size(); ++row)
        fillRow(row, m_contacts.at(row));
}

void ContactWindow::fillRow(int row, const Contact& c)
{
    ContactTable::setRow(ui->tableWidget, row,
        { typeName(c.contact_type_id), c.represented, c.company, ContactTable::faxNumber(c), c.email });
}

QString ContactWindow::typeName(int typeId) const
{
    for (const ContactType& type : m_types) {
        if (type.id == typeId)
            return type.name;
    }
    return QString();
}

void ContactWindow::on_combo_contact_type1_currentIndexChanged(int)
{
    loadCategory();
}

void ContactWindow::on_lineEdit_textChanged(const QString&)
{
    showMatching();
}

void ContactWindow::openEditor(Contact contact)
{
    auto* dialog = new AddContactDialog(contact, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &AddContactDialog::addContactSuccess, this, &ContactWindow::addContactToList);
    connect(dialog, &AddContactDialog::updateContactSuccess, this, &ContactWindow::updateContact);
    dialog->open();
}

void ContactWindow::on_button_new_clicked()
{
    Contact contact;
    // A contact made while a category is shown starts in that category.
    contact.contact_type_id = ui->combo_contact_type1->currentData().toInt();
    openEditor(contact);
}

void ContactWindow::on_button_modify_clicked()
{
    const int row = ui->tableWidget->currentRow();
    if (row >= 0 && row < m_contacts.size())
        openEditor(m_contacts.at(row));
}

void ContactWindow::on_tableWidget_cellDoubleClicked(int row, int)
{
    if (row >= 0 && row < m_contacts.size())
        openEditor(m_contacts.at(row));
}

void ContactWindow::addContactToList(Contact& contact)
{
    m_categoryContacts.append(contact);
    m_contacts.append(contact);
    const int row = ui->tableWidget->rowCount();
    ui->tableWidget->insertRow(row);
    fillRow(row, contact);
}

void ContactWindow::replaceContact(const Contact& contact)
{
    for (Contact& c : m_categoryContacts) {
        if (c.id == contact.id)
            c = contact;
    }
    for (int row = 0; row < m_contacts.size(); ++row) {
        if (m_contacts.at(row).id == contact.id) {
            m_contacts[row] = contact;
            fillRow(row, contact);
        }
    }
}

void ContactWindow::updateContact(Contact& contact)
{
    replaceContact(contact);
}

void ContactWindow::on_button_delete_clicked()
{
    const int row = ui->tableWidget->currentRow();
    if (row < 0 || row >= m_contacts.size())
        return;
    Contact contact = m_contacts.at(row);
    if (MessageBoxUtil::question(this, tr("Velkor 消息"), tr("删除联系人“%1”吗？").arg(contact.represented),
                                 QMessageBox::Warning)
        != QMessageBox::Yes)
        return;
    DatabaseManager db;
    if (!db.deleteContact(contact)) {
        LogUtil::w(QStringLiteral("deleting contact %1 failed").arg(contact.id));
        MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), tr("联系人删除失败"));
        return;
    }
    m_contacts.removeAt(row);
    ui->tableWidget->removeRow(row);
    const int id = contact.id;
    m_categoryContacts.erase(std::remove_if(m_categoryContacts.begin(), m_categoryContacts.end(),
                                 [id](const Contact& c) { return c.id == id; }),
        m_categoryContacts.end());
}

void ContactWindow::on_button_move_clicked()
{
    const int row = ui->tableWidget->currentRow();
    const int index = ui->combo_contact_type2->currentIndex();
    if (row < 0 || row >= m_contacts.size() || index < 0)
        return;
    Contact contact = m_contacts.at(row);
    contact.contact_type_id = ui->combo_contact_type2->itemData(index).toInt();
    DatabaseManager db;
    if (!db.updateContact(contact)) {
        LogUtil::w(QStringLiteral("moving contact %1 failed").arg(contact.id));
        return;
    }
    replaceContact(contact);
}

void ContactWindow::on_button_edit_type_clicked()
{
    auto* dialog = new ContactTypeDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &ContactTypeDialog::addContactTypeSuccess, this, &ContactWindow::addContactTypeToList);
    connect(dialog, &ContactTypeDialog::updateContactTypeNameSuccess, this, &ContactWindow::updateContactTypeToList);
    connect(dialog, &ContactTypeDialog::deleteContactTypeSuccess, this, &ContactWindow::deleteContactTypeFromList);
    dialog->open();
}

void ContactWindow::addContactTypeToList(ContactType& type)
{
    m_types.append(type);
    ui->combo_contact_type1->addItem(type.name, type.id);
    ui->combo_contact_type2->addItem(type.name, type.id);
}

void ContactWindow::updateContactTypeToList(ContactType& type)
{
    for (ContactType& t : m_types) {
        if (t.id == type.id)
            t.name = type.name;
    }
    for (QComboBox* combo : { ui->combo_contact_type1, ui->combo_contact_type2 }) {
        const int index = combo->findData(type.id);
        if (index >= 0)
            combo->setItemText(index, type.name);
    }
    for (int row = 0; row < m_contacts.size(); ++row) {
        if (m_contacts.at(row).contact_type_id == type.id)
            fillRow(row, m_contacts.at(row));
    }
}

void ContactWindow::deleteContactTypeFromList(ContactType& type)
{
    m_types.erase(std::remove_if(m_types.begin(), m_types.end(), [&](const ContactType& t) { return t.id == type.id; }),
        m_types.end());
    // Removing the category shown moves the first combo on, which reloads the table.
    for (QComboBox* combo : { ui->combo_contact_type1, ui->combo_contact_type2 }) {
        const int index = combo->findData(type.id);
        if (index >= 0)
            combo->removeItem(index);
    }
}

void ContactWindow::importToCSV()
{
    const QString path = DialogUtil::getSaveFileName(this, tr("保存文件"), tr("联系人.csv"), QStringLiteral("(*.csv)"));
    if (path.isEmpty())
        return;
    QModelIndexList rows = ui->tableWidget->selectionModel()->selectedRows(0);
    LogUtil::d(QStringLiteral("size:%1").arg(rows.size()));
    std::sort(rows.begin(), rows.end(), [](const QModelIndex& a, const QModelIndex& b) { return a.row() < b.row(); });
    QList<Contact> chosen;
    for (const QModelIndex& index : rows)
        chosen.append(m_contacts.at(index.row()));
    ContactCsv::write(path, chosen);
}

void ContactWindow::importFromCSV()
{
    const QString path
        = DialogUtil::getOpenFileName(this, tr("打开"), QStringLiteral("/home"), QStringLiteral("*.csv"));
    if (path.isEmpty())
        return;
    QList<Contact> contacts;
    QList<int> skippedLines;
    if (!ContactCsv::read(path, &contacts, nullptr, &skippedLines)) {
        MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), tr("无法打开文件：%1").arg(path));
        return;
    }
    DatabaseManager db;
    if (!contacts.isEmpty() && !db.addContactList(contacts)) {
        MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), tr("联系人导入失败"));
        return;
    }
    QString report = tr("已导入联系人：%1").arg(contacts.size());
    if (!skippedLines.isEmpty()) {
        QStringList numbers;
        for (int line : skippedLines)
            numbers << QString::number(line);
        report += QLatin1Char('\n') + tr("以下行的字段不足 %1 个，已跳过：%2").arg(ContactCsv::FIELD_COUNT).arg(numbers.join(QStringLiteral(", ")));
    }
    MessageBoxUtil::infoMsg(this, tr("Velkor 消息"), report);
    // Imported contacts have no category: show all contacts again.
    {
        const QSignalBlocker blockSearch(ui->lineEdit);
        const QSignalBlocker blockCombo(ui->combo_contact_type1);
        ui->lineEdit->clear();
        ui->combo_contact_type1->setCurrentIndex(0);
    }
    loadCategory();
}

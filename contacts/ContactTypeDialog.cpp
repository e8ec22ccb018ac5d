#include "ContactTypeDialog.h"

#include "ui_ContactTypeDialog.h"

#include "DatabaseManager.h"
#include "DialogUtil.h"
#include "LogUtil.h"
#include "MessageBoxUtil.h"

ContactTypeDialog::ContactTypeDialog(QWidget* parent)
    : QDialog(parent)
    , ui(new Ui::ContactTypeDialog)
{
    ui->setupUi(this);
    DatabaseManager db;
    m_types = db.queryContactTypes();
    for (const ContactType& type : m_types)
        ui->listWidget->addItem(type.name);
    if (!m_types.isEmpty())
        ui->listWidget->setCurrentRow(0);
}

ContactTypeDialog::~ContactTypeDialog()
{
    delete ui;
}

QString ContactTypeDialog::askName(const QString& current)
{
    bool ok = false;
    const QString name
        = DialogUtil::getText(this, tr("类别名称"), tr("联系人分类名称"), QLineEdit::Normal, current, &ok);
    if (!ok || name.trimmed().isEmpty())
        return QString();
    return name.trimmed();
}

bool ContactTypeDialog::nameIsFree(QString name)
{
    DatabaseManager db;
    if (!db.queryContactTypeByName(name))
        return true;
    MessageBoxUtil::criticalMsg(this, QStringLiteral("Velkor"), tr("同名类别已经存在"));
    return false;
}

void ContactTypeDialog::on_button_new_clicked()
{
    const QString name = askName(QString());
    if (name.isEmpty() || !nameIsFree(name))
        return;
    ContactType type;
    type.name = name;
    DatabaseManager db;
    if (!db.addContactType(type)) {
        LogUtil::w(QStringLiteral("adding category %1 failed").arg(name));
        return;
    }
    m_types.append(type);
    ui->listWidget->addItem(type.name);
    ui->listWidget->setCurrentRow(m_types.size() - 1);
    emit addContactTypeSuccess(type);
}

void ContactTypeDialog::renameRow(int row)
{
    if (row < 0 || row >= m_types.size())
        return;
    ContactType type = m_types.at(row);
    const QString name = askName(type.name);
    if (name.isEmpty() || name == type.name || !nameIsFree(name))
        return;
    type.name = name;
    DatabaseManager db;
    if (!db.renameContactType(type)) {
        LogUtil::w(QStringLiteral("renaming category %1 failed").arg(type.id));
        return;
    }
    m_types[row] = type;
    ui->listWidget->item(row)->setText(name);
    emit updateContactTypeNameSuccess(type);
}

void ContactTypeDialog::on_button_rename_clicked()
{
    renameRow(ui->listWidget->currentRow());
}

void ContactTypeDialog::on_listWidget_itemDoubleClicked(QListWidgetItem* item)
{
    renameRow(ui->listWidget->row(item));
}

void ContactTypeDialog::on_button_delete_clicked()
{
    const int row = ui->listWidget->currentRow();
    if (row < 0 || row >= m_types.size())
        return;
    ContactType type = m_types.at(row);
    DatabaseManager db;
    if (db.queryContactTypeHasContact(type.id)) {
        MessageBoxUtil::criticalMsg(this, QStringLiteral("Velkor"), tr("分组内有联系人，无法删除分组"));
        return;
    }
    if (!db.deleteContactType(type)) {
        LogUtil::w(QStringLiteral("deleting category %1 failed").arg(type.id));
        return;
    }
    m_types.removeAt(row);
    delete ui->listWidget->takeItem(row);
    emit deleteContactTypeSuccess(type);
}

void ContactTypeDialog::on_button_close_clicked()
{
    accept();
}

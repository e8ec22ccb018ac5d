#include "AddContactDialog.h"

#include "ui_AddContactDialog.h"

#include "DatabaseManager.h"
#include "LogUtil.h"
#include "MessageBoxUtil.h"

AddContactDialog::AddContactDialog(Contact& contact, QWidget* parent)
    : QDialog(parent)
    , ui(new Ui::AddContactDialog)
    , m_contact(lookUp(contact))
{
    ui->setupUi(this);
    DatabaseManager db;
    m_types = db.queryContactTypes();
    for (const ContactType& type : m_types)
        ui->combo_contact_type->addItem(type.name, type.id);
    showContact();
}

AddContactDialog::~AddContactDialog()
{
    delete ui;
}

Contact AddContactDialog::lookUp(const Contact& given)
{
    DatabaseManager db;
    Contact probe = given;
    if (given.id != 0) {
        const Contact stored = db.findContact(probe);
        return stored.id != 0 ? stored : given;
    }
    for (QString number : { given.businessFax, given.houseFax, given.otherFax }) {
        if (number.isEmpty())
            continue;
        const Contact stored = db.findContactByFaxNumber(number);
        if (stored.id != 0)
            return stored;
    }
    return given;
}

void AddContactDialog::showContact()
{
    const Contact c = m_contact;
    // The names rebuild the proposals; the stored name is put back afterwards.
    ui->edit_lastName->setText(c.lastName);
    ui->edit_firstName->setText(c.firstName);
    if (!c.represented.isEmpty())
        ui->combo_represented->setCurrentText(c.represented);
    ui->edit_company->setText(c.company);
    ui->edit_department->setText(c.department);
    ui->edit_job->setText(c.job);
    ui->edit_businessFax->setText(c.businessFax);
    ui->edit_houseFax->setText(c.houseFax);
    ui->edit_otherFax->setText(c.otherFax);
    ui->edit_businessNumber->setText(c.businessNumber);
    ui->edit_houseNumber->setText(c.houseNumber);
    ui->edit_mobile->setText(c.mobile);
    ui->edit_code->setText(c.code);
    ui->edit_email->setText(c.email);
    ui->edit_address->setText(c.address);
    ui->edit_remark->setText(c.remark);
    // A contact outside every category (an imported one, say) shows no category.
    ui->combo_contact_type->setCurrentIndex(ui->combo_contact_type->findData(c.contact_type_id));
}

void AddContactDialog::on_edit_lastName_textChanged(const QString&)
{
    proposeRepresented();
}

void AddContactDialog::on_edit_firstName_textChanged(const QString&)
{
    proposeRepresented();
}

void AddContactDialog::proposeRepresented()
{
    const QString last = ui->edit_lastName->text();
    const QString first = ui->edit_firstName->text();
    QStringList proposals;
    if (!last.isEmpty() || !first.isEmpty()) {
        proposals << last + first << first + last << last + QLatin1Char(' ') + first << first + QLatin1Char(' ') + last;
        // With one name empty several proposals come out alike; each is offered once.
        for (QString& proposal : proposals)
            proposal = proposal.trimmed();
        proposals.removeDuplicates();
    }
    ui->combo_represented->clear();
    ui->combo_represented->addItems(proposals);
}

void AddContactDialog::collectFields()
{
    Contact& c = m_contact;
    c.lastName = ui->edit_lastName->text();
    c.firstName = ui->edit_firstName->text();
    c.represented = ui->combo_represented->currentText();
    c.company = ui->edit_company->text();
    c.department = ui->edit_department->text();
    c.job = ui->edit_job->text();
    c.businessFax = ui->edit_businessFax->text();
    c.houseFax = ui->edit_houseFax->text();
    c.otherFax = ui->edit_otherFax->text();
    c.businessNumber = ui->edit_businessNumber->text();
    c.houseNumber = ui->edit_houseNumber->text();
    c.mobile = ui->edit_mobile->text();
    c.code = ui->edit_code->text();
    c.email = ui->edit_email->text();
    c.address = ui->edit_address->text();
    c.remark = ui->edit_remark->text();
    const int index = ui->combo_contact_type->currentIndex();
    c.contact_type_id = index >= 0 ? m_types.at(index).id : 0;
}

void AddContactDialog::on_button_save_clicked()
{
    collectFields();
    const Contact& c = m_contact;
    bool named = false;
    for (const QString& text : { c.lastName, c.firstName, c.represented, c.company, c.businessFax, c.houseFax,
                                 c.otherFax, c.businessNumber, c.houseNumber, c.mobile })
        named = named || !text.trimmed().isEmpty();
    if (!named) {
        // The dialog stays open with what was typed.
        MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), tr("请至少填写联系人的姓名或一个号码"));
        return;
    }
    DatabaseManager db;
    if (m_contact.id == 0) {
        if (db.addContact(m_contact)) {
            emit addContactSuccess(m_contact);
        } else {
            LogUtil::w(QStringLiteral("adding a contact failed"));
            MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), tr("联系人保存失败"));
        }
    } else {
        if (db.updateContact(m_contact)) {
            emit updateContactSuccess(m_contact);
        } else {
            LogUtil::w(QStringLiteral("updating contact %1 failed").arg(m_contact.id));
            MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), tr("联系人保存失败"));
        }
    }
    accept();
}

void AddContactDialog::on_button_cancel_clicked()
{
    reject();
}

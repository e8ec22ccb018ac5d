#pragma once

#include "Contact.h"

#include <QDialog>
#include <QList>

namespace Ui {
class AddContactDialog;
}

// One address book entry, new or existing. An entry with id 0 is added on saving, any other
// one is updated. The dialog does not delete itself; whoever opens it decides.
class AddContactDialog : public QDialog
{
    Q_OBJECT

public:
    // The entry is looked up in the address book first: by id, or, for a new entry that carries
    // a fax number, by that number, so that a known number opens its existing entry.
    AddContactDialog(Contact& contact, QWidget* parent = nullptr);
    ~AddContactDialog() override;

    const Contact& contact() const { return m_contact; }

signals:
    void addContactSuccess(Contact& contact);
    void updateContactSuccess(Contact& contact);

private slots:
    void on_edit_lastName_textChanged(const QString& text);
    void on_edit_firstName_textChanged(const QString& text);
    void on_button_save_clicked();
    void on_button_cancel_clicked();

private:
    Contact lookUp(const Contact& given);
    void showContact();
    void proposeRepresented();
    void collectFields();

    Ui::AddContactDialog* ui;
    Contact m_contact;
    QList<ContactType> m_types; // mirrors combo_contact_type
};

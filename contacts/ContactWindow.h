#pragma once

#include "Contact.h"

#include <QList>
#include <QMainWindow>

namespace Ui {
class ContactWindow;
}

// The address book: the contacts of one category or of all, a search over what the category
// shows, editing, moving between categories, and the CSV export and import.
class ContactWindow : public QMainWindow
{
    Q_OBJECT

public:
    explicit ContactWindow(QWidget* parent = nullptr);
    ~ContactWindow() override;

public slots:
    void addContactToList(Contact& contact);
    void updateContact(Contact& contact);
    void addContactTypeToList(ContactType& type);
    void updateContactTypeToList(ContactType& type);
    void deleteContactTypeFromList(ContactType& type);
    // Writes the selected contacts to a CSV file (the export, despite its name).
    void importToCSV();
    // Adds the contacts of a CSV file to the address book.
    void importFromCSV();

private slots:
    void on_combo_contact_type1_currentIndexChanged(int index);
    void on_lineEdit_textChanged(const QString& text);
    void on_button_edit_type_clicked();
    void on_button_new_clicked();
    void on_button_modify_clicked();
    void on_button_delete_clicked();
    void on_button_move_clicked();
    void on_tableWidget_cellDoubleClicked(int row, int column);

private:
    void loadContactTypes();
    void loadCategory();
    void showMatching();
    void fillRow(int row, const Contact& contact);
    QString typeName(int typeId) const;
    void openEditor(Contact contact);
    void replaceContact(const Contact& contact);

    Ui::ContactWindow* ui;
    QList<Contact> m_categoryContacts; // everything of the chosen category
    QList<Contact> m_contacts; // mirrors the table row by row
    QList<ContactType> m_types; // mirrors both combos (the first combo after "全部联系人")
};

#pragma once

#include "Contact.h"

#include <QDialog>
#include <QList>

class QListWidgetItem;

namespace Ui {
class ContactTypeDialog;
}

// The address book's categories: add, rename, delete. Two categories never share a name,
// and a category that still holds contacts can't be deleted.
class ContactTypeDialog : public QDialog
{
    Q_OBJECT

public:
    explicit ContactTypeDialog(QWidget* parent = nullptr);
    ~ContactTypeDialog() override;

signals:
    void addContactTypeSuccess(ContactType& type);
    void updateContactTypeNameSuccess(ContactType& type);
    void deleteContactTypeSuccess(ContactType& type);

private slots:
    void on_button_new_clicked();
    void on_button_rename_clicked();
    void on_button_delete_clicked();
    void on_button_close_clicked();
    void on_listWidget_itemDoubleClicked(QListWidgetItem* item);

private:
    // Asks for a name; empty when cancelled or blank.
    QString askName(const QString& current);
    // True when the name is free; otherwise tells the user.
    bool nameIsFree(QString name);
    void renameRow(int row);

    Ui::ContactTypeDialog* ui;
    QList<ContactType> m_types; // mirrors listWidget row by row
};

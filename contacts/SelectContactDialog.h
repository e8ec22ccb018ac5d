#pragma once

#include "Contact.h"

#include <QDialog>
#include <QList>

class QTableWidget;

namespace Ui {
class SelectContactDialog;
}

// The recipient picker: address book on the left, chosen recipients on the right. A contact
// stands in one of the two tables at a time.
class SelectContactDialog : public QDialog
{
    Q_OBJECT

public:
    explicit SelectContactDialog(QWidget* parent = nullptr);
    ~SelectContactDialog() override;

signals:
    // Emitted by "确定" with the chosen contacts, in the order of the right-hand table.
    void returnSelectContactList(QList<Contact>& contacts);

private slots:
    void on_combo_contact_type_currentIndexChanged(int index);
    void on_lineEdit_textChanged(const QString& text);
    void on_button_selected_clicked();
    void on_button_noselected_clicked();
    void on_button_all_selected_clicked();
    void on_button_all_noseleected_clicked();
    void on_tableWidget_cellDoubleClicked(int row, int column);
    void on_tableWidget_selected_cellDoubleClicked(int row, int column);
    void on_button_ok_clicked();
    void on_button_cancel_clicked();

private:
    void loadLeft();
    void fill(QTableWidget* table, const QList<Contact>& contacts);
    // Moves the given rows from one side to the end of the other.
    void move(QList<int> rows, QList<Contact>& from, QList<Contact>& to);
    static QList<int> selectedRows(QTableWidget* table);
    static QList<int> allRows(int count);

    Ui::SelectContactDialog* ui;
    QList<Contact> m_left; // mirrors tableWidget
    QList<Contact> m_right; // mirrors tableWidget_selected
};

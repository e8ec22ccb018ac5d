#pragma once

#include "Contact.h"

#include <QStringList>

class QTableWidget;

// What the contact tables of the address book and the recipient picker have in common.
class ContactTable
{
public:
    // The number a fax goes to: business fax, else house fax, else other fax.
    static QString faxNumber(const Contact& contact);
    // The search of the address book: the text occurs, case and all, in the company, the
    // business fax or the shown name.
    static bool matches(const Contact& contact, const QString& text);
    // Columns, whole-row selection, no editing, stretched sections.
    static void setup(QTableWidget* table, const QStringList& headers);
    // Writes the texts into the row's cells, making the items where missing.
    static void setRow(QTableWidget* table, int row, const QStringList& texts);
};

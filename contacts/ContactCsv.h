#pragma once

#include "Contact.h"

#include <QList>
#include <QString>
#include <QStringList>

// The contact file: UTF-8 with a byte-order mark, a fixed header line, then one contact a line
// with sixteen comma-separated fields. A field holding a comma, a quote or a line break is put
// in double quotes (quotes inside doubled), so that every value comes back as it went out.
class ContactCsv
{
public:
    static const int FIELD_COUNT = 16;

    // The first line of every file, without its "\n".
    static QString header();
    // The sixteen fields of a contact in file order.
    static QStringList fields(const Contact& contact);
    // A new contact (id 0, no category) from the first sixteen fields; needs at least sixteen.
    static Contact fromFields(const QStringList& fields);
    // One line of the file, ending in "\n".
    static QString formatLine(const Contact& contact);
    // The records of a whole file text, each split into fields; empty lines are left out.
    // firstLines gets the line number (from 1) on which each record starts.
    static QList<QStringList> splitRecords(const QString& text, QList<int>* firstLines = nullptr);
    // The contacts of a whole file text; the first record is the header and is passed over.
    // Records with fewer than sixteen fields are passed over, counted in *skipped and their first
    // lines listed in *skippedLines.
    static QList<Contact> parse(const QString& text, int* skipped = nullptr, QList<int>* skippedLines = nullptr);

    // Writes header and contacts; the file appears under its name only when complete.
    static bool write(const QString& path, const QList<Contact>& contacts);
    // Reads a file; false when it can't be opened.
    static bool read(const QString& path, QList<Contact>* contacts, int* skipped = nullptr,
                     QList<int>* skippedLines = nullptr);

private:
    static QString quoteField(const QString& field);
};

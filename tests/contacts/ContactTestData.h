#pragma once

#include "Contact.h"
#include "DatabaseManager.h"

#include <QAbstractButton>
#include <QCoreApplication>
#include <QEvent>
#include <QKeyEvent>
#include <QTableWidget>
#include <QTest>

// Shared by the address book tests: seeding the store and working the real widgets.
namespace ContactTestData {

inline int addType(const QString& name)
{
    ContactType type;
    type.name = name;
    DatabaseManager db;
    if (!db.addContactType(type))
        QTest::qFail("could not store category", __FILE__, __LINE__);
    return type.id;
}

inline Contact addContact(const QString& represented, const QString& company, const QString& businessFax, int typeId)
{
    Contact c;
    c.represented = represented;
    c.company = company;
    c.businessFax = businessFax;
    c.contact_type_id = typeId;
    DatabaseManager db;
    if (!db.addContact(c))
        QTest::qFail("could not store contact", __FILE__, __LINE__);
    return c;
}

// Every field holds something a naive writer or reader would damage.
inline Contact trickyContact()
{
    Contact c;
    c.lastName = QStringLiteral("O'Brien");
    c.firstName = QStringLiteral("\"Bob\"");
    c.represented = QStringLiteral("O'Brien, \"Bob\" 张三");
    c.company = QStringLiteral("ACME, Inc.");
    c.department = QStringLiteral("R&D; 研发部");
    c.job = QStringLiteral("Chef \"de\" cuisine");
    c.businessFax = QStringLiteral("+86 (10) 1234,5678");
    c.houseFax = QStringLiteral("010'555");
    c.otherFax = QStringLiteral("\"\"");
    c.businessNumber = QStringLiteral("1,2,3");
    c.houseNumber = QStringLiteral("Ünïcødé ☎");
    c.mobile = QStringLiteral(",");
    c.code = QStringLiteral("100'000");
    c.address = QStringLiteral("北京市, 朝阳区 \"A\" 座");
    c.email = QStringLiteral("bob@example.com");
    c.remark = QStringLiteral("last, \"field\",");
    return c;
}

inline QStringList allFields(const Contact& c)
{
    return { c.firstName, c.lastName, c.represented, c.company, c.department, c.job, c.businessFax, c.houseFax,
        c.otherFax, c.businessNumber, c.houseNumber, c.mobile, c.code, c.address, c.email, c.remark };
}

// Types text into a focused editor as an input method would commit it; QTest::keyClicks
// only knows ASCII.
inline void typeInto(QWidget* editor, const QString& text)
{
    QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, text);
    QCoreApplication::sendEvent(editor, &press);
}

inline void click(QAbstractButton* button)
{
    if (button)
        QTest::mouseClick(button, Qt::LeftButton);
}

inline QString cell(QTableWidget* table, int row, int column)
{
    QTableWidgetItem* item = table->item(row, column);
    return item ? item->text() : QString();
}

inline QStringList column(QTableWidget* table, int col)
{
    QStringList texts;
    for (int row = 0; row < table->rowCount(); ++row)
        texts << cell(table, row, col);
    return texts;
}

inline void clickRow(QTableWidget* table, int row, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    QTest::mouseClick(
        table->viewport(), Qt::LeftButton, modifiers, table->visualItemRect(table->item(row, 0)).center());
}

inline void doubleClickRow(QTableWidget* table, int row)
{
    const QPoint at = table->visualItemRect(table->item(row, 0)).center();
    QTest::mouseClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, at);
    QTest::mouseDClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, at);
}

// The dialog of type T that a window has just opened (closed ones are gone first).
template <typename T> T* openedDialog(QObject* parent)
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    const QList<T*> dialogs = parent->findChildren<T*>();
    for (T* dialog : dialogs) {
        if (dialog->isVisible())
            return dialog;
    }
    QTest::qFail("no open dialog", __FILE__, __LINE__);
    return nullptr;
}

} // namespace ContactTestData

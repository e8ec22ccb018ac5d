#pragma once

// For the window tests: working the real widgets, the boxes they show, and a bound device
// and its faxes in the store.

#include "DatabaseManager.h"
#include "Device.h"
#include "Fax.h"
#include "MessageBoxUtil.h"
#include "TestSupport.h"

#include <QAbstractButton>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QTableWidget>

namespace TestSupport {

inline QString cell(QTableWidget* table, int row, int column)
{
    const QTableWidgetItem* item = table->item(row, column);
    return item ? item->text() : QString();
}

inline QStringList column(QTableWidget* table, int col)
{
    QStringList texts;
    for (int row = 0; row < table->rowCount(); ++row)
        texts << cell(table, row, col);
    return texts;
}

// The row whose column holds text; -1 when there is none.
inline int rowOf(QTableWidget* table, int col, const QString& text) { return column(table, col).indexOf(text); }

// Clicks once the button is enabled: while a command runs, a panel's buttons are disabled.
inline void clickWhenEnabled(QObject* root, const char* name)
{
    auto* target = find<QAbstractButton>(root, name);
    if (!target || !QTest::qWaitFor([target] { return target->isEnabled(); }, 20000))
        QTest::qFail("button stays disabled", __FILE__, __LINE__);
    else
        QTest::mouseClick(target, Qt::LeftButton);
}

// What the named children show, one entry each: the text of a line edit or label, a combo
// box's current text, "+" or "-" for a checked or unchecked button.
inline QStringList shown(QObject* root, const QStringList& names)
{
    QStringList texts;
    for (const QString& name : names) {
        QObject* child = find<QObject>(root, name);
        if (auto* edit = qobject_cast<QLineEdit*>(child))
            texts << edit->text();
        else if (auto* label = qobject_cast<QLabel*>(child))
            texts << label->text();
        else if (auto* combo = qobject_cast<QComboBox*>(child))
            texts << combo->currentText();
        else if (auto* button = qobject_cast<QAbstractButton*>(child))
            texts << QString(QLatin1Char(button->isChecked() ? '+' : '-'));
        else
            texts << QStringLiteral("?");
    }
    return texts;
}

// The next message box shown (waited for), as "kind:text"; empty when none comes.
inline QString nextBox(int timeoutMs = 20000)
{
    if (!QTest::qWaitFor([] { return !MessageBoxUtil::shown().isEmpty(); }, timeoutMs))
        return QString();
    const MessageBoxUtil::Shown box = MessageBoxUtil::takeShown().first();
    return box.kind + QLatin1Char(':') + box.text;
}

// Types text as an input method would commit it; QTest::keyClicks only knows ASCII.
inline void typeInto(QWidget* editor, const QString& text)
{
    QKeyEvent press(QEvent::KeyPress, 0, Qt::NoModifier, text);
    QCoreApplication::sendEvent(editor, &press);
}

// Binds a device for gUser; returns it as stored (with its id).
inline Device bindDevice(Device device)
{
    DatabaseManager db;
    if (!db.inseretDevice(device))
        QTest::qFail("could not store device", __FILE__, __LINE__);
    return db.queryDevice(device.productID);
}

// Stores the fax under the device and gives it its new id.
inline Fax storeFax(Fax fax, int deviceId)
{
    fax.id = DatabaseManager().insertFax(fax, deviceId);
    if (fax.id == 0)
        QTest::qFail("could not store fax", __FILE__, __LINE__);
    return fax;
}

} // namespace TestSupport

namespace TestSupport {

// Runs each test object in turn; the number of failures of all of them.
template <typename... Objects> int execAll(int argc, char** argv)
{
    int failures = 0;
    auto run = [&](QObject&& object) { failures += QTest::qExec(&object, argc, argv); };
    (run(Objects()), ...);
    return failures;
}

} // namespace TestSupport

// Test entry point for a file of several test objects.
#define VELKOR_TESTS_MAIN(...)                                                                                         \
    int main(int argc, char** argv)                                                                                    \
    {                                                                                                                  \
        TestSupport::prepareProcess();                                                                                 \
        QApplication app(argc, argv);                                                                                  \
        TestSupport::prepareApplication();                                                                             \
        QTEST_SET_MAIN_SOURCE_PATH                                                                                     \
        return TestSupport::execAll<__VA_ARGS__>(argc, argv);                                                          \
    }

namespace TestSupport {

inline QList<int> ids(const QList<Fax>& faxes)
{
    QList<int> list;
    for (const Fax& fax : faxes)
        list << fax.id;
    return list;
}

} // namespace TestSupport

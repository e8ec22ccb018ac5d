#pragma once

#include <QObject>
#include <QString>
#include <QTest>
#include <QTemporaryDir>
#include <memory>

// Helpers every test uses: an isolated home and documents folder, a fresh database, no modal
// boxes, and finding widgets by their form names.
namespace TestSupport {

// Points HOME and the XDG folders at a new temporary directory, drops every database
// connection so the next query opens the new home's "velkor.db", and clears the message box
// and dialog seams. The real documents folder is never touched. Returns the new home.
QString freshHome();
// The client's root inside the current test home ("<home>/Documents/Velkor/").
QString documentsPath();
// Closes and removes every named database connection of the process.
void dropDatabaseConnections();
// Makes the tables and logs a local user in (sets gUser); returns its id.
int loginTestUser(const QString& nickname = QStringLiteral("tester"));

// Called by the test main before the application object exists.
void prepareProcess();
// Called by the test main after the application object exists.
void prepareApplication();

// Finds a child by object name; fails the current test (returns null) when it is missing.
template <typename T>
T* find(QObject* root, const QString& name)
{
    T* child = root ? root->findChild<T*>(name) : nullptr;
    if (!child)
        QTest::qFail(qPrintable(QStringLiteral("no child named %1").arg(name)), __FILE__, __LINE__);
    return child;
}

} // namespace TestSupport

// Test entry point: isolated environment, offscreen platform, recorded message boxes.
#define VELKOR_TEST_MAIN(TestObject)                                                                                   \
    int main(int argc, char** argv)                                                                                    \
    {                                                                                                                  \
        TestSupport::prepareProcess();                                                                                 \
        QApplication app(argc, argv);                                                                                  \
        TestSupport::prepareApplication();                                                                             \
        TestObject tc;                                                                                                 \
        QTEST_SET_MAIN_SOURCE_PATH                                                                                     \
        return QTest::qExec(&tc, argc, argv);                                                                          \
    }

#include "ConnectionPool.h"
#include "TestSupport.h"

#include <QApplication>
#include <QSqlError>
#include <QSqlQuery>
#include <QThread>
#include <QtTest>
#include <memory>

namespace {

struct ThreadResult
{
    QString name;
    bool open = false;
    int selected = 0;
    quintptr thread = 0;
};

// Opens this thread's connection on a new thread, proves it answers, and lets the thread end.
ThreadResult useOnNewThread(std::unique_ptr<QThread>* keep = nullptr)
{
    ThreadResult result;
    std::unique_ptr<QThread> thread(QThread::create([&result]() {
        QSqlDatabase db = ConnectionPool::openConnection();
        result.name = db.connectionName();
        result.open = db.isOpen();
        result.thread = reinterpret_cast<quintptr>(QThread::currentThread());
        QSqlQuery query(db);
        if (query.exec(QStringLiteral("SELECT 41 + 1")) && query.next())
            result.selected = query.value(0).toInt();
    }));
    thread->start();
    thread->wait();
    if (keep)
        *keep = std::move(thread);
    return result;
}

QString expectedName(quintptr thread, const QString& suffix = QString())
{
    return QStringLiteral("conn_") + QString::number(thread, 16) + suffix;
}

} // namespace

class TestConnectionPool : public QObject
{
    Q_OBJECT

private slots:
    void init() { TestSupport::freshHome(); }

    void mainThreadConnectionIsReused()
    {
        const int before = ConnectionPool::createdCount();
        QSqlDatabase first = ConnectionPool::openConnection();
        QVERIFY(first.isOpen());
        QCOMPARE(first.connectionName(), expectedName(reinterpret_cast<quintptr>(QThread::currentThread())));
        QCOMPARE(first.databaseName(), TestSupport::documentsPath() + QStringLiteral("velkor.db"));
        QCOMPARE(ConnectionPool::createdCount(), before + 1);

        QSqlDatabase again = ConnectionPool::openConnection();
        QCOMPARE(again.connectionName(), first.connectionName());
        QCOMPARE(ConnectionPool::createdCount(), before + 1);

        // A suffix names a second connection of the same thread.
        QSqlDatabase named = ConnectionPool::openConnection(QStringLiteral("_extra"));
        QCOMPARE(named.connectionName(), first.connectionName() + QStringLiteral("_extra"));
        QCOMPARE(ConnectionPool::createdCount(), before + 2);
    }

    void closedConnectionIsReopened()
    {
        QSqlDatabase db = ConnectionPool::openConnection();
        db.close();
        QVERIFY(!db.isOpen());
        QSqlDatabase reopened = ConnectionPool::openConnection();
        QCOMPARE(reopened.connectionName(), db.connectionName());
        QVERIFY(reopened.isOpen());
        QSqlQuery query(reopened);
        QVERIFY(query.exec(QStringLiteral("SELECT 1")));
    }

    void eachThreadHasItsOwnWorkingConnection()
    {
        const QString mainName = ConnectionPool::openConnection().connectionName();
        std::unique_ptr<QThread> keepFirst;
        std::unique_ptr<QThread> keepSecond;
        // Both thread objects stay alive, so their addresses differ.
        const ThreadResult first = useOnNewThread(&keepFirst);
        const ThreadResult second = useOnNewThread(&keepSecond);
        QVERIFY(first.open);
        QVERIFY(second.open);
        QCOMPARE(first.selected, 42);
        QCOMPARE(second.selected, 42);
        QCOMPARE(first.name, expectedName(first.thread));
        QCOMPARE(second.name, expectedName(second.thread));
        QVERIFY(first.name != second.name);
        QVERIFY(first.name != mainName);
        QVERIFY(second.name != mainName);

        keepFirst.reset();
        keepSecond.reset();
        QTRY_VERIFY(!QSqlDatabase::contains(first.name) && !QSqlDatabase::contains(second.name));
        QVERIFY(QSqlDatabase::contains(mainName)); // the main thread's lives on
    }

    void finishedThreadTakesItsConnection()
    {
        const int before = ConnectionPool::createdCount();
        const ThreadResult first = useOnNewThread();
        QVERIFY(first.open);
        // Gone as soon as the thread has ended, without waiting for this thread's event loop: a
        // thread started right after may sit at the same address and must not find it.
        QVERIFY(!QSqlDatabase::contains(first.name));
        QCOMPARE(ConnectionPool::createdCount(), before + 1);

        // The next thread, perhaps at the same address, must get a new connection that works.
        const ThreadResult second = useOnNewThread();
        QVERIFY(second.open);
        QCOMPARE(second.selected, 42);
        QCOMPARE(ConnectionPool::createdCount(), before + 2);
        QTRY_VERIFY(!QSqlDatabase::contains(second.name));
    }
};

VELKOR_TEST_MAIN(TestConnectionPool)
#include "TestConnectionPool.moc"

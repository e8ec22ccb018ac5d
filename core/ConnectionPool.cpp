#include "ConnectionPool.h"

#include "FileUtil.h"
#include "LogUtil.h"

#include <QCoreApplication>
#include <QSqlError>
#include <QSqlQuery>
#include <QThread>

#include <atomic>

namespace {
std::atomic<int> g_created{0};
}

QSqlDatabase ConnectionPool::openConnection(const QString& name)
{
    // A Qt connection may only be used on the thread that made it, so the name carries the thread.
    const QString connectionName = QStringLiteral("conn_")
        + QString::number(reinterpret_cast<quintptr>(QThread::currentThread()), 16) + name;

    if (QSqlDatabase::contains(connectionName)) {
        QSqlDatabase db = QSqlDatabase::database(connectionName, true);
        QSqlQuery query(QStringLiteral("SELECT 1"), db);
        if (query.lastError().type() != QSqlError::NoError && !db.open())
            LogUtil::d(QStringLiteral("Open datatabase error: ") + db.lastError().text());
        return db;
    }

    // The thread takes its connection with it, removed on that very thread as it finishes, so
    // that a later thread starting at the same address never finds a connection of a dead one.
    QObject::connect(QThread::currentThread(), &QThread::finished, [connectionName]() {
        if (QSqlDatabase::contains(connectionName)) {
            QSqlDatabase::removeDatabase(connectionName);
            LogUtil::d(QStringLiteral("Connection deleted: %1").arg(connectionName));
        }
    });
    return createConnection(connectionName);
}

QSqlDatabase ConnectionPool::createConnection(const QString& name)
{
    QSqlDatabase db = QSqlDatabase::addDatabase(QStringLiteral("QSQLITE"), name);
    db.setDatabaseName(FileUtil::getDocumentPath() + QStringLiteral("velkor.db"));
    if (!db.open()) {
        LogUtil::d(QStringLiteral("Create connection error: ") + db.lastError().text());
        return QSqlDatabase();
    }
    const int serial = ++g_created;
    LogUtil::d(QStringLiteral("Connection created: %1, sn: %2").arg(name).arg(serial));
    return db;
}

int ConnectionPool::createdCount()
{
    return g_created.load();
}

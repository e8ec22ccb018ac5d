#pragma once

#include <QSqlDatabase>
#include <QString>

// Gives each thread its own SQLite connection to "velkor.db"; a thread's connection is
// removed when that thread finishes.
class ConnectionPool
{
public:
    static QSqlDatabase openConnection(const QString& name = QString());
    static QSqlDatabase createConnection(const QString& name);
    // Connections made so far in this process.
    static int createdCount();
};

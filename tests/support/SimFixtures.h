#pragma once

// Fixtures of the tests that talk to the device stand-in: a bound device, a stored fax, a
// fault that strikes once, and a look at what the store and the disk hold.

#include "ConnectionPool.h"
#include "DatabaseManager.h"
#include "DeviceProtocol.h"
#include "MD5Util.h"
#include "MessageBoxUtil.h"
#include "SimTestSupport.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEvent>
#include <QFile>
#include <QSqlQuery>
#include <QTest>

Q_DECLARE_METATYPE(SimFault::Kind)

namespace TestSupport {

// A device on its own loopback address (its identity made from the last part), whose jobs
// move only when a test moves them.
inline Scenario scenarioAt(const QString& address)
{
    Scenario s;
    s.address = address;
    s.discovery = false;
    s.serverId = QStringLiteral("5A3C%1").arg(address.section('.', 3, 3).toInt(), 4, 10, QLatin1Char('0'));
    s.jobs.stepMs = 24 * 3600 * 1000;
    return s;
}

// The device bound by the logged-in user with the account "admin", as DEVICES holds it, its
// retrieval mark set to `mark`.
inline Device storedDevice(const Scenario& s, const QString& mark = QString())
{
    Device d;
    d.deviceName = QStringLiteral("admin");
    d.devicePassword = MD5Util::call128MD5(QByteArray("admin"));
    d.serverName = s.serverName;
    d.productID = s.serverId;
    d.localIP = s.address;
    DatabaseManager db;
    db.inseretDevice(d);
    Device stored = db.queryDevice(d.productID);
    if (!mark.isEmpty()) {
        stored.taskID = mark;
        db.updateDeviceMaxTaskID(stored);
    }
    stored.localIP = s.address;
    return stored;
}

// The smallest file the device takes for a TIFF (one empty directory), padded to size bytes.
inline QByteArray tinyTiff(int size)
{
    QByteArray bytes("II*\0\x08\0\0\0\0\0\0\0\0\0", 14);
    bytes.append(QByteArray(qMax(0, size - bytes.size()), '\0'));
    return bytes;
}

inline QString writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        qFatal("cannot write %s", qPrintable(path));
    file.write(bytes);
    return path;
}

// An assembled fax in FAXES (waiting, no task yet) for the device.
inline Fax storedFax(const Device& d, const QString& filepath, const QString& number = QStringLiteral("12345"))
{
    Fax fax;
    fax.pageTotal = 1;
    fax.dialTotal = 2;
    fax.sender = d.deviceName;
    fax.status = 5;
    fax.time = QStringLiteral("2024-01-01 10:00:00");
    fax.serverID = d.productID;
    fax.cid = number;
    fax.filepath = filepath;
    fax.tag = 1;
    fax.priority = 2;
    fax.quality = 1;
    fax.id = DatabaseManager().insertFax(fax, d.id);
    return fax;
}

// A column of a row as the store holds it (the queries leave some at their defaults).
inline QVariant storedColumn(int id, const QString& column, const QString& table = QStringLiteral("FAXES"))
{
    QSqlQuery q(ConnectionPool::openConnection());
    q.prepare(QStringLiteral("SELECT %1 FROM %2 WHERE id = ?").arg(column, table));
    q.addBindValue(id);
    return q.exec() && q.next() ? q.value(0) : QVariant();
}

// Lines of the device's action log that contain the text.
inline int countLines(const QStringList& log, const QString& text)
{
    int n = 0;
    for (const QString& line : log)
        n += line.contains(text) ? 1 : 0;
    return n;
}

inline SimFault once(const QString& action, SimFault::Kind kind, int value = 0, int delayMs = 0,
                     const QString& text = QString())
{
    SimFault f = SimFault::make(action, kind, value, delayMs, text);
    f.times = 1;
    return f;
}

// Lets the sockets that hung up free themselves and finished threads give back their connections.
inline void settle()
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    QCoreApplication::processEvents();
}

// Every file of a folder, hidden ones (half-written files) included.
inline QStringList filesIn(const QString& folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden | QDir::System, QDir::Name);
}

inline QStringList takeMessages()
{
    QStringList texts;
    for (const auto& box : MessageBoxUtil::takeShown())
        texts << box.text;
    return texts;
}

} // namespace TestSupport

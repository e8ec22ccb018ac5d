#pragma once

// Shared set-up of the sending tests that talk to the device stand-in.

#include "ConnectionPool.h"
#include "DatabaseManager.h"
#include "SimTestSupport.h"
#include "MD5Util.h"
#include "SendFaxThread.h"

#include <QCoreApplication>
#include <QEvent>
#include <QFile>
#include <QSqlQuery>
#include <QVariant>
#include <memory>

namespace SendingTestData {

using TestSupport::startSim;

// A device on its own loopback address whose jobs move only when a test moves them.
inline Scenario scenarioAt(const QString& address)
{
    Scenario s;
    s.address = address;
    s.discovery = false;
    s.serverId = QStringLiteral("5E4D00%1").arg(address.section('.', 3, 3).toInt(), 2, 10, QLatin1Char('0'));
    s.jobs.stepMs = 24 * 3600 * 1000;
    return s;
}

// The device bound by the test user, stored (with its id) as login expects it.
inline Device storedDevice(const Scenario& s)
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

// An assembled fax in FAXES (status 5, no task yet) for the device.
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
    DatabaseManager db;
    fax.id = db.insertFax(fax, d.id);
    return fax;
}

inline QVariant storedColumn(int faxId, const QString& column)
{
    QSqlQuery q(ConnectionPool::openConnection());
    q.prepare(QStringLiteral("SELECT %1 FROM FAXES WHERE id = ?").arg(column));
    q.addBindValue(faxId);
    return q.exec() && q.next() ? q.value(0) : QVariant();
}

// Lines of the device's action log that contain the text.
inline int countLines(const QStringList& log, const QString& text)
{
    int n = 0;
    for (const QString& line : log)
        if (line.contains(text))
            ++n;
    return n;
}

// A worker whose last socket can be seen: after an operation and the release of deferred
// deletes it must be gone.
class ProbeThread : public SendFaxThread
{
public:
    bool socketReleased()
    {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return m_socket.isNull();
    }
};

} // namespace SendingTestData

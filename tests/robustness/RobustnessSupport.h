#pragma once

// Shared by the fault-injection tests: a device stand-in on its own loopback address, the
// device as the store holds it, the bound on an operation's time, and a look at a folder.

#include "ConnectionPool.h"
#include "DatabaseManager.h"
#include "DeviceProtocol.h"
#include "SimTestSupport.h"
#include "MD5Util.h"
#include "MessageBoxUtil.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QEvent>
#include <QSqlQuery>
#include <QTest>
#include <memory>

Q_DECLARE_METATYPE(SimFault::Kind)

namespace Robustness {

// Every wait of the client is a tenth of its production value: a silent reply costs 3 s, a
// silent greeting 1.5 s, a silent block 1 s. A tenth, not less, so that a machine busy with
// other builds does not cut a healthy transfer.
constexpr int DIVISOR = 10;
// Scheduling, disk and the sim's own pacing on top of the waits that may expire.
constexpr int SLACK_MS = 4000;

// A device whose jobs move only when a test moves them.
inline Scenario scenarioAt(const QString& address)
{
    Scenario s;
    s.address = address;
    s.discovery = false;
    s.serverId = QStringLiteral("5A3C01%1").arg(address.section('.', 3, 3).toInt(), 2, 10, QLatin1Char('0'));
    s.jobs.stepMs = 24 * 3600 * 1000;
    return s;
}

using TestSupport::startSim;

// The device bound by the logged-in user with the account "admin", as DEVICES holds it.
inline Device storedDevice(const Scenario& s, const QString& mark = QString())
{
    Device d;
    d.deviceName = QStringLiteral("admin");
    d.devicePassword = MD5Util::call128MD5(QByteArray("admin"));
    d.serverName = s.serverName;
    d.productID = s.serverId;
    d.localIP = s.address;
    d.taskID = mark;
    DatabaseManager db;
    db.inseretDevice(d);
    Device stored = db.queryDevice(d.productID);
    stored.taskID = mark;
    db.updateDeviceMaxTaskID(stored);
    return stored;
}

inline Device reloadDevice(const QString& productID)
{
    QString id = productID;
    return DatabaseManager().queryDevice(id);
}

// DEVICES keeps connectStatus, but the device queries leave it at its default.
inline int storedConnectStatus(int deviceId)
{
    QSqlQuery q(ConnectionPool::openConnection());
    q.prepare(QStringLiteral("SELECT connectStatus FROM DEVICES WHERE id = ?"));
    q.addBindValue(deviceId);
    return q.exec() && q.next() ? q.value(0).toInt() : -100;
}

inline SimFault fault(const QString& action, SimFault::Kind kind, int value = 0, int delayMs = 0,
                      const QString& text = QString())
{
    SimFault f = SimFault::make(action, kind, value, delayMs, text);
    f.times = 1;
    return f;
}

// The longest an operation may take when `greetings` greeting waits and `replies` reply waits
// (plus extraMs of its own waits) expire one after the other.
inline qint64 bound(int greetings, int replies, int extraMs = 0)
{
    return qint64(greetings) * DeviceProtocol::greetingTimeout() + qint64(replies) * DeviceProtocol::replyTimeout()
        + extraMs + SLACK_MS;
}

// Lets the sockets that hung up free themselves.
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

} // namespace Robustness

#pragma once

// Shared by the administration tests: a device stand-in on its own thread, the bound device
// that reaches it, and what the device saw.

#include "SimTestSupport.h"
#include "Device.h"
#include "MD5Util.h"
#include "MessageBoxUtil.h"
#include "TestSupport.h"

#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QStringList>
#include <QTest>
#include <memory>

namespace AdminTestSim {

inline Scenario scenarioAt(const QString& address)
{
    Scenario s;
    s.address = address;
    s.discovery = false;
    s.serverId = QStringLiteral("5A3C00%1").arg(address.section('.', 3, 3).toInt(), 2, 10, QLatin1Char('0'));
    return s;
}

// Requests go into the action log word for word.
inline std::unique_ptr<DeviceSimRunner> start(const Scenario& scenario) { return TestSupport::startSim(scenario, true); }

// The device as the client has it after a bind with the account "admin".
inline Device deviceOf(const Scenario& s, const QString& account = QStringLiteral("admin"),
                       const QString& password = QStringLiteral("admin"))
{
    Device d;
    d.deviceName = account;
    d.devicePassword = MD5Util::call128MD5(password.toUtf8());
    d.productID = s.serverId;
    d.localIP = s.address;
    d.serverName = s.serverName;
    d.permission = 63;
    return d;
}

// The last request with this verb, as the device received it.
inline QString lastRequest(DeviceSimRunner& sim, const QString& verb)
{
    const QStringList log = sim.device()->actionLog();
    const QString mark = QStringLiteral(" > <ACTION>") + verb + QStringLiteral("</ACTION>");
    for (int i = log.size() - 1; i >= 0; --i) {
        const int at = log[i].indexOf(mark);
        if (at >= 0)
            return log[i].mid(at + 3);
    }
    return QString();
}

inline int countInLog(DeviceSimRunner& sim, const QString& text)
{
    int count = 0;
    for (const QString& line : sim.device()->actionLog())
        count += line.contains(text) ? 1 : 0;
    return count;
}

// Waits until the panel's command has finished.
inline bool idle(QWidget* panel)
{
    auto* busy = TestSupport::find<QLabel>(panel, "label_busy");
    return QTest::qWaitFor([busy] { return busy->isHidden(); }, 20000);
}

// Clicks and returns the one message box that follows.
inline MessageBoxUtil::Shown clickForBox(QPushButton* button)
{
    MessageBoxUtil::clear();
    QTest::mouseClick(button, Qt::LeftButton);
    if (!QTest::qWaitFor([] { return !MessageBoxUtil::shown().isEmpty(); }, 20000))
        return {};
    return MessageBoxUtil::takeShown().first();
}

} // namespace AdminTestSim

#pragma once

// Shared by the fault-injection tests: the bound on an operation's time.

#include "SimFixtures.h"

namespace Robustness {

using namespace TestSupport;

// Every wait of the client is a tenth of its production value: a silent reply costs 3 s, a
// silent greeting 1.5 s, a silent block 1 s. A tenth, not less, so that a machine busy with
// other builds does not cut a healthy transfer.
constexpr int DIVISOR = 10;

// The longest an operation may take when `greetings` greeting waits and `replies` reply waits
// (plus extraMs of its own waits) expire one after the other; 4 s for scheduling, disk and
// the stand-in's own pacing.
inline qint64 bound(int greetings, int replies, int extraMs = 0)
{
    return qint64(greetings) * DeviceProtocol::greetingTimeout() + qint64(replies) * DeviceProtocol::replyTimeout()
        + extraMs + 4000;
}

inline int storedConnectStatus(int deviceId)
{
    const QVariant v = storedColumn(deviceId, QStringLiteral("connectStatus"), QStringLiteral("DEVICES"));
    return v.isValid() ? v.toInt() : -100;
}

} // namespace Robustness

#include "DeviceProtocol.h"

#include <QtGlobal>
#include <atomic>

namespace DeviceProtocol {

namespace {
std::atomic<int> divisor{1};
}

int internetPort(int lanPort, int internetBase)
{
    switch (lanPort) {
    case PORT_UPLOAD: return internetBase + 1;
    case PORT_COMMAND: return internetBase + 6;
    default: return internetBase;
    }
}

int scaled(int milliseconds)
{
    return qMax(1, milliseconds / divisor.load());
}

int connectTimeout() { return scaled(CONNECT_TIMEOUT_MS); }
int greetingTimeout() { return scaled(GREETING_TIMEOUT_MS); }
int replyTimeout() { return scaled(REPLY_TIMEOUT_MS); }

void setTestTimeoutDivisor(int value)
{
    divisor.store(qMax(1, value));
}

int testTimeoutDivisor()
{
    return divisor.load();
}

} // namespace DeviceProtocol

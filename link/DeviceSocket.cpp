#include "DeviceSocket.h"

#include <cerrno>
#include <poll.h>

namespace {

// How long a wait may go without looking at the cancel flag.
constexpr qint64 SLICE_MS = 50;

int remaining(const QDeadlineTimer& deadline)
{
    return deadline.isForever() ? -1 : int(qMax<qint64>(1, deadline.remainingTime()));
}

} // namespace

DeviceSocket::DeviceSocket(std::shared_ptr<const std::atomic<bool>> cancelled, QObject* parent)
    : QTcpSocket(parent), m_cancelled(std::move(cancelled))
{
}

bool DeviceSocket::awaitEvents(short events, const QDeadlineTimer& deadline)
{
    while (!m_cancelled->load()) {
        const int descriptor = int(socketDescriptor());
        if (descriptor < 0)
            return true; // nothing to watch: Qt's own wait answers at once
        pollfd watched{descriptor, short(events | (bytesToWrite() > 0 ? POLLOUT : 0)), 0};
        const qint64 left = deadline.isForever() ? SLICE_MS : qMin(SLICE_MS, deadline.remainingTime());
        const int count = ::poll(&watched, 1, int(qMax<qint64>(0, left)));
        if (count < 0 && errno != EINTR)
            return true;
        if (count > 0) {
            if (watched.revents & (events | POLLHUP | POLLERR | POLLNVAL))
                return true;
            flush();
            continue;
        }
        if (deadline.hasExpired())
            return false;
    }
    abort();
    return false;
}

bool DeviceSocket::waitForConnected(int msecs)
{
    const QDeadlineTimer deadline(msecs);
    if (state() == ConnectedState)
        return true;
    if (!awaitEvents(POLLOUT, deadline)) {
        abort();
        return false;
    }
    return QTcpSocket::waitForConnected(remaining(deadline));
}

bool DeviceSocket::waitForReadyRead(int msecs)
{
    const QDeadlineTimer deadline(msecs);
    return awaitEvents(POLLIN, deadline) && QTcpSocket::waitForReadyRead(remaining(deadline));
}

bool DeviceSocket::waitForDisconnected(int msecs)
{
    const QDeadlineTimer deadline(msecs);
    return awaitEvents(POLLIN, deadline) && QTcpSocket::waitForDisconnected(remaining(deadline));
}

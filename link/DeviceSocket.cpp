#include "DeviceSocket.h"

#include <QHostAddress>

#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

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

bool DeviceSocket::connectToDevice(const QString& host, quint16 port, int msecs)
{
    QHostAddress address;
    if (!address.setAddress(host)) {
        connectToHost(host, port, ReadWrite, AnyIPProtocol);
        return waitForConnected(msecs);
    }
    sockaddr_storage target{};
    socklen_t length = 0;
    if (address.protocol() == IPv4Protocol) {
        auto* in = reinterpret_cast<sockaddr_in*>(&target);
        in->sin_family = AF_INET;
        in->sin_port = htons(port);
        in->sin_addr.s_addr = htonl(address.toIPv4Address());
        length = sizeof(sockaddr_in);
    } else {
        auto* in6 = reinterpret_cast<sockaddr_in6*>(&target);
        in6->sin6_family = AF_INET6;
        in6->sin6_port = htons(port);
        const Q_IPV6ADDR bytes = address.toIPv6Address();
        std::memcpy(&in6->sin6_addr, bytes.c, sizeof bytes.c);
        length = sizeof(sockaddr_in6);
    }
    const int descriptor = ::socket(target.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    if (descriptor < 0)
        return false;
    bool connected = ::connect(descriptor, reinterpret_cast<sockaddr*>(&target), length) == 0;
    if (!connected && errno == EINPROGRESS) {
        const QDeadlineTimer deadline(msecs);
        pollfd watched{descriptor, POLLOUT, 0};
        while (!m_cancelled->load() && !deadline.hasExpired()) {
            const int count = ::poll(&watched, 1, int(qMin(SLICE_MS, qMax<qint64>(0, deadline.remainingTime()))));
            if (count > 0) {
                int error = 0;
                socklen_t size = sizeof error;
                connected = ::getsockopt(descriptor, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
                break;
            }
            if (count < 0 && errno != EINTR)
                break;
        }
    }
    if (connected && setSocketDescriptor(descriptor, ConnectedState, ReadWrite))
        return true;
    ::close(descriptor);
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

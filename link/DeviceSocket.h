#pragma once

#include <QDeadlineTimer>
#include <QTcpSocket>

#include <atomic>
#include <memory>

// A worker's connection to a device whose waits its owner can break from another thread: each
// wait watches the connection in short slices and gives up, aborting the connection, once the
// shared flag is set. Everything else is a plain QTcpSocket.
class DeviceSocket : public QTcpSocket
{
    Q_OBJECT

public:
    explicit DeviceSocket(std::shared_ptr<const std::atomic<bool>> cancelled, QObject* parent = nullptr);

    // Connects and waits up to msecs. An address is connected to here, so that the wait can be
    // broken too (Qt shows no descriptor before the connection stands); a name goes through
    // Qt's own lookup and connect, whose wait runs out.
    bool connectToDevice(const QString& host, quint16 port, int msecs);

    bool waitForConnected(int msecs = 30000) override;
    bool waitForReadyRead(int msecs = 30000) override;
    bool waitForDisconnected(int msecs = 30000) override;

private:
    // True once the connection has the events (or an error) to show; false when the time is up
    // or the work was cancelled. Writes what is buffered meanwhile, as Qt's own waits do.
    bool awaitEvents(short events, const QDeadlineTimer& deadline);

    std::shared_ptr<const std::atomic<bool>> m_cancelled;
};

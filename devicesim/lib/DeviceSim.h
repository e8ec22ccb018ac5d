#pragma once

#include "Scenario.h"
#include "SimDevice.h"

#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QPointer>

class QTcpServer;
class QTimer;
class QUdpSocket;

// The loopback fax device: listens on its address on the four TCP ports (LAN numbers
// 3001, 3002, 3006, 3007, or a base port and base+1, +5, +6), answers discovery on UDP 5076
// and, when asked to, serves the remote address service over plain HTTP.
// Sockets live on the thread of this object; start() and stop() must run there (use
// DeviceSimRunner for a thread of its own). device() may be used from any thread.
class DeviceSim : public QObject
{
    Q_OBJECT

public:
    explicit DeviceSim(const Scenario& scenario, QObject* parent = nullptr);
    ~DeviceSim() override;

    bool start(QString* error = nullptr);
    void stop();
    bool isRunning() const { return m_running; }

    SimDevice* device() const { return m_device; }
    const Scenario& scenario() const { return m_scenario; }
    QHostAddress address() const { return QHostAddress(m_scenario.address); }
    // The port that serves a LAN port number (3001, 3002, 3006, 3007).
    quint16 tcpPort(int lanPort) const;
    quint16 httpPort() const { return quint16(m_scenario.httpPort); }
    // "http://address:port/" of the address service; empty without one.
    QString httpUrl() const;

    // Request and reply texts in the log as well.
    void setVerbose(bool verbose) { m_verbose = verbose; }
    // Sends the discovery answer unasked, as a device does when it starts.
    void announce(const QHostAddress& to, quint16 port = 5077);

signals:
    void logLine(const QString& line);

private:
    void acceptConnections(QTcpServer* server, int lanPort);
    void readDiscovery(QUdpSocket* socket);
    void acceptHttp();

    Scenario m_scenario;
    SimDevice* m_device;
    bool m_running = false;
    bool m_verbose = false;
    QList<QObject*> m_owned; // servers, sockets and the timer of a running device
    QUdpSocket* m_discovery = nullptr;
    QTcpServer* m_http = nullptr;
};

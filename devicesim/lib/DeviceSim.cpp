#include "DeviceSim.h"

#include "SimSession.h"

#include <QNetworkDatagram>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>
#include <QUdpSocket>
#include <QUrl>
#include <QUrlQuery>

namespace {
const int kLanPorts[] = {3001, 3002, 3006, 3007};
}

DeviceSim::DeviceSim(const Scenario& scenario, QObject* parent)
    : QObject(parent)
    , m_scenario(scenario)
    , m_device(new SimDevice(scenario, this))
{
    connect(m_device, &SimDevice::logLine, this, &DeviceSim::logLine);
}

DeviceSim::~DeviceSim()
{
    stop();
}

quint16 DeviceSim::tcpPort(int lanPort) const
{
    return quint16(m_scenario.basePort + (lanPort - 3001));
}

QString DeviceSim::httpUrl() const
{
    return m_scenario.httpPort > 0 ? QStringLiteral("http://%1:%2/").arg(m_scenario.address).arg(m_scenario.httpPort) : QString();
}

bool DeviceSim::start(QString* error)
{
    if (m_running)
        return true;
    const QHostAddress host(m_scenario.address);
    auto fail = [&](const QString& what) {
        if (error)
            *error = what;
        stop();
        return false;
    };
    if (host.isNull())
        return fail(QStringLiteral("%1 is not an address").arg(m_scenario.address));
    m_running = true;

    for (int lan : kLanPorts) {
        auto* server = new QTcpServer(this);
        m_owned << server;
        if (!server->listen(host, tcpPort(lan)))
            return fail(QStringLiteral("TCP %1:%2: %3").arg(m_scenario.address).arg(tcpPort(lan)).arg(server->errorString()));
        connect(server, &QTcpServer::newConnection, this, [this, server, lan] { acceptConnections(server, lan); });
    }

    if (m_scenario.discovery) {
        m_discovery = new QUdpSocket(this);
        m_owned << m_discovery;
        const auto mode = QAbstractSocket::ShareAddress | QAbstractSocket::ReuseAddressHint;
        if (!m_discovery->bind(host, quint16(m_scenario.discoveryPort), mode))
            return fail(QStringLiteral("UDP %1:%2: %3").arg(m_scenario.address).arg(m_scenario.discoveryPort).arg(m_discovery->errorString()));
        connect(m_discovery, &QUdpSocket::readyRead, this, [this] { readDiscovery(m_discovery); });
        if (m_scenario.discoveryAnyAddress) {
            auto* any = new QUdpSocket(this);
            m_owned << any;
            if (!any->bind(QHostAddress::AnyIPv4, quint16(m_scenario.discoveryPort), mode))
                return fail(QStringLiteral("UDP 0.0.0.0:%1: %2").arg(m_scenario.discoveryPort).arg(any->errorString()));
            connect(any, &QUdpSocket::readyRead, this, [this, any] { readDiscovery(any); });
        }
    }

    if (m_scenario.httpPort > 0) {
        m_http = new QTcpServer(this);
        m_owned << m_http;
        if (!m_http->listen(host, quint16(m_scenario.httpPort)))
            return fail(QStringLiteral("HTTP %1:%2: %3").arg(m_scenario.address).arg(m_scenario.httpPort).arg(m_http->errorString()));
        connect(m_http, &QTcpServer::newConnection, this, &DeviceSim::acceptHttp);
    }

    auto* clock = new QTimer(this);
    m_owned << clock;
    connect(clock, &QTimer::timeout, m_device, &SimDevice::tick);
    clock->start(50);
    m_device->log(QStringLiteral("device %1 (%2) on %3, TCP %4/%5/%6/%7%8")
                      .arg(m_device->serverName(), m_device->serverId(), m_scenario.address)
                      .arg(tcpPort(3001))
                      .arg(tcpPort(3002))
                      .arg(tcpPort(3006))
                      .arg(tcpPort(3007))
                      .arg(m_http ? QStringLiteral(", HTTP %1").arg(m_scenario.httpPort) : QString()));
    return true;
}

void DeviceSim::stop()
{
    // Sessions and sockets are children made while running; none outlives the stop, so the
    // object can be destroyed from another thread once its own has ended.
    for (QObject* child : children())
        if (child != m_device)
            delete child;
    m_owned.clear();
    m_discovery = nullptr;
    m_http = nullptr;
    m_running = false;
}

void DeviceSim::acceptConnections(QTcpServer* server, int lanPort)
{
    while (QTcpSocket* socket = server->nextPendingConnection()) {
        auto* session = new SimSession(m_device, socket, lanPort, m_verbose, m_scenario.voiceIntervalMs, this);
        session->start();
    }
}

void DeviceSim::readDiscovery(QUdpSocket* socket)
{
    while (socket->hasPendingDatagrams()) {
        const QNetworkDatagram datagram = socket->receiveDatagram();
        const QString query = QString::fromLatin1(datagram.data());
        const QString sender = datagram.senderAddress().toString();
        if (!query.contains(QLatin1String("where are you?")))
            continue;
        const bool forUs = query.contains(QLatin1String("(ID:ANY)")) || query.contains(QStringLiteral("(ID:%1)").arg(m_device->serverId()));
        SimFault fault;
        if (!forUs || m_device->takeFault(QStringLiteral("DISCOVERY"), SimFault::Silent, 0, &fault)) {
            m_device->log(QStringLiteral("5076 %1 discovery query not answered").arg(sender));
            continue;
        }
        QHostAddress to = datagram.senderAddress();
        if (to.protocol() == QAbstractSocket::IPv6Protocol) {
            bool ok = false;
            const quint32 v4 = to.toIPv4Address(&ok);
            if (ok)
                to = QHostAddress(v4);
        }
        m_discovery->writeDatagram(m_device->discoveryReply(), to, quint16(m_scenario.discoveryReplyPort));
        m_device->log(QStringLiteral("5076 %1 discovery answered to port %2").arg(sender).arg(m_scenario.discoveryReplyPort));
    }
}

void DeviceSim::announce(const QHostAddress& to, quint16 port)
{
    QUdpSocket* socket = m_discovery;
    QUdpSocket temporary;
    if (!socket) {
        temporary.bind(address(), 0);
        socket = &temporary;
    }
    socket->writeDatagram(m_device->discoveryReply(), to, port);
    m_device->log(QStringLiteral("announced to %1:%2").arg(to.toString()).arg(port));
}

void DeviceSim::acceptHttp()
{
    while (QTcpSocket* socket = m_http->nextPendingConnection()) {
        socket->setParent(this);
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QTcpSocket::readyRead, this, [this, socket] {
            QByteArray request = socket->property("request").toByteArray() + socket->readAll();
            socket->setProperty("request", request);
            if (!request.contains("\r\n\r\n"))
                return;
            const QList<QByteArray> first = request.left(request.indexOf("\r\n")).split(' ');
            const QUrl url(QString::fromLatin1(first.value(1)));
            const QUrlQuery query(url);
            const QString act = query.queryItemValue(QStringLiteral("act"));
            const QString id = query.queryItemValue(QStringLiteral("svrid"));
            SimFault fault;
            if (m_device->takeFault(QStringLiteral("HTTP"), SimFault::Silent, 0, &fault)) {
                m_device->log(QStringLiteral("http %1 %2: no answer (fault)").arg(act, id));
                return;
            }
            QByteArray body;
            QByteArray status = "200 OK";
            if (act == QLatin1String("getremoteip2") || act == QLatin1String("getremoteip"))
                body = m_device->addressFor(id, act == QLatin1String("getremoteip")).toLatin1();
            else
                status = "404 Not Found";
            m_device->log(QStringLiteral("http %1 %2 -> \"%3\"").arg(act, id, QString::fromLatin1(body)));
            const int delay = m_device->takeFault(QStringLiteral("HTTP"), SimFault::Delay, 0, &fault) ? fault.delayMs : 0;
            const QByteArray response = "HTTP/1.1 " + status + "\r\nContent-Type: text/plain\r\nContent-Length: " + QByteArray::number(body.size())
                + "\r\nConnection: close\r\n\r\n" + body;
            QTimer::singleShot(delay, socket, [socket, response] {
                socket->write(response);
                socket->disconnectFromHost();
            });
        });
    }
}

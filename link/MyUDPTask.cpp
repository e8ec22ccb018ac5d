#include "MyUDPTask.h"

#include "DatabaseManager.h"
#include "DeviceDiscovery.h"

#include <QNetworkDatagram>
#include <QTimer>
#include <QUdpSocket>

MyUDPTask::MyUDPTask(QObject* parent) : QThread(parent)
{
}

MyUDPTask::~MyUDPTask()
{
    stop();
}

void MyUDPTask::stop()
{
    requestInterruption();
    quit();
    wait();
}

void MyUDPTask::run()
{
    QUdpSocket socket;
    QTimer timer;
    m_socket = &socket;
    m_timer = &timer;
    DeviceDiscovery::bindReplyPort(&socket);
    connect(&socket, &QUdpSocket::readyRead, this, &MyUDPTask::readPendingDatagrams, Qt::DirectConnection);
    // Sent from this thread, where the socket lives.
    connect(&timer, &QTimer::timeout, this, &MyUDPTask::sendBroadCastMsg, Qt::DirectConnection);
    timer.start(DeviceDiscovery::INTERVAL_MS);
    exec();
    timer.stop();
    m_timer = nullptr;
    m_socket = nullptr;
}

void MyUDPTask::sendBroadCastMsg()
{
    if (m_socket)
        DeviceDiscovery::sendQuery(m_socket);
}

void MyUDPTask::readPendingDatagrams()
{
    while (m_socket && m_socket->hasPendingDatagrams()) {
        const QNetworkDatagram datagram = m_socket->receiveDatagram();
        const Device seen = DeviceDiscovery::parseReply(datagram.data(), datagram.senderAddress());
        if (seen.productID.isEmpty())
            continue;
        DatabaseManager db;
        QString productID = seen.productID;
        Device stored = db.queryDevice(productID);
        if (stored.deviceName.isEmpty())
            continue; // not one of this user's devices
        if (stored.serverName != seen.serverName || stored.localIP != seen.localIP) {
            stored.serverName = seen.serverName;
            stored.localIP = seen.localIP;
            db.updateDevice(stored);
        }
    }
}

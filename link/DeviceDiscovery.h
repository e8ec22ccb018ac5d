#pragma once

#include "Device.h"

#include <QByteArray>
#include <QHostAddress>

class QUdpSocket;

// The discovery broadcast shared by the binding dialog and the background task.
namespace DeviceDiscovery {

inline constexpr quint16 QUERY_PORT = 5076;
inline constexpr quint16 REPLY_PORT = 5077;
inline constexpr int INTERVAL_MS = 5000;

QByteArray queryDatagram();
// Sends the query to 255.255.255.255:5076 (or to `target`, for a given network).
void sendQuery(QUdpSocket* socket, const QHostAddress& target = QHostAddress::Broadcast);
// Binds the reply port shared with the other holder in this process.
bool bindReplyPort(QUdpSocket* socket);
// A GBK reply "...NAME:<name>ID:<identity>)..." from `sender` as a Device: serverName,
// productID and localIP (an IPv4-mapped sender reduced to the dotted quad).
Device parseReply(const QByteArray& datagram, const QHostAddress& sender);

} // namespace DeviceDiscovery

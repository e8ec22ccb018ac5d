#include "DeviceDiscovery.h"

#include <QTextCodec>
#include <QUdpSocket>

namespace DeviceDiscovery {

QByteArray queryDatagram()
{
    return QByteArrayLiteral("Velkor/Tavio where are you?(ID:ANY)");
}

void sendQuery(QUdpSocket* socket, const QHostAddress& target)
{
    socket->writeDatagram(queryDatagram(), target, QUERY_PORT);
}

bool bindReplyPort(QUdpSocket* socket)
{
    return socket->bind(QHostAddress::AnyIPv4, REPLY_PORT,
                        QAbstractSocket::ShareAddress | QAbstractSocket::ReuseAddressHint);
}

Device parseReply(const QByteArray& datagram, const QHostAddress& sender)
{
    QTextCodec* gbk = QTextCodec::codecForName("GBK");
    const QString text = gbk ? gbk->toUnicode(datagram) : QString::fromLatin1(datagram);

    Device device;
    const QString nameMark = QStringLiteral("NAME:");
    const QString idMark = QStringLiteral("ID:");
    const int name = text.indexOf(nameMark);
    const int id = text.indexOf(idMark);
    const int close = text.indexOf(')');
    if (name >= 0 && id >= name + nameMark.size())
        device.serverName = text.mid(name + nameMark.size(), id - name - nameMark.size()).trimmed();
    if (id >= 0 && close >= id + idMark.size())
        device.productID = text.mid(id + idMark.size(), close - id - idMark.size()).trimmed();

    const QString from = sender.toString();
    device.localIP = from.mid(from.lastIndexOf(':') + 1);
    return device;
}

} // namespace DeviceDiscovery

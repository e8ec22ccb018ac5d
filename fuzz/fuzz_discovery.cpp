// The discovery reply: one GBK datagram from anyone on the LAN. Input: the datagram; its
// first byte picks the form of the sender's address.
#include "DeviceDiscovery.h"
#include "FuzzSupport.h"

#include <QHostAddress>

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzSupport::quiet();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const QHostAddress senders[] = {
        QHostAddress(QStringLiteral("192.168.1.20")),
        QHostAddress(QStringLiteral("::ffff:10.0.0.7")),
        QHostAddress(QStringLiteral("fe80::1")),
        QHostAddress(),
    };
    const QHostAddress& sender = senders[size > 0 ? data[0] % 4 : 0];
    const Device device = DeviceDiscovery::parseReply(FuzzSupport::bytes(data, size), sender);
    FuzzSupport::check(device.serverName == device.serverName.trimmed(), "the name is trimmed");
    FuzzSupport::check(device.productID == device.productID.trimmed(), "the identity is trimmed");
    FuzzSupport::check(!device.localIP.contains(QLatin1Char(':')), "the sender is reduced past its last colon");
    return 0;
}

#pragma once

#include <QByteArray>
#include <QString>

// Text on the device's TCP connections is UTF-16 little endian.
class WireCodec
{
public:
    // Plain codec use: byte-order mark FF FE, then the text. For LOGIN and a bind's GET_SVR_INFO.
    static QByteArray encodeWithBom(const QString& text);
    // Encoder with IgnoreHeader: the text at once, no mark. For every other request.
    static QByteArray encode(const QString& text);
    // A reply as read off the socket.
    static QString decode(const QByteArray& bytes);
};

#pragma once

#include <QString>
#include <string>

class NetworkUtil
{
public:
    // A dotted quad with every number from 0 to 255, nothing else.
    static bool isIpAddr(const QString& text);
    // An address in a private range of RFC 1918 (10/8, 172.16/12, 192.168/16).
    static bool isLocalIP(const std::string& address);
    // "head:port" -> head and port; text without ":" is all head and leaves port untouched.
    static void splitPort(const QString& text, QString& head, int& port);
};

#include "NetworkUtil.h"

#include <QRegExp>
#include <QStringList>

bool NetworkUtil::isIpAddr(const QString& text)
{
    static const QRegExp pattern(
        QStringLiteral("((2[0-4]\\d|25[0-5]|[01]?\\d\\d?)\\.){3}(2[0-4]\\d|25[0-5]|[01]?\\d\\d?)"));
    return pattern.exactMatch(text);
}

void NetworkUtil::splitPort(const QString& text, QString& head, int& port)
{
    if (!text.contains(':')) {
        head = text;
        return;
    }
    head = text.section(':', 0, 0);
    port = text.section(':', 1, 1).toInt();
}

bool NetworkUtil::isLocalIP(const std::string& address)
{
    const QStringList parts = QString::fromStdString(address).split('.');
    if (parts.size() < 2)
        return false;
    bool okFirst = false;
    bool okSecond = false;
    const int first = parts.at(0).toInt(&okFirst);
    const int second = parts.at(1).toInt(&okSecond);
    if (!okFirst || !okSecond)
        return false;
    if (first == 10)
        return true;
    if (first == 172)
        return second >= 16 && second <= 31;
    if (first == 192)
        return second == 168;
    return false;
}

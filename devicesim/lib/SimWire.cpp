#include "SimWire.h"

namespace SimWire {

QByteArray encode(const QString& text)
{
    QByteArray bytes;
    bytes.reserve(text.size() * 2);
    for (const QChar c : text) {
        const ushort unit = c.unicode();
        bytes.append(char(unit & 0xFF));
        bytes.append(char(unit >> 8));
    }
    return bytes;
}

QString decode(const QByteArray& bytes)
{
    QString text;
    text.reserve(bytes.size() / 2);
    int i = 0;
    if (bytes.size() >= 2 && uchar(bytes[0]) == 0xFF && uchar(bytes[1]) == 0xFE)
        i = 2;
    for (; i + 1 < bytes.size(); i += 2)
        text.append(QChar(ushort(uchar(bytes[i]) | (uchar(bytes[i + 1]) << 8))));
    return text;
}

QString uptoNul(const QString& text)
{
    const int nul = text.indexOf(QChar(0));
    return nul < 0 ? text : text.left(nul);
}

QString value(const QString& text, const QString& tagName)
{
    const QString open = QLatin1Char('<') + tagName + QLatin1Char('>');
    const QString close = QStringLiteral("</") + tagName + QLatin1Char('>');
    const int start = text.indexOf(open, 0, Qt::CaseInsensitive);
    const int end = text.indexOf(close, 0, Qt::CaseInsensitive);
    if (start < 0 || end < 0)
        return QString();
    const int from = start + open.size();
    return end > from ? text.mid(from, end - from) : QString();
}

bool has(const QString& text, const QString& tagName)
{
    return text.contains(QLatin1Char('<') + tagName + QLatin1Char('>'), Qt::CaseInsensitive);
}

QString tag(const QString& name, const QString& value)
{
    return QLatin1Char('<') + name + QLatin1Char('>') + value + QStringLiteral("</") + name + QLatin1Char('>');
}

QString tag(const QString& name, qint64 value)
{
    return tag(name, QString::number(value));
}

QString withValue(const QString& text, const QString& tagName, const QString& newValue)
{
    const QString open = QLatin1Char('<') + tagName + QLatin1Char('>');
    const QString close = QStringLiteral("</") + tagName + QLatin1Char('>');
    const int start = text.indexOf(open, 0, Qt::CaseInsensitive);
    const int end = start < 0 ? -1 : text.indexOf(close, start, Qt::CaseInsensitive);
    if (start < 0 || end < 0)
        return text + tag(tagName, newValue);
    const int from = start + open.size();
    return text.left(from) + newValue + text.mid(end);
}

QStringList splitRequests(const QString& text)
{
    static const QString mark = QStringLiteral("<ACTION>");
    QStringList pieces;
    int start = 0;
    int next = text.indexOf(mark, 1, Qt::CaseInsensitive);
    while (next > 0) {
        pieces << text.mid(start, next - start);
        start = next;
        next = text.indexOf(mark, start + 1, Qt::CaseInsensitive);
    }
    pieces << text.mid(start);
    return pieces;
}

} // namespace SimWire

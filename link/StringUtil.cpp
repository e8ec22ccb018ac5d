#include "StringUtil.h"

QString StringUtil::getValue(QString& text, QString& tag)
{
    return getValue(static_cast<const QString&>(text), static_cast<const QString&>(tag));
}

QString StringUtil::getValue(const QString& text, const QString& tag)
{
    // The marks are sought in the text itself, without regard to case. A lower-case copy would
    // not do: it can be longer than the text ("İ" becomes two units), and its positions would
    // then cut the wrong stretch out of the text.
    const QString open = QLatin1Char('<') + tag + QLatin1Char('>');
    const QString close = QStringLiteral("</") + tag + QLatin1Char('>');
    const int start = text.indexOf(open, 0, Qt::CaseInsensitive);
    const int end = text.indexOf(close, 0, Qt::CaseInsensitive);
    if (start < 0 || end < 0)
        return QString();
    const int from = start + open.size();
    // A close mark before the open mark leaves nothing between them.
    if (end < from)
        return QString();
    return text.mid(from, end - from);
}

#include "TimeUtil.h"

const QString TimeUtil::FORMAT = QStringLiteral("yyyy-MM-dd hh:mm:ss");

QString TimeUtil::getNow()
{
    return QDateTime::currentDateTime().toString(FORMAT);
}

QString TimeUtil::getDate()
{
    return QDateTime::currentDateTime().toString(QStringLiteral("yyyy-MM-dd"));
}

QString TimeUtil::localTime2UTCTime(QString& text)
{
    QDateTime local = QDateTime::fromString(text, FORMAT);
    if (!local.isValid())
        return QString();
    local.setTimeSpec(Qt::LocalTime);
    return local.toUTC().toString(FORMAT);
}

QString TimeUtil::utcTime2LocalTime(QString& text)
{
    QDateTime utc = QDateTime::fromString(text, FORMAT);
    if (!utc.isValid())
        return QString();
    return utcTime2LocalTime(utc).toString(FORMAT);
}

QDateTime TimeUtil::utcTime2LocalTime(QDateTime value)
{
    value.setTimeSpec(Qt::UTC);
    return value.toLocalTime();
}

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
    // Read as UTC from the start: read as local time, a text in the hour that the clocks skip
    // in spring would not be a valid time.
    if (text.size() != FORMAT.size() || text.at(10) != QLatin1Char(' '))
        return QString();
    const QDateTime utc(QDate::fromString(text.left(10), QStringLiteral("yyyy-MM-dd")),
                        QTime::fromString(text.mid(11), QStringLiteral("hh:mm:ss")), Qt::UTC);
    if (!utc.isValid())
        return QString();
    return utc.toLocalTime().toString(FORMAT);
}

QDateTime TimeUtil::utcTime2LocalTime(QDateTime value)
{
    value.setTimeSpec(Qt::UTC);
    return value.toLocalTime();
}

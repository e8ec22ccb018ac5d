#pragma once

#include <QDateTime>
#include <QString>

// The only place where the device's UTC and the local time of the store and screens convert.
// Text forms are "yyyy-MM-dd hh:mm:ss".
class TimeUtil
{
public:
    static const QString FORMAT;

    static QString getNow();
    static QString getDate();
    static QString localTime2UTCTime(QString& text);
    static QString utcTime2LocalTime(QString& text);
    static QDateTime utcTime2LocalTime(QDateTime value);
};

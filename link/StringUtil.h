#pragma once

#include <QString>

// Reads fields of the device's tag messages: <TAG>value</TAG>, not XML, nothing escaped.
class StringUtil
{
public:
    // The value between the first "<tag>" and the first "</tag>", tag matched without regard
    // to case, value in its own case. Empty when either mark is missing.
    static QString getValue(QString& text, QString& tag);
    static QString getValue(const QString& text, const QString& tag);
};

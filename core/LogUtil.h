#pragma once

#include <QString>

// Logging through Qt's "default" category; a line is the text alone.
class LogUtil
{
public:
    static bool isDebug;

    static void i(const QString& text);
    static void d(const QString& text);
    static void w(const QString& text);
    static void c(const QString& text);
};

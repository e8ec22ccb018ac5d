#include "LogUtil.h"

#include <QLoggingCategory>

bool LogUtil::isDebug = true;

namespace {
Q_LOGGING_CATEGORY(velkorDefault, "default")
}

void LogUtil::i(const QString& text)
{
    if (isDebug)
        qCInfo(velkorDefault).noquote() << text;
}

void LogUtil::d(const QString& text)
{
    if (isDebug)
        qCDebug(velkorDefault).noquote() << text;
}

void LogUtil::w(const QString& text)
{
    if (isDebug)
        qCWarning(velkorDefault).noquote() << text;
}

void LogUtil::c(const QString& text)
{
    if (isDebug)
        qCCritical(velkorDefault).noquote() << text;
}

#include "BenchSupport.h"

#include "DatabaseManager.h"
#include "FileUtil.h"
#include "MGlobal.h"

#include <QApplication>
#include <QDir>
#include <QLoggingCategory>
#include <QElapsedTimer>
#include <QFile>

#include <sys/resource.h>

#include <cstdio>

namespace BenchSupport {

void useHome(const QString& dir)
{
    QDir().mkpath(dir + "/Documents");
    QDir().mkpath(dir + "/.config");
    QDir().mkpath(dir + "/.runtime");
    QFile::setPermissions(dir + "/.runtime", QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    qputenv("HOME", dir.toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", QString(dir + "/.config").toLocal8Bit());
    qputenv("XDG_DATA_HOME", QString(dir + "/.local/share").toLocal8Bit());
    qputenv("XDG_CACHE_HOME", QString(dir + "/.cache").toLocal8Bit());
    qputenv("XDG_RUNTIME_DIR", QString(dir + "/.runtime").toLocal8Bit());
    qunsetenv("XDG_DOCUMENTS_DIR");
}

int loginBenchUser()
{
    DatabaseManager db;
    db.createTables();
    QString name = QStringLiteral("bench");
    QString password = QStringLiteral("bench");
    if (db.queryUserByNickname(name).id == 0)
        db.insertUser(name, password);
    gUser = db.loginUser(name, password);
    FileUtil::createDir(name);
    return gUser.id;
}

double now()
{
    static QElapsedTimer clock;
    if (!clock.isValid())
        clock.start();
    return clock.nsecsElapsed() / 1e9;
}

double peakRssMb()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss / 1024.0; // kilobytes on Linux
}

void result(const QStringList& fields)
{
    std::printf("%s\n", qPrintable(fields.join(QLatin1Char(' '))));
    std::fflush(stdout);
}

QString num(double value, int decimals)
{
    return QString::number(value, 'f', decimals);
}

} // namespace BenchSupport

int benchMain(int argc, char* argv[], int (*command)(const QStringList& args))
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // The code under test logs; a benchmark prints its result line only.
    QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\n*.info=false\n*.warning=false"));
    QApplication app(argc, argv);
    return command(app.arguments().mid(1));
}

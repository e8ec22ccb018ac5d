#include "TestSupport.h"

#include "DatabaseManager.h"
#include "DialogUtil.h"
#include "FileUtil.h"
#include "MGlobal.h"
#include "MessageBoxUtil.h"
#include "VelkorResources.h"

#include <QDir>
#include <QSqlDatabase>
#include <QStandardPaths>
#include <vector>

namespace TestSupport {

namespace {
// Homes stay until the process ends, so that paths handed out stay valid.
std::vector<std::unique_ptr<QTemporaryDir>>& homes()
{
    static std::vector<std::unique_ptr<QTemporaryDir>> list;
    return list;
}
} // namespace

void dropDatabaseConnections()
{
    for (const QString& name : QSqlDatabase::connectionNames()) {
        {
            QSqlDatabase db = QSqlDatabase::database(name, false);
            if (db.isOpen())
                db.close();
        }
        QSqlDatabase::removeDatabase(name);
    }
}

QString freshHome()
{
    dropDatabaseConnections();
    auto dir = std::make_unique<QTemporaryDir>(QDir::tempPath() + "/velkor-test-XXXXXX");
    const QString home = dir->path();
    homes().push_back(std::move(dir));
    QDir().mkpath(home + "/Documents");
    QDir().mkpath(home + "/.config");
    qputenv("HOME", home.toLocal8Bit());
    qputenv("XDG_CONFIG_HOME", QString(home + "/.config").toLocal8Bit());
    qputenv("XDG_DATA_HOME", QString(home + "/.local/share").toLocal8Bit());
    qputenv("XDG_CACHE_HOME", QString(home + "/.cache").toLocal8Bit());
    qputenv("XDG_RUNTIME_DIR", QString(home + "/.runtime").toLocal8Bit());
    QDir().mkpath(home + "/.runtime");
    QFile::setPermissions(home + "/.runtime", QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    qunsetenv("XDG_DOCUMENTS_DIR");
    MessageBoxUtil::setRecording(true);
    MessageBoxUtil::clear();
    DialogUtil::clear();
    gUser = User();
    // The documents folder must now lie inside the new home, or the test must stop here.
    const QString docs = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
    if (!docs.startsWith(home))
        qFatal("documents folder %s is outside the test home %s", qPrintable(docs), qPrintable(home));
    return home;
}

QString documentsPath()
{
    return FileUtil::getDocumentPath();
}

int loginTestUser(const QString& nickname)
{
    DatabaseManager db;
    db.createTables();
    QString name = nickname;
    QString password = QStringLiteral("secret");
    if (db.queryUserByNickname(name).id == 0)
        db.insertUser(name, password);
    gUser = db.loginUser(name, password);
    FileUtil::createDir(name);
    return gUser.id;
}

void prepareProcess()
{
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    freshHome();
}

void prepareApplication()
{
    VelkorResources::init();
    MessageBoxUtil::setRecording(true);
}

} // namespace TestSupport

#include "FileUtil.h"

#include <QDir>
#include <QStandardPaths>

QString FileUtil::getDocumentPath()
{
    const QString path = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation) + "/Velkor/";
    QDir().mkpath(path);
    return path;
}

QString FileUtil::createDir(QString name)
{
    const QString path = getDocumentPath() + name;
    QDir().mkpath(path);
    return path;
}

QString FileUtil::createFile(QString dir, QString file)
{
    const QString folder = getDocumentPath() + dir;
    QDir().mkpath(folder);
    return folder + file;
}

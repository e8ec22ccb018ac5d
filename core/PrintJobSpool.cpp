#include "PrintJobSpool.h"

#include "FileUtil.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QSettings>

#include <algorithm>
#include <cstdio>

namespace {

const QString MESSAGE_PREFIX = QStringLiteral("print-job:");

bool saveAtomically(const QString& path, const QByteArray& data, QString* error)
{
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(data) == data.size() && file.commit())
        return true;
    if (error)
        *error = QStringLiteral("%1: %2").arg(path, file.errorString());
    return false;
}

// The description is written beside its final name and renamed over it (rename replaces
// atomically), so a job's .job file is always whole.
bool saveDescription(const PrintJob& job, QString* error)
{
    const QString part = job.metaPath() + QStringLiteral(".part");
    {
        QSettings meta(part, QSettings::IniFormat);
        meta.setIniCodec("UTF-8");
        meta.beginGroup(QStringLiteral("job"));
        meta.setValue(QStringLiteral("title"), job.title);
        meta.setValue(QStringLiteral("recipients"), job.recipients);
        meta.setValue(QStringLiteral("time"), job.time.toString(Qt::ISODate));
        meta.setValue(QStringLiteral("opened"), job.opened);
        meta.endGroup();
        meta.sync();
        if (meta.status() != QSettings::NoError) {
            if (error)
                *error = QStringLiteral("cannot write %1").arg(part);
            return false;
        }
    }
    if (std::rename(QFile::encodeName(part).constData(), QFile::encodeName(job.metaPath()).constData()) == 0)
        return true;
    if (error)
        *error = QStringLiteral("cannot rename %1").arg(part);
    QFile::remove(part);
    return false;
}

PrintJob read(const QString& folder, const QString& id)
{
    PrintJob job;
    job.id = id;
    job.folder = folder;
    QSettings meta(job.metaPath(), QSettings::IniFormat);
    meta.setIniCodec("UTF-8");
    meta.beginGroup(QStringLiteral("job"));
    job.title = meta.value(QStringLiteral("title")).toString();
    job.recipients = meta.value(QStringLiteral("recipients")).toString();
    job.time = QDateTime::fromString(meta.value(QStringLiteral("time")).toString(), Qt::ISODate);
    job.opened = meta.value(QStringLiteral("opened"), false).toBool();
    return job;
}

QString withSlash(QString folder)
{
    if (!folder.endsWith(QLatin1Char('/')))
        folder += QLatin1Char('/');
    return folder;
}

} // namespace

namespace PrintJobSpool {

QString userFolder()
{
    return FileUtil::createDir(QStringLiteral("spool/"));
}

bool write(const QString& folder, PrintJob& job, const QByteArray& pdf, QString* error)
{
    job.folder = withSlash(folder);
    if (!QDir().mkpath(job.folder)) {
        if (error)
            *error = QStringLiteral("cannot make %1").arg(job.folder);
        return false;
    }
    if (!job.time.isValid())
        job.time = QDateTime::currentDateTime();
    return saveAtomically(job.pdfPath(), pdf, error) && saveDescription(job, error);
}

QList<PrintJob> list(const QString& folder)
{
    const QString dir = withSlash(folder);
    QList<PrintJob> jobs;
    const QFileInfoList metas = QDir(dir).entryInfoList({QStringLiteral("*.job")}, QDir::Files);
    for (const QFileInfo& meta : metas) {
        PrintJob job = read(dir, meta.completeBaseName());
        if (QFileInfo::exists(job.pdfPath()))
            jobs.append(job);
    }
    std::sort(jobs.begin(), jobs.end(), [](const PrintJob& a, const PrintJob& b) { return a.time < b.time; });
    return jobs;
}

QList<PrintJob> adopt(const QString& from, const QString& to)
{
    QList<PrintJob> moved;
    const QString target = withSlash(to);
    if (!QDir().mkpath(target))
        return moved;
    for (PrintJob job : list(from)) {
        PrintJob copy = job;
        copy.folder = target;
        // The document first, the description last: a job is whole wherever its .job lies.
        QFile::remove(copy.pdfPath());
        if (!QFile::rename(job.pdfPath(), copy.pdfPath()) && !QFile::copy(job.pdfPath(), copy.pdfPath()))
            continue;
        if (!saveDescription(copy, nullptr))
            continue;
        QFile::remove(job.metaPath());
        QFile::remove(job.pdfPath());
        moved.append(copy);
    }
    return moved;
}

QString keptFolder(const QString& user)
{
    return QStringLiteral("/var/spool/cups/velkor/") + QString(user).replace(QLatin1Char('/'), QLatin1Char('_'));
}

QList<PrintJob> takeWaiting()
{
    const QString folder = userFolder();
    const QString user = qEnvironmentVariable("USER", qEnvironmentVariable("LOGNAME"));
    if (!user.isEmpty() && QFileInfo(keptFolder(user)).isReadable())
        adopt(keptFolder(user), folder);
    QList<PrintJob> waiting;
    for (const PrintJob& job : list(folder))
        if (!job.opened)
            waiting.append(job);
    return waiting;
}

bool markOpened(PrintJob& job)
{
    job.opened = true;
    return saveDescription(job, nullptr);
}

bool remove(const PrintJob& job)
{
    // The description goes first, so a job is never listed without its document.
    const bool meta = QFile::remove(job.metaPath()) || !QFileInfo::exists(job.metaPath());
    QFile::remove(job.pdfPath());
    return meta;
}

QString recipientLine(const QString& phoneOption)
{
    QString line;
    for (const QString& entry : phoneOption.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
        const QString trimmed = entry.trimmed();
        if (!trimmed.isEmpty())
            line += trimmed + QLatin1Char(';');
    }
    return line;
}

QString message(const PrintJob& job)
{
    return MESSAGE_PREFIX + job.folder;
}

bool isMessage(const QString& text)
{
    return text.startsWith(MESSAGE_PREFIX);
}

QString folderOfMessage(const QString& text)
{
    return isMessage(text) ? text.mid(MESSAGE_PREFIX.size()) : QString();
}

} // namespace PrintJobSpool

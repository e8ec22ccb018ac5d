#include "FaxExporter.h"

#include "AppSettings.h"
#include "DatabaseManager.h"
#include "FaxPdfWriter.h"
#include "LogUtil.h"
#include "MGlobal.h"
#include "TiffUtil.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace {

// Text that becomes one folder or file name, also on shared drives of other systems.
QString namePiece(QString text)
{
    static const QString forbidden = QStringLiteral("/\\:*?\"<>|");
    for (QChar& c : text) {
        if (forbidden.contains(c) || c.unicode() < 0x20)
            c = QLatin1Char('-');
    }
    text = text.trimmed();
    if (text == QLatin1String(".") || text == QLatin1String(".."))
        text.clear();
    return text;
}

// A name in the folder that no earlier copy has taken: "name.ext", "name (2).ext", ...
QString freeName(const QString& folder, const QString& name, const QString& suffix)
{
    QString path = folder + QLatin1Char('/') + name + suffix;
    for (int n = 2; QFileInfo::exists(path); ++n)
        path = folder + QLatin1Char('/') + name + QStringLiteral(" (%1)").arg(n) + suffix;
    return path;
}

bool copyTiff(const QString& from, const QString& to)
{
    QFile in(from);
    if (!in.open(QIODevice::ReadOnly)) {
        LogUtil::w(QStringLiteral("automatic output: cannot read %1: %2").arg(from, in.errorString()));
        return false;
    }
    QSaveFile out(to);
    if (!out.open(QIODevice::WriteOnly) || out.write(in.readAll()) != in.size() || !out.commit()) {
        LogUtil::w(QStringLiteral("automatic output: cannot write %1: %2").arg(to, out.errorString()));
        out.cancelWriting();
        return false;
    }
    return true;
}

} // namespace

FaxExporter::Options FaxExporter::options(Direction direction)
{
    using namespace AutoExportKeys;
    const bool recv = direction == Received;
    auto settings = AppSettings::userSetting();
    Options o;
    o.enabled = settings->value(recv ? RECV_AUTO_SAVE_AS : SEND_AUTO_SAVE_AS, false).toBool();
    o.subfolder = settings->value(recv ? RECV_SAVE_SUBFOLDER : SEND_SAVE_SUBFOLDER, false).toBool();
    o.type = settings->value(recv ? RECV_AUTO_SAVE_AS_TYPE : SEND_AUTO_SAVE_AS_TYPE, int(TypePdf)).toInt();
    o.path = settings->value(recv ? RECV_AUTO_SAVE_AS_PATH : SEND_AUTO_SAVE_AS_PATH).toString();
    o.subfolderKind =
        settings->value(recv ? RECV_AUTO_SAVE_AS_SUBFOLDER : SEND_AUTO_SAVE_AS_SUBFOLDER, int(ByUser)).toInt();
    return o;
}

QString FaxExporter::targetFolder(const Fax& fax, const Options& options)
{
    QString folder = QDir::cleanPath(options.path);
    if (!options.subfolder)
        return folder;
    const QString user = namePiece(gUser.nickname);
    if (!user.isEmpty())
        folder += QLatin1Char('/') + user;

    QString second;
    if (options.subfolderKind == ByUserAndNumber) {
        second = fax.cid;
    } else if (options.subfolderKind == ByUserAndContact) {
        // The contact's shown name; a number that no contact has stands for itself.
        QString number = fax.cid;
        if (!number.isEmpty()) {
            DatabaseManager db;
            second = db.findContactByFaxNumber(number).represented;
        }
        if (second.trimmed().isEmpty())
            second = fax.cid;
    }
    second = namePiece(second);
    if (!second.isEmpty())
        folder += QLatin1Char('/') + second;
    return folder;
}

QString FaxExporter::exportFax(const Fax& fax, const Options& options)
{
    if (options.path.trimmed().isEmpty()) {
        LogUtil::w(QStringLiteral("automatic output: no output path chosen"));
        return QString();
    }
    const QString folder = targetFolder(fax, options);
    if (!QDir().mkpath(folder) || !QFileInfo(folder).isWritable()) {
        LogUtil::w(QStringLiteral("automatic output: cannot write to %1").arg(folder));
        return QString();
    }

    QString name = namePiece(QFileInfo(fax.filepath).completeBaseName());
    if (name.isEmpty())
        name = namePiece(fax.time);
    if (name.isEmpty())
        name = QStringLiteral("fax");
    const bool tiff = options.type == TypeTiff;
    const QString target = freeName(folder, name, tiff ? QStringLiteral(".tif") : QStringLiteral(".pdf"));

    if (tiff)
        return copyTiff(fax.filepath, target) ? target : QString();

    if (TiffUtil::tiffPageToImg(fax.filepath, 0).isNull()) {
        LogUtil::w(QStringLiteral("automatic output: cannot read the fax %1").arg(fax.filepath));
        return QString();
    }
    return FaxPdfWriter::writeFax(fax.filepath, target) ? target : QString();
}

int FaxExporter::exportReceivedFaxes(const QList<Fax>& faxes)
{
    if (faxes.isEmpty())
        return 0;
    const Options o = options(Received);
    if (!o.enabled)
        return 0;
    int written = 0;
    for (const Fax& fax : faxes) {
        if (!exportFax(fax, o).isEmpty())
            ++written;
    }
    return written;
}

bool FaxExporter::exportSentFax(const Fax& fax)
{
    const Options o = options(Sent);
    return o.enabled && !exportFax(fax, o).isEmpty();
}

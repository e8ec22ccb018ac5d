#pragma once

#include "Fax.h"

#include <QList>
#include <QString>

// Keys of the automatic output in "UserSetting.ini".
namespace AutoExportKeys {
inline const QString RECV_AUTO_SAVE_AS = QStringLiteral("/AutoExportOptions/RecvFaxAutoSaveAs");
inline const QString RECV_SAVE_SUBFOLDER = QStringLiteral("/AutoExportOptions/RecvFaxSaveSubfolder");
inline const QString RECV_AUTO_SAVE_AS_TYPE = QStringLiteral("/AutoExportOptions/RecvFaxAutoSaveAsType");
inline const QString RECV_AUTO_SAVE_AS_PATH = QStringLiteral("/AutoExportOptions/RecvFaxAutoSaveAsPath");
inline const QString RECV_AUTO_SAVE_AS_SUBFOLDER = QStringLiteral("/AutoExportOptions/RecvFaxAutoSaveAsSubFolder");
inline const QString SEND_AUTO_SAVE_AS = QStringLiteral("/AutoExportOptions/SendFaxAutoSaveAs");
inline const QString SEND_SAVE_SUBFOLDER = QStringLiteral("/AutoExportOptions/SendFaxSaveSubfolder");
inline const QString SEND_AUTO_SAVE_AS_TYPE = QStringLiteral("/AutoExportOptions/SendFaxAutoSaveAsType");
inline const QString SEND_AUTO_SAVE_AS_PATH = QStringLiteral("/AutoExportOptions/SendFaxAutoSaveAsPath");
inline const QString SEND_AUTO_SAVE_AS_SUBFOLDER = QStringLiteral("/AutoExportOptions/SendFaxAutoSaveAsSubFolder");
} // namespace AutoExportKeys

// The automatic output: a copy of a received or successfully sent fax as PDF or TIFF in the
// folder the user chose. Runs on whatever thread calls it; a copy that cannot be written is
// logged and skipped, it never stops the caller.
class FaxExporter
{
public:
    enum Direction { Received, Sent };
    enum FileType { TypePdf = 0, TypeTiff = 1 };
    // Subfolders under the chosen path: <user>, <user>/<fax number>, <user>/<contact>.
    enum Subfolder { ByUser = 0, ByUserAndNumber = 1, ByUserAndContact = 2 };

    struct Options
    {
        bool enabled = false;
        bool subfolder = false;
        int type = TypePdf;
        QString path;
        int subfolderKind = ByUser;
    };

    // The user's choices for one direction.
    static Options options(Direction direction);

    // Called when a retrieval has stored new faxes; returns the number of copies written.
    static int exportReceivedFaxes(const QList<Fax>& faxes);
    // Called by the outbox when a fax reaches SEND_FAX_SUCCESS; true when a copy was written.
    static bool exportSentFax(const Fax& fax);

    // One copy with the given choices (enabled is not looked at). Returns its path, or an
    // empty text when nothing could be written.
    static QString exportFax(const Fax& fax, const Options& options);
    // The folder a copy goes to; the fax number is the fax's cid.
    static QString targetFolder(const Fax& fax, const Options& options);
};

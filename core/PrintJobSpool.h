#pragma once

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

// A document printed to the "Velkor" print queue, waiting in its user's spool folder until the
// user sends it from the editor or deletes it.
struct PrintJob
{
    QString id;         // the print system's job id, unique within the folder
    QString folder;     // the spool folder that holds it, ending in "/"
    QString title;      // the document's title as the printing program gave it
    QString recipients; // the editor's recipient line: "name<number>;number;"
    QDateTime time;     // when it was printed
    bool opened = false; // shown in an editor once already

    QString pdfPath() const { return folder + id + QStringLiteral(".pdf"); }
    QString metaPath() const { return folder + id + QStringLiteral(".job"); }
};

// The files of a spool folder: for each job "<id>.pdf" and "<id>.job" (an INI text with the
// title, recipients, time and whether it was shown). The .job file is written last, so a job
// is there only once its document is complete.
namespace PrintJobSpool {

// The current user's spool folder: the documents root + "spool/" (made if missing).
QString userFolder();

// Writes a job's document and description into folder (made if missing), each first under a
// temporary name and then renamed, so no half-written file ever carries a final name.
bool write(const QString& folder, PrintJob& job, const QByteArray& pdf, QString* error = nullptr);

// The complete jobs of a folder, oldest first.
QList<PrintJob> list(const QString& folder);
// Moves every complete job of from into to; returns the jobs moved.
QList<PrintJob> adopt(const QString& from, const QString& to);

// The jobs of the current user that no editor has shown yet, after taking over those the print
// system kept for this user (the folder below, when this user may read it).
QList<PrintJob> takeWaiting();
// Where the print system keeps the jobs of a user it could not place.
QString keptFolder(const QString& user);

bool markOpened(PrintJob& job);
bool remove(const PrintJob& job);

// The "phone" job option: numbers separated by commas, a name given as "name<number>";
// returns the editor's recipient line.
QString recipientLine(const QString& phoneOption);

// The text sent to a running client over its single-instance channel, and its reading.
QString message(const PrintJob& job);
bool isMessage(const QString& text);
QString folderOfMessage(const QString& text);

} // namespace PrintJobSpool

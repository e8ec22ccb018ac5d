// The print system's backend of the "Velkor" queue: a printed document becomes a fax waiting in
// its user's spool folder, and the user's running client is told to open it in the editor.
//
//   velkor                                       prints the discovery line
//   velkor job-id user title copies options [file]  takes the document (stdin without file)
//
// It runs as root (mode 0700), so that it can write into the printing user's documents folder.
// Environment, for tests: VELKOR_BACKEND_HOMES (a folder whose sub-folders stand for the
// users' homes), VELKOR_BACKEND_SPOOL (the print system's spool folder) and
// VELKOR_BACKEND_RUNTIME (where the clients' single-instance sockets lie).

#include "PrintJobSpool.h"

#include <QCoreApplication>
#include <QDataStream>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLocalSocket>
#include <QProcess>
#include <QRegularExpression>
#include <QTextStream>

#include <cerrno>
#include <cstdio>
#include <poll.h>
#include <grp.h>
#include <pwd.h>
#include <unistd.h>

namespace {

// Exit codes the print system understands.
enum { BACKEND_OK = 0, BACKEND_FAILED = 1 };

void say(const QString& level, const QString& text)
{
    // The print system copies lines of standard error that begin with a level into the job's log.
    std::fprintf(stderr, "%s: %s\n", qPrintable(level), text.toLocal8Bit().constData());
    std::fflush(stderr);
}

struct Account
{
    bool known = false;
    QString home;
    uid_t uid = 0;
    gid_t gid = 0;
};

Account account(const QString& user)
{
    Account result;
    const QString homes = qEnvironmentVariable("VELKOR_BACKEND_HOMES");
    if (!homes.isEmpty()) {
        result.home = homes + QLatin1Char('/') + user;
        result.known = !user.contains(QLatin1Char('/')) && QDir(result.home).exists();
        result.uid = getuid();
        result.gid = getgid();
        return result;
    }
    if (const passwd* pw = getpwnam(user.toLocal8Bit().constData())) {
        result.known = true;
        result.home = QFile::decodeName(pw->pw_dir);
        result.uid = pw->pw_uid;
        result.gid = pw->pw_gid;
    }
    return result;
}

// The user's documents folder as the desktop names it (user-dirs.dirs), else ~/Documents.
QString documentsFolder(const QString& home)
{
    QFile dirs(home + QStringLiteral("/.config/user-dirs.dirs"));
    if (dirs.open(QIODevice::ReadOnly | QIODevice::Text)) {
        const QRegularExpression line(QStringLiteral("^XDG_DOCUMENTS_DIR=\"(.*)\"$"));
        for (const QString& text : QString::fromUtf8(dirs.readAll()).split(QLatin1Char('\n'))) {
            const auto match = line.match(text.trimmed());
            if (match.hasMatch())
                return match.captured(1).replace(QStringLiteral("$HOME"), home);
        }
    }
    return home + QStringLiteral("/Documents");
}

// The job options are "name=value" words; a value may be quoted or hold escaped blanks.
QString option(const QString& options, const QString& name)
{
    QStringList words;
    QString word;
    QChar quote;
    for (int i = 0; i < options.size(); ++i) {
        const QChar c = options.at(i);
        if (c == QLatin1Char('\\') && i + 1 < options.size())
            word += options.at(++i);
        else if (!quote.isNull() && c == quote)
            quote = QChar();
        else if (quote.isNull() && (c == QLatin1Char('"') || c == QLatin1Char('\'')))
            quote = c;
        else if (quote.isNull() && c.isSpace()) {
            if (!word.isEmpty())
                words << word;
            word.clear();
        } else
            word += c;
    }
    if (!word.isEmpty())
        words << word;
    for (const QString& w : words)
        if (w.startsWith(name + QLatin1Char('=')))
            return w.mid(name.size() + 1);
    return QString();
}

// Everything up to the end of standard input. The print system hands the filter's pipe over
// as it is, so a read may find nothing yet (EAGAIN) or be interrupted: only the end stops.
QByteArray readStandardInput()
{
    QByteArray data;
    char buffer[65536];
    for (;;) {
        const ssize_t n = read(STDIN_FILENO, buffer, sizeof buffer);
        if (n > 0)
            data.append(buffer, int(n));
        else if (n == 0)
            return data;
        else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            pollfd in{STDIN_FILENO, POLLIN, 0};
            poll(&in, 1, 1000);
        } else if (errno != EINTR)
            return data;
    }
}

// PDF as it comes; PostScript through Ghostscript; anything else is refused.
QByteArray toPdf(const QByteArray& document, QString* error)
{
    if (document.startsWith("%PDF"))
        return document;
    if (!document.startsWith("%!")) {
        *error = document.isEmpty() ? QStringLiteral("the document is empty")
                                    : QStringLiteral("the document (%1 bytes, beginning \"%2\") is neither PDF nor PostScript")
                                          .arg(document.size())
                                          .arg(QString::fromLatin1(document.left(8).toPercentEncoding()));
        return QByteArray();
    }
    QProcess gs;
    gs.start(QStringLiteral("gs"), {QStringLiteral("-q"), QStringLiteral("-dSAFER"), QStringLiteral("-dBATCH"),
                                    QStringLiteral("-dNOPAUSE"), QStringLiteral("-sDEVICE=pdfwrite"),
                                    QStringLiteral("-sOutputFile=-"), QStringLiteral("-")});
    if (!gs.waitForStarted()) {
        *error = QStringLiteral("Ghostscript (gs) cannot be started to read PostScript");
        return QByteArray();
    }
    gs.write(document);
    gs.closeWriteChannel();
    gs.waitForFinished(-1);
    const QByteArray pdf = gs.readAllStandardOutput();
    if (gs.exitCode() != 0 || !pdf.startsWith("%PDF")) {
        *error = QStringLiteral("Ghostscript could not convert the PostScript: %1")
                     .arg(QString::fromLocal8Bit(gs.readAllStandardError()).trimmed());
        return QByteArray();
    }
    return pdf;
}

void giveTo(const QString& path, const Account& owner)
{
    if (geteuid() == 0 && (owner.uid != 0 || owner.gid != 0))
        if (chown(QFile::encodeName(path).constData(), owner.uid, owner.gid) != 0)
            say(QStringLiteral("WARNING"), QStringLiteral("cannot give %1 to its user").arg(path));
}

// Makes the folders from the user's home down to folder, each new one the user's own (the
// backend runs as root, and a folder of root's in a home would lock its user out).
void makeFolders(const QString& home, const QString& folder, const Account& owner)
{
    const bool inHome = folder.startsWith(home + QLatin1Char('/'));
    QString path = inHome ? home : QString();
    for (const QString& part : folder.mid(path.size()).split(QLatin1Char('/'), Qt::SkipEmptyParts)) {
        path += QLatin1Char('/') + part;
        if (!QFileInfo::exists(path) && QDir().mkdir(path))
            giveTo(path, owner);
    }
}

// Tells every running client of the user (each copy of the program listens on a socket of its
// own) that jobs wait; true when one confirmed.
bool tellClients(const Account& owner, const QString& message)
{
    QStringList folders;
    const QString runtime = qEnvironmentVariable("VELKOR_BACKEND_RUNTIME");
    if (!runtime.isEmpty())
        folders << runtime;
    else
        folders << QStringLiteral("/run/user/%1").arg(owner.uid)
                << QStringLiteral("/tmp/runtime-%1").arg(QFile::decodeName(getpwuid(owner.uid) ? getpwuid(owner.uid)->pw_name : ""));
    bool told = false;
    for (const QString& folder : folders) {
        const QFileInfoList sockets = QDir(folder).entryInfoList({QStringLiteral("velkor-*")}, QDir::System);
        for (const QFileInfo& socketFile : sockets) {
            if (socketFile.fileName().endsWith(QStringLiteral(".lock")))
                continue;
            QLocalSocket socket;
            socket.connectToServer(socketFile.absoluteFilePath());
            if (!socket.waitForConnected(1000))
                continue;
            QByteArray block;
            QDataStream out(&block, QIODevice::WriteOnly);
            out << message;
            socket.write(block);
            socket.waitForBytesWritten(1000);
            while (socket.bytesAvailable() < 3 && socket.waitForReadyRead(2000)) {
            }
            told = told || socket.readAll().startsWith("ack");
        }
    }
    return told;
}

int printJob(const QStringList& args)
{
    const QString jobId = args.at(1);
    const QString user = args.at(2);
    QByteArray document;
    if (args.size() > 6) {
        QFile file(args.at(6));
        if (!file.open(QIODevice::ReadOnly)) {
            say(QStringLiteral("ERROR"), QStringLiteral("cannot read %1").arg(args.at(6)));
            return BACKEND_FAILED;
        }
        document = file.readAll();
    } else {
        document = readStandardInput();
    }
    QString error;
    const QByteArray pdf = toPdf(document, &error);
    if (pdf.isEmpty()) {
        say(QStringLiteral("ERROR"), error);
        return BACKEND_FAILED;
    }

    PrintJob job;
    job.id = QString(jobId).replace(QRegularExpression(QStringLiteral("[^0-9A-Za-z_-]")), QStringLiteral("_"));
    job.title = args.at(3);
    job.recipients = PrintJobSpool::recipientLine(option(args.at(5), QStringLiteral("phone")));

    const QString spool = qEnvironmentVariable("VELKOR_BACKEND_SPOOL");
    const QString waiting = spool.isEmpty()
        ? PrintJobSpool::keptFolder(user)
        : spool + QStringLiteral("/velkor/") + QString(user).replace(QLatin1Char('/'), QLatin1Char('_'));
    const Account owner = account(user);
    if (!owner.known) {
        // Kept where the print system keeps its own files, until the user can be found.
        if (!PrintJobSpool::write(waiting, job, pdf, &error)) {
            say(QStringLiteral("ERROR"), error);
            return BACKEND_FAILED;
        }
        say(QStringLiteral("ERROR"), QStringLiteral("user \"%1\" has no local account on this computer; the fax is kept "
                                                    "in %2 until that user logs in")
                                         .arg(user, waiting));
        return BACKEND_OK;
    }

    const QString folder = documentsFolder(owner.home) + QStringLiteral("/Velkor/spool/");
    makeFolders(owner.home, folder, owner);
    if (!PrintJobSpool::write(folder, job, pdf, &error)) {
        say(QStringLiteral("ERROR"), error);
        return BACKEND_FAILED;
    }
    // Jobs kept while the user was unknown go along now.
    QList<PrintJob> placed = PrintJobSpool::adopt(waiting, folder);
    placed << job;
    for (const PrintJob& each : placed) {
        giveTo(each.pdfPath(), owner);
        giveTo(each.metaPath(), owner);
    }
    if (tellClients(owner, PrintJobSpool::message(job)))
        say(QStringLiteral("INFO"), QStringLiteral("the fax of job %1 is open in %2's Velkor").arg(jobId, user));
    else
        say(QStringLiteral("INFO"), QStringLiteral("the fax of job %1 waits for %2's next Velkor login").arg(jobId, user));
    return BACKEND_OK;
}

} // namespace

int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    const QStringList args = app.arguments();
    if (args.size() == 1) {
        std::printf("direct velkor \"Unknown\" \"Velkor fax\" \"MFG:Velkor;MDL:Fax;CMD:PDF;\"\n");
        return BACKEND_OK;
    }
    if (args.size() < 6 || args.size() > 7) {
        std::fprintf(stderr, "Usage: %s job-id user title copies options [file]\n", argv[0]);
        return BACKEND_FAILED;
    }
    return printJob(args);
}

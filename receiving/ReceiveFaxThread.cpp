#include "ReceiveFaxThread.h"

#include "DatabaseManager.h"
#include "DeviceProtocol.h"
#include "FaxExporter.h"
#include "FaxStatus.h"
#include "FileUtil.h"
#include "LogUtil.h"
#include "MGlobal.h"
#include "StringUtil.h"
#include "TiffUtil.h"
#include "TimeUtil.h"
#include "WireCodec.h"

#include <QDir>
#include <QFileInfo>
#include <QPair>
#include <QFile>
#include <QTcpSocket>


namespace {

// What the store already holds for the user: files in use and received faxes by device task.
struct StoredFaxes
{
    QSet<QString> paths;
    QSet<QPair<QString, qint64>> tasks; // (serverID, taskID) of received faxes

    static StoredFaxes load()
    {
        StoredFaxes stored;
        DatabaseManager db;
        QList<Fax> all = db.queryReceiveFaxes();
        all += db.querySendFaxes();
        all += db.queryDeleteFaxes();
        for (const Fax& fax : all) {
            if (!fax.filepath.isEmpty())
                stored.paths.insert(QDir::cleanPath(fax.filepath));
            if (fax.tag == 0 && fax.status != FaxStatus::RECV_FAX_FAILED)
                stored.tasks.insert(qMakePair(fax.serverID, qint64(fax.taskID)));
        }
        return stored;
    }
};

// A device's text used as one folder or file name: no separator may lead elsewhere.
QString pathPiece(QString text)
{
    text.replace(QLatin1Char('/'), QLatin1Char('_'));
    text.remove(QChar(0));
    if (text == QLatin1String(".") || text == QLatin1String(".."))
        text = QStringLiteral("_");
    return text;
}

QString tag(const QString& reply, const char* name)
{
    return StringUtil::getValue(reply, QLatin1String(name));
}

// A download in progress: written to "<final>.part", renamed to the final name when complete
// (never over an existing file), removed when it is given up.
class PartFile
{
public:
    explicit PartFile(const QString& finalPath) : m_final(finalPath), m_file(finalPath + QStringLiteral(".part")) {}
    ~PartFile()
    {
        if (!m_done) {
            m_file.close();
            m_file.remove();
        }
    }
    bool open() { return m_file.open(QIODevice::WriteOnly | QIODevice::Truncate); }
    bool write(const QByteArray& bytes) { return m_file.write(bytes) == bytes.size(); }
    // QFile::rename does not replace an existing file: a name taken meanwhile fails the fax.
    bool finish()
    {
        if (!m_file.flush())
            return false;
        m_file.close();
        if (m_file.error() != QFileDevice::NoError || !m_file.rename(m_final))
            return false;
        m_done = true;
        return true;
    }
    QString errorString() const { return m_file.errorString(); }

private:
    QString m_final;
    QFile m_file;
    bool m_done = false;
};

} // namespace

ReceiveFaxThread::ReceiveFaxThread(QObject* parent) : LoginThread(parent)
{
}

QString ReceiveFaxThread::faxFolder(const QString& svrId)
{
    return QDir::cleanPath(FileUtil::getDocumentPath() + pathPiece(gUser.nickname) + QLatin1Char('/')
                           + pathPiece(svrId) + QStringLiteral("/FaxFile"));
}

QString ReceiveFaxThread::devicePath(const QString& file)
{
    const QString bs = QStringLiteral("\\");
    return QStringLiteral("$STG_DIR$FaxFiles\\") + file.mid(0, 2) + bs + file.mid(2, 2) + bs + file.mid(4, 2) + bs
        + file.mid(6, 2) + QStringLiteral(".tif");
}

QString ReceiveFaxThread::downloadFaxFile(QString& svrId, QString& file, QString& localTime, int remaining,
                                          QTcpSocket* socket, const QSet<QString>& taken)
{
    QString path;
    return fetchFile(svrId, file, localTime, remaining, socket, taken, &path) == Fetched ? path : QString();
}

ReceiveFaxThread::Outcome ReceiveFaxThread::fetchFile(const QString& svrId, const QString& file,
                                                      const QString& localTime, int remaining, QTcpSocket* socket,
                                                      const QSet<QString>& taken, QString* result)
{
    const QString folder = faxFolder(svrId);
    QDir().mkpath(folder);

    // The ordinary name, unless another fax with the same time holds it.
    const QString base = folder + QLatin1Char('/') + pathPiece(localTime);
    QString path = base + QStringLiteral(".tif");
    for (int n = 2; taken.contains(path); ++n)
        path = base + QStringLiteral(" (%1).tif").arg(n);
    if (QFileInfo::exists(path)) {
        *result = path; // complete: only a finished transfer ever gets this name
        return Fetched;
    }

    // The transfer goes to "<name>.part"; only a complete file is renamed to the final name.
    PartFile out(path);
    if (!out.open()) {
        LogUtil::w(QStringLiteral("cannot write fax file %1: %2").arg(path, out.errorString()));
        return NotWritten;
    }
    if (!socket)
        return Broken;

    const QString remotePath = devicePath(file);
    LogUtil::d(QStringLiteral("downloadFileName:") + remotePath);
    const QString reply = exchange(socket, QStringLiteral("<ACTION>DOWN_FILE</ACTION><FILE>") + remotePath
                                       + QStringLiteral("</FILE><BUFSIZE>") + QString::number(m_blockSize)
                                       + QStringLiteral("</BUFSIZE>"),
                                   false, {QStringLiteral("FILE_LEN")});
    LogUtil::d(QStringLiteral("recvMsg:") + reply);

    bool ok = false;
    const qint64 fileLen = tag(reply, "FILE_LEN").toLongLong(&ok);
    if (!ok || fileLen < 0) {
        LogUtil::w(QStringLiteral("no FILE_LEN for %1; the fax is fetched again later").arg(remotePath));
        return Broken;
    }

    // One "R" for each chunk. A wait that brings nothing (silent device, closed connection)
    // ends the transfer: the count can no longer be trusted to match the device's.
    const QByteArray ready = WireCodec::encode(QStringLiteral("R"));
    qint64 received = 0;
    do {
        socket->write(ready);
        socket->flush();
        if (socket->bytesAvailable() == 0)
            socket->waitForReadyRead(DeviceProtocol::scaled(CHUNK_TIMEOUT_MS));
        const QByteArray chunk = socket->readAll();
        if (chunk.isEmpty() && received < fileLen) {
            LogUtil::w(QStringLiteral("transfer of %1 cut after %2 of %3 bytes; the fax is fetched again later")
                           .arg(remotePath)
                           .arg(received)
                           .arg(fileLen));
            return Broken;
        }
        if (!out.write(chunk)) {
            LogUtil::w(QStringLiteral("cannot write fax file %1: %2").arg(path, out.errorString()));
            return NotWritten;
        }
        received += chunk.size();
        const qint64 percent = fileLen > 0 ? received * 100 / fileLen : 0;
        QString progress = tr("[ %1 ]正在接收%2 % (剩余%3份)")
                               .arg(svrId, QString::number(percent), QString::number(remaining));
        emit showProgress(progress);
    } while (received < fileLen);

    if (!out.finish()) {
        LogUtil::w(QStringLiteral("cannot store fax file %1: %2").arg(path, out.errorString()));
        return NotWritten;
    }
    *result = path;
    return Fetched;
}

QList<Fax> ReceiveFaxThread::retrieve(Device& device, int port, bool* reached)
{
    QList<Fax> fetched;
    QTcpSocket* socket = login(device, port);
    if (reached)
        *reached = socket != nullptr;
    if (!socket)
        return fetched;

    qint64 task = qMax<qint64>(0, device.taskID.toLongLong()); // empty or not a number: 0
    qint64 mark = task; // stays below the first fax not stored
    bool passedOver = false;
    int broken = 0;
    StoredFaxes stored;
    bool storedLoaded = false;
    QSet<QString> taken;

    while (socket) {
        const QString request = QStringLiteral("<ACTION>GET_NEW_FAX</ACTION><DATETIME>2001-01-01 00:00:00</DATETIME>"
                                               "<TASK>%1</TASK><USER>%2</USER>")
                                    .arg(QString::number(task), device.deviceName);
        const QString reply = exchange(socket, request);
        LogUtil::d(QStringLiteral("receiveMsg: %1").arg(reply));

        const int count = tag(reply, "COUNT").toInt();
        if (count < 1)
            break;

        QString time = tag(reply, "TIME");
        QString file = tag(reply, "FILE");
        QString svrId = tag(reply, "SVRID");
        bool ok = false;
        const qint64 itemTask = tag(reply, "TASK").toLongLong(&ok);
        if (!ok || itemTask <= task) {
            // Asking again after the same task would give the same answer for ever.
            LogUtil::w(QStringLiteral("GET_NEW_FAX named task \"%1\" after %2; retrieval of %3 stops here")
                           .arg(tag(reply, "TASK"))
                           .arg(task)
                           .arg(device.productID));
            break;
        }
        task = itemTask;

        if (!storedLoaded) {
            stored = StoredFaxes::load();
            taken = stored.paths;
            storedLoaded = true;
        }
        if (stored.tasks.contains(qMakePair(svrId, itemTask))) {
            // Stored already: by a run whose mark did not get written, or after a fax before it failed.
            if (!passedOver)
                mark = itemTask;
            continue;
        }

        Fax fax;
        fax.time = TimeUtil::utcTime2LocalTime(time);
        fax.serverID = svrId;
        fax.sender = tag(reply, "SENDER");
        fax.receiver = tag(reply, "RECEIVER");
        fax.file = file;
        fax.cid = tag(reply, "CID");
        fax.taskID = int(itemTask);
        fax.tag = 0;
        fax.remark = tag(reply, "REMARK");
        fax.status = tag(reply, "STATUS_ID").toInt();
        fax.isDelete = 0;

        const QPair<int, qint64> key(device.id, itemTask);
        QString path;
        const Outcome outcome = fetchFile(svrId, file, fax.time, count, socket, taken, &path);
        if (outcome == Fetched) {
            fax.pageTotal = TiffUtil::getTiffPage(path);
            fax.filepath = path;
            fetched.append(fax);
            taken.insert(path);
            m_failedPolls.remove(key);
            if (!passedOver)
                mark = itemTask;
            continue;
        }

        // The fax stays on the device and the mark below it: the next poll asks for it again.
        passedOver = true;
        if (++m_failedPolls[key] == FAILED_POLLS_SHOWN) {
            fax.status = FaxStatus::RECV_FAX_FAILED; // shown in the inbox until the file comes
            fetched.append(fax);
        }
        if (outcome == NotWritten) {
            // Every later fax would go to the same folder.
            emit storageFailed(faxFolder(svrId));
            break;
        }
        // Where a transfer broke off, the connection is out of step: a new one goes on past it.
        hangUp(socket);
        socket = ++broken < BROKEN_PER_RUN ? login(device, port) : nullptr;
    }
    LogUtil::d(QStringLiteral("download complete"));
    hangUp(socket);

    if (!DatabaseManager().insertFaxes(fetched, device.id, QString::number(mark))) {
        // Files stay on disk and are found again without traffic; the mark stays put.
        LogUtil::w(QStringLiteral("received faxes of %1 could not be stored; asked for again at the next poll")
                       .arg(device.productID));
        emit storageFailed(FileUtil::getDocumentPath());
        for (const Fax& fax : fetched)
            if (fax.status == FaxStatus::RECV_FAX_FAILED)
                --m_failedPolls[qMakePair(device.id, qint64(fax.taskID))]; // shown after the next poll
        return QList<Fax>();
    }
    device.taskID = QString::number(mark);
    if (!fetched.isEmpty())
        LogUtil::i(QStringLiteral("%1 new fax(es) from %2").arg(fetched.size()).arg(device.productID));

    QList<Fax> files;
    for (const Fax& fax : fetched)
        if (fax.status != FaxStatus::RECV_FAX_FAILED)
            files.append(fax);
    FaxExporter::exportReceivedFaxes(files);
    return fetched;
}

void ReceiveFaxThread::downloadFaxInfo(Device device, int port)
{
    bool reached = false;
    retrieve(device, port, &reached);
    if (reached)
        emit downloadFaxInfoResult();
}

QList<Fax> ReceiveFaxThread::downloadFaxInfo2(Device device, int port)
{
    return retrieve(device, port, nullptr);
}

void ReceiveFaxThread::backgroundDownloadFaxInfo(int port)
{
    QList<Fax> result;
    try {
        DatabaseManager db;
        const QList<Device> devices = db.queryDevices();
        for (const Device& device : devices)
            result += downloadFaxInfo2(device, port);
    } catch (...) {
        LogUtil::w(QStringLiteral("异常捕获..."));
    }
    emit backgroundDownloadFaxInfoResult(result);
}

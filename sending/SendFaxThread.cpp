#include "SendFaxThread.h"

#include "DatabaseManager.h"
#include "DeviceProtocol.h"
#include "FaxRecordUtil.h"
#include "FaxStatus.h"
#include "FileUtil.h"
#include "LogUtil.h"
#include "MGlobal.h"
#include "StringUtil.h"
#include "TiffUtil.h"
#include "TimeUtil.h"
#include "WireCodec.h"

#include <QAtomicInt>
#include <QCoreApplication>
#include <QDateTime>
#include <QFile>
#include <QTcpSocket>

#include <cstdio>
#include <exception>

namespace {

// The upload waits 15 s for each answer of the device, not the 30 s of other exchanges.
constexpr int UPLOAD_REPLY_TIMEOUT_MS = 15000;
// A job that collides with more names than this in one second gives up instead of searching on.
constexpr int MAX_NAME_SUFFIX = 999;

QString feedback(const QString& reply)
{
    return StringUtil::getValue(reply, QStringLiteral("FEEDBACK"));
}

// Whether a status record changed a column that FAXES keeps: a fax that waits in the device's
// queue costs no write (and no disk sync) in every round.
bool storedStateChanged(const Fax& before, const Fax& after)
{
    return before.time != after.time || before.status != after.status || before.issue != after.issue
        || before.dialAlready != after.dialAlready || before.pageSended != after.pageSended;
}

} // namespace

SendFaxThread::SendFaxThread(QObject* parent)
    : LoginThread(parent)
{ }

// ---- Job assembly ----

void SendFaxThread::parseRecipient(const QString& entry, QString& name, QString& number, bool& named)
{
    const int open = entry.indexOf(QLatin1Char('<'));
    const int close = open < 0 ? -1 : entry.indexOf(QLatin1Char('>'), open + 1);
    named = open >= 0 && close > open;
    if (named) {
        name = entry.left(open);
        number = entry.mid(open + 1, close - open - 1);
    } else {
        name.clear();
        number = entry;
    }
}

QList<int> SendFaxThread::shareOut(int recipients, int devices)
{
    QList<int> groups;
    if (devices <= 0)
        return groups;
    const int q = recipients / devices;
    const int r = recipients - q * devices;
    for (int i = 0; i < devices; ++i)
        groups.append(i < r ? q + 1 : q);
    return groups;
}

QString SendFaxThread::writeJobFile(
    int pageTotal, const std::function<QImage(int)>& pageAt, const QString& folder, const QString& now)
{
    // Written completely under a name of this job alone first.
    static QAtomicInt serial;
    const QString staging = folder
        + QStringLiteral(".job-%1-%2.tif").arg(QCoreApplication::applicationPid()).arg(serial.fetchAndAddRelaxed(1));
    if (!TiffUtil::writePagesToTiff(pageTotal, pageAt, staging))
        return QString();

    // Then it takes the ordinary name, or the first free "name_N.tif" when a job of the same
    // second (on this or another thread) already holds it. Creating the name exclusively
    // reserves it, so no two jobs can win the same one and no file is replaced.
    for (int n = 0; n <= MAX_NAME_SUFFIX; ++n) {
        const QString path
            = folder + now + (n == 0 ? QString() : QStringLiteral("_%1").arg(n)) + QStringLiteral(".tif");
        QFile reservation(path);
        if (!reservation.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
            if (QFile::exists(path))
                continue;
            break; // the folder itself refuses
        }
        reservation.close();
        if (std::rename(QFile::encodeName(staging).constData(), QFile::encodeName(path).constData()) == 0)
            return path;
        QFile::remove(path);
        break;
    }
    LogUtil::w(QStringLiteral("No file name for the fax of %1 in %2").arg(now, folder));
    QFile::remove(staging);
    return QString();
}

void SendFaxThread::transfromFax(
    QString& recipients, QString& remark, QList<FaxPage>& pages, FaxOption& option, QList<Device>& devices)
{
    QList<FaxPageSource> none;
    transfromFaxPages(recipients, remark, pages, none, option, devices);
}

void SendFaxThread::transfromFaxPages(QString& recipients, QString& remark, QList<FaxPage>& pages,
                                      QList<FaxPageSource>& sources, FaxOption& option, QList<Device>& devices)
{
    // Pages of a stored fax come as their source and are decoded while written, so a long
    // fax is never held whole; each device's file reads them anew.
    const auto pageAt = [&pages, &sources](int i) {
        const FaxPage& page = pages.at(i);
        if (page.image.isNull() && i < sources.size() && !sources.at(i).isNull())
            return sources.at(i).decode();
        return page.image;
    };

    const QString now = TimeUtil::getNow();
    const QStringList entries = recipients.split(QLatin1Char(';'), Qt::SkipEmptyParts);
    const QList<int> groups = shareOut(entries.size(), devices.size());

    QList<Fax> faxes;
    DatabaseManager db;
    int next = 0;
    for (int g = 0; g < groups.size(); ++g) {
        if (groups.at(g) == 0)
            continue; // a device without recipients gets no file
        const Device& device = devices.at(g);
        const QString folder = FileUtil::createDir(gUser.nickname + "/" + device.productID + "/FaxFile/");
        const QString path = writeJobFile(pages.size(), pageAt, folder, now);
        if (path.isEmpty()) {
            // No row for a fax without its file: nothing could ever upload it. The editor
            // keeps these recipients and tells the user.
            QString group = entries.mid(next, groups.at(g)).join(QLatin1Char(';'));
            QString where = folder;
            next += groups.at(g);
            emit jobFileFailed(where, group);
            continue;
        }

        for (int i = 0; i < groups.at(g); ++i) {
            QString name;
            QString number;
            bool named = false;
            parseRecipient(entries.at(next++), name, number, named);
            if (!named) {
                const Contact contact = db.findContactByFaxNumber(number);
                name = contact.represented;
            }

            Fax fax;
            fax.pageTotal = pages.size();
            fax.dialTotal = option.dialogTotal;
            fax.dialAlready = 0;
            fax.sender = device.deviceName;
            fax.receiver = name;
            fax.remark = remark;
            fax.status = FaxStatus::SEND_FAX_WAITTING;
            fax.time = now;
            fax.taskID = 0;
            fax.serverID = device.productID;
            fax.cid = number;
            fax.filepath = path;
            fax.tag = 1;
            fax.priority = option.priority;
            fax.quality = option.quality;
            fax.pageSended = 0;
            fax.retryTime = option.retryTime;
            fax.dateTimePlan = option.planEnabled ? option.dateTimePlan : QDateTime();
            fax.dateTimeStop = option.stopEnabled ? option.dateTimeStop : QDateTime();
            fax.timeFrom = option.windowEnabled ? option.timeFrom : QTime();
            fax.timeTo = option.windowEnabled ? option.timeTo : QTime();
            fax.disableHeader = option.disableHeader;
            fax.disabeDialPrefix = option.disabeDialPrefix;
            fax.id = db.insertFax(fax, device.id);
            faxes.append(fax);
        }
    }
    emit returnFaxList(faxes);
}

// ---- Upload ----

void SendFaxThread::failUpload(Fax& fax, const QString& why, bool mayBeOnDevice)
{
    LogUtil::w(QStringLiteral("upload of fax %1 failed: %2").arg(fax.id).arg(why));
    // Once the device may hold the fax, a failed later attempt does not clear the doubt.
    if (mayBeOnDevice || fax.status != FaxStatus::SEND_FAX_UPLOAD_UNKNOWN)
        fax.status = mayBeOnDevice ? FaxStatus::SEND_FAX_UPLOAD_UNKNOWN : FaxStatus::SEND_FAX_UNSEND;
    DatabaseManager db;
    db.updateUploadFaxFailed(fax);
    emit uploadFaxFailed(fax);
}

void SendFaxThread::acceptUpload(Fax& fax, int taskID)
{
    // In the device's queue until the first poll says more.
    fax.taskID = taskID;
    fax.status = FaxStatus::SEND_FAX_WAITTING;
    DatabaseManager store;
    store.updateFaxTaskID(fax);
    store.updateFaxStatus(fax);
    emit returnTaskID(fax);
}

bool SendFaxThread::upload(QTcpSocket* socket, const QByteArray& header, const QString& path, QString& finalReply,
                           QString& why, bool& delivered)
{
    delivered = false;
    // Read only: opening for writing would create a missing file and upload an empty fax.
    QFile file(path);
    if (path.isEmpty() || !file.open(QIODevice::ReadOnly)) {
        why = QStringLiteral("the file %1 does not open").arg(path);
        return false;
    }

    const qint64 total = file.size() + header.size();
    socket->write(WireCodec::encode(
        QStringLiteral("<ACTION>SENDFAX</ACTION><FILELEN>%1</FILELEN><HEADERSIZE>%2</HEADERSIZE><BUFSIZE>%3</BUFSIZE>")
            .arg(total)
            .arg(header.size())
            .arg(m_blockSize)));
    socket->flush();

    // Each "R" of the device asks for one block; anything else is its final word. The loop
    // ends at the latest one reply after the last block, or when the device falls silent.
    const int wait = DeviceProtocol::scaled(UPLOAD_REPLY_TIMEOUT_MS);
    qint64 sent = 0;
    for (;;) {
        if (socket->bytesAvailable() == 0 && !socket->waitForReadyRead(wait)) {
            why = QStringLiteral("no answer after %1 of %2 bytes").arg(sent).arg(total);
            // Late, not refused: the device may hold the whole fax. One that hung up on it
            // has not taken it.
            delivered = sent >= total && socket->state() == QAbstractSocket::ConnectedState;
            return false;
        }
        const QByteArray bytes = socket->readAll();
        const QString reply = WireCodec::decode(bytes);
        if (reply != QLatin1String("R")) {
            // The final word may come in pieces; cut short, a "RECV_OK" would fail a fax that
            // the device has taken, and a new upload would send it twice.
            finalReply = readReply(socket, wait, bytes);
            return true;
        }
        if (sent >= total) {
            why = QStringLiteral("the device asks for more than %1 bytes").arg(total);
            return false;
        }

        const qint64 block = qMin<qint64>(m_blockSize, total - sent);
        QByteArray buffer;
        if (sent < header.size())
            buffer = header.mid(int(sent), int(qMin<qint64>(block, header.size() - sent)));
        buffer += file.read(block - buffer.size());
        buffer += QByteArray(int(block - buffer.size()), '\0'); // a file that shrank is padded
        socket->write(buffer);
        socket->flush();
        sent += block;
    }
}

void SendFaxThread::sendFax(Fax& fax)
{
    DatabaseManager db;
    Device device = db.queryDevice(fax.serverID);

    const QByteArray header = FaxRecordUtil::writeUploadHeader(fax, QDateTime::currentDateTimeUtc());
    if (header.isEmpty()) {
        failUpload(
            fax, QStringLiteral("the number %1 is longer than %2 units").arg(fax.cid).arg(FaxRecordUtil::NUMBER_UNITS));
        return;
    }

    QTcpSocket* socket = login(device, DeviceProtocol::PORT_UPLOAD);
    if (!socket) {
        failUpload(fax, QStringLiteral("no login"));
        return;
    }
    // A row left "正在上传" by a program that ended meanwhile is checked with the device
    // before it goes out again (DatabaseManager::recoverStrandedUploads).
    Fax uploading = fax;
    uploading.status = FaxStatus::SEND_FAX_UPLOADING;
    db.updateFaxStatus(uploading);

    QString reply;
    QString why;
    bool delivered = false;
    const bool answered = upload(socket, header, fax.filepath, reply, why, delivered);
    hangUp(socket);
    if (!answered) {
        failUpload(fax, why, delivered);
        return;
    }

    LogUtil::d(QStringLiteral("result:%1").arg(reply));
    if (feedback(reply) != QLatin1String("RECV_OK")) {
        failUpload(fax, QStringLiteral("refused"));
        return;
    }
    // The device took the fax but gave no task number to follow it by: only its queue can
    // tell which job it is, before any new upload.
    const int taskID = StringUtil::getValue(reply, QStringLiteral("TASKID")).toInt();
    if (taskID == 0) {
        failUpload(fax, QStringLiteral("no TASKID"), true);
        return;
    }
    acceptUpload(fax, taskID);
}

SendFaxThread::DeviceCopy SendFaxThread::findOnDevice(Device& device, const Fax& fax, int& taskID)
{
    // Open jobs first, then those the device has finished since; each list on a login of its own.
    QString from = QDateTime::fromString(fax.time, QStringLiteral("yyyy-MM-dd hh:mm:ss"))
                             .addDays(-1)
                             .toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"));
    const QStringList requests = {
        QStringLiteral("<ACTION>GET_SEND_FAX_STATUS</ACTION><TASK_ID_LIST>all in queue</TASK_ID_LIST>"),
        QStringLiteral("<ACTION>GET_SEND_FAX_STATUS</ACTION><TASK_ID_LIST>query history</TASK_ID_LIST>"
                       "<QY_USER>%1</QY_USER><QY_DTBGN>%2</QY_DTBGN><QY_DTEND>%3</QY_DTEND><QY_TYPE>send</QY_TYPE>")
            .arg(device.deviceName, TimeUtil::localTime2UTCTime(from),
                 QDateTime::currentDateTimeUtc().addDays(1).toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"))),
    };
    DatabaseManager db;
    for (const QString& request : requests) {
        QTcpSocket* socket = login(device, DeviceProtocol::PORT_COMMAND);
        if (!socket)
            return DeviceCopy::Unreachable;
        const QString reply = exchange(socket, request);
        if (feedback(reply) != QLatin1String("OK")) {
            hangUp(socket);
            LogUtil::w(QStringLiteral("the device does not list its jobs: %1").arg(reply));
            return DeviceCopy::Unknown;
        }
        const QList<Fax> jobs = FaxRecordUtil::readListRecords(readRecordList(socket, reply));
        hangUp(socket);
        for (const Fax& job : jobs) {
            // Same number and pages from this account, and no other fax of ours follows it.
            if (job.taskID != 0 && job.cid == fax.cid && job.pageTotal == fax.pageTotal
                && (job.sender.isEmpty() || job.sender == device.deviceName)
                && db.queryFaxByTaskID(job.taskID).id == 0) {
                taskID = job.taskID;
                return DeviceCopy::Found;
            }
        }
    }
    return DeviceCopy::None;
}

void SendFaxThread::reUploadFax(Fax& fax, bool confirmed)
{
    if (fax.status == FaxStatus::SEND_FAX_UPLOAD_UNKNOWN && !confirmed) {
        DatabaseManager db;
        Device device = db.queryDevice(fax.serverID);
        int taskID = 0;
        switch (findOnDevice(device, fax, taskID)) {
        case DeviceCopy::Found:
            LogUtil::i(QStringLiteral("fax %1 is task %2 on the device").arg(fax.id).arg(taskID));
            acceptUpload(fax, taskID);
            return;
        case DeviceCopy::Unknown:
            emit reUploadUnconfirmed(fax);
            return;
        case DeviceCopy::Unreachable:
            failUpload(fax, QStringLiteral("the device's jobs could not be read"));
            return;
        case DeviceCopy::None:
            break;
        }
    }
    sendFax(fax);
}

// ---- Status ----

bool SendFaxThread::queryStatus(Device& device, Fax& fax, bool* answered)
{
    QTcpSocket* socket = login(device, DeviceProtocol::PORT_COMMAND);
    if (answered)
        *answered = socket != nullptr;
    if (!socket)
        return false;

    const QString reply = exchange(
        socket, QStringLiteral("<ACTION>GET_SEND_FAX_STATUS</ACTION><TASK_ID_LIST>%1</TASK_ID_LIST>").arg(fax.taskID));
    LogUtil::d(QStringLiteral("faxStatus:%1").arg(reply));
    if (answered)
        *answered = !reply.isEmpty();
    // No record follows a NOT_FOUND: the task is gone for good, and asking on would cost a
    // reply wait in every round.
    if (feedback(reply) == QLatin1String("NOT_FOUND")) {
        hangUp(socket);
        fax.status = FaxStatus::SEND_FAX_NOT_FOUND;
        return true;
    }
    QByteArray record;
    if (!reply.isEmpty()) { // a silent device costs one wait, not two
        socket->write(WireCodec::encode(QStringLiteral("R")));
        socket->flush();
        record = readBlock(socket, FaxRecordUtil::SIZE, DeviceProtocol::replyTimeout());
    }
    hangUp(socket);
    // A record shorter than 1024 bytes is no record: the fax keeps its last state.
    return FaxRecordUtil::readStatusRecord(record, fax);
}

void SendFaxThread::getFaxStatus(Fax& fax)
{
    DatabaseManager db;
    Device device = db.queryDevice(fax.serverID);
    if (queryStatus(device, fax))
        emit updateFax(fax);
    emit faxStatusFinished();
}

void SendFaxThread::getFaxStatus2()
{
    try {
        const QList<Fax> open = DatabaseManager().queryUploadingFax();
        // One device after the other; a device that cannot be reached or leaves a query
        // unanswered is not asked again for its other faxes in the same round, so a dead
        // device costs one wait, not one per fax.
        QList<int> devices;
        for (const Fax& fax : open)
            if (!devices.contains(fax.d_id))
                devices.append(fax.d_id);
        for (const int id : devices) {
            QList<Fax> changed;
            for (const Fax& stored : open) {
                if (stored.d_id != id)
                    continue;
                Fax fax = stored;
                Device device = deviceOf(fax);
                bool answered = false;
                if (queryStatus(device, fax, &answered)) {
                    if (storedStateChanged(stored, fax))
                        changed.append(fax);
                    else
                        emit updateFax(fax); // live progress only
                } else if (!answered) {
                    break;
                }
            }
            storeRound(changed);
        }
    } catch (const std::exception& e) {
        LogUtil::w(QStringLiteral("异常捕获...%1").arg(QString::fromLocal8Bit(e.what())));
    } catch (...) {
        LogUtil::w(QStringLiteral("异常捕获..."));
    }
    emit faxStatusFinished();
}

Device SendFaxThread::deviceOf(const Fax& fax)
{
    Device device;
    device.id = fax.d_id;
    device.deviceName = fax.deviceName;
    device.devicePassword = fax.devicePassword;
    device.serverName = fax.serverName;
    device.localIP = fax.localIP;
    device.remoteIP = fax.remoteIP;
    device.productID = fax.productID;
    device.taskID = fax.maxTaskID;
    device.internetPort = fax.internetPort > 0 ? fax.internetPort : DeviceProtocol::PORT_BASE;
    return device;
}

void SendFaxThread::storeRound(QList<Fax>& changed)
{
    if (changed.isEmpty())
        return;
    // One transaction for a device's faxes: a disk sync for each would cost more than asking.
    const bool stored = DatabaseManager().updateSendFaxes(changed);
    for (Fax& fax : changed) {
        emit updateFax(fax);
        // The polled set holds no sent fax, so each one is reported here once.
        if (stored && fax.status == FaxStatus::SEND_FAX_SUCCESS)
            emit faxSent(fax);
    }
}

// ---- Pause and retry ----

bool SendFaxThread::command(Device& device, const QString& request, const QString& logFormat, const QString& expected)
{
    QTcpSocket* socket = login(device, DeviceProtocol::PORT_COMMAND);
    if (!socket)
        return false;
    const QString reply = exchange(socket, request);
    LogUtil::d(logFormat.arg(reply));
    hangUp(socket);
    return feedback(reply) == expected;
}

void SendFaxThread::sendFaxPause(Device& device, QString& taskID)
{
    const bool accepted
        = command(device, QStringLiteral("<ACTION>SEND_FAX_PAUSE</ACTION><TASKID>") + taskID + "</TASKID>",
            QStringLiteral("sendFaxPause: %1"), QStringLiteral("PAUSE_OK"));
    emit sendFaxPauseResult(taskID, accepted);
}

void SendFaxThread::sendFaxRetry(Device& device, QString& taskID)
{
    const bool accepted = command(device,
        QStringLiteral("<ACTION>SEND_FAX_RETRY</ACTION><TASKID>") + taskID + "</TASKID><RETRY_CNT>2</RETRY_CNT>",
        QStringLiteral("sendFaxRetry: %1"), QStringLiteral("RETRY_OK"));
    // A failed fax has left the polled set; the device sends it again, so it is followed again.
    if (accepted)
        DatabaseManager().reopenSentFax(device.id, taskID.toInt());
    emit sendFaxRetryResult(taskID, accepted);
}

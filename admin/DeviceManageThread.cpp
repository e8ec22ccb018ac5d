#include "DeviceManageThread.h"

#include "DeviceProtocol.h"
#include "FaxRecordUtil.h"
#include "FileUtil.h"
#include "LogUtil.h"
#include "MD5Util.h"
#include "MGlobal.h"
#include "StringUtil.h"
#include "TimeUtil.h"
#include "WireCodec.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <QTcpSocket>
#include <QTextCodec>
#include <QtEndian>

#include <memory>

namespace {

// A download waits this long for each block, an upload 30000 ms for each ready token.
constexpr int DOWNLOAD_BLOCK_WAIT_MS = 10000;
// A repeated read gives up after this many reply time-outs in all, even while bytes trickle in.
constexpr int REPEATED_READ_LIMIT = 4;
const QString CONFIG_DEVICE_PATH = QStringLiteral("$STG_DIR$SvrAdvParam.cfg");
const QString CONFIG_FILE = QStringLiteral("SvrAdvParam.cfg");

// Emits commandDone() when a command's slot returns, by whatever path.
class DoneGuard
{
public:
    explicit DoneGuard(DeviceManageThread* worker) : m_worker(worker) {}
    ~DoneGuard() { emit m_worker->commandDone(); }

private:
    DeviceManageThread* m_worker;
};

QString element(const QString& name, const QString& value)
{
    // Values go out as they are: the device's syntax escapes nothing.
    return QLatin1Char('<') + name + QLatin1Char('>') + value + QStringLiteral("</") + name + QLatin1Char('>');
}

// A password the user did not type is left out, and the device keeps the one it has (it never
// sends it back, so the client cannot know it).
QString optionalPassword(const QString& name, const QString& value)
{
    return value.isEmpty() ? QString() : element(name, value);
}

QString action(const QString& verb)
{
    return element(QStringLiteral("ACTION"), verb);
}

QString word(bool value)
{
    return value ? QStringLiteral("true") : QStringLiteral("false");
}

QString feedback(const QString& reply)
{
    return StringUtil::getValue(reply, QStringLiteral("FEEDBACK"));
}

// "R", with the 0 units and blanks a device may put around it (after a reply it came with).
bool isReady(const QString& text)
{
    QString bare = text;
    bare.remove(QChar(0));
    return bare.trimmed() == QLatin1String("R");
}

// A reply that says no outright: a FEEDBACK other than "OK". A reply without FEEDBACK is no
// refusal by itself.
bool refused(const QString& reply)
{
    const QString value = feedback(reply);
    return !value.isEmpty() && value != QLatin1String("OK");
}

QString downFileRequest(const QString& devicePath, int bufferSize)
{
    return action(QStringLiteral("DOWN_FILE")) + element(QStringLiteral("FILE"), devicePath)
        + element(QStringLiteral("BUFSIZE"), QString::number(bufferSize));
}

QByteArray readyToken()
{
    return WireCodec::encode(QStringLiteral("R"));
}

// Waits for the device's next message unless one is already buffered; false when none comes.
bool awaitData(QTcpSocket* socket, int timeoutMs)
{
    return socket->bytesAvailable() > 0 || socket->waitForReadyRead(timeoutMs);
}

// The configuration file as the device wrote it: UTF-16LE, perhaps with a mark, lines ending
// in a line feed after reading.
QString readConfiguration(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QString();
    QString text = QTextCodec::codecForName("UTF-16LE")->toUnicode(file.readAll());
    if (text.startsWith(QChar(0xFEFF)))
        text.remove(0, 1);
    text.replace(QStringLiteral("\r\n"), QStringLiteral("\n"));
    return text;
}

// Copies what the file holds so far in front of the new text (the log is appended to).
bool copyExisting(const QString& path, QIODevice& out)
{
    QFile existing(path);
    if (!existing.exists())
        return true;
    if (!existing.open(QIODevice::ReadOnly))
        return false;
    return out.write(existing.readAll()) == existing.size();
}

} // namespace

DeviceManageThread::DeviceManageThread(QObject* parent) : LoginThread(parent)
{
}

// ---- Commands ------------------------------------------------------------------------------

bool DeviceManageThread::command(Device& device, const QString& request, QString* reply, bool flush)
{
    QTcpSocket* socket = login(device, DeviceProtocol::PORT_COMMAND);
    if (!socket)
        return false;
    socket->write(WireCodec::encode(request));
    if (flush)
        socket->flush();
    *reply = readReply(socket, DeviceProtocol::replyTimeout());
    hangUp(socket);
    return true;
}

bool DeviceManageThread::repeatedCommand(Device& device, const QString& request, QString* reply)
{
    QTcpSocket* socket = login(device, DeviceProtocol::PORT_COMMAND);
    if (!socket)
        return false;
    socket->write(WireCodec::encode(request));
    QByteArray buffer;
    QDeadlineTimer overall(qint64(DeviceProtocol::replyTimeout()) * REPEATED_READ_LIMIT);
    while (!overall.hasExpired() && awaitData(socket, DeviceProtocol::replyTimeout())) {
        buffer += socket->readAll();
        // The device ends these replies with a 0 unit.
        if (buffer.size() >= 2 && buffer.size() % 2 == 0 && buffer.endsWith(QByteArray(2, '\0')))
            break;
    }
    *reply = WireCodec::decode(buffer);
    hangUp(socket);
    return true;
}

void DeviceManageThread::replyCommand(Device& device, const QString& request, ResultSignal result, bool flush)
{
    QString reply;
    if (command(device, request, &reply, flush))
        emit (this->*result)(reply);
}

void DeviceManageThread::feedbackCommand(Device& device, const QString& request, ResultSignal result)
{
    QString reply;
    if (!command(device, request, &reply))
        return;
    QString value = feedback(reply);
    emit (this->*result)(value);
}

void DeviceManageThread::getServerInfomation(Device& device)
{
    DoneGuard done(this);
    replyCommand(device, action(QStringLiteral("GET_SVR_INFO")), &DeviceManageThread::returnInfomation, true);
}

void DeviceManageThread::getEmailSetting(Device& device)
{
    DoneGuard done(this);
    replyCommand(device, action(QStringLiteral("GET_PUB_SMTP_SETTING")), &DeviceManageThread::returnEmailSetting, true);
}

void DeviceManageThread::setEmailSetting(Device& device, QString& smtpAddr, QString& smtpUser, QString& emailFrom,
                                         QString& smtpPwd)
{
    DoneGuard done(this);
    const QString request = action(QStringLiteral("SET_PUB_SMTP_SETTING")) + element(QStringLiteral("SMTP_ADDR"), smtpAddr)
        + element(QStringLiteral("SMTP_USER"), smtpUser) + element(QStringLiteral("EMAIL_ADDR_FROM"), emailFrom)
        + optionalPassword(QStringLiteral("SMTP_PWD"), smtpPwd);
    feedbackCommand(device, request, &DeviceManageThread::returnSettingResult);
}

void DeviceManageThread::getNetworkSetting(Device& device)
{
    DoneGuard done(this);
    replyCommand(device, action(QStringLiteral("GET_NETWORK_SETTING")), &DeviceManageThread::returnNetworkSetting);
}

void DeviceManageThread::setNetworkSetting(Device& device, QString& dhcpEnable, QString& ip, QString& ip2, QString& ip3,
                                           QString& subnetMask, QString& gateway, QString& dns, bool verify)
{
    DoneGuard done(this);
    const QString request = action(QStringLiteral("NETWORK_SETTING")) + element(QStringLiteral("DHCPENABLE"), dhcpEnable)
        + element(QStringLiteral("IP"), ip) + element(QStringLiteral("IP2"), ip2) + element(QStringLiteral("IP3"), ip3)
        + element(QStringLiteral("SUBNETMASK"), subnetMask) + element(QStringLiteral("GATEWAY"), gateway)
        + element(QStringLiteral("DNS"), dns) + element(QStringLiteral("VERIFY"), word(verify));
    feedbackCommand(device, request, &DeviceManageThread::returnSettingResult);
}

void DeviceManageThread::getTimeSetting(Device& device)
{
    DoneGuard done(this);
    replyCommand(device, action(QStringLiteral("GET_TIME_SETTING")), &DeviceManageThread::returnTimeSetting);
}

void DeviceManageThread::setTimeSetting(Device& device, QString& year, QString& month, QString& day, QString& hour,
                                        QString& minute, QString& second, QString& fskSync, QString& fskTimeZone,
                                        QString& fskTimeZoneName)
{
    DoneGuard done(this);
    const QString request = action(QStringLiteral("SET_TIME_SETTING")) + element(QStringLiteral("YEAR"), year)
        + element(QStringLiteral("MONTH"), month) + element(QStringLiteral("DAY"), day)
        + element(QStringLiteral("HOUR"), hour) + element(QStringLiteral("MINUTE"), minute)
        + element(QStringLiteral("SECOND"), second) + element(QStringLiteral("FSK_SYNC"), fskSync)
        + element(QStringLiteral("FSK_TIME_ZONE"), fskTimeZone)
        + element(QStringLiteral("FSK_TIME_ZONE_NAME"), fskTimeZoneName);
    feedbackCommand(device, request, &DeviceManageThread::returnSettingResult);
}

void DeviceManageThread::getUserList(Device& device)
{
    DoneGuard done(this);
    QString reply;
    if (!repeatedCommand(device, action(QStringLiteral("GET_USER_LIST")), &reply))
        return;
    QString list = StringUtil::getValue(reply, QStringLiteral("USER_LIST"));
    emit returnUserList(list);
}

void DeviceManageThread::getUserInfo(Device& device, QString& userName)
{
    DoneGuard done(this);
    replyCommand(device, action(QStringLiteral("GET_USER_INFO")) + element(QStringLiteral("USER_NAME"), userName),
                 &DeviceManageThread::returnUserInfo);
}

void DeviceManageThread::deleteUser(Device& device, QString& userName)
{
    DoneGuard done(this);
    feedbackCommand(device, action(QStringLiteral("DELETE_USER")) + element(QStringLiteral("USER_NAME"), userName),
                    &DeviceManageThread::returnDeleteUser);
}

void DeviceManageThread::setUserInfo(Device& device, QString& userName, QString& password, QString& extNum,
                                     QString& permission, QString& emailOpt, QString& smtpAddr, QString& smtpUser,
                                     QString& smtpPwd, QString& emailFrom, QString& emailTo, QString& verb)
{
    DoneGuard done(this);
    QString request = action(verb) + element(QStringLiteral("USER_NAME"), userName);
    // An empty password, or "******", on a modify leaves the element out: the device keeps its own.
    const bool keepPassword = verb == QLatin1String("MODIFY_USER")
        && (password.isEmpty() || password == QLatin1String("******"));
    if (!keepPassword)
        request += element(QStringLiteral("USER_PWD"), MD5Util::call128MD5(password.toUtf8()));
    request += element(QStringLiteral("EXT_NUM"), extNum) + element(QStringLiteral("PERMISSION"), permission)
        + element(QStringLiteral("EMAIL_OPT"), emailOpt) + element(QStringLiteral("SMTP_ADDR"), smtpAddr)
        + element(QStringLiteral("SMTP_USER"), smtpUser) + optionalPassword(QStringLiteral("SMTP_PWD"), smtpPwd)
        + element(QStringLiteral("EMAIL_FROM"), emailFrom) + element(QStringLiteral("EMAIL_TO"), emailTo);
    feedbackCommand(device, request, &DeviceManageThread::returnModifyUserResult);
}

void DeviceManageThread::getFaxSetting(Device& device, QString& lineNum)
{
    DoneGuard done(this);
    QString reply;
    if (repeatedCommand(device, action(QStringLiteral("GET_FAX_SETTING")) + element(QStringLiteral("LINE_NUM"), lineNum),
                        &reply))
        emit returnFaxSetting(reply);
}

void DeviceManageThread::setFaxSetting(Device& device, QString& tagFormat, QString& company, QString& faxNum,
                                       QString& csid, QString& localCode, QString& ipPrf, QString& outPrf,
                                       QString& inPrf, QString& mrecvCode, QString& lineNum, bool rstLine,
                                       bool autoRecv, bool mustDiv, bool disBeep, bool diverrRecv, bool disSendVoice,
                                       bool disWelcome, int maxSpeed, int recvSpeed, QString& ecm,
                                       QString& sendPriority, QString& ringCnt)
{
    DoneGuard done(this);
    // The device takes the elements in this order, not in the order of the parameters.
    const QString request = action(QStringLiteral("SET_FAX_SETTING")) + element(QStringLiteral("TAG_FORMAT"), tagFormat)
        + element(QStringLiteral("COMPANY"), company) + element(QStringLiteral("FAX_NUM"), faxNum)
        + element(QStringLiteral("CSID"), csid) + element(QStringLiteral("ECM"), ecm)
        + element(QStringLiteral("MAX_SPEED"), QString::number(maxSpeed))
        + element(QStringLiteral("RECV_SPEED"), QString::number(recvSpeed))
        + element(QStringLiteral("RINGCNT"), ringCnt) + element(QStringLiteral("LOCAL_CODE"), localCode)
        + element(QStringLiteral("IP_PRF"), ipPrf) + element(QStringLiteral("OUT_PRF"), outPrf)
        + element(QStringLiteral("IN_PRF"), inPrf) + element(QStringLiteral("AUTO_RECV"), word(autoRecv))
        + element(QStringLiteral("MUST_DIV"), word(mustDiv)) + element(QStringLiteral("DIS_BEEP"), word(disBeep))
        + element(QStringLiteral("RST_LINE"), word(rstLine)) + element(QStringLiteral("DIVERR_RECV"), word(diverrRecv))
        + element(QStringLiteral("DIS_SEND_VOICE"), word(disSendVoice))
        + element(QStringLiteral("DIS_WELCOME"), word(disWelcome))
        + element(QStringLiteral("SEND_PRIORITY"), sendPriority) + element(QStringLiteral("MRECV_CODE"), mrecvCode)
        + element(QStringLiteral("LINE_NUM"), lineNum);
    feedbackCommand(device, request, &DeviceManageThread::returnSettingResult);
}

void DeviceManageThread::sendFaxPause(Device& device, QString& taskID)
{
    DoneGuard done(this);
    QString reply;
    if (!command(device, action(QStringLiteral("SEND_FAX_PAUSE")) + element(QStringLiteral("TASKID"), taskID), &reply))
        return;
    if (feedback(reply) == QLatin1String("PAUSE_OK"))
        emit sendFaxPauseResult();
}

void DeviceManageThread::deleteFax(Device& device, QString& taskID)
{
    DoneGuard done(this);
    const QString request = action(QStringLiteral("DELETE_FAX")) + element(QStringLiteral("TASKID"), taskID)
        + element(QStringLiteral("DELETE"), QStringLiteral("true")) + element(QStringLiteral("REMOVE"), QStringLiteral("true"));
    QString reply;
    if (!command(device, request, &reply))
        return;
    int result = 2;
    if (feedback(reply) == QLatin1String("OK"))
        result = StringUtil::getValue(reply, QStringLiteral("REMOVE")) == QLatin1String("true") ? 0 : 1;
    emit returnDeleteFaxResult(result);
}

void DeviceManageThread::distributeFax(Device& device, QString& taskID, QString& recvList)
{
    DoneGuard done(this);
    feedbackCommand(device,
                    action(QStringLiteral("DISTRIBUTE_FAX")) + element(QStringLiteral("TASKID"), taskID)
                        + element(QStringLiteral("RECV_LIST"), recvList),
                    &DeviceManageThread::returnSettingResult);
}

void DeviceManageThread::rebootDevice(Device& device)
{
    DoneGuard done(this);
    QString reply;
    command(device, action(QStringLiteral("RESET_SYSTEM")) + element(QStringLiteral("REASON"), QStringLiteral("Manual reset system")),
            &reply);
}

QList<Fax> DeviceManageThread::readFaxList(QTcpSocket* socket, const QString& reply)
{
    return FaxRecordUtil::readListRecords(readRecordList(socket, reply));
}

void DeviceManageThread::getFaxQueue(Device& device)
{
    DoneGuard done(this);
    QTcpSocket* socket = login(device, DeviceProtocol::PORT_COMMAND);
    if (!socket)
        return;
    const QString request = action(QStringLiteral("GET_SEND_FAX_STATUS"))
        + element(QStringLiteral("TASK_ID_LIST"), QStringLiteral("all in queue"));
    QList<Fax> faxes = readFaxList(socket, exchange(socket, request));
    emit returnFaxQueue(faxes);
    hangUp(socket);
}

void DeviceManageThread::getFaxHistory(Device& device, QString& user, QString& begin, QString& end, QString& type,
                                       QString& faxNumber)
{
    DoneGuard done(this);
    QTcpSocket* socket = login(device, DeviceProtocol::PORT_COMMAND);
    if (!socket)
        return;
    const QString request = action(QStringLiteral("GET_SEND_FAX_STATUS"))
        + element(QStringLiteral("TASK_ID_LIST"), QStringLiteral("query history")) + element(QStringLiteral("QY_USER"), user)
        + element(QStringLiteral("QY_DTBGN"), TimeUtil::localTime2UTCTime(begin))
        + element(QStringLiteral("QY_DTEND"), TimeUtil::localTime2UTCTime(end)) + element(QStringLiteral("QY_TYPE"), type);
    QList<Fax> faxes;
    // The device filters by user, time and direction; the number is filtered here.
    for (const Fax& fax : readFaxList(socket, exchange(socket, request)))
        if (faxNumber.isEmpty() || fax.numberDialled.contains(faxNumber) || fax.cid.contains(faxNumber))
            faxes << fax;
    emit returnFaxQueue(faxes);
    hangUp(socket);
}

void DeviceManageThread::voiceListen(Device& device, int tcpPort, int udpPort)
{
    DoneGuard done(this);
    if (loginToVoiceListen(device, tcpPort, udpPort))
        emit returnVoiceListen();
}

// ---- File transfers ------------------------------------------------------------------------

QString DeviceManageThread::configurationPath(const Device& device) const
{
    return FileUtil::createDir(gUser.nickname + QLatin1Char('/') + device.productID) + QLatin1Char('/') + CONFIG_FILE;
}

template <typename Sink>
bool DeviceManageThread::receiveBlocks(QTcpSocket* socket, qint64 fileLength, Sink sink)
{
    const int wait = DeviceProtocol::scaled(DOWNLOAD_BLOCK_WAIT_MS);
    qint64 count = 0;
    do {
        // A block is whatever one read brings; while bytes are missing, "R" asks for more.
        socket->write(readyToken());
        QByteArray block;
        if (awaitData(socket, wait))
            block = socket->read(qMax<qint64>(fileLength - count, 0));
        if (block.isEmpty() && fileLength > 0)
            return false; // silent or gone
        count += block.size();
        if (!sink(block, count))
            return false;
    } while (count < fileLength);
    return true;
}

bool DeviceManageThread::downloadInto(QTcpSocket* socket, const QString& devicePath, const QString& target,
                                      int bufferSize)
{
    const QString reply = exchange(socket, downFileRequest(devicePath, bufferSize), false, {QStringLiteral("FILE_LEN")});
    if (reply.isEmpty() || refused(reply)) {
        LogUtil::w(QStringLiteral("DOWN_FILE %1: %2").arg(devicePath, reply));
        return false;
    }
    const qint64 fileLength = StringUtil::getValue(reply, QStringLiteral("FILE_LEN")).toLongLong();
    if (fileLength < 0)
        return false;

    // The file takes its name only once it is whole.
    QSaveFile file(target);
    if (!file.open(QIODevice::WriteOnly))
        return false;
    const bool whole = receiveBlocks(socket, fileLength, [&file](const QByteArray& block, qint64) {
        return file.write(block) == block.size();
    });
    if (!whole) {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}

void DeviceManageThread::getHighOption(Device& device)
{
    DoneGuard done(this);
    QTcpSocket* socket = login(device, DeviceProtocol::PORT_COMMAND);
    if (!socket)
        return;
    const QString path = configurationPath(device);
    const bool ok = downloadInto(socket, CONFIG_DEVICE_PATH, path, m_blockSize);
    hangUp(socket);
    // A failed transfer gives the empty text, never an older copy that lies on the disk.
    QString text = ok ? readConfiguration(path) : QString();
    emit returnHighOption(text);
}

void DeviceManageThread::setHighOption(Device& device, QString& text)
{
    DoneGuard done(this);
    const QString path = configurationPath(device);
    QSaveFile out(path);
    const QByteArray bytes = WireCodec::encode(text); // UTF-16LE without a mark
    const bool written = out.open(QIODevice::WriteOnly) && out.write(bytes) == bytes.size() && out.commit();

    QTcpSocket* socket = login(device, DeviceProtocol::PORT_COMMAND);
    if (!socket)
        return;
    const bool ok = written && uploadConfiguration(socket, path);
    hangUp(socket);
    emit returnSetHighOption(ok);
}

bool DeviceManageThread::uploadConfiguration(QTcpSocket* socket, const QString& path)
{
    QFile file(path);
    const qint64 size = QFileInfo(path).size();
    const QString reply = exchange(socket,
                                   action(QStringLiteral("UP_FILE")) + element(QStringLiteral("FILE"), CONFIG_DEVICE_PATH)
                                       + element(QStringLiteral("BUFSIZE"), QString::number(m_blockSize))
                                       + element(QStringLiteral("FILELEN"), QString::number(size)));
    LogUtil::d(QStringLiteral("UP_FILE:%1").arg(reply));
    if (!file.open(QIODevice::ReadOnly) || reply.isEmpty() || refused(reply))
        return false;

    socket->write(WireCodec::encode(action(QStringLiteral("UP_FILE")) + element(QStringLiteral("UPLOAD"), QStringLiteral("START"))));
    // The device paces the upload with one "R" for each block; anything else it says is waited
    // past, a bounded number of times.
    int otherMessages = 0;
    qint64 sent = 0;
    while (sent < size) {
        if (!awaitData(socket, DeviceProtocol::replyTimeout()))
            return false;
        const QString message = WireCodec::decode(socket->readAll());
        if (!isReady(message)) {
            if (refused(message) || ++otherMessages > 16)
                return false;
            continue;
        }
        const QByteArray block = file.read(qMin<qint64>(m_blockSize, size - sent));
        if (block.isEmpty())
            return false;
        socket->write(block);
        sent += block.size();
    }
    socket->flush();
    return true;
}

void DeviceManageThread::getDeviceLog(Device& device, QDateTime from, QDateTime to)
{
    DoneGuard done(this);
    const QString path = FileUtil::createDir(gUser.nickname + QLatin1Char('/') + device.productID) + QLatin1Char('/')
        + QStringLiteral("%1-%2.txt").arg(from.toString(QStringLiteral("yyyy_MM_dd")), to.toString(QStringLiteral("yyyy_MM_dd")));

    // A second query with the same dates appends; a day goes into the file only when it came whole.
    QSaveFile out(path);
    bool ok = out.open(QIODevice::WriteOnly | QIODevice::Text) && copyExisting(path, out);
    QTextCodec* gbk = QTextCodec::codecForName("gbk");
    QStringList failed;
    QTcpSocket* socket = nullptr;
    // Seven days from the first date, whatever the second says: it only names the file.
    for (int i = 0; ok && i < 7; ++i) {
        QString date = from.addDays(i).toString(QStringLiteral("yyyy-MM-dd"));
        // After a failed day the old connection is in no known state: the next day gets a new one.
        if (!socket && !(socket = login(device, DeviceProtocol::PORT_COMMAND))) {
            for (int rest = i; rest < 7; ++rest)
                failed << from.addDays(rest).toString(QStringLiteral("yyyy-MM-dd"));
            break; // a device that refuses or ignores a login will not take the next one either
        }
        const QString reply = exchange(socket, downFileRequest(QStringLiteral("$STG_DIR$log\\") + date + QStringLiteral(".log"),
                                                               m_blockSize),
                                       false, {QStringLiteral("FILE_LEN")});
        if (!reply.isEmpty() && feedback(reply) != QLatin1String("OK"))
            continue; // no log that day
        const qint64 fileLength = StringUtil::getValue(reply, QStringLiteral("FILE_LEN")).toLongLong();
        // One decoder for the day, so that a character split between two blocks stays whole.
        std::unique_ptr<QTextDecoder> decoder(gbk->makeDecoder());
        QByteArray day;
        const bool whole = !reply.isEmpty() && receiveBlocks(socket, fileLength, [&](const QByteArray& block, qint64 count) {
            day += decoder->toUnicode(block).toLocal8Bit();
            emit showDeviceLogProgress(date, fileLength > 0 ? int(count * 100 / fileLength) : 0);
            return true;
        });
        if (whole) {
            ok = out.write(day) == day.size();
            continue;
        }
        failed << date;
        hangUp(socket);
        socket = nullptr;
    }
    if (socket)
        hangUp(socket);
    if (!failed.isEmpty())
        emit returnDeviceLogFailedDays(failed);
    if (!ok || failed.size() == 7 || !out.commit()) {
        out.cancelWriting();
        return;
    }
    QString absolute = QFileInfo(path).absoluteFilePath();
    emit returnDeviceLog(absolute);
}

void DeviceManageThread::downloadFaxFile(Device& device, QString& fileNumber, QString& localName)
{
    DoneGuard done(this);
    const QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation) + QLatin1Char('/')
        + device.productID;
    QString path = QFileInfo(folder + QLatin1Char('/') + localName + QStringLiteral(".tif")).absoluteFilePath();
    // A file on the disk is whole (it got its name only when complete): no need to ask again.
    if (QFile::exists(path)) {
        emit returnFilePath(path);
        return;
    }
    QDir().mkpath(folder);
    QTcpSocket* socket = login(device, DeviceProtocol::PORT_COMMAND);
    if (!socket)
        return;
    const QString devicePath = QStringLiteral("$STG_DIR$FaxFiles\\") + fileNumber.mid(0, 2) + QLatin1Char('\\')
        + fileNumber.mid(2, 2) + QLatin1Char('\\') + fileNumber.mid(4, 2) + QLatin1Char('\\') + fileNumber.mid(6, 2)
        + QStringLiteral(".tif");
    const bool ok = downloadInto(socket, devicePath, path, m_blockSize);
    hangUp(socket);
    if (ok)
        emit returnFilePath(path);
}

bool DeviceManageThread::ReadFile(QFile& file, void* buffer, unsigned long size, unsigned long* got, void*)
{
    const qint64 count = file.read(static_cast<char*>(buffer), qint64(size));
    if (got)
        *got = count > 0 ? static_cast<unsigned long>(count) : 0;
    return count > 0;
}

bool DeviceManageThread::ReadConvFile(QFile& file, char* buffer, unsigned long size, unsigned long* got)
{
    if (file.read(buffer, qint64(size)) != qint64(size))
        return false;
    auto* bytes = reinterpret_cast<uchar*>(buffer);
    for (unsigned long at = 0; at + 4 <= size; at += 4) {
        const quint32 wordValue = qFromLittleEndian<quint32>(bytes + at);
        qToLittleEndian<quint32>(~qbswap(wordValue), bytes + at);
    }
    if (got)
        *got = size;
    return true;
}

void DeviceManageThread::firmwareUpgrade(Device& device, QString& path)
{
    DoneGuard done(this);
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        emit returnFirmwareUpgradeResult(false, tr("更新文件无法打开"));
        return;
    }
    uchar lengthBytes[4];
    unsigned long got = 0;
    const qint64 total = file.size() - 4;
    const qint64 osLength = ReadFile(file, lengthBytes, 4, &got, nullptr) && got == 4
        ? qint64(qFromLittleEndian<quint32>(lengthBytes)) : -1;
    if (osLength < 0 || osLength > total) {
        LogUtil::w(QStringLiteral("firmware file %1: no OS length, or one beyond the file").arg(path));
        emit returnFirmwareUpgradeResult(false, tr("更新文件无效"));
        return;
    }
    const qint64 swLength = total - osLength;
    auto stageRequest = [](const QString& verb, qint64 length) -> QString {
        return action(verb) + element(QStringLiteral("FILELEN"), QString::number(length))
            + element(QStringLiteral("BUFSIZE"), QStringLiteral("1200"));
    };

    QTcpSocket* socket = login(device, DeviceProtocol::PORT_FIRMWARE);
    if (!socket) {
        emit returnFirmwareUpgradeResult(false, tr("无法登录设备"));
        return;
    }
    bool osStage = osLength != 0;
    socket->write(WireCodec::encode(osStage ? stageRequest(QStringLiteral("UPDATE_OS"), osLength)
                                            : stageRequest(QStringLiteral("UPDATE_SW"), swLength)));

    bool ok = false;
    QString reason = tr("设备没有应答");
    qint64 sent = 0;
    int otherMessages = 0;
    QByteArray block;
    for (;;) {
        if (!awaitData(socket, DeviceProtocol::replyTimeout()))
            break; // silent or gone
        const QByteArray bytes = socket->readAll();
        QString message = WireCodec::decode(bytes);
        if (QString(message).remove(QChar(0)).trimmed().isEmpty())
            continue; // a stray 0 unit after an "R"
        if (!isReady(message)) // a word that comes in pieces
            message = readReply(socket, DeviceProtocol::replyTimeout(), bytes, {QStringLiteral("FEEDBACK")});
        bool ready = isReady(message);
        if (!ready) {
            const QString answer = feedback(message);
            if (answer == QLatin1String("RECV_OK") && !osStage) {
                ok = true;
                break;
            }
            if (answer == QLatin1String("RECV_OK")) {
                // The OS image is in. The device asks for the SW image with its own "R", and
                // reads raw image bytes from then on: no request goes between.
                osStage = false;
                ready = isReady(message.mid(message.lastIndexOf(QLatin1Char('>')) + 1));
                if (!ready)
                    continue;
            } else if (!answer.isEmpty() || ++otherMessages > 16) {
                if (!answer.isEmpty())
                    reason = answer; // the device turned the image down
                break;
            } else {
                continue;
            }
        }
        const qint64 remaining = (osStage ? osLength : total) - sent;
        if (remaining <= 0) {
            reason = tr("设备要求的数据多于更新文件");
            break; // end here rather than guess
        }
        // The last block of a stage takes all that is left once less than two blocks remain.
        const qint64 size = remaining >= 2 * m_blockSize ? m_blockSize : remaining;
        block.resize(int(size));
        if (!ReadConvFile(file, block.data(), static_cast<unsigned long>(size), &got)) {
            reason = tr("更新文件无法读取");
            break;
        }
        socket->write(block);
        emit returnFirmwareUpgradeProgress(total > 0 ? int(double(sent) / double(total) * 100) : 0);
        sent += size;
    }
    file.close();
    hangUp(socket);
    if (!ok)
        LogUtil::w(QStringLiteral("firmware upgrade failed: %1").arg(reason));
    emit returnFirmwareUpgradeResult(ok, ok ? QString() : reason);
}

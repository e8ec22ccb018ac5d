#pragma once

#include "Device.h"
#include "Fax.h"
#include "LoginThread.h"

#include <QDateTime>
#include <QList>
#include <QString>
#include <QStringList>

class QFile;
class QIODevice;

// The administration worker: one blocking command at a time on its controller's thread. Every
// command opens its own connection, logs in, exchanges its messages and hangs up. A failed
// login ends a command in silence; commandDone() follows every command in any case.
class DeviceManageThread : public LoginThread
{
    Q_OBJECT

public:
    explicit DeviceManageThread(QObject* parent = nullptr);

    // Reads up to size bytes into buffer; got (if given) takes the count. True if any came.
    static bool ReadFile(QFile& file, void* buffer, unsigned long size, unsigned long* got, void* reserved);
    // Reads exactly size bytes and converts them for the device: each whole 32-bit word gets
    // its bytes reversed and its bits inverted, 1 to 3 trailing bytes stay. False (got
    // untouched) when the file gives fewer bytes.
    static bool ReadConvFile(QFile& file, char* buffer, unsigned long size, unsigned long* got);

public slots:
    void getServerInfomation(Device& device);
    void getEmailSetting(Device& device);
    void setEmailSetting(Device& device, QString& smtpAddr, QString& smtpUser, QString& emailFrom, QString& smtpPwd);
    void getNetworkSetting(Device& device);
    void setNetworkSetting(Device& device, QString& dhcpEnable, QString& ip, QString& ip2, QString& ip3,
                           QString& subnetMask, QString& gateway, QString& dns, bool verify);
    void getTimeSetting(Device& device);
    void setTimeSetting(Device& device, QString& year, QString& month, QString& day, QString& hour, QString& minute,
                        QString& second, QString& fskSync, QString& fskTimeZone, QString& fskTimeZoneName);
    void getUserList(Device& device);
    void getUserInfo(Device& device, QString& userName);
    void deleteUser(Device& device, QString& userName);
    void setUserInfo(Device& device, QString& userName, QString& password, QString& extNum, QString& permission,
                     QString& emailOpt, QString& smtpAddr, QString& smtpUser, QString& smtpPwd, QString& emailFrom,
                     QString& emailTo, QString& action);
    void getFaxSetting(Device& device, QString& lineNum);
    void setFaxSetting(Device& device, QString& tagFormat, QString& company, QString& faxNum, QString& csid,
                       QString& localCode, QString& ipPrf, QString& outPrf, QString& inPrf, QString& mrecvCode,
                       QString& lineNum, bool rstLine, bool autoRecv, bool mustDiv, bool disBeep, bool diverrRecv,
                       bool disSendVoice, bool disWelcome, int maxSpeed, int recvSpeed, QString& ecm,
                       QString& sendPriority, QString& ringCnt);
    void sendFaxPause(Device& device, QString& taskID);
    void deleteFax(Device& device, QString& taskID);
    void distributeFax(Device& device, QString& taskID, QString& recvList);
    void rebootDevice(Device& device);
    void getFaxQueue(Device& device);
    // The fifth text is a fax number the records are filtered by on the client.
    void getFaxHistory(Device& device, QString& user, QString& begin, QString& end, QString& type,
                       QString& faxNumber);
    void voiceListen(Device& device, int tcpPort, int udpPort);

    // File transfers.
    void getHighOption(Device& device);
    void setHighOption(Device& device, QString& text);
    void getDeviceLog(Device& device, QDateTime from, QDateTime to);
    void downloadFaxFile(Device& device, QString& fileNumber, QString& localName);
    void firmwareUpgrade(Device& device, QString& path);

signals:
    void returnInfomation(QString& text);
    void returnEmailSetting(QString& text);
    void returnNetworkSetting(QString& text);
    void returnHighOption(QString& text);
    void returnTimeSetting(QString& text);
    void returnDeviceLog(QString& path);
    void showDeviceLogProgress(QString& date, int percent);
    // The days (yyyy-MM-dd) of a log fetch that did not come; the others are in the file.
    void returnDeviceLogFailedDays(QStringList days);
    void returnUserList(QString& list);
    void returnUserInfo(QString& text);
    void returnDeleteUser(QString& feedback);
    void returnModifyUserResult(QString& feedback);
    void returnFaxSetting(QString& text);
    void returnFaxQueue(QList<Fax>& faxes);
    void sendFaxPauseResult();
    void returnDeleteFaxResult(int result);
    void returnSettingResult(QString& feedback);
    void returnFilePath(QString& path);
    void returnSetHighOption(bool ok);
    void returnVoiceListen();
    void returnFirmwareUpgradeProgress(int percent);
    // On failure, `reason` says why: the device's answer, or what went wrong on the way.
    void returnFirmwareUpgradeResult(bool ok, const QString& reason);
    // After every command, whatever its outcome (a failed login included).
    void commandDone();

private:
    // Logs in on 3007, sends the request, reads the reply once and hangs up. False when the
    // login failed; reply is then untouched.
    bool command(Device& device, const QString& request, QString* reply, bool flush = false);
    // The same with the repeated read: replies that come in pieces are joined until the text
    // ends in a 0 unit.
    bool repeatedCommand(Device& device, const QString& request, QString* reply);
    // The simple commands: command() with the reply (or its FEEDBACK) handed to a result
    // signal; no signal after a failed login.
    using ResultSignal = void (DeviceManageThread::*)(QString&);
    void replyCommand(Device& device, const QString& request, ResultSignal result, bool flush = false);
    void feedbackCommand(Device& device, const QString& request, ResultSignal result);

    // The block download after a DOWN_FILE reply: sends "R" and takes what comes until
    // fileLength bytes are in. Each block goes to sink. False when the device falls silent or
    // the connection ends first.
    template <typename Sink>
    bool receiveBlocks(QTcpSocket* socket, qint64 fileLength, Sink sink);
    // DOWN_FILE of a device path into target, written only when the whole file came. On a
    // connection that is already logged in; false on any failure.
    bool downloadInto(QTcpSocket* socket, const QString& devicePath, const QString& target, int bufferSize);
    // Reads the list records that follow a GET_SEND_FAX_STATUS reply.
    QList<Fax> readFaxList(QTcpSocket* socket, const QString& reply);
    // UP_FILE of the local configuration file, paced by the device's "R".
    bool uploadConfiguration(QTcpSocket* socket, const QString& path);

    QString configurationPath(const Device& device) const;
};

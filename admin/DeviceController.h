#pragma once

#include "Device.h"
#include "Fax.h"

#include <QDateTime>
#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QThread>

class DeviceManageThread;

// The GUI side of the administration worker. Each panel makes its own controller, so that each
// has its own worker and thread. Requests are signals (queued to the worker, performed one after
// another); results come back as the signals below. A failed login gives no result signal;
// commandFinished() follows every request whatever its outcome.
class DeviceController : public QObject
{
    Q_OBJECT

public:
    explicit DeviceController(QObject* parent = nullptr);
    ~DeviceController() override;

    // True from a request until its command has finished.
    bool isBusy() const { return m_pending > 0; }

signals:
    // Requests.
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
    // action is "ADD_USER" or "MODIFY_USER"; an empty password (or "******") on a modify keeps the
    // old one, an empty SMTP password always does.
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
    // begin and end are local "yyyy-MM-dd hh:mm:ss"; type "recvsend", "send" or "recv";
    // faxNumber filters on the client (empty: all).
    void getFaxHistory(Device& device, QString& user, QString& begin, QString& end, QString& type,
                       QString& faxNumber);
    void getHighOptionSetting(Device& device);
    void setHighOption(Device& device, QString& text);
    void getDeviceLog(Device& device, QDateTime from, QDateTime to);
    void downloadFaxFile(Device& device, QString& fileNumber, QString& localName);
    void firmwareUpgrade(Device& device, QString& path);
    void voiceListen(Device& device, int tcpPort, int udpPort);

    // Results.
    void returnServerInfomation(QString& text);
    void returnEmailSetting(QString& text);
    void returnNetworkSetting(QString& text);
    void returnHighOption(QString& text);
    void returnTimeSetting(QString& text);
    void returnDeviceLog(QString& path);
    void showDeviceLogProgress(QString& date, int percent);
    void returnDeviceLogFailedDays(QStringList days);
    void returnUserList(QString& list);
    void returnUserInfo(QString& text);
    void returnDeleteUserResult(QString& feedback);
    void returnModifyUserResult(QString& feedback);
    void returnFaxSetting(QString& text);
    void returnFaxQueue(QList<Fax>& faxes);
    void returnSendFaxPause();
    void returnDeleteFaxResult(int result);
    void returnSettingResult(QString& feedback);
    void returnFaxFilePathResult(QString& path);
    void returnSetHighOptionResult(bool ok);
    void returnVoiceListenResult();
    void returnFirmwareUpgradeProgress(int percent);
    void returnFirmwareResult(bool ok, const QString& reason);

    // A request has finished (after its result signal, if it had one).
    void commandFinished();
    // True when the first of a run of requests goes out, false when the last has finished.
    void busyChanged(bool busy);

public slots:
    void getServerInfomationSuccess(QString& text);
    void getEmailSettingSuccess(QString& text);
    void getNetworkSettingSuccess(QString& text);
    void getHignOptionSuccess(QString& text);
    void getTimeSettingSuccess(QString& text);
    void getDeviceLogSuccess(QString& path);
    void showDeviceProgress(QString& date, int percent);
    void getUserListSuccess(QString& list);
    void getUserInfoSuccess(QString& text);
    void deleteUserInfoResult(QString& feedback);
    void modifyUserResult(QString& feedback);
    void getFaxSettingSuccess(QString& text);
    void getFaxQueueSuccess(QList<Fax>& faxes);
    void sendFaxPauseSuccess();
    void deleteFaxResult(int result);
    void settingResult(QString& feedback);
    void faxFilePath(QString& path);
    void setHighOptionResult(bool ok);
    void voiceListenResult();
    void firmUpgradeProgress(int percent);
    void firmUpgradeResult(bool ok, const QString& reason);

private slots:
    void requestSent();
    void requestDone();

private:
    QThread m_thread;
    DeviceManageThread* m_worker;
    int m_pending = 0;
};

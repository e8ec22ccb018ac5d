#include "DeviceController.h"

#include "DeviceManageThread.h"

namespace {

// Connects a request signal to the worker's slot and to the controller's own count of
// requests under way.
template <typename Signal, typename Slot>
void relay(DeviceController* controller, DeviceManageThread* worker, Signal signal, Slot slot,
           void (DeviceController::*sent)())
{
    QObject::connect(controller, signal, worker, slot);
    QObject::connect(controller, signal, controller, sent);
}

} // namespace

DeviceController::DeviceController(QObject* parent) : QObject(parent), m_worker(new DeviceManageThread)
{
    m_worker->moveToThread(&m_thread);
    connect(&m_thread, &QThread::finished, m_worker, &QObject::deleteLater);
    // Queued connections copy arguments of these types.
    qRegisterMetaType<Device>("Device&");
    qRegisterMetaType<QString>("QString&");
    qRegisterMetaType<QList<Fax>>("QList<Fax>&");

    using C = DeviceController;
    using W = DeviceManageThread;
    auto sent = &C::requestSent;
    relay(this, m_worker, &C::getServerInfomation, &W::getServerInfomation, sent);
    relay(this, m_worker, &C::getEmailSetting, &W::getEmailSetting, sent);
    relay(this, m_worker, &C::setEmailSetting, &W::setEmailSetting, sent);
    relay(this, m_worker, &C::getNetworkSetting, &W::getNetworkSetting, sent);
    relay(this, m_worker, &C::setNetworkSetting, &W::setNetworkSetting, sent);
    relay(this, m_worker, &C::getTimeSetting, &W::getTimeSetting, sent);
    relay(this, m_worker, &C::setTimeSetting, &W::setTimeSetting, sent);
    relay(this, m_worker, &C::getUserList, &W::getUserList, sent);
    relay(this, m_worker, &C::getUserInfo, &W::getUserInfo, sent);
    relay(this, m_worker, &C::deleteUser, &W::deleteUser, sent);
    relay(this, m_worker, &C::setUserInfo, &W::setUserInfo, sent);
    relay(this, m_worker, &C::getFaxSetting, &W::getFaxSetting, sent);
    relay(this, m_worker, &C::setFaxSetting, &W::setFaxSetting, sent);
    relay(this, m_worker, &C::sendFaxPause, &W::sendFaxPause, sent);
    relay(this, m_worker, &C::deleteFax, &W::deleteFax, sent);
    relay(this, m_worker, &C::distributeFax, &W::distributeFax, sent);
    relay(this, m_worker, &C::rebootDevice, &W::rebootDevice, sent);
    relay(this, m_worker, &C::getFaxQueue, &W::getFaxQueue, sent);
    relay(this, m_worker, &C::getFaxHistory, &W::getFaxHistory, sent);
    relay(this, m_worker, &C::getHighOptionSetting, &W::getHighOption, sent);
    relay(this, m_worker, &C::setHighOption, &W::setHighOption, sent);
    relay(this, m_worker, &C::getDeviceLog, &W::getDeviceLog, sent);
    relay(this, m_worker, &C::downloadFaxFile, &W::downloadFaxFile, sent);
    relay(this, m_worker, &C::firmwareUpgrade, &W::firmwareUpgrade, sent);
    relay(this, m_worker, &C::voiceListen, &W::voiceListen, sent);

    connect(m_worker, &W::returnInfomation, this, &C::getServerInfomationSuccess);
    connect(m_worker, &W::returnEmailSetting, this, &C::getEmailSettingSuccess);
    connect(m_worker, &W::returnNetworkSetting, this, &C::getNetworkSettingSuccess);
    connect(m_worker, &W::returnHighOption, this, &C::getHignOptionSuccess);
    connect(m_worker, &W::returnTimeSetting, this, &C::getTimeSettingSuccess);
    connect(m_worker, &W::returnDeviceLog, this, &C::getDeviceLogSuccess);
    connect(m_worker, &W::showDeviceLogProgress, this, &C::showDeviceProgress);
    connect(m_worker, &W::returnDeviceLogFailedDays, this, &C::returnDeviceLogFailedDays);
    connect(m_worker, &W::returnUserList, this, &C::getUserListSuccess);
    connect(m_worker, &W::returnUserInfo, this, &C::getUserInfoSuccess);
    connect(m_worker, &W::returnDeleteUser, this, &C::deleteUserInfoResult);
    connect(m_worker, &W::returnModifyUserResult, this, &C::modifyUserResult);
    connect(m_worker, &W::returnFaxSetting, this, &C::getFaxSettingSuccess);
    connect(m_worker, &W::returnFaxQueue, this, &C::getFaxQueueSuccess);
    connect(m_worker, &W::sendFaxPauseResult, this, &C::sendFaxPauseSuccess);
    connect(m_worker, &W::returnDeleteFaxResult, this, &C::deleteFaxResult);
    connect(m_worker, &W::returnSettingResult, this, &C::settingResult);
    connect(m_worker, &W::returnFilePath, this, &C::faxFilePath);
    connect(m_worker, &W::returnSetHighOption, this, &C::setHighOptionResult);
    connect(m_worker, &W::returnVoiceListen, this, &C::voiceListenResult);
    connect(m_worker, &W::returnFirmwareUpgradeProgress, this, &C::firmUpgradeProgress);
    connect(m_worker, &W::returnFirmwareUpgradeResult, this, &C::firmUpgradeResult);
    connect(m_worker, &W::commandDone, this, &C::requestDone);

    m_thread.start(QThread::InheritPriority);
}

DeviceController::~DeviceController()
{
    // The work under way ends at its next wait, so closing a window never waits on a device.
    m_worker->cancel();
    m_thread.quit();
    m_thread.wait();
}

void DeviceController::requestSent()
{
    if (++m_pending == 1)
        emit busyChanged(true);
}

void DeviceController::requestDone()
{
    if (m_pending > 0 && --m_pending == 0)
        emit busyChanged(false);
    emit commandFinished();
}

void DeviceController::getServerInfomationSuccess(QString& text) { emit returnServerInfomation(text); }
void DeviceController::getEmailSettingSuccess(QString& text) { emit returnEmailSetting(text); }
void DeviceController::getNetworkSettingSuccess(QString& text) { emit returnNetworkSetting(text); }
void DeviceController::getHignOptionSuccess(QString& text) { emit returnHighOption(text); }
void DeviceController::getTimeSettingSuccess(QString& text) { emit returnTimeSetting(text); }
void DeviceController::getDeviceLogSuccess(QString& path) { emit returnDeviceLog(path); }
void DeviceController::showDeviceProgress(QString& date, int percent) { emit showDeviceLogProgress(date, percent); }
void DeviceController::getUserListSuccess(QString& list) { emit returnUserList(list); }
void DeviceController::getUserInfoSuccess(QString& text) { emit returnUserInfo(text); }
void DeviceController::deleteUserInfoResult(QString& feedback) { emit returnDeleteUserResult(feedback); }
void DeviceController::modifyUserResult(QString& feedback) { emit returnModifyUserResult(feedback); }
void DeviceController::getFaxSettingSuccess(QString& text) { emit returnFaxSetting(text); }
void DeviceController::getFaxQueueSuccess(QList<Fax>& faxes) { emit returnFaxQueue(faxes); }
void DeviceController::sendFaxPauseSuccess() { emit returnSendFaxPause(); }
void DeviceController::deleteFaxResult(int result) { emit returnDeleteFaxResult(result); }
void DeviceController::settingResult(QString& feedback) { emit returnSettingResult(feedback); }
void DeviceController::faxFilePath(QString& path) { emit returnFaxFilePathResult(path); }
void DeviceController::setHighOptionResult(bool ok) { emit returnSetHighOptionResult(ok); }
void DeviceController::voiceListenResult() { emit returnVoiceListenResult(); }
void DeviceController::firmUpgradeProgress(int percent) { emit returnFirmwareUpgradeProgress(percent); }
void DeviceController::firmUpgradeResult(bool ok, const QString& reason) { emit returnFirmwareResult(ok, reason); }

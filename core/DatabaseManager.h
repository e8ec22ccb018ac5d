#pragma once

#include "Contact.h"
#include "Device.h"
#include "Fax.h"
#include "User.h"

#include <QList>
#include <QMutex>
#include <QString>
#include <QStringList>

// Holds all SQL of the program. Made on the stack, used for one operation, let go.
// Every value reaches its statement as a bound parameter; per-user queries are scoped by gUser.id.
class DatabaseManager
{
public:
    DatabaseManager() = default;

    void createTables();
    // Brings an older store up to date; returns the schema version it is at.
    int migrateSchema();

    // Local accounts
    bool insertUser(QString& nickname, QString& password);
    User loginUser(QString& nickname, QString& password);
    User queryUserByNickname(QString& nickname);
    QStringList queryAllUserNickname();

    // Devices of the current user
    bool inseretDevice(Device& device);
    Device queryDevice(QString& productID);
    QList<Device> queryDevices();
    bool deleteDevice(Device& device);
    bool nativeDeleteFax(Device& device);
    // The local faxes of the device, in every folder: what nativeDeleteFax would remove.
    int countDeviceFaxes(Device& device);
    void updateDevice(Device& device);
    void updateDeviceLocalIP(Device& device);
    void updateDeviceRemoteIP(Device& device);
    void updateDeviceConnectStatus(Device& device);
    void updateDeviceName(Device& device);
    void updateDeviceMaxTaskID(Device& device);

    // Faxes
    int insertFax(Fax& fax, int deviceId);
    // Received faxes, and with a non-null mark the device's mark, all or nothing.
    bool insertFaxes(const QList<Fax>& faxes, int deviceId, const QString& mark = QString());
    void updateFaxTaskID(Fax& fax);
    void updateFaxRemark(Fax& fax);
    void updateFaxReaded(Fax& fax);
    void updateUploadFaxFailed(Fax& fax);
    // The status column alone.
    void updateFaxStatus(Fax& fax);
    // At the start of a session: the user's sent faxes without a task number that were left
    // queued (5) become "等待上传" (3), those left uploading (4) "上传结果未知". Call it while no
    // upload of the user runs. The number of rows changed.
    int recoverStrandedUploads();
    void updateSendFax(Fax& fax);
    // The same for many faxes in one transaction.
    bool updateSendFaxes(const QList<Fax>& faxes);
    // A sent fax the device has taken back into its queue (an accepted retry) is open again.
    void reopenSentFax(int deviceId, int taskID);
    bool deleteFax(Fax& fax);
    bool deleteFaxList(QList<Fax>& faxes);
    void restoreFax(Fax& fax);
    bool permanentlyDelete(Fax& fax);
    Fax queryFaxByTaskID(int taskID);
    QList<Fax> queryReceiveFaxes();
    QList<Fax> queryUnreadFaxes();
    QList<Fax> querySendFaxes();
    QList<Fax> queryDeleteFaxes();
    QList<Fax> queryUploadingFax();

    // Contacts (shared by all local accounts)
    bool addContact(Contact& contact);
    bool addContactList(QList<Contact> contacts);
    bool updateContact(Contact& contact);
    bool deleteContact(Contact& contact);
    Contact findContact(Contact& contact);
    Contact findContactByFaxNumber(QString& number);
    QList<Contact> queryContacts();
    QList<Contact> queryContacts(int typeId);
    bool addContactType(ContactType& type);
    ContactType queryContactType(int id);
    QList<ContactType> queryContactTypes();
    bool queryContactTypeByName(QString& name);
    bool queryContactTypeHasContact(int typeId);
    bool renameContactType(ContactType& type);
    bool deleteContactType(ContactType& type);

private:
    QMutex m_mutex; // held by no operation; threads are kept apart by their own connections
};

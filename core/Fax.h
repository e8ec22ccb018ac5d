#pragma once

#include <QDateTime>
#include <QMetaType>
#include <QString>
#include <QTime>

// One fax, sent or received; a row of FAXES and the work order of an upload.
struct Fax
{
    int id = 0;
    int pageTotal = 0;
    int dialTotal = 0;
    int dialAlready = 0;
    QString sender;
    QString receiver;
    QString remark;
    int status = 0;      // FaxStatusEnum
    QString time;        // local "yyyy-MM-dd hh:mm:ss"
    int taskID = 0;      // 0 until the device accepted the fax
    QString serverID;    // productID of the device that holds it
    QString file;        // the device's own file name (received faxes)
    QString cid;         // the other party's number
    QString filepath;    // local TIFF
    int tag = 0;         // 0 received, 1 sent
    int priority = 0;    // FaxPriorityEnum (1 low .. 4 critical)
    int quality = 0;     // FaxQualityEnum
    int pageSended = 0;
    int retryTime = 0;   // minutes
    QString issue;
    int pagePercent = 0;   // live only
    int sendState = 0;     // SendFaxStateEnum, live only
    int trainingValue = 0; // live only
    int isDelete = 0;
    QDateTime dateTimePlan;
    QDateTime dateTimeStop;
    QTime timeFrom;
    QTime timeTo;
    bool disableHeader = false;
    bool disabeDialPrefix = false;
    int editorMode = 0; // how the editor was opened; never stored

    // Filled only by the device's queue and history lists (cid holds the other party's
    // number there).
    QString numberDialled; // the number as the line dialled it
    int duration = 0;      // seconds
    int line = 0;

    // Filled only by DatabaseManager::queryUploadingFax for status tracking.
    int d_id = 0;
    QString deviceName;
    QString devicePassword;
    QString serverName;
    QString localIP;
    QString remoteIP;
    QString productID;
    QString maxTaskID;
    int internetPort = 0; // the device's internet base port; 0: not stored

    // Rows are found by id alone.
    bool operator==(const Fax& other) const { return id == other.id; }
    bool operator!=(const Fax& other) const { return id != other.id; }
};

Q_DECLARE_METATYPE(Fax)

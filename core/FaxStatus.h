#pragma once

#include <QObject>
#include <QString>

class FaxStatus
{
    Q_GADGET
public:
    enum FaxStatusEnum {
        SEND_FAX_FAILED = 1,
        SEND_FAX_SUCCESS = 2,
        SEND_FAX_UNSEND = 3,
        SEND_FAX_UPLOADING = 4,
        SEND_FAX_WAITTING = 5,
        SEND_FAX_SENDING = 6,
        SEND_FAX_STOPED = 7,
        SEND_FAX_PLAN = 8,
        SEND_FAX_MANUAL = 9,
        SEND_FAX_UNREVIEW = 10,
        RECV_FAX_UNREAD = 11,
        RECV_FAX_READED = 12,
        RECV_FAX_REPLYED = 13,
        RECV_FAX_FORWARDED = 14,
        RECV_FAX_PRINTED = 15,
        RECV_FAX_FAILED = 16, // a received fax whose file could not be fetched yet
        // The device may or may not hold the fax: its answer to the upload never came whole.
        // Set by the client only, never by a device, so far from the device's own values.
        SEND_FAX_UPLOAD_UNKNOWN = 201,
    };
    Q_ENUM(FaxStatusEnum)

    enum FaxPriorityEnum {
        FAX_PRIORITY_UNKNOW = 0,
        FAX_PRIORITY_LOW = 1,
        FAX_PRIORITY_NORMAL = 2,
        FAX_PRIORITY_HIGH = 3,
        FAX_PRIORITY_CRITICAL = 4,
    };
    Q_ENUM(FaxPriorityEnum)

    enum SendFaxStateEnum {
        SEND_STATE_NONE = 0,
        SEND_STATE_DIAL = 1,
        SEND_STATE_CONNECTED = 2,
        SEND_STATE_TRAINING = 3,
    };
    Q_ENUM(SendFaxStateEnum)

    enum FaxQualityEnum {
        QUALITY_NORMAL = 1,
        QUALITY_FINE = 2,
    };
    Q_ENUM(FaxQualityEnum)

    // The word a folder shows for a status; empty for values without one.
    static QString statusText(int status);
    // The word shown for a priority; empty for FAX_PRIORITY_UNKNOW and unknown values.
    static QString priorityText(int priority);
    // The outbox progress text of a live fax.
    static QString progressText(int sendState, int pageSended, int pagePercent, int pageTotal, int trainingValue);
};

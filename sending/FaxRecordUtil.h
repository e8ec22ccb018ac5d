#pragma once

#include "Fax.h"

#include <QByteArray>
#include <QDate>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QTime>

// The device's 1024-byte fax record, little-endian. One layout serves three uses: the header
// in front of an uploaded fax file, the reply to a status query for one fax, and each record
// of the queue and history lists.
class FaxRecordUtil
{
public:
    static constexpr int SIZE = 1024;

    // Field offsets.
    static constexpr int TASK_ID = 0x004;
    static constexpr int FILE_NUMBER = 0x008;
    static constexpr int DEVICE_NUMBER = 0x014;
    static constexpr int STATUS = 0x018;
    static constexpr int PRIORITY = 0x01C;
    static constexpr int NUMBER_DIALLED = 0x020;
    static constexpr int NUMBER = 0x060;
    static constexpr int PAGE_TOTAL = 0x0A0;
    static constexpr int PAGES_SENT = 0x0A4;
    static constexpr int DIAL_TOTAL = 0x0A8;
    static constexpr int DIAL_ALREADY = 0x0AC;
    static constexpr int TIME = 0x0B0;
    static constexpr int PLAN_TIME = 0x0C0;
    static constexpr int ISSUE = 0x0D4;
    static constexpr int RECEIVER = 0x194;
    static constexpr int SENDER = 0x1D4;
    static constexpr int REMARK = 0x254;
    static constexpr int PAGE_PERCENT = 0x354;
    static constexpr int SEND_STATE = 0x358;
    static constexpr int TRAINING_VALUE = 0x35C;
    static constexpr int STOP_TIME = 0x360;
    static constexpr int WINDOW_FROM = 0x370;
    static constexpr int WINDOW_TO = 0x380;
    static constexpr int RETRY_TIME = 0x390;
    static constexpr int QUALITY = 0x394;
    static constexpr int DURATION = 0x398;
    static constexpr int DISABLE_HEADER = 0x39C;
    static constexpr int DISABLE_DIAL_PREFIX = 0x3A4;
    static constexpr int LINE = 0x3AC;

    // Longest number the upload takes, in 16-bit units (one UTF-8 byte each).
    static constexpr int NUMBER_UNITS = 32;
    // Longest recipient name written, in UTF-16 units: the field at 0x194 ends where the
    // device keeps the sender (0x1D4).
    static constexpr int RECEIVER_UNITS = 32;
    // Failure text of the status record, in 16-bit units.
    static constexpr int ISSUE_UNITS = 128;

    // True when the number fits its field of 32 units.
    static bool numberFits(const QString& number);

    // The upload header for the fax, with uploadTimeUtc as the time of upload. Empty when the
    // number does not fit: a cut number would dial someone else, so such a fax is refused.
    // A longer recipient name is cut to RECEIVER_UNITS (it is only shown, never dialled).
    static QByteArray writeUploadHeader(const Fax& fax, const QDateTime& uploadTimeUtc);

    // Copies the status fields of a status record into the fax. A record shorter than SIZE
    // counts as no record: false, and the fax is left as it was.
    static bool readStatusRecord(const QByteArray& record, Fax& fax);

    // Reads one record of the device's queue or history list: taskID, file (8 upper-case hex
    // digits), serverID (upper-case hex), status, priority, numberDialled (0x020), cid (the
    // other party's number, 0x060), dialTotal, dialAlready, time (local), receiver, sender,
    // pageTotal, remark, trainingValue (the speed in bps), duration, line. False, and the fax untouched,
    // when the record is shorter than SIZE.
    static bool readListRecord(const QByteArray& record, Fax& fax);
    // One fax for each record, in order; a short record gives an empty fax in its place.
    static QList<Fax> readListRecords(const QList<QByteArray>& records);

    // The record's UTC time at offset as local "yyyy-MM-dd hh:mm:ss"; empty when it holds no
    // date.
    static QString readLocalTime(const QByteArray& record, int offset);

    // Little-endian access, for callers that need a field this class does not name.
    static qint32 readInt(const QByteArray& record, int offset);
    static void writeInt(QByteArray& record, int offset, qint32 value);
    // The 16-byte time block: year, month, day of week, day, hour, minute, second,
    // millisecond. Accessors of an invalid date or time give 0 and -1, as the device expects.
    static void writeTime(QByteArray& record, int offset, const QDate& date, const QTime& time, int dayOfWeek);
    // UTF-16 units from offset up to the first 0, at most maxUnits, never past the record.
    static QString readUnits(const QByteArray& record, int offset, int maxUnits);
};

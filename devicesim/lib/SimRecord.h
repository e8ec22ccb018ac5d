#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>

// The 1024-byte little-endian block that a fax upload starts with and that the device sends
// back for every status and list query.
namespace SimRecord {

constexpr int SIZE = 1024;

// The 16-byte time block: year, month, day of week, day, hour, minute, second, millisecond,
// each a signed 16-bit number.
struct Time {
    int year = 0;
    int month = 0;
    int dayOfWeek = 0;
    int day = 0;
    int hour = 0;
    int minute = 0;
    int second = 0;
    int msec = 0;

    static Time read(const QByteArray& block, int offset);
    void write(QByteArray& block, int offset) const;
    // A UTC date-time as the block holds it, day of the week filled in when asked.
    static Time fromUtc(const QDateTime& utc, bool withDayOfWeek);
    // The date-time in UTC, or an invalid one when the block holds no date.
    QDateTime toUtc() const;
    bool isValidDate() const { return year > 0 && month > 0 && day > 0; }
    QString toString() const;
};

// What the device reads from an upload header.
struct UploadHeader {
    int status = 0;
    int priority = 0;
    QString number;
    int pageTotal = 0;
    int dialTotal = 0;
    Time uploadTime;
    Time planTime;
    QString receiver;
    Time stopTime;
    Time windowFrom;
    Time windowTo;
    int retryTime = 0;
    int quality = 0;
    int disableHeader = 0;
    int disableDialPrefix = 0;
    // Everything that does not look like a well-formed header (non-zero reserved bytes,
    // a status other than 5, a wrong day of the week, ...). Empty for a clean header.
    QStringList problems;

    static UploadHeader parse(const QByteArray& header);
};

// What the device writes into a status or list record.
struct RecordData {
    quint32 task = 0;
    quint32 fileNumber = 0;
    quint32 deviceNumber = 0;
    int status = 0;
    int priority = 0;
    QString numberDialled; // 0x020, the number as the line dialled it
    QString number;        // 0x060, the other party's number
    int pageTotal = 0;
    int pagesSent = 0;
    int dialTotal = 0;
    int dialAlready = 0;
    QDateTime timeUtc;
    Time planTime;
    QString issue; // failure text, one UTF-8 byte per 16-bit unit
    QString receiver;
    QString sender;
    QString remark;
    int percent = 0;
    int sendState = 0;
    int trainingValue = 0; // also the speed in bps of the history
    Time stopTime;
    Time windowFrom;
    Time windowTo;
    int retryTime = 0;
    int quality = 0;
    int duration = 0;
    int disableHeader = 0;
    int disableDialPrefix = 0;
    int line = 0;
};

QByteArray write(const RecordData& data);

// Little-endian helpers for the record and the firmware file.
quint32 readU32(const QByteArray& block, int offset);
void writeU32(QByteArray& block, int offset, quint32 value);

} // namespace SimRecord

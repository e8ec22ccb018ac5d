#include "FaxRecordUtil.h"

#include "TimeUtil.h"

namespace {

qint16 readShort(const QByteArray& record, int offset)
{
    return qint16(quint16(uchar(record[offset])) | quint16(uchar(record[offset + 1]) << 8));
}

void writeShort(QByteArray& record, int offset, int value)
{
    record[offset] = char(value & 0xFF);
    record[offset + 1] = char((value >> 8) & 0xFF);
}

QString hex(quint32 value, int width)
{
    return QString::number(value, 16).toUpper().rightJustified(width, QLatin1Char('0'));
}

} // namespace

qint32 FaxRecordUtil::readInt(const QByteArray& record, int offset)
{
    quint32 value = 0;
    for (int i = 3; i >= 0; --i)
        value = (value << 8) | uchar(record[offset + i]);
    return qint32(value);
}

void FaxRecordUtil::writeInt(QByteArray& record, int offset, qint32 value)
{
    const quint32 bits = quint32(value);
    for (int i = 0; i < 4; ++i)
        record[offset + i] = char((bits >> (8 * i)) & 0xFF);
}

void FaxRecordUtil::writeTime(QByteArray& record, int offset, const QDate& date, const QTime& time, int dayOfWeek)
{
    const int fields[8]
        = { date.year(), date.month(), dayOfWeek, date.day(), time.hour(), time.minute(), time.second(), time.msec() };
    for (int i = 0; i < 8; ++i)
        writeShort(record, offset + 2 * i, fields[i]);
}

QString FaxRecordUtil::readUnits(const QByteArray& record, int offset, int maxUnits)
{
    QString text;
    for (int i = 0; i < maxUnits && offset + 2 * i + 1 < record.size(); ++i) {
        const ushort unit = ushort(readShort(record, offset + 2 * i));
        if (unit == 0)
            break;
        text.append(QChar(unit));
    }
    return text;
}

QString FaxRecordUtil::readLocalTime(const QByteArray& record, int offset)
{
    const auto field = [&](int index) {
        return QStringLiteral("%1").arg(readShort(record, offset + 2 * index), 2, 10, QLatin1Char('0'));
    };
    // year, month, day, hour, minute, second; index 2 is the day of the week
    QString utc = QStringLiteral("%1-%2-%3 %4:%5:%6").arg(field(0), field(1), field(3), field(4), field(5), field(6));
    return TimeUtil::utcTime2LocalTime(utc);
}

bool FaxRecordUtil::numberFits(const QString& number)
{
    return number.toUtf8().size() <= NUMBER_UNITS;
}

QByteArray FaxRecordUtil::writeUploadHeader(const Fax& fax, const QDateTime& uploadTimeUtc)
{
    if (!numberFits(fax.cid))
        return QByteArray();

    QByteArray header(SIZE, '\0');
    writeInt(header, STATUS, 5); // SEND_FAX_WAITTING, whatever the local row says
    writeInt(header, PRIORITY, fax.priority);

    // Each UTF-8 byte of the number in a 16-bit unit of its own.
    const QByteArray number = fax.cid.toUtf8();
    for (int i = 0; i < number.size(); ++i)
        writeShort(header, NUMBER + 2 * i, uchar(number[i]));

    writeInt(header, PAGE_TOTAL, fax.pageTotal);
    writeInt(header, DIAL_TOTAL, fax.dialTotal);

    const QDateTime now = uploadTimeUtc.toUTC();
    writeTime(header, TIME, now.date(), now.time(), now.date().dayOfWeek());
    const QDateTime plan = fax.dateTimePlan.toTimeSpec(Qt::UTC);
    writeTime(header, PLAN_TIME, plan.date(), plan.time(), 0);

    // Cut at a whole character: the field ends where the device keeps the sender.
    int units = qMin(fax.receiver.size(), RECEIVER_UNITS);
    if (units > 0 && units < fax.receiver.size() && fax.receiver.at(units - 1).isHighSurrogate())
        --units;
    for (int i = 0; i < units; ++i)
        writeShort(header, RECEIVER + 2 * i, fax.receiver.at(i).unicode());

    const QDateTime stop = fax.dateTimeStop.toTimeSpec(Qt::UTC);
    writeTime(header, STOP_TIME, stop.date(), stop.time(), 0);
    // The daily window is a local clock time with no date.
    writeTime(header, WINDOW_FROM, QDate(), fax.timeFrom, 0);
    writeTime(header, WINDOW_TO, QDate(), fax.timeTo, 0);

    writeInt(header, RETRY_TIME, fax.retryTime);
    writeInt(header, QUALITY, fax.quality);
    writeInt(header, DISABLE_HEADER, fax.disableHeader ? 1 : 0);
    writeInt(header, DISABLE_DIAL_PREFIX, fax.disabeDialPrefix ? 1 : 0);
    return header;
}

bool FaxRecordUtil::readStatusRecord(const QByteArray& record, Fax& fax)
{
    if (record.size() < SIZE)
        return false;

    fax.status = readInt(record, STATUS);
    fax.pageTotal = readInt(record, PAGE_TOTAL);
    fax.pageSended = readInt(record, PAGES_SENT);
    fax.dialTotal = readInt(record, DIAL_TOTAL);
    fax.dialAlready = readInt(record, DIAL_ALREADY);

    // A record without a usable time keeps the fax's own, so the outbox order holds.
    const QString time = readLocalTime(record, TIME);
    if (!time.isEmpty())
        fax.time = time;

    // The failure text: the low byte of each unit is one byte of UTF-8, up to the first 0.
    QByteArray issue;
    for (int i = 0; i < ISSUE_UNITS; ++i) {
        const char byte = record[ISSUE + 2 * i];
        if (byte == 0)
            break;
        issue.append(byte);
    }
    fax.issue = QString::fromUtf8(issue);

    fax.pagePercent = readInt(record, PAGE_PERCENT);
    fax.sendState = readInt(record, SEND_STATE);
    fax.trainingValue = readInt(record, TRAINING_VALUE);
    // How long the call has taken so far: the transmission report's "耗时:".
    fax.duration = readInt(record, DURATION);
    return true;
}

bool FaxRecordUtil::readListRecord(const QByteArray& record, Fax& fax)
{
    if (record.size() < SIZE)
        return false;

    fax.taskID = readInt(record, TASK_ID);
    fax.file = hex(quint32(readInt(record, FILE_NUMBER)), 8);
    fax.serverID = hex(quint32(readInt(record, DEVICE_NUMBER)), 0);
    fax.status = readInt(record, STATUS);
    fax.priority = readInt(record, PRIORITY);
    // Each text stops where the next field begins, so a full field never takes in its
    // neighbour's bytes.
    fax.numberDialled = readUnits(record, NUMBER_DIALLED, (NUMBER - NUMBER_DIALLED) / 2);
    fax.cid = readUnits(record, NUMBER, (PAGE_TOTAL - NUMBER) / 2);
    fax.pageTotal = readInt(record, PAGE_TOTAL);
    fax.dialTotal = readInt(record, DIAL_TOTAL);
    fax.dialAlready = readInt(record, DIAL_ALREADY);
    fax.time = readLocalTime(record, TIME);
    fax.receiver = readUnits(record, RECEIVER, (SENDER - RECEIVER) / 2);
    fax.sender = readUnits(record, SENDER, (REMARK - SENDER) / 2);
    fax.remark = readUnits(record, REMARK, (PAGE_PERCENT - REMARK) / 2);
    fax.trainingValue = readInt(record, TRAINING_VALUE);
    fax.duration = readInt(record, DURATION);
    fax.line = readInt(record, LINE);
    return true;
}

QList<Fax> FaxRecordUtil::readListRecords(const QList<QByteArray>& records)
{
    QList<Fax> faxes;
    for (const QByteArray& record : records) {
        Fax fax;
        readListRecord(record, fax);
        faxes << fax;
    }
    return faxes;
}

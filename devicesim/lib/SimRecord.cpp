#include "SimRecord.h"

namespace SimRecord {

namespace {

int readI16(const QByteArray& block, int offset)
{
    return qint16(quint16(uchar(block[offset]) | (uchar(block[offset + 1]) << 8)));
}

void writeI16(QByteArray& block, int offset, int value)
{
    block[offset] = char(value & 0xFF);
    block[offset + 1] = char((value >> 8) & 0xFF);
}

// UTF-16 units from offset, at most maxUnits, up to the first 0 unit.
QString readUnits(const QByteArray& block, int offset, int maxUnits)
{
    QString text;
    for (int i = 0; i < maxUnits && offset + 2 * i + 1 < block.size(); ++i) {
        const ushort unit = ushort(uchar(block[offset + 2 * i]) | (uchar(block[offset + 2 * i + 1]) << 8));
        if (unit == 0)
            break;
        text.append(QChar(unit));
    }
    return text;
}

// Writes at most maxUnits code units; the rest of the field stays zero.
void writeUnits(QByteArray& block, int offset, const QString& text, int maxUnits)
{
    const int n = qMin(text.size(), maxUnits);
    for (int i = 0; i < n; ++i)
        writeI16(block, offset + 2 * i, text[i].unicode());
}

// UTF-8 bytes kept in the low byte of 16-bit units, cut at a character boundary.
void writeByteUnits(QByteArray& block, int offset, const QString& text, int maxUnits)
{
    QByteArray utf8 = text.toUtf8();
    if (utf8.size() > maxUnits) {
        int cut = maxUnits;
        while (cut > 0 && (uchar(utf8[cut]) & 0xC0) == 0x80)
            --cut;
        utf8.truncate(cut);
    }
    for (int i = 0; i < utf8.size(); ++i)
        writeI16(block, offset + 2 * i, uchar(utf8[i]));
}

bool allZero(const QByteArray& block, int from, int to)
{
    for (int i = from; i < to; ++i)
        if (block[i] != 0)
            return false;
    return true;
}

} // namespace

quint32 readU32(const QByteArray& block, int offset)
{
    return quint32(uchar(block[offset])) | (quint32(uchar(block[offset + 1])) << 8) | (quint32(uchar(block[offset + 2])) << 16)
        | (quint32(uchar(block[offset + 3])) << 24);
}

void writeU32(QByteArray& block, int offset, quint32 value)
{
    for (int i = 0; i < 4; ++i)
        block[offset + i] = char((value >> (8 * i)) & 0xFF);
}

Time Time::read(const QByteArray& block, int offset)
{
    Time t;
    t.year = readI16(block, offset);
    t.month = readI16(block, offset + 2);
    t.dayOfWeek = readI16(block, offset + 4);
    t.day = readI16(block, offset + 6);
    t.hour = readI16(block, offset + 8);
    t.minute = readI16(block, offset + 10);
    t.second = readI16(block, offset + 12);
    t.msec = readI16(block, offset + 14);
    return t;
}

void Time::write(QByteArray& block, int offset) const
{
    writeI16(block, offset, year);
    writeI16(block, offset + 2, month);
    writeI16(block, offset + 4, dayOfWeek);
    writeI16(block, offset + 6, day);
    writeI16(block, offset + 8, hour);
    writeI16(block, offset + 10, minute);
    writeI16(block, offset + 12, second);
    writeI16(block, offset + 14, msec);
}

Time Time::fromUtc(const QDateTime& utc, bool withDayOfWeek)
{
    Time t;
    if (!utc.isValid()) {
        t.hour = t.minute = t.second = t.msec = -1;
        return t;
    }
    const QDateTime u = utc.toUTC();
    t.year = u.date().year();
    t.month = u.date().month();
    t.dayOfWeek = withDayOfWeek ? u.date().dayOfWeek() : 0;
    t.day = u.date().day();
    t.hour = u.time().hour();
    t.minute = u.time().minute();
    t.second = u.time().second();
    t.msec = u.time().msec();
    return t;
}

QDateTime Time::toUtc() const
{
    if (!isValidDate())
        return QDateTime();
    return QDateTime(QDate(year, month, day), QTime(qMax(0, hour), qMax(0, minute), qMax(0, second), qMax(0, msec)), Qt::UTC);
}

QString Time::toString() const
{
    return QStringLiteral("%1-%2-%3 %4:%5:%6.%7 (dow %8)")
        .arg(year)
        .arg(month)
        .arg(day)
        .arg(hour)
        .arg(minute)
        .arg(second)
        .arg(msec)
        .arg(dayOfWeek);
}

UploadHeader UploadHeader::parse(const QByteArray& header)
{
    UploadHeader h;
    if (header.size() != SIZE) {
        h.problems << QStringLiteral("header is %1 bytes, not 1024").arg(header.size());
        return h;
    }
    h.status = int(readU32(header, 0x018));
    h.priority = int(readU32(header, 0x01C));
    QByteArray numberBytes;
    for (int i = 0; i < 32; ++i) {
        const int unit = readI16(header, 0x060 + 2 * i) & 0xFFFF;
        if (unit == 0)
            break;
        if (unit > 0xFF)
            h.problems << QStringLiteral("number unit %1 has a high byte").arg(i);
        numberBytes.append(char(unit & 0xFF));
    }
    h.number = QString::fromUtf8(numberBytes);
    h.pageTotal = int(readU32(header, 0x0A0));
    h.dialTotal = int(readU32(header, 0x0A8));
    h.uploadTime = Time::read(header, 0x0B0);
    h.planTime = Time::read(header, 0x0C0);
    h.receiver = readUnits(header, 0x194, 230);
    h.stopTime = Time::read(header, 0x360);
    h.windowFrom = Time::read(header, 0x370);
    h.windowTo = Time::read(header, 0x380);
    h.retryTime = int(readU32(header, 0x390));
    h.quality = int(readU32(header, 0x394));
    h.disableHeader = int(readU32(header, 0x39C));
    h.disableDialPrefix = int(readU32(header, 0x3A4));

    const int reserved[][2] = {{0, 24}, {32, 96}, {164, 168}, {172, 176}, {208, 404}, {920, 924}, {928, 932}, {936, 1024}};
    for (const auto& range : reserved)
        if (!allZero(header, range[0], range[1]))
            h.problems << QStringLiteral("reserved bytes %1..%2 are not zero").arg(range[0]).arg(range[1] - 1);
    if (h.status != 5)
        h.problems << QStringLiteral("status is %1, not 5").arg(h.status);
    if (h.disableHeader != 0 && h.disableHeader != 1)
        h.problems << QStringLiteral("disable header is %1").arg(h.disableHeader);
    if (h.disableDialPrefix != 0 && h.disableDialPrefix != 1)
        h.problems << QStringLiteral("disable dial prefix is %1").arg(h.disableDialPrefix);
    const QDateTime uploaded = h.uploadTime.toUtc();
    if (!uploaded.isValid())
        h.problems << QStringLiteral("upload time is not a date: %1").arg(h.uploadTime.toString());
    else if (uploaded.date().dayOfWeek() != h.uploadTime.dayOfWeek)
        h.problems << QStringLiteral("upload time has day of week %1, the date says %2").arg(h.uploadTime.dayOfWeek).arg(uploaded.date().dayOfWeek());
    for (const Time* t : {&h.planTime, &h.stopTime})
        if (t->dayOfWeek != 0)
            h.problems << QStringLiteral("plan or stop time carries a day of week");
    for (const Time* t : {&h.windowFrom, &h.windowTo})
        if (t->year != 0 || t->month != 0 || t->dayOfWeek != 0 || t->day != 0)
            h.problems << QStringLiteral("daily window carries a date");
    return h;
}

QByteArray write(const RecordData& d)
{
    QByteArray r(SIZE, '\0');
    writeU32(r, 0x004, d.task);
    writeU32(r, 0x008, d.fileNumber);
    writeU32(r, 0x014, d.deviceNumber);
    writeU32(r, 0x018, quint32(d.status));
    writeU32(r, 0x01C, quint32(d.priority));
    writeUnits(r, 0x020, d.numberDialled, 31);
    writeUnits(r, 0x060, d.number, 31);
    writeU32(r, 0x0A0, quint32(d.pageTotal));
    writeU32(r, 0x0A4, quint32(d.pagesSent));
    writeU32(r, 0x0A8, quint32(d.dialTotal));
    writeU32(r, 0x0AC, quint32(d.dialAlready));
    Time::fromUtc(d.timeUtc, true).write(r, 0x0B0);
    d.planTime.write(r, 0x0C0);
    // Text fields are cut so that none runs into the next one.
    writeByteUnits(r, 0x0D4, d.issue, 95);
    writeUnits(r, 0x194, d.receiver, 31);
    writeUnits(r, 0x1D4, d.sender, 63);
    writeUnits(r, 0x254, d.remark, 127);
    writeU32(r, 0x354, quint32(d.percent));
    writeU32(r, 0x358, quint32(d.sendState));
    writeU32(r, 0x35C, quint32(d.trainingValue));
    d.stopTime.write(r, 0x360);
    d.windowFrom.write(r, 0x370);
    d.windowTo.write(r, 0x380);
    writeU32(r, 0x390, quint32(d.retryTime));
    writeU32(r, 0x394, quint32(d.quality));
    writeU32(r, 0x398, quint32(d.duration));
    writeU32(r, 0x39C, quint32(d.disableHeader));
    writeU32(r, 0x3A4, quint32(d.disableDialPrefix));
    writeU32(r, 0x3AC, quint32(d.line));
    return r;
}

} // namespace SimRecord

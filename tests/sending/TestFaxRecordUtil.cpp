#include "FaxRecordUtil.h"
#include "TestSupport.h"
#include "TimeUtil.h"

#include <QApplication>
#include <QtEndian>

// The record is checked against byte positions written out here, not against the class's own
// offset constants, so a wrong constant shows up.
namespace {

quint16 u16(const QByteArray& b, int offset)
{
    return qFromLittleEndian<quint16>(reinterpret_cast<const uchar*>(b.constData()) + offset);
}

quint32 u32(const QByteArray& b, int offset)
{
    return qFromLittleEndian<quint32>(reinterpret_cast<const uchar*>(b.constData()) + offset);
}

void put16(QByteArray& b, int offset, quint16 v)
{
    qToLittleEndian<quint16>(v, reinterpret_cast<uchar*>(b.data()) + offset);
}

void put32(QByteArray& b, int offset, quint32 v)
{
    qToLittleEndian<quint32>(v, reinterpret_cast<uchar*>(b.data()) + offset);
}

QList<int> timeBlock(const QByteArray& b, int offset)
{
    QList<int> fields;
    for (int i = 0; i < 8; ++i)
        fields << int(qint16(u16(b, offset + 2 * i)));
    return fields;
}

void putText(QByteArray& b, int offset, const QString& text)
{
    for (int i = 0; i < text.size(); ++i)
        put16(b, offset + 2 * i, text.at(i).unicode());
}

QString localOf(const QDateTime& utc)
{
    return utc.toLocalTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"));
}

Fax fullFax()
{
    Fax fax;
    fax.status = 3; // the header says 5 whatever the row holds
    fax.priority = 3;
    fax.cid = QStringLiteral("0755-8888");
    fax.pageTotal = 4;
    fax.dialTotal = 6;
    fax.receiver = QStringLiteral("张三 Ltd");
    fax.dateTimePlan = QDateTime(QDate(2024, 3, 5), QTime(10, 30, 15, 250), Qt::OffsetFromUTC, 8 * 3600);
    fax.dateTimeStop = QDateTime(QDate(2024, 3, 6), QTime(1, 2, 3), Qt::OffsetFromUTC, -5 * 3600);
    fax.timeFrom = QTime(8, 0, 0);
    fax.timeTo = QTime(18, 45, 30, 5);
    fax.retryTime = 10;
    fax.quality = 2;
    fax.disableHeader = true;
    fax.disabeDialPrefix = true;
    return fax;
}

} // namespace

class TestFaxRecordUtil : public QObject
{
    Q_OBJECT

private slots:
    void headerFieldsAtTheirOffsets()
    {
        const QDateTime upload(QDate(2024, 3, 7), QTime(23, 59, 58, 999), Qt::UTC); // a Thursday
        const QByteArray h = FaxRecordUtil::writeUploadHeader(fullFax(), upload);
        QCOMPARE(h.size(), 1024);

        QCOMPARE(u32(h, 24), 5u);
        QCOMPARE(u32(h, 28), 3u);
        const QString number = QStringLiteral("0755-8888");
        for (int i = 0; i < number.size(); ++i)
            QCOMPARE(u16(h, 96 + 2 * i), quint16(number.at(i).unicode()));
        QCOMPARE(u32(h, 160), 4u);
        QCOMPARE(u32(h, 168), 6u);
        QCOMPARE(timeBlock(h, 176), (QList<int> { 2024, 3, 4, 7, 23, 59, 58, 999 }));
        // Plan and stop go to UTC and carry no day of the week.
        QCOMPARE(timeBlock(h, 192), (QList<int> { 2024, 3, 0, 5, 2, 30, 15, 250 }));
        QCOMPARE(timeBlock(h, 864), (QList<int> { 2024, 3, 0, 6, 6, 2, 3, 0 }));
        // The daily window: clock times only, not converted.
        QCOMPARE(timeBlock(h, 880), (QList<int> { 0, 0, 0, 0, 8, 0, 0, 0 }));
        QCOMPARE(timeBlock(h, 896), (QList<int> { 0, 0, 0, 0, 18, 45, 30, 5 }));
        const QString receiver = QStringLiteral("张三 Ltd");
        for (int i = 0; i < receiver.size(); ++i)
            QCOMPARE(u16(h, 404 + 2 * i), receiver.at(i).unicode());
        QCOMPARE(u32(h, 912), 10u);
        QCOMPARE(u32(h, 916), 2u);
        QCOMPARE(u32(h, 924), 1u);
        QCOMPARE(u32(h, 932), 1u);

        // Every byte outside the written fields is zero.
        QVector<bool> named(1024, false);
        const auto mark = [&](int from, int size) {
            for (int i = from; i < from + size; ++i)
                named[i] = true;
        };
        mark(24, 8);
        mark(96, 2 * number.size());
        mark(160, 4);
        mark(168, 4);
        mark(176, 32);
        mark(404, 2 * receiver.size());
        mark(864, 48);
        mark(912, 8);
        mark(924, 4);
        mark(932, 4);
        for (int i = 0; i < 1024; ++i)
            if (!named[i] && h[i] != 0)
                QFAIL(qPrintable(QStringLiteral("byte %1 is %2").arg(i).arg(int(uchar(h[i])))));
    }

    void unsetTimesAndSwitches()
    {
        Fax fax;
        fax.cid = QStringLiteral("1");
        const QByteArray h = FaxRecordUtil::writeUploadHeader(fax, QDateTime(QDate(2024, 3, 10), QTime(0, 0), Qt::UTC));
        QCOMPARE(timeBlock(h, 176).mid(0, 4), (QList<int> { 2024, 3, 7, 10 })); // Sunday is 7
        for (int offset : { 192, 864 })
            QCOMPARE(timeBlock(h, offset), (QList<int> { 0, 0, 0, 0, -1, -1, -1, -1 }));
        for (int offset : { 880, 896 })
            QCOMPARE(timeBlock(h, offset), (QList<int> { 0, 0, 0, 0, -1, -1, -1, -1 }));
        QCOMPARE(u16(h, 864 + 8), quint16(0xFFFF));
        QCOMPARE(u32(h, 924), 0u);
        QCOMPARE(u32(h, 932), 0u);
        QCOMPARE(u16(h, 404), quint16(0));
    }

    void numberFieldLimits()
    {
        Fax fax;
        const QString digits = QStringLiteral("12345678901234567890123456789012");
        fax.cid = digits;
        fax.pageTotal = 7;
        QByteArray h = FaxRecordUtil::writeUploadHeader(fax, QDateTime::currentDateTimeUtc());
        for (int i = 0; i < 32; ++i)
            QCOMPARE(u16(h, 96 + 2 * i), quint16(digits.at(i).unicode()));
        QCOMPARE(u32(h, 160), 7u); // the next field is untouched

        // One unit more is refused: a cut number would reach another party.
        fax.cid = digits + QLatin1Char('3');
        QVERIFY(FaxRecordUtil::writeUploadHeader(fax, QDateTime::currentDateTimeUtc()).isEmpty());
        QVERIFY(!FaxRecordUtil::numberFits(fax.cid));

        // Non-ASCII: each UTF-8 byte takes a unit, so 16 two-byte characters fill the field.
        fax.cid = QString(16, QChar(0x0661));
        h = FaxRecordUtil::writeUploadHeader(fax, QDateTime::currentDateTimeUtc());
        QVERIFY(!h.isEmpty());
        QCOMPARE(u16(h, 96), quint16(0xD9));
        QCOMPARE(u16(h, 98), quint16(0xA1));
        QCOMPARE(u16(h, 96 + 62), quint16(0xA1));
        fax.cid = QString(17, QChar(0x0661));
        QVERIFY(FaxRecordUtil::writeUploadHeader(fax, QDateTime::currentDateTimeUtc()).isEmpty());
    }

    void longRecipientNameIsCutBeforeTheSenderField()
    {
        Fax fax;
        fax.cid = QStringLiteral("1");
        fax.receiver = QString(300, QChar(0x4E2D));
        QByteArray h = FaxRecordUtil::writeUploadHeader(fax, QDateTime::currentDateTimeUtc());
        QCOMPARE(u16(h, 404 + 2 * 31), quint16(0x4E2D));
        for (int i = 0x1D4; i < 0x360; ++i)
            QCOMPARE(int(h[i]), 0);

        // A surrogate pair that would be split at the cut goes whole.
        fax.receiver = QString(31, QLatin1Char('a')) + QString::fromUcs4(U"\U0001F600") + QStringLiteral("b");
        h = FaxRecordUtil::writeUploadHeader(fax, QDateTime::currentDateTimeUtc());
        QCOMPARE(u16(h, 404 + 2 * 30), quint16('a'));
        QCOMPARE(u16(h, 404 + 2 * 31), quint16(0));
    }

    void statusRecordFields()
    {
        QByteArray r(1024, '\0');
        put32(r, 24, 6);
        put32(r, 160, 9);
        put32(r, 164, 4);
        put32(r, 168, 3);
        put32(r, 172, 2);
        const QList<int> time { 2024, 3, 2, 5, 4, 7, 9, 0 };
        for (int i = 0; i < 8; ++i)
            put16(r, 176 + 2 * i, quint16(time.at(i)));
        const QByteArray issue = QStringLiteral("忙音 busy").toUtf8();
        for (int i = 0; i < issue.size(); ++i)
            put16(r, 212 + 2 * i, uchar(issue[i]));
        put32(r, 852, 45);
        put32(r, 856, 3);
        put32(r, 860, 14400);
        put32(r, 0x398, 83);

        Fax fax;
        fax.id = 17;
        fax.remark = QStringLiteral("kept");
        QVERIFY(FaxRecordUtil::readStatusRecord(r, fax));
        QCOMPARE(fax.status, 6);
        QCOMPARE(fax.pageTotal, 9);
        QCOMPARE(fax.pageSended, 4);
        QCOMPARE(fax.dialTotal, 3);
        QCOMPARE(fax.dialAlready, 2);
        QCOMPARE(fax.time, localOf(QDateTime(QDate(2024, 3, 5), QTime(4, 7, 9), Qt::UTC)));
        QCOMPARE(fax.issue, QStringLiteral("忙音 busy"));
        QCOMPARE(fax.pagePercent, 45);
        QCOMPARE(fax.sendState, 3);
        QCOMPARE(fax.trainingValue, 14400);
        QCOMPARE(fax.duration, 83);
        QCOMPARE(fax.id, 17);
        QCOMPARE(fax.remark, QStringLiteral("kept"));
    }

    void issueOfFullWidthAndNoTime()
    {
        QByteArray r(1024, '\0');
        for (int i = 0; i < 140; ++i) // runs on past the 128 units that belong to the text
            put16(r, 212 + 2 * i, 'x');
        Fax fax;
        fax.time = QStringLiteral("2020-01-01 00:00:00");
        QVERIFY(FaxRecordUtil::readStatusRecord(r, fax));
        QCOMPARE(fax.issue, QString(128, QLatin1Char('x')));
        QCOMPARE(fax.time, QStringLiteral("2020-01-01 00:00:00")); // no date in the record
    }

    void shortRecordIsNoRecord()
    {
        QByteArray r(1024, '\0');
        put32(r, 24, 2);
        Fax fax;
        fax.status = 6;
        fax.issue = QStringLiteral("before");
        QVERIFY(!FaxRecordUtil::readStatusRecord(r.left(1023), fax));
        QVERIFY(!FaxRecordUtil::readStatusRecord(QByteArray(), fax));
        QCOMPARE(fax.status, 6);
        QCOMPARE(fax.issue, QStringLiteral("before"));

        Fax entry;
        entry.taskID = 5;
        QVERIFY(!FaxRecordUtil::readListRecord(r.left(600), entry));
        QCOMPARE(entry.taskID, 5);
    }

    void listRecordFields()
    {
        QByteArray r(1024, '\0');
        put32(r, 4, 321);
        put32(r, 8, 0xAB);
        put32(r, 20, 0x1F2E);
        put32(r, 24, 2);
        put32(r, 28, 4);
        putText(r, 32, QStringLiteral("90123"));
        putText(r, 96, QString(32, QLatin1Char('7'))); // full: must not take in the page total
        put32(r, 160, 3);
        put32(r, 168, 5);
        put32(r, 172, 1);
        const QList<int> time { 2023, 12, 7, 31, 23, 30, 0, 0 };
        for (int i = 0; i < 8; ++i)
            put16(r, 176 + 2 * i, quint16(time.at(i)));
        putText(r, 404, QString(32, QChar(0x6536)));
        putText(r, 468, QStringLiteral("发件人"));
        putText(r, 596, QString(200, QLatin1Char('r'))); // would run past the record's end
        put32(r, 860, 9600);
        put32(r, 920, 61);
        put32(r, 940, 2);

        Fax fax;
        QVERIFY(FaxRecordUtil::readListRecord(r, fax));
        QCOMPARE(fax.taskID, 321);
        QCOMPARE(fax.file, QStringLiteral("000000AB"));
        QCOMPARE(fax.serverID, QStringLiteral("1F2E"));
        QCOMPARE(fax.status, 2);
        QCOMPARE(fax.priority, 4);
        QCOMPARE(fax.numberDialled, QStringLiteral("90123"));
        QCOMPARE(fax.cid, QString(32, QLatin1Char('7')));
        QCOMPARE(fax.dialTotal, 5);
        QCOMPARE(fax.dialAlready, 1);
        QCOMPARE(fax.time, localOf(QDateTime(QDate(2023, 12, 31), QTime(23, 30), Qt::UTC)));
        QCOMPARE(fax.receiver, QString(32, QChar(0x6536)));
        QCOMPARE(fax.sender, QStringLiteral("发件人"));
        QCOMPARE(fax.remark.size(), 128);
        QCOMPARE(fax.trainingValue, 9600);
        QCOMPARE(fax.duration, 61);
        QCOMPARE(fax.line, 2);
    }
};

VELKOR_TEST_MAIN(TestFaxRecordUtil)
#include "TestFaxRecordUtil.moc"

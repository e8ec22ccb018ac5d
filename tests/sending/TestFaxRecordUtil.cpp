#include "FaxRecordUtil.h"
#include "TestSupport.h"
#include "TimeUtil.h"

#include <QtEndian>

// Byte positions are written out here, not taken from the class's constants, so that a wrong
// constant shows. The header's ordinary fields reach the device stand-in in TestFaxUpload;
// here the edges.
namespace {

int u16(const QByteArray& b, int offset) { return qFromLittleEndian<quint16>(b.constData() + offset); }

QList<int> units(const QByteArray& b, int offset, int count)
{
    QList<int> list;
    for (int i = 0; i < count; ++i)
        list << int(qint16(u16(b, offset + 2 * i)));
    return list;
}

// A record of 1024 bytes with 32-bit values (or, for text, 16-bit units) at the offsets.
QByteArray record(const QList<QPair<int, QVariant>>& fields)
{
    QByteArray r(1024, '\0');
    for (const auto& f : fields) {
        if (f.second.type() == QVariant::String) {
            const QString text = f.second.toString();
            for (int i = 0; i < text.size() && f.first + 2 * i < 1024; ++i)
                qToLittleEndian<quint16>(text.at(i).unicode(), r.data() + f.first + 2 * i);
        } else if (f.second.type() == QVariant::List) {
            const QVariantList list = f.second.toList();
            for (int i = 0; i < list.size(); ++i)
                qToLittleEndian<quint16>(quint16(list[i].toInt()), r.data() + f.first + 2 * i);
        } else {
            qToLittleEndian<quint32>(f.second.toUInt(), r.data() + f.first);
        }
    }
    return r;
}

QString local(const QDateTime& utc) { return utc.toLocalTime().toString(TimeUtil::FORMAT); }

} // namespace

class TestFaxRecordUtil : public QObject
{
    Q_OBJECT

private slots:
    void uploadHeaderEdges()
    {
        Fax fax;
        fax.cid = QStringLiteral("1");
        QByteArray h = FaxRecordUtil::writeUploadHeader(fax, QDateTime(QDate(2024, 3, 10), QTime(0, 0), Qt::UTC));
        QCOMPARE(units(h, 176, 4), (QList<int> { 2024, 3, 7, 10 })); // Sunday is 7
        // Unset plan, stop and window times: no date, -1 for the clock.
        for (int offset : { 192, 864, 880, 896 })
            QCOMPARE(units(h, offset, 8), (QList<int> { 0, 0, 0, 0, -1, -1, -1, -1 }));
        QCOMPARE(units(h, 924, 1) + units(h, 932, 1) + units(h, 404, 1), (QList<int> { 0, 0, 0 }));

        // 32 units of number fit and leave the page total alone; one more is refused, since a
        // cut number would reach another party.
        fax.cid = QStringLiteral("1234567890").repeated(4).left(32);
        fax.pageTotal = 7;
        h = FaxRecordUtil::writeUploadHeader(fax, QDateTime::currentDateTimeUtc());
        QCOMPARE(units(h, 96 + 62, 1) + units(h, 160, 1), (QList<int> { '2', 7 }));
        fax.cid += QLatin1Char('3');
        QVERIFY(FaxRecordUtil::writeUploadHeader(fax, QDateTime::currentDateTimeUtc()).isEmpty());
        QVERIFY(!FaxRecordUtil::numberFits(fax.cid));
        // Each UTF-8 byte takes a unit, so 16 two-byte characters fill the field.
        fax.cid = QString(16, QChar(0x0661));
        h = FaxRecordUtil::writeUploadHeader(fax, QDateTime::currentDateTimeUtc());
        QCOMPARE(units(h, 96, 2) + units(h, 96 + 62, 1), (QList<int> { 0xD9, 0xA1, 0xA1 }));
        fax.cid = QString(17, QChar(0x0661));
        QVERIFY(FaxRecordUtil::writeUploadHeader(fax, QDateTime::currentDateTimeUtc()).isEmpty());

        // A long recipient name is cut before the sender's field; a surrogate pair goes whole.
        fax.cid = QStringLiteral("1");
        fax.receiver = QString(300, QChar(0x4E2D));
        h = FaxRecordUtil::writeUploadHeader(fax, QDateTime::currentDateTimeUtc());
        QCOMPARE(u16(h, 404 + 62), 0x4E2D);
        QCOMPARE(h.mid(0x1D4, 0x360 - 0x1D4), QByteArray(0x360 - 0x1D4, '\0'));
        fax.receiver = QString(31, QLatin1Char('a')) + QString::fromUcs4(U"\U0001F600") + QStringLiteral("b");
        h = FaxRecordUtil::writeUploadHeader(fax, QDateTime::currentDateTimeUtc());
        QCOMPARE(units(h, 404 + 60, 2), (QList<int> { 'a', 0 }));
    }

    void statusRecord()
    {
        QVariantList issue;
        for (char c : QStringLiteral("忙音 busy").toUtf8())
            issue << int(uchar(c));
        const QByteArray r = record({ { 24, 6 }, { 160, 9 }, { 164, 4 }, { 168, 3 }, { 172, 2 },
            { 176, QVariantList { 2024, 3, 2, 5, 4, 7, 9, 0 } }, { 212, issue }, { 852, 45 }, { 856, 3 }, { 860, 14400 },
            { 0x398, 83 } });
        Fax fax;
        fax.id = 17;
        fax.remark = QStringLiteral("kept");
        QVERIFY(FaxRecordUtil::readStatusRecord(r, fax));
        QCOMPARE((QVariantList { fax.status, fax.pageTotal, fax.pageSended, fax.dialTotal, fax.dialAlready, fax.time,
                     fax.issue, fax.pagePercent, fax.sendState, fax.trainingValue, fax.duration, fax.id, fax.remark }),
            (QVariantList { 6, 9, 4, 3, 2, local(QDateTime(QDate(2024, 3, 5), QTime(4, 7, 9), Qt::UTC)), "忙音 busy", 45,
                3, 14400, 83, 17, "kept" }));

        // The text runs on past its 128 units; no date keeps the time; a short record is none.
        Fax other;
        other.time = QStringLiteral("2020-01-01 00:00:00");
        QVERIFY(FaxRecordUtil::readStatusRecord(record({ { 212, QString(140, 'x') } }), other));
        QCOMPARE(other.issue + other.time, QString(128, 'x') + "2020-01-01 00:00:00");
        other.status = 6;
        other.taskID = 5;
        QVERIFY(!FaxRecordUtil::readStatusRecord(r.left(1023), other));
        QVERIFY(!FaxRecordUtil::readStatusRecord(QByteArray(), other));
        QCOMPARE(other.status, 6);
        QVERIFY(!FaxRecordUtil::readListRecord(r.left(600), other));
        QCOMPARE(other.taskID, 5);
    }

    void listRecord()
    {
        const QByteArray r = record({ { 4, 321 }, { 8, 0xAB }, { 20, 0x1F2E }, { 24, 2 }, { 28, 4 }, { 32, "90123" },
            { 96, QString(32, '7') }, // full: must not take in the page total
            { 160, 3 }, { 168, 5 }, { 172, 1 }, { 176, QVariantList { 2023, 12, 7, 31, 23, 30, 0, 0 } },
            { 404, QString(32, QChar(0x6536)) }, { 468, "发件人" },
            { 596, QString(200, 'r') }, // would run past the record's end
            { 860, 9600 }, { 920, 61 }, { 940, 2 } });
        Fax fax;
        QVERIFY(FaxRecordUtil::readListRecord(r, fax));
        QCOMPARE((QVariantList { fax.taskID, fax.file, fax.serverID, fax.status, fax.priority, fax.numberDialled, fax.cid,
                     fax.dialTotal, fax.dialAlready, fax.time, fax.receiver, fax.sender, fax.remark.size(),
                     fax.trainingValue, fax.duration, fax.line }),
            (QVariantList { 321, "000000AB", "1F2E", 2, 4, "90123", QString(32, '7'), 5, 1,
                local(QDateTime(QDate(2023, 12, 31), QTime(23, 30), Qt::UTC)), QString(32, QChar(0x6536)), "发件人", 128,
                9600, 61, 2 }));
    }
};

VELKOR_TEST_MAIN(TestFaxRecordUtil)
#include "TestFaxRecordUtil.moc"

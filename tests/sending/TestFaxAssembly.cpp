#include "ConnectionPool.h"
#include "DatabaseManager.h"
#include "FaxStatus.h"
#include "MGlobal.h"
#include "SendFaxController.h"
#include "SendFaxThread.h"
#include "TestSupport.h"
#include "TiffUtil.h"
#include "TimeUtil.h"

#include <QApplication>
#include <QDir>
#include <QSignalSpy>
#include <QSqlQuery>

namespace {

Device storedDevice(const QString& productID, const QString& account)
{
    Device d;
    d.deviceName = account;
    d.productID = productID;
    d.localIP = QStringLiteral("127.0.0.31");
    DatabaseManager db;
    db.inseretDevice(d);
    return db.queryDevice(d.productID);
}

QList<FaxPage> pages(int count)
{
    QList<FaxPage> list;
    for (int i = 0; i < count; ++i) {
        FaxPage page;
        page.image = QImage(1728, 2200, QImage::Format_RGB32);
        page.image.fill(Qt::white);
        page.image.setPixel(10 + i, 10, qRgb(0, 0, 0));
        list.append(page);
    }
    return list;
}

QString faxFolder(const Device& d)
{
    return TestSupport::documentsPath() + gUser.nickname + "/" + d.productID + "/FaxFile/";
}

QStringList tiffsIn(const QString& folder)
{
    return QDir(folder).entryList({ QStringLiteral("*.tif") }, QDir::Files, QDir::Name);
}

// Runs assembly on a worker of the test's thread and returns what it handed back.
QList<Fax> assemble(QString recipients, QList<FaxPage> list, QList<Device> devices, FaxOption option = FaxOption())
{
    SendFaxThread worker;
    QList<Fax> result;
    bool emitted = false;
    QObject::connect(&worker, &SendFaxThread::returnFaxList, [&](QList<Fax>& faxes) {
        result = faxes;
        emitted = true;
    });
    QString remark = QStringLiteral("备注");
    worker.transfromFax(recipients, remark, list, option, devices);
    if (!emitted)
        qWarning("returnFaxList was not emitted");
    return result;
}

QList<QVariantList> storedRows()
{
    QList<QVariantList> rows;
    QSqlQuery q(ConnectionPool::openConnection());
    q.exec(QStringLiteral("SELECT id, status, cid, receiver, sender, filepath, taskID, tag, pageTotal, device_id, "
                          "remark, time FROM FAXES ORDER BY id"));
    while (q.next()) {
        QVariantList row;
        for (int i = 0; i < 12; ++i)
            row << q.value(i);
        rows << row;
    }
    return rows;
}

} // namespace

class TestFaxAssembly : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
    }

    void cleanup() { QCoreApplication::sendPostedEvents(); } // finished threads give back their connections

    void sharingOfRecipients()
    {
        QCOMPARE(SendFaxThread::shareOut(5, 2), (QList<int> { 3, 2 }));
        QCOMPARE(SendFaxThread::shareOut(2, 3), (QList<int> { 1, 1, 0 }));
        QCOMPARE(SendFaxThread::shareOut(7, 3), (QList<int> { 3, 2, 2 }));
        QCOMPARE(SendFaxThread::shareOut(4, 0), QList<int>());
    }

    void recipientForms_data()
    {
        QTest::addColumn<QString>("entry");
        QTest::addColumn<bool>("named");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("number");
        QTest::newRow("plain") << "12345" << false << ""
                               << "12345";
        QTest::newRow("named") << "王五<0755-1234>" << true << "王五"
                               << "0755-1234";
        QTest::newRow("no closing mark") << "a<1" << false << ""
                                         << "a<1";
        QTest::newRow("empty name") << "<123>" << true << ""
                                    << "123";
        QTest::newRow("close before open") << "x>9<5" << false << ""
                                           << "x>9<5";
    }

    void recipientForms()
    {
        QFETCH(QString, entry);
        QFETCH(bool, named);
        QString name = QStringLiteral("stale");
        QString number;
        const bool expected = named;
        named = !expected;
        SendFaxThread::parseRecipient(entry, name, number, named);
        QCOMPARE(named, expected);
        QTEST(name, "name");
        QTEST(number, "number");
    }

    void fiveRecipientsOverTwoDevices()
    {
        const Device a = storedDevice(QStringLiteral("AAA1"), QStringLiteral("alice"));
        const Device b = storedDevice(QStringLiteral("BBB2"), QStringLiteral("bob"));
        Contact contact;
        contact.represented = QStringLiteral("通讯录名");
        contact.houseFax = QStringLiteral("222");
        DatabaseManager().addContact(contact);

        FaxOption option;
        option.dialogTotal = 3;
        option.priority = 4;
        option.quality = 2;
        option.retryTime = 5;
        option.disableHeader = true;
        option.planEnabled = false;
        option.dateTimePlan = QDateTime::currentDateTime().addDays(1); // off: not taken
        option.stopEnabled = true;
        option.dateTimeStop = QDateTime(QDate(2030, 1, 2), QTime(3, 4, 5));
        option.windowEnabled = true;
        option.timeFrom = QTime(8, 0);
        option.timeTo = QTime(17, 0);

        const QList<Fax> faxes = assemble(QStringLiteral("111;222;甲<333>;;444;<555>;"), pages(2), { a, b }, option);
        QCOMPARE(faxes.size(), 5);
        // Priority, quality, dial count and retry time reach the upload header in
        // TestSendAndOptions; here the ones that test does not set.

        // Devices a and b each have one file holding both pages.
        const QStringList filesA = tiffsIn(faxFolder(a));
        const QStringList filesB = tiffsIn(faxFolder(b));
        QCOMPARE(filesA.size(), 1);
        QCOMPARE(filesB.size(), 1);
        QCOMPARE(filesA.first(), faxes.first().time + ".tif");
        QCOMPARE(filesB.first(), filesA.first());
        QCOMPARE(TiffUtil::getTiffPage(faxFolder(a) + filesA.first()), 2);
        QVERIFY(QDir(faxFolder(a)).entryList(QDir::Files | QDir::Hidden).size() == 1); // no staging left

        const QStringList numbers { "111", "222", "333", "444", "555" };
        const QStringList names { "", "通讯录名", "甲", "", "" };
        for (int i = 0; i < 5; ++i) {
            const Fax& fax = faxes.at(i);
            const Device& d = i < 3 ? a : b;
            QCOMPARE(fax.cid, numbers.at(i));
            QCOMPARE(fax.receiver, names.at(i));
            QCOMPARE(fax.sender, d.deviceName);
            QCOMPARE(fax.serverID, d.productID);
            QCOMPARE(fax.filepath, faxFolder(d) + (i < 3 ? filesA : filesB).first());
            QCOMPARE(fax.status, int(FaxStatus::SEND_FAX_WAITTING));
            QCOMPARE(fax.taskID, 0);
            QCOMPARE(fax.tag, 1);
            QCOMPARE(fax.pageTotal, 2);
            QVERIFY(fax.disableHeader);
            QVERIFY(!fax.dateTimePlan.isValid());
            QCOMPARE(fax.dateTimeStop, option.dateTimeStop);
            QCOMPARE(fax.timeFrom, QTime(8, 0));
            QCOMPARE(fax.timeTo, QTime(17, 0));
            QCOMPARE(fax.time, faxes.first().time);
            QVERIFY(fax.id > 0);
        }

        // Stored as handed back; the columns themselves are TestDatabaseManager's.
        const QList<QVariantList> rows = storedRows();
        QCOMPARE(rows.size(), 5);
        for (int i = 0; i < 5; ++i) {
            QCOMPARE(rows[i][0].toInt(), faxes[i].id);
            QCOMPARE(rows[i][9].toInt(), i < 3 ? a.id : b.id);
        }
    }

    void deviceWithoutRecipientsGetsNoFile()
    {
        const Device a = storedDevice(QStringLiteral("AAA1"), QStringLiteral("alice"));
        const Device b = storedDevice(QStringLiteral("BBB2"), QStringLiteral("bob"));
        const Device c = storedDevice(QStringLiteral("CCC3"), QStringLiteral("carol"));
        const QList<Fax> faxes = assemble(QStringLiteral(";;12345;67890"), pages(1), { a, b, c });
        QCOMPARE(faxes.size(), 2);
        QCOMPARE(faxes[0].serverID, a.productID);
        QCOMPARE(faxes[1].serverID, b.productID);
        QCOMPARE(tiffsIn(faxFolder(c)).size(), 0);
        QCOMPARE(storedRows().size(), 2);
    }

    void noDeviceNoFileNoRow()
    {
        QVERIFY(assemble(QStringLiteral("1;2"), pages(1), {}).isEmpty());
        QCOMPARE(storedRows().size(), 0);
    }

    void sameSecondNeverReplacesAFile()
    {
        const Device a = storedDevice(QStringLiteral("AAA1"), QStringLiteral("alice"));
        // Another job holds the names of the coming seconds already.
        QDir().mkpath(faxFolder(a));
        const QDateTime now = QDateTime::currentDateTime();
        for (int s = 0; s < 5; ++s) {
            QFile other(faxFolder(a) + now.addSecs(s).toString(TimeUtil::FORMAT) + ".tif");
            QVERIFY(other.open(QIODevice::WriteOnly));
            other.write("earlier job");
        }

        const QList<Fax> faxes = assemble(QStringLiteral("1"), pages(3), { a });
        QCOMPARE(faxes.size(), 1);
        const QString ordinary = faxFolder(a) + faxes[0].time + ".tif";
        QCOMPARE(faxes[0].filepath, faxFolder(a) + faxes[0].time + "_1.tif");
        QCOMPARE(TiffUtil::getTiffPage(faxes[0].filepath), 3);
        QFile kept(ordinary);
        QVERIFY(kept.open(QIODevice::ReadOnly));
        QCOMPARE(kept.readAll(), QByteArray("earlier job"));
    }

    void concurrentJobsOnTwoWindowsKeepTheirFiles()
    {
        // Two editors, each with its own controller and thread, send to one device at once.
        const Device a = storedDevice(QStringLiteral("AAA1"), QStringLiteral("alice"));
        QList<Fax> results[4];
        {
            SendFaxController controllers[4];
            for (int i = 0; i < 4; ++i)
                connect(&controllers[i], &SendFaxController::returnFaxList, this,
                    [&results, i](QList<Fax>& faxes) { results[i] = faxes; });
            for (int i = 0; i < 4; ++i) {
                QString recipients = QStringLiteral("%1").arg(100 + i);
                QString remark;
                QList<FaxPage> list = pages(i + 1);
                FaxOption option;
                QList<Device> devices { a };
                emit controllers[i].transformFax(recipients, remark, list, option, devices);
            }
            QTRY_VERIFY_WITH_TIMEOUT(
                !results[0].isEmpty() && !results[1].isEmpty() && !results[2].isEmpty() && !results[3].isEmpty(),
                30000);
        }
        QSet<QString> paths;
        for (int i = 0; i < 4; ++i) {
            paths.insert(results[i][0].filepath);
            QCOMPARE(TiffUtil::getTiffPage(results[i][0].filepath), i + 1);
        }
        QCOMPARE(paths.size(), 4);
        QCOMPARE(tiffsIn(faxFolder(a)).size(), 4);
    }
};

VELKOR_TEST_MAIN(TestFaxAssembly)
#include "TestFaxAssembly.moc"

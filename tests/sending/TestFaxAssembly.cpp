#include "ConnectionPool.h"
#include "DatabaseManager.h"
#include "FaxStatus.h"
#include "MGlobal.h"
#include "SendFaxController.h"
#include "SendFaxThread.h"
#include "TestSupport.h"
#include "TiffUtil.h"
#include "TimeUtil.h"

#include <QDir>
#include <QSqlQuery>

namespace {

Device storedDevice(const QString& productID, const QString& account)
{
    Device d;
    d.deviceName = account;
    d.productID = productID;
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

QString faxFolder(const Device& d) { return TestSupport::documentsPath() + gUser.nickname + "/" + d.productID + "/FaxFile/"; }

QStringList filesIn(const Device& d) { return QDir(faxFolder(d)).entryList(QDir::Files | QDir::Hidden, QDir::Name); }

// Runs assembly on a worker of the test's thread and returns what it handed back.
QList<Fax> assemble(QString recipients, QList<FaxPage> list, QList<Device> devices, FaxOption option = FaxOption())
{
    SendFaxThread worker;
    QList<Fax> result;
    QObject::connect(&worker, &SendFaxThread::returnFaxList, [&](QList<Fax>& faxes) { result = faxes; });
    QString remark = QStringLiteral("备注");
    worker.transfromFax(recipients, remark, list, option, devices);
    return result;
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

    void recipientForms_data()
    {
        QTest::addColumn<QString>("entry");
        QTest::addColumn<bool>("named");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("number");
        QTest::newRow("plain") << "12345" << false << "" << "12345";
        QTest::newRow("named") << "王五<0755-1234>" << true << "王五" << "0755-1234";
        QTest::newRow("no closing mark") << "a<1" << false << "" << "a<1";
        QTest::newRow("empty name") << "<123>" << true << "" << "123";
        QTest::newRow("close before open") << "x>9<5" << false << "" << "x>9<5";
    }

    void recipientForms()
    {
        QFETCH(QString, entry);
        QFETCH(bool, named);
        QString name = QStringLiteral("stale"), number;
        bool wasNamed = !named;
        SendFaxThread::parseRecipient(entry, name, number, wasNamed);
        QCOMPARE(wasNamed, named);
        QTEST(name, "name");
        QTEST(number, "number");
        // Recipients are shared out over the devices, the first ones taking the remainder.
        QCOMPARE(SendFaxThread::shareOut(7, 3) + SendFaxThread::shareOut(2, 3) + SendFaxThread::shareOut(4, 0),
            (QList<int> { 3, 2, 2, 1, 1, 0 }));
    }

    void fiveRecipientsOverThreeDevices()
    {
        const Device a = storedDevice(QStringLiteral("AAA1"), QStringLiteral("alice"));
        const Device b = storedDevice(QStringLiteral("BBB2"), QStringLiteral("bob"));
        const Device c = storedDevice(QStringLiteral("CCC3"), QStringLiteral("carol"));
        Contact contact;
        contact.represented = QStringLiteral("通讯录名");
        contact.houseFax = QStringLiteral("222");
        DatabaseManager().addContact(contact);
        // Priority, quality, dial count and retry time reach the upload header in TestSendAndOptions.
        FaxOption option;
        option.disableHeader = true;
        option.planEnabled = false;
        option.dateTimePlan = QDateTime::currentDateTime().addDays(1); // off: not taken
        option.stopEnabled = true;
        option.dateTimeStop = QDateTime(QDate(2030, 1, 2), QTime(3, 4, 5));
        option.windowEnabled = true;
        option.timeFrom = QTime(8, 0);
        option.timeTo = QTime(17, 0);

        const QList<Fax> faxes = assemble(QStringLiteral("111;222;甲<333>;;444;<555>;"), pages(2), { a, b, c }, option);
        QCOMPARE(faxes.size(), 5);
        // Each device with recipients has one file holding both pages, named by the time; the
        // third device (2 + 2 + 1) gets one. No staging file is left.
        const QString name = faxes[0].time + ".tif";
        QCOMPARE(filesIn(a) + filesIn(b) + filesIn(c), (QStringList { name, name, name }));
        QCOMPARE(TiffUtil::getTiffPage(faxFolder(a) + name), 2);
        QStringList rows;
        for (const Fax& f : faxes) {
            rows << QStringList { f.cid, f.receiver, f.sender, f.serverID, f.filepath, QString::number(f.status),
                        QString::number(f.taskID), QString::number(f.tag), QString::number(f.pageTotal),
                        QString::number(f.disableHeader), QString::number(f.dateTimePlan.isValid()),
                        f.dateTimeStop.toString(), f.timeFrom.toString() + f.timeTo.toString(), f.time }
                        .join('|');
            QVERIFY(f.id > 0);
        }
        const auto row = [&](const QString& cid, const QString& receiver, const Device& d) {
            return QStringList { cid, receiver, d.deviceName, d.productID, faxFolder(d) + name, "5", "0", "1", "2", "1", "0",
                option.dateTimeStop.toString(), "08:00:0017:00:00", faxes[0].time }
                .join('|');
        };
        QCOMPARE(rows, (QStringList { row("111", "", a), row("222", "通讯录名", a), row("333", "甲", b), row("444", "", b),
                           row("555", "", c) }));
        // Stored as handed back, each for its own device.
        QSqlQuery q(ConnectionPool::openConnection());
        QVERIFY(q.exec(QStringLiteral("SELECT id, device_id FROM FAXES ORDER BY id")));
        for (int i = 0; i < 5 && q.next(); ++i)
            QCOMPARE(q.value(0).toInt() * 100 + q.value(1).toInt(), faxes[i].id * 100 + (i < 2 ? a.id : i < 4 ? b.id : c.id));
        QVERIFY(!q.next());
        // A device without recipients gets no file; no device, no file and no row.
        QCOMPARE(assemble(QStringLiteral("9;8"), pages(1), { a, b, c }).size(), 2);
        QCOMPARE(filesIn(c).size(), 1);
        QVERIFY(assemble(QStringLiteral("1;2"), pages(1), {}).isEmpty());
        QCOMPARE(DatabaseManager().querySendFaxes().size(), 7);
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
        QCOMPARE(faxes[0].filepath, faxFolder(a) + faxes[0].time + "_1.tif");
        QCOMPARE(TiffUtil::getTiffPage(faxes[0].filepath), 3);
        QFile kept(faxFolder(a) + faxes[0].time + ".tif");
        QVERIFY(kept.open(QIODevice::ReadOnly));
        QCOMPARE(kept.readAll(), QByteArray("earlier job"));
    }

    void concurrentJobsOnFourWindowsKeepTheirFiles()
    {
        // Editors, each with its own controller and thread, send to one device at once.
        const Device a = storedDevice(QStringLiteral("AAA1"), QStringLiteral("alice"));
        QList<Fax> results[4];
        {
            SendFaxController controllers[4];
            for (int i = 0; i < 4; ++i) {
                connect(&controllers[i], &SendFaxController::returnFaxList, this,
                    [&results, i](QList<Fax>& faxes) { results[i] = faxes; });
                QString recipients = QString::number(100 + i), remark;
                QList<FaxPage> list = pages(i + 1);
                FaxOption option;
                QList<Device> devices { a };
                emit controllers[i].transformFax(recipients, remark, list, option, devices);
            }
            QTRY_VERIFY_WITH_TIMEOUT(!results[0].isEmpty() && !results[1].isEmpty() && !results[2].isEmpty()
                    && !results[3].isEmpty(), 30000);
        }
        QSet<QString> paths;
        for (int i = 0; i < 4; ++i) {
            paths.insert(results[i][0].filepath);
            QCOMPARE(TiffUtil::getTiffPage(results[i][0].filepath), i + 1);
        }
        QCOMPARE(paths.size(), 4);
        QCOMPARE(filesIn(a).size(), 4);
    }
};

VELKOR_TEST_MAIN(TestFaxAssembly)
#include "TestFaxAssembly.moc"

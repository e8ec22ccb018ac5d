#include "ConnectionPool.h"
#include "DatabaseManager.h"
#include "FileUtil.h"
#include "MGlobal.h"
#include "TestSupport.h"

#include <QApplication>
#include <QFile>
#include <QSet>
#include <QSqlQuery>
#include <QtTest>


namespace {

const QString kInjection = QStringLiteral("' OR '1'='1");

Device makeDevice(const QString& productID, const QString& name = QStringLiteral("admin"))
{
    Device device;
    device.deviceName = name;
    device.devicePassword = QString(128, QLatin1Char('a'));
    device.productID = productID;
    device.localIP = QStringLiteral("192.168.1.20");
    device.remoteIP = QStringLiteral("203.0.113.5");
    device.serverName = QStringLiteral("Front desk");
    device.extNumber = QStringLiteral("801");
    device.permission = 5;
    return device;
}

// Stores the device for the current user and reads it back with its id.
Device storeDevice(const QString& productID, const QString& name = QStringLiteral("admin"))
{
    DatabaseManager db;
    Device device = makeDevice(productID, name);
    if (!db.inseretDevice(device))
        return Device();
    QString id = productID;
    return db.queryDevice(id);
}

Fax makeFax(int tag, const QString& cid, const QString& time, int taskID = 0, int status = 5)
{
    Fax fax;
    fax.tag = tag;
    fax.cid = cid;
    fax.time = time;
    fax.taskID = taskID;
    fax.status = status;
    fax.pageTotal = 2;
    fax.sender = QStringLiteral("sender-") + cid;
    fax.serverID = QStringLiteral("P1");
    fax.filepath = QStringLiteral("/tmp/none.tif");
    return fax;
}

int storeFax(Fax fax, int deviceId)
{
    DatabaseManager db;
    return db.insertFax(fax, deviceId);
}

QSet<int> ids(const QList<Fax>& faxes)
{
    QSet<int> set;
    for (const Fax& fax : faxes)
        set.insert(fax.id);
    return set;
}

Contact fullContact(const QString& mark)
{
    Contact c;
    QString* fields[] = {&c.firstName, &c.lastName, &c.represented, &c.company, &c.department, &c.job, &c.businessFax, &c.houseFax,
                         &c.otherFax, &c.businessNumber, &c.houseNumber, &c.mobile, &c.code, &c.address, &c.email, &c.remark};
    int n = 0;
    for (QString* field : fields)
        *field = QStringLiteral("f%1-%2").arg(n++).arg(mark);
    c.contact_type_id = 7;
    return c;
}

} // namespace

class TestDatabaseManager : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
    }

    void missingTablesGiveEmptyResults()
    {
        TestSupport::freshHome(); // no createTables this time
        DatabaseManager db;
        QString name = QStringLiteral("nobody");
        QVERIFY(!db.insertUser(name, name));
        QCOMPARE(db.loginUser(name, name).id, 0);
        QVERIFY(db.queryDevices().isEmpty());
        QCOMPARE(db.queryDevice(name).id, 0);
        Fax fax;
        QCOMPARE(db.insertFax(fax, 1), 0);
        QVERIFY(db.queryReceiveFaxes().isEmpty());
        Contact contact;
        QVERIFY(!db.addContact(contact));
        QCOMPARE(contact.id, 0);
        QVERIFY(!db.queryContactTypeHasContact(1));
    }

    void deviceRoundTrip()
    {
        DatabaseManager db;
        Device stored = storeDevice(QStringLiteral("P'1"), QStringLiteral("bob's"));
        QVERIFY(stored.id > 0);
        QCOMPARE(stored.deviceName, QStringLiteral("bob's"));
        QCOMPARE(stored.productID, QStringLiteral("P'1"));
        QCOMPARE(stored.devicePassword.size(), 128);
        QCOMPARE(stored.serverName, QStringLiteral("Front desk"));
        QCOMPARE(stored.localIP, QStringLiteral("192.168.1.20"));
        QCOMPARE(stored.remoteIP, QStringLiteral("203.0.113.5"));
        // queryDevice leaves these at their defaults; queryDevices reads them.
        QCOMPARE(stored.extNumber, QString());
        QCOMPARE(stored.permission, 0);
        // taskID was never written: NULL reads as empty text, i.e. task 0.
        QVERIFY(stored.taskID.isEmpty());
        QCOMPARE(stored.taskID.toInt(), 0);

        const QList<Device> all = db.queryDevices();
        QCOMPARE(all.size(), 1);
        QCOMPARE(all[0].id, stored.id);
        QCOMPARE(all[0].extNumber, QStringLiteral("801"));
        QCOMPARE(all[0].permission, 5);
        QVERIFY(all[0].taskID.isEmpty());

        // A device typed by hand has no display name yet; empty text still satisfies NOT NULL.
        Device bare;
        bare.deviceName = QStringLiteral("admin");
        bare.devicePassword = QStringLiteral("x");
        bare.productID = QStringLiteral("BARE");
        QVERIFY(db.inseretDevice(bare));
        QString bareID = bare.productID;
        QVERIFY(db.queryDevice(bareID).id > 0);
    }

    void deviceUpdatesKeepStatusInMemoryOnly()
    {
        DatabaseManager db;
        Device device = storeDevice(QStringLiteral("P1"));
        device.remoteIP = QStringLiteral("198.51.100.7");
        device.internetPort = 4001;
        db.updateDeviceRemoteIP(device);
        device.connectStatus = 2;
        db.updateDeviceConnectStatus(device);
        device.localIP = QStringLiteral("10.0.0.9");
        device.serverName = QStringLiteral("Back office");
        db.updateDevice(device);
        device.deviceName = QStringLiteral("o'brien");
        device.devicePassword = QStringLiteral("x'y");
        device.extNumber = QStringLiteral("0802");
        device.permission = 9;
        db.updateDeviceName(device);
        device.taskID = QStringLiteral("42");
        db.updateDeviceMaxTaskID(device);

        QString productID = QStringLiteral("P1");
        const Device one = db.queryDevice(productID);
        QCOMPARE(one.remoteIP, QStringLiteral("198.51.100.7"));
        QCOMPARE(one.localIP, QStringLiteral("10.0.0.9"));
        QCOMPARE(one.serverName, QStringLiteral("Back office"));
        QCOMPARE(one.deviceName, QStringLiteral("o'brien"));
        QCOMPARE(one.devicePassword, QStringLiteral("x'y"));
        QCOMPARE(one.taskID, QStringLiteral("42"));
        QCOMPARE(one.internetPort, 4001);
        QCOMPARE(one.connectStatus, 0);

        const Device listed = db.queryDevices().value(0);
        QCOMPARE(listed.internetPort, 4001);
        QCOMPARE(listed.connectStatus, 0);
        QCOMPARE(listed.extNumber, QStringLiteral("0802"));
        QCOMPARE(listed.permission, 9);

        device.localIP = QStringLiteral("10.0.0.10");
        db.updateDeviceLocalIP(device);
        QCOMPARE(db.queryDevice(productID).localIP, QStringLiteral("10.0.0.10"));
    }

    void queryDeviceUnknownOrDuplicated()
    {
        DatabaseManager db;
        QString unknown = QStringLiteral("NOPE");
        const Device none = db.queryDevice(unknown);
        QVERIFY(none.deviceName.isEmpty());
        QCOMPARE(none.id, 0);
        QCOMPARE(none.internetPort, 3001);

        QString injection = kInjection;
        storeDevice(QStringLiteral("P1"));
        QCOMPARE(db.queryDevice(injection).id, 0);

        // Several rows for one productID: the last one is returned.
        storeDevice(QStringLiteral("P1"), QStringLiteral("second"));
        QString productID = QStringLiteral("P1");
        QCOMPARE(db.queryDevice(productID).deviceName, QStringLiteral("second"));
    }

    void devicesAndFaxesArePerUser()
    {
        DatabaseManager db;
        const User alice = gUser;
        const Device aliceDevice = storeDevice(QStringLiteral("PA"));
        const int aliceRecv = storeFax(makeFax(0, "100", "2024-01-01 10:00:00", 1, 11), aliceDevice.id);
        const int aliceSent = storeFax(makeFax(1, "200", "2024-01-01 10:00:00", 7, 6), aliceDevice.id);
        Fax aliceDeletedFax = makeFax(0, "300", "2024-01-01 10:00:00", 8, 11);
        aliceDeletedFax.isDelete = 1;
        const int aliceDeleted = storeFax(aliceDeletedFax, aliceDevice.id);

        TestSupport::loginTestUser(QStringLiteral("bob"));
        const User bob = gUser;
        QVERIFY(bob.id != alice.id);
        const Device bobDevice = storeDevice(QStringLiteral("PB"));
        const int bobRecv = storeFax(makeFax(0, "100", "2024-01-01 10:00:00", 1, 11), bobDevice.id);
        const int bobSent = storeFax(makeFax(1, "200", "2024-01-01 10:00:00", 7, 6), bobDevice.id);
        Fax bobDeletedFax = makeFax(1, "300", "2024-01-01 10:00:00", 8, 2);
        bobDeletedFax.isDelete = 1;
        const int bobDeleted = storeFax(bobDeletedFax, bobDevice.id);

        const auto check = [&](const User& user, const Device& device, int recv, int sent, int deleted,
                               const QString& otherProduct) {
            gUser = user;
            const QList<Device> devices = db.queryDevices();
            QCOMPARE(devices.size(), 1);
            QCOMPARE(devices[0].id, device.id);
            QString own = device.productID;
            QCOMPARE(db.queryDevice(own).id, device.id);
            QString other = otherProduct;
            QCOMPARE(db.queryDevice(other).id, 0);
            QCOMPARE(ids(db.queryReceiveFaxes()), QSet<int>{recv});
            QCOMPARE(ids(db.querySendFaxes()), QSet<int>{sent});
            QCOMPARE(ids(db.queryDeleteFaxes()), QSet<int>{deleted});
            QCOMPARE(ids(db.queryUploadingFax()), QSet<int>{sent});
            QCOMPARE(db.queryFaxByTaskID(7).id, sent);
            QCOMPARE(db.queryFaxByTaskID(1).id, recv);
        };
        check(alice, aliceDevice, aliceRecv, aliceSent, aliceDeleted, bobDevice.productID);
        check(bob, bobDevice, bobRecv, bobSent, bobDeleted, aliceDevice.productID);

        // Device updates are scoped too: bob cannot change alice's device through its id.
        gUser = bob;
        Device foreign = aliceDevice;
        foreign.localIP = QStringLiteral("6.6.6.6");
        foreign.taskID = QStringLiteral("99");
        db.updateDeviceLocalIP(foreign);
        db.updateDeviceMaxTaskID(foreign);
        gUser = alice;
        QString productID = aliceDevice.productID;
        const Device unchanged = db.queryDevice(productID);
        QCOMPARE(unchanged.localIP, aliceDevice.localIP);
        QVERIFY(unchanged.taskID.isEmpty());
    }

    void uploadingFaxFilter()
    {
        DatabaseManager db;
        const Device device = storeDevice(QStringLiteral("P1"));
        const int tracked = storeFax(makeFax(1, "1", "2024-01-01 10:00:00", 5, 6), device.id);
        const int queued = storeFax(makeFax(1, "2", "2024-01-01 11:00:00", 6, 5), device.id);
        storeFax(makeFax(1, "3", "2024-01-01 12:00:00", 0, 5), device.id);  // not yet accepted
        storeFax(makeFax(1, "4", "2024-01-01 12:00:00", 9, 1), device.id);  // failed
        storeFax(makeFax(1, "5", "2024-01-01 12:00:00", 10, 2), device.id); // sent
        storeFax(makeFax(0, "6", "2024-01-01 12:00:00", 11, 11), device.id); // received
        Fax deleted = makeFax(1, "7", "2024-01-01 12:00:00", 12, 6);
        deleted.isDelete = 1;
        storeFax(deleted, device.id);
        Device marked = device;
        marked.taskID = QStringLiteral("17");
        db.updateDeviceMaxTaskID(marked);

        const QList<Fax> faxes = db.queryUploadingFax();
        QCOMPARE(faxes.size(), 2);
        QCOMPARE(faxes[0].id, queued); // newest first
        QCOMPARE(faxes[1].id, tracked);
        const Fax& fax = faxes[1];
        QCOMPARE(fax.taskID, 5);
        QCOMPARE(fax.status, 6);
        QCOMPARE(fax.d_id, device.id);
        QCOMPARE(fax.deviceName, device.deviceName);
        QCOMPARE(fax.devicePassword, device.devicePassword);
        QCOMPARE(fax.serverName, device.serverName);
        QCOMPARE(fax.localIP, device.localIP);
        QCOMPARE(fax.remoteIP, device.remoteIP);
        QCOMPARE(fax.productID, device.productID);
        QCOMPARE(fax.maxTaskID, QStringLiteral("17"));
    }

    void faxRoundTripAndUpdates()
    {
        DatabaseManager db;
        const Device device = storeDevice(QStringLiteral("P1"));
        Fax fax = makeFax(1, "555'1", "2024-02-02 08:00:00");
        fax.remark = QStringLiteral("it's urgent");
        fax.receiver = QStringLiteral("d'Arcy");
        fax.dialTotal = 3;
        fax.priority = 2;
        fax.id = db.insertFax(fax, device.id);
        QVERIFY(fax.id > 0);
        Fax copy = fax;
        copy.time = QStringLiteral("2024-02-01 08:00:00");
        QCOMPARE(db.insertFax(copy, device.id), fax.id + 1);

        Fax read = db.querySendFaxes().value(0);
        QCOMPARE(read.id, fax.id);
        QCOMPARE(read.remark, fax.remark);
        QCOMPARE(read.receiver, fax.receiver);
        QCOMPARE(read.cid, fax.cid);
        QCOMPARE(read.dialTotal, 3);
        QCOMPARE(read.priority, 2);
        QCOMPARE(read.pageTotal, 2);
        QCOMPARE(read.status, 5);

        // The worker's update after a status record; text with quotes is bound, not spliced.
        fax.taskID = 33;
        db.updateFaxTaskID(fax);
        fax.time = QStringLiteral("2024-02-02 09:00:00");
        fax.status = 6;
        fax.issue = QStringLiteral("line's busy");
        fax.priority = 4;
        fax.dialAlready = 2;
        fax.pageSended = 1;
        fax.remark = QStringLiteral("'); DROP TABLE FAXES; --");
        db.updateSendFax(fax);
        read = db.queryFaxByTaskID(33);
        QCOMPARE(read.id, fax.id);
        QCOMPARE(read.time, fax.time);
        QCOMPARE(read.status, 6);
        QCOMPARE(read.issue, fax.issue);
        QCOMPARE(read.remark, fax.remark);
        QCOMPARE(read.priority, 4);
        read = db.querySendFaxes().value(0);
        QCOMPARE(read.dialAlready, 2);
        QCOMPARE(read.pageSended, 1);
    }

    void deletedFolderMoves()
    {
        DatabaseManager db;
        const Device device = storeDevice(QStringLiteral("P1"));
        Fax a = makeFax(0, "1", "2024-01-01 10:00:00");
        Fax b = makeFax(1, "2", "2024-01-01 11:00:00");
        Fax c = makeFax(0, "3", "2024-01-01 12:00:00");
        a.id = db.insertFax(a, device.id);
        b.id = db.insertFax(b, device.id);
        c.id = db.insertFax(c, device.id);

        QVERIFY(db.deleteFax(a));
        QList<Fax> pair{b, c};
        QVERIFY(db.deleteFaxList(pair));
        QVERIFY(db.queryReceiveFaxes().isEmpty());
        QVERIFY(db.querySendFaxes().isEmpty());
        const QList<Fax> bin = db.queryDeleteFaxes();
        QCOMPARE(bin.size(), 3);
        QCOMPARE(bin[0].id, c.id); // newest first
        QCOMPARE(bin[2].id, a.id);
        QCOMPARE(bin[1].tag, 1);

        db.restoreFax(b);
        QCOMPARE(ids(db.querySendFaxes()), QSet<int>{b.id});
        QVERIFY(db.permanentlyDelete(c));
        QCOMPARE(ids(db.queryDeleteFaxes()), QSet<int>{a.id});
    }

    void insertFaxesInOneTransaction()
    {
        DatabaseManager db;
        const Device device = storeDevice(QStringLiteral("P1"));
        QList<Fax> received;
        for (int i = 1; i <= 3; ++i) {
            Fax fax = makeFax(0, QString::number(i), QStringLiteral("2024-03-0%1 10:00:00").arg(i), 100 + i, 11);
            fax.file = QStringLiteral("fax'%1.tif").arg(i);
            fax.receiver = QStringLiteral("recv");
            fax.remark = QStringLiteral("n'%1").arg(i);
            received.append(fax);
        }
        QVERIFY(db.insertFaxes(received, device.id));
        QVERIFY(db.insertFaxes(QList<Fax>(), device.id));

        const QList<Fax> faxes = db.queryReceiveFaxes();
        QCOMPARE(faxes.size(), 3);
        for (int i = 0; i < 3; ++i) {
            const Fax& fax = faxes[i];
            const Fax& sent = received[2 - i];
            QCOMPARE(fax.taskID, sent.taskID);
            QCOMPARE(fax.file, sent.file);
            QCOMPARE(fax.cid, sent.cid);
            QCOMPARE(fax.remark, sent.remark);
            QCOMPARE(fax.receiver, sent.receiver);
            QCOMPARE(fax.status, 11);
            QCOMPARE(fax.pageTotal, 2);
        }
        // The transaction is closed: a later plain statement commits on its own.
        Fax later = makeFax(0, "9", "2024-04-01 10:00:00");
        QVERIFY(db.insertFax(later, device.id) > 0);
        TestSupport::dropDatabaseConnections();
        QCOMPARE(db.queryReceiveFaxes().size(), 4);
    }

    void contactJoinAndRepresented()
    {
        DatabaseManager db;
        const Device device = storeDevice(QStringLiteral("P1"));
        Contact first = fullContact("1");
        first.businessFax = QStringLiteral("5550");
        first.represented = QStringLiteral("Ann's office");
        Contact second = fullContact("2");
        second.houseFax = QStringLiteral("5550");
        second.represented = QStringLiteral("Ben");
        Contact blank = fullContact("3");
        blank.otherFax = QStringLiteral("7770");
        blank.represented = QString();
        QVERIFY(db.addContact(first));
        QVERIFY(db.addContact(second));
        QVERIFY(db.addContact(blank));

        const int shared = storeFax(makeFax(0, "5550", "2024-01-01 10:00:00"), device.id);
        const int unnamed = storeFax(makeFax(0, "7770", "2024-01-01 09:00:00"), device.id);
        const int stranger = storeFax(makeFax(0, "9999", "2024-01-01 08:00:00"), device.id);

        // Two contacts share the number: the fax comes twice, once per contact.
        const QList<Fax> inbox = db.queryReceiveFaxes();
        QCOMPARE(inbox.size(), 4);
        QCOMPARE(inbox[0].id, shared);
        QCOMPARE(inbox[1].id, shared);
        QCOMPARE((QSet<QString>{inbox[0].sender, inbox[1].sender}), (QSet<QString>{"Ann's office", "Ben"}));
        QCOMPARE(inbox[2].id, unnamed);
        QCOMPARE(inbox[2].sender, QStringLiteral("sender-7770"));
        QCOMPARE(inbox[3].id, stranger);
        QCOMPARE(inbox[3].sender, QStringLiteral("sender-9999"));

        Fax named = makeFax(1, "7770", "2024-01-02 10:00:00");
        named.receiver = QStringLiteral("Typed name");
        const int namedId = storeFax(named, device.id);
        Fax open = makeFax(1, "5550", "2024-01-02 09:00:00");
        const int openId = storeFax(open, device.id);
        first.otherFax = QStringLiteral("7770");
        QVERIFY(db.updateContact(first));
        const QList<Fax> outbox = db.querySendFaxes();
        QCOMPARE(outbox.size(), 4);
        QCOMPARE(outbox[0].id, namedId);
        QCOMPARE(outbox[1].id, namedId);
        QCOMPARE(outbox[0].receiver, QStringLiteral("Typed name"));
        QCOMPARE(outbox[1].receiver, QStringLiteral("Typed name"));
        QCOMPARE(outbox[2].id, openId);
        QCOMPARE((QSet<QString>{outbox[2].receiver, outbox[3].receiver}), (QSet<QString>{"Ann's office", "Ben"}));
        QCOMPARE(outbox[0].sender, QStringLiteral("sender-7770")); // the sender of a sent fax is never replaced
    }

    void deleteDeviceRemovesFaxesNotFiles()
    {
        DatabaseManager db;
        const Device gone = storeDevice(QStringLiteral("P1"));
        const Device kept = storeDevice(QStringLiteral("P2"));
        const QString path = FileUtil::createFile(QStringLiteral("tester/P1/FaxFile/"), QStringLiteral("in.tif"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("II*\0", 4);
        file.close();
        Fax fax = makeFax(0, "1", "2024-01-01 10:00:00");
        fax.filepath = path;
        storeFax(fax, gone.id);
        storeFax(makeFax(1, "2", "2024-01-01 10:00:00"), gone.id);
        const int survivor = storeFax(makeFax(0, "3", "2024-01-01 10:00:00"), kept.id);

        Device target = gone;
        QVERIFY(db.deleteDevice(target));
        QCOMPARE(db.queryDevices().size(), 1);
        QCOMPARE(db.queryDevices()[0].id, kept.id);
        QCOMPARE(ids(db.queryReceiveFaxes()), QSet<int>{survivor});
        QVERIFY(db.querySendFaxes().isEmpty());
        QVERIFY(QFile::exists(path));
        // The rows themselves are gone, not merely hidden by the missing device.
        QSqlQuery rows(ConnectionPool::openConnection());
        QVERIFY(rows.prepare(QStringLiteral("SELECT count(*) FROM FAXES WHERE device_id = ?")));
        rows.addBindValue(gone.id);
        QVERIFY(rows.exec() && rows.next());
        QCOMPARE(rows.value(0).toInt(), 0);

        Device other = kept;
        QVERIFY(db.nativeDeleteFax(other));
        QVERIFY(db.queryReceiveFaxes().isEmpty());
        QCOMPARE(db.queryDevices().size(), 1);
    }

    // The dialogs' tests store, change, find and delete contacts and types through the store;
    // here what no dialog shows: every local account sees the same address book, and a number
    // is bound, not spliced.
    void contactsAreSharedAndLookedUpBound()
    {
        DatabaseManager db;
        Contact quoted = fullContact("'q");
        QVERIFY(db.addContact(quoted));
        QString injection = kInjection;
        QCOMPARE(db.findContactByFaxNumber(injection).id, 0);
        TestSupport::loginTestUser(QStringLiteral("other"));
        QString number = quoted.houseFax;
        QCOMPARE(db.findContactByFaxNumber(number).id, quoted.id);
        QCOMPARE(db.queryContacts().size(), 1);
    }
};

VELKOR_TEST_MAIN(TestDatabaseManager)
#include "TestDatabaseManager.moc"

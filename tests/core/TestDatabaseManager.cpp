#include "ConnectionPool.h"
#include "DatabaseManager.h"
#include "FileUtil.h"
#include "MGlobal.h"
#include "TestSupport.h"

#include <QFile>
#include <QSet>
#include <QSqlQuery>
#include <QThread>

namespace {

const QString kInjection = QStringLiteral("' OR '1'='1");

// Stores the device for the current user and reads it back with its id.
Device storeDevice(const QString& productID, const QString& name = QStringLiteral("admin"))
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
    DatabaseManager db;
    QString id = productID;
    return db.inseretDevice(device) ? db.queryDevice(id) : Device();
}

QString deviceRow(const Device& d)
{
    return QStringList { d.deviceName, d.devicePassword.left(3), d.productID, d.localIP, d.remoteIP, d.serverName,
        d.extNumber, QString::number(d.permission), d.taskID, QString::number(d.internetPort),
        QString::number(d.connectStatus) }
        .join('|');
}

Fax makeFax(int tag, const QString& cid, const QString& time, int taskID = 0, int status = 5, int isDelete = 0)
{
    Fax fax;
    fax.tag = tag;
    fax.cid = cid;
    fax.time = time;
    fax.taskID = taskID;
    fax.status = status;
    fax.isDelete = isDelete;
    fax.pageTotal = 2;
    fax.sender = QStringLiteral("sender-") + cid;
    fax.serverID = QStringLiteral("P1");
    fax.filepath = QStringLiteral("/tmp/none.tif");
    return fax;
}

int storeFax(Fax fax, int deviceId) { return DatabaseManager().insertFax(fax, deviceId); }

QList<int> ids(const QList<Fax>& faxes)
{
    QList<int> list;
    for (const Fax& fax : faxes)
        list << fax.id;
    return list;
}

Contact contact(const QString& represented, QString Contact::*number, const QString& fax)
{
    Contact c;
    c.firstName = c.lastName = c.company = c.remark = QStringLiteral("x'") + represented;
    c.represented = represented;
    c.*number = fax;
    return c;
}

// Opens a connection on a thread of its own; returns its name, empty when it did not answer.
QString useOnNewThread(std::unique_ptr<QThread>* keep = nullptr)
{
    QString name;
    std::unique_ptr<QThread> thread(QThread::create([&name] {
        QSqlDatabase db = ConnectionPool::openConnection();
        QSqlQuery query(db);
        if (query.exec(QStringLiteral("SELECT 41 + 1")) && query.next() && query.value(0).toInt() == 42)
            name = db.connectionName();
    }));
    thread->start();
    thread->wait();
    if (keep)
        *keep = std::move(thread);
    return name;
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
        Fax fax;
        QCOMPARE(db.insertFax(fax, 1), 0);
        Contact c;
        QVERIFY(!db.addContact(c));
        QVERIFY(!db.queryContactTypeHasContact(1));
    }

    void connectionsPerThread()
    {
        const int before = ConnectionPool::createdCount();
        QSqlDatabase first = ConnectionPool::openConnection();
        QCOMPARE(first.databaseName(), TestSupport::documentsPath() + QStringLiteral("velkor.db"));
        first.close(); // a closed connection is opened again, not replaced
        QCOMPARE(ConnectionPool::openConnection().connectionName(), first.connectionName());
        QVERIFY(ConnectionPool::openConnection().isOpen());
        QCOMPARE(ConnectionPool::openConnection(QStringLiteral("_x")).connectionName(), first.connectionName() + "_x");
        QCOMPARE(ConnectionPool::createdCount(), before + 1);

        // Each living thread has its own; both stay alive, so their addresses differ.
        std::unique_ptr<QThread> keepA, keepB;
        const QString a = useOnNewThread(&keepA), b = useOnNewThread(&keepB);
        QVERIFY(!a.isEmpty() && !b.isEmpty() && a != b && a != first.connectionName());
        // Gone as soon as the thread has ended: a thread started at the same address must not find it.
        QVERIFY(!QSqlDatabase::contains(a) && !QSqlDatabase::contains(b));
        QVERIFY(!useOnNewThread().isEmpty());
        QCOMPARE(ConnectionPool::createdCount(), before + 4);
        QVERIFY(QSqlDatabase::contains(first.connectionName()));
    }

    void devices()
    {
        DatabaseManager db;
        Device stored = storeDevice(QStringLiteral("P'1"), QStringLiteral("bob's"));
        QVERIFY(stored.id > 0);
        // queryDevice leaves extension and permission at their defaults; queryDevices reads them.
        QCOMPARE(deviceRow(stored), QStringLiteral("bob's|aaa|P'1|192.168.1.20|203.0.113.5|Front desk||0||3001|0"));
        QCOMPARE(deviceRow(db.queryDevices().value(0)),
            QStringLiteral("bob's|aaa|P'1|192.168.1.20|203.0.113.5|Front desk|801|5||3001|0"));

        // Port and connection state live in memory only.
        stored.remoteIP = QStringLiteral("198.51.100.7");
        stored.internetPort = 4001;
        db.updateDeviceRemoteIP(stored);
        stored.connectStatus = 2;
        db.updateDeviceConnectStatus(stored);
        stored.localIP = QStringLiteral("10.0.0.9");
        stored.serverName = QStringLiteral("Back office");
        db.updateDevice(stored);
        stored.deviceName = QStringLiteral("o'brien");
        stored.devicePassword = QStringLiteral("x'y");
        stored.extNumber = QStringLiteral("0802");
        stored.permission = 9;
        db.updateDeviceName(stored);
        stored.taskID = QStringLiteral("42");
        db.updateDeviceMaxTaskID(stored);
        QCOMPARE(deviceRow(db.queryDevices().value(0)),
            QStringLiteral("o'brien|x'y|P'1|10.0.0.9|198.51.100.7|Back office|0802|9|42|3001|0"));
        stored.localIP = QStringLiteral("10.0.0.10");
        db.updateDeviceLocalIP(stored);
        QString id = QStringLiteral("P'1");
        QCOMPARE(db.queryDevice(id).localIP, QStringLiteral("10.0.0.10"));

        QString unknown = kInjection;
        QCOMPARE(db.queryDevice(unknown).id, 0);
        // Several rows for one identity: the last one is returned.
        storeDevice(QStringLiteral("P'1"), QStringLiteral("second"));
        QCOMPARE(db.queryDevice(id).deviceName, QStringLiteral("second"));
        // A device typed by hand has no display name yet; empty text still satisfies NOT NULL.
        Device bare;
        bare.deviceName = bare.devicePassword = bare.productID = QStringLiteral("BARE");
        QVERIFY(db.inseretDevice(bare));
    }

    void devicesAndFaxesArePerUser()
    {
        DatabaseManager db;
        const User alice = gUser;
        const Device aliceDevice = storeDevice(QStringLiteral("PA"));
        const QList<int> aliceFaxes = { storeFax(makeFax(0, "100", "2024-01-01 10:00:00", 1, 11), aliceDevice.id),
            storeFax(makeFax(1, "200", "2024-01-01 10:00:00", 7, 6), aliceDevice.id),
            storeFax(makeFax(0, "300", "2024-01-01 10:00:00", 8, 11, 1), aliceDevice.id) };
        TestSupport::loginTestUser(QStringLiteral("bob"));
        const User bob = gUser;
        const Device bobDevice = storeDevice(QStringLiteral("PB"));
        const QList<int> bobFaxes = { storeFax(makeFax(0, "100", "2024-01-01 10:00:00", 1, 11), bobDevice.id),
            storeFax(makeFax(1, "200", "2024-01-01 10:00:00", 7, 6), bobDevice.id),
            storeFax(makeFax(1, "300", "2024-01-01 10:00:00", 8, 2, 1), bobDevice.id) };

        for (int i = 0; i < 2; ++i) {
            gUser = i ? bob : alice;
            const Device& own = i ? bobDevice : aliceDevice;
            const QList<int>& faxes = i ? bobFaxes : aliceFaxes;
            QString other = (i ? aliceDevice : bobDevice).productID;
            QCOMPARE((QList<int> { db.queryDevices().value(0).id, db.queryDevices().size() }), (QList<int> { own.id, 1 }));
            QCOMPARE(db.queryDevice(other).id, 0);
            QCOMPARE(ids(db.queryReceiveFaxes()) + ids(db.querySendFaxes()) + ids(db.queryDeleteFaxes())
                    + ids(db.queryUploadingFax()),
                faxes + QList<int> { faxes[1] });
            QCOMPARE(db.queryFaxByTaskID(7).id, faxes[1]);
            QCOMPARE(db.queryFaxByTaskID(1).id, faxes[0]);
        }
        // Device updates are scoped too: bob cannot change alice's device through its id.
        Device foreign = aliceDevice;
        foreign.localIP = QStringLiteral("6.6.6.6");
        foreign.taskID = QStringLiteral("99");
        db.updateDeviceLocalIP(foreign);
        db.updateDeviceMaxTaskID(foreign);
        gUser = alice;
        QCOMPARE(db.queryDevices().value(0).localIP + db.queryDevices().value(0).taskID, aliceDevice.localIP);
    }

    void uploadingFaxFilter()
    {
        DatabaseManager db;
        Device device = storeDevice(QStringLiteral("P1"));
        const int tracked = storeFax(makeFax(1, "1", "2024-01-01 10:00:00", 5, 6), device.id);
        const int queued = storeFax(makeFax(1, "2", "2024-01-01 11:00:00", 6, 5), device.id);
        storeFax(makeFax(1, "3", "2024-01-01 12:00:00", 0, 5), device.id);  // not yet accepted
        storeFax(makeFax(1, "4", "2024-01-01 12:00:00", 9, 1), device.id);  // failed
        storeFax(makeFax(1, "5", "2024-01-01 12:00:00", 10, 2), device.id); // sent
        storeFax(makeFax(0, "6", "2024-01-01 12:00:00", 11, 11), device.id); // received
        storeFax(makeFax(1, "7", "2024-01-01 12:00:00", 12, 6, 1), device.id); // deleted
        device.taskID = QStringLiteral("17");
        db.updateDeviceMaxTaskID(device);

        const QList<Fax> faxes = db.queryUploadingFax();
        QCOMPARE(ids(faxes), (QList<int> { queued, tracked })); // newest first
        const Fax& f = faxes[1];
        QCOMPARE((QStringList { QString::number(f.taskID), QString::number(f.status), QString::number(f.d_id),
                     f.deviceName, f.devicePassword, f.serverName, f.localIP, f.remoteIP, f.productID, f.maxTaskID }),
            (QStringList { "5", "6", QString::number(device.id), device.deviceName, device.devicePassword,
                device.serverName, device.localIP, device.remoteIP, device.productID, "17" }));
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
        Fax copy = fax;
        copy.time = QStringLiteral("2024-02-01 08:00:00");
        QCOMPARE(db.insertFax(copy, device.id), fax.id + 1);
        const auto row = [](const Fax& f) {
            return QStringList { QString::number(f.id), f.remark, f.receiver, f.cid, f.time, f.issue,
                QString::number(f.dialTotal), QString::number(f.priority), QString::number(f.pageTotal),
                QString::number(f.status), QString::number(f.dialAlready), QString::number(f.pageSended) };
        };
        QCOMPARE(row(db.querySendFaxes().value(0)), row(fax));

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
        const Fax byTask = db.queryFaxByTaskID(33);
        QCOMPARE((QStringList { QString::number(byTask.id), byTask.time, byTask.issue, byTask.remark,
                     QString::number(byTask.status), QString::number(byTask.priority) }),
            (QStringList { QString::number(fax.id), fax.time, fax.issue, fax.remark, "6", "4" }));
        QCOMPARE(row(db.querySendFaxes().value(0)), row(fax));
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
        QList<Fax> pair { b, c };
        QVERIFY(db.deleteFaxList(pair));
        QVERIFY(db.queryReceiveFaxes().isEmpty() && db.querySendFaxes().isEmpty());
        QCOMPARE(ids(db.queryDeleteFaxes()), (QList<int> { c.id, b.id, a.id })); // newest first
        QCOMPARE(db.queryDeleteFaxes()[1].tag, 1);
        db.restoreFax(b);
        QCOMPARE(ids(db.querySendFaxes()), QList<int> { b.id });
        QVERIFY(db.permanentlyDelete(c));
        QCOMPARE(ids(db.queryDeleteFaxes()), QList<int> { a.id });
    }

    void insertFaxesInOneTransaction()
    {
        DatabaseManager db;
        const Device device = storeDevice(QStringLiteral("P1"));
        QList<Fax> received;
        QStringList expected;
        for (int i = 1; i <= 3; ++i) {
            Fax fax = makeFax(0, QString::number(i), QStringLiteral("2024-03-0%1 10:00:00").arg(i), 100 + i, 11);
            fax.file = QStringLiteral("fax'%1.tif").arg(i);
            fax.receiver = QStringLiteral("recv");
            fax.remark = QStringLiteral("n'%1").arg(i);
            received.append(fax);
            expected.prepend(QStringList { QString::number(100 + i), fax.file, fax.cid, fax.remark, "recv|11|2" }.join('|'));
        }
        QVERIFY(db.insertFaxes(received, device.id));
        QVERIFY(db.insertFaxes(QList<Fax>(), device.id));
        QStringList rows;
        for (const Fax& f : db.queryReceiveFaxes())
            rows << QStringList { QString::number(f.taskID), f.file, f.cid, f.remark, f.receiver,
                        QString::number(f.status), QString::number(f.pageTotal) }
                        .join('|');
        QCOMPARE(rows, expected);
        // The transaction is closed: a later plain statement commits on its own.
        QVERIFY(storeFax(makeFax(0, "9", "2024-04-01 10:00:00"), device.id) > 0);
        TestSupport::dropDatabaseConnections();
        QCOMPARE(db.queryReceiveFaxes().size(), 4);
    }

    void contactJoinAndRepresented()
    {
        DatabaseManager db;
        const Device device = storeDevice(QStringLiteral("P1"));
        Contact ann = contact(QStringLiteral("Ann's office"), &Contact::businessFax, QStringLiteral("5550"));
        Contact ben = contact(QStringLiteral("Ben"), &Contact::houseFax, QStringLiteral("5550"));
        Contact blank = contact(QString(), &Contact::otherFax, QStringLiteral("7770"));
        QVERIFY(db.addContact(ann) && db.addContact(ben) && db.addContact(blank));
        const int shared = storeFax(makeFax(0, "5550", "2024-01-01 10:00:00"), device.id);
        const int unnamed = storeFax(makeFax(0, "7770", "2024-01-01 09:00:00"), device.id);
        const int stranger = storeFax(makeFax(0, "9999", "2024-01-01 08:00:00"), device.id);
        const auto shown = [](const QList<Fax>& faxes, bool sent) {
            QStringList rows;
            for (const Fax& f : faxes)
                rows << QString::number(f.id) + ':' + (sent ? f.receiver : f.sender);
            return rows;
        };
        // Two contacts share the number: the fax comes twice, once per contact.
        QStringList inbox = shown(db.queryReceiveFaxes(), false);
        std::sort(inbox.begin(), inbox.begin() + 2);
        QCOMPARE(inbox, (QStringList { QStringLiteral("%1:Ann's office").arg(shared), QStringLiteral("%1:Ben").arg(shared),
                            QStringLiteral("%1:sender-7770").arg(unnamed), QStringLiteral("%1:sender-9999").arg(stranger) }));

        Fax named = makeFax(1, "7770", "2024-01-02 10:00:00");
        named.receiver = QStringLiteral("Typed name");
        const int namedId = storeFax(named, device.id);
        const int openId = storeFax(makeFax(1, "5550", "2024-01-02 09:00:00"), device.id);
        ann.otherFax = QStringLiteral("7770");
        QVERIFY(db.updateContact(ann));
        QStringList outbox = shown(db.querySendFaxes(), true);
        std::sort(outbox.begin() + 2, outbox.end());
        QCOMPARE(outbox, (QStringList { QStringLiteral("%1:Typed name").arg(namedId), QStringLiteral("%1:Typed name").arg(namedId),
                             QStringLiteral("%1:Ann's office").arg(openId), QStringLiteral("%1:Ben").arg(openId) }));
        QCOMPARE(db.querySendFaxes()[0].sender, QStringLiteral("sender-7770")); // never replaced for a sent fax

        // Every local account sees the same address book; a number is bound, not spliced.
        Contact quoted = contact(QStringLiteral("Q"), &Contact::houseFax, QStringLiteral("31'4"));
        QVERIFY(db.addContact(quoted));
        QString injection = kInjection, number = quoted.houseFax;
        QCOMPARE(db.findContactByFaxNumber(injection).id, 0);
        TestSupport::loginTestUser(QStringLiteral("other"));
        QCOMPARE(db.findContactByFaxNumber(number).id, quoted.id);
        QCOMPARE(db.queryContacts().size(), 4);
    }

    void deleteDeviceRemovesFaxesNotFiles()
    {
        DatabaseManager db;
        Device gone = storeDevice(QStringLiteral("P1"));
        Device kept = storeDevice(QStringLiteral("P2"));
        const QString path = FileUtil::createFile(QStringLiteral("tester/P1/FaxFile/"), QStringLiteral("in.tif"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        Fax fax = makeFax(0, "1", "2024-01-01 10:00:00");
        fax.filepath = path;
        storeFax(fax, gone.id);
        storeFax(makeFax(1, "2", "2024-01-01 10:00:00"), gone.id);
        const int survivor = storeFax(makeFax(0, "3", "2024-01-01 10:00:00"), kept.id);

        QVERIFY(db.deleteDevice(gone));
        QCOMPARE((QList<int> { db.queryDevices().value(0).id, db.queryDevices().size() }), (QList<int> { kept.id, 1 }));
        QCOMPARE(ids(db.queryReceiveFaxes() + db.querySendFaxes()), QList<int> { survivor });
        QVERIFY(QFile::exists(path));
        // The rows themselves are gone, not merely hidden by the missing device.
        QSqlQuery rows(ConnectionPool::openConnection());
        QVERIFY(rows.exec(QStringLiteral("SELECT count(*) FROM FAXES")) && rows.next());
        QCOMPARE(rows.value(0).toInt(), 1);
        QVERIFY(db.nativeDeleteFax(kept));
        QVERIFY(db.queryReceiveFaxes().isEmpty());
        QCOMPARE(db.queryDevices().size(), 1);
    }
};

VELKOR_TEST_MAIN(TestDatabaseManager)
#include "TestDatabaseManager.moc"

#include "AppSettings.h"
#include "Controller.h"
#include "DeviceProtocol.h"
#include "FaxStatus.h"
#include "FolderTestData.h"
#include "MD5Util.h"
#include "MessageBoxUtil.h"
#include "ReceiveBoxWidget.h"
#include "ReceiveFaxThread.h"
#include "SimTestSupport.h"
#include "TestSupport.h"

#include <QMenu>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTimer>

using namespace FolderTestData;

namespace {

// The stand-in with two faxes after task 1001, bound by the user with that mark.
std::unique_ptr<DeviceSimRunner> boundSim(const QString& address, int* deviceId)
{
    Scenario s;
    s.address = address;
    s.discovery = false;
    for (int i = 0; i < 2; ++i) {
        SimReceivedFax fax;
        fax.task = quint32(1002 + i);
        fax.cid = QStringLiteral("555%1").arg(i);
        s.received << fax;
    }
    Device device;
    device.deviceName = QStringLiteral("admin");
    device.devicePassword = MD5Util::call128MD5(QByteArrayLiteral("admin"));
    device.productID = s.serverId;
    device.localIP = address;
    DatabaseManager db;
    db.inseretDevice(device);
    device = db.queryDevice(s.serverId);
    device.taskID = QStringLiteral("1001");
    db.updateDeviceMaxTaskID(device);
    *deviceId = device.id;
    AppSettings::userConfig()->setValue(AppSettings::KEY_GET_FAX_TIME, 3600); // polls only when asked
    return TestSupport::startSim(s);
}

// One poll of the box, waited for.
void pollOnce(ReceiveBoxWidget& box)
{
    QSignalSpy done(box.findChild<Controller*>(), &Controller::backgroundDownloadInfoFinish);
    box.findChild<QTimer*>(QStringLiteral("pollTimer"))->start(0);
    QVERIFY(done.wait(20000));
}

QTableWidget* table(ReceiveBoxWidget& box)
{
    return TestSupport::find<QTableWidget>(&box, QStringLiteral("tableWidget"));
}

} // namespace

class TestInboxReceiveFailures : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        DeviceProtocol::setTestTimeoutDivisor(10);
        qRegisterMetaType<QList<Fax>>("QList<Fax>&");
    }

    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
    }

    // Polls that cannot write the faxes tell the user once; once the folder can be made the
    // faxes come, none lost.
    void aStorageFailureIsToldOnce()
    {
        int deviceId = 0;
        auto sim = boundSim(QStringLiteral("127.0.3.10"), &deviceId);
        const QString blocker = QFileInfo(ReceiveFaxThread::faxFolder(Scenario().serverId)).path();
        QVERIFY(QDir().mkpath(QFileInfo(blocker).path()));
        QFile file(blocker); // where the folder should be: not even root writes below a file
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();

        ReceiveBoxWidget box;
        pollOnce(box);
        pollOnce(box);
        const QList<MessageBoxUtil::Shown> shown = MessageBoxUtil::takeShown();
        QCOMPARE(shown.size(), 1);
        QVERIFY2(shown.at(0).text.contains(blocker), qPrintable(shown.at(0).text));
        QCOMPARE(table(box)->rowCount(), 0);

        QVERIFY(file.remove());
        pollOnce(box);
        QCOMPARE(table(box)->rowCount(), 2);
        QVERIFY(MessageBoxUtil::takeShown().isEmpty());
    }

    // A fax shown as failed carries its caller, time and device; its menu retries it, and the
    // same row becomes the fax.
    void aFailedFaxIsRetriedFromItsRow()
    {
        int deviceId = 0;
        auto sim = boundSim(QStringLiteral("127.0.3.11"), &deviceId);
        Fax failed = receivedFax(QStringLiteral("2024-03-31 03:30:00"), FaxStatus::RECV_FAX_FAILED,
                                 QStringLiteral("5550"), QStringLiteral("Acme"));
        failed.taskID = 1002;
        failed.pageTotal = 0;
        failed.serverID = Scenario().serverId;
        QVERIFY(DatabaseManager().insertFaxes({failed}, deviceId));

        ReceiveBoxWidget box;
        box.findChild<QTimer*>(QStringLiteral("pollTimer"))->stop();
        QCOMPARE(table(box)->rowCount(), 1);
        const QStringList cells{"接收失败", "5550", "Acme", "0", "2024-03-31 03:30:00", "", failed.serverID};
        for (int c = 0; c < cells.size(); ++c)
            QCOMPARE(table(box)->item(0, c)->text(), cells.at(c));
        const int id = box.faxes().at(0).id;

        table(box)->setCurrentCell(0, 0);
        box.on_tableWidget_customContextMenuRequested(table(box)->visualItemRect(table(box)->item(0, 0)).center());
        auto* menu = TestSupport::find<QMenu>(&box, QStringLiteral("menu_right"));
        QVERIFY(menu);
        QCOMPARE(menu->actions().size(), 2);
        QCOMPARE(menu->actions().at(0)->text(), QStringLiteral("重试"));
        menu->actions().at(0)->trigger();

        QTRY_COMPARE_WITH_TIMEOUT(table(box)->rowCount(), 2, 20000);
        QMap<int, Fax> byTask;
        for (const Fax& fax : box.faxes())
            byTask.insert(fax.taskID, fax);
        QCOMPARE(byTask.value(1002).id, id);
        QCOMPARE(byTask.value(1002).status, int(FaxStatus::RECV_FAX_UNREAD));
        QVERIFY(QFileInfo::exists(byTask.value(1002).filepath));
    }

    // Contacts without a fax number do not claim faxes without a caller number.
    void aFaxWithoutCallerMatchesNoContact()
    {
        const int device = addDevice();
        for (const QString& name : {QStringLiteral("No number"), QStringLiteral("Acme")}) {
            Contact contact;
            contact.represented = name;
            contact.businessFax = name == QLatin1String("Acme") ? QStringLiteral("5551") : QString();
            QVERIFY(DatabaseManager().addContact(contact));
        }
        addFax(receivedFax(QStringLiteral("2024-03-01 10:00:00"), 11, QString(), QStringLiteral("S0")), device);
        addFax(receivedFax(QStringLiteral("2024-03-02 10:00:00"), 11, QStringLiteral("5551"), QStringLiteral("S1")),
               device);

        const QList<Fax> inbox = DatabaseManager().queryReceiveFaxes();
        QCOMPARE(inbox.size(), 2);
        QCOMPARE(inbox.at(0).sender, QStringLiteral("Acme"));
        QCOMPARE(inbox.at(1).sender, QStringLiteral("S0"));
    }
};

VELKOR_TEST_MAIN(TestInboxReceiveFailures)
#include "TestInboxReceiveFailures.moc"

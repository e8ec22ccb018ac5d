#include "AppSettings.h"
#include "AutoSearchWidget.h"
#include "BindDeviceDialog.h"
#include "DatabaseManager.h"
#include "DeviceDiscovery.h"
#include "InputDeviceInfoDialog.h"
#include "LoginThread.h"
#include "MGlobal.h"
#include "ManualAssignWidget.h"
#include "MyUDPTask.h"
#include "SimFixtures.h"
#include "TestSupport.h"

#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTextCodec>
#include <QUdpSocket>

using namespace TestSupport;

namespace {

Scenario clerkAt(const QString& address)
{
    Scenario s = scenarioAt(address);
    s.serverName = QStringLiteral("前台传真 %1").arg(s.serverId);
    s.users = { SimUser::withPassword(QStringLiteral("clerk"), QStringLiteral("pa'ss"), 12, QStringLiteral("801")) };
    return s;
}

// Runs bindDevice on the test's thread; the bound device, or the message as its device name.
Device bindOnce(Device device, bool* ok)
{
    LoginThread worker;
    Device result;
    *ok = false;
    QObject::connect(&worker, &LoginThread::bindDeviceSuccess, [&](Device& d) { result = d, *ok = true; });
    QObject::connect(&worker, &LoginThread::showErrorMsg, [&](QString& m) { result.deviceName = m; });
    worker.bindDevice(device, DeviceProtocol::PORT_COMMAND);
    return result;
}

// A discovery answer from `from` to the reply port on loopback.
void announce(const QString& from, const QString& name, const QString& id)
{
    QUdpSocket sender;
    QVERIFY(sender.bind(QHostAddress(from), 0));
    const QByteArray datagram = QTextCodec::codecForName("GBK")->fromUnicode(
        QStringLiteral("Fax server NAME:%1 ID:%2) ver 1").arg(name, id));
    QCOMPARE(sender.writeDatagram(datagram, QHostAddress::LocalHost, DeviceDiscovery::REPLY_PORT), qint64(datagram.size()));
}

} // namespace

// Finding a device and binding it: discovery, the typed forms, the bind and its dialog.
class TestBindDevice : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qRegisterMetaType<Device>("Device&"); }

    void init()
    {
        freshHome();
        loginTestUser();
        DeviceProtocol::setTestTimeoutDivisor(50);
    }

    void bind_data()
    {
        QTest::addColumn<QString>("simAt");
        QTest::addColumn<QString>("typed"); // what the manual page's device field holds
        QTest::addColumn<QString>("productID"); // empty: as typed
        QTest::addColumn<QString>("password");
        QTest::addColumn<QString>("message"); // empty: bound
        QTest::newRow("by address") << "127.0.0.10" << "127.0.0.10" << "" << "pa'ss" << "";
        QTest::newRow("by identity, through the service") << "127.0.0.11" << "5a3c0011" << "" << "pa'ss" << "";
        QTest::newRow("nothing listens") << "127.0.0.13" << "127.0.0.12" << "" << "pa'ss" << "无法连接设备";
        QTest::newRow("no address at all") << "127.0.0.13" << "" << "" << "pa'ss" << "无法连接设备";
        QTest::newRow("identity mismatch") << "127.0.0.13" << "127.0.0.13" << "EF99" << "pa'ss" << "设备ID不匹配";
        QTest::newRow("wrong password") << "127.0.0.13" << "127.0.0.13" << "" << "wrong" << "设备使用权限验证失败";
    }

    void bind()
    {
        QFETCH(QString, simAt);
        QFETCH(QString, typed);
        QFETCH(QString, productID);
        QFETCH(QString, password);
        QFETCH(QString, message);
        Scenario s = clerkAt(simAt);
        s.httpPort = 18000 + simAt.section('.', 3).toInt();
        s.addressService.insert(s.serverId, s.address + QStringLiteral(":4001"));
        // Reached through the service, the device is asked on the base port it gave.
        if (!typed.startsWith(QLatin1String("127.")) && !typed.isEmpty())
            s.basePort = 4001;
        auto sim = startSim(s);
        AppSettings::userConfig()->setValue(AppSettings::KEY_ADDRESS_SERVICE_URL, sim->sim()->httpUrl());
        Device d = ManualAssignWidget::deviceFromInput(typed, QStringLiteral("clerk"), password);
        if (!productID.isEmpty())
            d.productID = productID;
        bool ok = false;
        const Device r = bindOnce(d, &ok);
        QCOMPARE(ok ? QString() : r.deviceName, message);
        if (!ok)
            return;
        QCOMPARE((QStringList { r.productID, r.serverName, r.extNumber, QString::number(r.permission), r.devicePassword,
                     r.remoteIP }),
            (QStringList { s.serverId, s.serverName, "801", "12", MD5Util::call128MD5(QByteArray("pa'ss")), s.address }));
        // Bound by address, the identity comes from the device; by identity the service gives
        // the address and base port, which the bind uses and the store keeps.
        const bool byAddress = typed.startsWith(QLatin1String("127."));
        QCOMPARE(sim->device()->actionLog().join('\n').contains(QStringLiteral("GET_SVR_INFO")), byAddress);
        QCOMPARE(r.internetPort, byAddress ? 3001 : 4001);
    }

    void dialog_data()
    {
        QTest::addColumn<QString>("password");
        QTest::newRow("bound") << "pa'ss";
        QTest::newRow("refused") << "nope";
    }

    void dialog()
    {
        QFETCH(QString, password);
        auto sim = startSim(clerkAt(QStringLiteral("127.0.0.14")));
        BindDeviceDialog dialog;
        dialog.show();
        Device bound;
        connect(&dialog, &BindDeviceDialog::connectDeviceSuccess, [&](Device& d) { bound = d; });
        QTest::mouseClick(find<QPushButton>(&dialog, "button_assign"), Qt::LeftButton);
        // The search page's account dialog has fields of the same names: look in the manual page.
        auto* manual = dialog.manualAssignWidget();
        QVERIFY(manual->isVisible());
        find<QLineEdit>(manual, "edit_device")->setText(QStringLiteral("127.0.0.14"));
        find<QLineEdit>(manual, "edit_account")->setText(QStringLiteral("clerk"));
        find<QLineEdit>(manual, "edit_password")->setText(password);
        QTest::mouseClick(find<QPushButton>(manual, "button_verify"), Qt::LeftButton);
        if (password == "nope") {
            QTRY_COMPARE(MessageBoxUtil::shown().size(), 1);
            QCOMPARE(takeMessages(), QStringList { "设备使用权限验证失败" });
            QVERIFY(dialog.isVisible());
            QVERIFY(DatabaseManager().queryDevices().isEmpty());
            return;
        }
        QTRY_VERIFY(bound.id != 0);
        QTRY_VERIFY(!dialog.isVisible());
        const QList<Device> stored = DatabaseManager().queryDevices();
        QCOMPARE(stored.size(), 1);
        QCOMPARE(stored[0].productID + stored[0].devicePassword, "5A3C0014" + MD5Util::call128MD5(QByteArray("pa'ss")));
        QCOMPARE(takeMessages().size(), 1); // the bind says it is done

        // The same identity again is refused before any connection.
        Device again = ManualAssignWidget::deviceFromInput(QStringLiteral("5a3c0014"), QStringLiteral("a"), QStringLiteral("b"));
        dialog.connectDevice(again);
        QCOMPARE(MessageBoxUtil::shown().value(0).title + MessageBoxUtil::shown().value(0).text, QStringLiteral("Velkor该设备已添加"));
    }

    void replyPortIsShared()
    {
        QUdpSocket other;
        QVERIFY(other.bind(QHostAddress::AnyIPv4, 5077, QAbstractSocket::ShareAddress | QAbstractSocket::ReuseAddressHint));
        BindDeviceDialog dialog;
        QUdpSocket* own = dialog.findChildren<QUdpSocket*>().value(0);
        QVERIFY(own);
        QCOMPARE(own->state(), QAbstractSocket::BoundState);
        dialog.close();
        QCOMPARE(own->state(), QAbstractSocket::UnconnectedState); // leaves the port on close
    }

    void parseReply()
    {
        const QByteArray gbk = QTextCodec::codecForName("GBK")->fromUnicode(QStringLiteral("NAME: 前台传真 ID: AB12CD )"));
        const Device d = DeviceDiscovery::parseReply(gbk, QHostAddress(QStringLiteral("::ffff:192.168.1.7")));
        QCOMPARE((QStringList { d.serverName, d.productID, d.localIP, QString::number(d.internetPort), d.deviceName }),
            (QStringList { "前台传真", "AB12CD", "192.168.1.7", "3001", "" }));
        const Device none = DeviceDiscovery::parseReply("garbage", QHostAddress(QStringLiteral("10.0.0.2")));
        QCOMPARE(none.serverName + none.productID + none.localIP, QStringLiteral("10.0.0.2"));
    }

    void manualInput_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("fields"); // productID|localIP|remoteIP|port
        QTest::newRow("identity upper-cased") << "ab12cd" << "AB12CD|||3001";
        QTest::newRow("private address") << "192.168.3.4" << "|192.168.3.4||3001";
        QTest::newRow("public address with port") << "8.8.4.4:4001" << "||8.8.4.4|4001";
        QTest::newRow("identity with port") << "xy99:5001" << "XY99|||5001";
    }

    void manualInput()
    {
        QFETCH(QString, typed);
        QFETCH(QString, fields);
        const Device d = ManualAssignWidget::deviceFromInput(typed, QStringLiteral("acc"), QStringLiteral("pw"));
        QCOMPARE(QStringList({ d.productID, d.localIP, d.remoteIP, QString::number(d.internetPort) }).join('|'), fields);
        QCOMPARE(d.deviceName + d.devicePassword, QStringLiteral("accpw"));
    }

    void searchListsEachDeviceOnceAndAsksForTheAccount()
    {
        QUdpSocket socket;
        AutoSearchWidget widget(&socket);
        announce(QStringLiteral("127.0.0.61"), QStringLiteral("Front"), QStringLiteral("DEV1"));
        announce(QStringLiteral("127.0.0.61"), QStringLiteral("Front renamed"), QStringLiteral("DEV1"));
        announce(QStringLiteral("127.0.0.62"), QStringLiteral("Back"), QStringLiteral("DEV2"));
        QTRY_COMPARE(widget.model()->rowCount(), 2);
        QTest::qWait(100);
        QCOMPARE(widget.model()->rowCount(), 2);
        const Device first = widget.model()->item(0)->data(Qt::UserRole + 1).value<Device>();
        QCOMPARE(first.serverName + first.localIP, QStringLiteral("Front127.0.0.61")); // the first answer keeps its row

        QSignalSpy spy(&widget, &AutoSearchWidget::addDevice);
        widget.listButtonClicked(widget.model()->index(0, 0));
        QVERIFY(widget.inputDialog()->isVisible());
        widget.receiveDeviceInfo(QStringLiteral("user:4001"), QStringLiteral("pw"));
        QCOMPARE(spy.count(), 1);
        const Device d = spy.at(0).at(0).value<Device>();
        QCOMPARE((QStringList { d.deviceName, QString::number(d.internetPort), d.productID, d.localIP }),
            (QStringList { "user", "4001", "DEV1", "127.0.0.61" }));
    }

    void backgroundTaskUpdatesOnlyOwnDevices()
    {
        DatabaseManager db;
        Device mine;
        mine.deviceName = mine.devicePassword = QStringLiteral("acc");
        mine.serverName = QStringLiteral("Old name");
        mine.localIP = QStringLiteral("10.9.9.9");
        mine.productID = QStringLiteral("MINE1");
        QVERIFY(db.inseretDevice(mine));
        const User me = gUser;
        loginTestUser(QStringLiteral("other"));
        Device theirs = mine;
        theirs.productID = QStringLiteral("THEIRS1");
        QVERIFY(db.inseretDevice(theirs));
        gUser = me;

        MyUDPTask task;
        task.start();
        QTest::qWait(200); // let it bind
        announce(QStringLiteral("127.0.0.64"), QStringLiteral("New name"), QStringLiteral("MINE1"));
        announce(QStringLiteral("127.0.0.65"), QStringLiteral("X"), QStringLiteral("THEIRS1"));
        QString id = QStringLiteral("MINE1"), theirId = QStringLiteral("THEIRS1");
        QTRY_COMPARE(db.queryDevice(id).localIP, QStringLiteral("127.0.0.64"));
        QCOMPARE(db.queryDevice(id).serverName, QStringLiteral("New name"));
        task.stop();
        loginTestUser(QStringLiteral("other"));
        QCOMPARE(db.queryDevice(theirId).localIP, QStringLiteral("10.9.9.9"));
    }
};

VELKOR_TEST_MAIN(TestBindDevice)
#include "TestBindDevice.moc"

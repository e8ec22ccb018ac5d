#include "AppSettings.h"
#include "AutoSearchWidget.h"
#include "BindDeviceDialog.h"
#include "DatabaseManager.h"
#include "DeviceProtocol.h"
#include "DeviceSimRunner.h"
#include "LoginThread.h"
#include "MD5Util.h"
#include "ManualAssignWidget.h"
#include "MessageBoxUtil.h"
#include "SimTestSupport.h"
#include "TestSupport.h"

#include <QApplication>
#include <QLineEdit>
#include <QPushButton>
#include <QUdpSocket>
#include <memory>

using TestSupport::startSim;

namespace {

Scenario scenarioAt(const QString& address, const QString& id)
{
    Scenario s;
    s.address = address;
    s.discovery = false;
    s.serverId = id;
    s.serverName = QStringLiteral("前台传真 %1").arg(id);
    s.users.clear();
    s.users << SimUser::withPassword(QStringLiteral("clerk"), QStringLiteral("pa'ss"), 12, QStringLiteral("801"));
    return s;
}

struct BindResult
{
    bool done = false;
    bool ok = false;
    Device device;
    QString message;
};

// Runs bindDevice on the test's thread and collects its one signal.
BindResult bind(Device device)
{
    LoginThread worker;
    BindResult result;
    QObject::connect(&worker, &LoginThread::bindDeviceSuccess, [&](Device& d) {
        result = {true, true, d, QString()};
    });
    QObject::connect(&worker, &LoginThread::showErrorMsg, [&](QString& m) {
        result = {true, false, Device(), m};
    });
    worker.bindDevice(device, DeviceProtocol::PORT_COMMAND);
    return result;
}

Device typed(const QString& account, const QString& password)
{
    Device d;
    d.deviceName = account;
    d.devicePassword = password;
    return d;
}

} // namespace

class TestBindDevice : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qRegisterMetaType<Device>("Device&"); }

    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        DeviceProtocol::setTestTimeoutDivisor(50);
    }

    void bindByAddressLearnsIdentity()
    {
        auto sim = startSim(scenarioAt(QStringLiteral("127.0.0.10"), QStringLiteral("AB10")));
        Device d = typed(QStringLiteral("clerk"), QStringLiteral("pa'ss"));
        d.remoteIP = QStringLiteral("127.0.0.10");
        const BindResult r = bind(d);
        QVERIFY(r.done);
        QVERIFY2(r.ok, qPrintable(r.message));
        QCOMPARE(r.device.productID, QStringLiteral("AB10"));
        QCOMPARE(r.device.serverName, QStringLiteral("前台传真 AB10"));
        QCOMPARE(r.device.extNumber, QStringLiteral("801"));
        QCOMPARE(r.device.permission, 12);
        // The typed password is replaced by its 128-hex stored form.
        QCOMPARE(r.device.devicePassword, MD5Util::call128MD5(QByteArray("pa'ss")));
        QCOMPARE(r.device.devicePassword.size(), 128);
        QVERIFY(sim->device()->actionLog().join('\n').contains(QStringLiteral("GET_SVR_INFO")));
    }

    void bindByIdentityAsksService()
    {
        Scenario s = scenarioAt(QStringLiteral("127.0.0.11"), QStringLiteral("CD11"));
        s.httpPort = 18011;
        s.addressService.insert(QStringLiteral("CD11"), QStringLiteral("127.0.0.11:4001"));
        auto sim = startSim(s);
        AppSettings::userConfig()->setValue(AppSettings::KEY_ADDRESS_SERVICE_URL, sim->sim()->httpUrl());

        const Device d = ManualAssignWidget::deviceFromInput(QStringLiteral("cd11"), QStringLiteral("clerk"),
                                                             QStringLiteral("pa'ss"));
        const BindResult r = bind(d);
        QVERIFY2(r.ok, qPrintable(r.message));
        QCOMPARE(r.device.productID, QStringLiteral("CD11"));
        QCOMPARE(r.device.remoteIP, QStringLiteral("127.0.0.11"));
        QCOMPARE(r.device.internetPort, 4001); // stored; the bind itself went to 3007
        QVERIFY(!sim->device()->actionLog().join('\n').contains(QStringLiteral("GET_SVR_INFO")));
    }

    void failures_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<QString>("productID");
        QTest::addColumn<QString>("password");
        QTest::addColumn<int>("fault");
        QTest::addColumn<QString>("message");
        QTest::newRow("nothing listens") << "127.0.0.12" << "" << "pa'ss" << -1 << "无法连接设备";
        QTest::newRow("no address at all") << "" << "" << "pa'ss" << -1 << "无法连接设备";
        QTest::newRow("identity mismatch") << "127.0.0.13" << "EF99" << "pa'ss" << -1 << "设备ID不匹配";
        QTest::newRow("wrong password") << "127.0.0.13" << "" << "wrong" << -1 << "设备使用权限验证失败";
    }

    void failures()
    {
        QFETCH(QString, address);
        QFETCH(QString, productID);
        QFETCH(QString, password);
        QFETCH(int, fault);
        QFETCH(QString, message);
        Scenario s = scenarioAt(QStringLiteral("127.0.0.13"), QStringLiteral("EF13"));
        if (fault >= 0)
            s.faults << SimFault::make(QStringLiteral("GREETING"), SimFault::Kind(fault));
        auto sim = startSim(s);
        Device d = typed(QStringLiteral("clerk"), password);
        d.remoteIP = address;
        d.productID = productID;
        const BindResult r = bind(d);
        QVERIFY(r.done);
        QVERIFY(!r.ok);
        QCOMPARE(r.message, message);
    }

    void dialogBindsTypedAddress()
    {
        auto sim = startSim(scenarioAt(QStringLiteral("127.0.0.14"), QStringLiteral("GH14")));
        BindDeviceDialog dialog;
        dialog.show();
        Device bound;
        connect(&dialog, &BindDeviceDialog::connectDeviceSuccess, [&](Device& d) { bound = d; });
        QTest::mouseClick(TestSupport::find<QPushButton>(&dialog, "button_assign"), Qt::LeftButton);
        // The search page's account dialog has fields of the same names: look in the manual page.
        auto* manual = dialog.manualAssignWidget();
        QVERIFY(manual->isVisible());
        TestSupport::find<QLineEdit>(manual, "edit_device")->setText(QStringLiteral("127.0.0.14"));
        TestSupport::find<QLineEdit>(manual, "edit_account")->setText(QStringLiteral("clerk"));
        TestSupport::find<QLineEdit>(manual, "edit_password")->setText(QStringLiteral("pa'ss"));
        QTest::mouseClick(TestSupport::find<QPushButton>(manual, "button_verify"), Qt::LeftButton);
        QTRY_VERIFY(bound.id != 0);
        QCOMPARE(bound.productID, QStringLiteral("GH14"));
        QTRY_VERIFY(!dialog.isVisible());
        DatabaseManager db;
        QCOMPARE(db.queryDevices().size(), 1);
        QCOMPARE(db.queryDevices().first().devicePassword, MD5Util::call128MD5(QByteArray("pa'ss")));
        QCOMPARE(MessageBoxUtil::takeShown().value(0).kind, QStringLiteral("info"));
    }

    void dialogKeepsOpenOnFailure()
    {
        auto sim = startSim(scenarioAt(QStringLiteral("127.0.0.15"), QStringLiteral("IJ15")));
        BindDeviceDialog dialog;
        dialog.show();
        auto* manual = dialog.manualAssignWidget();
        TestSupport::find<QLineEdit>(manual, "edit_device")->setText(QStringLiteral("127.0.0.15"));
        TestSupport::find<QLineEdit>(manual, "edit_account")->setText(QStringLiteral("clerk"));
        TestSupport::find<QLineEdit>(manual, "edit_password")->setText(QStringLiteral("nope"));
        QTest::mouseClick(TestSupport::find<QPushButton>(manual, "button_verify"), Qt::LeftButton);
        QTRY_COMPARE(MessageBoxUtil::shown().size(), 1);
        QCOMPARE(MessageBoxUtil::shown().first().text, QStringLiteral("设备使用权限验证失败"));
        QVERIFY(dialog.isVisible());
        QVERIFY(DatabaseManager().queryDevices().isEmpty());
    }

    void alreadyBoundIdentityIsRefused()
    {
        DatabaseManager db;
        Device known = typed(QStringLiteral("clerk"), QStringLiteral("x"));
        known.productID = QStringLiteral("KL16");
        known.serverName = QStringLiteral("n");
        QVERIFY(db.inseretDevice(known));
        BindDeviceDialog dialog;
        Device again = ManualAssignWidget::deviceFromInput(QStringLiteral("kl16"), QStringLiteral("a"),
                                                           QStringLiteral("b"));
        dialog.connectDevice(again);
        QCOMPARE(MessageBoxUtil::shown().size(), 1);
        QCOMPARE(MessageBoxUtil::shown().first().title, QStringLiteral("Velkor"));
        QCOMPARE(MessageBoxUtil::shown().first().text, QStringLiteral("该设备已添加"));
    }

    void replyPortIsShared()
    {
        QUdpSocket other;
        QVERIFY(other.bind(QHostAddress::AnyIPv4, 5077, QAbstractSocket::ShareAddress | QAbstractSocket::ReuseAddressHint));
        BindDeviceDialog dialog;
        QUdpSocket* own = nullptr;
        for (QUdpSocket* s : dialog.findChildren<QUdpSocket*>())
            own = s;
        QVERIFY(own);
        QCOMPARE(own->state(), QAbstractSocket::BoundState);
        dialog.close();
        QCOMPARE(own->state(), QAbstractSocket::UnconnectedState); // leaves the port on close
    }
};

VELKOR_TEST_MAIN(TestBindDevice)
#include "TestBindDevice.moc"

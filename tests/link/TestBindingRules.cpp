#include "AppSettings.h"
#include "BindDeviceDialog.h"
#include "DatabaseManager.h"
#include "DeviceProtocol.h"
#include "ManualAssignWidget.h"
#include "MessageBoxUtil.h"
#include "SimTestSupport.h"
#include "TestSupport.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>

using TestSupport::find;

namespace {

Scenario scenarioAt(const QString& address, const QString& id)
{
    Scenario s;
    s.address = address;
    s.discovery = false;
    s.serverId = id;
    return s;
}

// Types into the "指定" page and presses "验证".
QPushButton* typeAndVerify(BindDeviceDialog& dialog, const QString& target)
{
    ManualAssignWidget* manual = dialog.manualAssignWidget();
    find<QLineEdit>(manual, "edit_device")->setText(target);
    find<QLineEdit>(manual, "edit_account")->setText(QStringLiteral("admin"));
    find<QLineEdit>(manual, "edit_password")->setText(QStringLiteral("admin"));
    auto* verify = find<QPushButton>(manual, "button_verify");
    QTest::mouseClick(verify, Qt::LeftButton);
    return verify;
}

// Binds in a dialog of its own; true once the dialog has stored the device.
bool bindInDialog(const QString& target)
{
    BindDeviceDialog dialog;
    dialog.show();
    bool bound = false;
    QObject::connect(&dialog, &BindDeviceDialog::connectDeviceSuccess, [&bound](Device&) { bound = true; });
    typeAndVerify(dialog, target);
    return QTest::qWaitFor([&] { return bound || !MessageBoxUtil::shown().isEmpty(); }, 10000) && bound;
}

} // namespace

class TestBindingRules : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        DeviceProtocol::setTestTimeoutDivisor(50);
    }

    // What the user types reaches the device, and the stored row gives back what the bind learnt.
    void typedDeviceIsBound_data()
    {
        QTest::addColumn<QString>("id");
        QTest::addColumn<int>("basePort");
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("serviceKey"); // what the address service knows, if asked
        QTest::newRow("identity in lower case") << "5a3c05ab" << 3001 << "5a3c05ab" << "5A3C05AB";
        QTest::newRow("internet address, own base port") << "AB0521" << 4001 << "127.0.5.21:4001" << "";
    }

    void typedDeviceIsBound()
    {
        QFETCH(QString, id);
        QFETCH(int, basePort);
        QFETCH(QString, typed);
        QFETCH(QString, serviceKey);
        Scenario s = scenarioAt(serviceKey.isEmpty() ? QStringLiteral("127.0.5.21") : QStringLiteral("127.0.5.20"), id);
        s.basePort = basePort;
        if (!serviceKey.isEmpty()) {
            s.httpPort = 18520;
            s.addressService.insert(serviceKey, s.address);
        }
        auto sim = TestSupport::startSim(s);
        AppSettings::userConfig()->setValue(AppSettings::KEY_ADDRESS_SERVICE_URL, sim->sim()->httpUrl());

        QVERIFY2(bindInDialog(typed), qPrintable(MessageBoxUtil::shown().value(0).text));
        const QList<Device> stored = DatabaseManager().queryDevices();
        QCOMPARE(stored.size(), 1);
        QCOMPARE(stored.first().productID, id);
        QCOMPARE(stored.first().internetPort, basePort);
        QString key = id;
        QCOMPARE(DatabaseManager().queryDevice(key).internetPort, basePort);
    }

    // By address, the identity is known only once the device has answered.
    void sameDeviceByAddressTwice()
    {
        auto sim = TestSupport::startSim(scenarioAt(QStringLiteral("127.0.5.22"), QStringLiteral("CD0522")));
        QVERIFY(bindInDialog(QStringLiteral("127.0.5.22")));
        MessageBoxUtil::clear(); // the first bind's success
        QVERIFY(!bindInDialog(QStringLiteral("127.0.5.22")));
        QCOMPARE(MessageBoxUtil::shown().value(0).text, QStringLiteral("该设备已添加"));
        QCOMPARE(DatabaseManager().queryDevices().size(), 1);
    }

    void missingAddressServiceIsSaid()
    {
        BindDeviceDialog dialog;
        QSignalSpy options(&dialog, SIGNAL(openOptions()));
        dialog.show();
        auto* notice = find<QWidget>(&dialog, "widget_no_address_service");
        QVERIFY(notice && notice->isVisible());
        QTest::mouseClick(find<QPushButton>(&dialog, "button_options"), Qt::LeftButton);
        QCOMPARE(options.count(), 1);
        dialog.hide();
        AppSettings::userConfig()->setValue(AppSettings::KEY_ADDRESS_SERVICE_URL, QStringLiteral("https://addr.example/"));
        dialog.show();
        QVERIFY(!notice->isVisible());
    }

    // The device takes the connection and never greets: "验证" waits, and closing the dialog
    // does not wait for the device.
    void closingDuringBind()
    {
        DeviceProtocol::setTestTimeoutDivisor(1);
        Scenario s = scenarioAt(QStringLiteral("127.0.5.23"), QStringLiteral("EF0523"));
        s.faults << SimFault::make(QStringLiteral("GREETING"), SimFault::Silent);
        auto sim = TestSupport::startSim(s);
        auto* dialog = new BindDeviceDialog;
        dialog->show();
        const bool waits = !typeAndVerify(*dialog, QStringLiteral("127.0.5.23"))->isEnabled();
        QTRY_VERIFY(sim->device()->actionLog().join('\n').contains(QStringLiteral("(fault)")));
        QElapsedTimer clock;
        clock.start();
        delete dialog;
        QVERIFY2(clock.elapsed() < 1000, qPrintable(QString::number(clock.elapsed()))); // within a second
        QVERIFY(DatabaseManager().queryDevices().isEmpty());
        QVERIFY(waits);
    }
};

VELKOR_TEST_MAIN(TestBindingRules)
#include "TestBindingRules.moc"

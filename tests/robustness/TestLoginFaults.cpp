#include "LoginThread.h"
#include "RobustnessSupport.h"
#include "TestSupport.h"

#include <QSignalSpy>

using namespace Robustness;

// Login and binding against a device that misbehaves at each step of the greeting, the login
// and the identity query: every attempt ends within its waits, says what the user is to read,
// and the next attempt against a well-behaved device works.
class TestLoginFaults : public QObject
{
    Q_OBJECT

    std::unique_ptr<DeviceSimRunner> m_sim;
    Scenario m_scenario;

private slots:
    void initTestCase()
    {
        DeviceProtocol::setTestTimeoutDivisor(DIVISOR);
        m_scenario = scenarioAt(QStringLiteral("127.0.0.180"));
        m_sim = startSim(m_scenario);
    }

    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        m_sim->device()->clearFaults();
        MessageBoxUtil::clear();
    }

    void cleanupTestCase()
    {
        m_sim.reset();
        DeviceProtocol::setTestTimeoutDivisor(1);
    }

    void login_data()
    {
        QTest::addColumn<QString>("action");
        QTest::addColumn<SimFault::Kind>("kind");
        QTest::addColumn<int>("delayMs");
        QTest::addColumn<bool>("loggedIn");
        QTest::addColumn<int>("status"); // connectStatus stored: 2 reached but refused, -1 left as it was
        QTest::addColumn<int>("replyWaits");

        QTest::newRow("no greeting") << "GREETING" << SimFault::Silent << 0 << false << 2 << 0;
        QTest::newRow("greeting in two pieces") << "GREETING" << SimFault::Split << 0 << true << -1 << 1;
        QTest::newRow("greeting after its wait") << "GREETING" << SimFault::Delay << 2500 << false << 2 << 1;
        QTest::newRow("wrong SERVER_ID") << "GREETING" << SimFault::WrongServerId << 0 << false << -1 << 0;
        QTest::newRow("no answer to LOGIN") << "LOGIN" << SimFault::Silent << 0 << false << 2 << 1;
        QTest::newRow("LOGIN reply in two pieces") << "LOGIN" << SimFault::Split << 0 << true << -1 << 1;
        QTest::newRow("login refused") << "LOGIN" << SimFault::RefuseLogin << 0 << false << 2 << 1;
    }

    void login()
    {
        QFETCH(QString, action);
        QFETCH(SimFault::Kind, kind);
        QFETCH(int, delayMs);
        QFETCH(bool, loggedIn);
        QFETCH(int, status);
        QFETCH(int, replyWaits);

        Device device = storedDevice(m_scenario);
        device.connectStatus = 7; // a value no login writes
        DatabaseManager().updateDeviceConnectStatus(device);
        m_sim->device()->addFault(once(action, kind, 0, delayMs));

        LoginThread worker;
        QElapsedTimer clock;
        clock.start();
        QTcpSocket* socket = worker.login(device, DeviceProtocol::PORT_COMMAND);
        QVERIFY2(clock.elapsed() <= bound(1, replyWaits), qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(socket != nullptr, loggedIn);
        delete socket;
        if (loggedIn)
            QVERIFY(storedConnectStatus(device.id) == 0 || storedConnectStatus(device.id) == 1); // LAN or internet
        else
            QCOMPARE(storedConnectStatus(device.id), status < 0 ? 7 : status);
        QVERIFY(takeMessages().isEmpty()); // a login says nothing to the user by itself

        // The next login against the well-behaved device works.
        socket = worker.login(device, DeviceProtocol::PORT_COMMAND);
        QVERIFY(socket);
        delete socket;
        QVERIFY(storedConnectStatus(device.id) == 0 || storedConnectStatus(device.id) == 1);
    }

    void bind_data()
    {
        QTest::addColumn<QString>("action");
        QTest::addColumn<SimFault::Kind>("kind");
        QTest::addColumn<bool>("byAddress"); // else by identity
        QTest::addColumn<QString>("message"); // empty: bound
        QTest::addColumn<int>("replyWaits");

        const QString unreachable = QStringLiteral("无法连接设备");
        const QString refused = QStringLiteral("设备使用权限验证失败");
        QTest::newRow("no greeting") << "GREETING" << SimFault::Silent << false << unreachable << 0;
        QTest::newRow("wrong SERVER_ID") << "GREETING" << SimFault::WrongServerId << false << "设备ID不匹配" << 0;
        QTest::newRow("wrong SERVER_ID, bound by address") << "GREETING" << SimFault::WrongServerId << true << "" << 1;
        QTest::newRow("no answer to LOGIN") << "LOGIN" << SimFault::Silent << false << refused << 1;
        QTest::newRow("login refused") << "LOGIN" << SimFault::RefuseLogin << true << refused << 1;
        QTest::newRow("no answer to GET_SVR_INFO") << "GET_SVR_INFO" << SimFault::Silent << true << unreachable << 2;
        QTest::newRow("GET_SVR_INFO cut off") << "GET_SVR_INFO" << SimFault::DropAfterBytes << true << unreachable << 2;
        QTest::newRow("GET_SVR_INFO in two pieces") << "GET_SVR_INFO" << SimFault::Split << true << "" << 2;
    }

    void bind()
    {
        QFETCH(QString, action);
        QFETCH(SimFault::Kind, kind);
        QFETCH(bool, byAddress);
        QFETCH(QString, message);
        QFETCH(int, replyWaits);

        auto typed = [&] {
            Device d;
            d.deviceName = QStringLiteral("admin");
            d.devicePassword = QStringLiteral("admin"); // as typed; the bind stores its hashed form
            d.localIP = m_scenario.address;
            if (!byAddress)
                d.productID = m_scenario.serverId;
            return d;
        };
        m_sim->device()->addFault(once(action, kind));

        LoginThread worker;
        QSignalSpy bound(&worker, &LoginThread::bindDeviceSuccess);
        QStringList errors;
        connect(&worker, &LoginThread::showErrorMsg, [&](QString& text) { errors << text; });
        Device device = typed();
        QElapsedTimer clock;
        clock.start();
        worker.bindDevice(device, DeviceProtocol::PORT_COMMAND);
        QVERIFY2(clock.elapsed() <= Robustness::bound(1, replyWaits), qPrintable(QString::number(clock.elapsed())));
        if (message.isEmpty()) {
            QVERIFY(errors.isEmpty());
            QCOMPARE(bound.count(), 1);
            QCOMPARE(device.productID, m_scenario.serverId); // the identity was learned whole
        } else {
            QCOMPARE(errors, QStringList{message});
            QCOMPARE(bound.count(), 0);
        }
        settle();

        // Once the device behaves, the same bind goes through and learns the identity.
        m_sim->device()->clearFaults();
        Device again = typed();
        worker.bindDevice(again, DeviceProtocol::PORT_COMMAND);
        QCOMPARE(bound.count(), message.isEmpty() ? 2 : 1);
        QCOMPARE(again.productID, m_scenario.serverId);
        QCOMPARE(errors.size(), message.isEmpty() ? 0 : 1);
        settle();
    }
};

VELKOR_TEST_MAIN(TestLoginFaults)
#include "TestLoginFaults.moc"

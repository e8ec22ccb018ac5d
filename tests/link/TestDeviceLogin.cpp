#include "ConnectionPool.h"
#include "DatabaseManager.h"
#include "DeviceProtocol.h"
#include "DeviceSimRunner.h"
#include "AppSettings.h"
#include "LoginThread.h"
#include "MD5Util.h"
#include "SimTestSupport.h"
#include "TestSupport.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QSqlQuery>
#include <QTcpSocket>
#include <memory>

using TestSupport::startSim;

namespace {

Scenario scenarioAt(const QString& address, int basePort = 3001)
{
    Scenario s;
    s.address = address;
    s.basePort = basePort;
    s.discovery = false;
    s.serverId = QStringLiteral("5A3C00%1").arg(address.section('.', 3, 3).toInt(), 2, 10, QLatin1Char('0'));
    return s;
}

// A bound device of the test user, stored so that login can write its connectStatus.
Device storedDevice(const Scenario& s)
{
    Device d;
    d.deviceName = QStringLiteral("admin");
    d.devicePassword = MD5Util::call128MD5(QByteArray("admin"));
    d.serverName = s.serverName;
    d.productID = s.serverId;
    DatabaseManager db;
    db.inseretDevice(d);
    return db.queryDevice(d.productID);
}

QVariant storedColumn(const Device& d, const QString& column)
{
    QSqlQuery q(ConnectionPool::openConnection());
    q.prepare(QStringLiteral("SELECT %1 FROM DEVICES WHERE id = ?").arg(column));
    q.addBindValue(d.id);
    return q.exec() && q.next() ? q.value(0) : QVariant();
}

class TestableLogin : public LoginThread
{
public:
    using LoginThread::exchange;
    using LoginThread::hangUp;
};

} // namespace

class TestDeviceLogin : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        DeviceProtocol::setTestTimeoutDivisor(1);
    }

    void cleanup() { DeviceProtocol::setTestTimeoutDivisor(1); }

    void lanRoadOnFixedPorts()
    {
        auto sim = startSim(scenarioAt(QStringLiteral("127.0.0.2")));
        Device d = storedDevice(sim->sim()->scenario());
        d.localIP = QStringLiteral("127.0.0.2");
        TestableLogin worker;
        QPointer<QTcpSocket> socket = worker.login(d, DeviceProtocol::PORT_COMMAND);
        QVERIFY(socket);
        QCOMPARE(socket->peerPort(), quint16(3007));
        // A loopback client is not on a private network: the internet state.
        QCOMPARE(d.connectStatus, 1);
        QCOMPARE(storedColumn(d, "connectStatus").toInt(), 1);
        const QString reply = worker.exchange(socket, QStringLiteral("<ACTION>GET_SVR_INFO</ACTION>"));
        QVERIFY(reply.contains(QStringLiteral("5A3C0002")));
        worker.hangUp(socket);
        QTRY_VERIFY(socket.isNull()); // released once closed
    }

    void storedInternetRoadMapsPorts()
    {
        auto sim = startSim(scenarioAt(QStringLiteral("127.0.0.3"), 4001));
        Device d = storedDevice(sim->sim()->scenario());
        d.remoteIP = QStringLiteral("127.0.0.3");
        d.internetPort = 4001;
        TestableLogin worker;
        QTcpSocket* command = worker.login(d, DeviceProtocol::PORT_COMMAND);
        QVERIFY(command);
        QCOMPARE(command->peerPort(), quint16(4007));
        worker.hangUp(command);
        QTcpSocket* upload = worker.login(d, DeviceProtocol::PORT_UPLOAD);
        QVERIFY(upload);
        QCOMPARE(upload->peerPort(), quint16(4002));
        worker.hangUp(upload);
        // Neither road asked the service, so the stored address stays as it was.
        QVERIFY(storedColumn(d, "remoteIP").toString().isEmpty());
    }

    void addressServiceRoad_data()
    {
        QTest::addColumn<QString>("body");
        QTest::addColumn<int>("basePort");
        QTest::addColumn<int>("expectedPort");
        QTest::newRow("port from the body wins") << "127.0.0.5:4011" << 4005 << 4011;
        QTest::newRow("address alone: the LAN number") << "127.0.0.5" << 3001 << 3007;
    }

    void addressServiceRoad()
    {
        QFETCH(QString, body);
        QFETCH(int, basePort);
        QFETCH(int, expectedPort);
        Scenario s = scenarioAt(QStringLiteral("127.0.0.5"), basePort);
        s.httpPort = 18005;
        s.addressService.insert(s.serverId, body);
        auto sim = startSim(s);
        AppSettings::userConfig()->setValue(AppSettings::KEY_ADDRESS_SERVICE_URL, sim->sim()->httpUrl());

        Device d = storedDevice(s);
        d.remoteIP = QStringLiteral("127.0.0.4"); // nothing listens there
        TestableLogin worker;
        QTcpSocket* socket = worker.login(d, DeviceProtocol::PORT_COMMAND);
        QVERIFY(socket);
        QCOMPARE(int(socket->peerPort()), expectedPort);
        QCOMPARE(d.remoteIP, QStringLiteral("127.0.0.5"));
        QCOMPARE(storedColumn(d, "remoteIP").toString(), QStringLiteral("127.0.0.5"));
        worker.hangUp(socket);
    }

    void unknownToServiceGivesNull()
    {
        Scenario s = scenarioAt(QStringLiteral("127.0.0.6"));
        s.httpPort = 18006;
        auto sim = startSim(s);
        AppSettings::userConfig()->setValue(AppSettings::KEY_ADDRESS_SERVICE_URL, sim->sim()->httpUrl());
        Device d = storedDevice(s);
        d.productID = QStringLiteral("NOSUCH01"); // the service knows only the stand-in itself
        d.connectStatus = 0;
        TestableLogin worker;
        QVERIFY(!worker.login(d, DeviceProtocol::PORT_COMMAND));
        QCOMPARE(d.connectStatus, 0); // no connection at all keeps the old state
        QVERIFY(storedColumn(d, "connectStatus").isNull());
    }

    void silentServiceCostsItsTimeout()
    {
        Scenario s = scenarioAt(QStringLiteral("127.0.0.8"));
        s.httpPort = 18008;
        s.faults << SimFault::make(QStringLiteral("HTTP"), SimFault::Silent);
        auto sim = startSim(s);
        auto config = AppSettings::userConfig();
        config->setValue(AppSettings::KEY_ADDRESS_SERVICE_URL, sim->sim()->httpUrl());
        config->setValue(AppSettings::KEY_ADDRESS_SERVICE_TIMEOUT, 300);
        config.reset();
        Device d = storedDevice(s);
        TestableLogin worker;
        QElapsedTimer clock;
        clock.start();
        QVERIFY(!worker.login(d, DeviceProtocol::PORT_COMMAND));
        QVERIFY2(clock.elapsed() < 3000, qPrintable(QString::number(clock.elapsed())));
    }

    // The identity is compared without case, as tags are. The faults of greeting and login are
    // rows of the fault-injection matrix (TestLoginFaults).
    void identityDiffersInCaseStillLogsIn()
    {
        Scenario s = scenarioAt(QStringLiteral("127.0.0.7"));
        auto sim = startSim(s);
        Device d = storedDevice(s);
        d.localIP = QStringLiteral("127.0.0.7");
        d.productID = QStringLiteral("5a3c0007");
        TestableLogin worker;
        std::unique_ptr<QTcpSocket> socket(worker.login(d, DeviceProtocol::PORT_COMMAND));
        QVERIFY(socket);
    }
};

VELKOR_TEST_MAIN(TestDeviceLogin)
#include "TestDeviceLogin.moc"

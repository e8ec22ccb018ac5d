#include "AppSettings.h"
#include "DatabaseManager.h"
#include "LoginThread.h"
#include "SimFixtures.h"
#include "TestSupport.h"

#include <QElapsedTimer>
#include <QTcpSocket>

using namespace TestSupport;

class TestableLogin : public LoginThread
{
public:
    using LoginThread::exchange;
    using LoginThread::hangUp;
};

// The roads to a device: its LAN address, its stored internet address and port, and the
// address service.
class TestDeviceLogin : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        freshHome();
        loginTestUser();
    }

    void roads_data()
    {
        QTest::addColumn<QString>("address"); // where the device listens
        QTest::addColumn<int>("basePort");
        QTest::addColumn<QString>("localIP");
        QTest::addColumn<QString>("remoteIP");
        QTest::addColumn<QString>("service"); // the address service's answer; "-": no service
        QTest::addColumn<QString>("productID"); // empty: the device's own
        QTest::addColumn<int>("port");
        QTest::addColumn<int>("peerPort"); // 0: no connection
        QTest::addColumn<QString>("storedRemote");
        const int cmd = DeviceProtocol::PORT_COMMAND, up = DeviceProtocol::PORT_UPLOAD;
        QTest::newRow("LAN") << "127.0.0.2" << 3001 << "127.0.0.2" << "" << "-" << "" << cmd << 3007 << "";
        // Neither stored road asks the service, so the stored address stays as it was.
        QTest::newRow("stored internet, commands") << "127.0.0.3" << 4001 << "" << "127.0.0.3" << "-" << "" << cmd << 4007 << "";
        QTest::newRow("stored internet, upload") << "127.0.0.3" << 4001 << "" << "127.0.0.3" << "-" << "" << up << 4002 << "";
        QTest::newRow("service: its port wins") << "127.0.0.5" << 4005 << "" << "127.0.0.4" << "127.0.0.5:4011" << ""
                                                << cmd << 4011 << "127.0.0.5";
        QTest::newRow("service: address alone") << "127.0.0.5" << 3001 << "" << "127.0.0.4" << "127.0.0.5" << "" << cmd
                                                << 3007 << "127.0.0.5";
        QTest::newRow("unknown to the service") << "127.0.0.6" << 3001 << "" << "" << "" << "NOSUCH01" << cmd << 0 << "";
        // The identity comparison is case-sensitive although tag search is not.
        QTest::newRow("identity differs in case") << "127.0.0.7" << 3001 << "127.0.0.7" << "" << "-" << "5a3c0007" << cmd
                                                  << 0 << "";
    }

    void roads()
    {
        QFETCH(QString, address);
        QFETCH(int, basePort);
        QFETCH(QString, localIP);
        QFETCH(QString, remoteIP);
        QFETCH(QString, service);
        QFETCH(QString, productID);
        QFETCH(int, port);
        QFETCH(int, peerPort);
        QFETCH(QString, storedRemote);
        Scenario s = scenarioAt(address);
        s.basePort = basePort;
        if (service != "-") {
            s.httpPort = 18000 + address.section('.', 3).toInt();
            if (!service.isEmpty())
                s.addressService.insert(s.serverId, service);
        }
        auto sim = startSim(s);
        if (service != "-")
            AppSettings::userConfig()->setValue(AppSettings::KEY_ADDRESS_SERVICE_URL, sim->sim()->httpUrl());
        Device d = storedDevice(s);
        d.localIP = localIP;
        d.remoteIP = remoteIP;
        d.internetPort = basePort;
        if (!productID.isEmpty())
            d.productID = productID;
        d.connectStatus = 9;

        TestableLogin worker;
        QPointer<QTcpSocket> socket = worker.login(d, port);
        QCOMPARE(socket ? int(socket->peerPort()) : 0, peerPort);
        QCOMPARE(storedColumn(d.id, "remoteIP", "DEVICES").toString(), storedRemote);
        if (!socket) {
            QCOMPARE(d.connectStatus, 9); // no connection at all keeps the old state
            QVERIFY(storedColumn(d.id, "connectStatus", "DEVICES").isNull());
            return;
        }
        if (!storedRemote.isEmpty())
            QCOMPARE(d.remoteIP, storedRemote);
        // A loopback client is not on a private network: the internet state.
        QCOMPARE(d.connectStatus, 1);
        QCOMPARE(storedColumn(d.id, "connectStatus", "DEVICES").toInt(), 1);
        if (port == DeviceProtocol::PORT_COMMAND)
            QVERIFY(worker.exchange(socket, QStringLiteral("<ACTION>GET_SVR_INFO</ACTION>")).contains(s.serverId));
        worker.hangUp(socket);
        QTRY_VERIFY(socket.isNull()); // released once closed
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
        d.localIP.clear();
        TestableLogin worker;
        QElapsedTimer clock;
        clock.start();
        QVERIFY(!worker.login(d, DeviceProtocol::PORT_COMMAND));
        QVERIFY2(clock.elapsed() < 3000, qPrintable(QString::number(clock.elapsed())));
    }
};

VELKOR_TEST_MAIN(TestDeviceLogin)
#include "TestDeviceLogin.moc"

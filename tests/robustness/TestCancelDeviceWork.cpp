#include "Controller.h"
#include "DeviceController.h"
#include "RobustnessSupport.h"
#include "SendFaxController.h"
#include "TestSupport.h"

#include <QApplication>

using namespace Robustness;

// Closing a window whose device work hangs: the work's controller goes at once, and the store
// keeps what it had.
class TestCancelDeviceWork : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        DeviceProtocol::setTestTimeoutDivisor(1); // the device's real waits: 15 s and 30 s
    }

    void ownerGoesAtOnce_data()
    {
        QTest::addColumn<QString>("owner");
        QTest::addColumn<QString>("silent");
        QTest::addColumn<QString>("address");
        QTest::newRow("log fetch, a day unanswered") << "administration" << "DOWN_FILE" << "127.0.5.41";
        QTest::newRow("command, login unanswered") << "administration" << "LOGIN" << "127.0.5.42";
        QTest::newRow("new faxes, query unanswered") << "receiving" << "GET_NEW_FAX" << "127.0.5.43";
        QTest::newRow("pause, request unanswered") << "sending" << "SEND_FAX_PAUSE" << "127.0.5.44";
    }

    void ownerGoesAtOnce()
    {
        QFETCH(QString, owner);
        QFETCH(QString, silent);
        QFETCH(QString, address);
        Scenario s = scenarioAt(address);
        s.faults << fault(silent, SimFault::Silent);
        auto sim = startSim(s);
        Device device = storedDevice(s, QStringLiteral("7"));

        QObject* controller = nullptr;
        if (owner == QLatin1String("administration")) {
            auto* admin = new DeviceController;
            if (silent == QLatin1String("LOGIN"))
                emit admin->getServerInfomation(device);
            else
                emit admin->getDeviceLog(device, QDateTime(QDate(2024, 3, 5), QTime()), QDateTime(QDate(2024, 3, 11), QTime()));
            controller = admin;
        } else if (owner == QLatin1String("receiving")) {
            auto* inbox = new Controller;
            emit inbox->downloadFaxInfo(device, DeviceProtocol::PORT_COMMAND);
            controller = inbox;
        } else {
            auto* outbox = new SendFaxController;
            QString task = QStringLiteral("1000");
            emit outbox->sendFaxPause(device, task);
            controller = outbox;
        }
        // The device has the request and keeps silent.
        QTRY_VERIFY(sim->device()->actionLog().join('\n').contains(QStringLiteral("(fault)")));
        QElapsedTimer clock;
        clock.start();
        delete controller;
        QVERIFY2(clock.elapsed() < DeviceProtocol::CONNECT_TIMEOUT_MS, qPrintable(QString::number(clock.elapsed())));
        QVERIFY(storedConnectStatus(device.id) != 2); // a cancelled login says nothing of the device
        QCOMPARE(reloadDevice(device.productID).taskID, QStringLiteral("7"));
    }
};

VELKOR_TEST_MAIN(TestCancelDeviceWork)
#include "TestCancelDeviceWork.moc"

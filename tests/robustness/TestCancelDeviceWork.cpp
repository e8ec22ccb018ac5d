#include "Controller.h"
#include "DatabaseManager.h"
#include "DeviceController.h"
#include "RobustnessSupport.h"
#include "SendFaxController.h"
#include "TestSupport.h"

#include <QApplication>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

using namespace Robustness;

namespace {

// The work under way must end within this when its owner goes.
constexpr qint64 CANCEL_MS = 1000;

} // namespace

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
        s.faults << once(silent, SimFault::Silent);
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
        QVERIFY2(clock.elapsed() < CANCEL_MS, qPrintable(QString::number(clock.elapsed())));
        QVERIFY(storedConnectStatus(device.id) != 2); // a cancelled login says nothing of the device
        QString productID = device.productID;
        QCOMPARE(DatabaseManager().queryDevice(productID).taskID, QStringLiteral("7"));
    }

    // An address whose queue of new connections is full: the connect itself waits.
    void ownerGoesDuringConnect()
    {
        sockaddr_in at{};
        at.sin_family = AF_INET;
        at.sin_port = htons(DeviceProtocol::PORT_COMMAND);
        inet_pton(AF_INET, "127.0.5.45", &at.sin_addr);
        const int listener = ::socket(AF_INET, SOCK_STREAM, 0);
        const int queued = ::socket(AF_INET, SOCK_STREAM, 0);
        QVERIFY(::bind(listener, reinterpret_cast<sockaddr*>(&at), sizeof at) == 0 && ::listen(listener, 0) == 0);
        QVERIFY(::connect(queued, reinterpret_cast<sockaddr*>(&at), sizeof at) == 0);
        Device device = storedDevice(scenarioAt(QStringLiteral("127.0.5.45")));
        auto* admin = new DeviceController;
        emit admin->getServerInfomation(device);
        QTest::qWait(300);
        QElapsedTimer clock;
        clock.start();
        delete admin;
        const qint64 elapsed = clock.elapsed();
        ::close(queued);
        ::close(listener);
        QVERIFY2(elapsed < CANCEL_MS, qPrintable(QString::number(elapsed)));
    }
};

VELKOR_TEST_MAIN(TestCancelDeviceWork)
#include "TestCancelDeviceWork.moc"

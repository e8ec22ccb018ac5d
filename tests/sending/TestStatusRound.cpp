#include "DeviceProtocol.h"
#include "SendFaxController.h"
#include "SendingTestData.h"
#include "TestSupport.h"

#include <QApplication>
#include <QSignalSpy>

using namespace SendingTestData;

// A status round against a device that does not answer, and the uploads queued meanwhile.
class TestStatusRound : public QObject
{
    Q_OBJECT

    std::unique_ptr<DeviceSimRunner> m_sim;
    Scenario m_scenario;
    Device m_device;

    SimDevice* sim() { return m_sim->device(); }

    Fax uploadedFax(const QString& number)
    {
        Fax fax = storedFax(m_device, writeFile(TestSupport::documentsPath() + number + ".tif", tinyTiff(300)), number);
        SendFaxThread worker;
        connect(&worker, &SendFaxThread::returnTaskID, [&fax](Fax& f) { fax = f; });
        worker.sendFax(fax);
        if (fax.taskID == 0)
            qWarning("upload failed");
        return fax;
    }

private slots:
    void initTestCase()
    {
        qRegisterMetaType<Fax>("Fax&");
        m_scenario = scenarioAt(QStringLiteral("127.0.2.1"));
    }

    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        m_sim = startSim(m_scenario);
        m_device = storedDevice(m_scenario);
    }

    void cleanup()
    {
        m_sim.reset();
        QCoreApplication::sendPostedEvents(); // finished threads give back their connections
        DeviceProtocol::setTestTimeoutDivisor(1);
    }

    // Logged in, then no reply to the query: the device's other faxes wait for the next round.
    void silentDeviceIsConnectedOncePerRound()
    {
        for (const char* number : { "1", "2", "3" })
            uploadedFax(QString::fromLatin1(number));
        DeviceProtocol::setTestTimeoutDivisor(10);
        sim()->addFault(SimFault::make(QStringLiteral("GET_SEND_FAX_STATUS"), SimFault::Silent));
        const int before = countLines(sim()->actionLog(), QStringLiteral("connected, "));
        SendFaxThread worker;
        QSignalSpy updated(&worker, &SendFaxThread::updateFax);
        worker.getFaxStatus2();
        QCOMPARE(updated.count(), 0);
        QCOMPARE(countLines(sim()->actionLog(), QStringLiteral("connected, ")) - before, 1);
    }

    // The round answers slowly; an upload asked for meanwhile goes to the device before the
    // round's later faxes are asked for.
    void uploadDoesNotWaitForTheRound()
    {
        for (const char* number : { "1", "2", "3" })
            uploadedFax(QString::fromLatin1(number));
        SimFault slow = SimFault::make(QStringLiteral("GET_SEND_FAX_STATUS"), SimFault::Delay, 0, 400);
        slow.times = -1;
        sim()->addFault(slow);
        Fax fresh = storedFax(m_device, writeFile(TestSupport::documentsPath() + "new.tif", tinyTiff(300)), "4");

        SendFaxController controller;
        QSignalSpy finished(&controller, &SendFaxController::faxStatusFinished);
        QSignalSpy taken(&controller, &SendFaxController::saveTaskID);
        emit controller.getFaxStatus2();
        QTRY_VERIFY(sim()->actionLog().join('\n').contains("GET_SEND_FAX_STATUS"));
        emit controller.sendFax(fresh);
        QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 1, 10000);
        QCOMPARE(taken.count(), 1);

        const QStringList log = sim()->actionLog();
        int upload = -1;
        int lastQuery = -1;
        for (int i = 0; i < log.size(); ++i) {
            if (log.at(i).contains(QStringLiteral("SENDFAX ")))
                upload = i;
            if (log.at(i).contains(QStringLiteral("GET_SEND_FAX_STATUS ->")))
                lastQuery = i;
        }
        QVERIFY2(upload >= 0 && upload < lastQuery, qPrintable(log.join('\n')));
    }
};

VELKOR_TEST_MAIN(TestStatusRound)
#include "TestStatusRound.moc"

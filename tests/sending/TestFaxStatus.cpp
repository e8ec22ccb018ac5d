#include "DeviceProtocol.h"
#include "FaxStatus.h"
#include "FaxStatusTimer.h"
#include "MessageBoxUtil.h"
#include "SendFaxController.h"
#include "SendingTestData.h"
#include "TestSupport.h"
#include "TimeUtil.h"

#include <QApplication>
#include <QSignalSpy>

using namespace SendingTestData;

class TestFaxStatus : public QObject
{
    Q_OBJECT

    std::unique_ptr<DeviceSimRunner> m_sim;
    Scenario m_scenario;
    Device m_device;

    SimDevice* sim() { return m_sim->device(); }

    // A fax the device has taken over: stored, uploaded, with its task number.
    Fax uploadedFax(const QString& number = QStringLiteral("12345"), int pages = 2)
    {
        const QString path
            = writeFile(TestSupport::documentsPath() + QStringLiteral("job%1.tif").arg(++m_files), tinyTiff(300));
        Fax fax = storedFax(m_device, path, number);
        fax.pageTotal = pages;
        SendFaxThread worker;
        connect(&worker, &SendFaxThread::returnTaskID, [&fax](Fax& f) { fax = f; });
        worker.sendFax(fax);
        if (fax.taskID == 0)
            qWarning("upload failed");
        return fax;
    }
    int m_files = 0;

    // One list round on a probe worker; returns the faxes it reported.
    QList<Fax> pollRound(bool* released = nullptr)
    {
        ProbeThread worker;
        QList<Fax> updated;
        int finished = 0;
        connect(&worker, &SendFaxThread::updateFax, [&updated](Fax& f) { updated << f; });
        connect(&worker, &SendFaxThread::faxStatusFinished, [&finished] { ++finished; });
        worker.getFaxStatus2();
        if (finished != 1)
            qWarning("faxStatusFinished came %d times", finished);
        if (released)
            *released = worker.socketReleased();
        return updated;
    }

    // Status queries the device has answered since the test began.
    int statusQueries() { return countLines(sim()->actionLog(), QStringLiteral("GET_SEND_FAX_STATUS ->")); }

    SimJob job(const Fax& fax)
    {
        SimJob j;
        sim()->job(quint32(fax.taskID), &j);
        return j;
    }

private slots:
    void initTestCase()
    {
        qRegisterMetaType<Fax>("Fax&");
        qRegisterMetaType<QString>("QString&");
        m_scenario = scenarioAt(QStringLiteral("127.0.0.35"));
        SimOutcome failing;
        failing.number = QStringLiteral("999");
        failing.success = false;
        failing.issue = QStringLiteral("Line busy");
        m_scenario.jobs.outcomes << failing;
        MessageBoxUtil::setRecording(true);
    }

    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        DeviceProtocol::setTestTimeoutDivisor(1);
        // A fresh device for each test: its jobs and its one line start free.
        m_sim = startSim(m_scenario);
        m_device = storedDevice(m_scenario);
    }

    void cleanup()
    {
        m_sim.reset();
        QCoreApplication::sendPostedEvents(); // finished threads give back their connections
        DeviceProtocol::setTestTimeoutDivisor(1);
    }

    void recordIsCopiedIntoFaxes()
    {
        const Fax fax = uploadedFax();
        sim()->advanceJob(quint32(fax.taskID), 3); // dialled, connected, handshake
        const SimJob onDevice = job(fax);
        QCOMPARE(onDevice.status * 10 + onDevice.sendState, 63);

        bool released = false;
        const QList<Fax> updated = pollRound(&released);
        QVERIFY(released);
        QCOMPARE(updated.size(), 1);
        const Fax& live = updated.first();
        const QString local = onDevice.timeUtc.toLocalTime().toString(TimeUtil::FORMAT);
        QCOMPARE((QVariantList { live.id, live.status, live.sendState, live.trainingValue, live.dialAlready, live.pageTotal,
                     live.time }),
            (QVariantList { fax.id, 6, 3, 14400, 1, 2, local }));
        QCOMPARE(FaxStatus::progressText(
                     live.sendState, live.pageSended, live.pagePercent, live.pageTotal, live.trainingValue),
            QStringLiteral("传真握手 14400"));
        QCOMPARE((QVariantList { storedColumn(fax.id, "status").toInt(), storedColumn(fax.id, "dialAlready").toInt(),
                     storedColumn(fax.id, "time").toString() }),
            (QVariantList { 6, 1, local }));

        // Pages under way: the progress of the page.
        sim()->advanceJob(quint32(fax.taskID), 2);
        const Fax page = pollRound().first();
        QCOMPARE(FaxStatus::progressText(
                     page.sendState, page.pageSended, page.pagePercent, page.pageTotal, page.trainingValue),
            QStringLiteral("已完成0页70%(共2页)"));
    }

    void endStatesLeaveThePolledSet()
    {
        const Fax good = uploadedFax(QStringLiteral("12345"), 1);
        const Fax bad = uploadedFax(QStringLiteral("99988"), 1);
        const Fax waiting = uploadedFax(QStringLiteral("555"), 1);
        sim()->advanceJob(quint32(good.taskID), 20);
        sim()->advanceJob(quint32(bad.taskID), 20);
        QCOMPARE(pollRound().size(), 3);
        QCOMPARE((QVariantList { storedColumn(good.id, "status"), storedColumn(good.id, "pageSended"),
                     storedColumn(bad.id, "status"), storedColumn(bad.id, "issue"), storedColumn(waiting.id, "status") }),
            (QVariantList { 2, 1, 1, "Line busy", 5 }));

        // The next round asks only for the open one.
        const QList<Fax> second = pollRound();
        QCOMPARE(second.size(), 1);
        QCOMPARE(second.first().id, waiting.id);
        QCOMPARE(statusQueries(), 4);
    }

    void faxWithoutTaskIsNeverPolled()
    {
        Fax fax = storedFax(m_device, TestSupport::documentsPath() + "none.tif");
        fax.status = 6;
        DatabaseManager().updateUploadFaxFailed(fax); // status 6, task still 0
        QVERIFY(pollRound().isEmpty());
        QCOMPARE(statusQueries(), 0);
    }

    void deadDeviceIsAskedOncePerRound()
    {
        uploadedFax(QStringLiteral("1"));
        uploadedFax(QStringLiteral("2"));
        uploadedFax(QStringLiteral("3"));
        DeviceProtocol::setTestTimeoutDivisor(10);
        sim()->addFault(SimFault::make(QStringLiteral("GREETING"), SimFault::Silent));
        const int before = countLines(sim()->actionLog(), QStringLiteral("no greeting"));
        QVERIFY(pollRound().isEmpty());
        QCOMPARE(countLines(sim()->actionLog(), QStringLiteral("no greeting")) - before, 1);
        // The next round tries again.
        sim()->clearFaults();
        QCOMPARE(pollRound().size(), 3);
    }

    void singleFaxQueryDoesNotWriteTheStore()
    {
        Fax fax = uploadedFax();
        sim()->advanceJob(quint32(fax.taskID), 1);
        ProbeThread worker;
        QList<Fax> updated;
        connect(&worker, &SendFaxThread::updateFax, [&updated](Fax& f) { updated << f; });
        worker.getFaxStatus(fax);
        QCOMPARE((QList<int> { updated.size(), fax.status, fax.sendState, updated.value(0).status,
                     storedColumn(fax.id, "status").toInt() }),
            (QList<int> { 1, 6, 1, 6, 5 }));
        QVERIFY(worker.socketReleased());
    }

    void pauseAndRetry()
    {
        const Fax fax = uploadedFax();
        sim()->advanceJob(quint32(fax.taskID), 1);
        ProbeThread worker;
        QSignalSpy paused(&worker, &SendFaxThread::sendFaxPauseResult);
        QSignalSpy retried(&worker, &SendFaxThread::sendFaxRetryResult);
        Device device = m_device;
        QString task = QString::number(fax.taskID);

        worker.sendFaxPause(device, task);
        QCOMPARE(paused.count(), 1);
        QCOMPARE(paused.last(), (QVariantList { task, true }));
        QVERIFY(worker.socketReleased());
        QCOMPARE(job(fax).status, 7);
        // A stopped fax is still polled.
        QCOMPARE(pollRound().first().status, 7);
        QCOMPARE(pollRound().size(), 1);

        worker.sendFaxRetry(device, task);
        QCOMPARE(retried.count(), 1);
        QCOMPARE(retried.last().at(1).toBool(), true);
        QCOMPARE(job(fax).status * 10 + job(fax).dialTotal, 52); // RETRY_CNT is 2
        QCOMPARE(pollRound().first().status, 5);

        // The device says no: a task it does not know.
        QString unknown = QStringLiteral("424242");
        worker.sendFaxPause(device, unknown);
        QCOMPARE(paused.last().at(1).toBool(), false);
        worker.sendFaxRetry(device, task); // already running again
        QCOMPARE(retried.last().at(1).toBool(), false);

        // A device that cannot be reached: nothing but the negative result.
        Device gone = device;
        gone.localIP = QStringLiteral("127.0.0.49");
        worker.sendFaxPause(gone, task);
        QCOMPARE(paused.last().at(1).toBool(), false);
        QVERIFY(worker.socketReleased());
        QVERIFY(MessageBoxUtil::takeShown().isEmpty());
    }

    void ticksDuringARoundAreDropped()
    {
        uploadedFax();
        // Each round takes at least 600 ms; ten ticks come during the first.
        sim()->addFault(SimFault::make(QStringLiteral("GET_SEND_FAX_STATUS"), SimFault::Delay, 0, 600));
        SendFaxController controller;
        QSignalSpy finished(&controller, &SendFaxController::faxStatusFinished);
        QSignalSpy updated(&controller, &SendFaxController::updateFax);
        for (int i = 0; i < 10; ++i) {
            emit controller.getFaxStatus2();
            QTest::qWait(30);
        }
        QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 1, 10000);
        QTest::qWait(1500); // long enough for a queued second round to show
        QCOMPARE(finished.count(), 1);
        QCOMPARE(updated.count(), 1);
        QCOMPARE(statusQueries(), 1);

        // Once the round is over the next tick is served.
        emit controller.getFaxStatus2();
        QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 2, 10000);
        QCOMPARE(statusQueries(), 2);
    }

    void statusTimerFollowsOneFaxToItsEnd()
    {
        Fax fax = uploadedFax();
        sim()->advanceJob(quint32(fax.taskID), 1);
        FaxStatusTimer timer(fax);
        QSignalSpy updated(&timer, &FaxStatusTimer::updateFax);
        QTRY_COMPARE_WITH_TIMEOUT(updated.count(), 1, 5000);
        QCOMPARE(qvariant_cast<Fax>(updated.last().first()).status, 6);
        QCOMPARE(storedColumn(fax.id, "status").toInt(), 6);
        QVERIFY(timer.isActive());

        // Stopped on the device: the timer ends although the list poll would go on.
        SendFaxThread worker;
        QString task = QString::number(fax.taskID);
        Device device = m_device;
        worker.sendFaxPause(device, task);
        QTRY_VERIFY_WITH_TIMEOUT(!timer.isActive(), 5000);
        QCOMPARE(qvariant_cast<Fax>(updated.last().first()).status, 7);
        QCOMPARE(storedColumn(fax.id, "status").toInt(), 7);
        const int count = updated.count();
        QTest::qWait(2500);
        QCOMPARE(updated.count(), count);
    }
};

VELKOR_TEST_MAIN(TestFaxStatus)
#include "TestFaxStatus.moc"

#include "DeviceProtocol.h"
#include "FaxStatus.h"
#include "FaxStatusTimer.h"
#include "MessageBoxUtil.h"
#include "SendFaxController.h"
#include "SendingTestData.h"
#include "TestSupport.h"
#include "TimeUtil.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>
#include <atomic>

using namespace SendingTestData;

namespace {

QByteArray utf16(const QString& text)
{
    return QByteArray(reinterpret_cast<const char*>(text.utf16()), text.size() * 2);
}

// A device on port 3002 that greets, accepts any login and then answers every write with
// "R", whatever it has already been given.
class EagerDevice
{
public:
    EagerDevice(const QString& address, const QString& serverId)
    {
        m_server->moveToThread(&m_thread);
        m_thread.start();
        QMetaObject::invokeMethod(
            m_server,
            [this, address, serverId] {
                QObject::connect(m_server, &QTcpServer::newConnection, m_server, [this, serverId] {
                    while (QTcpSocket* s = m_server->nextPendingConnection()) {
                        QObject::connect(s, &QTcpSocket::disconnected, s, &QObject::deleteLater);
                        s->write(utf16("<SERVER_NAME>eager</SERVER_NAME><SERVER_ID>" + serverId
                            + "</SERVER_ID><VERIFY_STRING>abc</VERIFY_STRING>"));
                        auto loggedIn = std::make_shared<bool>(false);
                        QObject::connect(s, &QTcpSocket::readyRead, s, [this, s, loggedIn] {
                            const QByteArray in = s->readAll();
                            if (*loggedIn)
                                m_afterLogin += in.size();
                            s->write(utf16(
                                *loggedIn ? QStringLiteral("R") : QStringLiteral("<LOGIN_STATE>OK</LOGIN_STATE>")));
                            *loggedIn = true;
                        });
                    }
                });
                m_server->listen(QHostAddress(address), 3002);
            },
            Qt::BlockingQueuedConnection);
    }

    ~EagerDevice()
    {
        QMetaObject::invokeMethod(
            m_server, [this] { delete m_server; }, Qt::BlockingQueuedConnection);
        m_thread.quit();
        m_thread.wait();
    }

    qint64 bytesAfterLogin() const { return m_afterLogin; }

private:
    QThread m_thread;
    QTcpServer* m_server = new QTcpServer;
    std::atomic<qint64> m_afterLogin { 0 };
};

} // namespace

// An upload and the life of the fax on the device after it.
class TestFaxUpload : public QObject
{
    Q_OBJECT

    std::unique_ptr<DeviceSimRunner> m_sim;
    Scenario m_scenario;
    Device m_device;

    SimDevice* sim() { return m_sim->device(); }

    // Runs sendFax on a probe worker; notes the results and whether its socket is gone.
    Fax upload(Fax fax)
    {
        ProbeThread worker;
        QSignalSpy ok(&worker, &SendFaxThread::returnTaskID);
        QSignalSpy ko(&worker, &SendFaxThread::uploadFaxFailed);
        Fax result = fax;
        connect(&worker, &SendFaxThread::returnTaskID, [&](Fax& f) { result = f; });
        connect(&worker, &SendFaxThread::uploadFaxFailed, [&](Fax& f) { result = f; });
        worker.sendFax(fax);
        m_lastAccepted = ok.count();
        m_lastFailed = ko.count();
        m_lastReleased = worker.socketReleased();
        return result;
    }
    int m_lastAccepted = 0;
    int m_lastFailed = 0;
    bool m_lastReleased = false;

    QString filePath(const QString& name) { return TestSupport::documentsPath() + name; }


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
        m_scenario = scenarioAt(QStringLiteral("127.0.0.36"));
        SimOutcome failing;
        failing.number = QStringLiteral("999");
        failing.success = false;
        failing.issue = QStringLiteral("忙音 Line busy");
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

    void headerAndFileReachTheDevice()
    {
        const QByteArray tiff = tinyTiff(5000);
        Fax fax = storedFax(m_device, writeFile(filePath("a.tif"), tiff), QStringLiteral("0755-86001234"));
        fax.receiver = QStringLiteral("李四 Co.");
        fax.priority = 3;
        fax.quality = 2;
        fax.pageTotal = 3;
        fax.dialTotal = 4;
        fax.retryTime = 7;
        fax.disableHeader = true;
        fax.disabeDialPrefix = false;
        fax.dateTimePlan = QDateTime(QDate(2031, 5, 6), QTime(15, 8, 9), Qt::OffsetFromUTC, 8 * 3600);
        fax.dateTimeStop = QDateTime(QDate(2031, 5, 7), QTime(10, 0), Qt::OffsetFromUTC, 3600);
        fax.timeFrom = QTime(9, 15);
        fax.timeTo = QTime(16, 45);

        const QDateTime before = QDateTime::currentDateTimeUtc().addSecs(-1);
        const Fax result = upload(fax);
        QCOMPARE(m_lastAccepted, 1);
        QVERIFY(m_lastReleased);

        const QList<SimUpload> uploads = sim()->uploads();
        QCOMPARE(uploads.size(), 1);
        const SimRecord::UploadHeader& h = uploads[0].fields;
        QVERIFY2(h.problems.isEmpty(), qPrintable(h.problems.join("; ")));
        QCOMPARE((QVariantList { h.status, h.number, h.receiver, h.priority, h.quality, h.pageTotal, h.dialTotal,
                     h.retryTime, h.disableHeader, h.disableDialPrefix, h.planTime.toUtc(), h.stopTime.toUtc(),
                     h.windowFrom.hour * 60 + h.windowFrom.minute, h.windowTo.hour * 60 + h.windowTo.minute,
                     uploads[0].account }),
            (QVariantList { 5, "0755-86001234", "李四 Co.", 3, 2, 3, 4, 7, 1, 0, QDateTime(QDate(2031, 5, 6), QTime(7, 8, 9), Qt::UTC),
                QDateTime(QDate(2031, 5, 7), QTime(9, 0), Qt::UTC), 9 * 60 + 15, 16 * 60 + 45, "admin" }));
        const QDateTime uploaded = h.uploadTime.toUtc();
        QVERIFY(uploaded >= before && uploaded <= QDateTime::currentDateTimeUtc());
        QCOMPARE(uploads[0].tiff, tiff);

        // The task number comes back and is stored; the status stays 5 until the first poll.
        QCOMPARE(result.taskID, int(uploads[0].task));
        QVERIFY(result.taskID > 0);
        QCOMPARE(storedColumn(fax.id, "taskID").toInt(), result.taskID);
        QCOMPARE(storedColumn(fax.id, "status").toInt(), 5);
        QCOMPARE(result.status, 5);
    }

    void blockSizesAtTheEdges_data()
    {
        QTest::addColumn<int>("fileSize");
        QTest::addColumn<int>("blocks");
        QTest::newRow("176 fills the first block") << 176 << 1;
        QTest::newRow("177 needs a second") << 177 << 2;
        QTest::newRow("total 2400, two full blocks") << 1376 << 2;
        QTest::newRow("one byte over") << 2577 << 4;
    }

    void blockSizesAtTheEdges()
    {
        QFETCH(int, fileSize);
        QFETCH(int, blocks);
        const QByteArray tiff = tinyTiff(fileSize);
        const Fax result = upload(storedFax(m_device, writeFile(filePath("edge.tif"), tiff)));
        QCOMPARE(m_lastAccepted, 1);
        QVERIFY(result.taskID > 0);
        QCOMPARE(sim()->uploads().last().tiff, tiff);
        const QString line = QStringLiteral("SENDFAX %1 bytes in %2 blocks").arg(fileSize + 1024).arg(blocks);
        QCOMPARE(countLines(sim()->actionLog(), line), 1);
    }

    // Faults of the connection are rows of the fault-injection matrix (TestSendFaults); these
    // are the device's own refusals.
    void finalReplyRefuses()
    {
        sim()->addFault(SimFault::make("SENDFAX", SimFault::Feedback, 0, 0, "FILE_ERROR"));
        const int before = sim()->uploads().size();
        const Fax fax = storedFax(m_device, writeFile(filePath("f.tif"), tinyTiff(3000)));
        const Fax result = upload(fax);
        QCOMPARE(m_lastFailed + 10 * m_lastAccepted, 1);
        QVERIFY(m_lastReleased);
        QCOMPARE(result.status * 100 + result.taskID, 300);
        QCOMPARE(storedColumn(fax.id, "status").toInt() * 100 + storedColumn(fax.id, "taskID").toInt(), 300);
        QCOMPARE(sim()->uploads().size(), before + 1); // the file arrived, and was refused
        QVERIFY(MessageBoxUtil::takeShown().isEmpty());
    }

    void failuresBeforeTheWire()
    {
        // A missing file is not created by the attempt.
        const QString missing = filePath("missing.tif");
        Fax result = upload(storedFax(m_device, missing));
        QCOMPARE(m_lastFailed, 1);
        QCOMPARE(result.status, 3);
        QVERIFY(!QFile::exists(missing));
        QVERIFY(m_lastReleased);

        // A number that does not fit its 32 units is refused before any connection.
        const int loginsBefore = countLines(sim()->actionLog(), QStringLiteral("LOGIN"));
        const Fax longNumber
            = storedFax(m_device, writeFile(filePath("n.tif"), tinyTiff(100)), QString(33, QLatin1Char('8')));
        result = upload(longNumber);
        QCOMPARE(m_lastFailed, 1);
        QCOMPARE(storedColumn(longNumber.id, "status").toInt(), 3);
        QCOMPARE(countLines(sim()->actionLog(), QStringLiteral("LOGIN")), loginsBefore);

        // 32 digits go through whole.
        result
            = upload(storedFax(m_device, writeFile(filePath("n.tif"), tinyTiff(100)), QString(32, QLatin1Char('8'))));
        QCOMPARE(m_lastAccepted, 1);
        QCOMPARE(sim()->uploads().last().fields.number, QString(32, QLatin1Char('8')));

        // A device that is not bound for this user cannot be reached.
        Fax stranger = storedFax(m_device, writeFile(filePath("s.tif"), tinyTiff(100)));
        stranger.serverID = QStringLiteral("NOSUCHDEVICE");
        result = upload(stranger);
        QCOMPARE(m_lastFailed, 1);
        QCOMPARE(storedColumn(stranger.id, "status").toInt(), 3);
        QVERIFY(MessageBoxUtil::takeShown().isEmpty());
    }

    void deviceThatAsksForMoreThanTheFileHolds()
    {
        // Answers "R" to everything after the login: the upload must end after its last block.
        const Scenario other = scenarioAt(QStringLiteral("127.0.0.37"));
        EagerDevice eager(other.address, other.serverId);
        const Device device = storedDevice(other);
        const Fax fax = storedFax(device, writeFile(filePath("r.tif"), tinyTiff(100)));
        QElapsedTimer clock;
        clock.start();
        upload(fax);
        QCOMPARE(m_lastFailed, 1);
        QVERIFY(m_lastReleased);
        QVERIFY(clock.elapsed() < 10000);
        // The request, then header and file once: nothing more however often it asks.
        const QByteArray request = utf16(QStringLiteral("<ACTION>SENDFAX</ACTION><FILELEN>1124</FILELEN>"
                                                        "<HEADERSIZE>1024</HEADERSIZE><BUFSIZE>1200</BUFSIZE>"));
        QTRY_COMPARE(eager.bytesAfterLogin(), qint64(request.size() + 1124));
    }

    void throughTheController()
    {
        SendFaxController controller;
        QSignalSpy saved(&controller, &SendFaxController::saveTaskID);
        QSignalSpy failed(&controller, &SendFaxController::uploadFaxFailed);
        Fax good = storedFax(m_device, writeFile(filePath("c1.tif"), tinyTiff(2000)));
        Fax bad = storedFax(m_device, filePath("nothing-here.tif"));
        emit controller.sendFax(good);
        emit controller.sendFax(bad);
        QTRY_COMPARE_WITH_TIMEOUT(saved.count() + failed.count(), 2, 20000);
        QCOMPARE(saved.count(), 1);
        QCOMPARE(failed.count(), 1);
        const Fax savedFax = qvariant_cast<Fax>(saved.first().first());
        QCOMPARE(savedFax.id, good.id);
        QVERIFY(savedFax.taskID > 0);
        QCOMPARE(qvariant_cast<Fax>(failed.first().first()).status, 3);
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
            (QVariantList { 2, 1, 1, "忙音 Line busy", 5 }));

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

    // A device reached over the internet is asked on the base port it was bound with, not 3001.
    void internetDeviceIsAskedOnItsPort()
    {
        Scenario s = scenarioAt(QStringLiteral("127.0.0.38"));
        s.basePort = 4001;
        Device d = storedDevice(s);
        d.localIP.clear();
        DatabaseManager().updateDeviceLocalIP(d);
        d.remoteIP = s.address;
        d.internetPort = 4001;
        DatabaseManager().updateDeviceRemoteIP(d);
        Fax fax = storedFax(d, TestSupport::documentsPath() + "far.tif");
        fax.taskID = 77;
        DatabaseManager().updateFaxTaskID(fax);
        const QList<Fax> open = DatabaseManager().queryUploadingFax();
        QCOMPARE(open.size(), 1);
        QCOMPARE(SendFaxThread::deviceOf(open.first()).internetPort, 4001);
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

VELKOR_TEST_MAIN(TestFaxUpload)
#include "TestFaxUpload.moc"

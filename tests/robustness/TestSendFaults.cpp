#include "ConnectionPool.h"
#include "FaxStatus.h"
#include "RobustnessSupport.h"
#include "SendFaxThread.h"
#include "TestSupport.h"

#include <QFile>
#include <QSignalSpy>
#include <QSqlQuery>

using namespace Robustness;

namespace {

// The smallest file the device takes for a TIFF, padded: 3000 bytes make, with the header,
// blocks of 1200, 1200, 1200 and 424 bytes.
QByteArray faxFile()
{
    QByteArray bytes("II*\0\x08\0\0\0\0\0\0\0\0\0", 14);
    bytes.append(QByteArray(3000 - bytes.size(), '\0'));
    return bytes;
}

QVariant stored(int faxId, const char* column)
{
    QSqlQuery q(ConnectionPool::openConnection());
    q.prepare(QStringLiteral("SELECT %1 FROM FAXES WHERE id = ?").arg(QLatin1String(column)));
    q.addBindValue(faxId);
    return q.exec() && q.next() ? q.value(0) : QVariant();
}

} // namespace

// The upload and the status poll against a device that misbehaves at each step: each ends
// within its waits, FAXES holds either the old state or the device's true one (never bytes
// of something else), no fax is sent twice unknowingly, and the next run completes.
class TestSendFaults : public QObject
{
    Q_OBJECT

    std::unique_ptr<DeviceSimRunner> m_sim;
    Scenario m_scenario;
    Device m_device;

    SimDevice* sim() { return m_sim->device(); }

    Fax newFax()
    {
        const QString path = TestSupport::documentsPath() + QStringLiteral("job.tif");
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(faxFile()) != faxFile().size())
            qFatal("cannot write %s", qPrintable(path));
        file.close();
        Fax fax;
        fax.pageTotal = 1;
        fax.dialTotal = 2;
        fax.sender = m_device.deviceName;
        fax.status = FaxStatus::SEND_FAX_WAITTING;
        fax.time = QStringLiteral("2024-01-01 10:00:00");
        fax.serverID = m_device.productID;
        fax.cid = QStringLiteral("02155550123");
        fax.filepath = path;
        fax.tag = 1;
        fax.id = DatabaseManager().insertFax(fax, m_device.id);
        return fax;
    }

private slots:
    void initTestCase()
    {
        qRegisterMetaType<Fax>("Fax&");
        DeviceProtocol::setTestTimeoutDivisor(DIVISOR);
        m_scenario = scenarioAt(QStringLiteral("127.0.0.184"));
        m_sim = startSim(m_scenario);
    }

    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        sim()->clearFaults();
        MessageBoxUtil::clear();
        m_device = storedDevice(m_scenario);
        // Jobs of earlier rows end, so that the device's line is free for the next one.
        for (const SimJob& job : sim()->jobs())
            if (job.isOpen())
                sim()->advanceJob(job.task, 100);
    }

    void cleanupTestCase()
    {
        m_sim.reset();
        DeviceProtocol::setTestTimeoutDivisor(1);
    }

    void upload_data()
    {
        QTest::addColumn<QString>("action");
        QTest::addColumn<SimFault::Kind>("kind");
        QTest::addColumn<int>("value");
        QTest::addColumn<int>("delayMs");
        QTest::addColumn<bool>("accepted");
        QTest::addColumn<int>("jobsAfterFault"); // what the device holds after the faulty upload
        QTest::addColumn<int>("waits");          // upload waits that may expire

        QTest::newRow("no greeting") << "GREETING" << SimFault::Silent << 0 << 0 << false << 0 << 0;
        QTest::newRow("wrong SERVER_ID") << "GREETING" << SimFault::WrongServerId << 0 << 0 << false << 0 << 0;
        QTest::newRow("login refused") << "LOGIN" << SimFault::RefuseLogin << 0 << 0 << false << 0 << 0;
        QTest::newRow("no R to SENDFAX") << "SENDFAX" << SimFault::Silent << 0 << 0 << false << 0 << 1;
        QTest::newRow("busy instead of the first R") << "SENDFAX" << SimFault::NotReady << 0 << 0 << false << 0 << 0;
        QTest::newRow("busy instead of the third R") << "SENDFAX" << SimFault::NotReady << 2 << 0 << false << 0 << 0;
        for (int n : {0, 1, 1200, 1201, 2400, 4023})
            QTest::addRow("dropped after %d bytes", n) << "SENDFAX" << SimFault::DropAfterBytes << n << 0 << false << 0 << 1;
        QTest::newRow("R slower than the wait") << "SENDFAX" << SimFault::SlowPacing << 0 << 2500 << false << 0 << 1;
        QTest::newRow("R slow within the wait") << "SENDFAX" << SimFault::SlowPacing << 0 << 400 << true << 1 << 0;
        // The device took the fax: a final word that comes in two pieces must still count.
        QTest::newRow("final reply in two pieces") << "SENDFAX" << SimFault::Split << 0 << 0 << true << 1 << 0;
        // A RECV_OK without a task number: the device holds a job nobody follows, so the fax's
        // upload result is unknown until its queue is asked.
        QTest::newRow("RECV_OK without TASKID") << "SENDFAX" << SimFault::NoTaskId << 0 << 0 << false << 1 << 0;
    }

    void upload()
    {
        QFETCH(QString, action);
        QFETCH(SimFault::Kind, kind);
        QFETCH(int, value);
        QFETCH(int, delayMs);
        QFETCH(bool, accepted);
        QFETCH(int, jobsAfterFault);
        QFETCH(int, waits);

        const int jobsBefore = sim()->jobs().size();
        Fax fax = newFax();
        sim()->addFault(fault(action, kind, value, delayMs));
        SendFaxThread worker;
        QSignalSpy ok(&worker, &SendFaxThread::returnTaskID);
        QSignalSpy failed(&worker, &SendFaxThread::uploadFaxFailed);
        QElapsedTimer clock;
        clock.start();
        worker.sendFax(fax);
        // An upload waits 15 s (here 1.5 s) for each answer.
        QVERIFY2(clock.elapsed() <= bound(1, 0, waits * 1500 + 5 * delayMs),
                 qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(ok.count() + failed.count(), 1);
        QCOMPARE(ok.count(), accepted ? 1 : 0);
        settle();

        QCOMPARE(sim()->jobs().size() - jobsBefore, jobsAfterFault);
        if (accepted) {
            QCOMPARE(stored(fax.id, "taskID").toInt(), int(sim()->jobs().last().task));
            QCOMPARE(stored(fax.id, "status").toInt(), int(FaxStatus::SEND_FAX_WAITTING));
        } else {
            QCOMPARE(stored(fax.id, "taskID").toInt(), 0);
            QCOMPARE(stored(fax.id, "status").toInt(), int(kind == SimFault::NoTaskId ? FaxStatus::SEND_FAX_UPLOAD_UNKNOWN
                                                                                   : FaxStatus::SEND_FAX_UNSEND));
        }
        QVERIFY(takeMessages().isEmpty()); // the outbox shows "等待上传"; no box

        // The user's "开始上传" on a failed fax, with the device behaving, takes it over.
        if (!accepted) {
            sim()->clearFaults();
            worker.sendFax(fax);
            QCOMPARE(ok.count(), 1);
            QCOMPARE(sim()->jobs().size() - jobsBefore, jobsAfterFault + 1);
            QCOMPARE(stored(fax.id, "taskID").toInt(), int(sim()->jobs().last().task));
            QCOMPARE(sim()->uploads().last().tiff, faxFile());
        }
        settle();
    }

    void statusPoll_data()
    {
        QTest::addColumn<QString>("action");
        QTest::addColumn<SimFault::Kind>("kind");
        QTest::addColumn<int>("value");
        QTest::addColumn<int>("delayMs");
        QTest::addColumn<bool>("updated"); // else the row keeps its last state
        QTest::addColumn<int>("replyWaits");

        QTest::newRow("no greeting") << "GREETING" << SimFault::Silent << 0 << 0 << false << 0;
        QTest::newRow("login refused") << "LOGIN" << SimFault::RefuseLogin << 0 << 0 << false << 1;
        QTest::newRow("no answer to the query") << "GET_SEND_FAX_STATUS" << SimFault::Silent << 0 << 0 << false << 1;
        QTest::newRow("reply in two pieces") << "GET_SEND_FAX_STATUS" << SimFault::Split << 0 << 0 << true << 1;
        QTest::newRow("record of 100 bytes") << "GET_SEND_FAX_STATUS" << SimFault::ShortRecord << 100 << 0 << false << 2;
        QTest::newRow("record of 1023 bytes") << "GET_SEND_FAX_STATUS" << SimFault::ShortRecord << 1023 << 0 << false << 2;
        for (int n : {0, 1, 512, 1023})
            QTest::addRow("dropped after %d record bytes", n)
                << "GET_SEND_FAX_STATUS" << SimFault::DropAfterBytes << n << 0 << false << 2;
        QTest::newRow("record slower than the wait") << "GET_SEND_FAX_STATUS" << SimFault::SlowPacing << 0 << 4000 << false << 2;
        QTest::newRow("record slow within the wait") << "GET_SEND_FAX_STATUS" << SimFault::SlowPacing << 0 << 800 << true << 1;
    }

    void statusPoll()
    {
        QFETCH(QString, action);
        QFETCH(SimFault::Kind, kind);
        QFETCH(int, value);
        QFETCH(int, delayMs);
        QFETCH(bool, updated);
        QFETCH(int, replyWaits);

        // A fax the device has, three states on (dialling or later), not yet polled.
        Fax fax = newFax();
        SendFaxThread worker;
        QSignalSpy accepted(&worker, &SendFaxThread::returnTaskID);
        worker.sendFax(fax);
        QCOMPARE(accepted.count(), 1);
        const quint32 task = quint32(stored(fax.id, "taskID").toInt());
        sim()->advanceJob(task, 3);
        SimJob job;
        QVERIFY(sim()->job(task, &job));
        QVERIFY(job.status != FaxStatus::SEND_FAX_WAITTING);

        sim()->addFault(fault(action, kind, value, delayMs));
        QSignalSpy finished(&worker, &SendFaxThread::faxStatusFinished);
        QSignalSpy shown(&worker, &SendFaxThread::updateFax);
        QElapsedTimer clock;
        clock.start();
        worker.getFaxStatus2();
        QVERIFY2(clock.elapsed() <= bound(1, replyWaits), qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(finished.count(), 1);
        QCOMPARE(shown.count(), updated ? 1 : 0);
        QCOMPARE(stored(fax.id, "status").toInt(), updated ? job.status : int(FaxStatus::SEND_FAX_WAITTING));
        QCOMPARE(stored(fax.id, "dialAlready").toInt(), updated ? job.dialAlready : 0);
        QCOMPARE(stored(fax.id, "issue").toString(), QString());
        QVERIFY(takeMessages().isEmpty());
        settle();

        // The next tick, with the device behaving, brings the device's state.
        sim()->clearFaults();
        worker.getFaxStatus2();
        QCOMPARE(stored(fax.id, "status").toInt(), job.status);
        QCOMPARE(stored(fax.id, "dialAlready").toInt(), job.dialAlready);
        QCOMPARE(stored(fax.id, "pageSended").toInt(), job.pagesSent);
        settle();
    }
};

VELKOR_TEST_MAIN(TestSendFaults)
#include "TestSendFaults.moc"

#include "FaxStatus.h"
#include "ReceiveFaxThread.h"
#include "RobustnessSupport.h"
#include "SimTiff.h"
#include "TestSupport.h"
#include "TimeUtil.h"

#include <QSqlQuery>
#include <ctime>

using namespace Robustness;

namespace {

const QDateTime kBase(QDate(2024, 3, 1), QTime(8, 0, 0), Qt::UTC);

// Three faxes after the mark 1000; the second one's file is `pages` pages long.
Scenario threeFaxes(const QString& address, int pages)
{
    Scenario s = scenarioAt(address);
    for (int i = 0; i < 3; ++i) {
        SimReceivedFax fax;
        fax.task = quint32(1001 + i);
        fax.timeUtc = kBase.addSecs(60 * i);
        fax.cid = QStringLiteral("555%1").arg(i + 1);
        fax.tiff = SimTiff::makeFax(i == 1 ? pages : 1, {QStringLiteral("fax %1 of a long run of text").arg(i)});
        s.received << fax;
    }
    return s;
}

QMap<int, Fax> storedByTask()
{
    QMap<int, Fax> faxes;
    for (const Fax& fax : DatabaseManager().queryReceiveFaxes())
        faxes.insert(fax.taskID, fax);
    return faxes;
}

int mark()
{
    return DatabaseManager().queryDevices().value(0).taskID.toInt();
}

int downloads(DeviceSimRunner& sim)
{
    return sim.device()->actionLog().filter(QStringLiteral("DOWN_FILE -> ")).size();
}

} // namespace

// A received fax is stored exactly once, whatever breaks on the way: later faxes are not held
// back by one that fails, the mark never passes a fax not stored, and a store that fails
// keeps nothing of the run.
class TestReceiveLifecycle : public QObject
{
    Q_OBJECT

    ReceiveFaxThread m_worker;
    QList<Fax> m_reported;

    void poll()
    {
        m_reported.clear();
        m_worker.backgroundDownloadFaxInfo(DeviceProtocol::PORT_COMMAND);
        settle();
    }

private slots:
    void initTestCase()
    {
        qRegisterMetaType<QList<Fax>>("QList<Fax>&");
        DeviceProtocol::setTestTimeoutDivisor(DIVISOR);
        connect(&m_worker, &ReceiveFaxThread::backgroundDownloadFaxInfoResult,
                [this](QList<Fax>& faxes) { m_reported = faxes; });
    }

    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
    }

    void cleanupTestCase() { DeviceProtocol::setTestTimeoutDivisor(1); }

    // The second fax's transfer breaks off at every poll; the third is stored at the first
    // poll and never fetched again; the third failed poll shows the second as failed, and the
    // row becomes the fax once its file comes.
    void aFaxThatKeepsFailingHoldsBackNoOther()
    {
        const Scenario s = threeFaxes(QStringLiteral("127.0.3.1"), 6);
        const int cut = qMax(s.received.at(0).tiff.size(), s.received.at(2).tiff.size()) + 100;
        QVERIFY(s.received.at(1).tiff.size() > cut);
        auto sim = startSim(s);
        storedDevice(s, QStringLiteral("1000"));
        sim->device()->addFault(SimFault::make(QStringLiteral("DOWN_FILE"), SimFault::DropAfterBytes, cut));

        for (int round = 1; round <= ReceiveFaxThread::FAILED_POLLS_SHOWN; ++round) {
            const int before = downloads(*sim);
            poll();
            QCOMPARE(downloads(*sim) - before, round == 1 ? 3 : 1);
            const QMap<int, Fax> faxes = storedByTask();
            QCOMPARE(faxes.value(1003).pageTotal, 1);
            QCOMPARE(mark(), 1001);
            const bool shown = round == ReceiveFaxThread::FAILED_POLLS_SHOWN;
            QCOMPARE(faxes.size(), shown ? 3 : 2);
            QCOMPARE(m_reported.size(), round == 1 ? 2 : int(shown));
        }
        const Fax failed = storedByTask().value(1002);
        QCOMPARE(failed.status, int(FaxStatus::RECV_FAX_FAILED));
        QCOMPARE(failed.cid, QStringLiteral("5552"));
        QCOMPARE(failed.time, kBase.addSecs(60).toLocalTime().toString(TimeUtil::FORMAT));
        QVERIFY(failed.filepath.isEmpty());

        sim->device()->clearFaults();
        poll();
        const Fax arrived = storedByTask().value(1002);
        QCOMPARE(arrived.id, failed.id);
        QCOMPARE(arrived.status, int(FaxStatus::RECV_FAX_UNREAD));
        QCOMPARE(arrived.pageTotal, 6);
        QCOMPARE(storedByTask().size(), 3);
        QCOMPARE(mark(), 1003);
        const int before = downloads(*sim);
        poll();
        QCOMPARE(downloads(*sim), before);
        QCOMPARE(storedByTask().size(), 3);
    }

    // A row that cannot be stored takes the run's other rows and its mark with it; the next
    // poll stores all three from the files already on disk.
    void aFailedInsertKeepsNothingOfTheRun()
    {
        const Scenario s = threeFaxes(QStringLiteral("127.0.3.2"), 2);
        auto sim = startSim(s);
        storedDevice(s, QStringLiteral("1000"));
        QSqlQuery sql(ConnectionPool::openConnection());
        QVERIFY(sql.exec(QStringLiteral("CREATE TRIGGER refuse BEFORE INSERT ON FAXES WHEN NEW.taskID = 1002 "
                                        "BEGIN SELECT RAISE(ABORT, 'disk full'); END")));
        poll();
        QVERIFY(m_reported.isEmpty());
        QVERIFY(storedByTask().isEmpty());
        QCOMPARE(mark(), 1000);

        QVERIFY(sql.exec(QStringLiteral("DROP TRIGGER refuse")));
        const int before = downloads(*sim);
        poll();
        QCOMPARE(storedByTask().keys(), (QList<int>{1001, 1002, 1003}));
        QCOMPARE(mark(), 1003);
        QCOMPARE(downloads(*sim), before);
    }

    // The device's time is UTC, also where the local clock skips or repeats an hour.
    void deviceTimeIsReadAsUtc_data()
    {
        QTest::addColumn<QByteArray>("zone");
        QTest::addColumn<QString>("utc");
        QTest::addColumn<QString>("local");
        const QByteArray berlin("Europe/Berlin"), shanghai("Asia/Shanghai");
        QTest::newRow("before spring") << berlin << "2024-03-31 00:59:59" << "2024-03-31 01:59:59";
        QTest::newRow("spring, skipped hour") << berlin << "2024-03-31 02:30:00" << "2024-03-31 04:30:00";
        QTest::newRow("autumn, summer time") << berlin << "2024-10-27 00:30:00" << "2024-10-27 02:30:00";
        QTest::newRow("autumn, winter time") << berlin << "2024-10-27 01:30:00" << "2024-10-27 02:30:00";
        QTest::newRow("autumn, repeated hour") << berlin << "2024-10-27 02:30:00" << "2024-10-27 03:30:00";
        QTest::newRow("Shanghai") << shanghai << "2024-03-31 02:30:00" << "2024-03-31 10:30:00";
        QTest::newRow("Shanghai, new year") << shanghai << "2024-12-31 20:00:00" << "2025-01-01 04:00:00";
        QTest::newRow("no such day") << shanghai << "2024-02-30 10:00:00" << "";
        QTest::newRow("other form") << berlin << "2024-03-31T02:30:00" << "";
    }

    void deviceTimeIsReadAsUtc()
    {
        QFETCH(QByteArray, zone);
        QFETCH(QString, utc);
        QFETCH(QString, local);
        const QByteArray saved = qgetenv("TZ");
        const bool had = qEnvironmentVariableIsSet("TZ");
        qputenv("TZ", zone);
        tzset();
        const QString converted = TimeUtil::utcTime2LocalTime(utc);
        had ? qputenv("TZ", saved) : qunsetenv("TZ");
        tzset();
        QCOMPARE(converted, local);
    }
};

VELKOR_TEST_MAIN(TestReceiveLifecycle)
#include "TestReceiveLifecycle.moc"

#include "ReceiveFaxThread.h"
#include "SimTiff.h"
#include "RobustnessSupport.h"
#include "TestSupport.h"
#include "TiffUtil.h"

#include <QFile>
#include <QFileInfo>
#include <QSet>
#include <QSignalSpy>

using namespace Robustness;

namespace {

const QDateTime kBase(QDate(2024, 3, 1), QTime(8, 0, 0), Qt::UTC);
const int kPages[] = {1, 3, 2};

SimReceivedFax simFax(int i)
{
    SimReceivedFax fax;
    fax.task = quint32(1001 + i);
    fax.timeUtc = kBase.addSecs(60 * i);
    fax.cid = QStringLiteral("555%1").arg(i + 1);
    fax.sender = QStringLiteral("Sender %1").arg(i + 1);
    fax.pages = kPages[i];
    return fax;
}

} // namespace

// New-fax retrieval and its downloads against a device that misbehaves at each step: the poll
// ends within its waits, the store never loses or doubles a fax, the mark never passes what
// was stored, no partial file lies under a final name, and the next poll completes the work.
class TestReceiveFaults : public QObject
{
    Q_OBJECT

    std::unique_ptr<DeviceSimRunner> m_sim;
    Scenario m_scenario;

    QString folder() const { return ReceiveFaxThread::faxFolder(m_scenario.serverId); }

    // What the store holds must be a faithful part of what the device offers.
    void verifyStore(int mark, const QString& onDisk)
    {
        const QList<Fax> faxes = DatabaseManager().queryReceiveFaxes();
        QSet<int> tasks;
        QStringList files;
        for (const Fax& fax : faxes) {
            QVERIFY2(!tasks.contains(fax.taskID), "a fax stored twice");
            tasks.insert(fax.taskID);
            QVERIFY(fax.taskID >= 1001 && fax.taskID <= 1003);
            QCOMPARE(fax.pageTotal, kPages[fax.taskID - 1001]);
            QCOMPARE(TiffUtil::getTiffPage(fax.filepath), fax.pageTotal); // the whole file
            files << QFileInfo(fax.filepath).fileName();
        }
        // The mark stands below the first fax not stored.
        int highest = mark;
        while (tasks.contains(highest + 1))
            ++highest;
        QCOMPARE(DatabaseManager().queryDevices().value(0).taskID.toInt(), highest);
        // Every file in the folder is a stored fax's complete file: nothing half-written.
        if (!onDisk.isEmpty() && !files.contains(onDisk))
            files << onDisk; // complete, and not yet stored
        files.sort();
        QCOMPARE(filesIn(folder()), files);
    }

private slots:
    void initTestCase()
    {
        qRegisterMetaType<QList<Fax>>("QList<Fax>&");
        qRegisterMetaType<QString>("QString&");
        DeviceProtocol::setTestTimeoutDivisor(DIVISOR);
        m_scenario = scenarioAt(QStringLiteral("127.0.0.188"));
        m_scenario.received = {simFax(0), simFax(1), simFax(2)};
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

    void poll_data()
    {
        QTest::addColumn<QString>("action");
        QTest::addColumn<SimFault::Kind>("kind");
        QTest::addColumn<int>("value");
        QTest::addColumn<int>("delayMs");
        // The first fax's file lies on the disk already (an earlier poll that was cut after
        // it): it costs no traffic, and the fault falls on the second fax of the same poll.
        QTest::addColumn<bool>("firstOnDisk");
        QTest::addColumn<int>("stored"); // faxes the faulty poll stores
        QTest::addColumn<int>("waits");  // reply waits that may expire

        QTest::newRow("no greeting") << "GREETING" << SimFault::Silent << 0 << 0 << false << 0 << 0;
        QTest::newRow("wrong SERVER_ID") << "GREETING" << SimFault::WrongServerId << 0 << 0 << false << 0 << 0;
        QTest::newRow("no answer to LOGIN") << "LOGIN" << SimFault::Silent << 0 << 0 << false << 0 << 1;
        QTest::newRow("login refused") << "LOGIN" << SimFault::RefuseLogin << 0 << 0 << false << 0 << 1;
        QTest::newRow("no answer to GET_NEW_FAX") << "GET_NEW_FAX" << SimFault::Silent << 0 << 0 << false << 0 << 1;
        QTest::newRow("GET_NEW_FAX cut off") << "GET_NEW_FAX" << SimFault::DropAfterBytes << 0 << 0 << false << 0 << 1;
        QTest::newRow("GET_NEW_FAX in two pieces") << "GET_NEW_FAX" << SimFault::Split << 0 << 0 << false << 3 << 0;
        QTest::newRow("GET_NEW_FAX after its wait") << "GET_NEW_FAX" << SimFault::Delay << 0 << 4000 << false << 0 << 1;
        for (bool firstOnDisk : {false, true}) {
            const char* where = firstOnDisk ? "second fax" : "first fax";
            const int before = 2; // the fax the fault falls on is passed over
            QTest::addRow("no answer to DOWN_FILE, %s", where)
                << "DOWN_FILE" << SimFault::Silent << 0 << 0 << firstOnDisk << before << 1;
            QTest::addRow("DOWN_FILE reply in two pieces, %s", where)
                << "DOWN_FILE" << SimFault::Split << 0 << 0 << firstOnDisk << 3 << 0;
            for (int n : {0, 1, 1200, 1201})
                QTest::addRow("dropped after %d bytes, %s", n, where)
                    << "DOWN_FILE" << SimFault::DropAfterBytes << n << 0 << firstOnDisk << before << 1;
            QTest::addRow("chunk slower than the wait, %s", where)
                << "DOWN_FILE" << SimFault::SlowPacing << 0 << 1500 << firstOnDisk << before << 1;
        }
        QTest::newRow("chunks slow within the wait") << "DOWN_FILE" << SimFault::SlowPacing << 0 << 300 << false << 3 << 0;
    }

    void poll()
    {
        QFETCH(QString, action);
        QFETCH(SimFault::Kind, kind);
        QFETCH(int, value);
        QFETCH(int, delayMs);
        QFETCH(bool, firstOnDisk);
        QFETCH(int, stored);
        QFETCH(int, waits);

        storedDevice(m_scenario, QStringLiteral("1000"));
        QString onDisk;
        if (firstOnDisk) {
            QDir().mkpath(folder());
            onDisk = kBase.toLocalTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss")) + QStringLiteral(".tif");
            QFile file(folder() + QLatin1Char('/') + onDisk);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(SimTiff::makeFax(1, {QStringLiteral("fetched before")}));
        }
        m_sim->device()->addFault(fault(action, kind, value, delayMs));

        ReceiveFaxThread worker;
        int reports = 0;
        int reported = -1;
        connect(&worker, &ReceiveFaxThread::backgroundDownloadFaxInfoResult, [&](QList<Fax>& faxes) {
            ++reports;
            reported = faxes.size();
        });
        QElapsedTimer clock;
        clock.start();
        worker.backgroundDownloadFaxInfo(DeviceProtocol::PORT_COMMAND);
        // Besides reply waits, one silent chunk costs a tenth of 10 s.
        QVERIFY2(clock.elapsed() <= bound(1, waits, 1000), qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(reports, 1); // the poll always reports, so that the inbox arms the next one
        QCOMPARE(reported, stored);
        QCOMPARE(DatabaseManager().queryReceiveFaxes().size(), stored);
        verifyStore(1000, onDisk);
        QVERIFY(takeMessages().isEmpty());
        settle();

        // The next poll, with the device behaving, completes the work.
        m_sim->device()->clearFaults();
        worker.backgroundDownloadFaxInfo(DeviceProtocol::PORT_COMMAND);
        QCOMPARE(reports, 2);
        QCOMPARE(DatabaseManager().queryReceiveFaxes().size(), 3);
        verifyStore(1000, onDisk);
        QCOMPARE(DatabaseManager().queryDevices().value(0).taskID, QStringLiteral("1003"));
        settle();
    }
};

VELKOR_TEST_MAIN(TestReceiveFaults)
#include "TestReceiveFaults.moc"

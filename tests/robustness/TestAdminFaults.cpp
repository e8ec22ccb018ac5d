#include "DeviceManageThread.h"
#include "FileUtil.h"
#include "RobustnessSupport.h"
#include "SimFirmware.h"
#include "TestSupport.h"
#include "TiffUtil.h"

#include <QFile>
#include <QFileInfo>
#include <QSignalSpy>
#include <QStandardPaths>

using namespace Robustness;

namespace {

enum Operation { ConfigDown, ConfigUp, DayLogs, FaxFile, Firmware };

const QDate kFirstDay(2024, 3, 1);
const QString kFileNumber = QStringLiteral("00200000");

QByteArray pattern(int size, int seed)
{
    QByteArray bytes(size, '\0');
    for (int i = 0; i < size; ++i)
        bytes[i] = char((i * 31 + seed * 7 + i / 251) & 0xFF);
    return bytes;
}

// A configuration file of some 4000 bytes: several blocks each way.
QString configText(const QString& marker)
{
    QString text = QStringLiteral("[FAXOPTIONS]\r\nServerName=Robust\r\n");
    for (int i = 0; text.size() < 2000; ++i)
        text += QStringLiteral("Key%1=%2 value %1\r\n").arg(i).arg(marker);
    return text;
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

Q_DECLARE_METATYPE(Operation)

// The administration transfers (configuration file down and up, day logs, a fax file,
// firmware) against a device that misbehaves at each step: each ends within its waits,
// reports failure (or, after a failed login, nothing), leaves no partial file under a final
// name nor a half-changed device, and the next run completes.
class TestAdminFaults : public QObject
{
    Q_OBJECT

    std::unique_ptr<DeviceSimRunner> m_sim;
    Scenario m_scenario;
    QByteArray m_firmware;
    QString m_firmwarePath;
    int m_firmwareBefore = 0;

    SimDevice* sim() { return m_sim->device(); }
    Device device() const
    {
        Device d;
        d.deviceName = QStringLiteral("admin");
        d.devicePassword = MD5Util::call128MD5(QByteArray("admin"));
        d.productID = m_scenario.serverId;
        d.localIP = m_scenario.address;
        return d;
    }
    QString deviceFolder() const { return FileUtil::getDocumentPath() + QStringLiteral("tester/") + m_scenario.serverId; }
    QString faxFolder() const
    {
        return QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation) + QLatin1Char('/') + m_scenario.serverId;
    }
    QString logPath() const
    {
        return deviceFolder() + QLatin1Char('/') + kFirstDay.toString(QStringLiteral("yyyy_MM_dd")) + QLatin1Char('-')
            + kFirstDay.addDays(1).toString(QStringLiteral("yyyy_MM_dd")) + QStringLiteral(".txt");
    }

    struct Outcome
    {
        int reports = 0; // result signals
        bool ok = false; // the result says success
    };

    Outcome run(Operation op, DeviceManageThread& worker)
    {
        Outcome out;
        m_firmwareBefore = sim()->firmwareUploads().size();
        Device d = device();
        QObject context; // the result connections end with the run
        auto report = [&out](bool ok) {
            ++out.reports;
            out.ok = ok;
        };
        switch (op) {
        case ConfigDown:
            connect(&worker, &DeviceManageThread::returnHighOption, &context,
                    [&](QString& text) { report(text.contains(QStringLiteral("ServerName=Robust"))); });
            worker.getHighOption(d);
            break;
        case ConfigUp: {
            connect(&worker, &DeviceManageThread::returnSetHighOption, &context, report);
            QString text = configText(QStringLiteral("new"));
            worker.setHighOption(d, text);
            break;
        }
        case DayLogs:
            connect(&worker, &DeviceManageThread::returnDeviceLog, &context, [&](QString& path) { report(path == logPath()); });
            worker.getDeviceLog(d, QDateTime(kFirstDay, QTime(0, 0)), QDateTime(kFirstDay.addDays(1), QTime(0, 0)));
            break;
        case FaxFile: {
            connect(&worker, &DeviceManageThread::returnFilePath, &context,
                    [&](QString& path) { report(TiffUtil::getTiffPage(path) == 3); });
            QString number = kFileNumber;
            QString name = QStringLiteral("fax");
            worker.downloadFaxFile(d, number, name);
            break;
        }
        case Firmware:
            connect(&worker, &DeviceManageThread::returnFirmwareUpgradeResult, &context, report);
            worker.firmwareUpgrade(d, m_firmwarePath);
            break;
        }
        settle();
        return out;
    }

    // What the device and the disk hold after a run, checked against whether it succeeded.
    void verifyState(Operation op, bool succeeded)
    {
        switch (op) {
        case ConfigDown: {
            // A failed download leaves the copy of an earlier one as it was.
            const QByteArray bytes = readAll(deviceFolder() + QStringLiteral("/SvrAdvParam.cfg"));
            const QString local = QString::fromUtf16(reinterpret_cast<const char16_t*>(bytes.constData()), bytes.size() / 2);
            QCOMPARE(local.contains(QStringLiteral("earlier copy")), !succeeded);
            QCOMPARE(filesIn(deviceFolder()), QStringList{QStringLiteral("SvrAdvParam.cfg")});
            break;
        }
        case ConfigUp:
            // The client does not wait for a last word: the device may still be storing the file.
            if (succeeded)
                QTRY_VERIFY(sim()->configText().contains(QStringLiteral("new value")));
            else
                QVERIFY(sim()->configText().contains(QStringLiteral("old value")));
            break;
        case DayLogs:
            QCOMPARE(QFile::exists(logPath()), succeeded);
            QCOMPARE(filesIn(deviceFolder()).filter(QStringLiteral(".txt")),
                     succeeded ? QStringList{QFileInfo(logPath()).fileName()} : QStringList());
            QCOMPARE(filesIn(deviceFolder()).size(), succeeded ? 2 : 1); // and the configuration's copy
            if (succeeded) {
                const QString text = QString::fromLocal8Bit(readAll(logPath()));
                for (int i = 0; i < 7; ++i)
                    QVERIFY(text.contains(QStringLiteral("第%1天").arg(i + 1)));
            }
            break;
        case FaxFile:
            QCOMPARE(filesIn(faxFolder()), succeeded ? QStringList{QStringLiteral("fax.tif")} : QStringList());
            break;
        case Firmware: {
            const QList<SimFirmwareUpload> uploads = sim()->firmwareUploads();
            const bool installed = uploads.size() > m_firmwareBefore && uploads.last().complete
                && uploads.last().matchesExpected;
            QCOMPARE(installed, succeeded);
            break;
        }
        }
    }

private slots:
    void initTestCase()
    {
        DeviceProtocol::setTestTimeoutDivisor(DIVISOR);
        m_scenario = scenarioAt(QStringLiteral("127.0.0.191"));
        m_scenario.configText = configText(QStringLiteral("old"));
        for (int i = 0; i < 7; ++i) // the first day is longer than a block
            m_scenario.logs.insert(kFirstDay.addDays(i), QStringLiteral("第%1天 log\r\n").arg(i + 1).repeated(i == 0 ? 150 : 1));
        SimReceivedFax fax;
        fax.fileNumber = kFileNumber.toUInt(nullptr, 16);
        fax.pages = 3;
        m_scenario.received << fax;
        // OS image of 2403 bytes (a block of 1200, then one of 1203), SW image of 2500.
        m_firmware = SimFirmware::buildFile(pattern(2403, 1), pattern(2500, 2));
        m_scenario.firmwareExpected = m_firmware;
        m_sim = startSim(m_scenario);
    }

    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        sim()->clearFaults();
        MessageBoxUtil::clear();
        // The device starts each row with its own configuration; the client with an earlier copy.
        QString original = m_scenario.configText;
        DeviceManageThread restore;
        Device d = device();
        restore.setHighOption(d, original);
        QTRY_VERIFY(sim()->configText().contains(QStringLiteral("old value")));
        QFile copy(deviceFolder() + QStringLiteral("/SvrAdvParam.cfg"));
        QVERIFY(copy.open(QIODevice::WriteOnly));
        const QString earlier = QStringLiteral("[FAXOPTIONS]\nServerName=earlier copy\n");
        copy.write(reinterpret_cast<const char*>(earlier.utf16()), earlier.size() * 2);
        copy.close();
        m_firmwarePath = TestSupport::documentsPath() + QStringLiteral("update.tmp");
        QFile firmware(m_firmwarePath);
        QVERIFY(firmware.open(QIODevice::WriteOnly));
        firmware.write(m_firmware);
    }

    void cleanupTestCase()
    {
        m_sim.reset();
        DeviceProtocol::setTestTimeoutDivisor(1);
    }

    void transfer_data()
    {
        QTest::addColumn<Operation>("op");
        QTest::addColumn<QString>("action");
        QTest::addColumn<SimFault::Kind>("kind");
        QTest::addColumn<int>("value");
        QTest::addColumn<int>("delayMs");
        QTest::addColumn<int>("reports"); // result signals: none after a failed login, nor for a failed log or fax file
        QTest::addColumn<bool>("ok");
        QTest::addColumn<int>("waits");   // reply waits that may expire

        const struct { Operation op; const char* name; const char* action; } ops[] = {
            {ConfigDown, "configuration down", "DOWN_FILE"}, {ConfigUp, "configuration up", "UP_FILE"},
            {DayLogs, "day logs", "DOWN_FILE"}, {FaxFile, "fax file", "DOWN_FILE"}, {Firmware, "firmware", "UPDATE_OS"},
        };
        for (const auto& o : ops) {
            const QString verb = QLatin1String(o.action);
            auto row = [&](const char* what) -> QTestData& { return QTest::addRow("%s: %s", o.name, what) << o.op; };
            // A failed login ends every one of them in silence.
            // (The firmware upload says so.)
            const int silent = o.op == Firmware ? 1 : 0;
            row("no greeting") << "GREETING" << SimFault::Silent << 0 << 0 << silent << false << 0;
            row("login refused") << "LOGIN" << SimFault::RefuseLogin << 0 << 0 << silent << false << 1;
            // A failed configuration or firmware transfer says so; logs and fax files just do not come.
            const int failed = (o.op == DayLogs || o.op == FaxFile) ? 0 : 1;
            row("no answer") << verb << SimFault::Silent << 0 << 0 << failed << false << 1;
            row("reply in two pieces") << verb << SimFault::Split << 0 << 0 << 1 << true << 0;
            for (int n : {0, 1, 1200, 1500})
                QTest::addRow("%s: dropped after %d bytes", o.name, n)
                    << o.op << verb << SimFault::DropAfterBytes << n << 0 << failed << false << 1;
            row("blocks slower than the wait") << verb << SimFault::SlowPacing << 0 << 3500 << failed << false << 1;
            if (o.op == ConfigUp || o.op == Firmware) {
                row("busy instead of the first R") << verb << SimFault::NotReady << 0 << 0 << 1 << false << 0;
                row("busy instead of the second R") << verb << SimFault::NotReady << 1 << 0 << 1 << false << 0;
            }
        }
        QTest::newRow("firmware: SW stage dropped") << Firmware << "UPDATE_SW" << SimFault::DropAfterBytes << 1300 << 0 << 1 << false << 1;
        QTest::newRow("firmware: last word in two pieces") << Firmware << "UPDATE_SW" << SimFault::Split << 0 << 0 << 1 << true << 0;
    }

    void transfer()
    {
        QFETCH(Operation, op);
        QFETCH(QString, action);
        QFETCH(SimFault::Kind, kind);
        QFETCH(int, value);
        QFETCH(int, delayMs);
        QFETCH(int, reports);
        QFETCH(bool, ok);
        QFETCH(int, waits);

        sim()->addFault(fault(action, kind, value, delayMs));
        DeviceManageThread worker;
        QSignalSpy done(&worker, &DeviceManageThread::commandDone);
        QElapsedTimer clock;
        clock.start();
        const Outcome out = run(op, worker);
        QVERIFY2(clock.elapsed() <= bound(1, waits, 1000), qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(done.count(), 1);
        QCOMPARE(out.reports, reports);
        QCOMPARE(out.ok, ok);
        verifyState(op, ok);
        QVERIFY(takeMessages().isEmpty()); // the panels speak; the worker only reports

        // The same operation again, with the device behaving, completes.
        sim()->clearFaults();
        const Outcome again = run(op, worker);
        QCOMPARE(again.reports, 1);
        QVERIFY(again.ok);
        verifyState(op, true);
    }
};

VELKOR_TEST_MAIN(TestAdminFaults)
#include "TestAdminFaults.moc"

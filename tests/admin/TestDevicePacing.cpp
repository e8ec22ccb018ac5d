#include "AdminTestSim.h"
#include "DeviceManageThread.h"
#include "DeviceProtocol.h"
#include "FirmwareUpgradeWidget.h"
#include "LoginThread.h"
#include "MessageBoxUtil.h"
#include "SimFirmware.h"
#include "SimTiff.h"
#include "StringUtil.h"
#include "TestSupport.h"

#include <QElapsedTimer>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>
#include <QTemporaryDir>

using namespace AdminTestSim;

namespace {

const QDate LOG_DAY(2024, 3, 1);
constexpr quint32 FAX_FILE = 0x00100000;

enum Download { Configuration, DayLog, FaxFile };

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace

Q_DECLARE_METATYPE(SimFault::Kind)

// The pacing a real device shows where it is free: blocks shorter than asked for, replies that
// end in other text or come in pieces cut right after a tag, and a firmware SW stage that
// starts on the device's own "R".
class TestDevicePacing : public QObject
{
    Q_OBJECT

    std::unique_ptr<DeviceSimRunner> m_sim;
    Scenario m_scenario;
    QByteArray m_firmware;
    QTemporaryDir m_files;

private slots:
    void initTestCase()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser(QStringLiteral("tester"));
        m_scenario = scenarioAt(QStringLiteral("127.0.4.1"));
        m_scenario.varied = false; // only the behaviour each row sets
        m_scenario.configText = QStringLiteral("[FAXOPTIONS]\r\nServerName=Pacing\r\n")
            + QStringLiteral("Note=%1\r\n").arg(QString(3000, QLatin1Char('x'))) + QStringLiteral("Last=end\r\n");
        m_scenario.logs.insert(LOG_DAY, QString(3000, QLatin1Char('a')) + QStringLiteral("\r\n第一天的最后一行\r\n"));
        SimReceivedFax fax;
        fax.fileNumber = FAX_FILE;
        fax.tiff = SimTiff::makeFax(3, {QStringLiteral("PACING")});
        m_scenario.received << fax;
        // OS image of 2403 bytes, SW image of 2500.
        m_firmware = SimFirmware::buildFile(QByteArray(2403, 'o'), QByteArray(2500, 's'));
        m_scenario.firmwareExpected = m_firmware;
        m_sim = start(m_scenario);
    }

    void init()
    {
        DeviceProtocol::setTestTimeoutDivisor(5);
        m_sim->device()->clearFaults();
        MessageBoxUtil::clear();
    }

    void cleanupTestCase()
    {
        DeviceProtocol::setTestTimeoutDivisor(1);
        m_sim.reset();
    }

    void shortBlocksAreCountedNotWaitedFor_data()
    {
        QTest::addColumn<int>("download");
        QTest::addColumn<int>("blockSize");
        QTest::newRow("configuration, 600-byte blocks") << int(Configuration) << 600;
        QTest::newRow("configuration, 7-byte blocks") << int(Configuration) << 7;
        QTest::newRow("day log, 600-byte blocks") << int(DayLog) << 600;
        QTest::newRow("fax file, 1000-byte blocks") << int(FaxFile) << 1000;
    }

    void shortBlocksAreCountedNotWaitedFor()
    {
        QFETCH(int, download);
        QFETCH(int, blockSize);
        m_sim->device()->addFault(SimFault::make(QStringLiteral("DOWN_FILE"), SimFault::ShortBlocks, blockSize));
        Device device = deviceOf(m_scenario);
        DeviceManageThread worker;
        QString result;
        connect(&worker, &DeviceManageThread::returnHighOption, [&](QString& text) { result = text; });
        connect(&worker, &DeviceManageThread::returnDeviceLog, [&](QString& path) { result = QString::fromLocal8Bit(readFile(path)); });
        connect(&worker, &DeviceManageThread::returnFilePath, [&](QString& path) { result = QString::fromLatin1(readFile(path).toHex()); });

        QElapsedTimer clock;
        clock.start();
        if (download == Configuration) {
            worker.getHighOption(device);
            QVERIFY(result.endsWith(QStringLiteral("Last=end\n")));
        } else if (download == DayLog) {
            worker.getDeviceLog(device, QDateTime(LOG_DAY, QTime(0, 0)), QDateTime(LOG_DAY, QTime(0, 0)));
            QVERIFY(result.contains(QStringLiteral("第一天的最后一行")));
        } else {
            QString number = QStringLiteral("%1").arg(FAX_FILE, 8, 16, QLatin1Char('0'));
            QString name = QString::fromLatin1(QTest::currentDataTag()).left(8);
            worker.downloadFaxFile(device, number, name);
            QCOMPARE(result, QString::fromLatin1(m_scenario.received.first().tiff.toHex()));
        }
        // A short block is a whole block: no block's wait is sat out.
        QVERIFY2(clock.elapsed() < DeviceProtocol::scaled(10000), qPrintable(QString::number(clock.elapsed())));
    }

    void repliesWithoutACloseMarkAtTheirEnd_data()
    {
        QTest::addColumn<QString>("action");
        QTest::addColumn<SimFault::Kind>("kind");
        QTest::newRow("greeting ending in other text") << "GREETING" << SimFault::Trailer;
        QTest::newRow("reply ending in other text") << "GET_NETWORK_SETTING" << SimFault::Trailer;
        QTest::newRow("greeting cut after its first tag") << "GREETING" << SimFault::SplitAfterTag;
        QTest::newRow("reply cut after its first tag") << "GET_NETWORK_SETTING" << SimFault::SplitAfterTag;
        QTest::newRow("login reply cut after its first tag") << "LOGIN" << SimFault::SplitAfterTag;
    }

    void repliesWithoutACloseMarkAtTheirEnd()
    {
        QFETCH(QString, action);
        QFETCH(SimFault::Kind, kind);
        m_sim->device()->addFault(SimFault::make(action, kind));
        Device device = deviceOf(m_scenario);
        device.productID.clear(); // a bind by address: the login reply's fields are read
        device.devicePassword = QStringLiteral("admin");
        DeviceManageThread worker;
        Device bound;
        QString reply;
        connect(&worker, &LoginThread::bindDeviceSuccess, [&](Device& d) { bound = d; });
        connect(&worker, &DeviceManageThread::returnNetworkSetting, [&](QString& text) { reply = text; });

        QElapsedTimer clock;
        clock.start();
        worker.bindDevice(device, DeviceProtocol::PORT_COMMAND);
        QCOMPARE(bound.productID, m_scenario.serverId);
        QCOMPARE(bound.permission, 63);
        QCOMPARE(bound.extNumber, QStringLiteral("800"));
        worker.getNetworkSetting(bound);
        QCOMPARE(StringUtil::getValue(reply, QStringLiteral("MAC")), m_scenario.network.value(QStringLiteral("MAC")));
        QCOMPARE(StringUtil::getValue(reply, QStringLiteral("FEEDBACK")), QStringLiteral("OK"));
        // Whole replies end the waits; only silence costs them.
        QVERIFY2(clock.elapsed() < DeviceProtocol::greetingTimeout(), qPrintable(QString::number(clock.elapsed())));
    }

    void firmwareSwStageStartsOnTheDevicesReady_data()
    {
        QTest::addColumn<int>("readyDelayMs");
        QTest::addColumn<bool>("damaged");
        QTest::addColumn<QString>("trailer"); // after the OS stage's RECV_OK
        QTest::newRow("R with RECV_OK") << 0 << false << QString();
        QTest::newRow("R a moment after RECV_OK") << 30 << false << QString();
        QTest::newRow("R after 0 units") << 0 << false << QString(2, QChar(0));
        QTest::newRow("image turned down") << 0 << true << QString();
    }

    void firmwareSwStageStartsOnTheDevicesReady()
    {
        QFETCH(int, readyDelayMs);
        QFETCH(bool, damaged);
        QFETCH(QString, trailer);
        if (!trailer.isEmpty())
            m_sim->device()->addFault(SimFault::make(QStringLiteral("UPDATE_OS"), SimFault::Trailer, 0, 0, trailer));
        if (readyDelayMs > 0)
            m_sim->device()->addFault(SimFault::make(QStringLiteral("UPDATE_SW"), SimFault::SlowPacing, 0, readyDelayMs));
        QByteArray bytes = m_firmware;
        if (damaged)
            bytes[4000] = char(bytes[4000] ^ 0x55); // in the SW image
        const QString path = m_files.filePath(QStringLiteral("update.tmp"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write(bytes);
        file.close();
        const int problems = m_sim->device()->problems().size();

        FirmwareUpgradeWidget panel;
        Device device = deviceOf(m_scenario);
        panel.setDevice(device);
        TestSupport::find<QLineEdit>(&panel, QStringLiteral("edit_path"))->setText(path);
        TestSupport::find<QPushButton>(&panel, QStringLiteral("button_upgrade"))->click();
        QTRY_COMPARE_WITH_TIMEOUT(MessageBoxUtil::shown().size(), 1, 20000);
        const MessageBoxUtil::Shown shown = MessageBoxUtil::shown().first();
        QCOMPARE(shown.kind, damaged ? QStringLiteral("warning") : QStringLiteral("info"));
        if (damaged)
            QVERIFY2(shown.text.contains(QStringLiteral("CHECK_ERROR")), qPrintable(shown.text));
        else
            QVERIFY(m_sim->device()->firmwareUploads().last().matchesExpected);
        QCOMPARE(m_sim->device()->problems().mid(problems), QStringList());
    }
};

VELKOR_TEST_MAIN(TestDevicePacing)
#include "TestDevicePacing.moc"

#include "AdminTestSim.h"
#include "DeviceController.h"
#include "DeviceManageThread.h"
#include "DeviceProtocol.h"
#include "FileUtil.h"
#include "IniUtil.h"
#include "SimFirmware.h"
#include "TestSupport.h"
#include "WireCodec.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTextCodec>

using namespace AdminTestSim;

namespace {

QByteArray pattern(int size, int seed)
{
    QByteArray bytes(size, '\0');
    for (int i = 0; i < size; ++i)
        bytes[i] = char((i * 31 + seed * 7 + i / 251) & 0xFF);
    return bytes;
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        qFatal("cannot write %s", qPrintable(path));
    file.write(bytes);
    return path;
}

// Files in a folder, the ones being written included.
QStringList filesIn(const QString& folder)
{
    return QDir(folder).entryList(QDir::Files | QDir::Hidden);
}

const QDate LOG_DAY = QDate(2024, 3, 1);

QString longLogDay()
{
    // 1199 ASCII bytes, then characters of two GBK bytes each: the first block of 1200 bytes
    // ends inside "中".
    return QString(1197, QLatin1Char('a')) + QStringLiteral("\r\n") + QStringLiteral("中文日志第三天\r\n");
}

} // namespace

// The file transfers against the device stand-in: configuration file down and up, day logs,
// fax files and firmware, with the faults that must end them.
class TestDeviceTransfers : public QObject
{
    Q_OBJECT

    std::unique_ptr<DeviceSimRunner> m_sim;   // logs, configuration, fax files, firmware with an OS image
    std::unique_ptr<DeviceSimRunner> m_swSim; // firmware without an OS image
    QByteArray m_firmware;
    QByteArray m_swFirmware;
    Device m_device;
    QTemporaryDir m_files;
    DeviceController* m_controller = nullptr;
    QSignalSpy* m_done = nullptr;

    bool finished() { return m_done->wait(30000); }

    QString deviceFolder() const { return FileUtil::getDocumentPath() + QStringLiteral("tester/5A3C0071"); }

private slots:
    void initTestCase()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser(QStringLiteral("tester"));

        // OS image of 2403 bytes: one block of 1200, then a last block of 1203.
        m_firmware = SimFirmware::buildFile(pattern(2403, 1), pattern(2500, 2));
        Scenario s = scenarioAt(QStringLiteral("127.0.0.71"));
        s.firmwareExpected = m_firmware;
        s.logs.insert(LOG_DAY, QStringLiteral("2024-03-01 08:00 第一天 start\r\n"));
        s.logs.insert(LOG_DAY.addDays(1), QString()); // present but empty
        s.logs.insert(LOG_DAY.addDays(3), longLogDay());
        s.logs.insert(LOG_DAY.addDays(6), QStringLiteral("第七天\r\n"));
        s.logs.insert(LOG_DAY.addDays(7), QStringLiteral("第八天 is never asked for\r\n"));
        m_sim = start(s);
        m_device = deviceOf(s);

        m_swFirmware = SimFirmware::buildFile(QByteArray(), pattern(3001, 3));
        Scenario sw = scenarioAt(QStringLiteral("127.0.0.72"));
        sw.firmwareExpected = m_swFirmware;
        m_swSim = start(sw);
    }

    void init()
    {
        DeviceProtocol::setTestTimeoutDivisor(1);
        m_sim->device()->clearFaults();
        m_swSim->device()->clearFaults();
        m_controller = new DeviceController;
        m_done = new QSignalSpy(m_controller, &DeviceController::commandFinished);
    }

    void cleanup()
    {
        delete m_done;
        delete m_controller;
        DeviceProtocol::setTestTimeoutDivisor(1);
    }

    void cleanupTestCase()
    {
        m_sim.reset();
        m_swSim.reset();
    }

    void readConvFileConvertsWholeWordsOnly()
    {
        const QByteArray bytes = pattern(7, 9);
        const QString path = writeFile(m_files.filePath("seven.bin"), bytes);
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadOnly));
        char buffer[8] = {};
        unsigned long got = 99;
        QVERIFY(DeviceManageThread::ReadConvFile(file, buffer, 7, &got));
        QCOMPARE(got, 7ul);
        QCOMPARE(QByteArray(buffer, 7), SimFirmware::convertBlock(bytes));
        QCOMPARE(QByteArray(buffer + 4, 3), bytes.mid(4)); // the tail stays as it was
        // Fewer bytes than asked: false, count untouched.
        file.seek(4);
        got = 99;
        QVERIFY(!DeviceManageThread::ReadConvFile(file, buffer, 4, &got));
        QCOMPARE(got, 99ul);
    }

    void configurationRoundTrip()
    {
        QSignalSpy text(m_controller, &DeviceController::returnHighOption);
        QSignalSpy stored(m_controller, &DeviceController::returnSetHighOptionResult);
        emit m_controller->getHighOptionSetting(m_device);
        QVERIFY(finished());
        QCOMPARE(lastRequest(*m_sim, "DOWN_FILE"),
                 QStringLiteral("<ACTION>DOWN_FILE</ACTION><FILE>$STG_DIR$SvrAdvParam.cfg</FILE><BUFSIZE>1200</BUFSIZE>"));
        QString config = m_sim->device()->configText();
        QVERIFY(config.contains(QStringLiteral("\r\n")));
        QCOMPARE(text.at(0).at(0).toString(), QString(config).replace(QStringLiteral("\r\n"), QStringLiteral("\n")));
        const QString local = deviceFolder() + QStringLiteral("/SvrAdvParam.cfg");
        QCOMPARE(readAll(local), WireCodec::encode(config));

        // The rename's road: the local file through IniUtil, then up again.
        IniUtil::clear();
        IniUtil::openIni(local);
        IniUtil::setValue(QStringLiteral("FAXOPTIONS"), QStringLiteral("ServerName"), QStringLiteral("前台传真"));
        QString changed = IniUtil::writeIni(local);
        emit m_controller->setHighOption(m_device, changed);
        QVERIFY(finished());
        QCOMPARE(stored.count(), 1);
        QCOMPARE(stored.at(0).at(0).toBool(), true);
        const QByteArray bytes = WireCodec::encode(changed);
        QCOMPARE(countInLog(*m_sim, QStringLiteral("> <ACTION>UP_FILE</ACTION><FILE>$STG_DIR$SvrAdvParam.cfg</FILE>"
                                                   "<BUFSIZE>1200</BUFSIZE><FILELEN>%1</FILELEN>")
                                        .arg(bytes.size())),
                 1);
        QCOMPARE(lastRequest(*m_sim, "UP_FILE"), QStringLiteral("<ACTION>UP_FILE</ACTION><UPLOAD>START</UPLOAD>"));
        QTRY_COMPARE(m_sim->device()->configText(), changed);
        QCOMPARE(m_sim->device()->serverName(), QStringLiteral("前台传真"));
        QCOMPARE(readAll(local), bytes); // no byte-order mark
    }

    void brokenDownloadKeepsTheLocalFile()
    {
        DeviceProtocol::setTestTimeoutDivisor(20);
        const QString local = deviceFolder() + QStringLiteral("/SvrAdvParam.cfg");
        writeFile(local, WireCodec::encode(QStringLiteral("[OLD]\nkept=1\n")));
        const QByteArray earlier = readAll(local);
        QSignalSpy text(m_controller, &DeviceController::returnHighOption);
        m_sim->device()->addFault(SimFault::make("DOWN_FILE", SimFault::DropAfterBytes, 100));
        emit m_controller->getHighOptionSetting(m_device);
        QVERIFY(finished());
        // The failure gives no text at all, never the older copy on the disk.
        QCOMPARE(text.count(), 1);
        QVERIFY(text.at(0).at(0).toString().isEmpty());
        QCOMPARE(readAll(local), earlier);
        QCOMPARE(filesIn(deviceFolder()).filter(QStringLiteral("SvrAdvParam")), QStringList{QStringLiteral("SvrAdvParam.cfg")});
    }

    void deviceLogTakesSevenDaysFromTheStart()
    {
        DeviceProtocol::setTestTimeoutDivisor(20); // the empty day waits out its one block
        QSignalSpy path(m_controller, &DeviceController::returnDeviceLog);
        QSignalSpy progress(m_controller, &DeviceController::showDeviceLogProgress);
        const QDateTime from(LOG_DAY, QTime(0, 0));
        const QDateTime to(LOG_DAY.addDays(1), QTime(0, 0)); // two days asked, seven fetched
        emit m_controller->getDeviceLog(m_device, from, to);
        QVERIFY(finished());
        QCOMPARE(path.count(), 1);
        const QString file = path.at(0).at(0).toString();
        QCOMPARE(file, deviceFolder() + QStringLiteral("/2024_03_01-2024_03_02.txt"));

        for (int i = 0; i < 7; ++i)
            QCOMPARE(countInLog(*m_sim, QStringLiteral("> <ACTION>DOWN_FILE</ACTION><FILE>$STG_DIR$log\\%1.log</FILE><BUFSIZE>1200</BUFSIZE>")
                                            .arg(LOG_DAY.addDays(i).toString("yyyy-MM-dd"))),
                     1);
        QCOMPARE(countInLog(*m_sim, QStringLiteral("log\\2024-03-08")), 0);

        const QString expected = QStringLiteral("2024-03-01 08:00 第一天 start\r\n") + longLogDay() + QStringLiteral("第七天\r\n");
        QCOMPARE(QString::fromLocal8Bit(readAll(file)), expected);

        // Progress per block: the long day in two steps, the empty day at 0.
        QStringList seen;
        for (const auto& call : progress)
            seen << QStringLiteral("%1 %2").arg(call.at(0).toString()).arg(call.at(1).toInt());
        QVERIFY2(seen.contains("2024-03-01 100"), qPrintable(seen.join(", ")));
        QVERIFY(seen.contains("2024-03-02 0"));
        QVERIFY(seen.contains("2024-03-04 100"));
        QCOMPARE(seen.filter("2024-03-04").size(), 2);

        // The same dates again add to the same file.
        emit m_controller->getDeviceLog(m_device, from, to);
        QVERIFY(finished());
        QCOMPARE(path.count(), 2);
        QCOMPARE(path.at(1).at(0).toString(), file);
        QCOMPARE(QString::fromLocal8Bit(readAll(file)), expected + expected);
    }

    void brokenLogLeavesTheFileAsItWas()
    {
        DeviceProtocol::setTestTimeoutDivisor(20);
        const QDateTime from(LOG_DAY.addDays(3), QTime(0, 0));
        const QString file = deviceFolder() + QStringLiteral("/2024_03_04-2024_03_04.txt");
        writeFile(file, "earlier\n");
        QSignalSpy path(m_controller, &DeviceController::returnDeviceLog);
        m_sim->device()->addFault(SimFault::make("DOWN_FILE", SimFault::DropAfterBytes, 700));
        emit m_controller->getDeviceLog(m_device, from, from);
        QVERIFY(finished());
        QCOMPARE(path.count(), 0);
        QCOMPARE(readAll(file), QByteArray("earlier\n"));
        QVERIFY(filesIn(deviceFolder()).filter(QStringLiteral("2024_03_04")).size() == 1);
    }

    void faxFileIsFetchedOnce()
    {
        SimReceivedFax fax;
        fax.fileNumber = 0x00AB12CD;
        fax.tiff = pattern(3000, 5);
        m_sim->device()->addReceivedFax(fax);
        QSignalSpy path(m_controller, &DeviceController::returnFaxFilePathResult);
        QString number = QStringLiteral("00AB12CD"), name = QStringLiteral("2024-03-01 10:00:00");
        emit m_controller->downloadFaxFile(m_device, number, name);
        QVERIFY(finished());
        QCOMPARE(lastRequest(*m_sim, "DOWN_FILE"),
                 QStringLiteral("<ACTION>DOWN_FILE</ACTION><FILE>$STG_DIR$FaxFiles\\00\\AB\\12\\CD.tif</FILE><BUFSIZE>1200</BUFSIZE>"));
        const QString expected = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation)
            + QStringLiteral("/5A3C0071/2024-03-01 10:00:00.tif");
        QCOMPARE(path.count(), 1);
        QCOMPARE(path.at(0).at(0).toString(), expected);
        QCOMPARE(readAll(expected), fax.tiff);

        // On the disk already: no connection at all.
        const int logins = countInLog(*m_sim, "LOGIN admin");
        emit m_controller->downloadFaxFile(m_device, number, name);
        QVERIFY(finished());
        QCOMPARE(path.count(), 2);
        QCOMPARE(countInLog(*m_sim, "LOGIN admin"), logins);
    }

    // A file the device does not have leaves nothing; a transfer cut short is a row of the
    // fault-injection matrix (TestAdminFaults).
    void missingFaxFileLeavesNoFile()
    {
        const QString folder = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation) + QStringLiteral("/5A3C0071");
        QSignalSpy path(m_controller, &DeviceController::returnFaxFilePathResult);
        QString missing = QStringLiteral("00FFFFFF"), name = QStringLiteral("missing");
        emit m_controller->downloadFaxFile(m_device, missing, name);
        QVERIFY(finished());
        QCOMPARE(path.count(), 0);
        QVERIFY(filesIn(folder).filter(QStringLiteral("missing")).isEmpty());
    }

    void firmwareWithOsStage()
    {
        const QString file = writeFile(m_files.filePath("update.tmp"), m_firmware);
        QSignalSpy progress(m_controller, &DeviceController::returnFirmwareUpgradeProgress);
        QSignalSpy result(m_controller, &DeviceController::returnFirmwareResult);
        QString path = file;
        emit m_controller->firmwareUpgrade(m_device, path);
        QVERIFY(finished());
        QCOMPARE(result.count(), 1);
        QCOMPARE(result.at(0).at(0).toBool(), true);
        QCOMPARE(lastRequest(*m_sim, "UPDATE_OS"),
                 QStringLiteral("<ACTION>UPDATE_OS</ACTION><FILELEN>2403</FILELEN><BUFSIZE>1200</BUFSIZE>"));
        QVERIFY(lastRequest(*m_sim, "UPDATE_SW").isEmpty()); // the SW image follows the device's "R" alone
        QVERIFY(countInLog(*m_sim, "UPDATE_OS 2403 bytes in 2 blocks -> RECV_OK") == 1);
        const SimFirmwareUpload upload = m_sim->device()->firmwareUploads().last();
        QVERIFY(upload.complete);
        QVERIFY(upload.matchesExpected);

        // Progress before each block: 0, then the share sent so far, never 100.
        QList<int> percents;
        for (const auto& call : progress)
            percents << call.at(0).toInt();
        QCOMPARE(percents, (QList<int>{0, 1200 * 100 / 4903, 2403 * 100 / 4903, 3603 * 100 / 4903}));
    }

    void firmwareWithoutOsImage()
    {
        Device device = deviceOf(m_swSim->sim()->scenario());
        QString path = writeFile(m_files.filePath("sw.tmp"), m_swFirmware);
        QSignalSpy result(m_controller, &DeviceController::returnFirmwareResult);
        emit m_controller->firmwareUpgrade(device, path);
        QVERIFY(finished());
        QCOMPARE(result.count(), 1);
        QCOMPARE(result.at(0).at(0).toBool(), true);
        QVERIFY(lastRequest(*m_swSim, "UPDATE_OS").isEmpty());
        QCOMPARE(lastRequest(*m_swSim, "UPDATE_SW"),
                 QStringLiteral("<ACTION>UPDATE_SW</ACTION><FILELEN>3001</FILELEN><BUFSIZE>1200</BUFSIZE>"));
        QVERIFY(m_swSim->device()->firmwareUploads().last().matchesExpected);
    }

    void firmwareFailuresReportFalse()
    {
        DeviceProtocol::setTestTimeoutDivisor(30);
        QSignalSpy result(m_controller, &DeviceController::returnFirmwareResult);
        // An image the device does not accept.
        QByteArray wrong = m_firmware;
        wrong[10] = char(wrong[10] ^ 0x55);
        QString path = writeFile(m_files.filePath("wrong.tmp"), wrong);
        emit m_controller->firmwareUpgrade(m_device, path);
        QVERIFY(finished());
        // An OS length beyond the file.
        path = writeFile(m_files.filePath("short.tmp"), QByteArray::fromHex("ff000000616263"));
        emit m_controller->firmwareUpgrade(m_device, path);
        QVERIFY(finished());
        QCOMPARE(result.count(), 2);
        for (const auto& call : result)
            QCOMPARE(call.at(0).toBool(), false);

        // Fewer than four bytes: a bad file, said so.
        path = writeFile(m_files.filePath("tiny.tmp"), QByteArray("ab"));
        emit m_controller->firmwareUpgrade(m_device, path);
        QVERIFY(finished());
        QCOMPARE(result.count(), 3);
        QCOMPARE(result.last().at(0).toBool(), false);
    }
};

VELKOR_TEST_MAIN(TestDeviceTransfers)
#include "TestDeviceTransfers.moc"

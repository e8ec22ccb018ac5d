#include "AppSettings.h"
#include "ConnectionPool.h"
#include "DatabaseManager.h"
#include "Device.h"
#include "DeviceController.h"
#include "DeviceListDelegate.h"
#include "DeviceListWidget.h"
#include "DeviceListWindow.h"
#include "DeviceLogWidget.h"
#include "DeviceManageThread.h"
#include "DeviceManageWidget.h"
#include "DeviceProtocol.h"
#include "DialogUtil.h"
#include "EmailSettingWidget.h"
#include "FaxDetailWidget.h"
#include "FaxDetailWindow.h"
#include "FaxDistributeDialog.h"
#include "FaxHistoryWidget.h"
#include "FaxQueueWidget.h"
#include "FaxSettingWidget.h"
#include "FileUtil.h"
#include "FirmwareUpgradeWidget.h"
#include "HighOptionWidget.h"
#include "IniUtil.h"
#include "InputDeviceInfoDialog.h"
#include "MD5Util.h"
#include "MessageBoxUtil.h"
#include "NetworkSettingWidget.h"
#include "SimFirmware.h"
#include "LoginThread.h"
#include "SimTiff.h"
#include "SimTestSupport.h"
#include "StringUtil.h"
#include "TimeUtil.h"
#include "TimeZoneWidget.h"
#include "UiTestSupport.h"
#include "UserAccountWidget.h"
#include "VersionStatusWidget.h"
#include "WireCodec.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QDateTimeEdit>
#include <QDialogButtonBox>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPointer>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QSignalSpy>
#include <QSqlQuery>
#include <QStackedWidget>
#include <QStandardItemModel>
#include <QStandardPaths>
#include <QStringList>
#include <QTabWidget>
#include <QTableWidget>
#include <QTemporaryDir>
#include <QTest>
#include <memory>

using namespace TestSupport;

// A device stand-in on its own thread, the bound device that reaches it, and what the device saw.

namespace {

inline Scenario scenarioAt(const QString& address)
{
    Scenario s;
    s.address = address;
    s.discovery = false;
    s.serverId = QStringLiteral("5A3C00%1").arg(address.section('.', 3, 3).toInt(), 2, 10, QLatin1Char('0'));
    return s;
}

// Requests go into the action log word for word.
inline std::unique_ptr<DeviceSimRunner> start(const Scenario& scenario) { return TestSupport::startSim(scenario, true); }

// The device as the client has it after a bind with the account "admin".
inline Device deviceOf(const Scenario& s, const QString& account = QStringLiteral("admin"),
                       const QString& password = QStringLiteral("admin"))
{
    Device d;
    d.deviceName = account;
    d.devicePassword = MD5Util::call128MD5(password.toUtf8());
    d.productID = s.serverId;
    d.localIP = s.address;
    d.serverName = s.serverName;
    d.permission = 63;
    return d;
}

// A record of the device's sending history by "admin", an hour old unless still waiting (5).
inline SimSentRecord sentRecord(quint32 task, int status, const QString& number, const QString& receiver = QString())
{
    SimSentRecord r;
    r.task = task;
    r.status = status;
    r.number = number;
    r.receiver = receiver;
    r.sender = QStringLiteral("admin");
    if (status != 5)
        r.timeUtc = QDateTime::currentDateTimeUtc().addSecs(-3600);
    return r;
}

// The last request with this verb, as the device received it.
inline QString lastRequest(DeviceSimRunner& sim, const QString& verb)
{
    const QStringList log = sim.device()->actionLog();
    const QString mark = QStringLiteral(" > <ACTION>") + verb + QStringLiteral("</ACTION>");
    for (int i = log.size() - 1; i >= 0; --i) {
        const int at = log[i].indexOf(mark);
        if (at >= 0)
            return log[i].mid(at + 3);
    }
    return QString();
}

inline int countInLog(DeviceSimRunner& sim, const QString& text)
{
    int count = 0;
    for (const QString& line : sim.device()->actionLog())
        count += line.contains(text) ? 1 : 0;
    return count;
}

} // namespace

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
    std::unique_ptr<DeviceSimRunner> m_cmdSim; // users and history for the commands
    Device m_cmdDevice;
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

        // Users and history for the commands.
        Scenario c = scenarioAt(QStringLiteral("127.0.0.70"));
        c.users << SimUser::withPassword(QStringLiteral("clerk"), QStringLiteral("pw"), 12, QStringLiteral("801"));
        for (int i = 0; i < 40; ++i) // a list long enough to come in pieces
            c.users << SimUser::withPassword(QStringLiteral("user%1").arg(i), QStringLiteral("pw"), 12);
        c.history << sentRecord(501, 5, QStringLiteral("01066668888")) << sentRecord(502, 2, QStringLiteral("02177776666"));
        m_cmdSim = start(c);
        m_cmdDevice = deviceOf(c);
    }

    void init()
    {
        DeviceProtocol::setTestTimeoutDivisor(1);
        m_sim->device()->clearFaults();
        m_swSim->device()->clearFaults();
        m_cmdSim->device()->clearFaults();
        m_controller = new DeviceController;
        m_done = new QSignalSpy(m_controller, &DeviceController::commandFinished);
    }

    void cleanup()
    {
        delete m_done;
        delete m_controller;
        DeviceProtocol::setTestTimeoutDivisor(1);
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
        // The failure gives no text at all, never the older copy on the disk.
        DeviceProtocol::setTestTimeoutDivisor(20);
        writeFile(deviceFolder() + QStringLiteral("/SvrAdvParam.cfg"), WireCodec::encode(QStringLiteral("[OLD]\nkept=1\n")));
        QSignalSpy text(m_controller, &DeviceController::returnHighOption);
        m_sim->device()->addFault(SimFault::make("DOWN_FILE", SimFault::DropAfterBytes, 100));
        emit m_controller->getHighOptionSetting(m_device);
        QVERIFY(finished());
        QCOMPARE(text.count(), 1);
        QVERIFY(text.at(0).at(0).toString().isEmpty());
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

    void brokenLogDayIsLeftOut()
    {
        DeviceProtocol::setTestTimeoutDivisor(20);
        const QDateTime from(LOG_DAY.addDays(3), QTime(0, 0));
        const QString file = deviceFolder() + QStringLiteral("/2024_03_04-2024_03_04.txt");
        writeFile(file, "earlier\n");
        QSignalSpy path(m_controller, &DeviceController::returnDeviceLog);
        m_sim->device()->addFault(SimFault::make("DOWN_FILE", SimFault::DropAfterBytes, 700));
        emit m_controller->getDeviceLog(m_device, from, from);
        QVERIFY(finished());
        // The broken day stays out; the days that came whole are added.
        QCOMPARE(path.count(), 1);
        QCOMPARE(QString::fromLocal8Bit(readAll(file)), QStringLiteral("earlier\n第七天\r\n第八天 is never asked for\r\n"));
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
        QCOMPARE(readAll(path.at(0).at(0).toString()), fax.tiff);
        QCOMPARE(path.at(0).at(0).toString(), expected);

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
        QCOMPARE(result.takeFirst().at(0).toBool(), true);
        QCOMPARE(lastRequest(*m_sim, "UPDATE_OS"),
                 QStringLiteral("<ACTION>UPDATE_OS</ACTION><FILELEN>2403</FILELEN><BUFSIZE>1200</BUFSIZE>"));
        QVERIFY(lastRequest(*m_sim, "UPDATE_SW").isEmpty()); // the SW image follows the device's "R" alone
        QVERIFY(countInLog(*m_sim, "UPDATE_OS 2403 bytes in 2 blocks -> RECV_OK") == 1);
        const SimFirmwareUpload upload = m_sim->device()->firmwareUploads().last();
        QVERIFY(upload.complete && upload.matchesExpected);

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
        QCOMPARE(result.takeFirst().at(0).toBool(), true);
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

    // Every command: the request text as the device receives it, and what each kind of reply
    // turns into.

    // What each read brings is shown by the panels' own tests; here: commands queued behind
    // each other make one busy run, and a read hands the whole reply on.
    void queuedCommandsAreOneBusyRun()
    {
        QSignalSpy user(m_controller, &DeviceController::returnUserInfo);
        QSignalSpy busy(m_controller, &DeviceController::busyChanged);
        QString name = QStringLiteral("clerk");
        emit m_controller->getServerInfomation(m_cmdDevice);
        emit m_controller->getTimeSetting(m_cmdDevice);
        emit m_controller->getUserInfo(m_cmdDevice, name);
        QVERIFY(m_controller->isBusy());
        QTRY_COMPARE_WITH_TIMEOUT(m_done->count(), 3, 30000);
        QVERIFY(!m_controller->isBusy());
        QCOMPARE(busy.count(), 2);
        QCOMPARE(busy.at(0).at(0).toBool(), true);
        QCOMPARE(busy.at(1).at(0).toBool(), false);
        QCOMPARE(lastRequest(*m_cmdSim, "GET_USER_INFO"), QStringLiteral("<ACTION>GET_USER_INFO</ACTION><USER_NAME>clerk</USER_NAME>"));
        QCOMPARE(StringUtil::getValue(user.at(0).at(0).toString(), "EXT_NUM"), QStringLiteral("801"));
    }

    void faxSettingGoesInTheDevicesOrder()
    {
        QSignalSpy result(m_controller, &DeviceController::returnSettingResult);
        auto set = [&](QString line) {
            QString tagFormat = "%D %T", company = "ACME", faxNum = "010-1", csid = "ACME-1", localCode = "010",
                    ipPrf = "17951", outPrf = "9", inPrf = "8", mrecv = "#*", ecm = "2", priority = "-1", rings = "4";
            emit m_controller->setFaxSetting(m_cmdDevice, tagFormat, company, faxNum, csid, localCode, ipPrf, outPrf,
                                             inPrf, mrecv, line, true, false, true, false, true, false, true, 11, 6,
                                             ecm, priority, rings);
            return finished() ? result.takeFirst().at(0).toString() : QString();
        };
        QCOMPARE(set("1"), QStringLiteral("OK"));
        QCOMPARE(lastRequest(*m_cmdSim, "SET_FAX_SETTING"),
                 QStringLiteral("<ACTION>SET_FAX_SETTING</ACTION><TAG_FORMAT>%D %T</TAG_FORMAT><COMPANY>ACME</COMPANY>"
                                "<FAX_NUM>010-1</FAX_NUM><CSID>ACME-1</CSID><ECM>2</ECM><MAX_SPEED>11</MAX_SPEED>"
                                "<RECV_SPEED>6</RECV_SPEED><RINGCNT>4</RINGCNT><LOCAL_CODE>010</LOCAL_CODE>"
                                "<IP_PRF>17951</IP_PRF><OUT_PRF>9</OUT_PRF><IN_PRF>8</IN_PRF><AUTO_RECV>false</AUTO_RECV>"
                                "<MUST_DIV>true</MUST_DIV><DIS_BEEP>false</DIS_BEEP><RST_LINE>true</RST_LINE>"
                                "<DIVERR_RECV>true</DIVERR_RECV><DIS_SEND_VOICE>false</DIS_SEND_VOICE>"
                                "<DIS_WELCOME>true</DIS_WELCOME><SEND_PRIORITY>-1</SEND_PRIORITY>"
                                "<MRECV_CODE>#*</MRECV_CODE><LINE_NUM>1</LINE_NUM>"));
        QCOMPARE(set("2"), QStringLiteral("LINE_NOT_EXIST")); // the device has one line only
    }

    void failedLoginGivesNoResult()
    {
        m_cmdSim->device()->addFault(SimFault::make("LOGIN", SimFault::RefuseLogin));
        QSignalSpy result(m_controller, &DeviceController::returnSettingResult);
        QString s = "x", line = "1";
        emit m_controller->setFaxSetting(m_cmdDevice, s, s, s, s, s, s, s, s, s, line, false, false, false, false, false,
                                         false, false, 0, 0, s, s, s);
        QVERIFY(finished());
        QCOMPARE(result.count(), 0);
        QVERIFY(!m_controller->isBusy());
    }

    void userListIsJoinedFromPieces()
    {
        m_cmdSim->device()->addFault(SimFault::make("GET_USER_LIST", SimFault::Split, 4, 200));
        QSignalSpy list(m_controller, &DeviceController::returnUserList);
        emit m_controller->getUserList(m_cmdDevice);
        QVERIFY(finished());
        QCOMPARE(lastRequest(*m_cmdSim, "GET_USER_LIST"), QStringLiteral("<ACTION>GET_USER_LIST</ACTION>"));
        const QStringList names = list.at(0).at(0).toString().split(',');
        QCOMPARE(names.size(), 42);
        QCOMPARE(names.first(), QStringLiteral("admin"));
        QCOMPARE(names.last(), QStringLiteral("user39"));
    }

    void userListPieceTooLateEndsTheRead()
    {
        // The second piece comes after a whole reply wait: the read ends with what it has.
        DeviceProtocol::setTestTimeoutDivisor(30);
        m_cmdSim->device()->addFault(SimFault::make("GET_USER_LIST", SimFault::Split, 2, 2500));
        QSignalSpy list(m_controller, &DeviceController::returnUserList);
        QElapsedTimer clock;
        clock.start();
        emit m_controller->getUserList(m_cmdDevice);
        QVERIFY(finished());
        QVERIFY2(clock.elapsed() < 2500, qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(list.count(), 1);
        QVERIFY(list.at(0).at(0).toString().isEmpty()); // the list's close mark never came
    }

    void addAndModifyUser()
    {
        QSignalSpy result(m_controller, &DeviceController::returnModifyUserResult);
        auto send = [&](QString action, QString pwd, QString ext) {
            QString name = "typist", permission = "12", emailOpt = "5", smtpAddr = "smtp.x", smtpUser = "u",
                    smtpPwd = "******", from = "f@x", to = "t@x";
            emit m_controller->setUserInfo(m_cmdDevice, name, pwd, ext, permission, emailOpt, smtpAddr, smtpUser,
                                           smtpPwd, from, to, action);
            return finished() ? result.takeFirst().at(0).toString() : QString();
        };
        auto stored = [&](const char* field) {
            SimUser user;
            m_cmdSim->device()->user("typist", &user);
            return field ? user.fields.value(field) : user.storedPassword;
        };
        // Adding sends the digest even of "******"; SMTP_PWD goes as typed.
        QCOMPARE(send("ADD_USER", "******", "805"), QStringLiteral("OK"));
        const QString digest = MD5Util::call128MD5(QByteArray("******"));
        QCOMPARE(lastRequest(*m_cmdSim, "ADD_USER"),
                 QStringLiteral("<ACTION>ADD_USER</ACTION><USER_NAME>typist</USER_NAME><USER_PWD>") + digest
                     + QStringLiteral("</USER_PWD><EXT_NUM>805</EXT_NUM><PERMISSION>12</PERMISSION><EMAIL_OPT>5</EMAIL_OPT>"
                                      "<SMTP_ADDR>smtp.x</SMTP_ADDR><SMTP_USER>u</SMTP_USER><SMTP_PWD>******</SMTP_PWD>"
                                      "<EMAIL_FROM>f@x</EMAIL_FROM><EMAIL_TO>t@x</EMAIL_TO>"));
        QCOMPARE(stored(nullptr), digest);
        // Modifying with "******" keeps the password.
        QCOMPARE(send("MODIFY_USER", "******", "806"), QStringLiteral("OK"));
        QVERIFY(lastRequest(*m_cmdSim, "MODIFY_USER")
                    .startsWith(QStringLiteral("<ACTION>MODIFY_USER</ACTION><USER_NAME>typist</USER_NAME><EXT_NUM>806</EXT_NUM>")));
        QCOMPARE(stored(nullptr), digest);
        QCOMPARE(stored("EXT_NUM"), QStringLiteral("806"));
        QCOMPARE(send("MODIFY_USER", "new", "806"), QStringLiteral("OK"));
        QCOMPARE(stored(nullptr), MD5Util::call128MD5(QByteArray("new")));
    }

    void pauseSignalsOnlyOnPauseOk()
    {
        QSignalSpy paused(m_controller, &DeviceController::returnSendFaxPause);
        QString task = "501";
        emit m_controller->sendFaxPause(m_cmdDevice, task);
        QVERIFY(finished());
        QCOMPARE(lastRequest(*m_cmdSim, "SEND_FAX_PAUSE"), QStringLiteral("<ACTION>SEND_FAX_PAUSE</ACTION><TASKID>501</TASKID>"));
        QCOMPARE(paused.count(), 1);
        task = "999";
        emit m_controller->sendFaxPause(m_cmdDevice, task);
        QVERIFY(finished());
        QCOMPARE(paused.count(), 1);
    }

    void deleteFaxResults()
    {
        QSignalSpy result(m_controller, &DeviceController::returnDeleteFaxResult);
        QString task = "502";
        m_cmdSim->device()->setAllowRemove(false);
        emit m_controller->deleteFax(m_cmdDevice, task);
        QVERIFY(finished());
        QCOMPARE(lastRequest(*m_cmdSim, "DELETE_FAX"),
                 QStringLiteral("<ACTION>DELETE_FAX</ACTION><TASKID>502</TASKID><DELETE>true</DELETE><REMOVE>true</REMOVE>"));
        QCOMPARE(result.takeFirst().at(0).toInt(), 1);
        m_cmdSim->device()->setAllowRemove(true);
        emit m_controller->deleteFax(m_cmdDevice, task);
        QVERIFY(finished());
        QCOMPARE(result.takeFirst().at(0).toInt(), 0);
        emit m_controller->deleteFax(m_cmdDevice, task); // gone now
        QVERIFY(finished());
        QCOMPARE(result.takeFirst().at(0).toInt(), 2);
    }

    void voiceListenKeepsItsLine()
    {
        QSignalSpy listening(m_controller, &DeviceController::returnVoiceListenResult);
        emit m_controller->voiceListen(m_cmdDevice, 3007, 45777);
        QVERIFY(finished());
        QCOMPARE(listening.count(), 1);
        QTRY_VERIFY(countInLog(*m_cmdSim, "voice to") > 0);
    }
};

namespace {

void addFaxes(const Device& device, int count)
{
    DatabaseManager db;
    for (int i = 0; i < count; ++i) {
        Fax fax;
        fax.time = QStringLiteral("2024-03-01 10:00:0%1").arg(i);
        fax.serverID = device.productID;
        db.insertFax(fax, device.id);
    }
}

int faxCount(const Device& device)
{
    QSqlQuery q(ConnectionPool::openConnection());
    q.prepare(QStringLiteral("SELECT COUNT(*) FROM FAXES WHERE device_id = ?"));
    q.addBindValue(device.id);
    return q.exec() && q.next() ? q.value(0).toInt() : -1;
}

QString stored(const Device& device, const QString& column)
{
    QSqlQuery q(ConnectionPool::openConnection());
    q.prepare(QStringLiteral("SELECT %1 FROM DEVICES WHERE id = ?").arg(column));
    q.addBindValue(device.id);
    return q.exec() && q.next() ? q.value(0).toString() : QString();
}

// Opens the page of the list's row like a click does.
DeviceManageWidget* openRow(DeviceListWindow& window, int row)
{
    auto* view = find<QListView>(&window, "listView");
    emit view->clicked(view->model()->index(row, 0));
    return window.manageWidget();
}

} // namespace

// The device list, the row painting texts, and the management page: panels, deletion, change
// of account and rename.
class TestDeviceListWindow : public QObject
{
    Q_OBJECT

    std::unique_ptr<DeviceSimRunner> m_sim;

private slots:
    void initTestCase()
    {
        Scenario s = scenarioAt(QStringLiteral("127.0.0.75"));
        s.users << SimUser::withPassword(QStringLiteral("clerk"), QStringLiteral("pw"), 12, QStringLiteral("802"));
        m_sim = start(s);
    }

    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        DeviceProtocol::setTestTimeoutDivisor(1);
        m_sim->device()->clearFaults();
    }

    void rowsShowRoleAndAddress()
    {
        Device remote = deviceOf(scenarioAt(QStringLiteral("127.0.0.76")), QStringLiteral("clerk"));
        remote.localIP.clear();
        remote.remoteIP = QStringLiteral("203.0.113.9");
        remote.permission = 2;
        bindDevice(remote);
        Device local = deviceOf(m_sim->sim()->scenario());
        local.remoteIP = QStringLiteral("203.0.113.10");
        bindDevice(local);

        DeviceListWindow window;
        auto* model = window.listWidget()->model();
        QCOMPARE(model->rowCount(), 2);
        const Device first = model->item(0)->data(Qt::UserRole + 1).value<Device>();
        QCOMPARE(DeviceListDelegate::rowTexts(first),
                 (QStringList{remote.serverName, remote.productID, "203.0.113.9", "clerk(分发员)"}));
        const Device second = model->item(1)->data(Qt::UserRole + 1).value<Device>();
        QCOMPARE(DeviceListDelegate::rowTexts(second).mid(2), (QStringList{"127.0.0.75", "admin(管理员)"}));

        QVERIFY(!find<QListView>(&window, "listView")->grab().isNull()); // the delegate paints
    }

    void pageShowsTheDeviceAndItsPanels()
    {
        Device device = bindDevice(deviceOf(m_sim->sim()->scenario()));
        device.extNumber = QStringLiteral("800");
        device.permission = 1;
        DatabaseManager().updateDeviceName(device);
        DeviceListWindow window;
        auto* stack = find<QStackedWidget>(&window, "stackedWidget");
        DeviceManageWidget* page = openRow(window, 0);
        QCOMPARE(stack->currentIndex(), 1);
        QCOMPARE(find<QLabel>(page, "label_account")->text(), QStringLiteral("admin(管理员) 分机号:800"));
        QCOMPARE(find<QLabel>(page, "label_product_id")->text(), QStringLiteral("5A3C0075"));
        // Each panel's button and what it asks the device: TestStatusPanels.
        QVERIFY(!find<QPushButton>(page, "button_voice_monitor")->isEnabled());
        QTest::mouseClick(find<QPushButton>(page, "pushButton"), Qt::LeftButton);
        QCOMPARE(stack->currentIndex(), 0);
    }

    void deleteRemovesDeviceAndFaxesAtOnce()
    {
        Device keep = bindDevice(deviceOf(scenarioAt(QStringLiteral("127.0.0.77"))));
        Device gone = bindDevice(deviceOf(m_sim->sim()->scenario()));
        addFaxes(keep, 2);
        addFaxes(gone, 3);
        DeviceListWindow window;
        auto* model = window.listWidget()->model();
        DeviceManageWidget* page = openRow(window, 1);
        QCOMPARE(page->device().id, gone.id);

        MessageBoxUtil::setNextAnswer(QMessageBox::No);
        QTest::mouseClick(find<QPushButton>(page, "button_delete_device"), Qt::LeftButton);
        QCOMPARE(model->rowCount(), 2);
        QCOMPARE(faxCount(gone), 3);

        int rowsWhenTold = -1;
        connect(&window, &DeviceListWindow::deleteDeviceSuccess, this, [&] { rowsWhenTold = model->rowCount(); });
        MessageBoxUtil::clear();
        MessageBoxUtil::setNextAnswer(QMessageBox::Yes);
        QTest::mouseClick(find<QPushButton>(page, "button_delete_device"), Qt::LeftButton);
        QCOMPARE(rowsWhenTold, 1); // the list was right before the window told anyone
        QCOMPARE(find<QStackedWidget>(&window, "stackedWidget")->currentIndex(), 0);
        QCOMPARE(faxCount(gone), 0);
        QCOMPARE(faxCount(keep), 2);
        QCOMPARE(DatabaseManager().queryDevices().size(), 1);
        // Nothing was said to the device.
        QVERIFY(m_sim->device()->users().size() == 2);
    }

    void changeToAnotherAccountReconnects()
    {
        Device device = bindDevice(deviceOf(m_sim->sim()->scenario()));
        addFaxes(device, 2);
        DeviceListWindow window;
        window.show();
        QSignalSpy reconnect(&window, &DeviceListWindow::reconnectDeviceSuccess);
        DeviceManageWidget* page = openRow(window, 0);
        const int baseLogins = countInLog(*m_sim, "3001 ");

        QTest::mouseClick(find<QPushButton>(page, "button_change_account"), Qt::LeftButton);
        auto* dialog = page->findChild<InputDeviceInfoDialog*>();
        QVERIFY(dialog && dialog->isVisible());
        find<QLineEdit>(dialog, "edit_account")->setText(QStringLiteral("clerk"));
        find<QLineEdit>(dialog, "edit_password")->setText(QStringLiteral("wrong"));
        find<QDialogButtonBox>(dialog, "buttonBox")->button(QDialogButtonBox::Ok)->click();
        QCOMPARE(TestSupport::nextBox(), QStringLiteral("warning:设备使用权限验证失败"));
        QVERIFY(dialog->isVisible()); // another try
        QCOMPARE(reconnect.count(), 0);

        find<QLineEdit>(dialog, "edit_password")->setText(QStringLiteral("pw"));
        MessageBoxUtil::setNextAnswer(QMessageBox::Yes); // the local faxes may go
        find<QDialogButtonBox>(dialog, "buttonBox")->button(QDialogButtonBox::Ok)->click();
        QTRY_COMPARE_WITH_TIMEOUT(reconnect.count(), 1, 20000);
        QVERIFY(countInLog(*m_sim, "3001 ") > baseLogins); // the rebind went to the base port
        const Device changed = reconnect.at(0).at(0).value<Device>();
        QCOMPARE((QVariantList{changed.id, changed.deviceName, changed.taskID}),
                 (QVariantList{device.id, QStringLiteral("clerk"), QStringLiteral("0")}));
        QCOMPARE((QStringList{stored(device, "deviceName"), stored(device, "devicePassword"), stored(device, "extNumber"),
                              stored(device, "permission")}),
                 (QStringList{"clerk", MD5Util::call128MD5(QByteArray("pw")), "802", "12"}));
        QCOMPARE(faxCount(device), 0);
        QVERIFY(!dialog->isVisible());
        QVERIFY(!window.isVisible());
    }

    void changeToTheSameAccountKeepsFaxes()
    {
        Device old = deviceOf(m_sim->sim()->scenario(), QStringLiteral("admin"), QStringLiteral("old password"));
        Device device = bindDevice(old);
        addFaxes(device, 2);
        DeviceListWindow window;
        window.show();
        QSignalSpy reconnect(&window, &DeviceListWindow::reconnectDeviceSuccess);
        DeviceManageWidget* page = openRow(window, 0);
        QTest::mouseClick(find<QPushButton>(page, "button_change_account"), Qt::LeftButton);
        auto* dialog = page->findChild<InputDeviceInfoDialog*>();
        find<QLineEdit>(dialog, "edit_account")->setText(QStringLiteral("admin"));
        find<QLineEdit>(dialog, "edit_password")->setText(QStringLiteral("admin"));
        find<QDialogButtonBox>(dialog, "buttonBox")->button(QDialogButtonBox::Ok)->click();
        QTRY_COMPARE_WITH_TIMEOUT(stored(device, "devicePassword"), MD5Util::call128MD5(QByteArray("admin")), 20000);
        QTRY_VERIFY(!dialog->isVisible());
        QTest::qWait(100);
        QCOMPARE(reconnect.count(), 0);
        QCOMPARE(faxCount(device), 2);
        QVERIFY(window.isVisible());
        QCOMPARE(page->device().devicePassword, MD5Util::call128MD5(QByteArray("admin")));
    }

    void renameGoesThroughTheConfigurationFile()
    {
        Device device = bindDevice(deviceOf(m_sim->sim()->scenario()));
        DeviceListWindow window;
        DeviceManageWidget* page = openRow(window, 0);
        auto* button = find<QPushButton>(page, "button_change_device_name");

        DialogUtil::queueAnswer(QStringLiteral("财务部传真"));
        QTest::mouseClick(button, Qt::LeftButton);
        QVERIFY(!button->isEnabled()); // busy while the file goes down and up
        QCOMPARE(TestSupport::nextBox(), QStringLiteral("info:修改设备名称成功"));
        QCOMPARE(m_sim->device()->serverName(), QStringLiteral("财务部传真"));
        const QString config = m_sim->device()->configText();
        QVERIFY(config.startsWith(QStringLiteral("\n[")));
        QVERIFY(config.contains(QStringLiteral("[FAXOPTIONS]\nServerName=财务部传真\n")));
        QVERIFY(config.contains(QStringLiteral("[STORAGE]\nPath=$STG_DIR$\n")));
        QVERIFY(!config.contains(QLatin1Char('\r')));
        QCOMPARE(stored(device, "serverName"), QStringLiteral("财务部传真"));
        QTRY_VERIFY(button->isEnabled());

        // Cancelled: nothing is asked.
        const int downloads = countInLog(*m_sim, "DOWN_FILE");
        DialogUtil::queueCancel();
        QTest::mouseClick(button, Qt::LeftButton);
        QTest::qWait(100);
        QCOMPARE(countInLog(*m_sim, "DOWN_FILE"), downloads);

        // The upload fails.
        DeviceProtocol::setTestTimeoutDivisor(30);
        m_sim->device()->addFault(SimFault::make("UP_FILE", SimFault::Silent));
        DialogUtil::queueAnswer(QStringLiteral("别的名字"));
        QTest::mouseClick(button, Qt::LeftButton);
        QCOMPARE(TestSupport::nextBox(), QStringLiteral("warning:修改设备名称失败"));
        QCOMPARE(m_sim->device()->serverName(), QStringLiteral("财务部传真"));
    }
};

namespace {

QString readText(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? QString::fromLocal8Bit(file.readAll()) : QString();
}

} // namespace

// Versions and line states, the log viewer, the firmware upload, and the management page
// that hands every panel the device.
class TestStatusPanels : public QObject
{
    Q_OBJECT

    std::unique_ptr<DeviceSimRunner> m_sim;
    Device m_device;
    QByteArray m_firmware;
    QTemporaryDir m_files;

    bool requested(const QString& text, int before)
    {
        return QTest::qWaitFor([&] { return countInLog(*m_sim, text) > before; }, 20000);
    }

private slots:
    void initTestCase()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        Scenario s = scenarioAt(QStringLiteral("127.0.0.141"));
        s.info.insert(QStringLiteral("LINE_STAT"), QStringLiteral("LINE1:PICKUP LINE3:UNKNOWN"));
        s.info.insert(QStringLiteral("CID_TYPE"), QStringLiteral("LINE1:DTMF"));
        const QDate today = QDate::currentDate();
        s.logs.insert(today.addDays(-6), QStringLiteral("first day start\r\n"));
        s.logs.insert(today, QStringLiteral("last day end\r\n"));
        m_firmware = SimFirmware::buildFile(pattern(2403, 1), pattern(2500, 2));
        s.firmwareExpected = m_firmware;
        m_sim = start(s);
        m_device = deviceOf(s);
    }

    void init()
    {
        MessageBoxUtil::clear();
        DialogUtil::clear();
        m_sim->device()->clearFaults();
        DeviceProtocol::setTestTimeoutDivisor(1);
    }

    void versionsStorageAndLines()
    {
        VersionStatusWidget panel;
        panel.setDevice(m_device);
        auto* lines = find<QLabel>(&panel, "label_line_stat");
        QTRY_VERIFY_WITH_TIMEOUT(!lines->text().isEmpty(), 20000);
        QCOMPARE(lines->text(), QStringLiteral("线路1:已摘机\t未知:断开\t"));
        QCOMPARE(shown(&panel, {"label_cid_type", "label_space", "label_mdmver"}),
                 (QStringList{"线路1:DTMF\t", "总大小:4096MB 剩余:3521MB", "M56-3.20"}));

        // Each word of a line in its place; several blanks make no empty entry.
        QCOMPARE(VersionStatusWidget::lineEntries(QStringLiteral("LINE1:IDLE  LINE2:SENDING LINE2:RECVING LINE1:RINGING"), true),
                 QStringLiteral("线路1:空闲\t线路2:发送中\t线路2:接受中\t线路1:正在振铃\t"));

        // No answer: the labels empty, the line fields without an entry.
        DeviceProtocol::setTestTimeoutDivisor(30);
        m_sim->device()->addFault(SimFault::make("GET_SVR_INFO", SimFault::Silent));
        clickWhenEnabled(&panel, "button_refresh");
        QTRY_VERIFY_WITH_TIMEOUT(lines->text().isEmpty(), 20000);
        QCOMPARE(find<QLabel>(&panel, "label_space")->text(), QString());
        QCOMPARE(find<QLabel>(&panel, "label_hwver")->text(), QString());
    }

    void logOpensInTheConfiguredViewer()
    {
        // A viewer that notes the file it was given.
        const QString opened = m_files.filePath("opened.txt");
        const QString viewer = m_files.filePath("viewer.sh");
        QFile script(viewer);
        QVERIFY(script.open(QIODevice::WriteOnly));
        script.write(QStringLiteral("#!/bin/sh\nprintf '%s' \"$1\" > '%1'\n").arg(opened).toUtf8());
        script.close();
        script.setPermissions(script.permissions() | QFileDevice::ExeOwner);
        AppSettings::userConfig()->setValue(AppSettings::KEY_LOG_VIEWER, viewer);

        DeviceLogWidget panel;
        panel.setDevice(m_device);
        clickWhenEnabled(&panel, "button_view_log");
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(opened), 20000);
        const QString logPath = readText(opened);
        QVERIFY(logPath.endsWith(QStringLiteral("-%1.txt").arg(QDate::currentDate().toString("yyyy_MM_dd"))));
        const QString log = readText(logPath);
        QVERIFY(log.contains(QStringLiteral("first day start")));
        QVERIFY(log.contains(QStringLiteral("last day end")));
        QCOMPARE(find<QLabel>(&panel, "label_progress")->text(), QDate::currentDate().toString("yyyy-MM-dd"));
        QVERIFY(MessageBoxUtil::shown().isEmpty());

        // A viewer that cannot start: the user learns where the log lies.
        AppSettings::userConfig()->setValue(AppSettings::KEY_LOG_VIEWER, m_files.filePath("no-such-viewer %1"));
        clickWhenEnabled(&panel, "button_view_log");
        QTRY_COMPARE_WITH_TIMEOUT(MessageBoxUtil::shown().size(), 1, 20000);
        QVERIFY(MessageBoxUtil::shown().first().text.contains(logPath));
        AppSettings::userConfig()->remove(AppSettings::KEY_LOG_VIEWER);
    }

    void firmwareUploadAndReboot()
    {
        FirmwareUpgradeWidget panel;
        panel.setDevice(m_device);
        auto* bar = find<QProgressBar>(&panel, "progressBar");
        auto* path = find<QLineEdit>(&panel, "edit_path");

        // No file chosen: nothing happens.
        const int uploads = countInLog(*m_sim, "<ACTION>UPDATE_");
        DialogUtil::queueCancel();
        clickWhenEnabled(&panel, "button_select_file");
        QVERIFY(path->text().isEmpty());
        clickWhenEnabled(&panel, "button_upgrade");
        QTest::qWait(300);
        QCOMPARE(countInLog(*m_sim, "<ACTION>UPDATE_"), uploads);
        QVERIFY(m_sim->device()->firmwareUploads().isEmpty());

        QFile file(m_files.filePath("update.tmp"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(m_firmware);
        file.close();
        DialogUtil::queueAnswer(file.fileName());
        clickWhenEnabled(&panel, "button_select_file");
        QCOMPARE(path->text(), file.fileName());
        QList<int> values;
        connect(bar, &QProgressBar::valueChanged, this, [&values](int value) { values << value; });
        clickWhenEnabled(&panel, "button_upgrade");
        QVERIFY(nextBox(30000).startsWith(QStringLiteral("info:更新文件上传成功")));
        QVERIFY(m_sim->device()->firmwareUploads().last().matchesExpected);
        // Progress went up by blocks and back to 0 at the end.
        QVERIFY(std::any_of(values.begin(), values.end(), [](int v) { return v > 0 && v < 100; }));
        QCOMPARE(bar->value(), 0);

        // Reboot only after a yes.
        const int resets = m_sim->device()->resetCount();
        MessageBoxUtil::setNextAnswer(QMessageBox::No);
        clickWhenEnabled(&panel, "button_reboot");
        QCOMPARE(MessageBoxUtil::takeShown().first().kind, QStringLiteral("question"));
        MessageBoxUtil::setNextAnswer(QMessageBox::Yes);
        clickWhenEnabled(&panel, "button_reboot");
        QTRY_COMPARE_WITH_TIMEOUT(m_sim->device()->resetCount(), resets + 1, 20000);
        QTRY_VERIFY(find<QPushButton>(&panel, "button_reboot")->isEnabled());
        QCOMPARE(m_sim->device()->resetCount(), resets + 1); // the "No" sent nothing
    }

    void managementPageHandsEachPanelTheDevice()
    {
        DeviceManageWidget page;
        auto* stack = find<QStackedWidget>(&page, "stackedWidget");
        int infos = countInLog(*m_sim, "<ACTION>GET_SVR_INFO</ACTION>");
        page.setDevice(m_device);
        QCOMPARE(stack->currentWidget()->metaObject()->className(), "VersionStatusWidget");
        QVERIFY(requested("<ACTION>GET_SVR_INFO</ACTION>", infos));

        // The queue empties before it loads again.
        auto* queue = find<QTableWidget>(page.panel(DeviceManageWidget::PANEL_FAX_QUEUE), "tableWidget");
        queue->setRowCount(2);

        struct Expected {
            const char* button;
            const char* panel;
            const char* request; // what the panel asks the device when it gets it
        };
        const QList<Expected> expected = {
            {"button_version", "VersionStatusWidget", "<ACTION>GET_SVR_INFO</ACTION>"},
            {"button_email", "EmailSettingWidget", "<ACTION>GET_PUB_SMTP_SETTING</ACTION>"},
            {"button_high_option", "HighOptionWidget", "SvrAdvParam.cfg</FILE>"},
            {"button_net_work", "NetworkSettingWidget", "<ACTION>GET_NETWORK_SETTING</ACTION>"},
            {"button_timezone", "TimeZoneWidget", "<ACTION>GET_TIME_SETTING</ACTION>"},
            {"button_device_log", "DeviceLogWidget", nullptr},
            {"button_user_account", "UserAccountWidget", "<ACTION>GET_USER_LIST</ACTION>"},
            {"button_fax_setting", "FaxSettingWidget", "<ACTION>GET_FAX_SETTING</ACTION>"},
            {"button_fax_queue", "FaxQueueWidget", "all in queue"},
            {"button_fax_history", "FaxHistoryWidget", "<ACTION>GET_USER_LIST</ACTION>"},
            {"button_firmware_upgrade", "FirmwareUpgradeWidget", nullptr},
        };
        for (int i = 0; i < expected.size(); ++i) {
            const Expected& e = expected[i];
            const int before = e.request ? countInLog(*m_sim, e.request) : 0;
            clickWhenEnabled(&page, e.button);
            QCOMPARE(stack->currentIndex(), i);
            QCOMPARE(stack->currentWidget()->metaObject()->className(), e.panel);
            QVERIFY(find<QPushButton>(&page, e.button)->isChecked());
            if (e.request)
                QVERIFY2(requested(e.request, before), e.panel);
            if (i == DeviceManageWidget::PANEL_FAX_QUEUE)
                QCOMPARE(queue->rowCount(), 0);
        }

        // The two panels that ask nothing at once still hold the device for their actions.
        const int logs = countInLog(*m_sim, "$STG_DIR$log\\");
        AppSettings::userConfig()->setValue(AppSettings::KEY_LOG_VIEWER, QStringLiteral("true"));
        clickWhenEnabled(page.panel(DeviceManageWidget::PANEL_DEVICE_LOG), "button_view_log");
        QVERIFY(requested("$STG_DIR$log\\", logs));
        QTRY_VERIFY_WITH_TIMEOUT(find<QPushButton>(page.panel(DeviceManageWidget::PANEL_DEVICE_LOG), "button_view_log")->isEnabled(), 20000);
        AppSettings::userConfig()->remove(AppSettings::KEY_LOG_VIEWER);
        QVERIFY(MessageBoxUtil::shown().isEmpty());
        const int resets = m_sim->device()->resetCount();
        MessageBoxUtil::setNextAnswer(QMessageBox::Yes);
        clickWhenEnabled(page.panel(DeviceManageWidget::PANEL_FIRMWARE), "button_reboot");
        QTRY_COMPARE_WITH_TIMEOUT(m_sim->device()->resetCount(), resets + 1, 20000);
    }
};

namespace {

// Waits until the panel's command has finished.
bool idle(QWidget* panel)
{
    auto* busy = find<QLabel>(panel, "label_busy");
    return QTest::qWaitFor([busy] { return busy->isHidden(); }, 20000);
}

// Clicks and returns the one message box that follows.
QString clickForBox(QPushButton* button)
{
    MessageBoxUtil::clear();
    QTest::mouseClick(button, Qt::LeftButton);
    return TestSupport::nextBox();
}

QString checkedBoxes(QWidget* panel)
{
    QStringList names;
    for (const char* name : {"check_admin", "check_distributor", "check_send", "check_receive", "check_remote",
                             "check_fax2email"})
        if (find<QCheckBox>(panel, name)->isChecked())
            names << QLatin1String(name).mid(6);
    return names.join(QLatin1Char(' '));
}

SimUser account(const QString& name, int permission, int emailOpt, const QString& emailTo)
{
    SimUser u = SimUser::withPassword(name, name + QStringLiteral("-pw"), permission, QStringLiteral("8%1").arg(name.size()));
    u.fields.insert(QStringLiteral("EMAIL_OPT"), QString::number(emailOpt));
    u.fields.insert(QStringLiteral("EMAIL_TO"), emailTo);
    u.fields.insert(QStringLiteral("SMTP_ADDR"), QStringLiteral("mail.") + name);
    return u;
}

// The tab's widget once its line's settings have arrived; null when they do not come.
FaxDetailWidget* loadedTab(QTabWidget* tabs, int index)
{
    auto* detail = qobject_cast<FaxDetailWidget*>(tabs->widget(index));
    if (!detail)
        return nullptr;
    auto* busy = detail->findChild<QLabel*>(QStringLiteral("label_busy"));
    auto* company = detail->findChild<QLineEdit*>(QStringLiteral("edit_company"));
    const bool loaded = QTest::qWaitFor([&] { return !company->text().isEmpty() && busy->isHidden(); }, 20000);
    return loaded ? detail : nullptr;
}

} // namespace

// The network, mail, time, user and line setting panels against the device stand-in.
class TestSettingPanels : public QObject
{
    Q_OBJECT

    std::unique_ptr<DeviceSimRunner> m_settings;
    std::unique_ptr<DeviceSimRunner> m_users;
    Device m_settingsDevice;
    Device m_usersDevice;
    std::unique_ptr<DeviceSimRunner> m_oneLine;
    std::unique_ptr<DeviceSimRunner> m_twoLines;

private slots:
    void initTestCase()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        Scenario settings = scenarioAt(QStringLiteral("127.0.0.161"));
        // A zone pair that no row of the panel holds, and a sync word in the wrong case.
        settings.time = {{QStringLiteral("FSK_SYNC"), QStringLiteral("true")},
                         {QStringLiteral("FSK_TIME_ZONE"), QStringLiteral("-480")},
                         {QStringLiteral("FSK_TIME_ZONE_NAME"), QStringLiteral("12345")}};
        m_settings = start(settings);
        m_settingsDevice = deviceOf(settings);

        Scenario users = scenarioAt(QStringLiteral("127.0.0.162"));
        users.users << account(QStringLiteral("alice"), 12, 4, QStringLiteral("alice@example.com"))
                    << account(QStringLiteral("bob"), 40, 6, QStringLiteral("bob@example.com"));
        m_users = start(users);
        m_usersDevice = deviceOf(users);

        // Line settings: one line, and two lines.
        Scenario one = scenarioAt(QStringLiteral("127.0.0.73"));
        one.lines[0].insert(QStringLiteral("SUPPORT_SPEED"), QStringLiteral("5"));
        m_oneLine = start(one);

        Scenario two = scenarioAt(QStringLiteral("127.0.0.74"));
        two.lines[0].insert(QStringLiteral("RECV_SPEED"), QStringLiteral("7"));
        two.lines[0].insert(QStringLiteral("MAX_SPEED"), QStringLiteral("9"));
        QMap<QString, QString> second = Scenario::defaultLine(2);
        second.insert(QStringLiteral("SEND_PRIORITY"), QStringLiteral("-1"));
        second.insert(QStringLiteral("ECM"), QStringLiteral("2"));
        second.insert(QStringLiteral("RECV_SPEED"), QStringLiteral("4"));
        second.insert(QStringLiteral("SUPPORT_SPEED"), QStringLiteral("5"));
        second.insert(QStringLiteral("DIS_BEEP"), QStringLiteral("true"));
        second.insert(QStringLiteral("MRECV_CODE"), QStringLiteral("##"));
        two.lines << second;
        m_twoLines = start(two);
    }

    void init() { MessageBoxUtil::clear(); }

    void networkShowsAndSendsAddresses()
    {
        NetworkSettingWidget panel;
        panel.setDevice(m_settingsDevice);
        auto* apply = find<QPushButton>(&panel, "button_apply");
        QVERIFY(!find<QLabel>(&panel, "label_busy")->isHidden());
        QVERIFY(!apply->isEnabled());
        QVERIFY(idle(&panel));
        QVERIFY(apply->isEnabled());
        QCOMPARE(shown(&panel, {"edit_ipAddress", "edit_macAddress", "label_status"}),
                 (QStringList{"192.168.1.200", "00:1A:2B:3C:4D:5E", "CONNECTED"}));
        // The device has no second and third address: they show, and go back, as 0.0.0.0.
        QCOMPARE(find<QLineEdit>(&panel, "edit_ipAddress2")->text(), QStringLiteral("0.0.0.0"));
        QCOMPARE(find<QLineEdit>(&panel, "edit_ipAddress3")->text(), QStringLiteral("0.0.0.0"));
        auto* manual = find<QRadioButton>(&panel, "radio_manual");
        auto* dhcp = find<QRadioButton>(&panel, "radio_dhcp");
        QVERIFY(manual->isChecked());
        QVERIFY(find<QLineEdit>(&panel, "edit_dns")->isEnabled());

        QCOMPARE(clickForBox(apply), QStringLiteral("info:修改网咯参数设置成功"));
        QVERIFY(lastRequest(*m_settings, "NETWORK_SETTING")
                    .contains("<DHCPENABLE>disable</DHCPENABLE><IP>192.168.1.200</IP><IP2>0.0.0.0</IP2>"
                              "<IP3>0.0.0.0</IP3><SUBNETMASK>255.255.255.0</SUBNETMASK>"));
        QVERIFY(lastRequest(*m_settings, "NETWORK_SETTING").endsWith("<VERIFY>false</VERIFY>"));

        // DHCP with the safety check: the address edits close, "enable" and "true" go out.
        dhcp->click();
        QVERIFY(!find<QLineEdit>(&panel, "edit_ipAddress")->isEnabled());
        QVERIFY(!find<QLineEdit>(&panel, "edit_router")->isEnabled());
        find<QCheckBox>(&panel, "checkBox")->setChecked(true);
        QVERIFY(clickForBox(apply).startsWith("info:"));
        QCOMPARE(m_settings->device()->network().value("DHCPENABLE"), QStringLiteral("enable"));
        QCOMPARE(m_settings->device()->network().value("VERIFY"), QStringLiteral("true"));

        // Shown again, the device's DHCP checks that radio; picking manual sends "disable".
        panel.setDevice(m_settingsDevice);
        QVERIFY(idle(&panel));
        QVERIFY(dhcp->isChecked());
        QVERIFY(!find<QLineEdit>(&panel, "edit_ipAddress")->isEnabled());
        manual->click();
        QVERIFY(find<QLineEdit>(&panel, "edit_ipAddress")->isEnabled());
        QVERIFY(clickForBox(apply).startsWith("info:"));
        QCOMPARE(m_settings->device()->network().value("DHCPENABLE"), QStringLiteral("disable"));

        // A refusal is a warning.
        find<QLineEdit>(&panel, "edit_ipAddress")->setText(QStringLiteral("not an address"));
        QCOMPARE(clickForBox(apply), QStringLiteral("warning:修改网咯参数设置失败"));

        // A device that does not answer: a failed change, and a load that empties the panel.
        DeviceProtocol::setTestTimeoutDivisor(30);
        m_settings->device()->addFault(SimFault::make("NETWORK_SETTING", SimFault::Silent));
        QVERIFY(clickForBox(apply).startsWith("warning:"));
        m_settings->device()->addFault(SimFault::make("GET_NETWORK_SETTING", SimFault::Silent));
        panel.setDevice(m_settingsDevice);
        QVERIFY(idle(&panel));
        m_settings->device()->clearFaults();
        DeviceProtocol::setTestTimeoutDivisor(1);
        QCOMPARE(shown(&panel, {"edit_ipAddress", "edit_macAddress", "edit_ipAddress3", "radio_dhcp"}),
                 (QStringList{"", "", "0.0.0.0", "+"}));
    }

    void mailSendsItsFourFields()
    {
        EmailSettingWidget panel;
        panel.setDevice(m_settingsDevice);
        QVERIFY(idle(&panel));
        QCOMPARE(shown(&panel, {"edit_smtpAddress", "edit_smtpUser", "edit_emailFrom", "edit_smtpPwd"}),
                 (QStringList{"smtp.example.com", "fax", "fax@example.com", ""}));

        // The untouched password field is left out: the device keeps its own.
        find<QLineEdit>(&panel, "edit_smtpUser")->setText(QStringLiteral("a<b>%1"));
        QCOMPARE(clickForBox(find<QPushButton>(&panel, "button_apply")), QStringLiteral("info:修改公共SMTP设置成功"));
        QVERIFY(lastRequest(*m_settings, "SET_PUB_SMTP_SETTING")
                    .endsWith("<SMTP_ADDR>smtp.example.com</SMTP_ADDR><SMTP_USER>a<b>%1</SMTP_USER>"
                              "<EMAIL_ADDR_FROM>fax@example.com</EMAIL_ADDR_FROM>"));
        QCOMPARE(m_settings->device()->smtp().value("SMTP_PWD"), QStringLiteral("secret"));
    }

    void timeZoneAndClock()
    {
        TimeZoneWidget panel;
        auto* combo = find<QComboBox>(&panel, "comboBox");
        panel.setDevice(m_settingsDevice);
        QVERIFY(idle(&panel));
        auto* edit = find<QDateTimeEdit>(&panel, "dateTimeEdit");
        auto* autoRefresh = find<QCheckBox>(&panel, "check_auto_refresh");
        auto* fsk = find<QCheckBox>(&panel, "check_fsk_async_2");
        // Pair not in the table, "true" in lower case: no row, no tick, the texts kept as they came.
        QCOMPARE(combo->currentIndex(), -1);
        QVERIFY(!fsk->isChecked());
        QCOMPARE(panel.fskSync() + ' ' + panel.fskTimeZone() + ' ' + panel.fskTimeZoneName(),
                 QStringLiteral("true -480 12345"));
        QVERIFY(qAbs(edit->dateTime().secsTo(m_settings->device()->deviceClock())) < 30);

        // The clock runs on each second while auto refresh is on, and is then not editable.
        QVERIFY(autoRefresh->isChecked());
        QVERIFY(!edit->isEnabled());
        const QDateTime shown = edit->dateTime();
        panel.autoRefreshTime();
        QCOMPARE(edit->dateTime(), shown.addSecs(1));
        autoRefresh->setChecked(false);
        QVERIFY(edit->isEnabled());
        panel.autoRefreshTime();
        panel.autoRefreshTime();
        QCOMPARE(edit->dateTime(), shown.addSecs(1));
        autoRefresh->setChecked(true);
        panel.autoRefreshTime();
        QCOMPARE(edit->dateTime(), shown.addSecs(4));
        // A finished edit stops the refresh, so that the typed time stands.
        emit edit->editingFinished();
        QVERIFY(!autoRefresh->isChecked());

        // Unchanged, apply sends the kept texts.
        autoRefresh->setChecked(false);
        edit->setDateTime(QDateTime(QDate(2025, 3, 4), QTime(5, 6, 7), Qt::UTC));
        QVERIFY(clickForBox(find<QPushButton>(&panel, "button_apply")).startsWith("info:"));
        QVERIFY(lastRequest(*m_settings, "SET_TIME_SETTING")
                    .endsWith("<YEAR>2025</YEAR><MONTH>03</MONTH><DAY>04</DAY><HOUR>05</HOUR><MINUTE>06</MINUTE>"
                              "<SECOND>07</SECOND><FSK_SYNC>true</FSK_SYNC><FSK_TIME_ZONE>-480</FSK_TIME_ZONE>"
                              "<FSK_TIME_ZONE_NAME>12345</FSK_TIME_ZONE_NAME>"));

        // A picked row and the ticked box replace them.
        combo->setCurrentIndex(13);
        fsk->setChecked(true);
        QCOMPARE(clickForBox(find<QPushButton>(&panel, "button_apply")), QStringLiteral("info:服务器时间设置修改成功"));
        QVERIFY(lastRequest(*m_settings, "SET_TIME_SETTING")
                    .endsWith("<FSK_SYNC>TRUE</FSK_SYNC><FSK_TIME_ZONE>-480</FSK_TIME_ZONE>"
                              "<FSK_TIME_ZONE_NAME>389818429</FSK_TIME_ZONE_NAME>"));

        // Shown again: the device's pair now selects its row, "TRUE" ticks the box.
        combo->setCurrentIndex(0);
        fsk->setChecked(false);
        panel.setDevice(m_settingsDevice);
        QVERIFY(idle(&panel));
        QCOMPARE(combo->currentIndex(), 13);
        QVERIFY(fsk->isChecked());
        const QDateTime set(QDate(2025, 3, 4), QTime(5, 6, 7), Qt::UTC);
        QVERIFY(edit->dateTime() >= set && edit->dateTime() < set.addSecs(30));

        // A time the device refuses is a warning.
        m_settings->device()->addFault(SimFault::make("SET_TIME_SETTING", SimFault::Feedback, 0, 0, "PARAM_ERROR"));
        QCOMPARE(clickForBox(find<QPushButton>(&panel, "button_apply")), QStringLiteral("warning:服务器时间设置修改失败"));
        m_settings->device()->clearFaults();
    }

    void userAccountsShowAndEdit()
    {
        UserAccountWidget panel;
        auto* list = find<QListWidget>(&panel, "listWidget");
        auto* name = find<QLineEdit>(&panel, "edit_username");
        auto* forward = find<QComboBox>(&panel, "combo_forward_condition");
        auto* smtp = find<QComboBox>(&panel, "combo_smtpSetting");
        auto* apply = find<QPushButton>(&panel, "button_apply");
        panel.setDevice(m_usersDevice);
        QVERIFY(!apply->isEnabled());
        QVERIFY(idle(&panel));
        QCOMPARE(list->count(), 3);
        QCOMPARE(list->currentRow(), 0);
        QCOMPARE(name->text(), QStringLiteral("admin"));
        QCOMPARE(find<QLineEdit>(&panel, "edit_extNum")->text(), QStringLiteral("800"));
        QCOMPARE(checkedBoxes(&panel), QStringLiteral("admin distributor send receive remote fax2email"));
        for (const char* box : {"check_admin", "check_distributor", "check_fax2email", "check_send"})
            QVERIFY2(!find<QCheckBox>(&panel, box)->isEnabled(), box);
        QVERIFY(find<QCheckBox>(&panel, "check_receive")->isEnabled());

        // Shown twice, each name once.
        panel.setDevice(m_usersDevice);
        QVERIFY(idle(&panel));
        QCOMPARE(list->count(), 3);

        // EMAIL_OPT 4: no forwarding, own SMTP, and with no forwarding all mail fields closed.
        list->setCurrentRow(1);
        QVERIFY(idle(&panel));
        QCOMPARE(name->text(), QStringLiteral("alice"));
        QVERIFY(find<QCheckBox>(&panel, "check_admin")->isEnabled());
        QCOMPARE(checkedBoxes(&panel), QStringLiteral("send receive"));
        QCOMPARE(forward->currentIndex(), 0);
        QCOMPARE(smtp->currentIndex(), 1);
        QVERIFY(!find<QLineEdit>(&panel, "edit_emailTo")->isEnabled());
        QVERIFY(!find<QLineEdit>(&panel, "edit_smtpAddress")->isEnabled());

        // Every option value written and read back through the device.
        for (int option : {0, 1, 2, 4, 5, 6}) {
            list->setCurrentRow(2);
            QVERIFY(idle(&panel));
            forward->setCurrentIndex(option % 4);
            smtp->setCurrentIndex(option / 4);
            QCOMPARE(find<QLineEdit>(&panel, "edit_emailTo")->isEnabled(), option % 4 != 0);
            QCOMPARE(find<QLineEdit>(&panel, "edit_smtpUser")->isEnabled(), option == 5 || option == 6);
            QCOMPARE(clickForBox(apply), QStringLiteral("info:用户信息修改成功"));
            SimUser bob;
            QVERIFY(m_users->device()->user(QStringLiteral("bob"), &bob));
            QCOMPARE(bob.fields.value("EMAIL_OPT"), QString::number(option));
            list->setCurrentRow(0);
            QVERIFY(idle(&panel));
            QCOMPARE(forward->currentIndex(), 0);
            list->setCurrentRow(2);
            QVERIFY(idle(&panel));
            QCOMPARE(forward->currentIndex(), option % 4);
            QCOMPARE(smtp->currentIndex(), option / 4);
        }
        // The untouched password is left out; the rights go as their sum.
        const QString modify = lastRequest(*m_users, "MODIFY_USER");
        QVERIFY(modify.contains("<USER_NAME>bob</USER_NAME><EXT_NUM>"));
        QVERIFY(modify.contains("<PERMISSION>40</PERMISSION><EMAIL_OPT>6</EMAIL_OPT>"));
        QCOMPARE(checkedBoxes(&panel), QStringLiteral("receive fax2email"));
        find<QCheckBox>(&panel, "check_admin")->setChecked(true);
        find<QCheckBox>(&panel, "check_distributor")->setChecked(true);
        find<QCheckBox>(&panel, "check_send")->setChecked(true);
        find<QCheckBox>(&panel, "check_remote")->setChecked(true);
        QVERIFY(clickForBox(apply).startsWith("info:"));
        QVERIFY(lastRequest(*m_users, "MODIFY_USER").contains("<PERMISSION>63</PERMISSION>"));
        list->setCurrentRow(1);
        QVERIFY(idle(&panel));
        list->setCurrentRow(2);
        QVERIFY(idle(&panel));
        QCOMPARE(checkedBoxes(&panel), QStringLiteral("admin distributor send receive remote fax2email"));
    }

    void userAddCancelAndDelete()
    {
        UserAccountWidget panel;
        auto* list = find<QListWidget>(&panel, "listWidget");
        auto* name = find<QLineEdit>(&panel, "edit_username");
        auto* add = find<QPushButton>(&panel, "button_addUser");
        auto* del = find<QPushButton>(&panel, "button_deleteUser");
        auto* apply = find<QPushButton>(&panel, "button_apply");
        panel.setDevice(m_usersDevice);
        QVERIFY(idle(&panel));
        const int accounts = list->count();

        // Add mode, then cancel: the shown account comes back.
        QTest::mouseClick(add, Qt::LeftButton);
        QVERIFY(panel.isAdding() && add->isHidden() && !list->isEnabled() && name->isEnabled());
        QCOMPARE(shown(&panel, {"edit_username", "edit_extNum"}), (QStringList{"", ""}));
        QCOMPARE(checkedBoxes(&panel), QStringLiteral("send receive"));
        QTest::mouseClick(del, Qt::LeftButton);
        QVERIFY(!panel.isAdding() && !add->isHidden() && list->isEnabled());
        QVERIFY(idle(&panel));
        QCOMPARE(name->text(), QStringLiteral("admin"));
        QCOMPARE(list->count(), accounts);

        // A name the device has already: warning, still adding.
        QTest::mouseClick(add, Qt::LeftButton);
        name->setText(QStringLiteral("alice"));
        find<QLineEdit>(&panel, "edit_password")->setText(QStringLiteral("pw0"));
        QCOMPARE(clickForBox(apply), QStringLiteral("warning:添加用户失败"));
        QVERIFY(panel.isAdding());

        // A new account with the default rights: 12, the password as its digest, appended and current.
        name->setText(QStringLiteral("carol"));
        find<QLineEdit>(&panel, "edit_password")->setText(QStringLiteral("pw1"));
        QVERIFY(clickForBox(apply).startsWith("info:"));
        QVERIFY(!panel.isAdding());
        const QString request = lastRequest(*m_users, "ADD_USER");
        QVERIFY(request.contains(QStringLiteral("<USER_NAME>carol</USER_NAME><USER_PWD>")
                                 + MD5Util::call128MD5(QByteArray("pw1")) + QStringLiteral("</USER_PWD>")));
        QVERIFY(request.contains("<PERMISSION>12</PERMISSION>"));
        QCOMPARE(list->count(), accounts + 1);
        QCOMPARE(list->currentItem()->text(), QStringLiteral("carol"));
        QVERIFY(idle(&panel));
        QCOMPARE(name->text(), QStringLiteral("carol"));

        // Delete: the row goes and the row that becomes current is shown.
        QTest::mouseClick(del, Qt::LeftButton);
        QTRY_COMPARE_WITH_TIMEOUT(list->count(), accounts, 20000);
        QVERIFY(list->findItems(QStringLiteral("carol"), Qt::MatchExactly).isEmpty());
        SimUser gone;
        QVERIFY(!m_users->device()->user(QStringLiteral("carol"), &gone));
        QVERIFY(idle(&panel));
        QCOMPARE(name->text(), list->currentItem()->text());

        // The device keeps its administrator: the row stays and nothing is said.
        list->setCurrentRow(0);
        QVERIFY(idle(&panel));
        QTest::mouseClick(del, Qt::LeftButton);
        QVERIFY(idle(&panel));
        QCOMPARE(list->count(), accounts);
        QCOMPARE(list->item(0)->text(), QStringLiteral("admin"));
        QVERIFY(MessageBoxUtil::shown().isEmpty());
    }

    // The line settings panel with one and with two lines, and the advanced parameters panel.
    void oneLineGivesOneTab()
    {
        FaxSettingWidget panel;
        Device device = deviceOf(m_oneLine->sim()->scenario());
        panel.setDevice(device);
        auto* busy = find<QLabel>(&panel, "label_busy");
        QVERIFY(!busy->isHidden()); // while the device is asked
        auto* tabs = find<QTabWidget>(&panel, "tabWidget");
        QTRY_COMPARE_WITH_TIMEOUT(tabs->count(), 1, 20000);
        FaxDetailWidget* line = loadedTab(tabs, 0);
        QVERIFY(line);
        QTRY_VERIFY(busy->isHidden());
        // No high speeds on this device.
        QCOMPARE(find<QComboBox>(line, "combo_send_speed")->count(), 6);
        QCOMPARE(find<QComboBox>(line, "combo_receive_speed")->count(), 4);
        QCOMPARE(shown(line, {"edit_fax_csid", "check_auto_recv", "check_must_ext", "check_send_ecm", "check_receive_ecm",
                              "combo_send_priority", "check_disable_line_send"}),
                 (QStringList{"VELKOR-LINE1", "+", "-", "+", "+", "5", "-"}));
    }

    void twoLinesGiveTwoTabsReadAndWrittenBack()
    {
        FaxSettingWidget panel;
        Device device = deviceOf(m_twoLines->sim()->scenario());
        panel.setDevice(device);
        auto* tabs = find<QTabWidget>(&panel, "tabWidget");
        QTRY_COMPARE_WITH_TIMEOUT(tabs->count(), 2, 20000);
        FaxDetailWidget* first = loadedTab(tabs, 0);
        FaxDetailWidget* second = loadedTab(tabs, 1);
        QVERIFY(first && second);

        // Line 1 supports high speeds: both combos carry them, once.
        auto* send1 = find<QComboBox>(first, "combo_send_speed");
        auto* recv1 = find<QComboBox>(first, "combo_receive_speed");
        QCOMPARE(send1->count() + recv1->count(), 14 + 12);
        QCOMPARE(shown(first, {"combo_send_speed", "combo_receive_speed"}), (QStringList{"24000 bps", "19200 bps"}));

        // Line 2: code 4 shows as 14400, priority "-1" disables sending, ECM 2 is receive only.
        auto* recv2 = find<QComboBox>(second, "combo_receive_speed");
        QCOMPARE(recv2->count(), 4);
        QCOMPARE(shown(second, {"combo_receive_speed", "check_disable_line_send", "combo_send_priority", "check_send_ecm",
                                "check_receive_ecm", "check_disable_deep", "combo_mrecv_code"}),
                 (QStringList{"14400 bps", "+", "5", "-", "+", "+", "##"}));

        // Applying line 2 unchanged sends what it read, the speed on its own code.
        QTest::mouseClick(find<QPushButton>(second, "button_apply"), Qt::LeftButton);
        QCOMPARE(TestSupport::nextBox(), QStringLiteral("info:设置服务器传真参数成功"));
        const QString request = lastRequest(*m_twoLines, "SET_FAX_SETTING");
        QVERIFY(request.contains(QStringLiteral("<ECM>2</ECM><MAX_SPEED>5</MAX_SPEED><RECV_SPEED>5</RECV_SPEED>")));
        QVERIFY(request.contains(QStringLiteral("<DIS_BEEP>true</DIS_BEEP>")));
        QVERIFY(request.contains(QStringLiteral("<SEND_PRIORITY>-1</SEND_PRIORITY><MRECV_CODE>##</MRECV_CODE><LINE_NUM>2</LINE_NUM>")));

        // Line 1 changed: the high receive speed goes back on its code, sending on again.
        recv1->setCurrentText(QStringLiteral("33600 bps"));
        find<QCheckBox>(first, "check_send_ecm")->setChecked(false);
        find<QComboBox>(first, "combo_send_priority")->setCurrentText(QStringLiteral("7"));
        QTest::mouseClick(find<QPushButton>(first, "button_apply"), Qt::LeftButton);
        QCOMPARE(TestSupport::nextBox(), QStringLiteral("info:设置服务器传真参数成功"));
        const QMap<QString, QString> stored = m_twoLines->device()->lineSettings(1);
        QCOMPARE((QStringList{stored.value("RECV_SPEED"), stored.value("MAX_SPEED"), stored.value("ECM"),
                              stored.value("SEND_PRIORITY")}),
                 (QStringList{"13", "9", "2", "7"}));

        // A refusal is a warning.
        m_twoLines->device()->addFault(SimFault::make("SET_FAX_SETTING", SimFault::Feedback, 0, 0, "NO_PERMISSION"));
        QTest::mouseClick(find<QPushButton>(first, "button_apply"), Qt::LeftButton);
        QCOMPARE(TestSupport::nextBox(), QStringLiteral("warning:设置服务器传真参数失败"));
        m_twoLines->device()->clearFaults();

        // Shown again: the tabs are made anew, not added to.
        panel.setDevice(device);
        QTRY_COMPARE_WITH_TIMEOUT(tabs->count(), 2, 20000);
        QTest::qWait(300);
        QCOMPARE(tabs->count(), 2);
    }

    void highOptionShowsAndSendsTheFile()
    {
        HighOptionWidget panel;
        Device device = deviceOf(m_oneLine->sim()->scenario());
        panel.setDevice(device);
        auto* edit = find<QPlainTextEdit>(&panel, "edit_high_option");
        auto* busy = find<QLabel>(&panel, "label_busy");
        auto* apply = find<QPushButton>(&panel, "button_apply");
        QVERIFY(!busy->isHidden());
        QVERIFY(!apply->isEnabled());
        QTRY_VERIFY_WITH_TIMEOUT(edit->toPlainText().contains(QStringLiteral("ServerName=")), 20000);
        QTRY_VERIFY(busy->isHidden());
        QVERIFY(!edit->toPlainText().contains(QLatin1Char('\r')));

        edit->setPlainText(edit->toPlainText().replace(QStringLiteral("MaxRetry=3"), QStringLiteral("MaxRetry=5")));
        QTest::mouseClick(apply, Qt::LeftButton);
        QCOMPARE(TestSupport::nextBox(), QStringLiteral("info:修改高级参数设置成功"));
        QVERIFY(m_oneLine->device()->configText().contains(QStringLiteral("MaxRetry=5\n")));

        DeviceProtocol::setTestTimeoutDivisor(30);
        m_oneLine->device()->addFault(SimFault::make("UP_FILE", SimFault::Silent));
        QTest::mouseClick(apply, Qt::LeftButton);
        QCOMPARE(TestSupport::nextBox(), QStringLiteral("warning:修改高级参数设置失败"));
        m_oneLine->device()->clearFaults();
        DeviceProtocol::setTestTimeoutDivisor(1);
    }
};

namespace {

int openEditors(QWidget* owner)
{
    return owner->findChildren<FaxDetailWindow*>().size();
}

} // namespace

// The device's queue and history panels and the distribution dialog, against the stand-in.
class TestQueueHistoryPanels : public QObject
{
    Q_OBJECT

    std::unique_ptr<DeviceSimRunner> m_sim;
    Device m_device;
    quint32 m_receivedTask = 0;

    // Waits until the device has seen one more request with this text than before.
    bool seen(const QString& text, int before) { return QTest::qWaitFor([&] { return countInLog(*m_sim, text) > before; }, 20000); }

private slots:
    void initTestCase()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        Scenario s = scenarioAt(QStringLiteral("127.0.0.140"));
        s.jobs.advanceOnQuery = true; // the queue holds still
        s.users << SimUser::withPassword(QStringLiteral("clerk"), QStringLiteral("pw"), 12)
                << SimUser::withPassword(QStringLiteral("li"), QStringLiteral("pw"), 12);
        SimSentRecord waiting = sentRecord(601, 5, QStringLiteral("01066668888"), QStringLiteral("Wang"));
        waiting.priority = 3;
        waiting.remark = QStringLiteral("urgent");
        s.history << waiting << sentRecord(602, 2, QStringLiteral("02177776666"), QStringLiteral("Zhao"))
                  << sentRecord(603, 1, QStringLiteral("02955553333"), QStringLiteral("Zhao"));
        SimReceivedFax in;
        in.task = 620;
        in.cid = QStringLiteral("075512345678");
        in.sender = QStringLiteral("Acme");
        in.timeUtc = QDateTime::currentDateTimeUtc().addSecs(-600);
        s.received << in;
        m_receivedTask = in.task;
        m_sim = start(s);
        m_device = deviceOf(s);
    }

    void init()
    {
        MessageBoxUtil::clear();
        m_sim->device()->clearFaults();
    }

    void queueShowsStopsAndViews()
    {
        FaxQueueWidget panel;
        auto* table = find<QTableWidget>(&panel, "tableWidget");
        panel.setDevice(m_device);
        QTRY_COMPARE_WITH_TIMEOUT(table->rowCount(), 1, 20000);
        QCOMPARE(cell(table, 0, 1), QStringLiteral("601"));
        QCOMPARE(cell(table, 0, 3), QStringLiteral("高"));
        QCOMPARE(cell(table, 0, 4), QStringLiteral("01066668888"));
        QCOMPARE(cell(table, 0, 7), QStringLiteral("1/1"));
        QCOMPARE(cell(table, 0, 9), QStringLiteral("urgent"));

        // Nothing selected: no file is asked for.
        const int downloads = countInLog(*m_sim, "<ACTION>DOWN_FILE</ACTION>");
        clickWhenEnabled(&panel, "button_content");
        QTest::qWait(200);
        QCOMPARE(countInLog(*m_sim, "<ACTION>DOWN_FILE</ACTION>"), downloads);

        // Viewing fetches the file once; a second look opens it from the disk.
        table->setCurrentCell(0, 0);
        clickWhenEnabled(&panel, "button_content");
        QTRY_COMPARE_WITH_TIMEOUT(openEditors(&panel), 1, 20000);
        QCOMPARE(countInLog(*m_sim, "<ACTION>DOWN_FILE</ACTION>"), downloads + 1);
        clickWhenEnabled(&panel, "button_content");
        QTRY_COMPARE_WITH_TIMEOUT(openEditors(&panel), 2, 20000);
        QCOMPARE(countInLog(*m_sim, "<ACTION>DOWN_FILE</ACTION>"), downloads + 1);
        QVERIFY(!panel.findChildren<FaxDetailWindow*>().first()->pages().isEmpty());

        // A stop the device accepts takes the row away.
        clickWhenEnabled(&panel, "button_stop_send");
        QTRY_COMPARE_WITH_TIMEOUT(table->rowCount(), 0, 20000);
        QCOMPARE(lastRequest(*m_sim, "SEND_FAX_PAUSE"), QStringLiteral("<ACTION>SEND_FAX_PAUSE</ACTION><TASKID>601</TASKID>"));
    }

    void shortRecordIsAnEmptyRow()
    {
        DeviceProtocol::setTestTimeoutDivisor(20);
        SimFault shortRecord = SimFault::make("GET_SEND_FAX_STATUS", SimFault::ShortRecord, 100);
        shortRecord.times = 1;
        m_sim->device()->addFault(shortRecord);
        FaxHistoryWidget panel;
        auto* table = find<QTableWidget>(&panel, "tableWidget");
        panel.setDevice(m_device);
        clickWhenEnabled(&panel, "button_search");
        QTRY_VERIFY_WITH_TIMEOUT(table->rowCount() >= 3, 20000);
        QTRY_VERIFY_WITH_TIMEOUT(find<QPushButton>(&panel, "button_search")->isEnabled(), 20000);
        // The first record came short: its row holds nothing of another record.
        QCOMPARE(cell(table, 0, 1), QString());
        QCOMPARE(cell(table, 0, 8), QString());
        QVERIFY(rowOf(table, 7, QStringLiteral("620")) > 0);
        DeviceProtocol::setTestTimeoutDivisor(1);
    }

    void historySearchesFiltersAndDeletes()
    {
        FaxHistoryWidget panel;
        auto* table = find<QTableWidget>(&panel, "tableWidget");
        auto* users = find<QComboBox>(&panel, "combo_user");
        auto* number = find<QLineEdit>(&panel, "edit_faxNumber");
        auto* sendBox = find<QCheckBox>(&panel, "check_send");
        auto* recvBox = find<QCheckBox>(&panel, "check_recv");
        panel.setDevice(m_device);
        QTRY_COMPARE_WITH_TIMEOUT(users->count(), 4, 20000);
        QCOMPARE(users->itemText(2), QStringLiteral("clerk"));

        auto search = [&] {
            const int before = countInLog(*m_sim, "query history");
            clickWhenEnabled(&panel, "button_search");
            return seen("query history", before)
                && QTest::qWaitFor([&] { return find<QPushButton>(&panel, "button_search")->isEnabled(); }, 20000);
        };
        QVERIFY(search());
        QVERIFY(lastRequest(*m_sim, "GET_SEND_FAX_STATUS").contains("<QY_USER></QY_USER>"));
        QVERIFY(lastRequest(*m_sim, "GET_SEND_FAX_STATUS").endsWith("<QY_TYPE>recvsend</QY_TYPE>"));
        const int sentRow = rowOf(table, 7, QStringLiteral("602"));
        const int failedRow = rowOf(table, 7, QStringLiteral("603"));
        const int inRow = rowOf(table, 7, QString::number(m_receivedTask));
        QVERIFY(sentRow >= 0 && failedRow >= 0 && inRow >= 0);
        QCOMPARE(cell(table, sentRow, 0), QStringLiteral("发送"));
        QCOMPARE(cell(table, sentRow, 3), QStringLiteral("02177776666"));
        QCOMPARE(cell(table, sentRow, 6), QStringLiteral("成功"));
        QCOMPARE(cell(table, failedRow, 6), QStringLiteral("失败"));
        QCOMPARE(cell(table, inRow, 0), QStringLiteral("接收"));
        QCOMPARE(cell(table, inRow, 3), QStringLiteral("075512345678")); // the caller, not the line
        QCOMPARE(cell(table, inRow, 6), QStringLiteral("未读"));

        // The number filter: the caller (0x020) and the line's own number (0x060) both find
        // the received fax; a sent number finds only its record.
        const QString lineNumber = m_sim->device()->lineSettings(1).value("FAX_NUM");
        for (const QString& part : {QStringLiteral("5512345"), lineNumber}) {
            number->setText(part);
            QVERIFY(search());
            QCOMPARE(table->rowCount(), 1);
            QCOMPARE(cell(table, 0, 7), QString::number(m_receivedTask));
        }
        number->setText(QStringLiteral("7776666"));
        QVERIFY(search());
        QCOMPARE(table->rowCount(), 1);
        QCOMPARE(cell(table, 0, 7), QStringLiteral("602"));
        QVERIFY(!lastRequest(*m_sim, "GET_SEND_FAX_STATUS").contains("7776666")); // filtered here

        // One direction always stays on; the user goes to the device.
        recvBox->setChecked(false);
        QVERIFY(!sendBox->isEnabled());
        users->setCurrentIndex(1);
        number->clear();
        QVERIFY(search());
        QVERIFY(lastRequest(*m_sim, "GET_SEND_FAX_STATUS").contains("<QY_USER>admin</QY_USER>"));
        QVERIFY(lastRequest(*m_sim, "GET_SEND_FAX_STATUS").endsWith("<QY_TYPE>send</QY_TYPE>"));
        QCOMPARE(rowOf(table, 0, QStringLiteral("接收")), -1);
        recvBox->setChecked(true);
        sendBox->setChecked(false);
        QVERIFY(search());
        QVERIFY(lastRequest(*m_sim, "GET_SEND_FAX_STATUS").endsWith("<QY_TYPE>recv</QY_TYPE>"));
        sendBox->setChecked(true);
        QVERIFY(search());

        // Nothing in the range: AMOUNT 0 empties the table and no record is asked for.
        auto* begin = find<QDateEdit>(&panel, "date_begin");
        auto* end = find<QDateEdit>(&panel, "date_end");
        const QDate firstDay = begin->date();
        begin->setDate(QDate(2001, 1, 1));
        end->setDate(QDate(2001, 1, 2));
        const int tokens = countInLog(*m_sim, "ready token");
        QString firstSecond = QStringLiteral("2001-01-01 00:00:01");
        QVERIFY(search());
        QVERIFY(lastRequest(*m_sim, "GET_SEND_FAX_STATUS")
                    .contains("<QY_DTBGN>" + TimeUtil::localTime2UTCTime(firstSecond) + "</QY_DTBGN>"));
        QCOMPARE(table->rowCount(), 0);
        QCOMPARE(countInLog(*m_sim, "ready token"), tokens);
        begin->setDate(firstDay);
        end->setDate(QDate::currentDate());
        QVERIFY(search());

        // Deleting: removed; not allowed to remove for good; refused.
        table->setCurrentCell(rowOf(table, 7, QStringLiteral("603")), 0);
        clickWhenEnabled(&panel, "button_delete");
        QTRY_COMPARE_WITH_TIMEOUT(rowOf(table, 7, QStringLiteral("603")), -1, 20000);
        QVERIFY(MessageBoxUtil::shown().isEmpty());
        QVERIFY(lastRequest(*m_sim, "DELETE_FAX").startsWith("<ACTION>DELETE_FAX</ACTION><TASKID>603</TASKID>"));

        m_sim->device()->setAllowRemove(false);
        table->setCurrentCell(rowOf(table, 7, QStringLiteral("602")), 0);
        clickWhenEnabled(&panel, "button_delete");
        QCOMPARE(nextBox(), QStringLiteral("warning:当前设置不允许彻底删除"));
        QVERIFY(rowOf(table, 7, QStringLiteral("602")) >= 0);
        m_sim->device()->setAllowRemove(true);

        m_sim->device()->addFault(SimFault::make("DELETE_FAX", SimFault::Feedback, 0, 0, "FAIL"));
        clickWhenEnabled(&panel, "button_delete");
        QCOMPARE(nextBox(), QStringLiteral("warning:删除失败"));
        QVERIFY(rowOf(table, 7, QStringLiteral("602")) >= 0);

        // Viewing the received fax opens it in the editor.
        table->setCurrentCell(rowOf(table, 7, QString::number(m_receivedTask)), 0);
        clickWhenEnabled(&panel, "button_content");
        QTRY_COMPARE_WITH_TIMEOUT(openEditors(&panel), 1, 20000);
    }

    void distributionSendsTheChosenNames()
    {
        QString task = QString::number(m_receivedTask);
        QPointer<FaxDistributeDialog> dialog = new FaxDistributeDialog(m_device, task);
        dialog->show();
        auto* from = find<QTableWidget>(dialog, "table_user_list");
        auto* to = find<QTableWidget>(dialog, "table_distribute_to");
        QTRY_COMPARE_WITH_TIMEOUT(from->rowCount(), 3, 20000);
        auto moveNamed = [](QTableWidget* table, const QString& name) {
            const int row = rowOf(table, 0, name);
            if (row >= 0)
                emit table->itemDoubleClicked(table->item(row, 0));
            return row >= 0;
        };
        QVERIFY(moveNamed(from, "clerk"));
        QVERIFY(moveNamed(from, "admin"));
        QVERIFY(moveNamed(from, "li"));
        QCOMPARE(from->rowCount(), 0);
        QVERIFY(moveNamed(to, "admin")); // and back
        QCOMPARE(rowOf(from, 0, "admin"), 0);

        const int before = m_sim->device()->receivedFaxes().size();
        clickWhenEnabled(dialog, "button_ok");
        QTRY_VERIFY_WITH_TIMEOUT(dialog.isNull(), 20000);
        QCOMPARE(lastRequest(*m_sim, "DISTRIBUTE_FAX"),
                 QStringLiteral("<ACTION>DISTRIBUTE_FAX</ACTION><TASKID>%1</TASKID><RECV_LIST>clerk,li</RECV_LIST>").arg(task));
        QCOMPARE(m_sim->device()->receivedFaxes().size(), before + 1);
    }
};

class TestIniUtil : public QObject
{
    Q_OBJECT

private slots:
    void init() { IniUtil::clear(); }

    void readsTheGrammarLineByLine_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("section");
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("value");
        const QString file = QStringLiteral("orphan=1\r\n[FAXOPTIONS]\r\nServerName=Front desk\r\n\r\n"
                                            "; a comment without an equals sign\n; note=kept as an entry\n"
                                            " Spaced = a = b \n[NETWORK]\nHttpPort=80\n");
        QTest::newRow("before any section") << file << "" << "orphan" << "1";
        QTest::newRow("crlf") << file << "FAXOPTIONS" << "ServerName" << "Front desk";
        QTest::newRow("untrimmed, first = splits") << file << "FAXOPTIONS" << " Spaced " << " a = b ";
        QTest::newRow("comment with =") << file << "FAXOPTIONS" << "; note" << "kept as an entry";
        QTest::newRow("lf") << file << "NETWORK" << "HttpPort" << "80";
        // A "[" anywhere names a section: what follows it for the line's length less two.
        QTest::newRow("bracket in value") << "[A]\nPath=C:[x]\nKey=1\n" << "x]" << "Key" << "1";
        QTest::newRow("bracket line is no entry") << "[A]\nPath=C:[x]\nKey=1\n" << "A" << "Path" << "";
        QTest::newRow("section named again starts empty") << "[A]\nold=1\n[B]\nb=2\n[A]\nnew=3\n" << "A" << "old" << "";
        QTest::newRow("second naming kept") << "[A]\nold=1\n[B]\nb=2\n[A]\nnew=3\n" << "A" << "new" << "3";
    }

    void readsTheGrammarLineByLine()
    {
        QFETCH(QString, text);
        QFETCH(QString, section);
        QFETCH(QString, key);
        QFETCH(QString, value);
        IniUtil::parse(text);
        QCOMPARE(IniUtil::getValue(section, key), value);
        QVERIFY(!IniUtil::writeIni(QString()).contains(QStringLiteral("a comment")));
    }

    void sectionNamedAgainStartsEmpty()
    {
        IniUtil::parse(QStringLiteral("[A]\nnew=3\n[B]\nb=2\n"));
        // A later file keeps sections it does not name.
        IniUtil::parse(QStringLiteral("[A]\nother=4\n"));
        QCOMPARE(IniUtil::getValue(QStringLiteral("B"), QStringLiteral("b")), QStringLiteral("2"));
        QVERIFY(IniUtil::getValue(QStringLiteral("A"), QStringLiteral("new")).isEmpty());
        // An unreadable file changes nothing.
        IniUtil::openIni(QStringLiteral("/nonexistent/SvrAdvParam.cfg"));
        QCOMPARE(IniUtil::writeIni(QString()), QStringLiteral("\n[B]\nb=2\n\n[A]\nother=4\n"));
    }

    void setValueMakesAMissingSection()
    {
        IniUtil::parse(QStringLiteral("[A]\r\na1=x\r\na2=y\r\n"));
        IniUtil::setValue(QStringLiteral("FAXOPTIONS"), QStringLiteral("ServerName"), QStringLiteral("新名称"));
        IniUtil::setValue(QStringLiteral("A"), QStringLiteral("a1"), QStringLiteral("w"));
        QCOMPARE(IniUtil::writeIni(QString()), QStringLiteral("\n[FAXOPTIONS]\nServerName=新名称\n\n[A]\na2=y\na1=w\n"));
    }

    void fileRoundTripIsUtf16WithoutMark()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(QStringLiteral("SvrAdvParam.cfg"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(WireCodec::encodeWithBom(QStringLiteral("[FAXOPTIONS]\r\nServerName=前台\r\nMaxRetry=3\r\n\r\n[NETWORK]\r\nHttpPort=80\r\n")));
        file.close();
        IniUtil::openIni(path);
        const QString text = IniUtil::writeIni(path);
        QCOMPARE(text, QStringLiteral("\n[NETWORK]\nHttpPort=80\n\n[FAXOPTIONS]\nServerName=前台\nMaxRetry=3\n"));
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.readAll(), WireCodec::encode(text));
    }
};

// A load that failed is never written back; a day that fails is left out; untyped passwords stay.
class TestFailedLoads : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        DeviceProtocol::setTestTimeoutDivisor(50);
    }

    void init() { MessageBoxUtil::clear(); }

    // A panel whose read went unanswered keeps "应用" off and says why.
    void failedLoadIsNotWrittenBack_data()
    {
        QTest::addColumn<QString>("panel");
        QTest::addColumn<QString>("read");
        QTest::addColumn<QString>("write");
        QTest::addColumn<QString>("address");
        QTest::newRow("network") << "network" << "GET_NETWORK_SETTING" << "NETWORK_SETTING" << "127.0.5.31";
        QTest::newRow("mail") << "mail" << "GET_PUB_SMTP_SETTING" << "SET_PUB_SMTP_SETTING" << "127.0.5.32";
        QTest::newRow("fax line") << "line" << "GET_FAX_SETTING" << "SET_FAX_SETTING" << "127.0.5.33";
    }

    void failedLoadIsNotWrittenBack()
    {
        QFETCH(QString, panel);
        QFETCH(QString, read);
        QFETCH(QString, write);
        QFETCH(QString, address);
        Scenario s = scenarioAt(address);
        SimFault silence = SimFault::make(read, SimFault::Silent);
        silence.times = 1;
        s.faults << silence;
        auto sim = start(s);
        Device device = deviceOf(s);
        QString line = QStringLiteral("1");
        std::unique_ptr<QWidget> widget;
        auto* network = panel == QLatin1String("network") ? new NetworkSettingWidget : nullptr;
        auto* mail = panel == QLatin1String("mail") ? new EmailSettingWidget : nullptr;
        if (network) {
            widget.reset(network);
            network->setDevice(device);
        } else if (mail) {
            widget.reset(mail);
            mail->setDevice(device);
        } else {
            widget.reset(new FaxDetailWidget(device, line));
        }
        widget->show();
        QVERIFY(idle(widget.get()));
        auto* apply = find<QPushButton>(widget.get(), "button_apply");
        QVERIFY(!apply->isEnabled());
        QVERIFY(find<QLabel>(widget.get(), "label_load_failed")->isVisible());
        QTest::mouseClick(apply, Qt::LeftButton);
        QTest::qWait(200);
        QCOMPARE(countInLog(*sim, QStringLiteral("<ACTION>") + write + QStringLiteral("</ACTION>")), 0);

        // A read that succeeds opens "应用" again.
        if (!network && !mail)
            return; // a line's page is made anew for each read
        network ? network->setDevice(device) : mail->setDevice(device);
        QVERIFY(idle(widget.get()));
        QVERIFY(apply->isEnabled());
        QVERIFY(!find<QLabel>(widget.get(), "label_load_failed")->isVisible());
    }

    // The device never sends a password back: one that was not typed stays as the device has it.
    void untypedPasswordsAreKept()
    {
        Scenario s = scenarioAt(QStringLiteral("127.0.5.34"));
        s.smtp.insert(QStringLiteral("SMTP_PWD"), QStringLiteral("public-secret"));
        SimUser clerk = SimUser::withPassword(QStringLiteral("clerk"), QStringLiteral("clerk-pw"), 12, QStringLiteral("801"));
        clerk.fields.insert(QStringLiteral("SMTP_PWD"), QStringLiteral("own-secret"));
        s.users = {clerk};
        auto sim = start(s);
        Device device = deviceOf(s, QStringLiteral("clerk"), QStringLiteral("clerk-pw"));

        EmailSettingWidget mail;
        mail.setDevice(device);
        QVERIFY(idle(&mail));
        QVERIFY(clickForBox(find<QPushButton>(&mail, "button_apply")).startsWith("info:"));
        QCOMPARE(sim->device()->smtp().value(QStringLiteral("SMTP_PWD")), QStringLiteral("public-secret"));

        UserAccountWidget users;
        users.setDevice(device);
        QVERIFY(idle(&users));
        QTRY_COMPARE(find<QLineEdit>(&users, "edit_username")->text(), QStringLiteral("clerk"));
        QVERIFY(idle(&users));
        QVERIFY(clickForBox(find<QPushButton>(&users, "button_apply")).startsWith("info:"));
        SimUser stored;
        QVERIFY(sim->device()->user(QStringLiteral("clerk"), &stored));
        QCOMPARE(stored.fields.value(QStringLiteral("SMTP_PWD")), QStringLiteral("own-secret"));
        QCOMPARE(stored.storedPassword, clerk.storedPassword);

        // A new account must have a password of its own.
        QTest::mouseClick(find<QPushButton>(&users, "button_addUser"), Qt::LeftButton);
        find<QLineEdit>(&users, "edit_username")->setText(QStringLiteral("newcomer"));
        QCOMPARE(clickForBox(find<QPushButton>(&users, "button_apply")), QStringLiteral("warning:请为新用户输入密码"));
        QVERIFY(idle(&users));
        QCOMPARE(countInLog(*sim, QStringLiteral("<ACTION>ADD_USER</ACTION>")), 0);
    }

    // A day the device leaves unanswered is named; the other days still come.
    void silentDayIsSkipped()
    {
        const QDate first(2024, 3, 5);
        Scenario s = scenarioAt(QStringLiteral("127.0.5.35"));
        for (int i = 0; i < 3; ++i)
            s.logs.insert(first.addDays(i), QStringLiteral("day %1 line\r\n").arg(i));
        SimFault silence = SimFault::make(QStringLiteral("DOWN_FILE"), SimFault::Silent);
        silence.times = 1;
        s.faults << silence;
        auto sim = start(s);
        Device device = deviceOf(s);
        AppSettings::userConfig()->setValue(AppSettings::KEY_LOG_VIEWER, QStringLiteral("true"));

        DeviceLogWidget panel;
        QSignalSpy log(panel.findChild<DeviceController*>(), &DeviceController::returnDeviceLog);
        panel.setDevice(device);
        find<QDateEdit>(&panel, "date_begin")->setDate(first);
        QTest::mouseClick(find<QPushButton>(&panel, "button_view_log"), Qt::LeftButton);
        QTRY_VERIFY_WITH_TIMEOUT(!MessageBoxUtil::shown().isEmpty(), 20000);
        QVERIFY(MessageBoxUtil::shown().first().text.endsWith(QStringLiteral("2024-03-05")));
        QTRY_COMPARE(log.count(), 1);
        QFile file(log.at(0).at(0).toString());
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(QString::fromLocal8Bit(file.readAll()), QStringLiteral("day 1 line\r\nday 2 line\r\n"));
        QVERIFY(idle(&panel));
        AppSettings::userConfig()->remove(AppSettings::KEY_LOG_VIEWER);
    }
};

namespace pacing {

const QDate LOG_DAY(2024, 3, 1);
constexpr quint32 FAX_FILE = 0x00100000;

enum Download { Configuration, DayLog, FaxFile };

QByteArray readFile(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

} // namespace pacing

Q_DECLARE_METATYPE(SimFault::Kind)

namespace pacing {

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
} // namespace pacing

VELKOR_TESTS_MAIN(TestDeviceTransfers, TestDeviceListWindow, TestStatusPanels, TestSettingPanels, TestQueueHistoryPanels, TestIniUtil,
    TestFailedLoads, pacing::TestDevicePacing)
#include "TestAdmin.moc"

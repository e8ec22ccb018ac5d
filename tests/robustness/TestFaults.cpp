#include "DeviceManageThread.h"
#include "FaxStatus.h"
#include "FileUtil.h"
#include "LoginThread.h"
#include "ReceiveFaxThread.h"
#include "RobustnessSupport.h"
#include "SendFaxThread.h"
#include "SimFirmware.h"
#include "SimTiff.h"
#include "TestSupport.h"
#include "TiffUtil.h"

#include <QFileInfo>
#include <QSet>
#include <QSignalSpy>
#include <QStandardPaths>

using namespace Robustness;

namespace {

enum Operation { Login, Bind, Upload, StatusPoll, Receive, ConfigDown, ConfigUp, DayLogs, FaxFile, Firmware };

const QDateTime kBase(QDate(2024, 3, 1), QTime(8, 0, 0), Qt::UTC);
const int kPages[] = { 1, 3, 2 };
const QDate kFirstDay(2024, 3, 1);
const QString kFileNumber = QStringLiteral("00200000");

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

// 3000 bytes make, with the header, blocks of 1200, 1200, 1200 and 424 bytes.
QByteArray faxFile() { return tinyTiff(3000); }

QVariant stored(int faxId, const char* column) { return storedColumn(faxId, QLatin1String(column)); }

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

// Every operation that talks to the device, against a device that misbehaves at each step:
// each ends within its waits, tells the user nothing by itself, leaves the store and the disk
// consistent (nothing lost, nothing doubled, no partial file under a final name, no
// half-changed device), and the next run against a well-behaved device completes the work.
class TestFaults : public QObject
{
    Q_OBJECT

    // One stand-in for logins, one for sending, one for retrieval, one for administration.
    std::unique_ptr<DeviceSimRunner> m_sims[4];
    Scenario m_scenarios[4];
    Scenario m_scenario; // the one of the current row
    Device m_device;
    QByteArray m_firmware;
    QString m_firmwarePath;
    int m_firmwareBefore = 0;

    SimDevice* sim() { return m_sims[indexOf(m_scenario)]->device(); }
    int indexOf(const Scenario& s) const
    {
        for (int i = 0; i < 4; ++i)
            if (m_scenarios[i].address == s.address)
                return i;
        return 0;
    }
    Fax newFax()
    {
        return storedFax(m_device, writeFile(documentsPath() + QStringLiteral("job.tif"), faxFile()),
            QStringLiteral("02155550123"));
    }

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
        default: // the device operations
            break;
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
                for (int i = 1; i < 7; ++i) // the faults fall on the first day
                    QVERIFY(text.contains(QStringLiteral("第%1天").arg(i + 1)));
            }
            break;
        case FaxFile:
            QCOMPARE(filesIn(faxFolder()), succeeded ? QStringList{QStringLiteral("fax.tif")} : QStringList());
            break;
        default: // the device operations
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

    void login(const QString& action, SimFault::Kind kind, int delayMs, int expect, int replyWaits)
{
        const bool loggedIn = expect == 1;
        const int status = expect;

        Device device = storedDevice(m_scenario);
        device.connectStatus = 7; // a value no login writes
        DatabaseManager().updateDeviceConnectStatus(device);
        sim()->addFault(once(action, kind, 0, delayMs));

        LoginThread worker;
        QElapsedTimer clock;
        clock.start();
        QTcpSocket* socket = worker.login(device, DeviceProtocol::PORT_COMMAND);
        QVERIFY2(clock.elapsed() <= bound(1, replyWaits), qPrintable(QString::number(clock.elapsed())));
        QCOMPARE(socket != nullptr, loggedIn);
        delete socket;
        if (loggedIn)
            QVERIFY(storedConnectStatus(device.id) == 0 || storedConnectStatus(device.id) == 1); // LAN or internet
        else
            QCOMPARE(storedConnectStatus(device.id), status < 0 ? 7 : status);
        QVERIFY(takeMessages().isEmpty()); // a login says nothing to the user by itself

        // The next login against the well-behaved device works.
        socket = worker.login(device, DeviceProtocol::PORT_COMMAND);
        QVERIFY(socket);
        delete socket;
        QVERIFY(storedConnectStatus(device.id) == 0 || storedConnectStatus(device.id) == 1);
    }

    void bind(const QString& action, SimFault::Kind kind, bool byAddress, int expect, int replyWaits)
{
        const QString message = QStringList { "", "无法连接设备", "设备ID不匹配", "设备使用权限验证失败" }.value(expect);

        auto typed = [&] {
            Device d;
            d.deviceName = QStringLiteral("admin");
            d.devicePassword = QStringLiteral("admin"); // as typed; the bind stores its hashed form
            d.localIP = m_scenario.address;
            if (!byAddress)
                d.productID = m_scenario.serverId;
            return d;
        };
        sim()->addFault(once(action, kind));

        LoginThread worker;
        QSignalSpy bound(&worker, &LoginThread::bindDeviceSuccess);
        QStringList errors;
        connect(&worker, &LoginThread::showErrorMsg, [&](QString& text) { errors << text; });
        Device device = typed();
        QElapsedTimer clock;
        clock.start();
        worker.bindDevice(device, DeviceProtocol::PORT_COMMAND);
        QVERIFY2(clock.elapsed() <= Robustness::bound(1, replyWaits), qPrintable(QString::number(clock.elapsed())));
        if (message.isEmpty()) {
            QVERIFY(errors.isEmpty());
            QCOMPARE(bound.count(), 1);
            QCOMPARE(device.productID, m_scenario.serverId); // the identity was learned whole
        } else {
            QCOMPARE(errors, QStringList{message});
            QCOMPARE(bound.count(), 0);
        }
        settle();

        // Once the device behaves, the same bind goes through and learns the identity.
        sim()->clearFaults();
        Device again = typed();
        worker.bindDevice(again, DeviceProtocol::PORT_COMMAND);
        QCOMPARE(bound.count(), message.isEmpty() ? 2 : 1);
        QCOMPARE(again.productID, m_scenario.serverId);
        QCOMPARE(errors.size(), message.isEmpty() ? 0 : 1);
        settle();
    }

    void upload(const QString& action, SimFault::Kind kind, int value, int delayMs, int expect, int waits)
{
        const bool accepted = expect == 1;
        const int jobsAfterFault = expect ? 1 : 0;
        m_device = storedDevice(m_scenario);
        // Jobs of earlier rows end, so that the device's line is free for the next one.
        for (const SimJob& job : sim()->jobs())
            if (job.isOpen())
                sim()->advanceJob(job.task, 100);

        const int jobsBefore = sim()->jobs().size();
        Fax fax = newFax();
        sim()->addFault(once(action, kind, value, delayMs));
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

    void statusPoll(const QString& action, SimFault::Kind kind, int value, int delayMs, bool updated, int replyWaits)
{
        m_device = storedDevice(m_scenario);
        for (const SimJob& job : sim()->jobs())
            if (job.isOpen())
                sim()->advanceJob(job.task, 100);

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

        sim()->addFault(once(action, kind, value, delayMs));
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

    void poll(const QString& action, SimFault::Kind kind, int value, int delayMs, bool firstOnDisk, int stored, int waits)
{

        storedDevice(m_scenario, QStringLiteral("1000"));
        QString onDisk;
        if (firstOnDisk) {
            QDir().mkpath(folder());
            onDisk = kBase.toLocalTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss")) + QStringLiteral(".tif");
            QFile file(folder() + QLatin1Char('/') + onDisk);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write(SimTiff::makeFax(1, {QStringLiteral("fetched before")}));
        }
        sim()->addFault(once(action, kind, value, delayMs));

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
        sim()->clearFaults();
        worker.backgroundDownloadFaxInfo(DeviceProtocol::PORT_COMMAND);
        QCOMPARE(reports, 2);
        QCOMPARE(DatabaseManager().queryReceiveFaxes().size(), 3);
        verifyStore(1000, onDisk);
        QCOMPARE(DatabaseManager().queryDevices().value(0).taskID, QStringLiteral("1003"));
        settle();
    }

    void transfer(Operation op, const QString& action, SimFault::Kind kind, int value, int delayMs, int expect, int waits)
{
        const int reports = expect & 1;
        const bool ok = expect & 2;
        restoreAdministration();

        sim()->addFault(once(action, kind, value, delayMs));
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

    // The device starts each row with its own configuration; the client with an earlier copy.
    void restoreAdministration()
{
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

private slots:
    void initTestCase()
    {
        qRegisterMetaType<Fax>("Fax&");
        qRegisterMetaType<QList<Fax>>("QList<Fax>&");
        qRegisterMetaType<QString>("QString&");
        DeviceProtocol::setTestTimeoutDivisor(DIVISOR);
        for (int i = 0; i < 4; ++i)
            m_scenarios[i] = scenarioAt(QStringLiteral("127.0.0.%1").arg((const int[]) { 180, 184, 188, 191 }[i]));
        m_scenarios[2].received = { simFax(0), simFax(1), simFax(2) };
        Scenario& admin = m_scenarios[3];
        admin.configText = configText(QStringLiteral("old"));
        for (int i = 0; i < 7; ++i) // the first day is longer than a block
            admin.logs.insert(kFirstDay.addDays(i), QStringLiteral("第%1天 log\r\n").arg(i + 1).repeated(i == 0 ? 150 : 1));
        SimReceivedFax fax;
        fax.fileNumber = kFileNumber.toUInt(nullptr, 16);
        fax.pages = 3;
        admin.received << fax;
        // OS image of 2403 bytes (a block of 1200, then one of 1203), SW image of 2500.
        m_firmware = SimFirmware::buildFile(pattern(2403, 1), pattern(2500, 2));
        admin.firmwareExpected = m_firmware;
        for (int i = 0; i < 4; ++i)
            m_sims[i] = startSim(m_scenarios[i]);
    }

    void init()
    {
        freshHome();
        loginTestUser();
        for (auto& sim : m_sims)
            sim->device()->clearFaults();
        MessageBoxUtil::clear();
    }

    void cleanupTestCase()
    {
        for (auto& sim : m_sims)
            sim.reset();
        DeviceProtocol::setTestTimeoutDivisor(1);
    }

    void matrix_data()
    {
        QTest::addColumn<Operation>("op");
        QTest::addColumn<QString>("action");
        QTest::addColumn<SimFault::Kind>("kind");
        QTest::addColumn<int>("value");
        QTest::addColumn<int>("delayMs");
        // Login: 1 logged in; 2 refused, stored state 2; -1 refused, stored state as it was.
        // Bind: 0 bound, else the message (1 unreachable, 2 another identity, 3 refused).
        // Upload: 1 accepted; 0 failed; 2 failed though the device holds the job.
        // Status poll: 1 the row updated. Retrieval: faxes stored.
        // Transfers: 1 a result signal (none after a failed login, nor for a failed log or fax
        // file), 2 the result says success.
        QTest::addColumn<int>("expect");
        QTest::addColumn<int>("waits"); // waits that may expire
        QTest::addColumn<bool>("variant"); // bind: by address, else by identity; retrieval: the first fax's file is on the disk
        const auto row = [](Operation op, const QString& name, const char* action, SimFault::Kind kind, int value,
                             int delayMs, int expect, int waits, bool variant = false) {
            static const char* const ops[] = { "login", "bind", "upload", "status poll", "retrieval",
                "configuration down", "configuration up", "day logs", "fax file", "firmware" };
            QTest::addRow("%s: %s", ops[op], qPrintable(name))
                << op << QString::fromLatin1(action) << kind << value << delayMs << expect << waits << variant;
        };
        using F = SimFault;

        row(Login, "no greeting", "GREETING", F::Silent, 0, 0, 2, 0);
        row(Login, "greeting in two pieces", "GREETING", F::Split, 0, 0, 1, 1);
        row(Login, "greeting after its wait", "GREETING", F::Delay, 0, 2500, 2, 1);
        row(Login, "wrong SERVER_ID", "GREETING", F::WrongServerId, 0, 0, -1, 0);
        row(Login, "no answer to LOGIN", "LOGIN", F::Silent, 0, 0, 2, 1);
        row(Login, "LOGIN reply in two pieces", "LOGIN", F::Split, 0, 0, 1, 1);
        row(Login, "login refused", "LOGIN", F::RefuseLogin, 0, 0, 2, 1);

        row(Bind, "no greeting", "GREETING", F::Silent, 0, 0, 1, 0);
        row(Bind, "wrong SERVER_ID", "GREETING", F::WrongServerId, 0, 0, 2, 0);
        row(Bind, "wrong SERVER_ID, bound by address", "GREETING", F::WrongServerId, 0, 0, 0, 1, true);
        row(Bind, "no answer to LOGIN", "LOGIN", F::Silent, 0, 0, 3, 1);
        row(Bind, "login refused", "LOGIN", F::RefuseLogin, 0, 0, 3, 1, true);
        row(Bind, "no answer to GET_SVR_INFO", "GET_SVR_INFO", F::Silent, 0, 0, 1, 2, true);
        row(Bind, "GET_SVR_INFO cut off", "GET_SVR_INFO", F::DropAfterBytes, 0, 0, 1, 2, true);
        row(Bind, "GET_SVR_INFO in two pieces", "GET_SVR_INFO", F::Split, 0, 0, 0, 2, true);

        // An upload waits 15 s (here 1.5 s) for each answer.
        row(Upload, "no greeting", "GREETING", F::Silent, 0, 0, 0, 0);
        row(Upload, "wrong SERVER_ID", "GREETING", F::WrongServerId, 0, 0, 0, 0);
        row(Upload, "login refused", "LOGIN", F::RefuseLogin, 0, 0, 0, 0);
        row(Upload, "no R to SENDFAX", "SENDFAX", F::Silent, 0, 0, 0, 1);
        row(Upload, "busy instead of the first R", "SENDFAX", F::NotReady, 0, 0, 0, 0);
        row(Upload, "busy instead of the third R", "SENDFAX", F::NotReady, 2, 0, 0, 0);
        for (int n : { 0, 1, 1200, 1201, 2400, 4023 })
            row(Upload, QStringLiteral("dropped after %1 bytes").arg(n), "SENDFAX", F::DropAfterBytes, n, 0, 0, 1);
        row(Upload, "R slower than the wait", "SENDFAX", F::SlowPacing, 0, 2500, 0, 1);
        row(Upload, "R slow within the wait", "SENDFAX", F::SlowPacing, 0, 400, 1, 0);
        // The device took the fax: a final word that comes in two pieces must still count.
        row(Upload, "final reply in two pieces", "SENDFAX", F::Split, 0, 0, 1, 0);
        // A RECV_OK without a task number: the device holds a job nobody follows, so the fax's
        // upload result is unknown until its queue is asked.
        row(Upload, "RECV_OK without TASKID", "SENDFAX", F::NoTaskId, 0, 0, 2, 0);

        row(StatusPoll, "no greeting", "GREETING", F::Silent, 0, 0, 0, 0);
        row(StatusPoll, "login refused", "LOGIN", F::RefuseLogin, 0, 0, 0, 1);
        row(StatusPoll, "no answer to the query", "GET_SEND_FAX_STATUS", F::Silent, 0, 0, 0, 1);
        row(StatusPoll, "reply in two pieces", "GET_SEND_FAX_STATUS", F::Split, 0, 0, 1, 1);
        for (int n : { 100, 1023 })
            row(StatusPoll, QStringLiteral("record of %1 bytes").arg(n), "GET_SEND_FAX_STATUS", F::ShortRecord, n, 0, 0, 2);
        for (int n : { 0, 1, 512, 1023 })
            row(StatusPoll, QStringLiteral("dropped after %1 record bytes").arg(n), "GET_SEND_FAX_STATUS", F::DropAfterBytes,
                n, 0, 0, 2);
        row(StatusPoll, "record slower than the wait", "GET_SEND_FAX_STATUS", F::SlowPacing, 0, 4000, 0, 2);
        row(StatusPoll, "record slow within the wait", "GET_SEND_FAX_STATUS", F::SlowPacing, 0, 800, 1, 1);

        row(Receive, "no greeting", "GREETING", F::Silent, 0, 0, 0, 0);
        row(Receive, "wrong SERVER_ID", "GREETING", F::WrongServerId, 0, 0, 0, 0);
        row(Receive, "no answer to LOGIN", "LOGIN", F::Silent, 0, 0, 0, 1);
        row(Receive, "login refused", "LOGIN", F::RefuseLogin, 0, 0, 0, 1);
        row(Receive, "no answer to GET_NEW_FAX", "GET_NEW_FAX", F::Silent, 0, 0, 0, 1);
        row(Receive, "GET_NEW_FAX cut off", "GET_NEW_FAX", F::DropAfterBytes, 0, 0, 0, 1);
        row(Receive, "GET_NEW_FAX in two pieces", "GET_NEW_FAX", F::Split, 0, 0, 3, 0);
        row(Receive, "GET_NEW_FAX after its wait", "GET_NEW_FAX", F::Delay, 0, 4000, 0, 1);
        // With the first fax's file on the disk already (an earlier poll that was cut after it)
        // it costs no traffic, and the fault falls on the second fax of the same poll.
        for (bool firstOnDisk : { false, true }) {
            const QString where = firstOnDisk ? QStringLiteral(", second fax") : QStringLiteral(", first fax");
            const int before = 2; // the fax the fault falls on is passed over
            row(Receive, "no answer to DOWN_FILE" + where, "DOWN_FILE", F::Silent, 0, 0, before, 1, firstOnDisk);
            row(Receive, "DOWN_FILE reply in two pieces" + where, "DOWN_FILE", F::Split, 0, 0, 3, 0, firstOnDisk);
            for (int n : { 0, 1, 1200, 1201 })
                row(Receive, QStringLiteral("dropped after %1 bytes").arg(n) + where, "DOWN_FILE", F::DropAfterBytes, n, 0,
                    before, 1, firstOnDisk);
            row(Receive, "chunk slower than the wait" + where, "DOWN_FILE", F::SlowPacing, 0, 1500, before, 1, firstOnDisk);
        }
        row(Receive, "chunks slow within the wait", "DOWN_FILE", F::SlowPacing, 0, 300, 3, 0);

        const struct { Operation op; const char* action; } transfers[] = { { ConfigDown, "DOWN_FILE" },
            { ConfigUp, "UP_FILE" }, { DayLogs, "DOWN_FILE" }, { FaxFile, "DOWN_FILE" }, { Firmware, "UPDATE_OS" } };
        for (const auto& t : transfers) {
            // A failed configuration or firmware transfer says so; a fax file just does not come,
            // a log comes without its failed day.
            const int failed = t.op == FaxFile ? 0 : t.op == DayLogs ? 3 : 1;
            // A failed login ends them in silence; the firmware upload says so.
            const int silent = t.op == Firmware ? 1 : 0;
            row(t.op, "no greeting", "GREETING", F::Silent, 0, 0, silent, 0);
            row(t.op, "login refused", "LOGIN", F::RefuseLogin, 0, 0, silent, 1);
            row(t.op, "no answer", t.action, F::Silent, 0, 0, failed, 1);
            row(t.op, "reply in two pieces", t.action, F::Split, 0, 0, 3, 0);
            for (int n : { 0, 1, 1200, 1500 })
                row(t.op, QStringLiteral("dropped after %1 bytes").arg(n), t.action, F::DropAfterBytes, n, 0, failed, 1);
            row(t.op, "blocks slower than the wait", t.action, F::SlowPacing, 0, 3500, failed, 1);
            if (t.op == ConfigUp || t.op == Firmware) {
                row(t.op, "busy instead of the first R", t.action, F::NotReady, 0, 0, 1, 0);
                row(t.op, "busy instead of the second R", t.action, F::NotReady, 1, 0, 1, 0);
            }
        }
        row(Firmware, "SW stage dropped", "UPDATE_SW", F::DropAfterBytes, 1300, 0, 1, 1);
        row(Firmware, "last word in two pieces", "UPDATE_SW", F::Split, 0, 0, 3, 0);
    }

    void matrix()
    {
        QFETCH(Operation, op);
        QFETCH(QString, action);
        QFETCH(SimFault::Kind, kind);
        QFETCH(int, value);
        QFETCH(int, delayMs);
        QFETCH(int, expect);
        QFETCH(int, waits);
        QFETCH(bool, variant);
        m_scenario = m_scenarios[op <= Bind ? 0 : op <= StatusPoll ? 1 : op == Receive ? 2 : 3];
        switch (op) {
        case Login:
            return login(action, kind, delayMs, expect, waits);
        case Bind:
            return bind(action, kind, variant, expect, waits);
        case Upload:
            return upload(action, kind, value, delayMs, expect, waits);
        case StatusPoll:
            return statusPoll(action, kind, value, delayMs, expect == 1, waits);
        case Receive:
            return poll(action, kind, value, delayMs, variant, expect, waits);
        default:
            return transfer(op, action, kind, value, delayMs, expect, waits);
        }
    }
};

VELKOR_TEST_MAIN(TestFaults)
#include "TestFaults.moc"

#include "AppSettings.h"
#include "Controller.h"
#include "DatabaseManager.h"
#include "DeviceProtocol.h"
#include "SimTestSupport.h"
#include "FaxExporter.h"
#include "FileUtil.h"
#include "MD5Util.h"
#include "MGlobal.h"
#include "ReceiveFaxThread.h"
#include "SimWire.h"
#include "TestSupport.h"
#include "TiffUtil.h"
#include "TimeUtil.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QRegularExpression>
#include <QSemaphore>
#include <QSignalSpy>
#include <QTcpServer>
#include <QTcpSocket>
#include <QThread>

#include <memory>

namespace {

const QString kId = QStringLiteral("5A3C0001");
const QDateTime kBase(QDate(2024, 3, 1), QTime(8, 0, 0), Qt::UTC);

SimReceivedFax simFax(quint32 task, const QDateTime& utc, const QString& cid, int pages = 1)
{
    SimReceivedFax fax;
    fax.task = task;
    fax.timeUtc = utc;
    fax.cid = cid;
    fax.sender = QStringLiteral("Sender ") + cid;
    fax.remark = QStringLiteral("remark ") + cid;
    fax.pages = pages;
    return fax;
}

QString localText(const QDateTime& utc)
{
    return utc.toLocalTime().toString(TimeUtil::FORMAT);
}

// The requests of one action that the device received, in order.
QStringList requests(DeviceSimRunner& sim, const QString& action)
{
    QStringList found;
    const QString mark = QStringLiteral(" > <ACTION>") + action + QStringLiteral("</ACTION>");
    for (const QString& line : sim.device()->actionLog())
        if (line.contains(mark))
            found << line.mid(line.indexOf(mark) + 3);
    return found;
}

// The socket member of the last run, to see that the run let it go.
class ProbeThread : public ReceiveFaxThread
{
public:
    bool holdsSocket() const { return !m_socket.isNull(); }
};

QStringList filesIn(const QString& folder)
{
    return QDir(folder).entryList(QDir::Files, QDir::Name);
}

} // namespace

class TestReceiveFaxThread : public QObject
{
    Q_OBJECT

    std::unique_ptr<DeviceSimRunner> m_sim;

    // A device stand-in at `address` with the given faxes waiting for "admin".
    DeviceSimRunner& startSim(const QString& address, const QList<SimReceivedFax>& faxes)
    {
        Scenario scenario;
        scenario.address = address;
        scenario.discovery = false;
        scenario.serverId = kId;
        scenario.received = faxes;
        scenario.users << SimUser::withPassword(QStringLiteral("clerk"), QStringLiteral("pw"), 63);
        m_sim = TestSupport::startSim(scenario, true);
        return *m_sim;
    }

    // Binds a device row of the current user; returns it as the store holds it.
    static Device bind(const QString& address, const QString& mark = QString(),
                       const QString& account = QStringLiteral("admin"), const QString& password = QStringLiteral("admin"))
    {
        Device device;
        device.deviceName = account;
        device.devicePassword = MD5Util::call128MD5(password.toUtf8());
        device.productID = kId;
        device.serverName = QStringLiteral("Velkor Demo Fax");
        device.localIP = address;
        DatabaseManager db;
        db.inseretDevice(device);
        for (const Device& stored : db.queryDevices()) {
            if (stored.localIP == address) {
                device = stored;
                device.taskID = mark;
                db.updateDeviceMaxTaskID(device);
                return device;
            }
        }
        return device;
    }

    static Device reload(const Device& device)
    {
        DatabaseManager db;
        for (const Device& stored : db.queryDevices())
            if (stored.id == device.id)
                return stored;
        return Device();
    }

    static QString folder() { return ReceiveFaxThread::faxFolder(kId); }

private slots:
    void initTestCase()
    {
        DeviceProtocol::setTestTimeoutDivisor(10); // waits of 1 s a chunk, 3 s a reply
        qRegisterMetaType<QList<Fax>>("QList<Fax>&");
        qRegisterMetaType<QString>("QString&");
    }

    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
    }

    void cleanup() { m_sim.reset(); }

    void nothingWaitingStillReportsAndKeepsTheMark()
    {
        DeviceSimRunner& sim = startSim(QStringLiteral("127.0.0.50"), {});
        const Device device = bind(QStringLiteral("127.0.0.50"));
        ProbeThread worker;
        QSignalSpy done(&worker, &ReceiveFaxThread::downloadFaxInfoResult);
        worker.downloadFaxInfo(device, 3007);

        QCOMPARE(done.count(), 1);
        const QStringList asked = requests(sim, QStringLiteral("GET_NEW_FAX"));
        QCOMPARE(asked.size(), 1);
        // An empty mark asks from 0.
        QVERIFY(asked[0].contains(QStringLiteral("<TASK>0</TASK><USER>admin</USER>")));
        QVERIFY(asked[0].contains(QStringLiteral("<DATETIME>2001-01-01 00:00:00</DATETIME>")));
        QCOMPARE(QString::number(DatabaseManager().queryReceiveFaxes().size()) + reload(device).taskID, QStringLiteral("00"));
        QTRY_VERIFY(!worker.holdsSocket());
    }

    void threeFaxesAreStoredWithFilesAndMark()
    {
        DeviceSimRunner& sim = startSim(QStringLiteral("127.0.0.51"),
                                        {simFax(1001, kBase, QStringLiteral("5551")),
                                         simFax(1002, kBase.addSecs(60), QStringLiteral("5552"), 3),
                                         simFax(1003, kBase.addSecs(120), QStringLiteral("5553"), 2)});
        const Device device = bind(QStringLiteral("127.0.0.51"), QStringLiteral("1000"));
        ProbeThread worker;
        QSignalSpy progress(&worker, &ReceiveFaxThread::showProgress);
        QSignalSpy done(&worker, &ReceiveFaxThread::downloadFaxInfoResult);
        worker.downloadFaxInfo(device, 3007);
        QCOMPARE(done.count(), 1);

        // Progress runs up to 100 for each file, never down, with 3, 2, 1 remaining.
        QStringList remaining;
        int last = -1;
        for (const QList<QVariant>& args : progress) {
            const QRegularExpressionMatch m =
                QRegularExpression(QStringLiteral("^\\[ (\\S+) \\]正在接收(\\d+) % \\(剩余(\\d+)份\\)$"))
                    .match(args.at(0).toString());
            QVERIFY2(m.hasMatch(), qPrintable(args.at(0).toString()));
            QCOMPARE(m.captured(1), kId);
            const int percent = m.captured(2).toInt();
            if (remaining.isEmpty() || remaining.last() != m.captured(3)) {
                QVERIFY(last == -1 || last == 100);
                remaining << m.captured(3);
                last = -1;
            }
            QVERIFY(percent >= last);
            last = percent;
        }
        QCOMPARE(last, 100);
        QCOMPARE(remaining, (QStringList{"3", "2", "1"}));
        QCOMPARE(requests(sim, QStringLiteral("GET_NEW_FAX")).size(), 4);

        QList<Fax> faxes = DatabaseManager().queryReceiveFaxes();
        QCOMPARE(faxes.size(), 3);
        std::sort(faxes.begin(), faxes.end(), [](const Fax& a, const Fax& b) { return a.taskID < b.taskID; });
        const int pages[] = {1, 3, 2};
        for (int i = 0; i < 3; ++i) {
            const Fax& f = faxes[i];
            // Times are the device's UTC shown in local time.
            const QString local = localText(kBase.addSecs(60 * i));
            QCOMPARE((QVariantList { f.taskID, f.time, f.filepath, f.pageTotal, TiffUtil::getTiffPage(f.filepath), f.cid,
                         f.serverID, f.status, f.file.size() }),
                (QVariantList { 1001 + i, local,
                    QString(TestSupport::documentsPath() + "tester/" + kId + "/FaxFile/" + local + ".tif"), pages[i], pages[i],
                    QStringLiteral("555%1").arg(i + 1), kId, 11, 8 }));
        }
        QCOMPARE(filesIn(folder()).size(), 3); // no ".part" left behind
        QCOMPARE(reload(device).taskID, QStringLiteral("1003"));
        QTRY_VERIFY(!worker.holdsSocket());

        // A second run asks after the mark and fetches nothing again.
        worker.downloadFaxInfo(reload(device), 3007);
        const QStringList asked = requests(sim, QStringLiteral("GET_NEW_FAX"));
        QCOMPARE(asked.size(), 5);
        QVERIFY(asked[0].contains(QStringLiteral("<TASK>1000</TASK>")) && asked[4].contains(QStringLiteral("<TASK>1003</TASK>")));
        QCOMPARE(requests(sim, QStringLiteral("DOWN_FILE")).size(), 3);
        QCOMPARE(DatabaseManager().queryReceiveFaxes().size(), 3);
    }

    void twoLocalUsersFetchSeparately()
    {
        SimReceivedFax shared = simFax(1001, kBase, QStringLiteral("5551"));
        DeviceSimRunner& sim = startSim(QStringLiteral("127.0.0.52"), {shared});
        const Device first = bind(QStringLiteral("127.0.0.52"));
        ReceiveFaxThread worker;
        worker.downloadFaxInfo(first, 3007);

        TestSupport::loginTestUser(QStringLiteral("other"));
        const Device second = bind(QStringLiteral("127.0.0.52"), QString(), QStringLiteral("clerk"), QStringLiteral("pw"));
        QVERIFY(DatabaseManager().queryReceiveFaxes().isEmpty());
        worker.downloadFaxInfo(second, 3007);

        const QList<Fax> theirs = DatabaseManager().queryReceiveFaxes();
        QCOMPARE(theirs.size(), 1);
        QVERIFY(theirs[0].filepath.contains(QStringLiteral("/other/") + kId + QStringLiteral("/FaxFile/")));
        QVERIFY(QFileInfo::exists(theirs[0].filepath));
        QCOMPARE(reload(second).taskID, QStringLiteral("1001"));
        QCOMPARE(requests(sim, QStringLiteral("DOWN_FILE")).size(), 2);

        TestSupport::loginTestUser(QStringLiteral("tester"));
        QCOMPARE(DatabaseManager().queryReceiveFaxes().size(), 1);
        QCOMPARE(reload(first).taskID, QStringLiteral("1001"));
    }

    void sameTimeGetsTwoFilesAndARerunDoublesNothing()
    {
        DeviceSimRunner& sim = startSim(QStringLiteral("127.0.0.54"),
                                        {simFax(1001, kBase, QStringLiteral("5551"), 1),
                                         simFax(1002, kBase, QStringLiteral("5552"), 2)});
        const Device device = bind(QStringLiteral("127.0.0.54"), QStringLiteral("1000"));
        ReceiveFaxThread worker;
        worker.downloadFaxInfo(device, 3007);

        const QString plain = folder() + QLatin1Char('/') + localText(kBase);
        QList<Fax> faxes = DatabaseManager().queryReceiveFaxes();
        QCOMPARE(faxes.size(), 2);
        std::sort(faxes.begin(), faxes.end(), [](const Fax& a, const Fax& b) { return a.taskID < b.taskID; });
        QCOMPARE((QVariantList { faxes[0].filepath, faxes[1].filepath, TiffUtil::getTiffPage(faxes[0].filepath),
                     TiffUtil::getTiffPage(faxes[1].filepath) }),
            (QVariantList { QString(plain + ".tif"), QString(plain + " (2).tif"), 1, 2 }));

        // The mark was lost after the rows went in: the device offers both again.
        Device lost = reload(device);
        lost.taskID = QStringLiteral("1000");
        DatabaseManager().updateDeviceMaxTaskID(lost);
        worker.downloadFaxInfo(lost, 3007);
        QCOMPARE(DatabaseManager().queryReceiveFaxes().size(), 2);
        QCOMPARE(reload(device).taskID, QStringLiteral("1002"));

        // A run lost before its rows: the files are on disk and each goes back to its own fax.
        Device gone = reload(device);
        DatabaseManager().nativeDeleteFax(gone);
        gone.taskID = QStringLiteral("1000");
        DatabaseManager().updateDeviceMaxTaskID(gone);
        worker.downloadFaxInfo(gone, 3007);
        faxes = DatabaseManager().queryReceiveFaxes();
        QCOMPARE(faxes.size(), 2);
        for (const Fax& fax : faxes)
            QCOMPARE(fax.pageTotal, fax.taskID == 1001 ? 1 : 2);
        QCOMPARE(requests(sim, QStringLiteral("DOWN_FILE")).size(), 2);
    }

    // The device announces an empty file: one "R" goes out and an empty file is stored.
    void fileLenZeroGivesAnEmptyFile()
    {
        // The client blocks, so this scripted device answers from a thread of its own.
        quint16 port = 0;
        QByteArray afterReply;
        QSemaphore listening;
        std::unique_ptr<QThread> script(QThread::create([&port, &afterReply, &listening] {
            QTcpServer server;
            server.listen(QHostAddress(QStringLiteral("127.0.0.55")), 0);
            port = server.serverPort();
            listening.release();
            if (!server.waitForNewConnection(5000))
                return;
            std::unique_ptr<QTcpSocket> s(server.nextPendingConnection());
            if (!s->waitForReadyRead(5000))
                return;
            s->readAll(); // DOWN_FILE
            s->write(SimWire::encode(QStringLiteral("<FEEDBACK>OK</FEEDBACK><FILE_LEN>0</FILE_LEN>")));
            s->waitForBytesWritten(1000);
            if (s->waitForReadyRead(5000))
                afterReply = s->readAll();
        }));
        script->start();
        listening.acquire();

        QTcpSocket client;
        client.connectToHost(QHostAddress(QStringLiteral("127.0.0.55")), port);
        QVERIFY(client.waitForConnected(3000));
        ReceiveFaxThread worker;
        QSignalSpy progress(&worker, &ReceiveFaxThread::showProgress);
        QString svrId = kId, file = QStringLiteral("00100000"), time = QStringLiteral("2024-03-01 09:00:00");
        const QString path = worker.downloadFaxFile(svrId, file, time, 1, &client);
        script->wait();

        QCOMPARE(afterReply, QByteArray("R\0", 2));
        QCOMPARE(path, folder() + QStringLiteral("/2024-03-01 09:00:00.tif"));
        QCOMPARE(QFileInfo(path).size(), 0);
        QCOMPARE(progress.count(), 1);
        QVERIFY(progress[0][0].toString().contains(QStringLiteral("正在接收0 %")));

        // The file now counts as complete: no socket is needed to get it again.
        QCOMPARE(worker.downloadFaxFile(svrId, file, time, 1, nullptr), path);
        QCOMPARE(progress.count(), 1);
    }

    void backgroundPollGoesPastAnOfflineDevice()
    {
        DeviceSimRunner& sim = startSim(QStringLiteral("127.0.0.56"),
                                        {simFax(1001, kBase, QStringLiteral("5551")),
                                         simFax(1002, kBase.addSecs(60), QStringLiteral("5552"))});
        const Device offline = bind(QStringLiteral("127.0.0.57")); // nothing listens there
        const Device online = bind(QStringLiteral("127.0.0.56"), QStringLiteral("1000"));

        ReceiveFaxThread worker;
        QSignalSpy finished(&worker, &ReceiveFaxThread::backgroundDownloadFaxInfoResult);
        worker.backgroundDownloadFaxInfo(3007);
        QCOMPARE(finished.count(), 1);
        QCOMPARE(finished[0][0].value<QList<Fax>>().size(), 2);
        QCOMPARE(reload(offline).taskID, QString());
        QCOMPARE(reload(online).taskID, QStringLiteral("1002"));

        // The next poll finds only what came since.
        sim.device()->addReceivedFax(simFax(1003, kBase.addSecs(120), QStringLiteral("5553")));
        worker.backgroundDownloadFaxInfo(3007);
        QCOMPARE(finished[1][0].value<QList<Fax>>().size(), 1);
        QCOMPARE(DatabaseManager().queryReceiveFaxes().size(), 3);
    }

    void retrievalWritesTheAutomaticOutput()
    {
        DeviceSimRunner& sim = startSim(QStringLiteral("127.0.0.58"), {simFax(1001, kBase, QStringLiteral("5551"), 2)});
        const Device device = bind(QStringLiteral("127.0.0.58"), QStringLiteral("1000"));
        const QString out = QDir(TestSupport::documentsPath()).absoluteFilePath(QStringLiteral("../export"));
        {
            auto settings = AppSettings::userSetting();
            settings->setValue(AutoExportKeys::RECV_AUTO_SAVE_AS, true);
            settings->setValue(AutoExportKeys::RECV_SAVE_SUBFOLDER, true);
            settings->setValue(AutoExportKeys::RECV_AUTO_SAVE_AS_TYPE, int(FaxExporter::TypeTiff));
            settings->setValue(AutoExportKeys::RECV_AUTO_SAVE_AS_PATH, out);
            settings->setValue(AutoExportKeys::RECV_AUTO_SAVE_AS_SUBFOLDER, int(FaxExporter::ByUserAndNumber));
        }
        ReceiveFaxThread worker;
        worker.downloadFaxInfo(device, 3007);
        const QString copy = QDir::cleanPath(out) + QStringLiteral("/tester/5551/")
            + localText(kBase).replace(QLatin1Char(':'), QLatin1Char('-')) + QStringLiteral(".tif");
        QVERIFY2(QFileInfo::exists(copy), qPrintable(copy));
        QCOMPARE(TiffUtil::getTiffPage(copy), 2);

        // An output folder that cannot be made is logged; retrieval goes on.
        QFile blocker(TestSupport::documentsPath() + QStringLiteral("not-a-folder"));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        AppSettings::userSetting()->setValue(AutoExportKeys::RECV_AUTO_SAVE_AS_PATH, QString(blocker.fileName() + "/out"));
        sim.device()->addReceivedFax(simFax(1002, kBase.addSecs(60), QStringLiteral("5552")));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("automatic output: cannot write")));
        worker.downloadFaxInfo(reload(device), 3007);
        QCOMPARE(DatabaseManager().queryReceiveFaxes().size(), 2);
        QCOMPARE(reload(device).taskID, QStringLiteral("1002"));
    }

    void controllerRunsTheWorkerOnItsThread()
    {
        startSim(QStringLiteral("127.0.0.60"), {simFax(1001, kBase, QStringLiteral("5551"))});
        const Device device = bind(QStringLiteral("127.0.0.60"), QStringLiteral("1000"));
        Controller controller;
        QSignalSpy progress(&controller, &Controller::showStrProgress);
        QSignalSpy foreground(&controller, &Controller::mainHandleDownloadFaxInfoResult);
        QSignalSpy background(&controller, &Controller::backgroundDownloadInfoFinish);
        emit controller.downloadFaxInfo(device, 3007);
        emit controller.backgroundDownloadFaxInfo(3007);
        QTRY_COMPARE_WITH_TIMEOUT(background.count(), 1, 20000);
        QCOMPARE(foreground.count(), 1); // the runs took turns, in the order asked
        QVERIFY(progress.count() >= 1);
        QVERIFY(background[0][0].value<QList<Fax>>().isEmpty()); // the foreground run had it already
        QCOMPARE(DatabaseManager().queryReceiveFaxes().size(), 1);
    }
};

VELKOR_TEST_MAIN(TestReceiveFaxThread)
#include "TestReceiveFaxThread.moc"

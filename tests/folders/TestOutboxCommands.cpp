#include "AppSettings.h"
#include "DeviceProtocol.h"
#include "FaxExporter.h"
#include "FolderTestData.h"
#include "MessageBoxUtil.h"
#include "SendBoxWidget.h"
#include "SendFaxController.h"
#include "../sending/SendingTestData.h"
#include "TestSupport.h"

#include <QAtomicInt>
#include <QMenu>
#include <QSignalSpy>
#include <QTableWidget>
#include <QThread>
#include <QTimer>

using namespace SendingTestData;

namespace {
// Lines of the automatic output logged so far, and whether one came from the GUI thread.
QAtomicInt outputLines;
QAtomicInt outputOnGuiThread;
QtMessageHandler previousHandler = nullptr;

void watchOutput(QtMsgType type, const QMessageLogContext& context, const QString& text)
{
    if (text.contains(QLatin1String("automatic output"))) {
        outputLines.ref();
        if (QThread::currentThread() == qApp->thread())
            outputOnGuiThread.storeRelaxed(1);
    }
    previousHandler(type, context, text);
}
} // namespace

// The outbox's commands on a fax, what its row shows while the device has it, and its status
// rounds against a device that does not answer.
class TestOutboxCommands : public QObject
{
    Q_OBJECT

    std::unique_ptr<DeviceSimRunner> m_sim;
    Device m_device;

    SimDevice* sim() { return m_sim->device(); }
    static QTableWidget* table(SendBoxWidget& box) { return TestSupport::find<QTableWidget>(&box, "tableWidget"); }
    static QString cell(SendBoxWidget& box, int row, int column)
    {
        QTableWidgetItem* item = table(box)->item(row, column);
        return item ? item->text() : QStringLiteral("<none>");
    }
    static QStringList menuOfRow(SendBoxWidget& box, int row)
    {
        box.on_tableWidget_customContextMenuRequested(table(box)->visualItemRect(table(box)->item(row, 1)).center());
        QStringList texts;
        if (QMenu* menu = box.findChild<QMenu*>(QStringLiteral("menu_right")))
            for (QAction* a : menu->actions())
                texts << a->text() + (a->isEnabled() ? QString() : QStringLiteral("-"));
        return texts;
    }
    // Status rounds every 100 ms.
    static void speedUp(SendBoxWidget& box) { box.findChild<QTimer*>(QStringLiteral("statusTimer"))->setInterval(100); }

    Fax job(const QString& number)
    {
        return storedFax(m_device, writeFile(TestSupport::documentsPath() + number + ".tif", tinyTiff(300)), number);
    }
    // Faxes uploaded by a worker of this thread.
    void uploaded(const QStringList& numbers)
    {
        for (const QString& number : numbers) {
            Fax fax = job(number);
            SendFaxThread().sendFax(fax);
        }
    }
    // A fax the outbox uploads and follows; its task number once the device took it.
    int send(SendBoxWidget& box, const QString& number, const QDateTime& plan = QDateTime())
    {
        Fax fax = job(number);
        fax.dateTimePlan = plan;
        box.insertFaxToList({ fax });
        if (!QTest::qWaitFor([&fax] { return storedColumn(fax.id, "taskID").toInt() != 0; }, 5000))
            qWarning("upload failed");
        return storedColumn(fax.id, "taskID").toInt();
    }
    int lines(const QString& text) { return countLines(sim()->actionLog(), text); }

private slots:
    void initTestCase()
    {
        qRegisterMetaType<Fax>("Fax&");
        qRegisterMetaType<QList<Fax>>("QList<Fax>&");
        MessageBoxUtil::setRecording(true);
        previousHandler = qInstallMessageHandler(watchOutput);
    }

    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        Scenario scenario = scenarioAt(QStringLiteral("127.0.2.20"));
        SimOutcome failOnce;
        failOnce.number = QStringLiteral("999");
        failOnce.success = false;
        failOnce.failRuns = 1;
        scenario.jobs.outcomes << failOnce;
        m_sim = startSim(scenario);
        m_device = storedDevice(scenario);
    }

    void cleanup()
    {
        m_sim.reset();
        QCoreApplication::sendPostedEvents(); // finished threads give back their connections
        DeviceProtocol::setTestTimeoutDivisor(1);
    }

    // The device no longer knows the task: the row says so, no record is waited for, and the
    // fax is not asked for again.
    void taskUnknownToTheDeviceEnds()
    {
        DeviceProtocol::setTestTimeoutDivisor(10);
        Fax fax = storedFax(m_device, TestSupport::documentsPath() + "gone.tif");
        fax.taskID = 4242;
        DatabaseManager().updateFaxTaskID(fax);
        SendBoxWidget box;
        speedUp(box);
        QTRY_COMPARE(cell(box, 0, 0), QStringLiteral("设备上已无此任务"));
        QTest::qWait(500);
        QCOMPARE(lines(QStringLiteral("GET_SEND_FAX_STATUS ->")), 1);
        QCOMPARE(lines(QStringLiteral("ready token without a transfer")), 0);
        QCOMPARE(storedColumn(fax.id, "status").toInt(), box.faxes().first().status);
    }

    // Logged in, then no reply to the query: the device's other faxes wait for the next round.
    void silentDeviceIsConnectedOncePerRound()
    {
        uploaded({ "1", "2", "3" });
        DeviceProtocol::setTestTimeoutDivisor(10);
        sim()->addFault(SimFault::make(QStringLiteral("GET_SEND_FAX_STATUS"), SimFault::Silent));
        const int before = lines(QStringLiteral("connected, "));
        SendFaxThread worker;
        QSignalSpy updated(&worker, &SendFaxThread::updateFax);
        worker.getFaxStatus2();
        QCOMPARE(updated.count(), 0);
        QCOMPARE(lines(QStringLiteral("connected, ")) - before, 1);
    }

    // The round answers slowly; an upload asked for meanwhile goes to the device before the
    // round's later faxes are asked for.
    void uploadDoesNotWaitForTheRound()
    {
        uploaded({ "1", "2", "3" });
        sim()->addFault(SimFault::make(QStringLiteral("GET_SEND_FAX_STATUS"), SimFault::Delay, 0, 400));
        Fax fresh = job(QStringLiteral("4"));
        SendFaxController controller;
        QSignalSpy finished(&controller, &SendFaxController::faxStatusFinished);
        QSignalSpy taken(&controller, &SendFaxController::saveTaskID);
        emit controller.getFaxStatus2();
        QTRY_VERIFY(lines(QStringLiteral("GET_SEND_FAX_STATUS")) > 0);
        emit controller.sendFax(fresh);
        QTRY_COMPARE_WITH_TIMEOUT(finished.count(), 1, 10000);
        QCOMPARE(taken.count(), 1);

        const QStringList log = sim()->actionLog();
        int upload = -1;
        int lastQuery = -1;
        for (int i = 0; i < log.size(); ++i) {
            if (log.at(i).contains(QStringLiteral("SENDFAX ")))
                upload = i;
            if (log.at(i).contains(QStringLiteral("GET_SEND_FAX_STATUS ->")))
                lastQuery = i;
        }
        QVERIFY2(upload >= 0 && upload < lastQuery, qPrintable(log.join('\n')));
    }

    // "重试" of a failed fax: the row follows the device's new run.
    void retriedFaxIsFollowedAgain()
    {
        SendBoxWidget box;
        speedUp(box);
        const int task = send(box, QStringLiteral("99901"));
        sim()->advanceJob(quint32(task), 20);
        QTRY_COMPARE(cell(box, 0, 0), QStringLiteral("发送失败"));
        table(box)->setCurrentCell(0, 0);
        box.actionRetry();
        QTRY_COMPARE(cell(box, 0, 0), QStringLiteral("排队中"));
        sim()->advanceJob(quint32(task), 1);
        QTRY_COMPARE(cell(box, 0, 0), QStringLiteral("发送中"));
    }

    // A planned fax can be paused, after the user said yes.
    void pauseAsksFirst_data()
    {
        QTest::addColumn<int>("answer");
        QTest::addColumn<QString>("shown");
        QTest::addColumn<int>("onDevice");
        QTest::newRow("yes") << int(QMessageBox::Yes) << QStringLiteral("已停止") << 7;
        QTest::newRow("no") << int(QMessageBox::No) << QStringLiteral("计划中") << 8;
    }

    void pauseAsksFirst()
    {
        QFETCH(int, answer);
        QFETCH(QString, shown);
        QFETCH(int, onDevice);
        SendBoxWidget box;
        speedUp(box);
        const int task = send(box, QStringLiteral("12345"), QDateTime::currentDateTime().addDays(1));
        QTRY_COMPARE(cell(box, 0, 0), QStringLiteral("计划中"));
        QVERIFY(menuOfRow(box, 0).contains(QStringLiteral("暂停发送")));

        table(box)->setCurrentCell(0, 0);
        MessageBoxUtil::clear();
        MessageBoxUtil::setNextAnswer(QMessageBox::StandardButton(answer));
        box.actionStopSend();
        QCOMPARE(MessageBoxUtil::takeShown().size(), 1);
        QTRY_COMPARE(cell(box, 0, 0), shown);
        QTest::qWait(300);
        SimJob job;
        QVERIFY(sim()->job(quint32(task), &job));
        QCOMPARE(job.status, onDevice);
        QCOMPARE(cell(box, 0, 0), shown);
    }

    // The progress column of a live update: empty for a sending state it has no text for.
    void progressOfUnknownSendState_data()
    {
        QTest::addColumn<int>("sendState");
        QTest::addColumn<QString>("progress");
        QTest::newRow("pages") << 0 << QStringLiteral("已完成1页50%(共2页)");
        QTest::newRow("beyond the known states") << 4 << QString();
        QTest::newRow("negative") << -1 << QString();
    }

    void progressOfUnknownSendState()
    {
        QFETCH(int, sendState);
        QFETCH(QString, progress);
        FolderTestData::addFax(FolderTestData::sentFax("2024-03-01 10:00:00", 6, "801", "R"), m_device.id);
        SendBoxWidget box;
        box.findChild<QTimer*>(QStringLiteral("statusTimer"))->stop();
        Fax fax = box.faxes().first();
        fax.sendState = sendState;
        fax.pageSended = 1;
        fax.pagePercent = 50;
        emit box.findChild<SendFaxController*>()->updateFax(fax);
        QCOMPARE(cell(box, 0, 5), progress);
    }

    // The automatic output of a sent fax happens once, off the GUI thread (here it fails:
    // its folder cannot be made under a file).
    void sentFaxOutputRunsOnAWorker()
    {
        const QString blocker = writeFile(TestSupport::documentsPath() + "blocker", "x");
        auto settings = AppSettings::userSetting();
        settings->setValue(AutoExportKeys::SEND_AUTO_SAVE_AS, true);
        settings->setValue(AutoExportKeys::SEND_AUTO_SAVE_AS_PATH, QString(blocker + "/out"));
        settings->sync();
        outputLines.storeRelaxed(0);
        outputOnGuiThread.storeRelaxed(0);

        SendBoxWidget box;
        speedUp(box);
        const int task = send(box, QStringLiteral("12345"));
        sim()->advanceJob(quint32(task), 20);
        QTRY_COMPARE(cell(box, 0, 0), QStringLiteral("发送成功"));
        QTRY_COMPARE(outputLines.loadRelaxed(), 1);
        QTest::qWait(500); // more rounds
        QCOMPARE(outputLines.loadRelaxed(), 1);
        QCOMPARE(outputOnGuiThread.loadRelaxed(), 0);
    }
};

VELKOR_TEST_MAIN(TestOutboxCommands)
#include "TestOutboxCommands.moc"

#include "../sending/SendingTestData.h"
#include "TestSupport.h"

#include "ConnectionPool.h"
#include "DialogUtil.h"
#include "DeviceProtocol.h"
#include "FaxDetailWindow.h"
#include "FaxOptionDialog.h"
#include "FaxStatus.h"
#include "FileUtil.h"
#include "MGlobal.h"
#include "MainWindow.h"
#include "MessageBoxUtil.h"
#include "SendBoxWidget.h"
#include "SendFaxController.h"
#include "VelkorResources.h"

#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QCheckBox>
#include <QDateTimeEdit>
#include <QLineEdit>
#include <QPointer>
#include <QProcess>
#include <QPushButton>
#include <QSqlError>
#include <QSqlQuery>
#include <QSqlRecord>
#include <QTableWidget>

using namespace SendingTestData;

namespace {

const char* const CHILD_BATCH = "--store-batch-and-upload";

// The options of the batch the child process stores; a restarted upload must carry them.
FaxOption batchOptions()
{
    FaxOption o;
    o.dialogTotal = 4;
    o.retryTime = 7;
    o.priority = FaxStatus::FAX_PRIORITY_CRITICAL;
    o.quality = 1;
    o.disableHeader = true;
    o.disabeDialPrefix = true;
    o.planEnabled = o.stopEnabled = o.windowEnabled = true;
    o.dateTimePlan = QDateTime(QDate(2035, 6, 1), QTime(9, 30));
    o.dateTimeStop = QDateTime(QDate(2035, 6, 2), QTime(18, 0));
    o.timeFrom = QTime(8, 15);
    o.timeTo = QTime(17, 45);
    return o;
}

QImage whitePage()
{
    QImage page(1728, 2200, QImage::Format_Grayscale8);
    page.fill(Qt::white);
    return page;
}

// The child: assembles a batch of three and uploads it through the outbox, until killed.
int storeBatchAndUpload(int argc, char** argv)
{
    QApplication app(argc, argv);
    MessageBoxUtil::setRecording(true);
    TestSupport::loginTestUser();
    SendBoxWidget outbox;
    SendFaxController assembler;
    QObject::connect(&assembler, &SendFaxController::returnFaxList, &outbox,
                     [&outbox](QList<Fax>& faxes) { outbox.insertFaxToList(faxes); });
    QString recipients = QStringLiteral("111;222;333");
    QString remark;
    FaxPage page;
    page.image = whitePage();
    QList<FaxPage> pages{page};
    FaxOption option = batchOptions();
    QList<Device> devices = DatabaseManager().queryDevices();
    emit assembler.transformFax(recipients, remark, pages, option, devices);
    return app.exec();
}

QList<int> statuses()
{
    QList<int> list;
    QSqlQuery q(ConnectionPool::openConnection());
    q.exec(QStringLiteral("SELECT status, taskID FROM FAXES WHERE tag = 1 ORDER BY id"));
    while (q.next())
        list << (q.value(1).toInt() == 0 ? q.value(0).toInt() : 0); // 0: the device has it
    return list;
}

// "开始上传" on the outbox row of the fax.
void startUpload(SendBoxWidget* box, int faxId)
{
    auto* table = box->findChild<QTableWidget*>(QStringLiteral("tableWidget"));
    for (int row = 0; row < box->faxes().size(); ++row)
        if (box->faxes().at(row).id == faxId) {
            table->setCurrentCell(row, 1);
            box->actionReUpload();
            return;
        }
    QFAIL("no outbox row for the fax");
}

bool asked()
{
    for (const MessageBoxUtil::Shown& box : MessageBoxUtil::shown())
        if (box.kind == QLatin1String("question"))
            return true;
    return false;
}

} // namespace

class TestUploadLifecycle : public QObject
{
    Q_OBJECT

    int m_nextAddress = 1;

    Scenario nextScenario()
    {
        return scenarioAt(QStringLiteral("127.0.1.%1").arg(m_nextAddress++));
    }

    // An editor that composes one page to the recipients, opened through the main window.
    FaxDetailWindow* composer(MainWindow& w, const QString& recipients)
    {
        const QString file = TestSupport::documentsPath() + QStringLiteral("page.png");
        whitePage().save(file);
        DialogUtil::queueAnswer(file);
        w.choose_file_send();
        FaxDetailWindow* editor = nullptr;
        for (QWidget* top : QApplication::topLevelWidgets())
            if (auto* e = qobject_cast<FaxDetailWindow*>(top); e && e->isVisible() && e->pageCount() == 1)
                editor = e;
        if (editor)
            editor->findChild<QLineEdit*>(QStringLiteral("edit_phone_2"))->setText(recipients);
        return editor;
    }

private slots:
    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
    }

    void cleanup()
    {
        DeviceProtocol::setTestTimeoutDivisor(1);
        QList<QPointer<FaxDetailWindow>> editors;
        for (QWidget* top : QApplication::topLevelWidgets())
            editors << qobject_cast<FaxDetailWindow*>(top);
        qDeleteAll(editors);
    }

    // A program killed in the middle of a batch: the next session finds what it left in
    // "等待上传" (or "上传结果未知" for the one under way), and "开始上传" sends each once, with
    // the options and schedule it was composed with.
    void killedBatchIsSentOnceAfterRestart()
    {
        Scenario s = nextScenario();
        auto sim = startSim(s);
        SimFault pacing = SimFault::make(QStringLiteral("SENDFAX"), SimFault::SlowPacing, 0, 400);
        sim->device()->addFault(pacing);
        storedDevice(s);

        QProcess child;
        child.start(QCoreApplication::applicationFilePath(), {QString::fromLatin1(CHILD_BATCH)});
        QVERIFY(child.waitForStarted());
        // Killed once the first fax is the device's, while the second goes up block by block.
        QTRY_VERIFY_WITH_TIMEOUT(statuses().count(0) == 1, 30000);
        child.kill();
        QVERIFY(child.waitForFinished());
        QCOMPARE(sim->device()->uploads().size(), 1);
        sim->device()->clearFaults();

        TestSupport::dropDatabaseConnections();
        MainWindow w; // a session starts
        QList<int> left = statuses();
        QCOMPARE(left.size(), 3);
        QCOMPARE(left.count(0), 1);
        QCOMPARE(left.count(FaxStatus::SEND_FAX_UNSEND) + left.count(FaxStatus::SEND_FAX_UPLOAD_UNKNOWN), 2);
        QVERIFY(left.contains(FaxStatus::SEND_FAX_UNSEND));

        for (const Fax& fax : w.sendBox()->faxes())
            if (fax.taskID == 0)
                startUpload(w.sendBox(), fax.id);
        QTRY_VERIFY_WITH_TIMEOUT(statuses() == QList<int>({0, 0, 0}), 20000);

        QStringList numbers;
        const FaxOption o = batchOptions();
        for (const SimUpload& upload : sim->device()->uploads()) {
            const SimRecord::UploadHeader& h = upload.fields;
            numbers << h.number;
            QVERIFY2(h.problems.isEmpty(), qPrintable(h.problems.join("; ")));
            QCOMPARE(h.priority, o.priority);
            QCOMPARE(h.quality, o.quality);
            QCOMPARE(h.retryTime, o.retryTime);
            QCOMPARE(h.dialTotal, o.dialogTotal);
            QCOMPARE(h.disableHeader, 1);
            QCOMPARE(h.disableDialPrefix, 1);
            QCOMPARE(h.planTime.toUtc(), o.dateTimePlan.toUTC());
            QCOMPARE(h.stopTime.toUtc(), o.dateTimeStop.toUTC());
            QCOMPARE(QTime(h.windowFrom.hour, h.windowFrom.minute), o.timeFrom);
            QCOMPARE(QTime(h.windowTo.hour, h.windowTo.minute), o.timeTo);
        }
        numbers.sort();
        QCOMPARE(numbers, QStringList({"111", "222", "333"}));
    }

    // An upload whose answer never came whole: "开始上传" looks for the job on the device first.
    void uploadWithoutAnswer_data()
    {
        QTest::addColumn<int>("fault");       // on the first upload
        QTest::addColumn<bool>("jobGone");    // the device dropped the job meanwhile
        QTest::addColumn<bool>("unlisted");   // the account may not read the device's lists
        QTest::addColumn<int>("answer");      // to the question, if one comes
        QTest::addColumn<int>("uploads");
        QTest::addColumn<bool>("adopted");    // the first upload's task is the fax's
        QTest::addColumn<int>("status");
        const int yes = QMessageBox::Yes;
        const int no = QMessageBox::No;
        const int queued = FaxStatus::SEND_FAX_WAITTING;
        QTest::newRow("no TASKID, job queued: adopted") << int(SimFault::NoTaskId) << false << false << no << 1 << true << queued;
        QTest::newRow("late answer, job queued: adopted") << int(SimFault::Delay) << false << false << no << 1 << true << queued;
        QTest::newRow("late answer, job gone: sent again once") << int(SimFault::Delay) << true << false << no << 2 << false << queued;
        QTest::newRow("lists refused, user agrees: sent again") << int(SimFault::NoTaskId) << false << true << yes << 2 << false << queued;
        QTest::newRow("lists refused, user declines: nothing sent")
            << int(SimFault::NoTaskId) << false << true << no << 1 << false << int(FaxStatus::SEND_FAX_UPLOAD_UNKNOWN);
    }

    void uploadWithoutAnswer()
    {
        QFETCH(int, fault);
        QFETCH(bool, jobGone);
        QFETCH(bool, unlisted);
        QFETCH(int, answer);
        QFETCH(int, uploads);
        QFETCH(bool, adopted);
        QFETCH(int, status);

        DeviceProtocol::setTestTimeoutDivisor(20); // the upload waits 750 ms for its answer
        Scenario s = nextScenario();
        auto sim = startSim(s);
        SimFault first = SimFault::make(QStringLiteral("SENDFAX"), SimFault::Kind(fault), 0, 2500);
        first.times = 1;
        sim->device()->addFault(first);
        const Device device = storedDevice(s);
        const Fax fax = storedFax(device, writeFile(TestSupport::documentsPath() + "a.tif", tinyTiff(300)), "5550100");

        SendBoxWidget box;
        box.insertFaxToList({fax});
        QTRY_COMPARE_WITH_TIMEOUT(box.faxes().first().status, int(FaxStatus::SEND_FAX_UPLOAD_UNKNOWN), 10000);
        QTRY_COMPARE(sim->device()->uploads().size(), 1);
        const quint32 firstTask = sim->device()->uploads().first().task;
        QVERIFY(firstTask != 0);
        if (jobGone)
            sim->device()->handle(QStringLiteral("DELETE_FAX"),
                                  QStringLiteral("<ACTION>DELETE_FAX</ACTION><TASKID>%1</TASKID>").arg(firstTask), SimUser());
        if (unlisted)
            sim->device()->addFault(SimFault::make(QStringLiteral("GET_SEND_FAX_STATUS"), SimFault::Feedback, 0, 0,
                                                   QStringLiteral("NO_PERMISSION")));
        MessageBoxUtil::setNextAnswer(QMessageBox::StandardButton(answer));

        startUpload(&box, fax.id);
        if (status == FaxStatus::SEND_FAX_UPLOAD_UNKNOWN)
            QTRY_VERIFY(asked());
        else
            QTRY_VERIFY_WITH_TIMEOUT(box.faxes().first().taskID != 0, 10000);
        QCOMPARE(asked(), unlisted);
        QCOMPARE(sim->device()->uploads().size(), uploads);
        QCOMPARE(storedColumn(fax.id, "taskID").toUInt() == firstTask, adopted);
        QCOMPARE(storedColumn(fax.id, "status").toInt(), status);
        QCOMPARE(box.faxes().first().status, status);
    }

    // A store of the first program opens with nothing lost, priorities in today's meaning,
    // and a second open changes nothing.
    void oldStoreIsUpgradedOnce()
    {
        TestSupport::freshHome();
        const QString path = FileUtil::getDocumentPath() + "velkor.db";
        {
            QSqlDatabase old = QSqlDatabase::addDatabase("QSQLITE", "old");
            old.setDatabaseName(path);
            QVERIFY(old.open());
            QSqlQuery q(old);
            for (const char* sql : {
                     "CREATE TABLE FAXES (id INTEGER PRIMARY KEY AUTOINCREMENT, pageSended INTEGER, pageTotal INTEGER, "
                     "status INTEGER ,sender VARCHAR(40),receiver  VARCHAR(40),remark VARCHAR(40),time "
                     "VARCHAR(40),serverID VARCHAR(40),line INTEGER , cid VARCHAR(40) , file VARCHAR(40) ,taskID INTEGER "
                     ",filepath VARCHAR(40),tag INTEGER , priority INTEGER , issue VARCHAR(40) ,dialTotal INTEGER "
                     ",dialAlready INTEGER ,isDelete  BOOLEAN , device_id INTEGER , foreign key (device_id) references "
                     "DEVICES (id) )",
                     "INSERT INTO FAXES (status, cid, taskID, tag, priority, time, device_id, remark) VALUES (2, '123', "
                     "77, 1, 3, '2024-01-02 03:04:05', 1, 'sent, urgent')",
                     "INSERT INTO FAXES (status, cid, taskID, tag, priority, time, device_id, file) VALUES (11, '456', 88, "
                     "0, 0, '2024-01-03 03:04:05', 1, '0010ABCD')"})
                QVERIFY2(q.exec(QString::fromLatin1(sql)), qPrintable(q.lastError().text()));
        }
        QSqlDatabase::removeDatabase("old");

        const auto dump = [] {
            QStringList rows;
            QSqlQuery q(ConnectionPool::openConnection());
            q.exec("SELECT * FROM FAXES ORDER BY id");
            while (q.next()) {
                QStringList values;
                for (int i = 0; i < q.record().count(); ++i)
                    values << q.record().fieldName(i) + "=" + q.value(i).toString();
                rows << values.join(',');
            }
            return rows;
        };
        DatabaseManager().createTables();
        const int version = DatabaseManager().migrateSchema();
        const QStringList upgraded = dump();
        QCOMPARE(upgraded.size(), 2);
        QVERIFY(upgraded[0].contains("status=2,sender=,receiver=,remark=sent, urgent,time=2024-01-02 03:04:05"));
        QVERIFY(upgraded[0].contains("taskID=77,filepath=,tag=1,priority=4,"));
        QVERIFY(upgraded[0].contains("quality=,retryTime=,planTime="));
        QVERIFY(upgraded[1].contains("cid=456,file=0010ABCD,taskID=88,filepath=,tag=0,priority=0,"));

        TestSupport::dropDatabaseConnections();
        DatabaseManager().createTables();
        QCOMPARE(DatabaseManager().migrateSchema(), version);
        QCOMPARE(dump(), upgraded);
    }

    // The priority chosen in the options dialog is the one the device gets and the outbox
    // shows; the dialog shows what the fax holds, schedule included, when opened again.
    void priorityAndScheduleFromDialogToOutbox_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<QString>("word");
        QTest::newRow("低") << 0 << "低";
        QTest::newRow("普通") << 1 << "普通";
        QTest::newRow("高") << 2 << "高";
        QTest::newRow("紧急") << 3 << "紧急";
    }

    void priorityAndScheduleFromDialogToOutbox()
    {
        QFETCH(int, index);
        QFETCH(QString, word);
        Scenario s = nextScenario();
        auto sim = startSim(s);
        storedDevice(s);
        MainWindow w;
        QPointer<FaxDetailWindow> editor = composer(w, "5550101");
        QVERIFY(editor);

        const QDateTime plan(QDate(2036, 1, 2), QTime(3, 4, 5));
        for (int opening = 0; opening < 2; ++opening) {
            TestSupport::find<QPushButton>(editor, "buttion_option_2")->click();
            QPointer<FaxOptionDialog> dialog = editor->findChild<FaxOptionDialog*>();
            QVERIFY(dialog);
            auto* priority = TestSupport::find<QComboBox>(dialog, "combo_priority");
            auto* planned = TestSupport::find<QCheckBox>(dialog, "check_start_at");
            auto* planTime = TestSupport::find<QDateTimeEdit>(dialog, "date_start_at");
            if (opening == 0) {
                priority->setCurrentIndex(index);
                planned->setChecked(true);
                planTime->setDateTime(plan);
            } else { // opened again: what the fax holds
                QCOMPARE(priority->currentIndex(), index);
                QVERIFY(planned->isChecked());
                QCOMPARE(planTime->dateTime(), plan);
            }
            TestSupport::find<QPushButton>(dialog, "button_ok")->click();
            QTRY_VERIFY(dialog.isNull());
        }
        TestSupport::find<QAction>(editor, "action_send")->trigger();
        QTRY_VERIFY_WITH_TIMEOUT(!w.sendBox()->faxes().isEmpty() && w.sendBox()->faxes().first().taskID != 0, 20000);

        const SimRecord::UploadHeader h = sim->device()->uploads().first().fields;
        QCOMPARE(h.priority, index + int(FaxStatus::FAX_PRIORITY_LOW));
        QCOMPARE(h.planTime.toUtc(), plan.toUTC());
        auto* table = TestSupport::find<QTableWidget>(w.sendBox(), "tableWidget");
        QCOMPARE(table->item(0, 2)->text(), word);
        w.sendBox()->reacquire(); // and so after a restart
        QCOMPARE(table->item(0, 2)->text(), word);
    }

    // Closing an editor, or ending the session it belongs to, asks while it holds work not
    // sent; "no" keeps everything open.
    void unsentWorkIsNotDroppedSilently_data()
    {
        QTest::addColumn<QString>("recipients");
        QTest::addColumn<bool>("byEditor"); // else the main window's "退出登陆"
        QTest::addColumn<int>("answer");
        QTest::newRow("editor, no") << "123" << true << int(QMessageBox::No);
        QTest::newRow("editor, yes") << "" << true << int(QMessageBox::Yes);
        QTest::newRow("switch user, no") << "123" << false << int(QMessageBox::No);
        QTest::newRow("switch user, yes") << "123" << false << int(QMessageBox::Yes);
    }

    void unsentWorkIsNotDroppedSilently()
    {
        QFETCH(QString, recipients);
        QFETCH(bool, byEditor);
        QFETCH(int, answer);
        QPointer<MainWindow> w = new MainWindow;
        w->show();
        QPointer<FaxDetailWindow> editor = composer(*w, recipients);
        QVERIFY(editor);
        MessageBoxUtil::setNextAnswer(QMessageBox::StandardButton(answer));
        if (byEditor)
            editor->close();
        else
            w->switchUser();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        QVERIFY(asked());
        const bool kept = answer == QMessageBox::No;
        QCOMPARE(!editor.isNull(), kept);
        QCOMPARE(!w.isNull(), byEditor || kept);
        delete w;
    }

    // Quitting while an upload is under way asks; "no" keeps the session.
    void quittingWithAnUploadUnderWayAsks()
    {
        DeviceProtocol::setTestTimeoutDivisor(20);
        Scenario s = nextScenario();
        auto sim = startSim(s);
        sim->device()->addFault(SimFault::make(QStringLiteral("SENDFAX"), SimFault::Silent));
        const Device device = storedDevice(s);
        const Fax fax = storedFax(device, writeFile(TestSupport::documentsPath() + "q.tif", tinyTiff(300)), "5550104");
        MainWindow w;
        w.sendBox()->insertFaxToList({fax});
        w.quitApp();
        QVERIFY(asked());
        QTRY_COMPARE(w.sendBox()->faxes().first().status, int(FaxStatus::SEND_FAX_UNSEND));
        QCOMPARE(w.sendBox()->uploadsUnderWay(), 0);
    }

    // A job whose file cannot be written stores nothing, and the editor says so at once and
    // keeps the recipients.
    void unwritableFolderStoresNoRow()
    {
        Scenario s = nextScenario();
        const Device device = storedDevice(s);
        const QString folder = TestSupport::documentsPath() + gUser.nickname + "/" + device.productID;
        QDir().mkpath(folder);
        writeFile(folder + "/FaxFile", "a file where the folder should be");
        MainWindow w;
        QPointer<FaxDetailWindow> editor = composer(w, "Ann<5550102>;5550103");
        QVERIFY(editor);
        TestSupport::find<QAction>(editor, "action_send")->trigger();
        QTRY_VERIFY(!MessageBoxUtil::shown().isEmpty());
        QCOMPARE(MessageBoxUtil::shown().first().kind, QStringLiteral("warning"));
        QVERIFY(MessageBoxUtil::shown().first().text.contains("5550103"));
        QVERIFY(!editor.isNull());
        QCOMPARE(TestSupport::find<QLineEdit>(editor, "edit_phone_2")->text(), QStringLiteral("Ann<5550102>;5550103"));
        QVERIFY(TestSupport::find<QAction>(editor, "action_send")->isEnabled());
        QVERIFY(DatabaseManager().querySendFaxes().isEmpty());
    }
};

int main(int argc, char** argv)
{
    if (argc > 1 && qstrcmp(argv[1], CHILD_BATCH) == 0)
        return storeBatchAndUpload(argc, argv); // the environment (home, store) is the parent's
    TestSupport::prepareProcess();
    QApplication app(argc, argv);
    TestSupport::prepareApplication();
    TestUploadLifecycle tc;
    QTEST_SET_MAIN_SOURCE_PATH
    return QTest::qExec(&tc, argc, argv);
}

#include "TestUploadLifecycle.moc"

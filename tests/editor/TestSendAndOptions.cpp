#include "EditorTestData.h"
#include "TestSupport.h"

#include "AppSettings.h"
#include "DeviceSimRunner.h"
#include "MD5Util.h"
#include "SendFaxController.h"
#include "DatabaseManager.h"
#include "FaxDetailWindow.h"
#include "FaxOptionDialog.h"
#include "FaxStatus.h"
#include "MGlobal.h"
#include "MessageBoxUtil.h"
#include "SelectDeviceWidget.h"

#include <QAction>
#include <QCheckBox>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QDir>
#include <QFileInfo>
#include <QLineEdit>
#include <QListView>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>
#include <QSpinBox>
#include <QTimeEdit>

using namespace EditorTestData;

class TestSendAndOptions : public QObject
{
    Q_OBJECT

private:
    QString m_dir;

    static QList<Device> addDevices(int count)
    {
        DatabaseManager db;
        for (int i = 1; i <= count; ++i) {
            Device device;
            device.deviceName = QStringLiteral("acct%1").arg(i);
            device.productID = QStringLiteral("DEV%1").arg(i);
            device.serverName = QStringLiteral("Fax %1").arg(i);
            device.localIP = QStringLiteral("127.0.0.%1").arg(i);
            db.inseretDevice(device);
        }
        return db.queryDevices();
    }
    FaxDetailWindow* composer(int pages, const QString& recipients)
    {
        Fax fax;
        fax.editorMode = 1;
        auto* w = new FaxDetailWindow(fax);
        QStringList files;
        for (int i = 0; i < pages; ++i) {
            files << m_dir + QStringLiteral("/p%1.png").arg(i);
            bandPage(i).save(files.last());
        }
        if (!files.isEmpty())
            w->open_picture_file(files);
        TestSupport::find<QLineEdit>(w, "edit_phone_2")->setText(recipients);
        w->show();
        return w;
    }
    static FaxOptionDialog* openOptions(FaxDetailWindow* w)
    {
        QTest::mouseClick(TestSupport::find<QPushButton>(w, "buttion_option_2"), Qt::LeftButton);
        return w->findChild<FaxOptionDialog*>();
    }
    static void finish(FaxOptionDialog* dialog, const char* button)
    {
        QPointer<FaxOptionDialog> alive(dialog);
        QTest::mouseClick(TestSupport::find<QPushButton>(dialog, button), Qt::LeftButton);
        QTRY_VERIFY(alive.isNull());
    }

private slots:
    void initTestCase() { qRegisterMetaType<QList<Fax>>(); }
    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        m_dir = TestSupport::documentsPath() + "files";
        QDir().mkpath(m_dir);
    }

    void optionDefaultsWithoutAFile()
    {
        // The values a fax takes from the defaults: oneDeviceSendsDirectly.
        QScopedPointer<FaxDetailWindow> w(composer(0, QString()));
        const FaxOption& o = w->faxOption();
        QCOMPARE(o.retryTime, 1);
        QVERIFY(!o.disableHeader && !o.disabeDialPrefix);
        QVERIFY(!o.planEnabled && !o.stopEnabled && !o.windowEnabled);
        FaxOptionDialog* d = openOptions(w.data());
        QVERIFY(d);
        QCOMPARE(TestSupport::find<QComboBox>(d, "combo_priority")->currentIndex(), 2);
        QCOMPARE(TestSupport::find<QComboBox>(d, "combo_fax_quality")->currentIndex(), 1);
        QVERIFY(!TestSupport::find<QDateTimeEdit>(d, "date_start_at")->isEnabled());
        QVERIFY(TestSupport::find<QDateTimeEdit>(d, "date_cancel_fax_after")->dateTime() > QDateTime::currentDateTime());
    }

    void optionsRoundTripThroughTheDefaults()
    {
        QScopedPointer<FaxDetailWindow> w(composer(0, QString()));
        FaxOptionDialog* d = openOptions(w.data());
        const QDateTime plan = QDateTime(QDate(2031, 3, 4), QTime(10, 20, 30));
        TestSupport::find<QComboBox>(d, "combo_priority")->setCurrentIndex(3);
        TestSupport::find<QComboBox>(d, "combo_fax_quality")->setCurrentIndex(0);
        TestSupport::find<QSpinBox>(d, "spin_dialog_total")->setValue(7);
        TestSupport::find<QSpinBox>(d, "spin_retry_time")->setValue(9);
        TestSupport::find<QCheckBox>(d, "check_dis_header")->setChecked(true);
        TestSupport::find<QCheckBox>(d, "check_start_at")->setChecked(true);
        TestSupport::find<QDateTimeEdit>(d, "date_start_at")->setDateTime(plan);
        TestSupport::find<QCheckBox>(d, "check_enable_from")->setChecked(true);
        TestSupport::find<QTimeEdit>(d, "time_enable_from")->setTime(QTime(8, 0));
        TestSupport::find<QTimeEdit>(d, "time_enable_to")->setTime(QTime(18, 0));
        TestSupport::find<QCheckBox>(d, "check_save_default")->setChecked(true);
        finish(d, "button_ok");

        FaxOption o = w->faxOption();
        QCOMPARE(o.priority, 4);
        QCOMPARE(o.quality, 0);
        QCOMPARE(o.dialogTotal, 7);
        QCOMPARE(o.retryTime, 9);
        QVERIFY(o.disableHeader && !o.disabeDialPrefix);
        QVERIFY(o.planEnabled && !o.stopEnabled && o.windowEnabled);
        QCOMPARE(o.dateTimePlan, plan);
        QVERIFY(!o.dateTimeStop.isValid());
        QCOMPARE(o.timeFrom, QTime(8, 0));
        QCOMPARE(o.timeTo, QTime(18, 0));

        // Six keys, and no times among them.
        auto settings = AppSettings::userSetting();
        settings->beginGroup("SendFaxOptions");
        QCOMPARE(settings->childKeys().size(), 6);
        settings->endGroup();
        QCOMPARE(settings->value("/SendFaxOptions/DialTotal").toInt(), 7);
        QCOMPARE(settings->value("/SendFaxOptions/DialRetryTime").toInt(), 9);
        QCOMPARE(settings->value("/SendFaxOptions/DisablePageHeader").toBool(), true);
        QCOMPARE(settings->value("/SendFaxOptions/DisableDialPrefix").toBool(), false);
        QCOMPARE(settings->value("/SendFaxOptions/TaskPriority").toInt(), 3);
        QCOMPARE(settings->value("/SendFaxOptions/TaskQuality").toInt(), 0);

        // Reopened: the plan time and the window stay; cancel changes nothing.
        d = openOptions(w.data());
        QVERIFY(TestSupport::find<QCheckBox>(d, "check_start_at")->isChecked());
        QVERIFY(TestSupport::find<QCheckBox>(d, "check_enable_from")->isChecked());
        QCOMPARE(TestSupport::find<QTimeEdit>(d, "time_enable_to")->time(), QTime(18, 0));
        TestSupport::find<QComboBox>(d, "combo_priority")->setCurrentIndex(0);
        finish(d, "button_cancel");
        QCOMPARE(w->faxOption().priority, 4);
        QVERIFY(w->faxOption().planEnabled);

        // A new window starts from the stored defaults, with no schedule.
        QScopedPointer<FaxDetailWindow> next(composer(0, QString()));
        QCOMPARE(next->faxOption().priority, 4);
        QCOMPARE(next->faxOption().dialogTotal, 7);
        QVERIFY(!next->faxOption().planEnabled && !next->faxOption().windowEnabled);
    }

    void withoutSaveAsDefaultOnlyThisWindowChanges()
    {
        QScopedPointer<FaxDetailWindow> w(composer(0, QString()));
        FaxOptionDialog* d = openOptions(w.data());
        TestSupport::find<QComboBox>(d, "combo_priority")->setCurrentIndex(0);
        finish(d, "button_ok");
        QCOMPARE(w->faxOption().priority, 1); // FAX_PRIORITY_LOW
        QVERIFY(!AppSettings::userSetting()->contains("/SendFaxOptions/TaskPriority"));
        QScopedPointer<FaxDetailWindow> next(composer(0, QString()));
        QCOMPARE(next->faxOption().priority, 3);
    }

    void recipientLineFromChosenContacts()
    {
        QScopedPointer<FaxDetailWindow> w(composer(0, QStringLiteral("123;;456")));
        auto* line = TestSupport::find<QLineEdit>(w.data(), "edit_phone_2");
        QList<Contact> none;
        w->showSelectContact(none);
        QCOMPARE(line->text(), QStringLiteral("123;;456"));

        Contact a, b, c;
        a.represented = QStringLiteral("张三");
        a.businessFax = QStringLiteral("1");
        a.houseFax = QStringLiteral("9");
        b.represented = QStringLiteral("B");
        b.otherFax = QStringLiteral("3");
        c.represented = QStringLiteral("C");
        QList<Contact> chosen{a, b, c};
        w->showSelectContact(chosen);
        QCOMPARE(line->text(), QStringLiteral("123;456;张三<1>;B<3>;C<>;"));
    }

    void sendChecksComeInOrder()
    {
        QPointer<FaxDetailWindow> w = composer(0, QString());
        QSignalSpy handed(w.data(), &FaxDetailWindow::intent_to_sendbox);
        auto* send = TestSupport::find<QAction>(w, "action_send");
        auto* line = TestSupport::find<QLineEdit>(w, "edit_phone_2");
        const auto expectWarning = [](const QString& text) {
            const auto shown = MessageBoxUtil::takeShown();
            QCOMPARE(shown.size(), 1);
            QCOMPARE(shown[0].kind, QStringLiteral("warning"));
            QCOMPARE(shown[0].title, QStringLiteral("Velkor 消息"));
            QCOMPARE(shown[0].text, text);
        };

        send->trigger();
        expectWarning(QStringLiteral("请输入收件人信息"));
        line->setText(QStringLiteral(" ; ;;"));
        send->trigger();
        expectWarning(QStringLiteral("请输入收件人信息"));
        line->setText(QStringLiteral("123"));
        send->trigger();
        expectWarning(QStringLiteral("请添加传真文件"));
        bandPage(0).save(m_dir + "/one.png");
        w->open_picture_file({m_dir + "/one.png"});
        send->trigger();
        expectWarning(QStringLiteral("还没有添加设备"));
        QCOMPARE(handed.count(), 0);
        QVERIFY(w);
        delete w;
    }

    void oneDeviceSendsDirectly()
    {
        const QList<Device> devices = addDevices(1);
        QPointer<FaxDetailWindow> w = composer(2, QStringLiteral("111;Bob<222>"));
        TestSupport::find<QLineEdit>(w, "edit_remark_2")->setText(QStringLiteral("季度"));
        QSignalSpy handed(w.data(), &FaxDetailWindow::intent_to_sendbox);
        TestSupport::find<QAction>(w, "action_send")->trigger();
        QVERIFY(!w->findChild<SelectDeviceWidget*>());
        // Closed by the user while the job is assembled, it still hands the faxes on.
        w->close();
        QVERIFY(w && !w->isVisible());
        QTRY_COMPARE(handed.count(), 1);
        QTRY_VERIFY(w.isNull()); // closed once the list came back

        const QList<Fax> faxes = handed[0][0].value<QList<Fax>>();
        QCOMPARE(faxes.size(), 2);
        QCOMPARE(faxes[0].cid, QStringLiteral("111"));
        QCOMPARE(faxes[1].cid, QStringLiteral("222"));
        QCOMPARE(faxes[1].receiver, QStringLiteral("Bob"));
        for (const Fax& fax : faxes) {
            QVERIFY(fax.id > 0);
            QCOMPARE(fax.status, int(FaxStatus::SEND_FAX_WAITTING));
            QCOMPARE(fax.remark, QStringLiteral("季度"));
            QCOMPARE(fax.pageTotal, 2);
            QCOMPARE(fax.serverID, devices[0].productID);
            QCOMPARE(fax.dialTotal, 5);
            QCOMPARE(fax.priority, 3);
            QCOMPARE(fax.quality, 1);
            QCOMPARE(fax.filepath, faxes[0].filepath);
        }
        QVERIFY(QFileInfo::exists(faxes[0].filepath));
        QCOMPARE(DatabaseManager().querySendFaxes().size(), 2);
    }

    void chosenOptionsReachTheUploadHeader()
    {
        Scenario scenario;
        scenario.address = QStringLiteral("127.0.0.90");
        scenario.discovery = false;
        scenario.serverId = QStringLiteral("5E4D0090");
        scenario.jobs.stepMs = 24 * 3600 * 1000;
        DeviceSimRunner sim(scenario);
        QString error;
        QVERIFY2(sim.start(&error), qPrintable(error));
        Device device;
        device.deviceName = QStringLiteral("admin");
        device.devicePassword = MD5Util::call128MD5(QByteArray("admin"));
        device.productID = scenario.serverId;
        device.localIP = scenario.address;
        DatabaseManager().inseretDevice(device);

        QPointer<FaxDetailWindow> w = composer(2, QStringLiteral("Bob<0755-1234>"));
        FaxOptionDialog* d = openOptions(w.data());
        const QDateTime plan = QDateTime::currentDateTime().addDays(2);
        TestSupport::find<QComboBox>(d, "combo_priority")->setCurrentIndex(3);
        TestSupport::find<QComboBox>(d, "combo_fax_quality")->setCurrentIndex(0);
        TestSupport::find<QSpinBox>(d, "spin_dialog_total")->setValue(4);
        TestSupport::find<QSpinBox>(d, "spin_retry_time")->setValue(6);
        TestSupport::find<QCheckBox>(d, "check_dis_dial_prefix")->setChecked(true);
        TestSupport::find<QCheckBox>(d, "check_start_at")->setChecked(true);
        TestSupport::find<QDateTimeEdit>(d, "date_start_at")->setDateTime(plan);
        finish(d, "button_ok");

        // The outbox's part: each handed-on fax is uploaded on a controller of its own.
        SendFaxController outbox;
        QSignalSpy accepted(&outbox, &SendFaxController::saveTaskID);
        connect(w.data(), &FaxDetailWindow::intent_to_sendbox, &outbox, [&outbox](QList<Fax> faxes) {
            for (Fax& fax : faxes)
                emit outbox.sendFax(fax);
        });
        TestSupport::find<QAction>(w, "action_send")->trigger();
        QTRY_COMPARE_WITH_TIMEOUT(accepted.count(), 1, 20000);

        const QList<SimUpload> uploads = sim.device()->uploads();
        QCOMPARE(uploads.size(), 1);
        const SimRecord::UploadHeader& h = uploads[0].fields;
        QVERIFY2(h.problems.isEmpty(), qPrintable(h.problems.join("; ")));
        QCOMPARE(h.number, QStringLiteral("0755-1234"));
        QCOMPARE(h.receiver, QStringLiteral("Bob"));
        QCOMPARE(h.priority, 4);
        QCOMPARE(h.quality, 0);
        QCOMPARE(h.dialTotal, 4);
        QCOMPARE(h.retryTime, 6);
        QCOMPARE(h.pageTotal, 2);
        QCOMPARE(h.disableHeader, 0);
        QCOMPARE(h.disableDialPrefix, 1);
        QCOMPARE(h.planTime.toUtc().toSecsSinceEpoch(), plan.toUTC().toSecsSinceEpoch());
        QVERIFY(!h.stopTime.isValidDate());
        QCOMPARE(uploads[0].tiffPages, 2);
        sim.stop();
    }

    void twoOfThreeDevicesShareTheRecipients()
    {
        const QList<Device> devices = addDevices(3);
        QPointer<FaxDetailWindow> w = composer(1, QStringLiteral("a;b;c"));
        QSignalSpy handed(w.data(), &FaxDetailWindow::intent_to_sendbox);
        TestSupport::find<QAction>(w, "action_send")->trigger();
        auto* chooser = w->findChild<SelectDeviceWidget*>();
        QVERIFY(chooser);
        QVERIFY(chooser->isVisible());
        auto* list = TestSupport::find<QListView>(chooser, "listView");
        QCOMPARE(list->model()->rowCount(), 3);
        auto* send = TestSupport::find<QPushButton>(chooser, "button_send");

        QTest::mouseClick(send, Qt::LeftButton); // nothing chosen: the dialog stays
        QVERIFY(chooser->isVisible());
        QCOMPARE(handed.count(), 0);

        list->selectionModel()->select(list->model()->index(2, 0), QItemSelectionModel::Select);
        list->selectionModel()->select(list->model()->index(0, 0), QItemSelectionModel::Select);
        QTest::mouseClick(send, Qt::LeftButton);
        QTRY_COMPARE(handed.count(), 1);
        QTRY_VERIFY(w.isNull());

        // The first chosen device takes a and b, the second c; the third gets no file.
        const QList<Fax> faxes = handed[0][0].value<QList<Fax>>();
        QCOMPARE(faxes.size(), 3);
        QCOMPARE(faxes[0].cid + faxes[1].cid + faxes[2].cid, QStringLiteral("abc"));
        QCOMPARE(faxes[0].serverID, devices[2].productID);
        QCOMPARE(faxes[1].serverID, devices[2].productID);
        QCOMPARE(faxes[2].serverID, devices[0].productID);
        QVERIFY(faxes[0].filepath != faxes[2].filepath);
        QVERIFY(QFileInfo::exists(faxes[0].filepath) && QFileInfo::exists(faxes[2].filepath));
        const QString unused = TestSupport::documentsPath() + gUser.nickname + "/" + devices[1].productID + "/FaxFile";
        QVERIFY(QDir(unused).entryList(QDir::Files).isEmpty());
    }
};

VELKOR_TEST_MAIN(TestSendAndOptions)
#include "TestSendAndOptions.moc"

#include "AdminTestSim.h"
#include "AppSettings.h"
#include "DeviceController.h"
#include "DeviceLogWidget.h"
#include "DeviceProtocol.h"
#include "EmailSettingWidget.h"
#include "FaxDetailWidget.h"
#include "MessageBoxUtil.h"
#include "NetworkSettingWidget.h"
#include "TestSupport.h"
#include "UserAccountWidget.h"

#include <QApplication>
#include <QDateEdit>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>

using namespace AdminTestSim;
using TestSupport::find;

// What the device did not give is neither written back nor lost in silence.
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
        QCOMPARE(clickForBox(find<QPushButton>(&mail, "button_apply")).kind, QStringLiteral("info"));
        QCOMPARE(sim->device()->smtp().value(QStringLiteral("SMTP_PWD")), QStringLiteral("public-secret"));

        UserAccountWidget users;
        users.setDevice(device);
        QVERIFY(idle(&users));
        QTRY_COMPARE(find<QLineEdit>(&users, "edit_username")->text(), QStringLiteral("clerk"));
        QVERIFY(idle(&users));
        QCOMPARE(clickForBox(find<QPushButton>(&users, "button_apply")).kind, QStringLiteral("info"));
        SimUser stored;
        QVERIFY(sim->device()->user(QStringLiteral("clerk"), &stored));
        QCOMPARE(stored.fields.value(QStringLiteral("SMTP_PWD")), QStringLiteral("own-secret"));
        QCOMPARE(stored.storedPassword, clerk.storedPassword);

        // A new account must have a password of its own.
        QTest::mouseClick(find<QPushButton>(&users, "button_addUser"), Qt::LeftButton);
        find<QLineEdit>(&users, "edit_username")->setText(QStringLiteral("newcomer"));
        const MessageBoxUtil::Shown box = clickForBox(find<QPushButton>(&users, "button_apply"));
        QCOMPARE(box.kind, QStringLiteral("warning"));
        QCOMPARE(box.text, QStringLiteral("请为新用户输入密码"));
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

VELKOR_TEST_MAIN(TestFailedLoads)
#include "TestFailedLoads.moc"

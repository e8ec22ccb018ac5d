#include "AdminTestSim.h"
#include "DeviceProtocol.h"
#include "EmailSettingWidget.h"
#include "MessageBoxUtil.h"
#include "NetworkSettingWidget.h"
#include "TestSupport.h"
#include "TimeZoneWidget.h"
#include "UserAccountWidget.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QRadioButton>

using namespace AdminTestSim;
using TestSupport::find;

namespace {

// Waits until the panel's command has finished.
bool idle(QWidget* panel)
{
    auto* busy = find<QLabel>(panel, "label_busy");
    return QTest::qWaitFor([busy] { return busy->isHidden(); }, 20000);
}

// Clicks and returns the one message box that follows.
MessageBoxUtil::Shown clickForBox(QPushButton* button)
{
    MessageBoxUtil::clear();
    QTest::mouseClick(button, Qt::LeftButton);
    if (!QTest::qWaitFor([] { return !MessageBoxUtil::shown().isEmpty(); }, 20000))
        return {};
    return MessageBoxUtil::takeShown().first();
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

} // namespace

// The network, mail, time and user panels against the device stand-in.
class TestSettingPanels : public QObject
{
    Q_OBJECT

    std::unique_ptr<DeviceSimRunner> m_settings;
    std::unique_ptr<DeviceSimRunner> m_users;
    Device m_settingsDevice;
    Device m_usersDevice;

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
    }

    void init() { MessageBoxUtil::clear(); }

    void cleanupTestCase()
    {
        m_settings.reset();
        m_users.reset();
    }

    void networkShowsAndSendsAddresses()
    {
        NetworkSettingWidget panel;
        panel.setDevice(m_settingsDevice);
        auto* apply = find<QPushButton>(&panel, "button_apply");
        QVERIFY(!find<QLabel>(&panel, "label_busy")->isHidden());
        QVERIFY(!apply->isEnabled());
        QVERIFY(idle(&panel));
        QVERIFY(apply->isEnabled());
        QCOMPARE(find<QLineEdit>(&panel, "edit_ipAddress")->text(), QStringLiteral("192.168.1.200"));
        QCOMPARE(find<QLineEdit>(&panel, "edit_macAddress")->text(), QStringLiteral("00:1A:2B:3C:4D:5E"));
        QCOMPARE(find<QLabel>(&panel, "label_status")->text(), QStringLiteral("CONNECTED"));
        // The device has no second and third address: they show, and go back, as 0.0.0.0.
        QCOMPARE(find<QLineEdit>(&panel, "edit_ipAddress2")->text(), QStringLiteral("0.0.0.0"));
        QCOMPARE(find<QLineEdit>(&panel, "edit_ipAddress3")->text(), QStringLiteral("0.0.0.0"));
        auto* manual = find<QRadioButton>(&panel, "radio_manual");
        auto* dhcp = find<QRadioButton>(&panel, "radio_dhcp");
        QVERIFY(manual->isChecked());
        QVERIFY(find<QLineEdit>(&panel, "edit_dns")->isEnabled());

        MessageBoxUtil::Shown box = clickForBox(apply);
        QCOMPARE(box.kind, QStringLiteral("info"));
        QCOMPARE(box.title, QStringLiteral("Velkor 消息"));
        QCOMPARE(box.text, QStringLiteral("修改网咯参数设置成功"));
        QVERIFY(lastRequest(*m_settings, "NETWORK_SETTING")
                    .contains("<DHCPENABLE>disable</DHCPENABLE><IP>192.168.1.200</IP><IP2>0.0.0.0</IP2>"
                              "<IP3>0.0.0.0</IP3><SUBNETMASK>255.255.255.0</SUBNETMASK>"));
        QVERIFY(lastRequest(*m_settings, "NETWORK_SETTING").endsWith("<VERIFY>false</VERIFY>"));

        // DHCP with the safety check: the address edits close, "enable" and "true" go out.
        dhcp->click();
        QVERIFY(!find<QLineEdit>(&panel, "edit_ipAddress")->isEnabled());
        QVERIFY(!find<QLineEdit>(&panel, "edit_router")->isEnabled());
        find<QCheckBox>(&panel, "checkBox")->setChecked(true);
        QCOMPARE(clickForBox(apply).kind, QStringLiteral("info"));
        QCOMPARE(m_settings->device()->network().value("DHCPENABLE"), QStringLiteral("enable"));
        QCOMPARE(m_settings->device()->network().value("VERIFY"), QStringLiteral("true"));

        // Shown again, the device's DHCP checks that radio; picking manual sends "disable".
        panel.setDevice(m_settingsDevice);
        QVERIFY(idle(&panel));
        QVERIFY(dhcp->isChecked());
        QVERIFY(!find<QLineEdit>(&panel, "edit_ipAddress")->isEnabled());
        manual->click();
        QVERIFY(find<QLineEdit>(&panel, "edit_ipAddress")->isEnabled());
        QCOMPARE(clickForBox(apply).kind, QStringLiteral("info"));
        QCOMPARE(m_settings->device()->network().value("DHCPENABLE"), QStringLiteral("disable"));

        // A refusal is a warning.
        find<QLineEdit>(&panel, "edit_ipAddress")->setText(QStringLiteral("not an address"));
        box = clickForBox(apply);
        QCOMPARE(box.kind, QStringLiteral("warning"));
        QCOMPARE(box.text, QStringLiteral("修改网咯参数设置失败"));

        // A device that does not answer: a failed change, and a load that empties the panel.
        DeviceProtocol::setTestTimeoutDivisor(30);
        m_settings->device()->addFault(SimFault::make("NETWORK_SETTING", SimFault::Silent));
        QCOMPARE(clickForBox(apply).kind, QStringLiteral("warning"));
        m_settings->device()->addFault(SimFault::make("GET_NETWORK_SETTING", SimFault::Silent));
        panel.setDevice(m_settingsDevice);
        QVERIFY(idle(&panel));
        m_settings->device()->clearFaults();
        DeviceProtocol::setTestTimeoutDivisor(1);
        QVERIFY(find<QLineEdit>(&panel, "edit_ipAddress")->text().isEmpty());
        QVERIFY(find<QLineEdit>(&panel, "edit_macAddress")->text().isEmpty());
        QCOMPARE(find<QLineEdit>(&panel, "edit_ipAddress3")->text(), QStringLiteral("0.0.0.0"));
        QVERIFY(dhcp->isChecked());
    }

    void mailSendsItsFourFields()
    {
        EmailSettingWidget panel;
        panel.setDevice(m_settingsDevice);
        QVERIFY(idle(&panel));
        QCOMPARE(find<QLineEdit>(&panel, "edit_smtpAddress")->text(), QStringLiteral("smtp.example.com"));
        QCOMPARE(find<QLineEdit>(&panel, "edit_smtpUser")->text(), QStringLiteral("fax"));
        QCOMPARE(find<QLineEdit>(&panel, "edit_emailFrom")->text(), QStringLiteral("fax@example.com"));
        QVERIFY(find<QLineEdit>(&panel, "edit_smtpPwd")->text().isEmpty());

        // The untouched password field goes as an empty password.
        find<QLineEdit>(&panel, "edit_smtpUser")->setText(QStringLiteral("office"));
        MessageBoxUtil::Shown box = clickForBox(find<QPushButton>(&panel, "button_apply"));
        QCOMPARE(box.kind, QStringLiteral("info"));
        QCOMPARE(box.text, QStringLiteral("修改公共SMTP设置成功"));
        QVERIFY(lastRequest(*m_settings, "SET_PUB_SMTP_SETTING")
                    .endsWith("<SMTP_ADDR>smtp.example.com</SMTP_ADDR><SMTP_USER>office</SMTP_USER>"
                              "<EMAIL_ADDR_FROM>fax@example.com</EMAIL_ADDR_FROM><SMTP_PWD></SMTP_PWD>"));
        QCOMPARE(m_settings->device()->smtp().value("SMTP_PWD"), QString());
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
        QCOMPARE(clickForBox(find<QPushButton>(&panel, "button_apply")).kind, QStringLiteral("info"));
        QVERIFY(lastRequest(*m_settings, "SET_TIME_SETTING")
                    .endsWith("<YEAR>2025</YEAR><MONTH>03</MONTH><DAY>04</DAY><HOUR>05</HOUR><MINUTE>06</MINUTE>"
                              "<SECOND>07</SECOND><FSK_SYNC>true</FSK_SYNC><FSK_TIME_ZONE>-480</FSK_TIME_ZONE>"
                              "<FSK_TIME_ZONE_NAME>12345</FSK_TIME_ZONE_NAME>"));

        // A picked row and the ticked box replace them.
        combo->setCurrentIndex(13);
        fsk->setChecked(true);
        MessageBoxUtil::Shown box = clickForBox(find<QPushButton>(&panel, "button_apply"));
        QCOMPARE(box.text, QStringLiteral("服务器时间设置修改成功"));
        QVERIFY(lastRequest(*m_settings, "SET_TIME_SETTING")
                    .endsWith("<FSK_SYNC>TRUE</FSK_SYNC><FSK_TIME_ZONE>-480</FSK_TIME_ZONE>"
                              "<FSK_TIME_ZONE_NAME>389818429</FSK_TIME_ZONE_NAME>"));

        // Shown again: the device's pair now selects its row, "TRUE" ticks the box.
        combo->setCurrentIndex(0);
        fsk->setChecked(false);
        panel.setDevice(m_settingsDevice);
        QVERIFY(idle(&panel));
        QCOMPARE(combo->currentIndex(), 13);
        QCOMPARE(combo->currentText(), QStringLiteral("UTC+08:00 中国大陆,香港"));
        QVERIFY(fsk->isChecked());
        const QDateTime set(QDate(2025, 3, 4), QTime(5, 6, 7), Qt::UTC);
        QVERIFY(edit->dateTime() >= set && edit->dateTime() < set.addSecs(30));

        // A time the device refuses is a warning.
        m_settings->device()->addFault(SimFault::make("SET_TIME_SETTING", SimFault::Feedback, 0, 0, "PARAM_ERROR"));
        box = clickForBox(find<QPushButton>(&panel, "button_apply"));
        m_settings->device()->clearFaults();
        QCOMPARE(box.kind, QStringLiteral("warning"));
        QCOMPARE(box.text, QStringLiteral("服务器时间设置修改失败"));
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
            QCOMPARE(clickForBox(apply).text, QStringLiteral("用户信息修改成功"));
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
        QCOMPARE(clickForBox(apply).kind, QStringLiteral("info"));
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
        QVERIFY(panel.isAdding());
        QVERIFY(add->isHidden());
        QCOMPARE(del->text(), QStringLiteral("取消"));
        QCOMPARE(apply->text(), QStringLiteral("确定"));
        QVERIFY(!list->isEnabled());
        QVERIFY(name->isEnabled());
        QVERIFY(name->text().isEmpty());
        QVERIFY(find<QLineEdit>(&panel, "edit_extNum")->text().isEmpty());
        QCOMPARE(checkedBoxes(&panel), QStringLiteral("send receive"));
        QTest::mouseClick(del, Qt::LeftButton);
        QVERIFY(!panel.isAdding());
        QVERIFY(!add->isHidden());
        QCOMPARE(del->text(), QStringLiteral("删除用户"));
        QCOMPARE(apply->text(), QStringLiteral("应用修改"));
        QVERIFY(list->isEnabled());
        QVERIFY(idle(&panel));
        QCOMPARE(name->text(), QStringLiteral("admin"));
        QCOMPARE(list->count(), accounts);

        // A name the device has already: warning, still adding.
        QTest::mouseClick(add, Qt::LeftButton);
        name->setText(QStringLiteral("alice"));
        MessageBoxUtil::Shown box = clickForBox(apply);
        QCOMPARE(box.kind, QStringLiteral("warning"));
        QCOMPARE(box.title, QStringLiteral("Velkor 信息"));
        QCOMPARE(box.text, QStringLiteral("添加用户失败"));
        QVERIFY(panel.isAdding());

        // A new account with the default rights: 12, the password as its digest, appended and current.
        name->setText(QStringLiteral("carol"));
        find<QLineEdit>(&panel, "edit_password")->setText(QStringLiteral("pw1"));
        box = clickForBox(apply);
        QCOMPARE(box.kind, QStringLiteral("info"));
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
};

VELKOR_TEST_MAIN(TestSettingPanels)
#include "TestSettingPanels.moc"

#include "AdminTestSim.h"
#include "AppSettings.h"
#include "DeviceLogWidget.h"
#include "DeviceManageWidget.h"
#include "DeviceProtocol.h"
#include "DialogUtil.h"
#include "FirmwareUpgradeWidget.h"
#include "MessageBoxUtil.h"
#include "SimFirmware.h"
#include "TestSupport.h"
#include "VersionStatusWidget.h"

#include <QApplication>
#include <QDateEdit>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QStackedWidget>
#include <QTableWidget>
#include <QTemporaryDir>

using namespace AdminTestSim;
using TestSupport::find;

namespace {

QByteArray pattern(int size, int seed)
{
    QByteArray bytes(size, Qt::Uninitialized);
    for (int i = 0; i < size; ++i)
        bytes[i] = char((i * 31 + seed * 7) & 0xFF);
    return bytes;
}

// Clicks once the panel is free again: while a command runs, its buttons are disabled.
void click(QWidget* root, const char* button)
{
    QPushButton* target = find<QPushButton>(root, button);
    if (!QTest::qWaitFor([target] { return target->isEnabled(); }, 20000))
        QTest::qFail("button stays disabled", __FILE__, __LINE__);
    QTest::mouseClick(target, Qt::LeftButton);
}

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

    void cleanupTestCase() { m_sim.reset(); }

    void versionsStorageAndLines()
    {
        VersionStatusWidget panel;
        panel.setDevice(m_device);
        auto* lines = find<QLabel>(&panel, "label_line_stat");
        QTRY_VERIFY_WITH_TIMEOUT(!lines->text().isEmpty(), 20000);
        QCOMPARE(lines->text(), QStringLiteral("线路1:已摘机\t未知:断开\t"));
        QCOMPARE(find<QLabel>(&panel, "label_cid_type")->text(), QStringLiteral("线路1:DTMF\t"));
        QCOMPARE(find<QLabel>(&panel, "label_space")->text(), QStringLiteral("总大小:4096MB 剩余:3521MB"));
        QCOMPARE(find<QLabel>(&panel, "label_mdmver")->text(), QStringLiteral("M56-3.20"));

        // Each word of a line in its place; several blanks make no empty entry.
        QCOMPARE(VersionStatusWidget::lineEntries(QStringLiteral("LINE1:IDLE  LINE2:SENDING LINE2:RECVING LINE1:RINGING"), true),
                 QStringLiteral("线路1:空闲\t线路2:发送中\t线路2:接受中\t线路1:正在振铃\t"));

        // No answer: the labels empty, the line fields without an entry.
        DeviceProtocol::setTestTimeoutDivisor(30);
        m_sim->device()->addFault(SimFault::make("GET_SVR_INFO", SimFault::Silent));
        click(&panel, "button_refresh");
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
        QCOMPARE(find<QDateEdit>(&panel, "date_begin")->date(), QDate::currentDate().addDays(-6));
        QCOMPARE(find<QDateEdit>(&panel, "date_end")->date(), QDate::currentDate());
        panel.setDevice(m_device);
        click(&panel, "button_view_log");
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
        click(&panel, "button_view_log");
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
        click(&panel, "button_select_file");
        QVERIFY(path->text().isEmpty());
        click(&panel, "button_upgrade");
        QTest::qWait(300);
        QCOMPARE(countInLog(*m_sim, "<ACTION>UPDATE_"), uploads);
        QVERIFY(m_sim->device()->firmwareUploads().isEmpty());

        QFile file(m_files.filePath("update.tmp"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(m_firmware);
        file.close();
        DialogUtil::queueAnswer(file.fileName());
        click(&panel, "button_select_file");
        QCOMPARE(path->text(), file.fileName());
        QList<int> values;
        connect(bar, &QProgressBar::valueChanged, this, [&values](int value) { values << value; });
        click(&panel, "button_upgrade");
        QTRY_COMPARE_WITH_TIMEOUT(MessageBoxUtil::shown().size(), 1, 30000);
        const MessageBoxUtil::Shown box = MessageBoxUtil::takeShown().first();
        QCOMPARE(box.kind, QStringLiteral("info"));
        QCOMPARE(box.title, QStringLiteral("Velkor 消息"));
        QVERIFY(box.text.startsWith(QStringLiteral("更新文件上传成功")));
        QVERIFY(m_sim->device()->firmwareUploads().last().matchesExpected);
        // Progress went up by blocks and back to 0 at the end.
        QVERIFY(std::any_of(values.begin(), values.end(), [](int v) { return v > 0 && v < 100; }));
        QCOMPARE(bar->value(), 0);

        // Reboot only after a yes.
        const int resets = m_sim->device()->resetCount();
        MessageBoxUtil::setNextAnswer(QMessageBox::No);
        click(&panel, "button_reboot");
        QCOMPARE(MessageBoxUtil::takeShown().first().text,
                 QStringLiteral("此操作将影响当前用户工作数据,并且服务器将重新启动，您确定要继续吗?"));
        MessageBoxUtil::setNextAnswer(QMessageBox::Yes);
        click(&panel, "button_reboot");
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
            click(&page, e.button);
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
        click(page.panel(DeviceManageWidget::PANEL_DEVICE_LOG), "button_view_log");
        QVERIFY(requested("$STG_DIR$log\\", logs));
        QTRY_VERIFY_WITH_TIMEOUT(find<QPushButton>(page.panel(DeviceManageWidget::PANEL_DEVICE_LOG), "button_view_log")->isEnabled(), 20000);
        AppSettings::userConfig()->remove(AppSettings::KEY_LOG_VIEWER);
        QVERIFY(MessageBoxUtil::shown().isEmpty());
        const int resets = m_sim->device()->resetCount();
        MessageBoxUtil::setNextAnswer(QMessageBox::Yes);
        click(page.panel(DeviceManageWidget::PANEL_FIRMWARE), "button_reboot");
        QTRY_COMPARE_WITH_TIMEOUT(m_sim->device()->resetCount(), resets + 1, 20000);
    }
};

VELKOR_TEST_MAIN(TestStatusPanels)
#include "TestStatusPanels.moc"

#include "AdminTestSim.h"
#include "DeviceProtocol.h"
#include "FaxDetailWidget.h"
#include "FaxSettingWidget.h"
#include "HighOptionWidget.h"
#include "MessageBoxUtil.h"
#include "TestSupport.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTabWidget>

using namespace AdminTestSim;
using TestSupport::find;

namespace {

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

QStringList comboTexts(QComboBox* combo)
{
    QStringList texts;
    for (int i = 0; i < combo->count(); ++i)
        texts << combo->itemText(i);
    return texts;
}

} // namespace

// The line settings panel with one and with two lines, and the advanced parameters panel.
class TestFaxSettingPanels : public QObject
{
    Q_OBJECT

    std::unique_ptr<DeviceSimRunner> m_oneLine;
    std::unique_ptr<DeviceSimRunner> m_twoLines;

private slots:
    void initTestCase()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
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

    void cleanupTestCase()
    {
        m_oneLine.reset();
        m_twoLines.reset();
    }

    void oneLineGivesOneTab()
    {
        FaxSettingWidget panel;
        Device device = deviceOf(m_oneLine->sim()->scenario());
        panel.setDevice(device);
        auto* busy = find<QLabel>(&panel, "label_busy");
        QVERIFY(!busy->isHidden()); // while the device is asked
        auto* tabs = find<QTabWidget>(&panel, "tabWidget");
        QTRY_COMPARE_WITH_TIMEOUT(tabs->count(), 1, 20000);
        QCOMPARE(tabs->tabText(0), QStringLiteral("线路1"));
        FaxDetailWidget* line = loadedTab(tabs, 0);
        QVERIFY(line);
        QTRY_VERIFY(busy->isHidden());
        // No high speeds on this device.
        QCOMPARE(find<QComboBox>(line, "combo_send_speed")->count(), 6);
        QCOMPARE(comboTexts(find<QComboBox>(line, "combo_receive_speed")),
                 (QStringList{"2400 bps", "4800 bps", "9600 bps", "14400 bps"}));
        QCOMPARE(find<QLineEdit>(line, "edit_fax_csid")->text(), QStringLiteral("VELKOR-LINE1"));
        QVERIFY(find<QCheckBox>(line, "check_auto_recv")->isChecked());
        QVERIFY(!find<QCheckBox>(line, "check_must_ext")->isChecked());
        QVERIFY(find<QCheckBox>(line, "check_send_ecm")->isChecked());
        QVERIFY(find<QCheckBox>(line, "check_receive_ecm")->isChecked());
        QCOMPARE(find<QComboBox>(line, "combo_send_priority")->currentText(), QStringLiteral("5"));
        QVERIFY(!find<QCheckBox>(line, "check_disable_line_send")->isChecked());
    }

    void twoLinesGiveTwoTabsReadAndWrittenBack()
    {
        FaxSettingWidget panel;
        Device device = deviceOf(m_twoLines->sim()->scenario());
        panel.setDevice(device);
        auto* tabs = find<QTabWidget>(&panel, "tabWidget");
        QTRY_COMPARE_WITH_TIMEOUT(tabs->count(), 2, 20000);
        QCOMPARE(tabs->tabText(1), QStringLiteral("线路2"));
        FaxDetailWidget* first = loadedTab(tabs, 0);
        FaxDetailWidget* second = loadedTab(tabs, 1);
        QVERIFY(first && second);

        // Line 1 supports high speeds: both combos carry them, once.
        auto* send1 = find<QComboBox>(first, "combo_send_speed");
        auto* recv1 = find<QComboBox>(first, "combo_receive_speed");
        QCOMPARE(send1->count(), 14);
        QCOMPARE(recv1->count(), 12);
        QCOMPARE(send1->currentText(), QStringLiteral("24000 bps"));
        QCOMPARE(recv1->currentText(), QStringLiteral("19200 bps"));

        // Line 2: code 4 shows as 14400, priority "-1" disables sending, ECM 2 is receive only.
        auto* recv2 = find<QComboBox>(second, "combo_receive_speed");
        QCOMPARE(recv2->count(), 4);
        QCOMPARE(recv2->currentText(), QStringLiteral("14400 bps"));
        QVERIFY(find<QCheckBox>(second, "check_disable_line_send")->isChecked());
        QCOMPARE(find<QComboBox>(second, "combo_send_priority")->currentText(), QStringLiteral("5"));
        QVERIFY(!find<QCheckBox>(second, "check_send_ecm")->isChecked());
        QVERIFY(find<QCheckBox>(second, "check_receive_ecm")->isChecked());
        QVERIFY(find<QCheckBox>(second, "check_disable_deep")->isChecked());
        QCOMPARE(find<QComboBox>(second, "combo_mrecv_code")->currentText(), QStringLiteral("##"));

        // Applying line 2 unchanged sends what it read, the speed on its own code.
        QTest::mouseClick(find<QPushButton>(second, "button_apply"), Qt::LeftButton);
        QTRY_COMPARE_WITH_TIMEOUT(MessageBoxUtil::shown().size(), 1, 20000);
        const QString request = lastRequest(*m_twoLines, "SET_FAX_SETTING");
        QVERIFY(request.contains(QStringLiteral("<ECM>2</ECM><MAX_SPEED>5</MAX_SPEED><RECV_SPEED>5</RECV_SPEED>")));
        QVERIFY(request.contains(QStringLiteral("<DIS_BEEP>true</DIS_BEEP>")));
        QVERIFY(request.contains(QStringLiteral("<SEND_PRIORITY>-1</SEND_PRIORITY><MRECV_CODE>##</MRECV_CODE><LINE_NUM>2</LINE_NUM>")));
        MessageBoxUtil::Shown box = MessageBoxUtil::takeShown().first();
        QCOMPARE(box.kind, QStringLiteral("info"));
        QCOMPARE(box.title, QStringLiteral("Velkor 消息"));
        QCOMPARE(box.text, QStringLiteral("设置服务器传真参数成功"));

        // Line 1 changed: the high receive speed goes back on its code, sending on again.
        recv1->setCurrentText(QStringLiteral("33600 bps"));
        find<QCheckBox>(first, "check_send_ecm")->setChecked(false);
        find<QComboBox>(first, "combo_send_priority")->setCurrentText(QStringLiteral("7"));
        QTest::mouseClick(find<QPushButton>(first, "button_apply"), Qt::LeftButton);
        QTRY_COMPARE_WITH_TIMEOUT(MessageBoxUtil::shown().size(), 1, 20000);
        MessageBoxUtil::clear();
        const QMap<QString, QString> stored = m_twoLines->device()->lineSettings(1);
        QCOMPARE(stored.value("RECV_SPEED"), QStringLiteral("13"));
        QCOMPARE(stored.value("MAX_SPEED"), QStringLiteral("9"));
        QCOMPARE(stored.value("ECM"), QStringLiteral("2"));
        QCOMPARE(stored.value("SEND_PRIORITY"), QStringLiteral("7"));

        // A refusal is a warning.
        m_twoLines->device()->addFault(SimFault::make("SET_FAX_SETTING", SimFault::Feedback, 0, 0, "NO_PERMISSION"));
        QTest::mouseClick(find<QPushButton>(first, "button_apply"), Qt::LeftButton);
        QTRY_COMPARE_WITH_TIMEOUT(MessageBoxUtil::shown().size(), 1, 20000);
        box = MessageBoxUtil::takeShown().first();
        QCOMPARE(box.kind, QStringLiteral("warning"));
        QCOMPARE(box.text, QStringLiteral("设置服务器传真参数失败"));
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
        QTRY_COMPARE_WITH_TIMEOUT(MessageBoxUtil::shown().size(), 1, 20000);
        MessageBoxUtil::Shown box = MessageBoxUtil::takeShown().first();
        QCOMPARE(box.kind, QStringLiteral("info"));
        QCOMPARE(box.title, QStringLiteral("Velkor 消息"));
        QCOMPARE(box.text, QStringLiteral("修改高级参数设置成功"));
        QVERIFY(m_oneLine->device()->configText().contains(QStringLiteral("MaxRetry=5\n")));

        DeviceProtocol::setTestTimeoutDivisor(30);
        m_oneLine->device()->addFault(SimFault::make("UP_FILE", SimFault::Silent));
        QTest::mouseClick(apply, Qt::LeftButton);
        QTRY_COMPARE_WITH_TIMEOUT(MessageBoxUtil::shown().size(), 1, 20000);
        box = MessageBoxUtil::takeShown().first();
        QCOMPARE(box.kind, QStringLiteral("warning"));
        QCOMPARE(box.text, QStringLiteral("修改高级参数设置失败"));
        m_oneLine->device()->clearFaults();
        DeviceProtocol::setTestTimeoutDivisor(1);
    }
};

VELKOR_TEST_MAIN(TestFaxSettingPanels)
#include "TestFaxSettingPanels.moc"

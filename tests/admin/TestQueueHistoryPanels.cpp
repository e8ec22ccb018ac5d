#include "AdminTestSim.h"
#include "DeviceProtocol.h"
#include "FaxDetailWindow.h"
#include "FaxDistributeDialog.h"
#include "FaxHistoryWidget.h"
#include "FaxQueueWidget.h"
#include "MessageBoxUtil.h"
#include "TestSupport.h"
#include "TimeUtil.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDateEdit>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTableWidget>

using namespace AdminTestSim;
using TestSupport::find;

namespace {

QString cell(QTableWidget* table, int row, int column)
{
    const QTableWidgetItem* item = table->item(row, column);
    return item ? item->text() : QStringLiteral("<none>");
}

// The row whose column holds text; -1 when there is none.
int rowOf(QTableWidget* table, int column, const QString& text)
{
    for (int row = 0; row < table->rowCount(); ++row)
        if (cell(table, row, column) == text)
            return row;
    return -1;
}

int openEditors(QWidget* owner)
{
    return owner->findChildren<FaxDetailWindow*>().size();
}

// Clicks once the panel is free again: while a command runs, its buttons are disabled.
void click(QWidget* root, const char* button)
{
    QPushButton* target = find<QPushButton>(root, button);
    if (!QTest::qWaitFor([target] { return target->isEnabled(); }, 20000))
        QTest::qFail("button stays disabled", __FILE__, __LINE__);
    QTest::mouseClick(target, Qt::LeftButton);
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
        SimSentRecord waiting;
        waiting.task = 601;
        waiting.status = 5;
        waiting.priority = 3;
        waiting.number = QStringLiteral("01066668888");
        waiting.receiver = QStringLiteral("Wang");
        waiting.sender = QStringLiteral("admin");
        waiting.remark = QStringLiteral("urgent");
        SimSentRecord sent;
        sent.task = 602;
        sent.status = 2;
        sent.number = QStringLiteral("02177776666");
        sent.receiver = QStringLiteral("Zhao");
        sent.sender = QStringLiteral("admin");
        sent.timeUtc = QDateTime::currentDateTimeUtc().addSecs(-3600);
        SimSentRecord failed = sent;
        failed.task = 603;
        failed.status = 1;
        failed.number = QStringLiteral("02955553333");
        s.history << waiting << sent << failed;
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

    void cleanupTestCase() { m_sim.reset(); }

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
        click(&panel, "button_content");
        QTest::qWait(200);
        QCOMPARE(countInLog(*m_sim, "<ACTION>DOWN_FILE</ACTION>"), downloads);

        // Viewing fetches the file once; a second look opens it from the disk.
        table->setCurrentCell(0, 0);
        click(&panel, "button_content");
        QTRY_COMPARE_WITH_TIMEOUT(openEditors(&panel), 1, 20000);
        QCOMPARE(countInLog(*m_sim, "<ACTION>DOWN_FILE</ACTION>"), downloads + 1);
        click(&panel, "button_content");
        QTRY_COMPARE_WITH_TIMEOUT(openEditors(&panel), 2, 20000);
        QCOMPARE(countInLog(*m_sim, "<ACTION>DOWN_FILE</ACTION>"), downloads + 1);
        QVERIFY(!panel.findChildren<FaxDetailWindow*>().first()->pages().isEmpty());

        // A stop the device accepts takes the row away.
        click(&panel, "button_stop_send");
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
        click(&panel, "button_search");
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
        QCOMPARE(users->itemText(0), QStringLiteral("所有用户"));
        QCOMPARE(users->itemText(2), QStringLiteral("clerk"));

        auto search = [&] {
            const int before = countInLog(*m_sim, "query history");
            click(&panel, "button_search");
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
        click(&panel, "button_delete");
        QTRY_COMPARE_WITH_TIMEOUT(rowOf(table, 7, QStringLiteral("603")), -1, 20000);
        QVERIFY(MessageBoxUtil::shown().isEmpty());
        QVERIFY(lastRequest(*m_sim, "DELETE_FAX").startsWith("<ACTION>DELETE_FAX</ACTION><TASKID>603</TASKID>"));

        m_sim->device()->setAllowRemove(false);
        table->setCurrentCell(rowOf(table, 7, QStringLiteral("602")), 0);
        click(&panel, "button_delete");
        QTRY_COMPARE_WITH_TIMEOUT(MessageBoxUtil::shown().size(), 1, 20000);
        MessageBoxUtil::Shown box = MessageBoxUtil::takeShown().first();
        QCOMPARE(box.kind, QStringLiteral("warning"));
        QCOMPARE(box.title, QStringLiteral("Velkor 消息"));
        QCOMPARE(box.text, QStringLiteral("当前设置不允许彻底删除"));
        QVERIFY(rowOf(table, 7, QStringLiteral("602")) >= 0);
        m_sim->device()->setAllowRemove(true);

        m_sim->device()->addFault(SimFault::make("DELETE_FAX", SimFault::Feedback, 0, 0, "FAIL"));
        click(&panel, "button_delete");
        QTRY_COMPARE_WITH_TIMEOUT(MessageBoxUtil::shown().size(), 1, 20000);
        QCOMPARE(MessageBoxUtil::takeShown().first().text, QStringLiteral("删除失败"));
        QVERIFY(rowOf(table, 7, QStringLiteral("602")) >= 0);

        // Viewing the received fax opens it in the editor.
        table->setCurrentCell(rowOf(table, 7, QString::number(m_receivedTask)), 0);
        click(&panel, "button_content");
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
        click(dialog, "button_ok");
        QTRY_VERIFY_WITH_TIMEOUT(dialog.isNull(), 20000);
        QCOMPARE(lastRequest(*m_sim, "DISTRIBUTE_FAX"),
                 QStringLiteral("<ACTION>DISTRIBUTE_FAX</ACTION><TASKID>%1</TASKID><RECV_LIST>clerk,li</RECV_LIST>").arg(task));
        QCOMPARE(m_sim->device()->receivedFaxes().size(), before + 1);
    }
};

VELKOR_TEST_MAIN(TestQueueHistoryPanels)
#include "TestQueueHistoryPanels.moc"

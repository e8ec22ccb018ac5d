#include "../sending/SendingTestData.h"
#include "AppSettings.h"
#include "DatabaseManager.h"
#include "DeleteBoxWidget.h"
#include "DestopTip.h"
#include "Device.h"
#include "DeviceProtocol.h"
#include "DeviceSimRunner.h"
#include "DialogUtil.h"
#include "Fax.h"
#include "FaxDetailWindow.h"
#include "FaxExporter.h"
#include "FaxStatus.h"
#include "FaxTable.h"
#include "FolderTestData.h"
#include "MD5Util.h"
#include "MainWindow.h"
#include "MessageBoxUtil.h"
#include "PageFit.h"
#include "MyImageViewer.h"
#include "OCRDialog.h"
#include "OCRUtil.h"
#include "ReceiveBoxWidget.h"
#include "SendBoxWidget.h"
#include "SessionWindows.h"
#include "SettingDialog.h"
#include "UiTestSupport.h"
#include "TiffUtil.h"
#include "TimeUtil.h"

#include <QAction>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QGuiApplication>
#include <QHeaderView>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPainter>
#include <QPointer>
#include <QScrollArea>
#include <QProcess>
#include <QPushButton>
#include <QRegularExpression>
#include <QScreen>
#include <QSignalSpy>
#include <QSpinBox>
#include <QStackedWidget>
#include <QTableWidget>
#include <QTest>
#include <QTextEdit>
#include <QTimer>
#include <QTreeWidget>
#include <QWidget>
#include <memory>

using namespace FolderTestData;
using namespace TestSupport;

namespace {

// Rows 1 and 3 of the five faxes selected and deleted: one signal with both, the others kept in
// order in the folder, its table and the store.
template <typename Box>
void deletesRowsOneAndThree(Box& box, const QList<Fax>& five, int cidColumn, QList<Fax> (DatabaseManager::*stored)())
{
    QSignalSpy deleted(&box, &Box::deleteFax);
    auto* t = TestSupport::find<QTableWidget>(&box, "tableWidget");
    t->setSelectionMode(QAbstractItemView::MultiSelection);
    t->clearSelection();
    t->selectRow(3);
    t->selectRow(1);
    MessageBoxUtil::setNextAnswer(QMessageBox::Yes);
    box.actionDelete();
    QCOMPARE(deleted.count(), 1);
    QCOMPARE(TestSupport::ids(deleted.at(0).at(0).value<QList<Fax>>()), (QList<int>{five[1].id, five[3].id}));
    const QList<int> kept{five[0].id, five[2].id, five[4].id};
    QCOMPARE(TestSupport::ids(box.faxes()), kept);
    DatabaseManager db;
    QCOMPARE(TestSupport::ids((db.*stored)()), kept);
    QCOMPARE(TestSupport::column(t, cidColumn), (QStringList{five[0].cid, five[2].cid, five[4].cid}));
}

} // namespace

namespace {

QList<FaxDetailWindow*> editors()
{
    QList<FaxDetailWindow*> list;
    for (QWidget* w : QApplication::topLevelWidgets())
        if (auto* editor = qobject_cast<FaxDetailWindow*>(w))
            list << editor;
    return list;
}

void closeEditors()
{
    for (FaxDetailWindow* editor : editors())
        delete editor;
}

// Pages of a PDF as QPdfWriter writes it: one "/Type /Page" object each.
int pdfPages(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return -1;
    const QByteArray bytes = file.readAll();
    const QString text = QString::fromLatin1(bytes.constData(), bytes.size()); // binary: past every NUL
    return text.count(QRegularExpression(QStringLiteral("/Type\\s*/Page(?!s)")));
}

} // namespace

class TestMainWindow : public QObject
{
    Q_OBJECT

    QPointer<MainWindow> m_window;
    QList<Fax> m_received; // newest first, as the inbox shows them
    QList<Fax> m_sent;
    QString m_faxFile;

    QStackedWidget* stack() { return TestSupport::find<QStackedWidget>(m_window, "stackedWidget"); }
    QTreeWidget* tree() { return TestSupport::find<QTreeWidget>(m_window, "treeWidget"); }
    QAction* action(const char* name) { return TestSupport::find<QAction>(m_window, name); }
    static QTableWidget* table(QWidget* folder) { return TestSupport::find<QTableWidget>(folder, "tableWidget"); }

    void clickTree(int index)
    {
        QTreeWidgetItem* item = tree()->topLevelItem(index);
        const QRect rect = tree()->visualItemRect(item);
        QTest::mouseClick(tree()->viewport(), Qt::LeftButton, {}, rect.center());
    }

private slots:
    void initTestCase()
    {
        DeviceProtocol::setTestTimeoutDivisor(10);
        qRegisterMetaType<Fax>("Fax&");
    }

    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        const int device = addDevice(QStringLiteral("PID0001"));
        m_faxFile = TestSupport::documentsPath() + QStringLiteral("three.tif");
        QVERIFY(writeFaxFile(m_faxFile, {1728, 1728, 1200}));
        m_received.clear();
        m_sent.clear();
        for (int i = 0; i < 3; ++i) {
            Fax fax = receivedFax(QStringLiteral("2024-03-0%1 10:00:00").arg(9 - i), 12, QStringLiteral("80%1").arg(i),
                                  QStringLiteral("S%1").arg(i));
            fax.filepath = m_faxFile;
            m_received << addFax(fax, device);
        }
        for (int i = 0; i < 2; ++i)
            m_sent << addFax(sentFax(QStringLiteral("2024-04-0%1 10:00:00").arg(9 - i), 2, QStringLiteral("90%1").arg(i),
                                     QStringLiteral("R%1").arg(i)),
                             device);
        m_window = new MainWindow;
        m_window->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_window));
    }

    void cleanup()
    {
        closeEditors();
        delete m_window;
        SessionWindows::setLoginWindowFactory({});
    }

    void startsOnTheInboxWithTheSpecifiedFrame()
    {
        QCOMPARE(tree()->topLevelItemCount(), 3);
        QCOMPARE(stack()->currentIndex(), 0);
        QCOMPARE(stack()->widget(0), static_cast<QWidget*>(m_window->receiveBox()));
        QCOMPARE(stack()->widget(1), static_cast<QWidget*>(m_window->sendBox()));
        QCOMPARE(stack()->widget(2), static_cast<QWidget*>(m_window->deleteBox()));
        QCOMPARE(ids(m_window->receiveBox()->faxes()), ids(m_received));
        QCOMPARE(ids(m_window->sendBox()->faxes()), ids(m_sent));

        // The receive progress reaches the second status label.
        m_window->showProgress(QStringLiteral("正在接收 1/3"));
        auto* progress = TestSupport::find<QLabel>(m_window, "label_status_progress");
        QCOMPARE(progress->text(), QStringLiteral("正在接收 1/3"));
    }

    void treeSwitchesPagesAndClearsSelections()
    {
        QTableWidget* inbox = table(m_window->receiveBox());
        inbox->selectRow(1);
        QCOMPARE(inbox->currentRow(), 1);
        clickTree(1);
        QCOMPARE(stack()->currentIndex(), 1);
        QCOMPARE(inbox->currentItem(), nullptr);
        QCOMPARE(m_window->receiveBox()->getSelectItemPath().id, 0);

        QTableWidget* outbox = table(m_window->sendBox());
        outbox->selectRow(0);
        clickTree(2);
        QCOMPARE(stack()->currentIndex(), 2);
        QCOMPARE(outbox->currentItem(), nullptr);
        clickTree(0);
        QCOMPARE(stack()->currentIndex(), 0);
    }

    void replyOpensTheEditorOnlyFromTheInbox()
    {
        // Outbox and deleted items: nothing opens.
        clickTree(1);
        table(m_window->sendBox())->selectRow(0);
        action("action_reply")->trigger();
        clickTree(2);
        action("action_reply")->trigger();
        QVERIFY(editors().isEmpty());

        // Forward from the outbox opens the editor on that fax.
        clickTree(1);
        table(m_window->sendBox())->selectRow(1);
        action("action_forward")->trigger();
        QCOMPARE(editors().size(), 1);
        closeEditors();

        clickTree(0);
        table(m_window->receiveBox())->selectRow(2);
        action("action_reply")->trigger();
        QCOMPARE(editors().size(), 1);
        // A reply starts with the sender's number as recipient.
        auto* recipient = TestSupport::find<QLineEdit>(editors().first(), "edit_phone_2");
        QCOMPARE(recipient->text(), m_received[2].cid);
    }

    void deleteAndRestoreGoThroughTheDeletedItems()
    {
        table(m_window->receiveBox())->selectRow(1);
        MessageBoxUtil::setNextAnswer(QMessageBox::Yes);
        action("action_delete")->trigger();
        QCOMPARE(ids(m_window->receiveBox()->faxes()), (QList<int>{m_received[0].id, m_received[2].id}));
        clickTree(1);
        table(m_window->sendBox())->selectRow(0);
        MessageBoxUtil::setNextAnswer(QMessageBox::Yes);
        action("action_delete")->trigger();
        QCOMPARE(ids(m_window->sendBox()->faxes()), QList<int>{m_sent[1].id});
        QCOMPARE(ids(m_window->deleteBox()->faxes()), (QList<int>{m_sent[0].id, m_received[1].id}));

        // Restoring each returns it to its own folder by tag.
        clickTree(2);
        QTableWidget* deleted = table(m_window->deleteBox());
        deleted->selectRow(0);
        m_window->deleteBox()->restore();
        QCOMPARE(ids(m_window->sendBox()->faxes()), (QList<int>{m_sent[0].id, m_sent[1].id}));
        deleted->selectRow(0);
        m_window->deleteBox()->restore();
        QVERIFY(ids(m_window->receiveBox()->faxes()).contains(m_received[1].id));
        QVERIFY(m_window->deleteBox()->faxes().isEmpty());
        QVERIFY(editors().isEmpty());
    }

    void saveAsWritesOnePdfPagePerFaxPage()
    {
        QCOMPARE(MainWindow::pdfFileName(QStringLiteral("/tmp/a.PDF")), QStringLiteral("/tmp/a.PDF"));
        table(m_window->receiveBox())->selectRow(0);
        const QString chosen = TestSupport::documentsPath() + QStringLiteral("export/fax 'one'");
        QVERIFY(QDir().mkpath(QFileInfo(chosen).path()));
        DialogUtil::queueAnswer(chosen);
        action("action_save_as")->trigger();
        QCOMPARE(pdfPages(chosen + QStringLiteral(".pdf")), 3);
        QVERIFY(!QFileInfo::exists(chosen));

        // A cancelled dialog writes nothing.
        DialogUtil::queueCancel();
        action("action_save_as")->trigger();
        QCOMPARE(QDir(QFileInfo(chosen).path()).entryList(QDir::Files).size(), 1);
    }

    void newFaxNoticeStandsAboutSixSeconds()
    {
        QString text = QStringLiteral("收到2份传真");
        m_window->show_tips(text);
        QPointer<DestopTip> tip = m_window->lastTip();
        QVERIFY(tip);
        QCOMPARE(tip->text(), text);
    }

    void editorJobsLandOnTheOutboxPage()
    {
        m_window->switch_sendbox({});
        QCOMPARE(stack()->currentIndex(), 1);
        QCOMPARE(tree()->currentItem(), tree()->topLevelItem(1));
    }

    void switchUserShowsTheLoginWindowAndCloses()
    {
        QPointer<QWidget> login;
        SessionWindows::setLoginWindowFactory([&login]() -> QWidget* {
            login = new QWidget;
            login->setAttribute(Qt::WA_DeleteOnClose);
            return login;
        });
        action("action_switch_user")->trigger();
        QVERIFY(login);
        QVERIFY(login->isVisible());
        QTRY_VERIFY(!m_window);
        delete login;
    }
};

namespace {
const QDateTime kBase(QDate(2024, 5, 6), QTime(7, 30, 0), Qt::UTC);

Fax stored(int id)
{
    const QList<Fax> all = DatabaseManager().queryReceiveFaxes();
    return all.value(ids(all).indexOf(id));
}
} // namespace

class TestReceiveBoxWidget : public QObject
{
    Q_OBJECT

    QList<Fax> m_local; // five stored faxes, newest first; nothing answers at their device's address

    static QTableWidget* table(ReceiveBoxWidget& box) { return TestSupport::find<QTableWidget>(&box, "tableWidget"); }

    // The entries of the menu a right click at pos opens; empty when none opens.
    static QStringList menuAt(ReceiveBoxWidget& box, const QPoint& pos)
    {
        delete box.findChild<QMenu*>(QStringLiteral("menu_right"));
        box.on_tableWidget_customContextMenuRequested(pos);
        QStringList texts;
        if (QMenu* menu = box.findChild<QMenu*>(QStringLiteral("menu_right")))
            for (QAction* a : menu->actions())
                texts << a->text();
        return texts;
    }

private slots:
    void initTestCase()
    {
        DeviceProtocol::setTestTimeoutDivisor(10);
        qRegisterMetaType<Fax>("Fax&");
        qRegisterMetaType<QList<Fax>>("QList<Fax>&");
    }

    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        m_local.clear();
        const int device = addDevice(QStringLiteral("PID0001"));
        const int statuses[] = { 11, 12, 13, 11, 15 };
        for (int i = 0; i < 5; ++i)
            m_local << addFax(receivedFax(QStringLiteral("2024-03-0%1 10:00:00").arg(9 - i), statuses[i],
                                          QStringLiteral("80%1").arg(i), QStringLiteral("S%1").arg(i)), device);
        Device none = DatabaseManager().queryDevices().value(0);
        none.localIP = QStringLiteral("127.0.0.114");
        DatabaseManager().updateDeviceLocalIP(none);
    }

    // First poll 3 s after start; the device's faxes are stored and shown; the next poll comes
    // getFaxTime seconds after the report; a poll that finds nothing raises no notice.
    void pollStoresAndShowsTheDevicesFaxes()
    {
        Scenario scenario;
        scenario.address = QStringLiteral("127.0.0.100");
        scenario.discovery = false;
        for (int i = 0; i < 2; ++i) {
            SimReceivedFax fax;
            fax.task = 1001 + i;
            fax.timeUtc = kBase.addSecs(60 * i); // both newer than the stored ones
            fax.cid = QStringLiteral("555%1").arg(i);
            fax.sender = QStringLiteral("发件人%1").arg(i);
            fax.remark = i ? QStringLiteral("急件") : QString();
            fax.pages = 1 + 2 * i;
            scenario.received << fax;
        }
        DeviceSimRunner sim(scenario);
        sim.setVerbose(true); // logs every request
        QVERIFY(sim.start());
        Device device;
        device.deviceName = QStringLiteral("admin");
        device.productID = scenario.serverId;
        device.devicePassword = MD5Util::call128MD5(QByteArrayLiteral("admin"));
        device.localIP = scenario.address;
        DatabaseManager().inseretDevice(device);
        AppSettings::userConfig()->setValue(AppSettings::KEY_GET_FAX_TIME, 1);
        const auto polls = [&] { return sim.device()->actionLog().filter("<ACTION>GET_NEW_FAX</ACTION>").size(); };

        ReceiveBoxWidget box;
        QSignalSpy tips(&box, &ReceiveBoxWidget::showReceiveFaxTips);
        QSignalSpy progress(&box, &ReceiveBoxWidget::statusShowProgress);
        QTimer* poll = box.findChild<QTimer*>(QStringLiteral("pollTimer"));
        QVERIFY(poll && poll->isActive() && poll->isSingleShot());
        QCOMPARE(poll->interval(), 3000);
        QCOMPARE(table(box)->rowCount(), 5);

        QTRY_COMPARE_WITH_TIMEOUT(tips.count(), 1, 20000);
        QCOMPARE(tips.at(0).at(0).toString(), QStringLiteral("收到2份传真"));
        QVERIFY(progress.last().at(0).toString().isEmpty());
        QCOMPARE(poll->interval(), 1000);
        QCOMPARE(ids(box.faxes()), ids(DatabaseManager().queryReceiveFaxes()));
        QCOMPARE(box.faxes().size(), 7);
        const QStringList newest{ "未读", "5551", "发件人1", "3",
                                  kBase.addSecs(60).toLocalTime().toString(TimeUtil::FORMAT), "急件", "5A3C0001" };
        for (int c = 0; c < 7; ++c)
            QCOMPARE(table(box)->item(0, c)->text(), newest.at(c));
        QCOMPARE(table(box)->item(1, 1)->text(), QStringLiteral("5550"));

        const int asked = polls();
        QTRY_VERIFY_WITH_TIMEOUT(polls() > asked && poll->isActive(), 15000);
        QCOMPARE(tips.count(), 1);
        QCOMPARE(table(box)->rowCount(), 7);
    }

    // Opening marks an unread fax read once and leaves other words; the menu offers the read
    // switch only to read and unread faxes.
    void readStatesAndMenu()
    {
        ReceiveBoxWidget box;
        box.resize(1000, 600);
        QTableWidget* t = table(box);
        box.on_tableWidget_clicked(t->model()->index(0, 1));
        QCOMPARE(t->item(0, 0)->text(), QStringLiteral("已读"));
        QCOMPARE(stored(m_local[0].id).status, 12);
        Fax changed = m_local[0]; // set meanwhile in the store: a second click must not write
        changed.status = 14;
        DatabaseManager().updateFaxReaded(changed);
        box.on_tableWidget_clicked(t->model()->index(0, 1));
        QCOMPARE(stored(m_local[0].id).status, 14);
        box.on_tableWidget_clicked(t->model()->index(2, 0));
        QCOMPARE(t->item(2, 0)->text(), QStringLiteral("已回复"));
        QCOMPARE(stored(m_local[2].id).status, 13);

        const QStringList common{ "回复", "转发", "删除", "内部分发", "添加备注", "保存为联系人", "OCR识别" };
        const auto posOf = [&](int row) { return t->visualItemRect(t->item(row, 1)).center(); };
        QCOMPARE(menuAt(box, posOf(3)), common + QStringList{ "标记为已读" });
        QCOMPARE(menuAt(box, posOf(1)), common + QStringList{ "标记为未读" });
        QCOMPARE(menuAt(box, posOf(2)), common);
        QCOMPARE(menuAt(box, QPoint(5, t->viewport()->height() - 2)), QStringList());

        t->setCurrentCell(1, 0);
        box.actionMakeReaded();
        QCOMPARE(t->item(1, 0)->text(), QStringLiteral("未读"));
        QCOMPARE(stored(m_local[1].id).status, 11);
    }

    // Remark (typed text stored as it is), delete of rows 1 and 3, reply and forward.
    void actionsOnTheSelectedFaxes()
    {
        ReceiveBoxWidget box;
        QTableWidget* t = table(box);
        QSignalSpy replies(&box, &ReceiveBoxWidget::reply);
        QSignalSpy forwards(&box, &ReceiveBoxWidget::forward);

        t->setCurrentCell(3, 0);
        const QString text = QStringLiteral("O'Brien 说 \"明天\"; DROP TABLE FAXES; --");
        DialogUtil::queueAnswer(text);
        box.actionRemark();
        DialogUtil::queueCancel(); // a cancelled second remark changes nothing
        box.actionRemark();
        QCOMPARE(t->item(3, 5)->text(), text);
        QCOMPARE(stored(m_local[3].id).remark, text);

        box.actionReply();
        t->setCurrentCell(4, 0);
        box.actionForward();
        QCOMPARE(replies.value(0).value(0).value<Fax>().id, m_local[3].id);
        QCOMPARE(forwards.value(0).value(0).value<Fax>().id, m_local[4].id);

        deletesRowsOneAndThree(box, m_local, 1, &DatabaseManager::queryReceiveFaxes);
    }
};

namespace {

bool black(const QImage& image, int x, int y)
{
    return qGray(image.pixel(x, y)) < 128;
}

// Whether anything is drawn in the rectangle.
bool inked(const QImage& image, const QRect& r)
{
    for (int y = r.top(); y <= r.bottom(); ++y)
        for (int x = r.left(); x <= r.right(); ++x)
            if (black(image, x, y))
                return true;
    return false;
}
} // namespace

class TestSendBoxWidget : public QObject
{
    Q_OBJECT

    const QString m_address = QStringLiteral("127.0.0.120");

    static QTableWidget* table(SendBoxWidget& box) { return TestSupport::find<QTableWidget>(&box, "tableWidget"); }
    static QString cell(SendBoxWidget& box, int row, int column)
    {
        QTableWidgetItem* item = table(box)->item(row, column);
        return item ? item->text() : QStringLiteral("<none>");
    }

    // The entries of the menu a right click on the row opens, each with "-" appended when it
    // is disabled; empty when no menu opens.
    static QStringList menuAt(SendBoxWidget& box, const QPoint& pos)
    {
        delete box.findChild<QMenu*>(QStringLiteral("menu_right"));
        box.on_tableWidget_customContextMenuRequested(pos);
        QStringList texts;
        if (QMenu* menu = box.findChild<QMenu*>(QStringLiteral("menu_right")))
            for (QAction* a : menu->actions())
                texts << a->text() + (a->isEnabled() ? QString() : QStringLiteral("-"));
        return texts;
    }
    static QStringList menuOfRow(SendBoxWidget& box, int row)
    {
        return menuAt(box, table(box)->visualItemRect(table(box)->item(row, 1)).center());
    }

    // The outbox of a test that talks to the device: status rounds every 100 ms.
    static void speedUp(SendBoxWidget& box)
    {
        QTimer* timer = box.findChild<QTimer*>(QStringLiteral("statusTimer"));
        QVERIFY(timer && timer->isActive());
        QCOMPARE(timer->interval(), 2000);
        timer->setInterval(100);
    }

    // The frame around the report's thumbnail, found from the page's centre outwards.
    static QRect thumbnailFrame(const QImage& report)
    {
        int left = 0, right = report.width() - 1, top = 600, bottom = report.height() - 1;
        while (left < right && !black(report, left, 1349))
            ++left;
        while (right > left && !black(report, right, 1349))
            --right;
        while (top < bottom && !black(report, 863, top))
            ++top;
        while (bottom > top && !black(report, 863, bottom))
            --bottom;
        return QRect(QPoint(left, top), QPoint(right, bottom));
    }

private slots:
    void initTestCase()
    {
        qRegisterMetaType<Fax>("Fax&");
        qRegisterMetaType<QList<Fax>>("QList<Fax>&");
        qRegisterMetaType<QImage>("QImage&");
    }

    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        DeviceProtocol::setTestTimeoutDivisor(1);
    }

    void cleanup()
    {
        QCoreApplication::sendPostedEvents(); // finished threads give back their connections
    }

    // A new job is uploaded at once, shows its task number and then what the device reports,
    // round by round, up to success; the copy of the automatic output is written once.
    void jobIsUploadedAndFollowed()
    {
        const Scenario scenario = SendingTestData::scenarioAt(m_address);
        auto sim = SendingTestData::startSim(scenario);
        const Device device = SendingTestData::storedDevice(scenario);
        const QString out = TestSupport::documentsPath() + QStringLiteral("out");
        auto settings = AppSettings::userSetting();
        settings->setValue(AutoExportKeys::SEND_AUTO_SAVE_AS, true);
        settings->setValue(AutoExportKeys::SEND_AUTO_SAVE_AS_TYPE, int(FaxExporter::TypeTiff));
        settings->setValue(AutoExportKeys::SEND_AUTO_SAVE_AS_PATH, out);
        settings->sync();

        SendBoxWidget box;
        speedUp(box);
        const QString path = SendingTestData::writeFile(
            TestSupport::documentsPath() + QStringLiteral("job.tif"), SendingTestData::tinyTiff(300));
        Fax fax = SendingTestData::storedFax(device, path);
        fax.priority = 3;
        box.insertFaxToList({ fax });
        QCOMPARE(cell(box, 0, 0), QStringLiteral("排队中"));
        QCOMPARE(cell(box, 0, 2), QStringLiteral("高"));

        QTRY_VERIFY(cell(box, 0, 1) != QStringLiteral("0"));
        const int task = SendingTestData::storedColumn(fax.id, "taskID").toInt();
        QVERIFY(task > 0);
        QCOMPARE(cell(box, 0, 1), QString::number(task));
        QCOMPARE(box.faxes().first().taskID, task);

        const auto stepTo = [&](int steps, const QString& progress) {
            sim->device()->advanceJob(quint32(task), steps);
            QTRY_COMPARE(cell(box, 0, 5), progress);
        };
        stepTo(1, QStringLiteral("正在拨号"));
        QCOMPARE(cell(box, 0, 0), QStringLiteral("发送中"));
        QCOMPARE(cell(box, 0, 6), QStringLiteral("1次(2次)"));
        stepTo(2, QStringLiteral("传真握手 14400"));
        stepTo(2, QStringLiteral("已完成0页70%(共1页)"));
        stepTo(1, QStringLiteral("已完成1页100%(共1页)"));
        QCOMPARE(cell(box, 0, 0), QStringLiteral("发送成功"));
        QCOMPARE(SendingTestData::storedColumn(fax.id, "status").toInt(), 2);
        QCOMPARE(cell(box, 0, 7), SendingTestData::storedColumn(fax.id, "time").toString());
        QCOMPARE(box.faxes().first().status, 2);

        QTest::qWait(500); // several more rounds
        QCOMPARE(QDir(out).entryList(QDir::Files), QStringList{ QStringLiteral("job.tif") });
        QCOMPARE(SendingTestData::countLines(sim->device()->actionLog(), QStringLiteral("SENDFAX ")), 1);
    }

    // A refused upload leaves the job waiting, unpolled, until "开始上传" sends it again.
    void failedUploadWaitsForStartUpload()
    {
        const Scenario scenario = SendingTestData::scenarioAt(QStringLiteral("127.0.0.121"));
        auto sim = SendingTestData::startSim(scenario);
        SimFault refuse = SimFault::make(QStringLiteral("SENDFAX"), SimFault::Feedback, 0, 0, QStringLiteral("RECV_FAIL"));
        refuse.times = 1;
        sim->device()->addFault(refuse);
        const Device device = SendingTestData::storedDevice(scenario);

        SendBoxWidget box;
        speedUp(box);
        const QString path = SendingTestData::writeFile(
            TestSupport::documentsPath() + QStringLiteral("job.tif"), SendingTestData::tinyTiff(300));
        const Fax fax = SendingTestData::storedFax(device, path);
        box.insertFaxToList({ fax });
        QTRY_COMPARE(cell(box, 0, 0), QStringLiteral("等待上传"));
        QCOMPARE(SendingTestData::storedColumn(fax.id, "status").toInt(), 3);
        QTest::qWait(400);
        QCOMPARE(cell(box, 0, 0), QStringLiteral("等待上传"));
        QCOMPARE(cell(box, 0, 1), QStringLiteral("0"));
        const QStringList menu = menuOfRow(box, 0);
        QVERIFY(menu.contains(QStringLiteral("开始上传")));
        QVERIFY(menu.contains(QStringLiteral("暂停发送-")));

        table(box)->setCurrentCell(0, 0);
        box.actionReUpload();
        QTRY_VERIFY(cell(box, 0, 1) != QStringLiteral("0"));
        QTRY_COMPARE(cell(box, 0, 0), QStringLiteral("排队中")); // the device's record
        QCOMPARE(SendingTestData::storedColumn(fax.id, "status").toInt(), 5);
        QCOMPARE(SendingTestData::countLines(sim->device()->actionLog(), QStringLiteral("SENDFAX ")), 2);
    }

    // Stored faxes of every sending state: row texts, the menu and its enabled entries, the
    // header state kept between two outboxes.
    void menuFollowsTheStatus()
    {
        const int device = addDevice();
        for (int status = 1; status <= 8; ++status) {
            Fax fax = sentFax(QStringLiteral("2024-03-%1 10:00:00").arg(20 - status), status,
                                              QStringLiteral("80%1").arg(status), QStringLiteral("R%1").arg(status));
            fax.priority = 4;
            fax.taskID = 100 + status;
            addFax(fax, device);
        }
        {
            SendBoxWidget box;
            box.resize(1400, 600);
            QCOMPARE(table(box)->rowCount(), 8);
            const QStringList first{ "发送失败", "101", "紧急", "801", "R1", "已完成0页(共2页)", "0次(0次)",
                                     "2024-03-19 10:00:00", "", "", "PID0001" };
            for (int c = 0; c < first.size(); ++c)
                QCOMPARE(cell(box, 0, c), first.at(c));

            for (int row = 0; row < 8; ++row) {
                const int status = row + 1;
                const QString stop = status == 5 || status == 6 || status == 8 ? "暂停发送" : "暂停发送-";
                const QString upload = status == 3 ? "开始上传" : "开始上传-";
                QCOMPARE(menuOfRow(box, row), (QStringList{ "转发", "重试", "删除", "添加备注", "内部分发", stop,
                                                            upload, "保存为联系人", "传真发送报告" }));
            }
            QCOMPARE(menuAt(box, QPoint(5, table(box)->viewport()->height() - 2)), QStringList());
            table(box)->horizontalHeader()->moveSection(0, 4);
        }
        SendBoxWidget again;
        QCOMPARE(table(again)->horizontalHeader()->visualIndex(0), 4);
    }

    // The report's thumbnail: a portrait page fills the height 1500, a landscape one (or one
    // just below the box's proportion) the width 1428; framed in black, centred at (863, 1349).
    void transmissionReport_data()
    {
        QTest::addColumn<int>("pageWidth");
        QTest::addColumn<int>("pageHeight");
        QTest::addColumn<QSize>("thumbnail");
        QTest::newRow("portrait") << 1728 << 2200 << QSize(1178, 1500);
        QTest::newRow("landscape") << 2200 << 1728 << QSize(1428, 1121);
        QTest::newRow("just below the box") << 2000 << 2100 << QSize(1428, 1499);
    }

    void transmissionReport()
    {
        QFETCH(int, pageWidth);
        QFETCH(int, pageHeight);
        QFETCH(QSize, thumbnail);
        const QString path = TestSupport::documentsPath() + QStringLiteral("page.tif");
        QVERIFY(TiffUtil::writeImgToTiff({ page(0, pageWidth, pageHeight) }, path));
        Fax fax = sentFax(QStringLiteral("2024-03-01 10:00:00"), 1, "801", "R");
        fax.filepath = path;
        fax.issue = QStringLiteral("Line busy");
        fax = addFax(fax, addDevice());
        DatabaseManager().updateSendFax(fax); // the failure text, as a status round stores it

        SendBoxWidget box;
        QSignalSpy reports(&box, &SendBoxWidget::showTransReport);
        table(box)->setCurrentCell(0, 0);
        box.actionTransReport();
        QCOMPARE(reports.count(), 1);
        const QImage report = reports.at(0).at(0).value<QImage>();
        QCOMPARE(report.size(), QSize(1728, 2254));
        QCOMPARE(report.format(), QImage::Format_RGBA8888);

        const QRect frame = thumbnailFrame(report);
        QCOMPARE(frame.size(), thumbnail);
        QCOMPARE(frame.topLeft(), QPoint(863 - (thumbnail.width() - 1) / 2, 1349 - (thumbnail.height() - 1) / 2));
        for (int x = frame.left(); x <= frame.right(); ++x)
            QVERIFY(black(report, x, frame.top()) && black(report, x, frame.bottom()));
        for (int y = frame.top(); y <= frame.bottom(); ++y)
            QVERIFY(black(report, frame.left(), y) && black(report, frame.right(), y));
        QVERIFY(!black(report, frame.left() - 1, 1349) && !black(report, frame.left() + 2, frame.bottom() - 2));
        // The page's bar at 100..140 is on the thumbnail, scaled.
        QVERIFY(black(report, 863, frame.top() + 120 * thumbnail.height() / pageHeight));

        // "结果:" gives the device's text for a failure and "成功" for a success.
        const QRect result(450, 552, 1200, 38);
        QVERIFY(inked(report, result));
        QCOMPARE(SendBoxWidget::transReportRows(fax).last(),
                 qMakePair(QStringLiteral("结果:"), QStringLiteral("Line busy")));
        fax.issue.clear();
        QVERIFY(!inked(SendBoxWidget::makeTransReport(fax), result));
        fax.status = 2;
        QCOMPARE(SendBoxWidget::transReportRows(fax).last().second, QStringLiteral("成功"));
    }

    // Delete of rows 1 and 3 of five, remark, forward.
    void actionsOnTheSelectedFaxes()
    {
        const int device = addDevice();
        QList<Fax> stored;
        for (int i = 0; i < 5; ++i)
            stored << addFax(
                sentFax(QStringLiteral("2024-03-0%1 10:00:00").arg(9 - i), 2,
                                        QStringLiteral("80%1").arg(i), QStringLiteral("R%1").arg(i)),
                device);
        SendBoxWidget box;
        QTableWidget* t = table(box);
        QSignalSpy forwards(&box, &SendBoxWidget::forward);

        t->setCurrentCell(3, 0);
        const QString text = QStringLiteral("O'Brien 说 \"明天\"");
        DialogUtil::queueAnswer(text);
        box.actionRemark();
        QCOMPARE(cell(box, 3, 8), text);
        QCOMPARE(DatabaseManager().querySendFaxes().at(3).remark, text);
        box.actionForward();
        QCOMPARE(forwards.value(0).value(0).value<Fax>().id, stored[3].id);

        deletesRowsOneAndThree(box, stored, 3, &DatabaseManager::querySendFaxes);
    }
};

class TestDeleteBoxWidget : public QObject
{
    Q_OBJECT

    int m_device = 0;
    Fax m_sent;     // newest
    Fax m_received; // middle
    Fax m_odd;      // oldest: a received fax with a status outside the table
    QString m_file;

    static QTableWidget* table(DeleteBoxWidget& box)
    {
        return TestSupport::find<QTableWidget>(&box, QStringLiteral("tableWidget"));
    }
    static QStringList rowTexts(QTableWidget* t, int row)
    {
        QStringList texts;
        for (int c = 0; c < t->columnCount(); ++c)
            texts << (t->item(row, c) ? t->item(row, c)->text() : QStringLiteral("<null>"));
        return texts;
    }
    // The table shows the list row by row.
    static void checkMirror(DeleteBoxWidget& box)
    {
        QTableWidget* t = table(box);
        QCOMPARE(t->rowCount(), box.faxes().size());
        for (int row = 0; row < t->rowCount(); ++row)
            QCOMPARE(t->item(row, 6)->text(), box.faxes().at(row).time);
    }

private slots:
    void initTestCase()
    {
        // The folders' signals carry records by reference, registered under these names.
        qRegisterMetaType<Fax>("Fax&");
    }

    void init()
    {
        const QString home = TestSupport::freshHome();
        TestSupport::loginTestUser();
        m_device = addDevice();
        m_file = home + QStringLiteral("/fax.tif");
        QVERIFY(writeFaxFile(m_file, { 1728 }));

        Fax sent = sentFax(QStringLiteral("2024-03-03 10:00:00"), FaxStatus::SEND_FAX_FAILED, QStringLiteral("111"),
                           QStringLiteral("王五"));
        sent.issue = QStringLiteral("忙线");
        sent.remark = QStringLiteral("合同");
        sent.filepath = m_file;
        sent.isDelete = 1;
        m_sent = addFax(sent, m_device);
        DatabaseManager().updateSendFax(m_sent); // the failure text comes with a status update
        Fax received = receivedFax(QStringLiteral("2024-03-02 10:00:00"), FaxStatus::RECV_FAX_REPLYED,
                                   QStringLiteral("222"), QStringLiteral("赵六"));
        received.filepath = m_file;
        received.isDelete = 1;
        m_received = addFax(received, m_device);
        Fax odd = receivedFax(QStringLiteral("2024-03-01 10:00:00"), 42, QStringLiteral("333"), QStringLiteral("孙七"));
        odd.isDelete = 1;
        m_odd = addFax(odd, m_device);
        // Faxes still in the inbox and the outbox stay out of this folder.
        addFax(receivedFax(QStringLiteral("2024-03-04 10:00:00"), FaxStatus::RECV_FAX_UNREAD, QStringLiteral("444"),
                           QStringLiteral("x")), m_device);
        addFax(sentFax(QStringLiteral("2024-03-05 10:00:00"), FaxStatus::SEND_FAX_SUCCESS, QStringLiteral("555"),
                       QStringLiteral("y")), m_device);
    }

    // Sent and received faxes side by side, newest first, each number in its own column.
    void listsDeletedFaxesOfBothDirections()
    {
        DeleteBoxWidget box;
        QTableWidget* t = table(box);
        QCOMPARE(ids(box.faxes()), (QList<int> { m_sent.id, m_received.id, m_odd.id }));
        QCOMPARE(rowTexts(t, 0),
                 (QStringList { "发送失败", "111", "王五", "", "user1", "2", "2024-03-03 10:00:00", "合同", "忙线",
                                "PID0001" }));
        QCOMPARE(rowTexts(t, 1),
                 (QStringList { "已回复", "", "public", "222", "赵六", "1", "2024-03-02 10:00:00", "", "",
                                "PID0001" }));
        QCOMPARE(t->item(2, 0)->text(), QString());
        QCOMPARE(t->item(2, 3)->text(), QStringLiteral("333"));
    }

    // Restoring gives the fax back with isDelete cleared and takes it out of this folder only.
    void restoreReturnsTheFax()
    {
        DeleteBoxWidget box;
        QSignalSpy restored(&box, &DeleteBoxWidget::restoreFax);
        QTableWidget* t = table(box);

        box.restore(); // no current row: nothing happens
        QCOMPARE(restored.count(), 0);
        QCOMPARE(t->rowCount(), 3);

        // Several rows selected, the current one counts.
        t->selectRow(2);
        t->selectionModel()->select(t->model()->index(0, 0),
                                    QItemSelectionModel::Select | QItemSelectionModel::Rows);
        t->setCurrentCell(0, 0, QItemSelectionModel::NoUpdate);
        box.restore();
        QCOMPARE(restored.count(), 1);
        const Fax back = restored.first().first().value<Fax>();
        QCOMPARE(back.id, m_sent.id);
        QCOMPARE(back.tag, 1);
        QCOMPARE(back.isDelete, 0);
        QCOMPARE(back.filepath, m_file);
        QCOMPARE(ids(box.faxes()), (QList<int> { m_received.id, m_odd.id }));
        checkMirror(box);

        DatabaseManager db;
        QVERIFY(ids(db.querySendFaxes()).contains(m_sent.id));
        QVERIFY(!ids(db.queryDeleteFaxes()).contains(m_sent.id));

        // A received fax comes back marked as received.
        t->setCurrentCell(0, 0);
        box.restore();
        QCOMPARE(restored.last().first().value<Fax>().tag, 0);
        QVERIFY(ids(db.queryReceiveFaxes()).contains(m_received.id));
        QCOMPARE(ids(db.queryDeleteFaxes()), QList<int> { m_odd.id });
    }

    // Deleting for good removes the record from every folder but leaves the fax file on disk.
    void permanentDeleteKeepsTheFile()
    {
        DeleteBoxWidget box;
        QSignalSpy restored(&box, &DeleteBoxWidget::restoreFax);
        QTableWidget* t = table(box);
        box.deletePermanently(); // no current row
        MessageBoxUtil::setNextAnswer(QMessageBox::Yes);
        QCOMPARE(t->rowCount(), 3);

        t->setCurrentCell(1, 0);
        box.deletePermanently();
        QCOMPARE(ids(box.faxes()), (QList<int> { m_sent.id, m_odd.id }));
        checkMirror(box);
        QCOMPARE(restored.count(), 0);
        QCOMPARE(MessageBoxUtil::takeShown().size(), 1); // the question before

        DatabaseManager db;
        QVERIFY(!ids(db.queryDeleteFaxes()).contains(m_received.id));
        QVERIFY(!ids(db.queryReceiveFaxes()).contains(m_received.id));
        QVERIFY(QFile::exists(m_file));

        // A new folder reads the same from the store.
        DeleteBoxWidget again;
        QCOMPARE(ids(again.faxes()), (QList<int> { m_sent.id, m_odd.id }));
    }

    // Faxes deleted elsewhere come in at the top in list order, marked deleted.
    void addFaxPutsEachAtTheTop()
    {
        DeleteBoxWidget box;
        QList<Fax> list{receivedFax(QStringLiteral("2020-01-01 00:00:00"), FaxStatus::RECV_FAX_READED, "9", "a"),
                        sentFax(QStringLiteral("2020-01-02 00:00:00"), FaxStatus::SEND_FAX_STOPED, "8", "b")};
        list[0].id = 1001;
        list[1].id = 1002;
        box.addFax(list);
        QCOMPARE(ids(box.faxes()), (QList<int>{1002, 1001, m_sent.id, m_received.id, m_odd.id}));
        checkMirror(box);
        QCOMPARE(box.faxes().first().isDelete, 1);
    }

    // Click previews, double click asks for the editor, the menu only opens over a row.
    void clicksAndMenu()
    {
        DeleteBoxWidget box;
        box.resize(1000, 600);
        box.show();
        QVERIFY(QTest::qWaitForWindowExposed(&box));
        QTableWidget* t = table(box);
        auto* viewer = TestSupport::find<MyImageViewer>(&box, QStringLiteral("imageViewer"));

        const QRect cell = t->visualRect(t->model()->index(0, 2));
        QTest::mouseClick(t->viewport(), Qt::LeftButton, {}, cell.center());
        QCOMPARE(viewer->pageCount(), 1);
        QVERIFY(!viewer->pixmap().isNull());
        QCOMPARE(box.getSelectItemPath().id, m_sent.id);

        QSignalSpy detail(&box, &DeleteBoxWidget::showFaxDetailWindow);
        QTest::mouseDClick(t->viewport(), Qt::LeftButton, {}, cell.center());
        QCOMPARE(detail.count(), 1);
        QCOMPARE(detail.first().first().value<Fax>().id, m_sent.id);

        box.clearSelectItems();
        QVERIFY(viewer->pixmap().isNull());
        QCOMPARE(box.getSelectItemPath().id, 0);
        QVERIFY(MessageBoxUtil::shown().isEmpty());

        auto* menu = TestSupport::find<QMenu>(&box, QStringLiteral("menu_right"));
        box.on_tableWidget_customContextMenuRequested(QPoint(5, t->viewport()->height() - 5));
        QVERIFY(!menu->isVisible());
        box.on_tableWidget_customContextMenuRequested(cell.center());
        QVERIFY(menu->isVisible());
        menu->hide();

        // The menu's entries drive the two actions on the current row.
        QSignalSpy restored(&box, &DeleteBoxWidget::restoreFax);
        t->setCurrentCell(0, 0);
        menu->actions().at(0)->trigger();
        QCOMPARE(restored.count(), 1);
        t->setCurrentCell(0, 0);
        MessageBoxUtil::setNextAnswer(QMessageBox::Yes);
        menu->actions().at(1)->trigger();
        QCOMPARE(ids(box.faxes()), QList<int> { m_odd.id });
    }

    // Column order and widths outlive the widget, in the isolated settings folder.
    void headerStateRoundTrip()
    {
        {
            DeleteBoxWidget box;
            QHeaderView* header = table(box)->horizontalHeader();
            header->moveSection(6, 0);
            header->resizeSection(2, 321);
        }
        DeleteBoxWidget box;
        QHeaderView* header = table(box)->horizontalHeader();
        QCOMPARE(header->logicalIndex(0), 6);
        QCOMPARE(header->sectionSize(2), 321);
        QCOMPARE(table(box)->item(0, 6)->text(), m_sent.time);
    }
};

class TestMyImageViewer : public QObject
{
    Q_OBJECT

    QString m_home;
    QString m_threePages; // widths 1728, 1000, 1728
    QString m_other;      // one page, 1200 wide

    static QString pageLine(MyImageViewer& viewer)
    {
        return TestSupport::find<QLineEdit>(&viewer, QStringLiteral("edit_page"))->text();
    }
    // Rescaling the page into the remembered box may round a side by one pixel.
    static bool about(QSize actual, QSize expected)
    {
        return qAbs(actual.width() - expected.width()) <= 1 && qAbs(actual.height() - expected.height()) <= 1;
    }
    // "page rotation width line" of what the viewer shows.
    static QString state(MyImageViewer& v)
    {
        return QStringLiteral("%1 %2 %3 %4").arg(v.currentIndex()).arg(v.rotation()).arg(v.pixmap().width()).arg(pageLine(v));
    }
    static void click(MyImageViewer& viewer, const char* button)
    {
        TestSupport::find<QPushButton>(&viewer, QString::fromLatin1(button))->click();
    }
    // Pages open fitted to the view, so the view needs its size.
    static void show(MyImageViewer& viewer)
    {
        viewer.resize(600, 800);
        viewer.show();
        QVERIFY(QTest::qWaitForWindowExposed(&viewer));
    }
    static QSize fitted(MyImageViewer& viewer, const QSize& page)
    {
        return page.scaled(PageFit::inArea(page, TestSupport::find<QScrollArea>(&viewer, QStringLiteral("scrollArea")),
                                           PageFit::FIT_PAGE),
                           Qt::KeepAspectRatio);
    }

private slots:
    void init()
    {
        m_home = TestSupport::freshHome();
        m_threePages = m_home + QStringLiteral("/three pages.tif");
        m_other = m_home + QStringLiteral("/other.tif");
        QVERIFY(writeFaxFile(m_threePages, { 1728, 1000, 1728 }));
        QVERIFY(writeFaxFile(m_other, { 1200 }));
    }

    // A page opens at fitted to the view, on the label, with its page line.
    void opensFirstPageAtSixTenths()
    {
        MyImageViewer viewer;
        show(viewer);
        QCOMPARE(viewer.openImageResource(m_threePages), 0);
        QCOMPARE(viewer.pageCount(), 3);
        QCOMPARE(viewer.pixmap().size(), fitted(viewer, QSize(1728, 2200)));
        QCOMPARE(pageLine(viewer), QStringLiteral("1/3"));
        const QPixmap shown = TestSupport::find<QLabel>(&viewer, QStringLiteral("label_image"))->pixmap(Qt::ReturnByValue);
        QCOMPARE(shown.size(), viewer.pixmap().size());
        QVERIFY(MessageBoxUtil::shown().isEmpty());
    }

    // Zooming compounds by 1.2 and 0.8 and stops at the limits; a refused step changes nothing.
    void zoomCompoundsAndStopsAtLimits()
    {
        MyImageViewer viewer;
        show(viewer);
        QCOMPARE(viewer.openImageResource(m_threePages), 0);
        int width = viewer.pixmap().width();
        click(viewer, "button_zoom_in");
        QVERIFY(qAbs(viewer.pixmap().width() - width * 12 / 10) <= 1);
        click(viewer, "button_zoom_in");
        QVERIFY(qAbs(viewer.pixmap().width() - width * 144 / 100) <= 2);

        for (int i = 0; i < 20; ++i)
            click(viewer, "button_zoom_in");
        width = viewer.pixmap().width();
        QVERIFY2(width <= 3500, qPrintable(QString::number(width)));
        QVERIFY2(width * 12 / 10 > 3500, qPrintable(QString::number(width)));
        const QSize biggest = viewer.pixmap().size();
        click(viewer, "button_zoom_in");
        QCOMPARE(viewer.pixmap().size(), biggest);

        for (int i = 0; i < 30; ++i)
            click(viewer, "button_zoom_out");
        width = viewer.pixmap().width();
        QVERIFY2(width >= 400, qPrintable(QString::number(width)));
        QVERIFY2(width * 8 / 10 < 400, qPrintable(QString::number(width)));
        const QSize smallest = viewer.pixmap().size();
        click(viewer, "button_zoom_out");
        QCOMPARE(viewer.pixmap().size(), smallest);
        // Zoom in works again from the bottom.
        click(viewer, "button_zoom_in");
        QVERIFY(viewer.pixmap().width() > smallest.width());
    }

    // Quarter turns wrap around and keep the current zoom.
    void rotationWrapsAndKeepsZoom()
    {
        MyImageViewer viewer;
        show(viewer);
        QCOMPARE(viewer.openImageResource(m_threePages), 0);
        click(viewer, "button_zoom_in");
        const QSize upright = viewer.pixmap().size();

        click(viewer, "button_right_rotate");
        QCOMPARE(viewer.rotation(), 1);
        QVERIFY(about(viewer.pixmap().size(), upright.transposed()));
        click(viewer, "button_left_rotate");
        QCOMPARE(viewer.rotation(), 0);
        QVERIFY(about(viewer.pixmap().size(), upright));
        click(viewer, "button_left_rotate");
        QCOMPARE(viewer.rotation(), 3);
        QVERIFY(about(viewer.pixmap().size(), upright.transposed()));
        click(viewer, "button_right_rotate");
        QCOMPARE(viewer.rotation(), 0);
        click(viewer, "button_right_rotate");
        click(viewer, "button_right_rotate");
        QCOMPARE(viewer.rotation(), 2);
        QVERIFY(about(viewer.pixmap().size(), upright));

        // A half turn really turns the picture: the page's bar moves from the top to the bottom.
        const QImage turned = viewer.pixmap().toImage();
        const int row = turned.height() - 1 - int(100 * upright.height() / 2200.0 + 10);
        QCOMPARE(QColor(turned.pixel(turned.width() / 2, row)), QColor(Qt::black));
        // A zoom after a turn keeps the turn.
        click(viewer, "button_right_rotate");
        click(viewer, "button_zoom_out");
        QCOMPARE(viewer.rotation(), 3);
        QVERIFY(viewer.pixmap().width() > viewer.pixmap().height());
    }

    // Browsing shows each page fresh (no turn, fitted) and stops at both ends.
    void pageBrowsing()
    {
        MyImageViewer viewer;
        show(viewer);
        QCOMPARE(viewer.openImageResource(m_threePages), 0);
        QCOMPARE(viewer.last(), -1);
        QCOMPARE(viewer.currentIndex(), 0);

        click(viewer, "button_zoom_in");
        click(viewer, "button_right_rotate");
        QCOMPARE(viewer.next(), 0);
        QCOMPARE(state(viewer), QStringLiteral("1 0 %1 2/3").arg(fitted(viewer, QSize(1000, 2200)).width()));
        click(viewer, "button_next");
        QCOMPARE(state(viewer), QStringLiteral("2 0 %1 3/3").arg(fitted(viewer, QSize(1728, 2200)).width()));
        QCOMPARE(viewer.next(), -1);
        QCOMPARE(state(viewer), QStringLiteral("2 0 %1 3/3").arg(fitted(viewer, QSize(1728, 2200)).width()));
        click(viewer, "button_last");
        QCOMPARE(viewer.currentIndex(), 1);
        QCOMPARE(viewer.last(), 0);
        QCOMPARE(state(viewer), QStringLiteral("0 0 %1 1/3").arg(fitted(viewer, QSize(1728, 2200)).width()));
    }

    // Pages decoded one at a time, forward and back past the kept ones, show exactly what
    // reading the whole file gives.
    void pagesMatchWholeFileReading()
    {
        QString path = m_home + QStringLiteral("/six pages.tif");
        QVERIFY(writeFaxFile(path, { 1728, 1000, 1728, 1200, 1728, 800 }));
        const QList<QImage> whole = TiffUtil::tiffToImg(path);
        QCOMPARE(whole.size(), 6);
        MyImageViewer viewer;
        show(viewer);
        auto expected = [&whole, &viewer](int index) {
            return QPixmap::fromImage(PageFit::scaled(whole.at(index), fitted(viewer, whole.at(index).size()))).toImage();
        };
        QCOMPARE(viewer.openImageResource(path), 0);
        QCOMPARE(viewer.pageCount(), 6);
        QList<int> order { 0 };
        while (viewer.next() == 0)
            order << viewer.currentIndex();
        while (viewer.last() == 0)
            order << viewer.currentIndex();
        QCOMPARE(order, (QList<int> { 0, 1, 2, 3, 4, 5, 4, 3, 2, 1, 0 }));
        for (int step = 0; step < 6; ++step) {
            QCOMPARE(viewer.pixmap().toImage(), expected(viewer.currentIndex()));
            viewer.next();
        }
        QCOMPARE(pageLine(viewer), QStringLiteral("6/6"));
    }

    // A new file starts at its first page and at fitted, whatever the last showed.
    void newFileStartsAfresh()
    {
        MyImageViewer viewer;
        show(viewer);
        QCOMPARE(viewer.openImageResource(m_threePages), 0);
        viewer.next();
        click(viewer, "button_zoom_in");
        click(viewer, "button_left_rotate");
        QCOMPARE(viewer.openImageResource(m_other), 0);
        QCOMPARE(state(viewer), QStringLiteral("0 0 %1 1/1").arg(fitted(viewer, QSize(1200, 2200)).width()));
    }

    // An empty or missing path clears the picture without a word; a damaged file says so.
    void clearingAndFailures()
    {
        MyImageViewer viewer;
        QCOMPARE(viewer.openImageResource(m_threePages), 0);
        QString none;
        QCOMPARE(viewer.openImageResource(none), -1);
        QVERIFY(viewer.pixmap().isNull());
        QVERIFY(TestSupport::find<QLabel>(&viewer, QStringLiteral("label_image"))->pixmap(Qt::ReturnByValue).isNull());
        QCOMPARE(viewer.pageCount(), 0);
        QCOMPARE(viewer.next(), -1);
        QCOMPARE(pageLine(viewer), QString());
        QString missing = m_home + QStringLiteral("/gone.tif");
        QCOMPARE(viewer.openImageResource(missing), -1);
        QVERIFY(MessageBoxUtil::shown().isEmpty());
        // Buttons on an empty viewer do nothing.
        click(viewer, "button_zoom_in");
        click(viewer, "button_right_rotate");
        QVERIFY(viewer.pixmap().isNull());

        QString corrupt = m_home + QStringLiteral("/corrupt.tif");
        QFile file(corrupt);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(QByteArray("II*\0", 4) + QByteArray(300, '\x7f'));
        file.close();
        QCOMPARE(viewer.openImageResource(m_threePages), 0);
        QCOMPARE(viewer.openImageResource(corrupt), -1);
        QVERIFY(viewer.pixmap().isNull());
        QCOMPARE(MessageBoxUtil::takeShown().size(), 1);
    }
};

class TestShell : public QObject
{
    Q_OBJECT

    QString m_home;
    QString m_argsFile;

    // A stand-in recogniser: notes its arguments, one a line, and prints a text.
    QString writeRecognizer(const QString& name, const QString& body)
    {
        const QString path = m_home + QLatin1Char('/') + name;
        QFile script(path);
        if (!script.open(QIODevice::WriteOnly))
            return QString();
        script.write(body.toUtf8());
        script.close();
        script.setPermissions(script.permissions() | QFileDevice::ExeOwner);
        return path;
    }
    static QString readText(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }
    static void configure(const QString& program)
    {
        auto config = AppSettings::userConfig();
        config->setValue(AppSettings::KEY_OCR_PROGRAM, program);
        config->sync();
    }

    static QRect area() { return QGuiApplication::primaryScreen()->availableGeometry(); }
    static int storedFaxTime() { return AppSettings::userConfig()->value("getFaxTime", -1).toInt(); }

private slots:
    void init()
    {
        m_home = TestSupport::freshHome();
        m_argsFile = m_home + QStringLiteral("/ocr-args.txt");
    }

    // Without a recogniser the menu entry tells the user why instead of doing nothing.
    void missingRecognizerIsReported()
    {
        QWidget inbox;
        QCOMPARE(OCRUtil::programPath(), QString());
        QVERIFY(OCRUtil::startRecognizer(&inbox, QStringLiteral("/tmp/x.tif")) == nullptr);
        auto boxes = MessageBoxUtil::takeShown();
        QCOMPARE(boxes.size(), 1);
        QCOMPARE(boxes.first().kind, QStringLiteral("warning"));
        QVERIFY(boxes.first().text.contains(QStringLiteral("ocrProgram")));

        const QString gone = m_home + QStringLiteral("/no-such-ocr");
        configure(gone);
        QVERIFY(OCRUtil::startRecognizer(&inbox, QStringLiteral("/tmp/x.tif")) == nullptr);
        boxes = MessageBoxUtil::takeShown();
        QCOMPARE(boxes.size(), 1);
        QCOMPARE(boxes.first().text, QStringLiteral("找不到OCR识别程序：%1").arg(gone));

        // A file that cannot be run is not a recogniser either.
        const QString plain = writeRecognizer(QStringLiteral("plain"), QStringLiteral("#!/bin/sh\n"));
        QFile::setPermissions(plain, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
        configure(plain);
        QVERIFY(OCRUtil::startRecognizer(&inbox, QStringLiteral("/tmp/x.tif")) == nullptr);
        QCOMPARE(MessageBoxUtil::takeShown().size(), 1);
    }

    // The configured recogniser gets the fax file's path as its one argument.
    void recognizerStartedWithThePath()
    {
        const QString program = writeRecognizer(QStringLiteral("fake-ocr"),
            QStringLiteral("#!/bin/sh\nprintf '%s\\n' \"$#\" \"$@\" > '%1'\n").arg(m_argsFile));
        configure(program);
        QWidget inbox;
        const QString fax = m_home + QStringLiteral("/Documents/Velkor/tester/PID 1/FaxFile/a fax.tif");
        QProcess* process = OCRUtil::startRecognizer(&inbox, fax);
        QVERIFY(process);
        QPointer<QProcess> watched = process;
        QCOMPARE(process->parent(), &inbox);
        QVERIFY(MessageBoxUtil::shown().isEmpty());
        QTRY_COMPARE(readText(m_argsFile), QStringLiteral("1\n%1\n").arg(fax));
        // A finished recogniser frees its process.
        QTRY_VERIFY(watched.isNull());
    }

    // The in-process framework shows what the recogniser prints, or why there is nothing.
    void dialogShowsRecognizedText()
    {
        OCRDialog none(QStringLiteral("/tmp/x.tif"));
        QTRY_VERIFY(none.text().contains(QStringLiteral("ocrProgram")));

        const QString program = writeRecognizer(QStringLiteral("fake-ocr"),
            QStringLiteral("#!/bin/sh\nprintf '识别: %s' \"$1\"\n"));
        configure(program);
        OCRDialog dialog(QStringLiteral("/tmp/a b.tif"));
        auto* edit = TestSupport::find<QTextEdit>(&dialog, QStringLiteral("textEdit"));
        QTRY_COMPARE(edit->toPlainText(), QStringLiteral("识别: /tmp/a b.tif"));

        const QString failing = writeRecognizer(QStringLiteral("failing-ocr"), QStringLiteral("#!/bin/sh\nexit 3\n"));
        configure(failing);
        OCRDialog failed(QStringLiteral("/tmp/x.tif"));
        QTRY_COMPARE(failed.text(), QStringLiteral("OCR识别失败"));
    }

    // The new-fax notice.
    // The notice sits inside the available area at its lower right corner, frameless, at its size.
    void placeAndLook()
    {
        auto* tip = new DestopTip;
        QString text = QStringLiteral("收到%1份传真").arg(3);
        tip->showTip(text);
        tip->show();
        QCOMPARE(TestSupport::find<QLabel>(tip, QStringLiteral("label"))->text(), QStringLiteral("收到3份传真"));
        QCOMPARE(tip->frameGeometry().bottomRight(), area().bottomRight());
        QVERIFY(area().contains(tip->frameGeometry()));
        delete tip;
    }

    // Two notices in short succession each stand about 5 s, go 1 s later and free themselves.
    // (Qt's coarse timers may fire up to 5 % early.)
    void twoNoticesCloseAndFreeThemselves()
    {
        QElapsedTimer clock;
        clock.start();
        QPointer<DestopTip> first = new DestopTip;
        QString one = QStringLiteral("收到1份传真");
        first->showTip(one);
        first->show();
        QTest::qWait(1500);
        QPointer<DestopTip> second = new DestopTip;
        QString two = QStringLiteral("收到2份传真");
        second->showTip(two);
        second->show();
        QCOMPARE(second->pos(), first->pos());

        QTest::qWait(4500 - int(clock.elapsed()));
        QVERIFY(first && first->isVisible());
        QVERIFY(second && second->isVisible());
        QTRY_VERIFY_WITH_TIMEOUT(first.isNull(), 3000);
        const qint64 firstGone = clock.elapsed();
        QVERIFY2(firstGone >= 5700, qPrintable(QString::number(firstGone)));
        QVERIFY(second); // its own timers, 1.5 s behind
        QCOMPARE(second->text(), two);
        QTRY_VERIFY_WITH_TIMEOUT(second.isNull(), 3000);
        QVERIFY2(clock.elapsed() >= 7200, qPrintable(QString::number(clock.elapsed())));
    }

    // A slide starts at the bottom of the desktop and climbs to the same place before it stays.
    void slideClimbsToItsPlace()
    {
        QPointer<DestopTip> tip = new DestopTip;
        QString text = QStringLiteral("收到1份传真");
        tip->slideTip(text);
        tip->show();
        QCOMPARE(tip->pos().y(), area().y() + area().height());
        QTRY_COMPARE_WITH_TIMEOUT(tip->frameGeometry().bottomRight(), area().bottomRight(), 3000);
        QTest::qWait(200);
        QCOMPARE(tip->frameGeometry().bottomRight(), area().bottomRight()); // it stops there
        QVERIFY(tip->isVisible());
        tip->close();
        QTRY_VERIFY(tip.isNull());
    }

    // The options dialog.
    void settingOpensWithStoredValueAndWritesOnAccept()
    {
        {
            SettingDialog dialog;
            auto* spin = TestSupport::find<QSpinBox>(&dialog, "spin_fax_time");
            QCOMPARE(spin->value(), 30);
            spin->setValue(4);
            QCOMPARE(spin->value(), 5);
            spin->setValue(61);
            QCOMPARE(spin->value(), 60);
            spin->setValue(45);
            // Cancel writes nothing.
            TestSupport::find<QPushButton>(&dialog, "button_cancel")->click();
            QCOMPARE(storedFaxTime(), -1);
        }
        {
            SettingDialog dialog;
            auto* spin = TestSupport::find<QSpinBox>(&dialog, "spin_fax_time");
            spin->setValue(45);
            TestSupport::find<QPushButton>(&dialog, "button_confirm")->click();
            QCOMPARE(storedFaxTime(), 45);
        }
        SettingDialog reopened;
        QCOMPARE(TestSupport::find<QSpinBox>(&reopened, "spin_fax_time")->value(), 45);
    }

    void externalProgramsAreSettings()
    {
        {
            SettingDialog dialog;
            QVERIFY(TestSupport::find<QLineEdit>(&dialog, "edit_ocr_program")->text().isEmpty());
            TestSupport::find<QLineEdit>(&dialog, "edit_ocr_program")->setText(QStringLiteral(" /opt/ocr/bin/ocr "));
            TestSupport::find<QLineEdit>(&dialog, "edit_log_viewer")->setText(QStringLiteral("kate %1"));
            TestSupport::find<QLineEdit>(&dialog, "edit_address_service")->setText(QStringLiteral("https://addr.example/q"));
            TestSupport::find<QPushButton>(&dialog, "button_confirm")->click();
        }
        auto config = AppSettings::userConfig();
        QCOMPARE(config->value(AppSettings::KEY_OCR_PROGRAM).toString(), QStringLiteral("/opt/ocr/bin/ocr"));
        QCOMPARE(config->value(AppSettings::KEY_LOG_VIEWER).toString(), QStringLiteral("kate %1"));
        QCOMPARE(config->value(AppSettings::KEY_ADDRESS_SERVICE_URL).toString(), QStringLiteral("https://addr.example/q"));
        SettingDialog reopened;
        QCOMPARE(TestSupport::find<QLineEdit>(&reopened, "edit_log_viewer")->text(), QStringLiteral("kate %1"));
    }

    void handWrittenValueOutsideTheRangeStaysUntilAccepted()
    {
        AppSettings::userConfig()->setValue("getFaxTime", 90);
        {
            SettingDialog dialog;
            QCOMPARE(TestSupport::find<QSpinBox>(&dialog, "spin_fax_time")->value(), 60);
            dialog.reject();
        }
        QCOMPARE(storedFaxTime(), 90);
        SettingDialog dialog;
        dialog.accept();
        QCOMPARE(storedFaxTime(), 60);
    }
};

VELKOR_TESTS_MAIN(TestMainWindow, TestReceiveBoxWidget, TestSendBoxWidget, TestDeleteBoxWidget, TestMyImageViewer, TestShell)
#include "TestFolders.moc"

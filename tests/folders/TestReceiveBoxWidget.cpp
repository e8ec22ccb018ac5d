#include "AppSettings.h"
#include "DeviceProtocol.h"
#include "DeviceSimRunner.h"
#include "DialogUtil.h"
#include "FolderTestData.h"
#include "MessageBoxUtil.h"
#include "MD5Util.h"
#include "ReceiveBoxWidget.h"
#include "TestSupport.h"
#include "TimeUtil.h"

#include <QMenu>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTimer>
#include <memory>

using namespace FolderTestData;

namespace {
const QDateTime kBase(QDate(2024, 5, 6), QTime(7, 30, 0), Qt::UTC);

QList<int> ids(const QList<Fax>& faxes)
{
    QList<int> list;
    for (const Fax& f : faxes)
        list << f.id;
    return list;
}

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
        QSignalSpy deleted(&box, &ReceiveBoxWidget::deleteFax);

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

        t->setSelectionMode(QAbstractItemView::MultiSelection);
        t->clearSelection();
        t->selectRow(3);
        t->selectRow(1);
        MessageBoxUtil::setNextAnswer(QMessageBox::Yes);
        box.actionDelete();
        QCOMPARE(deleted.count(), 1);
        QCOMPARE(ids(deleted.at(0).at(0).value<QList<Fax>>()), (QList<int>{ m_local[1].id, m_local[3].id }));
        const QList<int> kept{ m_local[0].id, m_local[2].id, m_local[4].id };
        QCOMPARE(ids(box.faxes()), kept);
        QCOMPARE(ids(DatabaseManager().queryReceiveFaxes()), kept);
        QCOMPARE(t->rowCount(), 3);
        for (int row = 0; row < 3; ++row)
            QCOMPARE(t->item(row, 1)->text(), box.faxes().at(row).cid);
    }
};

VELKOR_TEST_MAIN(TestReceiveBoxWidget)
#include "TestReceiveBoxWidget.moc"

#include "DatabaseManager.h"
#include "DeleteBoxWidget.h"
#include "FaxStatus.h"
#include "FaxTable.h"
#include "FolderTestData.h"
#include "MessageBoxUtil.h"
#include "MyImageViewer.h"
#include "TestSupport.h"

#include <QDir>
#include <QFile>
#include <QHeaderView>
#include <QMenu>
#include <QSignalSpy>
#include <QTableWidget>

using namespace FolderTestData;

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
    static QList<int> ids(const QList<Fax>& faxes)
    {
        QList<int> list;
        for (const Fax& f : faxes)
            list << f.id;
        return list;
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
        QCOMPARE(t->columnCount(), 10);
        QCOMPARE(t->horizontalHeaderItem(1)->text(), QStringLiteral("接收号码"));
        QCOMPARE(t->horizontalHeaderItem(3)->text(), QStringLiteral("发送号码"));
        QVERIFY(!t->verticalHeader()->isVisible());
        QCOMPARE(t->editTriggers(), QAbstractItemView::NoEditTriggers);
        QVERIFY(!t->isSortingEnabled());
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

    // Faxes deleted elsewhere come in at the top in list order, without a look at the store.
    void addFaxPutsEachAtTheTop()
    {
        DeleteBoxWidget box;
        Fax a = receivedFax(QStringLiteral("2020-01-01 00:00:00"), FaxStatus::RECV_FAX_READED, QStringLiteral("9"),
                            QStringLiteral("a"));
        a.id = 1001;
        Fax b = sentFax(QStringLiteral("2020-01-02 00:00:00"), FaxStatus::SEND_FAX_STOPED, QStringLiteral("8"),
                        QStringLiteral("b"));
        b.id = 1002;
        QList<Fax> list { a, b };
        box.addFax(list);
        QCOMPARE(ids(box.faxes()), (QList<int> { 1002, 1001, m_sent.id, m_received.id, m_odd.id }));
        checkMirror(box);
        QCOMPARE(box.faxes().first().isDelete, 1);
        QCOMPARE(table(box)->item(0, 0)->text(), QStringLiteral("已停止"));
        QCOMPARE(table(box)->item(0, 1)->text(), QStringLiteral("8"));
        QCOMPARE(table(box)->item(1, 0)->text(), QStringLiteral("已读"));
        QCOMPARE(table(box)->item(1, 3)->text(), QStringLiteral("9"));
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
        QCOMPARE(menu->actions().size(), 2);
        QCOMPARE(menu->actions().at(0)->text(), QStringLiteral("还原"));
        QCOMPARE(menu->actions().at(1)->text(), QStringLiteral("删除"));
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
        QVERIFY(FaxTable::headerSettings()->fileName().startsWith(QDir::tempPath()));
        {
            DeleteBoxWidget box;
            QHeaderView* header = table(box)->horizontalHeader();
            QCOMPARE(header->sectionResizeMode(0), QHeaderView::Interactive);
            QVERIFY(header->sectionsMovable());
            header->moveSection(6, 0);
            header->resizeSection(2, 321);
        }
        QVERIFY(FaxTable::headerSettings()->contains(QStringLiteral("delete_column_sort")));
        DeleteBoxWidget box;
        QHeaderView* header = table(box)->horizontalHeader();
        QCOMPARE(header->logicalIndex(0), 6);
        QCOMPARE(header->sectionSize(2), 321);
        // The texts are still where they belong.
        QCOMPARE(table(box)->item(0, 6)->text(), m_sent.time);

        // A state that does not fit leaves the header alone.
        FaxTable::headerSettings()->setValue(QStringLiteral("delete_column_sort"), QByteArray("garbage"));
        DeleteBoxWidget fresh;
        QCOMPARE(table(fresh)->horizontalHeader()->logicalIndex(0), 0);
        FaxTable::headerSettings()->remove(QStringLiteral("delete_column_sort"));
    }
};

VELKOR_TEST_MAIN(TestDeleteBoxWidget)
#include "TestDeleteBoxWidget.moc"

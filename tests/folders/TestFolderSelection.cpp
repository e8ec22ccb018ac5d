#include "DeleteBoxWidget.h"
#include "DialogUtil.h"
#include "FolderTestData.h"
#include "MainWindow.h"
#include "MessageBoxUtil.h"
#include "MyImageViewer.h"
#include "ReceiveBoxWidget.h"
#include "SendBoxWidget.h"
#include "TestSupport.h"

#include <QAction>
#include <QFileInfo>
#include <QScrollBar>
#include <QTableWidget>
#include <QTreeWidget>
#include <functional>
#include <memory>

using namespace FolderTestData;

namespace {
enum Kind { INBOX, OUTBOX, DELETED };
const int FAXES = 30;

// One of the three folders, behind what the tests need of it.
struct Folder
{
    std::unique_ptr<QWidget> widget;
    std::function<void()> rebuild;
    std::function<Fax()> chosen;
    std::function<const QList<Fax>&()> faxes;
    std::function<void()> remove;
};

template <typename Box>
Folder wrap(Box* box, void (Box::*remove)())
{
    Folder f;
    f.widget.reset(box);
    f.rebuild = [box] { box->reacquire(); };
    f.chosen = [box] { return box->getSelectItemPath(); };
    f.faxes = [box]() -> const QList<Fax>& { return box->faxes(); };
    f.remove = [box, remove] { (box->*remove)(); };
    return f;
}

Folder make(Kind kind)
{
    if (kind == INBOX)
        return wrap(new ReceiveBoxWidget, &ReceiveBoxWidget::actionDelete);
    if (kind == OUTBOX)
        return wrap(new SendBoxWidget, &SendBoxWidget::actionDelete);
    return wrap(new DeleteBoxWidget, &DeleteBoxWidget::deletePermanently);
}

// A fax of the folder's kind; an unread one in the inbox.
Fax faxOf(Kind kind, const QString& time, int n)
{
    Fax fax = kind == OUTBOX ? sentFax(time, 2, QString::number(n), QStringLiteral("R"))
                             : receivedFax(time, 11, QString::number(n), QStringLiteral("S"));
    fax.isDelete = kind == DELETED ? 1 : 0;
    return fax;
}
} // namespace

class TestFolderSelection : public QObject
{
    Q_OBJECT

    int m_device = 0;

    static QTableWidget* table(QWidget* folder) { return TestSupport::find<QTableWidget>(folder, "tableWidget"); }

private slots:
    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        m_device = addDevice();
    }

    void keepsTheChosenFaxAcrossRebuilds_data()
    {
        QTest::addColumn<int>("kind");
        QTest::newRow("inbox") << int(INBOX);
        QTest::newRow("outbox") << int(OUTBOX);
        QTest::newRow("deleted items") << int(DELETED);
    }

    // Keys choose as clicks do; a rebuild with new faxes on top leaves the chosen faxes, the
    // preview and the view where they were; a fax that has gone is chosen no more.
    void keepsTheChosenFaxAcrossRebuilds()
    {
        QFETCH(int, kind);
        const Kind k = Kind(kind);
        // Rows 3 and 4 have files of 2 and 3 pages, so the preview tells them apart.
        for (int i = 0; i < FAXES; ++i) {
            Fax fax = faxOf(k, QStringLiteral("2024-03-01 10:%1:00").arg(59 - i, 2, 10, QLatin1Char('0')), i);
            if (i == 3 || i == 4) {
                fax.filepath = TestSupport::documentsPath() + QStringLiteral("f%1.tif").arg(i);
                QVERIFY(writeFaxFile(fax.filepath, i == 3 ? QList<int>{ 800, 800 } : QList<int>{ 800, 800, 800 }));
            }
            addFax(fax, m_device);
        }
        Folder folder = make(k);
        folder.widget->resize(1000, 300);
        folder.widget->show();
        QVERIFY(QTest::qWaitForWindowExposed(folder.widget.get()));
        QTableWidget* t = table(folder.widget.get());
        auto* viewer = folder.widget->findChild<MyImageViewer*>();

        t->setFocus();
        t->setCurrentCell(2, 1);
        QTest::keyClick(t, Qt::Key_Down);
        QTest::keyClick(t, Qt::Key_Down, Qt::ShiftModifier);
        QTest::keyRelease(t, Qt::Key_Shift); // or the next test's clicks would extend
        const int current = folder.faxes().at(4).id;
        QCOMPARE(folder.chosen().id, current);
        QCOMPARE(viewer->pageCount(), 3);
        if (k == INBOX) {
            QCOMPARE(t->item(4, 0)->text(), QStringLiteral("已读"));
            QCOMPARE(DatabaseManager().queryReceiveFaxes().at(4).status, 12);
        }
        t->verticalScrollBar()->setValue(t->verticalScrollBar()->maximum() / 2);
        const int top = folder.faxes().at(t->rowAt(0)).id;
        QVERIFY(top != folder.faxes().first().id);

        for (int i = 0; i < 2; ++i)
            addFax(faxOf(k, QStringLiteral("2024-04-0%1 10:00:00").arg(i + 1), 100 + i), m_device);
        folder.rebuild();
        QCOMPARE(folder.faxes().size(), FAXES + 2);
        QCOMPARE(folder.chosen().id, current);
        QList<int> selected;
        for (const QModelIndex& index : t->selectionModel()->selectedRows())
            selected << folder.faxes().at(index.row()).id;
        QList<int> expected{ folder.faxes().at(5).id, current };
        std::sort(selected.begin(), selected.end());
        std::sort(expected.begin(), expected.end());
        QCOMPARE(selected, expected);
        QCOMPARE(folder.faxes().at(t->rowAt(0)).id, top);
        QCOMPARE(viewer->pageCount(), 3);

        // The fax shown goes elsewhere: nothing is chosen and the preview is empty.
        Fax gone = folder.chosen();
        DatabaseManager().permanentlyDelete(gone);
        folder.rebuild();
        QCOMPARE(folder.chosen().id, 0);
        QCOMPARE(viewer->pageCount(), 0);
    }

    void deletingAsksFirst_data() { keepsTheChosenFaxAcrossRebuilds_data(); }

    void deletingAsksFirst()
    {
        QFETCH(int, kind);
        for (int i = 0; i < 3; ++i)
            addFax(faxOf(Kind(kind), QStringLiteral("2024-03-0%1 10:00:00").arg(i + 1), i), m_device);
        Folder folder = make(Kind(kind));
        table(folder.widget.get())->selectRow(1);
        folder.remove();
        QCOMPARE(MessageBoxUtil::takeShown().value(0).kind, QStringLiteral("question"));
        QCOMPARE(folder.faxes().size(), 3);
        MessageBoxUtil::setNextAnswer(QMessageBox::Yes);
        folder.remove();
        QCOMPARE(folder.faxes().size(), 2);
    }

    // Print, save and delete need a chosen fax; a save says where the fax went.
    void commandsFollowTheChosenFax()
    {
        Fax fax = receivedFax(QStringLiteral("2024-03-01 10:00:00"), 12, QStringLiteral("1"), QStringLiteral("S"));
        fax.filepath = TestSupport::documentsPath() + QStringLiteral("one.tif");
        QVERIFY(writeFaxFile(fax.filepath, { 1728 }));
        addFax(fax, m_device);
        MainWindow window;
        window.show();
        auto action = [&window](const char* name) { return TestSupport::find<QAction>(&window, name); };
        QVERIFY(!action("action_print")->isEnabled());
        QVERIFY(!action("action_save_as")->isEnabled());

        table(window.receiveBox())->selectRow(0);
        QVERIFY(action("action_print")->isEnabled());
        const QString target = TestSupport::documentsPath() + QStringLiteral("saved.pdf");
        DialogUtil::queueAnswer(target);
        action("action_save_as")->trigger();
        QVERIFY(QFileInfo::exists(target));
        QVERIFY(MessageBoxUtil::takeShown().value(0).text.contains(target));

        QTreeWidget* tree = TestSupport::find<QTreeWidget>(&window, "treeWidget");
        QTest::mouseClick(tree->viewport(), Qt::LeftButton, {},
                          tree->visualItemRect(tree->topLevelItem(0)).center());
        QVERIFY(!action("action_print")->isEnabled());
        QVERIFY(!action("action_delete")->isEnabled());
    }
};

VELKOR_TEST_MAIN(TestFolderSelection)
#include "TestFolderSelection.moc"

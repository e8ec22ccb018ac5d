#include "DeleteBoxWidget.h"
#include "DestopTip.h"
#include "DeviceProtocol.h"
#include "DialogUtil.h"
#include "FaxDetailWindow.h"
#include "FolderTestData.h"
#include "MainWindow.h"
#include "MessageBoxUtil.h"
#include "ReceiveBoxWidget.h"
#include "SendBoxWidget.h"
#include "SessionWindows.h"
#include "TestSupport.h"

#include <QAction>
#include <QDir>
#include <QLineEdit>
#include <QLabel>
#include <QPointer>
#include <QStackedWidget>
#include <QTableWidget>
#include <QTreeWidget>

#include <QRegularExpression>

using namespace FolderTestData;

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

QList<int> ids(const QList<Fax>& faxes)
{
    QList<int> list;
    for (const Fax& fax : faxes)
        list << fax.id;
    return list;
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
        QCOMPARE(m_window->windowTitle(), QStringLiteral("Velkor自动传真系统"));
        QVERIFY(m_window->testAttribute(Qt::WA_DeleteOnClose));
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
        QCOMPARE(MainWindow::pdfFileName(QStringLiteral("/tmp/a")), QStringLiteral("/tmp/a.pdf"));
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
        QTest::qWait(4000);
        QVERIFY(tip);
        QTRY_VERIFY_WITH_TIMEOUT(!tip, 5000); // it frees itself when it closes
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

VELKOR_TEST_MAIN(TestMainWindow)
#include "TestMainWindow.moc"

#include "EditorTestData.h"
#include "TestSupport.h"

#include "FaxDetailWindow.h"
#include "FaxPageWidget.h"
#include "QAdvancedLabel.h"
#include "TimeUtil.h"

#include <QAction>
#include <QDir>
#include <QLineEdit>
#include <QListView>
#include <QPointer>
#include <QPushButton>
#include <QScopedPointer>

using namespace EditorTestData;

// The thumbnail highlight and the page shown are one current page, whatever moves it.
class TestCurrentPage : public QObject
{
    Q_OBJECT

private:
    QString m_dir;

    FaxDetailWindow* openBands(int n)
    {
        Fax fax;
        fax.editorMode = FaxDetailWindow::MODE_REPLY;
        auto* w = new FaxDetailWindow(fax);
        w->show();
        QStringList files;
        for (int i = 0; i < n; ++i) {
            files << m_dir + QStringLiteral("/band%1.png").arg(i);
            bandPage(i).save(files.last());
        }
        w->open_picture_file(files);
        return w;
    }
    static bool isShown(FaxDetailWindow* w, const QImage& page)
    {
        const QImage shown = TestSupport::find<QAdvancedLabel>(w, "label_2")->pixmap(Qt::ReturnByValue).toImage();
        return shown.convertToFormat(QImage::Format_ARGB32) == page.convertToFormat(QImage::Format_ARGB32);
    }

private slots:
    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        m_dir = TestSupport::documentsPath() + "files";
        QDir().mkpath(m_dir);
    }

    void keysMoveTheShownPage_data()
    {
        QTest::addColumn<QList<int>>("keys");
        QTest::addColumn<int>("row");
        QTest::newRow("down") << QList<int>{Qt::Key_Down} << 1;
        QTest::newRow("end") << QList<int>{Qt::Key_End} << 3;
        QTest::newRow("end, up") << QList<int>{Qt::Key_End, Qt::Key_Up} << 2;
        QTest::newRow("end, home, down") << QList<int>{Qt::Key_End, Qt::Key_Home, Qt::Key_Down} << 1;
    }
    void keysMoveTheShownPage()
    {
        QFETCH(QList<int>, keys);
        QFETCH(int, row);
        QScopedPointer<FaxDetailWindow> w(openBands(4));
        const QList<FaxPage> before = w->pages();
        auto* list = TestSupport::find<QListView>(w.data(), "listView");
        for (int key : keys)
            QTest::keyClick(list, Qt::Key(key));

        QCOMPARE(list->currentIndex().row(), row);
        QCOMPARE(w->currentRow(), row);
        QVERIFY(isShown(w.data(), before[row].image));
        QCOMPARE(TestSupport::find<QLineEdit>(w.data(), "edit_page")->text(), QStringLiteral("%1 / 4").arg(row + 1));

        // Moving and deleting act on that same page.
        TestSupport::find<QAction>(w.data(), row == 0 ? "action_page_down" : "action_page_up")->trigger();
        const int moved = row == 0 ? 1 : row - 1;
        QCOMPARE(w->pages()[moved].image, before[row].image);
        QCOMPARE(list->currentIndex().row(), moved);
        TestSupport::find<QAction>(w.data(), "action_delete_page")->trigger();
        QCOMPARE(w->pageCount(), 3);
        for (const FaxPage& page : w->pages())
            QVERIFY(page.image != before[row].image);
        QCOMPARE(w->currentRow(), list->currentIndex().row());
        QVERIFY(isShown(w.data(), w->pages()[w->currentRow()].image));
    }

    // The lower half of a split page is a page of the document: counted on the cover, and kept
    // when it is moved to the top and a cover is added.
    void splitHalfIsNotACover()
    {
        QScopedPointer<FaxDetailWindow> w(openBands(2));
        auto* label = TestSupport::find<QAdvancedLabel>(w.data(), "label_2");
        w->splitPage();
        QTest::mouseClick(label, Qt::LeftButton, {}, QPoint(10, label->pixmap(Qt::ReturnByValue).height() / 2));
        QCOMPARE(w->pageCount(), 3);
        const QImage lower = w->pages()[1].image;
        auto* list = TestSupport::find<QListView>(w.data(), "listView");
        QTest::keyClick(list, Qt::Key_Down);
        TestSupport::find<QAction>(w.data(), "action_page_up")->trigger();
        QCOMPARE(w->pages()[0].image, lower);

        TestSupport::find<QAction>(w.data(), "action_add_faxpage")->trigger();
        QPointer<FaxPageWidget> form = w->findChild<FaxPageWidget*>();
        QVERIFY(form);
        QTest::mouseClick(TestSupport::find<QPushButton>(form, "button_apply"), Qt::LeftButton);
        QTRY_VERIFY(form.isNull());
        const QList<FaxPage> pages = w->pages();
        QCOMPARE(pages.size(), 4);
        QCOMPARE(pages[1].image, lower);
        QCOMPARE(pages[0].image, FaxPageWidget::drawCover(FaxCover(), TimeUtil::getDate(), "4", QString(), QString()));
    }
};

VELKOR_TEST_MAIN(TestCurrentPage)
#include "TestCurrentPage.moc"

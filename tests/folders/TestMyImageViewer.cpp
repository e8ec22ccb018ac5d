#include "FolderTestData.h"
#include "MessageBoxUtil.h"
#include "MyImageViewer.h"
#include "PageFit.h"
#include "TestSupport.h"
#include "TiffUtil.h"

#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>

using namespace FolderTestData;

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
    // Pages open fitted to the view, so the view needs its size.
    static void show(MyImageViewer& viewer)
    {
        viewer.resize(600, 800);
        viewer.show();
        QVERIFY(QTest::qWaitForWindowExposed(&viewer));
    }
    static QSize fitted(MyImageViewer& viewer, const QSize& page)
    {
        return PageFit::inArea(page, TestSupport::find<QScrollArea>(&viewer, QStringLiteral("scrollArea")),
                               PageFit::FIT_PAGE);
    }
    static void click(MyImageViewer& viewer, const char* button)
    {
        TestSupport::find<QPushButton>(&viewer, QString::fromLatin1(button))->click();
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

    // A page opens fitted to the view, on the label, with its page line.
    void opensFirstPageFitted()
    {
        MyImageViewer viewer;
        show(viewer);
        QCOMPARE(viewer.openImageResource(m_threePages), 0);
        QCOMPARE(viewer.pageCount(), 3);
        QCOMPARE(viewer.currentIndex(), 0);
        QVERIFY(about(viewer.pixmap().size(), fitted(viewer, QSize(1728, 2200))));
        const QPixmap shown = TestSupport::find<QLabel>(&viewer, QStringLiteral("label_image"))->pixmap(Qt::ReturnByValue);
        QCOMPARE(shown.size(), viewer.pixmap().size());
        QCOMPARE(pageLine(viewer), QStringLiteral("1/3"));
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
        QCOMPARE(viewer.currentIndex(), 1);
        QCOMPARE(viewer.rotation(), 0);
        QVERIFY(about(viewer.pixmap().size(), fitted(viewer, QSize(1000, 2200))));
        QCOMPARE(pageLine(viewer), QStringLiteral("2/3"));

        click(viewer, "button_next");
        QCOMPARE(viewer.currentIndex(), 2);
        QVERIFY(about(viewer.pixmap().size(), fitted(viewer, QSize(1728, 2200))));
        QCOMPARE(pageLine(viewer), QStringLiteral("3/3"));
        QCOMPARE(viewer.next(), -1);
        QCOMPARE(viewer.currentIndex(), 2);
        QCOMPARE(pageLine(viewer), QStringLiteral("3/3"));

        click(viewer, "button_last");
        QCOMPARE(viewer.currentIndex(), 1);
        QCOMPARE(viewer.last(), 0);
        QCOMPARE(viewer.currentIndex(), 0);
        QCOMPARE(pageLine(viewer), QStringLiteral("1/3"));
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
            const QImage& page = whole.at(index);
            return QPixmap::fromImage(PageFit::scaled(page, fitted(viewer, page.size()))).toImage();
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

    // A new file starts at its first page and fitted, whatever the last showed.
    void newFileStartsAfresh()
    {
        MyImageViewer viewer;
        show(viewer);
        QCOMPARE(viewer.openImageResource(m_threePages), 0);
        viewer.next();
        click(viewer, "button_zoom_in");
        click(viewer, "button_left_rotate");
        QCOMPARE(viewer.openImageResource(m_other), 0);
        QCOMPARE(viewer.currentIndex(), 0);
        QCOMPARE(viewer.rotation(), 0);
        QVERIFY(about(viewer.pixmap().size(), fitted(viewer, QSize(1200, 2200))));
        QCOMPARE(pageLine(viewer), QStringLiteral("1/1"));
    }

    // An empty or missing path clears the picture without a word; a damaged file says so.
    void clearingAndFailures()
    {
        MyImageViewer viewer;
        show(viewer);
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
        const auto boxes = MessageBoxUtil::takeShown();
        QCOMPARE(boxes.size(), 1);
        QCOMPARE(boxes.first().kind, QStringLiteral("critical"));
        QCOMPARE(boxes.first().title, QStringLiteral("Velkor"));
        QCOMPARE(boxes.first().text, QStringLiteral("打开TIFF文件失败"));
    }
};

VELKOR_TEST_MAIN(TestMyImageViewer)
#include "TestMyImageViewer.moc"

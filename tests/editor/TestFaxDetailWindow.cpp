#include "EditorTestData.h"
#include "TestSupport.h"

#include "FaxDetailWindow.h"
#include "MessageBoxUtil.h"
#include "PageFit.h"
#include "QAdvancedLabel.h"
#include "TextNoteWidget.h"
#include "TiffUtil.h"

#include <QAction>
#include <QDir>
#include <QImageReader>
#include "DialogUtil.h"
#include <QApplication>
#include <QComboBox>
#include <QLineEdit>
#include <QListView>
#include <QPointer>
#include <QProgressDialog>
#include <QPushButton>
#include <QRandomGenerator>
#include <QTimer>

using namespace EditorTestData;

class TestFaxDetailWindow : public QObject
{
    Q_OBJECT

private:
    QString m_dir;
    QPointer<FaxDetailWindow> m_window;

    FaxDetailWindow* open(int mode, const QString& filepath = QString())
    {
        Fax fax;
        fax.editorMode = mode;
        fax.filepath = filepath;
        fax.sender = QStringLiteral("Alice");
        fax.cid = QStringLiteral("5551234");
        fax.time = QStringLiteral("2024-05-06 07:08:09");
        m_window = new FaxDetailWindow(fax);
        m_window->show();
        return m_window;
    }
    QString path(const QString& name) const { return m_dir + "/" + name; }
    QList<qint64> keysOf(FaxDetailWindow* window)
    {
        QList<qint64> keys;
        for (const FaxPage& page : window->pages())
            keys << page.image.cacheKey();
        return keys;
    }
    // n pages from PNG files with a different band each; returns the page images' keys.
    QList<qint64> openBands(FaxDetailWindow* window, int n)
    {
        QStringList files;
        for (int i = 0; i < n; ++i) {
            files << path(QStringLiteral("band%1.png").arg(i));
            bandPage(i).save(files.last());
        }
        window->open_picture_file(files);
        return keysOf(window);
    }
    QAdvancedLabel* pageLabel() { return TestSupport::find<QAdvancedLabel>(m_window, "label_2"); }
    QAction* action(const char* name) { return TestSupport::find<QAction>(m_window, name); }
    // The label point that shows a page point at the present zoom.
    QPoint labelPointOf(const QPointF& pagePoint)
    {
        const QSize shown = pageLabel()->pixmap(Qt::ReturnByValue).size();
        const QSize source = pageLabel()->sourceSize();
        return QPoint(qRound(pagePoint.x() * shown.width() / source.width()),
                      qRound(pagePoint.y() * shown.height() / source.height()));
    }

private slots:
    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        m_dir = TestSupport::documentsPath() + "files";
        QDir().mkpath(m_dir);
    }
    void cleanup() { delete m_window; }

    void modes_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<bool>("sendEnabled");
        QTest::addColumn<bool>("replyEnabled");
        QTest::addColumn<bool>("composeEnabled");
        QTest::addColumn<bool>("inputShown");
        QTest::addColumn<bool>("detailShown");
        QTest::addColumn<bool>("pageToolsVisible");
        QTest::newRow("view stored fax") << 0 << false << true << false << false << true << true;
        QTest::newRow("reply") << 1 << true << false << true << true << false << true;
        QTest::newRow("forward") << 2 << true << false << true << true << false << true;
        QTest::newRow("report image") << 3 << false << false << true << false << false << false;
    }
    void modes()
    {
        QFETCH(int, mode);
        QFETCH(bool, sendEnabled);
        QFETCH(bool, replyEnabled);
        QFETCH(bool, composeEnabled);
        QFETCH(bool, inputShown);
        QFETCH(bool, detailShown);
        QFETCH(bool, pageToolsVisible);
        QString tiff = path("stored.tif");
        QVERIFY(TiffUtil::writeImgToTiff({bandPage(0), bandPage(1)}, tiff));
        FaxDetailWindow* w = open(mode, tiff);
        if (mode == 3)
            w->showReportImage(bandPage(2));

        QCOMPARE(action("action_send")->isEnabled() && action("action_send")->isVisible(), sendEnabled);
        QCOMPARE(action("action_reply")->isEnabled() && action("action_reply")->isVisible(),
                 replyEnabled);
        QCOMPARE(action("action_forward")->isVisible(), mode != 3);
        for (const char* name : {"action_text_note", "action_sign", "action_add_faxpage"})
            QCOMPARE(action(name)->isEnabled(), composeEnabled);
        QCOMPARE(TestSupport::find<QWidget>(w, "inputWidget")->isVisible(), inputShown);
        QCOMPARE(TestSupport::find<QWidget>(w, "detailWidget")->isVisible(), detailShown);
        for (const char* name : {"action_left_rotate", "action_right_rotate", "action_previous_page",
                                 "action_next_page", "action_delete_page", "action_split_page", "action_page_up",
                                 "action_page_down"})
            QCOMPARE(action(name)->isVisible(), pageToolsVisible);

        // The stored fax's pages in every mode but the report, which has its own image only.
        QCOMPARE(w->pages().size(), mode == 3 ? 1 : 2);
        auto* phone = TestSupport::find<QLineEdit>(w, "edit_phone_2");
        QCOMPARE(phone->text(), mode == 1 ? QStringLiteral("5551234") : QString());
        if (mode == 0) {
            QCOMPARE(TestSupport::find<QLabel>(w, "label_sender_text")->text(), QStringLiteral("Alice <5551234>"));
            QCOMPARE(TestSupport::find<QLabel>(w, "label_time_text")->text(), QStringLiteral("2024-05-06 07:08:09"));
            w->reply();
            QVERIFY(action("action_send")->isEnabled());
            QVERIFY(!action("action_reply")->isEnabled());
            QVERIFY(action("action_sign")->isEnabled());
            QVERIFY(TestSupport::find<QWidget>(w, "inputWidget")->isVisible());
            QVERIFY(!TestSupport::find<QWidget>(w, "detailWidget")->isVisible());
            QCOMPARE(phone->text(), QStringLiteral("5551234"));
        }
    }

    void opensPdfTiffAndImagesInOrder()
    {
        const QString pdf = path("three.pdf");
        QVERIFY(writePdf(pdf, QStringLiteral("tlb"), {false, true, false}));
        // A solid block: a second local threshold would hollow it out.
        QImage blockPage(1728, 2200, QImage::Format_RGBA8888);
        blockPage.fill(Qt::white);
        QPainter(&blockPage).fillRect(QRect(200, 200, 600, 600), Qt::black);
        QString tiff = path("block.tif");
        QVERIFY(TiffUtil::writeImgToTiff({blockPage}, tiff));
        QImage small(800, 600, QImage::Format_RGB32);
        small.fill(Qt::white);
        {
            QPainter painter(&small);
            hatch(painter, QRectF(0, 0, 800, 600));
        }
        QVERIFY(small.save(path("small.png")));

        FaxDetailWindow* w = open(1);
        w->open_picture_file({pdf, tiff, path("small.png")});
        const QList<FaxPage> pages = w->pages();
        QCOMPARE(pages.size(), 5);
        for (int i = 0; i < pages.size(); ++i) {
            QCOMPARE(pages[i].image.size(), QSize(1728, 2200));
            QCOMPARE(pages[i].pageIndex, i);
            QCOMPARE(pages[i].pageKind, 0);
        }
        // PDF pages in order; the landscape one turned clockwise, so its left half is on top.
        QVERIFY(blackFraction(pages[0].image, QRect(0, 100, 1728, 600)) > 0.05);
        QVERIFY(blackFraction(pages[0].image, QRect(0, 1600, 1728, 500)) < 0.001);
        QVERIFY(blackFraction(pages[1].image, QRect(0, 100, 1728, 900)) > 0.05);
        QVERIFY(blackFraction(pages[1].image, QRect(0, 1250, 1728, 850)) < 0.001);
        QVERIFY(blackFraction(pages[2].image, QRect(0, 1600, 1728, 500)) > 0.05);
        QVERIFY(blackFraction(pages[2].image, QRect(0, 100, 1728, 600)) < 0.001);
        // Every thresholded pixel is black or white.
        for (int y = 0; y < 2200; y += 37)
            for (int x = 0; x < 1728; x += 41) {
                const int gray = qGray(pages[0].image.pixel(x, y));
                QVERIFY(gray == 0 || gray == 255);
            }
        // The TIFF page keeps its solid block.
        QVERIFY(blackFraction(pages[3].image, QRect(260, 260, 480, 480)) > 0.99);
        // The small image is not enlarged: centred across, 50 rows from the top.
        QVERIFY(blackFraction(pages[4].image, QRect(480, 70, 760, 560)) > 0.05);
        QVERIFY(blackFraction(pages[4].image, QRect(0, 700, 1728, 1500)) < 0.001);
        QVERIFY(blackFraction(pages[4].image, QRect(0, 0, 450, 2200)) < 0.001);

        QCOMPARE(w->currentRow(), 0);
        QCOMPARE(TestSupport::find<QLineEdit>(w, "edit_page")->text(), QStringLiteral("1 / 5"));
        QVERIFY(MessageBoxUtil::shown().isEmpty());
    }

    void unreadableFilesAreSkippedWithAMessage_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("broken pdf") << "broken.pdf" << QByteArray("%PDF-1.4\nthis is no pdf at all\n");
        QTest::newRow("locked pdf") << "locked.pdf" << QByteArray();
        QTest::newRow("broken tiff") << "broken.tif" << QByteArray("II*\0garbage, not a directory", 29);
        QTest::newRow("broken image") << "broken.png" << QByteArray("not a png");
    }
    void unreadableFilesAreSkippedWithAMessage()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, bytes);
        if (name == "locked.pdf")
            writeLockedPdf(path(name));
        else
            writeBytes(path(name), bytes);
        bandPage(0).save(path("good.png"));

        FaxDetailWindow* w = open(1);
        w->open_picture_file({path(name), path("good.png")});
        QCOMPARE(w->pages().size(), 1);
        const auto shown = MessageBoxUtil::takeShown();
        QCOMPARE(shown.size(), 1);
        QCOMPARE(shown[0].kind, QStringLiteral("warning"));
        QCOMPARE(shown[0].title, QStringLiteral("Velkor 消息"));
        QVERIFY(shown[0].text.contains(path(name)));
    }

    void cancellingAPdfKeepsThePagesSoFar()
    {
        const QString pdf = path("long.pdf");
        QVERIFY(writePdf(pdf, QStringLiteral("tbtbtb"), {}));
        bandPage(0).save(path("after.png"));
        FaxDetailWindow* w = open(1);
        // The first chance the event loop gets is between the first and the second page.
        QTimer::singleShot(0, w, [w]() {
            if (auto* progress = w->findChild<QProgressDialog*>("progress_pdf"))
                progress->cancel();
        });
        w->open_picture_file({pdf, path("after.png")});
        QCOMPARE(w->pages().size(), 1);
        QCOMPARE(TestSupport::find<QLineEdit>(w, "edit_page")->text(), QStringLiteral("1 / 1"));
    }

    void navigationStates_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("row");
        QTest::addColumn<bool>("previous");
        QTest::addColumn<bool>("next");
        QTest::addColumn<bool>("remove");
        QTest::addColumn<QString>("counter");
        QTest::newRow("one page") << 1 << 0 << false << false << false << "1 / 1";
        QTest::newRow("first of three") << 3 << 0 << false << true << true << "1 / 3";
        QTest::newRow("middle of three") << 3 << 1 << true << true << true << "2 / 3";
        QTest::newRow("last of three") << 3 << 2 << true << false << true << "3 / 3";
    }
    void navigationStates()
    {
        QFETCH(int, count);
        QFETCH(int, row);
        QFETCH(bool, previous);
        QFETCH(bool, next);
        QFETCH(bool, remove);
        QFETCH(QString, counter);
        FaxDetailWindow* w = open(1);
        openBands(w, count);
        for (int i = 0; i < row; ++i)
            w->nextPage();
        QCOMPARE(w->currentRow(), row);
        QCOMPARE(action("action_previous_page")->isEnabled(), previous);
        QCOMPARE(action("action_next_page")->isEnabled(), next);
        QCOMPARE(action("action_delete_page")->isEnabled(), remove);
        QCOMPARE(TestSupport::find<QLineEdit>(w, "edit_page")->text(), counter);
        const QImage shown = pageLabel()->pixmap(Qt::ReturnByValue).toImage();
        QCOMPARE(shown.convertToFormat(QImage::Format_RGBA8888),
                 PageFit::scaled(w->pages()[row].image, shown.size()).convertToFormat(QImage::Format_RGBA8888));
    }

    void movingAndDeletingPages()
    {
        FaxDetailWindow* w = open(1);
        const QList<qint64> k = openBands(w, 3);
        auto* list = TestSupport::find<QListView>(w, "listView");

        w->pageUp(); // first row: nothing moves
        QCOMPARE(keysOf(w), k);
        w->nextPage();
        w->nextPage();
        w->pageDown(); // last row: nothing moves
        QCOMPARE(keysOf(w), k);

        w->previousPage();
        w->pageUp();
        QCOMPARE(keysOf(w), (QList<qint64>{k[1], k[0], k[2]}));
        QCOMPARE(w->currentRow(), 0);
        QCOMPARE(list->currentIndex().row(), 0);
        w->pageDown();
        w->pageDown();
        QCOMPARE(keysOf(w), (QList<qint64>{k[0], k[2], k[1]}));
        QCOMPARE(w->currentRow(), 2);

        // Deleting the last row moves up to the new last row.
        w->delete_page();
        QCOMPARE(keysOf(w), (QList<qint64>{k[0], k[2]}));
        QCOMPARE(w->currentRow(), 1);
        QCOMPARE(TestSupport::find<QLineEdit>(w, "edit_page")->text(), QStringLiteral("2 / 2"));
        QCOMPARE(w->pages()[1].pageIndex, 1);
        w->delete_page();
        QCOMPARE(keysOf(w), QList<qint64>{k[0]});
        QVERIFY(!action("action_delete_page")->isEnabled());
        w->delete_page(); // the last page stays
        QCOMPARE(w->pages().size(), 1);
    }

    void zoomStopsAtItsLimits()
    {
        FaxDetailWindow* w = open(1);
        openBands(w, 1);
        for (int i = 0; i < 15; ++i)
            w->zoomOut();
        int width = pageLabel()->pixmap(Qt::ReturnByValue).width();
        QVERIFY(width >= 400);
        QVERIFY(width * 8 / 10 < 400);
        for (int i = 0; i < 25; ++i)
            w->zoomIn();
        width = pageLabel()->pixmap(Qt::ReturnByValue).width();
        QVERIFY(width <= 3500);
        QVERIFY(width * 12 / 10 > 3500);
        // The page itself is never scaled.
        QCOMPARE(w->pages()[0].image.size(), QSize(1728, 2200));
    }

    void rotationWritesTheTurnedPageBack()
    {
        FaxDetailWindow* w = open(1);
        QImage page(1728, 2200, QImage::Format_RGBA8888);
        page.fill(Qt::white);
        QPainter(&page).fillRect(QRect(0, 0, 100, 100), Qt::black);
        w->showReportImage(page);

        w->rightRotate();
        QImage turned = w->pages()[0].image;
        QCOMPARE(turned.size(), QSize(2200, 1728));
        QVERIFY(blackFraction(turned, QRect(2100, 0, 100, 100)) > 0.99);
        QVERIFY(blackFraction(turned, QRect(0, 0, 100, 100)) < 0.01);
        QCOMPARE(pageLabel()->sourceSize(), QSize(2200, 1728));
        w->leftRotate();
        QCOMPARE(w->pages()[0].image, page);
    }

    void splitAtAClickOnAZoomedPage()
    {
        FaxDetailWindow* w = open(1);
        QImage page(1728, 2200, QImage::Format_RGBA8888);
        QRandomGenerator random(7);
        for (int y = 0; y < page.height(); ++y)
            for (int x = 0; x < page.width(); x += 16)
                page.setPixel(x, y, random.generate() | 0xFF000000u);
        w->showReportImage(page);
        w->zoomOut();
        w->zoomOut();

        w->splitPage();
        QCOMPARE(pageLabel()->cursor().shape(), Qt::SplitVCursor);
        QTest::mouseClick(pageLabel(), Qt::LeftButton, {}, labelPointOf(QPointF(500, 1000)));
        QList<FaxPage> pages = w->pages();
        QCOMPARE(pages.size(), 2);
        const int cut = pages[0].image.height();
        QVERIFY2(qAbs(cut - 1000) <= 2, qPrintable(QString::number(cut)));
        QCOMPARE(pages[0].image, page.copy(0, 0, 1728, cut));
        QCOMPARE(pages[1].image, page.copy(0, cut, 1728, 2200 - cut));
        QCOMPARE(pages[1].pageKind, 1);
        QCOMPARE(pages[1].pageIndex, 1);
        QCOMPARE(pageLabel()->cursor().shape(), Qt::ArrowCursor);

        // Split mode ends with the split.
        QTest::mouseClick(pageLabel(), Qt::LeftButton, {}, labelPointOf(QPointF(500, 300)));
        QCOMPARE(w->pages().size(), 2);
    }

    void stampLandsAtTheClickedPagePoint()
    {
        FaxDetailWindow* w = open(1);
        QImage page(1728, 2200, QImage::Format_RGBA8888);
        page.fill(Qt::white);
        QPainter(&page).fillRect(QRect(780, 0, 10, 2200), Qt::black);
        w->showReportImage(page);
        w->zoomOut();

        QImage signature(41, 41, QImage::Format_RGB888);
        signature.fill(Qt::white);
        QPainter(&signature).fillRect(QRect(15, 15, 11, 11), Qt::black);
        w->selectSignSlot(QPixmap::fromImage(signature));
        QTest::mouseClick(pageLabel(), Qt::LeftButton, {}, labelPointOf(QPointF(800, 1200)));

        const QImage stamped = w->pages()[0].image;
        QVERIFY(blackFraction(stamped, QRect(797, 1197, 7, 7)) > 0.99);
        // The signature's white is transparent: the stripe under it stays, the paper stays white.
        QVERIFY(blackFraction(stamped, QRect(781, 1185, 8, 30)) > 0.99);
        QVERIFY(blackFraction(stamped, QRect(809, 1182, 10, 36)) < 0.01);
        QVERIFY(blackFraction(stamped, QRect(790, 1300, 100, 100)) < 0.01);

        // One stamp per choice.
        QTest::mouseClick(pageLabel(), Qt::LeftButton, {}, labelPointOf(QPointF(1200, 400)));
        QCOMPARE(w->pages()[0].image, stamped);
    }

    void textNoteBecomesPartOfThePage_data()
    {
        QTest::addColumn<int>("size");
        QTest::newRow("24 px") << 24;
        QTest::newRow("64 px") << 64;
    }
    void textNoteBecomesPartOfThePage()
    {
        QFETCH(int, size);
        FaxDetailWindow* w = open(1);
        QImage page(1728, 2200, QImage::Format_RGBA8888);
        page.fill(Qt::white);
        w->showReportImage(page);

        w->addText();
        auto* note = pageLabel()->findChild<TextNoteWidget*>();
        QVERIFY(note);
        auto* sizes = TestSupport::find<QComboBox>(note, "combo_text_size");
        sizes->setCurrentIndex(sizes->findText(QString::number(size)));
        TestSupport::find<QLineEdit>(note, "edit_text")->setText(QStringLiteral("FAX 88"));
        note->move(labelPointOf(QPointF(304, 604))); // the page is fitted to the view
        QTest::mouseClick(TestSupport::find<QPushButton>(note, "button_hide"), Qt::LeftButton);
        QTRY_VERIFY(!pageLabel()->findChild<TextNoteWidget*>());

        const QImage result = w->pages()[0].image;
        int top = -1, bottom = -1;
        for (int y = 0; y < 2200; ++y) {
            for (int x = 0; x < 1728; ++x) {
                if (isBlack(result, x, y)) {
                    QVERIFY2(x >= 300 && y >= 600, "ink outside the note");
                    if (top < 0)
                        top = y;
                    bottom = y;
                }
            }
        }
        QVERIFY(top >= 0);
        const int height = bottom - top + 1;
        QVERIFY2(height >= size / 2 && height <= size, qPrintable(QString::number(height)));

        // A note without text goes away and leaves the page alone.
        w->addText();
        note = pageLabel()->findChild<TextNoteWidget*>();
        QTest::mouseClick(TestSupport::find<QPushButton>(note, "button_hide"), Qt::LeftButton);
        QTRY_VERIFY(!pageLabel()->findChild<TextNoteWidget*>());
        QCOMPARE(w->pages()[0].image, result);
    }

    void savesTheCurrentPage_data()
    {
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("written");
        QTest::addColumn<QByteArray>("format");
        QTest::newRow("png typed") << "page.png" << "page.png" << QByteArray("png");
        QTest::newRow("jpg typed") << "page.jpg" << "page.jpg" << QByteArray("jpeg");
        QTest::newRow("no suffix") << "page" << "page.png" << QByteArray("png");
    }
    void savesTheCurrentPage()
    {
        QFETCH(QString, answer);
        QFETCH(QString, written);
        QFETCH(QByteArray, format);
        FaxDetailWindow* w = open(1);
        openBands(w, 1);
        DialogUtil::queueAnswer(path(answer));
        action("action_page_save")->trigger();
        QImageReader reader(path(written));
        QCOMPARE(reader.format(), format);
        QCOMPARE(reader.size(), QSize(1728, 2200));
    }
};

VELKOR_TEST_MAIN(TestFaxDetailWindow)
#include "TestFaxDetailWindow.moc"

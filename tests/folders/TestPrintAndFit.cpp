// Poppler's headers still use QLinkedList, which the project's deprecation floor hides.
#undef QT_DISABLE_DEPRECATED_BEFORE
#define QT_DISABLE_DEPRECATED_BEFORE 0x050E00

#include "DialogUtil.h"
#include "FaxDetailWindow.h"
#include "FaxPrinter.h"
#include "FolderTestData.h"
#include "MessageBoxUtil.h"
#include "MyImageViewer.h"
#include "TestSupport.h"

#include <QAction>
#include <QFile>
#include <QLabel>
#include <QPrinter>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <memory>
#include <poppler-qt5.h>

using namespace FolderTestData;

namespace {
QImage blackPage(const QSize& size)
{
    QImage image(size, QImage::Format_RGBA8888);
    image.fill(Qt::black);
    return image;
}

// The box of the dark pixels.
QRect inkBox(const QImage& image)
{
    QRect box;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (qGray(image.pixel(x, y)) < 128)
                box |= QRect(x, y, 1, 1);
    return box;
}

FaxDetailWindow* openWindow(int mode, const QString& path)
{
    Fax fax;
    fax.editorMode = mode;
    fax.filepath = path;
    auto* window = new FaxDetailWindow(fax);
    window->resize(900, 700);
    window->show();
    return window;
}
} // namespace

class TestPrintAndFit : public QObject
{
    Q_OBJECT

    QString m_dir;
    QString m_fax; // one portrait page

private slots:
    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        m_dir = TestSupport::documentsPath();
        m_fax = m_dir + QStringLiteral("fax.tif");
        QVERIFY(writeFaxFile(m_fax, { 1728 }));
    }

    void printsWholePagesCentred_data()
    {
        QTest::addColumn<int>("dpi");
        QTest::addColumn<QSize>("page");
        QTest::addColumn<bool>("report");
        QTest::newRow("fine, 300 dpi") << 300 << QSize(1728, 2200) << false;
        QTest::newRow("fine, 600 dpi") << 600 << QSize(1728, 2200) << false;
        QTest::newRow("fine, 1200 dpi") << 1200 << QSize(1728, 2200) << false;
        QTest::newRow("standard, 600 dpi") << 600 << QSize(1728, 1100) << false;
        QTest::newRow("turned, 600 dpi") << 600 << QSize(2200, 1728) << false;
        QTest::newRow("report, 600 dpi") << 600 << QSize(1728, 2254) << true;
    }

    // One factor for both axes, the whole page in the printable area, centred.
    void printsWholePagesCentred()
    {
        QFETCH(int, dpi);
        QFETCH(QSize, page);
        QFETCH(bool, report);
        const QString out = m_dir + QStringLiteral("printed.pdf");
        QRectF area;
        {
            QPrinter printer(QPrinter::HighResolution);
            printer.setOutputFormat(QPrinter::PdfFormat);
            printer.setResolution(dpi);
            printer.setPageSize(QPageSize(QPageSize::A4));
            printer.setOutputFileName(out);
            area = printer.pageRect(QPrinter::Point);
            FaxPrinter::setTestPrinter(&printer);
            if (report) {
                std::unique_ptr<FaxDetailWindow> window(openWindow(FaxDetailWindow::MODE_REPORT, QString()));
                window->showReportImage(blackPage(page));
                TestSupport::find<QAction>(window.get(), "action_print")->trigger();
            } else {
                const QString path = m_dir + QStringLiteral("black.tif");
                QVERIFY(TiffUtil::writeImgToTiff({ blackPage(page) }, path));
                QVERIFY(FaxPrinter::printFax(nullptr, path));
            }
            FaxPrinter::setTestPrinter(nullptr);
        }
        std::unique_ptr<Poppler::Document> doc(Poppler::Document::load(out));
        QVERIFY(doc && doc->numPages() == 1);
        const QRect ink = inkBox(std::unique_ptr<Poppler::Page>(doc->page(0))->renderToImage(72, 72));
        const double want = double(page.height()) / page.width();
        const double got = double(ink.height()) / ink.width();
        QVERIFY2(qAbs(got / want - 1) < 0.02, qPrintable(QStringLiteral("aspect %1, page %2").arg(got).arg(want)));
        QVERIFY2((QPointF(ink.center()) - area.center()).manhattanLength() <= 3,
                 qPrintable(QStringLiteral("centre %1,%2").arg(ink.center().x()).arg(ink.center().y())));
        QVERIFY(qMin(qAbs(ink.width() - area.width()), qAbs(ink.height() - area.height())) <= 2);
    }

    void opensFittedAndRemembersTheChoice_data()
    {
        QTest::addColumn<QString>("where");
        QTest::newRow("viewer") << "viewer";
        QTest::newRow("report") << "report";
        QTest::newRow("preview") << "preview";
    }

    // The whole page at first; "fit width" fills the width without sideways scrolling, and the
    // next window opens so.
    void opensFittedAndRemembersTheChoice()
    {
        QFETCH(QString, where);
        for (int round = 0; round < 2; ++round) {
            std::unique_ptr<QWidget> widget;
            if (where == QLatin1String("preview")) {
                auto* viewer = new MyImageViewer;
                widget.reset(viewer);
                viewer->resize(700, 500);
                viewer->show();
                QVERIFY(QTest::qWaitForWindowExposed(viewer));
                QCOMPARE(viewer->openImageResource(m_fax), 0);
            } else if (where == QLatin1String("report")) {
                auto* window = openWindow(FaxDetailWindow::MODE_REPORT, QString());
                widget.reset(window);
                QVERIFY(QTest::qWaitForWindowExposed(window));
                window->showReportImage(blackPage(QSize(1728, 2254)));
            } else {
                widget.reset(openWindow(FaxDetailWindow::MODE_VIEW, m_fax));
                QVERIFY(QTest::qWaitForWindowExposed(widget.get()));
            }
            auto* area = widget->findChild<QScrollArea*>(QStringLiteral("scrollArea"));
            auto* label = qobject_cast<QLabel*>(area->widget());
            QVERIFY(label);
            QApplication::processEvents();
            const QSize shown = label->pixmap(Qt::ReturnByValue).size();
            const QSize room = area->maximumViewportSize();
            if (round == 0) {
                QVERIFY2(shown.width() <= room.width() && shown.height() <= room.height(),
                         qPrintable(QStringLiteral("%1x%2 in %3x%4").arg(shown.width()).arg(shown.height())
                                        .arg(room.width()).arg(room.height())));
                QVERIFY(qMin(room.width() - shown.width(), room.height() - shown.height()) <= 1);
                if (where == QLatin1String("preview"))
                    TestSupport::find<QPushButton>(widget.get(), "button_fit_width")->click();
                else
                    TestSupport::find<QAction>(widget.get(), "action_fit_width")->trigger();
                QApplication::processEvents();
            }
            QVERIFY(label->pixmap(Qt::ReturnByValue).height() > room.height());
            QCOMPARE(area->horizontalScrollBar()->maximum(), 0);
            QVERIFY(area->viewport()->width() - label->pixmap(Qt::ReturnByValue).width() <= 2);
        }
    }

    void savesInTheChosenFormat_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("written");
        QTest::addColumn<QByteArray>("head");
        QTest::newRow("page, JPEG chosen") << 0 << "p\nJPEG(*.jpg)" << "p.jpg" << QByteArray("\xFF\xD8\xFF");
        QTest::newRow("report, nothing chosen") << 3 << "r" << "r.pdf" << QByteArray("%PDF");
        QTest::newRow("report, PNG chosen") << 3 << "r\nPNG(*.png)" << "r.png" << QByteArray("\x89PNG");
    }

    void savesInTheChosenFormat()
    {
        QFETCH(int, mode);
        QFETCH(QString, answer);
        QFETCH(QString, written);
        QFETCH(QByteArray, head);
        std::unique_ptr<FaxDetailWindow> window(openWindow(mode, mode == 0 ? m_fax : QString()));
        if (mode == FaxDetailWindow::MODE_REPORT)
            window->showReportImage(blackPage(QSize(1728, 2254)));
        DialogUtil::queueAnswer(m_dir + answer);
        TestSupport::find<QAction>(window.get(), "action_page_save")->trigger();
        QFile file(m_dir + written);
        QVERIFY(file.open(QIODevice::ReadOnly));
        QCOMPARE(file.read(head.size()), head);
        QVERIFY(MessageBoxUtil::takeShown().value(0).text.contains(file.fileName()));
    }
};

VELKOR_TEST_MAIN(TestPrintAndFit)
#include "TestPrintAndFit.moc"

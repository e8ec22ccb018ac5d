#include "EditorTestData.h"
#include "ImageUtil.h"
#include "PdfPageLoader.h"
#include "PdfPageReader.h"
#include "TestSupport.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPdfWriter>

using namespace EditorTestData;

class TestPdfPageLoader : public QObject
{
    Q_OBJECT

    QString m_home;

    // The editor's page as the one-page-at-a-time loop made it.
    static QImage sequentialPage(const QString& path, int index, int dpi)
    {
        PdfPageReader reader;
        if (!reader.open(path))
            return QImage();
        const QImage rendered = reader.renderPage(index, dpi);
        return rendered.isNull() ? QImage() : ImageUtil::getBWImage(ImageUtil::scaleToFaxSize(rendered, "pdf"));
    }

    // Pages of text with a picture, one of them landscape.
    QString textPdf(int pages)
    {
        const QString path = m_home + QStringLiteral("/letters.pdf");
        QPdfWriter writer(path);
        writer.setResolution(150);
        writer.setPageSize(QPageSize(QPageSize::A4));
        QPainter painter(&writer);
        for (int page = 0; page < pages; ++page) {
            if (page > 0) {
                writer.setPageOrientation(page == 2 ? QPageLayout::Landscape : QPageLayout::Portrait);
                writer.newPage();
            }
            QLinearGradient gradient(0, 0, 300, 200);
            gradient.setColorAt(0, QColor::fromHsv(page * 50 % 360, 200, 220));
            gradient.setColorAt(1, Qt::darkBlue);
            painter.fillRect(QRect(700, 80, 300, 200), gradient);
            painter.setFont(QFont(QStringLiteral("Serif"), 10));
            for (int line = 0; line < 40; ++line)
                painter.drawText(60, 320 + line * 30, QStringLiteral("Page %1, line %2: goods received.").arg(page).arg(line));
        }
        painter.end();
        return path;
    }

private slots:
    void init() { m_home = TestSupport::freshHome(); }

    // Pages rendered on several workers come out in order and equal to the sequential loop's.
    void pagesEqualSequentialLoop()
    {
        const QString path = textPdf(5);
        PdfPageLoader loader;
        QVERIFY(loader.start(path, 96, 3));
        QCOMPARE(loader.pageCount(), 5);
        for (int i = 0; i < 5; ++i) {
            QVERIFY(loader.waitFor(i, 20000));
            const QImage page = loader.take(i);
            QCOMPARE(page.size(), QSize(1728, 2200));
            QVERIFY2(page == sequentialPage(path, i, 96), qPrintable(QStringLiteral("page %1").arg(i)));
        }
        QVERIFY(loader.take(5).isNull()); // past the end
    }

    // A file that does not open starts nothing; stopping with pages in flight neither hangs
    // nor leaves a page to take.
    void failureAndStop()
    {
        PdfPageLoader loader;
        QVERIFY(!loader.start(m_home + QStringLiteral("/missing.pdf"), 96));
        QCOMPARE(loader.pageCount(), 0);
        const QString locked = m_home + QStringLiteral("/locked.pdf");
        writeLockedPdf(locked);
        QVERIFY(!loader.start(locked, 96));

        QVERIFY(loader.start(textPdf(8), 96, 2));
        QVERIFY(!loader.take(0).isNull());
        loader.stop();
        QVERIFY(loader.take(1).isNull());
    }
};

VELKOR_TEST_MAIN(TestPdfPageLoader)
#include "TestPdfPageLoader.moc"

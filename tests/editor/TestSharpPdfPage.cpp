#include "ImageUtil.h"
#include "PdfPageReader.h"
#include "TestSupport.h"

#include <QApplication>
#include <QPainter>
#include <QPdfWriter>

#include <algorithm>
#include <cmath>

// The sharp road: a page rendered at fax resolution lands fitted and centred on the raster,
// and a stroke keeps the weight it has on paper.
class TestSharpPdfPage : public QObject
{
    Q_OBJECT

    // Black pixels of column x (or of row y when across) and the first and last of them.
    static int run(const QImage& page, int at, bool across, int& first, int& last)
    {
        first = -1;
        last = -1;
        int count = 0;
        const int length = across ? page.width() : page.height();
        for (int i = 0; i < length; ++i) {
            if (qGray(across ? page.pixel(i, at) : page.pixel(at, i)) < 128) {
                first = first < 0 ? i : first;
                last = i;
                ++count;
            }
        }
        return count;
    }

private slots:
    void geometryAndStroke_data()
    {
        QTest::addColumn<QSizeF>("points");
        QTest::newRow("A4, the height binds") << QSizeF(595, 842);
        QTest::newRow("Letter, the width binds") << QSizeF(612, 792);
        QTest::newRow("A5, not enlarged") << QSizeF(420, 595);
        QTest::newRow("A4 landscape, turned") << QSizeF(842, 595);
    }

    void geometryAndStroke()
    {
        QFETCH(QSizeF, points);
        const QString home = TestSupport::freshHome();
        const QString path = home + QStringLiteral("/bars.pdf");
        {
            // A bar 2 pt thick along the middle of the page each way, ends at the page's edges.
            QPdfWriter writer(path);
            writer.setResolution(72);
            writer.setPageSize(QPageSize(points, QPageSize::Point));
            writer.setPageMargins(QMarginsF(0, 0, 0, 0));
            QPainter p(&writer);
            p.fillRect(QRectF(0, points.height() / 2 - 1, points.width(), 2), Qt::black);
            p.fillRect(QRectF(points.width() / 2 - 1, 0, 2, points.height()), Qt::black);
        }
        PdfPageReader reader;
        QVERIFY(reader.open(path));
        const QImage page = ImageUtil::faxPageFromBits(ImageUtil::faxRasterBits(reader.renderFaxPage(0)));
        QCOMPARE(page.size(), QSize(1728, 2200));

        const QSizeF inches = (points.width() > points.height() ? points.transposed() : points) / 72.0;
        const double fit = std::min({ 1.0, 1728 / (inches.width() * 204), 2200 / (inches.height() * 196) });
        const double width = inches.width() * 204 * fit;
        const double height = inches.height() * 196 * fit;
        int first, last;
        // The bar across: the page's width, centred; 2 pt thick at 196 dpi.
        const int thickRows = run(page, 864 + 20, false, first, last);
        QVERIFY2(std::abs(thickRows - 2 / 72.0 * 196 * fit) <= 1.0, qPrintable(QString::number(thickRows)));
        QVERIFY(std::abs((first + last) / 2.0 - 1100) <= 2);
        const int across = run(page, (first + last) / 2, true, first, last);
        QVERIFY2(std::abs(across - width) <= 2 && std::abs(first - (1728 - width) / 2) <= 2,
                 qPrintable(QStringLiteral("%1 from %2").arg(across).arg(first)));
        // The bar down: the page's height, centred; 2 pt thick at 204 dpi.
        const int thickColumns = run(page, 1100 + 20, true, first, last);
        QVERIFY2(std::abs(thickColumns - 2 / 72.0 * 204 * fit) <= 1.0, qPrintable(QString::number(thickColumns)));
        QVERIFY(std::abs((first + last) / 2.0 - 864) <= 2);
        const int down = run(page, (first + last) / 2, false, first, last);
        QVERIFY2(std::abs(down - height) <= 2 && std::abs(first - (2200 - height) / 2) <= 2,
                 qPrintable(QStringLiteral("%1 from %2").arg(down).arg(first)));
    }
};

VELKOR_TEST_MAIN(TestSharpPdfPage)
#include "TestSharpPdfPage.moc"

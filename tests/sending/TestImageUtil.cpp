#include "ImageUtil.h"
#include "TestSupport.h"

#include <QLinearGradient>
#include <QPainter>

namespace {

const QRgb BLACK = qRgb(0, 0, 0);
const QRgb WHITE = qRgb(255, 255, 255);

QImage filled(int w, int h, QRgb colour, QImage::Format format = QImage::Format_RGB32)
{
    QImage image(w, h, format);
    image.fill(colour);
    return image;
}

// The image with black rectangles painted on it.
QImage withBlack(QImage image, const QList<QRect>& rects)
{
    QPainter painter(&image);
    for (const QRect& r : rects)
        painter.fillRect(r, Qt::black);
    return image;
}

// Gray levels, row by row, as an RGB32 image.
QImage grayImage(const QVector<QVector<int>>& rows)
{
    QImage image(rows.first().size(), rows.size(), QImage::Format_RGB32);
    for (int y = 0; y < rows.size(); ++y)
        for (int x = 0; x < rows[y].size(); ++x)
            image.setPixel(x, y, qRgb(rows[y][x], rows[y][x], rows[y][x]));
    return image;
}

// Points whose red level is below 128 (the thresholders give equal channels).
QVector<QPoint> blackPoints(const QImage& image)
{
    QVector<QPoint> points;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            if (qRed(image.pixel(x, y)) < 128)
                points.append(QPoint(x, y));
    return points;
}

bool isWhite(QRgb rgb) { return qRed(rgb) > 250 && qGreen(rgb) > 250 && qBlue(rgb) > 250; }

using Thresholder = QImage (*)(const QImage&);

// Mean, signature, Sauvola at 99 percent, dither, integral.
const QVector<Thresholder>& thresholders()
{
    static const QVector<Thresholder> all = { ImageUtil::getBWImage, ImageUtil::signBlackWhite,
        [](const QImage& image) { return ImageUtil::getBWBitmapWithSauvola(image, 99); }, ImageUtil::getBWImageWithDither,
        ImageUtil::getBWImageImproveOTSU };
    return all;
}

} // namespace

class TestImageUtil : public QObject
{
    Q_OBJECT

private slots:
    void scaleToFaxSize_data();
    void scaleToFaxSize();
    void knownAnswers_data();
    void knownAnswers();
    void thresholdersAcceptOtherDepths_data();
    void thresholdersAcceptOtherDepths();
    void pdfShortcutMatchesEditorRoad_data();
    void pdfShortcutMatchesEditorRoad();
};

void TestImageUtil::scaleToFaxSize_data()
{
    QTest::addColumn<QImage>("source");
    QTest::addColumn<QString>("suffix");
    QTest::addColumn<QSize>("imprint"); // the size the image takes on the page; invalid: not asked
    QTest::addColumn<QString>("probes"); // "x,y:B" a black point, "x,y:W" a white one, "W:from-to" white rows
    const QImage exact = withBlack(filled(1728, 2200, WHITE), { { 0, 0, 1, 1 }, { 1727, 2199, 1, 1 } });
    QTest::newRow("exact size, kept as it is") << exact << "png" << QSize() << "0,0:B 1727,2199:B 1,0:W";
    // Clockwise: top left goes to top right, with no top margin.
    QTest::newRow("landscape, turned")
        << withBlack(filled(2200, 1728, WHITE), { { 0, 0, 10, 5 }, { 2199, 1727, 1, 1 } }) << "jpg" << QSize()
        << "1727,0:B 1723,9:B 1722,9:W 1727,10:W 0,2199:B 0,0:W";
    QTest::newRow("narrow, below the top margin")
        << withBlack(filled(1728, 1000, WHITE), { { 0, 0, 1, 1 }, { 0, 999, 1728, 1 } }) << "png" << QSize(1728, 1000)
        << "W:0-50 0,50:B 1,50:W 1727,1049:B W:1050-2200";
    QTest::newRow("small, not enlarged") << filled(100, 100, BLACK) << "png" << QSize(100, 100)
                                         << "814,50:B 913,149:B 813,50:W 914,149:W 814,49:W 814,150:W";
    QTest::newRow("large, halved, loses its bottom rows")
        << withBlack(filled(3456, 4400, WHITE), { { 0, 0, 3456, 20 }, { 0, 4300, 3456, 100 } }) << "tif"
        << QSize(1728, 2200) << "W:0-50 864,52:B W:62-2200";
    QTest::newRow("wide and tall: fits the height") << filled(3456, 8800, BLACK) << "bmp" << QSize(864, 2200)
                                                    << "432,100:B 431,100:W 1295,100:B 1296,100:W 432,2199:B";
    QTest::newRow("narrow and tall: fits the height") << filled(1000, 3000, BLACK) << "bmp" << QSize(733, 2200)
                                                      << "497,60:B 496,60:W";
    // A PDF page is stretched over the page and cut at its bottom; only the exact suffix does it.
    const QImage pdf = withBlack(filled(100, 100, WHITE), { { 0, 0, 1, 50 }, { 0, 99, 100, 1 } });
    QTest::newRow("pdf, stretched") << pdf << "pdf" << QSize(1728, 2200) << "W:0-50 0,1000:B 1727,1000:W W:2180-2200";
    QTest::newRow("PDF, not stretched") << pdf << "PDF" << QSize(100, 100)
                                        << "814,50:B 814,99:B 814,100:W 913,149:B 815,60:W";
    QTest::newRow("wide pdf") << filled(500, 100, WHITE) << "pdf" << QSize(1728, 2200) << "";
    QTest::newRow("null: a blank page") << QImage() << "png" << QSize() << "W:0-2200";
}

void TestImageUtil::scaleToFaxSize()
{
    QFETCH(QImage, source);
    QFETCH(QString, suffix);
    QFETCH(QSize, imprint);
    QFETCH(QString, probes);
    if (imprint.isValid())
        QCOMPARE(ImageUtil::imprintImage(source, suffix).size(), imprint);
    const QImage page = ImageUtil::scaleToFaxSize(source, suffix);
    QCOMPARE(page.size(), QSize(1728, 2200));
    if (QByteArray(QTest::currentDataTag()).startsWith("exact"))
        QCOMPARE(page, source); // no margin, no rescaling, same format
    for (const QString& probe : probes.split(' ', Qt::SkipEmptyParts)) {
        if (probe.startsWith("W:")) {
            const int from = probe.section(QRegExp("[:-]"), 1, 1).toInt(), to = probe.section('-', 1).toInt();
            for (int y = from; y < to; ++y)
                for (int x = 0; x < 1728; x += 7)
                    QVERIFY2(isWhite(page.pixel(x, y)), qPrintable(QStringLiteral("%1,%2").arg(x).arg(y)));
            continue;
        }
        const QRgb rgb = page.pixel(probe.section(',', 0, 0).toInt(), probe.section(QRegExp("[,:]"), 1, 1).toInt());
        QVERIFY2(probe.endsWith('B') ? qRed(rgb) < 64 : isWhite(rgb), qPrintable(probe));
    }
}

void TestImageUtil::knownAnswers_data()
{
    QTest::addColumn<int>("method"); // index into thresholders()
    QTest::addColumn<QImage>("source");
    QTest::addColumn<QVector<QPoint>>("black");
    const auto square = [](int x0, int y0, int n) {
        QVector<QPoint> points;
        for (int y = y0; y < y0 + n; ++y)
            for (int x = x0; x < x0 + n; ++x)
                points << QPoint(x, y);
        return points;
    };
    QVector<QVector<int>> rows(5, QVector<int>(5, 200));
    rows[2][2] = 140;
    QVector<QVector<int>> big(16, QVector<int>(16, 100));
    big[5][5] = 80;
    // Mean of a 15 x 15 window minus 5: a square on white comes out as it went in; a flat gray is white.
    QTest::newRow("mean, square") << 0 << withBlack(filled(60, 60, WHITE), { { 20, 10, 10, 10 } }) << square(20, 10, 10);
    QTest::newRow("mean, flat gray") << 0 << filled(40, 40, qRgb(128, 128, 128)) << QVector<QPoint>();
    // g = 0.587 G + 0.2989 R + 0.114 B, truncated, black up to 127; the weights add up to 0.9999.
    QImage sign(9, 1, QImage::Format_ARGB32);
    const QRgb colours[] = { qRgb(127, 127, 127), qRgb(128, 128, 128), qRgb(129, 129, 129), qRgb(255, 0, 0),
        qRgb(0, 0, 255), qRgb(0, 255, 0), qRgb(0, 218, 0), qRgb(0, 219, 0), WHITE };
    for (int x = 0; x < 9; ++x)
        sign.setPixel(x, 0, colours[x]);
    QTest::newRow("signature") << 1 << sign << QVector<QPoint> { { 0, 0 }, { 1, 0 }, { 3, 0 }, { 4, 0 }, { 6, 0 } };
    // Window (x-1, x+1] x (y-1, y+1] at percent 99: at the centre 140, 200, 200, 200 give mean 185,
    // sd 30, T = 185 * (1 + 0.3 * (30/128 - 1)) = 142.5. One row has no window: all white.
    QTest::newRow("sauvola") << 2 << grayImage(rows) << QVector<QPoint> { { 2, 2 } };
    QTest::newRow("sauvola, one row") << 2 << filled(20, 1, BLACK) << QVector<QPoint>();
    // Weights 7, 1, 5, 3 over 26: of a flat 100 only the middle row's right pixel collects enough
    // error (103 + 32) to turn white. 250 turns white with error -5: the right pixel gets -35/26 = -1,
    // which wraps 0 to 255; the pixel below gets -25/26 = 0 (truncation, not floor) and stays black.
    QTest::newRow("dither, flat") << 3 << grayImage({ { 100, 100, 100 }, { 100, 100, 100 }, { 100, 100, 100 } })
                                  << square(0, 0, 3).mid(0, 5) + square(0, 0, 3).mid(6);
    // 102 + 7 * 100 / 26 = 128: white; the -127 it passes on wraps the right pixel to 222.
    QTest::newRow("dither, weight 7") << 3 << grayImage({ { 0, 100, 102, 0 }, { 0, 0, 0, 0 } })
                                      << QVector<QPoint> { { 0, 0 }, { 1, 0 }, { 0, 1 }, { 1, 1 } };
    QTest::newRow("dither, wrap") << 3 << grayImage({ { 0, 250, 0 }, { 0, 0, 0 } })
                                  << QVector<QPoint> { { 0, 0 }, { 0, 1 }, { 1, 1 }, { 2, 1 } };
    // 16 rows: half window 1; at 80 among 100: 380 * 85 / 100 = 323 > 4 * 80. Under 16 rows: no window.
    QTest::newRow("integral") << 4 << grayImage(big) << QVector<QPoint> { { 5, 5 } };
    QTest::newRow("integral, 15 rows") << 4 << withBlack(filled(16, 15, WHITE), { { 0, 7, 16, 8 } }) << QVector<QPoint>();
}

void TestImageUtil::knownAnswers()
{
    QFETCH(int, method);
    QFETCH(QImage, source);
    QFETCH(QVector<QPoint>, black);
    const QImage result = thresholders()[method](source);
    QCOMPARE(result.format(), method == 1 ? QImage::Format_RGB888 : QImage::Format_RGBA8888);
    QCOMPARE(result.size(), source.size());
    QCOMPARE(blackPoints(result), black);
    for (int y = 0; y < result.height(); ++y) // pure, opaque black and white
        for (int x = 0; x < result.width(); ++x)
            QVERIFY(result.pixel(x, y) == 0xFF000000u || result.pixel(x, y) == 0xFFFFFFFFu);
    if (method != 1)
        QVERIFY(thresholders()[method](QImage()).isNull());
}

void TestImageUtil::thresholdersAcceptOtherDepths_data()
{
    QTest::addColumn<int>("format");
    QTest::newRow("gray8") << int(QImage::Format_Grayscale8);
    QTest::newRow("mono") << int(QImage::Format_Mono);
    QTest::newRow("rgb16") << int(QImage::Format_RGB16);
}

void TestImageUtil::thresholdersAcceptOtherDepths()
{
    QFETCH(int, format);
    const QImage reference = withBlack(filled(48, 40, WHITE), { { 10, 8, 6, 5 }, { 30, 20, 3, 12 } });
    QImage other = reference.convertToFormat(QImage::Format(format));
    QVERIFY(other.depth() != 32);

    for (Thresholder threshold : thresholders())
        QCOMPARE(threshold(other), threshold(reference));
    QCOMPARE(blackPoints(ImageUtil::getBWImage(other)).size(), 6 * 5 + 3 * 12);
}

void TestImageUtil::pdfShortcutMatchesEditorRoad_data()
{
    // A page as Poppler renders one: text-like strokes, a photo-like gradient with noise
    // (where the local threshold has real work), in the formats and sizes that take the
    // shortcut and those that fall back to the ordinary road.
    auto rendered = [](int w, int h, QImage::Format format) {
        QImage image(w, h, format);
        image.fill(Qt::white);
        QPainter painter(&image);
        QLinearGradient gradient(0, 0, w, h);
        gradient.setColorAt(0, QColor(230, 40, 90));
        gradient.setColorAt(1, QColor(20, 180, 250));
        painter.fillRect(QRect(w / 2, h / 8, w / 3, h / 4), gradient);
        painter.setFont(QFont(QStringLiteral("Sans"), 9));
        for (int line = 0; line < h / 20; ++line)
            painter.drawText(10, 20 + line * 18, QStringLiteral("Invoice %1, pay within 30 days.").arg(line));
        painter.end();
        quint32 seed = 7;
        for (int i = 0; i < w * h / 50; ++i) {
            seed = seed * 1103515245u + 12345u;
            image.setPixel(int(seed % quint32(w)), int((seed >> 8) % quint32(h)), qRgb(int(seed >> 24), 90, 160));
        }
        return image;
    };
    QTest::addColumn<QImage>("page");
    QTest::newRow("A4 at 96 dpi") << rendered(794, 1123, QImage::Format_RGB32);
    QTest::newRow("wide, stretched") << rendered(1123, 794, QImage::Format_RGB32);
    QTest::newRow("larger than the page") << rendered(2480, 3508, QImage::Format_RGB32);
    QTest::newRow("with alpha") << rendered(600, 800, QImage::Format_ARGB32_Premultiplied);
    QTest::newRow("exact size, kept") << rendered(1728, 2200, QImage::Format_RGB32);
    QTest::newRow("turned size") << rendered(2200, 1728, QImage::Format_RGB32);
    QTest::newRow("null") << QImage();

    // Every channel over its whole range: a gray conversion off by one weight shows here.
    QImage noise(797, 1131, QImage::Format_RGB32);
    quint32 seed = 11;
    for (int y = 0; y < noise.height(); ++y) {
        auto* line = reinterpret_cast<QRgb*>(noise.scanLine(y));
        for (int x = 0; x < noise.width(); ++x) {
            seed = seed * 1664525u + 1013904223u;
            line[x] = qRgb(int(seed >> 24), int((seed >> 16) & 0xFF), int((seed >> 8) & 0xFF));
        }
    }
    QTest::newRow("random colours") << noise;
}

void TestImageUtil::pdfShortcutMatchesEditorRoad()
{
    QFETCH(QImage, page);
    const QImage road = ImageUtil::getBWImage(ImageUtil::scaleToFaxSize(page, "pdf"));
    const QImage shortcut = ImageUtil::pdfPageToFax(page);
    QCOMPARE(shortcut.format(), road.format());
    QCOMPARE(shortcut.size(), road.size());
    QVERIFY(shortcut == road);
}

VELKOR_TEST_MAIN(TestImageUtil)
#include "TestImageUtil.moc"

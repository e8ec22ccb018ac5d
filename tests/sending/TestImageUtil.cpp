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

bool onlyPureBlackAndWhite(const QImage& image)
{
    if (image.format() != QImage::Format_RGBA8888)
        return false;
    for (int y = 0; y < image.height(); ++y) {
        const uchar* line = image.constScanLine(y);
        for (int x = 0; x < image.width() * 4; x += 4) {
            const bool black = line[x] == 0 && line[x + 1] == 0 && line[x + 2] == 0;
            const bool white = line[x] == 255 && line[x + 1] == 255 && line[x + 2] == 255;
            if ((!black && !white) || line[x + 3] != 255)
                return false;
        }
    }
    return true;
}

} // namespace

class TestImageUtil : public QObject
{
    Q_OBJECT

private slots:
    void scaleToFaxSize_data();
    void scaleToFaxSize();
    void meanThresholdGivesPureBlackAndWhite();
    void thresholdersAcceptOtherDepths_data();
    void thresholdersAcceptOtherDepths();
    void signatureThresholdAt127();
    void sauvolaKnownAnswers();
    void ditherKnownAnswers();
    void integralThresholdKnownAnswers();
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

void TestImageUtil::meanThresholdGivesPureBlackAndWhite()
{
    // A gradient with a small dark square and a gray stroke, on a canvas.
    QImage source(400, 300, QImage::Format_RGB32);
    for (int y = 0; y < source.height(); ++y)
        for (int x = 0; x < source.width(); ++x)
            source.setPixel(x, y, qRgb(x * 255 / 400, (x + y) % 256, y * 255 / 300));
    QVERIFY(onlyPureBlackAndWhite(ImageUtil::getBWImage(ImageUtil::scaleToFaxSize(source, "png"))));
    QVERIFY(ImageUtil::getBWImage(QImage()).isNull());

    // A 10 x 10 black square on white comes out exactly as it went in.
    const QImage square = withBlack(filled(60, 60, WHITE), { { 20, 10, 10, 10 } });
    const QVector<QPoint> black = blackPoints(ImageUtil::getBWImage(square));
    QCOMPARE(black.size(), 100);
    QCOMPARE(black.first(), QPoint(20, 10));
    QCOMPARE(black.last(), QPoint(29, 19));

    // A uniform gray field lies above its own mean minus 5: white.
    QImage gray = filled(40, 40, qRgb(128, 128, 128));
    QVERIFY(blackPoints(ImageUtil::getBWImage(gray)).isEmpty());
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

    QCOMPARE(ImageUtil::getBWImage(other), ImageUtil::getBWImage(reference));
    QCOMPARE(ImageUtil::getBWBitmapWithSauvola(other, 95), ImageUtil::getBWBitmapWithSauvola(reference, 95));
    QCOMPARE(ImageUtil::getBWImageWithDither(other), ImageUtil::getBWImageWithDither(reference));
    QCOMPARE(ImageUtil::getBWImageImproveOTSU(other), ImageUtil::getBWImageImproveOTSU(reference));
    QCOMPARE(blackPoints(ImageUtil::getBWImage(other)).size(), 6 * 5 + 3 * 12);
}

void TestImageUtil::signatureThresholdAt127()
{
    // g = 0.587 G + 0.2989 R + 0.114 B, truncated; the weights add up to 0.9999.
    const QVector<QPair<QRgb, bool>> cases = {
        {qRgb(127, 127, 127), true}, {qRgb(128, 128, 128), true}, {qRgb(129, 129, 129), false},
        {qRgb(255, 0, 0), true},     {qRgb(0, 0, 255), true},     {qRgb(0, 255, 0), false},
        {qRgb(0, 218, 0), true},     {qRgb(0, 219, 0), false},    {qRgb(255, 255, 255), false},
    };
    QImage source(cases.size(), 1, QImage::Format_ARGB32);
    for (int i = 0; i < cases.size(); ++i)
        source.setPixel(i, 0, cases[i].first);
    const QImage result = ImageUtil::signBlackWhite(source);
    QCOMPARE(result.format(), QImage::Format_RGB888);
    QCOMPARE(result.size(), source.size());
    for (int i = 0; i < cases.size(); ++i) {
        const QRgb expected = cases[i].second ? 0xFF000000u : 0xFFFFFFFFu;
        QVERIFY2(result.pixel(i, 0) == expected, qPrintable(QString::number(source.pixel(i, 0), 16)));
    }
}

void TestImageUtil::sauvolaKnownAnswers()
{
    // Window (x-1, x+1] x (y-1, y+1] with percent 99. At the centre the window holds
    // 140, 200, 200, 200: mean 185, sd 30, T = 185 * (1 + 0.3 * (30/128 - 1)) = 142.5.
    QVector<QVector<int>> rows(5, QVector<int>(5, 200));
    rows[2][2] = 140;
    QImage dark = grayImage(rows);
    QImage result = ImageUtil::getBWBitmapWithSauvola(dark, 99);
    QCOMPARE(result.format(), QImage::Format_RGBA8888);
    QCOMPARE(blackPoints(result), QVector<QPoint>{QPoint(2, 2)});
    QVERIFY(onlyPureBlackAndWhite(result));

    // A single row has no window below it: every pixel is white.
    QImage line = filled(20, 1, BLACK);
    QVERIFY(blackPoints(ImageUtil::getBWBitmapWithSauvola(line, 99)).isEmpty());
}

void TestImageUtil::ditherKnownAnswers()
{
    // 3 x 3 of gray 100, worked by hand with the weights 7, 1, 5, 3 over 26: only the
    // right pixel of the middle row collects enough error (103 + 32 = 135) to turn white.
    QImage flat = grayImage({{100, 100, 100}, {100, 100, 100}, {100, 100, 100}});
    QImage result = ImageUtil::getBWImageWithDither(flat);
    QCOMPARE(result.format(), QImage::Format_RGBA8888);
    QVERIFY(onlyPureBlackAndWhite(result));
    QCOMPARE(blackPoints(result).size(), 8);
    QCOMPARE(result.pixel(2, 1), WHITE);

    // 250 turns white with error -5: the right pixel gets -35/26 = -1, which wraps 0 to 255;
    // the pixel below gets -25/26 = 0 (truncation, not floor) and stays black.
    QImage wrap = grayImage({{0, 250, 0}, {0, 0, 0}});
    result = ImageUtil::getBWImageWithDither(wrap);
    QCOMPARE(blackPoints(result), (QVector<QPoint>{QPoint(0, 0), QPoint(0, 1), QPoint(1, 1), QPoint(2, 1)}));
}

void TestImageUtil::integralThresholdKnownAnswers()
{
    // 16 rows: window 2, half window 1, window (x-1, x+1] x (y-1, y+1].
    // At 80 among 100: sum 380, 380 * 85 / 100 = 323 > 4 * 80 = 320: black.
    QVector<QVector<int>> rows(16, QVector<int>(16, 100));
    rows[5][5] = 80;
    QImage dark = grayImage(rows);
    QImage result = ImageUtil::getBWImageImproveOTSU(dark);
    QCOMPARE(result.format(), QImage::Format_RGBA8888);
    QVERIFY(onlyPureBlackAndWhite(result));
    QCOMPARE(blackPoints(result), QVector<QPoint>{QPoint(5, 5)});

    // Fewer than 16 rows leave a half window of 0: nothing is black.
    QImage shallow = filled(16, 15, WHITE);
    shallow = withBlack(shallow, { { 0, 7, 16, 8 } });
    QVERIFY(blackPoints(ImageUtil::getBWImageImproveOTSU(shallow)).isEmpty());
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

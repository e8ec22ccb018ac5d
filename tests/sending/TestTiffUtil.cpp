#include "ImageUtil.h"
#include "TiffPageWriter.h"
#include "TestSupport.h"
#include "TiffUtil.h"

#include <QDir>
#include <QFile>
#include <QPainter>
#include <QTemporaryDir>

#include <tiffio.h>

#include <cstdio>
#include <unistd.h>

namespace {

QImage blankPage(int w = 1728, int h = 2200)
{
    QImage page(w, h, QImage::Format_RGBA8888);
    page.fill(Qt::white);
    return page;
}

// A black-and-white page with a few shapes that depend on seed, so pages differ.
QImage patternPage(int seed, int w = 1728, int h = 2200)
{
    QImage page = blankPage(w, h);
    QPainter painter(&page);
    painter.fillRect(QRect(100 + seed * 40, 200, 300, 80), Qt::black);
    painter.fillRect(QRect(w - 1, 0, 1, h), Qt::black); // last column
    painter.fillRect(QRect(0, h - 1 - seed, w, 1), Qt::black);
    for (int i = 0; i < 40; ++i)
        painter.fillRect(QRect(50 + i * 37, 900 + (i * seed) % 300, 3 + i % 5, 60), Qt::black);
    painter.end();
    return page;
}

QByteArray readAll(const QString& path)
{
    QFile file(path);
    file.open(QIODevice::ReadOnly);
    return file.readAll();
}

void writeBytes(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(bytes);
}

// An uncompressed 1-bit page of width x height with the given YResolution (0: no tag),
// written with libtiff; every other row black.
void writeStripedTiff(const QString& path, int width, int height, float yres)
{
    TIFF* tif = TIFFOpen(path.toUtf8().constData(), "w");
    QVERIFY(tif);
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, height);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 1);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_NONE);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, height);
    TIFFSetField(tif, TIFFTAG_XRESOLUTION, 204.0);
    if (yres > 0)
        TIFFSetField(tif, TIFFTAG_YRESOLUTION, double(yres));
    TIFFSetField(tif, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    QByteArray row((width + 7) / 8, '\0');
    for (int r = 0; r < height; ++r) {
        row.fill(r % 2 ? '\0' : '\xFF');
        QVERIFY(TIFFWriteScanline(tif, row.data(), r, 0) >= 0);
    }
    TIFFClose(tif);
}

bool pureBlackAndWhite(const QImage& image)
{
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x) {
            const QRgb p = image.pixel(x, y);
            if (p != qRgb(0, 0, 0) && p != qRgb(255, 255, 255))
                return false;
        }
    return true;
}

} // namespace

class TestTiffUtil : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void pagesSurviveRoundTrip();
    void pagesCarryFaxTags();
    void turnedAndOddWidthPages();
    void grayPagesAreThresholdedPerPage();
    void blackAndWhiteShortcutKeepsBits();
    void emptyListGivesFileWithoutPages();
    void rewriteReplacesWholeFile();
    void failedWriteLeavesNoFile();
    void standardResolutionIsDoubled();
    void missingFile();
    void garbageFiles();
    void truncatedFilesKeepWholePages();
    void errorsGoToStandardOutput();

private:
    QString path(const QString& name) const { return m_dir->filePath(name); }
    QString writtenFile(int pages);

    std::unique_ptr<QTemporaryDir> m_dir;
};

void TestTiffUtil::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    QVERIFY(m_dir->isValid());
}

QString TestTiffUtil::writtenFile(int pages)
{
    QList<QImage> images;
    for (int i = 0; i < pages; ++i)
        images.append(patternPage(i));
    QString file = path(QStringLiteral("fax %1.tif").arg(pages));
    if (!TiffUtil::writeImgToTiff(images, file))
        return QString();
    return file;
}

void TestTiffUtil::pagesSurviveRoundTrip()
{
    QList<QImage> pages = {patternPage(1), blankPage(), patternPage(2)};
    pages[1].fill(Qt::black); // an all-black page stays black
    QString file = path("2026-01-02 03:04:05.tif"); // the names of this system hold blank and colons
    QVERIFY(TiffUtil::writeImgToTiff(pages, file));

    QCOMPARE(TiffUtil::getTiffPage(file), 3);
    const QList<QImage> read = TiffUtil::tiffToImg(file);
    QCOMPARE(read.size(), 3);
    for (int i = 0; i < 3; ++i) {
        QCOMPARE(read[i].format(), QImage::Format_RGBA8888);
        QCOMPARE(read[i].size(), QSize(1728, 2200));
        QVERIFY2(read[i] == pages[i], qPrintable(QStringLiteral("page %1 differs").arg(i + 1)));
    }
    // Page by page gives the same pages, and nothing past the last or before the first.
    for (int i = 0; i < 3; ++i)
        QVERIFY2(TiffUtil::tiffPageToImg(file, i) == pages[i], qPrintable(QStringLiteral("page %1 alone differs").arg(i + 1)));
    QVERIFY(TiffUtil::tiffPageToImg(file, 3).isNull());
    QVERIFY(TiffUtil::tiffPageToImg(file, -1).isNull());
    QVERIFY(TiffUtil::tiffPageToImg(path("missing.tif"), 0).isNull());
    const QList<QPixmap> pixmaps = TiffUtil::tiffToPixmap(file);
    QCOMPARE(pixmaps.size(), 3);
    QCOMPARE(pixmaps[2].toImage().convertToFormat(QImage::Format_RGBA8888), pages[2]);
}

void TestTiffUtil::pagesCarryFaxTags()
{
    QString file = writtenFile(2);
    QVERIFY(!file.isEmpty());
    TIFF* tif = TIFFOpen(file.toUtf8().constData(), "r");
    QVERIFY(tif);
    const QList<QPair<ttag_t, int>> shorts = {{TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH}, {TIFFTAG_BITSPERSAMPLE, 1},
                                              {TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX3}, {TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE},
                                              {TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT}, {TIFFTAG_SAMPLESPERPIXEL, 1},
                                              {TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG}};
    const QList<QPair<ttag_t, quint32>> longs = {{TIFFTAG_SUBFILETYPE, FILETYPE_PAGE}, {TIFFTAG_IMAGEWIDTH, 1728}, {TIFFTAG_IMAGELENGTH, 2200},
                                                 {TIFFTAG_ROWSPERSTRIP, 2200}, {TIFFTAG_GROUP3OPTIONS, GROUP3OPT_2DENCODING}};
    for (int page = 1; page <= 2; ++page) {
        uint32_t u32 = 0;
        uint16_t u16 = 0, u16b = 0;
        float f = 0;
        char* text = nullptr;
        for (const auto& tag : shorts) {
            u16 = 0xFFFF;
            QVERIFY(TIFFGetField(tif, tag.first, &u16));
            QCOMPARE(int(u16), tag.second);
        }
        for (const auto& tag : longs) {
            u32 = 0xFFFFFFFF;
            QVERIFY(TIFFGetField(tif, tag.first, &u32));
            QCOMPARE(u32, tag.second);
        }
        QCOMPARE(TIFFNumberOfStrips(tif), 1u);
        TIFFGetField(tif, TIFFTAG_XRESOLUTION, &f);
        QCOMPARE(f, 204.0f);
        TIFFGetField(tif, TIFFTAG_YRESOLUTION, &f);
        QCOMPARE(f, 196.0f);
        QVERIFY(TIFFGetField(tif, TIFFTAG_PAGENUMBER, &u16, &u16b));
        QCOMPARE(int(u16), page);
        QCOMPARE(int(u16b), 2);
        QVERIFY(TIFFGetField(tif, TIFFTAG_PAGENAME, &text));
        QCOMPARE(QString::fromLatin1(text), QStringLiteral("Page %1").arg(page));
        QCOMPARE(TIFFReadDirectory(tif), page == 1 ? 1 : 0);
    }
    TIFFClose(tif);

    // Black is a set bit (min-is-white), the leftmost pixel in the top bit.
    tif = TIFFOpen(file.toUtf8().constData(), "r");
    QByteArray row(int(TIFFScanlineSize(tif)), '\0');
    QCOMPARE(row.size(), 216);
    QVERIFY(TIFFReadScanline(tif, row.data(), 0, 0) == 1); // only the last column is black
    QCOMPARE(row, QByteArray(215, '\0') + QByteArray(1, '\x01'));
    for (uint32_t r = 1; r < 2200; ++r) // Group 3 reads in order only
        QVERIFY(TIFFReadScanline(tif, row.data(), r, 0) == 1);
    QCOMPARE(row, QByteArray(216, '\xFF')); // the bottom row of page 1 is black
    TIFFClose(tif);
}

void TestTiffUtil::turnedAndOddWidthPages()
{
    QList<QImage> pages = {patternPage(1, 2200, 1728), patternPage(3, 13, 6)};
    // The odd page is thresholded per page: keep it black-and-white with both colours.
    pages[1].setPixel(0, 0, qRgb(0, 0, 0));
    QString file = path("turned.tif");
    QVERIFY(TiffUtil::writeImgToTiff(pages, file));
    const QList<QImage> read = TiffUtil::tiffToImg(file);
    QCOMPARE(read.size(), 2);
    QCOMPARE(read[0].size(), QSize(2200, 1728));
    QCOMPARE(read[0], pages[0]);
    QCOMPARE(read[1].size(), QSize(13, 6));
    QCOMPARE(read[1], pages[1]);
}

void TestTiffUtil::grayPagesAreThresholdedPerPage()
{
    // Dark gray on light gray, and the same shape in two other grays: Otsu finds a level
    // between the two grays of each page. Pages of other depths are taken too.
    QImage first(200, 100, QImage::Format_RGB32);
    first.fill(qRgb(200, 200, 200));
    QPainter(&first).fillRect(QRect(20, 20, 50, 50), QColor(60, 60, 60));
    QImage second(200, 100, QImage::Format_RGB32);
    second.fill(qRgb(30, 30, 30));
    QPainter(&second).fillRect(QRect(20, 20, 50, 50), QColor(10, 10, 10));
    second = second.convertToFormat(QImage::Format_Grayscale8);

    QString file = path("gray.tif");
    QVERIFY(TiffUtil::writeImgToTiff({first, second}, file));
    const QList<QImage> read = TiffUtil::tiffToImg(file);
    QCOMPARE(read.size(), 2);
    for (const QImage& page : read) {
        QVERIFY(pureBlackAndWhite(page));
        QCOMPARE(page.pixel(40, 40), qRgb(0, 0, 0));
        QCOMPARE(page.pixel(100, 40), qRgb(255, 255, 255));
    }
}

void TestTiffUtil::emptyListGivesFileWithoutPages()
{
    QString file = path("empty.tif");
    QVERIFY(TiffUtil::writeImgToTiff({}, file));
    QVERIFY(QFile::exists(file));
    QVERIFY(readAll(file).startsWith(QByteArray("II*\0", 4)) || readAll(file).startsWith(QByteArray("MM\0*", 4)));
    QCOMPARE(TiffUtil::getTiffPage(file), 0);
    QVERIFY(TiffUtil::tiffToImg(file).isEmpty());
}

void TestTiffUtil::rewriteReplacesWholeFile()
{
    QString file = writtenFile(3);
    QVERIFY(!file.isEmpty());
    QCOMPARE(TiffUtil::getTiffPage(file), 3);
    QVERIFY(TiffUtil::writeImgToTiff({blankPage()}, file));
    QCOMPARE(TiffUtil::getTiffPage(file), 1);
    // Nothing but the finished file is left in the folder.
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files), QStringList{QFileInfo(file).fileName()});
}

void TestTiffUtil::failedWriteLeavesNoFile()
{
    QString nowhere = path("missing-folder/fax.tif");
    QVERIFY(!TiffUtil::writeImgToTiff({blankPage()}, nowhere));
    QVERIFY(!QFile::exists(nowhere));

    // A page that cannot be written fails the file; the older file under the name is kept.
    QString file = writtenFile(2);
    QVERIFY(!file.isEmpty());
    const QByteArray before = readAll(file);
    QVERIFY(!TiffUtil::writeImgToTiff({blankPage(), QImage()}, file));
    QCOMPARE(readAll(file), before);
    QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files).size(), 1);
}

void TestTiffUtil::standardResolutionIsDoubled()
{
    QString standard = path("standard.tif");
    writeStripedTiff(standard, 16, 10, 98.0f);
    const QList<QImage> read = TiffUtil::tiffToImg(standard);
    QCOMPARE(read.size(), 1);
    QCOMPARE(read[0].size(), QSize(16, 20));
    QCOMPARE(read[0].format(), QImage::Format_RGBA8888);
    QCOMPARE(read[0].pixel(5, 0), qRgb(0, 0, 0)); // row 0 is black, row 1 white
    QCOMPARE(read[0].pixel(5, 19), qRgb(255, 255, 255));

    // Fine pages keep their height (TestTiffFuzzRegressions); 130 lines an inch is still within
    // 1.5 of fine, and no resolution at all is read as fine.
    QString between = path("between.tif");
    writeStripedTiff(between, 16, 10, 131.0f);
    QCOMPARE(TiffUtil::tiffToImg(between).value(0).size(), QSize(16, 10));
    QString none = path("none.tif");
    writeStripedTiff(none, 16, 10, 0);
    QCOMPARE(TiffUtil::tiffToPixmap(none).value(0).size(), QSize(16, 10));
}

void TestTiffUtil::missingFile()
{
    QString file = path("nothing-here.tif");
    QCOMPARE(TiffUtil::getTiffPage(file), 0);
    QVERIFY(TiffUtil::tiffToImg(file).isEmpty());
    QVERIFY(TiffUtil::tiffToPixmap(file).isEmpty());
}

void TestTiffUtil::garbageFiles()
{
    const QVector<QByteArray> contents = {
        QByteArray(),
        QByteArray("II*\0", 4),
        QByteArray("II*\0\xFF\xFF\xFF\x7F", 8), // first directory far beyond the end
        QByteArray("%PDF-1.4 not a tiff at all"),
        QByteArray(4096, '\xA5'),
    };
    QString file = path("garbage.tif");
    for (const QByteArray& bytes : contents) {
        writeBytes(file, bytes);
        QCOMPARE(TiffUtil::getTiffPage(file), 0);
        QVERIFY(TiffUtil::tiffToImg(file).isEmpty());
        QVERIFY(TiffUtil::tiffToPixmap(file).isEmpty());
    }
}

void TestTiffUtil::truncatedFilesKeepWholePages()
{
    QString onePage = writtenFile(1);
    QString threePages = writtenFile(3);
    QVERIFY(!onePage.isEmpty() && !threePages.isEmpty());
    const QByteArray whole = readAll(threePages);
    const int firstPageEnd = int(QFileInfo(onePage).size());
    QVERIFY(firstPageEnd < whole.size());

    // Cut right after the first page's directory: the first page alone is whole.
    QString cut = path("cut.tif");
    writeBytes(cut, whole.left(firstPageEnd));
    QCOMPARE(TiffUtil::getTiffPage(cut), 1);
    QList<QImage> read = TiffUtil::tiffToImg(cut);
    QCOMPARE(read.size(), 1);
    QCOMPARE(read[0], patternPage(0));

    // Cut anywhere: never a crash, never more pages than there were, always full-size pages.
    for (int length = 0; length < whole.size(); length += qMax(1, whole.size() / 40)) {
        writeBytes(cut, whole.left(length));
        const int count = TiffUtil::getTiffPage(cut);
        QVERIFY(count >= 0 && count <= 3);
        read = TiffUtil::tiffToImg(cut);
        QVERIFY(read.size() <= count);
        for (const QImage& page : read)
            QCOMPARE(page.size(), QSize(1728, 2200));
    }
}

void TestTiffUtil::errorsGoToStandardOutput()
{
    QString file = path("garbage.tif");
    writeBytes(file, QByteArray("II*\0\xFF\xFF\xFF\x7F", 8));
    QString captured = path("stdout.txt");

    std::fflush(stdout);
    const int saved = dup(fileno(stdout));
    QVERIFY(std::freopen(captured.toLocal8Bit().constData(), "w", stdout));
    const int pages = TiffUtil::getTiffPage(file);
    std::fflush(stdout);
    dup2(saved, fileno(stdout));
    close(saved);

    QCOMPARE(pages, 0);
    QVERIFY2(readAll(captured).contains("tifferr-"), readAll(captured).constData());
}

// A page that is black and white already is packed directly; one gray pixel sends the same
// page down the gray plane and Otsu road. Both must give the same bits everywhere else, and
// a page written piece by piece must equal the one written from a list.
void TestTiffUtil::blackAndWhiteShortcutKeepsBits()
{
    QImage page(1728, 2200, QImage::Format_RGBA8888);
    page.fill(Qt::white);
    QPainter painter(&page);
    painter.setFont(QFont(QStringLiteral("Sans"), 20));
    for (int line = 0; line < 60; ++line)
        painter.drawText(40, 60 + line * 35, QStringLiteral("Line %1 of the delivery note").arg(line));
    painter.end();
    page = ImageUtil::getBWImage(page); // pure black and white, opaque
    QImage grayDot = page;
    grayDot.setPixelColor(5, 5, QColor(128, 128, 128));

    QVERIFY(TiffUtil::writeImgToTiff({ page, grayDot }, path("both.tif")));
    const QList<QImage> back = TiffUtil::tiffToImg(path("both.tif"));
    QCOMPARE(back.size(), 2);
    QImage fast = back.at(0);
    QImage slow = back.at(1);
    fast.setPixel(5, 5, 0);
    slow.setPixel(5, 5, 0);
    QVERIFY(fast == slow);
    QCOMPARE(back.at(0).convertToFormat(QImage::Format_RGB32), page.convertToFormat(QImage::Format_RGB32));

    {
        TiffPageWriter writer(path("streamed.tif"));
        QVERIFY(writer.writePage(page, 1, 2));
        QVERIFY(writer.writePage(grayDot, 2, 2));
        QVERIFY(!QFile::exists(path("streamed.tif"))); // no final name before finish
        QVERIFY(writer.finish());
    }
    QFile a(path("both.tif"));
    QFile b(path("streamed.tif"));
    QVERIFY(a.open(QIODevice::ReadOnly) && b.open(QIODevice::ReadOnly));
    QCOMPARE(a.readAll(), b.readAll());

    // A writer dropped unfinished leaves nothing behind.
    {
        TiffPageWriter writer(path("dropped.tif"));
        QVERIFY(writer.writePage(page, 1, 1));
    }
    QVERIFY(QDir(m_dir->path()).entryList({ QStringLiteral("dropped.tif*") }, QDir::Files).isEmpty());
}

VELKOR_TEST_MAIN(TestTiffUtil)
#include "TestTiffUtil.moc"

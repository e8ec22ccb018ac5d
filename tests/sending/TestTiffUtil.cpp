#include "ImageUtil.h"
#include "TestSupport.h"
#include "TiffPageWriter.h"
#include "TiffUtil.h"

#include <QDir>
#include <QElapsedTimer>
#include <QPainter>
#include <QTemporaryDir>
#include <QtEndian>

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

// The file that fuzz/fuzz_tiff ran out of memory on (kept in fuzz/regressions/tiff): a G4 page
// that claims 11585 x 11585 pixels and is all white, its strip one bit a row, 1614 bytes in
// all. Reading it took 2.7 GB: the raster, the image and, at standard resolution, two doubled
// copies.
QByteArray claimedGiantPage(quint32 yres)
{
    const quint32 side = 11585;
    QByteArray strip(1448, char(0xFF)); // "V0" for every row
    strip += QByteArray("\x80\x08\x00\x80", 4); // end of facsimile block
    const quint32 ifd = 8 + quint32(strip.size());
    const quint32 rationals = ifd + 2 + 12 * 11 + 4;
    const quint32 entries[][3] = { { 256, 3, side }, { 257, 3, side }, { 258, 3, 1 }, { 259, 3, COMPRESSION_CCITTFAX4 },
        { 262, 3, 0 }, { 273, 4, 8 }, { 277, 3, 1 }, { 278, 3, side }, { 279, 4, quint32(strip.size()) },
        { 282, 5, rationals }, { 283, 5, rationals + 8 } };
    QByteArray bytes("II*\0", 4);
    auto put = [&bytes](quint32 v, int size) {
        char b[4];
        qToLittleEndian(v, b);
        bytes.append(b, size);
    };
    put(ifd, 4);
    bytes += strip;
    put(11, 2);
    for (const auto& e : entries) {
        put(e[0], 2);
        put(e[1], 2);
        put(1, 4);
        put(e[2], 4); // a short sits in the low half
    }
    for (quint32 v : { 0u, 204u, 1u, yres, 1u })
        put(v, 4);
    return bytes;
}

} // namespace

class TestTiffUtil : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;

    QString path(const QString& name) const { return m_dir->filePath(name); }

    QString writtenFile(int pages)
    {
        QList<QImage> images;
        for (int i = 0; i < pages; ++i)
            images.append(patternPage(i));
        const QString file = path(QStringLiteral("fax %1.tif").arg(pages));
        return TiffUtil::writeImgToTiff(images, file) ? file : QString();
    }

private slots:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        QVERIFY(m_dir->isValid());
    }

    void pagesSurviveRoundTrip()
    {
        QList<QImage> pages = { patternPage(1), blankPage(), patternPage(2), patternPage(1, 2200, 1728),
            patternPage(3, 13, 6) };
        pages[1].fill(Qt::black); // an all-black page stays black
        pages[4].setPixel(0, 0, qRgb(0, 0, 0)); // a turned and an odd-width page
        const QString file = path("2026-01-02 03:04:05.tif"); // the names of this system hold blank and colons
        QVERIFY(TiffUtil::writeImgToTiff(pages, file));
        QCOMPARE(TiffUtil::getTiffPage(file), 5);
        const QList<QImage> read = TiffUtil::tiffToImg(file);
        QCOMPARE(read.size(), 5);
        for (int i = 0; i < 5; ++i) {
            QCOMPARE(read[i].format(), QImage::Format_RGBA8888);
            QVERIFY2(read[i] == pages[i], qPrintable(QStringLiteral("page %1 differs").arg(i + 1)));
            QVERIFY2(TiffUtil::tiffPageToImg(file, i) == pages[i], qPrintable(QStringLiteral("page %1 alone").arg(i + 1)));
        }
        // Nothing past the last page or before the first.
        QVERIFY(TiffUtil::tiffPageToImg(file, 5).isNull() && TiffUtil::tiffPageToImg(file, -1).isNull());
        const QList<QPixmap> pixmaps = TiffUtil::tiffToPixmap(file);
        QCOMPARE(pixmaps.size(), 5);
        QCOMPARE(pixmaps[2].toImage().convertToFormat(QImage::Format_RGBA8888), pages[2]);
    }

    void pagesCarryFaxTags()
    {
        const QString file = writtenFile(2);
        TIFF* tif = TIFFOpen(file.toUtf8().constData(), "r");
        QVERIFY(tif);
        const QList<QPair<ttag_t, int>> shorts = { { TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH }, { TIFFTAG_BITSPERSAMPLE, 1 },
            { TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX3 }, { TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE },
            { TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT }, { TIFFTAG_SAMPLESPERPIXEL, 1 },
            { TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG } };
        const QList<QPair<ttag_t, quint32>> longs = { { TIFFTAG_SUBFILETYPE, FILETYPE_PAGE }, { TIFFTAG_IMAGEWIDTH, 1728 },
            { TIFFTAG_IMAGELENGTH, 2200 }, { TIFFTAG_ROWSPERSTRIP, 2200 }, { TIFFTAG_GROUP3OPTIONS, GROUP3OPT_2DENCODING } };
        for (int page = 1; page <= 2; ++page) {
            uint32_t u32 = 0;
            uint16_t u16 = 0, total = 0;
            float x = 0, y = 0;
            char* text = nullptr;
            for (const auto& tag : shorts) {
                QVERIFY(TIFFGetField(tif, tag.first, &(u16 = 0xFFFF)));
                QCOMPARE(int(u16), tag.second);
            }
            for (const auto& tag : longs) {
                QVERIFY(TIFFGetField(tif, tag.first, &(u32 = 0xFFFFFFFF)));
                QCOMPARE(u32, tag.second);
            }
            TIFFGetField(tif, TIFFTAG_XRESOLUTION, &x);
            TIFFGetField(tif, TIFFTAG_YRESOLUTION, &y);
            QVERIFY(TIFFGetField(tif, TIFFTAG_PAGENUMBER, &u16, &total) && TIFFGetField(tif, TIFFTAG_PAGENAME, &text));
            QCOMPARE((QVariantList { TIFFNumberOfStrips(tif), x, y, u16, total, QString::fromLatin1(text) }),
                (QVariantList { 1u, 204.0f, 196.0f, page, 2, QStringLiteral("Page %1").arg(page) }));
            QCOMPARE(TIFFReadDirectory(tif), page == 1 ? 1 : 0);
        }
        TIFFClose(tif);

        // Black is a set bit (min-is-white), the leftmost pixel in the top bit.
        tif = TIFFOpen(file.toUtf8().constData(), "r");
        QByteArray row(int(TIFFScanlineSize(tif)), '\0');
        QVERIFY(TIFFReadScanline(tif, row.data(), 0, 0) == 1); // only the last column is black
        QCOMPARE(row, QByteArray(215, '\0') + QByteArray(1, '\x01'));
        for (uint32_t r = 1; r < 2200; ++r) // Group 3 reads in order only
            QVERIFY(TIFFReadScanline(tif, row.data(), r, 0) == 1);
        QCOMPARE(row, QByteArray(216, '\xFF')); // the bottom row of page 1 is black
        TIFFClose(tif);
    }

    void grayPagesAreThresholdedPerPage()
    {
        // Dark gray on light gray, and the same shape in two other grays: Otsu finds a level
        // between the two grays of each page. Pages of other depths are taken too.
        QImage first(200, 100, QImage::Format_RGB32);
        first.fill(qRgb(200, 200, 200));
        QPainter(&first).fillRect(QRect(20, 20, 50, 50), QColor(60, 60, 60));
        QImage second(200, 100, QImage::Format_RGB32);
        second.fill(qRgb(30, 30, 30));
        QPainter(&second).fillRect(QRect(20, 20, 50, 50), QColor(10, 10, 10));
        QVERIFY(TiffUtil::writeImgToTiff({ first, second.convertToFormat(QImage::Format_Grayscale8) }, path("gray.tif")));
        const QList<QImage> read = TiffUtil::tiffToImg(path("gray.tif"));
        QCOMPARE(read.size(), 2);
        QImage expected = blankPage(200, 100);
        QPainter(&expected).fillRect(QRect(20, 20, 50, 50), Qt::black);
        QCOMPARE(read[0], expected);
        QCOMPARE(read[1], expected);
    }

    // A page that is black and white already is packed directly; one gray pixel sends the same
    // page down the gray plane and Otsu road. Both must give the same bits everywhere else, and
    // a page written piece by piece must equal the one written from a list.
    void blackAndWhiteShortcutKeepsBits()
    {
        QImage page = blankPage();
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
        QImage fast = back.at(0), slow = back.at(1);
        fast.setPixel(5, 5, 0);
        slow.setPixel(5, 5, 0);
        QVERIFY(fast == slow);
        QCOMPARE(back.at(0).convertToFormat(QImage::Format_RGB32), page.convertToFormat(QImage::Format_RGB32));
        {
            TiffPageWriter writer(path("streamed.tif"));
            QVERIFY(writer.writePage(page, 1, 2) && writer.writePage(grayDot, 2, 2));
            QVERIFY(!QFile::exists(path("streamed.tif"))); // no final name before finish
            QVERIFY(writer.finish());
        }
        QCOMPARE(readAll(path("both.tif")), readAll(path("streamed.tif")));
        {
            TiffPageWriter writer(path("dropped.tif")); // dropped unfinished: nothing is left
            QVERIFY(writer.writePage(page, 1, 1));
        }
        QVERIFY(QDir(m_dir->path()).entryList({ QStringLiteral("dropped.tif*") }, QDir::Files).isEmpty());
    }

    void writesReplaceWholeFilesOrNothing()
    {
        QVERIFY(TiffUtil::writeImgToTiff({}, path("empty.tif"))); // a file without pages
        QVERIFY(readAll(path("empty.tif")).startsWith(QByteArray("II*\0", 4)));
        QCOMPARE(TiffUtil::getTiffPage(path("empty.tif")), 0);
        QVERIFY(!TiffUtil::writeImgToTiff({ blankPage() }, path("missing-folder/fax.tif")));
        QVERIFY(!QFile::exists(path("missing-folder/fax.tif")));

        const QString file = writtenFile(3);
        QVERIFY(TiffUtil::writeImgToTiff({ blankPage() }, file));
        QCOMPARE(TiffUtil::getTiffPage(file), 1);
        // A page that cannot be written fails the file; the older file under the name is kept.
        const QByteArray before = readAll(file);
        QVERIFY(!TiffUtil::writeImgToTiff({ blankPage(), QImage() }, file));
        QCOMPARE(readAll(file), before);
        QCOMPARE(QDir(m_dir->path()).entryList(QDir::Files), (QStringList { "empty.tif", QFileInfo(file).fileName() }));
    }

    void resolutions_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("rows");
        QTest::addColumn<float>("yres"); // 0: none
        QTest::addColumn<int>("shownRows");
        QTest::newRow("standard, shown doubled") << 16 << 10 << 98.0f << 20;
        QTest::newRow("130 lines an inch: within 1.5 of fine") << 16 << 10 << 131.0f << 10;
        QTest::newRow("no resolution: fine") << 16 << 10 << 0.0f << 10;
        QTest::newRow("A4 standard") << 1728 << 1100 << 98.0f << 2200;
        QTest::newRow("A4 fine") << 1728 << 2200 << 196.0f << 2200;
        QTest::newRow("A3 superfine") << 4864 << 6468 << 391.0f << 6468;
    }

    void resolutions()
    {
        QFETCH(int, width);
        QFETCH(int, rows);
        QFETCH(float, yres);
        QFETCH(int, shownRows);
        TIFF* tif = TIFFOpen(QFile::encodeName(path("page.tif")).constData(), "w");
        QVERIFY(tif);
        TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, uint32_t(width));
        TIFFSetField(tif, TIFFTAG_IMAGELENGTH, uint32_t(rows));
        TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 1);
        TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1);
        TIFFSetField(tif, TIFFTAG_COMPRESSION, width > 16 ? COMPRESSION_CCITTFAX4 : COMPRESSION_NONE);
        TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
        TIFFSetField(tif, TIFFTAG_XRESOLUTION, 204.0);
        if (yres > 0)
            TIFFSetField(tif, TIFFTAG_YRESOLUTION, double(yres));
        TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, uint32_t(rows));
        QByteArray line((width + 7) / 8, '\0');
        for (int r = 0; r < rows; ++r) // every other row black
            QVERIFY(TIFFWriteScanline(tif, line.fill(r % 2 ? '\0' : '\xFF').data(), uint32_t(r), 0) >= 0);
        TIFFClose(tif);
        const QList<QImage> pages = TiffUtil::tiffToImg(path("page.tif"));
        QCOMPARE(pages.size(), 1);
        QCOMPARE(pages[0].size(), QSize(width, shownRows));
        if (width == 16)
            QCOMPARE(TiffUtil::tiffToPixmap(path("page.tif")).value(0).size(), QSize(width, shownRows));
        QCOMPARE(pages[0].pixel(5, 0), qRgb(0, 0, 0));
        QCOMPARE(pages[0].pixel(5, shownRows - 1), qRgb(255, 255, 255));
    }

    void damagedFiles_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("missing") << QByteArray("-");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("header only") << QByteArray("II*\0", 4);
        QTest::newRow("directory beyond the end") << QByteArray("II*\0\xFF\xFF\xFF\x7F", 8);
        QTest::newRow("a PDF") << QByteArray("%PDF-1.4 not a tiff at all");
        QTest::newRow("noise") << QByteArray(4096, '\xA5');
    }

    void damagedFiles()
    {
        QFETCH(QByteArray, bytes);
        if (bytes != "-")
            writeBytes(path("bad.tif"), bytes);
        // libtiff's complaints go to standard output with their mark.
        std::fflush(stdout);
        const int saved = dup(fileno(stdout));
        QVERIFY(std::freopen(path("stdout.txt").toLocal8Bit().constData(), "w", stdout));
        const int pages = TiffUtil::getTiffPage(path("bad.tif"));
        std::fflush(stdout);
        dup2(saved, fileno(stdout));
        close(saved);
        QCOMPARE(pages, 0);
        QVERIFY(TiffUtil::tiffToImg(path("bad.tif")).isEmpty() && TiffUtil::tiffToPixmap(path("bad.tif")).isEmpty());
        QVERIFY(TiffUtil::tiffPageToImg(path("bad.tif"), 0).isNull());
        if (bytes.startsWith("II*\0\xFF"))
            QVERIFY2(readAll(path("stdout.txt")).contains("tifferr-"), readAll(path("stdout.txt")).constData());
    }

    void truncatedFilesKeepWholePages()
    {
        const QString onePage = writtenFile(1), threePages = writtenFile(3);
        const QByteArray whole = readAll(threePages);
        const int firstPageEnd = int(QFileInfo(onePage).size());
        QVERIFY(firstPageEnd < whole.size());
        // Cut right after the first page's directory: the first page alone is whole.
        writeBytes(path("cut.tif"), whole.left(firstPageEnd));
        QCOMPARE(TiffUtil::getTiffPage(path("cut.tif")), 1);
        QCOMPARE(TiffUtil::tiffToImg(path("cut.tif")), QList<QImage> { patternPage(0) });
        // Cut anywhere: never a crash, never more pages than there were, always full-size pages.
        for (int length = 0; length < whole.size(); length += qMax(1, whole.size() / 40)) {
            writeBytes(path("cut.tif"), whole.left(length));
            const int count = TiffUtil::getTiffPage(path("cut.tif"));
            QVERIFY(count >= 0 && count <= 3);
            const QList<QImage> read = TiffUtil::tiffToImg(path("cut.tif"));
            QVERIFY(read.size() <= count);
            for (const QImage& page : read)
                QCOMPARE(page.size(), QSize(1728, 2200));
        }
    }

    void claimedGiantPageIsDamageNotAnAllocation()
    {
        for (quint32 yres : { 98u, 196u }) { // standard resolution would be shown doubled
            writeBytes(path("giant.tif"), claimedGiantPage(yres));
            QCOMPARE(TiffUtil::getTiffPage(path("giant.tif")), 1);
            QElapsedTimer clock;
            clock.start();
            QVERIFY(TiffUtil::tiffToImg(path("giant.tif")).isEmpty());
            QVERIFY(clock.elapsed() < 1000); // nothing decoded, nothing allocated
        }
    }
};

VELKOR_TEST_MAIN(TestTiffUtil)
#include "TestTiffUtil.moc"

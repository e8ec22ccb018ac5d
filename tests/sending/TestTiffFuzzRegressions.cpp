#include "TestSupport.h"
#include "TiffUtil.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QtEndian>

#include <tiffio.h>

namespace {

// The file that fuzz/fuzz_tiff ran out of memory on (kept in fuzz/regressions/tiff): a G4 page
// that claims 11585 x 11585 pixels and is all white, so that its strip is one bit a row, 1614
// bytes in all. Reading it took 2.7 GB: the raster, the image and, at standard resolution,
// two doubled copies.
QByteArray claimedGiantPage(quint32 yres)
{
    const quint32 side = 11585;
    QByteArray strip(1448, char(0xFF)); // "V0" for every row
    strip += QByteArray("\x80\x08\x00\x80", 4); // end of facsimile block
    const quint32 ifd = 8 + quint32(strip.size());
    struct Entry { quint16 tag, type; quint32 value; };
    const quint32 rationals = ifd + 2 + 12 * 11 + 4;
    const Entry entries[] = {
        {256, 3, side}, {257, 3, side}, {258, 3, 1}, {259, 3, COMPRESSION_CCITTFAX4}, {262, 3, 0},
        {273, 4, 8}, {277, 3, 1}, {278, 3, side}, {279, 4, quint32(strip.size())}, {282, 5, rationals},
        {283, 5, rationals + 8},
    };
    QByteArray bytes("II*\0", 4);
    auto put32 = [&bytes](quint32 v) { char b[4]; qToLittleEndian(v, b); bytes.append(b, 4); };
    auto put16 = [&bytes](quint16 v) { char b[2]; qToLittleEndian(v, b); bytes.append(b, 2); };
    put32(ifd);
    bytes += strip;
    put16(11);
    for (const Entry& e : entries) {
        put16(e.tag);
        put16(e.type);
        put32(1);
        if (e.type == 3) {
            put16(quint16(e.value));
            put16(0);
        } else {
            put32(e.value);
        }
    }
    put32(0);
    put32(204); put32(1); put32(yres); put32(1);
    return bytes;
}

} // namespace

class TestTiffFuzzRegressions : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

private slots:
    void claimedGiantPageIsDamageNotAnAllocation_data()
    {
        QTest::addColumn<quint32>("yres");
        QTest::newRow("standard resolution (shown doubled)") << 98u;
        QTest::newRow("fine resolution") << 196u;
    }

    void claimedGiantPageIsDamageNotAnAllocation()
    {
        QFETCH(quint32, yres);
        const QString path = m_dir.filePath(QStringLiteral("giant.tif"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(claimedGiantPage(yres));
        file.close();

        QCOMPARE(TiffUtil::getTiffPage(path), 1);
        QElapsedTimer clock;
        clock.start();
        QVERIFY(TiffUtil::tiffToImg(path).isEmpty());
        QVERIFY(clock.elapsed() < 1000); // nothing decoded, nothing allocated
    }

    // Real fax pages stay well inside the bound, standard ones still shown doubled.
    void faxPagesStillRead_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("rows");
        QTest::addColumn<float>("yres");
        QTest::addColumn<int>("shownRows");
        QTest::newRow("A4 standard") << 1728 << 1100 << 98.0f << 2200;
        QTest::newRow("A4 fine") << 1728 << 2200 << 196.0f << 2200;
        QTest::newRow("A3 superfine") << 4864 << 6468 << 391.0f << 6468;
    }

    void faxPagesStillRead()
    {
        QFETCH(int, width);
        QFETCH(int, rows);
        QFETCH(float, yres);
        QFETCH(int, shownRows);
        const QString path = m_dir.filePath(QStringLiteral("page.tif"));
        TIFF* tif = TIFFOpen(QFile::encodeName(path).constData(), "w");
        QVERIFY(tif);
        TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, uint32_t(width));
        TIFFSetField(tif, TIFFTAG_IMAGELENGTH, uint32_t(rows));
        TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 1);
        TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1);
        TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
        TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
        TIFFSetField(tif, TIFFTAG_XRESOLUTION, 204.0);
        TIFFSetField(tif, TIFFTAG_YRESOLUTION, double(yres));
        TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, uint32_t(rows));
        QByteArray line((width + 7) / 8, '\0');
        for (int r = 0; r < rows; ++r)
            QVERIFY(TIFFWriteScanline(tif, line.data(), uint32_t(r), 0) >= 0);
        TIFFClose(tif);

        const QList<QImage> pages = TiffUtil::tiffToImg(path);
        QCOMPARE(pages.size(), 1);
        QCOMPARE(pages[0].size(), QSize(width, shownRows));
    }
};

VELKOR_TEST_MAIN(TestTiffFuzzRegressions)
#include "TestTiffFuzzRegressions.moc"

#include "SimTiff.h"

#include <QFile>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QTemporaryFile>
#include <QVector>

#include <tiffio.h>

namespace SimTiff {

namespace {

QImage drawPage(int page, int pages, const QStringList& lines)
{
    QImage image(WIDTH, HEIGHT, QImage::Format_Grayscale8);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.setPen(QPen(Qt::black, 6));
    painter.drawRect(60, 60, WIDTH - 120, HEIGHT - 120);
    // One block per page number along the bottom, so pages differ even without fonts.
    for (int i = 0; i < page; ++i)
        painter.fillRect(100 + i * 60, HEIGHT - 180, 40, 60, Qt::black);
    if (qobject_cast<QGuiApplication*>(QCoreApplication::instance())) {
        QFont font = painter.font();
        font.setPixelSize(48);
        painter.setFont(font);
        int y = 200;
        for (const QString& line : lines) {
            painter.drawText(140, y, line);
            y += 80;
        }
        painter.drawText(140, HEIGHT - 220, QStringLiteral("%1 / %2").arg(page).arg(pages));
    }
    painter.end();
    return image;
}

bool writePage(TIFF* tif, const QImage& image, int page, int pages)
{
    TIFFSetField(tif, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, WIDTH);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, HEIGHT);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 1);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    TIFFSetField(tif, TIFFTAG_FILLORDER, FILLORDER_MSB2LSB);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, HEIGHT);
    TIFFSetField(tif, TIFFTAG_XRESOLUTION, 204.0);
    TIFFSetField(tif, TIFFTAG_YRESOLUTION, 196.0);
    TIFFSetField(tif, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    TIFFSetField(tif, TIFFTAG_PAGENUMBER, page - 1, pages);
    QVector<uchar> row(WIDTH / 8);
    for (int y = 0; y < HEIGHT; ++y) {
        const uchar* src = image.constScanLine(y);
        row.fill(0);
        for (int x = 0; x < WIDTH; ++x)
            if (src[x] < 128)
                row[x / 8] |= uchar(0x80 >> (x % 8));
        if (TIFFWriteScanline(tif, row.data(), uint32_t(y), 0) < 0)
            return false;
    }
    return TIFFWriteDirectory(tif) != 0;
}

} // namespace

QByteArray makeFax(int pages, const QStringList& lines)
{
    pages = qMax(1, pages);
    QTemporaryFile file;
    if (!file.open())
        return QByteArray();
    const QByteArray path = QFile::encodeName(file.fileName());
    TIFF* tif = TIFFOpen(path.constData(), "w");
    if (!tif)
        return QByteArray();
    bool ok = true;
    for (int page = 1; page <= pages && ok; ++page)
        ok = writePage(tif, drawPage(page, pages, lines), page, pages);
    TIFFClose(tif);
    if (!ok)
        return QByteArray();
    QFile written(QFile::decodeName(path));
    return written.open(QIODevice::ReadOnly) ? written.readAll() : QByteArray();
}

int pageCount(const QByteArray& tiff)
{
    if (tiff.size() < 8)
        return -1;
    const bool little = tiff.startsWith(QByteArrayLiteral("II*\0"));
    if (!little && !tiff.startsWith(QByteArrayLiteral("MM\0*")))
        return -1;
    auto u16 = [&](qint64 at) -> quint32 {
        const quint32 a = uchar(tiff[int(at)]), b = uchar(tiff[int(at + 1)]);
        return little ? (a | b << 8) : (a << 8 | b);
    };
    auto u32 = [&](qint64 at) -> quint32 { return little ? (u16(at) | u16(at + 2) << 16) : (u16(at) << 16 | u16(at + 2)); };
    int pages = 0;
    qint64 offset = u32(4);
    while (offset != 0 && pages < 10000) {
        if (offset + 2 > tiff.size())
            return -1;
        const qint64 entries = u16(offset);
        const qint64 next = offset + 2 + entries * 12;
        if (next + 4 > tiff.size())
            return -1;
        ++pages;
        offset = u32(next);
    }
    return pages;
}

} // namespace SimTiff

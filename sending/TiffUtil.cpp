#include "TiffUtil.h"

#include "LogUtil.h"

#include <QAtomicInt>
#include <QCoreApplication>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <tiffio.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <vector>

namespace {

// Pages larger than this, as shown, are taken as damage, not as something to allocate. An A3
// page at 400 x 400 dpi (4864 x 6468) fits; a file of a few bytes that claims more would
// cost gigabytes in the raster, the image and, at standard resolution, two doubled copies.
constexpr uint32_t MAX_PAGE_SIDE = 65536;
constexpr uint64_t MAX_PAGE_PIXELS = uint64_t(1) << 25;

// Opens for reading without memory mapping, so a file cut short by someone else reads as an
// error instead of a bus fault.
TIFF* openForReading(const QString& path)
{
    return TIFFOpen(path.toUtf8().constData(), "rm");
}

// The current directory as an RGBA8888 image; null (with a log line) when it cannot be read.
QImage readPage(TIFF* tif)
{
    uint32_t width = 0;
    uint32_t height = 0;
    float yres = 0.0f;
    TIFFGetField(tif, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(tif, TIFFTAG_IMAGELENGTH, &height);
    if (!TIFFGetField(tif, TIFFTAG_YRESOLUTION, &yres) || !(yres > 0.0f))
        yres = 196.0f; // no usable resolution: show the page at its own height

    // A fax machine's standard resolution has 98 lines an inch: such a page is shown doubled.
    const bool standard = 196.0 / yres > 1.5;
    if (width == 0 || height == 0 || width > MAX_PAGE_SIDE || height > MAX_PAGE_SIDE
        || uint64_t(width) * height * (standard ? 2 : 1) > MAX_PAGE_PIXELS) {
        LogUtil::d(QStringLiteral("Could not allocate memory for raster of TIFF image"));
        return QImage();
    }
    const size_t pixels = size_t(width) * height;
    auto* raster = static_cast<uint32_t*>(_TIFFmalloc(static_cast<tmsize_t>(pixels * sizeof(uint32_t))));
    if (!raster) {
        LogUtil::d(QStringLiteral("Could not allocate memory for raster of TIFF image"));
        return QImage();
    }
    // Strips that a damaged file lacks stay white.
    std::memset(raster, 0xFF, pixels * sizeof(uint32_t));
    if (!TIFFReadRGBAImageOriented(tif, width, height, raster, ORIENTATION_TOPLEFT, 0)) {
        _TIFFfree(raster);
        LogUtil::d(QStringLiteral("Could not read raster of TIFF image"));
        return QImage();
    }

    QImage page(int(width), int(height), QImage::Format_RGBA8888);
    for (uint32_t r = 0; r < height; ++r) {
        const uint32_t* from = raster + size_t(r) * width;
        uchar* to = page.scanLine(int(r));
        for (uint32_t c = 0; c < width; ++c) {
            const uint32_t abgr = from[c];
            to[4 * c] = uchar(TIFFGetR(abgr));
            to[4 * c + 1] = uchar(TIFFGetG(abgr));
            to[4 * c + 2] = uchar(TIFFGetB(abgr));
            to[4 * c + 3] = uchar(TIFFGetA(abgr));
        }
    }
    _TIFFfree(raster);

    if (standard) { // shown at fine proportions
        const cv::Mat view(page.height(), page.width(), CV_8UC4, page.bits(), size_t(page.bytesPerLine()));
        cv::Mat doubled;
        cv::resize(view, doubled, cv::Size(view.cols, view.rows * 2), 0, 0, cv::INTER_LINEAR);
        page = QImage(doubled.data, doubled.cols, doubled.rows, int(doubled.step), QImage::Format_RGBA8888).copy();
    }
    return page;
}

QList<QImage> readPages(const QString& path)
{
    QList<QImage> pages;
    TIFF* tif = openForReading(path);
    if (!tif)
        return pages;
    do {
        QImage page = readPage(tif);
        if (page.isNull())
            break;
        pages.append(page);
    } while (TIFFReadDirectory(tif));
    TIFFClose(tif);
    return pages;
}

// Writes one page as a 1-bit Group 3 directory; false when libtiff refuses.
bool writePage(TIFF* tif, const QImage& image, int pageIndex, int pageTotal)
{
    if (image.isNull())
        return false;
    const QImage source = image.depth() == 32 ? image : image.convertToFormat(QImage::Format_RGBA8888);
    const cv::Mat view(source.height(), source.width(), CV_8UC4, const_cast<uchar*>(source.constBits()),
                       size_t(source.bytesPerLine()));
    cv::Mat gray;
    cv::cvtColor(view, gray, cv::COLOR_BGR2GRAY);
    cv::threshold(gray, gray, 0, 255.0, cv::THRESH_BINARY | cv::THRESH_OTSU);

    const uint32_t columns = uint32_t(gray.cols);
    const uint32_t rows = uint32_t(gray.rows);
    TIFFSetField(tif, TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
    TIFFSetField(tif, TIFFTAG_IMAGEWIDTH, columns);
    TIFFSetField(tif, TIFFTAG_IMAGELENGTH, rows);
    TIFFSetField(tif, TIFFTAG_XRESOLUTION, 204.0);
    TIFFSetField(tif, TIFFTAG_YRESOLUTION, 196.0);
    TIFFSetField(tif, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
    TIFFSetField(tif, TIFFTAG_BITSPERSAMPLE, 1);
    TIFFSetField(tif, TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX3);
    TIFFSetField(tif, TIFFTAG_GROUP3OPTIONS, GROUP3OPT_2DENCODING);
    TIFFSetField(tif, TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    TIFFSetField(tif, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
    TIFFSetField(tif, TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tif, TIFFTAG_ROWSPERSTRIP, rows);
    TIFFSetField(tif, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(tif, TIFFTAG_PAGENUMBER, pageIndex, pageTotal);
    const QByteArray pageName = QStringLiteral("Page %1").arg(pageIndex).toLatin1();
    TIFFSetField(tif, TIFFTAG_PAGENAME, pageName.constData());

    // Leftmost pixel in the top bit; a set bit is black (min-is-white). Spare bits stay white.
    std::vector<uchar> buffer((columns - 1) / 8 + 1);
    for (uint32_t r = 0; r < rows; ++r) {
        std::fill(buffer.begin(), buffer.end(), uchar(0));
        const uchar* line = gray.ptr<uchar>(int(r));
        for (uint32_t c = 0; c < columns; ++c) {
            if (!(line[c] & 1))
                buffer[c / 8] |= uchar(0x80 >> (c % 8));
        }
        if (TIFFWriteScanline(tif, buffer.data(), r, 0) < 0)
            return false;
    }
    return TIFFWriteDirectory(tif) != 0;
}

// Warnings (a damaged line of a received fax, an odd tag) go to the debug log, not the terminal.
void warningProc(const char* module, const char* format, va_list args)
{
    char message[512];
    std::vsnprintf(message, sizeof message, format, args);
    LogUtil::d(QStringLiteral("tiffwarn-%1: %2").arg(QString::fromLocal8Bit(module ? module : ""),
                                                       QString::fromLocal8Bit(message)));
}

} // namespace

void TiffUtil::TIFFErrorProc(const char* module, const char* format, va_list args)
{
    char message[512];
    std::vsnprintf(message, sizeof message, format, args);
    const char* name = module ? module : "";
    LogUtil::d(QString::fromLocal8Bit(name));
    std::printf("tifferr-%s: %s\n", name, message);
    std::fflush(stdout);
}

void TiffUtil::installErrorHandler()
{
    // The handler is process-wide; setting it once keeps threads from racing on it.
    static std::once_flag once;
    std::call_once(once, [] {
        TIFFSetErrorHandler(&TiffUtil::TIFFErrorProc);
        TIFFSetWarningHandler(&warningProc);
    });
}

int TiffUtil::getTiffPage(const QString& path)
{
    installErrorHandler();
    TIFF* tif = openForReading(path);
    if (!tif)
        return 0;
    int pages = 1;
    while (TIFFReadDirectory(tif))
        ++pages;
    TIFFClose(tif);
    return pages;
}

QList<QImage> TiffUtil::tiffToImg(const QString& path)
{
    installErrorHandler();
    return readPages(path);
}

QImage TiffUtil::tiffPageToImg(const QString& path, int index)
{
    installErrorHandler();
    if (index < 0 || index > 0xFFFF)
        return QImage();
    TIFF* tif = openForReading(path);
    if (!tif)
        return QImage();
    QImage page;
    if (TIFFSetDirectory(tif, tdir_t(index)))
        page = readPage(tif);
    TIFFClose(tif);
    return page;
}

QList<QPixmap> TiffUtil::tiffToPixmap(const QString& path)
{
    installErrorHandler();
    QList<QPixmap> pixmaps;
    for (const QImage& page : readPages(path))
        pixmaps.append(QPixmap::fromImage(page));
    return pixmaps;
}

bool TiffUtil::writeImgToTiff(QList<QImage> images, const QString& path)
{
    installErrorHandler();
    static QAtomicInt serial;
    const QString partial = path
        + QStringLiteral(".%1-%2.part").arg(QCoreApplication::applicationPid()).arg(serial.fetchAndAddRelaxed(1));
    const QByteArray partialName = partial.toUtf8();

    TIFF* tif = TIFFOpen(partialName.constData(), "w");
    if (!tif) {
        LogUtil::w(QStringLiteral("Could not create TIFF file %1").arg(partial));
        return false;
    }
    bool written = true;
    for (int i = 0; i < images.size() && written; ++i)
        written = writePage(tif, images.at(i), i + 1, images.size());
    written = written && TIFFFlush(tif);
    TIFFClose(tif);

    // Only a complete file takes the final name; rename replaces an older one in one step.
    if (!written || std::rename(partialName.constData(), path.toUtf8().constData()) != 0) {
        LogUtil::w(QStringLiteral("Could not write TIFF file %1").arg(path));
        std::remove(partialName.constData());
        return false;
    }
    return true;
}

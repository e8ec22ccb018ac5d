#include "TiffUtil.h"

#include "LogUtil.h"
#include "TiffPageWriter.h"

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
    return writePagesToTiff(images.size(), [&images](int i) { return images.at(i); }, path);
}

bool TiffUtil::writePagesToTiff(int pageTotal, const std::function<QImage(int)>& pageAt, const QString& path)
{
    installErrorHandler();
    TiffPageWriter writer(path);
    if (!writer.isOpen())
        return false;
    for (int i = 0; i < pageTotal; ++i) {
        if (!writer.writePage(pageAt(i), i + 1, pageTotal))
            break;
    }
    return writer.finish();
}

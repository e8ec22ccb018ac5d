#include "TiffPageWriter.h"

#include "BitOrder.h"
#include "LogUtil.h"
#include "TiffUtil.h"

#include <QAtomicInt>
#include <QCoreApplication>

#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>

#include <tiffio.h>

#include <cstdint>
#ifdef __SSE2__
#include <emmintrin.h>
#endif
#include <cstdio>
#include <vector>

namespace {

void setPageTags(TIFF* tif, uint32_t columns, uint32_t rows, int pageIndex, int pageTotal)
{
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
}

// One row of packed bits: `bytes` bytes a row, the leftmost pixel in the top bit, a set bit
// black (min-is-white); spare bits white.
using Rows = std::vector<uchar>;

// Packs a page that is black and white already (every pixel 0,0,0 or 255,255,255 in its
// first three bytes, as the editor's pages are). Its gray plane holds only 0 and 255, and
// Otsu's level over such a plane keeps every pixel as it is, so the bits come out as the
// gray and threshold steps would give them. False, with nothing to use, for any other page.
bool packBlackAndWhite(const QImage& source, Rows& packed, size_t bytes)
{
    const int columns = source.width();
    const int whole = columns / 8 * 8;
#ifdef __SSE2__
    const __m128i colourMask = _mm_set1_epi32(0x00FFFFFF); // the alpha byte is last in memory
    const __m128i white = colourMask;
#endif
    for (int r = 0; r < source.height(); ++r) {
        const uint32_t* line = reinterpret_cast<const uint32_t*>(source.constScanLine(r));
        uchar* out = packed.data() + size_t(r) * bytes;
        int c = 0;
#ifdef __SSE2__
        // Eight pixels a step: two compares of four give the black bits and whether any
        // pixel is neither black nor white.
        for (; c < whole; c += 8) {
            const __m128i left = _mm_and_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(line + c)), colourMask);
            const __m128i right
                = _mm_and_si128(_mm_loadu_si128(reinterpret_cast<const __m128i*>(line + c + 4)), colourMask);
            const __m128i zero = _mm_setzero_si128();
            const __m128i blackLeft = _mm_cmpeq_epi32(left, zero);
            const __m128i blackRight = _mm_cmpeq_epi32(right, zero);
            const __m128i plain = _mm_and_si128(_mm_or_si128(blackLeft, _mm_cmpeq_epi32(left, white)),
                                                _mm_or_si128(blackRight, _mm_cmpeq_epi32(right, white)));
            if (_mm_movemask_epi8(plain) != 0xFFFF)
                return false;
            // movemask gives pixel 0 in bit 0; the file wants it in the top bit.
            const int bits = _mm_movemask_ps(_mm_castsi128_ps(blackLeft))
                | (_mm_movemask_ps(_mm_castsi128_ps(blackRight)) << 4);
            out[c / 8] = BitOrder::reversed(uchar(bits));
        }
#endif
        for (; c < columns; ++c) {
            const uint32_t colour = line[c] & 0x00FFFFFFu; // the alpha byte is last in memory
            if (colour == 0)
                out[c / 8] |= uchar(0x80 >> (c % 8));
            else if (colour != 0x00FFFFFFu)
                return false;
        }
    }
    return true;
}

// Gray plane, Otsu's level for the page, and the low bit of each gray byte decides.
void packByThreshold(const QImage& source, Rows& packed, size_t bytes)
{
    const cv::Mat view(source.height(), source.width(), CV_8UC4, const_cast<uchar*>(source.constBits()),
                       size_t(source.bytesPerLine()));
    cv::Mat gray;
    cv::cvtColor(view, gray, cv::COLOR_BGR2GRAY);
    cv::threshold(gray, gray, 0, 255.0, cv::THRESH_BINARY | cv::THRESH_OTSU);
    std::fill(packed.begin(), packed.end(), uchar(0));
    for (int r = 0; r < gray.rows; ++r) {
        const uchar* line = gray.ptr<uchar>(r);
        uchar* out = packed.data() + size_t(r) * bytes;
        for (int c = 0; c < gray.cols; ++c) {
            if (!(line[c] & 1))
                out[c / 8] |= uchar(0x80 >> (c % 8));
        }
    }
}

} // namespace

TiffPageWriter::TiffPageWriter(const QString& path)
    : m_path(path)
{
    TiffUtil::installErrorHandler();
    static QAtomicInt serial;
    m_partial = (path
                 + QStringLiteral(".%1-%2.part")
                       .arg(QCoreApplication::applicationPid())
                       .arg(serial.fetchAndAddRelaxed(1)))
                    .toUtf8();
    m_tif = TIFFOpen(m_partial.constData(), "w");
    if (!m_tif)
        LogUtil::w(QStringLiteral("Could not create TIFF file %1").arg(QString::fromUtf8(m_partial)));
}

TiffPageWriter::~TiffPageWriter()
{
    abandon();
}

void TiffPageWriter::abandon()
{
    if (!m_tif)
        return;
    TIFFClose(m_tif);
    m_tif = nullptr;
    std::remove(m_partial.constData());
}

bool TiffPageWriter::writePage(const QImage& image, int pageIndex, int pageTotal)
{
    if (!m_tif || !m_ok)
        return false;
    if (image.isNull()) {
        m_ok = false;
        return false;
    }
    const QImage source = image.depth() == 32 ? image : image.convertToFormat(QImage::Format_RGBA8888);
    const uint32_t columns = uint32_t(source.width());
    const uint32_t rows = uint32_t(source.height());
    const size_t bytes = (columns - 1) / 8 + 1;
    Rows packed(bytes * rows, 0);
    if (!packBlackAndWhite(source, packed, bytes))
        packByThreshold(source, packed, bytes);

    setPageTags(m_tif, columns, rows, pageIndex, pageTotal);
    for (uint32_t r = 0; r < rows && m_ok; ++r)
        m_ok = TIFFWriteScanline(m_tif, packed.data() + size_t(r) * bytes, r, 0) >= 0;
    m_ok = m_ok && TIFFWriteDirectory(m_tif) != 0;
    return m_ok;
}

bool TiffPageWriter::finish()
{
    if (!m_tif)
        return false;
    const bool written = m_ok && TIFFFlush(m_tif);
    TIFFClose(m_tif);
    m_tif = nullptr;
    // Only a complete file takes the final name; rename replaces an older one in one step.
    if (!written || std::rename(m_partial.constData(), m_path.toUtf8().constData()) != 0) {
        LogUtil::w(QStringLiteral("Could not write TIFF file %1").arg(m_path));
        std::remove(m_partial.constData());
        return false;
    }
    return true;
}

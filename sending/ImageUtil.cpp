#include "ImageUtil.h"

#include "BitOrder.h"

#include <QPainter>
#include <QTransform>

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <vector>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace {

// Inclusive summed-area table: entry (y, x) holds the sum over rows 0..y and columns 0..x.
// With squares set, the squares of the values are summed instead.
std::vector<int64_t> integralOf(const cv::Mat& gray, bool squares)
{
    const int rows = gray.rows;
    const int cols = gray.cols;
    std::vector<int64_t> table(static_cast<size_t>(rows) * cols);
    for (int y = 0; y < rows; ++y) {
        const uchar* line = gray.ptr<uchar>(y);
        int64_t rowSum = 0;
        for (int x = 0; x < cols; ++x) {
            const int64_t v = line[x];
            rowSum += squares ? v * v : v;
            const size_t at = static_cast<size_t>(y) * cols + x;
            table[at] = rowSum + (y > 0 ? table[at - cols] : 0);
        }
    }
    return table;
}

// Sum over the window (x1, x2] x (y1, y2] from its four corners.
inline int64_t cornerSum(const std::vector<int64_t>& table, int cols, int x1, int y1, int x2, int y2)
{
    auto at = [&](int x, int y) { return table[static_cast<size_t>(y) * cols + x]; };
    return at(x2, y2) - at(x1, y2) - at(x2, y1) + at(x1, y1);
}

// One row of the mean threshold as bits, the leftmost pixel in the top bit: set (black) where
// gray < mean - 4, clear (white) where gray >= mean - 4.
void meanThresholdBits(const uchar* gray, const uchar* mean, uchar* out, int width)
{
    int x = 0;
#ifdef __SSE2__
    const __m128i four = _mm_set1_epi8(4);
    for (; x + 16 <= width; x += 16) {
        const __m128i g = _mm_loadu_si128(reinterpret_cast<const __m128i*>(gray + x));
        const __m128i floor = _mm_subs_epu8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(mean + x)), four);
        const int white = _mm_movemask_epi8(_mm_cmpeq_epi8(_mm_max_epu8(g, floor), g)); // bit i: g >= floor
        out[x / 8] = BitOrder::reversed(uchar(~white));
        out[x / 8 + 1] = BitOrder::reversed(uchar(~white >> 8));
    }
#endif
    for (; x < width; ++x) {
        const uchar bit = uchar(0x80 >> (x % 8));
        if (int(gray[x]) - int(mean[x]) > -5)
            out[x / 8] &= uchar(~bit);
        else
            out[x / 8] |= bit;
    }
}

constexpr QRgb faxWhite = 0xFFFFFFFFu;
constexpr QRgb faxBlack = 0xFF000000u;

// Adds (sign 1) or takes away (sign -1) a row of bytes to 16-bit column sums.
void addRow(const uchar* row, int sign, uint16_t* sums, int width)
{
    int x = 0;
#ifdef __SSE2__
    const __m128i zero = _mm_setzero_si128();
    for (; x + 16 <= width; x += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(row + x));
        __m128i* low = reinterpret_cast<__m128i*>(sums + x);
        __m128i* high = reinterpret_cast<__m128i*>(sums + x + 8);
        const __m128i l = _mm_unpacklo_epi8(bytes, zero);
        const __m128i h = _mm_unpackhi_epi8(bytes, zero);
        if (sign > 0) {
            _mm_storeu_si128(low, _mm_add_epi16(_mm_loadu_si128(low), l));
            _mm_storeu_si128(high, _mm_add_epi16(_mm_loadu_si128(high), h));
        } else {
            _mm_storeu_si128(low, _mm_sub_epi16(_mm_loadu_si128(low), l));
            _mm_storeu_si128(high, _mm_sub_epi16(_mm_loadu_si128(high), h));
        }
    }
#endif
    for (; x < width; ++x)
        sums[x] = uint16_t(sums[x] + sign * row[x]);
}

// The bits of adaptiveThreshold(gray, 255, ADAPTIVE_THRESH_MEAN_C, THRESH_BINARY, 15, 5) into
// a 1-bit page, without the mean plane: the block mean with replicated borders is the sum of
// the 15 x 15 block rounded to the nearest of 225ths, as boxFilter gives it for 8-bit planes
// (the same for every possible sum), and a pixel is white where gray >= mean - 4. Column sums
// slide down the rows, the block sum along each row.
void meanThresholdPage(const cv::Mat& gray, QImage& page)
{
    constexpr int radius = 7;
    constexpr int side = 2 * radius + 1;
    const int rows = gray.rows;
    const int cols = gray.cols;
    auto row = [&](int y) { return gray.ptr<uchar>(std::min(std::max(y, 0), rows - 1)); };
    // Column sums with the edge columns repeated radius times each side, and spares at the end.
    std::vector<uint16_t> padded(static_cast<size_t>(cols) + 2 * radius + 16);
    uint16_t* columns = padded.data() + radius;
    std::vector<uchar> mean(static_cast<size_t>(cols));
    std::vector<uint16_t> triples(padded.size());
    for (int y = -radius; y <= radius; ++y)
        addRow(row(y), 1, columns, cols);
    for (int y = 0; y < rows; ++y) {
        if (y > 0) {
            addRow(row(y + radius), 1, columns, cols);
            addRow(row(y - radius - 1), -1, columns, cols);
        }
        std::fill_n(padded.begin(), radius, columns[0]);
        std::fill(padded.begin() + radius + cols, padded.end(), columns[cols - 1]);
        int x = 0;
#ifdef __SSE2__
        // Block sums stay below 2^16 (225 x 255); v / 225 for every v up to 57487 is
        // (v * 37283) >> 23.
        const __m128i rounding = _mm_set1_epi16(side * side / 2);
        const __m128i reciprocal = _mm_set1_epi16(short(37283));
        // Sums of three neighbours first, then five of those a block.
        auto load = [](const uint16_t* at) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(at)); };
        for (size_t i = 0; i + 10 <= padded.size(); i += 8)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(triples.data() + i),
                             _mm_add_epi16(_mm_add_epi16(load(padded.data() + i), load(padded.data() + i + 1)),
                                           load(padded.data() + i + 2)));
        const uchar* pixels = gray.ptr<uchar>(y);
        const __m128i paper = _mm_set1_epi8(-1);
        for (; x + 16 <= cols; x += 16) {
            // A pixel of 255 is white whatever its mean: plain paper needs no block sums.
            if (_mm_movemask_epi8(_mm_cmpeq_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels + x)), paper))
                == 0xFFFF) {
                _mm_storeu_si128(reinterpret_cast<__m128i*>(mean.data() + x), paper);
                continue;
            }
            __m128i low = _mm_setzero_si128();
            __m128i high = _mm_setzero_si128();
            for (int i = 0; i < side; i += 3) {
                low = _mm_add_epi16(low, load(triples.data() + x + i));
                high = _mm_add_epi16(high, load(triples.data() + x + 8 + i));
            }
            low = _mm_srli_epi16(_mm_mulhi_epu16(_mm_add_epi16(low, rounding), reciprocal), 7);
            high = _mm_srli_epi16(_mm_mulhi_epu16(_mm_add_epi16(high, rounding), reciprocal), 7);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(mean.data() + x), _mm_packus_epi16(low, high));
        }
#endif
        if (x < cols) {
            uint32_t sum = 0;
            for (int i = 0; i < side; ++i)
                sum += padded[size_t(x + i)];
            for (; x < cols; ++x) {
                mean[size_t(x)] = uchar((sum + side * side / 2) / (side * side));
                sum += uint32_t(padded[size_t(x) + side]) - padded[size_t(x)];
            }
        }
        meanThresholdBits(gray.ptr<uchar>(y), mean.data(), page.scanLine(y), cols);
    }
}

// Where QImage's smooth scaling reads when it enlarges one axis from `from` to `to` pixels
// (qSmoothScaleImage): target pixel i lies between source pixels at[i] and at[i] + 1, the
// second weighing weight[i] 256ths (0 at the edges, where only at[i] is read).
struct EnlargedAxis
{
    std::vector<int> at;
    std::vector<int> weight;
};

EnlargedAxis enlargedAxis(int from, int to)
{
    EnlargedAxis axis;
    axis.at.resize(size_t(to));
    axis.weight.resize(size_t(to));
    int64_t val = 0x8000 * from / to - 0x8000;
    const int64_t inc = (int64_t(from) << 16) / to;
    for (int i = 0; i < to; ++i, val += inc) {
        const int64_t pos = val >> 16;
        axis.at[size_t(i)] = int(std::max<int64_t>(0, pos));
        axis.weight[size_t(i)] = pos < 0 || pos >= from - 1 ? 0 : int((val >> 8) & 0xff);
    }
    return axis;
}

// Two source rows blended by `weight` 256ths of the second, byte by byte: the first half of
// the smooth scaling, rounded down as QImage does it.
void blendRows(const uint32_t* top, const uint32_t* bottom, int weight, int width, uint32_t* out)
{
    int x = 0;
#ifdef __SSE2__
    const __m128i zero = _mm_setzero_si128();
    const __m128i wb = _mm_set1_epi16(short(weight));
    const __m128i wt = _mm_set1_epi16(short(256 - weight));
    for (; x + 4 <= width; x += 4) {
        const __m128i t = _mm_loadu_si128(reinterpret_cast<const __m128i*>(top + x));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(bottom + x));
        const __m128i low = _mm_srli_epi16(_mm_add_epi16(_mm_mullo_epi16(_mm_unpacklo_epi8(t, zero), wt),
                                                         _mm_mullo_epi16(_mm_unpacklo_epi8(b, zero), wb)), 8);
        const __m128i high = _mm_srli_epi16(_mm_add_epi16(_mm_mullo_epi16(_mm_unpackhi_epi8(t, zero), wt),
                                                          _mm_mullo_epi16(_mm_unpackhi_epi8(b, zero), wb)), 8);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), _mm_packus_epi16(low, high));
    }
#endif
    for (; x < width; ++x) {
        uint32_t pixel = 0;
        for (int c = 0; c < 32; c += 8) {
            const uint32_t t = (top[x] >> c) & 0xff;
            const uint32_t b = (bottom[x] >> c) & 0xff;
            pixel |= ((t * uint32_t(256 - weight) + b * uint32_t(weight)) >> 8) << c;
        }
        out[x] = pixel;
    }
}

// Gray of one pixel as COLOR_RGBA2GRAY gives it for 8-bit bytes (weights in 32768ths on its
// first, second and third byte in memory).
inline uchar grayOfPixel(uint32_t pixel)
{
    return uchar(((pixel & 0xff) * 9798 + ((pixel >> 8) & 0xff) * 19235 + ((pixel >> 16) & 0xff) * 3735 + (1 << 14))
                 >> 15);
}

// Gray plane rows 0 to keep - 1 of QImage::scaled(FAX_PAGE_WIDTH, rows, smooth) of a 32-bit
// image no larger than that, into gray from firstRow on, without the 15 MB scaled image.
// Each target row blends two source rows, then widens the blend (the second half of the
// smooth scaling) and turns it gray.
void enlargedGray(const QImage& image, int rows, int keep, cv::Mat& gray, int firstRow)
{
    constexpr int width = ImageUtil::FAX_PAGE_WIDTH;
    const int sourceWidth = image.width();
    const EnlargedAxis columns = enlargedAxis(sourceWidth, width);
    const EnlargedAxis lines = enlargedAxis(image.height(), rows);
    // Spare pixels after the row, copies of its last one, so that the right neighbour of the
    // last pixel (weighing 0) and whole groups of four can be read.
    std::vector<uint32_t> blended(size_t(sourceWidth) + 8);
#ifdef __SSE2__
    // pairs[x]: the bytes of pixels x and x + 1 interleaved in 16-bit lanes, and factors[x]:
    // 256 - weight and weight repeated, so that one multiply-add blends a target pixel. Four
    // 32-bit lanes an entry.
    std::vector<uint32_t> pairs((size_t(sourceWidth) + 4) * 4);
    std::vector<uint32_t> factors(size_t(width) * 4);
    for (int x = 0; x < width; ++x) {
        const uint32_t w = uint32_t(columns.weight[size_t(x)]);
        std::fill_n(factors.begin() + x * 4, 4, (256 - w) | w << 16);
    }
    auto lanes = [](std::vector<uint32_t>& v, size_t i) { return reinterpret_cast<__m128i*>(v.data() + i * 4); };
    const __m128i zero = _mm_setzero_si128();
    const __m128i coefficients = _mm_setr_epi16(9798, 19235, 3735, 0, 9798, 19235, 3735, 0);
    const __m128i half = _mm_set1_epi32(1 << 14);
    const int* at = columns.at.data();
    // Paper: a block of 16 target pixels whose source pixels are all opaque white is white
    // (255 blended with 255 stays 255). Source pixels are checked in groups of four: dark[g]
    // counts the groups before g holding anything else, and a block reads groups
    // first[b] to last[b].
    const int groups = sourceWidth / 4 + 2;
    std::vector<int> dark(size_t(groups) + 1);
    std::vector<int> first(width / 16);
    std::vector<int> last(width / 16);
    for (int b = 0; b < width / 16; ++b) {
        first[size_t(b)] = at[b * 16] / 4;
        last[size_t(b)] = (at[b * 16 + 15] + 1) / 4;
    }
    const __m128i opaqueWhite = _mm_set1_epi32(-1);
    const __m128i white16 = _mm_set1_epi8(-1);
    auto blend = [&](int x) {
        return _mm_srli_epi32(_mm_madd_epi16(_mm_loadu_si128(lanes(pairs, size_t(at[x]))),
                                             _mm_loadu_si128(lanes(factors, size_t(x)))), 8);
    };
    // Gray of four target pixels: two partial sums each, added.
    auto four = [&](int x) {
        const __m128 s01 = _mm_castsi128_ps(_mm_madd_epi16(_mm_packs_epi32(blend(x), blend(x + 1)), coefficients));
        const __m128 s23 = _mm_castsi128_ps(_mm_madd_epi16(_mm_packs_epi32(blend(x + 2), blend(x + 3)), coefficients));
        const __m128i sum = _mm_add_epi32(_mm_castps_si128(_mm_shuffle_ps(s01, s23, _MM_SHUFFLE(2, 0, 2, 0))),
                                          _mm_castps_si128(_mm_shuffle_ps(s01, s23, _MM_SHUFFLE(3, 1, 3, 1))));
        return _mm_srai_epi32(_mm_add_epi32(sum, half), 15);
    };
#endif
    for (int y = 0; y < keep; ++y) {
        const int r = lines.at[size_t(y)];
        const int w = lines.weight[size_t(y)];
        const uint32_t* top = reinterpret_cast<const uint32_t*>(image.constScanLine(r));
        const uint32_t* bottom = w ? reinterpret_cast<const uint32_t*>(image.constScanLine(r + 1)) : top;
        blendRows(top, bottom, w, sourceWidth, blended.data());
        std::fill(blended.begin() + sourceWidth, blended.end(), blended[size_t(sourceWidth) - 1]);
        uchar* out = gray.ptr<uchar>(firstRow + y);
#ifdef __SSE2__
        for (int x = 0; x < sourceWidth; x += 4) {
            const __m128i here = _mm_loadu_si128(reinterpret_cast<const __m128i*>(blended.data() + x));
            const __m128i next = _mm_loadu_si128(reinterpret_cast<const __m128i*>(blended.data() + x + 1));
            const __m128i low = _mm_unpacklo_epi8(here, next);
            const __m128i high = _mm_unpackhi_epi8(here, next);
            _mm_storeu_si128(lanes(pairs, size_t(x)), _mm_unpacklo_epi8(low, zero));
            _mm_storeu_si128(lanes(pairs, size_t(x) + 1), _mm_unpackhi_epi8(low, zero));
            _mm_storeu_si128(lanes(pairs, size_t(x) + 2), _mm_unpacklo_epi8(high, zero));
            _mm_storeu_si128(lanes(pairs, size_t(x) + 3), _mm_unpackhi_epi8(high, zero));
        }
        for (int g = 0; g < groups; ++g) {
            const __m128i quad = _mm_loadu_si128(reinterpret_cast<const __m128i*>(blended.data() + g * 4));
            dark[size_t(g) + 1] = dark[size_t(g)] + (_mm_movemask_epi8(_mm_cmpeq_epi32(quad, opaqueWhite)) != 0xFFFF);
        }
        static_assert(width % 16 == 0, "whole steps of 16 pixels");
        for (int x = 0; x < width; x += 16) {
            const size_t b = size_t(x / 16);
            if (dark[size_t(last[b]) + 1] == dark[size_t(first[b])]) {
                _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), white16);
                continue;
            }
            const __m128i low = _mm_packs_epi32(four(x), four(x + 4));
            const __m128i high = _mm_packs_epi32(four(x + 8), four(x + 12));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + x), _mm_packus_epi16(low, high));
        }
#else
        for (int x = 0; x < width; ++x) {
            const uint32_t cw = uint32_t(columns.weight[size_t(x)]);
            const uint32_t left = blended[size_t(columns.at[size_t(x)])];
            const uint32_t right = blended[size_t(columns.at[size_t(x)]) + 1];
            uint32_t pixel = 0;
            for (int c = 0; c < 32; c += 8)
                pixel |= ((((left >> c) & 0xff) * (256 - cw) + ((right >> c) & 0xff) * cw) >> 8) << c;
            out[x] = grayOfPixel(pixel);
        }
#endif
    }
}

} // namespace

QImage ImageUtil::scaleToFaxSize(const QImage& image, QString type)
{
    if (image.width() == FAX_PAGE_WIDTH && image.height() == FAX_PAGE_HGIEHT)
        return image;
    if (image.width() == FAX_PAGE_HGIEHT && image.height() == FAX_PAGE_WIDTH) {
        const QPointF centre = QRectF(image.rect()).center();
        QTransform turn;
        turn.translate(centre.x(), centre.y());
        turn.rotate(90.0);
        return image.transformed(turn, Qt::FastTransformation);
    }
    QImage fitted = imprintImage(image, type);
    return imprintToCanvas(fitted, FAX_PAGE_WIDTH, FAX_PAGE_HGIEHT);
}

QImage ImageUtil::imprintImage(const QImage& image, QString type)
{
    const int w = image.width();
    const int h = image.height();
    if (type == QLatin1String("pdf"))
        return image.scaled(FAX_PAGE_WIDTH, FAX_PAGE_HGIEHT, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
    if (w > FAX_PAGE_WIDTH) {
        const int h2 = static_cast<int>((1728.0f / w) * h);
        QImage scaled = image.scaled(FAX_PAGE_WIDTH, h2, Qt::KeepAspectRatio, Qt::SmoothTransformation);
        if (h2 > FAX_PAGE_HGIEHT) {
            const int w2 = scaled.width();
            const int h3 = scaled.height();
            scaled = scaled.scaled(static_cast<int>((1728.0f / w2) * h3), FAX_PAGE_HGIEHT, Qt::KeepAspectRatio,
                                   Qt::SmoothTransformation);
        }
        return scaled;
    }
    if (h > FAX_PAGE_HGIEHT) {
        // The box is wider than needed, so the height binds.
        return image.scaled(static_cast<int>((1728.0f / w) * h), FAX_PAGE_HGIEHT, Qt::KeepAspectRatio,
                            Qt::SmoothTransformation);
    }
    return image;
}

QImage ImageUtil::imprintToCanvas(const QImage& image, int width, int height)
{
    QImage canvas(FAX_PAGE_WIDTH, FAX_PAGE_HGIEHT, QImage::Format_RGBA8888);
    canvas.fill(Qt::white);
    QPainter painter(&canvas);
    painter.drawImage(QPointF((width - image.width()) / 2, 50.0), image);
    painter.end();
    return canvas;
}

QImage ImageUtil::pdfPageBits(const QImage& rendered)
{
    // Pages that scaleToFaxSize keeps or turns, and depths other than the opaque 32-bit one
    // that Poppler renders, take the ordinary road.
    const bool exactOrTurned = (rendered.width() == FAX_PAGE_WIDTH && rendered.height() == FAX_PAGE_HGIEHT)
        || (rendered.width() == FAX_PAGE_HGIEHT && rendered.height() == FAX_PAGE_WIDTH);
    if (rendered.isNull() || exactOrTurned || rendered.format() != QImage::Format_RGB32
        || Q_BYTE_ORDER != Q_LITTLE_ENDIAN)
        return getBWImage(scaleToFaxSize(rendered, QStringLiteral("pdf")));
    // The canvas is white down to row 50 and holds the scaled rows 0..2149 below. The editor's
    // road reads the RGBA canvas as BGRA; the scaled page is B, G, R, A in memory, so the same
    // weights fall on the same colours when it is read as RGBA.
    constexpr int top = 50;
    cv::Mat gray(FAX_PAGE_HGIEHT, FAX_PAGE_WIDTH, CV_8UC1);
    gray.rowRange(0, top).setTo(255);
    if (rendered.width() <= FAX_PAGE_WIDTH && rendered.height() <= FAX_PAGE_HGIEHT) {
        // Enlarged both ways (a page at screen resolution): the gray plane comes straight from
        // the rendering, without the 15 MB scaled page.
        enlargedGray(rendered, FAX_PAGE_HGIEHT, FAX_PAGE_HGIEHT - top, gray, top);
    } else {
        const QImage scaled = imprintImage(rendered, QStringLiteral("pdf"));
        if (scaled.format() != QImage::Format_RGB32 || scaled.size() != QSize(FAX_PAGE_WIDTH, FAX_PAGE_HGIEHT))
            return getBWImage(imprintToCanvas(scaled, FAX_PAGE_WIDTH, FAX_PAGE_HGIEHT));
        const cv::Mat source(FAX_PAGE_HGIEHT - top, FAX_PAGE_WIDTH, CV_8UC4, const_cast<uchar*>(scaled.constBits()),
                             static_cast<size_t>(scaled.bytesPerLine()));
        cv::Mat below = gray.rowRange(top, FAX_PAGE_HGIEHT);
        cv::cvtColor(source, below, cv::COLOR_RGBA2GRAY);
    }

    // The editor's threshold, straight into bits: no thresholded plane, no colour conversion.
    QImage page(FAX_PAGE_WIDTH, FAX_PAGE_HGIEHT, QImage::Format_Mono);
    page.setColorTable({ faxWhite, faxBlack });
    meanThresholdPage(gray, page);
    return page;
}

QImage ImageUtil::faxRasterBits(const QImage& rendered)
{
    if (rendered.isNull())
        return QImage();
    QImage page(FAX_PAGE_WIDTH, FAX_PAGE_HGIEHT, QImage::Format_Mono);
    page.setColorTable({ faxWhite, faxBlack });
    page.fill(0);
    const QImage source = rendered.depth() == 32 && rendered.format() != QImage::Format_RGBA8888
            && rendered.format() != QImage::Format_RGBA8888_Premultiplied && rendered.format() != QImage::Format_RGBX8888
        ? rendered
        : rendered.convertToFormat(QImage::Format_ARGB32);
    const bool opaque = !source.hasAlphaChannel();
    const int width = std::min(source.width(), FAX_PAGE_WIDTH);
    const int height = std::min(source.height(), FAX_PAGE_HGIEHT);
    const int left = (FAX_PAGE_WIDTH - width) / 2;
    const int top = (FAX_PAGE_HGIEHT - height) / 2;
    for (int y = 0; y < height; ++y) {
        const QRgb* in = reinterpret_cast<const QRgb*>(source.constScanLine(y));
        uchar* out = page.scanLine(top + y);
        for (int x = 0; x < width; ++x) {
            // Paper (transparent, or opaque white) is most of a page and needs no gray.
            const QRgb pixel = opaque ? in[x] | 0xFF000000u : in[x];
            const int alpha = qAlpha(pixel);
            if (alpha < 128 || pixel == 0xFFFFFFFFu)
                continue;
            // Gray below half, also for premultiplied colours.
            if (qGray(pixel) * 255 < 128 * alpha)
                out[(left + x) / 8] |= uchar(0x80 >> ((left + x) % 8));
        }
    }
    return page;
}

QImage ImageUtil::faxPageFromBits(const QImage& page)
{
    if (page.format() != QImage::Format_Mono || page.colorTable() != QVector<QRgb>{ faxWhite, faxBlack })
        return page;
    // Eight pixels of the RGBA page for each value of a byte of bits.
    static const std::vector<uint32_t> spread = [] {
        std::vector<uint32_t> table(256 * 8);
        for (int b = 0; b < 256; ++b)
            for (int i = 0; i < 8; ++i)
                table[size_t(b) * 8 + size_t(i)] = (b & (0x80 >> i)) ? faxBlack : faxWhite; // R, G, B, A in memory
        return table;
    }();
    QImage rgba(page.size(), QImage::Format_RGBA8888);
    const int whole = page.width() / 8;
    for (int y = 0; y < page.height(); ++y) {
        const uchar* bits = page.constScanLine(y);
        uint32_t* out = reinterpret_cast<uint32_t*>(rgba.scanLine(y));
        for (int i = 0; i < whole; ++i)
            std::memcpy(out + i * 8, spread.data() + size_t(bits[i]) * 8, 8 * sizeof(uint32_t));
        for (int x = whole * 8; x < page.width(); ++x)
            out[x] = (bits[x / 8] & (0x80 >> (x % 8))) ? faxBlack : faxWhite;
    }
    return rgba;
}

QImage ImageUtil::pdfPageToFax(const QImage& rendered)
{
    return faxPageFromBits(pdfPageBits(rendered));
}



cv::Mat ImageUtil::grayOf(const QImage& image)
{
    // The conversions read 4 bytes a pixel in memory order, so other depths are widened first.
    const QImage source = image.depth() == 32 ? image : image.convertToFormat(QImage::Format_RGBA8888);
    const cv::Mat view(source.height(), source.width(), CV_8UC4, const_cast<uchar*>(source.constBits()),
                       static_cast<size_t>(source.bytesPerLine()));
    cv::Mat gray;
    cv::cvtColor(view, gray, cv::COLOR_BGRA2GRAY);
    return gray;
}

QImage ImageUtil::getBWImage(const QImage& image)
{
    if (image.isNull())
        return QImage();
    cv::Mat gray = grayOf(image);
    cv::adaptiveThreshold(gray, gray, 255.0, cv::ADAPTIVE_THRESH_MEAN_C, cv::THRESH_BINARY, 15, 5.0);
    return mat2QImage(gray);
}

QImage ImageUtil::mat2QImage(const cv::Mat& mat)
{
    if (mat.empty())
        return QImage();
    cv::Mat rgba;
    cv::cvtColor(mat, rgba, cv::COLOR_GRAY2BGRA);
    // copy() so the image owns its pixels once the Mat is released.
    return QImage(rgba.data, rgba.cols, rgba.rows, static_cast<int>(rgba.step), QImage::Format_RGBA8888).copy();
}

QImage ImageUtil::signBlackWhite(const QImage& image)
{
    QImage result(image.size(), QImage::Format_RGB888);
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QRgb rgb = image.pixel(x, y);
            const int g = static_cast<int>(0.587 * qGreen(rgb) + 0.2989 * qRed(rgb) + 0.114 * qBlue(rgb));
            result.setPixel(x, y, g <= 127 ? 0xFF000000u : 0xFFFFFFFFu);
        }
    }
    return result;
}

QImage ImageUtil::getBWBitmapWithSauvola(const QImage& image, int percent)
{
    if (image.isNull())
        return QImage();
    int w = 100 - percent;
    if (w <= 0)
        w = 1;
    cv::Mat gray = grayOf(image);
    const int rows = gray.rows;
    const int cols = gray.cols;
    std::vector<int64_t> sums = integralOf(gray, false);
    std::vector<int64_t> squares = integralOf(gray, true);

    for (int y = 0; y < rows; ++y) {
        const int y1 = std::max(y - w, 0);
        const int y2 = std::min(y + w, rows - 1);
        uchar* line = gray.ptr<uchar>(y);
        for (int x = 0; x < cols; ++x) {
            const int x1 = std::max(x - w, 0);
            const int x2 = std::min(x + w, cols - 1);
            const int64_t count = static_cast<int64_t>(x2 - x1) * (y2 - y1);
            if (count <= 0) {
                line[x] = 255;
                continue;
            }
            const double sum = static_cast<double>(cornerSum(sums, cols, x1, y1, x2, y2));
            const double sumsq = static_cast<double>(cornerSum(squares, cols, x1, y1, x2, y2));
            const double mean = sum / count;
            // A window of one pixel has no spread.
            const double variance = count > 1 ? (sumsq - sum * sum / count) / (count - 1) : 0.0;
            const double sd = std::sqrt(std::max(variance, 0.0));
            const double threshold = mean * (1.0 + 0.3 * (sd / 128.0 - 1.0));
            line[x] = line[x] < threshold ? 0 : 255;
        }
    }
    return mat2QImage(gray);
}

QImage ImageUtil::getBWImageWithDither(const QImage& image)
{
    if (image.isNull())
        return QImage();
    cv::Mat gray = grayOf(image);
    const int rows = gray.rows;
    const int cols = gray.cols;
    // Shares wrap as 8-bit values, as the plane is 8 bits deep.
    auto add = [](uchar& pixel, int share) { pixel = static_cast<uchar>(pixel + share); };
    for (int y = 0; y < rows; ++y) {
        uchar* line = gray.ptr<uchar>(y);
        for (int x = 0; x < cols; ++x) {
            const int pixel = line[x];
            int error;
            if (pixel & 0x80) {
                line[x] = 255;
                error = pixel - 255;
            } else {
                line[x] = 0;
                error = pixel;
            }
            if (x == 0 || x == cols - 1 || y == rows - 1)
                continue;
            uchar* below = gray.ptr<uchar>(y + 1);
            add(line[x + 1], 7 * error / 26);
            add(below[x + 1], error / 26);
            add(below[x], 5 * error / 26);
            add(below[x - 1], 3 * error / 26);
        }
    }
    return mat2QImage(gray);
}

QImage ImageUtil::getBWImageImproveOTSU(const QImage& image)
{
    if (image.isNull())
        return QImage();
    cv::Mat gray = grayOf(image);
    const int rows = gray.rows;
    const int cols = gray.cols;
    const int s2 = (rows / 8) / 2;
    std::vector<int64_t> sums = integralOf(gray, false);

    for (int y = 0; y < rows; ++y) {
        const int y1 = std::max(y - s2, 0);
        const int y2 = std::min(y + s2, rows - 1);
        uchar* line = gray.ptr<uchar>(y);
        for (int x = 0; x < cols; ++x) {
            const int x1 = std::max(x - s2, 0);
            const int x2 = std::min(x + s2, cols - 1);
            const int64_t count = static_cast<int64_t>(x2 - x1) * (y2 - y1);
            const int64_t sum = cornerSum(sums, cols, x1, y1, x2, y2);
            line[x] = sum * 85 / 100 > count * line[x] ? 0 : 255;
        }
    }
    return mat2QImage(gray);
}

#include "ImageUtil.h"

#include <QPainter>
#include <QTransform>

#include <opencv2/imgproc.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
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

// One row of the mean threshold: opaque white where gray >= mean - 4, else opaque black
// (R, G, B, A in memory, as COLOR_GRAY2BGRA writes them).
void meanThresholdRow(const uchar* gray, const uchar* mean, uint32_t* out, int width)
{
    constexpr uint32_t black = 0xFF000000u;
    int x = 0;
#ifdef __SSE2__
    const __m128i four = _mm_set1_epi8(4);
    const __m128i alpha = _mm_set1_epi32(int(black));
    for (; x + 16 <= width; x += 16) {
        const __m128i g = _mm_loadu_si128(reinterpret_cast<const __m128i*>(gray + x));
        const __m128i floor = _mm_subs_epu8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(mean + x)), four);
        const __m128i white = _mm_cmpeq_epi8(_mm_max_epu8(g, floor), g); // 0xFF where g >= floor
        const __m128i low = _mm_unpacklo_epi8(white, white);
        const __m128i high = _mm_unpackhi_epi8(white, white);
        __m128i* to = reinterpret_cast<__m128i*>(out + x);
        _mm_storeu_si128(to, _mm_or_si128(_mm_unpacklo_epi16(low, low), alpha));
        _mm_storeu_si128(to + 1, _mm_or_si128(_mm_unpackhi_epi16(low, low), alpha));
        _mm_storeu_si128(to + 2, _mm_or_si128(_mm_unpacklo_epi16(high, high), alpha));
        _mm_storeu_si128(to + 3, _mm_or_si128(_mm_unpackhi_epi16(high, high), alpha));
    }
#endif
    for (; x < width; ++x)
        out[x] = int(gray[x]) - int(mean[x]) > -5 ? 0xFFFFFFFFu : black;
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

QImage ImageUtil::pdfPageToFax(const QImage& rendered)
{
    // Pages that scaleToFaxSize keeps or turns, and depths other than the opaque 32-bit one
    // that Poppler renders, take the ordinary road.
    const bool exactOrTurned = (rendered.width() == FAX_PAGE_WIDTH && rendered.height() == FAX_PAGE_HGIEHT)
        || (rendered.width() == FAX_PAGE_HGIEHT && rendered.height() == FAX_PAGE_WIDTH);
    if (rendered.isNull() || exactOrTurned || rendered.format() != QImage::Format_RGB32
        || Q_BYTE_ORDER != Q_LITTLE_ENDIAN)
        return getBWImage(scaleToFaxSize(rendered, QStringLiteral("pdf")));
    const QImage scaled = imprintImage(rendered, QStringLiteral("pdf"));
    if (scaled.format() != QImage::Format_RGB32 || scaled.size() != QSize(FAX_PAGE_WIDTH, FAX_PAGE_HGIEHT))
        return getBWImage(imprintToCanvas(scaled, FAX_PAGE_WIDTH, FAX_PAGE_HGIEHT));

    // The canvas is white down to row 50 and holds the scaled rows 0..2149 below. The editor's
    // road reads the RGBA canvas as BGRA; the scaled page is B, G, R, A in memory, so the same
    // weights fall on the same colours when it is read as RGBA.
    constexpr int top = 50;
    cv::Mat gray(FAX_PAGE_HGIEHT, FAX_PAGE_WIDTH, CV_8UC1);
    gray.rowRange(0, top).setTo(255);
    const cv::Mat source(FAX_PAGE_HGIEHT - top, FAX_PAGE_WIDTH, CV_8UC4, const_cast<uchar*>(scaled.constBits()),
                         static_cast<size_t>(scaled.bytesPerLine()));
    cv::Mat below = gray.rowRange(top, FAX_PAGE_HGIEHT);
    cv::cvtColor(source, below, cv::COLOR_RGBA2GRAY);

    // adaptiveThreshold (mean of 15 x 15, C 5, binary) is the block mean with replicated
    // borders and then "white when gray - mean > -5", that is gray >= mean - 4. Done here
    // straight into the RGBA page, it saves the thresholded plane and its colour conversion.
    cv::Mat mean;
    cv::boxFilter(gray, mean, CV_8U, cv::Size(15, 15), cv::Point(-1, -1), true,
                  cv::BORDER_REPLICATE | cv::BORDER_ISOLATED);
    QImage page(FAX_PAGE_WIDTH, FAX_PAGE_HGIEHT, QImage::Format_RGBA8888);
    for (int y = 0; y < FAX_PAGE_HGIEHT; ++y)
        meanThresholdRow(gray.ptr<uchar>(y), mean.ptr<uchar>(y), reinterpret_cast<uint32_t*>(page.scanLine(y)),
                         FAX_PAGE_WIDTH);
    return page;
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

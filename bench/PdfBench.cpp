// PDF to fax file through the editor's path: Poppler render, scaleToFaxSize, getBWImage,
// writeImgToTiff.
//   bench_pdf make <file.pdf> <pages>     a PDF of text pages with pictures
//   bench_pdf convert <file.pdf> <out.tif> [--dpi N] [--threads N] [--pages N] [--sharp] [--sequential]
//       the editor's path (PdfPageLoader) streaming into TiffPageWriter, the first N pages
//       only with --pages; --sharp renders at fax resolution; with --sequential the page loop
//       as it was before, for comparison.
//   bench_pdf ink <ours.tif> <reference.tif>
//       the share of black pixels of both files (mean over the pages) and the page whose
//       share differs most, relative to the reference's.

#include "BenchSupport.h"

#include "ImageUtil.h"
#include "PdfPageLoader.h"
#include "PdfPageReader.h"
#include "TiffPageWriter.h"
#include "TiffUtil.h"

#include <QLinearGradient>
#include <QPainter>
#include <QPdfWriter>

#include <algorithm>
#include <cmath>
#include <cstdio>

using namespace BenchSupport;

namespace {

// A picture that changes with the page: gradient, circles and a frame.
QImage pictureFor(int page)
{
    QImage picture(900, 600, QImage::Format_RGB32);
    QPainter p(&picture);
    QLinearGradient gradient(0, 0, 900, 600);
    gradient.setColorAt(0, QColor::fromHsv((page * 37) % 360, 200, 230));
    gradient.setColorAt(1, QColor::fromHsv((page * 37 + 120) % 360, 160, 90));
    p.fillRect(picture.rect(), gradient);
    p.setPen(QPen(Qt::black, 6));
    for (int i = 0; i < 6; ++i)
        p.drawEllipse(QPoint(120 + i * 130, 300 + ((i + page) % 3 - 1) * 90), 60 + 10 * i, 60 + 10 * i);
    p.drawRect(picture.rect().adjusted(3, 3, -4, -4));
    return picture;
}

int makePdf(const QString& path, int pages)
{
    QPdfWriter writer(path);
    writer.setPageSize(QPageSize(QPageSize::A4));
    writer.setResolution(300);
    writer.setPageMargins(QMarginsF(20, 20, 20, 20), QPageLayout::Millimeter);
    QPainter p(&writer);
    const QRect area = writer.pageLayout().paintRectPixels(300);
    QFont body(QStringLiteral("Serif"), 10);
    QFont heading(QStringLiteral("Sans"), 16, QFont::Bold);
    for (int page = 0; page < pages; ++page) {
        if (page > 0)
            writer.newPage();
        p.setFont(heading);
        p.drawText(QRect(0, 0, area.width(), 120), Qt::AlignLeft | Qt::AlignVCenter,
                   QStringLiteral("Quarterly report, page %1 of %2").arg(page + 1).arg(pages));
        p.drawImage(QRect(area.width() - 900, 150, 900, 600), pictureFor(page));
        p.setFont(body);
        const int lineHeight = 52;
        for (int line = 0; line < 58; ++line) {
            const int y = 160 + line * lineHeight;
            const int width = y < 780 ? area.width() - 960 : area.width();
            p.drawText(QRect(0, y, width, lineHeight), Qt::AlignLeft | Qt::AlignVCenter,
                       QStringLiteral("%1.%2 The order of %3 units left the warehouse on day %4; invoice %5 "
                                      "follows by post, payable within thirty days of receipt.")
                           .arg(page + 1)
                           .arg(line + 1)
                           .arg((page * 131 + line * 17) % 997)
                           .arg(line % 28 + 1)
                           .arg(100000 + page * 100 + line));
        }
    }
    return p.end() ? 0 : 1;
}

// The page loop as the editor had it: every page rendered, fitted and thresholded in turn on
// one thread, all pages kept, then one TIFF written.
int convertSequential(const QString& pdf, const QString& tif, int dpi)
{
    const double start = now();
    PdfPageReader reader;
    if (!reader.open(pdf))
        return 1;
    QList<QImage> pages;
    for (int i = 0; i < reader.pageCount(); ++i) {
        const QImage rendered = reader.renderPage(i, dpi);
        QImage onPage = ImageUtil::scaleToFaxSize(rendered, QStringLiteral("pdf"));
        pages.append(ImageUtil::getBWImage(onPage));
    }
    if (!TiffUtil::writeImgToTiff(pages, tif))
        return 1;
    const double seconds = now() - start;
    result({ QStringLiteral("pages=%1").arg(pages.size()), "seconds=" + num(seconds),
             "pages_per_s=" + num(pages.size() / seconds, 1), "peak_mb=" + num(peakRssMb(), 0) });
    return 0;
}

// The editor's path now: PdfPageLoader's workers render and threshold pages a few ahead, and
// each page goes to the file as it arrives.
int convertPipeline(const QString& pdf, const QString& tif, int dpi, int threads, int pages, bool sharp)
{
    const double start = now();
    PdfPageLoader loader;
    if (!loader.start(pdf, dpi, threads, sharp))
        return 1;
    TiffPageWriter writer(tif);
    const int count = pages > 0 ? std::min(pages, loader.pageCount()) : loader.pageCount();
    for (int i = 0; i < count; ++i) {
        if (!writer.writePage(loader.take(i), i + 1, count))
            return 1;
    }
    if (!writer.finish())
        return 1;
    const double seconds = now() - start;
    result({ QStringLiteral("pages=%1").arg(count), "seconds=" + num(seconds),
             "pages_per_s=" + num(count / seconds, 1), "peak_mb=" + num(peakRssMb(), 0) });
    return 0;
}

// Share of black pixels of each page of a fax file.
QVector<double> inkOf(const QString& tif)
{
    QVector<double> shares;
    const int count = TiffUtil::getTiffPage(tif);
    for (int i = 0; i < count; ++i) {
        const QImage page = TiffUtil::tiffPageToImg(tif, i).convertToFormat(QImage::Format_Grayscale8);
        qint64 black = 0;
        for (int y = 0; y < page.height(); ++y) {
            const uchar* line = page.constScanLine(y);
            for (int x = 0; x < page.width(); ++x)
                black += line[x] < 128;
        }
        shares.append(page.isNull() ? 0.0 : double(black) / (double(page.width()) * page.height()));
    }
    return shares;
}

int compareInk(const QString& ours, const QString& reference)
{
    const QVector<double> a = inkOf(ours);
    const QVector<double> b = inkOf(reference);
    if (a.isEmpty() || a.size() != b.size())
        return 1;
    double sumA = 0, sumB = 0, worst = 0;
    int worstPage = 0;
    for (int i = 0; i < a.size(); ++i) {
        sumA += a[i];
        sumB += b[i];
        // Pages with hardly any ink (blank, a title) say nothing about stroke weight.
        const double off = b[i] > 0.005 ? a[i] / b[i] - 1.0 : 0.0;
        if (std::abs(off) > std::abs(worst)) {
            worst = off;
            worstPage = i + 1;
        }
    }
    result({ "ink_pct=" + num(100 * sumA / a.size(), 2), "reference_ink_pct=" + num(100 * sumB / b.size(), 2),
             "mean_off_pct=" + num(100 * (sumA / sumB - 1.0), 1), "worst_off_pct=" + num(100 * worst, 1),
             QStringLiteral("worst_page=%1").arg(worstPage) });
    return 0;
}

} // namespace

namespace {

int command(const QStringList& args)
{
    const QString command = args.value(0);
    const int dpiAt = args.indexOf(QStringLiteral("--dpi"));
    const int dpi = dpiAt > 0 ? args.value(dpiAt + 1).toInt() : 96;
    if (command == QLatin1String("make") && args.size() >= 3)
        return makePdf(args.at(1), args.at(2).toInt());
    const int threadsAt = args.indexOf(QStringLiteral("--threads"));
    const int threads = threadsAt > 0 ? args.value(threadsAt + 1).toInt() : 0;
    const int pagesAt = args.indexOf(QStringLiteral("--pages"));
    const int pages = pagesAt > 0 ? args.value(pagesAt + 1).toInt() : 0;
    if (command == QLatin1String("convert") && args.size() >= 3) {
        if (args.contains(QStringLiteral("--sequential")))
            return convertSequential(args.at(1), args.at(2), dpi);
        return convertPipeline(args.at(1), args.at(2), dpi, threads, pages, args.contains(QStringLiteral("--sharp")));
    }
    if (command == QLatin1String("ink") && args.size() >= 3)
        return compareInk(args.at(1), args.at(2));
    std::fprintf(stderr, "usage: bench_pdf make <file.pdf> <pages> | convert <file.pdf> <out.tif> [--dpi N] "
                         "[--threads N] [--pages N] [--sharp] [--sequential] | ink <ours.tif> <reference.tif>\n");
    return 2;
}

} // namespace

int main(int argc, char* argv[])
{
    return benchMain(argc, argv, command);
}

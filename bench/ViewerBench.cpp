// The viewer on a long fax.
//   bench_viewer make <file.tif> <pages>   a G3 fax file written by TiffUtil
//   bench_viewer open <file.tif> [turns]   MyImageViewer opens it and shows page 1; then
//       the given number of page turns forward (none by default), for the cost of a turn.
//   bench_viewer editor <file.tif> [turns] the same for the fax editor (FaxDetailWindow, viewing
//       a stored fax): open with the page list and page 1 shown, then the page turns.
//   bench_viewer pdf <file.pdf>           a PDF opened into a new fax in the editor: load time
//       and the longest time the window handled no event.

#include "BenchSupport.h"

#include "FaxDetailWindow.h"

#include "ImageUtil.h"
#include "MyImageViewer.h"
#include "TiffUtil.h"

#include <QApplication>
#include <QDir>
#include <QPainter>
#include <QTemporaryDir>
#include <QTimer>

#include <algorithm>
#include <cstdio>

using namespace BenchSupport;

namespace {

// A typed letter page on the fax raster, black and white.
QImage letterPage(int page)
{
    QImage image(ImageUtil::FAX_PAGE_WIDTH, ImageUtil::FAX_PAGE_HGIEHT, QImage::Format_RGBA8888);
    image.fill(Qt::white);
    QPainter p(&image);
    p.setPen(Qt::black);
    p.setFont(QFont(QStringLiteral("Sans"), 30, QFont::Bold));
    p.drawText(100, 180, QStringLiteral("Delivery note %1").arg(page + 1));
    p.setFont(QFont(QStringLiteral("Serif"), 14));
    for (int line = 0; line < 70; ++line)
        p.drawText(100, 300 + line * 27,
                   QStringLiteral("Item %1: %2 pieces, batch %3, checked and packed for dispatch.")
                       .arg(line + 1)
                       .arg((page * 7 + line * 13) % 500)
                       .arg(40000 + page * 70 + line));
    p.end();
    return image;
}

int makeFax(const QString& path, int pages)
{
    // Four different pages, repeated: the list shares their pixels.
    QList<QImage> distinct;
    for (int i = 0; i < 4; ++i)
        distinct.append(letterPage(i));
    QList<QImage> images;
    for (int i = 0; i < pages; ++i)
        images.append(distinct.at(i % distinct.size()));
    return TiffUtil::writeImgToTiff(images, path) ? 0 : 1;
}

int openFax(QString path, int turnsWanted)
{
    MyImageViewer viewer;
    viewer.resize(900, 1100);
    viewer.show();
    QApplication::processEvents();
    const double start = now();
    const int opened = viewer.openImageResource(path);
    QApplication::processEvents();
    const double openSeconds = now() - start;
    if (opened != 0)
        return 1;
    const double turnStart = now();
    int turns = 0;
    for (; turns < turnsWanted && viewer.next() == 0; ++turns)
        QApplication::processEvents();
    const double turnSeconds = turns > 0 ? (now() - turnStart) / turns : 0.0;
    result({ QStringLiteral("pages=%1").arg(viewer.pageCount()), "open_s=" + num(openSeconds),
             "turn_s=" + num(turnSeconds), "peak_mb=" + num(peakRssMb(), 0) });
    return 0;
}

int openInEditor(const QString& path, int turnsWanted)
{
    QTemporaryDir home;
    useHome(home.path());
    loginBenchUser();
    Fax fax;
    fax.editorMode = 0;
    fax.filepath = QDir(path).absolutePath();
    const double start = now();
    auto* editor = new FaxDetailWindow(fax);
    editor->resize(1100, 1000);
    editor->show();
    QApplication::processEvents();
    const double openSeconds = now() - start;
    const double turnStart = now();
    int turns = 0;
    for (; turns < turnsWanted && turns + 1 < editor->pageCount(); ++turns) {
        editor->nextPage();
        QApplication::processEvents();
    }
    const double turnSeconds = turns > 0 ? (now() - turnStart) / turns : 0.0;
    const int pages = editor->pageCount();
    delete editor;
    if (pages == 0)
        return 1;
    result({ QStringLiteral("pages=%1").arg(pages), "open_s=" + num(openSeconds), "turn_s=" + num(turnSeconds),
             "peak_mb=" + num(peakRssMb(), 0) });
    return 0;
}

// A PDF opened into a new fax: the time until every page is in, and the longest stretch in
// which the window handled no event (a timer asks every 5 ms).
int loadPdfInEditor(const QString& path)
{
    QTemporaryDir home;
    useHome(home.path());
    loginBenchUser();
    Fax fax;
    fax.editorMode = 1;
    auto* editor = new FaxDetailWindow(fax);
    editor->resize(1100, 1000);
    editor->show();
    QApplication::processEvents();
    double last = now();
    double longest = 0;
    QTimer beat;
    QObject::connect(&beat, &QTimer::timeout, [&] {
        const double t = now();
        longest = std::max(longest, t - last);
        last = t;
    });
    beat.start(5);
    const double start = now();
    last = start;
    editor->open_picture_file({ QDir(path).absolutePath() });
    const double seconds = now() - start;
    beat.stop();
    longest = std::max(longest, now() - last);
    const int pages = editor->pageCount();
    delete editor;
    if (pages == 0)
        return 1;
    result({ QStringLiteral("pages=%1").arg(pages), "load_s=" + num(seconds),
             "longest_gap_ms=" + num(longest * 1000, 0), "peak_mb=" + num(peakRssMb(), 0) });
    return 0;
}

} // namespace

namespace {

int command(const QStringList& args)
{
    const QString command = args.value(0);
    if (command == QLatin1String("make") && args.size() >= 3)
        return makeFax(args.at(1), args.at(2).toInt());
    if (command == QLatin1String("open") && args.size() >= 2)
        return openFax(args.at(1), args.value(2).toInt());
    if (command == QLatin1String("editor") && args.size() >= 2)
        return openInEditor(args.at(1), args.value(2).toInt());
    if (command == QLatin1String("pdf") && args.size() >= 2)
        return loadPdfInEditor(args.at(1));
    std::fprintf(stderr, "usage: bench_viewer make <file.tif> <pages> | open|editor <file.tif> [turns] | pdf <file.pdf>\n");
    return 2;
}

} // namespace

int main(int argc, char* argv[])
{
    return benchMain(argc, argv, command);
}

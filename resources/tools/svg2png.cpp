// Renders one SVG drawing of ours to a PNG of a given size; run at build time so that the
// images the program embeds are made from their sources.
//   velkor_svg2png input.svg output.png width height
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QSaveFile>
#include <QSvgRenderer>
#include <cstdio>

int main(int argc, char** argv)
{
    if (argc != 5) {
        std::fprintf(stderr, "usage: %s input.svg output.png width height\n", argv[0]);
        return 2;
    }
    // Drawing needs no screen.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication app(argc, argv);
    const QString input = QString::fromLocal8Bit(argv[1]);
    const QString output = QString::fromLocal8Bit(argv[2]);
    const int width = QByteArray(argv[3]).toInt();
    const int height = QByteArray(argv[4]).toInt();

    QSvgRenderer renderer(input);
    if (!renderer.isValid() || width <= 0 || height <= 0) {
        std::fprintf(stderr, "cannot render %s\n", argv[1]);
        return 1;
    }
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    renderer.render(&painter);
    painter.end();

    QSaveFile file(output);
    if (!file.open(QIODevice::WriteOnly) || !image.save(&file, "PNG") || !file.commit()) {
        std::fprintf(stderr, "cannot write %s\n", argv[2]);
        return 1;
    }
    return 0;
}

#pragma once

// Files and measurements shared by the editor tests. Every file is made by the test itself.

#include <QFile>
#include <QImage>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QRect>
#include <QString>

namespace EditorTestData {

// Share of black pixels (every channel below 64) inside rect.
inline double blackFraction(const QImage& image, const QRect& rect)
{
    const QRect r = rect.intersected(image.rect());
    if (r.isEmpty())
        return 0.0;
    int black = 0;
    for (int y = r.top(); y <= r.bottom(); ++y)
        for (int x = r.left(); x <= r.right(); ++x)
            if (qGray(image.pixel(x, y)) < 64)
                ++black;
    return double(black) / (r.width() * r.height());
}

inline bool isBlack(const QImage& image, int x, int y)
{
    return qGray(image.pixel(x, y)) < 64;
}

// Horizontal lines, 3 units thick every 9 units, filling rect: survives a local threshold.
inline void hatch(QPainter& painter, const QRectF& rect)
{
    for (qreal y = rect.top(); y + 3 <= rect.bottom(); y += 9)
        painter.fillRect(QRectF(rect.left(), y, rect.width(), 3), Qt::black);
}

// A PDF whose page i is landscape when landscape[i], hatched in the band described by bands[i]
// ('t' top third, 'b' bottom third, 'l' left half).
inline bool writePdf(const QString& path, const QString& bands, const QList<bool>& landscape)
{
    QPdfWriter writer(path);
    writer.setResolution(72);
    writer.setPageSize(QPageSize(QPageSize::A4));
    writer.setPageOrientation(landscape.value(0) ? QPageLayout::Landscape : QPageLayout::Portrait);
    QPainter painter(&writer);
    for (int i = 0; i < bands.size(); ++i) {
        if (i > 0) {
            writer.setPageOrientation(landscape.value(i) ? QPageLayout::Landscape : QPageLayout::Portrait);
            writer.newPage();
        }
        const QRectF page(0, 0, painter.device()->width(), painter.device()->height());
        switch (bands.at(i).toLatin1()) {
        case 't': hatch(painter, QRectF(0, 0, page.width(), page.height() / 3)); break;
        case 'b': hatch(painter, QRectF(0, page.height() * 2 / 3, page.width(), page.height() / 3)); break;
        case 'l': hatch(painter, QRectF(0, 0, page.width() / 2, page.height())); break;
        default: break;
        }
    }
    return painter.end();
}

// A PDF whose encryption dictionary accepts no password we could give: Poppler calls it locked.
inline void writeLockedPdf(const QString& path)
{
    QByteArray pdf("%PDF-1.4\n");
    QList<int> offsets;
    const QList<QByteArray> objects = {
        "<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] >>",
        "<< /Filter /Standard /V 1 /R 2 /P -4 /O <" + QByteArray(64, 'A') + "> /U <" + QByteArray(64, 'B') + "> >>",
    };
    for (int i = 0; i < objects.size(); ++i) {
        offsets.append(pdf.size());
        pdf += QByteArray::number(i + 1) + " 0 obj\n" + objects.at(i) + "\nendobj\n";
    }
    const int xref = pdf.size();
    pdf += "xref\n0 5\n0000000000 65535 f \n";
    for (int offset : offsets)
        pdf += QByteArray::number(offset).rightJustified(10, '0') + " 00000 n \n";
    pdf += "trailer\n<< /Size 5 /Root 1 0 R /Encrypt 4 0 R /ID [<0123456789ABCDEF0123456789ABCDEF>"
           "<0123456789ABCDEF0123456789ABCDEF>] >>\nstartxref\n" +
           QByteArray::number(xref) + "\n%%EOF\n";
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(pdf);
}

inline void writeBytes(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes);
}

// A white fax page with a hatch band at band (0..3) of four, so that pages can be told apart.
inline QImage bandPage(int band)
{
    QImage image(1728, 2200, QImage::Format_RGBA8888);
    image.fill(Qt::white);
    QPainter painter(&image);
    hatch(painter, QRectF(100, 100 + band * 500, 1500, 300));
    return image;
}

} // namespace EditorTestData

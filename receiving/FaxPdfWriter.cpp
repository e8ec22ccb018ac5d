#include "FaxPdfWriter.h"

#include "LogUtil.h"
#include "TiffUtil.h"

#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QSaveFile>

bool FaxPdfWriter::write(int count, const PageSource& page, QIODevice* device)
{
    QPdfWriter writer(device);
    writer.setPageSize(QPageSize(QPageSize::A4));
    QPainter painter;
    if (!painter.begin(&writer))
        return false;
    for (int i = 0; i < count; ++i) {
        const QImage image = page(i);
        if (image.isNull())
            break;
        if (i > 0)
            writer.newPage();
        // One bit a pixel keeps the document small; fax pages are black and white anyway.
        const QImage mono = image.convertToFormat(QImage::Format_Mono, Qt::ThresholdDither);
        const QRect viewport = painter.viewport();
        const qreal scale = mono.width() > 0 ? qreal(viewport.right() - viewport.left() + 1) / mono.width() : 1.0;
        painter.save();
        painter.scale(scale, scale);
        painter.drawImage(0, 0, mono);
        painter.restore();
    }
    return painter.end();
}

bool FaxPdfWriter::writeFile(int count, const PageSource& page, const QString& pdfPath)
{
    QSaveFile out(pdfPath);
    if (!out.open(QIODevice::WriteOnly)) {
        LogUtil::w(QStringLiteral("cannot write %1: %2").arg(pdfPath, out.errorString()));
        return false;
    }
    if (!write(count, page, &out) || !out.commit()) {
        LogUtil::w(QStringLiteral("cannot write %1: %2").arg(pdfPath, out.errorString()));
        out.cancelWriting();
        return false;
    }
    return true;
}

bool FaxPdfWriter::writeFile(const QList<QImage>& pages, const QString& pdfPath)
{
    return writeFile(pages.size(), [&pages](int i) { return pages.at(i); }, pdfPath);
}

bool FaxPdfWriter::writeFax(const QString& tiffPath, const QString& pdfPath)
{
    return writeFile(TiffUtil::getTiffPage(tiffPath),
                     [&tiffPath](int i) { return TiffUtil::tiffPageToImg(tiffPath, i); }, pdfPath);
}

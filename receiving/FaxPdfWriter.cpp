#include "FaxPdfWriter.h"

#include "LogUtil.h"
#include "TiffUtil.h"

#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QSaveFile>

bool FaxPdfWriter::write(const QList<QImage>& pages, QIODevice* device)
{
    QPdfWriter writer(device);
    writer.setPageSize(QPageSize(QPageSize::A4));
    QPainter painter;
    if (!painter.begin(&writer))
        return false;
    for (int i = 0; i < pages.size(); ++i) {
        // One bit a pixel keeps the document small; fax pages are black and white anyway.
        const QImage page = pages[i].convertToFormat(QImage::Format_Mono, Qt::ThresholdDither);
        const QRect viewport = painter.viewport();
        const qreal scale = page.width() > 0 ? qreal(viewport.right() - viewport.left() + 1) / page.width() : 1.0;
        painter.save();
        painter.scale(scale, scale);
        painter.drawImage(0, 0, page);
        painter.restore();
        if (i + 1 < pages.size())
            writer.newPage();
    }
    return painter.end();
}

bool FaxPdfWriter::writeFile(const QList<QImage>& pages, const QString& pdfPath)
{
    QSaveFile out(pdfPath);
    if (!out.open(QIODevice::WriteOnly)) {
        LogUtil::w(QStringLiteral("cannot write %1: %2").arg(pdfPath, out.errorString()));
        return false;
    }
    if (!write(pages, &out) || !out.commit()) {
        LogUtil::w(QStringLiteral("cannot write %1: %2").arg(pdfPath, out.errorString()));
        out.cancelWriting();
        return false;
    }
    return true;
}

bool FaxPdfWriter::writeFax(QString& tiffPath, const QString& pdfPath)
{
    return writeFile(TiffUtil::tiffToImg(tiffPath), pdfPath);
}

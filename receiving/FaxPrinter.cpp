#include "FaxPrinter.h"

#include "PageFit.h"
#include "TiffUtil.h"

#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>

namespace {
QPrinter* testPrinter = nullptr;
}

void FaxPrinter::setTestPrinter(QPrinter* printer)
{
    testPrinter = printer;
}

bool FaxPrinter::print(QWidget* parent, int count, const PageSource& page)
{
    if (testPrinter)
        return printOn(testPrinter, count, page);
    QPrinter printer(QPrinter::HighResolution);
    printer.setPageSize(QPageSize(QPageSize::A4));
    QPrintDialog dialog(&printer, parent);
    dialog.setWindowTitle(QStringLiteral("Print Document"));
    if (dialog.exec() != QDialog::Accepted)
        return false;
    return printOn(&printer, count, page);
}

bool FaxPrinter::printFax(QWidget* parent, const QString& tiffPath)
{
    return print(parent, TiffUtil::getTiffPage(tiffPath),
                 [&tiffPath](int i) { return TiffUtil::tiffPageToImg(tiffPath, i); });
}

bool FaxPrinter::printOn(QPrinter* printer, int count, const PageSource& page)
{
    QPainter painter;
    if (!painter.begin(printer))
        return false;
    // The painter's origin is the corner of the printable area.
    const QRect area(QPoint(), painter.viewport().size());
    for (int i = 0; i < count; ++i) {
        const QImage image = page(i);
        if (image.isNull())
            break;
        if (i > 0)
            printer->newPage();
        painter.drawImage(PageFit::centred(image.size(), area), image);
    }
    return painter.end();
}

#pragma once

#include "FaxPdfWriter.h"

#include <QString>

class QPrinter;
class QWidget;

// Fax pages on paper: each page whole in the printable area, scaled by one factor for both
// axes and centred, so no page is stretched or cut. The one printing path of the client: the
// folders' "打印" and the transmission report.
class FaxPrinter
{
public:
    using PageSource = FaxPdfWriter::PageSource;

    // Asks for a printer (A4, high resolution) and prints count pages, asked for one at a time.
    // False when the user cancelled or the printer failed.
    static bool print(QWidget* parent, int count, const PageSource& page);
    static bool printFax(QWidget* parent, const QString& tiffPath);
    // Prints on a printer that is ready.
    static bool printOn(QPrinter* printer, int count, const PageSource& page);

    // Test seam: with a printer set, no dialog opens and pages go to that printer.
    static void setTestPrinter(QPrinter* printer);
};

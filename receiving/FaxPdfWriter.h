#pragma once

#include <QImage>
#include <QList>
#include <QString>

#include <functional>

class QIODevice;

// Fax pages as an A4 PDF: each page drawn at the top left, scaled to the page width.
// The one PDF writer of the client: "另存为" of the main window and the automatic output.
class FaxPdfWriter
{
public:
    // Gives page i (from 0) of a document; a null image ends the document there.
    using PageSource = std::function<QImage(int)>;

    // Writes count pages, asked for one at a time, to a device open for writing, so a long fax
    // never stands decoded all at once. No pages give one blank page.
    static bool write(int count, const PageSource& page, QIODevice* device);
    // Writes the document to pdfPath under a temporary name and renames it when complete, so
    // that pdfPath never holds a partial file. False when it could not be written.
    static bool writeFile(int count, const PageSource& page, const QString& pdfPath);
    static bool writeFile(const QList<QImage>& pages, const QString& pdfPath);
    // The fax file (TIFF) as a PDF, read page by page; an unreadable fax gives a blank document.
    static bool writeFax(const QString& tiffPath, const QString& pdfPath);
};

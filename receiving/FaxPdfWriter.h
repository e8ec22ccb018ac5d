#pragma once

#include <QImage>
#include <QList>
#include <QString>

class QIODevice;

// Fax pages as an A4 PDF: each page drawn at the top left, scaled to the page width.
// The one PDF writer of the client: "另存为" of the main window and the automatic output.
class FaxPdfWriter
{
public:
    // Writes the document to a device open for writing. No pages give one blank page.
    static bool write(const QList<QImage>& pages, QIODevice* device);
    // Writes the document to pdfPath under a temporary name and renames it when complete, so
    // that pdfPath never holds a partial file. False when it could not be written.
    static bool writeFile(const QList<QImage>& pages, const QString& pdfPath);
    // The fax file (TIFF) as a PDF; an unreadable fax gives a blank document.
    static bool writeFax(QString& tiffPath, const QString& pdfPath);
};

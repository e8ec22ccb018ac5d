#pragma once

#include <QImage>
#include <QString>

#include <memory>

namespace Poppler {
class Document;
}

// Reads the pages of a PDF file through Poppler, one at a time, so that the caller can show
// progress between pages. A landscape page comes back turned a quarter clockwise.
class PdfPageReader
{
public:
    PdfPageReader();
    ~PdfPageReader();

    // False when the file does not open, is locked or has no pages.
    bool open(const QString& path);
    int pageCount() const;
    // The page at dpi in both directions (lower for a page so large that it would exceed
    // MAX_PIXELS); a null image when it cannot be rendered.
    QImage renderPage(int index, int dpi) const;
    // The page at fax resolution (204 x 196 dpi), lowered just enough to fit the fax raster,
    // aliased so that every pixel is ink or paper: the sharp road, without enlarging and
    // thresholding a screen image.
    QImage renderFaxPage(int index) const;

    static constexpr double MAX_PIXELS = double(1 << 25);

private:
    std::unique_ptr<Poppler::Document> m_document;
};

// Poppler's Qt 5 headers still name QLinkedList, which this Qt hides as deprecated.
#undef QT_DISABLE_DEPRECATED_BEFORE
#define QT_DISABLE_DEPRECATED_BEFORE 0x050E00

#include "PdfPageReader.h"

#include "ImageUtil.h"

#include <QtGlobal>

#include <algorithm>
#include <cmath>

QT_WARNING_PUSH
QT_WARNING_DISABLE_DEPRECATED
#include <poppler-qt5.h>
QT_WARNING_POP

PdfPageReader::PdfPageReader() = default;
PdfPageReader::~PdfPageReader() = default;

bool PdfPageReader::open(const QString& path)
{
    m_document.reset(Poppler::Document::load(path));
    if (!m_document || m_document->isLocked() || m_document->numPages() <= 0) {
        m_document.reset();
        return false;
    }
    m_document->setRenderHint(Poppler::Document::TextAntialiasing);
    return true;
}

int PdfPageReader::pageCount() const
{
    return m_document ? m_document->numPages() : 0;
}

QImage PdfPageReader::renderPage(int index, int dpi) const
{
    if (!m_document)
        return QImage();
    std::unique_ptr<Poppler::Page> page(m_document->page(index));
    if (!page)
        return QImage();
    const QSizeF size = page->pageSizeF(); // points, 72 an inch
    const auto rotation = size.height() < size.width() ? Poppler::Page::Rotate90 : Poppler::Page::Rotate0;
    // A page of some hundred inches (a poster, or a file made to hurt) would take gigabytes at
    // screen resolution, only to become a fax page 1728 pixels wide: the resolution drops
    // until the image holds at most MAX_PIXELS.
    double resolution = dpi;
    const double pixels = size.width() * size.height() * (resolution / 72.0) * (resolution / 72.0);
    if (pixels > MAX_PIXELS)
        resolution *= std::sqrt(MAX_PIXELS / pixels);
    return page->renderToImage(resolution, resolution, -1, -1, -1, -1, rotation);
}

QImage PdfPageReader::renderFaxPage(int index) const
{
    if (!m_document)
        return QImage();
    std::unique_ptr<Poppler::Page> page(m_document->page(index));
    if (!page)
        return QImage();
    QSizeF inches = page->pageSizeF() / 72.0;
    const bool landscape = inches.height() < inches.width();
    if (landscape)
        inches.transpose();
    if (inches.isEmpty())
        return QImage();
    const double fit = std::min({ 1.0, ImageUtil::FAX_PAGE_WIDTH / (inches.width() * ImageUtil::FAX_DPI_X),
                                  ImageUtil::FAX_PAGE_HGIEHT / (inches.height() * ImageUtil::FAX_DPI_Y) });
    // Without anti-aliasing the glyphs keep their own weight; thin lines stay one pixel.
    m_document->setRenderHint(Poppler::Document::TextAntialiasing, false);
    m_document->setRenderHint(Poppler::Document::ThinLineSolid, true);
    // Ink on a transparent page: no white paper to composite under every page.
    m_document->setRenderHint(Poppler::Document::IgnorePaperColor, true);
    const QImage image = page->renderToImage(ImageUtil::FAX_DPI_X * fit, ImageUtil::FAX_DPI_Y * fit, -1, -1, -1, -1,
                                             landscape ? Poppler::Page::Rotate90 : Poppler::Page::Rotate0);
    m_document->setRenderHint(Poppler::Document::IgnorePaperColor, false);
    m_document->setRenderHint(Poppler::Document::ThinLineSolid, false);
    m_document->setRenderHint(Poppler::Document::TextAntialiasing, true);
    return image;
}

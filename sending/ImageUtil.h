#pragma once

#include <QImage>
#include <QString>

#include <opencv2/core.hpp>

// Puts any opened page on the fax raster and turns it into black and white.
// Every operation is static, takes its source by reference and returns a new image.
class ImageUtil
{
public:
    static constexpr int FAX_PAGE_WIDTH = 1728;
    static constexpr int FAX_PAGE_HGIEHT = 2200;
    // The fine fax resolution, dots an inch across and down.
    static constexpr double FAX_DPI_X = 204.0;
    static constexpr double FAX_DPI_Y = 196.0;

    // The page on the 1728 x 2200 canvas: kept as is when it already has that size, turned
    // clockwise when it is 2200 x 1728, else fitted and drawn 50 rows below the top.
    // type is the file suffix without the dot; only "pdf" changes anything.
    static QImage scaleToFaxSize(const QImage& image, QString type);
    // Fits the image to the page width (and height); a "pdf" page is stretched to the full
    // page; a small image is never enlarged.
    static QImage imprintImage(const QImage& image, QString type);
    // The image centred across width, 50 rows from the top of a white 1728 x 2200 canvas.
    static QImage imprintToCanvas(const QImage& image, int width, int height);

    // A rendered PDF page as the editor's page: the same pixels as
    // getBWImage(scaleToFaxSize(image, "pdf")), with the canvas and the colour round trips
    // left out (the gray plane is taken straight from the scaled page). Safe to call from
    // any thread.
    static QImage pdfPageToFax(const QImage& rendered);
    // The page of pdfPageToFax as 1-bit image (Format_Mono, a set bit black), an eighth of the
    // RGBA page's size: the form in which pages wait. A page that does not take the short road
    // comes back as pdfPageToFax gives it.
    static QImage pdfPageBits(const QImage& rendered);
    // A page rendered at fax resolution (no larger than the raster) centred on the 1728 x 2200
    // raster, as bits like pdfPageBits: a pixel is black where it is opaque and its gray is
    // below 128.
    static QImage faxRasterBits(const QImage& rendered);
    // The editor's RGBA page of a pdfPageBits page; any other image is returned as it is.
    static QImage faxPageFromBits(const QImage& page);

    // Local mean threshold over a 15 pixel block: the thresholder of the editor.
    static QImage getBWImage(const QImage& image);
    // RGBA8888 image (owning its pixels) from a one-channel 8-bit Mat.
    static QImage mat2QImage(const cv::Mat& mat);
    // Fixed luminance threshold at 127 for signatures; the result is RGB888.
    static QImage signBlackWhite(const QImage& image);
    // Sauvola threshold (k 0.3, R 128) with a half window of 100 - percent pixels.
    static QImage getBWBitmapWithSauvola(const QImage& image, int percent);
    // Error-diffusion dither (weights 7, 1, 5, 3 over 26).
    static QImage getBWImageWithDither(const QImage& image);
    // Local mean threshold at 85 % over a window of an eighth of the height.
    static QImage getBWImageImproveOTSU(const QImage& image);

private:
    // Gray plane of a 4-byte-a-pixel view of the image (other depths are converted first).
    static cv::Mat grayOf(const QImage& image);
};

#pragma once

#include <QImage>
#include <QList>
#include <QPixmap>
#include <QString>

#include <cstdarg>
#include <functional>

// The only reader and writer of fax files: multi-page 1-bit CCITT Group 3 TIFF files.
// All operations are static; each call owns its own TIFF handle.
class TiffUtil
{
public:
    // libtiff's error handler: logs the module and prints "tifferr-<module>: <message>".
    static void TIFFErrorProc(const char* module, const char* format, va_list args);

    // Number of pages, 0 when the file does not open.
    static int getTiffPage(const QString& path);
    // One RGBA8888 image a page; pages of standard resolution (98 lines an inch) come back at
    // twice their height. Empty when the file does not open; a damaged page ends the list.
    static QList<QImage> tiffToImg(const QString& path);
    // Page index (from 0) alone, as tiffToImg gives it; null when the file does not open, the
    // page does not exist or is damaged. Readers of long faxes go page by page with it, so that
    // they never hold every decoded page at once.
    static QImage tiffPageToImg(const QString& path, int index);
    // As tiffToImg, as pixmaps.
    static QList<QPixmap> tiffToPixmap(const QString& path);
    // Writes the pages, each thresholded by Otsu, as 204 x 196 dpi fax pages. The file is
    // written under a temporary name and renamed over path when complete, so path never holds
    // a partial file. Returns false (and leaves path untouched) when anything fails.
    static bool writeImgToTiff(QList<QImage> images, const QString& path);
    // As writeImgToTiff, with page i (from 0) asked of pageAt when it is written, so that the
    // pages need not all be held at once.
    static bool writePagesToTiff(int pageTotal, const std::function<QImage(int)>& pageAt, const QString& path);

private:
    friend class TiffPageWriter;
    static void installErrorHandler();
};

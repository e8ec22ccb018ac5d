#pragma once

#include <QImage>
#include <QString>

typedef struct tiff TIFF;

// Writes a fax file page by page, so a long fax never has to be held whole: each page is
// thresholded by Otsu and stored as a 1-bit Group 3 directory at 204 x 196 dpi. The file is
// written under a temporary name and renamed over the path by finish(); a writer dropped
// before that leaves the path untouched.
class TiffPageWriter
{
public:
    explicit TiffPageWriter(const QString& path);
    ~TiffPageWriter();
    TiffPageWriter(const TiffPageWriter&) = delete;
    TiffPageWriter& operator=(const TiffPageWriter&) = delete;

    bool isOpen() const { return m_tif != nullptr; }
    // Page index from 1 and the total go into the page's PageNumber and PageName tags.
    bool writePage(const QImage& image, int pageIndex, int pageTotal);
    // Completes the file and gives it its name; false when any step failed.
    bool finish();

private:
    void abandon();

    QString m_path;
    QByteArray m_partial;
    TIFF* m_tif = nullptr;
    bool m_ok = true;
};

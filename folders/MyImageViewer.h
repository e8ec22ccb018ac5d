#pragma once

#include <QImage>
#include <QList>
#include <QPair>
#include <QPixmap>
#include <QString>
#include <QWidget>

namespace Ui {
class MyImageViewer;
}

// The preview of the fax folders: one page of a multi-page TIFF at a time, with page browsing,
// zoom and quarter-turn rotation. Pages are decoded when shown (a decoded page is 15 MB), and
// the last few are kept, so a long fax opens as fast as a short one.
class MyImageViewer : public QWidget
{
    Q_OBJECT

public:
    explicit MyImageViewer(QWidget* parent = nullptr);
    ~MyImageViewer() override;

    // Opens a fax file at its first page, fitted to the view as the user last chose (whole page
    // or page width). 0 on success, -1 otherwise.
    // A missing file (the folders pass an empty path to clear the preview) clears the picture
    // silently; a file without readable pages clears it and says so.
    int openImageResource(QString& path);
    // Next and previous page; -1 (and nothing changes) past either end.
    int next();
    int last();
    // Draws image turned by rotation quarter turns at zoom tenths of the remembered size.
    // Zooming in past a width of 3500 or out below 400 is refused and nothing changes.
    void upgradeFileInfo(QImage image, int rotation, int zoom);

    int pageCount() const { return m_pageCount; }
    int currentIndex() const { return m_index; }
    int rotation() const { return m_rotation; }
    const QPixmap& pixmap() const { return m_pixmap; }

public slots:
    void on_button_next_clicked();
    void on_button_last_clicked();
    void on_button_zoom_in_clicked();
    void on_button_zoom_out_clicked();
    void on_button_left_rotate_clicked();
    void on_button_right_rotate_clicked();
    void on_button_fit_page_clicked();
    void on_button_fit_width_clicked();

protected:
    void changeEvent(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void showPage(const QImage& page);
    // Shows the page (as turned) at the size the fit mode gives in the view.
    void fit();
    void chooseFit(int mode);
    void showFitMode(int mode);
    void clear();
    // The decoded page, from the cache or the file; null when it cannot be read.
    QImage pageImage(int index);

    Ui::MyImageViewer* ui;
    QString m_path;
    int m_pageCount = 0;
    QList<QPair<int, QImage>> m_cache; // most recently shown last
    int m_index = 0;
    int m_rotation = 0; // quarter turns, 0 to 3
    int m_width = 0;    // remembered display size; 0 when unset
    int m_height = 0;
    bool m_fitted = true; // not zoomed since the page opened: the page follows the view's size
    QImage m_page;
    QPixmap m_pixmap;
};

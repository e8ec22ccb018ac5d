#include "MyImageViewer.h"

#include "ui_MyImageViewer.h"

#include "MessageBoxUtil.h"
#include "PageFit.h"
#include "TiffUtil.h"

#include <QEvent>
#include <QFileInfo>
#include <QTransform>

namespace {
// Zoom factors in tenths of the remembered size.
constexpr int ZOOM_IN = 12;
constexpr int ZOOM_OUT = 8;
constexpr int ZOOM_KEEP = 10;
// Displayed widths outside this range are refused.
constexpr int MIN_WIDTH = 400;
constexpr int MAX_WIDTH = 3500;
// Decoded pages kept: the one shown and its neighbours when paging back and forth.
constexpr int CACHED_PAGES = 3;

// A kept page as 8-bit gray when that loses nothing, a quarter of its RGBA size. Fax pages
// are gray (black, white, and the in-between rows of a doubled standard-resolution page).
QImage compact(const QImage& page)
{
    if (page.format() != QImage::Format_RGBA8888)
        return page;
    for (int y = 0; y < page.height(); ++y) {
        const uchar* p = page.constScanLine(y);
        for (int x = 0; x < page.width(); ++x, p += 4) {
            if (p[0] != p[1] || p[1] != p[2] || p[3] != 0xFF)
                return page;
        }
    }
    return page.convertToFormat(QImage::Format_Grayscale8);
}

QImage expanded(const QImage& kept)
{
    return kept.format() == QImage::Format_Grayscale8 ? kept.convertToFormat(QImage::Format_RGBA8888) : kept;
}
}

MyImageViewer::MyImageViewer(QWidget* parent)
    : QWidget(parent)
    , ui(new Ui::MyImageViewer)
{
    ui->setupUi(this);
    // A grey surround shows where the white page ends.
    ui->label_image->setBackgroundRole(QPalette::Dark);
    ui->label_image->setAutoFillBackground(true);
    showFitMode(PageFit::mode());
    ui->scrollArea->installEventFilter(this);
}

MyImageViewer::~MyImageViewer()
{
    delete ui;
}

void MyImageViewer::clear()
{
    m_path.clear();
    m_pageCount = 0;
    m_cache.clear();
    m_index = 0;
    m_rotation = 0;
    m_width = 0;
    m_height = 0;
    m_page = QImage();
    m_pixmap = QPixmap();
    ui->label_image->setPixmap(m_pixmap);
    ui->edit_page->clear();
}

int MyImageViewer::openImageResource(QString& path)
{
    clear();
    if (path.isEmpty() || !QFileInfo(path).isFile())
        return -1;
    m_path = path;
    m_pageCount = TiffUtil::getTiffPage(path);
    const QImage first = pageImage(0);
    if (first.isNull()) {
        clear();
        MessageBoxUtil::criticalMsg(this, QStringLiteral("Velkor"), tr("打开TIFF文件失败"));
        return -1;
    }
    showPage(first);
    return 0;
}

QImage MyImageViewer::pageImage(int index)
{
    for (int i = 0; i < m_cache.size(); ++i) {
        if (m_cache.at(i).first == index) {
            m_cache.append(m_cache.takeAt(i));
            return expanded(m_cache.last().second);
        }
    }
    const QImage page = TiffUtil::tiffPageToImg(m_path, index);
    if (page.isNull())
        return page;
    m_cache.append(qMakePair(index, compact(page)));
    while (m_cache.size() > CACHED_PAGES)
        m_cache.removeFirst();
    return page;
}

// A page always starts afresh: no rotation, fitted to the view. A new file does the same, or
// the zoom of the last file would carry over to it.
void MyImageViewer::showPage(const QImage& page)
{
    m_rotation = 0;
    m_page = page;
    fit();
}

// The other previews and the viewer share the choice, so it is read anew each time.
void MyImageViewer::showFitMode(int mode)
{
    ui->button_fit_width->setChecked(mode == PageFit::FIT_WIDTH);
    ui->button_fit_page->setChecked(mode != PageFit::FIT_WIDTH);
}

void MyImageViewer::fit()
{
    const PageFit::Mode mode = PageFit::mode();
    showFitMode(mode);
    if (m_page.isNull())
        return;
    const bool across = m_rotation % 2 == 1;
    const QSize shown = PageFit::inArea(across ? m_page.size().transposed() : m_page.size(), ui->scrollArea, mode);
    if (shown.isEmpty())
        return;
    m_fitted = true;
    m_width = across ? shown.height() : shown.width();
    m_height = across ? shown.width() : shown.height();
    upgradeFileInfo(m_page, m_rotation, ZOOM_KEEP);
}

void MyImageViewer::chooseFit(int mode)
{
    PageFit::setMode(PageFit::Mode(mode));
    fit();
}

void MyImageViewer::upgradeFileInfo(QImage image, int rotation, int zoom)
{
    if (m_width == 0) {
        m_width = image.width();
        m_height = image.height();
    }
    const int width = zoom * m_width / 10;
    // A fitted page may lie outside the limits; only a zoom step is held by them.
    if ((zoom > ZOOM_KEEP && width > MAX_WIDTH) || (zoom < ZOOM_KEEP && width < MIN_WIDTH))
        return;
    const int height = zoom * m_height / 10;
    QImage scaled = PageFit::scaled(image, QSize(width, height));
    // Zoom in and out compound on what is shown; zoom 10 (a rotation) keeps the size.
    if (zoom != ZOOM_KEEP) {
        m_fitted = false;
        m_width = scaled.width();
        m_height = scaled.height();
    }
    QTransform turn;
    turn.rotate(rotation * 90);
    m_pixmap = QPixmap::fromImage(scaled.transformed(turn, Qt::FastTransformation));
    ui->label_image->setPixmap(m_pixmap);
    ui->edit_page->setText(QStringLiteral("%1/%2").arg(m_index + 1).arg(m_pageCount));
}

int MyImageViewer::next()
{
    if (m_index + 1 >= m_pageCount)
        return -1;
    // The page shown is let go first, so two decoded pages are not held at once.
    m_page = QImage();
    const QImage page = pageImage(m_index + 1);
    // A damaged page ends the fax here, as it ends the reading of the whole file.
    if (page.isNull()) {
        m_page = pageImage(m_index);
        m_pageCount = m_index + 1;
        ui->edit_page->setText(QStringLiteral("%1/%2").arg(m_index + 1).arg(m_pageCount));
        return -1;
    }
    ++m_index;
    showPage(page);
    return 0;
}

int MyImageViewer::last()
{
    if (m_index <= 0 || m_pageCount == 0)
        return -1;
    --m_index;
    m_page = QImage();
    showPage(pageImage(m_index));
    return 0;
}

void MyImageViewer::on_button_next_clicked()
{
    next();
}

void MyImageViewer::on_button_last_clicked()
{
    last();
}

void MyImageViewer::on_button_zoom_in_clicked()
{
    upgradeFileInfo(m_page, m_rotation, ZOOM_IN);
}

void MyImageViewer::on_button_zoom_out_clicked()
{
    upgradeFileInfo(m_page, m_rotation, ZOOM_OUT);
}

// A fitted page is fitted again as turned; a zoomed one keeps its zoom.
void MyImageViewer::on_button_left_rotate_clicked()
{
    m_rotation = (m_rotation + 3) % 4;
    if (m_fitted)
        fit();
    else
        upgradeFileInfo(m_page, m_rotation, ZOOM_KEEP);
}

void MyImageViewer::on_button_right_rotate_clicked()
{
    m_rotation = (m_rotation + 1) % 4;
    if (m_fitted)
        fit();
    else
        upgradeFileInfo(m_page, m_rotation, ZOOM_KEEP);
}

void MyImageViewer::on_button_fit_page_clicked()
{
    chooseFit(PageFit::FIT_PAGE);
}

void MyImageViewer::on_button_fit_width_clicked()
{
    chooseFit(PageFit::FIT_WIDTH);
}

bool MyImageViewer::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == ui->scrollArea && event->type() == QEvent::Resize && m_fitted)
        fit();
    return QWidget::eventFilter(watched, event);
}

void MyImageViewer::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange)
        ui->retranslateUi(this);
    QWidget::changeEvent(event);
}

#include "MyImageViewer.h"

#include "ui_MyImageViewer.h"

#include "MessageBoxUtil.h"
#include "TiffUtil.h"

#include <QEvent>
#include <QFileInfo>
#include <QTransform>

namespace {
// Zoom factors in tenths of the remembered size.
constexpr int ZOOM_OPEN = 6;
constexpr int ZOOM_IN = 12;
constexpr int ZOOM_OUT = 8;
constexpr int ZOOM_KEEP = 10;
// Displayed widths outside this range are refused.
constexpr int MIN_WIDTH = 400;
constexpr int MAX_WIDTH = 3500;
}

MyImageViewer::MyImageViewer(QWidget* parent)
    : QWidget(parent)
    , ui(new Ui::MyImageViewer)
{
    ui->setupUi(this);
    // A grey surround shows where the white page ends.
    ui->label_image->setBackgroundRole(QPalette::Dark);
    ui->label_image->setAutoFillBackground(true);
}

MyImageViewer::~MyImageViewer()
{
    delete ui;
}

void MyImageViewer::clear()
{
    m_pages.clear();
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
    m_pages = TiffUtil::tiffToImg(path);
    if (m_pages.isEmpty()) {
        MessageBoxUtil::criticalMsg(this, QStringLiteral("Velkor"), tr("打开TIFF文件失败"));
        return -1;
    }
    showPage();
    return 0;
}

// A page always starts afresh: no rotation, no remembered size, six tenths of its size. A new
// file does the same, or the zoom of the last file would carry over to it.
void MyImageViewer::showPage()
{
    m_rotation = 0;
    m_width = 0;
    m_height = 0;
    m_page = m_pages.value(m_index);
    upgradeFileInfo(m_page, m_rotation, ZOOM_OPEN);
}

void MyImageViewer::upgradeFileInfo(QImage image, int rotation, int zoom)
{
    if (m_width == 0) {
        m_width = image.width();
        m_height = image.height();
    }
    const int width = zoom * m_width / 10;
    if (width < MIN_WIDTH || width > MAX_WIDTH)
        return;
    const int height = zoom * m_height / 10;
    QImage scaled = image.scaled(width, height, Qt::KeepAspectRatio, Qt::FastTransformation);
    // Zoom in and out compound on what is shown; zoom 10 (a rotation) keeps the size.
    if (zoom != ZOOM_KEEP) {
        m_width = scaled.width();
        m_height = scaled.height();
    }
    QTransform turn;
    turn.rotate(rotation * 90);
    m_pixmap = QPixmap::fromImage(scaled.transformed(turn, Qt::FastTransformation));
    ui->label_image->setPixmap(m_pixmap);
    ui->edit_page->setText(QStringLiteral("%1/%2").arg(m_index + 1).arg(m_pages.size()));
}

int MyImageViewer::next()
{
    if (m_index + 1 >= m_pages.size())
        return -1;
    ++m_index;
    showPage();
    return 0;
}

int MyImageViewer::last()
{
    if (m_index <= 0 || m_pages.isEmpty())
        return -1;
    --m_index;
    showPage();
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

void MyImageViewer::on_button_left_rotate_clicked()
{
    m_rotation = (m_rotation + 3) % 4;
    upgradeFileInfo(m_page, m_rotation, ZOOM_KEEP);
}

void MyImageViewer::on_button_right_rotate_clicked()
{
    m_rotation = (m_rotation + 1) % 4;
    upgradeFileInfo(m_page, m_rotation, ZOOM_KEEP);
}

void MyImageViewer::changeEvent(QEvent* event)
{
    if (event->type() == QEvent::LanguageChange)
        ui->retranslateUi(this);
    QWidget::changeEvent(event);
}

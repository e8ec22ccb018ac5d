#include "FaxDetailWindow.h"
#include "ui_FaxDetailWindow.h"

#include "AppSettings.h"
#include "DatabaseManager.h"
#include "DialogUtil.h"
#include "FaxItemDelegate.h"
#include "FaxOptionDialog.h"
#include "FaxPageWidget.h"
#include "FaxPdfWriter.h"
#include "FaxPrinter.h"
#include "ImageUtil.h"
#include "LogUtil.h"
#include "MessageBoxUtil.h"
#include "PageFit.h"
#include "PdfPageLoader.h"
#include "SelectContactDialog.h"
#include "SelectDeviceWidget.h"
#include "SendFaxController.h"
#include "SignatureLibDialog.h"
#include "TextNoteWidget.h"
#include "TiffUtil.h"

#include <QActionGroup>
#include <QApplication>
#include <QCloseEvent>
#include <QBitmap>
#include <QDesktopWidget>
#include <QFileInfo>
#include <QLineEdit>
#include <QMouseEvent>
#include <QPainter>
#include <QPointer>
#include <QProgressDialog>
#include <QRegularExpression>
#include <QSaveFile>
#include <QScrollBar>
#include <QSet>
#include <QTimer>
#include <QStandardItemModel>
#include <QStandardPaths>
#include <QStyle>
#include <QTransform>

namespace {
const int RECORD_ROLE = Qt::UserRole + 1;
// The FaxPageSource of a page that is read from its file when needed.
const int SOURCE_ROLE = Qt::UserRole + 2;
// The list shows thumbnails of at most 184 pixels high; a small display copy keeps long
// documents affordable.
const int DISPLAY_COPY_WIDTH = 200;
const int ZOOM_MIN_WIDTH = 400;
const int ZOOM_MAX_WIDTH = 3500;

QPixmap displayCopy(const QImage& image)
{
    if (image.width() <= DISPLAY_COPY_WIDTH)
        return QPixmap::fromImage(image);
    return QPixmap::fromImage(image.scaledToWidth(DISPLAY_COPY_WIDTH, Qt::SmoothTransformation));
}

// Toolbar pictures the style has none for: a magnifier with '+' or '-', or 's' a page cut across.
QIcon drawnIcon(char kind)
{
    QPixmap pixmap(32, 32);
    pixmap.fill(Qt::transparent);
    QPainter p(&pixmap);
    p.setRenderHint(QPainter::Antialiasing);
    const QColor ink(45, 95, 160);
    if (kind == 's') {
        p.setPen(QPen(Qt::darkGray, 2));
        p.setBrush(Qt::white);
        p.drawRect(QRectF(7, 3, 18, 26));
        p.setPen(QPen(ink, 2.5, Qt::DashLine));
        p.drawLine(QPointF(2, 16), QPointF(30, 16));
        return QIcon(pixmap);
    }
    p.setPen(QPen(ink, 3));
    p.setBrush(Qt::white);
    p.drawEllipse(QPointF(13, 13), 9, 9);
    p.drawLine(QPointF(20, 20), QPointF(28, 28));
    p.setPen(QPen(ink, 2.5));
    p.drawLine(QPointF(9, 13), QPointF(17, 13));
    if (kind == '+')
        p.drawLine(QPointF(13, 9), QPointF(13, 17));
    return QIcon(pixmap);
}

// True when the recipient line holds at least one entry that is not blank.
bool hasRecipient(const QString& line)
{
    for (const QString& entry : line.split(QLatin1Char(';'), Qt::SkipEmptyParts))
        if (!entry.trimmed().isEmpty())
            return true;
    return false;
}
}

FaxDetailWindow::FaxDetailWindow(const Fax& fax, QWidget* parent)
    : QMainWindow(parent), ui(new Ui::FaxDetailWindow), m_model(new QStandardItemModel(this)), m_fax(fax)
{
    ui->setupUi(this);
    setAttribute(Qt::WA_DeleteOnClose);

    physicalDpiX = QApplication::desktop()->physicalDpiX();
    physicalDpiY = QApplication::desktop()->physicalDpiY();

    ui->listView->setModel(m_model);
    ui->listView->setItemDelegate(new FaxItemDelegate(ui->listView));
    ui->listView->setViewMode(QListView::ListMode);
    ui->listView->setResizeMode(QListView::Adjust);
    ui->listView->setEditTriggers(QAbstractItemView::NoEditTriggers);
    ui->listView->setSelectionMode(QAbstractItemView::SingleSelection);
    // One current page: whatever moves the highlight (click, keys, code) shows that page.
    connect(ui->listView->selectionModel(), &QItemSelectionModel::currentChanged, this,
            &FaxDetailWindow::showPage);
    ui->splitter->setStretchFactor(1, 1);
    connect(ui->listView->verticalScrollBar(), &QScrollBar::valueChanged, this, &FaxDetailWindow::fillThumbnails);
    ui->splitter->setSizes({220, 880});

    m_pageEdit = new QLineEdit(this);
    m_pageEdit->setObjectName(QStringLiteral("edit_page"));
    m_pageEdit->setReadOnly(true);
    m_pageEdit->setFixedSize(60, 20);
    m_pageEdit->setAlignment(Qt::AlignCenter);
    m_pageEditAction = ui->toolBar_page->insertWidget(ui->action_next_page, m_pageEdit);
    setupIcons();
    addViewActions();
    ui->scrollArea->installEventFilter(this);

    connect(ui->action_from_file, &QAction::triggered, this, &FaxDetailWindow::select_picture);
    connect(ui->action_send, &QAction::triggered, this, &FaxDetailWindow::send_fax);
    connect(ui->action_reply, &QAction::triggered, this, &FaxDetailWindow::reply);
    connect(ui->action_forward, &QAction::triggered, this, &FaxDetailWindow::forward);
    connect(ui->action_delete_page, &QAction::triggered, this, &FaxDetailWindow::delete_page);
    connect(ui->action_left_rotate, &QAction::triggered, this, &FaxDetailWindow::leftRotate);
    connect(ui->action_right_rotate, &QAction::triggered, this, &FaxDetailWindow::rightRotate);
    connect(ui->action_zoom_in, &QAction::triggered, this, &FaxDetailWindow::zoomIn);
    connect(ui->action_zoom_out, &QAction::triggered, this, &FaxDetailWindow::zoomOut);
    connect(ui->action_previous_page, &QAction::triggered, this, &FaxDetailWindow::previousPage);
    connect(ui->action_next_page, &QAction::triggered, this, &FaxDetailWindow::nextPage);
    connect(ui->action_page_up, &QAction::triggered, this, &FaxDetailWindow::pageUp);
    connect(ui->action_page_down, &QAction::triggered, this, &FaxDetailWindow::pageDown);
    connect(ui->action_add_faxpage, &QAction::triggered, this, &FaxDetailWindow::addFaxPage);
    connect(ui->action_sign, &QAction::triggered, this, &FaxDetailWindow::showSignLibrary);
    connect(ui->action_text_note, &QAction::triggered, this, &FaxDetailWindow::addText);
    connect(ui->action_split_page, &QAction::triggered, this, &FaxDetailWindow::splitPage);
    // A click on the page reaches split and sign; each acts only in its own mode.
    connect(ui->label_2, &QAdvancedLabel::clicked, this, &FaxDetailWindow::split);
    connect(ui->label_2, &QAdvancedLabel::clicked, this, &FaxDetailWindow::sign);

    m_controller = new SendFaxController(this);
    connect(m_controller, &SendFaxController::returnFaxList, this, &FaxDetailWindow::handlerTransformFax);
    connect(m_controller, &SendFaxController::jobFileFailed, this, &FaxDetailWindow::jobFileFailed);

    m_option = FaxOptionDialog::loadDefaults();

    ui->label_time_text->setText(fax.time);
    // cid is the other party's number: the sender's of a received fax, the recipient's of a sent one.
    const QString party = QStringLiteral("%1 <%2>");
    const bool sent = fax.tag == 1;
    ui->label_sender_text->setText(sent ? fax.sender : party.arg(fax.sender, fax.cid));
    ui->label_receiver_text->setText(sent ? party.arg(fax.receiver, fax.cid) : fax.receiver);
    ui->label_remark_text->setText(fax.remark);
    ui->edit_remark_2->setText(fax.remark);
    applyMode();

    if (fax.editorMode != MODE_REPORT && !fax.filepath.isEmpty()) {
        const QString path = fax.filepath;
        if (appendFilePages(path, QString()) == 0)
            MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), tr("无法读取传真文件：%1").arg(path));
        else
            selectRow(0);
    }
    updateNavigation();
}

FaxDetailWindow::~FaxDetailWindow()
{
    delete ui;
}

void FaxDetailWindow::setupIcons()
{
    QStyle* s = style();
    ui->action_from_file->setIcon(s->standardIcon(QStyle::SP_DirOpenIcon));
    ui->action_send->setIcon(s->standardIcon(QStyle::SP_CommandLink));
    ui->action_reply->setIcon(s->standardIcon(QStyle::SP_ArrowBack));
    ui->action_forward->setIcon(s->standardIcon(QStyle::SP_ArrowForward));
    ui->action_previous_page->setIcon(s->standardIcon(QStyle::SP_ArrowUp));
    ui->action_next_page->setIcon(s->standardIcon(QStyle::SP_ArrowDown));
    ui->action_delete_page->setIcon(s->standardIcon(QStyle::SP_TrashIcon));
    ui->action_page_save->setIcon(s->standardIcon(QStyle::SP_DialogSaveButton));
    const QPixmap turn = s->standardIcon(QStyle::SP_BrowserReload).pixmap(32, 32);
    ui->action_left_rotate->setIcon(QIcon(QPixmap::fromImage(turn.toImage().mirrored(true, false))));
    ui->action_right_rotate->setIcon(s->standardIcon(QStyle::SP_BrowserReload));
    ui->action_add_faxpage->setIcon(s->standardIcon(QStyle::SP_FileIcon));
    ui->action_sign->setIcon(s->standardIcon(QStyle::SP_DialogApplyButton));
    ui->action_text_note->setIcon(s->standardIcon(QStyle::SP_FileDialogDetailedView));
    ui->action_page_up->setIcon(s->standardIcon(QStyle::SP_TitleBarShadeButton));
    ui->action_page_down->setIcon(s->standardIcon(QStyle::SP_TitleBarUnshadeButton));
    ui->action_zoom_in->setIcon(drawnIcon('+'));
    ui->action_zoom_out->setIcon(drawnIcon('-'));
    ui->action_split_page->setIcon(drawnIcon('s'));
}

void FaxDetailWindow::addViewActions()
{
    auto* fits = new QActionGroup(this);
    m_fitPageAction = new QAction(tr("适合页面"), fits);
    m_fitPageAction->setObjectName(QStringLiteral("action_fit_page"));
    m_fitWidthAction = new QAction(tr("适合宽度"), fits);
    m_fitWidthAction->setObjectName(QStringLiteral("action_fit_width"));
    for (QAction* fit : fits->actions())
        fit->setCheckable(true);
    (PageFit::mode() == PageFit::FIT_WIDTH ? m_fitWidthAction : m_fitPageAction)->setChecked(true);
    ui->toolBar_page->insertActions(ui->action_split_page, fits->actions());
    ui->menu_page->insertActions(ui->action_split_page, fits->actions());
    connect(m_fitPageAction, &QAction::triggered, this, &FaxDetailWindow::fitPage);
    connect(m_fitWidthAction, &QAction::triggered, this, &FaxDetailWindow::fitWidth);

    m_printAction = new QAction(tr("打印"), this);
    m_printAction->setObjectName(QStringLiteral("action_print"));
    m_printAction->setIcon(QIcon::fromTheme(QStringLiteral("document-print"),
                                            style()->standardIcon(QStyle::SP_FileDialogContentsView)));
    ui->toolBar->addAction(m_printAction);
    ui->menu_fax->insertAction(ui->action_page_save, m_printAction);
    connect(m_printAction, &QAction::triggered, this, &FaxDetailWindow::printPages);
}

void FaxDetailWindow::applyMode()
{
    const int mode = m_fax.editorMode;
    const bool composing = mode == MODE_REPLY || mode == MODE_FORWARD;
    if (mode == MODE_REPORT) {
        for (QAction* action : {ui->action_send, ui->action_reply, ui->action_forward, ui->action_from_file,
                                ui->action_left_rotate, ui->action_right_rotate, ui->action_previous_page,
                                ui->action_next_page, ui->action_delete_page, ui->action_split_page,
                                ui->action_page_up, ui->action_page_down, m_pageEditAction})
            action->setVisible(false);
        ui->inputWidget->hide();
        ui->detailWidget->hide();
        return;
    }
    ui->action_send->setEnabled(composing);
    ui->action_from_file->setEnabled(composing);
    ui->action_reply->setEnabled(!composing);
    ui->action_forward->setEnabled(!composing);
    ui->action_text_note->setEnabled(composing);
    ui->action_sign->setEnabled(composing);
    ui->action_add_faxpage->setEnabled(composing);
    ui->inputWidget->setVisible(composing);
    ui->detailWidget->setVisible(!composing);
    if (mode == MODE_REPLY)
        ui->edit_phone_2->setText(m_fax.cid);
}

void FaxDetailWindow::changeActionState()
{
    ui->action_text_note->setEnabled(true);
    ui->action_sign->setEnabled(true);
    ui->action_send->setEnabled(true);
    ui->action_add_faxpage->setEnabled(true);
    ui->action_from_file->setEnabled(true);
    ui->action_reply->setEnabled(false);
    ui->action_forward->setEnabled(false);
    ui->detailWidget->hide();
    ui->inputWidget->show();
}

void FaxDetailWindow::showReportImage(const QImage& image)
{
    appendPage(image, 0);
    selectRow(m_model->rowCount() - 1);
}

QList<FaxPage> FaxDetailWindow::pages() const
{
    QList<FaxPage> list;
    for (int row = 0; row < m_model->rowCount(); ++row) {
        FaxPage page = pageAt(row);
        page.image = pageImage(row);
        list.append(page);
    }
    return list;
}

int FaxDetailWindow::pageCount() const
{
    return m_model->rowCount();
}

int FaxDetailWindow::heldPageImages() const
{
    QSet<qint64> held;
    const auto note = [&held](const QImage& image) {
        if (!image.isNull())
            held.insert(image.cacheKey()); // copies share their pixels and their key
    };
    for (const QImage& image : m_pageCache.held())
        note(image);
    for (int row = 0; row < m_model->rowCount(); ++row)
        note(pageAt(row).image);
    for (const FaxPage& page : m_pages)
        note(page.image);
    note(m_currentImage);
    return held.size();
}

int FaxDetailWindow::pageDecodes() const
{
    return m_pageCache.decodeCount();
}

int FaxDetailWindow::currentRow() const
{
    return currentPage;
}

const FaxOption& FaxDetailWindow::faxOption() const
{
    return m_option;
}

FaxPage FaxDetailWindow::pageAt(int row) const
{
    return m_model->item(row)->data(RECORD_ROLE).value<FaxPage>();
}

void FaxDetailWindow::setPageAt(int row, const FaxPage& page)
{
    m_model->item(row)->setData(QVariant::fromValue(page), RECORD_ROLE);
    if (row < m_pages.size())
        m_pages[row] = page;
}

FaxPageSource FaxDetailWindow::sourceAt(int row) const
{
    return m_model->item(row)->data(SOURCE_ROLE).value<FaxPageSource>();
}

QImage FaxDetailWindow::pageImage(int row) const
{
    const FaxPageSource source = sourceAt(row);
    return source.isNull() ? pageAt(row).image : m_pageCache.image(source);
}

void FaxDetailWindow::appendPage(const QImage& image, int pageKind, const FaxPageSource& source)
{
    FaxPage page;
    page.pageIndex = m_model->rowCount();
    if (source.isNull())
        page.image = image;
    page.pixmap = displayCopy(image);
    page.pageKind = pageKind;
    auto* item = new QStandardItem;
    item->setData(QVariant::fromValue(page), RECORD_ROLE);
    if (!source.isNull())
        item->setData(QVariant::fromValue(source), SOURCE_ROLE);
    m_model->appendRow(item);
    m_pages.append(page);
}

int FaxDetailWindow::appendFilePages(const QString& path, const QString& fitAs)
{
    // Only the first page is decoded here; the others get their thumbnails when their rows
    // come into view (fillThumbnails), so a long fax opens at once.
    FaxPageSource source;
    source.path = path;
    source.index = 0;
    source.fitAs = fitAs;
    const QImage first = m_pageCache.image(source);
    if (first.isNull())
        return 0;
    const int count = TiffUtil::getTiffPage(path);
    appendPage(first, 0, source);
    for (int i = 1; i < count; ++i) {
        source.index = i;
        appendPage(QImage(), 0, source);
    }
    QTimer::singleShot(0, this, &FaxDetailWindow::fillThumbnails);
    return count;
}

void FaxDetailWindow::fillThumbnails()
{
    const int rows = m_model->rowCount();
    if (rows == 0)
        return;
    const QRect view = ui->listView->viewport()->rect();
    const QModelIndex top = ui->listView->indexAt(view.topLeft());
    const QModelIndex bottom = ui->listView->indexAt(QPoint(0, view.bottom()));
    const int first = top.isValid() ? top.row() : 0;
    const int last = bottom.isValid() ? bottom.row() : qMin(rows - 1, first + view.height() / 100 + 1);
    for (int row = first; row <= last && row < rows; ++row) {
        FaxPage page = pageAt(row);
        const FaxPageSource source = sourceAt(row);
        if (!page.pixmap.isNull() || source.isNull())
            continue;
        page.pixmap = displayCopy(m_pageCache.image(source));
        setPageAt(row, page);
    }
}

void FaxDetailWindow::renumberPages()
{
    m_pages.clear();
    for (int row = 0; row < m_model->rowCount(); ++row) {
        FaxPage page = pageAt(row);
        page.pageIndex = row;
        m_model->item(row)->setData(QVariant::fromValue(page), RECORD_ROLE);
        m_pages.append(page);
    }
}

void FaxDetailWindow::updateItemImage(int row, const QImage& image)
{
    if (row < 0 || row >= m_model->rowCount())
        return;
    FaxPage page = pageAt(row);
    page.image = image;
    page.pixmap = displayCopy(image);
    setPageAt(row, page);
    m_model->item(row)->setData(QVariant(), SOURCE_ROLE); // edited: no longer the file's page
    if (row == currentPage) {
        m_currentImage = image;
        displayCurrent();
    }
}

void FaxDetailWindow::selectRow(int row)
{
    const QModelIndex index = m_model->index(row, 0);
    if (!index.isValid())
        return;
    if (ui->listView->currentIndex() == index)
        showPage(index); // an edit of the row itself
    else
        ui->listView->setCurrentIndex(index);
}

void FaxDetailWindow::showPage(const QModelIndex& index)
{
    // Rows taken out while pages are moved or deleted move the highlight on their way.
    if (!index.isValid() || m_rearranging)
        return;
    discardNotes();
    if (index.row() != currentPage) {
        // Another page starts at its top.
        ui->scrollArea->verticalScrollBar()->setValue(0);
        ui->scrollArea->horizontalScrollBar()->setValue(0);
    }
    currentPage = index.row();
    m_currentImage = pageImage(currentPage);
    displayCurrent();
    updateNavigation();
}

void FaxDetailWindow::updateNavigation()
{
    const int rows = m_model->rowCount();
    ui->action_previous_page->setEnabled(rows > 0 && currentPage > 0);
    ui->action_next_page->setEnabled(currentPage < rows - 1);
    ui->action_delete_page->setEnabled(rows >= 2);
    m_printAction->setEnabled(rows > 0);
    m_pageEdit->setText(QStringLiteral("%1 / %2").arg(rows > 0 ? currentPage + 1 : 0).arg(rows));
}

void FaxDetailWindow::showEvent(QShowEvent* event)
{
    QMainWindow::showEvent(event);
    // The first layout leaves the scroll area wherever its range settled; a page is read from
    // its top left corner.
    QTimer::singleShot(0, this, [this]() {
        ui->scrollArea->horizontalScrollBar()->setValue(0);
        ui->scrollArea->verticalScrollBar()->setValue(0);
        fillThumbnails();
    });
}

void FaxDetailWindow::displayCurrent()
{
    showAtSize(m_zoomSize.isEmpty() ? PageFit::inArea(m_currentImage.size(), ui->scrollArea, PageFit::mode())
                                    : m_zoomSize);
}

void FaxDetailWindow::showAtSize(const QSize& size)
{
    QPixmap shown;
    if (!m_currentImage.isNull())
        shown = QPixmap::fromImage(size.isEmpty() ? m_currentImage : PageFit::scaled(m_currentImage, size));
    const int before = ui->label_2->pixmap(Qt::ReturnByValue).width();
    ui->label_2->setPixmap(shown);
    ui->label_2->setSourceSize(m_currentImage.size());
    ui->label_2->adjustSize();
    // Open notes keep their place on the page and their size in page pixels.
    if (before > 0 && !shown.isNull() && shown.width() != before) {
        const double ratio = double(shown.width()) / before;
        for (TextNoteWidget* note : ui->label_2->findChildren<TextNoteWidget*>()) {
            note->move(note->pos() * ratio);
            note->setDisplayScale(1.0 / ui->label_2->sourceScale());
        }
    }
}

bool FaxDetailWindow::eventFilter(QObject* watched, QEvent* event)
{
    // A fitted page follows the size of the view.
    if (watched == ui->scrollArea && event->type() == QEvent::Resize && m_zoomSize.isEmpty()
        && !m_currentImage.isNull())
        displayCurrent();
    return QMainWindow::eventFilter(watched, event);
}

void FaxDetailWindow::chooseFit(int mode)
{
    PageFit::setMode(PageFit::Mode(mode));
    m_zoomSize = QSize();
    displayCurrent();
}

void FaxDetailWindow::fitPage()
{
    chooseFit(PageFit::FIT_PAGE);
}

void FaxDetailWindow::fitWidth()
{
    chooseFit(PageFit::FIT_WIDTH);
}

void FaxDetailWindow::printPages()
{
    if (m_model->rowCount() == 0)
        return;
    FaxPrinter::print(this, m_model->rowCount(), [this](int row) { return pageImage(row); });
}

void FaxDetailWindow::previousPage()
{
    if (currentPage > 0)
        selectRow(currentPage - 1);
}

void FaxDetailWindow::nextPage()
{
    if (currentPage < m_model->rowCount() - 1)
        selectRow(currentPage + 1);
}

void FaxDetailWindow::movePage(int to)
{
    const int row = currentPage;
    if (row < 0 || row >= m_model->rowCount() || to < 0 || to >= m_model->rowCount())
        return;
    m_rearranging = true;
    m_model->insertRow(to, m_model->takeRow(row));
    renumberPages();
    m_rearranging = false;
    // The same page, in its new place: no jump to its top.
    currentPage = to;
    selectRow(to);
}

void FaxDetailWindow::pageUp()
{
    movePage(currentPage - 1);
}

void FaxDetailWindow::pageDown()
{
    movePage(currentPage + 1);
}

void FaxDetailWindow::delete_page()
{
    const int rows = m_model->rowCount();
    const int row = currentPage;
    if (rows < 2 || row < 0 || row >= rows)
        return;
    m_rearranging = true;
    m_model->removeRow(row);
    renumberPages();
    m_rearranging = false;
    currentPage = -1; // the page shown is gone
    selectRow(qMin(row, m_model->rowCount() - 1));
}

void FaxDetailWindow::leftRotate()
{
    rotateCurrent(-1);
}

void FaxDetailWindow::rightRotate()
{
    rotateCurrent(1);
}

void FaxDetailWindow::rotateCurrent(int quarterTurns)
{
    const int row = currentPage;
    if (row < 0 || row >= m_model->rowCount())
        return;
    const QImage turned
        = pageImage(row).transformed(QTransform().rotate(90.0 * quarterTurns), Qt::FastTransformation);
    const FaxPageSource source = sourceAt(row);
    if (source.isNull()) {
        updateItemImage(row, turned);
        return;
    }
    if (turned.isNull())
        return;
    // A page of a file stays one: it keeps its turn instead of the turned pixels.
    const FaxPageSource next = source.turned(quarterTurns);
    m_pageCache.insert(next, turned);
    m_model->item(row)->setData(QVariant::fromValue(next), SOURCE_ROLE);
    FaxPage page = pageAt(row);
    page.pixmap = displayCopy(turned);
    setPageAt(row, page);
    m_currentImage = turned;
    displayCurrent();
}

// Zooming starts from the size shown, fitted or zoomed. A fitted page may lie outside the
// limits; only a zoom step is held by them.
void FaxDetailWindow::zoomBy(int numerator)
{
    const QSize base = m_zoomSize.isEmpty() ? ui->label_2->pixmap(Qt::ReturnByValue).size() : m_zoomSize;
    if (m_currentImage.isNull() || base.isEmpty())
        return;
    const QSize next(base.width() * numerator / 10, base.height() * numerator / 10);
    if ((numerator > 10 && next.width() > ZOOM_MAX_WIDTH) || (numerator < 10 && next.width() < ZOOM_MIN_WIDTH))
        return;
    showAtSize(next);
    m_zoomSize = ui->label_2->pixmap(Qt::ReturnByValue).size();
}

void FaxDetailWindow::zoomIn()
{
    zoomBy(12);
}

void FaxDetailWindow::zoomOut()
{
    zoomBy(8);
}

void FaxDetailWindow::select_picture()
{
    const QStringList files = DialogUtil::getOpenFileNames(
        this, tr("打开"), QStandardPaths::writableLocation(QStandardPaths::PicturesLocation),
        QStringLiteral("Image Files (*.png *.jpg *.bmp *.pdf)"));
    if (!files.isEmpty())
        open_picture_file(files);
}

int FaxDetailWindow::renderDpi() const
{
    // A screen that reports nonsense must not give an empty or enormous page.
    return (physicalDpiX >= 50 && physicalDpiX <= 1200) ? physicalDpiX : 96;
}

bool FaxDetailWindow::openPdf(const QString& path, bool& cancelled)
{
    // Pages are rendered, fitted and thresholded on worker threads, a few ahead; this thread
    // only shows them as they arrive.
    PdfPageLoader loader;
    const bool sharp = AppSettings::userConfig()->value(AppSettings::KEY_SHARP_PDF, false).toBool();
    if (!loader.start(path, renderDpi(), 0, sharp)) {
        LogUtil::w(QStringLiteral("file reading error"));
        return false;
    }

    const int count = loader.pageCount();
    QProgressDialog progress(tr("正在读取 %1 ...").arg(QFileInfo(path).fileName()), tr("取消"), 0, count, this);
    progress.setObjectName(QStringLiteral("progress_pdf"));
    progress.setWindowTitle(tr("传真查看编辑器"));
    progress.setWindowModality(Qt::WindowModal);
    progress.setMinimumDuration(500);
    progress.setValue(0);

    for (int i = 0; i < count; ++i) {
        // Lets the thumbnails appear and the cancel button work while pages come; the dialog
        // is window-modal, so the editor itself takes no input meanwhile. A cancel takes
        // effect once the page in progress is in.
        while (!loader.waitFor(i, 30))
            QCoreApplication::processEvents();
        const QImage page = loader.take(i);
        if (page.isNull())
            LogUtil::w(QStringLiteral("file reading error: page %1 of %2").arg(i + 1).arg(path));
        else
            appendPage(page, 0);
        progress.setValue(i + 1);
        QCoreApplication::processEvents();
        if (progress.wasCanceled()) {
            cancelled = true;
            break;
        }
    }
    return true;
}

void FaxDetailWindow::setRecipients(const QString& line)
{
    ui->edit_phone_2->setText(line);
}

void FaxDetailWindow::open_picture_file(QStringList files)
{
    if (m_loading)
        return;
    m_loading = true;
    QPointer<FaxDetailWindow> alive(this);
    QStringList unreadable;
    bool cancelled = false;
    for (QString path : files) {
        const QString suffix = QFileInfo(path).suffix();
        const QString kind = suffix.toLower();
        if (kind == QLatin1String("tif") || kind == QLatin1String("tiff")) {
            // Fax pages are black and white already: no second threshold.
            if (appendFilePages(path, suffix) == 0)
                unreadable.append(path);
        } else if (kind == QLatin1String("pdf")) {
            if (!openPdf(path, cancelled))
                unreadable.append(path);
            if (!alive)
                return;
            if (cancelled)
                break;
        } else {
            QImage image(path);
            if (image.isNull()) {
                unreadable.append(path);
                continue;
            }
            QImage onPage = ImageUtil::scaleToFaxSize(image, suffix);
            appendPage(ImageUtil::getBWImage(onPage), 0);
        }
    }
    m_loading = false;

    if (m_model->rowCount() > 0)
        selectRow(0);
    updateNavigation();
    if (!unreadable.isEmpty())
        MessageBoxUtil::warningMsg(this, tr("Velkor 消息"),
                                   tr("以下文件无法读取，已跳过：\n%1").arg(unreadable.join(QLatin1Char('\n'))));
}

void FaxDetailWindow::splitPage()
{
    if (m_model->rowCount() == 0)
        return;
    m_signMode = false;
    m_splitMode = true;
    ui->label_2->setCursor(Qt::SplitVCursor);
}

void FaxDetailWindow::split(QMouseEvent* event)
{
    if (!m_splitMode)
        return;
    m_splitMode = false;
    ui->label_2->setCursor(Qt::ArrowCursor);

    const int row = currentPage;
    if (row < 0 || row >= m_model->rowCount())
        return;
    const QImage whole = pageImage(row);
    const int y = qRound(ui->label_2->mapToSource(event->localPos()).y());
    if (y <= 0 || y >= whole.height())
        return; // a click beside the page splits nothing

    FaxPage lower;
    lower.image = whole.copy(0, y, whole.width(), whole.height() - y);
    lower.pixmap = displayCopy(lower.image);
    // A page of the document still: only a cover is made in the editor, and only a cover is
    // replaced by the next one.
    lower.pageKind = 0;
    auto* item = new QStandardItem;
    item->setData(QVariant::fromValue(lower), RECORD_ROLE);
    m_model->insertRow(row + 1, item);
    renumberPages();
    updateItemImage(row, whole.copy(0, 0, whole.width(), y));
    selectRow(row);
}

void FaxDetailWindow::showSignLibrary()
{
    auto* dialog = new SignatureLibDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &SignatureLibDialog::selectSign, this, &FaxDetailWindow::selectSignSlot);
    dialog->open();
}

void FaxDetailWindow::selectSignSlot(QPixmap pixmap)
{
    if (pixmap.isNull() || m_model->rowCount() == 0)
        return;
    // White is the paper: only the ink of the signature lands on the page.
    pixmap.setMask(pixmap.createMaskFromColor(QColor(255, 255, 255), Qt::MaskInColor));
    m_signPixmap = pixmap;
    // The cursor shows the stamp at the size it will have on the shown page.
    const double scale = ui->label_2->sourceScale();
    QPixmap cursorPixmap = pixmap;
    if (scale != 1.0 && scale > 0)
        cursorPixmap = pixmap.scaled(qMax(1, qRound(pixmap.width() / scale)), qMax(1, qRound(pixmap.height() / scale)),
                                     Qt::KeepAspectRatio, Qt::SmoothTransformation);
    ui->label_2->setCursor(QCursor(cursorPixmap, -1, -1));
    m_splitMode = false;
    m_signMode = true;
}

void FaxDetailWindow::sign(QMouseEvent* event)
{
    if (!m_signMode)
        return;
    m_signMode = false;
    ui->label_2->setCursor(Qt::ArrowCursor);

    const int row = currentPage;
    if (row < 0 || row >= m_model->rowCount())
        return;
    const QPointF at = ui->label_2->mapToSource(event->localPos());
    const QImage stamp = m_signPixmap.toImage();
    QImage page = pageImage(row).convertToFormat(QImage::Format_RGBA8888);
    QPainter painter(&page);
    painter.drawImage(qRound(at.x()) - stamp.width() / 2, qRound(at.y()) - stamp.height() / 2, stamp);
    painter.end();
    updateItemImage(row, page);
}

void FaxDetailWindow::addText()
{
    if (m_model->rowCount() == 0)
        return;
    auto* note = new TextNoteWidget(ui->label_2);
    const double scale = ui->label_2->sourceScale();
    note->setDisplayScale(scale > 0 ? 1.0 / scale : 1.0);
    // Start in the visible part of the page.
    QPoint at = ui->label_2->mapFrom(ui->scrollArea->viewport(), QPoint(40, 40));
    at.setX(qMax(0, at.x()));
    at.setY(qMax(0, at.y()));
    note->move(at);
    connect(note, &TextNoteWidget::confirmed, this, &FaxDetailWindow::burnTextNote);
    note->show();
    note->raise();
}

void FaxDetailWindow::burnTextNote(TextNoteWidget* note)
{
    const int row = currentPage;
    if (row >= 0 && row < m_model->rowCount()) {
        const QRect shownRect = note->textRect();
        const QPointF topLeft = ui->label_2->mapToSource(shownRect.topLeft());
        const QPointF bottomRight = ui->label_2->mapToSource(shownRect.bottomRight() + QPoint(1, 1));
        QFont font = note->pageFont();
        // The page stays black and white.
        font.setStyleStrategy(QFont::NoAntialias);

        QImage page = pageImage(row).convertToFormat(QImage::Format_RGBA8888);
        QPainter painter(&page);
        painter.setFont(font);
        painter.setPen(Qt::black);
        const QRectF box(topLeft, QSizeF(qMax(bottomRight.x() - topLeft.x(), page.width() - topLeft.x()),
                                         qMax(bottomRight.y() - topLeft.y(), qreal(font.pixelSize()) * 2)));
        painter.drawText(box, Qt::AlignLeft | Qt::AlignTop, note->text());
        painter.end();
        updateItemImage(row, page);
    }
    note->deleteLater();
}

void FaxDetailWindow::discardNotes()
{
    for (TextNoteWidget* note : ui->label_2->findChildren<TextNoteWidget*>())
        note->deleteLater();
}

void FaxDetailWindow::on_action_page_save_triggered()
{
    if (currentPage < 0 || currentPage >= m_model->rowCount())
        return;
    const FaxPage page = pageAt(currentPage);
    const QString proposed = QStandardPaths::writableLocation(QStandardPaths::PicturesLocation) + "/" +
                             tr("传真第%1页").arg(page.pageIndex + 1);
    // A report is kept as a document, a page of a fax first of all as a picture.
    QStringList filters{QStringLiteral("PNG(*.png)"), QStringLiteral("JPEG(*.jpg)"), QStringLiteral("PDF(*.pdf)")};
    if (m_fax.editorMode == MODE_REPORT)
        filters.move(2, 0);
    QString chosen;
    QString path = DialogUtil::getSaveFileName(this, QStringLiteral("Save Image"), proposed,
                                               filters.join(QStringLiteral(";;")), &chosen);
    if (path.isEmpty())
        return;
    // A suffix typed with the name decides; without one, the filter chosen in the dialog.
    static const QStringList known{QStringLiteral("png"), QStringLiteral("jpg"), QStringLiteral("jpeg"),
                                   QStringLiteral("pdf")};
    QString suffix = QFileInfo(path).suffix().toLower();
    if (!known.contains(suffix)) {
        const QRegularExpressionMatch match
            = QRegularExpression(QStringLiteral("\\*\\.(\\w+)")).match(chosen.isEmpty() ? filters.first() : chosen);
        suffix = match.hasMatch() ? match.captured(1) : QStringLiteral("png");
        path += QLatin1Char('.') + suffix;
    }
    const QImage image = pageImage(currentPage);
    bool saved = false;
    if (suffix == QLatin1String("pdf")) {
        saved = FaxPdfWriter::writeFile(QList<QImage>{image}, path);
    } else {
        QSaveFile out(path);
        saved = out.open(QIODevice::WriteOnly) && image.save(&out, suffix == QLatin1String("png") ? "PNG" : "JPG")
                && out.commit();
    }
    if (saved)
        MessageBoxUtil::infoMsg(this, tr("Velkor 消息"), tr("已保存为 %1").arg(path));
    else
        MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), tr("无法保存图片：%1").arg(path));
}

void FaxDetailWindow::addFaxPage()
{
    int fromFiles = 0;
    for (int row = 0; row < m_model->rowCount(); ++row)
        if (pageAt(row).pageKind == 0)
            ++fromFiles;
    m_cover.pageCount = QString::number(fromFiles);
    m_cover.recipientFaxAuto = ui->edit_phone_2->text();
    auto* form = new FaxPageWidget(m_cover, this);
    connect(form, &FaxPageWidget::addFaxPage, this, &FaxDetailWindow::addFaxPageToList);
    form->show();
}

void FaxDetailWindow::addFaxPageToList(QImage& image)
{
    if (m_model->rowCount() > 0 && pageAt(0).pageKind == 1) {
        updateItemImage(0, image);
    } else {
        FaxPage cover;
        cover.pageIndex = 0;
        cover.image = image;
        cover.pixmap = displayCopy(image);
        cover.pageKind = 1;
        auto* item = new QStandardItem;
        item->setData(QVariant::fromValue(cover), RECORD_ROLE);
        m_model->insertRow(0, item);
        renumberPages();
    }
    selectRow(0);
}

void FaxDetailWindow::on_buttion_option_2_clicked()
{
    auto* dialog = new FaxOptionDialog(m_option, this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->open();
}

void FaxDetailWindow::on_button_select_contact_clicked()
{
    auto* dialog = new SelectContactDialog(this);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    connect(dialog, &SelectContactDialog::returnSelectContactList, this, &FaxDetailWindow::showSelectContact);
    dialog->open();
}

void FaxDetailWindow::showSelectContact(QList<Contact>& contacts)
{
    if (contacts.isEmpty())
        return;
    QString line;
    for (const QString& entry : ui->edit_phone_2->text().split(QLatin1Char(';'), Qt::SkipEmptyParts))
        line += entry + QLatin1Char(';');
    for (const Contact& contact : contacts) {
        const QString number = !contact.businessFax.isEmpty() ? contact.businessFax
                               : !contact.houseFax.isEmpty()  ? contact.houseFax
                                                              : contact.otherFax;
        line += contact.represented + QLatin1Char('<') + number + QStringLiteral(">;");
    }
    ui->edit_phone_2->setText(line);
}

void FaxDetailWindow::reply()
{
    changeActionState();
    ui->edit_phone_2->setText(m_fax.cid);
}

void FaxDetailWindow::forward()
{
    changeActionState();
}

void FaxDetailWindow::send_fax()
{
    const QString title = tr("Velkor 消息");
    if (!hasRecipient(ui->edit_phone_2->text())) {
        MessageBoxUtil::warningMsg(this, title, tr("请输入收件人信息"));
        return;
    }
    if (m_model->rowCount() == 0) {
        MessageBoxUtil::warningMsg(this, title, tr("请添加传真文件"));
        return;
    }
    const QList<Device> devices = DatabaseManager().queryDevices();
    if (devices.isEmpty()) {
        MessageBoxUtil::warningMsg(this, title, tr("还没有添加设备"));
        return;
    }
    if (devices.size() == 1) {
        selectDeviceSendFax(devices);
        return;
    }
    auto* chooser = new SelectDeviceWidget(devices, this);
    chooser->setAttribute(Qt::WA_DeleteOnClose);
    connect(chooser, &SelectDeviceWidget::selectDevice, this, &FaxDetailWindow::selectDeviceSendFax);
    chooser->open();
}

void FaxDetailWindow::selectDeviceSendFax(QList<Device> devices)
{
    // One job per press: the button comes back only if nothing was assembled.
    if (m_sending || devices.isEmpty())
        return;
    m_sending = true;
    ui->action_send->setEnabled(false);
    // Pages of files go as their sources and are decoded one at a time while the job is written.
    QList<FaxPage> faxPages;
    QList<FaxPageSource> sources;
    for (int row = 0; row < m_model->rowCount(); ++row) {
        faxPages.append(pageAt(row));
        sources.append(sourceAt(row));
    }
    QString remark = ui->edit_remark_2->text();
    QString recipients = ui->edit_phone_2->text();
    emit m_controller->transformFaxPages(recipients, remark, faxPages, sources, m_option, devices);
}

bool FaxDetailWindow::hasUnsentWork() const
{
    return !m_handedOn && !m_sending && !ui->inputWidget->isHidden()
        && (m_model->rowCount() > 0 || hasRecipient(ui->edit_phone_2->text()));
}

bool FaxDetailWindow::confirmDiscard()
{
    if (m_discardConfirmed || !hasUnsentWork())
        return true;
    m_discardConfirmed = MessageBoxUtil::question(this, tr("Velkor 消息"),
                                                  tr("这份传真还没有发送，关闭后其页面和收件人将丢失。\n确定关闭吗？"),
                                                  QMessageBox::Warning)
        == QMessageBox::Yes;
    return m_discardConfirmed;
}

void FaxDetailWindow::closeEvent(QCloseEvent* event)
{
    // The faxes being assembled are stored already: the window waits, hidden, to hand them on.
    if (m_sending) {
        hide();
        event->ignore();
        return;
    }
    if (!confirmDiscard()) {
        event->ignore();
        return;
    }
    QMainWindow::closeEvent(event);
}

void FaxDetailWindow::jobFileFailed(QString& folder, QString& recipients)
{
    m_unwrittenFolders << folder;
    m_unwrittenRecipients << recipients;
}

void FaxDetailWindow::handlerTransformFax(QList<Fax>& faxes)
{
    m_sending = false;
    if (!m_unwrittenFolders.isEmpty()) {
        // The faxes that have their file go on; the window keeps the recipients left without
        // one, so nothing is lost and nothing goes twice when the user sends again.
        if (!faxes.isEmpty())
            emit intent_to_sendbox(faxes);
        const QString recipients = m_unwrittenRecipients.join(QLatin1Char(';'));
        const QString folders = m_unwrittenFolders.join(QLatin1Char('\n'));
        m_unwrittenFolders.clear();
        m_unwrittenRecipients.clear();
        ui->edit_phone_2->setText(recipients);
        ui->action_send->setEnabled(true);
        m_discardConfirmed = false;
        show();
        MessageBoxUtil::warningMsg(this, tr("Velkor 消息"),
                                   tr("传真文件无法写入：\n%1\n发往以下收件人的传真没有生成：%2")
                                       .arg(folders, recipients));
        return;
    }
    if (faxes.isEmpty()) {
        ui->action_send->setEnabled(true);
        if (!isVisible()) {
            close(); // the user closed it meanwhile
            return;
        }
        MessageBoxUtil::warningMsg(this, tr("Velkor 消息"), tr("传真没有生成，请检查收件人信息"));
        return;
    }
    m_handedOn = true;
    emit intent_to_sendbox(faxes);
    close();
}

#pragma once

#include "Contact.h"
#include "Device.h"
#include "Fax.h"
#include "FaxCover.h"
#include "FaxOption.h"
#include "FaxPage.h"
#include "FaxPageCache.h"
#include "FaxPageSource.h"

#include <QImage>
#include <QList>
#include <QMainWindow>
#include <QPixmap>
#include <QSize>
#include <QStringList>

class QLineEdit;
class QMouseEvent;
class QStandardItemModel;
class SendFaxController;
class TextNoteWidget;

namespace Ui {
class FaxDetailWindow;
}

// The window in which a fax is looked at and composed: page thumbnails on the left, the
// current page in the middle, and either the send fields or the stored fax's details.
// Fax::editorMode chooses what it offers:
//   0 view a stored fax, 1 reply or new fax from files, 2 forward, 3 show a report image.
// Pages of fax files (a stored fax, TIFF files opened) keep only their source and a thumbnail;
// the page itself is decoded when it is shown, edited, saved or sent, and a few decoded pages
// are kept at hand. An edited page holds its own image from then on.
// The window deletes itself when closed; after a send it closes once the assembled faxes
// have been handed on through intent_to_sendbox.
class FaxDetailWindow : public QMainWindow
{
    Q_OBJECT

public:
    enum EditorMode { MODE_VIEW = 0, MODE_REPLY = 1, MODE_FORWARD = 2, MODE_REPORT = 3 };

    // Loads the pages of fax.filepath when there is one (not in mode 3).
    explicit FaxDetailWindow(const Fax& fax, QWidget* parent = nullptr);
    ~FaxDetailWindow() override;

    // Mode 3: the one page shown is this image, as it is.
    void showReportImage(const QImage& image);
    // Appends the pages of TIFF, PDF and image files, in order, and selects the first page.
    void open_picture_file(QStringList files);
    // Fills the recipient line ("name<number>;number;"), as the contact picker would.
    void setRecipients(const QString& line);

    // The pages in list order, as they would be sent, every image decoded: meant for short
    // faxes and tests; the window itself goes page by page.
    QList<FaxPage> pages() const;
    int pageCount() const;
    // For tests and benchmarks: the distinct full page images the window holds (decoded pages at
    // hand, pages with their own image, the shown one), and the pages decoded from files so far.
    int heldPageImages() const;
    int pageDecodes() const;
    int currentRow() const;
    const FaxOption& faxOption() const;
    // Pages or recipients composed here and not sent.
    bool hasUnsentWork() const;
    // Asks, when there is unsent work, whether it may go; true when the window may close.
    bool confirmDiscard();

signals:
    // The assembled faxes, for the outbox.
    void intent_to_sendbox(QList<Fax> faxes);

public slots:
    void select_picture();
    void send_fax();
    void reply();
    void forward();
    void delete_page();
    void leftRotate();
    void rightRotate();
    void zoomIn();
    void zoomOut();
    void previousPage();
    void nextPage();
    void pageUp();
    void pageDown();
    void addFaxPage();
    void showSignLibrary();
    void addText();
    void splitPage();
    void on_action_page_save_triggered();
    // Prints the pages in list order through the printing of the folders.
    void printPages();
    // Shows the page whole, or as wide as the view, from now on (remembered).
    void fitPage();
    void fitWidth();

    void showSelectContact(QList<Contact>& contacts);
    void handlerTransformFax(QList<Fax>& faxes);
    void jobFileFailed(QString& folder, QString& recipients);
    void selectDeviceSendFax(QList<Device> devices);
    void addFaxPageToList(QImage& image);
    void selectSignSlot(QPixmap pixmap);
    // Mouse events in the page label's coordinates; the zoom is undone before use.
    void split(QMouseEvent* event);
    void sign(QMouseEvent* event);

private slots:
    // Shows the page of the list's current row.
    void showPage(const QModelIndex& index);
    void on_buttion_option_2_clicked();
    void on_button_select_contact_clicked();
    void burnTextNote(TextNoteWidget* note);

protected:
    void closeEvent(QCloseEvent* event) override;
    void showEvent(QShowEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void applyMode();
    void changeActionState();
    void setupIcons();
    // A page of a file (source not null) keeps the image only as its thumbnail.
    void appendPage(const QImage& image, int pageKind, const FaxPageSource& source = FaxPageSource());
    // Appends every page of a TIFF file as a page of that file; the number of pages, 0 when
    // its first page does not read.
    int appendFilePages(const QString& path, const QString& fitAs);
    // Thumbnails of the file pages whose rows are in view and have none yet.
    void fillThumbnails();
    FaxPage pageAt(int row) const;
    // Where the page of a row comes from; null for a page that holds its own image.
    FaxPageSource sourceAt(int row) const;
    // The page's full image: its own, or decoded from its file.
    QImage pageImage(int row) const;
    // A quarter turn of the current page, clockwise (1) or anticlockwise (-1).
    void rotateCurrent(int quarterTurns);
    void setPageAt(int row, const FaxPage& page);
    // Writes an edited image into a row (model and list) and shows it when it is current.
    void updateItemImage(int row, const QImage& image);
    // pageIndex of every row is its row; the list follows the model.
    void renumberPages();
    void selectRow(int row);
    // Moves the current page to row to; it stays current and shown.
    void movePage(int to);
    void updateNavigation();
    void addViewActions();
    // Shows the current image at the current zoom, or fitted to the view before any zoom.
    void displayCurrent();
    // Shows the current image at this size; open notes keep their place on the page.
    void showAtSize(const QSize& size);
    void chooseFit(int mode);
    void zoomBy(int numerator);
    void discardNotes();
    // Renders the pages of a PDF; false when it does not open. Sets cancelled when the user
    // stopped it; the pages rendered until then stay.
    bool openPdf(const QString& path, bool& cancelled);
    int renderDpi() const;

    Ui::FaxDetailWindow* ui;
    QStandardItemModel* m_model;
    QList<FaxPage> m_pages; // in step with the model
    mutable FaxPageCache m_pageCache;
    int currentPage = 0;
    FaxOption m_option;
    FaxCover m_cover;
    Fax m_fax;
    int physicalDpiX = 96;
    int physicalDpiY = 96;
    QImage m_currentImage;
    QSize m_zoomSize; // 0 x 0 until the first zoom: the page is fitted to the view until then
    bool m_splitMode = false;
    bool m_signMode = false;
    QPixmap m_signPixmap;
    QLineEdit* m_pageEdit = nullptr;
    QAction* m_pageEditAction = nullptr;
    QAction* m_fitPageAction = nullptr;
    QAction* m_fitWidthAction = nullptr;
    QAction* m_printAction = nullptr;
    SendFaxController* m_controller = nullptr;
    bool m_loading = false;
    bool m_rearranging = false;
    bool m_sending = false;
    bool m_handedOn = false;         // the job went to the outbox
    bool m_discardConfirmed = false; // the user agreed to drop the unsent work
    QStringList m_unwrittenFolders;  // of the job under way: files that could not be written
    QStringList m_unwrittenRecipients;
};

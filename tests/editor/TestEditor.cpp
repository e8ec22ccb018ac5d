#include "../sending/SendingTestData.h"
#include "AppSettings.h"
#include "DatabaseManager.h"
#include "DeviceSimRunner.h"
#include "DialogUtil.h"
#include "FaxDetailWindow.h"
#include "FaxOptionDialog.h"
#include "FaxPageCache.h"
#include "FaxPageWidget.h"
#include "FaxStatus.h"
#include "ImageUtil.h"
#include "MD5Util.h"
#include "MGlobal.h"
#include "MessageBoxUtil.h"
#include "PageFit.h"
#include "PdfPageLoader.h"
#include "PdfPageReader.h"
#include "QAdvancedLabel.h"
#include "SelectDeviceWidget.h"
#include "SendFaxController.h"
#include "SignatureLibDialog.h"
#include "UiTestSupport.h"
#include "TextNoteWidget.h"
#include "TiffUtil.h"
#include "TimeUtil.h"

#include <QAction>
#include <QApplication>
#include <QScopedPointer>
#include <QCheckBox>
#include <QComboBox>
#include <QDataStream>
#include <QDateTimeEdit>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QImageReader>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QLinearGradient>
#include <QListView>
#include <QPageLayout>
#include <QPageSize>
#include <QPainter>
#include <QPdfWriter>
#include <QPointer>
#include <QProgressDialog>
#include <QPushButton>
#include <QRandomGenerator>
#include <QRect>
#include <QSignalSpy>
#include <QSpinBox>
#include <QString>
#include <QTemporaryDir>
#include <QTimeEdit>
#include <QTimer>
#include <QTransform>

// Files and measurements. Every file is made by the test itself.
namespace {

// Share of black pixels (every channel below 64) inside rect.
inline double blackFraction(const QImage& image, const QRect& rect)
{
    const QRect r = rect.intersected(image.rect());
    if (r.isEmpty())
        return 0.0;
    int black = 0;
    for (int y = r.top(); y <= r.bottom(); ++y)
        for (int x = r.left(); x <= r.right(); ++x)
            if (qGray(image.pixel(x, y)) < 64)
                ++black;
    return double(black) / (r.width() * r.height());
}

inline bool isBlack(const QImage& image, int x, int y)
{
    return qGray(image.pixel(x, y)) < 64;
}

// Horizontal lines, 3 units thick every 9 units, filling rect: survives a local threshold.
inline void hatch(QPainter& painter, const QRectF& rect)
{
    for (qreal y = rect.top(); y + 3 <= rect.bottom(); y += 9)
        painter.fillRect(QRectF(rect.left(), y, rect.width(), 3), Qt::black);
}

// A PDF whose page i is landscape when landscape[i], hatched in the band described by bands[i]
// ('t' top third, 'b' bottom third, 'l' left half).
inline bool writePdf(const QString& path, const QString& bands, const QList<bool>& landscape)
{
    QPdfWriter writer(path);
    writer.setResolution(72);
    writer.setPageSize(QPageSize(QPageSize::A4));
    writer.setPageOrientation(landscape.value(0) ? QPageLayout::Landscape : QPageLayout::Portrait);
    QPainter painter(&writer);
    for (int i = 0; i < bands.size(); ++i) {
        if (i > 0) {
            writer.setPageOrientation(landscape.value(i) ? QPageLayout::Landscape : QPageLayout::Portrait);
            writer.newPage();
        }
        const QRectF page(0, 0, painter.device()->width(), painter.device()->height());
        switch (bands.at(i).toLatin1()) {
        case 't': hatch(painter, QRectF(0, 0, page.width(), page.height() / 3)); break;
        case 'b': hatch(painter, QRectF(0, page.height() * 2 / 3, page.width(), page.height() / 3)); break;
        case 'l': hatch(painter, QRectF(0, 0, page.width() / 2, page.height())); break;
        default: break;
        }
    }
    return painter.end();
}

// A PDF whose encryption dictionary accepts no password we could give: Poppler calls it locked.
inline void writeLockedPdf(const QString& path)
{
    QByteArray pdf("%PDF-1.4\n");
    QList<int> offsets;
    const QList<QByteArray> objects = {
        "<< /Type /Catalog /Pages 2 0 R >>",
        "<< /Type /Pages /Kids [3 0 R] /Count 1 >>",
        "<< /Type /Page /Parent 2 0 R /MediaBox [0 0 612 792] >>",
        "<< /Filter /Standard /V 1 /R 2 /P -4 /O <" + QByteArray(64, 'A') + "> /U <" + QByteArray(64, 'B') + "> >>",
    };
    for (int i = 0; i < objects.size(); ++i) {
        offsets.append(pdf.size());
        pdf += QByteArray::number(i + 1) + " 0 obj\n" + objects.at(i) + "\nendobj\n";
    }
    const int xref = pdf.size();
    pdf += "xref\n0 5\n0000000000 65535 f \n";
    for (int offset : offsets)
        pdf += QByteArray::number(offset).rightJustified(10, '0') + " 00000 n \n";
    pdf += "trailer\n<< /Size 5 /Root 1 0 R /Encrypt 4 0 R /ID [<0123456789ABCDEF0123456789ABCDEF>"
           "<0123456789ABCDEF0123456789ABCDEF>] >>\nstartxref\n" +
           QByteArray::number(xref) + "\n%%EOF\n";
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(pdf);
}

inline void writeBytes(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    if (file.open(QIODevice::WriteOnly))
        file.write(bytes);
}

// A white fax page with a hatch band at band (0..3) of four, so that pages can be told apart.
inline QImage bandPage(int band)
{
    QImage image(1728, 2200, QImage::Format_RGBA8888);
    image.fill(Qt::white);
    QPainter painter(&image);
    hatch(painter, QRectF(100, 100 + band * 500, 1500, 300));
    return image;
}

} // namespace

class TestFaxDetailWindow : public QObject
{
    Q_OBJECT

private:
    QString m_dir;
    QPointer<FaxDetailWindow> m_window;

    FaxDetailWindow* open(int mode, const QString& filepath = QString())
    {
        Fax fax;
        fax.editorMode = mode;
        fax.filepath = filepath;
        fax.sender = QStringLiteral("Alice");
        fax.cid = QStringLiteral("5551234");
        fax.time = QStringLiteral("2024-05-06 07:08:09");
        m_window = new FaxDetailWindow(fax);
        m_window->show();
        return m_window;
    }
    QString path(const QString& name) const { return m_dir + "/" + name; }
    QList<qint64> keysOf(FaxDetailWindow* window)
    {
        QList<qint64> keys;
        for (const FaxPage& page : window->pages())
            keys << page.image.cacheKey();
        return keys;
    }
    // n pages from PNG files with a different band each; returns the page images' keys.
    QList<qint64> openBands(FaxDetailWindow* window, int n)
    {
        QStringList files;
        for (int i = 0; i < n; ++i) {
            files << path(QStringLiteral("band%1.png").arg(i));
            bandPage(i).save(files.last());
        }
        window->open_picture_file(files);
        return keysOf(window);
    }
    QAdvancedLabel* pageLabel() { return TestSupport::find<QAdvancedLabel>(m_window, "label_2"); }
    QAction* action(const char* name) { return TestSupport::find<QAction>(m_window, name); }
    // The label point that shows a page point at the present zoom.
    QPoint labelPointOf(const QPointF& pagePoint)
    {
        const QSize shown = pageLabel()->pixmap(Qt::ReturnByValue).size();
        const QSize source = pageLabel()->sourceSize();
        return QPoint(qRound(pagePoint.x() * shown.width() / source.width()),
                      qRound(pagePoint.y() * shown.height() / source.height()));
    }

    QImage shown() { return rgba(pageLabel()->pixmap(Qt::ReturnByValue).toImage()); }
    // A page as the view shows it: fitted to the view.
    QImage onView(const QImage& page) { return rgba(PageFit::scaled(page, shown().size())); }
    static QImage rgba(const QImage& image) { return image.convertToFormat(QImage::Format_RGBA8888); }
    static QByteArray bytesOf(const QString& file)
    {
        QFile f(file);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    }

    static QList<Device> addDevices(int count)
    {
        DatabaseManager db;
        for (int i = 1; i <= count; ++i) {
            Device device;
            device.deviceName = QStringLiteral("acct%1").arg(i);
            device.productID = QStringLiteral("DEV%1").arg(i);
            device.serverName = QStringLiteral("Fax %1").arg(i);
            device.localIP = QStringLiteral("127.0.0.%1").arg(i);
            db.inseretDevice(device);
        }
        return db.queryDevices();
    }
    FaxDetailWindow* composer(int pages, const QString& recipients)
    {
        Fax fax;
        fax.editorMode = 1;
        auto* w = new FaxDetailWindow(fax);
        QStringList files;
        for (int i = 0; i < pages; ++i) {
            files << m_dir + QStringLiteral("/p%1.png").arg(i);
            bandPage(i).save(files.last());
        }
        if (!files.isEmpty())
            w->open_picture_file(files);
        TestSupport::find<QLineEdit>(w, "edit_phone_2")->setText(recipients);
        w->show();
        return w;
    }
    static FaxOptionDialog* openOptions(FaxDetailWindow* w)
    {
        QTest::mouseClick(TestSupport::find<QPushButton>(w, "buttion_option_2"), Qt::LeftButton);
        return w->findChild<FaxOptionDialog*>();
    }
    static void finish(FaxOptionDialog* dialog, const char* button)
    {
        QPointer<FaxOptionDialog> alive(dialog);
        QTest::mouseClick(TestSupport::find<QPushButton>(dialog, button), Qt::LeftButton);
        QTRY_VERIFY(alive.isNull());
    }
    static QList<QRect> coverRects()
    {
        QFile file(QStringLiteral(":/assets/assets/fax_cover.json"));
        if (!file.open(QIODevice::ReadOnly))
            return {};
        QList<QRect> rects;
        for (const QJsonValue& value : QJsonDocument::fromJson(file.readAll()).object().value("FaxCover").toArray()) {
            const QJsonObject e = value.toObject();
            rects << QRect(e.value("BasePointX").toInt(), e.value("BasePointY").toInt(), e.value("MaxWidth").toInt(),
                           e.value("MaxHeight").toInt());
        }
        return rects;
    }
    // Applies the cover form of the window with the given edits.
    static void applyCover(FaxDetailWindow* w, const std::function<void(FaxPageWidget*)>& edit)
    {
        TestSupport::find<QAction>(w, "action_add_faxpage")->trigger();
        QPointer<FaxPageWidget> form = w->findChild<FaxPageWidget*>();
        QVERIFY(form);
        edit(form);
        QTest::mouseClick(TestSupport::find<QPushButton>(form, "button_apply"), Qt::LeftButton);
        QTRY_VERIFY(form.isNull());
    }
    static qint32 storedCount()
    {
        QFile file(SignatureLibDialog::signatureFilePath());
        if (!file.open(QIODevice::ReadOnly))
            return -1;
        QDataStream in(&file);
        qint32 count = -1;
        in >> count;
        return count;
    }

    // The editor's page as the one-page-at-a-time loop made it.
    static QImage sequentialPage(const QString& path, int index, int dpi)
    {
        PdfPageReader reader;
        if (!reader.open(path))
            return QImage();
        const QImage rendered = reader.renderPage(index, dpi);
        return rendered.isNull() ? QImage() : ImageUtil::getBWImage(ImageUtil::scaleToFaxSize(rendered, "pdf"));
    }

    // Pages of text with a picture, one of them landscape.
    QString textPdf(int pages)
    {
        const QString file = path(QStringLiteral("letters.pdf"));
        QPdfWriter writer(file);
        writer.setResolution(150);
        writer.setPageSize(QPageSize(QPageSize::A4));
        QPainter painter(&writer);
        for (int page = 0; page < pages; ++page) {
            if (page > 0) {
                writer.setPageOrientation(page == 2 ? QPageLayout::Landscape : QPageLayout::Portrait);
                writer.newPage();
            }
            QLinearGradient gradient(0, 0, 300, 200);
            gradient.setColorAt(0, QColor::fromHsv(page * 50 % 360, 200, 220));
            gradient.setColorAt(1, Qt::darkBlue);
            painter.fillRect(QRect(700, 80, 300, 200), gradient);
            painter.setFont(QFont(QStringLiteral("Serif"), 10));
            for (int line = 0; line < 40; ++line)
                painter.drawText(60, 320 + line * 30, QStringLiteral("Page %1, line %2: goods received.").arg(page).arg(line));
        }
        painter.end();
        return file;
    }

private slots:
    void initTestCase() { qRegisterMetaType<QList<Fax>>(); }
    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        m_dir = TestSupport::documentsPath() + "files";
        QDir().mkpath(m_dir);
    }
    void cleanup() { delete m_window; }

    void modes_data()
    {
        QTest::addColumn<int>("mode");
        QTest::addColumn<bool>("sendEnabled");
        QTest::addColumn<bool>("replyEnabled");
        QTest::addColumn<bool>("composeEnabled");
        QTest::addColumn<bool>("inputShown");
        QTest::addColumn<bool>("detailShown");
        QTest::addColumn<bool>("pageToolsVisible");
        QTest::newRow("view stored fax") << 0 << false << true << false << false << true << true;
        QTest::newRow("reply") << 1 << true << false << true << true << false << true;
        QTest::newRow("forward") << 2 << true << false << true << true << false << true;
        QTest::newRow("report image") << 3 << false << false << true << false << false << false;
    }
    void modes()
    {
        QFETCH(int, mode);
        QFETCH(bool, sendEnabled);
        QFETCH(bool, replyEnabled);
        QFETCH(bool, composeEnabled);
        QFETCH(bool, inputShown);
        QFETCH(bool, detailShown);
        QFETCH(bool, pageToolsVisible);
        QString tiff = path("stored.tif");
        QVERIFY(TiffUtil::writeImgToTiff({bandPage(0), bandPage(1)}, tiff));
        FaxDetailWindow* w = open(mode, tiff);
        if (mode == 3)
            w->showReportImage(bandPage(2));

        QCOMPARE(action("action_send")->isEnabled() && action("action_send")->isVisible(), sendEnabled);
        QCOMPARE(action("action_reply")->isEnabled() && action("action_reply")->isVisible(),
                 replyEnabled);
        QCOMPARE(action("action_forward")->isVisible(), mode != 3);
        for (const char* name : {"action_text_note", "action_sign", "action_add_faxpage"})
            QCOMPARE(action(name)->isEnabled(), composeEnabled);
        QCOMPARE(TestSupport::find<QWidget>(w, "inputWidget")->isVisible(), inputShown);
        QCOMPARE(TestSupport::find<QWidget>(w, "detailWidget")->isVisible(), detailShown);
        for (const char* name : {"action_left_rotate", "action_right_rotate", "action_previous_page",
                                 "action_next_page", "action_delete_page", "action_split_page", "action_page_up",
                                 "action_page_down"})
            QCOMPARE(action(name)->isVisible(), pageToolsVisible);

        // The stored fax's pages in every mode but the report, which has its own image only.
        QCOMPARE(w->pages().size(), mode == 3 ? 1 : 2);
        auto* phone = TestSupport::find<QLineEdit>(w, "edit_phone_2");
        QCOMPARE(phone->text(), mode == 1 ? QStringLiteral("5551234") : QString());
        if (mode == 0) {
            QCOMPARE(TestSupport::find<QLabel>(w, "label_sender_text")->text(), QStringLiteral("Alice <5551234>"));
            QCOMPARE(TestSupport::find<QLabel>(w, "label_time_text")->text(), QStringLiteral("2024-05-06 07:08:09"));
            w->reply();
            QVERIFY(action("action_send")->isEnabled() && !action("action_reply")->isEnabled()
                    && action("action_sign")->isEnabled());
            QVERIFY(TestSupport::find<QWidget>(w, "inputWidget")->isVisible()
                    && !TestSupport::find<QWidget>(w, "detailWidget")->isVisible());
            QCOMPARE(phone->text(), QStringLiteral("5551234"));
        }
    }

    void opensPdfTiffAndImagesInOrder()
    {
        const QString pdf = path("three.pdf");
        QVERIFY(writePdf(pdf, QStringLiteral("tlb"), {false, true, false}));
        // A solid block: a second local threshold would hollow it out.
        QImage blockPage(1728, 2200, QImage::Format_RGBA8888);
        blockPage.fill(Qt::white);
        QPainter(&blockPage).fillRect(QRect(200, 200, 600, 600), Qt::black);
        QString tiff = path("block.tif");
        QVERIFY(TiffUtil::writeImgToTiff({blockPage}, tiff));
        QImage small(800, 600, QImage::Format_RGB32);
        small.fill(Qt::white);
        {
            QPainter painter(&small);
            hatch(painter, QRectF(0, 0, 800, 600));
        }
        QVERIFY(small.save(path("small.png")));

        FaxDetailWindow* w = open(1);
        w->open_picture_file({pdf, tiff, path("small.png")});
        const QList<FaxPage> pages = w->pages();
        QCOMPARE(pages.size(), 5);
        for (int i = 0; i < pages.size(); ++i) {
            QCOMPARE(pages[i].image.size(), QSize(1728, 2200));
            QCOMPARE(pages[i].pageIndex, i);
            QCOMPARE(pages[i].pageKind, 0);
        }
        // PDF pages in order; the landscape one turned clockwise, so its left half is on top.
        QVERIFY(blackFraction(pages[0].image, QRect(0, 100, 1728, 600)) > 0.05);
        QVERIFY(blackFraction(pages[0].image, QRect(0, 1600, 1728, 500)) < 0.001);
        QVERIFY(blackFraction(pages[1].image, QRect(0, 100, 1728, 900)) > 0.05);
        QVERIFY(blackFraction(pages[1].image, QRect(0, 1250, 1728, 850)) < 0.001);
        QVERIFY(blackFraction(pages[2].image, QRect(0, 1600, 1728, 500)) > 0.05);
        QVERIFY(blackFraction(pages[2].image, QRect(0, 100, 1728, 600)) < 0.001);
        // Every thresholded pixel is black or white.
        for (int y = 0; y < 2200; y += 37)
            for (int x = 0; x < 1728; x += 41) {
                const int gray = qGray(pages[0].image.pixel(x, y));
                QVERIFY(gray == 0 || gray == 255);
            }
        // The TIFF page keeps its solid block.
        QVERIFY(blackFraction(pages[3].image, QRect(260, 260, 480, 480)) > 0.99);
        // The small image is not enlarged: centred across, 50 rows from the top.
        QVERIFY(blackFraction(pages[4].image, QRect(480, 70, 760, 560)) > 0.05);
        QVERIFY(blackFraction(pages[4].image, QRect(0, 700, 1728, 1500)) < 0.001);
        QVERIFY(blackFraction(pages[4].image, QRect(0, 0, 450, 2200)) < 0.001);

        QCOMPARE(w->currentRow(), 0);
        QCOMPARE(TestSupport::find<QLineEdit>(w, "edit_page")->text(), QStringLiteral("1 / 5"));
        QVERIFY(MessageBoxUtil::shown().isEmpty());
    }

    void unreadableFilesAreSkippedWithAMessage_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QByteArray>("bytes");
        QTest::newRow("broken pdf") << "broken.pdf" << QByteArray("%PDF-1.4\nthis is no pdf at all\n");
        QTest::newRow("locked pdf") << "locked.pdf" << QByteArray();
        QTest::newRow("broken tiff") << "broken.tif" << QByteArray("II*\0garbage, not a directory", 29);
        QTest::newRow("broken image") << "broken.png" << QByteArray("not a png");
    }
    void unreadableFilesAreSkippedWithAMessage()
    {
        QFETCH(QString, name);
        QFETCH(QByteArray, bytes);
        if (name == "locked.pdf")
            writeLockedPdf(path(name));
        else
            writeBytes(path(name), bytes);
        bandPage(0).save(path("good.png"));

        FaxDetailWindow* w = open(1);
        w->open_picture_file({path(name), path("good.png")});
        QCOMPARE(w->pages().size(), 1);
        const auto shown = MessageBoxUtil::takeShown();
        QCOMPARE(shown.size(), 1);
        QCOMPARE(shown[0].kind, QStringLiteral("warning"));
        QVERIFY(shown[0].text.contains(path(name)));
    }

    void cancellingAPdfKeepsThePagesSoFar()
    {
        const QString pdf = path("long.pdf");
        QVERIFY(writePdf(pdf, QStringLiteral("tbtbtb"), {}));
        bandPage(0).save(path("after.png"));
        FaxDetailWindow* w = open(1);
        // The first chance the event loop gets is between the first and the second page.
        QTimer::singleShot(0, w, [w]() {
            if (auto* progress = w->findChild<QProgressDialog*>("progress_pdf"))
                progress->cancel();
        });
        w->open_picture_file({pdf, path("after.png")});
        QCOMPARE(w->pages().size(), 1);
        QCOMPARE(TestSupport::find<QLineEdit>(w, "edit_page")->text(), QStringLiteral("1 / 1"));
    }

    void navigationStates_data()
    {
        QTest::addColumn<int>("count");
        QTest::addColumn<int>("row");
        QTest::addColumn<bool>("previous");
        QTest::addColumn<bool>("next");
        QTest::addColumn<bool>("remove");
        QTest::addColumn<QString>("counter");
        QTest::newRow("one page") << 1 << 0 << false << false << false << "1 / 1";
        QTest::newRow("first of three") << 3 << 0 << false << true << true << "1 / 3";
        QTest::newRow("middle of three") << 3 << 1 << true << true << true << "2 / 3";
        QTest::newRow("last of three") << 3 << 2 << true << false << true << "3 / 3";
    }
    void navigationStates()
    {
        QFETCH(int, count);
        QFETCH(int, row);
        QFETCH(bool, previous);
        QFETCH(bool, next);
        QFETCH(bool, remove);
        QFETCH(QString, counter);
        FaxDetailWindow* w = open(1);
        openBands(w, count);
        for (int i = 0; i < row; ++i)
            w->nextPage();
        QCOMPARE(w->currentRow(), row);
        QCOMPARE((QList<bool>{action("action_previous_page")->isEnabled(), action("action_next_page")->isEnabled(),
                              action("action_delete_page")->isEnabled()}),
                 (QList<bool>{previous, next, remove}));
        QCOMPARE(TestSupport::find<QLineEdit>(w, "edit_page")->text(), counter);
        QCOMPARE(shown(), onView(w->pages()[row].image));
    }

    void movingAndDeletingPages()
    {
        FaxDetailWindow* w = open(1);
        const QList<qint64> k = openBands(w, 3);
        auto* list = TestSupport::find<QListView>(w, "listView");

        w->pageUp(); // first row: nothing moves
        QCOMPARE(keysOf(w), k);
        w->nextPage();
        w->nextPage();
        w->pageDown(); // last row: nothing moves
        QCOMPARE(keysOf(w), k);

        w->previousPage();
        w->pageUp();
        QCOMPARE(keysOf(w), (QList<qint64>{k[1], k[0], k[2]}));
        QCOMPARE(w->currentRow(), 0);
        QCOMPARE(list->currentIndex().row(), 0);
        w->pageDown();
        w->pageDown();
        QCOMPARE(keysOf(w), (QList<qint64>{k[0], k[2], k[1]}));
        QCOMPARE(w->currentRow(), 2);

        // Deleting the last row moves up to the new last row.
        w->delete_page();
        QCOMPARE(keysOf(w), (QList<qint64>{k[0], k[2]}));
        QCOMPARE(w->currentRow(), 1);
        QCOMPARE(TestSupport::find<QLineEdit>(w, "edit_page")->text(), QStringLiteral("2 / 2"));
        QCOMPARE(w->pages()[1].pageIndex, 1);
        w->delete_page();
        QCOMPARE(keysOf(w), QList<qint64>{k[0]});
        QVERIFY(!action("action_delete_page")->isEnabled());
        w->delete_page(); // the last page stays
        QCOMPARE(w->pages().size(), 1);
    }

    void zoomStopsAtItsLimits()
    {
        FaxDetailWindow* w = open(1);
        openBands(w, 1);
        for (int i = 0; i < 15; ++i)
            w->zoomOut();
        int width = pageLabel()->pixmap(Qt::ReturnByValue).width();
        QVERIFY(width >= 400);
        QVERIFY(width * 8 / 10 < 400);
        for (int i = 0; i < 25; ++i)
            w->zoomIn();
        width = pageLabel()->pixmap(Qt::ReturnByValue).width();
        QVERIFY(width <= 3500);
        QVERIFY(width * 12 / 10 > 3500);
        // The page itself is never scaled.
        QCOMPARE(w->pages()[0].image.size(), QSize(1728, 2200));
    }

    void rotationWritesTheTurnedPageBack()
    {
        FaxDetailWindow* w = open(1);
        QImage page(1728, 2200, QImage::Format_RGBA8888);
        page.fill(Qt::white);
        QPainter(&page).fillRect(QRect(0, 0, 100, 100), Qt::black);
        w->showReportImage(page);

        w->rightRotate();
        QImage turned = w->pages()[0].image;
        QCOMPARE(turned.size(), QSize(2200, 1728));
        QVERIFY(blackFraction(turned, QRect(2100, 0, 100, 100)) > 0.99);
        QVERIFY(blackFraction(turned, QRect(0, 0, 100, 100)) < 0.01);
        QCOMPARE(pageLabel()->sourceSize(), QSize(2200, 1728));
        w->leftRotate();
        QCOMPARE(w->pages()[0].image, page);
    }

    void splitAtAClickOnAZoomedPage()
    {
        FaxDetailWindow* w = open(1);
        QImage page(1728, 2200, QImage::Format_RGBA8888);
        QRandomGenerator random(7);
        for (int y = 0; y < page.height(); ++y)
            for (int x = 0; x < page.width(); x += 16)
                page.setPixel(x, y, random.generate() | 0xFF000000u);
        w->showReportImage(page);
        w->zoomOut();
        w->zoomOut();

        w->splitPage();
        QCOMPARE(pageLabel()->cursor().shape(), Qt::SplitVCursor);
        QTest::mouseClick(pageLabel(), Qt::LeftButton, {}, labelPointOf(QPointF(500, 1000)));
        QList<FaxPage> pages = w->pages();
        QCOMPARE(pages.size(), 2);
        const int cut = pages[0].image.height();
        QVERIFY2(qAbs(cut - 1000) <= 2, qPrintable(QString::number(cut)));
        QCOMPARE(pages[0].image, page.copy(0, 0, 1728, cut));
        QCOMPARE(pages[1].image, page.copy(0, cut, 1728, 2200 - cut));
        QVERIFY(pages[1].pageKind == 0 && pages[1].pageIndex == 1);
        QCOMPARE(pageLabel()->cursor().shape(), Qt::ArrowCursor);

        // Split mode ends with the split.
        QTest::mouseClick(pageLabel(), Qt::LeftButton, {}, labelPointOf(QPointF(500, 300)));
        QCOMPARE(w->pages().size(), 2);
    }

    void stampLandsAtTheClickedPagePoint()
    {
        FaxDetailWindow* w = open(1);
        QImage page(1728, 2200, QImage::Format_RGBA8888);
        page.fill(Qt::white);
        QPainter(&page).fillRect(QRect(780, 0, 10, 2200), Qt::black);
        w->showReportImage(page);
        w->zoomOut();

        QImage signature(41, 41, QImage::Format_RGB888);
        signature.fill(Qt::white);
        QPainter(&signature).fillRect(QRect(15, 15, 11, 11), Qt::black);
        w->selectSignSlot(QPixmap::fromImage(signature));
        QTest::mouseClick(pageLabel(), Qt::LeftButton, {}, labelPointOf(QPointF(800, 1200)));

        const QImage stamped = w->pages()[0].image;
        QVERIFY(blackFraction(stamped, QRect(797, 1197, 7, 7)) > 0.99);
        // The signature's white is transparent: the stripe under it stays, the paper stays white.
        QVERIFY(blackFraction(stamped, QRect(781, 1185, 8, 30)) > 0.99);
        QVERIFY(blackFraction(stamped, QRect(809, 1182, 10, 36)) < 0.01);
        QVERIFY(blackFraction(stamped, QRect(790, 1300, 100, 100)) < 0.01);

        // One stamp per choice.
        QTest::mouseClick(pageLabel(), Qt::LeftButton, {}, labelPointOf(QPointF(1200, 400)));
        QCOMPARE(w->pages()[0].image, stamped);
    }

    void textNoteBecomesPartOfThePage_data()
    {
        QTest::addColumn<int>("size");
        QTest::newRow("24 px") << 24;
        QTest::newRow("64 px") << 64;
    }
    void textNoteBecomesPartOfThePage()
    {
        QFETCH(int, size);
        FaxDetailWindow* w = open(1);
        QImage page(1728, 2200, QImage::Format_RGBA8888);
        page.fill(Qt::white);
        w->showReportImage(page);

        w->addText();
        auto* note = pageLabel()->findChild<TextNoteWidget*>();
        QVERIFY(note);
        auto* sizes = TestSupport::find<QComboBox>(note, "combo_text_size");
        sizes->setCurrentIndex(sizes->findText(QString::number(size)));
        TestSupport::find<QLineEdit>(note, "edit_text")->setText(QStringLiteral("FAX 88"));
        note->move(labelPointOf(QPointF(304, 604))); // the page is fitted to the view
        QTest::mouseClick(TestSupport::find<QPushButton>(note, "button_hide"), Qt::LeftButton);
        QTRY_VERIFY(!pageLabel()->findChild<TextNoteWidget*>());

        const QImage result = w->pages()[0].image;
        int top = -1, bottom = -1;
        for (int y = 0; y < 2200; ++y) {
            for (int x = 0; x < 1728; ++x) {
                if (isBlack(result, x, y)) {
                    QVERIFY2(x >= 300 && y >= 600, "ink outside the note");
                    if (top < 0)
                        top = y;
                    bottom = y;
                }
            }
        }
        QVERIFY(top >= 0);
        const int height = bottom - top + 1;
        QVERIFY2(height >= size / 2 && height <= size, qPrintable(QString::number(height)));

        // A note without text goes away and leaves the page alone.
        w->addText();
        note = pageLabel()->findChild<TextNoteWidget*>();
        QTest::mouseClick(TestSupport::find<QPushButton>(note, "button_hide"), Qt::LeftButton);
        QTRY_VERIFY(!pageLabel()->findChild<TextNoteWidget*>());
        QCOMPARE(w->pages()[0].image, result);
    }

    void savesTheCurrentPage_data()
    {
        QTest::addColumn<QString>("answer");
        QTest::addColumn<QString>("written");
        QTest::addColumn<QByteArray>("format");
        QTest::newRow("png typed") << "page.png" << "page.png" << QByteArray("png");
        QTest::newRow("jpg typed") << "page.jpg" << "page.jpg" << QByteArray("jpeg");
        QTest::newRow("no suffix") << "page" << "page.png" << QByteArray("png");
    }
    void savesTheCurrentPage()
    {
        QFETCH(QString, answer);
        QFETCH(QString, written);
        QFETCH(QByteArray, format);
        FaxDetailWindow* w = open(1);
        openBands(w, 1);
        DialogUtil::queueAnswer(path(answer));
        action("action_page_save")->trigger();
        QImageReader reader(path(written));
        QCOMPARE(reader.format(), format);
        QCOMPARE(reader.size(), QSize(1728, 2200));
    }

    // Pages of fax files are read from their file when needed: what the editor shows and sends
    // must be what it gave when it held every page, while it keeps only a few decoded.
    void forwardedPagesAreTheStoredOnes()
    {
        const QString stored = path("stored.tif");
        QVERIFY(TiffUtil::writeImgToTiff({bandPage(0), bandPage(1), bandPage(2), bandPage(3)}, stored));
        // A page off the fax raster, which opening a TIFF file fits to it.
        QImage small(1000, 800, QImage::Format_RGBA8888);
        small.fill(Qt::white);
        {
            QPainter painter(&small);
            hatch(painter, QRectF(0, 0, 1000, 400));
        }
        const QString smallTif = path("small.tif");
        QVERIFY(TiffUtil::writeImgToTiff({small}, smallTif));
        // What reading the whole files gave.
        const QList<QImage> original = TiffUtil::tiffToImg(stored);
        QCOMPARE(original.size(), 4);

        FaxDetailWindow* w = open(0, stored);
        QCOMPARE(w->pageCount(), 4);
        QCOMPARE(shown(), onView(original[0]));
        w->forward();
        w->nextPage();
        w->rightRotate();
        QCOMPARE(shown(), onView(original[1].transformed(QTransform().rotate(90.0))));
        w->nextPage();
        w->delete_page(); // the third page; the fourth becomes current
        QCOMPARE(shown(), onView(original[3]));
        w->pageUp();
        w->open_picture_file({smallTif});

        const QList<QImage> expected{original[0], original[3], original[1].transformed(QTransform().rotate(90.0)),
                                     ImageUtil::scaleToFaxSize(TiffUtil::tiffToImg(smallTif).value(0), "tif")};
        const QList<FaxPage> pages = w->pages();
        QCOMPARE(pages.size(), expected.size());
        for (int i = 0; i < pages.size(); ++i)
            QVERIFY2(rgba(pages[i].image) == rgba(expected[i]), qPrintable(QString::number(i)));

        Device device;
        device.deviceName = QStringLiteral("acct");
        device.productID = QStringLiteral("DEVLAZY");
        device.localIP = QStringLiteral("127.0.0.1");
        DatabaseManager().inseretDevice(device);
        TestSupport::find<QLineEdit>(w, "edit_phone_2")->setText(QStringLiteral("123"));
        QSignalSpy handed(w, &FaxDetailWindow::intent_to_sendbox);
        TestSupport::find<QAction>(w, "action_send")->trigger();
        QTRY_COMPARE(handed.count(), 1);
        const QList<Fax> faxes = handed[0][0].value<QList<Fax>>();
        QCOMPARE(faxes.size(), 1);
        QCOMPARE(faxes[0].pageTotal, 4);

        // The job file is the one the held pages gave, byte for byte.
        const QString reference = path("reference.tif");
        QVERIFY(TiffUtil::writeImgToTiff(expected, reference));
        const QByteArray sent = bytesOf(faxes[0].filepath);
        QVERIFY(!sent.isEmpty());
        QVERIFY(sent == bytesOf(reference));
    }

    void aLongFaxKeepsAFewPagesDecoded()
    {
        const int total = 60;
        QList<QImage> bands;
        for (int i = 0; i < 4; ++i)
            bands.append(bandPage(i));
        QList<QImage> images;
        for (int i = 0; i < total; ++i)
            images.append(bands[i % 4]);
        const QString stored = path("long.tif");
        QVERIFY(TiffUtil::writeImgToTiff(images, stored));

        FaxDetailWindow* w = open(0, stored);
        QCOMPARE(w->pageCount(), total);
        QVERIFY(w->heldPageImages() <= FaxPageCache::CAPACITY);
        // One reading of each page for its thumbnail, and the first page shown.
        QVERIFY2(w->pageDecodes() <= total + 1, qPrintable(QString::number(w->pageDecodes())));

        const int beforeWalk = w->pageDecodes();
        for (int row = 1; row < total; ++row) {
            w->nextPage();
            QVERIFY2(w->heldPageImages() <= FaxPageCache::CAPACITY, qPrintable(QString::number(row)));
            if (row % 13 == 0)
                QCOMPARE(shown(), onView(bands[row % 4]));
        }
        QCOMPARE(w->pageDecodes() - beforeWalk, total - 1);

        // A turned page of the file stays undecoded once it is left.
        w->leftRotate();
        QCOMPARE(shown(), onView(bands[(total - 1) % 4].transformed(QTransform().rotate(-90.0))));
        QVERIFY(w->heldPageImages() <= FaxPageCache::CAPACITY);

        // Walking back, all but the last few pages were let go and are read again.
        w->delete_page();
        QCOMPARE(w->pageCount(), total - 1);
        const int beforeReturn = w->pageDecodes();
        while (w->currentRow() > 0)
            w->previousPage();
        QCOMPARE(shown(), onView(bands[0]));
        QVERIFY(w->pageDecodes() - beforeReturn >= total - 1 - FaxPageCache::CAPACITY);
        QVERIFY(w->heldPageImages() <= FaxPageCache::CAPACITY);
    }

    void optionDefaultsWithoutAFile()
    {
        // The values a fax takes from the defaults: oneDeviceSendsDirectly.
        QScopedPointer<FaxDetailWindow> w(composer(0, QString()));
        const FaxOption& o = w->faxOption();
        QCOMPARE(o.retryTime, 1);
        QVERIFY(!o.disableHeader && !o.disabeDialPrefix);
        QVERIFY(!o.planEnabled && !o.stopEnabled && !o.windowEnabled);
        FaxOptionDialog* d = openOptions(w.data());
        QVERIFY(d);
        QCOMPARE((QList<int>{TestSupport::find<QComboBox>(d, "combo_priority")->currentIndex(),
                             TestSupport::find<QComboBox>(d, "combo_fax_quality")->currentIndex()}),
                 (QList<int>{2, 1}));
        QVERIFY(!TestSupport::find<QDateTimeEdit>(d, "date_start_at")->isEnabled());
        QVERIFY(TestSupport::find<QDateTimeEdit>(d, "date_cancel_fax_after")->dateTime() > QDateTime::currentDateTime());
    }

    void optionsRoundTripThroughTheDefaults()
    {
        QScopedPointer<FaxDetailWindow> w(composer(0, QString()));
        FaxOptionDialog* d = openOptions(w.data());
        const QDateTime plan = QDateTime(QDate(2031, 3, 4), QTime(10, 20, 30));
        TestSupport::find<QComboBox>(d, "combo_priority")->setCurrentIndex(3);
        TestSupport::find<QComboBox>(d, "combo_fax_quality")->setCurrentIndex(0);
        TestSupport::find<QSpinBox>(d, "spin_dialog_total")->setValue(7);
        TestSupport::find<QSpinBox>(d, "spin_retry_time")->setValue(9);
        TestSupport::find<QCheckBox>(d, "check_dis_header")->setChecked(true);
        TestSupport::find<QCheckBox>(d, "check_start_at")->setChecked(true);
        TestSupport::find<QDateTimeEdit>(d, "date_start_at")->setDateTime(plan);
        TestSupport::find<QCheckBox>(d, "check_enable_from")->setChecked(true);
        TestSupport::find<QTimeEdit>(d, "time_enable_from")->setTime(QTime(8, 0));
        TestSupport::find<QTimeEdit>(d, "time_enable_to")->setTime(QTime(18, 0));
        TestSupport::find<QCheckBox>(d, "check_save_default")->setChecked(true);
        finish(d, "button_ok");

        FaxOption o = w->faxOption();
        QCOMPARE((QVariantList{o.priority, o.quality, o.dialogTotal, o.retryTime, o.disableHeader, o.disabeDialPrefix,
                               o.planEnabled, o.stopEnabled, o.windowEnabled, o.dateTimePlan, o.dateTimeStop.isValid(),
                               o.timeFrom, o.timeTo}),
                 (QVariantList{4, 0, 7, 9, true, false, true, false, true, plan, false, QTime(8, 0), QTime(18, 0)}));

        // Six keys, and no times among them.
        auto settings = AppSettings::userSetting();
        settings->beginGroup("SendFaxOptions");
        QStringList stored;
        for (const QString& key : settings->childKeys())
            stored << key + '=' + settings->value(key).toString();
        settings->endGroup();
        QCOMPARE(stored, (QStringList{"DialRetryTime=9", "DialTotal=7", "DisableDialPrefix=false",
                                      "DisablePageHeader=true", "TaskPriority=3", "TaskQuality=0"}));

        // Reopened: the plan time and the window stay; cancel changes nothing.
        d = openOptions(w.data());
        QVERIFY(TestSupport::find<QCheckBox>(d, "check_start_at")->isChecked());
        QVERIFY(TestSupport::find<QCheckBox>(d, "check_enable_from")->isChecked());
        QCOMPARE(TestSupport::find<QTimeEdit>(d, "time_enable_to")->time(), QTime(18, 0));
        TestSupport::find<QComboBox>(d, "combo_priority")->setCurrentIndex(0);
        finish(d, "button_cancel");
        QCOMPARE(w->faxOption().priority, 4);
        QVERIFY(w->faxOption().planEnabled);

        // A new window starts from the stored defaults, with no schedule.
        QScopedPointer<FaxDetailWindow> next(composer(0, QString()));
        QCOMPARE(next->faxOption().priority, 4);
        QCOMPARE(next->faxOption().dialogTotal, 7);
        QVERIFY(!next->faxOption().planEnabled && !next->faxOption().windowEnabled);
    }

    void withoutSaveAsDefaultOnlyThisWindowChanges()
    {
        QScopedPointer<FaxDetailWindow> w(composer(0, QString()));
        FaxOptionDialog* d = openOptions(w.data());
        TestSupport::find<QComboBox>(d, "combo_priority")->setCurrentIndex(0);
        finish(d, "button_ok");
        QCOMPARE(w->faxOption().priority, 1); // FAX_PRIORITY_LOW
        QVERIFY(!AppSettings::userSetting()->contains("/SendFaxOptions/TaskPriority"));
        QScopedPointer<FaxDetailWindow> next(composer(0, QString()));
        QCOMPARE(next->faxOption().priority, 3);
    }

    void recipientLineFromChosenContacts()
    {
        QScopedPointer<FaxDetailWindow> w(composer(0, QStringLiteral("123;;456")));
        auto* line = TestSupport::find<QLineEdit>(w.data(), "edit_phone_2");
        QList<Contact> none;
        w->showSelectContact(none);
        QCOMPARE(line->text(), QStringLiteral("123;;456"));

        Contact a, b, c;
        a.represented = QStringLiteral("张三");
        a.businessFax = QStringLiteral("1");
        a.houseFax = QStringLiteral("9");
        b.represented = QStringLiteral("B");
        b.otherFax = QStringLiteral("3");
        c.represented = QStringLiteral("C");
        QList<Contact> chosen{a, b, c};
        w->showSelectContact(chosen);
        QCOMPARE(line->text(), QStringLiteral("123;456;张三<1>;B<3>;C<>;"));
    }

    void sendChecksComeInOrder()
    {
        QPointer<FaxDetailWindow> w = composer(0, QString());
        QSignalSpy handed(w.data(), &FaxDetailWindow::intent_to_sendbox);
        auto* send = TestSupport::find<QAction>(w, "action_send");
        auto* line = TestSupport::find<QLineEdit>(w, "edit_phone_2");
        const auto expectWarning = [](const QString& text) {
            const auto shown = MessageBoxUtil::takeShown();
            QCOMPARE(shown.size(), 1);
            QCOMPARE(shown[0].kind, QStringLiteral("warning"));
            QCOMPARE(shown[0].text, text);
        };

        send->trigger();
        expectWarning(QStringLiteral("请输入收件人信息"));
        line->setText(QStringLiteral(" ; ;;"));
        send->trigger();
        expectWarning(QStringLiteral("请输入收件人信息"));
        line->setText(QStringLiteral("123"));
        send->trigger();
        expectWarning(QStringLiteral("请添加传真文件"));
        bandPage(0).save(m_dir + "/one.png");
        w->open_picture_file({m_dir + "/one.png"});
        send->trigger();
        expectWarning(QStringLiteral("还没有添加设备"));
        QCOMPARE(handed.count(), 0);
        QVERIFY(w);
        delete w;
    }

    void oneDeviceSendsDirectly()
    {
        const QList<Device> devices = addDevices(1);
        QPointer<FaxDetailWindow> w = composer(2, QStringLiteral("111;Bob<222>"));
        TestSupport::find<QLineEdit>(w, "edit_remark_2")->setText(QStringLiteral("季度"));
        QSignalSpy handed(w.data(), &FaxDetailWindow::intent_to_sendbox);
        TestSupport::find<QAction>(w, "action_send")->trigger();
        QVERIFY(!w->findChild<SelectDeviceWidget*>());
        // Closed by the user while the job is assembled, it still hands the faxes on.
        w->close();
        QVERIFY(w && !w->isVisible());
        QTRY_COMPARE(handed.count(), 1);
        QTRY_VERIFY(w.isNull()); // closed once the list came back

        const QList<Fax> faxes = handed[0][0].value<QList<Fax>>();
        QCOMPARE(faxes.size(), 2);
        QCOMPARE((QStringList{faxes[0].cid, faxes[1].cid, faxes[1].receiver}), (QStringList{"111", "222", "Bob"}));
        for (const Fax& fax : faxes) {
            QVERIFY(fax.id > 0);
            QCOMPARE((QVariantList{fax.status, fax.remark, fax.pageTotal, fax.serverID, fax.dialTotal, fax.priority,
                                   fax.quality, fax.filepath}),
                     (QVariantList{int(FaxStatus::SEND_FAX_WAITTING), QStringLiteral("季度"), 2, devices[0].productID, 5, 3, 1,
                                   faxes[0].filepath}));
        }
        QVERIFY(QFileInfo::exists(faxes[0].filepath));
        QCOMPARE(DatabaseManager().querySendFaxes().size(), 2);
    }

    void chosenOptionsReachTheUploadHeader()
    {
        const Scenario scenario = SendingTestData::scenarioAt(QStringLiteral("127.0.0.90"));
        auto sim = SendingTestData::startSim(scenario);
        SendingTestData::storedDevice(scenario);

        QPointer<FaxDetailWindow> w = composer(2, QStringLiteral("Bob<0755-1234>"));
        FaxOptionDialog* d = openOptions(w.data());
        const QDateTime plan = QDateTime::currentDateTime().addDays(2);
        TestSupport::find<QComboBox>(d, "combo_priority")->setCurrentIndex(3);
        TestSupport::find<QComboBox>(d, "combo_fax_quality")->setCurrentIndex(0);
        TestSupport::find<QSpinBox>(d, "spin_dialog_total")->setValue(4);
        TestSupport::find<QSpinBox>(d, "spin_retry_time")->setValue(6);
        TestSupport::find<QCheckBox>(d, "check_dis_dial_prefix")->setChecked(true);
        TestSupport::find<QCheckBox>(d, "check_start_at")->setChecked(true);
        TestSupport::find<QDateTimeEdit>(d, "date_start_at")->setDateTime(plan);
        finish(d, "button_ok");

        // The outbox's part: each handed-on fax is uploaded on a controller of its own.
        SendFaxController outbox;
        QSignalSpy accepted(&outbox, &SendFaxController::saveTaskID);
        connect(w.data(), &FaxDetailWindow::intent_to_sendbox, &outbox, [&outbox](QList<Fax> faxes) {
            for (Fax& fax : faxes)
                emit outbox.sendFax(fax);
        });
        TestSupport::find<QAction>(w, "action_send")->trigger();
        QTRY_COMPARE_WITH_TIMEOUT(accepted.count(), 1, 20000);

        const QList<SimUpload> uploads = sim->device()->uploads();
        QCOMPARE(uploads.size(), 1);
        const SimRecord::UploadHeader& h = uploads[0].fields;
        QVERIFY2(h.problems.isEmpty(), qPrintable(h.problems.join("; ")));
        QCOMPARE((QVariantList{h.number, h.receiver, h.priority, h.quality, h.dialTotal, h.retryTime, h.pageTotal,
                               h.disableHeader, h.disableDialPrefix, h.planTime.toUtc().toSecsSinceEpoch(),
                               h.stopTime.isValidDate(), uploads[0].tiffPages}),
                 (QVariantList{"0755-1234", "Bob", 4, 0, 4, 6, 2, 0, 1, plan.toUTC().toSecsSinceEpoch(), false, 2}));
    }

    void twoOfThreeDevicesShareTheRecipients()
    {
        const QList<Device> devices = addDevices(3);
        QPointer<FaxDetailWindow> w = composer(1, QStringLiteral("a;b;c"));
        QSignalSpy handed(w.data(), &FaxDetailWindow::intent_to_sendbox);
        TestSupport::find<QAction>(w, "action_send")->trigger();
        auto* chooser = w->findChild<SelectDeviceWidget*>();
        QVERIFY(chooser);
        QVERIFY(chooser->isVisible());
        auto* list = TestSupport::find<QListView>(chooser, "listView");
        QCOMPARE(list->model()->rowCount(), 3);
        auto* send = TestSupport::find<QPushButton>(chooser, "button_send");

        QTest::mouseClick(send, Qt::LeftButton); // nothing chosen: the dialog stays
        QVERIFY(chooser->isVisible());
        QCOMPARE(handed.count(), 0);

        list->selectionModel()->select(list->model()->index(2, 0), QItemSelectionModel::Select);
        list->selectionModel()->select(list->model()->index(0, 0), QItemSelectionModel::Select);
        QTest::mouseClick(send, Qt::LeftButton);
        QTRY_COMPARE(handed.count(), 1);
        QTRY_VERIFY(w.isNull());

        // The first chosen device takes a and b, the second c; the third gets no file.
        const QList<Fax> faxes = handed[0][0].value<QList<Fax>>();
        QCOMPARE(faxes.size(), 3);
        QCOMPARE(faxes[0].cid + faxes[1].cid + faxes[2].cid, QStringLiteral("abc"));
        QCOMPARE((QStringList{faxes[0].serverID, faxes[1].serverID, faxes[2].serverID}),
                 (QStringList{devices[2].productID, devices[2].productID, devices[0].productID}));
        QVERIFY(faxes[0].filepath != faxes[2].filepath);
        QVERIFY(QFileInfo::exists(faxes[0].filepath) && QFileInfo::exists(faxes[2].filepath));
        const QString unused = TestSupport::documentsPath() + gUser.nickname + "/" + devices[1].productID + "/FaxFile";
        QVERIFY(QDir(unused).entryList(QDir::Files).isEmpty());
    }

    void coverBoxesLieOnBlankTemplate()
    {
        const QList<QRect> rects = coverRects();
        QCOMPARE(rects.size(), 19);
        const QImage blank(QStringLiteral(":/icon/icons/ic_faxcover_template.png"));
        QCOMPARE(blank.size(), QSize(1728, 2200));
        // Where the form writes, the template is blank (a text field's line runs below its text).
        for (int i = 0; i < 18; ++i) {
            const QRect writing(rects[i].topLeft(), QSize(rects[i].width(), qMin(rects[i].height(), 44)));
            QVERIFY2(blackFraction(blank, writing) == 0.0, qPrintable(QString::number(i)));
        }
    }

    void coverDrawsIntoTheTemplateBoxes()
    {
        auto* w = new FaxDetailWindow([] { Fax f; f.editorMode = 1; return f; }());
        QScopedPointer<FaxDetailWindow> owner(w);
        bandPage(0).save(m_dir + "/a.png");
        bandPage(1).save(m_dir + "/b.png");
        w->open_picture_file({m_dir + "/a.png", m_dir + "/b.png"});
        const QString line = QStringLiteral("Bob<222>;333;");
        TestSupport::find<QLineEdit>(w, "edit_phone_2")->setText(line);

        applyCover(w, [](FaxPageWidget* form) {
            TestSupport::find<QCheckBox>(form, "check_urgent")->setChecked(true);
            TestSupport::find<QCheckBox>(form, "check_please_recycle")->setChecked(true);
            TestSupport::find<QLineEdit>(form, "edit_recv_subject")->setText(QStringLiteral("季度报告"));
            TestSupport::find<QLineEdit>(form, "edit_send_company")->setText(QStringLiteral("ACME"));
        });
        QList<FaxPage> pages = w->pages();
        QCOMPARE(pages.size(), 3);
        QCOMPARE(pages[0].pageKind, 1);
        const QImage first = pages[0].image;

        // Empty automatic fields: today's date, the page count with the cover, the recipient line.
        FaxCover cover;
        cover.subject = QStringLiteral("季度报告");
        cover.company = QStringLiteral("ACME");
        cover.urgent = cover.pleaseRecycle = true;
        QCOMPARE(first, FaxPageWidget::drawCover(cover, TimeUtil::getDate(), "3", QString(), line));

        // Every drawn pixel lies in a box; the filled boxes got ink, the empty ones none. A text
        // field shows at least one whole line; a check mark fills the printed box round its square.
        const QImage blank =
            QImage(QStringLiteral(":/icon/icons/ic_faxcover_template.png")).convertToFormat(QImage::Format_RGBA8888);
        QList<QRect> rects = coverRects();
        for (int i = 0; i < rects.size(); ++i) {
            if (i <= 11)
                rects[i].setHeight(qMax(rects[i].height(), 48));
            else if (i <= 16)
                rects[i].adjust(-6, -6, 6, 6);
        }
        QVector<int> inkPerBox(rects.size());
        for (int y = 0; y < blank.height(); ++y) {
            for (int x = 0; x < blank.width(); ++x) {
                if (first.pixel(x, y) == blank.pixel(x, y))
                    continue;
                int box = -1;
                for (int i = 0; i < rects.size() && box < 0; ++i)
                    if (rects[i].contains(x, y))
                        box = i;
                QVERIFY2(box >= 0, qPrintable(QStringLiteral("ink at %1,%2").arg(x).arg(y)));
                ++inkPerBox[box];
            }
        }
        for (int i : {0, 1, 3, 5, 7, 12, 16})
            QVERIFY2(inkPerBox[i] > 0, qPrintable(QString::number(i)));
        for (int i : {2, 4, 6, 8, 9, 10, 11, 13, 14, 15, 17, 18})
            QVERIFY2(inkPerBox[i] == 0, qPrintable(QString::number(i)));

        // A second cover replaces the first; the form comes back filled, the count does not grow.
        applyCover(w, [](FaxPageWidget* form) {
            QCOMPARE(TestSupport::find<QLineEdit>(form, "edit_recv_subject")->text(), QStringLiteral("季度报告"));
            QVERIFY(TestSupport::find<QCheckBox>(form, "check_urgent")->isChecked());
            QVERIFY(TestSupport::find<QLineEdit>(form, "edit_date")->text().isEmpty());
            TestSupport::find<QCheckBox>(form, "check_urgent")->setChecked(false);
        });
        pages = w->pages();
        QCOMPARE(pages.size(), 3);
        cover.urgent = false;
        QCOMPARE(pages[0].image, FaxPageWidget::drawCover(cover, TimeUtil::getDate(), "3", QString(), line));
        QVERIFY(pages[0].image != first);

        // A typed count is drawn as typed.
        applyCover(w, [](FaxPageWidget* form) {
            TestSupport::find<QLineEdit>(form, "edit_pages")->setText(QStringLiteral("7"));
        });
        QCOMPARE(w->pages()[0].image, FaxPageWidget::drawCover(cover, TimeUtil::getDate(), "7", QString(), line));
    }

    void signatureLibraryImportAndDelete()
    {
        // Dark red and mid gray fall to black at the 127 threshold, pale yellow to white.
        QImage colour(60, 30, QImage::Format_RGB32);
        colour.fill(QColor(250, 250, 100));
        QPainter(&colour).fillRect(QRect(0, 0, 20, 30), QColor(100, 0, 0));
        QPainter(&colour).fillRect(QRect(20, 0, 20, 30), QColor(128, 128, 128));
        QVERIFY(colour.save(m_dir + "/sig.png"));
        QImage other(10, 10, QImage::Format_RGB32);
        other.fill(Qt::black);
        QVERIFY(other.save(m_dir + "/other.png"));

        SignatureLibDialog dialog;
        QCOMPARE(storedCount(), -1); // no file yet
        DialogUtil::queueAnswer(m_dir + "/sig.png");
        QTest::mouseClick(TestSupport::find<QPushButton>(&dialog, "button_from_file"), Qt::LeftButton);
        DialogUtil::queueAnswer(m_dir + "/other.png");
        QTest::mouseClick(TestSupport::find<QPushButton>(&dialog, "button_from_file"), Qt::LeftButton);
        DialogUtil::queueCancel();
        QTest::mouseClick(TestSupport::find<QPushButton>(&dialog, "button_from_file"), Qt::LeftButton);

        QCOMPARE(storedCount(), 2);
        QList<QPixmap> stored = SignatureLibDialog::readSignatures(SignatureLibDialog::signatureFilePath());
        QCOMPARE(stored.size(), 2);
        const QImage bw = stored[0].toImage();
        QCOMPARE(bw.size(), QSize(60, 30));
        QCOMPARE((QList<QRgb>{bw.pixel(5, 5), bw.pixel(25, 5), bw.pixel(50, 5)}),
                 (QList<QRgb>{0xFF000000u, 0xFF000000u, 0xFFFFFFFFu}));

        auto* list = TestSupport::find<QListView>(&dialog, "listView");
        auto* remove = TestSupport::find<QPushButton>(&dialog, "button_delete_sign");
        list->setCurrentIndex(list->model()->index(0, 0));
        QTest::mouseClick(remove, Qt::LeftButton);
        QCOMPARE(storedCount(), 1);
        QCOMPARE(SignatureLibDialog::readSignatures(SignatureLibDialog::signatureFilePath())[0].size(), QSize(10, 10));
        list->setCurrentIndex(list->model()->index(0, 0));
        QTest::mouseClick(remove, Qt::LeftButton);
        QCOMPARE(storedCount(), 0);
        QCOMPARE(list->model()->rowCount(), 0);

        // A picture that does not load is refused with a message.
        DialogUtil::queueAnswer(m_dir + "/missing.png");
        QTest::mouseClick(TestSupport::find<QPushButton>(&dialog, "button_from_file"), Qt::LeftButton);
        QCOMPARE(storedCount(), 0);
        QCOMPARE(MessageBoxUtil::takeShown().size(), 1);
    }

    void damagedLibraryKeepsWhatReads()
    {
        QPixmap a(30, 20), b(40, 40);
        a.fill(Qt::black);
        b.fill(Qt::white);
        const QString path = SignatureLibDialog::signatureFilePath();
        QVERIFY(SignatureLibDialog::writeSignatures(path, {a, b}));
        QFile file(path);
        QVERIFY(file.open(QIODevice::ReadWrite));
        QVERIFY(file.resize(file.size() - 10));
        file.close();
        const QList<QPixmap> read = SignatureLibDialog::readSignatures(path);
        QCOMPARE(read.size(), 1);
        QCOMPARE(read[0].size(), QSize(30, 20));
    }

    void doubleClickChoosesAndCloses()
    {
        QPixmap stamp(50, 30);
        stamp.fill(Qt::black);
        QVERIFY(SignatureLibDialog::writeSignatures(SignatureLibDialog::signatureFilePath(), {stamp}));
        SignatureLibDialog dialog;
        dialog.show();
        QVERIFY(QTest::qWaitForWindowExposed(&dialog));
        QSignalSpy chosen(&dialog, &SignatureLibDialog::selectSign);
        auto* list = TestSupport::find<QListView>(&dialog, "listView");
        const QPoint at = list->visualRect(list->model()->index(0, 0)).center();
        // A real double click: a click, then the double-click event.
        QTest::mouseClick(list->viewport(), Qt::LeftButton, {}, at);
        QTest::mouseDClick(list->viewport(), Qt::LeftButton, {}, at);
        QCOMPARE(chosen.count(), 1);
        QCOMPARE(chosen[0][0].value<QPixmap>().size(), QSize(50, 30));
        QVERIFY(!dialog.isVisible());
    }

    // The PDF pages rendered on several workers.
    // Pages rendered on several workers come out in order and equal to the sequential loop's.
    void pagesEqualSequentialLoop()
    {
        const QString path = textPdf(5);
        PdfPageLoader loader;
        QVERIFY(loader.start(path, 96, 3));
        QCOMPARE(loader.pageCount(), 5);
        for (int i = 0; i < 5; ++i) {
            QVERIFY(loader.waitFor(i, 20000));
            const QImage page = loader.take(i);
            QCOMPARE(page.size(), QSize(1728, 2200));
            QVERIFY2(page == sequentialPage(path, i, 96), qPrintable(QStringLiteral("page %1").arg(i)));
        }
        QVERIFY(loader.take(5).isNull()); // past the end
    }

    // A file that does not open starts nothing; stopping with pages in flight neither hangs
    // nor leaves a page to take.
    void failureAndStop()
    {
        PdfPageLoader loader;
        QVERIFY(!loader.start(path(QStringLiteral("missing.pdf")), 96));
        QCOMPARE(loader.pageCount(), 0);
        const QString locked = path(QStringLiteral("locked.pdf"));
        writeLockedPdf(locked);
        QVERIFY(!loader.start(locked, 96));

        QVERIFY(loader.start(textPdf(8), 96, 2));
        QVERIFY(!loader.take(0).isNull());
        loader.stop();
        QVERIFY(loader.take(1).isNull());
    }
};

namespace {

// The file that ran fuzz/fuzz_pdf out of memory (kept in fuzz/regressions/pdf), with a page
// of `mediaBox`: 442 bytes that asked for a 2.5 GB image at 96 dpi.
QByteArray onePagePdf(const QByteArray& mediaBox)
{
    const QByteArray page = "<< /Type /Page /Parent 2 0 R /MediaBox [" + mediaBox + "] /Contents 4 0 R >>";
    QByteArray pdf = "%PDF-1.4\n1 0 obj\n<< /Type /Catalog /Pages 2 0 R >>\nendobj\n"
                     "2 0 obj\n<< /Type /Pages /Kids [3 0 R] /Count 1 >>\nendobj\n3 0 obj\n"
        + page
        + "\nendobj\n4 0 obj\n<< /Length 23 >>\nstream\n0.5 g 20 20 100 60 re f\nendstream\nendobj\n"
          "trailer\n<< /Size 5 /Root 1 0 R >>\n%%EOF\n"; // no xref: the reader rebuilds it
    return pdf;
}

} // namespace

class TestPdfFuzzRegressions : public QObject
{
    Q_OBJECT

    QTemporaryDir m_dir;

private slots:
    void pageSizeBoundsTheImage_data()
    {
        QTest::addColumn<QByteArray>("mediaBox");
        QTest::addColumn<QSize>("size"); // at 96 dpi; empty: only bounded
        QTest::newRow("a 200 x 278 inch page") << QByteArray("0 0 14400 20000") << QSize();
        QTest::newRow("a square poster") << QByteArray("0 0 16000 16000") << QSize();
        QTest::newRow("A4, as it was") << QByteArray("0 0 595 842") << QSize(793, 1123);
    }

    void pageSizeBoundsTheImage()
    {
        QFETCH(QByteArray, mediaBox);
        QFETCH(QSize, size);
        const QString path = m_dir.filePath(QStringLiteral("page.pdf"));
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(onePagePdf(mediaBox));
        file.close();

        PdfPageReader reader;
        QVERIFY(reader.open(path));
        const QImage image = reader.renderPage(0, 96);
        QVERIFY(!image.isNull());
        // At most the bound, give or take the row and column that rounding up adds.
        QVERIFY(double(image.width()) * image.height() <= PdfPageReader::MAX_PIXELS + image.width() + image.height());
        if (size.isValid()) {
            QCOMPARE(image.size(), size);
        } else {
            // Smaller, not distorted, and still far more than a fax page needs.
            const QList<QByteArray> box = mediaBox.split(' ');
            QVERIFY(qAbs(double(image.height()) / image.width() - box[3].toDouble() / box[2].toDouble()) < 0.01);
            QVERIFY(image.width() > 1728 * 2);
        }
    }
};

// The thumbnail highlight and the page shown are one current page, whatever moves it.
class TestCurrentPage : public QObject
{
    Q_OBJECT

private:
    QString m_dir;

    FaxDetailWindow* openBands(int n)
    {
        Fax fax;
        fax.editorMode = FaxDetailWindow::MODE_REPLY;
        auto* w = new FaxDetailWindow(fax);
        w->show();
        QStringList files;
        for (int i = 0; i < n; ++i) {
            files << m_dir + QStringLiteral("/band%1.png").arg(i);
            bandPage(i).save(files.last());
        }
        w->open_picture_file(files);
        return w;
    }
    // Which of the pages the window shows: the page is drawn fitted, so each page is scaled
    // to the shown size and the closest one wins.
    static int shownPage(FaxDetailWindow* w, const QList<FaxPage>& pages)
    {
        const QImage shown = TestSupport::find<QAdvancedLabel>(w, "label_2")
                                 ->pixmap(Qt::ReturnByValue)
                                 .toImage()
                                 .convertToFormat(QImage::Format_Grayscale8);
        int best = -1;
        qint64 bestDifference = std::numeric_limits<qint64>::max();
        for (int i = 0; i < pages.size(); ++i) {
            const QImage page = pages[i]
                                    .image.scaled(shown.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation)
                                    .convertToFormat(QImage::Format_Grayscale8);
            qint64 difference = 0;
            for (int y = 0; y < shown.height(); ++y)
                for (int x = 0; x < shown.width(); ++x)
                    difference += qAbs(int(shown.constScanLine(y)[x]) - int(page.constScanLine(y)[x]));
            if (difference < bestDifference) {
                bestDifference = difference;
                best = i;
            }
        }
        return best;
    }

private slots:
    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        m_dir = TestSupport::documentsPath() + "files";
        QDir().mkpath(m_dir);
    }

    void keysMoveTheShownPage_data()
    {
        QTest::addColumn<QList<int>>("keys");
        QTest::addColumn<int>("row");
        QTest::newRow("down") << QList<int>{Qt::Key_Down} << 1;
        QTest::newRow("end") << QList<int>{Qt::Key_End} << 3;
        QTest::newRow("end, up") << QList<int>{Qt::Key_End, Qt::Key_Up} << 2;
        QTest::newRow("end, home, down") << QList<int>{Qt::Key_End, Qt::Key_Home, Qt::Key_Down} << 1;
    }
    void keysMoveTheShownPage()
    {
        QFETCH(QList<int>, keys);
        QFETCH(int, row);
        QScopedPointer<FaxDetailWindow> w(openBands(4));
        const QList<FaxPage> before = w->pages();
        auto* list = TestSupport::find<QListView>(w.data(), "listView");
        for (int key : keys)
            QTest::keyClick(list, Qt::Key(key));

        QCOMPARE(list->currentIndex().row(), row);
        QCOMPARE(w->currentRow(), row);
        QCOMPARE(shownPage(w.data(), before), row);
        QCOMPARE(TestSupport::find<QLineEdit>(w.data(), "edit_page")->text(), QStringLiteral("%1 / 4").arg(row + 1));

        // Moving and deleting act on that same page.
        TestSupport::find<QAction>(w.data(), row == 0 ? "action_page_down" : "action_page_up")->trigger();
        const int moved = row == 0 ? 1 : row - 1;
        QCOMPARE(w->pages()[moved].image, before[row].image);
        QCOMPARE(list->currentIndex().row(), moved);
        TestSupport::find<QAction>(w.data(), "action_delete_page")->trigger();
        QCOMPARE(w->pageCount(), 3);
        for (const FaxPage& page : w->pages())
            QVERIFY(page.image != before[row].image);
        QCOMPARE(w->currentRow(), list->currentIndex().row());
        QCOMPARE(shownPage(w.data(), w->pages()), w->currentRow());
    }

    // The lower half of a split page is a page of the document: counted on the cover, and kept
    // when it is moved to the top and a cover is added.
    void splitHalfIsNotACover()
    {
        QScopedPointer<FaxDetailWindow> w(openBands(2));
        auto* label = TestSupport::find<QAdvancedLabel>(w.data(), "label_2");
        w->splitPage();
        QTest::mouseClick(label, Qt::LeftButton, {}, QPoint(10, label->pixmap(Qt::ReturnByValue).height() / 2));
        QCOMPARE(w->pageCount(), 3);
        const QImage lower = w->pages()[1].image;
        auto* list = TestSupport::find<QListView>(w.data(), "listView");
        QTest::keyClick(list, Qt::Key_Down);
        TestSupport::find<QAction>(w.data(), "action_page_up")->trigger();
        QCOMPARE(w->pages()[0].image, lower);

        TestSupport::find<QAction>(w.data(), "action_add_faxpage")->trigger();
        QPointer<FaxPageWidget> form = w->findChild<FaxPageWidget*>();
        QVERIFY(form);
        QTest::mouseClick(TestSupport::find<QPushButton>(form, "button_apply"), Qt::LeftButton);
        QTRY_VERIFY(form.isNull());
        const QList<FaxPage> pages = w->pages();
        QCOMPARE(pages.size(), 4);
        QCOMPARE(pages[1].image, lower);
        QCOMPARE(pages[0].image, FaxPageWidget::drawCover(FaxCover(), TimeUtil::getDate(), "4", QString(), QString()));
    }
};

VELKOR_TESTS_MAIN(TestFaxDetailWindow, TestPdfFuzzRegressions, TestCurrentPage)
#include "TestEditor.moc"

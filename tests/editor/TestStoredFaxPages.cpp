#include "EditorTestData.h"
#include "TestSupport.h"

#include "DatabaseManager.h"
#include "FaxDetailWindow.h"
#include "FaxPageCache.h"
#include "ImageUtil.h"
#include "QAdvancedLabel.h"
#include "TiffUtil.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QPointer>
#include <QSignalSpy>
#include <QTransform>

using namespace EditorTestData;

// Pages of fax files are read from their file when needed: what the editor shows and sends
// must be what it gave when it held every page, while it keeps only a few decoded.
class TestStoredFaxPages : public QObject
{
    Q_OBJECT

private:
    QString m_dir;
    QPointer<FaxDetailWindow> m_window;

    FaxDetailWindow* openStored(int mode, const QString& filepath)
    {
        Fax fax;
        fax.editorMode = mode;
        fax.filepath = filepath;
        m_window = new FaxDetailWindow(fax);
        m_window->show();
        return m_window;
    }
    QString path(const QString& name) const { return m_dir + "/" + name; }
    QImage shown()
    {
        return TestSupport::find<QAdvancedLabel>(m_window, "label_2")
            ->pixmap(Qt::ReturnByValue)
            .toImage()
            .convertToFormat(QImage::Format_RGBA8888);
    }
    static QImage rgba(const QImage& image) { return image.convertToFormat(QImage::Format_RGBA8888); }
    static QByteArray bytesOf(const QString& file)
    {
        QFile f(file);
        return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
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

        FaxDetailWindow* w = openStored(0, stored);
        QCOMPARE(w->pageCount(), 4);
        QCOMPARE(shown(), rgba(original[0]));
        w->forward();
        w->nextPage();
        w->rightRotate();
        QCOMPARE(shown(), rgba(original[1].transformed(QTransform().rotate(90.0))));
        w->nextPage();
        w->delete_page(); // the third page; the fourth becomes current
        QCOMPARE(shown(), rgba(original[3]));
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

        FaxDetailWindow* w = openStored(0, stored);
        QCOMPARE(w->pageCount(), total);
        QVERIFY(w->heldPageImages() <= FaxPageCache::CAPACITY);
        // One reading of each page for its thumbnail, and the first page shown.
        QVERIFY2(w->pageDecodes() <= total + 1, qPrintable(QString::number(w->pageDecodes())));

        const int beforeWalk = w->pageDecodes();
        for (int row = 1; row < total; ++row) {
            w->nextPage();
            QVERIFY2(w->heldPageImages() <= FaxPageCache::CAPACITY, qPrintable(QString::number(row)));
            if (row % 13 == 0)
                QCOMPARE(shown(), rgba(bands[row % 4]));
        }
        QCOMPARE(w->pageDecodes() - beforeWalk, total - 1);

        // A turned page of the file stays undecoded once it is left.
        w->leftRotate();
        QCOMPARE(shown(), rgba(bands[(total - 1) % 4].transformed(QTransform().rotate(-90.0))));
        QVERIFY(w->heldPageImages() <= FaxPageCache::CAPACITY);

        // Walking back, all but the last few pages were let go and are read again.
        w->delete_page();
        QCOMPARE(w->pageCount(), total - 1);
        const int beforeReturn = w->pageDecodes();
        while (w->currentRow() > 0)
            w->previousPage();
        QCOMPARE(shown(), rgba(bands[0]));
        QVERIFY(w->pageDecodes() - beforeReturn >= total - 1 - FaxPageCache::CAPACITY);
        QVERIFY(w->heldPageImages() <= FaxPageCache::CAPACITY);
    }
};

VELKOR_TEST_MAIN(TestStoredFaxPages)
#include "TestStoredFaxPages.moc"

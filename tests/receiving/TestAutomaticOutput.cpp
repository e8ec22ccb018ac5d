// Poppler's headers still use QLinkedList, which the project's deprecation floor hides.
#undef QT_DISABLE_DEPRECATED_BEFORE
#define QT_DISABLE_DEPRECATED_BEFORE 0x050E00

#include "AppSettings.h"
#include "AutoOutputDialog.h"
#include "DatabaseManager.h"
#include "DialogUtil.h"
#include "FaxExporter.h"
#include "FaxPdfWriter.h"
#include "MGlobal.h"
#include "TestSupport.h"
#include "TiffUtil.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QRegularExpression>

#include <poppler-qt5.h>

#include <memory>

namespace {

// A fax page with a black block whose place tells the pages apart.
QImage page(int index)
{
    QImage image(1728, 2200, QImage::Format_RGBA8888);
    image.fill(Qt::white);
    QPainter painter(&image);
    painter.fillRect(100 + 300 * index, 200, 400, 400, Qt::black);
    return image;
}

QString writeFaxFile(const QString& path, int pages)
{
    QList<QImage> images;
    for (int i = 0; i < pages; ++i)
        images << page(i);
    QString target = path;
    TiffUtil::writeImgToTiff(images, target);
    return target;
}

// Share of dark pixels in a rectangle given in parts of the page.
double darkness(const QImage& image, double x, double y, double w, double h)
{
    const QRect r(int(x * image.width()), int(y * image.height()), int(w * image.width()), int(h * image.height()));
    int dark = 0;
    for (int row = r.top(); row <= r.bottom(); ++row)
        for (int col = r.left(); col <= r.right(); ++col)
            dark += qGray(image.pixel(col, row)) < 128 ? 1 : 0;
    return double(dark) / (r.width() * r.height());
}

} // namespace

class TestAutomaticOutput : public QObject
{
    Q_OBJECT

    QString m_out;
    Fax m_fax;

    FaxExporter::Options options(int type, bool subfolder = false, int kind = FaxExporter::ByUser)
    {
        FaxExporter::Options o;
        o.enabled = true;
        o.subfolder = subfolder;
        o.type = type;
        o.path = m_out;
        o.subfolderKind = kind;
        return o;
    }

private slots:
    void init()
    {
        const QString home = TestSupport::freshHome();
        TestSupport::loginTestUser(QStringLiteral("tester"));
        m_out = home + QStringLiteral("/export");
        QDir().mkpath(TestSupport::documentsPath() + QStringLiteral("faxes"));
        m_fax = Fax();
        m_fax.filepath = writeFaxFile(TestSupport::documentsPath() + QStringLiteral("faxes/2024-03-01 09:00:00.tif"), 2);
        m_fax.time = QStringLiteral("2024-03-01 09:00:00");
        m_fax.cid = QStringLiteral("5551234");
    }

    void subfolderForms_data()
    {
        QTest::addColumn<bool>("subfolder");
        QTest::addColumn<int>("kind");
        QTest::addColumn<QString>("cid");
        QTest::addColumn<QString>("expected");
        QTest::newRow("none") << false << 2 << "5551234" << "";
        QTest::newRow("user") << true << 0 << "5551234" << "/tester";
        QTest::newRow("user, number") << true << 1 << "5551234" << "/tester/5551234";
        QTest::newRow("user, contact") << true << 2 << "5551234" << "/tester/Ann's office";
        QTest::newRow("user, number without contact") << true << 2 << "999" << "/tester/999";
        QTest::newRow("no number") << true << 1 << "" << "/tester";
        QTest::newRow("number that is a path") << true << 1 << "../x/y" << "/tester/..-x-y";
    }

    void subfolderForms()
    {
        QFETCH(bool, subfolder);
        QFETCH(int, kind);
        QFETCH(QString, cid);
        QFETCH(QString, expected);
        Contact contact;
        contact.represented = QStringLiteral("Ann's office");
        contact.businessFax = QStringLiteral("5551234");
        QVERIFY(DatabaseManager().addContact(contact));

        m_fax.cid = cid;
        const FaxExporter::Options o = options(FaxExporter::TypePdf, subfolder, kind);
        QCOMPARE(FaxExporter::targetFolder(m_fax, o), m_out + expected);

        const QString written = FaxExporter::exportFax(m_fax, o);
        QCOMPARE(written, m_out + expected + QStringLiteral("/2024-03-01 09-00-00.pdf"));
        QVERIFY(QFileInfo::exists(written));
    }

    void pdfHasEveryPageOnA4()
    {
        const QString written = FaxExporter::exportFax(m_fax, options(FaxExporter::TypePdf));
        QVERIFY(!written.isEmpty());
        std::unique_ptr<Poppler::Document> doc(Poppler::Document::load(written));
        QVERIFY(doc && !doc->isLocked());
        QCOMPARE(doc->numPages(), 2);
        for (int i = 0; i < 2; ++i) {
            std::unique_ptr<Poppler::Page> pdfPage(doc->page(i));
            const QSizeF size = pdfPage->pageSizeF(); // points
            QVERIFY(qAbs(size.width() - 595.0) < 2 && qAbs(size.height() - 842.0) < 2);
            const QImage image = pdfPage->renderToImage(72, 72);
            // The page fills the width from the top left: its block sits where it was drawn.
            const double scale = 1.0 / 1728;
            const double blockX = (100 + 300 * i + 200) * scale;
            const double blockY = (400.0 * 595 / 1728) / 842; // block centre at fax row 400, in points
            QVERIFY2(darkness(image, blockX - 0.02, blockY - 0.01, 0.04, 0.02) > 0.9, "block missing");
            QVERIFY(darkness(image, 0.9, 0.9, 0.05, 0.05) < 0.01);
        }
        QCOMPARE(QDir(m_out).entryList(QDir::Files), QStringList{QStringLiteral("2024-03-01 09-00-00.pdf")});
    }

    void tiffIsACopyAndNamesDoNotCollide()
    {
        const QString first = FaxExporter::exportFax(m_fax, options(FaxExporter::TypeTiff));
        const QString second = FaxExporter::exportFax(m_fax, options(FaxExporter::TypeTiff));
        QCOMPARE(first, m_out + QStringLiteral("/2024-03-01 09-00-00.tif"));
        QCOMPARE(second, m_out + QStringLiteral("/2024-03-01 09-00-00 (2).tif"));
        QFile original(m_fax.filepath), copy(first);
        QVERIFY(original.open(QIODevice::ReadOnly) && copy.open(QIODevice::ReadOnly));
        QCOMPARE(copy.readAll(), original.readAll());
        QCOMPARE(TiffUtil::getTiffPage(second), 2);
    }

    void failuresAreLoggedAndLeaveNothing()
    {
        // A folder that cannot be made: a file stands in the way.
        QDir().mkpath(m_out);
        QFile blocker(m_out + QStringLiteral("/file"));
        QVERIFY(blocker.open(QIODevice::WriteOnly));
        blocker.close();
        FaxExporter::Options o = options(FaxExporter::TypePdf);
        o.path = blocker.fileName() + QStringLiteral("/sub");
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("automatic output: cannot write")));
        QVERIFY(FaxExporter::exportFax(m_fax, o).isEmpty());

        // A fax file that is not there: no PDF, no TIFF, nothing half-written.
        m_fax.filepath = TestSupport::documentsPath() + QStringLiteral("missing.tif");
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("automatic output: cannot read")));
        QVERIFY(FaxExporter::exportFax(m_fax, options(FaxExporter::TypePdf)).isEmpty());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("automatic output: cannot read")));
        QVERIFY(FaxExporter::exportFax(m_fax, options(FaxExporter::TypeTiff)).isEmpty());
        QCOMPARE(QDir(m_out).entryList(QDir::Files), QStringList{QStringLiteral("file")});

        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("cannot write")));
        QVERIFY(!FaxPdfWriter::writeFile({page(0)}, blocker.fileName() + QStringLiteral("/x.pdf")));
    }

    void settingsDecideWhatIsWritten()
    {
        // Received faxes: TestReceiveFaxThread, from retrieval on.
        auto settings = AppSettings::userSetting();
        settings->setValue(AutoExportKeys::SEND_AUTO_SAVE_AS_PATH, m_out);
        settings->setValue(AutoExportKeys::SEND_AUTO_SAVE_AS_TYPE, 1);
        settings->sync();
        QVERIFY(!FaxExporter::exportSentFax(m_fax)); // switched off
        settings->setValue(AutoExportKeys::SEND_AUTO_SAVE_AS, true);
        settings->sync();
        QVERIFY(FaxExporter::exportSentFax(m_fax));
        QCOMPARE(QDir(m_out).entryList(QDir::Files), QStringList { "2024-03-01 09-00-00.tif" });
    }

    void dialogKeysRoundTrip()
    {
        {
            auto settings = AppSettings::userSetting();
            settings->setValue(AutoExportKeys::RECV_AUTO_SAVE_AS, true);
            settings->setValue(AutoExportKeys::RECV_SAVE_SUBFOLDER, true);
            settings->setValue(AutoExportKeys::RECV_AUTO_SAVE_AS_TYPE, 1);
            settings->setValue(AutoExportKeys::RECV_AUTO_SAVE_AS_PATH, QStringLiteral("/srv/in"));
            settings->setValue(AutoExportKeys::RECV_AUTO_SAVE_AS_SUBFOLDER, 2);
            settings->setValue(AutoExportKeys::SEND_AUTO_SAVE_AS, false);
            settings->setValue(AutoExportKeys::SEND_AUTO_SAVE_AS_PATH, QStringLiteral("/srv/out"));
        }
        AutoOutputDialog dialog;
        const auto box = [&](const char* name) { return TestSupport::find<QCheckBox>(&dialog, name); };
        const auto edit = [&](const char* name) { return TestSupport::find<QLineEdit>(&dialog, name); };
        const auto combo = [&](const char* name) { return TestSupport::find<QComboBox>(&dialog, name); };
        auto* sendBrowse = TestSupport::find<QPushButton>(&dialog, QStringLiteral("button_send_ooutput_path"));
        QWidget* const sendParts[] = { edit("edit_send_output_path"), sendBrowse, combo("combo_send_subfolder"),
            box("check_send_subfolder") };
        const auto sendEnabled = [&] {
            int n = 0;
            for (QWidget* w : sendParts)
                n += w->isEnabled();
            return n;
        };
        QCOMPARE((QVariantList { box("check_receive_output")->isChecked(), box("check_receive_subfolder")->isChecked(),
                     combo("combo_receive_output_type")->currentIndex(), edit("edit_receive_output_path")->text(),
                     combo("combo_receive_subfolder")->currentIndex(), edit("edit_receive_output_path")->isEnabled(),
                     box("check_send_output")->isChecked(), sendEnabled() }),
            (QVariantList { true, true, 1, "/srv/in", 2, true, false, 0 }));

        box("check_send_output")->setChecked(true);
        QCOMPARE(sendEnabled(), 4);
        DialogUtil::queueAnswer(QStringLiteral("/srv/chosen"));
        sendBrowse->click();
        QCOMPARE(edit("edit_send_output_path")->text(), QStringLiteral("/srv/chosen"));
        box("check_send_subfolder")->setChecked(true);
        combo("combo_send_subfolder")->setCurrentIndex(1);
        box("check_receive_output")->setChecked(false);
        QVERIFY(!edit("edit_receive_output_path")->isEnabled() && !combo("combo_receive_output_type")->isEnabled());
        TestSupport::find<QPushButton>(&dialog, QStringLiteral("button_apply"))->click();

        const auto fields = [](const FaxExporter::Options& o) {
            return QVariantList { o.enabled, o.subfolder, o.type, o.path, o.subfolderKind };
        };
        QCOMPARE(fields(FaxExporter::options(FaxExporter::Received)), (QVariantList { false, true, 1, "/srv/in", 2 }));
        QCOMPARE(fields(FaxExporter::options(FaxExporter::Sent)), (QVariantList { true, true, 0, "/srv/chosen", 1 }));
    }
};

VELKOR_TEST_MAIN(TestAutomaticOutput)
#include "TestAutomaticOutput.moc"

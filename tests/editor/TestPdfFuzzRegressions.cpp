#include "PdfPageReader.h"
#include "TestSupport.h"

#include <QFile>
#include <QTemporaryDir>

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

VELKOR_TEST_MAIN(TestPdfFuzzRegressions)
#include "TestPdfFuzzRegressions.moc"

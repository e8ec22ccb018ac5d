#include "EditorTestData.h"
#include "TestSupport.h"

#include "DialogUtil.h"
#include "FaxDetailWindow.h"
#include "FaxPageWidget.h"
#include "MessageBoxUtil.h"
#include "SignatureLibDialog.h"
#include "TimeUtil.h"

#include <QAction>
#include <QCheckBox>
#include <QDataStream>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLineEdit>
#include <QListView>
#include <QPointer>
#include <QPushButton>
#include <QSignalSpy>

using namespace EditorTestData;

class TestCoverAndSignatures : public QObject
{
    Q_OBJECT

private:
    QString m_dir;

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

private slots:
    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        m_dir = TestSupport::documentsPath() + "files";
        QDir().mkpath(m_dir);
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
        QCOMPARE(bw.pixel(5, 5), 0xFF000000u);
        QCOMPARE(bw.pixel(25, 5), 0xFF000000u);
        QCOMPARE(bw.pixel(50, 5), 0xFFFFFFFFu);

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
};

VELKOR_TEST_MAIN(TestCoverAndSignatures)
#include "TestCoverAndSignatures.moc"

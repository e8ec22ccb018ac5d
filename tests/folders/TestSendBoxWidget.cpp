#include "AppSettings.h"
#include "DeviceProtocol.h"
#include "DialogUtil.h"
#include "FaxExporter.h"
#include "FaxTable.h"
#include "FolderTestData.h"
#include "MessageBoxUtil.h"
#include "SendBoxWidget.h"
#include "../sending/SendingTestData.h"
#include "TestSupport.h"

#include <QDir>
#include <QMenu>
#include <QSignalSpy>
#include <QTableWidget>
#include <QTimer>

namespace {
QList<int> ids(const QList<Fax>& faxes)
{
    QList<int> list;
    for (const Fax& f : faxes)
        list << f.id;
    return list;
}

bool black(const QImage& image, int x, int y)
{
    return qGray(image.pixel(x, y)) < 128;
}

// Whether anything is drawn in the rectangle.
bool inked(const QImage& image, const QRect& r)
{
    for (int y = r.top(); y <= r.bottom(); ++y)
        for (int x = r.left(); x <= r.right(); ++x)
            if (black(image, x, y))
                return true;
    return false;
}
} // namespace

class TestSendBoxWidget : public QObject
{
    Q_OBJECT

    const QString m_address = QStringLiteral("127.0.0.120");

    static QTableWidget* table(SendBoxWidget& box) { return TestSupport::find<QTableWidget>(&box, "tableWidget"); }
    static QString cell(SendBoxWidget& box, int row, int column)
    {
        QTableWidgetItem* item = table(box)->item(row, column);
        return item ? item->text() : QStringLiteral("<none>");
    }

    // The entries of the menu a right click on the row opens, each with "-" appended when it
    // is disabled; empty when no menu opens.
    static QStringList menuAt(SendBoxWidget& box, const QPoint& pos)
    {
        delete box.findChild<QMenu*>(QStringLiteral("menu_right"));
        box.on_tableWidget_customContextMenuRequested(pos);
        QStringList texts;
        if (QMenu* menu = box.findChild<QMenu*>(QStringLiteral("menu_right")))
            for (QAction* a : menu->actions())
                texts << a->text() + (a->isEnabled() ? QString() : QStringLiteral("-"));
        return texts;
    }
    static QStringList menuOfRow(SendBoxWidget& box, int row)
    {
        return menuAt(box, table(box)->visualItemRect(table(box)->item(row, 1)).center());
    }

    // The outbox of a test that talks to the device: status rounds every 100 ms.
    static void speedUp(SendBoxWidget& box)
    {
        QTimer* timer = box.findChild<QTimer*>(QStringLiteral("statusTimer"));
        QVERIFY(timer && timer->isActive());
        QCOMPARE(timer->interval(), 2000);
        timer->setInterval(100);
    }

    // The frame around the report's thumbnail, found from the page's centre outwards.
    static QRect thumbnailFrame(const QImage& report)
    {
        int left = 0, right = report.width() - 1, top = 600, bottom = report.height() - 1;
        while (left < right && !black(report, left, 1349))
            ++left;
        while (right > left && !black(report, right, 1349))
            --right;
        while (top < bottom && !black(report, 863, top))
            ++top;
        while (bottom > top && !black(report, 863, bottom))
            --bottom;
        return QRect(QPoint(left, top), QPoint(right, bottom));
    }

private slots:
    void initTestCase()
    {
        qRegisterMetaType<Fax>("Fax&");
        qRegisterMetaType<QList<Fax>>("QList<Fax>&");
        qRegisterMetaType<QImage>("QImage&");
    }

    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        DeviceProtocol::setTestTimeoutDivisor(1);
    }

    void cleanup()
    {
        QCoreApplication::sendPostedEvents(); // finished threads give back their connections
    }

    // A new job is uploaded at once, shows its task number and then what the device reports,
    // round by round, up to success; the copy of the automatic output is written once.
    void jobIsUploadedAndFollowed()
    {
        const Scenario scenario = SendingTestData::scenarioAt(m_address);
        auto sim = SendingTestData::startSim(scenario);
        const Device device = SendingTestData::storedDevice(scenario);
        const QString out = TestSupport::documentsPath() + QStringLiteral("out");
        auto settings = AppSettings::userSetting();
        settings->setValue(AutoExportKeys::SEND_AUTO_SAVE_AS, true);
        settings->setValue(AutoExportKeys::SEND_AUTO_SAVE_AS_TYPE, int(FaxExporter::TypeTiff));
        settings->setValue(AutoExportKeys::SEND_AUTO_SAVE_AS_PATH, out);
        settings->sync();

        SendBoxWidget box;
        speedUp(box);
        const QString path = SendingTestData::writeFile(
            TestSupport::documentsPath() + QStringLiteral("job.tif"), SendingTestData::tinyTiff(300));
        Fax fax = SendingTestData::storedFax(device, path);
        fax.priority = 3;
        box.insertFaxToList({ fax });
        QCOMPARE(cell(box, 0, 0), QStringLiteral("排队中"));
        QCOMPARE(cell(box, 0, 2), QStringLiteral("高"));

        QTRY_VERIFY(cell(box, 0, 1) != QStringLiteral("0"));
        const int task = SendingTestData::storedColumn(fax.id, "taskID").toInt();
        QVERIFY(task > 0);
        QCOMPARE(cell(box, 0, 1), QString::number(task));
        QCOMPARE(box.faxes().first().taskID, task);

        const auto stepTo = [&](int steps, const QString& progress) {
            sim->device()->advanceJob(quint32(task), steps);
            QTRY_COMPARE(cell(box, 0, 5), progress);
        };
        stepTo(1, QStringLiteral("正在拨号"));
        QCOMPARE(cell(box, 0, 0), QStringLiteral("发送中"));
        QCOMPARE(cell(box, 0, 6), QStringLiteral("1次(2次)"));
        stepTo(2, QStringLiteral("传真握手 14400"));
        stepTo(2, QStringLiteral("已完成0页70%(共1页)"));
        stepTo(1, QStringLiteral("已完成1页100%(共1页)"));
        QCOMPARE(cell(box, 0, 0), QStringLiteral("发送成功"));
        QCOMPARE(SendingTestData::storedColumn(fax.id, "status").toInt(), 2);
        QCOMPARE(cell(box, 0, 7), SendingTestData::storedColumn(fax.id, "time").toString());
        QCOMPARE(box.faxes().first().status, 2);

        QTest::qWait(500); // several more rounds
        QCOMPARE(QDir(out).entryList(QDir::Files), QStringList{ QStringLiteral("job.tif") });
        QCOMPARE(SendingTestData::countLines(sim->device()->actionLog(), QStringLiteral("SENDFAX ")), 1);
    }

    // A refused upload leaves the job waiting, unpolled, until "开始上传" sends it again.
    void failedUploadWaitsForStartUpload()
    {
        const Scenario scenario = SendingTestData::scenarioAt(m_address);
        auto sim = SendingTestData::startSim(scenario);
        SimFault refuse = SimFault::make(QStringLiteral("SENDFAX"), SimFault::Feedback, 0, 0, QStringLiteral("RECV_FAIL"));
        refuse.times = 1;
        sim->device()->addFault(refuse);
        const Device device = SendingTestData::storedDevice(scenario);

        SendBoxWidget box;
        speedUp(box);
        const QString path = SendingTestData::writeFile(
            TestSupport::documentsPath() + QStringLiteral("job.tif"), SendingTestData::tinyTiff(300));
        const Fax fax = SendingTestData::storedFax(device, path);
        box.insertFaxToList({ fax });
        QTRY_COMPARE(cell(box, 0, 0), QStringLiteral("等待上传"));
        QCOMPARE(SendingTestData::storedColumn(fax.id, "status").toInt(), 3);
        QTest::qWait(400);
        QCOMPARE(cell(box, 0, 0), QStringLiteral("等待上传"));
        QCOMPARE(cell(box, 0, 1), QStringLiteral("0"));
        const QStringList menu = menuOfRow(box, 0);
        QVERIFY(menu.contains(QStringLiteral("开始上传")));
        QVERIFY(menu.contains(QStringLiteral("取消发送-")));

        table(box)->setCurrentCell(0, 0);
        box.actionReUpload();
        QTRY_VERIFY(cell(box, 0, 1) != QStringLiteral("0"));
        QTRY_COMPARE(cell(box, 0, 0), QStringLiteral("排队中")); // the device's record
        QCOMPARE(SendingTestData::storedColumn(fax.id, "status").toInt(), 5);
        QCOMPARE(SendingTestData::countLines(sim->device()->actionLog(), QStringLiteral("SENDFAX ")), 2);
    }

    // Stored faxes of every sending state: row texts, the menu and its enabled entries, the
    // header state kept between two outboxes.
    void menuFollowsTheStatus()
    {
        const int device = FolderTestData::addDevice();
        for (int status = 1; status <= 8; ++status) {
            Fax fax = FolderTestData::sentFax(QStringLiteral("2024-03-%1 10:00:00").arg(20 - status), status,
                                              QStringLiteral("80%1").arg(status), QStringLiteral("R%1").arg(status));
            fax.priority = 4;
            FolderTestData::addFax(fax, device);
        }
        {
            SendBoxWidget box;
            box.resize(1400, 600);
            QCOMPARE(table(box)->rowCount(), 8);
            const QStringList first{ "发送失败", "0", "紧急", "801", "R1", "已完成0页(共2页)", "0次(0次)",
                                     "2024-03-19 10:00:00", "", "", "PID0001" };
            for (int c = 0; c < first.size(); ++c)
                QCOMPARE(cell(box, 0, c), first.at(c));

            for (int row = 0; row < 8; ++row) {
                const int status = row + 1;
                const QString stop = status == 5 || status == 6 ? "取消发送" : "取消发送-";
                const QString upload = status == 3 ? "开始上传" : "开始上传-";
                QCOMPARE(menuOfRow(box, row), (QStringList{ "转发", "重试", "删除", "添加备注", "内部分发", stop,
                                                            upload, "保存为联系人", "传真发送报告" }));
            }
            QCOMPARE(menuAt(box, QPoint(5, table(box)->viewport()->height() - 2)), QStringList());
            table(box)->horizontalHeader()->moveSection(0, 4);
        }
        SendBoxWidget again;
        QCOMPARE(table(again)->horizontalHeader()->visualIndex(0), 4);
    }

    // The report's thumbnail: a portrait page fills the height 1500, a landscape one (or one
    // just below the box's proportion) the width 1428; framed in black, centred at (863, 1349).
    void transmissionReport_data()
    {
        QTest::addColumn<int>("pageWidth");
        QTest::addColumn<int>("pageHeight");
        QTest::addColumn<QSize>("thumbnail");
        QTest::newRow("portrait") << 1728 << 2200 << QSize(1178, 1500);
        QTest::newRow("landscape") << 2200 << 1728 << QSize(1428, 1121);
        QTest::newRow("just below the box") << 2000 << 2100 << QSize(1428, 1499);
    }

    void transmissionReport()
    {
        QFETCH(int, pageWidth);
        QFETCH(int, pageHeight);
        QFETCH(QSize, thumbnail);
        const QString path = TestSupport::documentsPath() + QStringLiteral("page.tif");
        QVERIFY(TiffUtil::writeImgToTiff({ FolderTestData::page(0, pageWidth, pageHeight) }, path));
        Fax fax = FolderTestData::sentFax(QStringLiteral("2024-03-01 10:00:00"), 1, "801", "R");
        fax.filepath = path;
        fax.issue = QStringLiteral("Line busy");
        fax = FolderTestData::addFax(fax, FolderTestData::addDevice());
        DatabaseManager().updateSendFax(fax); // the failure text, as a status round stores it

        SendBoxWidget box;
        QSignalSpy reports(&box, &SendBoxWidget::showTransReport);
        table(box)->setCurrentCell(0, 0);
        box.actionTransReport();
        QCOMPARE(reports.count(), 1);
        const QImage report = reports.at(0).at(0).value<QImage>();
        QCOMPARE(report.size(), QSize(1728, 2254));
        QCOMPARE(report.format(), QImage::Format_RGBA8888);

        const QRect frame = thumbnailFrame(report);
        QCOMPARE(frame.size(), thumbnail);
        QCOMPARE(frame.topLeft(), QPoint(863 - (thumbnail.width() - 1) / 2, 1349 - (thumbnail.height() - 1) / 2));
        for (int x = frame.left(); x <= frame.right(); ++x)
            QVERIFY(black(report, x, frame.top()) && black(report, x, frame.bottom()));
        for (int y = frame.top(); y <= frame.bottom(); ++y)
            QVERIFY(black(report, frame.left(), y) && black(report, frame.right(), y));
        QVERIFY(!black(report, frame.left() - 1, 1349) && !black(report, frame.left() + 2, frame.bottom() - 2));
        // The page's bar at 100..140 is on the thumbnail, scaled.
        QVERIFY(black(report, 863, frame.top() + 120 * thumbnail.height() / pageHeight));

        // "结果:" gives the device's text for a failure and "成功" for a success.
        const QRect result(450, 552, 1200, 38);
        QVERIFY(inked(report, result));
        QCOMPARE(SendBoxWidget::transReportRows(fax).last(),
                 qMakePair(QStringLiteral("结果:"), QStringLiteral("Line busy")));
        fax.issue.clear();
        QVERIFY(!inked(SendBoxWidget::makeTransReport(fax), result));
        fax.status = 2;
        QCOMPARE(SendBoxWidget::transReportRows(fax).last().second, QStringLiteral("成功"));
    }

    // Delete of rows 1 and 3 of five, remark, forward.
    void actionsOnTheSelectedFaxes()
    {
        const int device = FolderTestData::addDevice();
        QList<Fax> stored;
        for (int i = 0; i < 5; ++i)
            stored << FolderTestData::addFax(
                FolderTestData::sentFax(QStringLiteral("2024-03-0%1 10:00:00").arg(9 - i), 2,
                                        QStringLiteral("80%1").arg(i), QStringLiteral("R%1").arg(i)),
                device);
        SendBoxWidget box;
        QTableWidget* t = table(box);
        QSignalSpy forwards(&box, &SendBoxWidget::forward);
        QSignalSpy deleted(&box, &SendBoxWidget::deleteFax);

        t->setCurrentCell(3, 0);
        const QString text = QStringLiteral("O'Brien 说 \"明天\"");
        DialogUtil::queueAnswer(text);
        box.actionRemark();
        QCOMPARE(cell(box, 3, 8), text);
        QCOMPARE(DatabaseManager().querySendFaxes().at(3).remark, text);
        box.actionForward();
        QCOMPARE(forwards.value(0).value(0).value<Fax>().id, stored[3].id);

        t->setSelectionMode(QAbstractItemView::MultiSelection);
        t->clearSelection();
        t->selectRow(3);
        t->selectRow(1);
        MessageBoxUtil::setNextAnswer(QMessageBox::Yes);
        box.actionDelete();
        QCOMPARE(deleted.count(), 1);
        QCOMPARE(ids(deleted.at(0).at(0).value<QList<Fax>>()), (QList<int>{ stored[1].id, stored[3].id }));
        const QList<int> kept{ stored[0].id, stored[2].id, stored[4].id };
        QCOMPARE(ids(box.faxes()), kept);
        QCOMPARE(ids(DatabaseManager().querySendFaxes()), kept);
        QCOMPARE(t->rowCount(), 3);
        for (int row = 0; row < 3; ++row)
            QCOMPARE(cell(box, row, 3), box.faxes().at(row).cid);
    }
};

VELKOR_TEST_MAIN(TestSendBoxWidget)
#include "TestSendBoxWidget.moc"

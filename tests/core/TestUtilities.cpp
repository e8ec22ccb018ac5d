#include "AppSettings.h"
#include "FaxStatus.h"
#include "FileUtil.h"
#include "TestSupport.h"
#include "TimeUtil.h"

#include <QApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <ctime>

class TestUtilities : public QObject
{
    Q_OBJECT

private:
    static void setZone(const char* zone)
    {
        qputenv("TZ", zone);
        tzset();
    }

private slots:
    void init() { TestSupport::freshHome(); }

    void cleanupTestCase()
    {
        qunsetenv("TZ");
        tzset();
    }

    void documentPathIsMadeAndEndsInSlash()
    {
        const QString docs = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
        QVERIFY(!QFileInfo::exists(docs + "/Velkor"));
        const QString root = FileUtil::getDocumentPath();
        QCOMPARE(root, docs + "/Velkor/");
        QVERIFY(QFileInfo(root).isDir());
    }

    void createDirMakesEveryLevel()
    {
        const QString path = FileUtil::createDir(QStringLiteral("alice/AB12/FaxFile/"));
        QCOMPARE(path, FileUtil::getDocumentPath() + "alice/AB12/FaxFile/");
        QVERIFY(QFileInfo(path).isDir());
    }

    void createFileFormsPathOnly()
    {
        const QString path = FileUtil::createFile(QStringLiteral("bob/X/"), QStringLiteral("a.tif"));
        QCOMPARE(path, FileUtil::getDocumentPath() + "bob/X/a.tif");
        QVERIFY(QFileInfo(FileUtil::getDocumentPath() + "bob/X").isDir());
        QVERIFY(!QFileInfo::exists(path));
    }

    void utcRoundTripInFixedZone_data()
    {
        QTest::addColumn<QByteArray>("zone");
        QTest::addColumn<QString>("utc");
        QTest::addColumn<QString>("local");
        QTest::newRow("UTC+8") << QByteArray("CST-8") << "2001-01-01 00:00:00" << "2001-01-01 08:00:00";
        QTest::newRow("UTC-5 winter") << QByteArray("EST5EDT,M3.2.0,M11.1.0") << "2021-01-15 12:00:00"
                                      << "2021-01-15 07:00:00";
        QTest::newRow("UTC-4 summer") << QByteArray("EST5EDT,M3.2.0,M11.1.0") << "2021-07-15 12:00:00"
                                      << "2021-07-15 08:00:00";
    }

    void utcRoundTripInFixedZone()
    {
        QFETCH(QByteArray, zone);
        QFETCH(QString, utc);
        QFETCH(QString, local);
        setZone(zone.constData());
        QCOMPARE(TimeUtil::utcTime2LocalTime(utc), local);
        QCOMPARE(TimeUtil::localTime2UTCTime(local), utc);
        const QDateTime value = TimeUtil::utcTime2LocalTime(QDateTime::fromString(utc, TimeUtil::FORMAT));
        QCOMPARE(value.toString(TimeUtil::FORMAT), local);
    }

    void unparsableTimeGivesEmptyText()
    {
        QString bad = QStringLiteral("2001/01/01");
        QCOMPARE(TimeUtil::utcTime2LocalTime(bad), QString());
        QCOMPARE(TimeUtil::localTime2UTCTime(bad), QString());
    }

    void settingsLieInDocumentRoot()
    {
        {
            auto config = AppSettings::userConfig();
            QCOMPARE(config->value(AppSettings::KEY_GET_FAX_TIME, AppSettings::DEFAULT_GET_FAX_TIME).toInt(), 30);
            config->setValue(AppSettings::KEY_GET_FAX_TIME, 45);
            auto options = AppSettings::userSetting();
            options->setValue(QStringLiteral("/SendFaxOptions/DialTotal"), 3);
        }
        QVERIFY(QFileInfo::exists(FileUtil::getDocumentPath() + "UserConfig.ini"));
        QVERIFY(QFileInfo::exists(FileUtil::getDocumentPath() + "UserSetting.ini"));
        QSettings raw(FileUtil::getDocumentPath() + "UserSetting.ini", QSettings::IniFormat);
        QCOMPARE(raw.value("SendFaxOptions/DialTotal").toInt(), 3);
        QCOMPARE(AppSettings::userConfig()->value(AppSettings::KEY_GET_FAX_TIME).toInt(), 45);
    }

    void statusWords()
    {
        QCOMPARE(FaxStatus::statusText(FaxStatus::SEND_FAX_WAITTING), QStringLiteral("排队中"));
        QCOMPARE(FaxStatus::statusText(FaxStatus::RECV_FAX_PRINTED), QStringLiteral("已打印"));
        // Named-only and unknown values show nothing.
        QCOMPARE(FaxStatus::statusText(FaxStatus::SEND_FAX_MANUAL), QString());
        QCOMPARE(FaxStatus::statusText(99), QString());
        QCOMPARE(FaxStatus::priorityText(FaxStatus::FAX_PRIORITY_CRITICAL), QStringLiteral("紧急"));
        QCOMPARE(FaxStatus::progressText(FaxStatus::SEND_STATE_NONE, 2, 40, 5, 0),
                 QStringLiteral("已完成2页40%(共5页)"));
        QCOMPARE(FaxStatus::progressText(FaxStatus::SEND_STATE_TRAINING, 0, 0, 0, 9600),
                 QStringLiteral("传真握手 9600"));
    }
};

VELKOR_TEST_MAIN(TestUtilities)
#include "TestUtilities.moc"

#include "AppSettings.h"
#include "FileUtil.h"
#include "TestSupport.h"
#include "TimeUtil.h"

#include <QFileInfo>
#include <QStandardPaths>
#include <ctime>

class TestUtilities : public QObject
{
    Q_OBJECT

    QByteArray m_zone = qgetenv("TZ");

private slots:
    void init() { TestSupport::freshHome(); }

    void cleanupTestCase()
    {
        qputenv("TZ", m_zone);
        tzset();
    }

    void documentFolders()
    {
        const QString docs = QStandardPaths::writableLocation(QStandardPaths::DocumentsLocation);
        QVERIFY(!QFileInfo::exists(docs + "/Velkor"));
        QCOMPARE(FileUtil::getDocumentPath(), docs + "/Velkor/");
        QVERIFY(QFileInfo(docs + "/Velkor/").isDir());
        const QString dir = FileUtil::createDir(QStringLiteral("alice/AB12/FaxFile/"));
        QCOMPARE(dir, docs + "/Velkor/alice/AB12/FaxFile/");
        QVERIFY(QFileInfo(dir).isDir());
        // createFile makes the folder, not the file.
        const QString file = FileUtil::createFile(QStringLiteral("bob/X/"), QStringLiteral("a.tif"));
        QCOMPARE(file, docs + "/Velkor/bob/X/a.tif");
        QVERIFY(QFileInfo(docs + "/Velkor/bob/X").isDir() && !QFileInfo::exists(file));
    }

    void utcAndLocal_data()
    {
        QTest::addColumn<QByteArray>("zone");
        QTest::addColumn<QString>("utc");
        QTest::addColumn<QString>("local");
        QTest::newRow("Shanghai") << QByteArray("Asia/Shanghai") << "2001-01-01 00:00:00" << "2001-01-01 08:00:00";
        QTest::newRow("UTC-5 winter") << QByteArray("EST5EDT,M3.2.0,M11.1.0") << "2021-01-15 12:00:00"
                                      << "2021-01-15 07:00:00";
        QTest::newRow("UTC-4 summer") << QByteArray("EST5EDT,M3.2.0,M11.1.0") << "2021-07-15 12:00:00"
                                      << "2021-07-15 08:00:00";
        // Either side of the spring-forward hour (01:00 UTC on 28 March 2021).
        QTest::newRow("Berlin before") << QByteArray("Europe/Berlin") << "2021-03-28 00:59:59" << "2021-03-28 01:59:59";
        QTest::newRow("Berlin after") << QByteArray("Europe/Berlin") << "2021-03-28 01:00:00" << "2021-03-28 03:00:00";
    }

    void utcAndLocal()
    {
        QFETCH(QByteArray, zone);
        QFETCH(QString, utc);
        QFETCH(QString, local);
        qputenv("TZ", zone);
        tzset();
        QCOMPARE(TimeUtil::utcTime2LocalTime(utc), local);
        QCOMPARE(TimeUtil::localTime2UTCTime(local), utc);
        QCOMPARE(TimeUtil::utcTime2LocalTime(QDateTime::fromString(utc, TimeUtil::FORMAT)).toString(TimeUtil::FORMAT), local);
        QString bad = QStringLiteral("2001/01/01");
        QCOMPARE(TimeUtil::utcTime2LocalTime(bad) + TimeUtil::localTime2UTCTime(bad), QString());
    }

    void settingsLieInDocumentRoot()
    {
        {
            auto config = AppSettings::userConfig();
            QCOMPARE(config->value(AppSettings::KEY_GET_FAX_TIME, AppSettings::DEFAULT_GET_FAX_TIME).toInt(), 30);
            config->setValue(AppSettings::KEY_GET_FAX_TIME, 45);
            AppSettings::userSetting()->setValue(QStringLiteral("/SendFaxOptions/DialTotal"), 3);
        }
        QSettings raw(FileUtil::getDocumentPath() + "UserSetting.ini", QSettings::IniFormat);
        QCOMPARE(raw.value("SendFaxOptions/DialTotal").toInt(), 3);
        QSettings rawConfig(FileUtil::getDocumentPath() + "UserConfig.ini", QSettings::IniFormat);
        QCOMPARE(rawConfig.allKeys().size(), 1);
        QCOMPARE(AppSettings::userConfig()->value(AppSettings::KEY_GET_FAX_TIME).toInt(), 45);
    }
};

VELKOR_TEST_MAIN(TestUtilities)
#include "TestUtilities.moc"

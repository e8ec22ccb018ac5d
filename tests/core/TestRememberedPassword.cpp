#include "AESUtil.h"
#include "TestSupport.h"

#include <QApplication>
#include <QTextCodec>

// The remembered local password comes back as it was typed, whatever its characters and
// whatever the machine's 8-bit encoding.
class TestRememberedPassword : public QObject
{
    Q_OBJECT

private slots:
    void unicodeRoundTrips_data()
    {
        QTest::addColumn<QString>("password");
        QTest::addColumn<QByteArray>("localCodec");
        QTest::newRow("accented") << QStringLiteral("p\u00e9ss") << QByteArray("UTF-8");
        QTest::newRow("Chinese") << QStringLiteral("密码123") << QByteArray("UTF-8");
        QTest::newRow("Chinese, Latin-1 machine") << QStringLiteral("密码123") << QByteArray("ISO-8859-1");
        QTest::newRow("outside the BMP") << QStringLiteral("key\U0001F511") << QByteArray("UTF-8");
        QTest::newRow("0x80 closing a block") << QStringLiteral("0123456789abcd\u0400") << QByteArray("UTF-8");
    }

    void unicodeRoundTrips()
    {
        QFETCH(QString, password);
        QFETCH(QByteArray, localCodec);
        QTextCodec* saved = QTextCodec::codecForLocale();
        QTextCodec::setCodecForLocale(QTextCodec::codecForName(localCodec));
        QByteArray cipher = AESUtil::encode(password);
        const QString back = AESUtil::decode(cipher);
        QTextCodec::setCodecForLocale(saved);
        QCOMPARE(back, password);
    }
};

VELKOR_TEST_MAIN(TestRememberedPassword)
#include "TestRememberedPassword.moc"

#include "AESUtil.h"
#include "QAESEncryption.h"
#include "TestSupport.h"

#include <QTextCodec>
#include <QtTest>

#include <openssl/evp.h>

// The cipher of the remembered password: derivation, padding and what comes back.
class TestAESUtil : public QObject
{
    Q_OBJECT

    QTextCodec* m_savedCodec = nullptr;

    static QByteArray digest(const EVP_MD* md, const QByteArray& data)
    {
        unsigned char out[EVP_MAX_MD_SIZE];
        unsigned int len = 0;
        EVP_Digest(data.constData(), size_t(data.size()), out, &len, md, nullptr);
        return QByteArray(reinterpret_cast<const char*>(out), int(len));
    }

    // Cipher text for raw bytes, as encode would produce it for a text with those local bytes.
    static QByteArray cipherOf(const QByteArray& bytes)
    {
        return QAESEncryption::Crypt(
            QAESEncryption::AES_256, QAESEncryption::ECB, bytes, AESUtil::key(), AESUtil::iv(), QAESEncryption::ISO);
    }

private slots:
    void initTestCase()
    {
        // Fix the local 8-bit encoding so the byte-level cases below are predictable.
        m_savedCodec = QTextCodec::codecForLocale();
        QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8"));
    }

    void cleanupTestCase() { QTextCodec::setCodecForLocale(m_savedCodec); }

    void keyAndIvDerivation()
    {
        const QByteArray key = digest(EVP_sha256(), QByteArray("Qorvim"));
        const QByteArray iv = digest(EVP_md5(), QByteArray("7394018265539172"));
        QCOMPARE(AESUtil::key().toHex(), key.toHex());
        QCOMPARE(AESUtil::iv().toHex(), iv.toHex());

        // encode is AES-256-ECB of the ISO-padded bytes under that key, checked with OpenSSL.
        QString text = QStringLiteral("correct horse");
        const QByteArray padded = QByteArray("correct horse\x80") + QByteArray(2, '\0');
        EVP_CIPHER_CTX* ctx = EVP_CIPHER_CTX_new();
        QByteArray expected(32, '\0');
        int len = 0;
        EVP_EncryptInit_ex(
            ctx, EVP_aes_256_ecb(), nullptr, reinterpret_cast<const unsigned char*>(key.constData()), nullptr);
        EVP_CIPHER_CTX_set_padding(ctx, 0);
        EVP_EncryptUpdate(ctx, reinterpret_cast<unsigned char*>(expected.data()), &len,
            reinterpret_cast<const unsigned char*>(padded.constData()), padded.size());
        EVP_CIPHER_CTX_free(ctx);
        expected.truncate(len);
        QCOMPARE(AESUtil::encode(text).toHex(), expected.toHex());
    }

    void roundTrips_data()
    {
        QTest::addColumn<QString>("password");
        QTest::addColumn<int>("cipherSize");
        QTest::newRow("empty") << QString() << 0;
        QTest::newRow("15") << QStringLiteral("123456789012345") << 16;
        QTest::newRow("16 gains no padding") << QStringLiteral("1234567890123456") << 16;
        QTest::newRow("17") << QStringLiteral("12345678901234567") << 32;
        QTest::newRow("punctuation") << QStringLiteral("p@ss w0rd!'\";") << 16;
        QTest::newRow("long") << QString(100, QLatin1Char('z')) << 112;
    }

    void roundTrips()
    {
        QFETCH(QString, password);
        QFETCH(int, cipherSize);
        QByteArray cipher = AESUtil::encode(password);
        QCOMPARE(cipher.size(), cipherSize);
        QCOMPARE(AESUtil::decode(cipher), password);
    }

    void trailingMarkerAndNul()
    {
        // A password whose bytes end in 0x80 and fill whole blocks gets no ISO marker, so its own
        // 0x80 is taken for one and dropped.
        QByteArray cipher = cipherOf("0123456789abcde\x80");
        QCOMPARE(cipher.size(), 16);
        QCOMPARE(AESUtil::decode(cipher), QStringLiteral("0123456789abcde"));
        // With padding the marker follows it and only the marker goes.
        cipher = cipherOf("secret\x80");
        QCOMPARE(AESUtil::decode(cipher), QString(QStringLiteral("secret") + QChar(0x80)));

        // Through encode such a text gets a block of padding: U+0400 is D0 80 in UTF-8.
        QString text = QStringLiteral("0123456789abcd") + QChar(0x0400);
        cipher = AESUtil::encode(text);
        QCOMPARE(cipher.size(), 32);
        QCOMPARE(AESUtil::decode(cipher), text);

        // A NUL ends the password.
        QString withNul = QStringLiteral("ab") + QChar(0) + QStringLiteral("cd");
        cipher = AESUtil::encode(withNul);
        QCOMPARE(cipher.size(), 16);
        QCOMPARE(AESUtil::decode(cipher), QStringLiteral("ab"));
    }

    void damagedData()
    {
        // Nothing verifies the data: a short piece holds no block and gives nothing back.
        QByteArray shortData("12345");
        QCOMPARE(AESUtil::decode(shortData), QString());
        QByteArray empty;
        QCOMPARE(AESUtil::decode(empty), QString());
    }
};

VELKOR_TEST_MAIN(TestAESUtil)
#include "TestAESUtil.moc"

#include "AESUtil.h"
#include "QAESEncryption.h"
#include "TestSupport.h"

#include <QRandomGenerator>
#include <QTextCodec>

#include <openssl/evp.h>

// The cipher against OpenSSL's EVP ciphers (every level and mode), its padding rules, and the
// remembered password that uses it.
class TestCipher : public QObject
{
    Q_OBJECT

    using Aes = QAESEncryption::Aes;
    using Mode = QAESEncryption::Mode;

    // OpenSSL's result, unpadded.
    static QByteArray evp(Aes level, Mode mode, bool encrypt, const QByteArray& data, const QByteArray& key,
        const QByteArray& iv)
    {
        static const EVP_CIPHER* const table[3][4] = {
            { EVP_aes_128_ecb(), EVP_aes_128_cbc(), EVP_aes_128_cfb128(), EVP_aes_128_ofb() },
            { EVP_aes_192_ecb(), EVP_aes_192_cbc(), EVP_aes_192_cfb128(), EVP_aes_192_ofb() },
            { EVP_aes_256_ecb(), EVP_aes_256_cbc(), EVP_aes_256_cfb128(), EVP_aes_256_ofb() },
        };
        EVP_CIPHER_CTX* ctx = EVP_CIPHER_CTX_new();
        const auto* v = mode == QAESEncryption::ECB ? nullptr : reinterpret_cast<const uchar*>(iv.constData());
        QByteArray out(data.size() + 32, '\0');
        int len = 0, tail = 0;
        EVP_CipherInit_ex(ctx, table[level][mode], nullptr, reinterpret_cast<const uchar*>(key.constData()), v, encrypt);
        EVP_CIPHER_CTX_set_padding(ctx, 0);
        EVP_CipherUpdate(ctx, reinterpret_cast<uchar*>(out.data()), &len, reinterpret_cast<const uchar*>(data.constData()),
            data.size());
        EVP_CipherFinal_ex(ctx, reinterpret_cast<uchar*>(out.data()) + len, &tail);
        EVP_CIPHER_CTX_free(ctx);
        out.truncate(len + tail);
        return out;
    }

    static QByteArray digest(const EVP_MD* md, const QByteArray& data)
    {
        unsigned char out[EVP_MAX_MD_SIZE];
        unsigned int len = 0;
        EVP_Digest(data.constData(), size_t(data.size()), out, &len, md, nullptr);
        return QByteArray(reinterpret_cast<const char*>(out), int(len));
    }

    static QByteArray randomBytes(QRandomGenerator& rng, int n)
    {
        QByteArray bytes(n, '\0');
        for (char& c : bytes)
            c = char(rng.bounded(256));
        return bytes;
    }

private slots:
    void initTestCase() { QTextCodec::setCodecForLocale(QTextCodec::codecForName("UTF-8")); }

    void keyScheduleAndKeyLength()
    {
        // FIPS-197 appendix A.1: the last round key of the AES-128 example.
        const QByteArray key = QByteArray::fromHex("2b7e151628aed2a6abf7158809cf4f3c");
        const QByteArray schedule = QAESEncryption::ExpandKey(QAESEncryption::AES_128, key);
        QCOMPARE(schedule.right(16).toHex(), QByteArray("d014f9a8c9ee2589e13f0cc8b6630ca6"));
        // A key of another length than the level's is refused, not cut or stretched.
        QVERIFY(QAESEncryption::ExpandKey(QAESEncryption::AES_256, key).isEmpty());
        QVERIFY(QAESEncryption::Crypt(QAESEncryption::AES_192, QAESEncryption::ECB, key, key).isEmpty());
    }

    void matchesOpenSsl_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<int>("mode");
        for (int l = 0; l < 3; ++l)
            for (int m = 0; m < 4; ++m)
                QTest::addRow("%d-%s", 128 + 64 * l, (const char*[]) { "ECB", "CBC", "CFB", "OFB" }[m]) << l << m;
    }

    void matchesOpenSsl()
    {
        QFETCH(int, level);
        QFETCH(int, mode);
        const Aes aes = Aes(level);
        const Mode m = Mode(mode);
        QRandomGenerator rng(quint32(1000 + 10 * level + mode));
        for (int n : { 0, 1, 15, 16, 17, 31, 32, 33, 63, 64, 65, 97, 1000 }) {
            const QByteArray key = randomBytes(rng, QAESEncryption::keyLength(aes));
            const QByteArray iv = randomBytes(rng, 16);
            const QByteArray data = randomBytes(rng, n);
            const QByteArray padded = data + QByteArray(16 - n % 16, char(16 - n % 16));
            const QByteArray ours = QAESEncryption::Crypt(aes, m, data, key, iv, QAESEncryption::PKCS7);
            QCOMPARE(ours.toHex(), evp(aes, m, true, padded, key, iv).toHex());
            const QByteArray back = QAESEncryption::Decrypt(aes, m, ours, key, iv, QAESEncryption::PKCS7);
            QCOMPARE(QAESEncryption::RemovePadding(back, QAESEncryption::PKCS7).toHex(), data.toHex());
            // Streams decipher OpenSSL's unpadded text of any length; block modes drop a partial block.
            const QByteArray stream = evp(aes, m, true, m < QAESEncryption::CFB ? padded : data, key, iv);
            QCOMPARE(QAESEncryption::Decrypt(aes, m, stream + (m < QAESEncryption::CFB ? "xyz" : ""), key, iv).toHex(),
                (m < QAESEncryption::CFB ? padded : data).toHex());
            // A missing or wrong-sized IV is refused where the mode needs one; ECB takes none.
            QCOMPARE(QAESEncryption::Crypt(aes, m, data, key, iv.left(15), QAESEncryption::PKCS7).isEmpty(), m != QAESEncryption::ECB);
        }
    }

    void padding_data()
    {
        QTest::addColumn<int>("padding");
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QByteArray>("fill"); // what paddingFor adds to the data; "-": not asked
        QTest::addColumn<QByteArray>("kept"); // what RemovePadding leaves of data + fill
        const int zero = QAESEncryption::ZERO, pkcs = QAESEncryption::PKCS7, iso = QAESEncryption::ISO;
        const QByteArray none("-");
        QTest::newRow("zero 3") << zero << QByteArray("abc") << QByteArray(13, '\0') << QByteArray("abc");
        QTest::newRow("zero 17") << zero << QByteArray(17, 'a') << QByteArray(15, '\0') << QByteArray(17, 'a');
        QTest::newRow("zero drops the data's own") << zero << QByteArray("ab\0", 3) << none << QByteArray("ab");
        QTest::newRow("zero inner kept") << zero << QByteArray("a\0b", 3) << none << QByteArray("a\0b", 3);
        QTest::newRow("pkcs7 empty") << pkcs << QByteArray() << QByteArray(16, '\x10') << QByteArray();
        QTest::newRow("pkcs7 3") << pkcs << QByteArray("abc") << QByteArray(13, '\x0d') << QByteArray("abc");
        QTest::newRow("pkcs7 32") << pkcs << QByteArray(32, 'a') << QByteArray(16, '\x10') << QByteArray(32, 'a');
        QTest::newRow("pkcs7 count too big") << pkcs << QByteArray("ab\x09") << none << QByteArray();
        QTest::newRow("pkcs7 zero count") << pkcs << QByteArray("ab\0", 3) << none << QByteArray("ab\0", 3);
        QTest::newRow("iso 3") << iso << QByteArray("abc") << QByteArray("\x80" + QByteArray(12, '\0')) << QByteArray("abc");
        QTest::newRow("iso 16") << iso << QByteArray(16, 'a') << QByteArray() << QByteArray(16, 'a');
        QTest::newRow("iso marker only") << iso << QByteArray("\x80\0", 2) << none << QByteArray();
        QTest::newRow("iso no marker") << iso << QByteArray("abc\0\0", 5) << none << QByteArray("abc\0\0", 5);
        QTest::newRow("iso inner marker") << iso << QByteArray("a\x80z") << none << QByteArray("a\x80z");
    }

    void padding()
    {
        QFETCH(int, padding);
        QFETCH(QByteArray, data);
        QFETCH(QByteArray, fill);
        QFETCH(QByteArray, kept);
        const auto pad = QAESEncryption::Padding(padding);
        if (fill == "-") {
            QCOMPARE(QAESEncryption::RemovePadding(data, pad).toHex(), kept.toHex());
            return;
        }
        QCOMPARE(QAESEncryption::paddingFor(data.size(), pad).toHex(), fill.toHex());
        // The object pads before ciphering: deciphering shows exactly the fill.
        const QByteArray key(32, 'k'), iv(16, 'i');
        for (int mode = 0; mode < 4; ++mode) {
            QAESEncryption aes(QAESEncryption::AES_256, Mode(mode), pad);
            const QByteArray plain = aes.decode(aes.encode(data, key, iv), key, iv);
            QCOMPARE(plain.toHex(), QByteArray(data + fill).toHex());
            QCOMPARE(aes.removePadding(plain).toHex(), kept.toHex());
        }
    }

    void rememberedPassword_data()
    {
        QTest::addColumn<QString>("password");
        QTest::addColumn<int>("cipherSize");
        QTest::addColumn<QString>("back");
        QTest::newRow("empty") << QString() << 0 << QString();
        QTest::newRow("15") << "123456789012345" << 16 << "123456789012345";
        QTest::newRow("16 gains no padding") << "1234567890123456" << 16 << "1234567890123456";
        QTest::newRow("17") << "12345678901234567" << 32 << "12345678901234567";
        QTest::newRow("long") << QString(100, 'z') << 112 << QString(100, 'z');
        // Bytes come back one character each; a NUL ends the password.
        QTest::newRow("non-ASCII") << "p\u00e9" << 16 << QString::fromLatin1("p\xc3\xa9");
        QTest::newRow("NUL") << QStringLiteral("ab") + QChar(0) + "cd" << 16 << "ab";
        // U+0400 is D0 80: whole blocks get no ISO marker, so the 80 is taken for one.
        QTest::newRow("ends in 0x80") << "0123456789abcd\u0400" << 16 << QString::fromLatin1("0123456789abcd\xd0");
    }

    void rememberedPassword()
    {
        QFETCH(QString, password);
        QFETCH(int, cipherSize);
        QFETCH(QString, back);
        QByteArray cipher = AESUtil::encode(password);
        QCOMPARE(cipher.size(), cipherSize);
        QCOMPARE(AESUtil::decode(cipher), back);
        // AES-256-ECB of the ISO-padded bytes under SHA-256 of the phrase, checked with OpenSSL.
        const QByteArray key = digest(EVP_sha256(), "Qorvim");
        QCOMPARE(AESUtil::key().toHex(), key.toHex());
        QCOMPARE(AESUtil::iv().toHex(), digest(EVP_md5(), "7394018265539172").toHex());
        const QByteArray bytes = password.toUtf8();
        const QByteArray padded = bytes + QAESEncryption::paddingFor(bytes.size(), QAESEncryption::ISO);
        QCOMPARE(cipher.toHex(), evp(QAESEncryption::AES_256, QAESEncryption::ECB, true, padded, key, {}).toHex());
        QByteArray damaged("12345"); // no whole block: nothing comes back
        QCOMPARE(AESUtil::decode(damaged), QString());
    }
};

VELKOR_TEST_MAIN(TestCipher)
#include "TestCipher.moc"

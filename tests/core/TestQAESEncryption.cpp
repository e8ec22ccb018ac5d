#include "QAESEncryption.h"
#include "TestSupport.h"

#include <QRandomGenerator>
#include <QtTest>

#include <openssl/evp.h>

// QAESEncryption against OpenSSL's EVP ciphers (every level and mode) and its padding rules.
class TestQAESEncryption : public QObject
{
    Q_OBJECT

    using Aes = QAESEncryption::Aes;
    using Mode = QAESEncryption::Mode;

    static const EVP_CIPHER* evpCipher(Aes level, Mode mode)
    {
        static const EVP_CIPHER* const table[3][4] = {
            { EVP_aes_128_ecb(), EVP_aes_128_cbc(), EVP_aes_128_cfb128(), EVP_aes_128_ofb() },
            { EVP_aes_192_ecb(), EVP_aes_192_cbc(), EVP_aes_192_cfb128(), EVP_aes_192_ofb() },
            { EVP_aes_256_ecb(), EVP_aes_256_cbc(), EVP_aes_256_cfb128(), EVP_aes_256_ofb() },
        };
        return table[level][mode];
    }

    // OpenSSL's result; with pad set it applies its own PKCS#7 padding (ECB and CBC only).
    static QByteArray evp(Aes level, Mode mode, bool encrypt, const QByteArray& data, const QByteArray& key,
        const QByteArray& iv, bool pad)
    {
        EVP_CIPHER_CTX* ctx = EVP_CIPHER_CTX_new();
        const auto* k = reinterpret_cast<const unsigned char*>(key.constData());
        const auto* v = mode == QAESEncryption::ECB ? nullptr : reinterpret_cast<const unsigned char*>(iv.constData());
        QByteArray out(data.size() + 32, '\0');
        int len = 0, tail = 0;
        bool ok = EVP_CipherInit_ex(ctx, evpCipher(level, mode), nullptr, k, v, encrypt ? 1 : 0) == 1
            && EVP_CIPHER_CTX_set_padding(ctx, pad ? 1 : 0) == 1
            && EVP_CipherUpdate(ctx, reinterpret_cast<unsigned char*>(out.data()), &len,
                   reinterpret_cast<const unsigned char*>(data.constData()), data.size())
                == 1
            && EVP_CipherFinal_ex(ctx, reinterpret_cast<unsigned char*>(out.data()) + len, &tail) == 1;
        EVP_CIPHER_CTX_free(ctx);
        if (!ok)
            return QByteArray("openssl failed");
        out.truncate(len + tail);
        return out;
    }

    static QByteArray randomBytes(QRandomGenerator& rng, int n)
    {
        QByteArray bytes(n, '\0');
        for (char& c : bytes)
            c = char(rng.bounded(256));
        return bytes;
    }

    static QByteArray pkcs7(const QByteArray& data)
    {
        const int fill = 16 - data.size() % 16;
        return data + QByteArray(fill, char(fill));
    }

    static QList<int> lengths()
    {
        QList<int> result;
        for (int n = 0; n <= 66; ++n)
            result << n;
        result << 95 << 96 << 97 << 255 << 256 << 1000 << 4099;
        return result;
    }

private slots:
    void keyScheduleAndKeyLength()
    {
        // FIPS-197 appendix A.1: the last round key of the AES-128 example.
        const QByteArray key = QByteArray::fromHex("2b7e151628aed2a6abf7158809cf4f3c");
        const QByteArray schedule = QAESEncryption::ExpandKey(QAESEncryption::AES_128, key);
        QCOMPARE(schedule.size(), 176);
        QCOMPARE(schedule.left(16), key);
        QCOMPARE(schedule.right(16).toHex(), QByteArray("d014f9a8c9ee2589e13f0cc8b6630ca6"));

        // A key of another length than the level's is refused, not cut or stretched.
        const QByteArray plain(16, 'x');
        QVERIFY(QAESEncryption::ExpandKey(QAESEncryption::AES_256, key).isEmpty());
        QVERIFY(QAESEncryption::Crypt(QAESEncryption::AES_192, QAESEncryption::ECB, plain, key).isEmpty());
        QVERIFY(QAESEncryption::Decrypt(QAESEncryption::AES_128, QAESEncryption::ECB, plain, key + "x").isEmpty());
    }

    void matchesOpenSsl_data()
    {
        QTest::addColumn<int>("level");
        QTest::addColumn<int>("mode");
        const char* levels[] = { "128", "192", "256" };
        const char* modes[] = { "ECB", "CBC", "CFB", "OFB" };
        for (int l = 0; l < 3; ++l)
            for (int m = 0; m < 4; ++m)
                QTest::addRow("%s-%s", levels[l], modes[m]) << l << m;
    }

    void matchesOpenSsl()
    {
        QFETCH(int, level);
        QFETCH(int, mode);
        const Aes aesLevel = Aes(level);
        const Mode aesMode = Mode(mode);
        QRandomGenerator rng(quint32(1000 + 10 * level + mode));
        const bool blockMode = aesMode == QAESEncryption::ECB || aesMode == QAESEncryption::CBC;

        for (int n : lengths()) {
            const QByteArray key = randomBytes(rng, QAESEncryption::keyLength(aesLevel));
            const QByteArray iv = randomBytes(rng, 16);
            const QByteArray data = randomBytes(rng, n);
            const QByteArray padded = pkcs7(data);

            const QByteArray ours = QAESEncryption::Crypt(aesLevel, aesMode, data, key, iv, QAESEncryption::PKCS7);
            QCOMPARE(ours.size(), padded.size());
            QCOMPARE(ours.toHex(), evp(aesLevel, aesMode, true, padded, key, iv, false).toHex());
            if (blockMode)
                QCOMPARE(ours.toHex(), evp(aesLevel, aesMode, true, data, key, iv, true).toHex());

            // Deciphering keeps the padding; removing it restores the data.
            const QByteArray back = QAESEncryption::Decrypt(aesLevel, aesMode, ours, key, iv, QAESEncryption::PKCS7);
            QCOMPARE(back.toHex(), padded.toHex());
            QCOMPARE(QAESEncryption::RemovePadding(back, QAESEncryption::PKCS7).toHex(), data.toHex());

            // CFB and OFB streams: OpenSSL's unpadded cipher text of any length deciphers.
            if (!blockMode) {
                const QByteArray stream = evp(aesLevel, aesMode, true, data, key, iv, false);
                QCOMPARE(QAESEncryption::Decrypt(aesLevel, aesMode, stream, key, iv).toHex(), data.toHex());
            }
        }
    }

    void paddingForms_data()
    {
        QTest::addColumn<int>("padding");
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QByteArray>("fill");
        const int zero = QAESEncryption::ZERO, pkcs = QAESEncryption::PKCS7, iso = QAESEncryption::ISO;
        QTest::newRow("zero 3") << zero << QByteArray("abc") << QByteArray(13, '\0');
        QTest::newRow("zero 17") << zero << QByteArray(17, 'a') << QByteArray(15, '\0');
        QTest::newRow("pkcs7 empty") << pkcs << QByteArray() << QByteArray(16, '\x10');
        QTest::newRow("pkcs7 3") << pkcs << QByteArray("abc") << QByteArray(13, '\x0d');
        QTest::newRow("pkcs7 32") << pkcs << QByteArray(32, 'a') << QByteArray(16, '\x10');
        QTest::newRow("iso 3") << iso << QByteArray("abc") << QByteArray(QByteArray("\x80") + QByteArray(12, '\0'));
        QTest::newRow("iso 16") << iso << QByteArray(16, 'a') << QByteArray();
    }

    void paddingForms()
    {
        QFETCH(int, padding);
        QFETCH(QByteArray, data);
        QFETCH(QByteArray, fill);
        const auto pad = QAESEncryption::Padding(padding);
        QCOMPARE(QAESEncryption::paddingFor(data.size(), pad).toHex(), fill.toHex());

        // encode pads before ciphering: deciphering shows exactly the fill.
        const QByteArray key(32, 'k');
        const QByteArray iv(16, 'i');
        for (int mode = 0; mode < 4; ++mode) {
            QAESEncryption aes(QAESEncryption::AES_256, Mode(mode), pad);
            const QByteArray cipher = aes.encode(data, key, iv);
            QCOMPARE(cipher.size(), data.size() + fill.size());
            const QByteArray plain = aes.decode(cipher, key, iv);
            QCOMPARE(plain.toHex(), QByteArray(data + fill).toHex());
            QCOMPARE(aes.removePadding(plain).toHex(), data.toHex());
        }
    }

    void paddingRemoval_data()
    {
        QTest::addColumn<int>("padding");
        QTest::addColumn<QByteArray>("data");
        QTest::addColumn<QByteArray>("expected");
        const int zero = QAESEncryption::ZERO, pkcs = QAESEncryption::PKCS7, iso = QAESEncryption::ISO;
        for (int p : { zero, pkcs, iso })
            QTest::addRow("empty %d", p) << p << QByteArray() << QByteArray();
        // Zero padding cannot tell the data's own trailing zeros from the fill.
        QTest::newRow("zero drops all") << zero << QByteArray("ab\0\0\0", 5) << QByteArray("ab");
        QTest::newRow("zero inner kept") << zero << QByteArray("a\0b", 3) << QByteArray("a\0b", 3);
        QTest::newRow("pkcs7 by last byte") << pkcs << QByteArray("abcde\x03") << QByteArray("abc");
        QTest::newRow("pkcs7 count too big") << pkcs << QByteArray("ab\x09") << QByteArray();
        QTest::newRow("pkcs7 zero count") << pkcs << QByteArray("ab\0", 3) << QByteArray("ab\0", 3);
        QTest::newRow("iso marker") << iso << QByteArray("abc\x80\0\0", 6) << QByteArray("abc");
        QTest::newRow("iso marker only") << iso << QByteArray("\x80\0", 2) << QByteArray();
        QTest::newRow("iso no marker") << iso << QByteArray("abc\0\0", 5) << QByteArray("abc\0\0", 5);
        QTest::newRow("iso inner marker") << iso << QByteArray("a\x80z") << QByteArray("a\x80z");
    }

    void paddingRemoval()
    {
        QFETCH(int, padding);
        QFETCH(QByteArray, data);
        QFETCH(QByteArray, expected);
        QCOMPARE(QAESEncryption::RemovePadding(data, QAESEncryption::Padding(padding)).toHex(), expected.toHex());
    }

    void ivRules()
    {
        const QByteArray key(16, 'k');
        const QByteArray data("some secret text");
        const QByteArray badIvs[] = { QByteArray(), QByteArray(15, 'i'), QByteArray(17, 'i') };
        for (Mode mode : { QAESEncryption::CBC, QAESEncryption::CFB, QAESEncryption::OFB }) {
            QAESEncryption aes(QAESEncryption::AES_128, mode, QAESEncryption::PKCS7);
            for (const QByteArray& iv : badIvs) {
                QVERIFY(aes.encode(data, key, iv).isEmpty());
                QVERIFY(aes.decode(QByteArray(32, 'c'), key, iv).isEmpty());
            }
            // A changed IV changes the cipher text.
            QVERIFY(aes.encode(data, key, QByteArray(16, 'a')) != aes.encode(data, key, QByteArray(16, 'b')));
        }
        // ECB takes no IV: any or none gives the same result.
        QAESEncryption ecb(QAESEncryption::AES_128, QAESEncryption::ECB, QAESEncryption::PKCS7);
        const QByteArray cipher = ecb.encode(data, key);
        QCOMPARE(cipher.size(), 32);
        QCOMPARE(ecb.encode(data, key, QByteArray(5, 'i')), cipher);
        QCOMPARE(ecb.removePadding(ecb.decode(cipher, key, QByteArray(16, 'i'))), data);
    }

    void wholeBlocksOnlyInBlockModes()
    {
        // ECB and CBC ignore a trailing partial block of cipher text.
        const QByteArray key(24, 'k');
        const QByteArray iv(16, 'v');
        const QByteArray data(32, 'd');
        for (Mode mode : { QAESEncryption::ECB, QAESEncryption::CBC }) {
            const QByteArray cipher
                = QAESEncryption::Crypt(QAESEncryption::AES_192, mode, data, key, iv, QAESEncryption::ZERO);
            const QByteArray back = QAESEncryption::Decrypt(QAESEncryption::AES_192, mode, cipher + "xyz", key, iv);
            QCOMPARE(back, data);
            QVERIFY(QAESEncryption::Decrypt(QAESEncryption::AES_192, mode, QByteArray(15, 'c'), key, iv).isEmpty());
        }
    }
};

VELKOR_TEST_MAIN(TestQAESEncryption)
#include "TestQAESEncryption.moc"

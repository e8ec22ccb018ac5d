#include "MD5Util.h"
#include "TestSupport.h"

#include <QRandomGenerator>
#include <QtTest>

#include <cstring>

// The seeded variants are checked with OpenSSL's MD5 whose chaining words are set by hand,
// which needs the low-level API that OpenSSL 3 marks deprecated.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wdeprecated-declarations"
#include <openssl/md5.h>

namespace {

QByteArray opensslSeededMd5(const QByteArray& data, unsigned int index)
{
    MD5_CTX ctx;
    MD5_Init(&ctx);
    ctx.A = 0x67452301u + index * 11u;
    ctx.B = 0xefcdab89u + index * 71u;
    ctx.C = 0x98badcfeu + index * 37u;
    ctx.D = 0x10325476u + index * 97u;
    MD5_Update(&ctx, data.constData(), size_t(data.size()));
    unsigned char digest[MD5_DIGEST_LENGTH];
    MD5_Final(digest, &ctx);
    return QByteArray(reinterpret_cast<const char*>(digest), MD5_DIGEST_LENGTH).toHex();
}

} // namespace
#pragma GCC diagnostic pop

class TestMD5Util : public QObject
{
    Q_OBJECT

    static QByteArray printable(QRandomGenerator& rng, int n)
    {
        QByteArray bytes(n, '\0');
        for (char& c : bytes)
            c = char(1 + rng.bounded(255)); // any byte but NUL
        return bytes;
    }

    static bool allZero(const char* buffer, int from)
    {
        for (int i = from; i < MD5Util::RESULT_SIZE; ++i)
            if (buffer[i] != '\0')
                return false;
        return true;
    }

private slots:
    void index0IsRfc1321_data()
    {
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<QByteArray>("digest");
        // Two of the published vectors; every length and index is compared with OpenSSL below.
        QTest::newRow("abc") << QByteArray("abc") << QByteArray("900150983cd24fb0d6963f7d28e17f72");
        QTest::newRow("digits x8") << QByteArray(
            "12345678901234567890123456789012345678901234567890123456789012345678901234567890")
                                   << QByteArray("57edf4a22be3c955ac49da2e2107b67a");
    }

    void index0IsRfc1321()
    {
        QFETCH(QByteArray, input);
        QFETCH(QByteArray, digest);
        const char* result = MD5Util::callMD5(input.data());
        QCOMPARE(QByteArray(result), digest);
        QVERIFY(allZero(result, 32));
        QCOMPARE(MD5Util::callMD5(input), QString::fromLatin1(digest));
    }

    void seededIndexesMatchOpenSsl()
    {
        QRandomGenerator rng(4242);
        const QList<int> lengths = { 1, 2, 31, 54, 55, 56, 57, 63, 64, 65, 119, 120, 128, 129, 1000, 5000 };
        for (int n : lengths) {
            QByteArray input = printable(rng, n);
            const char* result = MD5Util::call128MD5(input.data());
            QCOMPARE(int(std::strlen(result)), 128);
            QVERIFY(allZero(result, 128));
            for (unsigned int index = 0; index < 4; ++index)
                QCOMPARE(QByteArray(result + 32 * index, 32), opensslSeededMd5(input, index));
            // The first digest is plain MD5, the same as callMD5.
            QCOMPARE(QByteArray(MD5Util::callMD5(input.data())), QByteArray(result, 32));
            QCOMPARE(MD5Util::call128MD5(input), QString::fromLatin1(result));
        }
    }

    void streamedUpdatesMatchOneShot()
    {
        QRandomGenerator rng(77);
        const QByteArray input = printable(rng, 300);
        for (int split : { 0, 1, 55, 63, 64, 65, 128, 200, 300 }) {
            MD5Util::MD5Context ctx;
            MD5Util::MD5Init(&ctx, 2);
            const auto* bytes = reinterpret_cast<const unsigned char*>(input.constData());
            MD5Util::MD5Update(&ctx, bytes, size_t(split));
            MD5Util::MD5Update(&ctx, bytes + split, size_t(input.size() - split));
            unsigned char digest[16];
            MD5Util::MD5Final(digest, &ctx);
            QCOMPARE(QByteArray(reinterpret_cast<const char*>(digest), 16).toHex(), opensslSeededMd5(input, 2));
        }
    }

    void emptyInputGivesEmptyText()
    {
        char empty[] = "";
        QByteArray warmUp("fill the buffers first");
        MD5Util::callMD5(warmUp.data());
        MD5Util::call128MD5(warmUp.data());

        const char* one = MD5Util::callMD5(empty);
        QVERIFY(allZero(one, 0));
        const char* four = MD5Util::call128MD5(empty);
        QVERIFY(allZero(four, 0));
        QVERIFY(allZero(MD5Util::callMD5(nullptr), 0));
        QCOMPARE(MD5Util::callMD5(QByteArray()), QString());
        QCOMPARE(MD5Util::call128MD5(QByteArray()), QString());
    }

    void readsUpToFirstNul()
    {
        QByteArray withNul("abc\0def", 7);
        QCOMPARE(QByteArray(MD5Util::callMD5(withNul.data())), QByteArray("900150983cd24fb0d6963f7d28e17f72"));
        QCOMPARE(MD5Util::callMD5(withNul), QStringLiteral("900150983cd24fb0d6963f7d28e17f72"));
        QByteArray leadingNul("\0abc", 4);
        QCOMPARE(MD5Util::call128MD5(leadingNul), QString());
    }

    void buffersAreSeparate()
    {
        // Each function has its own buffer: a call of one leaves the other's result intact.
        QByteArray a("a"), b("b");
        const char* first = MD5Util::callMD5(a.data());
        MD5Util::call128MD5(b.data());
        QCOMPARE(QByteArray(first), QByteArray("0cc175b9c0f1b6a831c399e269772661"));
    }
};

VELKOR_TEST_MAIN(TestMD5Util)
#include "TestMD5Util.moc"

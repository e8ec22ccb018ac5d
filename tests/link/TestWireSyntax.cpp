#include "DeviceProtocol.h"
#include "MD5Util.h"
#include "NetworkUtil.h"
#include "StringUtil.h"
#include "TestSupport.h"
#include "WireCodec.h"

#include <QRandomGenerator>
#include <cstring>

// The seeded digests are checked with OpenSSL's MD5 whose chaining words are set by hand, which
// needs the low-level API that OpenSSL 3 marks deprecated.
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

// Tags, the wire's encoding, addresses and the password digests.
class TestWireSyntax : public QObject
{
    Q_OBJECT

private slots:
    void getValue_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("tag");
        QTest::addColumn<QString>("expected");
        QTest::newRow("lower-case tags, value keeps its case") << "<feedback>OK</feedback>" << "FEEDBACK" << "OK";
        QTest::newRow("mixed-case tag in text") << "<FeedBack>Ok</FEEDBACK>" << "feedback" << "Ok";
        QTest::newRow("close mark without open mark") << "x</FEEDBACK>" << "FEEDBACK" << "";
        QTest::newRow("open mark without close mark") << "<FEEDBACK>OK" << "FEEDBACK" << "";
        QTest::newRow("empty reply") << "" << "FEEDBACK" << "";
        QTest::newRow("present but empty") << "<COUNT></COUNT>" << "COUNT" << "";
        QTest::newRow("value holding '<'") << "<NAME>a<b</NAME>" << "NAME" << "a<b";
        QTest::newRow("first of repeated tags") << "<ID>1</ID><ID>2</ID>" << "ID" << "1";
        QTest::newRow("tag that is a prefix of another") << "<IDX>9</IDX><ID>3</ID>" << "ID" << "3";
        QTest::newRow("close mark before open mark") << "</A>x<A>y" << "A" << "";

        // Inputs that fuzz/fuzz_getvalue found, word for word: a lower-case copy of "İ" (U+0130)
        // is two units long, so values after it were cut one unit off.
        const QString found = WireCodec::decode(QByteArray::fromHex(
            "050043004f0055004e0054003c0043004f0055004e0054003e0033003c00"
            "2f0043004f0055004e0054003e003c00540049004d0045003e003200300c"
            "320034002d00300033002d00300035002000300034003a00300100000000"
            "0000180037003a0030005554462d31364c4539003c002f00540049004d00"
            "45003e003c005400410053004b003e0035000000300031003c002f005400"
            "410053004b003e233c00530045004e004400430045004900560045005200"
            "3e003c00530056005200ae0044003e0036005554462d3136350030003000"
            "31003c002f00530056005200490044003e003c0052"));
        QTest::newRow("fuzzer's reply, COUNT before") << found << "COUNT" << "3";
        QTest::newRow("fuzzer's reply, TIME across it")
            << found << "time"
            << QStringLiteral("2\u0C3024-03-05 04:\u0130") + QString(3, QChar(0))
                + QStringLiteral("\u00187:0\u5455\u2D46\u3631\u454C9");
        QTest::newRow("fuzzer's reply, SVRID without its open mark") << found << "SVRID" << "";
        QTest::newRow("a sender from İzmir")
            << QStringLiteral("<COUNT>1</COUNT><SENDER>İZMİR Ltd</SENDER><RECEIVER>public</RECEIVER>") << "RECEIVER"
            << "public";
        QTest::newRow("the value itself") << QStringLiteral("<remark>İİİ</remark><FEEDBACK>OK</FEEDBACK>") << "REMARK" << "İİİ";
        QTest::newRow("after the value") << QStringLiteral("<remark>İİİ</remark><FEEDBACK>OK</FEEDBACK>") << "feedback" << "OK";
    }

    void getValue()
    {
        QFETCH(QString, text);
        QFETCH(QString, tag);
        QFETCH(QString, expected);
        QCOMPARE(StringUtil::getValue(text, tag), expected);
    }

    void codec()
    {
        // Little-endian UTF-16; the plain encoder writes no mark, the other one each time.
        QCOMPARE(WireCodec::encode(QStringLiteral("<A>传")), QByteArray("<\0A\0>\0\x20\x4f", 8));
        QCOMPARE(WireCodec::encodeWithBom(QStringLiteral("<A>")), QByteArray("\xff\xfe<\0A\0>\0", 8));
        QCOMPARE(WireCodec::encodeWithBom(QStringLiteral("<A>")).left(2), QByteArray("\xff\xfe", 2));
        const QString text = QStringLiteral("<FEEDBACK>OK</FEEDBACK><NAME>传真 ü</NAME>");
        QCOMPARE(WireCodec::decode(WireCodec::encode(text)), text);
        QCOMPARE(WireCodec::decode(WireCodec::encodeWithBom(text)), text); // a mark is dropped
        QCOMPARE(WireCodec::decode(QByteArray()), QString());
        // Over the internet each LAN port has its place after the device's base port.
        using namespace DeviceProtocol;
        QCOMPARE((QList<int> { internetPort(PORT_UPLOAD, 4000), internetPort(PORT_COMMAND, 4000),
                     internetPort(PORT_FIRMWARE, 4000), internetPort(PORT_BASE, 4000), internetPort(9000, 4000) }),
            (QList<int> { 4001, 4006, 4000, 4000, 4000 }));
    }

    void addresses_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("isIp");
        QTest::addColumn<bool>("isLocal");
        QTest::newRow("192.168") << "192.168.8.1" << true << true;
        QTest::newRow("192.169") << "192.169.0.1" << true << false;
        QTest::newRow("10/8") << "10.20.30.40" << true << true;
        QTest::newRow("172.16") << "172.16.0.1" << true << true;
        QTest::newRow("172.31") << "172.31.255.1" << true << true;
        QTest::newRow("172.15") << "172.15.0.1" << true << false;
        QTest::newRow("172.32") << "172.32.0.1" << true << false;
        QTest::newRow("loopback") << "127.0.0.1" << true << false;
        QTest::newRow("zeros") << "0.0.0.0" << true << false;
        QTest::newRow("top") << "255.255.255.255" << true << false;
        QTest::newRow("leading zeros") << "010.001.000.009" << true << true;
        QTest::newRow("256") << "256.1.1.1" << false << false;
        QTest::newRow("three parts") << "10.0.1" << false << false;
        QTest::newRow("five parts") << "1.2.3.4.5" << false << false;
        QTest::newRow("identity") << "AB12CD34" << false << false;
        QTest::newRow("with port") << "10.0.0.1:3001" << false << false;
        QTest::newRow("trailing space") << "10.0.0.1 " << false << false;
        QTest::newRow("empty") << "" << false << false;
    }

    void addresses()
    {
        QFETCH(QString, text);
        QFETCH(bool, isIp);
        QFETCH(bool, isLocal);
        QCOMPARE(NetworkUtil::isIpAddr(text), isIp);
        if (isIp || !text.startsWith(QLatin1String("10."))) // callers ask only about addresses
            QCOMPARE(NetworkUtil::isLocalIP(text.toStdString()), isLocal);
    }

    void digests_data()
    {
        QTest::addColumn<QByteArray>("input");
        QTest::addColumn<QByteArray>("md5"); // the published vector, or empty
        QTest::newRow("abc") << QByteArray("abc") << QByteArray("900150983cd24fb0d6963f7d28e17f72");
        QTest::newRow("digits x8") << QByteArray("1234567890").repeated(8) << QByteArray("57edf4a22be3c955ac49da2e2107b67a");
        QTest::newRow("up to the first NUL") << QByteArray("abc\0def", 7) << QByteArray("900150983cd24fb0d6963f7d28e17f72");
        QTest::newRow("empty") << QByteArray() << QByteArray();
        QTest::newRow("leading NUL") << QByteArray("\0abc", 4) << QByteArray();
        QRandomGenerator rng(4242);
        for (int n : { 1, 31, 55, 56, 57, 63, 64, 65, 119, 120, 128, 129, 5000 }) {
            QByteArray bytes(n, '\0');
            for (char& c : bytes)
                c = char(1 + rng.bounded(255)); // any byte but NUL
            QTest::addRow("%d random bytes", n) << bytes << QByteArray();
        }
    }

    void digests()
    {
        QFETCH(QByteArray, input);
        QFETCH(QByteArray, md5);
        const QByteArray text = input.left(int(std::strlen(input.constData())));
        QByteArray four;
        for (unsigned int index = 0; index < 4 && !text.isEmpty(); ++index)
            four += opensslSeededMd5(text, index);
        if (!md5.isEmpty())
            QCOMPARE(four.left(32), md5);
        // The C forms fill fixed buffers of their own: nothing after the text, and a call of one
        // leaves the other's result intact.
        const char* one = MD5Util::callMD5(input.data());
        const char* all = MD5Util::call128MD5(input.data());
        QCOMPARE(QByteArray(one), four.left(32));
        QCOMPARE(QByteArray(all), four);
        QCOMPARE(QByteArray(one, MD5Util::RESULT_SIZE), four.left(32) + QByteArray(MD5Util::RESULT_SIZE - four.left(32).size(), '\0'));
        QCOMPARE(MD5Util::callMD5(input), QString::fromLatin1(four.left(32)));
        QCOMPARE(MD5Util::call128MD5(input), QString::fromLatin1(four));

        // Streamed in two pieces anywhere gives the same digest.
        for (int split : { 0, 1, 63, 64, 65 }) {
            if (split > text.size())
                break;
            MD5Util::MD5Context ctx;
            MD5Util::MD5Init(&ctx, 2);
            const auto* bytes = reinterpret_cast<const unsigned char*>(text.constData());
            MD5Util::MD5Update(&ctx, bytes, size_t(split));
            MD5Util::MD5Update(&ctx, bytes + split, size_t(text.size() - split));
            unsigned char digest[16];
            MD5Util::MD5Final(digest, &ctx);
            QCOMPARE(QByteArray(reinterpret_cast<const char*>(digest), 16).toHex(), opensslSeededMd5(text, 2));
        }
    }
};

VELKOR_TEST_MAIN(TestWireSyntax)
#include "TestWireSyntax.moc"

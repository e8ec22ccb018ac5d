#include "DeviceProtocol.h"
#include "StringUtil.h"
#include "TestSupport.h"
#include "WireCodec.h"

#include <QApplication>

class TestWireSyntax : public QObject
{
    Q_OBJECT

private slots:
    void getValue_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("tag");
        QTest::addColumn<QString>("expected");

        QTest::newRow("lower-case tags, value keeps its case")
            << "<feedback>OK</feedback>" << "FEEDBACK" << "OK";
        QTest::newRow("mixed-case tag in text") << "<FeedBack>Ok</FEEDBACK>" << "feedback" << "Ok";
        QTest::newRow("close mark without open mark") << "x</FEEDBACK>" << "FEEDBACK" << "";
        QTest::newRow("open mark without close mark") << "<FEEDBACK>OK" << "FEEDBACK" << "";
        QTest::newRow("empty reply") << "" << "FEEDBACK" << "";
        QTest::newRow("present but empty") << "<COUNT></COUNT>" << "COUNT" << "";
        QTest::newRow("value holding '<'") << "<NAME>a<b</NAME>" << "NAME" << "a<b";
        QTest::newRow("first of repeated tags")
            << "<ID>1</ID><ID>2</ID>" << "ID" << "1";
        QTest::newRow("tag that is a prefix of another") << "<IDX>9</IDX><ID>3</ID>" << "ID" << "3";
        QTest::newRow("close mark before open mark") << "</A>x<A>y" << "A" << "";
    }

    void getValue()
    {
        QFETCH(QString, text);
        QFETCH(QString, tag);
        QFETCH(QString, expected);
        QCOMPARE(StringUtil::getValue(text, tag), expected);
    }

    void encoderWritesNoMark()
    {
        const QByteArray bytes = WireCodec::encode(QStringLiteral("<ACTION>SEND_FAX_PAUSE</ACTION>"));
        QCOMPARE(bytes.size() % 2, 0);
        QCOMPARE(bytes.size(), 2 * 31);
        QCOMPARE(bytes.left(4), QByteArray("\x3c\x00\x41\x00", 4));
    }

    void plainCodecWritesMark()
    {
        const QByteArray bytes = WireCodec::encodeWithBom(QStringLiteral("<ACTION>LOGIN</ACTION>"));
        QCOMPARE(bytes.left(4), QByteArray("\xff\xfe\x3c\x00", 4));
        QCOMPARE(bytes.size(), 2 + 2 * 22);
        // Each use starts afresh, so a second request carries its own mark.
        QCOMPARE(WireCodec::encodeWithBom(QStringLiteral("<A>")).left(2), QByteArray("\xff\xfe", 2));
    }

    void nonAsciiIsLittleEndian()
    {
        // U+4F20 (传) must be 20 4F on the wire.
        QCOMPARE(WireCodec::encode(QStringLiteral("传")), QByteArray("\x20\x4f", 2));
    }

    void decodeRoundTrip()
    {
        const QString text = QStringLiteral("<FEEDBACK>OK</FEEDBACK><NAME>传真 ü</NAME>");
        QCOMPARE(WireCodec::decode(WireCodec::encode(text)), text);
        // A reply that starts with the mark decodes without it.
        QCOMPARE(WireCodec::decode(WireCodec::encodeWithBom(text)), text);
        QCOMPARE(WireCodec::decode(QByteArray()), QString());
    }

    void internetPortMapping()
    {
        using namespace DeviceProtocol;
        QCOMPARE(internetPort(PORT_UPLOAD, 3001), 3002);
        QCOMPARE(internetPort(PORT_COMMAND, 3001), 3007); // a pause over the internet
        QCOMPARE(internetPort(PORT_FIRMWARE, 3001), 3001); // firmware goes to the base itself
        QCOMPARE(internetPort(PORT_BASE, 4000), 4000);
        QCOMPARE(internetPort(PORT_COMMAND, 4000), 4006);
        QCOMPARE(internetPort(PORT_UPLOAD, 4000), 4001);
        QCOMPARE(internetPort(9000, 4000), 4000);
    }

    void timeoutsKeepProductionValuesUnlessDivided()
    {
        using namespace DeviceProtocol;
        QCOMPARE(connectTimeout(), 3000);
        QCOMPARE(greetingTimeout(), 15000);
        QCOMPARE(replyTimeout(), 30000);
        setTestTimeoutDivisor(100);
        QCOMPARE(greetingTimeout(), 150);
        QCOMPARE(replyTimeout(), 300);
        setTestTimeoutDivisor(0); // never below 1
        QCOMPARE(replyTimeout(), 30000);
        setTestTimeoutDivisor(1);
    }
};

VELKOR_TEST_MAIN(TestWireSyntax)
#include "TestWireSyntax.moc"

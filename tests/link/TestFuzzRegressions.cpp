#include "StringUtil.h"
#include "TestSupport.h"
#include "WireCodec.h"

// Inputs that fuzz/fuzz_getvalue once found to break StringUtil::getValue, kept word for word.
class TestFuzzRegressions : public QObject
{
    Q_OBJECT

private slots:
    // A lower-case copy of "İ" (U+0130) is two units long: values after it were cut one unit
    // off, taking in the "<" of their close mark.
    void valuesAfterADottedCapitalI_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("tag");
        QTest::addColumn<QString>("value");

        // The fuzzer's reply, as it came off the socket.
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
            << QStringLiteral("2\u0C3024-03-05 04:\u0130") + QString(3, QChar(0)) + QStringLiteral("\u00187:0\u5455\u2D46\u3631\u454C9");
        QTest::newRow("fuzzer's reply, SVRID without its open mark") << found << "SVRID" << "";
        QTest::newRow("a sender from İzmir")
            << QStringLiteral("<COUNT>1</COUNT><SENDER>İZMİR Ltd</SENDER><RECEIVER>public</RECEIVER><TASK>1002</TASK>")
            << "RECEIVER" << "public";
        QTest::newRow("the value itself") << QStringLiteral("<remark>İİİ</remark><FEEDBACK>OK</FEEDBACK>") << "REMARK" << "İİİ";
        QTest::newRow("after the value") << QStringLiteral("<remark>İİİ</remark><FEEDBACK>OK</FEEDBACK>") << "feedback" << "OK";
    }

    void valuesAfterADottedCapitalI()
    {
        QFETCH(QString, text);
        QFETCH(QString, tag);
        QFETCH(QString, value);
        QCOMPARE(StringUtil::getValue(text, tag), value);
    }
};

VELKOR_TEST_MAIN(TestFuzzRegressions)
#include "TestFuzzRegressions.moc"

#include "NetworkUtil.h"
#include "TestSupport.h"

#include <QApplication>

class TestNetworkUtil : public QObject
{
    Q_OBJECT

private slots:
    void isIpAddr_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<bool>("expected");
        QTest::newRow("plain") << "192.168.1.20" << true;
        QTest::newRow("zeros") << "0.0.0.0" << true;
        QTest::newRow("top") << "255.255.255.255" << true;
        QTest::newRow("256") << "256.1.1.1" << false;
        QTest::newRow("three parts") << "10.0.1" << false;
        QTest::newRow("five parts") << "1.2.3.4.5" << false;
        QTest::newRow("identity") << "AB12CD34" << false;
        QTest::newRow("with port") << "10.0.0.1:3001" << false;
        QTest::newRow("trailing space") << "10.0.0.1 " << false;
        QTest::newRow("empty") << "" << false;
        QTest::newRow("leading zeros") << "010.001.000.009" << true;
    }

    void isIpAddr()
    {
        QFETCH(QString, text);
        QFETCH(bool, expected);
        QCOMPARE(NetworkUtil::isIpAddr(text), expected);
    }

    void isLocalIP_data()
    {
        QTest::addColumn<QString>("address");
        QTest::addColumn<bool>("expected");
        QTest::newRow("10/8") << "10.20.30.40" << true;
        QTest::newRow("172.16") << "172.16.0.1" << true;
        QTest::newRow("172.31") << "172.31.255.1" << true;
        QTest::newRow("172.15") << "172.15.0.1" << false;
        QTest::newRow("172.32") << "172.32.0.1" << false;
        QTest::newRow("192.168") << "192.168.8.1" << true;
        QTest::newRow("192.169") << "192.169.0.1" << false;
        QTest::newRow("public") << "8.8.8.8" << false;
        QTest::newRow("loopback") << "127.0.0.1" << false;
        QTest::newRow("empty") << "" << false;
        QTest::newRow("garbage") << "abc" << false;
    }

    void isLocalIP()
    {
        QFETCH(QString, address);
        QFETCH(bool, expected);
        QCOMPARE(NetworkUtil::isLocalIP(address.toStdString()), expected);
    }
};

VELKOR_TEST_MAIN(TestNetworkUtil)
#include "TestNetworkUtil.moc"

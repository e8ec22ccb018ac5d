#include "AutoSearchWidget.h"
#include "DatabaseManager.h"
#include "DeviceDiscovery.h"
#include "InputDeviceInfoDialog.h"
#include "MGlobal.h"
#include "ManualAssignWidget.h"
#include "MyUDPTask.h"
#include "TestSupport.h"

#include <QApplication>
#include <QSignalSpy>
#include <QStandardItemModel>
#include <QTextCodec>
#include <QUdpSocket>

namespace {
QByteArray gbk(const QString& text)
{
    return QTextCodec::codecForName("GBK")->fromUnicode(text);
}

// Sends a discovery answer from `from` to the reply port on loopback.
void announce(const QString& from, const QString& name, const QString& id)
{
    QUdpSocket sender;
    QVERIFY(sender.bind(QHostAddress(from), 0));
    const QByteArray datagram = gbk(QStringLiteral("Fax server NAME:%1 ID:%2) ver 1").arg(name, id));
    QCOMPARE(sender.writeDatagram(datagram, QHostAddress::LocalHost, DeviceDiscovery::REPLY_PORT),
             qint64(datagram.size()));
}
} // namespace

class TestDiscovery : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qRegisterMetaType<Device>("Device&"); }

    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
    }

    void parseReplyFields()
    {
        const Device d = DeviceDiscovery::parseReply(gbk(QStringLiteral("NAME: 前台传真 ID: AB12CD )")),
                                                     QHostAddress(QStringLiteral("::ffff:192.168.1.7")));
        QCOMPARE(d.serverName, QStringLiteral("前台传真"));
        QCOMPARE(d.productID, QStringLiteral("AB12CD"));
        QCOMPARE(d.localIP, QStringLiteral("192.168.1.7"));
        QCOMPARE(d.internetPort, 3001);
        QVERIFY(d.deviceName.isEmpty());
    }

    void parseReplyWithoutMarks()
    {
        const Device d = DeviceDiscovery::parseReply("garbage", QHostAddress(QStringLiteral("10.0.0.2")));
        QVERIFY(d.serverName.isEmpty());
        QVERIFY(d.productID.isEmpty());
        QCOMPARE(d.localIP, QStringLiteral("10.0.0.2"));
    }

    void manualInput_data()
    {
        QTest::addColumn<QString>("typed");
        QTest::addColumn<QString>("productID");
        QTest::addColumn<QString>("localIP");
        QTest::addColumn<QString>("remoteIP");
        QTest::addColumn<int>("port");
        QTest::newRow("identity upper-cased") << "ab12cd" << "AB12CD" << "" << "" << 3001;
        QTest::newRow("private address") << "192.168.3.4" << "" << "192.168.3.4" << "" << 3001;
        QTest::newRow("public address with port") << "8.8.4.4:4001" << "" << "" << "8.8.4.4" << 4001;
        QTest::newRow("identity with port") << "xy99:5001" << "XY99" << "" << "" << 5001;
    }

    void manualInput()
    {
        QFETCH(QString, typed);
        QFETCH(QString, productID);
        QFETCH(QString, localIP);
        QFETCH(QString, remoteIP);
        QFETCH(int, port);
        const Device d = ManualAssignWidget::deviceFromInput(typed, QStringLiteral("acc"), QStringLiteral("pw"));
        QCOMPARE(d.productID, productID);
        QCOMPARE(d.localIP, localIP);
        QCOMPARE(d.remoteIP, remoteIP);
        QCOMPARE(d.internetPort, port);
        QCOMPARE(d.deviceName, QStringLiteral("acc"));
        QCOMPARE(d.devicePassword, QStringLiteral("pw"));
    }

    void searchListsEachDeviceOnce()
    {
        QUdpSocket socket;
        AutoSearchWidget widget(&socket);
        announce(QStringLiteral("127.0.0.61"), QStringLiteral("Front"), QStringLiteral("DEV1"));
        announce(QStringLiteral("127.0.0.61"), QStringLiteral("Front renamed"), QStringLiteral("DEV1"));
        announce(QStringLiteral("127.0.0.62"), QStringLiteral("Back"), QStringLiteral("DEV2"));
        QTRY_COMPARE(widget.model()->rowCount(), 2);
        QTest::qWait(100);
        QCOMPARE(widget.model()->rowCount(), 2);
        const Device first = widget.model()->item(0)->data(Qt::UserRole + 1).value<Device>();
        QCOMPARE(first.serverName, QStringLiteral("Front")); // the first answer keeps its row
        QCOMPARE(first.localIP, QStringLiteral("127.0.0.61"));
    }

    void pickedDeviceWithAccountAndPort()
    {
        QUdpSocket socket;
        AutoSearchWidget widget(&socket);
        announce(QStringLiteral("127.0.0.63"), QStringLiteral("Front"), QStringLiteral("DEV3"));
        QTRY_COMPARE(widget.model()->rowCount(), 1);
        QSignalSpy spy(&widget, &AutoSearchWidget::addDevice);
        widget.listButtonClicked(widget.model()->index(0, 0));
        QVERIFY(widget.inputDialog()->isVisible());
        widget.receiveDeviceInfo(QStringLiteral("user:4001"), QStringLiteral("pw"));
        QCOMPARE(spy.count(), 1);
        const Device d = spy.at(0).at(0).value<Device>();
        QCOMPARE(d.deviceName, QStringLiteral("user"));
        QCOMPARE(d.internetPort, 4001);
        QCOMPARE(d.productID, QStringLiteral("DEV3"));
        QCOMPARE(d.localIP, QStringLiteral("127.0.0.63"));
    }

    void backgroundTaskUpdatesOnlyOwnDevices()
    {
        DatabaseManager db;
        Device mine;
        mine.deviceName = QStringLiteral("acc");
        mine.devicePassword = QStringLiteral("x");
        mine.serverName = QStringLiteral("Old name");
        mine.localIP = QStringLiteral("10.9.9.9");
        mine.productID = QStringLiteral("MINE1");
        QVERIFY(db.inseretDevice(mine));

        // Another user's device with another identity stays untouched.
        const User me = gUser;
        TestSupport::loginTestUser(QStringLiteral("other"));
        Device theirs = mine;
        theirs.productID = QStringLiteral("THEIRS1");
        QVERIFY(db.inseretDevice(theirs));
        gUser = me;

        MyUDPTask task;
        task.start();
        QTest::qWait(200); // let it bind
        announce(QStringLiteral("127.0.0.64"), QStringLiteral("New name"), QStringLiteral("MINE1"));
        announce(QStringLiteral("127.0.0.65"), QStringLiteral("X"), QStringLiteral("THEIRS1"));
        QString id = QStringLiteral("MINE1");
        QTRY_COMPARE(db.queryDevice(id).localIP, QStringLiteral("127.0.0.64"));
        QCOMPARE(db.queryDevice(id).serverName, QStringLiteral("New name"));
        task.stop();

        TestSupport::loginTestUser(QStringLiteral("other"));
        QString theirId = QStringLiteral("THEIRS1");
        QCOMPARE(db.queryDevice(theirId).localIP, QStringLiteral("10.9.9.9"));
        gUser = me;
    }
};

VELKOR_TEST_MAIN(TestDiscovery)
#include "TestDiscovery.moc"

#include "DeviceSimRunner.h"
#include "SimDigest.h"
#include "SimWire.h"

#include <QTcpSocket>
#include <QTest>

#include <memory>

namespace {

const QByteArray MARK("\xFF\xFE", 2);

// What comes within firstMs, and then until a quiet moment.
QByteArray readReply(QTcpSocket& socket, int firstMs = 2000)
{
    QByteArray bytes;
    for (int wait = firstMs; socket.waitForReadyRead(wait); wait = 300)
        bytes += socket.readAll();
    return bytes;
}

} // namespace

// The stand-in refuses what a device would not take, and says what was wrong.
class TestSimStrict : public QObject
{
    Q_OBJECT

    std::unique_ptr<DeviceSimRunner> m_runner;

private slots:
    void initTestCase()
    {
        Scenario s;
        s.address = QStringLiteral("127.0.4.2");
        s.discovery = false;
        s.varied = false;
        m_runner = std::make_unique<DeviceSimRunner>(s);
        QVERIFY(m_runner->start());
    }

    void requestBytes_data()
    {
        QTest::addColumn<bool>("loginMarked");
        QTest::addColumn<QByteArray>("request");
        QTest::addColumn<QString>("answer"); // LOGIN_STATE or FEEDBACK, "" for the reply as usual
        const QByteArray netSetting = SimWire::encode(QStringLiteral("<ACTION>GET_NETWORK_SETTING</ACTION>"));
        QTest::newRow("as specified") << true << netSetting << "";
        QTest::newRow("login without its mark") << false << netSetting << "FORMAT_ERROR";
        QTest::newRow("mark on a command") << true << MARK + netSetting << "FORMAT_ERROR";
        QTest::newRow("0 unit after a command") << true << netSetting + QByteArray(2, '\0') << "FORMAT_ERROR";
        QTest::newRow("odd byte count") << true << netSetting + QByteArray(1, '\0') << "FORMAT_ERROR";
        QTest::newRow("tags out of order")
            << true << SimWire::encode(QStringLiteral("<ACTION>DOWN_FILE</ACTION><BUFSIZE>1200</BUFSIZE><FILE>$STG_DIR$SvrAdvParam.cfg</FILE>"))
            << "FORMAT_ERROR";
        QTest::newRow("block size not 1200")
            << true << SimWire::encode(QStringLiteral("<ACTION>DOWN_FILE</ACTION><FILE>$STG_DIR$SvrAdvParam.cfg</FILE><BUFSIZE>1024</BUFSIZE>"))
            << "FORMAT_ERROR";
    }

    void requestBytes()
    {
        QFETCH(bool, loginMarked);
        QFETCH(QByteArray, request);
        QFETCH(QString, answer);
        const int problems = m_runner->device()->problems().size();
        QTcpSocket socket;
        socket.connectToHost(QStringLiteral("127.0.4.2"), 3007);
        QVERIFY(socket.waitForConnected(2000));
        const QString challenge = SimWire::value(SimWire::decode(readReply(socket)), QStringLiteral("VERIFY_STRING"));
        const QString proof = SimDigest::loginProof(challenge, SimDigest::storedForm(QStringLiteral("admin")));
        const QByteArray login = SimWire::encode(QStringLiteral("<ACTION>LOGIN</ACTION><USERNAME>admin</USERNAME><PASSWORD>%1</PASSWORD><CLN_OS>Linux</CLN_OS>").arg(proof));
        socket.write(loginMarked ? MARK + login : login);
        QString reply = SimWire::decode(readReply(socket));
        if (loginMarked) {
            QCOMPARE(SimWire::value(reply, QStringLiteral("LOGIN_STATE")), QStringLiteral("OK"));
            socket.write(request);
            reply = SimWire::decode(readReply(socket));
        }
        const QString tag = loginMarked ? QStringLiteral("FEEDBACK") : QStringLiteral("LOGIN_STATE");
        QCOMPARE(SimWire::value(reply, tag), answer.isEmpty() ? QStringLiteral("OK") : answer);
        QCOMPARE(m_runner->device()->problems().size() - problems, answer.isEmpty() ? 0 : 1);
    }

    void blocksOnlyAfterTheDevicesReady()
    {
        const int problems = m_runner->device()->problems().size();
        QTcpSocket socket;
        socket.connectToHost(QStringLiteral("127.0.4.2"), 3007);
        QVERIFY(socket.waitForConnected(2000));
        const QString challenge = SimWire::value(SimWire::decode(readReply(socket)), QStringLiteral("VERIFY_STRING"));
        const QString proof = SimDigest::loginProof(challenge, SimDigest::storedForm(QStringLiteral("admin")));
        socket.write(MARK + SimWire::encode(QStringLiteral("<ACTION>LOGIN</ACTION><USERNAME>admin</USERNAME><PASSWORD>%1</PASSWORD><CLN_OS>Linux</CLN_OS>").arg(proof)));
        readReply(socket);
        socket.write(SimWire::encode(QStringLiteral("<ACTION>UP_FILE</ACTION><FILE>$STG_DIR$SvrAdvParam.cfg</FILE><BUFSIZE>1200</BUFSIZE><FILELEN>2400</FILELEN>")));
        readReply(socket);
        socket.write(SimWire::encode(QStringLiteral("<ACTION>UP_FILE</ACTION><UPLOAD>START</UPLOAD>")));
        QCOMPARE(SimWire::decode(readReply(socket)), QStringLiteral("R"));
        socket.write(QByteArray(2400, 'a')); // two blocks for one "R"
        readReply(socket, 500);
        QCOMPARE(m_runner->device()->problems().size() - problems, 1);
    }
};

QTEST_GUILESS_MAIN(TestSimStrict)
#include "TestSimStrict.moc"

// Raw-socket exchanges with the device stand-in (its faults are exercised through the
// client's fault-injection matrix). The wire is handled here with Qt's codecs
// and regular expressions, not with the stand-in's own helpers, so that a fault in those
// shows up here.
#include "DeviceSimRunner.h"
#include "SimDigest.h"
#include "SimTiff.h"
#include "TestSupport.h"

#include <QCryptographicHash>
#include <QRegularExpression>
#include <QTcpSocket>
#include <QTextCodec>
#include <QtEndian>
#include <functional>
#include <memory>

namespace {

// Seeded digests of "admin" for indexes 0..3, from an independent implementation.
const char* const kAdminStored =
    "21232f297a57a5a743894a0e4a801fc36316e10da749e0ed0d2b8dfac4928f97"
    "eb66c4155ae7e5fc7440176d0238369a309fa66028446cc1480b37805f2f6155";

QByteArray enc(const QString& text)
{
    std::unique_ptr<QTextEncoder> encoder(QTextCodec::codecForName("UTF-16LE")->makeEncoder(QTextCodec::IgnoreHeader));
    return encoder->fromUnicode(text);
}

QString dec(const QByteArray& bytes)
{
    return QTextCodec::codecForMib(1014)->toUnicode(bytes);
}

QString field(const QString& text, const QString& tag)
{
    const QRegularExpression re(QStringLiteral("<%1>(.*?)</%1>").arg(tag), QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
    return re.match(text).captured(1);
}

QString md5(const QByteArray& bytes)
{
    return QString::fromLatin1(QCryptographicHash::hash(bytes, QCryptographicHash::Md5).toHex());
}

QByteArray readSome(QTcpSocket& socket, int ms = 3000)
{
    if (socket.bytesAvailable() == 0)
        socket.waitForReadyRead(ms);
    return socket.readAll();
}

QByteArray readExactly(QTcpSocket& socket, int n, int ms = 3000)
{
    QByteArray data;
    while (data.size() < n && (socket.bytesAvailable() > 0 || socket.waitForReadyRead(ms)))
        data += socket.read(n - data.size());
    return data;
}

quint32 u32(const QByteArray& block, int offset)
{
    return qFromLittleEndian<quint32>(block.constData() + offset);
}

void putU32(QByteArray& block, int offset, quint32 v)
{
    qToLittleEndian<quint32>(v, block.data() + offset);
}

void putTime(QByteArray& block, int offset, const QDateTime& t, bool dayOfWeek)
{
    const qint16 fields[8] = {qint16(t.isValid() ? t.date().year() : 0), qint16(t.isValid() ? t.date().month() : 0),
                              qint16(t.isValid() && dayOfWeek ? t.date().dayOfWeek() : 0), qint16(t.isValid() ? t.date().day() : 0),
                              qint16(t.isValid() ? t.time().hour() : -1), qint16(t.isValid() ? t.time().minute() : -1),
                              qint16(t.isValid() ? t.time().second() : -1), qint16(t.isValid() ? t.time().msec() : -1)};
    for (int i = 0; i < 8; ++i)
        qToLittleEndian<qint16>(fields[i], block.data() + offset + 2 * i);
}

// An upload header as a client writes it.
QByteArray uploadHeader(const QString& number, const QString& receiver, int pages, int dialTotal, int priority = 2)
{
    QByteArray h(1024, '\0');
    putU32(h, 0x018, 5);
    putU32(h, 0x01C, quint32(priority));
    const QByteArray digits = number.toUtf8();
    for (int i = 0; i < digits.size(); ++i)
        h[0x060 + 2 * i] = digits[i];
    putU32(h, 0x0A0, quint32(pages));
    putU32(h, 0x0A8, quint32(dialTotal));
    putTime(h, 0x0B0, QDateTime::currentDateTimeUtc(), true);
    putTime(h, 0x0C0, QDateTime(), false);
    for (int i = 0; i < receiver.size(); ++i)
        qToLittleEndian<quint16>(receiver[i].unicode(), h.data() + 0x194 + 2 * i);
    putTime(h, 0x360, QDateTime(), false);
    putU32(h, 0x394, 1);
    return h;
}

Scenario scenarioAt(const QString& address)
{
    Scenario s;
    s.address = address;
    s.serverId = QStringLiteral("5A3C00AA");
    s.varied = false; // these checks read the device's fixed behaviour
    s.serverName = QStringLiteral("测试传真");
    s.users << SimUser::withPassword(QStringLiteral("zhang"), QStringLiteral("123456"), 12, QStringLiteral("801"));
    return s;
}

} // namespace

class TestDeviceSim : public QObject
{
    Q_OBJECT

    std::unique_ptr<DeviceSimRunner> m_runner;

    SimDevice* startDevice(const Scenario& scenario)
    {
        m_runner = std::make_unique<DeviceSimRunner>(scenario);
        QString error;
        if (!m_runner->start(&error))
            qWarning("device did not start: %s", qPrintable(error));
        return m_runner->device();
    }

    // Connects, reads the greeting and logs in; the proof is made from the challenge, by
    // default the right one for admin. Returns the login reply.
    QString login(QTcpSocket& socket, const QString& address, quint16 port = 3007, const QString& user = QStringLiteral("admin"),
                  std::function<QString(const QString&)> proofFor = nullptr)
    {
        socket.connectToHost(address, port);
        if (!socket.waitForConnected(2000))
            return QString();
        const QString challenge = field(dec(readSome(socket)), QStringLiteral("VERIFY_STRING"));
        const QString proof = proofFor ? proofFor(challenge) : md5(challenge.toUtf8() + kAdminStored);
        socket.write(QByteArray("\xFF\xFE", 2)
                     + enc(QStringLiteral("<ACTION>LOGIN</ACTION><USERNAME>%1</USERNAME><PASSWORD>%2</PASSWORD><CLN_OS>Linux</CLN_OS>").arg(user, proof)));
        return dec(readSome(socket));
    }

    QString command(QTcpSocket& socket, const QString& request)
    {
        socket.write(enc(request));
        return dec(readSome(socket));
    }

    // Streams header and file in blocks paced by "R"; returns the final reply.
    QString upload(QTcpSocket& socket, const QByteArray& header, const QByteArray& file, int* blocks)
    {
        const QByteArray stream = header + file;
        socket.write(enc(QStringLiteral("<ACTION>SENDFAX</ACTION><FILELEN>%1</FILELEN><HEADERSIZE>1024</HEADERSIZE><BUFSIZE>1200</BUFSIZE>").arg(stream.size())));
        int sent = 0;
        *blocks = 0;
        forever {
            const QString reply = dec(readSome(socket));
            if (reply != QLatin1String("R"))
                return reply;
            const int block = qMin(1200, stream.size() - sent);
            socket.write(stream.mid(sent, block));
            sent += block;
            ++*blocks;
        }
    }

    QByteArray statusRecord(QTcpSocket& socket, quint32 task, QString* text = nullptr)
    {
        const QString reply = command(socket, QStringLiteral("<ACTION>GET_SEND_FAX_STATUS</ACTION><TASK_ID_LIST>%1</TASK_ID_LIST>").arg(task));
        if (text)
            *text = reply;
        socket.write(enc(QStringLiteral("R")));
        return readExactly(socket, 1024, 1000);
    }

    // The records of a list query: AMOUNT, then one record per "R".
    QByteArray download(QTcpSocket& socket, const QString& path, int bufSize, int* largestChunk)
    {
        const QString reply = command(socket, QStringLiteral("<ACTION>DOWN_FILE</ACTION><FILE>%1</FILE><BUFSIZE>%2</BUFSIZE>").arg(path).arg(bufSize));
        const int length = field(reply, QStringLiteral("FILE_LEN")).toInt();
        QByteArray data;
        *largestChunk = 0;
        do {
            socket.write(enc(QStringLiteral("R")));
            const QByteArray chunk = readSome(socket, 1000);
            *largestChunk = qMax(*largestChunk, chunk.size());
            data += chunk;
            if (chunk.isEmpty())
                break;
        } while (data.size() < length);
        return data;
    }

private slots:
    void cleanup() { m_runner.reset(); }

    void seededDigestMatchesIndependentVectors()
    {
        QCOMPARE(SimDigest::storedForm(QStringLiteral("admin")), QString::fromLatin1(kAdminStored));
        QCOMPARE(SimDigest::storedForm(QStringLiteral("admin")).left(32), md5("admin"));
        QCOMPARE(SimDigest::storedForm(QStringLiteral("密码")),
                 QStringLiteral("a8105204604a0b11e916f3879aae3b0bf30528745b0193450de573b1cf919efe"
                                "328a340bd5cfc1b319bcbca5e76badcd73b55a59b8ef42c96a639c6cccaabbfd"));
        QCOMPARE(SimDigest::loginProof(QStringLiteral("Ch4llenge"), QString::fromLatin1(kAdminStored)), QStringLiteral("b4530172ae373c5bb7fc477c0acc681a"));
        QVERIFY(SimDigest::storedForm(QString()).isEmpty());
    }

    // The wrong proofs the seeding could be confused with are refused; the client's own
    // tests log in with the right one (and with a wrong password) end to end.
    void loginChecksTheProof()
    {
        const QString address = QStringLiteral("127.0.0.202");
        startDevice(scenarioAt(address));
        QTcpSocket admin;
        const QString accepted = login(admin, address);
        QCOMPARE(field(accepted, QStringLiteral("LOGIN_STATE")), QStringLiteral("OK"));
        QCOMPARE(field(accepted, QStringLiteral("PERMISSION")), QStringLiteral("63"));
        const QList<std::function<QString(const QString&)>> wrongProofs = {
            [](const QString& challenge) { return md5(challenge.toUtf8() + "admin"); }, // the clear password, not the stored form
            [](const QString&) { return md5(QByteArray("other challenge") + kAdminStored); },
            [](const QString& challenge) { return md5(QByteArray(kAdminStored) + challenge.toUtf8()); }, // wrong order
        };
        QStringList challenges;
        for (const auto& proofFor : wrongProofs) {
            QTcpSocket socket;
            const QString refused = login(socket, address, 3007, QStringLiteral("admin"), [&](const QString& c) {
                challenges << c;
                return proofFor(c);
            });
            QCOMPARE(field(refused, QStringLiteral("LOGIN_STATE")), QStringLiteral("PWD_ERROR"));
            QVERIFY(socket.state() == QAbstractSocket::UnconnectedState || socket.waitForDisconnected(2000));
        }
        challenges.removeDuplicates();
        QCOMPARE(challenges.size(), 3); // a fresh challenge for every connection
        QTcpSocket unknown;
        QCOMPARE(field(login(unknown, address, 3007, QStringLiteral("nobody")), QStringLiteral("LOGIN_STATE")), QStringLiteral("USER_NOT_EXIST"));
    }

    void sendFaxUploadIsPacedAndFollowedByItsRecord()
    {
        const QString address = QStringLiteral("127.0.0.207");
        Scenario scenario = scenarioAt(address);
        scenario.jobs.advanceOnQuery = true;
        SimDevice* device = startDevice(scenario);
        const QByteArray tiff = SimTiff::makeFax(2, {QStringLiteral("TEST")});
        QVERIFY(tiff.size() > 1200);

        QTcpSocket socket;
        QCOMPARE(field(login(socket, address, 3002), QStringLiteral("LOGIN_STATE")), QStringLiteral("OK"));
        int blocks = 0;
        const QString reply = upload(socket, uploadHeader(QStringLiteral("01012345678"), QStringLiteral("王五"), 2, 3, 3), tiff, &blocks);
        QCOMPARE(field(reply, QStringLiteral("FEEDBACK")), QStringLiteral("RECV_OK"));
        const quint32 task = field(reply, QStringLiteral("TASKID")).toUInt();
        QVERIFY(task > 0);
        QCOMPARE(blocks, (tiff.size() + 1024 + 1199) / 1200);

        const QList<SimUpload> uploads = device->uploads();
        QCOMPARE(uploads.size(), 1);
        QCOMPARE(uploads[0].task, task);
        QCOMPARE(uploads[0].tiff, tiff); // the header's fields: TestFaxUpload, from the client's side
        QVERIFY2(uploads[0].fields.problems.isEmpty(), qPrintable(uploads[0].fields.problems.join(QLatin1String("; "))));

        // The status record, queried on the command port, walks the job through its life.
        QTcpSocket status;
        QCOMPARE(field(login(status, address), QStringLiteral("LOGIN_STATE")), QStringLiteral("OK"));
        QList<int> states, sendStates;
        QByteArray record;
        for (int i = 0; i < 20; ++i) {
            QString text;
            record = statusRecord(status, task, &text);
            QCOMPARE(field(text, QStringLiteral("FEEDBACK")), QStringLiteral("OK"));
            QCOMPARE(record.size(), 1024);
            states << int(u32(record, 0x018));
            sendStates << int(u32(record, 0x358));
            if (states.last() == 2)
                break;
        }
        QCOMPARE(states.first(), 5);
        QCOMPARE(states.last(), 2);
        QVERIFY(sendStates.contains(1) && sendStates.contains(2) && sendStates.contains(3));
        QCOMPARE(u32(record, 0x0A0), 2u);
        QCOMPARE(u32(record, 0x0A4), 2u);
        QCOMPARE(u32(record, 0x354), 100u);
        QCOMPARE(u32(record, 0x35C), 14400u);
        QCOMPARE(u32(record, 0x004), task);
        QCOMPARE(u32(record, 0x014), 0x5A3C00AAu);
        const int year = qFromLittleEndian<qint16>(record.constData() + 0x0B0);
        QCOMPARE(year, QDateTime::currentDateTimeUtc().date().year());

        // The file it keeps can be fetched by its number.
        const QString file = QStringLiteral("%1").arg(u32(record, 0x008), 8, 16, QLatin1Char('0')).toUpper();
        int largest = 0;
        const QByteArray back = download(status, QStringLiteral("$STG_DIR$FaxFiles\\%1\\%2\\%3\\%4.tif").arg(file.mid(0, 2), file.mid(2, 2), file.mid(4, 2), file.mid(6, 2)), 1200, &largest);
        QCOMPARE(back, tiff);

        // An unknown task has no record.
        QString text;
        statusRecord(status, 999999, &text);
        QCOMPARE(field(text, QStringLiteral("AMOUNT")), QStringLiteral("0"));
    }

    // The failure text of a status record holds one byte of UTF-8 in each 16-bit unit.
    void failureTextIsOneBytePerUnit()
    {
        const QString address = QStringLiteral("127.0.0.208");
        Scenario scenario = scenarioAt(address);
        scenario.jobs.advanceOnQuery = true;
        SimOutcome hangUp;
        hangUp.number = QStringLiteral("999");
        hangUp.success = false;
        hangUp.issue = QStringLiteral("对方挂断");
        hangUp.failPage = 2;
        scenario.jobs.outcomes << hangUp;
        startDevice(scenario);
        QTcpSocket up;
        QCOMPARE(field(login(up, address, 3002), QStringLiteral("LOGIN_STATE")), QStringLiteral("OK"));
        int blocks = 0;
        const quint32 task = field(upload(up, uploadHeader(QStringLiteral("999123"), QStringLiteral("B"), 3, 1), SimTiff::makeFax(3, {}), &blocks),
                                   QStringLiteral("TASKID"))
                                 .toUInt();
        QVERIFY(task > 0);
        QTcpSocket socket;
        QCOMPARE(field(login(socket, address), QStringLiteral("LOGIN_STATE")), QStringLiteral("OK"));
        QByteArray record;
        for (int i = 0; i < 30; ++i) {
            record = statusRecord(socket, task);
            if (u32(record, 0x018) == 1 || u32(record, 0x018) == 2)
                break;
        }
        QCOMPARE(u32(record, 0x018), 1u);
        QCOMPARE(u32(record, 0x0A4), 1u); // the line dropped during page 2
        QByteArray utf8;
        for (int i = 0; i < 128 && record[0x0D4 + 2 * i]; ++i) {
            QCOMPARE(record[0x0D4 + 2 * i + 1], '\0');
            utf8 += record[0x0D4 + 2 * i];
        }
        QCOMPARE(QString::fromUtf8(utf8), QStringLiteral("对方挂断"));
    }

};

VELKOR_TEST_MAIN(TestDeviceSim)
#include "TestDeviceSim.moc"

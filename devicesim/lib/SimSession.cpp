#include "SimSession.h"

#include "SimDevice.h"
#include "SimFirmware.h"
#include "SimWire.h"

#include <QTcpSocket>
#include <QTimer>
#include <QUdpSocket>
#include <QtMath>

using SimWire::tag;
using SimWire::value;

namespace {

const QString kFeedback = QStringLiteral("FEEDBACK");

QString feedback(const QString& v)
{
    return tag(kFeedback, v);
}

// The few fields worth a log line.
QString summary(const QString& reply)
{
    QStringList parts;
    for (const QString& t : {kFeedback, QStringLiteral("COUNT"), QStringLiteral("AMOUNT"), QStringLiteral("FILE_LEN"), QStringLiteral("TASKID")})
        if (SimWire::has(reply, t))
            parts << t + QLatin1Char('=') + value(reply, t);
    return parts.isEmpty() ? QStringLiteral("(%1 characters)").arg(reply.size()) : parts.join(QLatin1Char(' '));
}

bool onlyReadyTokens(const QString& text)
{
    if (text.isEmpty())
        return false;
    for (const QChar c : text)
        if (c != QLatin1Char('R'))
            return false;
    return true;
}

} // namespace

SimSession::SimSession(SimDevice* device, QTcpSocket* socket, int lanPort, bool verbose, int voiceIntervalMs, QObject* parent)
    : QObject(parent)
    , m_device(device)
    , m_socket(socket)
    , m_lanPort(lanPort)
    , m_verbose(verbose)
    , m_voiceIntervalMs(voiceIntervalMs)
    , m_partialTimer(new QTimer(this))
    , m_quietTimer(new QTimer(this))
{
    socket->setParent(this);
    m_peer = QStringLiteral("%1:%2").arg(socket->peerAddress().toString()).arg(socket->peerPort());
    // A request is one write; a piece that does not end a tag is given a moment to complete.
    m_partialTimer->setSingleShot(true);
    m_partialTimer->setInterval(1000);
    connect(m_partialTimer, &QTimer::timeout, this, [this] {
        if (m_mode == Mode::Upload || m_in.isEmpty())
            return;
        const QString text = SimWire::decode(m_in);
        m_in.clear();
        note(QStringLiteral("incomplete request taken as it is"));
        handleText(text);
    });
    m_quietTimer->setSingleShot(true);
    connect(m_quietTimer, &QTimer::timeout, this, [this] {
        if (m_mode == Mode::FirmwareBetween) {
            // No UPDATE_SW request came: the SW stage starts on its own.
            beginTransfer(Transfer::FirmwareSw, QStringLiteral("UPDATE_SW"), m_device->expectedSwSize(), m_bufSize);
            sendReady();
            return;
        }
        if (m_mode != Mode::Upload || m_total >= 0)
            return;
        // SW stage of unknown size: a block is what arrived before the line went quiet.
        const QByteArray block = m_in;
        m_in.clear();
        if (block.isEmpty()) {
            finishTransfer();
            return;
        }
        ++m_block;
        m_received += block.size();
        m_data += SimFirmware::convertBlock(block);
        if (block.size() != m_bufSize) {
            finishTransfer();
        } else {
            sendReady();
            m_quietTimer->start(2000);
        }
    });
    connect(socket, &QTcpSocket::readyRead, this, &SimSession::onReadyRead);
    connect(socket, &QTcpSocket::disconnected, this, &SimSession::onDisconnected);
}

SimSession::~SimSession() = default;

void SimSession::start()
{
    m_challenge = m_device->newChallenge();
    SimFault fault;
    if (m_device->takeFault(QStringLiteral("GREETING"), SimFault::Silent, m_lanPort, &fault)) {
        m_mode = Mode::Silent;
        note(QStringLiteral("connected, no greeting (fault)"));
        return;
    }
    QString id = m_device->serverId();
    if (m_device->takeFault(QStringLiteral("GREETING"), SimFault::WrongServerId, m_lanPort, &fault))
        id = fault.text.isEmpty() ? id + QLatin1Char('X') : fault.text;
    note(QStringLiteral("connected, greeting as %1").arg(id));
    sendText(QStringLiteral("GREETING"),
             tag(QStringLiteral("SERVER_NAME"), m_device->serverName()) + tag(QStringLiteral("SERVER_ID"), id)
                 + tag(QStringLiteral("VERIFY_STRING"), m_challenge));
}

void SimSession::onDisconnected()
{
    if (m_transfer != Transfer::None)
        note(QStringLiteral("connection closed during %1 after %2 bytes").arg(m_transferAction).arg(m_received + m_in.size()));
    else if (m_mode == Mode::Download)
        note(QStringLiteral("connection closed during download after %1 of %2 bytes").arg(m_downloadPos).arg(m_download.size()));
    m_transfer = Transfer::None;
    deleteLater();
}

void SimSession::onReadyRead()
{
    if (!m_socket)
        return;
    m_in += m_socket->readAll();
    process();
}

void SimSession::process()
{
    while (!m_in.isEmpty()) {
        if (m_mode == Mode::Silent) {
            m_in.clear();
            return;
        }
        if (m_mode == Mode::Upload) {
            if (m_dropAfter >= 0 && m_received + m_in.size() >= m_dropAfter) {
                note(QStringLiteral("%1: dropping the connection after %2 bytes (fault)").arg(m_transferAction).arg(m_dropAfter));
                m_mode = Mode::Silent;
                m_transfer = Transfer::None;
                m_socket->abort();
                return;
            }
            if (m_total < 0) {
                m_quietTimer->start(150);
                return;
            }
            if (m_in.size() < m_expect)
                return;
            const QByteArray block = m_in.left(int(m_expect));
            m_in.remove(0, int(m_expect));
            takeBlock(block);
            continue;
        }
        if (m_in.size() % 2) {
            m_partialTimer->start();
            return;
        }
        const QString text = SimWire::decode(m_in);
        QString bare = text;
        bare.remove(QChar(0));
        if (onlyReadyTokens(bare)) {
            m_in.clear();
            for (int i = 0; i < bare.size(); ++i)
                handleReadyToken();
            continue;
        }
        if (!bare.trimmed().endsWith(QLatin1Char('>'))) {
            m_partialTimer->start();
            return;
        }
        m_partialTimer->stop();
        m_in.clear();
        handleText(text);
    }
}

void SimSession::handleText(const QString& text)
{
    for (QString request : SimWire::splitRequests(text)) {
        request.remove(QChar(0));
        request.remove(QChar(0xFEFF));
        if (request.trimmed().isEmpty())
            continue;
        if (m_verbose)
            note(QStringLiteral("> %1").arg(request));
        const QString action = value(request, QStringLiteral("ACTION")).trimmed();
        if (action.isEmpty()) {
            note(QStringLiteral("text without ACTION ignored: %1").arg(request.left(80)));
            continue;
        }
        if (m_mode == Mode::AwaitLogin) {
            if (action == QLatin1String("LOGIN")) {
                handleLogin(request);
            } else {
                note(QStringLiteral("%1 before LOGIN").arg(action));
                sendText(action, feedback(QStringLiteral("NOT_LOGIN")));
            }
            continue;
        }
        if (m_mode == Mode::FirmwareBetween && action == QLatin1String("UPDATE_SW")) {
            m_quietTimer->stop();
            startFirmware(action, request);
            continue;
        }
        m_mode = Mode::Command;
        handleCommand(action, request);
    }
}

void SimSession::handleLogin(const QString& request)
{
    const QString name = value(request, QStringLiteral("USERNAME"));
    SimFault fault;
    if (m_device->takeFault(QStringLiteral("LOGIN"), SimFault::Silent, m_lanPort, &fault)) {
        note(QStringLiteral("LOGIN %1: no answer (fault)").arg(name));
        return;
    }
    SimUser user;
    bool ok = m_device->checkLogin(name, value(request, QStringLiteral("PASSWORD")), m_challenge, &user);
    const bool known = !user.name.isEmpty();
    QString refusal = known ? QStringLiteral("PWD_ERROR") : QStringLiteral("USER_NOT_EXIST");
    if (m_device->takeFault(QStringLiteral("LOGIN"), SimFault::RefuseLogin, m_lanPort, &fault)) {
        ok = false;
        refusal = fault.text.isEmpty() ? QStringLiteral("FAIL") : fault.text;
    }
    if (!ok) {
        note(QStringLiteral("LOGIN %1 -> %2").arg(name, refusal));
        sendText(QStringLiteral("LOGIN"), tag(QStringLiteral("LOGIN_STATE"), refusal));
        enqueueClose();
        m_mode = Mode::Silent;
        return;
    }
    m_loggedIn = true;
    m_user = user;
    m_mode = Mode::Command;
    note(QStringLiteral("LOGIN %1 -> OK").arg(name));
    sendText(QStringLiteral("LOGIN"), tag(QStringLiteral("LOGIN_STATE"), QStringLiteral("OK")) + tag(QStringLiteral("PERMISSION"), user.permission())
                                          + tag(QStringLiteral("EXT_NUM"), user.fields.value(QStringLiteral("EXT_NUM"))));
    if (SimWire::has(request, QStringLiteral("UDP_PORT")))
        startVoice(quint16(value(request, QStringLiteral("UDP_PORT")).toUInt()));
}

bool SimSession::portAllows(const QString& action) const
{
    if (action == QLatin1String("SENDFAX"))
        return m_lanPort == 3002;
    if (action == QLatin1String("UPDATE_OS") || action == QLatin1String("UPDATE_SW"))
        return m_lanPort == 3006 || m_lanPort == 3001; // the internet road reaches firmware on the base port
    return m_lanPort == 3007 || m_lanPort == 3001;
}

void SimSession::handleCommand(const QString& action, const QString& request)
{
    if (action == QLatin1String("LOGIN")) {
        handleLogin(request);
        return;
    }
    if (!portAllows(action)) {
        note(QStringLiteral("%1 on the wrong port").arg(action));
        sendText(action, feedback(QStringLiteral("WRONG_PORT")));
        return;
    }
    SimFault fault;
    if (m_device->takeFault(action, SimFault::Silent, m_lanPort, &fault)) {
        note(QStringLiteral("%1: no answer (fault)").arg(action));
        return;
    }
    if (action == QLatin1String("SENDFAX")) {
        startSendFax(request);
        return;
    }
    if (action == QLatin1String("UP_FILE")) {
        startConfigUpload(request);
        return;
    }
    if (action == QLatin1String("UPDATE_OS") || action == QLatin1String("UPDATE_SW")) {
        startFirmware(action, request);
        return;
    }
    const bool blocksFollow = action == QLatin1String("DOWN_FILE") || action == QLatin1String("GET_SEND_FAX_STATUS");
    if (!blocksFollow && m_device->takeFault(action, SimFault::DropAfterBytes, m_lanPort, &fault)) {
        note(QStringLiteral("%1: dropping the connection (fault)").arg(action));
        m_mode = Mode::Silent;
        m_socket->abort();
        return;
    }
    const SimReply reply = m_device->handle(action, request, m_user);
    QString detail = summary(reply.text);
    if (action == QLatin1String("DOWN_FILE"))
        detail = value(request, QStringLiteral("FILE")) + QLatin1Char(' ') + detail;
    note(QStringLiteral("%1 -> %2").arg(action, detail));
    sendText(action, reply.text, reply.trailingNul);

    m_followAction = action;
    m_dropAfter = m_device->takeFault(action, SimFault::DropAfterBytes, m_lanPort, &fault) ? fault.value : -1;
    m_pacingMs = m_device->takeFault(action, SimFault::SlowPacing, m_lanPort, &fault) ? fault.delayMs : 0;
    m_received = 0;
    if (reply.hasDownload) {
        m_mode = Mode::Download;
        m_download = reply.download;
        m_downloadPos = 0;
        m_bufSize = reply.bufSize;
    } else if (!reply.records.isEmpty()) {
        m_mode = Mode::Records;
        m_records = reply.records;
    }
}

void SimSession::handleReadyToken()
{
    if (m_mode == Mode::Download) {
        QByteArray chunk = m_download.mid(int(m_downloadPos), m_bufSize);
        m_downloadPos += chunk.size();
        if (m_dropAfter >= 0 && m_downloadPos >= m_dropAfter) {
            chunk.chop(int(m_downloadPos - m_dropAfter));
            note(QStringLiteral("%1: dropping the connection after %2 bytes (fault)").arg(m_followAction).arg(m_dropAfter));
            enqueue(chunk, m_pacingMs);
            enqueueDrop();
            m_mode = Mode::Silent;
            return;
        }
        if (!chunk.isEmpty())
            enqueue(chunk, m_pacingMs);
        if (m_downloadPos >= m_download.size()) {
            if (m_verbose || m_download.isEmpty())
                note(QStringLiteral("%1: %2 bytes sent").arg(m_followAction).arg(m_download.size()));
            m_mode = Mode::Command;
        }
        return;
    }
    if (m_mode == Mode::Records) {
        QByteArray record = m_records.takeFirst();
        SimFault fault;
        if (m_device->takeFault(m_followAction, SimFault::ShortRecord, m_lanPort, &fault))
            record = record.left(fault.value > 0 ? fault.value : 100);
        m_received += record.size();
        if (m_dropAfter >= 0 && m_received >= m_dropAfter) {
            record.chop(int(m_received - m_dropAfter));
            note(QStringLiteral("%1: dropping the connection after %2 bytes (fault)").arg(m_followAction).arg(m_dropAfter));
            enqueue(record, m_pacingMs);
            enqueueDrop();
            m_mode = Mode::Silent;
            return;
        }
        enqueue(record, m_pacingMs);
        if (m_records.isEmpty())
            m_mode = Mode::Command;
        return;
    }
    note(QStringLiteral("ready token without a transfer ignored"));
}

// ---- Uploads to the device ------------------------------------------------------------------

void SimSession::startSendFax(const QString& request)
{
    const qint64 total = value(request, QStringLiteral("FILELEN")).toLongLong();
    const int header = value(request, QStringLiteral("HEADERSIZE")).toInt();
    const int bufSize = value(request, QStringLiteral("BUFSIZE")).toInt();
    if (header != 1024 || total < 1024 || bufSize <= 0) {
        note(QStringLiteral("SENDFAX refused: FILELEN %1 HEADERSIZE %2 BUFSIZE %3").arg(total).arg(header).arg(bufSize));
        sendText(QStringLiteral("SENDFAX"), feedback(QStringLiteral("PARAM_ERROR")));
        return;
    }
    beginTransfer(Transfer::SendFax, QStringLiteral("SENDFAX"), total, bufSize);
    sendReady();
}

void SimSession::startConfigUpload(const QString& request)
{
    if (value(request, QStringLiteral("UPLOAD")) == QLatin1String("START")) {
        if (m_pendingLength < 0) {
            note(QStringLiteral("UP_FILE START without an announced file"));
            sendText(QStringLiteral("UP_FILE"), feedback(QStringLiteral("NO_FILE")));
            return;
        }
        beginTransfer(Transfer::Config, QStringLiteral("UP_FILE"), m_pendingLength, m_pendingBufSize);
        if (m_total == 0)
            finishTransfer();
        else
            sendReady();
        return;
    }
    const QString path = value(request, QStringLiteral("FILE"));
    const int bufSize = value(request, QStringLiteral("BUFSIZE")).toInt();
    if (!m_device->canUploadFile(path) || !SimWire::has(request, QStringLiteral("FILELEN"))) {
        note(QStringLiteral("UP_FILE %1 refused").arg(path));
        sendText(QStringLiteral("UP_FILE"), feedback(QStringLiteral("NOT_ALLOWED")));
        return;
    }
    m_pendingPath = path;
    m_pendingLength = value(request, QStringLiteral("FILELEN")).toLongLong();
    m_pendingBufSize = bufSize > 0 ? bufSize : 1200;
    note(QStringLiteral("UP_FILE %1, %2 bytes announced").arg(path).arg(m_pendingLength));
    sendText(QStringLiteral("UP_FILE"), feedback(QStringLiteral("OK")));
}

void SimSession::startFirmware(const QString& action, const QString& request)
{
    const qint64 total = value(request, QStringLiteral("FILELEN")).toLongLong();
    const int bufSize = value(request, QStringLiteral("BUFSIZE")).toInt();
    const bool os = action == QLatin1String("UPDATE_OS");
    if (os || m_mode != Mode::FirmwareBetween)
        m_device->firmwareBegin();
    note(QStringLiteral("%1, %2 bytes announced").arg(action).arg(total));
    beginTransfer(os ? Transfer::FirmwareOs : Transfer::FirmwareSw, action, total, bufSize > 0 ? bufSize : 1200);
    if (total == 0)
        finishTransfer();
    else
        sendReady();
}

void SimSession::beginTransfer(Transfer kind, const QString& action, qint64 total, int bufSize)
{
    m_transfer = kind;
    m_transferAction = action;
    m_total = total;
    m_bufSize = bufSize;
    m_received = 0;
    m_block = 0;
    m_data.clear();
    SimFault fault;
    m_dropAfter = m_device->takeFault(action, SimFault::DropAfterBytes, m_lanPort, &fault) ? fault.value : -1;
    m_pacingMs = m_device->takeFault(action, SimFault::SlowPacing, m_lanPort, &fault) ? fault.delayMs : 0;
}

void SimSession::sendReady()
{
    SimFault fault;
    if (m_device->takeFault(m_transferAction, SimFault::NotReady, m_lanPort, &fault, m_block)) {
        const QString text = fault.text.isEmpty() ? feedback(QStringLiteral("BUSY")) : fault.text;
        note(QStringLiteral("%1: \"%2\" instead of R at block %3 (fault)").arg(m_transferAction, text).arg(m_block));
        enqueue(SimWire::encode(text), m_pacingMs);
        m_transfer = Transfer::None;
        m_mode = Mode::Command;
        return;
    }
    const bool firmware = m_transfer == Transfer::FirmwareOs || m_transfer == Transfer::FirmwareSw;
    const qint64 remaining = m_total - m_received;
    m_expect = m_total < 0 ? -1 : firmware ? SimFirmware::stageBlockSize(remaining, m_bufSize) : qMin<qint64>(m_bufSize, remaining);
    m_mode = Mode::Upload;
    enqueue(SimWire::encode(QStringLiteral("R")), m_pacingMs);
}

void SimSession::takeBlock(const QByteArray& block)
{
    ++m_block;
    m_received += block.size();
    const bool firmware = m_transfer == Transfer::FirmwareOs || m_transfer == Transfer::FirmwareSw;
    m_data += firmware ? SimFirmware::convertBlock(block) : block;
    if (m_received >= m_total)
        finishTransfer();
    else
        sendReady();
}

void SimSession::finishTransfer()
{
    const Transfer kind = m_transfer;
    m_transfer = Transfer::None;
    m_mode = Mode::Command;
    SimFault fault;
    switch (kind) {
    case Transfer::SendFax: {
        const quint32 task = m_device->acceptUpload(m_user.name, m_data.left(1024), m_data.mid(1024));
        QString text;
        if (task == 0)
            text = feedback(QStringLiteral("FILE_ERROR"));
        else if (m_device->takeFault(QStringLiteral("SENDFAX"), SimFault::NoTaskId, m_lanPort, &fault))
            text = feedback(QStringLiteral("RECV_OK"));
        else
            text = feedback(QStringLiteral("RECV_OK")) + tag(QStringLiteral("TASKID"), task);
        note(QStringLiteral("SENDFAX %1 bytes in %2 blocks -> %3").arg(m_received).arg(m_block).arg(summary(text)));
        sendText(QStringLiteral("SENDFAX"), text);
        break;
    }
    case Transfer::Config:
        note(QStringLiteral("UP_FILE %1 bytes in %2 blocks").arg(m_received).arg(m_block));
        m_device->storeUploadedFile(m_pendingPath, m_data);
        m_pendingLength = -1;
        break;
    case Transfer::FirmwareOs:
    case Transfer::FirmwareSw: {
        const bool os = kind == Transfer::FirmwareOs;
        const QString result = m_device->firmwareStage(os, m_data);
        note(QStringLiteral("%1 %2 bytes in %3 blocks -> %4").arg(m_transferAction).arg(m_received).arg(m_block).arg(result));
        sendText(m_transferAction, feedback(result));
        if (os && result == QLatin1String("RECV_OK")) {
            m_mode = Mode::FirmwareBetween;
            m_quietTimer->start(500);
        }
        break;
    }
    case Transfer::None:
        break;
    }
}

// ---- Voice -----------------------------------------------------------------------------------

void SimSession::startVoice(quint16 udpPort)
{
    m_voiceTarget = m_socket->peerAddress();
    m_voicePort = udpPort;
    m_voice = new QUdpSocket(this);
    m_voice->bind(m_socket->localAddress(), 0);
    m_voiceTimer = new QTimer(this);
    // 8 kHz, 8-bit samples of a 400 Hz tone: something to hear, nothing the client parses.
    QByteArray frame(m_voiceIntervalMs * 8, '\0');
    for (int i = 0; i < frame.size(); ++i)
        frame[i] = char(128 + int(60 * qSin(2 * M_PI * 400 * i / 8000.0)));
    connect(m_voiceTimer, &QTimer::timeout, this, [this, frame] { m_voice->writeDatagram(frame, m_voiceTarget, m_voicePort); });
    m_voiceTimer->start(m_voiceIntervalMs);
    note(QStringLiteral("voice to %1:%2").arg(m_voiceTarget.toString()).arg(udpPort));
}

// ---- Output ------------------------------------------------------------------------------------

void SimSession::sendText(const QString& action, const QString& text, bool trailingNul)
{
    SimFault fault;
    QString sent = text;
    if (SimWire::has(text, kFeedback) && m_device->takeFault(action, SimFault::Feedback, m_lanPort, &fault))
        sent = SimWire::withValue(text, kFeedback, fault.text);
    if (m_verbose)
        note(QStringLiteral("< %1").arg(sent));
    QByteArray bytes = SimWire::encode(sent);
    if (trailingNul)
        bytes.append(2, '\0');
    const int delay = m_device->takeFault(action, SimFault::Delay, m_lanPort, &fault) ? fault.delayMs : 0;
    if (m_device->takeFault(action, SimFault::Split, m_lanPort, &fault)) {
        const int pieces = qMax(2, fault.value);
        const int gap = fault.delayMs > 0 ? fault.delayMs : 300;
        const int units = bytes.size() / 2;
        int from = 0;
        for (int i = 1; i <= pieces; ++i) {
            const int to = 2 * (units * i / pieces);
            if (to > from)
                enqueue(bytes.mid(from, to - from), from == 0 ? delay : gap);
            from = to;
        }
        return;
    }
    enqueue(bytes, delay);
}

void SimSession::enqueue(const QByteArray& bytes, int delayMs)
{
    Out out;
    out.bytes = bytes;
    out.delayMs = delayMs;
    m_out << out;
    pump();
}

void SimSession::enqueueClose(int delayMs)
{
    Out out;
    out.close = true;
    out.delayMs = delayMs;
    m_out << out;
    pump();
}

void SimSession::enqueueDrop()
{
    Out out;
    out.close = true;
    out.abort = true;
    m_out << out;
    pump();
}

void SimSession::pump()
{
    while (!m_pumping && !m_out.isEmpty() && m_socket) {
        Out& next = m_out.first();
        if (next.delayMs > 0) {
            m_pumping = true;
            const int delay = next.delayMs;
            next.delayMs = 0;
            QTimer::singleShot(delay, this, [this] {
                m_pumping = false;
                pump();
            });
            return;
        }
        const Out out = m_out.takeFirst();
        if (out.close) {
            m_out.clear();
            if (out.abort) {
                // Let what was written so far go out, then drop the line without a hang-up.
                if (m_socket->bytesToWrite() > 0)
                    m_socket->waitForBytesWritten(200);
                m_socket->abort();
            } else {
                m_socket->disconnectFromHost();
            }
            return;
        }
        m_socket->write(out.bytes);
    }
}

void SimSession::note(const QString& line)
{
    m_device->log(QStringLiteral("%1 %2 %3").arg(m_lanPort).arg(m_peer, line));
}

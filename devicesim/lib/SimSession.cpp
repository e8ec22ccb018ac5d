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

// UTF-16LE units as they came, byte-order marks and 0 units included.
QString rawText(const QByteArray& bytes)
{
    QString text;
    text.reserve(bytes.size() / 2);
    for (int i = 0; i + 1 < bytes.size(); i += 2)
        text.append(QChar(ushort(uchar(bytes[i]) | (uchar(bytes[i + 1]) << 8))));
    return text;
}

// The tags of each request in the order the device reads them ('?': may be left out,
// '|': one of). A request with another order or other tags is refused.
const QMap<QString, QStringList>& requestLayouts()
{
    static const QMap<QString, QStringList> layouts = {
        {QStringLiteral("LOGIN"), {QStringLiteral("USERNAME PASSWORD CLN_OS|UDP_PORT")}},
        {QStringLiteral("DOWN_FILE"), {QStringLiteral("FILE BUFSIZE")}},
        {QStringLiteral("UP_FILE"), {QStringLiteral("FILE BUFSIZE FILELEN"), QStringLiteral("UPLOAD")}},
        {QStringLiteral("SENDFAX"), {QStringLiteral("FILELEN HEADERSIZE BUFSIZE")}},
        {QStringLiteral("UPDATE_OS"), {QStringLiteral("FILELEN BUFSIZE")}},
        {QStringLiteral("UPDATE_SW"), {QStringLiteral("FILELEN BUFSIZE")}},
        {QStringLiteral("GET_SEND_FAX_STATUS"), {QStringLiteral("TASK_ID_LIST"), QStringLiteral("TASK_ID_LIST QY_USER QY_DTBGN QY_DTEND QY_TYPE")}},
        {QStringLiteral("GET_NEW_FAX"), {QStringLiteral("DATETIME TASK USER")}},
        {QStringLiteral("SEND_FAX_PAUSE"), {QStringLiteral("TASKID")}},
        {QStringLiteral("SEND_FAX_RETRY"), {QStringLiteral("TASKID RETRY_CNT")}},
        {QStringLiteral("DELETE_FAX"), {QStringLiteral("TASKID DELETE REMOVE")}},
        {QStringLiteral("DISTRIBUTE_FAX"), {QStringLiteral("TASKID RECV_LIST")}},
        {QStringLiteral("RESET_SYSTEM"), {QStringLiteral("REASON")}},
        {QStringLiteral("GET_SVR_INFO"), {QString()}},
        {QStringLiteral("GET_PUB_SMTP_SETTING"), {QString()}},
        {QStringLiteral("GET_NETWORK_SETTING"), {QString()}},
        {QStringLiteral("GET_TIME_SETTING"), {QString()}},
        {QStringLiteral("GET_USER_LIST"), {QString()}},
        {QStringLiteral("SET_PUB_SMTP_SETTING"), {QStringLiteral("SMTP_ADDR SMTP_USER EMAIL_ADDR_FROM SMTP_PWD?")}},
        {QStringLiteral("NETWORK_SETTING"), {QStringLiteral("DHCPENABLE IP IP2 IP3 SUBNETMASK GATEWAY DNS VERIFY")}},
        {QStringLiteral("SET_TIME_SETTING"), {QStringLiteral("YEAR MONTH DAY HOUR MINUTE SECOND FSK_SYNC FSK_TIME_ZONE FSK_TIME_ZONE_NAME")}},
        {QStringLiteral("GET_USER_INFO"), {QStringLiteral("USER_NAME")}},
        {QStringLiteral("DELETE_USER"), {QStringLiteral("USER_NAME")}},
        {QStringLiteral("ADD_USER"), {QStringLiteral("USER_NAME USER_PWD? EXT_NUM PERMISSION EMAIL_OPT SMTP_ADDR SMTP_USER SMTP_PWD? EMAIL_FROM EMAIL_TO")}},
        {QStringLiteral("MODIFY_USER"), {QStringLiteral("USER_NAME USER_PWD? EXT_NUM PERMISSION EMAIL_OPT SMTP_ADDR SMTP_USER SMTP_PWD? EMAIL_FROM EMAIL_TO")}},
        {QStringLiteral("GET_FAX_SETTING"), {QStringLiteral("LINE_NUM")}},
        {QStringLiteral("SET_FAX_SETTING"), {QStringLiteral("TAG_FORMAT COMPANY FAX_NUM CSID ECM MAX_SPEED RECV_SPEED RINGCNT LOCAL_CODE IP_PRF OUT_PRF IN_PRF AUTO_RECV MUST_DIV DIS_BEEP RST_LINE DIVERR_RECV DIS_SEND_VOICE DIS_WELCOME SEND_PRIORITY MRECV_CODE LINE_NUM")}},
    };
    return layouts;
}

// The tags of a run of <TAG>value</TAG> items, ACTION first; false when anything else is in it.
bool readTags(const QString& request, QStringList* tags)
{
    int at = 0;
    while (at < request.size()) {
        if (request.at(at) != QLatin1Char('<'))
            return false;
        const int end = request.indexOf(QLatin1Char('>'), at);
        if (end < 0)
            return false;
        const QString name = request.mid(at + 1, end - at - 1);
        if (name.isEmpty() || name.startsWith(QLatin1Char('/')))
            return false;
        const int close = request.indexOf(QStringLiteral("</") + name + QLatin1Char('>'), end);
        if (close < 0)
            return false;
        *tags << name;
        at = close + name.size() + 3;
    }
    return !tags->isEmpty() && tags->first() == QLatin1String("ACTION");
}

// True when the tags follow the layout (ACTION left out).
bool matchesLayout(const QStringList& tags, const QString& layout)
{
    int i = 0;
    for (const QString& slot : layout.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        const bool optional = slot.endsWith(QLatin1Char('?'));
        const QStringList names = QString(slot).remove(QLatin1Char('?')).split(QLatin1Char('|'));
        if (i < tags.size() && names.contains(tags[i]))
            ++i;
        else if (!optional)
            return false;
    }
    return i == tags.size();
}

bool isTransferVerb(const QString& action)
{
    return action == QLatin1String("DOWN_FILE") || action == QLatin1String("UP_FILE") || action == QLatin1String("SENDFAX")
        || action == QLatin1String("UPDATE_OS") || action == QLatin1String("UPDATE_SW");
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
        const QString text = rawText(m_in);
        m_in.clear();
        refuse(value(text, QStringLiteral("ACTION")), QStringLiteral("%1: an incomplete request: %2").arg(m_lanPort).arg(text.left(80)));
    });
    m_quietTimer->setSingleShot(true);
    connect(m_quietTimer, &QTimer::timeout, this, [this] {
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
            m_readyOut = false;
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
            if (!m_readyOut && !m_earlyNoted) {
                // A device reads what comes after its "R" as the block, whatever it is.
                m_earlyNoted = true;
                m_device->addProblem(QStringLiteral("%1: %2 bytes came before the device's \"R\"").arg(m_transferAction).arg(m_in.size()));
            }
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
            if (m_in.size() > m_expect && !m_earlyNoted) {
                // What follows this block was sent before the device asked for it.
                m_earlyNoted = true;
                m_device->addProblem(QStringLiteral("%1: %2 bytes for one \"R\", %3 asked for").arg(m_transferAction).arg(m_in.size()).arg(m_expect));
            }
            const QByteArray block = m_in.left(int(m_expect));
            m_in.remove(0, int(m_expect));
            takeBlock(block);
            continue;
        }
        if (m_in.size() % 2) {
            m_partialTimer->start();
            return;
        }
        const QString text = rawText(m_in);
        if (onlyReadyTokens(text)) {
            m_in.clear();
            for (int i = 0; i < text.size(); ++i)
                handleReadyToken();
            continue;
        }
        if (!text.endsWith(QLatin1Char('>'))) {
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
    // Requests start at "<ACTION>"; a byte-order mark right before one belongs to it.
    static const QString mark = QStringLiteral("<ACTION>");
    QList<int> starts;
    for (int at = text.indexOf(mark); at >= 0; at = text.indexOf(mark, at + 1))
        starts << (at > 0 && text.at(at - 1) == QChar(0xFEFF) ? at - 1 : at);
    const QString before = text.left(starts.isEmpty() ? text.size() : starts.first());
    if (onlyReadyTokens(before)) {
        for (int i = 0; i < before.size(); ++i)
            handleReadyToken(); // asked again while a piece of the last block was under way
    } else if (!before.isEmpty()) {
        refuse(QString(), QStringLiteral("%1: bytes without a request: %2").arg(m_lanPort).arg(before.left(40)));
    }
    for (int i = 0; i < starts.size(); ++i) {
        QString request = text.mid(starts[i], i + 1 < starts.size() ? starts[i + 1] - starts[i] : -1);
        const bool marked = request.startsWith(QChar(0xFEFF));
        if (marked)
            request.remove(0, 1);
        if (m_verbose)
            note(QStringLiteral("> %1").arg(request));
        const QString action = value(request, QStringLiteral("ACTION"));
        const QString problem = requestProblem(action, request, marked);
        if (!problem.isEmpty()) {
            refuse(action, problem);
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
        m_mode = Mode::Command;
        handleCommand(action, request);
    }
}

QString SimSession::requestProblem(const QString& action, const QString& request, bool marked) const
{
    // The login (and a bind's GET_SVR_INFO) carry a byte-order mark; nothing else does.
    if (action == QLatin1String("LOGIN") && !marked)
        return QStringLiteral("LOGIN without its byte-order mark");
    if (marked && action != QLatin1String("LOGIN") && action != QLatin1String("GET_SVR_INFO"))
        return QStringLiteral("%1 with a byte-order mark").arg(action);
    QStringList tags;
    if (request.contains(QChar(0)) || request.contains(QChar(0xFEFF)) || !readTags(request, &tags))
        return QStringLiteral("%1: not a run of tags: %2").arg(action, request.left(80));
    tags.removeFirst();
    const auto layout = requestLayouts().constFind(action);
    if (layout != requestLayouts().constEnd()) {
        bool matches = false;
        for (const QString& form : *layout)
            matches = matches || matchesLayout(tags, form);
        if (!matches)
            return QStringLiteral("%1: tags %2 not in the device's order").arg(action, tags.join(QLatin1Char(',')));
    }
    if (isTransferVerb(action) && SimWire::has(request, QStringLiteral("BUFSIZE"))
        && value(request, QStringLiteral("BUFSIZE")) != QLatin1String("1200"))
        return QStringLiteral("%1: BUFSIZE %2, not 1200").arg(action, value(request, QStringLiteral("BUFSIZE")));
    return QString();
}

void SimSession::refuse(const QString& action, const QString& problem)
{
    m_device->addProblem(problem);
    if (action == QLatin1String("LOGIN") || m_mode == Mode::AwaitLogin) {
        sendText(QStringLiteral("LOGIN"), tag(QStringLiteral("LOGIN_STATE"), QStringLiteral("FORMAT_ERROR")));
        enqueueClose();
        m_mode = Mode::Silent;
        return;
    }
    sendText(action, feedback(QStringLiteral("FORMAT_ERROR")));
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
        m_shortBlock = m_device->takeFault(action, SimFault::ShortBlocks, m_lanPort, &fault) ? qMax(1, fault.value) : 0;
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
        // A chunk is what the device has at hand, up to the size asked for.
        int size = m_shortBlock > 0 ? m_shortBlock : m_bufSize;
        if (m_shortBlock == 0 && m_device->chance(3))
            size = 1 + m_device->vary(m_bufSize);
        QByteArray chunk = m_download.mid(int(m_downloadPos), size);
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
        const int cut = m_device->chance(4) ? 1 + m_device->vary(record.size() - 1) : 0;
        if (cut > 0) {
            enqueue(record.left(cut), m_pacingMs);
            enqueue(record.mid(cut), 1 + m_device->vary(20));
        } else {
            enqueue(record, m_pacingMs);
        }
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
    m_readyOut = false;
    m_earlyNoted = false;
    SimFault fault;
    m_dropAfter = m_device->takeFault(action, SimFault::DropAfterBytes, m_lanPort, &fault) ? fault.value : -1;
    m_pacingMs = m_device->takeFault(action, SimFault::SlowPacing, m_lanPort, &fault) ? fault.delayMs : 0;
}

void SimSession::sendReady(int extraDelayMs)
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
    // "R" then a 0 unit counts as "R" for the configuration and the firmware.
    const bool withNul = m_transfer != Transfer::SendFax && m_device->chance(4);
    Out out;
    out.bytes = SimWire::encode(QStringLiteral("R")) + (withNul ? QByteArray(2, '\0') : QByteArray());
    out.delayMs = m_pacingMs + extraDelayMs;
    out.ready = true;
    m_out << out;
    pump();
}

void SimSession::takeBlock(const QByteArray& block)
{
    m_readyOut = false;
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
            // The SW image follows on the device's own "R", as raw bytes: no request between.
            beginTransfer(Transfer::FirmwareSw, QStringLiteral("UPDATE_SW"), m_device->expectedSwSize(), m_bufSize);
            sendReady(m_device->chance(2) ? 1 + m_device->vary(30) : 0);
            if (m_total < 0)
                m_quietTimer->start(2000);
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
    if (m_device->takeFault(action, SimFault::Trailer, m_lanPort, &fault))
        sent += fault.text.isEmpty() ? QStringLiteral("END") : fault.text;
    if (m_verbose)
        note(QStringLiteral("< %1").arg(sent));
    QByteArray bytes = SimWire::encode(sent);
    if (trailingNul)
        bytes.append(2, '\0');
    // Blanks or 0 units after the last tag, where no block follows that they would run into.
    const bool blocksFollow = action == QLatin1String("DOWN_FILE") || action == QLatin1String("GET_SEND_FAX_STATUS");
    if (!trailingNul && !blocksFollow && m_device->chance(4)) {
        static const QByteArray fillers[] = {QByteArray(" \0", 2), QByteArray("\r\0\n\0", 4), QByteArray(2, '\0'),
                                             QByteArray(4, '\0')};
        bytes += fillers[m_device->vary(4)];
    }
    const int delay = m_device->takeFault(action, SimFault::Delay, m_lanPort, &fault) ? fault.delayMs : 0;
    if (m_device->takeFault(action, SimFault::SplitAfterTag, m_lanPort, &fault)) {
        int cut = 0;
        for (int i = 0; i < qMax(1, fault.value) && cut >= 0; ++i) {
            cut = sent.indexOf(QStringLiteral("</"), cut);
            cut = cut < 0 ? -1 : sent.indexOf(QLatin1Char('>'), cut) + 1;
        }
        if (cut > 0) {
            enqueue(bytes.left(2 * cut), delay);
            enqueue(bytes.mid(2 * cut), fault.delayMs > 0 ? fault.delayMs : 50);
            return;
        }
    }
    int pieces = 1;
    int gap = 0;
    if (m_device->takeFault(action, SimFault::Split, m_lanPort, &fault)) {
        pieces = qMax(2, fault.value);
        gap = fault.delayMs > 0 ? fault.delayMs : 50;
    } else if (bytes.size() > 2 && m_device->chance(3)) {
        // A device's reply may leave in two writes, cut anywhere, a moment apart.
        const int cut = 2 * (1 + m_device->vary(bytes.size() / 2 - 1));
        enqueue(bytes.left(cut), delay);
        enqueue(bytes.mid(cut), 1 + m_device->vary(20));
        return;
    }
    const int units = bytes.size() / 2;
    int from = 0;
    for (int i = 1; i <= pieces; ++i) {
        const int to = 2 * (units * i / pieces);
        if (to > from)
            enqueue(bytes.mid(from, to - from), from == 0 ? delay : gap);
        from = to;
    }
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
        if (out.ready)
            m_readyOut = true;
    }
}

void SimSession::note(const QString& line)
{
    m_device->log(QStringLiteral("%1 %2 %3").arg(m_lanPort).arg(m_peer, line));
}

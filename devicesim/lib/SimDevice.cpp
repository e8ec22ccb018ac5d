#include "SimDevice.h"

#include "SimDigest.h"
#include "SimFirmware.h"
#include "SimTiff.h"
#include "SimWire.h"

#include <QDateTime>
#include <QElapsedTimer>
#include <QRandomGenerator>
#include <QRegularExpression>
#include <QTextCodec>

#include <algorithm>

using SimWire::tag;
using SimWire::value;

namespace {

using Locker = QMutexLocker;

QString feedback(const QString& v)
{
    return tag(QStringLiteral("FEEDBACK"), v);
}

SimReply reply(const QString& text, bool trailingNul = false)
{
    SimReply r;
    r.text = text;
    r.trailingNul = trailingNul;
    return r;
}

qint64 nowMs()
{
    return QDateTime::currentMSecsSinceEpoch();
}

QString stamp(const QDateTime& t)
{
    return t.toString(QStringLiteral("yyyy-MM-dd hh:mm:ss"));
}

const QStringList kUserFields = {QStringLiteral("EXT_NUM"),  QStringLiteral("PERMISSION"), QStringLiteral("EMAIL_OPT"),
                                 QStringLiteral("SMTP_ADDR"), QStringLiteral("SMTP_USER"), QStringLiteral("SMTP_PWD"),
                                 QStringLiteral("EMAIL_FROM"), QStringLiteral("EMAIL_TO")};

const QStringList kLineFields = {QStringLiteral("TAG_FORMAT"),  QStringLiteral("COMPANY"),       QStringLiteral("FAX_NUM"),
                                 QStringLiteral("CSID"),        QStringLiteral("ECM"),           QStringLiteral("MAX_SPEED"),
                                 QStringLiteral("RECV_SPEED"),  QStringLiteral("RINGCNT"),       QStringLiteral("LOCAL_CODE"),
                                 QStringLiteral("IP_PRF"),      QStringLiteral("OUT_PRF"),       QStringLiteral("IN_PRF"),
                                 QStringLiteral("AUTO_RECV"),   QStringLiteral("MUST_DIV"),      QStringLiteral("DIS_BEEP"),
                                 QStringLiteral("RST_LINE"),    QStringLiteral("DIVERR_RECV"),   QStringLiteral("DIS_SEND_VOICE"),
                                 QStringLiteral("DIS_WELCOME"), QStringLiteral("SEND_PRIORITY"), QStringLiteral("MRECV_CODE")};

// Tags of a request copied into a settings map, only those the request carries.
void storeTags(const QString& request, const QStringList& tags, QMap<QString, QString>* into)
{
    for (const QString& t : tags)
        if (SimWire::has(request, t))
            into->insert(t, value(request, t));
}

QString defaultConfig(const QString& name)
{
    return QStringLiteral("[FAXOPTIONS]\r\nServerName=%1\r\nMaxRetry=3\r\nRetryInterval=5\r\nKeepDays=90\r\n\r\n"
                          "[NETWORK]\r\nHttpPort=80\r\nUdpDiscovery=1\r\n\r\n[STORAGE]\r\nPath=$STG_DIR$\r\n")
        .arg(name);
}

} // namespace

SimDevice::SimDevice(const Scenario& scenario, QObject* parent)
    : QObject(parent)
    , m_s(scenario)
{
    m_seed = m_s.seed ? m_s.seed : qEnvironmentVariableIntValue("VELKOR_SIM_SEED");
    while (m_seed == 0)
        m_seed = QRandomGenerator::global()->generate();
    m_random.seed(m_seed);
    if (m_s.varied)
        qInfo("devicesim %s: seed %u (VELKOR_SIM_SEED=%u repeats it)", qPrintable(m_s.address), m_seed, m_seed);
    if (m_s.configText.isEmpty())
        m_s.configText = defaultConfig(m_s.serverName);
    m_clockOffsetSecs = -60 * m_s.time.value(QStringLiteral("FSK_TIME_ZONE")).toLongLong();
    if (m_s.deviceNumber == 0)
        m_s.deviceNumber = m_s.serverId.toUInt(nullptr, 16);

    const QDate today = deviceClock().date();
    if (m_s.logs.isEmpty())
        for (int i = 0; i < 7; ++i) {
            const QDate day = today.addDays(-i);
            m_s.logs.insert(day, QStringLiteral("%1 08:00:01 系统启动 (system start)\r\n"
                                                "%1 09:15:22 线路1 接收传真成功 (fax received on line 1)\r\n"
                                                "%1 10:02:40 用户 admin 登录 (login)\r\n")
                                     .arg(day.toString(QStringLiteral("yyyy-MM-dd"))));
        }

    for (SimReceivedFax fax : m_s.received)
        addReceivedFax(fax);
    for (const SimSentRecord& rec : m_s.history) {
        SimJob job;
        job.task = rec.task ? rec.task : nextTask();
        m_s.nextTaskId = qMax(m_s.nextTaskId, job.task + 1);
        job.fileNumber = nextFile();
        job.account = rec.sender;
        job.header.number = rec.number;
        job.header.receiver = rec.receiver;
        job.header.priority = rec.priority;
        job.header.pageTotal = rec.pages;
        job.status = rec.status;
        job.pagesSent = rec.status == 2 ? rec.pages : 0;
        job.percent = rec.status == 2 ? 100 : 0;
        job.dialTotal = job.dialAlready = 1;
        job.trainingValue = rec.speed;
        job.issue = rec.issue;
        job.line = rec.line;
        job.duration = rec.duration;
        job.createdUtc = job.timeUtc = rec.timeUtc.isValid() ? rec.timeUtc : QDateTime::currentDateTimeUtc();
        job.remark = rec.remark;
        m_jobs << job;
    }
}

int SimDevice::vary(int bound)
{
    Locker lock(&m_mutex);
    return m_s.varied && bound > 0 ? int(m_random.bounded(quint32(bound))) : 0;
}

bool SimDevice::chance(int n)
{
    Locker lock(&m_mutex);
    return m_s.varied && n > 0 && m_random.bounded(quint32(n)) == 0;
}

void SimDevice::addProblem(const QString& problem)
{
    Locker lock(&m_mutex);
    m_problems << problem;
    log(QStringLiteral("REFUSED: %1").arg(problem));
}

QStringList SimDevice::problems() const
{
    Locker lock(&m_mutex);
    return m_problems;
}

quint32 SimDevice::nextTask()
{
    return m_s.nextTaskId++;
}

quint32 SimDevice::nextFile()
{
    return m_s.nextFileNumber++;
}

QString SimDevice::serverName() const
{
    Locker lock(&m_mutex);
    return m_s.serverName;
}

QString SimDevice::serverId() const
{
    Locker lock(&m_mutex);
    return m_s.serverId;
}

QString SimDevice::address() const
{
    Locker lock(&m_mutex);
    return m_s.address;
}

QString SimDevice::newChallenge() const
{
    Locker lock(&m_mutex);
    if (!m_s.challenge.isEmpty())
        return m_s.challenge;
    static const char alphabet[] = "ABCDEFGHJKLMNPQRSTUVWXYZabcdefghijkmnpqrstuvwxyz23456789";
    QString challenge;
    for (int i = 0; i < 16; ++i)
        challenge.append(QLatin1Char(alphabet[QRandomGenerator::global()->bounded(int(sizeof(alphabet) - 1))]));
    return challenge;
}

bool SimDevice::checkLogin(const QString& name, const QString& proof, const QString& challenge, SimUser* user) const
{
    Locker lock(&m_mutex);
    for (const SimUser& u : m_s.users)
        if (u.name == name) {
            *user = u;
            return SimDigest::loginProof(challenge, u.storedPassword) == proof.toLower() && !proof.isEmpty();
        }
    return false;
}

bool SimDevice::takeFault(const QString& action, SimFault::Kind kind, int lanPort, SimFault* fault, int index)
{
    Locker lock(&m_mutex);
    for (int i = 0; i < m_s.faults.size(); ++i) {
        SimFault& f = m_s.faults[i];
        const bool actionMatches = f.action == QLatin1String("*") || f.action.compare(action, Qt::CaseInsensitive) == 0;
        if (f.kind != kind || !actionMatches || (f.port != 0 && f.port != lanPort) || f.times == 0 || (index >= 0 && f.value != index))
            continue;
        *fault = f;
        if (f.times > 0)
            --f.times;
        log(QStringLiteral("fault %1 on %2").arg(SimFault::kindName(kind), action));
        return true;
    }
    return false;
}

void SimDevice::addFault(const SimFault& fault)
{
    Locker lock(&m_mutex);
    m_s.faults << fault;
}

void SimDevice::clearFaults()
{
    Locker lock(&m_mutex);
    m_s.faults.clear();
}

void SimDevice::log(const QString& line)
{
    Locker lock(&m_mutex);
    const QDateTime now = deviceClock();
    m_actionLog << line;
    m_liveLog[now.date()] << stamp(now) + QLatin1Char(' ') + line;
    emit logLine(line);
}

QDateTime SimDevice::deviceClock() const
{
    Locker lock(&m_mutex);
    // The device's wall clock, kept as a UTC-stamped value so no local zone interferes.
    return QDateTime::currentDateTimeUtc().addSecs(m_clockOffsetSecs);
}

SimReply SimDevice::handle(const QString& action, const QString& request, const SimUser& user)
{
    Locker lock(&m_mutex);
    const QString ok = feedback(QStringLiteral("OK"));
    if (action == QLatin1String("GET_SVR_INFO"))
        return serverInfo();
    if (action == QLatin1String("GET_PUB_SMTP_SETTING"))
        return reply(tag(QStringLiteral("SMTP_ADDR"), m_s.smtp.value(QStringLiteral("SMTP_ADDR")))
                     + tag(QStringLiteral("SMTP_USER"), m_s.smtp.value(QStringLiteral("SMTP_USER")))
                     + tag(QStringLiteral("EMAIL_ADDR_FROM"), m_s.smtp.value(QStringLiteral("EMAIL_ADDR_FROM"))) + ok);
    if (action == QLatin1String("SET_PUB_SMTP_SETTING")) {
        storeTags(request, {QStringLiteral("SMTP_ADDR"), QStringLiteral("SMTP_USER"), QStringLiteral("EMAIL_ADDR_FROM"), QStringLiteral("SMTP_PWD")},
                  &m_s.smtp);
        return reply(ok);
    }
    if (action == QLatin1String("GET_NETWORK_SETTING")) {
        QString text;
        for (const QString& t : {QStringLiteral("MAC"), QStringLiteral("IP"), QStringLiteral("IP2"), QStringLiteral("IP3"), QStringLiteral("SUBNETMASK"),
                                 QStringLiteral("GATEWAY"), QStringLiteral("DNS"), QStringLiteral("INTERNET"), QStringLiteral("DHCPENABLE")})
            text += tag(t, m_s.network.value(t));
        return reply(text + ok);
    }
    if (action == QLatin1String("NETWORK_SETTING")) {
        const QString dhcp = value(request, QStringLiteral("DHCPENABLE"));
        static const QRegularExpression dotted(QStringLiteral("^((25[0-5]|2[0-4]\\d|1?\\d?\\d)\\.){3}(25[0-5]|2[0-4]\\d|1?\\d?\\d)$"));
        if (dhcp == QLatin1String("disable") && !dotted.match(value(request, QStringLiteral("IP"))).hasMatch())
            return reply(feedback(QStringLiteral("PARAM_ERROR")));
        storeTags(request,
                  {QStringLiteral("DHCPENABLE"), QStringLiteral("IP"), QStringLiteral("IP2"), QStringLiteral("IP3"), QStringLiteral("SUBNETMASK"),
                   QStringLiteral("GATEWAY"), QStringLiteral("DNS"), QStringLiteral("VERIFY")},
                  &m_s.network);
        return reply(ok);
    }
    if (action == QLatin1String("GET_TIME_SETTING"))
        return timeSetting();
    if (action == QLatin1String("SET_TIME_SETTING"))
        return setTime(request);
    if (action == QLatin1String("GET_USER_LIST")) {
        QStringList names;
        for (const SimUser& u : m_s.users)
            names << u.name;
        return reply(tag(QStringLiteral("USER_LIST"), names.join(QLatin1Char(','))) + ok, true);
    }
    if (action == QLatin1String("GET_USER_INFO"))
        return userInfo(request);
    if (action == QLatin1String("DELETE_USER"))
        return deleteUser(request);
    if (action == QLatin1String("ADD_USER") || action == QLatin1String("MODIFY_USER"))
        return addOrModifyUser(action, request);
    if (action == QLatin1String("GET_FAX_SETTING"))
        return faxSetting(request);
    if (action == QLatin1String("SET_FAX_SETTING"))
        return setFaxSetting(request);
    if (action == QLatin1String("SEND_FAX_PAUSE"))
        return pause(request);
    if (action == QLatin1String("SEND_FAX_RETRY"))
        return retry(request);
    if (action == QLatin1String("DELETE_FAX"))
        return deleteFax(request);
    if (action == QLatin1String("DISTRIBUTE_FAX"))
        return distribute(request);
    if (action == QLatin1String("RESET_SYSTEM")) {
        ++m_resets;
        log(QStringLiteral("reset requested by %1: %2").arg(user.name, value(request, QStringLiteral("REASON"))));
        return reply(ok);
    }
    if (action == QLatin1String("GET_SEND_FAX_STATUS"))
        return sendFaxStatus(request);
    if (action == QLatin1String("GET_NEW_FAX"))
        return newFax(request);
    if (action == QLatin1String("DOWN_FILE"))
        return downFile(request);
    return reply(feedback(QStringLiteral("UNKNOWN_ACTION")));
}

SimReply SimDevice::serverInfo() const
{
    QString text = tag(QStringLiteral("SVRID"), m_s.serverId) + tag(QStringLiteral("SERVER_NAME"), m_s.serverName);
    for (auto it = m_s.info.begin(); it != m_s.info.end(); ++it)
        if (it.key() != QLatin1String("LINE_STAT") && it.key() != QLatin1String("CID_TYPE"))
            text += tag(it.key(), it.value());
    QStringList cid, stat;
    for (int line = 1; line <= m_s.lines.size(); ++line) {
        cid << QStringLiteral("LINE%1:FSK").arg(line);
        bool busy = false;
        for (const SimJob& job : m_jobs)
            busy = busy || (job.holdsLine && job.line == line);
        stat << QStringLiteral("LINE%1:%2").arg(line).arg(busy ? QStringLiteral("SENDING") : QStringLiteral("IDLE"));
    }
    text += tag(QStringLiteral("CID_TYPE"), m_s.info.value(QStringLiteral("CID_TYPE"), cid.join(QLatin1Char(' '))));
    text += tag(QStringLiteral("LINE_STAT"), m_s.info.value(QStringLiteral("LINE_STAT"), stat.join(QLatin1Char(' '))));
    return reply(text + feedback(QStringLiteral("OK")));
}

SimReply SimDevice::timeSetting() const
{
    const QDateTime clock = deviceClock();
    QString text = tag(QStringLiteral("YEAR"), clock.date().year()) + tag(QStringLiteral("MONTH"), clock.date().month())
        + tag(QStringLiteral("DAY"), clock.date().day()) + tag(QStringLiteral("HOUR"), clock.time().hour())
        + tag(QStringLiteral("MINUTE"), clock.time().minute()) + tag(QStringLiteral("SECOND"), clock.time().second());
    for (const QString& t : {QStringLiteral("FSK_SYNC"), QStringLiteral("FSK_TIME_ZONE"), QStringLiteral("FSK_TIME_ZONE_NAME")})
        text += tag(t, m_s.time.value(t));
    return reply(text + feedback(QStringLiteral("OK")));
}

SimReply SimDevice::setTime(const QString& request)
{
    auto number = [&](const char* t) { return value(request, QLatin1String(t)).toInt(); };
    const QDate date(number("YEAR"), number("MONTH"), number("DAY"));
    const QTime time(number("HOUR"), number("MINUTE"), number("SECOND"));
    if (!date.isValid() || !time.isValid())
        return reply(feedback(QStringLiteral("PARAM_ERROR")));
    const QDateTime wanted(date, time, Qt::UTC);
    m_clockOffsetSecs = QDateTime::currentDateTimeUtc().secsTo(wanted);
    storeTags(request, {QStringLiteral("FSK_SYNC"), QStringLiteral("FSK_TIME_ZONE"), QStringLiteral("FSK_TIME_ZONE_NAME")}, &m_s.time);
    return reply(feedback(QStringLiteral("OK")));
}

SimReply SimDevice::userInfo(const QString& request) const
{
    const QString name = value(request, QStringLiteral("USER_NAME"));
    for (const SimUser& u : m_s.users)
        if (u.name == name) {
            QString text = tag(QStringLiteral("USER_NAME"), u.name);
            for (const QString& t : kUserFields)
                if (t != QLatin1String("SMTP_PWD"))
                    text += tag(t, u.fields.value(t));
            return reply(text + feedback(QStringLiteral("OK")));
        }
    return reply(feedback(QStringLiteral("USER_NOT_EXIST")));
}

SimReply SimDevice::deleteUser(const QString& request)
{
    const QString name = value(request, QStringLiteral("USER_NAME"));
    if (name == QLatin1String("admin"))
        return reply(feedback(QStringLiteral("CANNOT_DELETE_ADMIN")));
    for (int i = 0; i < m_s.users.size(); ++i)
        if (m_s.users[i].name == name) {
            m_s.users.removeAt(i);
            return reply(feedback(QStringLiteral("OK")));
        }
    return reply(feedback(QStringLiteral("USER_NOT_EXIST")));
}

SimReply SimDevice::addOrModifyUser(const QString& action, const QString& request)
{
    const QString name = value(request, QStringLiteral("USER_NAME"));
    const bool hasPassword = SimWire::has(request, QStringLiteral("USER_PWD"));
    const QString stored = value(request, QStringLiteral("USER_PWD"));
    // The device keeps only the stored form; anything else is a client that sent the clear text.
    if (hasPassword && !stored.isEmpty() && !SimDigest::looksStored(stored))
        return reply(feedback(QStringLiteral("PWD_FORMAT_ERROR")));
    auto it = std::find_if(m_s.users.begin(), m_s.users.end(), [&](const SimUser& u) { return u.name == name; });
    if (action == QLatin1String("ADD_USER")) {
        if (name.isEmpty() || !hasPassword)
            return reply(feedback(QStringLiteral("PARAM_ERROR")));
        if (it != m_s.users.end())
            return reply(feedback(QStringLiteral("USER_EXIST")));
        SimUser user = SimUser::withPassword(name, QString());
        user.storedPassword = stored.toLower();
        storeTags(request, kUserFields, &user.fields);
        m_s.users << user;
        return reply(feedback(QStringLiteral("OK")));
    }
    if (it == m_s.users.end())
        return reply(feedback(QStringLiteral("USER_NOT_EXIST")));
    if (hasPassword)
        it->storedPassword = stored.toLower();
    storeTags(request, kUserFields, &it->fields);
    if (name == QLatin1String("admin")) // the device keeps its administrator an administrator
        it->fields[QStringLiteral("PERMISSION")] = QString::number(it->permission() | 1);
    return reply(feedback(QStringLiteral("OK")));
}

SimReply SimDevice::faxSetting(const QString& request) const
{
    const int line = value(request, QStringLiteral("LINE_NUM")).toInt();
    if (line < 1 || line > m_s.lines.size())
        return reply(feedback(QStringLiteral("LINE_NOT_EXIST")), true);
    QString text;
    const QMap<QString, QString>& tags = m_s.lines[line - 1];
    for (auto it = tags.begin(); it != tags.end(); ++it)
        text += tag(it.key(), it.value());
    return reply(text + tag(QStringLiteral("LINE_NUM"), line) + feedback(QStringLiteral("OK")), true);
}

SimReply SimDevice::setFaxSetting(const QString& request)
{
    const int line = value(request, QStringLiteral("LINE_NUM")).toInt();
    if (line < 1 || line > m_s.lines.size())
        return reply(feedback(QStringLiteral("LINE_NOT_EXIST")));
    storeTags(request, kLineFields, &m_s.lines[line - 1]);
    return reply(feedback(QStringLiteral("OK")));
}

// ---- Sent faxes -------------------------------------------------------------------------

QList<SimJobStep> SimDevice::buildSteps(const SimJob& job) const
{
    SimOutcome outcome;
    for (const SimOutcome& o : m_s.jobs.outcomes)
        if (job.header.number.startsWith(o.number)) {
            outcome = o;
            break;
        }
    const bool failing = !outcome.success && (outcome.failRuns < 0 || job.runs < outcome.failRuns);
    const int training = m_s.jobs.trainingValue;
    auto step = [](int status, int sendState, int pages, int percent, int dials, bool line) {
        SimJobStep s;
        s.status = status;
        s.sendState = sendState;
        s.pagesSent = pages;
        s.percent = percent;
        s.dialAlready = dials;
        s.holdsLine = line;
        return s;
    };

    QList<SimJobStep> steps;
    const QDateTime plan = job.header.planTime.toUtc();
    if (plan.isValid() && plan > QDateTime::currentDateTimeUtc())
        steps << step(8, 0, 0, 0, 0, false);
    steps << step(5, 0, 0, 0, 0, false);
    const int dials = qMax(1, job.dialTotal);
    if (failing && outcome.failPage <= 0) {
        for (int attempt = 1; attempt <= dials; ++attempt) {
            steps << step(6, 1, 0, 0, attempt, true);
            if (attempt < dials)
                steps << step(5, 0, 0, 0, attempt, false);
        }
        SimJobStep failed = step(1, 0, 0, 0, dials, false);
        failed.issue = outcome.issue;
        steps << failed;
        return steps;
    }
    steps << step(6, 1, 0, 0, 1, true) << step(6, 2, 0, 0, 1, true);
    SimJobStep handshake = step(6, 3, 0, 0, 1, true);
    handshake.trainingValue = training;
    steps << handshake;
    const int pages = qMax(1, job.header.pageTotal);
    auto trained = [training](SimJobStep s) {
        s.trainingValue = training;
        return s;
    };
    for (int page = 1; page <= pages; ++page) {
        if (failing && page == outcome.failPage) {
            steps << trained(step(6, 0, page - 1, 40, 1, true));
            SimJobStep failed = trained(step(1, 0, page - 1, 40, 1, false));
            failed.issue = outcome.issue;
            steps << failed;
            return steps;
        }
        steps << trained(step(6, 0, page - 1, 30, 1, true)) << trained(step(6, 0, page - 1, 70, 1, true));
    }
    steps << trained(step(2, 0, pages, 100, 1, false));
    return steps;
}

void SimDevice::startRun(SimJob& job)
{
    job.steps = buildSteps(job);
    job.stepIndex = 0;
    const SimJobStep& first = job.steps.first();
    job.status = first.status;
    job.sendState = job.pagesSent = job.percent = job.dialAlready = job.trainingValue = 0;
    job.issue.clear();
    job.holdsLine = false;
    job.startedUtc = QDateTime();
    job.timeUtc = QDateTime::currentDateTimeUtc();
    const QDateTime plan = job.header.planTime.toUtc();
    job.nextStepMs = first.status == 8 ? plan.toMSecsSinceEpoch() : nowMs() + m_s.jobs.stepMs;
}

int SimDevice::freeLine() const
{
    for (int line = 1; line <= m_s.lines.size(); ++line) {
        bool used = false;
        for (const SimJob& j : m_jobs)
            used = used || (j.holdsLine && j.line == line);
        if (!used)
            return line;
    }
    return 0;
}

bool SimDevice::advance(SimJob& job)
{
    if (job.status == 7 || !job.isOpen() || job.stepIndex + 1 >= job.steps.size())
        return false;
    const SimJobStep& next = job.steps[job.stepIndex + 1];
    if (next.holdsLine && !job.holdsLine) {
        const int line = freeLine();
        if (line == 0)
            return false; // every line is busy: the fax waits in the queue
        job.line = line;
        job.holdsLine = true;
        if (!job.startedUtc.isValid())
            job.startedUtc = QDateTime::currentDateTimeUtc();
    }
    ++job.stepIndex;
    job.status = next.status;
    job.sendState = next.sendState;
    job.pagesSent = next.pagesSent;
    job.percent = next.percent;
    job.dialAlready = next.dialAlready;
    job.trainingValue = next.trainingValue;
    job.issue = next.issue;
    if (!next.holdsLine)
        job.holdsLine = false;
    job.timeUtc = QDateTime::currentDateTimeUtc();
    if (!job.isOpen()) {
        job.duration = job.startedUtc.isValid() ? int(job.startedUtc.secsTo(job.timeUtc)) : 0;
        log(QStringLiteral("task %1 to %2 %3%4")
                .arg(job.task)
                .arg(job.header.number, job.status == 2 ? QStringLiteral("sent") : QStringLiteral("failed"),
                     job.issue.isEmpty() ? QString() : QStringLiteral(": ") + job.issue));
    }
    return true;
}

void SimDevice::tick()
{
    Locker lock(&m_mutex);
    if (m_s.jobs.advanceOnQuery)
        return;
    const qint64 now = nowMs();
    for (SimJob& job : m_jobs)
        if (job.isOpen() && job.status != 7 && now >= job.nextStepMs) {
            advance(job);
            job.nextStepMs = now + m_s.jobs.stepMs;
        }
}

void SimDevice::advanceJob(quint32 task, int steps)
{
    Locker lock(&m_mutex);
    for (SimJob& job : m_jobs)
        if (job.task == task)
            for (int i = 0; i < steps; ++i)
                advance(job);
}

quint32 SimDevice::acceptUpload(const QString& account, const QByteArray& header, const QByteArray& tiff)
{
    Locker lock(&m_mutex);
    SimUpload upload;
    upload.account = account;
    upload.header = header;
    upload.fields = SimRecord::UploadHeader::parse(header);
    upload.tiff = tiff;
    upload.tiffPages = SimTiff::pageCount(tiff);
    upload.atUtc = QDateTime::currentDateTimeUtc();
    for (const QString& problem : upload.fields.problems)
        addProblem(QStringLiteral("upload header: %1").arg(problem));
    if (!upload.fields.problems.isEmpty()) {
        log(QStringLiteral("upload refused: the header is not as specified"));
        m_uploads << upload;
        return 0;
    }
    if (upload.tiffPages < 0) {
        log(QStringLiteral("upload refused: the file is not a TIFF"));
        m_uploads << upload;
        return 0;
    }
    SimJob job;
    job.task = nextTask();
    job.fileNumber = nextFile();
    job.account = account;
    job.header = upload.fields;
    if (job.header.pageTotal <= 0)
        job.header.pageTotal = upload.tiffPages;
    job.tiff = tiff;
    job.dialTotal = qMax(1, job.header.dialTotal);
    job.createdUtc = upload.atUtc;
    startRun(job);
    m_jobs << job;
    upload.task = job.task;
    m_uploads << upload;
    log(QStringLiteral("task %1: %2 page(s) for %3 (%4) from %5")
            .arg(job.task)
            .arg(job.header.pageTotal)
            .arg(job.header.number, job.header.receiver, account));
    return job.task;
}

SimReply SimDevice::pause(const QString& request)
{
    const quint32 task = value(request, QStringLiteral("TASKID")).toUInt();
    for (SimJob& job : m_jobs)
        if (job.task == task) {
            if (!job.isOpen())
                return reply(feedback(QStringLiteral("PAUSE_FAIL")));
            job.status = 7;
            job.sendState = 0;
            job.holdsLine = false;
            job.timeUtc = QDateTime::currentDateTimeUtc();
            return reply(feedback(QStringLiteral("PAUSE_OK")));
        }
    return reply(feedback(QStringLiteral("NOT_FOUND")));
}

SimReply SimDevice::retry(const QString& request)
{
    const quint32 task = value(request, QStringLiteral("TASKID")).toUInt();
    for (SimJob& job : m_jobs)
        if (job.task == task) {
            if (job.status != 1 && job.status != 7)
                return reply(feedback(QStringLiteral("RETRY_FAIL")));
            const int count = value(request, QStringLiteral("RETRY_CNT")).toInt();
            if (count > 0)
                job.dialTotal = count;
            ++job.runs;
            startRun(job);
            return reply(feedback(QStringLiteral("RETRY_OK")));
        }
    return reply(feedback(QStringLiteral("NOT_FOUND")));
}

SimReply SimDevice::deleteFax(const QString& request)
{
    const quint32 task = value(request, QStringLiteral("TASKID")).toUInt();
    const QString removed = tag(QStringLiteral("REMOVE"), m_s.allowRemove ? QStringLiteral("true") : QStringLiteral("false"));
    for (int i = 0; i < m_jobs.size(); ++i)
        if (m_jobs[i].task == task) {
            if (m_s.allowRemove)
                m_jobs.removeAt(i);
            return reply(feedback(QStringLiteral("OK")) + removed);
        }
    for (int i = 0; i < m_received.size(); ++i)
        if (m_received[i].task == task) {
            if (m_s.allowRemove)
                m_received.removeAt(i);
            return reply(feedback(QStringLiteral("OK")) + removed);
        }
    return reply(feedback(QStringLiteral("NOT_FOUND")));
}

SimReply SimDevice::distribute(const QString& request)
{
    const quint32 task = value(request, QStringLiteral("TASKID")).toUInt();
    const QStringList users = value(request, QStringLiteral("RECV_LIST")).split(QLatin1Char(','), Qt::SkipEmptyParts);
    for (const SimReceivedFax& fax : m_received)
        if (fax.task == task) {
            // Each account gets the fax as a new item, so that its next poll finds it.
            SimReceivedFax copy = fax;
            copy.task = 0;
            copy.users = users;
            const quint32 newTask = addReceivedFax(copy);
            log(QStringLiteral("task %1 distributed to %2 as task %3").arg(task).arg(users.join(QLatin1Char(','))).arg(newTask));
            return reply(feedback(QStringLiteral("OK")));
        }
    return reply(feedback(QStringLiteral("NOT_FOUND")));
}

// ---- Records and lists ------------------------------------------------------------------

SimRecord::RecordData SimDevice::jobRecord(const SimJob& job) const
{
    SimRecord::RecordData d;
    d.task = job.task;
    d.fileNumber = job.fileNumber;
    d.deviceNumber = m_s.deviceNumber;
    d.status = job.status;
    d.priority = job.header.priority;
    const int line = job.line > 0 ? job.line : 1;
    const QString prefix = job.header.disableDialPrefix || line > m_s.lines.size()
        ? QString()
        : m_s.lines[line - 1].value(QStringLiteral("OUT_PRF"));
    d.numberDialled = prefix + job.header.number;
    d.number = job.header.number;
    d.pageTotal = job.header.pageTotal;
    d.pagesSent = job.pagesSent;
    d.dialTotal = job.dialTotal;
    d.dialAlready = job.dialAlready;
    d.timeUtc = job.timeUtc;
    d.planTime = job.header.planTime;
    d.issue = job.issue;
    d.receiver = job.header.receiver;
    d.sender = job.account;
    d.remark = job.remark;
    d.percent = job.percent;
    d.sendState = job.sendState;
    d.trainingValue = job.trainingValue;
    d.stopTime = job.header.stopTime;
    d.windowFrom = job.header.windowFrom;
    d.windowTo = job.header.windowTo;
    d.retryTime = job.header.retryTime;
    d.quality = job.header.quality;
    d.duration = job.duration;
    d.disableHeader = job.header.disableHeader;
    d.disableDialPrefix = job.header.disableDialPrefix;
    d.line = job.line;
    return d;
}

SimRecord::RecordData SimDevice::receivedRecord(const SimReceivedFax& fax) const
{
    SimRecord::RecordData d;
    d.task = fax.task;
    d.fileNumber = fax.fileNumber;
    d.deviceNumber = m_s.deviceNumber;
    d.status = fax.status;
    d.numberDialled = fax.cid;
    const int line = qBound(1, fax.line, m_s.lines.size());
    d.number = m_s.lines[line - 1].value(QStringLiteral("FAX_NUM"));
    d.pageTotal = d.pagesSent = fax.pages;
    d.dialTotal = d.dialAlready = 1;
    d.timeUtc = fax.timeUtc;
    d.receiver = fax.receiver;
    d.sender = fax.sender;
    d.remark = fax.remark;
    d.percent = 100;
    d.trainingValue = fax.speed;
    d.duration = fax.duration;
    d.line = fax.line;
    return d;
}

bool SimDevice::visibleTo(const SimReceivedFax& fax, const QString& user) const
{
    return user.isEmpty() || fax.users.isEmpty() || fax.users.contains(user);
}

SimReply SimDevice::sendFaxStatus(const QString& request)
{
    const QString list = value(request, QStringLiteral("TASK_ID_LIST"));
    SimReply r;
    if (list == QLatin1String("all in queue")) {
        for (const SimJob& job : m_jobs)
            if (job.isOpen())
                r.records << SimRecord::write(jobRecord(job));
    } else if (list == QLatin1String("query history")) {
        const QString user = value(request, QStringLiteral("QY_USER"));
        const QString type = value(request, QStringLiteral("QY_TYPE"));
        const QString format = QStringLiteral("yyyy-MM-dd hh:mm:ss");
        QDateTime from = QDateTime::fromString(value(request, QStringLiteral("QY_DTBGN")), format);
        QDateTime to = QDateTime::fromString(value(request, QStringLiteral("QY_DTEND")), format);
        from.setTimeSpec(Qt::UTC);
        to.setTimeSpec(Qt::UTC);
        auto inRange = [&](const QDateTime& t) { return (!from.isValid() || t >= from) && (!to.isValid() || t <= to); };
        QList<QPair<QDateTime, QByteArray>> found;
        if (type.contains(QLatin1String("send")))
            for (const SimJob& job : m_jobs)
                if (!job.isOpen() && (user.isEmpty() || job.account == user) && inRange(job.timeUtc))
                    found << qMakePair(job.timeUtc, SimRecord::write(jobRecord(job)));
        if (type.contains(QLatin1String("recv")))
            for (const SimReceivedFax& fax : m_received)
                if (visibleTo(fax, user) && inRange(fax.timeUtc))
                    found << qMakePair(fax.timeUtc, SimRecord::write(receivedRecord(fax)));
        std::stable_sort(found.begin(), found.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
        for (const auto& item : found)
            r.records << item.second;
    } else {
        for (const QString& number : list.split(QLatin1Char(','), Qt::SkipEmptyParts)) {
            const quint32 task = number.trimmed().toUInt();
            for (SimJob& job : m_jobs)
                if (job.task == task) {
                    r.records << SimRecord::write(jobRecord(job));
                    if (m_s.jobs.advanceOnQuery)
                        advance(job);
                }
            for (const SimReceivedFax& fax : m_received)
                if (fax.task == task)
                    r.records << SimRecord::write(receivedRecord(fax));
        }
        if (r.records.isEmpty()) {
            r.text = feedback(QStringLiteral("NOT_FOUND")) + tag(QStringLiteral("AMOUNT"), 0);
            return r;
        }
    }
    r.text = feedback(QStringLiteral("OK")) + tag(QStringLiteral("AMOUNT"), r.records.size());
    return r;
}

// ---- Received faxes and files -----------------------------------------------------------

quint32 SimDevice::addReceivedFax(SimReceivedFax fax)
{
    Locker lock(&m_mutex);
    if (fax.task == 0)
        fax.task = nextTask();
    m_s.nextTaskId = qMax(m_s.nextTaskId, fax.task + 1);
    if (fax.fileNumber == 0)
        fax.fileNumber = nextFile();
    if (!fax.timeUtc.isValid())
        fax.timeUtc = QDateTime::currentDateTimeUtc();
    fax.timeUtc = fax.timeUtc.toUTC();
    fax.timeUtc.setTime(QTime(fax.timeUtc.time().hour(), fax.timeUtc.time().minute(), fax.timeUtc.time().second()));
    fax.line = qBound(1, fax.line, qMax(1, m_s.lines.size()));
    const auto at = std::upper_bound(m_received.begin(), m_received.end(), fax.task,
                                     [](quint32 task, const SimReceivedFax& f) { return task < f.task; });
    m_received.insert(at, fax);
    return fax.task;
}

SimReply SimDevice::newFax(const QString& request) const
{
    const quint32 after = value(request, QStringLiteral("TASK")).toUInt();
    const QString user = value(request, QStringLiteral("USER"));
    const bool known = std::any_of(m_s.users.begin(), m_s.users.end(), [&](const SimUser& u) { return u.name == user; });
    QList<const SimReceivedFax*> waiting;
    if (known)
        for (const SimReceivedFax& fax : m_received)
            if (fax.task > after && visibleTo(fax, user))
                waiting << &fax;
    if (waiting.isEmpty())
        return reply(tag(QStringLiteral("COUNT"), 0) + feedback(QStringLiteral("OK")));
    const SimReceivedFax& fax = *waiting.first();
    return reply(tag(QStringLiteral("COUNT"), waiting.size()) + tag(QStringLiteral("TIME"), stamp(fax.timeUtc))
                 + tag(QStringLiteral("CID"), fax.cid) + tag(QStringLiteral("FILE"), QStringLiteral("%1").arg(fax.fileNumber, 8, 16, QLatin1Char('0')).toUpper())
                 + tag(QStringLiteral("TASK"), fax.task) + tag(QStringLiteral("SENDER"), fax.sender) + tag(QStringLiteral("RECEIVER"), fax.receiver)
                 + tag(QStringLiteral("SVRID"), m_s.serverId) + tag(QStringLiteral("REMARK"), fax.remark)
                 + tag(QStringLiteral("STATUS_ID"), fax.status) + feedback(QStringLiteral("OK")));
}

QByteArray SimDevice::fileBytes(quint32 fileNumber, bool* found)
{
    *found = true;
    for (SimReceivedFax& fax : m_received)
        if (fax.fileNumber == fileNumber) {
            if (fax.tiff.isEmpty()) {
                const QStringList text = fax.text.isEmpty()
                    ? QStringList{QStringLiteral("FAX FROM %1").arg(fax.sender), QStringLiteral("CID %1").arg(fax.cid), stamp(fax.timeUtc) + QStringLiteral(" UTC"), fax.remark}
                    : fax.text;
                fax.tiff = SimTiff::makeFax(fax.pages, text);
            }
            return fax.tiff;
        }
    for (SimJob& job : m_jobs)
        if (job.fileNumber == fileNumber) {
            if (job.tiff.isEmpty())
                job.tiff = SimTiff::makeFax(job.header.pageTotal, {QStringLiteral("TO %1").arg(job.header.receiver), job.header.number});
            return job.tiff;
        }
    *found = false;
    return QByteArray();
}

SimReply SimDevice::downFile(const QString& request)
{
    const QString path = value(request, QStringLiteral("FILE"));
    const int bufSize = value(request, QStringLiteral("BUFSIZE")).toInt();
    static const QString root = QStringLiteral("$STG_DIR$");
    const QString rest = path.startsWith(root) ? path.mid(root.size()) : QString();
    SimReply r;
    r.hasDownload = true;
    r.bufSize = bufSize > 0 ? bufSize : 1200;
    bool found = false;
    if (rest.compare(QLatin1String("SvrAdvParam.cfg"), Qt::CaseInsensitive) == 0) {
        r.download = (m_s.configWithBom ? QByteArray("\xFF\xFE", 2) : QByteArray()) + SimWire::encode(m_s.configText);
        found = true;
    } else if (rest.startsWith(QLatin1String("log\\"), Qt::CaseInsensitive) && rest.endsWith(QLatin1String(".log"), Qt::CaseInsensitive)) {
        const QDate day = QDate::fromString(rest.mid(4, 10), QStringLiteral("yyyy-MM-dd"));
        found = day.isValid() && (m_s.logs.contains(day) || m_liveLog.contains(day));
        if (found) {
            QString text = m_s.logs.value(day);
            for (const QString& line : m_liveLog.value(day))
                text += line + QStringLiteral("\r\n");
            r.download = QTextCodec::codecForName("GBK")->fromUnicode(text);
        }
    } else {
        static const QRegularExpression faxPath(QStringLiteral("^FaxFiles\\\\([0-9A-Fa-f]{2})\\\\([0-9A-Fa-f]{2})\\\\([0-9A-Fa-f]{2})\\\\([0-9A-Fa-f]{2})\\.tif$"),
                                                QRegularExpression::CaseInsensitiveOption);
        const QRegularExpressionMatch m = faxPath.match(rest);
        if (m.hasMatch())
            r.download = fileBytes(QString(m.captured(1) + m.captured(2) + m.captured(3) + m.captured(4)).toUInt(nullptr, 16), &found);
    }
    if (!found) {
        r.download.clear();
        r.text = feedback(QStringLiteral("FILE_NOT_EXIST")) + tag(QStringLiteral("FILE_LEN"), 0);
        return r;
    }
    r.text = feedback(QStringLiteral("OK")) + tag(QStringLiteral("FILE_LEN"), r.download.size());
    return r;
}

bool SimDevice::canUploadFile(const QString& devicePath) const
{
    return devicePath.compare(QLatin1String("$STG_DIR$SvrAdvParam.cfg"), Qt::CaseInsensitive) == 0;
}

void SimDevice::storeUploadedFile(const QString& devicePath, const QByteArray& bytes)
{
    Locker lock(&m_mutex);
    if (!canUploadFile(devicePath))
        return;
    m_s.configText = SimWire::decode(bytes);
    applyConfigName();
    log(QStringLiteral("configuration stored (%1 bytes), server name %2").arg(bytes.size()).arg(m_s.serverName));
}

void SimDevice::applyConfigName()
{
    bool inOptions = false;
    for (QString line : m_s.configText.split(QLatin1Char('\n'))) {
        line.remove(QLatin1Char('\r'));
        if (line.startsWith(QLatin1Char('[')))
            inOptions = line.trimmed().compare(QLatin1String("[FAXOPTIONS]"), Qt::CaseInsensitive) == 0;
        else if (inOptions && line.startsWith(QLatin1String("ServerName="), Qt::CaseInsensitive))
            m_s.serverName = line.mid(11);
    }
}

// ---- Firmware ---------------------------------------------------------------------------

void SimDevice::firmwareBegin()
{
    Locker lock(&m_mutex);
    m_firmware << SimFirmwareUpload();
}

QString SimDevice::firmwareStage(bool osStage, const QByteArray& decoded)
{
    Locker lock(&m_mutex);
    if (m_firmware.isEmpty())
        m_firmware << SimFirmwareUpload();
    SimFirmwareUpload& fw = m_firmware.last();
    (osStage ? fw.osImage : fw.swImage) = decoded;
    QString result = QStringLiteral("RECV_OK");
    QByteArray expectedOs, expectedSw;
    if (!m_s.firmwareExpected.isEmpty() && SimFirmware::splitFile(m_s.firmwareExpected, &expectedOs, &expectedSw)) {
        fw.checked = true;
        const bool osOk = fw.osImage == expectedOs;
        if ((osStage && !osOk) || (!osStage && (!osOk || fw.swImage != expectedSw)))
            result = QStringLiteral("CHECK_ERROR");
    }
    if (!osStage) {
        fw.complete = true;
        fw.matchesExpected = fw.checked && result == QLatin1String("RECV_OK");
        log(QStringLiteral("firmware received: OS %1 bytes, SW %2 bytes%3")
                .arg(fw.osImage.size())
                .arg(fw.swImage.size())
                .arg(fw.checked ? (fw.matchesExpected ? QStringLiteral(", matches the original") : QStringLiteral(", DIFFERS from the original"))
                                : QString()));
    } else if (result != QLatin1String("RECV_OK")) {
        log(QStringLiteral("firmware OS image differs from the original"));
    }
    return result;
}

qint64 SimDevice::expectedSwSize() const
{
    Locker lock(&m_mutex);
    QByteArray os, sw;
    return SimFirmware::splitFile(m_s.firmwareExpected, &os, &sw) ? sw.size() : -1;
}

// ---- Address service, discovery ----------------------------------------------------------

QString SimDevice::addressFor(const QString& id, bool voice) const
{
    Locker lock(&m_mutex);
    if (voice && m_s.voiceAddressService.contains(id))
        return m_s.voiceAddressService.value(id);
    if (m_s.addressService.contains(id))
        return m_s.addressService.value(id);
    return id == m_s.serverId ? m_s.address : QString();
}

QByteArray SimDevice::discoveryReply() const
{
    Locker lock(&m_mutex);
    return QTextCodec::codecForName("GBK")->fromUnicode(QStringLiteral("FAXSERVER(NAME:%1 ID:%2)").arg(m_s.serverName, m_s.serverId));
}

// ---- Inspection --------------------------------------------------------------------------

QList<SimUpload> SimDevice::uploads() const
{
    Locker lock(&m_mutex);
    return m_uploads;
}

QList<SimJob> SimDevice::jobs() const
{
    Locker lock(&m_mutex);
    return m_jobs;
}

bool SimDevice::job(quint32 task, SimJob* out) const
{
    Locker lock(&m_mutex);
    for (const SimJob& j : m_jobs)
        if (j.task == task) {
            *out = j;
            return true;
        }
    return false;
}

QList<SimReceivedFax> SimDevice::receivedFaxes() const
{
    Locker lock(&m_mutex);
    return m_received;
}

QList<SimUser> SimDevice::users() const
{
    Locker lock(&m_mutex);
    return m_s.users;
}

bool SimDevice::user(const QString& name, SimUser* out) const
{
    Locker lock(&m_mutex);
    for (const SimUser& u : m_s.users)
        if (u.name == name) {
            *out = u;
            return true;
        }
    return false;
}

QMap<QString, QString> SimDevice::lineSettings(int line) const
{
    Locker lock(&m_mutex);
    return line >= 1 && line <= m_s.lines.size() ? m_s.lines[line - 1] : QMap<QString, QString>();
}

int SimDevice::lineCount() const
{
    Locker lock(&m_mutex);
    return m_s.lines.size();
}

QMap<QString, QString> SimDevice::smtp() const
{
    Locker lock(&m_mutex);
    return m_s.smtp;
}

QMap<QString, QString> SimDevice::network() const
{
    Locker lock(&m_mutex);
    return m_s.network;
}

QMap<QString, QString> SimDevice::timeSettings() const
{
    Locker lock(&m_mutex);
    return m_s.time;
}

QString SimDevice::configText() const
{
    Locker lock(&m_mutex);
    return m_s.configText;
}

QList<SimFirmwareUpload> SimDevice::firmwareUploads() const
{
    Locker lock(&m_mutex);
    return m_firmware;
}

QStringList SimDevice::actionLog() const
{
    Locker lock(&m_mutex);
    return m_actionLog;
}

int SimDevice::resetCount() const
{
    Locker lock(&m_mutex);
    return m_resets;
}

QString SimDevice::deviceLog(const QDate& day) const
{
    Locker lock(&m_mutex);
    QString text = m_s.logs.value(day);
    for (const QString& line : m_liveLog.value(day))
        text += line + QStringLiteral("\r\n");
    return text;
}

void SimDevice::setAllowRemove(bool allow)
{
    Locker lock(&m_mutex);
    m_s.allowRemove = allow;
}

#include "Scenario.h"

#include "SimDigest.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace {

const char* const kKindNames[] = {"silent", "split", "dropAfterBytes", "refuseLogin", "wrongServerId", "notReady",
                                  "noTaskId", "shortRecord", "slowPacing", "feedback", "delay",
                                  "shortBlocks", "splitAfterTag", "trailer"};

QString jsonText(const QJsonValue& v)
{
    if (v.isBool())
        return v.toBool() ? QStringLiteral("true") : QStringLiteral("false");
    if (v.isDouble())
        return QString::number(qint64(v.toDouble()));
    return v.toString();
}

// Merges the members of a JSON object into a map of tags, values as text.
void mergeTags(const QJsonValue& value, QMap<QString, QString>* tags)
{
    const QJsonObject object = value.toObject();
    for (auto it = object.begin(); it != object.end(); ++it)
        tags->insert(it.key(), jsonText(it.value()));
}

QDateTime jsonTime(const QJsonObject& o)
{
    if (o.contains(QStringLiteral("minutesAgo")))
        return QDateTime::currentDateTimeUtc().addSecs(-60 * qint64(o.value(QStringLiteral("minutesAgo")).toDouble()));
    QDateTime t = QDateTime::fromString(o.value(QStringLiteral("time")).toString(), QStringLiteral("yyyy-MM-dd hh:mm:ss"));
    if (t.isValid())
        t.setTimeSpec(Qt::UTC);
    return t;
}

QStringList jsonStrings(const QJsonValue& v)
{
    QStringList list;
    for (const QJsonValue& item : v.toArray())
        list << item.toString();
    return list;
}

bool readFile(const QString& path, QByteArray* bytes, QString* error)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        *error = QStringLiteral("cannot read %1").arg(path);
        return false;
    }
    *bytes = file.readAll();
    return true;
}

quint32 jsonNumber(const QJsonValue& v, quint32 fallback, int base = 10)
{
    if (v.isDouble())
        return quint32(v.toDouble());
    if (v.isString()) {
        bool ok = false;
        const quint32 n = v.toString().toUInt(&ok, base);
        return ok ? n : fallback;
    }
    return fallback;
}

} // namespace

SimFault SimFault::make(const QString& action, Kind kind, int value, int delayMs, const QString& text)
{
    SimFault f;
    f.action = action;
    f.kind = kind;
    f.value = value;
    f.delayMs = delayMs;
    f.text = text;
    return f;
}

bool SimFault::kindFromName(const QString& name, Kind* kind)
{
    for (int i = 0; i <= int(Delay); ++i)
        if (name.compare(QLatin1String(kKindNames[i]), Qt::CaseInsensitive) == 0) {
            *kind = Kind(i);
            return true;
        }
    return false;
}

QString SimFault::kindName(Kind kind)
{
    return QLatin1String(kKindNames[int(kind)]);
}

SimUser SimUser::withPassword(const QString& name, const QString& password, int permission, const QString& extNum)
{
    SimUser u;
    u.name = name;
    u.storedPassword = SimDigest::storedForm(password);
    u.fields = {{QStringLiteral("EXT_NUM"), extNum},
                {QStringLiteral("PERMISSION"), QString::number(permission)},
                {QStringLiteral("EMAIL_OPT"), QStringLiteral("0")},
                {QStringLiteral("SMTP_ADDR"), QString()},
                {QStringLiteral("SMTP_USER"), QString()},
                {QStringLiteral("SMTP_PWD"), QString()},
                {QStringLiteral("EMAIL_FROM"), QString()},
                {QStringLiteral("EMAIL_TO"), QString()}};
    return u;
}

QMap<QString, QString> Scenario::defaultLine(int line)
{
    return {{QStringLiteral("TAG_FORMAT"), QStringLiteral("%D %T FROM:%F TO:%R P.%P")},
            {QStringLiteral("COMPANY"), QStringLiteral("Velkor Demo")},
            {QStringLiteral("FAX_NUM"), QStringLiteral("010-8888666%1").arg(line)},
            {QStringLiteral("CSID"), QStringLiteral("VELKOR-LINE%1").arg(line)},
            {QStringLiteral("ECM"), QStringLiteral("3")},
            {QStringLiteral("MAX_SPEED"), QStringLiteral("5")},
            {QStringLiteral("RECV_SPEED"), QStringLiteral("5")},
            {QStringLiteral("RINGCNT"), QStringLiteral("2")},
            {QStringLiteral("LOCAL_CODE"), QStringLiteral("010")},
            {QStringLiteral("IP_PRF"), QString()},
            {QStringLiteral("OUT_PRF"), QStringLiteral("0")},
            {QStringLiteral("IN_PRF"), QString()},
            {QStringLiteral("AUTO_RECV"), QStringLiteral("true")},
            {QStringLiteral("MUST_DIV"), QStringLiteral("false")},
            {QStringLiteral("DIS_BEEP"), QStringLiteral("false")},
            {QStringLiteral("RST_LINE"), QStringLiteral("false")},
            {QStringLiteral("DIVERR_RECV"), QStringLiteral("false")},
            {QStringLiteral("DIS_SEND_VOICE"), QStringLiteral("false")},
            {QStringLiteral("DIS_WELCOME"), QStringLiteral("false")},
            {QStringLiteral("SEND_PRIORITY"), QStringLiteral("5")},
            {QStringLiteral("MRECV_CODE"), QStringLiteral("*")},
            {QStringLiteral("SUPPORT_SPEED"), QStringLiteral("13")}};
}

Scenario::Scenario()
{
    info = {{QStringLiteral("HWVER"), QStringLiteral("VK-HW 2.1")},
            {QStringLiteral("BIOSVER"), QStringLiteral("1.08")},
            {QStringLiteral("OSVER"), QStringLiteral("4.3.2")},
            {QStringLiteral("SWVER"), QStringLiteral("5.12.0")},
            {QStringLiteral("MDM_VER"), QStringLiteral("M56-3.20")},
            {QStringLiteral("BUILD_TIME"), QStringLiteral("2024-01-15 10:20:00")},
            {QStringLiteral("SPACE_ALL"), QStringLiteral("4096")},
            {QStringLiteral("SPACE_FREE"), QStringLiteral("3521")}};
    lines << defaultLine(1);
    smtp = {{QStringLiteral("SMTP_ADDR"), QStringLiteral("smtp.example.com")},
            {QStringLiteral("SMTP_USER"), QStringLiteral("fax")},
            {QStringLiteral("EMAIL_ADDR_FROM"), QStringLiteral("fax@example.com")},
            {QStringLiteral("SMTP_PWD"), QStringLiteral("secret")}};
    network = {{QStringLiteral("MAC"), QStringLiteral("00:1A:2B:3C:4D:5E")},
               {QStringLiteral("IP"), QStringLiteral("192.168.1.200")},
               {QStringLiteral("IP2"), QString()},
               {QStringLiteral("IP3"), QString()},
               {QStringLiteral("SUBNETMASK"), QStringLiteral("255.255.255.0")},
               {QStringLiteral("GATEWAY"), QStringLiteral("192.168.1.1")},
               {QStringLiteral("DNS"), QStringLiteral("192.168.1.1")},
               {QStringLiteral("INTERNET"), QStringLiteral("CONNECTED")},
               {QStringLiteral("DHCPENABLE"), QStringLiteral("disable")},
               {QStringLiteral("VERIFY"), QStringLiteral("false")}};
    time = {{QStringLiteral("FSK_SYNC"), QStringLiteral("TRUE")},
            {QStringLiteral("FSK_TIME_ZONE"), QStringLiteral("-480")},
            {QStringLiteral("FSK_TIME_ZONE_NAME"), QStringLiteral("389818429")}};
    users << SimUser::withPassword(QStringLiteral("admin"), QStringLiteral("admin"), 63, QStringLiteral("800"));
}

bool Scenario::fromFile(const QString& path, Scenario* scenario, QString* error)
{
    QByteArray json;
    if (!readFile(path, &json, error))
        return false;
    return fromJson(json, scenario, error, QFileInfo(path).absolutePath());
}

bool Scenario::fromJson(const QByteArray& json, Scenario* s, QString* error, const QString& baseDir)
{
    QJsonParseError parseError;
    const QJsonDocument doc = QJsonDocument::fromJson(json, &parseError);
    if (!doc.isObject()) {
        *error = QStringLiteral("scenario is not a JSON object: %1").arg(parseError.errorString());
        return false;
    }
    const QJsonObject o = doc.object();
    const QDir dir(baseDir.isEmpty() ? QDir::currentPath() : baseDir);

    s->address = o.value(QStringLiteral("address")).toString(s->address);
    s->basePort = o.value(QStringLiteral("basePort")).toInt(s->basePort);
    s->httpPort = o.value(QStringLiteral("httpPort")).toInt(s->httpPort);
    s->discovery = o.value(QStringLiteral("discovery")).toBool(s->discovery);
    s->discoveryAnyAddress = o.value(QStringLiteral("discoveryAnyAddress")).toBool(s->discoveryAnyAddress);

    const QJsonObject device = o.value(QStringLiteral("device")).toObject();
    s->serverName = device.value(QStringLiteral("name")).toString(s->serverName);
    s->serverId = device.value(QStringLiteral("id")).toString(s->serverId);
    s->deviceNumber = jsonNumber(device.value(QStringLiteral("deviceNumber")), s->deviceNumber, 16);
    s->challenge = device.value(QStringLiteral("challenge")).toString(s->challenge);

    mergeTags(o.value(QStringLiteral("info")), &s->info);
    mergeTags(o.value(QStringLiteral("smtp")), &s->smtp);
    mergeTags(o.value(QStringLiteral("network")), &s->network);
    mergeTags(o.value(QStringLiteral("time")), &s->time);

    if (o.contains(QStringLiteral("lines"))) {
        s->lines.clear();
        for (const QJsonValue& line : o.value(QStringLiteral("lines")).toArray()) {
            QMap<QString, QString> tags = defaultLine(s->lines.size() + 1);
            mergeTags(line, &tags);
            s->lines << tags;
        }
        if (s->lines.isEmpty() || s->lines.size() > 2) {
            *error = QStringLiteral("a device has one or two lines");
            return false;
        }
    }

    if (o.contains(QStringLiteral("users"))) {
        s->users.clear();
        for (const QJsonValue& value : o.value(QStringLiteral("users")).toArray()) {
            QJsonObject u = value.toObject();
            SimUser user = SimUser::withPassword(u.value(QStringLiteral("name")).toString(), u.value(QStringLiteral("password")).toString());
            if (u.contains(QStringLiteral("storedPassword")))
                user.storedPassword = u.value(QStringLiteral("storedPassword")).toString();
            u.remove(QStringLiteral("name"));
            u.remove(QStringLiteral("password"));
            u.remove(QStringLiteral("storedPassword"));
            mergeTags(u, &user.fields);
            if (user.name.isEmpty()) {
                *error = QStringLiteral("a user without a name");
                return false;
            }
            s->users << user;
        }
    }

    for (const QJsonValue& value : o.value(QStringLiteral("received")).toArray()) {
        const QJsonObject r = value.toObject();
        SimReceivedFax fax;
        fax.task = jsonNumber(r.value(QStringLiteral("task")), 0);
        fax.fileNumber = jsonNumber(r.value(QStringLiteral("file")), 0, 16);
        fax.timeUtc = jsonTime(r);
        fax.cid = r.value(QStringLiteral("cid")).toString();
        fax.sender = r.value(QStringLiteral("sender")).toString();
        fax.receiver = r.value(QStringLiteral("receiver")).toString(fax.receiver);
        fax.remark = r.value(QStringLiteral("remark")).toString();
        fax.status = r.value(QStringLiteral("status")).toInt(fax.status);
        fax.users = jsonStrings(r.value(QStringLiteral("users")));
        fax.pages = r.value(QStringLiteral("pages")).toInt(fax.pages);
        fax.text = jsonStrings(r.value(QStringLiteral("lines")));
        fax.line = r.value(QStringLiteral("line")).toInt(fax.line);
        fax.duration = r.value(QStringLiteral("duration")).toInt(fax.duration);
        fax.speed = r.value(QStringLiteral("speed")).toInt(fax.speed);
        if (r.contains(QStringLiteral("tiff")) && !readFile(dir.absoluteFilePath(r.value(QStringLiteral("tiff")).toString()), &fax.tiff, error))
            return false;
        s->received << fax;
    }

    for (const QJsonValue& value : o.value(QStringLiteral("history")).toArray()) {
        const QJsonObject h = value.toObject();
        SimSentRecord rec;
        rec.task = jsonNumber(h.value(QStringLiteral("task")), 0);
        rec.timeUtc = jsonTime(h);
        rec.number = h.value(QStringLiteral("number")).toString();
        rec.receiver = h.value(QStringLiteral("receiver")).toString();
        rec.sender = h.value(QStringLiteral("sender")).toString();
        rec.remark = h.value(QStringLiteral("remark")).toString();
        rec.issue = h.value(QStringLiteral("issue")).toString();
        rec.status = h.value(QStringLiteral("status")).toInt(rec.status);
        rec.priority = h.value(QStringLiteral("priority")).toInt(rec.priority);
        rec.pages = h.value(QStringLiteral("pages")).toInt(rec.pages);
        rec.duration = h.value(QStringLiteral("duration")).toInt(rec.duration);
        rec.speed = h.value(QStringLiteral("speed")).toInt(rec.speed);
        rec.line = h.value(QStringLiteral("line")).toInt(rec.line);
        s->history << rec;
    }

    const QJsonObject jobs = o.value(QStringLiteral("jobs")).toObject();
    s->jobs.stepMs = jobs.value(QStringLiteral("stepMs")).toInt(s->jobs.stepMs);
    s->jobs.advanceOnQuery = jobs.value(QStringLiteral("advanceOnQuery")).toBool(s->jobs.advanceOnQuery);
    s->jobs.trainingValue = jobs.value(QStringLiteral("trainingValue")).toInt(s->jobs.trainingValue);
    for (const QJsonValue& value : jobs.value(QStringLiteral("outcomes")).toArray()) {
        const QJsonObject oc = value.toObject();
        SimOutcome outcome;
        outcome.number = oc.value(QStringLiteral("number")).toString();
        outcome.success = oc.value(QStringLiteral("result")).toString(QStringLiteral("success")) != QLatin1String("fail");
        outcome.issue = oc.value(QStringLiteral("issue")).toString(outcome.issue);
        outcome.failPage = oc.value(QStringLiteral("failPage")).toInt(outcome.failPage);
        outcome.failRuns = oc.value(QStringLiteral("failRuns")).toInt(outcome.failRuns);
        s->jobs.outcomes << outcome;
    }

    s->configText = o.value(QStringLiteral("config")).toString(s->configText);
    if (o.contains(QStringLiteral("configFile"))) {
        QByteArray bytes;
        if (!readFile(dir.absoluteFilePath(o.value(QStringLiteral("configFile")).toString()), &bytes, error))
            return false;
        s->configText = QString::fromUtf8(bytes);
    }
    s->configWithBom = o.value(QStringLiteral("configWithBom")).toBool(s->configWithBom);

    const QJsonObject logs = o.value(QStringLiteral("logs")).toObject();
    for (auto it = logs.begin(); it != logs.end(); ++it) {
        const QDate day = QDate::fromString(it.key(), QStringLiteral("yyyy-MM-dd"));
        if (!day.isValid()) {
            *error = QStringLiteral("log day %1 is not yyyy-MM-dd").arg(it.key());
            return false;
        }
        s->logs.insert(day, it.value().toString());
    }

    if (o.contains(QStringLiteral("firmwareExpected"))
        && !readFile(dir.absoluteFilePath(o.value(QStringLiteral("firmwareExpected")).toString()), &s->firmwareExpected, error))
        return false;

    mergeTags(o.value(QStringLiteral("addressService")), &s->addressService);
    mergeTags(o.value(QStringLiteral("voiceAddressService")), &s->voiceAddressService);
    s->allowRemove = o.value(QStringLiteral("allowRemove")).toBool(s->allowRemove);
    s->varied = o.value(QStringLiteral("varied")).toBool(s->varied);
    s->seed = jsonNumber(o.value(QStringLiteral("seed")), s->seed);
    s->nextTaskId = jsonNumber(o.value(QStringLiteral("nextTaskId")), s->nextTaskId);
    s->nextFileNumber = jsonNumber(o.value(QStringLiteral("nextFileNumber")), s->nextFileNumber, 16);

    for (const QJsonValue& value : o.value(QStringLiteral("faults")).toArray()) {
        const QJsonObject f = value.toObject();
        SimFault fault;
        if (!SimFault::kindFromName(f.value(QStringLiteral("kind")).toString(), &fault.kind)) {
            *error = QStringLiteral("unknown fault kind %1").arg(f.value(QStringLiteral("kind")).toString());
            return false;
        }
        fault.action = f.value(QStringLiteral("action")).toString(fault.action);
        fault.value = f.value(QStringLiteral("value")).toInt(fault.value);
        fault.delayMs = f.value(QStringLiteral("delayMs")).toInt(fault.delayMs);
        fault.text = f.value(QStringLiteral("text")).toString(fault.text);
        fault.times = f.value(QStringLiteral("times")).toInt(fault.times);
        fault.port = f.value(QStringLiteral("port")).toInt(fault.port);
        s->faults << fault;
    }
    return true;
}

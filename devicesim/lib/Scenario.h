#pragma once

#include <QByteArray>
#include <QDate>
#include <QDateTime>
#include <QList>
#include <QMap>
#include <QString>
#include <QStringList>

// A misbehaviour the device shows on purpose, chosen per action.
struct SimFault {
    enum Kind {
        Silent,         // the step gets no answer (GREETING: no greeting at all; LOGIN: silence after the greeting)
        Split,          // the reply goes out in `value` pieces (default 2), `delayMs` apart
        DropAfterBytes, // the connection is dropped after `value` bytes of the transfer (or at once for a plain reply)
        RefuseLogin,    // LOGIN_STATE other than "OK", whatever the proof
        WrongServerId,  // the greeting names `text` (or the real identity with "X" appended) as SERVER_ID
        NotReady,       // `text` instead of the ready token "R", at block number `value` (0 is the first)
        NoTaskId,       // "RECV_OK" without TASKID
        ShortRecord,    // a record of only `value` bytes (default 100)
        SlowPacing,     // `delayMs` before each ready token, chunk or record
        Feedback,       // FEEDBACK carries `text` instead of the normal value
        Delay,          // the reply waits `delayMs`
        ShortBlocks,    // download chunks of `value` bytes per "R" instead of the requested size
        SplitAfterTag,  // the reply is cut right after its `value`-th close mark (default 1), the rest `delayMs` later (default 50)
        Trailer,        // the reply ends in `text` (default "END") instead of a close mark
    };

    QString action = QStringLiteral("*"); // "GREETING", "LOGIN", a verb ("SENDFAX", ...), "DISCOVERY", "HTTP" or "*"
    Kind kind = Silent;
    int value = 0;
    int delayMs = 0;
    QString text;
    int times = -1; // how often it fires; -1 for every time
    int port = 0;   // LAN port (3001, 3002, 3006, 3007) it is limited to; 0 for all

    static SimFault make(const QString& action, Kind kind, int value = 0, int delayMs = 0, const QString& text = QString());
    static bool kindFromName(const QString& name, Kind* kind);
    static QString kindName(Kind kind);
};

// A device account. The device keeps only the stored (128-hex) form of the password.
struct SimUser {
    QString name;
    QString storedPassword;
    // EXT_NUM, PERMISSION, EMAIL_OPT, SMTP_ADDR, SMTP_USER, SMTP_PWD, EMAIL_FROM, EMAIL_TO.
    QMap<QString, QString> fields;

    static SimUser withPassword(const QString& name, const QString& password, int permission = 63, const QString& extNum = QString());
    int permission() const { return fields.value(QStringLiteral("PERMISSION")).toInt(); }
};

// A fax the device has received and offers through GET_NEW_FAX.
struct SimReceivedFax {
    quint32 task = 0;       // 0: the device numbers it
    quint32 fileNumber = 0; // 0: the device numbers it
    QDateTime timeUtc;      // invalid: now
    QString cid;
    QString sender;
    QString receiver = QStringLiteral("public");
    QString remark;
    int status = 11;
    QStringList users; // accounts that see it; empty for every account
    int pages = 1;
    QStringList text; // lines drawn on each page of a generated file
    QByteArray tiff;  // empty: generated from pages and text
    int line = 1;
    int duration = 40;
    int speed = 14400;
};

// An earlier sent fax that the history lists.
struct SimSentRecord {
    quint32 task = 0;
    QDateTime timeUtc;
    QString number;
    QString receiver;
    QString sender;
    QString remark;
    QString issue;
    int status = 2;
    int priority = 2;
    int pages = 1;
    int duration = 45;
    int speed = 14400;
    int line = 1;
};

// How sent faxes end, chosen by number.
struct SimOutcome {
    QString number;       // prefix of the number; empty matches every number
    bool success = true;
    QString issue = QStringLiteral("No answer");
    int failPage = 0;     // 0: the dialling fails (every attempt); k: the line drops during page k
    int failRuns = -1;    // runs that fail before one succeeds; -1: every run fails
};

struct SimJobSettings {
    int stepMs = 1000;           // time between two states of a job
    bool advanceOnQuery = false; // instead: one state further with each status query of the task
    int trainingValue = 14400;
    QList<SimOutcome> outcomes;  // first match wins; no match: success
};

// Everything a device starts with. Tests fill it in code; files are read by fromJson.
struct Scenario {
    QString address = QStringLiteral("127.0.0.1");
    int basePort = 3001;            // TCP ports: base, base+1, base+5, base+6 (3001, 3002, 3006, 3007)
    int httpPort = 0;               // remote address service; 0: none
    bool discovery = true;          // answer queries on UDP 5076 of the address
    bool discoveryAnyAddress = false; // also take broadcast queries (binds 0.0.0.0:5076, shared)
    int discoveryPort = 5076;
    int discoveryReplyPort = 5077;

    QString serverName = QStringLiteral("Velkor Demo Fax");
    QString serverId = QStringLiteral("5A3C0001");
    quint32 deviceNumber = 0; // device number in list records; 0: serverId read as hex
    QString challenge;        // fixed VERIFY_STRING; empty: a fresh one for every connection

    QMap<QString, QString> info; // GET_SVR_INFO tags (HWVER, SWVER, SPACE_ALL, CID_TYPE, ...)
    QList<QMap<QString, QString>> lines; // one map of GET_FAX_SETTING tags per line (1 or 2)
    QMap<QString, QString> smtp;
    QMap<QString, QString> network;
    QMap<QString, QString> time; // FSK_SYNC, FSK_TIME_ZONE, FSK_TIME_ZONE_NAME
    QList<SimUser> users;
    QList<SimReceivedFax> received;
    QList<SimSentRecord> history;
    SimJobSettings jobs;
    QString configText;          // SvrAdvParam.cfg; empty: made from the server name
    bool configWithBom = false;
    QMap<QDate, QString> logs;   // day logs; empty: a week of made-up lines
    QByteArray firmwareExpected; // the firmware file an upload must match; empty: not checked
    QMap<QString, QString> addressService;      // identity -> "address" or "address:port" (getremoteip2)
    QMap<QString, QString> voiceAddressService; // the same for getremoteip; falls back to the above
    bool allowRemove = true;     // DELETE_FAX answers REMOVE true
    quint32 nextTaskId = 1000;
    quint32 nextFileNumber = 0x00100000;
    int voiceIntervalMs = 20;
    QList<SimFault> faults;
    // Where a real device is free (download chunk sizes, where a reply is split, trailing blanks
    // and 0 units), a seeded random source decides; false keeps one fixed behaviour.
    bool varied = true;
    quint32 seed = 0; // 0: VELKOR_SIM_SEED from the environment, else a fresh seed

    // A complete one-line device with the account "admin" (password "admin").
    Scenario();

    // Relative file names in the JSON (TIFFs, configuration, firmware) are taken from baseDir.
    static bool fromJson(const QByteArray& json, Scenario* scenario, QString* error, const QString& baseDir = QString());
    static bool fromFile(const QString& path, Scenario* scenario, QString* error);

    static QMap<QString, QString> defaultLine(int line);
};

#pragma once

#include "Scenario.h"
#include "SimRecord.h"

#include <QObject>
#include <QRandomGenerator>
#include <QRecursiveMutex>

// One state of a sent fax's life on the device.
struct SimJobStep {
    int status = 5;
    int sendState = 0;
    int pagesSent = 0;
    int percent = 0;
    int dialAlready = 0;
    int trainingValue = 0;
    bool holdsLine = false; // dialling, connecting, handshake and pages need a free line
    QString issue;
};

// A fax the device has taken over for sending (or an earlier one from the history).
struct SimJob {
    quint32 task = 0;
    quint32 fileNumber = 0;
    QString account; // who uploaded it
    QString remark;
    SimRecord::UploadHeader header;
    QByteArray tiff;
    int status = 5;
    int sendState = 0;
    int pagesSent = 0;
    int percent = 0;
    int dialTotal = 0;
    int dialAlready = 0;
    int trainingValue = 0;
    QString issue;
    int line = 0;          // the line it uses or used last; 0 before dialling
    bool holdsLine = false;
    int runs = 0;          // runs started before the current one
    QDateTime createdUtc;
    QDateTime timeUtc;     // last change of state
    QDateTime startedUtc;  // first dial of the current run
    int duration = 0;
    QList<SimJobStep> steps;
    int stepIndex = 0;
    qint64 nextStepMs = 0;

    bool isOpen() const { return status == 5 || status == 6 || status == 7 || status == 8; }
};

// One SENDFAX upload as the device saw it.
struct SimUpload {
    quint32 task = 0; // 0 when the upload was not taken over
    QString account;
    QByteArray header;
    SimRecord::UploadHeader fields;
    QByteArray tiff;
    int tiffPages = -1; // -1: the file is not a TIFF
    QDateTime atUtc;
};

// One firmware upload, decoded (the word conversion undone).
struct SimFirmwareUpload {
    QByteArray osImage;
    QByteArray swImage;
    bool complete = false;
    bool checked = false;         // the scenario named the original file
    bool matchesExpected = false; // both images equal the original's
};

// What a session sends in answer to a command, and what follows it.
struct SimReply {
    QString text;             // empty: nothing is sent
    bool trailingNul = false; // a 0 unit ends the reply
    bool hasDownload = false; // after the reply, chunks of `download` per ready token "R"
    QByteArray download;
    int bufSize = 1200;
    QList<QByteArray> records; // after the reply, one record per ready token "R"
};

// The device itself: accounts, lines, settings, jobs, received faxes and files, and the
// answer to every action. Sessions bring it requests; tests inspect it. Thread-safe.
class SimDevice : public QObject
{
    Q_OBJECT

public:
    explicit SimDevice(const Scenario& scenario, QObject* parent = nullptr);

    // Identity and login.
    QString serverName() const;
    QString serverId() const;
    QString newChallenge() const;
    // True when the account exists and the proof is the digest of challenge + stored form.
    bool checkLogin(const QString& name, const QString& proof, const QString& challenge, SimUser* user) const;

    // Faults: the first matching one fires (and counts down). With index >= 0 only a fault
    // whose value equals the index matches (the block number of NotReady).
    bool takeFault(const QString& action, SimFault::Kind kind, int lanPort, SimFault* fault, int index = -1);
    void addFault(const SimFault& fault);
    void clearFaults();

    // Commands other than the block transfers.
    SimReply handle(const QString& action, const QString& request, const SimUser& user);
    // Upload of a fax: header and file as received. Returns the new task (0 when refused).
    quint32 acceptUpload(const QString& account, const QByteArray& header, const QByteArray& tiff);
    bool canUploadFile(const QString& devicePath) const;
    void storeUploadedFile(const QString& devicePath, const QByteArray& bytes);
    // Firmware: a new upload starts; a stage has been received and decoded. Returns the
    // FEEDBACK to send ("RECV_OK" when the stage matches the original, if one is known).
    void firmwareBegin();
    QString firmwareStage(bool osStage, const QByteArray& decoded);
    // Size of the SW image of the original firmware file; -1 when none is known.
    qint64 expectedSwSize() const;

    // Moves time-driven jobs on; called by the sim's timer.
    void tick();

    // Remote address service and discovery.
    QString addressFor(const QString& id, bool voice) const;
    QByteArray discoveryReply() const;
    QString address() const;

    // Inspection.
    QList<SimUpload> uploads() const;
    QList<SimJob> jobs() const;
    bool job(quint32 task, SimJob* out) const;
    QList<SimReceivedFax> receivedFaxes() const;
    QList<SimUser> users() const;
    bool user(const QString& name, SimUser* out) const;
    QMap<QString, QString> lineSettings(int line) const;
    int lineCount() const;
    QMap<QString, QString> smtp() const;
    QMap<QString, QString> network() const;
    QMap<QString, QString> timeSettings() const;
    QDateTime deviceClock() const;
    QString configText() const;
    QList<SimFirmwareUpload> firmwareUploads() const;
    QStringList actionLog() const;
    int resetCount() const;
    QString deviceLog(const QDate& day) const;

    // Changes tests may make while the device runs.
    quint32 addReceivedFax(SimReceivedFax fax);
    // Moves a job on by a number of states, whatever the timing mode.
    void advanceJob(quint32 task, int steps = 1);
    void setAllowRemove(bool allow);

    // One line of the device's own log (and of the action log).
    void log(const QString& line);

    // Where a real device is free: a number in [0, bound) from the seeded source, 0 when the
    // scenario is not varied.
    int vary(int bound);
    // True once in `n` times from the same source; never when the scenario is not varied.
    bool chance(int n);
    quint32 seed() const { return m_seed; }
    // Bytes that differ from what the device takes (a request, header or block): the device
    // refuses them, and tests read what went wrong here.
    void addProblem(const QString& problem);
    QStringList problems() const;

signals:
    void logLine(const QString& line);

private:
    SimReply serverInfo() const;
    SimReply timeSetting() const;
    SimReply userInfo(const QString& request) const;
    SimReply deleteUser(const QString& request);
    SimReply addOrModifyUser(const QString& action, const QString& request);
    SimReply faxSetting(const QString& request) const;
    SimReply setFaxSetting(const QString& request);
    SimReply setTime(const QString& request);
    SimReply pause(const QString& request);
    SimReply retry(const QString& request);
    SimReply deleteFax(const QString& request);
    SimReply distribute(const QString& request);
    SimReply sendFaxStatus(const QString& request);
    SimReply newFax(const QString& request) const;
    SimReply downFile(const QString& request);

    QList<SimJobStep> buildSteps(const SimJob& job) const;
    void startRun(SimJob& job);
    bool advance(SimJob& job);
    int freeLine() const;
    SimRecord::RecordData jobRecord(const SimJob& job) const;
    SimRecord::RecordData receivedRecord(const SimReceivedFax& fax) const;
    QByteArray fileBytes(quint32 fileNumber, bool* found);
    bool visibleTo(const SimReceivedFax& fax, const QString& user) const;
    void applyConfigName();
    quint32 nextTask();
    quint32 nextFile();

    mutable QRecursiveMutex m_mutex;
    Scenario m_s;
    QList<SimJob> m_jobs;
    QList<SimReceivedFax> m_received;
    QList<SimUpload> m_uploads;
    QList<SimFirmwareUpload> m_firmware;
    QMap<QDate, QStringList> m_liveLog;
    QStringList m_actionLog;
    qint64 m_clockOffsetSecs = 0;
    int m_resets = 0;
    quint32 m_seed = 0;
    QRandomGenerator m_random;
    QStringList m_problems;
};

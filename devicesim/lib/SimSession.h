#pragma once

#include "Scenario.h"

#include <QByteArray>
#include <QHostAddress>
#include <QList>
#include <QObject>
#include <QPointer>

class QTcpSocket;
class QTimer;
class QUdpSocket;
class SimDevice;

// One TCP connection to the device: greeting, login, then requests, each answered as the
// device would, with the block transfers paced by the ready token "R". Lives on the thread
// of the sim that accepted the connection.
class SimSession : public QObject
{
    Q_OBJECT

public:
    // lanPort is the port's LAN number (3001, 3002, 3006 or 3007), whatever port it listens on.
    SimSession(SimDevice* device, QTcpSocket* socket, int lanPort, bool verbose, int voiceIntervalMs, QObject* parent = nullptr);
    ~SimSession() override;

    void start();

private slots:
    void onReadyRead();
    void onDisconnected();

private:
    enum class Mode { AwaitLogin, Command, Upload, Download, Records, Silent };
    enum class Transfer { None, SendFax, Config, FirmwareOs, FirmwareSw };
    struct Out {
        QByteArray bytes;
        int delayMs = 0;
        bool close = false;
        bool abort = false; // a dropped line, not a hang-up
        bool ready = false; // the ready token "R" of an upload
    };

    void process();
    void handleText(const QString& text);
    // Empty when the request's bytes are the specified ones; else what is wrong with them.
    QString requestProblem(const QString& action, const QString& request, bool marked) const;
    void refuse(const QString& action, const QString& problem);
    void handleLogin(const QString& request);
    void handleCommand(const QString& action, const QString& request);
    void handleReadyToken();
    bool portAllows(const QString& action) const;

    void startSendFax(const QString& request);
    void startConfigUpload(const QString& request);
    void startFirmware(const QString& action, const QString& request);
    void beginTransfer(Transfer kind, const QString& action, qint64 total, int bufSize);
    void sendReady(int extraDelayMs = 0);
    void takeBlock(const QByteArray& block);
    void finishTransfer();
    void startVoice(quint16 udpPort);

    // Replies: UTF-16LE text, then faults of the action (delay, split) decide how it leaves.
    void sendText(const QString& action, const QString& text, bool trailingNul = false);
    void enqueue(const QByteArray& bytes, int delayMs = 0);
    void enqueueClose(int delayMs = 0);
    void enqueueDrop();
    void pump();
    void note(const QString& line);

    SimDevice* m_device;
    QPointer<QTcpSocket> m_socket;
    int m_lanPort;
    bool m_verbose;
    int m_voiceIntervalMs;
    QString m_peer;
    Mode m_mode = Mode::AwaitLogin;
    QByteArray m_in;
    QString m_challenge;
    SimUser m_user;
    bool m_loggedIn = false;

    QList<Out> m_out;
    bool m_pumping = false;
    QTimer* m_partialTimer;
    QTimer* m_quietTimer;

    // The transfer under way.
    Transfer m_transfer = Transfer::None;
    QString m_transferAction;
    qint64 m_total = 0; // -1: unknown (the firmware SW stage without its request)
    int m_bufSize = 1200;
    qint64 m_received = 0;
    qint64 m_expect = 0;
    int m_block = 0;
    qint64 m_dropAfter = -1;
    int m_pacingMs = 0;
    bool m_readyOut = false;    // the "R" for the next upload block has gone out
    bool m_earlyNoted = false;  // bytes before an "R" were noted once for this transfer
    int m_shortBlock = 0;       // download chunks of this many bytes (a fault); 0: as requested
    QByteArray m_data;
    QString m_pendingPath; // UP_FILE announced, START not yet
    qint64 m_pendingLength = -1;
    int m_pendingBufSize = 1200;

    // Download and records after a reply.
    QByteArray m_download;
    qint64 m_downloadPos = 0;
    QList<QByteArray> m_records;
    QString m_followAction;

    QUdpSocket* m_voice = nullptr;
    QTimer* m_voiceTimer = nullptr;
    QHostAddress m_voiceTarget;
    quint16 m_voicePort = 0;
};

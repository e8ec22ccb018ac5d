#pragma once

#include "Device.h"

#include <QNetworkRequest>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QString>
#include <QStringList>

#include <atomic>
#include <memory>

class DeviceSocket;
class QNetworkAccessManager;
class QNetworkReply;
class QTcpSocket;

// Base of every device worker: turns a Device into a logged-in socket, binds new devices,
// and offers the request/reply exchange that all workers share. Lives on its controller's
// thread; every wait here blocks that thread only.
class LoginThread : public QObject
{
    Q_OBJECT

public:
    explicit LoginThread(QObject* parent = nullptr);
    ~LoginThread() override;

    // An open, logged-in socket, or null. LAN address first, then the stored internet
    // address, then the address service; writes connectStatus (and remoteIP when the
    // service's address was used) back to the record and to DEVICES.
    QTcpSocket* login(Device& device, int port);

    // Keeps the connection open after the call (the socket stays in the member).
    QTcpSocket* loginToVoiceListen(Device& device, int port, int udpPort);

    // Asks the remote address service for the device's internet address ("act" is
    // "getremoteip2", or "getremoteip" for the voice monitor). The body up to its first NUL;
    // empty when the service is not configured, does not answer in time, or knows no device.
    QString queryRemoteAddress(const QString& productID, const QString& act = QStringLiteral("getremoteip2"));

    // "address" or "address:port"; port stays untouched when the body has none.
    static void splitAddress(const QString& body, QString& address, int& port);

    // Callable from any thread: the operation under way ends at its next wait (within a
    // fraction of a second; a connect to a host name first runs out its own short wait) and
    // every later one fails at once. For an owner that goes away.
    void cancel() { m_cancelled->store(true); }
    bool isCancelled() const { return m_cancelled->load(); }

public slots:
    void bindDevice(Device& device, int port);
    void requestFinished(QNetworkReply* reply);

signals:
    void bindDeviceSuccess(Device& device);
    void showErrorMsg(QString& message);

protected:
    // One request on an open socket: write, wait for the reply, read and decode. A device that
    // stays silent gives an empty text. `needed`: the tags that make the reply whole.
    static QString exchange(QTcpSocket* socket, const QString& request, bool withMark = false,
                            const QStringList& needed = QStringList());
    // Waits for and reads the device's next reply, after `bytes` that came of it already. The
    // stream has no end mark: the pieces are joined until the reply holds every needed tag, or
    // until the device has been quiet for a moment after at least one whole tag. Empty when
    // nothing came within timeoutMs.
    static QString readReply(QTcpSocket* socket, int timeoutMs, QByteArray bytes = QByteArray(),
                             const QStringList& needed = QStringList());
    // True when the text holds a close mark "</TAG>" for every needed tag (and at least one
    // whole tag when none is named).
    static bool holdsTags(const QString& text, const QStringList& needed);
    // Reads a binary block of `size` bytes that may arrive in pieces; fewer bytes when the
    // device stays silent for timeoutMs in all or closes the connection first.
    static QByteArray readBlock(QTcpSocket* socket, int size, int timeoutMs);
    // The records that follow a list reply (its AMOUNT), one ready token "R" for each. A block
    // shorter than a record keeps its place; the list ends early when the device falls silent.
    static QList<QByteArray> readRecordList(QTcpSocket* socket, const QString& reply);
    // Ends the operation's connection; the socket frees itself once it is closed.
    static void hangUp(QTcpSocket* socket);
    // Connects the socket's end to its own release.
    static void releaseOnDisconnect(QTcpSocket* socket);
    // A connection whose waits cancel() breaks; every device connection is made here.
    DeviceSocket* newSocket(QObject* parent = nullptr) const;

    static constexpr int RECORD_SIZE = 1024;
    // How long a list waits for each of its records.
    static constexpr int RECORD_WAIT_MS = 10000;

    int m_blockSize = 1200;
    QPointer<QTcpSocket> m_socket;
    QNetworkRequest m_request;
    QNetworkAccessManager* m_manager = nullptr;

private:
    std::shared_ptr<std::atomic<bool>> m_cancelled = std::make_shared<std::atomic<bool>>(false);

    bool connectTo(DeviceSocket* socket, const QString& host, int port);
    void storeConnectStatus(Device& device, int status);
    // Greeting, identity check and challenge; true when LOGIN_STATE is "OK".
    enum class LoginResult { Ok, NoGreeting, WrongId, Refused };
    LoginResult answerChallenge(QTcpSocket* socket, Device& device, const QString& extraTags,
                                QString* greeting, QString* reply);
};

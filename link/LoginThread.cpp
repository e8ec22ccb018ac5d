#include "LoginThread.h"

#include "AppSettings.h"
#include "DatabaseManager.h"
#include "DeviceProtocol.h"
#include "DeviceSocket.h"
#include "LogUtil.h"
#include "MD5Util.h"
#include "NetworkUtil.h"
#include "StringUtil.h"
#include "WireCodec.h"

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QHostAddress>
#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QTcpSocket>
#include <QTimer>
#include <QUrl>
#include <QUrlQuery>

LoginThread::LoginThread(QObject* parent) : QObject(parent), m_manager(new QNetworkAccessManager(this))
{
}

LoginThread::~LoginThread()
{
    // A socket still held (the voice monitor's) goes with the worker.
    if (m_socket) {
        m_socket->abort();
        delete m_socket;
    }
}

void LoginThread::splitAddress(const QString& body, QString& address, int& port)
{
    NetworkUtil::splitPort(body, address, port);
}

QString LoginThread::queryRemoteAddress(const QString& productID, const QString& act)
{
    auto config = AppSettings::userConfig();
    const QString base = config->value(AppSettings::KEY_ADDRESS_SERVICE_URL).toString().trimmed();
    const int timeoutMs = config->value(AppSettings::KEY_ADDRESS_SERVICE_TIMEOUT,
                                        AppSettings::DEFAULT_ADDRESS_SERVICE_TIMEOUT).toInt();
    if (base.isEmpty() || productID.isEmpty())
        return QString();

    QUrl url(base);
    if (!url.isValid())
        return QString();
    QUrlQuery query;
    query.addQueryItem(QStringLiteral("act"), act);
    query.addQueryItem(QStringLiteral("svrid"), productID);
    url.setQuery(query);
    m_request.setUrl(url);

    QNetworkReply* reply = m_manager->get(m_request);
    QEventLoop loop;
    QTimer timer;
    timer.setSingleShot(true);
    connect(&timer, &QTimer::timeout, reply, &QNetworkReply::abort);
    connect(reply, &QNetworkReply::finished, &loop, &QEventLoop::quit);
    timer.start(qMax(1, timeoutMs));
    QTimer watch; // a cancelled worker does not sit out the service's time-out
    connect(&watch, &QTimer::timeout, reply, [this, reply] {
        if (isCancelled())
            reply->abort();
    });
    watch.start(50);
    if (!reply->isFinished())
        loop.exec();

    QString body;
    if (reply->error() == QNetworkReply::NoError) {
        QByteArray bytes = reply->readAll();
        const int nul = bytes.indexOf('\0');
        if (nul >= 0)
            bytes.truncate(nul);
        body = QString::fromLatin1(bytes).trimmed();
    }
    requestFinished(reply);
    reply->deleteLater();
    return body;
}

void LoginThread::requestFinished(QNetworkReply* reply)
{
    const int status = reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    LogUtil::d(QStringLiteral("status code:%1").arg(status));
    if (reply->error() != QNetworkReply::NoError)
        LogUtil::d(QStringLiteral("dataString:%1").arg(reply->errorString()));
}

bool LoginThread::connectTo(DeviceSocket* socket, const QString& host, int port)
{
    if (socket->state() != QAbstractSocket::UnconnectedState)
        socket->abort();
    if (host.isEmpty() || isCancelled())
        return false;
    return socket->connectToDevice(host, quint16(port), DeviceProtocol::connectTimeout());
}

void LoginThread::storeConnectStatus(Device& device, int status)
{
    device.connectStatus = status;
    DatabaseManager db;
    db.updateDeviceConnectStatus(device);
}

bool LoginThread::holdsTags(const QString& text, const QStringList& needed)
{
    if (needed.isEmpty()) {
        const int close = text.indexOf(QStringLiteral("</"));
        return close >= 0 && text.indexOf(QLatin1Char('>'), close) > 0;
    }
    for (const QString& tag : needed)
        if (!text.contains(QStringLiteral("</") + tag + QLatin1Char('>'), Qt::CaseInsensitive))
            return false;
    return true;
}

QString LoginThread::readReply(QTcpSocket* socket, int timeoutMs, QByteArray bytes, const QStringList& needed)
{
    if (!socket)
        return WireCodec::decode(bytes);
    // A device may send one reply in pieces, and a piece may end right after a tag. Cut at the
    // first piece, a reply would lose its later tags, and the rest would be taken for the next
    // reply or for a block's bytes. So pieces are joined until the reply holds what the
    // exchange needs; failing that, a quiet moment after a whole tag ends it, and only silence
    // costs the full wait.
    QDeadlineTimer deadline(timeoutMs);
    for (;;) {
        const QString text = WireCodec::decode(bytes);
        if (!bytes.isEmpty() && !needed.isEmpty() && holdsTags(text, needed))
            break;
        qint64 wait = qMax<qint64>(1, deadline.remainingTime());
        if (holdsTags(text, QStringList()))
            wait = qMin<qint64>(wait, DeviceProtocol::REPLY_QUIET_MS);
        // Data may already be buffered (a reply that came with the previous one).
        if (socket->bytesAvailable() == 0 && (deadline.hasExpired() || !socket->waitForReadyRead(int(wait))))
            break;
        bytes += socket->readAll();
    }
    return WireCodec::decode(bytes);
}

QByteArray LoginThread::readBlock(QTcpSocket* socket, int size, int timeoutMs)
{
    QByteArray block;
    if (!socket)
        return block;
    QDeadlineTimer deadline(timeoutMs);
    while (block.size() < size) {
        if (socket->bytesAvailable() == 0 && !socket->waitForReadyRead(int(qMax<qint64>(1, deadline.remainingTime()))))
            break;
        block += socket->read(size - block.size());
        if (deadline.hasExpired() && socket->bytesAvailable() == 0)
            break;
    }
    return block;
}

QList<QByteArray> LoginThread::readRecordList(QTcpSocket* socket, const QString& reply)
{
    QList<QByteArray> records;
    const int amount = StringUtil::getValue(reply, QStringLiteral("AMOUNT")).toInt();
    for (int i = 0; i < amount; ++i) {
        socket->write(WireCodec::encode(QStringLiteral("R")));
        const QByteArray block = readBlock(socket, RECORD_SIZE, DeviceProtocol::scaled(RECORD_WAIT_MS));
        if (block.isEmpty())
            break; // silent or gone: no record will follow
        records << block;
    }
    return records;
}

QString LoginThread::exchange(QTcpSocket* socket, const QString& request, bool withMark, const QStringList& needed)
{
    if (!socket)
        return QString();
    socket->write(withMark ? WireCodec::encodeWithBom(request) : WireCodec::encode(request));
    socket->flush();
    return readReply(socket, DeviceProtocol::replyTimeout(), QByteArray(), needed);
}

DeviceSocket* LoginThread::newSocket(QObject* parent) const
{
    return new DeviceSocket(m_cancelled, parent);
}

void LoginThread::releaseOnDisconnect(QTcpSocket* socket)
{
    if (socket)
        connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater, Qt::UniqueConnection);
}

void LoginThread::hangUp(QTcpSocket* socket)
{
    if (!socket)
        return;
    releaseOnDisconnect(socket);
    if (socket->state() == QAbstractSocket::UnconnectedState) {
        // Already closed by the device: "disconnected" has come and gone.
        socket->deleteLater();
        return;
    }
    socket->disconnectFromHost();
    if (socket->state() == QAbstractSocket::UnconnectedState)
        return; // disconnected was emitted at once
    // Bounded: a peer that never acknowledges the close is dropped.
    if (!socket->waitForDisconnected(DeviceProtocol::connectTimeout()))
        socket->abort();
}

LoginThread::LoginResult LoginThread::answerChallenge(QTcpSocket* socket, Device& device, const QString& extraTags,
                                                      QString* greetingOut, QString* replyOut)
{
    const QString greeting = readReply(socket, DeviceProtocol::greetingTimeout(), QByteArray(),
                                       {QStringLiteral("SERVER_NAME"), QStringLiteral("SERVER_ID"),
                                        QStringLiteral("VERIFY_STRING")});
    LogUtil::d(QStringLiteral("login:%1").arg(greeting));
    if (greetingOut)
        *greetingOut = greeting;
    if (greeting.isEmpty())
        return LoginResult::NoGreeting;

    const QString serverName = StringUtil::getValue(greeting, QStringLiteral("SERVER_NAME"));
    const QString serverId = StringUtil::getValue(greeting, QStringLiteral("SERVER_ID"));
    const QString verify = StringUtil::getValue(greeting, QStringLiteral("VERIFY_STRING"));
    LogUtil::d(QStringLiteral("product:%1 , strServerId:%2").arg(serverName, serverId));
    if (!device.productID.isEmpty() && device.productID.compare(serverId, Qt::CaseInsensitive) != 0) {
        LogUtil::w(QStringLiteral("设备ID不匹配"));
        return LoginResult::WrongId;
    }

    const QString proof = MD5Util::callMD5(verify.toUtf8() + device.devicePassword.toUtf8());
    const QString request = QStringLiteral("<ACTION>LOGIN</ACTION><USERNAME>") + device.deviceName
        + QStringLiteral("</USERNAME><PASSWORD>") + proof + QStringLiteral("</PASSWORD>") + extraTags;
    const QString reply = exchange(socket, request, true,
                                   {QStringLiteral("LOGIN_STATE"), QStringLiteral("PERMISSION"), QStringLiteral("EXT_NUM")});
    LogUtil::d(QStringLiteral("loginMsg:%1").arg(reply));
    if (replyOut)
        *replyOut = reply;
    const QString state = StringUtil::getValue(reply, QStringLiteral("LOGIN_STATE"));
    LogUtil::d(QStringLiteral("loginstate:%1").arg(state));
    return state == QLatin1String("OK") ? LoginResult::Ok : LoginResult::Refused;
}

QTcpSocket* LoginThread::login(Device& device, int port)
{
    if (isCancelled())
        return nullptr;
    const int internetPort = DeviceProtocol::internetPort(port, device.internetPort);
    DeviceSocket* socket = newSocket();
    m_socket = socket;
    LogUtil::d(QStringLiteral("remoteIP:%1 , port:%2").arg(device.remoteIP).arg(internetPort));

    bool connected = connectTo(socket, device.localIP, port);
    if (!connected)
        connected = connectTo(socket, device.remoteIP, internetPort);
    if (!connected && !isCancelled()) {
        const QString body = queryRemoteAddress(device.productID);
        if (!body.isEmpty()) {
            QString address;
            int target = port; // the LAN number unless the service names a port
            splitAddress(body, address, target);
            device.remoteIP = address;
            LogUtil::d(QStringLiteral("remoteIPStr:%1").arg(body));
            connected = connectTo(socket, address, target);
            if (connected) {
                DatabaseManager db;
                db.updateDeviceRemoteIP(device);
            }
        }
    }
    if (!connected) {
        delete socket;
        return nullptr;
    }

    const LoginResult result = answerChallenge(socket, device, QStringLiteral("<CLN_OS>Linux</CLN_OS>"), nullptr,
                                               nullptr);
    if (result != LoginResult::Ok) {
        // A cancelled login says nothing about the device.
        if (result != LoginResult::WrongId && !isCancelled())
            storeConnectStatus(device, 2);
        socket->abort();
        delete socket;
        return nullptr;
    }

    storeConnectStatus(device, NetworkUtil::isLocalIP(socket->localAddress().toString().toStdString()) ? 0 : 1);
    releaseOnDisconnect(socket);
    return socket;
}

QTcpSocket* LoginThread::loginToVoiceListen(Device& device, int port, int udpPort)
{
    if (m_socket) {
        m_socket->abort();
        delete m_socket;
    }
    DeviceSocket* socket = newSocket(this);
    m_socket = socket;
    bool connected = connectTo(socket, device.localIP, port)
        || connectTo(socket, device.remoteIP, DeviceProtocol::internetPort(port, device.internetPort));
    if (!connected) {
        const QString body = queryRemoteAddress(device.productID, QStringLiteral("getremoteip"));
        if (!body.isEmpty()) {
            QString address;
            int target = port;
            splitAddress(body, address, target);
            device.remoteIP = address;
            connected = connectTo(socket, address, target);
        }
    }
    if (!connected
        || answerChallenge(socket, device, QStringLiteral("<UDP_PORT>%1</UDP_PORT>").arg(udpPort), nullptr, nullptr)
            != LoginResult::Ok) {
        socket->abort();
        return nullptr;
    }
    return socket;
}

void LoginThread::bindDevice(Device& device, int port)
{
    QString message = tr("无法连接设备");
    auto fail = [&](QTcpSocket* socket) {
        if (socket) {
            socket->abort();
            delete socket;
        }
        emit showErrorMsg(message);
    };

    device.devicePassword = MD5Util::call128MD5(device.devicePassword.toUtf8());

    QString target = device.localIP;
    if (target.isEmpty())
        target = device.remoteIP;
    if (target.isEmpty()) {
        const QString body = queryRemoteAddress(device.productID);
        if (!body.isEmpty()) {
            splitAddress(body, device.remoteIP, device.internetPort);
            target = device.remoteIP;
        }
    }
    if (target.isEmpty()) {
        fail(nullptr);
        return;
    }
    // The internet address has ports of its own, counted from the device's base port.
    const int targetPort = device.localIP.isEmpty() ? DeviceProtocol::internetPort(port, device.internetPort) : port;

    DeviceSocket* socket = newSocket();
    m_socket = socket;
    if (!connectTo(socket, target, targetPort)) {
        fail(socket);
        return;
    }

    QString greeting;
    QString reply;
    switch (answerChallenge(socket, device, QStringLiteral("<CLN_OS>Linux</CLN_OS>"), &greeting, &reply)) {
    case LoginResult::NoGreeting:
        fail(socket);
        return;
    case LoginResult::WrongId:
        message = tr("设备ID不匹配");
        fail(socket);
        return;
    case LoginResult::Refused:
        message = tr("设备使用权限验证失败");
        fail(socket);
        return;
    case LoginResult::Ok:
        break;
    }

    // The device's own spelling of its identity, whatever case was typed.
    const QString serverId = StringUtil::getValue(greeting, QStringLiteral("SERVER_ID"));
    if (!device.productID.isEmpty() && !serverId.isEmpty())
        device.productID = serverId;
    device.serverName = StringUtil::getValue(greeting, QStringLiteral("SERVER_NAME"));
    device.extNumber = StringUtil::getValue(reply, QStringLiteral("EXT_NUM"));
    device.permission = StringUtil::getValue(reply, QStringLiteral("PERMISSION")).toInt();

    if (device.productID.isEmpty()) {
        const QString info = exchange(socket, QStringLiteral("<ACTION>GET_SVR_INFO</ACTION>"), true,
                                     {QStringLiteral("SVRID")});
        device.productID = StringUtil::getValue(info, QStringLiteral("SVRID"));
        // A device whose identity did not come (silent, gone) would be stored without one:
        // its faxes would have no folder and it could be added twice.
        if (device.productID.isEmpty()) {
            fail(socket);
            return;
        }
    }
    if (device.remoteIP.isEmpty()) {
        const QString body = queryRemoteAddress(device.productID);
        if (!body.isEmpty())
            splitAddress(body, device.remoteIP, device.internetPort);
    }

    device.connectStatus = NetworkUtil::isLocalIP(socket->localAddress().toString().toStdString()) ? 0 : 1;
    hangUp(socket);
    emit bindDeviceSuccess(device);
}

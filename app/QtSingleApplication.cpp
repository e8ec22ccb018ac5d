#include "QtSingleApplication.h"

#include "LogUtil.h"

#include <QCryptographicHash>
#include <QDataStream>
#include <QDeadlineTimer>
#include <QDir>
#include <QLocalServer>
#include <QLocalSocket>
#include <QLockFile>
#include <QStandardPaths>
#include <unistd.h>

namespace {
// The answer the running instance gives to a message.
const QByteArray ACK = QByteArrayLiteral("ack");
}

QString QtSingleApplication::keyFor(const QString& applicationPath, const QString& user)
{
    const QByteArray hash =
        QCryptographicHash::hash((applicationPath + QLatin1Char('|') + user).toUtf8(), QCryptographicHash::Sha1);
    return QStringLiteral("velkor-") + QString::fromLatin1(hash.toHex().left(16));
}

// QApplication's third parameter is a version flag, not a GUI switch: gui is not passed on.
QtSingleApplication::QtSingleApplication(int& argc, char** argv, bool gui) : QApplication(argc, argv)
{
    Q_UNUSED(gui)
    // The socket lies in the user's own runtime folder, where no other user can take the name.
    QString dir = QStandardPaths::writableLocation(QStandardPaths::RuntimeLocation);
    if (dir.isEmpty())
        dir = QDir::tempPath();
    m_key = dir + QLatin1Char('/') + keyFor(QCoreApplication::applicationFilePath(), QString::number(getuid()));

    // Two starts at the same moment must not both become the first instance.
    QLockFile lock(m_key + QStringLiteral(".lock"));
    lock.tryLock(3000);

    // A unix socket accepts into its backlog even while the owner is frozen, so a live
    // instance always answers the probe; only a dead one leaves a socket that refuses.
    QLocalSocket probe;
    probe.connectToServer(m_key);
    if (probe.waitForConnected(500)) {
        m_isClient = true;
        probe.disconnectFromServer();
        return;
    }

    // Nobody answers: a server name left by a crashed instance is stale.
    QLocalServer::removeServer(m_key);
    m_server = new QLocalServer(this);
    m_server->setSocketOptions(QLocalServer::UserAccessOption);
    if (m_server->listen(m_key))
        connect(m_server, &QLocalServer::newConnection, this, &QtSingleApplication::onNewConnection);
    else
        LogUtil::w(QStringLiteral("single instance: cannot listen on %1: %2").arg(m_key, m_server->errorString()));
}

QtSingleApplication::~QtSingleApplication()
{
    if (m_server)
        m_server->close();
}

bool QtSingleApplication::sendMessage(const QString& message, int timeout)
{
    if (!m_isClient)
        return false;
    const QDeadlineTimer deadline(timeout);
    auto left = [&deadline]() { return int(qMax<qint64>(0, deadline.remainingTime())); };
    QLocalSocket socket;
    socket.connectToServer(m_key);
    if (!socket.waitForConnected(left()))
        return false;
    QByteArray block;
    QDataStream out(&block, QIODevice::WriteOnly);
    out << message;
    socket.write(block);
    if (!socket.waitForBytesWritten(left()))
        return false;
    // The running instance confirms; a frozen one does not.
    while (socket.bytesAvailable() < ACK.size()) {
        if (deadline.hasExpired() || !socket.waitForReadyRead(left()))
            return false;
    }
    return socket.read(ACK.size()) == ACK;
}

void QtSingleApplication::onNewConnection()
{
    while (QLocalSocket* socket = m_server->nextPendingConnection()) {
        connect(socket, &QLocalSocket::disconnected, socket, &QObject::deleteLater);
        connect(socket, &QLocalSocket::readyRead, this, [this, socket]() {
            QDataStream in(socket);
            in.startTransaction();
            QString message;
            in >> message;
            if (!in.commitTransaction())
                return; // wait for the rest
            socket->write(ACK);
            socket->flush();
            // Whatever the message starts (an editor that renders pages runs the event loop)
            // must not run inside this socket's own signal.
            QMetaObject::invokeMethod(
                this, [this, message]() { emit messageReceived(message); }, Qt::QueuedConnection);
        });
    }
}

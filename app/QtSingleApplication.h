#pragma once

#include <QApplication>
#include <QString>

class QLocalServer;

// A QApplication that lets one instance run per user and application path. The first
// instance listens on a local socket; a later one finds it, can send it a text and exits.
class QtSingleApplication : public QApplication
{
    Q_OBJECT

public:
    // gui is accepted for the familiar signature; this application always carries widgets.
    QtSingleApplication(int& argc, char** argv, bool gui = true);
    ~QtSingleApplication() override;

    // True when another instance with the same key is already running.
    bool isClient() const { return m_isClient; }
    // Sends a text to the running instance; true when it confirmed receipt. The whole exchange
    // (connect, write, confirmation) takes at most timeout milliseconds.
    bool sendMessage(const QString& message, int timeout = 5000);

    // The full socket path: the runtime folder + keyFor(...).
    QString id() const { return m_key; }

    // The key for an application path and user: the same program started twice by one user
    // meets itself, another user or another copy of the program does not.
    static QString keyFor(const QString& applicationPath, const QString& user);

signals:
    void messageReceived(const QString& message);

private:
    void onNewConnection();

    QString m_key;
    bool m_isClient = false;
    QLocalServer* m_server = nullptr;
};

#pragma once

#include <QThread>

class QTimer;
class QUdpSocket;

// Keeps the LAN address and name of the user's bound devices up to date from the discovery
// broadcast, every 5000 ms for the life of the main window.
class MyUDPTask : public QThread
{
    Q_OBJECT

public:
    explicit MyUDPTask(QObject* parent = nullptr);
    ~MyUDPTask() override;

    // Stops the task and waits for its thread.
    void stop();

public slots:
    void sendBroadCastMsg();
    void readPendingDatagrams();

protected:
    void run() override;

private:
    QUdpSocket* m_socket = nullptr;
    QTimer* m_timer = nullptr;
};

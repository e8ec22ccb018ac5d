#pragma once

#include "Device.h"

#include <QObject>
#include <QString>
#include <QThread>

class LoginThread;

// Runs LoginThread::bindDevice on a thread of its own for a binding window.
class LoginController : public QObject
{
    Q_OBJECT

public:
    explicit LoginController(QObject* parent = nullptr);
    ~LoginController() override;

signals:
    void bindDevice(Device& device, int port);
    void bindDeviceFail(QString& message);
    void bindDeviceSuccess(Device& device);

public slots:
    void deviceFailed(QString& message);
    void deviceSuccess(Device& device);

private:
    QThread m_thread;
    LoginThread* m_worker;
};

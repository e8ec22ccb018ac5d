#include "LoginController.h"

#include "LoginThread.h"

LoginController::LoginController(QObject* parent) : QObject(parent)
{
    qRegisterMetaType<Device>("Device&");
    qRegisterMetaType<QString>("QString&");

    auto* worker = m_worker = new LoginThread;
    worker->moveToThread(&m_thread);
    connect(&m_thread, &QThread::finished, worker, &QObject::deleteLater);
    connect(this, &LoginController::bindDevice, worker, &LoginThread::bindDevice);
    connect(worker, &LoginThread::showErrorMsg, this, &LoginController::deviceFailed);
    connect(worker, &LoginThread::bindDeviceSuccess, this, &LoginController::deviceSuccess);
    m_thread.start(QThread::InheritPriority);
}

LoginController::~LoginController()
{
    // The work under way ends at its next wait, so closing a window never waits on a device.
    m_worker->cancel();
    m_thread.quit();
    m_thread.wait();
}

void LoginController::deviceFailed(QString& message)
{
    emit bindDeviceFail(message);
}

void LoginController::deviceSuccess(Device& device)
{
    emit bindDeviceSuccess(device);
}

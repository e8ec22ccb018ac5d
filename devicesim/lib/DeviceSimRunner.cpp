#include "DeviceSimRunner.h"

#include <QMetaObject>

DeviceSimRunner::DeviceSimRunner(const Scenario& scenario)
    : m_sim(new DeviceSim(scenario))
{
    m_thread.setObjectName(QStringLiteral("devicesim"));
    m_sim->moveToThread(&m_thread);
}

DeviceSimRunner::~DeviceSimRunner()
{
    stop();
    delete m_sim;
}

bool DeviceSimRunner::start(QString* error)
{
    if (!m_thread.isRunning())
        m_thread.start();
    bool ok = false;
    QString why;
    QMetaObject::invokeMethod(m_sim, [&] { ok = m_sim->start(&why); }, Qt::BlockingQueuedConnection);
    if (error)
        *error = why;
    return ok;
}

void DeviceSimRunner::stop()
{
    if (!m_thread.isRunning())
        return;
    QMetaObject::invokeMethod(m_sim, [this] { m_sim->stop(); }, Qt::BlockingQueuedConnection);
    m_thread.quit();
    m_thread.wait();
}

void DeviceSimRunner::setVerbose(bool verbose)
{
    QMetaObject::invokeMethod(m_sim, [this, verbose] { m_sim->setVerbose(verbose); }, m_thread.isRunning() ? Qt::BlockingQueuedConnection : Qt::DirectConnection);
}

void DeviceSimRunner::announce(const QHostAddress& to, quint16 port)
{
    if (m_thread.isRunning())
        QMetaObject::invokeMethod(m_sim, [this, to, port] { m_sim->announce(to, port); }, Qt::BlockingQueuedConnection);
}

#pragma once

#include "DeviceSim.h"

#include <QThread>

// Runs a DeviceSim on a thread of its own, so that a test whose client code blocks (on its
// own worker or on the test's thread) still gets answers.
class DeviceSimRunner
{
public:
    explicit DeviceSimRunner(const Scenario& scenario);
    ~DeviceSimRunner();
    DeviceSimRunner(const DeviceSimRunner&) = delete;
    DeviceSimRunner& operator=(const DeviceSimRunner&) = delete;

    bool start(QString* error = nullptr);
    void stop();

    DeviceSim* sim() const { return m_sim; }
    // The device's state: inspection and changes from any thread.
    SimDevice* device() const { return m_sim->device(); }
    void setVerbose(bool verbose);
    void announce(const QHostAddress& to, quint16 port = 5077);

private:
    QThread m_thread;
    DeviceSim* m_sim;
};

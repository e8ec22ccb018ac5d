#pragma once

// For the tests that run the device stand-in (they link velkor_devicesim_control).

#include "DeviceSimRunner.h"

#include <memory>

namespace TestSupport {

// A stand-in started on its scenario's own loopback address; verbose puts every request into
// the action log word for word.
inline std::unique_ptr<DeviceSimRunner> startSim(const Scenario& scenario, bool verbose = false)
{
    auto runner = std::make_unique<DeviceSimRunner>(scenario);
    QString error;
    if (!runner->start(&error))
        qFatal("device stand-in did not start: %s", qPrintable(error));
    if (verbose)
        runner->setVerbose(true);
    return runner;
}

} // namespace TestSupport

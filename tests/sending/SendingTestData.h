#pragma once

// The sending tests' names for the shared fixtures, and a worker whose socket can be seen.

#include "SendFaxThread.h"
#include "SimFixtures.h"

namespace SendingTestData {

using TestSupport::countLines;
using TestSupport::scenarioAt;
using TestSupport::startSim;
using TestSupport::storedColumn;
using TestSupport::storedDevice;
using TestSupport::storedFax;
using TestSupport::tinyTiff;
using TestSupport::writeFile;

// After an operation and the release of deferred deletes its socket must be gone.
class ProbeThread : public SendFaxThread
{
public:
    bool socketReleased()
    {
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        return m_socket.isNull();
    }
};

} // namespace SendingTestData

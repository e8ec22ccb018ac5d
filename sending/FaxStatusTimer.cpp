#include "FaxStatusTimer.h"

#include "DatabaseManager.h"
#include "FaxStatus.h"
#include "SendFaxController.h"

#include <QTimerEvent>

FaxStatusTimer::FaxStatusTimer(Fax& fax, QObject* parent)
    : QObject(parent)
    , m_fax(fax)
    , m_controller(new SendFaxController(this))
{
    connect(m_controller, &SendFaxController::updateFax, this, &FaxStatusTimer::updateFaxInfo);
    m_timerId = startTimer(INTERVAL_MS, Qt::CoarseTimer);
}

void FaxStatusTimer::timerEvent(QTimerEvent* event)
{
    if (event->timerId() != m_timerId)
        return;
    // The controller drops the tick while the previous query still runs.
    emit m_controller->getFaxStatus(m_fax);
}

void FaxStatusTimer::updateFaxInfo(Fax& fax)
{
    m_fax = fax;
    DatabaseManager db;
    db.updateSendFax(fax);
    emit updateFax(fax);
    const bool ended = fax.status == FaxStatus::SEND_FAX_FAILED || fax.status == FaxStatus::SEND_FAX_SUCCESS
        || fax.status == FaxStatus::SEND_FAX_STOPED || fax.status == FaxStatus::SEND_FAX_NOT_FOUND;
    if (ended && m_timerId != 0) {
        killTimer(m_timerId);
        m_timerId = 0;
    }
}

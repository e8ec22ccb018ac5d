#pragma once

#include "Fax.h"

#include <QObject>

class QTimerEvent;
class SendFaxController;

// Follows one fax every 2000 ms on a controller of its own until the device reports it sent
// (2), failed (1) or stopped (7), or no longer knows it. Each answer is stored in FAXES and
// passed on.
class FaxStatusTimer : public QObject
{
    Q_OBJECT

public:
    static constexpr int INTERVAL_MS = 2000;

    explicit FaxStatusTimer(Fax& fax, QObject* parent = nullptr);

    bool isActive() const { return m_timerId != 0; }

signals:
    void updateFax(Fax& fax);

public slots:
    void updateFaxInfo(Fax& fax);

protected:
    void timerEvent(QTimerEvent* event) override;

private:
    Fax m_fax;
    SendFaxController* m_controller = nullptr;
    int m_timerId = 0;
};

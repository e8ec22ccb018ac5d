#pragma once

#include "Device.h"
#include "Fax.h"
#include "FaxOption.h"
#include "FaxPage.h"
#include "FaxPageSource.h"
#include "SendFax.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QThread>

class SendFaxThread;

// Owns a SendFaxThread on a thread of its own and relays requests to it and results from it
// as queued signals. One for the outbox, one for each editor, one for each FaxStatusTimer.
class SendFaxController : public QObject
{
    Q_OBJECT

public:
    explicit SendFaxController(QObject* parent = nullptr);
    // Quits the thread and waits for the operation under way to end.
    ~SendFaxController() override;

signals:
    // Requests.
    void transformFax(
        QString& recipients, QString& remark, QList<FaxPage>& pages, FaxOption& option, QList<Device>& devices);
    // The same, with the sources of pages left undecoded (SendFaxThread::transfromFaxPages).
    void transformFaxPages(QString& recipients, QString& remark, QList<FaxPage>& pages,
                           QList<FaxPageSource>& sources, FaxOption& option, QList<Device>& devices);
    void sendFax(Fax& fax);
    void reUploadFax(Fax& fax, bool confirmed);
    // Status ticks: while one status query of this controller is queued or running, further
    // ticks are dropped, so a slow or dead device cannot make queries pile up.
    void getFaxStatus(Fax& fax);
    void getFaxStatus2();
    void sendFaxPause(Device& device, QString& taskID);
    void sendFaxRetry(Device& device, QString& taskID);

    // Results.
    void returnFaxList(QList<Fax>& faxes);
    void saveTaskID(Fax& fax);
    void uploadFaxFailed(Fax& fax);
    void reUploadUnconfirmed(Fax& fax);
    void jobFileFailed(QString& folder, QString& recipients);
    void updateFax(Fax& fax);
    void updateSendFax(SendFax& info);
    void sendFaxPauseResult(QString& taskID, bool accepted);
    void sendFaxRetryResult(QString& taskID, bool accepted);
    // A status query (getFaxStatus or getFaxStatus2) has ended; the next tick is taken.
    void faxStatusFinished();

public slots:
    void handleTransformFaxResult(QList<Fax>& faxes);
    void handleUploadFaxResult(Fax& fax);
    void handleUploadFaxFailedResult(Fax& fax);
    void handleUpdateFaxResult(Fax& fax);

private slots:
    void relayFaxStatus(Fax& fax);
    void relayFaxStatus2();
    void handleFaxStatusFinished();

private:
    QThread m_thread;
    SendFaxThread* m_worker = nullptr;
    bool m_statusQueued = false;
};

#pragma once

#include "Device.h"
#include "Fax.h"

#include <QList>
#include <QObject>
#include <QString>
#include <QThread>

class ReceiveFaxThread;

// Runs a ReceiveFaxThread on a thread of its own for the inbox. Requests go out as queued
// signals, so foreground and background runs take turns on the one worker.
class Controller : public QObject
{
    Q_OBJECT

public:
    explicit Controller(QObject* parent = nullptr);
    // Quits the thread and waits for a run in progress to end.
    ~Controller() override;

signals:
    // Towards the worker.
    void downloadFaxInfo(Device device, int port);
    void backgroundDownloadFaxInfo(int port);
    // Towards the inbox.
    void showStrProgress(QString text);
    void mainHandleDownloadFaxInfoResult();
    void backgroundDownloadInfoFinish(QList<Fax>& faxes);
    void storageFailed(QString folder);

public slots:
    void showProgress(QString text);
    void handleDownloadFaxInfoResult();
    void handleBackgroundDownloadFaxInfoResult(QList<Fax>& faxes);

private:
    QThread m_thread;
};

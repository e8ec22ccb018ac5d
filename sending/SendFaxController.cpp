#include "SendFaxController.h"

#include "LogUtil.h"
#include "SendFaxThread.h"

SendFaxController::SendFaxController(QObject* parent)
    : QObject(parent)
{
    qRegisterMetaType<Device>("Device&");
    qRegisterMetaType<Fax>("Fax&");
    qRegisterMetaType<QList<Fax>>("QList<Fax>&");
    qRegisterMetaType<QList<FaxPage>>("QList<FaxPage>&");
    qRegisterMetaType<QList<FaxPageSource>>("QList<FaxPageSource>&");
    qRegisterMetaType<FaxOption>("FaxOption&");
    // The other argument types of the queued signals below.
    qRegisterMetaType<QString>("QString&");
    qRegisterMetaType<QList<Device>>("QList<Device>&");
    qRegisterMetaType<SendFax>("SendFax&");

    m_worker = new SendFaxThread;
    m_worker->moveToThread(&m_thread);
    connect(&m_thread, &QThread::finished, m_worker, &QObject::deleteLater);

    connect(this, &SendFaxController::transformFax, m_worker, &SendFaxThread::transfromFax);
    connect(this, &SendFaxController::transformFaxPages, m_worker, &SendFaxThread::transfromFaxPages);
    connect(this, &SendFaxController::sendFax, m_worker, &SendFaxThread::sendFax);
    connect(this, &SendFaxController::reUploadFax, m_worker, &SendFaxThread::reUploadFax);
    connect(this, &SendFaxController::sendFaxPause, m_worker, &SendFaxThread::sendFaxPause);
    connect(this, &SendFaxController::sendFaxRetry, m_worker, &SendFaxThread::sendFaxRetry);
    // Status requests pass the tick gate first (same thread, direct).
    connect(this, &SendFaxController::getFaxStatus, this, &SendFaxController::relayFaxStatus, Qt::DirectConnection);
    connect(this, &SendFaxController::getFaxStatus2, this, &SendFaxController::relayFaxStatus2, Qt::DirectConnection);

    connect(m_worker, &SendFaxThread::returnFaxList, this, &SendFaxController::handleTransformFaxResult);
    connect(m_worker, &SendFaxThread::returnTaskID, this, &SendFaxController::handleUploadFaxResult);
    connect(m_worker, &SendFaxThread::uploadFaxFailed, this, &SendFaxController::handleUploadFaxFailedResult);
    connect(m_worker, &SendFaxThread::updateFax, this, &SendFaxController::handleUpdateFaxResult);
    connect(m_worker, &SendFaxThread::reUploadUnconfirmed, this, &SendFaxController::reUploadUnconfirmed);
    connect(m_worker, &SendFaxThread::jobFileFailed, this, &SendFaxController::jobFileFailed);
    connect(m_worker, &SendFaxThread::updateSendFax, this, &SendFaxController::updateSendFax);
    connect(m_worker, &SendFaxThread::sendFaxPauseResult, this, &SendFaxController::sendFaxPauseResult);
    connect(m_worker, &SendFaxThread::sendFaxRetryResult, this, &SendFaxController::sendFaxRetryResult);
    connect(m_worker, &SendFaxThread::faxStatusFinished, this, &SendFaxController::handleFaxStatusFinished);

    m_thread.start(QThread::InheritPriority);
}

SendFaxController::~SendFaxController()
{
    m_thread.quit();
    m_thread.wait();
}

void SendFaxController::relayFaxStatus(Fax& fax)
{
    if (m_statusQueued) {
        LogUtil::d(QStringLiteral("status tick dropped: the previous query still runs"));
        return;
    }
    m_statusQueued = true;
    SendFaxThread* worker = m_worker;
    QMetaObject::invokeMethod(
        worker, [worker, fax]() mutable { worker->getFaxStatus(fax); }, Qt::QueuedConnection);
}

void SendFaxController::relayFaxStatus2()
{
    if (m_statusQueued) {
        LogUtil::d(QStringLiteral("status tick dropped: the previous round still runs"));
        return;
    }
    m_statusQueued = true;
    SendFaxThread* worker = m_worker;
    QMetaObject::invokeMethod(
        worker, [worker]() { worker->getFaxStatus2(); }, Qt::QueuedConnection);
}

void SendFaxController::handleFaxStatusFinished()
{
    m_statusQueued = false;
    emit faxStatusFinished();
}

void SendFaxController::handleTransformFaxResult(QList<Fax>& faxes)
{
    emit returnFaxList(faxes);
}

void SendFaxController::handleUploadFaxResult(Fax& fax)
{
    emit saveTaskID(fax);
}

void SendFaxController::handleUploadFaxFailedResult(Fax& fax)
{
    emit uploadFaxFailed(fax);
}

void SendFaxController::handleUpdateFaxResult(Fax& fax)
{
    emit updateFax(fax);
}

#include "Controller.h"

#include "ReceiveFaxThread.h"

Controller::Controller(QObject* parent) : QObject(parent)
{
    qRegisterMetaType<Device>("Device");
    qRegisterMetaType<QList<Device>>("QList<Device>&");
    qRegisterMetaType<QList<Fax>>("QList<Fax>&");
    qRegisterMetaType<QString>("QString&");

    auto* worker = new ReceiveFaxThread;
    worker->moveToThread(&m_thread);
    connect(&m_thread, &QThread::finished, worker, &QObject::deleteLater);
    connect(this, &Controller::downloadFaxInfo, worker, &ReceiveFaxThread::downloadFaxInfo);
    connect(this, &Controller::backgroundDownloadFaxInfo, worker, &ReceiveFaxThread::backgroundDownloadFaxInfo);
    connect(worker, &ReceiveFaxThread::showProgress, this, &Controller::showProgress);
    connect(worker, &ReceiveFaxThread::downloadFaxInfoResult, this, &Controller::handleDownloadFaxInfoResult);
    connect(worker, &ReceiveFaxThread::backgroundDownloadFaxInfoResult, this,
            &Controller::handleBackgroundDownloadFaxInfoResult);
    connect(worker, &ReceiveFaxThread::storageFailed, this, &Controller::storageFailed);
    m_thread.start(QThread::InheritPriority);
}

Controller::~Controller()
{
    m_thread.quit();
    m_thread.wait();
}

void Controller::showProgress(QString text)
{
    emit showStrProgress(text);
}

void Controller::handleDownloadFaxInfoResult()
{
    emit mainHandleDownloadFaxInfoResult();
}

void Controller::handleBackgroundDownloadFaxInfoResult(QList<Fax>& faxes)
{
    emit backgroundDownloadInfoFinish(faxes);
}

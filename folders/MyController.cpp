#include "MyController.h"

#include "MyThread.h"

MyController::MyController(QObject* parent)
    : QObject(parent)
    , m_worker(new MyThread)
{
    qRegisterMetaType<QString>("QString&");
    m_worker->moveToThread(&m_thread);
    connect(&m_thread, &QThread::finished, m_worker, &QObject::deleteLater);
    connect(this, &MyController::ocrIdentify, m_worker, &MyThread::ocrIdentify);
    connect(m_worker, &MyThread::ocrResult, this, &MyController::ocrResultSuccess);
    m_thread.start(QThread::InheritPriority);
}

MyController::~MyController()
{
    m_thread.quit();
    m_thread.wait();
}

void MyController::ocrResultSuccess(QString& text)
{
    emit ocrResultReturn(text);
}

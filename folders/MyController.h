#pragma once

#include <QObject>
#include <QString>
#include <QThread>

class MyThread;

// Owns the OCR worker and its thread; requests go to the worker and results come back as
// queued signals.
class MyController : public QObject
{
    Q_OBJECT

public:
    explicit MyController(QObject* parent = nullptr);
    ~MyController() override;

signals:
    // To the worker: recognise this fax file.
    void ocrIdentify(QString& file);
    // From the worker, passed on.
    void ocrResultReturn(QString& text);

private slots:
    void ocrResultSuccess(QString& text);

private:
    QThread m_thread;
    MyThread* m_worker;
};

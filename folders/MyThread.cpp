#include "MyThread.h"

#include "LogUtil.h"
#include "OCRUtil.h"

#include <QCoreApplication>
#include <QProcess>
#include <QTimer>
#include <memory>

MyThread::MyThread(QObject* parent)
    : QObject(parent)
{
}

// The recogniser runs on this thread's event loop rather than in a blocking wait, so that the
// controller can end the thread at any time; a recogniser still running then dies with the worker.
void MyThread::ocrIdentify(QString& file)
{
    QString reason = OCRUtil::unavailableReason();
    if (!reason.isEmpty()) {
        emit ocrResult(reason);
        return;
    }
    auto* process = new QProcess(this);
    auto* timeout = new QTimer(process);
    timeout->setSingleShot(true);
    // Reports exactly once, whichever of finish, start failure or time-out comes first.
    auto reported = std::make_shared<bool>(false);
    auto report = [this, process, timeout, reported](bool ok) {
        if (*reported)
            return;
        *reported = true;
        timeout->stop();
        QString text = ok ? QString::fromUtf8(process->readAllStandardOutput())
                          : QCoreApplication::translate("MyThread", "OCR识别失败");
        if (!ok)
            LogUtil::w(QStringLiteral("ocr failed: exit code %1, %2").arg(process->exitCode()).arg(process->errorString()));
        emit ocrResult(text);
        process->deleteLater();
    };
    connect(process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), this,
            [process, report](int code, QProcess::ExitStatus status) {
                report(status == QProcess::NormalExit && code == 0);
            });
    connect(process, &QProcess::errorOccurred, this, [report](QProcess::ProcessError error) {
        if (error == QProcess::FailedToStart)
            report(false);
    });
    connect(timeout, &QTimer::timeout, this, [process, report] {
        report(false);
        process->kill();
    });
    timeout->start(RECOGNIZE_TIMEOUT_MS);
    process->start(OCRUtil::resolveProgram(OCRUtil::programPath()), { file }, QIODevice::ReadOnly);
}

#include "OCRUtil.h"

#include "AppSettings.h"
#include "LogUtil.h"
#include "MessageBoxUtil.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>

#ifndef VELKOR_OCR_PROGRAM
#define VELKOR_OCR_PROGRAM ""
#endif

QString OCRUtil::programPath()
{
    const QString configured = AppSettings::userConfig()->value(AppSettings::KEY_OCR_PROGRAM).toString().trimmed();
    return configured.isEmpty() ? QStringLiteral(VELKOR_OCR_PROGRAM) : configured;
}

QString OCRUtil::resolveProgram(const QString& program)
{
    if (program.isEmpty())
        return QString();
    if (!program.contains(QLatin1Char('/')))
        return QStandardPaths::findExecutable(program);
    const QFileInfo info(program);
    return info.isFile() && info.isExecutable() ? info.absoluteFilePath() : QString();
}

QString OCRUtil::unavailableReason()
{
    const QString program = programPath();
    if (program.isEmpty())
        return QCoreApplication::translate("OCRUtil", "未设置OCR识别程序，请在UserConfig.ini的ocrProgram项中填写它的路径。");
    if (resolveProgram(program).isEmpty())
        return QCoreApplication::translate("OCRUtil", "找不到OCR识别程序：%1").arg(program);
    return QString();
}

QProcess* OCRUtil::startRecognizer(QWidget* parent, const QString& filepath)
{
    const QString reason = unavailableReason();
    if (!reason.isEmpty()) {
        MessageBoxUtil::warningMsg(parent, QStringLiteral("Velkor"), reason);
        return nullptr;
    }
    const QString program = resolveProgram(programPath());
    LogUtil::d(QStringLiteral("ocr: %1 %2").arg(program, filepath));
    auto* process = new QProcess(parent);
    QObject::connect(process, QOverload<int, QProcess::ExitStatus>::of(&QProcess::finished), process,
                     &QObject::deleteLater);
    QObject::connect(process, &QProcess::errorOccurred, process, [parent, process, program](QProcess::ProcessError error) {
        if (error != QProcess::FailedToStart)
            return;
        MessageBoxUtil::warningMsg(parent, QStringLiteral("Velkor"),
                                   QCoreApplication::translate("OCRUtil", "无法启动OCR识别程序：%1").arg(program));
        process->deleteLater();
    });
    process->start(program, { filepath }, QIODevice::ReadWrite);
    return process;
}

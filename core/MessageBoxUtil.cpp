#include "MessageBoxUtil.h"

#include "LogUtil.h"

namespace {
bool recording = false;
QList<MessageBoxUtil::Shown> shownBoxes;
QList<QMessageBox::StandardButton> answers;
}

bool MessageBoxUtil::show(QMessageBox::Icon icon, const QString& kind, QWidget* parent, const QString& title,
                          const QString& text)
{
    if (recording) {
        shownBoxes.append({kind, title, text});
        LogUtil::d(QStringLiteral("message box (%1) %2: %3").arg(kind, title, text));
        return true;
    }
    QMessageBox box(icon, title, text, QMessageBox::Ok, parent);
    box.exec();
    return false;
}

void MessageBoxUtil::warningMsg(QWidget* parent, const QString& title, const QString& text)
{
    show(QMessageBox::Warning, QStringLiteral("warning"), parent, title, text);
}

void MessageBoxUtil::infoMsg(QWidget* parent, const QString& title, const QString& text)
{
    show(QMessageBox::Information, QStringLiteral("info"), parent, title, text);
}

void MessageBoxUtil::criticalMsg(QWidget* parent, const QString& title, const QString& text)
{
    show(QMessageBox::Critical, QStringLiteral("critical"), parent, title, text);
}

QMessageBox::StandardButton MessageBoxUtil::question(QWidget* parent, const QString& title, const QString& text,
                                                     QMessageBox::Icon icon)
{
    if (recording) {
        shownBoxes.append({QStringLiteral("question"), title, text});
        return answers.isEmpty() ? QMessageBox::No : answers.takeFirst();
    }
    QMessageBox box(icon, title, text, QMessageBox::Yes | QMessageBox::No, parent);
    box.setDefaultButton(QMessageBox::No);
    return QMessageBox::StandardButton(box.exec());
}

void MessageBoxUtil::setRecording(bool on)
{
    recording = on;
}

bool MessageBoxUtil::isRecording()
{
    return recording;
}

void MessageBoxUtil::setNextAnswer(QMessageBox::StandardButton answer)
{
    answers.append(answer);
}

QList<MessageBoxUtil::Shown> MessageBoxUtil::shown()
{
    return shownBoxes;
}

QList<MessageBoxUtil::Shown> MessageBoxUtil::takeShown()
{
    QList<Shown> result = shownBoxes;
    shownBoxes.clear();
    return result;
}

void MessageBoxUtil::clear()
{
    shownBoxes.clear();
    answers.clear();
}

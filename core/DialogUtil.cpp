#include "DialogUtil.h"

#include <QFileDialog>
#include <QInputDialog>
#include <QQueue>

namespace {
struct Answer
{
    bool accepted;
    QString text;
};
QQueue<Answer> queued;
}

QString DialogUtil::getOpenFileName(QWidget* parent, const QString& caption, const QString& dir,
                                    const QString& filter)
{
    if (!queued.isEmpty())
        return queued.dequeue().text;
    return QFileDialog::getOpenFileName(parent, caption, dir, filter);
}

QStringList DialogUtil::getOpenFileNames(QWidget* parent, const QString& caption, const QString& dir,
                                         const QString& filter)
{
    if (!queued.isEmpty()) {
        const Answer answer = queued.dequeue();
        return answer.text.isEmpty() ? QStringList() : answer.text.split('\n');
    }
    return QFileDialog::getOpenFileNames(parent, caption, dir, filter);
}

QString DialogUtil::getSaveFileName(QWidget* parent, const QString& caption, const QString& dir,
                                    const QString& filter, QString* selectedFilter)
{
    if (!queued.isEmpty()) {
        const QStringList lines = queued.dequeue().text.split('\n');
        if (selectedFilter)
            *selectedFilter = lines.value(1);
        return lines.first();
    }
    return QFileDialog::getSaveFileName(parent, caption, dir, filter, selectedFilter);
}

QString DialogUtil::getExistingDirectory(QWidget* parent, const QString& caption, const QString& dir)
{
    if (!queued.isEmpty())
        return queued.dequeue().text;
    return QFileDialog::getExistingDirectory(parent, caption, dir);
}

QString DialogUtil::getText(QWidget* parent, const QString& title, const QString& label, QLineEdit::EchoMode mode,
                            const QString& text, bool* ok)
{
    if (!queued.isEmpty()) {
        const Answer answer = queued.dequeue();
        if (ok)
            *ok = answer.accepted;
        return answer.accepted ? answer.text : QString();
    }
    return QInputDialog::getText(parent, title, label, mode, text, ok);
}

void DialogUtil::queueAnswer(const QString& answer)
{
    queued.enqueue({true, answer});
}

void DialogUtil::queueCancel()
{
    queued.enqueue({false, QString()});
}

int DialogUtil::pendingAnswers()
{
    return queued.size();
}

void DialogUtil::clear()
{
    queued.clear();
}

#pragma once

#include <QList>
#include <QMessageBox>
#include <QString>

class QWidget;

// Every message box of the program goes through here. Tests switch on recording, so that
// no modal box blocks them: boxes are then only noted, and questions take a queued answer.
class MessageBoxUtil
{
public:
    struct Shown
    {
        QString kind; // "warning", "info", "critical" or "question"
        QString title;
        QString text;
    };

    static void warningMsg(QWidget* parent, const QString& title, const QString& text);
    static void infoMsg(QWidget* parent, const QString& title, const QString& text);
    static void criticalMsg(QWidget* parent, const QString& title, const QString& text);
    // A Yes/No question, No the default; returns QMessageBox::Yes or QMessageBox::No. Questions
    // about destroying data or restarting the device carry the warning icon.
    static QMessageBox::StandardButton question(QWidget* parent, const QString& title, const QString& text,
                                                QMessageBox::Icon icon = QMessageBox::Question);

    // Test seam.
    static void setRecording(bool on);
    static bool isRecording();
    static void setNextAnswer(QMessageBox::StandardButton answer);
    static QList<Shown> shown();
    static QList<Shown> takeShown();
    static void clear();

private:
    static bool show(QMessageBox::Icon icon, const QString& kind, QWidget* parent, const QString& title,
                     const QString& text);
};

#pragma once

#include <QLineEdit>
#include <QString>
#include <QStringList>

class QWidget;

// File and text-input dialogs go through here, so that tests can queue the next answers
// instead of a modal dialog opening. An empty queued answer stands for "cancelled".
class DialogUtil
{
public:
    static QString getOpenFileName(QWidget* parent, const QString& caption, const QString& dir = QString(),
                                   const QString& filter = QString());
    static QStringList getOpenFileNames(QWidget* parent, const QString& caption, const QString& dir = QString(),
                                        const QString& filter = QString());
    // selectedFilter, when given, receives the filter the user chose.
    static QString getSaveFileName(QWidget* parent, const QString& caption, const QString& dir = QString(),
                                   const QString& filter = QString(), QString* selectedFilter = nullptr);
    static QString getExistingDirectory(QWidget* parent, const QString& caption, const QString& dir = QString());
    static QString getText(QWidget* parent, const QString& title, const QString& label,
                           QLineEdit::EchoMode mode = QLineEdit::Normal, const QString& text = QString(),
                           bool* ok = nullptr);

    // Test seam: while answers are queued, no dialog opens and the next answer is taken.
    // Lists of files are queued as one entry joined by '\n'; a save answer may name the chosen
    // filter on a second line.
    static void queueAnswer(const QString& answer);
    static void queueCancel();
    static int pendingAnswers();
    static void clear();
};

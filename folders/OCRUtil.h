#pragma once

#include <QString>

class QProcess;
class QWidget;

// Finds and starts the external text recogniser, a desktop program of its own that takes the
// absolute path of a fax file as its one argument.
class OCRUtil
{
public:
    // The configured program: "ocrProgram" of UserConfig.ini, else the build's default.
    // Empty when neither names one.
    static QString programPath();
    // The program as an executable file: a bare name is looked up in PATH. Empty when the
    // program is not there or cannot be run.
    static QString resolveProgram(const QString& program);
    // Why there is no recogniser to start, for the user; empty when there is one.
    static QString unavailableReason();

    // The inbox's "OCR识别": starts the recogniser on the file and leaves it to the user. It is
    // neither waited for nor read. When there is no recogniser the user is told so and null is
    // returned. The process belongs to parent and frees itself when it ends.
    static QProcess* startRecognizer(QWidget* parent, const QString& filepath);
};

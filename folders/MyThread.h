#pragma once

#include <QObject>
#include <QString>

// The worker of in-process text recognition. It lives on MyController's thread and hands the
// fax file to the configured recogniser, whose standard output is the recognised text.
class MyThread : public QObject
{
    Q_OBJECT

public:
    explicit MyThread(QObject* parent = nullptr);

    // How long the recogniser may take before it is stopped.
    static constexpr int RECOGNIZE_TIMEOUT_MS = 120000;

public slots:
    // Runs the recogniser on file and emits ocrResult with its text; with no recogniser, or one
    // that fails, the text says why.
    void ocrIdentify(QString& file);

signals:
    void ocrResult(QString& text);
};

#include "AppSettings.h"
#include "MessageBoxUtil.h"
#include "OCRDialog.h"
#include "OCRUtil.h"
#include "TestSupport.h"

#include <QFile>
#include <QPointer>
#include <QProcess>
#include <QTextEdit>
#include <QWidget>

class TestOCR : public QObject
{
    Q_OBJECT

    QString m_home;
    QString m_argsFile;

    // A stand-in recogniser: notes its arguments, one a line, and prints a text.
    QString writeRecognizer(const QString& name, const QString& body)
    {
        const QString path = m_home + QLatin1Char('/') + name;
        QFile script(path);
        if (!script.open(QIODevice::WriteOnly))
            return QString();
        script.write(body.toUtf8());
        script.close();
        script.setPermissions(script.permissions() | QFileDevice::ExeOwner);
        return path;
    }
    static QString readText(const QString& path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? QString::fromUtf8(file.readAll()) : QString();
    }
    static void configure(const QString& program)
    {
        auto config = AppSettings::userConfig();
        config->setValue(AppSettings::KEY_OCR_PROGRAM, program);
        config->sync();
    }

private slots:
    void init()
    {
        m_home = TestSupport::freshHome();
        m_argsFile = m_home + QStringLiteral("/ocr-args.txt");
    }

    // Without a recogniser the menu entry tells the user why instead of doing nothing.
    void missingRecognizerIsReported()
    {
        QWidget inbox;
        QCOMPARE(OCRUtil::programPath(), QString());
        QVERIFY(OCRUtil::startRecognizer(&inbox, QStringLiteral("/tmp/x.tif")) == nullptr);
        auto boxes = MessageBoxUtil::takeShown();
        QCOMPARE(boxes.size(), 1);
        QCOMPARE(boxes.first().kind, QStringLiteral("warning"));
        QCOMPARE(boxes.first().title, QStringLiteral("Velkor"));
        QVERIFY(boxes.first().text.contains(QStringLiteral("ocrProgram")));

        const QString gone = m_home + QStringLiteral("/no-such-ocr");
        configure(gone);
        QVERIFY(OCRUtil::startRecognizer(&inbox, QStringLiteral("/tmp/x.tif")) == nullptr);
        boxes = MessageBoxUtil::takeShown();
        QCOMPARE(boxes.size(), 1);
        QCOMPARE(boxes.first().text, QStringLiteral("找不到OCR识别程序：%1").arg(gone));

        // A file that cannot be run is not a recogniser either.
        const QString plain = writeRecognizer(QStringLiteral("plain"), QStringLiteral("#!/bin/sh\n"));
        QFile::setPermissions(plain, QFileDevice::ReadOwner | QFileDevice::WriteOwner);
        configure(plain);
        QVERIFY(OCRUtil::startRecognizer(&inbox, QStringLiteral("/tmp/x.tif")) == nullptr);
        QCOMPARE(MessageBoxUtil::takeShown().size(), 1);
    }

    // The configured recogniser gets the fax file's path as its one argument.
    void recognizerStartedWithThePath()
    {
        const QString program = writeRecognizer(QStringLiteral("fake-ocr"),
            QStringLiteral("#!/bin/sh\nprintf '%s\\n' \"$#\" \"$@\" > '%1'\n").arg(m_argsFile));
        configure(program);
        QWidget inbox;
        const QString fax = m_home + QStringLiteral("/Documents/Velkor/tester/PID 1/FaxFile/a fax.tif");
        QProcess* process = OCRUtil::startRecognizer(&inbox, fax);
        QVERIFY(process);
        QPointer<QProcess> watched = process;
        QCOMPARE(process->parent(), &inbox);
        QVERIFY(MessageBoxUtil::shown().isEmpty());
        QTRY_COMPARE(readText(m_argsFile), QStringLiteral("1\n%1\n").arg(fax));
        // A finished recogniser frees its process.
        QTRY_VERIFY(watched.isNull());
    }

    // The in-process framework shows what the recogniser prints, or why there is nothing.
    void dialogShowsRecognizedText()
    {
        OCRDialog none(QStringLiteral("/tmp/x.tif"));
        QTRY_VERIFY(none.text().contains(QStringLiteral("ocrProgram")));

        const QString program = writeRecognizer(QStringLiteral("fake-ocr"),
            QStringLiteral("#!/bin/sh\nprintf '识别: %s' \"$1\"\n"));
        configure(program);
        OCRDialog dialog(QStringLiteral("/tmp/a b.tif"));
        auto* edit = TestSupport::find<QTextEdit>(&dialog, QStringLiteral("textEdit"));
        QTRY_COMPARE(edit->toPlainText(), QStringLiteral("识别: /tmp/a b.tif"));

        const QString failing = writeRecognizer(QStringLiteral("failing-ocr"), QStringLiteral("#!/bin/sh\nexit 3\n"));
        configure(failing);
        OCRDialog failed(QStringLiteral("/tmp/x.tif"));
        QTRY_COMPARE(failed.text(), QStringLiteral("OCR识别失败"));
    }
};

VELKOR_TEST_MAIN(TestOCR)
#include "TestOCR.moc"

#include "TestSupport.h"

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <csignal>
#include <memory>

// The real program started more than once by one user: only the first keeps running.
class TestSingleInstance : public QObject
{
    Q_OBJECT

    QTemporaryDir m_home;
    QList<QProcess*> m_started;

    QProcessEnvironment environment() const
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("HOME", m_home.path());
        env.insert("XDG_CONFIG_HOME", m_home.path() + "/.config");
        env.insert("XDG_DATA_HOME", m_home.path() + "/.local/share");
        env.insert("XDG_RUNTIME_DIR", m_home.path() + "/.runtime");
        env.insert("QT_QPA_PLATFORM", "offscreen");
        env.insert("QT_LOGGING_RULES", "default.info=true");
        env.remove("XDG_DOCUMENTS_DIR");
        return env;
    }

    QProcess* start()
    {
        auto* process = new QProcess(this);
        process->setProcessEnvironment(environment());
        process->start(QStringLiteral(VELKOR_EXECUTABLE), {});
        m_started << process;
        if (!process->waitForStarted(5000))
            return nullptr;
        return process;
    }

    // The first instance is ready once its socket exists.
    bool waitUntilListening(QProcess* process)
    {
        return QTest::qWaitFor(
            [&]() {
                const QStringList sockets =
                    QDir(m_home.path() + "/.runtime").entryList({"velkor-*"}, QDir::System | QDir::Files);
                for (const QString& name : sockets)
                    if (!name.endsWith(".lock"))
                        return process->state() == QProcess::Running;
                return false;
            },
            10000);
    }

    static void stop(QProcess* process)
    {
        if (process->state() != QProcess::NotRunning) {
            process->kill(); // the program has no shutdown of its own to wait for
            process->waitForFinished(5000);
        }
    }

private slots:
    void initTestCase()
    {
        QVERIFY(m_home.isValid());
        QDir().mkpath(m_home.path() + "/Documents");
        QDir().mkpath(m_home.path() + "/.runtime");
        QFile::setPermissions(m_home.path() + "/.runtime",
                              QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
    }

    void cleanupTestCase()
    {
        for (QProcess* process : m_started) {
            ::kill(pid_t(process->processId()), SIGCONT);
            stop(process);
        }
    }

    void secondStartExitsAndLeavesTheFirst()
    {
        QProcess* first = start();
        QVERIFY(first);
        QVERIFY(waitUntilListening(first));

        QProcess* second = start();
        QVERIFY(second);
        const qint64 secondPid = second->processId();
        QVERIFY(second->waitForFinished(10000));
        QCOMPARE(second->exitStatus(), QProcess::NormalExit);
        QCOMPARE(second->exitCode(), 0);
        const QString log = QString::fromLocal8Bit(second->readAllStandardError());
        const QString expected = QStringLiteral("msg:Hi master, I am %1. , rep:Another instance is running, so I will "
                                                "exit. Message sent ok.")
                                     .arg(secondPid);
        QVERIFY2(log.contains(expected), qPrintable(log));

        QTest::qWait(300);
        QCOMPARE(first->state(), QProcess::Running);
    }

    void frozenFirstCostsBoundedTime()
    {
        QProcess* first = m_started.value(0);
        QVERIFY(first && first->state() == QProcess::Running);
        QCOMPARE(::kill(pid_t(first->processId()), SIGSTOP), 0);
        QElapsedTimer clock;
        clock.start();
        QProcess* third = start();
        QVERIFY(third);
        const bool finished = third->waitForFinished(15000);
        ::kill(pid_t(first->processId()), SIGCONT);
        QVERIFY(finished);
        QCOMPARE(third->exitCode(), 0);
        // 2 s for the message, plus starting and stopping a program.
        QVERIFY2(clock.elapsed() < 8000, qPrintable(QString::number(clock.elapsed())));
        const QString log = QString::fromLocal8Bit(third->readAllStandardError());
        QVERIFY2(log.contains("rep:Another instance is running, so I will exit. Message sending failed; the other "
                              "instance may be frozen."),
                 qPrintable(log));
        QTest::qWait(300);
        QCOMPARE(first->state(), QProcess::Running);
    }

    void startAfterACrashRunsAgain()
    {
        // A killed first instance leaves its socket behind; the next start must not be fooled.
        QProcess* first = m_started.value(0);
        QVERIFY(first);
        stop(first);
        QProcess* next = start();
        QVERIFY(next);
        QVERIFY(waitUntilListening(next));
        QVERIFY(!next->waitForFinished(1500));
        QCOMPARE(next->state(), QProcess::Running);
        stop(next);
    }
};

VELKOR_TEST_MAIN(TestSingleInstance)
#include "TestSingleInstance.moc"

#include "DatabaseManager.h"
#include "FaxDetailWindow.h"
#include "FaxStatus.h"
#include "FaxTray.h"
#include "MainWindow.h"
#include "MessageBoxUtil.h"
#include "PrintJobsDialog.h"
#include "TestSupport.h"

#include <QApplication>
#include <QBuffer>
#include <QDataStream>
#include <QLocalServer>
#include <QLocalSocket>
#include <QDir>
#include <QFileInfo>
#include <QLineEdit>
#include <QListWidget>
#include <QPdfWriter>
#include <QPainter>
#include <QProcess>
#include <QPushButton>
#include <QSignalSpy>

// The print queue's backend run as the print system runs it, and what the client makes of its
// jobs: an editor for each, at once when the client runs, at the next login otherwise.
class TestPrintToFax : public QObject
{
    Q_OBJECT

    QString m_home;

    static QByteArray pdfDocument()
    {
        QByteArray pdf;
        QBuffer buffer(&pdf);
        buffer.open(QIODevice::WriteOnly);
        QPdfWriter writer(&buffer);
        QPainter painter(&writer);
        painter.drawText(QPointF(200, 200), QStringLiteral("Quarterly report"));
        painter.end();
        return pdf;
    }

    // The backend finds the users' homes in a folder of the test's own: "office" is this test's
    // home, any other name has no account until its folder is made.
    QString homes() const { return m_home + QStringLiteral("/.homes"); }
    QString user() const { return QStringLiteral("office"); }
    QString spool() const { return TestSupport::documentsPath() + QStringLiteral("spool/"); }
    QString printSystemSpool() const { return m_home + QStringLiteral("/.cups"); }

    // Runs the backend; returns its exit code, standard error in *log.
    int runBackend(const QStringList& args, const QByteArray& input, QString* log = nullptr,
                   const QString& runtime = QString())
    {
        QProcess backend;
        QProcessEnvironment env;
        env.insert("PATH", qEnvironmentVariable("PATH"));
        env.insert("DEVICE_URI", "velkor:/");
        env.insert("CONTENT_TYPE", "application/pdf");
        env.insert("PRINTER", "Velkor");
        env.insert("VELKOR_BACKEND_HOMES", homes());
        env.insert("VELKOR_BACKEND_SPOOL", printSystemSpool());
        env.insert("VELKOR_BACKEND_RUNTIME", runtime.isEmpty() ? m_home + "/no-runtime" : runtime);
        backend.setProcessEnvironment(env);
        backend.start(QStringLiteral(VELKOR_BACKEND), args);
        backend.write(input);
        backend.closeWriteChannel();
        // The client answers only while this loop runs.
        if (!QTest::qWaitFor([&]() { return backend.state() == QProcess::NotRunning; }, 20000))
            return -1;
        if (log)
            *log = QString::fromLocal8Bit(backend.readAllStandardError());
        return backend.exitCode();
    }

    static QList<FaxDetailWindow*> editors()
    {
        QList<FaxDetailWindow*> found;
        for (QWidget* widget : QApplication::topLevelWidgets())
            if (auto* editor = qobject_cast<FaxDetailWindow*>(widget); editor && editor->isVisible())
                found << editor;
        return found;
    }

private slots:
    void init()
    {
        m_home = TestSupport::freshHome();
        TestSupport::loginTestUser();
        QVERIFY(QDir().mkpath(homes()));
        QVERIFY(QFile::link(m_home, homes() + "/" + user()));
    }

    void cleanup()
    {
        qDeleteAll(editors());
    }

    void discoveryLine()
    {
        QProcess backend;
        backend.start(QStringLiteral(VELKOR_BACKEND), {});
        QVERIFY(backend.waitForFinished(5000));
        QCOMPARE(backend.exitCode(), 0);
        QVERIFY(backend.readAllStandardOutput().startsWith("direct velkor "));
    }

    void documentReachesSpool_data()
    {
        QTest::addColumn<QString>("kind");
        QTest::addColumn<QString>("options");
        QTest::addColumn<bool>("known");
        QTest::addColumn<int>("exitCode");
        QTest::addColumn<QString>("recipients");
        QTest::newRow("PDF on standard input, names and numbers")
            << "pdf" << "media=A4 phone=123,Wang<456>" << true << 0 << "123;Wang<456>;";
        QTest::newRow("PostScript file, quoted option") << "ps" << "phone='88 66, 77'" << true << 0 << "88 66;77;";
        QTest::newRow("no number given") << "pdf" << "job-sheets=none" << true << 0 << "";
        QTest::newRow("user without an account is kept") << "pdf" << "phone=5" << false << 0 << "5;";
        QTest::newRow("neither PDF nor PostScript") << "text" << "phone=5" << true << 1 << "";
    }

    void documentReachesSpool()
    {
        QFETCH(QString, kind);
        QFETCH(QString, options);
        QFETCH(bool, known);
        QFETCH(int, exitCode);
        QFETCH(QString, recipients);
        const QString jobUser = known ? user() : QStringLiteral("visitor");
        QStringList args{"41", jobUser, "Report", "1", options};
        QByteArray input = kind == "text" ? QByteArray("just words\n") : pdfDocument();
        if (kind == "ps") {
            const QString ps = m_home + "/doc.ps";
            QFile file(ps);
            QVERIFY(file.open(QIODevice::WriteOnly));
            file.write("%!PS\n/Helvetica findfont 20 scalefont setfont 72 720 moveto (Invoice) show showpage\n");
            file.close();
            args << ps;
            input.clear();
        }
        QString log;
        QCOMPARE(runBackend(args, input, &log), exitCode);
        const QString folder = known ? spool() : printSystemSpool() + "/velkor/visitor/";
        const QList<PrintJob> jobs = PrintJobSpool::list(folder);
        if (exitCode != 0) {
            QVERIFY(log.contains("ERROR:"));
            QVERIFY(jobs.isEmpty());
            return;
        }
        QCOMPARE(jobs.size(), 1);
        QCOMPARE(jobs.first().recipients, recipients);
        QCOMPARE(jobs.first().title, QStringLiteral("Report"));
        QFile pdf(jobs.first().pdfPath());
        QVERIFY(pdf.open(QIODevice::ReadOnly));
        QVERIFY(pdf.readAll().startsWith("%PDF"));
        QCOMPARE(QDir(folder).entryList({"*.part", ".*.pdf*"}, QDir::Files | QDir::Hidden), QStringList());
        QCOMPARE(log.contains("ERROR:"), !known);
        if (!known) {
            // Once the user has an account, the next job takes the kept one along.
            QVERIFY(QDir().mkpath(homes() + "/visitor"));
            QCOMPARE(runBackend({"42", "visitor", "Second", "1", ""}, pdfDocument()), 0);
            QCOMPARE(PrintJobSpool::list(homes() + "/visitor/Documents/Velkor/spool").size(), 2);
            QVERIFY(PrintJobSpool::list(folder).isEmpty());
        }
    }

    // A logged-in client opens the job at once, with its recipients; at the next login it is
    // not opened again, and the user deletes it from the list.
    void runningClientOpensJob()
    {
        MainWindow window;
        QTest::qWait(50);
        const QString runtime = m_home + "/.runtime";
        QLocalServer server;
        QVERIFY(server.listen(runtime + "/velkor-test"));
        connect(&server, &QLocalServer::newConnection, this, [&]() {
            QLocalSocket* socket = server.nextPendingConnection();
            connect(socket, &QLocalSocket::readyRead, socket, [socket, &window]() {
                QDataStream in(socket);
                QString message;
                in >> message;
                socket->write("ack");
                if (PrintJobSpool::isMessage(message))
                    window.openPrintJobs();
            });
        });
        QString log;
        QCOMPARE(runBackend({"7", user(), "Invoice", "1", "phone=Li<800>"}, pdfDocument(), &log, runtime), 0);
        QVERIFY2(log.contains("open"), qPrintable(log));
        QTRY_COMPARE(editors().size(), 1);
        FaxDetailWindow* editor = editors().first();
        QCOMPARE(TestSupport::find<QLineEdit>(editor, "edit_phone_2")->text(), QStringLiteral("Li<800>;"));
        QCOMPARE(editor->pages().size(), 1);
        MessageBoxUtil::setNextAnswer(QMessageBox::Yes); // close it unsent
        editor->close();
        QTRY_VERIFY(editors().isEmpty());

        MainWindow nextLogin;
        QTest::qWait(50);
        QVERIFY(editors().isEmpty());
        PrintJobsDialog list;
        QCOMPARE(TestSupport::find<QListWidget>(&list, "list_print_jobs")->count(), 1);
        MessageBoxUtil::setNextAnswer(QMessageBox::Yes);
        TestSupport::find<QPushButton>(&list, "button_delete_job")->click();
        QVERIFY(PrintJobSpool::list(spool()).isEmpty());
        QCOMPARE(QDir(spool()).entryList(QDir::Files), QStringList());
    }

    // Nobody listens: the job waits and the next login opens it; sending it ends the job.
    void jobWaitsForNextLogin()
    {
        QString log;
        QCOMPARE(runBackend({"8", user(), "Memo", "1", "phone=99"}, pdfDocument(), &log), 0);
        QVERIFY2(log.contains("next"), qPrintable(log));
        QVERIFY(editors().isEmpty());
        MainWindow window;
        QTRY_COMPARE(editors().size(), 1);
        QCOMPARE(TestSupport::find<QLineEdit>(editors().first(), "edit_phone_2")->text(), QStringLiteral("99;"));
        emit editors().first()->intent_to_sendbox({});
        QVERIFY(PrintJobSpool::list(spool()).isEmpty());
    }

    // The tray counts the unread faxes and announces each new one once.
    void trayAnnouncesNewFaxes()
    {
        Device device;
        device.deviceName = QStringLiteral("admin");
        device.productID = QStringLiteral("PID9");
        DatabaseManager db;
        QVERIFY(db.inseretDevice(device));
        QString pid = device.productID;
        const int deviceId = db.queryDevice(pid).id;
        auto received = [&](int task, int status, const QString& cid) {
            Fax fax;
            fax.tag = 0;
            fax.taskID = task;
            fax.status = status;
            fax.cid = cid;
            fax.pageTotal = 3;
            fax.time = QStringLiteral("2026-11-23 10:00:00");
            QVERIFY(db.insertFaxes({fax}, deviceId));
        };
        received(1, FaxStatus::RECV_FAX_UNREAD, "111");
        received(2, FaxStatus::RECV_FAX_READED, "222");
        FaxTray tray;
        QSignalSpy notified(&tray, &FaxTray::notified);
        QCOMPARE(tray.unreadCount(), 1);
        QVERIFY(tray.toolTip().contains("1"));
        QCOMPARE(notified.count(), 0); // what was there at login is not new
        received(3, FaxStatus::RECV_FAX_UNREAD, "333");
        received(4, FaxStatus::RECV_FAX_UNREAD, "444");
        tray.refresh();
        QCOMPARE(tray.unreadCount(), 3);
        QCOMPARE(notified.count(), 2);
        QVERIFY(notified.at(0).at(1).toString().contains("333"));
        QVERIFY(notified.at(1).at(1).toString().contains("444"));
        tray.refresh();
        QCOMPARE(notified.count(), 2);
    }
};

VELKOR_TEST_MAIN(TestPrintToFax)
#include "TestPrintToFax.moc"

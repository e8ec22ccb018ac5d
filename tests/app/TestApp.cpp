#include "AESUtil.h"
#include "AppSettings.h"
#include "CreateLocalAccountWidget.h"
#include "DatabaseManager.h"
#include "LoginWidget.h"
#include "LoginWindow.h"
#include "MGlobal.h"
#include "MessageBoxUtil.h"
#include "SelectLanguageDialog.h"
#include "SessionWindows.h"
#include "Startup.h"
#include "UiTestSupport.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDataStream>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QFileInfo>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QProcess>
#include <QProcessEnvironment>
#include <QPushButton>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <QTranslator>
#include <csignal>
#include <memory>

namespace {
// Marks every text it is asked for, so that a test sees which widgets retranslated.
class MarkingTranslator : public QTranslator
{
public:
    QString padding; // appended to every text, to stand for a wordier language

    QString translate(const char* context, const char* sourceText, const char* disambiguation = nullptr,
                      int n = -1) const override
    {
        Q_UNUSED(disambiguation)
        Q_UNUSED(n)
        return QStringLiteral("EN[%1]").arg(QString::fromUtf8(sourceText)) + padding;
    }
    bool isEmpty() const override { return false; }
};
} // namespace

// Login, remembered credentials, account creation and the first window after start.
class TestLogin : public QObject
{
    Q_OBJECT

    // Windows made by the main-window hook during a test.
    QList<QPointer<QWidget>> m_mainWindows;

    static void addUser(QString nickname, QString password)
    {
        DatabaseManager db;
        QVERIFY(db.insertUser(nickname, password));
    }

    static void click(QWidget* root, const char* button)
    {
        QPushButton* b = TestSupport::find<QPushButton>(root, button);
        QVERIFY(b);
        b->click();
    }

    // The login page of a login window, or the page itself.
    static QWidget* loginPage(QWidget* root)
    {
        if (auto* page = qobject_cast<LoginWidget*>(root))
            return page;
        return root->findChild<LoginWidget*>();
    }

    static void typeLogin(QWidget* root, const QString& nickname, const QString& password)
    {
        TestSupport::find<QComboBox>(loginPage(root), "combo_nickname")->setEditText(nickname);
        TestSupport::find<QLineEdit>(loginPage(root), "edit_password")->setText(password);
    }

    static QList<LoginWindow*> openLoginWindows()
    {
        QList<LoginWindow*> found;
        for (QWidget* w : QApplication::topLevelWidgets())
            if (auto* login = qobject_cast<LoginWindow*>(w); login && login->isVisible())
                found << login;
        return found;
    }

    static void flushDeletes() { QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete); }
    // The application posts a language change to each window; the event loop delivers it.
    static void deliverLanguageChange() { QCoreApplication::sendPostedEvents(nullptr, QEvent::LanguageChange); }

private slots:
    void init()
    {
        TestSupport::freshHome();
        DatabaseManager db;
        db.createTables();
        m_mainWindows.clear();
        SessionWindows::setLoginWindowFactory([]() -> QWidget* { return new LoginWindow; });
        SessionWindows::setMainWindowFactory([this]() -> QWidget* {
            auto* w = new QWidget;
            w->setAttribute(Qt::WA_DeleteOnClose);
            m_mainWindows << w;
            return w;
        });
    }

    void cleanup()
    {
        for (QWidget* w : QApplication::topLevelWidgets())
            w->close();
        flushDeletes();
        SelectLanguageDialog::switchLanguage(1);
    }

    void wrongPasswordAndInjectionAreRefused()
    {
        addUser("alice", "pw1");
        LoginWidget widget;
        QSignalSpy success(&widget, &LoginWidget::loginSuccess);

        const QList<QPair<QString, QString>> attempts = {
            {"alice", "PW1"}, {"alice", ""}, {"bob", "pw1"}, {"' OR '1'='1", "' OR '1'='1"}, {"alice", "' OR '1'='1"}};
        for (const auto& attempt : attempts) {
            typeLogin(&widget, attempt.first, attempt.second);
            click(&widget, "button_login");
            const auto shown = MessageBoxUtil::takeShown();
            QCOMPARE(shown.size(), 1);
            QCOMPARE(shown[0].kind, QStringLiteral("warning"));
            QCOMPARE(shown[0].text, QStringLiteral("帐号或密码错误，请重新输入"));
        }
        QCOMPARE(success.count(), 0);
        QCOMPARE(gUser.id, 0);
        QVERIFY(AppSettings::userConfig()->allKeys().isEmpty());
        QVERIFY(!QFile::exists(TestSupport::documentsPath() + "login.dat"));
    }

    void loginWritesSessionAndCipheredPassword()
    {
        addUser("al", "pw1");
        addUser("bartholomew", "Ünï 密码, rather long");
        LoginWidget widget;
        QCOMPARE(TestSupport::find<QComboBox>(&widget, "combo_nickname")->count(), 2);
        QSignalSpy success(&widget, &LoginWidget::loginSuccess);

        // The remember box stays clear: the enciphered password is written all the same.
        typeLogin(&widget, "bartholomew", "Ünï 密码, rather long");
        // Enter in the password field logs in like the button.
        QTest::keyClick(TestSupport::find<QLineEdit>(&widget, "edit_password"), Qt::Key_Return);
        QVERIFY(MessageBoxUtil::takeShown().isEmpty());
        QCOMPARE(success.count(), 1);
        QCOMPARE(gUser.nickname, QStringLiteral("bartholomew"));
        QVERIFY(gUser.id > 0);
        QVERIFY(QFileInfo(TestSupport::documentsPath() + "bartholomew").isDir());

        auto config = AppSettings::userConfig();
        QCOMPARE((QVariantList{config->value("account").toString(), config->value("rememberPwd").toBool(),
                               config->value("autoLogin").toBool()}),
                 (QVariantList{QStringLiteral("bartholomew"), false, false}));
        QByteArray cipher = config->value("password").toByteArray();
        QVERIFY(!cipher.contains("rather long"));
        QString expected = "Ünï 密码, rather long";
        QCOMPARE(cipher, AESUtil::encode(expected));

        QFile dat(TestSupport::documentsPath() + "login.dat");
        QVERIFY(dat.open(QIODevice::ReadOnly));
        QDataStream in(&dat);
        QString account;
        QByteArray datCipher;
        in >> account >> datCipher;
        QVERIFY(in.status() == QDataStream::Ok && in.atEnd());
        QCOMPARE(account, QStringLiteral("bartholomew"));
        QCOMPARE(datCipher, cipher);
        dat.close();

        // A later, shorter login truncates the file.
        const qint64 longSize = QFileInfo(dat).size();
        typeLogin(&widget, "al", "pw1");
        click(&widget, "button_login");
        QCOMPARE(success.count(), 2);
        QCOMPARE(gUser.nickname, QStringLiteral("al"));
        QVERIFY(QFileInfo(dat.fileName()).size() < longSize);
        QByteArray aliceCipher = AppSettings::userConfig()->value("password").toByteArray();
        QCOMPARE(AESUtil::decode(aliceCipher), QStringLiteral("pw1"));
        QCOMPARE(AppSettings::userConfig()->value("account").toString(), QStringLiteral("al"));

        // Not remembered: the next login page offers the account but not the password.
        LoginWidget next;
        QCOMPARE(TestSupport::find<QComboBox>(&next, "combo_nickname")->currentText(), QStringLiteral("al"));
        QVERIFY(TestSupport::find<QLineEdit>(&next, "edit_password")->text().isEmpty());
    }

    void rememberAndAutoLoginBoxes()
    {
        addUser("carol", "c-pass");
        {
            LoginWidget widget;
            auto* remember = TestSupport::find<QCheckBox>(&widget, "check_remember_pwd");
            auto* autoLogin = TestSupport::find<QCheckBox>(&widget, "check_auto_login");
            QVERIFY(!autoLogin->isEnabled());
            remember->setChecked(true);
            QVERIFY(autoLogin->isEnabled());
            autoLogin->setChecked(true);
            // Un-ticking remember takes auto-login with it.
            remember->setChecked(false);
            QVERIFY(!autoLogin->isEnabled() && !autoLogin->isChecked());
            remember->setChecked(true);
            typeLogin(&widget, "carol", "c-pass");
            click(&widget, "button_login");
        }
        {
            // Remember only: the password comes back, auto-login is offered but clear.
            LoginWidget widget;
            QCOMPARE(TestSupport::find<QLineEdit>(&widget, "edit_password")->text(), QStringLiteral("c-pass"));
            QVERIFY(TestSupport::find<QCheckBox>(&widget, "check_remember_pwd")->isChecked());
            auto* autoLogin = TestSupport::find<QCheckBox>(&widget, "check_auto_login");
            QVERIFY(autoLogin->isEnabled() && !autoLogin->isChecked());
            autoLogin->setChecked(true);
            click(&widget, "button_login");
        }
        auto config = AppSettings::userConfig();
        QCOMPARE(config->value("rememberPwd").toBool(), true);
        QCOMPARE(config->value("autoLogin").toBool(), true);
        LoginWidget widget;
        QVERIFY(TestSupport::find<QCheckBox>(&widget, "check_auto_login")->isChecked());
    }

    void createAccountRefusalsAndSuccess()
    {
        addUser("dave", "x");
        LoginWindow* window = new LoginWindow;
        QPointer<LoginWindow> guard(window);
        window->show();
        auto* stack = TestSupport::find<QStackedWidget>(window, "stackedWidget");
        QVERIFY(qobject_cast<LoginWidget*>(stack->widget(0)));
        QVERIFY(qobject_cast<CreateLocalAccountWidget*>(stack->widget(1)));
        QCOMPARE(stack->currentIndex(), 0);
        click(stack->widget(0), "button_create_local_account");
        QCOMPARE(stack->currentIndex(), 1);

        QWidget* page = stack->widget(1);
        auto* nickname = TestSupport::find<QLineEdit>(page, "edit_nickname");
        auto* password = TestSupport::find<QLineEdit>(page, "edit_password");
        auto* confirm = TestSupport::find<QLineEdit>(page, "edit_confirm_password");
        auto fill = [&](const QString& n, const QString& p, const QString& c) {
            nickname->setText(n);
            password->setText(p);
            confirm->setText(c);
        };
        auto expectWarning = [&](const QString& text) {
            const auto shown = MessageBoxUtil::takeShown();
            QCOMPARE(shown.size(), 1);
            QCOMPARE(shown[0].text, text);
            QCOMPARE(stack->currentIndex(), 1);
        };

        fill("dave", "y", "y");
        click(page, "button_confirm");
        expectWarning("该账号已被创建");
        fill("erin", "Secret", "secret");
        click(page, "button_confirm");
        expectWarning("两次输入的密码不一致");
        fill("../erin", "s", "s");
        click(page, "button_confirm");
        expectWarning("昵称不能包含“/”，也不能是“.”或“..”");
        DatabaseManager db;
        QCOMPARE(db.queryAllUserNickname(), QStringList{"dave"});

        fill("O'Brien", "s'1", "s'1");
        click(page, "button_confirm");
        QVERIFY(MessageBoxUtil::takeShown().isEmpty());
        QCOMPARE(stack->currentIndex(), 0);
        QVERIFY(nickname->text().isEmpty() && password->text().isEmpty() && confirm->text().isEmpty());
        auto* combo = TestSupport::find<QComboBox>(stack->widget(0), "combo_nickname");
        QCOMPARE(combo->currentText(), QStringLiteral("O'Brien"));
        QVERIFY(combo->findText("O'Brien") >= 0);
        QVERIFY(TestSupport::find<QLineEdit>(stack->widget(0), "edit_password")->text().isEmpty());

        // The new account logs in through the window, which hands over to the main window.
        TestSupport::find<QLineEdit>(stack->widget(0), "edit_password")->setText("s'1");
        click(stack->widget(0), "button_login");
        QCOMPARE(gUser.nickname, QStringLiteral("O'Brien"));
        QCOMPARE(m_mainWindows.size(), 1);
        QVERIFY(m_mainWindows[0]->isVisible());
        QVERIFY(!window->isVisible());
        flushDeletes();
        QVERIFY(guard.isNull());
    }

    void backClearsTheNewAccountPage()
    {
        LoginWindow* window = new LoginWindow;
        window->show();
        auto* stack = TestSupport::find<QStackedWidget>(window, "stackedWidget");
        stack->setCurrentIndex(1);
        TestSupport::find<QLineEdit>(stack->widget(1), "edit_nickname")->setText("half typed");
        click(stack->widget(1), "button_back");
        QCOMPARE(stack->currentIndex(), 0);
        stack->setCurrentIndex(1);
        QVERIFY(TestSupport::find<QLineEdit>(stack->widget(1), "edit_nickname")->text().isEmpty());
    }

    void firstWindowFollowsRememberedSwitches_data()
    {
        QTest::addColumn<bool>("remember");
        QTest::addColumn<bool>("autoLogin");
        QTest::addColumn<QString>("account");
        QTest::addColumn<bool>("mainWindow");
        QTest::newRow("nothing stored") << false << false << QString() << false;
        QTest::newRow("auto without remember") << false << true << "frank" << false;
        QTest::newRow("remember only") << true << false << "frank" << false;
        QTest::newRow("both") << true << true << "frank" << true;
        QTest::newRow("both, account gone") << true << true << "ghost" << true;
    }

    void firstWindowFollowsRememberedSwitches()
    {
        QFETCH(bool, remember);
        QFETCH(bool, autoLogin);
        QFETCH(QString, account);
        QFETCH(bool, mainWindow);
        addUser("frank", "f-pass");
        if (!account.isEmpty()) {
            auto config = AppSettings::userConfig();
            QString plain = "f-pass";
            config->setValue("account", account);
            config->setValue("password", AESUtil::encode(plain));
            config->setValue("rememberPwd", remember);
            config->setValue("autoLogin", autoLogin);
        }

        QWidget* first = Startup::openFirstWindow();
        QVERIFY(first && first->isVisible());
        if (mainWindow) {
            QCOMPARE(m_mainWindows.size(), 1);
            QCOMPARE(first, m_mainWindows[0].data());
            QVERIFY(openLoginWindows().isEmpty());
            QCOMPARE(gUser.nickname, account == "ghost" ? QString() : account);
            QCOMPARE(gUser.id > 0, account != "ghost");
        } else {
            QVERIFY(m_mainWindows.isEmpty());
            QCOMPARE(openLoginWindows(), QList<LoginWindow*>{qobject_cast<LoginWindow*>(first)});
            QCOMPARE(gUser.id, 0);
            QCOMPARE(TestSupport::find<QLineEdit>(loginPage(first), "edit_password")->text(),
                     remember ? QStringLiteral("f-pass") : QString());
        }
    }

    void switchingBackToLoginAfterSession()
    {
        // The hook the main window uses to switch the user: a fresh login window, account kept.
        addUser("hana", "h");
        LoginWindow* window = new LoginWindow;
        window->show();
        typeLogin(window, "hana", "h");
        click(loginPage(window), "button_login");
        QCOMPARE(m_mainWindows.size(), 1);
        QWidget* login = SessionWindows::showLoginWindow();
        m_mainWindows[0]->close();
        QVERIFY(qobject_cast<LoginWindow*>(login));
        QCOMPARE(TestSupport::find<QComboBox>(loginPage(login), "combo_nickname")->currentText(), QStringLiteral("hana"));
        QCOMPARE(openLoginWindows().size(), 1);
    }

    // Language changes reach every open page of the login window at once.
    void openPagesRetranslateAtOnce()
    {
        auto* window = new LoginWindow;
        window->show();
        auto* login = TestSupport::find<QPushButton>(window, "button_login");
        auto* remember = TestSupport::find<QCheckBox>(window, "check_remember_pwd");
        auto* confirm = TestSupport::find<QPushButton>(window, "button_confirm"); // hidden page 1
        auto* nickname = TestSupport::find<QLineEdit>(window, "edit_nickname");
        auto* note = TestSupport::find<QLabel>(window, "label_note");
        QCOMPARE(login->text(), QStringLiteral("登录"));
        nickname->setText("typed before the switch");

        MarkingTranslator marking;
        QCoreApplication::installTranslator(&marking);
        deliverLanguageChange();
        QCOMPARE(login->text(), QStringLiteral("EN[登录]"));
        QCOMPARE(remember->text(), QStringLiteral("EN[记住密码]"));
        QCOMPARE(confirm->text(), QStringLiteral("EN[确定]"));
        QCOMPARE(nickname->placeholderText(), QStringLiteral("EN[输入昵称]"));
        QCOMPARE(note->text(), QStringLiteral("EN[本地账户只能在这台电脑上使用。]"));
        QCOMPARE(window->windowTitle(), QStringLiteral("EN[Velkor自动传真系统]"));
        // Retranslating touches texts only, not what the user typed.
        QCOMPARE(nickname->text(), QStringLiteral("typed before the switch"));

        QCoreApplication::removeTranslator(&marking);
        deliverLanguageChange();
        QCOMPARE(login->text(), QStringLiteral("登录"));
        QCOMPARE(window->windowTitle(), QStringLiteral("Velkor自动传真系统"));
    }

    void fixedWindowGrowsForLongerTexts()
    {
        auto* window = new LoginWindow;
        window->show();
        const QSize chinese = window->size();
        MarkingTranslator wordy;
        wordy.padding = QStringLiteral(" and a good deal more words");
        QCoreApplication::installTranslator(&wordy);
        deliverLanguageChange();
        QCoreApplication::processEvents(); // the window measures itself after its pages
        auto* stack = TestSupport::find<QStackedWidget>(window, "stackedWidget");
        for (int page = 0; page < stack->count(); ++page)
            QVERIFY(stack->size().width() >= stack->widget(page)->minimumSizeHint().width());
        QVERIFY(window->width() > chinese.width());
        QCOMPARE(window->minimumSize(), window->maximumSize());
        QCoreApplication::removeTranslator(&wordy);
    }

    void languageButtonOpensTheDialogThatSwitches()
    {
        auto* window = new LoginWindow;
        window->show();
        TestSupport::find<QPushButton>(window, "button_language")->click();
        auto* dialog = window->findChild<SelectLanguageDialog*>();
        QVERIFY(dialog);
        QVERIFY(dialog->isVisible());
        auto* combo = TestSupport::find<QComboBox>(dialog, "combo_language");
        QCOMPARE(combo->count(), 2);
        QCOMPARE(combo->currentIndex(), 1); // opens on the language shown: Chinese

        // English from the embedded translation: a text of the program now reads in English.
        combo->setCurrentIndex(0);
        dialog->accept();
        deliverLanguageChange();
        QCOMPARE(QCoreApplication::translate("FaxStatus", "发送失败"), QStringLiteral("Send failed"));
        auto* login = TestSupport::find<QPushButton>(window, "button_login");
        QCOMPARE(login->text(), QCoreApplication::translate("LoginWidget", "登录"));

        // A rejected dialog changes nothing, neither the language nor the stored choice.
        const QVariant chosen = AppSettings::userConfig()->value(AppSettings::KEY_LANGUAGE);
        SelectLanguageDialog rejected;
        TestSupport::find<QComboBox>(&rejected, "combo_language")->setCurrentIndex(1);
        rejected.reject();
        QCOMPARE(QCoreApplication::translate("FaxStatus", "发送失败"), QStringLiteral("Send failed"));
        QCOMPARE(AppSettings::userConfig()->value(AppSettings::KEY_LANGUAGE), chosen);
        // And back to Chinese from the same kind of dialog.
        SelectLanguageDialog again;
        QCOMPARE(TestSupport::find<QComboBox>(&again, "combo_language")->currentIndex(), 0);
        TestSupport::find<QComboBox>(&again, "combo_language")->setCurrentIndex(1);
        again.accept();
        deliverLanguageChange();
        QCOMPARE(QCoreApplication::translate("FaxStatus", "发送失败"), QStringLiteral("发送失败"));
        QCOMPARE(login->text(), QStringLiteral("登录"));
    }
};

// The real program started more than once by one user: only the first keeps running.
class TestSingleInstance : public QObject
{
    Q_OBJECT

    QString m_home;
    QList<QProcess*> m_started;

    // The test's own home (see initTestCase), with the program's log lines on.
    static QProcessEnvironment environment()
    {
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        env.insert("QT_LOGGING_RULES", "default.info=true");
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
                    QDir(m_home + "/.runtime").entryList({"velkor-*"}, QDir::System | QDir::Files);
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
        m_home = TestSupport::freshHome();
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

VELKOR_TESTS_MAIN(TestLogin, TestSingleInstance)
#include "TestApp.moc"

#include "DatabaseManager.h"
#include "LoginWindow.h"
#include "SelectLanguageDialog.h"
#include "TestSupport.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QStackedWidget>
#include <QTranslator>

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

// Language changes reach every open page of the login window at once.
class TestLanguageSwitch : public QObject
{
    Q_OBJECT

    // The application posts the change to each window; the event loop delivers it.
    static void deliverLanguageChange() { QCoreApplication::sendPostedEvents(nullptr, QEvent::LanguageChange); }

private slots:
    void init()
    {
        TestSupport::freshHome();
        DatabaseManager db;
        db.createTables();
    }

    void cleanup()
    {
        for (QWidget* w : QApplication::topLevelWidgets())
            w->close();
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
        SelectLanguageDialog::switchLanguage(1);
    }

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
        QCOMPARE(dialog->windowTitle(), QStringLiteral("程序语言"));
        auto* combo = TestSupport::find<QComboBox>(dialog, "combo_language");
        QCOMPARE(combo->count(), 2);
        QCOMPARE(combo->itemText(0), QStringLiteral("English"));
        QCOMPARE(combo->itemText(1), QStringLiteral("Chinese(Simplified)"));
        QCOMPARE(combo->currentIndex(), 1); // opens on the language shown: Chinese

        // English from the embedded translation: a text of the program now reads in English.
        combo->setCurrentIndex(0);
        dialog->accept();
        deliverLanguageChange();
        QCOMPARE(QCoreApplication::translate("FaxStatus", "发送失败"), QStringLiteral("Send failed"));
        auto* login = TestSupport::find<QPushButton>(window, "button_login");
        QCOMPARE(login->text(), QCoreApplication::translate("LoginWidget", "登录"));

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

VELKOR_TEST_MAIN(TestLanguageSwitch)
#include "TestLanguageSwitch.moc"

#include "DatabaseManager.h"
#include "LoginWindow.h"
#include "SelectLanguageDialog.h"
#include "TestSupport.h"

#include <QComboBox>
#include <QPushButton>

// The language chosen is the one the next start opens in, login window included.
class TestLanguageMemory : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        TestSupport::freshHome();
        DatabaseManager().createTables();
    }
    void cleanup() { SelectLanguageDialog::switchLanguage(1); }

    void nextStartOpensInTheChosenLanguage_data()
    {
        QTest::addColumn<int>("chosen"); // -1: never chosen
        QTest::addColumn<QString>("login");
        QTest::newRow("first start") << -1 << QStringLiteral("登录");
        QTest::newRow("English") << 0 << QStringLiteral("Log In");
        QTest::newRow("Chinese") << 1 << QStringLiteral("登录");
    }
    void nextStartOpensInTheChosenLanguage()
    {
        QFETCH(int, chosen);
        QFETCH(QString, login);
        if (chosen >= 0) {
            SelectLanguageDialog dialog;
            TestSupport::find<QComboBox>(&dialog, "combo_language")->setCurrentIndex(chosen);
            dialog.accept();
        }
        // As after a restart: the running translation is gone, only the stored choice is left.
        SelectLanguageDialog::switchLanguage(chosen == 0 ? 1 : 0);
        SelectLanguageDialog::applySavedLanguage();
        LoginWindow window;
        QCOMPARE(TestSupport::find<QPushButton>(&window, "button_login")->text(), login);
    }
};

VELKOR_TEST_MAIN(TestLanguageMemory)
#include "TestLanguageMemory.moc"

#include "CreateLocalAccountWidget.h"
#include "DatabaseManager.h"
#include "MessageBoxUtil.h"
#include "TestSupport.h"

#include <QLineEdit>
#include <QPushButton>

// A local account needs a name.
class TestAccountName : public QObject
{
    Q_OBJECT

private slots:
    void init() { TestSupport::freshHome(); TestSupport::loginTestUser(); }

    void blankNameIsRefused_data()
    {
        QTest::addColumn<QString>("nickname");
        QTest::newRow("empty") << QString();
        QTest::newRow("spaces") << QStringLiteral("   ");
    }
    void blankNameIsRefused()
    {
        QFETCH(QString, nickname);
        CreateLocalAccountWidget page;
        page.show();
        int created = 0;
        connect(&page, &CreateLocalAccountWidget::showCreateUserNickname, [&](QString&) { ++created; });
        TestSupport::find<QLineEdit>(&page, "edit_nickname")->setText(nickname);
        TestSupport::find<QLineEdit>(&page, "edit_password")->setText("pw");
        TestSupport::find<QLineEdit>(&page, "edit_confirm_password")->setText("pw");
        QTest::mouseClick(TestSupport::find<QPushButton>(&page, "button_confirm"), Qt::LeftButton);
        QCOMPARE(MessageBoxUtil::takeShown().value(0).kind, QStringLiteral("warning"));
        QCOMPARE(created, 0);
        QCOMPARE(DatabaseManager().queryUserByNickname(nickname).id, 0);
    }
};

VELKOR_TEST_MAIN(TestAccountName)
#include "TestAccountName.moc"

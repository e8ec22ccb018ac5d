#include "AddContactDialog.h"
#include "ContactTestData.h"
#include "ContactCsv.h"
#include "ContactWindow.h"
#include "DialogUtil.h"
#include "MessageBoxUtil.h"
#include "TestSupport.h"

#include <QAction>
#include <QFile>
#include <QLineEdit>
#include <QPushButton>

using namespace ContactTestData;

// The address book says what it did and refuses what would be lost.
class TestContactFeedback : public QObject
{
    Q_OBJECT

    QString m_home;

private slots:
    void init() { m_home = TestSupport::freshHome(); TestSupport::loginTestUser(); }

    void importNamesTheLinesItSkipped()
    {
        const QString path = m_home + "/in.csv";
        QFile file(path);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write((ContactCsv::header() + "\n"
                    "A,B,One,,,,,,,100,,,,,,\n"
                    "too,short\n"
                    "\n"
                    ",,Two,,,,,,,200,,,,,,\"two\nlines\"\n"
                    "A,B,C\n").toUtf8());
        file.close();
        ContactWindow window;
        window.show();
        DialogUtil::queueAnswer(path);
        TestSupport::find<QAction>(&window, "action_csv_import")->trigger();
        const auto shown = MessageBoxUtil::takeShown();
        QCOMPARE(shown.size(), 1);
        QCOMPARE(shown[0].kind, QStringLiteral("info"));
        QCOMPARE(shown[0].text, QStringLiteral("已导入联系人：2\n以下行的字段不足 16 个，已跳过：3, 7"));
        QCOMPARE(DatabaseManager().queryContacts().size(), 2);
    }

    void deletingAsksFirst()
    {
        addContact(QStringLiteral("张三"), QString(), QStringLiteral("111"), 0);
        ContactWindow window;
        window.show();
        auto* table = TestSupport::find<QTableWidget>(&window, "tableWidget");
        clickRow(table, 0);
        MessageBoxUtil::setNextAnswer(QMessageBox::No);
        click(TestSupport::find<QPushButton>(&window, "button_delete"));
        QCOMPARE(MessageBoxUtil::takeShown().value(0).kind, QStringLiteral("question"));
        QCOMPARE(table->rowCount(), 1);
        QCOMPARE(DatabaseManager().queryContacts().size(), 1);
    }

    void contactWithoutNameOrNumberIsRefused()
    {
        Contact fresh;
        AddContactDialog dialog(fresh);
        dialog.show();
        int added = 0;
        connect(&dialog, &AddContactDialog::addContactSuccess, [&](Contact&) { ++added; });
        typeInto(TestSupport::find<QLineEdit>(&dialog, "edit_email"), QStringLiteral("a@b.c"));
        click(TestSupport::find<QPushButton>(&dialog, "button_save"));
        QCOMPARE(MessageBoxUtil::takeShown().value(0).kind, QStringLiteral("warning"));
        QCOMPARE(added, 0);
        QVERIFY(dialog.isVisible());
        QCOMPARE(DatabaseManager().queryContacts().size(), 0);
    }
};

VELKOR_TEST_MAIN(TestContactFeedback)
#include "TestContactFeedback.moc"

#include "ContactTestData.h"
#include "ContactTypeDialog.h"
#include "DatabaseManager.h"
#include "DialogUtil.h"
#include "MessageBoxUtil.h"
#include "TestSupport.h"

#include <QListWidget>
#include <QPushButton>

using namespace ContactTestData;

class TestContactTypeDialog : public QObject
{
    Q_OBJECT

    static QStringList storedNames()
    {
        QStringList names;
        DatabaseManager db;
        for (const ContactType& type : db.queryContactTypes())
            names << type.name;
        return names;
    }

    static QStringList listed(QListWidget* list)
    {
        QStringList names;
        for (int row = 0; row < list->count(); ++row)
            names << list->item(row)->text();
        return names;
    }

private slots:
    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
    }

    void addAndRenameRefuseTakenNames()
    {
        addType(QStringLiteral("客户"));
        ContactTypeDialog dialog;
        dialog.show();
        auto* list = TestSupport::find<QListWidget>(&dialog, "listWidget");
        auto* buttonNew = TestSupport::find<QPushButton>(&dialog, "button_new");
        auto* buttonRename = TestSupport::find<QPushButton>(&dialog, "button_rename");
        QList<ContactType> added, renamed;
        connect(&dialog, &ContactTypeDialog::addContactTypeSuccess, [&](ContactType& t) { added << t; });
        connect(&dialog, &ContactTypeDialog::updateContactTypeNameSuccess, [&](ContactType& t) { renamed << t; });
        QCOMPARE(listed(list), QStringList { "客户" });

        DialogUtil::queueAnswer(QStringLiteral("O'Neil's \"组\""));
        click(buttonNew);
        QCOMPARE(added.count(), 1);
        QVERIFY(added.first().id > 0);
        QCOMPARE(listed(list), (QStringList { "客户", "O'Neil's \"组\"" }));
        QCOMPARE(storedNames(), listed(list));
        QVERIFY(MessageBoxUtil::takeShown().isEmpty());

        // Taken names are refused, the quoted one included.
        for (const QString& taken : { QStringLiteral("客户"), QStringLiteral("O'Neil's \"组\"") }) {
            DialogUtil::queueAnswer(taken);
            click(buttonNew);
            const auto boxes = MessageBoxUtil::takeShown();
            QCOMPARE(boxes.size(), 1);
            QCOMPARE(boxes.first().kind, QStringLiteral("critical"));
            QCOMPARE(boxes.first().title, QStringLiteral("Velkor"));
            QCOMPARE(boxes.first().text, QStringLiteral("同名类别已经存在"));
        }
        QCOMPARE(added.count(), 1);
        QCOMPARE(storedNames().size(), 2);

        // Cancelling or giving a blank name does nothing.
        DialogUtil::queueCancel();
        click(buttonNew);
        DialogUtil::queueAnswer(QStringLiteral("   "));
        click(buttonNew);
        QCOMPARE(storedNames().size(), 2);
        QVERIFY(MessageBoxUtil::takeShown().isEmpty());

        // Renaming onto another category's name is refused as well.
        list->setCurrentRow(1);
        DialogUtil::queueAnswer(QStringLiteral("客户"));
        click(buttonRename);
        QCOMPARE(MessageBoxUtil::takeShown().size(), 1);
        QCOMPARE(storedNames(), (QStringList { "客户", "O'Neil's \"组\"" }));
        QCOMPARE(renamed.count(), 0);

        DialogUtil::queueAnswer(QStringLiteral("合作伙伴"));
        click(buttonRename);
        QCOMPARE(renamed.count(), 1);
        QCOMPARE(renamed.first().name, QStringLiteral("合作伙伴"));
        QCOMPARE(storedNames(), (QStringList { "客户", "合作伙伴" }));
        QCOMPARE(listed(list), storedNames());

        // A double click renames too.
        DialogUtil::queueAnswer(QStringLiteral("老客户"));
        const QPoint first = list->visualItemRect(list->item(0)).center();
        QTest::mouseClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, first);
        QTest::mouseDClick(list->viewport(), Qt::LeftButton, Qt::NoModifier, first);
        QCOMPARE(renamed.count(), 2);
        QCOMPARE(storedNames(), (QStringList { "老客户", "合作伙伴" }));
        QCOMPARE(DialogUtil::pendingAnswers(), 0);
    }

    void deleteRefusedWhileContactsInside()
    {
        const int full = addType(QStringLiteral("客户"));
        addType(QStringLiteral("空"));
        Contact inside = addContact(QStringLiteral("张三"), QString(), QStringLiteral("111"), full);

        ContactTypeDialog dialog;
        dialog.show();
        auto* list = TestSupport::find<QListWidget>(&dialog, "listWidget");
        auto* buttonDelete = TestSupport::find<QPushButton>(&dialog, "button_delete");
        QList<ContactType> deleted;
        connect(&dialog, &ContactTypeDialog::deleteContactTypeSuccess, [&](ContactType& t) { deleted << t; });

        list->setCurrentRow(0);
        click(buttonDelete);
        const auto boxes = MessageBoxUtil::takeShown();
        QCOMPARE(boxes.size(), 1);
        QCOMPARE(boxes.first().title, QStringLiteral("Velkor"));
        QCOMPARE(boxes.first().text, QStringLiteral("分组内有联系人，无法删除分组"));
        QCOMPARE(storedNames(), (QStringList { "客户", "空" }));
        QCOMPARE(deleted.count(), 0);

        list->setCurrentRow(1);
        click(buttonDelete);
        QCOMPARE(deleted.count(), 1);
        QCOMPARE(deleted.first().name, QStringLiteral("空"));
        QCOMPARE(listed(list), QStringList { "客户" });
        QCOMPARE(storedNames(), QStringList { "客户" });

        // Once its last contact has gone, the category can go too.
        DatabaseManager db;
        QVERIFY(db.deleteContact(inside));
        list->setCurrentRow(0);
        click(buttonDelete);
        QVERIFY(MessageBoxUtil::takeShown().isEmpty());
        QVERIFY(storedNames().isEmpty());
        QCOMPARE(list->count(), 0);
    }
};

VELKOR_TEST_MAIN(TestContactTypeDialog)
#include "TestContactTypeDialog.moc"

#include "AddContactDialog.h"
#include "ContactTestData.h"
#include "ContactTypeDialog.h"
#include "ContactWindow.h"
#include "DatabaseManager.h"
#include "DialogUtil.h"
#include "MessageBoxUtil.h"
#include "TestSupport.h"

#include <QComboBox>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>

using namespace ContactTestData;

class TestContactWindow : public QObject
{
    Q_OBJECT

    int m_customers = 0;
    int m_suppliers = 0;

    static QStringList items(QComboBox* combo)
    {
        QStringList texts;
        for (int i = 0; i < combo->count(); ++i)
            texts << combo->itemText(i);
        return texts;
    }

private slots:
    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        m_customers = addType(QStringLiteral("客户"));
        m_suppliers = addType(QStringLiteral("供应商"));
        addContact(QStringLiteral("张三"), QStringLiteral("ACME"), QStringLiteral("111"), m_customers);
        addContact(QStringLiteral("李四"), QStringLiteral("Beta"), QStringLiteral("222"), m_customers);
        addContact(QStringLiteral("王五"), QStringLiteral("ACME"), QStringLiteral("333"), m_suppliers);
        Contact houseOnly;
        houseOnly.represented = QStringLiteral("赵六");
        houseOnly.houseFax = QStringLiteral("444");
        houseOnly.otherFax = QStringLiteral("555");
        DatabaseManager db;
        QVERIFY(db.addContact(houseOnly));
    }

    void filtersByCategoryAndSearchesWithinIt()
    {
        ContactWindow window;
        window.show();
        QCOMPARE(window.windowTitle(), QStringLiteral("通讯薄"));
        auto* table = TestSupport::find<QTableWidget>(&window, "tableWidget");
        auto* filter = TestSupport::find<QComboBox>(&window, "combo_contact_type1");
        auto* search = TestSupport::find<QLineEdit>(&window, "lineEdit");
        QCOMPARE(items(filter), (QStringList { "全部联系人", "客户", "供应商" }));
        QCOMPARE(
            items(TestSupport::find<QComboBox>(&window, "combo_contact_type2")), (QStringList { "客户", "供应商" }));

        QCOMPARE(column(table, 1), (QStringList { "张三", "李四", "王五", "赵六" }));
        QCOMPARE(column(table, 0), (QStringList { "客户", "客户", "供应商", "" }));
        QCOMPARE(column(table, 2), (QStringList { "ACME", "Beta", "ACME", "" }));
        QCOMPARE(column(table, 3), (QStringList { "111", "222", "333", "444" })); // house fax stands in

        filter->setCurrentIndex(1);
        QCOMPARE(column(table, 1), (QStringList { "张三", "李四" }));
        typeInto(search, QStringLiteral("ACME"));
        QCOMPARE(column(table, 1), QStringList { "张三" }); // 王五 is ACME too, but a supplier
        search->clear();
        typeInto(search, QStringLiteral("acme"));
        QCOMPARE(column(table, 1), QStringList { "张三" }); // the search ignores case
        search->clear();
        QCOMPARE(column(table, 1), (QStringList { "张三", "李四" }));

        // The search stays in force when the category changes; it also looks at fax numbers.
        typeInto(search, QStringLiteral("ACME"));
        filter->setCurrentIndex(0);
        QCOMPARE(column(table, 1), (QStringList { "张三", "王五" }));
        search->clear();
        typeInto(search, QStringLiteral("33"));
        QCOMPARE(column(table, 1), QStringList { "王五" });
        search->clear();
        typeInto(search, QStringLiteral("四"));
        QCOMPARE(column(table, 1), QStringList { "李四" });
    }

    void movesAndDeletesContacts()
    {
        ContactWindow window;
        window.show();
        auto* table = TestSupport::find<QTableWidget>(&window, "tableWidget");
        auto* target = TestSupport::find<QComboBox>(&window, "combo_contact_type2");
        auto* move = TestSupport::find<QPushButton>(&window, "button_move");
        QCOMPARE(move->text(), QStringLiteral("移动到->"));

        clickRow(table, 0); // 张三, a customer
        target->setCurrentIndex(1);
        click(move);
        QCOMPARE(cell(table, 0, 0), QStringLiteral("供应商"));
        DatabaseManager db;
        QCOMPARE(db.queryContacts(m_suppliers).size(), 2);
        QCOMPARE(db.queryContacts(m_customers).size(), 1);

        // An uncategorised contact can be given a category.
        clickRow(table, 3);
        target->setCurrentIndex(0);
        click(move);
        QCOMPARE(cell(table, 3, 0), QStringLiteral("客户"));
        QCOMPARE(db.queryContacts(m_customers).size(), 2);

        clickRow(table, 1); // 李四
        MessageBoxUtil::setNextAnswer(QMessageBox::Yes);
        click(TestSupport::find<QPushButton>(&window, "button_delete"));
        QCOMPARE(column(table, 1), (QStringList { "张三", "王五", "赵六" }));
        QCOMPARE(db.queryContacts().size(), 3);
        // The search still sees only what is left.
        typeInto(TestSupport::find<QLineEdit>(&window, "lineEdit"), QStringLiteral("李"));
        QCOMPARE(table->rowCount(), 0);
    }

    void categoryChangesReachTheWindow()
    {
        ContactWindow window;
        window.show();
        auto* table = TestSupport::find<QTableWidget>(&window, "tableWidget");
        auto* filter = TestSupport::find<QComboBox>(&window, "combo_contact_type1");
        auto* target = TestSupport::find<QComboBox>(&window, "combo_contact_type2");

        click(TestSupport::find<QPushButton>(&window, "button_edit_type"));
        auto* dialog = openedDialog<ContactTypeDialog>(&window);
        QVERIFY(dialog);
        auto* list = TestSupport::find<QListWidget>(dialog, "listWidget");
        auto* remove = TestSupport::find<QPushButton>(dialog, "button_delete");

        DialogUtil::queueAnswer(QStringLiteral("Suppliers, \"intl\""));
        list->setCurrentRow(1);
        click(TestSupport::find<QPushButton>(dialog, "button_rename"));
        QCOMPARE(items(filter), (QStringList { "全部联系人", "客户", "Suppliers, \"intl\"" }));
        QCOMPARE(items(target), (QStringList { "客户", "Suppliers, \"intl\"" }));
        QCOMPARE(cell(table, 2, 0), QStringLiteral("Suppliers, \"intl\""));

        DialogUtil::queueAnswer(QStringLiteral("同事"));
        click(TestSupport::find<QPushButton>(dialog, "button_new"));
        QCOMPARE(items(target), (QStringList { "客户", "Suppliers, \"intl\"", "同事" }));

        // The customers hold two contacts: refused until both have moved away.
        list->setCurrentRow(0);
        click(remove);
        QCOMPARE(MessageBoxUtil::takeShown().size(), 1);
        filter->setCurrentIndex(1);
        target->setCurrentIndex(2);
        for (int i = 0; i < 2; ++i) {
            clickRow(table, i);
            click(TestSupport::find<QPushButton>(&window, "button_move"));
        }
        QCOMPARE(column(table, 0), (QStringList { "同事", "同事" }));
        list->setCurrentRow(0);
        click(remove);
        QVERIFY(MessageBoxUtil::takeShown().isEmpty());
        // The view of the deleted category falls back to another.
        QCOMPARE(items(filter), (QStringList { "全部联系人", "Suppliers, \"intl\"", "同事" }));
        QCOMPARE(items(target), (QStringList { "Suppliers, \"intl\"", "同事" }));
        QCOMPARE(filter->currentIndex(), 1);
        QCOMPARE(column(table, 1), QStringList { "王五" });
    }

    void newAndModifyGoThroughTheEntryDialog()
    {
        ContactWindow window;
        window.show();
        auto* table = TestSupport::find<QTableWidget>(&window, "tableWidget");
        TestSupport::find<QComboBox>(&window, "combo_contact_type1")->setCurrentIndex(2);
        QCOMPARE(table->rowCount(), 1);

        click(TestSupport::find<QPushButton>(&window, "button_new"));
        auto* dialog = openedDialog<AddContactDialog>(&window);
        QVERIFY(dialog);
        // A contact made while a category is shown starts in it.
        QCOMPARE(TestSupport::find<QComboBox>(dialog, "combo_contact_type")->currentText(), QStringLiteral("供应商"));
        const Contact tricky = trickyContact();
        TestSupport::find<QLineEdit>(dialog, "edit_company")->setText(tricky.company);
        TestSupport::find<QLineEdit>(dialog, "edit_email")->setText(tricky.email);
        TestSupport::find<QLineEdit>(dialog, "edit_otherFax")->setText(tricky.businessFax);
        TestSupport::find<QComboBox>(dialog, "combo_represented")->setEditText(tricky.represented);
        click(TestSupport::find<QPushButton>(dialog, "button_save"));
        QCOMPARE(table->rowCount(), 2);
        QCOMPARE(cell(table, 1, 0), QStringLiteral("供应商"));
        QCOMPARE(cell(table, 1, 1), tricky.represented);
        QCOMPARE(cell(table, 1, 2), tricky.company);
        QCOMPARE(cell(table, 1, 3), tricky.businessFax);
        QCOMPARE(cell(table, 1, 4), tricky.email);

        doubleClickRow(table, 1);
        dialog = openedDialog<AddContactDialog>(&window);
        QVERIFY(dialog);
        QCOMPARE(TestSupport::find<QComboBox>(dialog, "combo_represented")->currentText(), tricky.represented);
        TestSupport::find<QLineEdit>(dialog, "edit_businessFax")->setText(QStringLiteral("777"));
        click(TestSupport::find<QPushButton>(dialog, "button_save"));
        QCOMPARE(table->rowCount(), 2);
        QCOMPARE(cell(table, 1, 3), QStringLiteral("777"));

        clickRow(table, 0);
        click(TestSupport::find<QPushButton>(&window, "button_modify"));
        dialog = openedDialog<AddContactDialog>(&window);
        QVERIFY(dialog);
        QCOMPARE(TestSupport::find<QLineEdit>(dialog, "edit_businessFax")->text(), QStringLiteral("333"));
        click(TestSupport::find<QPushButton>(dialog, "button_cancel"));
        QCOMPARE(cell(table, 0, 1), QStringLiteral("王五"));

        DatabaseManager db;
        QCOMPARE(db.queryContacts(m_suppliers).size(), 2);
        QCOMPARE(db.queryContacts().size(), 5);
    }
};

VELKOR_TEST_MAIN(TestContactWindow)
#include "TestContactWindow.moc"

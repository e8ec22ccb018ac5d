#include "ContactTestData.h"
#include "SelectContactDialog.h"
#include "TestSupport.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QSet>

using namespace ContactTestData;

class TestSelectContactDialog : public QObject
{
    Q_OBJECT

    QStringList m_all;

    // Every contact stands in exactly one of the two tables.
    static void checkOnce(QTableWidget* left, QTableWidget* right, const QStringList& all)
    {
        const QStringList l = column(left, 0), r = column(right, 0);
        QCOMPARE(QSet<QString>(l.begin(), l.end()).size(), l.size());
        QCOMPARE(QSet<QString>(r.begin(), r.end()).size(), r.size());
        QVERIFY(!QSet<QString>(l.begin(), l.end()).intersects(QSet<QString>(r.begin(), r.end())));
        QStringList both = l + r;
        both.sort();
        QStringList expected = all;
        expected.sort();
        QCOMPARE(both, expected);
    }

private slots:
    void init()
    {
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        const int customers = addType(QStringLiteral("客户"));
        addContact(QStringLiteral("张三"), QStringLiteral("ACME"), QStringLiteral("111"), customers);
        addContact(QStringLiteral("李四"), QStringLiteral("Beta"), QStringLiteral("222"), customers);
        addContact(QStringLiteral("王五"), QStringLiteral("ACME"), QStringLiteral("333"), 0);
        addContact(QStringLiteral("O'Hara, \"Kim\""), QStringLiteral("Gamma"), QStringLiteral("444"), 0);
        addContact(QStringLiteral("赵六"), QStringLiteral("Delta"), QStringLiteral("555"), customers);
        m_all = QStringList { "张三", "李四", "王五", "O'Hara, \"Kim\"", "赵六" };
    }

    void movesKeepEachContactInOneTable()
    {
        SelectContactDialog dialog;
        dialog.show();
        QCOMPARE(dialog.windowTitle(), QStringLiteral("选择收件人"));
        auto* left = TestSupport::find<QTableWidget>(&dialog, "tableWidget");
        auto* right = TestSupport::find<QTableWidget>(&dialog, "tableWidget_selected");
        auto* select = TestSupport::find<QPushButton>(&dialog, "button_selected");
        auto* unselect = TestSupport::find<QPushButton>(&dialog, "button_noselected");
        QCOMPARE(column(left, 0), m_all);
        QCOMPARE(column(left, 1), (QStringList { "111", "222", "333", "444", "555" }));
        QCOMPARE(right->rowCount(), 0);

        clickRow(left, 1);
        clickRow(left, 3, Qt::ControlModifier);
        click(select);
        QCOMPARE(column(right, 0), (QStringList { "李四", "O'Hara, \"Kim\"" }));
        QCOMPARE(column(left, 0), (QStringList { "张三", "王五", "赵六" }));
        checkOnce(left, right, m_all);

        // Pressing ">" with nothing chosen moves nothing.
        left->clearSelection();
        click(select);
        QCOMPARE(right->rowCount(), 2);

        clickRow(right, 0);
        click(unselect);
        QCOMPARE(column(right, 0), QStringList { "O'Hara, \"Kim\"" });
        QCOMPARE(column(left, 0), (QStringList { "张三", "王五", "赵六", "李四" }));
        checkOnce(left, right, m_all);

        doubleClickRow(left, 0);
        QCOMPARE(column(right, 0), (QStringList { "O'Hara, \"Kim\"", "张三" }));
        checkOnce(left, right, m_all);
        doubleClickRow(right, 0);
        QCOMPARE(column(right, 0), QStringList { "张三" });
        checkOnce(left, right, m_all);

        click(TestSupport::find<QPushButton>(&dialog, "button_all_selected"));
        QCOMPARE(left->rowCount(), 0);
        QCOMPARE(right->rowCount(), 5);
        checkOnce(left, right, m_all);

        click(TestSupport::find<QPushButton>(&dialog, "button_all_noseleected"));
        QCOMPARE(right->rowCount(), 0);
        checkOnce(left, right, m_all);
    }

    void categoryAndSearchNeverShowChosenContacts()
    {
        SelectContactDialog dialog;
        dialog.show();
        auto* left = TestSupport::find<QTableWidget>(&dialog, "tableWidget");
        auto* right = TestSupport::find<QTableWidget>(&dialog, "tableWidget_selected");
        auto* category = TestSupport::find<QComboBox>(&dialog, "combo_contact_type");
        auto* search = TestSupport::find<QLineEdit>(&dialog, "lineEdit");
        QCOMPARE(category->itemText(0), QStringLiteral("全部联系人"));

        category->setCurrentIndex(1);
        QCOMPARE(column(left, 0), (QStringList { "张三", "李四", "赵六" }));
        doubleClickRow(left, 0);
        typeInto(search, QStringLiteral("ACME"));
        QCOMPARE(left->rowCount(), 0); // 张三 is chosen, 王五 is no customer
        category->setCurrentIndex(0);
        QCOMPARE(column(left, 0), QStringList { "王五" });
        search->clear();
        QCOMPARE(column(left, 0), (QStringList { "李四", "王五", "O'Hara, \"Kim\"", "赵六" }));
        QCOMPARE(column(right, 0), QStringList { "张三" });
        checkOnce(left, right, m_all);
    }

    void okHandsOverTheRightTable()
    {
        SelectContactDialog dialog;
        dialog.show();
        auto* left = TestSupport::find<QTableWidget>(&dialog, "tableWidget");
        QList<QList<Contact>> results;
        connect(&dialog, &SelectContactDialog::returnSelectContactList, [&](QList<Contact>& list) { results << list; });

        doubleClickRow(left, 3);
        doubleClickRow(left, 0);
        click(TestSupport::find<QPushButton>(&dialog, "button_ok"));
        QCOMPARE(results.size(), 1);
        QCOMPARE(results.first().size(), 2);
        QCOMPARE(results.first().at(0).represented, QStringLiteral("O'Hara, \"Kim\""));
        QCOMPARE(results.first().at(0).businessFax, QStringLiteral("444"));
        QCOMPARE(results.first().at(1).represented, QStringLiteral("张三"));
        QVERIFY(!dialog.isVisible());

        SelectContactDialog cancelled;
        connect(
            &cancelled, &SelectContactDialog::returnSelectContactList, [&](QList<Contact>& list) { results << list; });
        cancelled.show();
        doubleClickRow(TestSupport::find<QTableWidget>(&cancelled, "tableWidget"), 0);
        click(TestSupport::find<QPushButton>(&cancelled, "button_cancel"));
        QCOMPARE(results.size(), 1);
        QVERIFY(!cancelled.isVisible());
    }
};

VELKOR_TEST_MAIN(TestSelectContactDialog)
#include "TestSelectContactDialog.moc"

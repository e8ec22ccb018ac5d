#include "AddContactDialog.h"
#include "Contact.h"
#include "ContactCsv.h"
#include "ContactTypeDialog.h"
#include "ContactWindow.h"
#include "DatabaseManager.h"
#include "DialogUtil.h"
#include "MessageBoxUtil.h"
#include "SelectContactDialog.h"
#include "UiTestSupport.h"

#include <QAbstractButton>
#include <QAction>
#include <QComboBox>
#include <QCoreApplication>
#include <QDir>
#include <QEvent>
#include <QFile>
#include <QKeyEvent>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSet>
#include <QTableWidget>
#include <QTest>

using namespace TestSupport;

// Seeding the store and working the real widgets.
namespace {

inline int addType(const QString& name)
{
    ContactType type;
    type.name = name;
    DatabaseManager db;
    if (!db.addContactType(type))
        QTest::qFail("could not store category", __FILE__, __LINE__);
    return type.id;
}

inline Contact addContact(const QString& represented, const QString& company, const QString& businessFax, int typeId)
{
    Contact c;
    c.represented = represented;
    c.company = company;
    c.businessFax = businessFax;
    c.contact_type_id = typeId;
    DatabaseManager db;
    if (!db.addContact(c))
        QTest::qFail("could not store contact", __FILE__, __LINE__);
    return c;
}

// Every field holds something a naive writer or reader would damage.
inline Contact trickyContact()
{
    Contact c;
    c.lastName = QStringLiteral("O'Brien");
    c.firstName = QStringLiteral("\"Bob\"");
    c.represented = QStringLiteral("O'Brien, \"Bob\" 张三");
    c.company = QStringLiteral("ACME, Inc.");
    c.department = QStringLiteral("R&D; 研发部");
    c.job = QStringLiteral("Chef \"de\" cuisine");
    c.businessFax = QStringLiteral("+86 (10) 1234,5678");
    c.houseFax = QStringLiteral("010'555");
    c.otherFax = QStringLiteral("\"\"");
    c.businessNumber = QStringLiteral("1,2,3");
    c.houseNumber = QStringLiteral("Ünïcødé ☎");
    c.mobile = QStringLiteral(",");
    c.code = QStringLiteral("100'000");
    c.address = QStringLiteral("北京市, 朝阳区 \"A\" 座");
    c.email = QStringLiteral("bob@example.com");
    c.remark = QStringLiteral("last, \"field\",");
    return c;
}

inline QStringList allFields(const Contact& c)
{
    return { c.firstName, c.lastName, c.represented, c.company, c.department, c.job, c.businessFax, c.houseFax,
        c.otherFax, c.businessNumber, c.houseNumber, c.mobile, c.code, c.address, c.email, c.remark };
}

inline QStringList items(QComboBox* combo)
{
    QStringList texts;
    for (int i = 0; i < combo->count(); ++i)
        texts << combo->itemText(i);
    return texts;
}

inline void click(QAbstractButton* button)
{
    if (button)
        QTest::mouseClick(button, Qt::LeftButton);
}

inline void clickRow(QTableWidget* table, int row, Qt::KeyboardModifiers modifiers = Qt::NoModifier)
{
    QTest::mouseClick(
        table->viewport(), Qt::LeftButton, modifiers, table->visualItemRect(table->item(row, 0)).center());
}

inline void doubleClickRow(QTableWidget* table, int row)
{
    const QPoint at = table->visualItemRect(table->item(row, 0)).center();
    QTest::mouseClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, at);
    QTest::mouseDClick(table->viewport(), Qt::LeftButton, Qt::NoModifier, at);
}

// The dialog of type T that a window has just opened (closed ones are gone first).
template <typename T> T* openedDialog(QObject* parent)
{
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    const QList<T*> dialogs = parent->findChildren<T*>();
    for (T* dialog : dialogs) {
        if (dialog->isVisible())
            return dialog;
    }
    QTest::qFail("no open dialog", __FILE__, __LINE__);
    return nullptr;
}

const QByteArray bom("\xEF\xBB\xBF");
const QByteArray headerLine
    = QStringLiteral("姓氏,名字,显示为,公司,部门,职务,地址,邮编,家庭传真,商务传真,其他传真,家庭电话,"
                     "商务电话,手机,电邮,备注\n")
          .toUtf8();

QByteArray readAll(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return QByteArray();
    return file.readAll();
}

void writeFile(const QString& path, const QByteArray& bytes)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}
} // namespace

class TestContactDialogs : public QObject
{
    Q_OBJECT

    // Puts every field of the contact into the form, as a user would.
    static void type(AddContactDialog& dialog, const Contact& c)
    {
        const QList<QPair<const char*, QString>> edits = { { "edit_lastName", c.lastName },
            { "edit_firstName", c.firstName }, { "edit_company", c.company }, { "edit_department", c.department },
            { "edit_job", c.job }, { "edit_businessFax", c.businessFax }, { "edit_houseFax", c.houseFax },
            { "edit_otherFax", c.otherFax }, { "edit_businessNumber", c.businessNumber },
            { "edit_houseNumber", c.houseNumber }, { "edit_mobile", c.mobile }, { "edit_code", c.code },
            { "edit_email", c.email }, { "edit_address", c.address }, { "edit_remark", c.remark } };
        for (const auto& edit : edits) {
            auto* line = TestSupport::find<QLineEdit>(&dialog, edit.first);
            line->clear();
            typeInto(line, edit.second);
        }
        TestSupport::find<QComboBox>(&dialog, "combo_represented")->setEditText(c.represented);
    }

    QString m_home;

    void exportFrom(ContactWindow& window, const QString& path)
    {
        DialogUtil::queueAnswer(path);
        TestSupport::find<QAction>(&window, "action_csv_export")->trigger();
        QCOMPARE(DialogUtil::pendingAnswers(), 0);
    }

    void importInto(ContactWindow& window, const QString& path)
    {
        DialogUtil::queueAnswer(path);
        TestSupport::find<QAction>(&window, "action_csv_import")->trigger();
        QCOMPARE(DialogUtil::pendingAnswers(), 0);
    }
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
        m_home = TestSupport::freshHome();
        TestSupport::loginTestUser();
    }

    void proposesFourDisplayNames()
    {
        Contact empty;
        AddContactDialog dialog(empty);
        auto* combo = TestSupport::find<QComboBox>(&dialog, "combo_represented");
        QVERIFY(combo->isEditable());
        QCOMPARE(combo->count(), 0);

        typeInto(TestSupport::find<QLineEdit>(&dialog, "edit_lastName"), QStringLiteral("张"));
        QCOMPARE(items(combo), QStringList { "张" }); // one name alone gives one proposal
        typeInto(TestSupport::find<QLineEdit>(&dialog, "edit_firstName"), QStringLiteral("三丰"));
        QCOMPARE(items(combo), (QStringList { "张三丰", "三丰张", "张 三丰", "三丰 张" }));
        QCOMPARE(combo->currentText(), QStringLiteral("张三丰"));

        auto* last = TestSupport::find<QLineEdit>(&dialog, "edit_lastName");
        last->clear();
        typeInto(last, QStringLiteral("Smith"));
        QCOMPARE(items(combo), (QStringList { "Smith三丰", "三丰Smith", "Smith 三丰", "三丰 Smith" }));

        // A name of one's own is what gets stored.
        combo->setCurrentIndex(3);
        combo->setEditText(QStringLiteral("老张, \"掌门\""));
        QList<Contact> added;
        connect(&dialog, &AddContactDialog::addContactSuccess, [&](Contact& c) { added << c; });
        click(TestSupport::find<QPushButton>(&dialog, "button_save"));
        QCOMPARE(added.size(), 1);
        DatabaseManager db;
        QCOMPARE(db.findContact(added.first()).represented, QStringLiteral("老张, \"掌门\""));
    }

    void savesNewThenUpdatesTrickyValues()
    {
        addType(QStringLiteral("客户"));
        const int suppliers = addType(QStringLiteral("供应商"));
        const Contact wanted = trickyContact();

        Contact fresh;
        AddContactDialog dialog(fresh);
        dialog.show();
        type(dialog, wanted);
        auto* category = TestSupport::find<QComboBox>(&dialog, "combo_contact_type");
        QCOMPARE(items(category), (QStringList { "客户", "供应商" }));
        category->setCurrentIndex(1);
        QList<Contact> added, updated;
        connect(&dialog, &AddContactDialog::addContactSuccess, [&](Contact& c) { added << c; });
        connect(&dialog, &AddContactDialog::updateContactSuccess, [&](Contact& c) { updated << c; });
        click(TestSupport::find<QPushButton>(&dialog, "button_save"));
        QCOMPARE(added.size(), 1);
        QCOMPARE(updated.size(), 0);
        QVERIFY(!dialog.isVisible());
        QVERIFY(added.first().id > 0);

        DatabaseManager db;
        Contact stored = db.findContact(added.first());
        QCOMPARE(allFields(stored), allFields(wanted));
        QCOMPARE(stored.contact_type_id, suppliers);

        // Opening by id alone shows the stored entry; saving updates it in place.
        Contact byId;
        byId.id = stored.id;
        AddContactDialog editor(byId);
        connect(&editor, &AddContactDialog::addContactSuccess, [&](Contact& c) { added << c; });
        connect(&editor, &AddContactDialog::updateContactSuccess, [&](Contact& c) { updated << c; });
        QCOMPARE((QStringList{find<QLineEdit>(&editor, "edit_company")->text(), find<QLineEdit>(&editor, "edit_remark")->text(),
                              find<QComboBox>(&editor, "combo_represented")->currentText(),
                              find<QComboBox>(&editor, "combo_contact_type")->currentText()}),
                 (QStringList{wanted.company, wanted.remark, wanted.represented, "供应商"}));
        auto* company = TestSupport::find<QLineEdit>(&editor, "edit_company");
        company->clear();
        typeInto(company, QStringLiteral("Globex 'East'"));
        click(TestSupport::find<QPushButton>(&editor, "button_save"));
        QCOMPARE(added.size(), 1);
        QCOMPARE(updated.size(), 1);
        QCOMPARE(db.queryContacts().size(), 1);
        stored = db.findContact(byId);
        QCOMPARE((QVariantList{stored.company, stored.represented, stored.contact_type_id}),
                 (QVariantList{QStringLiteral("Globex 'East'"), wanted.represented, suppliers}));
    }

    void knownFaxNumberOpensItsEntry()
    {
        const Contact known = addContact(QStringLiteral("李四"), QStringLiteral("Beta"), QStringLiteral("8888"), 0);

        // "Save as contact" from a fax: an id of 0 and the fax's number.
        Contact fromFax;
        fromFax.businessFax = QStringLiteral("8888");
        AddContactDialog dialog(fromFax);
        QCOMPARE(TestSupport::find<QComboBox>(&dialog, "combo_represented")->currentText(), QStringLiteral("李四"));
        QCOMPARE(TestSupport::find<QLineEdit>(&dialog, "edit_company")->text(), QStringLiteral("Beta"));
        // The entry has no category and keeps none.
        QCOMPARE(TestSupport::find<QComboBox>(&dialog, "combo_contact_type")->currentIndex(), -1);
        QList<Contact> added, updated;
        connect(&dialog, &AddContactDialog::addContactSuccess, [&](Contact& c) { added << c; });
        connect(&dialog, &AddContactDialog::updateContactSuccess, [&](Contact& c) { updated << c; });
        click(TestSupport::find<QPushButton>(&dialog, "button_save"));
        QCOMPARE(added.size(), 0);
        QCOMPARE(updated.size(), 1);
        QCOMPARE(updated.first().id, known.id);
        QCOMPARE(updated.first().contact_type_id, 0);

        // An unknown number starts a new entry with the number filled in.
        Contact unknown;
        unknown.businessFax = QStringLiteral("9999");
        AddContactDialog second(unknown);
        connect(&second, &AddContactDialog::addContactSuccess, [&](Contact& c) { added << c; });
        QCOMPARE(TestSupport::find<QLineEdit>(&second, "edit_businessFax")->text(), QStringLiteral("9999"));
        click(TestSupport::find<QPushButton>(&second, "button_cancel"));
        QCOMPARE(added.size(), 0);
        DatabaseManager db;
        QCOMPARE(db.queryContacts().size(), 1);
    }

    // The address book as a file: export and import.
    void exportWithoutSelectionWritesTheHeaderAlone()
    {
        addContact(QStringLiteral("张三"), QStringLiteral("ACME"), QStringLiteral("111"), 0);
        ContactWindow window;
        window.show();
        const QString path = m_home + "/none.csv";
        exportFrom(window, path);
        QCOMPARE(readAll(path), bom + headerLine);

        // A cancelled save dialog writes nothing.
        DialogUtil::queueCancel();
        TestSupport::find<QAction>(&window, "action_csv_export")->trigger();
        QCOMPARE(QDir(m_home).entryList({ "*.csv" }), QStringList { "none.csv" });
    }

    void trickyValuesSurviveExportAndImport()
    {
        const int customers = addType(QStringLiteral("客户"));
        Contact plain;
        plain.lastName = QStringLiteral("王");
        plain.firstName = QStringLiteral("五");
        plain.represented = QStringLiteral("王五");
        plain.businessFax = QStringLiteral("333");
        plain.remark = QStringLiteral("ok");
        plain.contact_type_id = customers;
        Contact tricky = trickyContact();
        Contact unchosen = plain;
        unchosen.represented = QStringLiteral("not exported");
        DatabaseManager db;
        QVERIFY(db.addContact(plain));
        QVERIFY(db.addContact(unchosen));
        QVERIFY(db.addContact(tricky));

        const QString path = m_home + "/联系人.csv";
        {
            ContactWindow window;
            window.show();
            auto* table = TestSupport::find<QTableWidget>(&window, "tableWidget");
            clickRow(table, 2);
            clickRow(table, 0, Qt::ControlModifier);
            exportFrom(window, path);
        }
        const QByteArray bytes = readAll(path);
        QVERIFY(bytes.startsWith(bom + headerLine));
        // A plain contact is one line of sixteen bare fields, in table order.
        const QByteArray plainLine = QStringLiteral("王,五,王五,,,,,,,333,,,,,,ok\n").toUtf8();
        QCOMPARE(bytes.mid(bom.size() + headerLine.size(), plainLine.size()), plainLine);
        QVERIFY(!bytes.contains("not exported"));

        // Into an empty address book: the two come back field for field, without a category.
        TestSupport::freshHome();
        TestSupport::loginTestUser();
        const int other = addType(QStringLiteral("其他"));
        addContact(QStringLiteral("已有"), QString(), QStringLiteral("999"), other);
        ContactWindow window;
        window.show();
        auto* filter = TestSupport::find<QComboBox>(&window, "combo_contact_type1");
        filter->setCurrentIndex(1);
        importInto(window, path);
        QCOMPARE(filter->currentIndex(), 0);
        auto* table = TestSupport::find<QTableWidget>(&window, "tableWidget");
        QCOMPARE(column(table, 1), (QStringList { "已有", "王五", tricky.represented }));
        const QList<Contact> stored = db.queryContacts();
        QCOMPARE(stored.size(), 3);
        QCOMPARE(allFields(stored.at(1)), allFields(plain));
        QCOMPARE(allFields(stored.at(2)), allFields(tricky));
        QCOMPARE(stored.at(1).contact_type_id, 0);
        QCOMPARE(stored.at(2).contact_type_id, 0);

        // Importing again adds the same contacts once more.
        importInto(window, path);
        QCOMPARE(db.queryContacts().size(), 5);
        QCOMPARE(table->rowCount(), 5);
        QCOMPARE(MessageBoxUtil::takeShown().size(), 2); // one report per import
    }

    void malformedLinesAreSkippedAndCounted()
    {
        QByteArray file = bom + headerLine;
        file += "A,B,Windows,C,D,E,F,G,H,100,I,J,K,L,M,remark\r\n"; // CRLF line
        file += "too,short,line\r\n"; // 3 fields
        file += "\r\n\n"; // blank lines
        file += "A,B,Long,C,D,E,F,G,H,200,I,J,K,L,M,remark,extra,more\n"; // extra fields
        file += "\"x,y\",\"say \"\"hi\"\"\",Quoted,,,,,,,300,,,,,,\"two\nlines\"\n"; // quoted
        file += "A,B,C,D,E,F,G,H,I,J,K,L,M,N,O\n"; // 15 fields
        file += "\"unterminated,A,B"; // no end at all
        const QString path = m_home + "/bad.csv";
        writeFile(path, file);

        ContactWindow window;
        window.show();
        QTest::ignoreMessage(QtWarningMsg, "contact import: 3 line(s) with fewer than 16 fields skipped");
        importInto(window, path);
        DatabaseManager db;
        const QList<Contact> stored = db.queryContacts();
        QCOMPARE(stored.size(), 3);
        // No "\r" left on a remark; quotes and line breaks inside quotes kept.
        QCOMPARE((QStringList{stored[0].represented, stored[0].remark, stored[0].businessFax, stored[1].remark,
                              stored[1].businessFax, stored[2].lastName, stored[2].firstName, stored[2].remark}),
                 (QStringList{"Windows", "remark", "100", "remark", "200", "x,y", "say \"hi\"", "two\nlines"}));
        QCOMPARE(TestSupport::find<QTableWidget>(&window, "tableWidget")->rowCount(), 3);

        // The same count comes back from the reader itself.
        int skipped = -1;
        QTest::ignoreMessage(QtWarningMsg, "contact import: 3 line(s) with fewer than 16 fields skipped");
        QCOMPARE(ContactCsv::parse(QString::fromUtf8(file), &skipped).size(), 3);
        QCOMPARE(skipped, 3);
        // A header alone, or nothing at all, holds no contact.
        QCOMPARE(ContactCsv::parse(QString::fromUtf8(bom + headerLine), &skipped).size(), 0);
        QCOMPARE(ContactCsv::parse(QString(), &skipped).size(), 0);
        QCOMPARE(skipped, 0);
    }

    void nothingHappensWithoutAReadableFile()
    {
        addContact(QStringLiteral("张三"), QString(), QStringLiteral("111"), 0);
        ContactWindow window;
        window.show();
        DialogUtil::queueCancel();
        TestSupport::find<QAction>(&window, "action_csv_import")->trigger();
        importInto(window, m_home + "/missing.csv");
        DatabaseManager db;
        QCOMPARE(db.queryContacts().size(), 1);
        QCOMPARE(MessageBoxUtil::takeShown().size(), 1); // the missing file is named
    }

    // Categories.
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
            QCOMPARE(nextBox(0), QStringLiteral("critical:同名类别已经存在"));
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
};

class TestContactWindow : public QObject
{
    Q_OBJECT

    int m_customers = 0;
    int m_suppliers = 0;

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
        QCOMPARE((QStringList{cell(table, 1, 0), cell(table, 1, 1), cell(table, 1, 2), cell(table, 1, 3), cell(table, 1, 4)}),
                 (QStringList{"供应商", tricky.represented, tricky.company, tricky.businessFax, tricky.email}));

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

// Inputs that broke fuzz/fuzz_contact_csv's promise: what is imported comes back unchanged
// from an export and a second import.
class TestCsvFuzzRegressions : public QObject
{
    Q_OBJECT

private slots:
    // "\r\n" inside quotes is part of the value; only the line end outside quotes loses its "\r".
    void lineEndsInsideQuotes_data()
    {
        QTest::addColumn<QString>("file");
        QTest::addColumn<QString>("lastName");
        QTest::addColumn<QString>("remark");

        const QString tail = QStringLiteral(",2,3,4,5,6,7,8,9,10,11,12,13,14,15,");
        QTest::newRow("input that fails the fuzz target") << QStringLiteral("h\n\"a\r\r\nb\"") + tail + QStringLiteral("16\n")
                                           << QStringLiteral("a\r\r\nb") << QStringLiteral("16");
        QTest::newRow("written on Windows") << QStringLiteral("h\r\n\"x\r\ny\"") + tail + QStringLiteral("\"r\r\n\"\r\n")
                                            << QStringLiteral("x\r\ny") << QStringLiteral("r\r\n");
        QTest::newRow("plain Windows line") << QStringLiteral("h\r\nz") + tail + QStringLiteral("last\r\n")
                                            << QStringLiteral("z") << QStringLiteral("last");
    }

    void lineEndsInsideQuotes()
    {
        QFETCH(QString, file);
        QFETCH(QString, lastName);
        QFETCH(QString, remark);

        const QList<Contact> contacts = ContactCsv::parse(file);
        QCOMPARE(contacts.size(), 1);
        QCOMPARE(contacts[0].lastName, lastName);
        QCOMPARE(contacts[0].remark, remark);

        const QList<Contact> again = ContactCsv::parse(ContactCsv::header() + QLatin1Char('\n') + ContactCsv::formatLine(contacts[0]));
        QCOMPARE(again.size(), 1);
        QCOMPARE(ContactCsv::fields(again[0]), ContactCsv::fields(contacts[0]));
    }
};

VELKOR_TESTS_MAIN(TestContactDialogs, TestContactWindow, TestSelectContactDialog, TestCsvFuzzRegressions)
#include "TestContacts.moc"

#include "AddContactDialog.h"
#include "ContactTestData.h"
#include "DatabaseManager.h"
#include "TestSupport.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>

using namespace ContactTestData;

class TestAddContactDialog : public QObject
{
    Q_OBJECT

    static QStringList items(QComboBox* combo)
    {
        QStringList texts;
        for (int i = 0; i < combo->count(); ++i)
            texts << combo->itemText(i);
        return texts;
    }

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

private slots:
    void init()
    {
        TestSupport::freshHome();
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
        QCOMPARE(TestSupport::find<QLineEdit>(&editor, "edit_company")->text(), wanted.company);
        QCOMPARE(TestSupport::find<QLineEdit>(&editor, "edit_remark")->text(), wanted.remark);
        QCOMPARE(TestSupport::find<QComboBox>(&editor, "combo_represented")->currentText(), wanted.represented);
        QCOMPARE(TestSupport::find<QComboBox>(&editor, "combo_contact_type")->currentText(), QStringLiteral("供应商"));
        auto* company = TestSupport::find<QLineEdit>(&editor, "edit_company");
        company->clear();
        typeInto(company, QStringLiteral("Globex 'East'"));
        click(TestSupport::find<QPushButton>(&editor, "button_save"));
        QCOMPARE(added.size(), 1);
        QCOMPARE(updated.size(), 1);
        QCOMPARE(db.queryContacts().size(), 1);
        stored = db.findContact(byId);
        QCOMPARE(stored.company, QStringLiteral("Globex 'East'"));
        QCOMPARE(stored.represented, wanted.represented);
        QCOMPARE(stored.contact_type_id, suppliers);
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
};

VELKOR_TEST_MAIN(TestAddContactDialog)
#include "TestAddContactDialog.moc"

#include "ContactCsv.h"
#include "ContactTestData.h"
#include "ContactWindow.h"
#include "DatabaseManager.h"
#include "DialogUtil.h"
#include "MessageBoxUtil.h"
#include "TestSupport.h"

#include <QAction>
#include <QComboBox>
#include <QDir>
#include <QFile>

using namespace ContactTestData;

namespace {
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

class TestContactCsv : public QObject
{
    Q_OBJECT

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

private slots:
    void init()
    {
        m_home = TestSupport::freshHome();
        TestSupport::loginTestUser();
    }

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
        QCOMPARE(stored.at(0).represented, QStringLiteral("Windows"));
        QCOMPARE(stored.at(0).remark, QStringLiteral("remark")); // no "\r"
        QCOMPARE(stored.at(0).businessFax, QStringLiteral("100"));
        QCOMPARE(stored.at(1).remark, QStringLiteral("remark"));
        QCOMPARE(stored.at(1).businessFax, QStringLiteral("200"));
        QCOMPARE(stored.at(2).lastName, QStringLiteral("x,y"));
        QCOMPARE(stored.at(2).firstName, QStringLiteral("say \"hi\""));
        QCOMPARE(stored.at(2).remark, QStringLiteral("two\nlines"));
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
};

VELKOR_TEST_MAIN(TestContactCsv)
#include "TestContactCsv.moc"

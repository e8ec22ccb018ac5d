#include "ContactCsv.h"
#include "TestSupport.h"

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

VELKOR_TEST_MAIN(TestCsvFuzzRegressions)
#include "TestCsvFuzzRegressions.moc"

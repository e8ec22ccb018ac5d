#include "ContactCsv.h"

#include "LogUtil.h"

#include <QFile>
#include <QSaveFile>
#include <QTextStream>

QString ContactCsv::header()
{
    return QStringLiteral(
        "姓氏,名字,显示为,公司,部门,职务,地址,邮编,家庭传真,商务传真,其他传真,家庭电话,商务电话,手机,电邮,备注");
}

QStringList ContactCsv::fields(const Contact& c)
{
    return { c.lastName, c.firstName, c.represented, c.company, c.department, c.job, c.address, c.code, c.houseFax,
        c.businessFax, c.otherFax, c.houseNumber, c.businessNumber, c.mobile, c.email, c.remark };
}

Contact ContactCsv::fromFields(const QStringList& f)
{
    Contact c;
    if (f.size() < FIELD_COUNT)
        return c;
    c.lastName = f.at(0);
    c.firstName = f.at(1);
    c.represented = f.at(2);
    c.company = f.at(3);
    c.department = f.at(4);
    c.job = f.at(5);
    c.address = f.at(6);
    c.code = f.at(7);
    c.houseFax = f.at(8);
    c.businessFax = f.at(9);
    c.otherFax = f.at(10);
    c.houseNumber = f.at(11);
    c.businessNumber = f.at(12);
    c.mobile = f.at(13);
    c.email = f.at(14);
    c.remark = f.at(15);
    return c;
}

QString ContactCsv::quoteField(const QString& field)
{
    static const QString special = QStringLiteral(",\"\r\n");
    bool needsQuotes = false;
    for (const QChar ch : field) {
        if (special.contains(ch)) {
            needsQuotes = true;
            break;
        }
    }
    if (!needsQuotes)
        return field;
    QString quoted = field;
    quoted.replace(QLatin1Char('"'), QStringLiteral("\"\""));
    return QLatin1Char('"') + quoted + QLatin1Char('"');
}

QString ContactCsv::formatLine(const Contact& contact)
{
    QStringList out;
    for (const QString& field : fields(contact))
        out << quoteField(field);
    return out.join(QLatin1Char(',')) + QLatin1Char('\n');
}

QList<QStringList> ContactCsv::splitRecords(const QString& input, QList<int>* firstLines)
{
    QString text = input;
    if (text.startsWith(QChar(0xFEFF)))
        text.remove(0, 1);

    QList<QStringList> records;
    QStringList record;
    QString field;
    bool inQuotes = false;
    bool fieldStarted = false; // a quote opens a quoted part only at the start of a field
    int line = 1;
    int recordLine = 1;

    auto endRecord = [&]() {
        // A line with nothing on it is no record.
        if (!(record.isEmpty() && field.isEmpty() && !fieldStarted)) {
            record << field;
            records << record;
            if (firstLines)
                firstLines->append(recordLine);
        }
        record.clear();
        field.clear();
        fieldStarted = false;
        recordLine = line + 1;
    };

    for (int i = 0; i < text.size(); ++i) {
        const QChar ch = text.at(i);
        if (inQuotes) {
            if (ch == QLatin1Char('"')) {
                if (i + 1 < text.size() && text.at(i + 1) == QLatin1Char('"')) {
                    field += ch;
                    ++i;
                } else {
                    inQuotes = false;
                }
            } else {
                field += ch;
                if (ch == QLatin1Char('\n'))
                    ++line;
            }
        } else if (ch == QLatin1Char('"') && !fieldStarted) {
            inQuotes = true;
            fieldStarted = true;
        } else if (ch == QLatin1Char('\r') && i + 1 < text.size() && text.at(i + 1) == QLatin1Char('\n')) {
            // Files written on Windows end their lines in "\r\n"; that "\r" belongs to no field.
            // Inside quotes it is part of the value, which must come back as it went out.
            continue;
        } else if (ch == QLatin1Char(',')) {
            record << field;
            field.clear();
            fieldStarted = false;
        } else if (ch == QLatin1Char('\n')) {
            endRecord();
            ++line;
        } else {
            field += ch;
            fieldStarted = true;
        }
    }
    endRecord();
    return records;
}

QList<Contact> ContactCsv::parse(const QString& text, int* skipped, QList<int>* skippedLines)
{
    QList<int> firstLines;
    const QList<QStringList> records = splitRecords(text, &firstLines);
    QList<Contact> contacts;
    int shortLines = 0;
    for (int i = 1; i < records.size(); ++i) {
        const QStringList& record = records.at(i);
        if (record.size() < FIELD_COUNT) {
            ++shortLines;
            if (skippedLines)
                skippedLines->append(firstLines.at(i));
            continue;
        }
        const Contact contact = fromFields(record);
        LogUtil::d(QStringLiteral("import contact: %1").arg(fields(contact).join(QLatin1Char('|'))));
        contacts << contact;
    }
    if (shortLines > 0)
        LogUtil::w(QStringLiteral("contact import: %1 line(s) with fewer than %2 fields skipped")
                       .arg(shortLines)
                       .arg(FIELD_COUNT));
    if (skipped)
        *skipped = shortLines;
    return contacts;
}

bool ContactCsv::write(const QString& path, const QList<Contact>& contacts)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Text)) {
        LogUtil::w(QStringLiteral("contact export: cannot open %1").arg(path));
        return false;
    }
    QTextStream out(&file);
    out.setCodec("UTF-8");
    out.setGenerateByteOrderMark(true);
    out << header() << '\n';
    for (const Contact& contact : contacts)
        out << formatLine(contact);
    out.flush();
    if (out.status() != QTextStream::Ok) {
        file.cancelWriting();
        return false;
    }
    return file.commit();
}

bool ContactCsv::read(const QString& path, QList<Contact>* contacts, int* skipped, QList<int>* skippedLines)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text)) {
        LogUtil::w(QStringLiteral("contact import: cannot open %1").arg(path));
        return false;
    }
    QTextStream in(&file);
    in.setCodec("UTF-8");
    const QString text = in.readAll();
    file.close();
    *contacts = parse(text, skipped, skippedLines);
    return true;
}

// The contact import on any file a user may pick (UTF-8 text). What is imported must survive
// an export and a second import unchanged.
#include "ContactCsv.h"
#include "FuzzSupport.h"

extern "C" int LLVMFuzzerInitialize(int*, char***)
{
    FuzzSupport::quiet();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    int skipped = 0;
    const QList<Contact> contacts = ContactCsv::parse(QString::fromUtf8(FuzzSupport::bytes(data, size)), &skipped);
    FuzzSupport::check(skipped >= 0, "a count of skipped lines");

    QString file = ContactCsv::header() + QLatin1Char('\n');
    for (const Contact& contact : contacts)
        file += ContactCsv::formatLine(contact);
    const QList<Contact> again = ContactCsv::parse(file, &skipped);
    FuzzSupport::check(skipped == 0 && again.size() == contacts.size(), "every exported contact is imported again");
    for (int i = 0; i < contacts.size(); ++i)
        FuzzSupport::check(ContactCsv::fields(again.at(i)) == ContactCsv::fields(contacts.at(i)),
                           "an exported contact comes back with the same fields");
    return 0;
}

#pragma once

#include <QMetaType>
#include <QString>

// One address book entry; a row of CONTACTS. Contacts are shared by all local accounts.
struct Contact
{
    int id = 0;
    QString firstName;
    QString lastName;
    QString represented; // the name shown for the contact
    QString company;
    QString department;
    QString job;
    QString businessFax;
    QString houseFax;
    QString otherFax;
    QString businessNumber;
    QString houseNumber;
    QString mobile;
    QString code;
    QString address;
    QString email;
    QString remark;
    int contact_type_id = 0;
};

Q_DECLARE_METATYPE(Contact)

// One address book category; a row of CONTACT_TYPES.
struct ContactType
{
    int id = 0;
    QString name;
};

Q_DECLARE_METATYPE(ContactType)

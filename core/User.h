#pragma once

#include <QString>

// A local application account; a row of USERS.
struct User
{
    int id = 0;
    QString nickname;
    QString password;
    QString email;
    QString phone;
};

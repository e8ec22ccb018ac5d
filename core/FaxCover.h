#pragma once

#include <QString>

// The texts of a cover page, kept between two openings of the cover form.
struct FaxCover
{
    QString reserved0; // not used
    QString reserved1; // not used
    QString pages;
    QString pageCount;
    QString to;
    QString toAuto;
    QString recipientFax;
    QString recipientFaxAuto;
    QString cc;
    QString subject;
    QString from;
    QString company;
    QString phone;
    QString fax;
    QString address;
    QString email;
    QString comments;
    bool urgent = false;
    bool forReview = false;
    bool pleaseComment = false;
    bool pleaseReply = false;
    bool pleaseRecycle = false;
};

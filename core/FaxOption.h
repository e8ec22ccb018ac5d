#pragma once

#include <QDateTime>
#include <QTime>

// What the options dialog hands to job assembly.
struct FaxOption
{
    int dialogTotal = 0;
    int retryTime = 0;
    int priority = 0; // FaxPriorityEnum, as in Fax
    int quality = 0;
    bool disableHeader = false;
    bool disabeDialPrefix = false;
    bool planEnabled = false;
    QDateTime dateTimePlan;
    bool stopEnabled = false;
    QDateTime dateTimeStop;
    bool windowEnabled = false;
    QTime timeFrom;
    QTime timeTo;
};

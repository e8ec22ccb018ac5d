#pragma once

#include <QMetaType>
#include <QString>

// One fax device bound by the current user; a row of DEVICES.
struct Device
{
    int id = 0;
    QString deviceName;     // the device account used to log in, not the device's own name
    QString devicePassword; // stored form: 128 hex characters of MD5Util::call128MD5
    QString productID;      // the device's identity (SERVER_ID / SVRID)
    QString localIP;
    QString remoteIP;
    QString serverName;     // the device's own display name (SERVER_NAME)
    QString extNumber;
    int permission = 0;     // sum of PermissionEnum values
    QString taskID;         // high-water mark of received faxes, decimal text
    int internetPort = 3001;
    int connectStatus = 0;  // 0 LAN, 1 internet, 2 reached but greeting/login failed
};

Q_DECLARE_METATYPE(Device)

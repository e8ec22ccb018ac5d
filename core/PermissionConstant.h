#pragma once

#include <QObject>

class PermissionConstant
{
    Q_GADGET
public:
    // Bit flags added up in Device::permission.
    enum PermissionEnum {
        PERMISSION_NONE = 0,
        PERMISSION_ADMIN = 1,
        PERMISSION_PUB = 2,
        PERMISSION_SEND = 4,
        PERMISSION_RECV = 8,
        PERMISSION_REMOTE = 16,
        PERMISSION_FAX2EMAIL = 32,
    };
    Q_ENUM(PermissionEnum)
};

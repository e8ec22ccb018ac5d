#pragma once

#include <QMetaType>

// Carried by the updateSendFax signal path, which nothing emits; live progress travels in Fax.
struct SendFax
{
};

Q_DECLARE_METATYPE(SendFax)

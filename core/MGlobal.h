#pragma once

#include "User.h"

// The logged-in local account. Written on the main thread before any worker exists.
extern User gUser;

class MGlobal
{
};

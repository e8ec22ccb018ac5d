#include "MGlobal.h"

User gUser;

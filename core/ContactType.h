#pragma once

#include "Contact.h"

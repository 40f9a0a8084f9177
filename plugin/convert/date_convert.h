// Host dates to framework dates.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include "host_plugin_interface.h"

// A new CFDate for the date's fields read as GMT (the caller releases it), or
// null for nil or a date whose fields cannot be read.
CFDateRef RBDate2CFDate(REALobject date);

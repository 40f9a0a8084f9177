// Process-wide state of the plug-in: the host's resolver, the host version,
// the layout version of the registered records, and the module's last status.
// The host calls the plug-in on one thread at a time, so these are plain
// variables.
#pragma once

#include <MacTypes.h>

#include "host_plugin_interface.h"

extern REALResolver gResolver;
extern double rbversion_rbversion;      // 0.0 when the host reports no version
extern int32_t CurrentREALControlVersion;  // 9, 10, 11 or 12
extern OSStatus Lasterror;              // the module property "LastError"

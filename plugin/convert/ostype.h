// Four-character codes from host strings.
#pragma once

#include <MacTypes.h>

#include "host_plugin_interface.h"

// The code made of the first four bytes of the string's Mac OS Roman form,
// first byte most significant. Shorter texts are padded with spaces at the
// end; nil or empty gives four spaces (0x20202020).
OSType REALstringToOSType(REALstring s);

// Host strings to CoreFoundation strings and back.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include "host_plugin_interface.h"

// A new CFString (the caller releases it), or null for nil or bytes that
// CoreFoundation refuses.
CFStringRef RBString2CFString(REALstring s);

// A new host string tagged UTF-8 (owned by the caller), or nil for null, an
// empty string, or a string that starts with U+0000 (the text ends at the
// first U+0000).
REALstring CFString2RBString(CFStringRef cf);

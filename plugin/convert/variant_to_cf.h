// Host values to CoreFoundation: any host variant (a scalar, a string, a
// date, an array, a dictionary, a memory block, a folder item or an object
// of the plug-in family's wrapper classes) to the matching CoreFoundation
// value, and a host Dictionary to a CFMutableDictionary, recursively. Every
// non-null result belongs to the caller.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include "host_plugin_interface.h"

// Null for nil and for an object that no conversion knows; text never gives
// null (an unconvertible string becomes the empty string).
CFTypeRef CopyVariantAsCFType(REALobject variant);

// A new mutable dictionary with CoreFoundation's retaining callbacks, one
// entry per non-nil key; keys or values that convert to null are stored as
// kCFNull. Null for nil or when the dictionary cannot be made.
CFMutableDictionaryRef NewCFDictionary(REALobject dict);

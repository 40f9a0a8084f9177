// The attribute list of a search, made from two parallel host string arrays:
// keys (four-character attribute codes) and values (their UTF-8 bytes).
#pragma once

#include <Security/Security.h>

#include "host_plugin_interface.h"

// A new list, or null when keys is empty (a search without a list matches
// every item of its class). Missing values are empty; surplus values are not
// read. Free it with FreeAttributeList right after the call that uses it.
SecKeychainAttributeList *BuildList(REALarray keys, REALarray values);

// Frees each value buffer, then the record array, then the list. Null is
// allowed.
void FreeAttributeList(SecKeychainAttributeList *list);

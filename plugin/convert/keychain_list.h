// Keychain lists both ways: a host array of KeychainZNQ objects to a
// framework array of keychain references, and back.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include "host_plugin_interface.h"

// Appends a new KeychainZNQ to the host array for every keychain reference in
// the framework array, in order; other values are left out. A KeychainZNQ
// the host cannot make goes in as nil, so positions follow the framework's.
void AddKeychainArray(REALarray array, CFArrayRef keychains);

// A new framework array of the references the array's KeychainZNQ objects
// hold (the caller releases it); nil elements and objects without a
// reference are left out. Null only when the framework array cannot be made.
CFMutableArrayRef CopyKeychainList(REALarray array);

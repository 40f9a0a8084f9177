// Wrapping a framework reference in a new plug-in object, and reaching the
// instance data of the keychain classes.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include "frame/instance_data.h"
#include "host_plugin_interface.h"

// Takes over the caller's reference: a new object of className holding its
// own retain of ref, or nil (the reference is released either way).
REALobject WrapReference(const char *className, CFTypeRef ref);

// The instance data of a KeychainZNQ / KeychainItemZNQ / KeychainSettingsZNQ
// the host called a class method on.
KeychainData *KeychainDataOf(REALobject instance);
KeychainData *KeychainItemDataOf(REALobject instance);
KeychainSettingsData *KeychainSettingsDataOf(REALobject instance);

// Releases the reference an object holds and clears its Handle.
void ReleaseHandle(KeychainData *data);

// KeychainZNQ's own methods (status into the object's Lasterror) and the
// module methods that make keychain objects from nothing (status into the
// module's LastError).
#pragma once

#include "host_plugin_interface.h"

RBBoolean IsUnlocked(REALobject instance);
REALstring rbSecKeychainGetPath(REALobject instance);
REALstring rbSecKeychainGetName(REALobject instance);
RBInteger rbSecKeychainGetStatus(REALobject instance);
void rbSecKeychainUnlock2(REALobject instance, REALstring password);
void rbSecKeychainUnlock(REALobject instance);
void rbSecKeychainDelete(REALobject instance);
void rbSecKeychainLock(REALobject instance);
void rbSecKeychainSetDefault(REALobject instance);
void KeychainDestructor(REALobject instance);

REALobject rbSecKeychainOpenFile(REALfolderItem file);
REALobject rbSecKeychainOpenPath(REALstring path);
REALobject rbSecKeychainCopyDefault();
RBInteger rbSecKeychainGetVersion();

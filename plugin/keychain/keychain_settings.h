// KeychainSettingsZNQ's constructor and the "Settings" property of
// KeychainZNQ, read and assigned.
#pragma once

#include "host_plugin_interface.h"

void KeychainSettingsConstructor(REALobject instance);
REALobject rbSecKeychainCopySettings(REALobject instance);
void rbSecKeychainSetSettings(REALobject instance, REALobject settings);

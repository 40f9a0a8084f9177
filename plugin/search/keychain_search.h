// Attribute searches and listings: the module methods that create a search
// over one keychain or several (status into the module's LastError),
// KeychainSearchZNQ's "NextItem" (status into the search's Lasterror) and its
// destructor, and "AllItems", which serves the module and KeychainZNQ alike.
#pragma once

#include "host_plugin_interface.h"

REALobject rbSecKeychainSearchCreateFromAttributes(REALobject keychain, REALstring itemClass,
                                                   REALarray attributeKeys, REALarray attributeValues);
REALobject rbSecKeychainSearchCreateFromAttributes2(REALarray keychains, REALstring itemClass,
                                                    REALarray attributeKeys, REALarray attributeValues);
REALobject rbSecKeychainSearchCopyNext(REALobject instance);
void KeychainSearchDestructor(REALobject instance);

REALarray AllItems(REALobject keychain, REALstring itemClass);

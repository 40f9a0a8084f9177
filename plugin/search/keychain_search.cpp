// KeychainSearchZNQ: the object that owns one attribute search reference.
#include "search/keychain_search.h"

#include "frame/instance_data.h"

void KeychainSearchDestructor(REALobject instance) { ReleaseHandle(KeychainSearchDataOf(instance)); }

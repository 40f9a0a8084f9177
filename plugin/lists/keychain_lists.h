// The module methods on the keychain environment rather than one keychain:
// search lists, per-domain search lists and defaults, the preference domain,
// whether the system may ask the user, and locking every keychain. Each
// records its status in the module's LastError.
#pragma once

#include "host_plugin_interface.h"

REALarray rbSecKeychainCopySearchList();
void rbSecKeychainSetSearchList(REALarray list);
REALarray rbSecKeychainCopyDomainSearchList(RBInteger domain);
void rbSecKeychainSetDomainSearchList(RBInteger domain, REALarray list);
REALobject rbSecKeychainCopyDomainDefault(RBInteger domain);
void rbSecKeychainSetDomainDefault(RBInteger domain, REALobject keychain);
RBInteger rbSecKeychainGetPreferenceDomain();
void rbSecKeychainSetPreferenceDomain(RBInteger domain);
RBBoolean rbSecKeychainGetUserInteractionAllowed();
void rbSecKeychainSetUserInteractionAllowed(RBBoolean allowed);
void rbSecKeychainLockAll();

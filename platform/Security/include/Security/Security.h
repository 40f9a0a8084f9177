/* Keychain Services. */
#ifndef SECURITY_SECURITY_H
#define SECURITY_SECURITY_H

#include <Security/SecBase.h>
#include <Security/SecKeychain.h>
#include <Security/SecKeychainItem.h>
#include <Security/SecKeychainSearch.h>
#include <Security/SecItem.h>

#endif

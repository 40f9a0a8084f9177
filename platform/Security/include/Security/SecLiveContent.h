/* Content accounting: how many buffers the keychain has handed to callers
   (secrets and attribute values, from SecKeychainItemCopyContent and the
   find-password calls) that SecKeychainItemFreeContent has not freed yet.
   Freeing wipes them, so a count that does not come back down is a secret
   left in memory. Not part of Apple's interface: tests and leak checks use
   it, as CFLiveObjects.h serves CoreFoundation's objects. */
#ifndef SECURITY_SECLIVECONTENT_H
#define SECURITY_SECLIVECONTENT_H

#include <Security/SecBase.h>

#ifdef __cplusplus
extern "C" {
#endif

UInt32 SecLiveContentGetCount(void);

#ifdef __cplusplus
}
#endif

#endif

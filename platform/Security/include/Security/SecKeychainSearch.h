/* Attribute searches over one keychain or several. */
#ifndef SECURITY_SECKEYCHAINSEARCH_H
#define SECURITY_SECKEYCHAINSEARCH_H

#include <Security/SecBase.h>
#include <Security/SecKeychainItem.h>

#ifdef __cplusplus
extern "C" {
#endif

CFTypeID SecKeychainSearchGetTypeID(void);

OSStatus SecKeychainSearchCreateFromAttributes(CFTypeRef keychainOrArray, SecItemClass itemClass,
                                               const SecKeychainAttributeList *attrList,
                                               SecKeychainSearchRef *searchRef);
OSStatus SecKeychainSearchCopyNext(SecKeychainSearchRef searchRef, SecKeychainItemRef *itemRef);

#ifdef __cplusplus
}
#endif

#endif

/* Compiled as C: the framework headers must be usable from C. */
#include <Security/Security.h>

int SecurityHeadersWorkFromC(void) {
    SecKeychainSettings s = {SEC_KEYCHAIN_SETTINGS_VERS1, 1, 0, 300};
    SecKeychainAttribute a = {kSecAccountItemAttr, 0, 0};
    SecKeychainAttributeList list = {1, &a};
    UInt32 version = 0;
    (void)list;
    if (SecKeychainGetVersion(&version) != errSecSuccess) return 0;
    return (int)(sizeof s) == 12 && version == 0x02028000u && kSecClass != 0;
}

/* Basic types and result codes of Keychain Services. */
#ifndef SECURITY_SECBASE_H
#define SECURITY_SECBASE_H

#include <CoreFoundation/CoreFoundation.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct OpaqueSecKeychainRef *SecKeychainRef;
typedef struct OpaqueSecKeychainItemRef *SecKeychainItemRef;
typedef struct OpaqueSecKeychainSearchRef *SecKeychainSearchRef;
typedef struct OpaqueSecAccessRef *SecAccessRef;

typedef OSType SecKeychainAttrType;

typedef struct SecKeychainAttribute {
    SecKeychainAttrType tag;
    UInt32 length;
    void *data;
} SecKeychainAttribute;

typedef SecKeychainAttribute *SecKeychainAttributePtr;

typedef struct SecKeychainAttributeList {
    UInt32 count;
    SecKeychainAttribute *attr;
} SecKeychainAttributeList;

typedef UInt32 SecKeychainStatus;

typedef struct SecKeychainAttributeInfo {
    UInt32 count;
    UInt32 *tag;
    UInt32 *format;
} SecKeychainAttributeInfo;

enum {
    errSecSuccess = 0,
    errSecUnimplemented = -4,
    errSecDiskFull = -34,
    errSecDskFull = -34,
    errSecIO = -36,
    errSecOpWr = -49,
    errSecParam = -50,
    errSecWrPerm = -61,
    errSecAllocate = -108,
    errSecUserCanceled = -128,
    errSecBadReq = -909,
    errSecInternalComponent = -2070,
    errSecCoreFoundationUnknown = -4960,
    errSecMissingEntitlement = -34018,
    errSecRestrictedAPI = -34020,
    errSecNotAvailable = -25291,
    errSecReadOnly = -25292,
    errSecAuthFailed = -25293,
    errSecNoSuchKeychain = -25294,
    errSecInvalidKeychain = -25295,
    errSecDuplicateKeychain = -25296,
    errSecDuplicateCallback = -25297,
    errSecInvalidCallback = -25298,
    errSecDuplicateItem = -25299,
    errSecItemNotFound = -25300,
    errSecBufferTooSmall = -25301,
    errSecDataTooLarge = -25302,
    errSecNoSuchAttr = -25303,
    errSecInvalidItemRef = -25304,
    errSecInvalidSearchRef = -25305,
    errSecNoSuchClass = -25306,
    errSecNoDefaultKeychain = -25307,
    errSecInteractionNotAllowed = -25308,
    errSecReadOnlyAttr = -25309,
    errSecWrongSecVersion = -25310,
    errSecKeySizeNotAllowed = -25311,
    errSecNoStorageModule = -25312,
    errSecNoCertificateModule = -25313,
    errSecNoPolicyModule = -25314,
    errSecInteractionRequired = -25315,
    errSecDataNotAvailable = -25316,
    errSecDataNotModifiable = -25317,
    errSecCreateChainFailed = -25318,
    errSecInvalidPrefsDomain = -25319,
    errSecInDarkWake = -25320,
    errSecACLNotSimple = -25240,
    errSecPolicyNotFound = -25241,
    errSecInvalidTrustSetting = -25242,
    errSecNoAccessForItem = -25243,
    errSecInvalidOwnerEdit = -25244,
    errSecTrustNotAvailable = -25245,
    errSecUnsupportedFormat = -25256,
    errSecUnknownFormat = -25257,
    errSecDecode = -26275,
    errSecServiceNotAvailable = -67585,
    errSecInternalError = -67671,
    errSecInvalidData = -67673,
    errSecInvalidPointer = -67675,
    errSecFunctionFailed = -67677,
    errSecInvalidHandle = -67680,
    errSecInvalidQuery = -67693,
    errSecInvalidValue = -67694,
    errSecInvalidAccessCredentials = -67700,
    errSecInvalidRecord = -67701,
    errSecInvalidACL = -67702,
    errSecVerifyFailed = -67808,
    errSecNotTrusted = -67843,
    errSecDatabaseLocked = -67869
};

/* Returns a new string describing a result code, or NULL. The caller releases it. */
CFStringRef SecCopyErrorMessageString(OSStatus status, void *reserved);

#ifdef __cplusplus
}
#endif

#endif

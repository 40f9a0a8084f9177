// SecCopyErrorMessageString: one short sentence per result code.
#include <Security/SecBase.h>

#include <cstdio>
#include <cstring>

namespace {

struct Message {
  OSStatus status;
  const char* text;
};

const Message kMessages[] = {
    {errSecSuccess, "No error."},
    {errSecUnimplemented, "This operation is not implemented."},
    {errSecDiskFull, "The disk is full."},
    {errSecIO, "An input or output error occurred."},
    {errSecOpWr, "The file is already open with write permission."},
    {errSecParam, "One or more parameters passed to the function are not valid."},
    {errSecWrPerm, "The keychain file or its folder cannot be written."},
    {errSecAllocate, "Memory could not be allocated."},
    {errSecUserCanceled, "The user canceled the operation."},
    {errSecBadReq, "The request is not valid in the current state."},
    {errSecInternalComponent, "An internal component failed."},
    {errSecCoreFoundationUnknown, "An unknown CoreFoundation error occurred."},
    {errSecMissingEntitlement, "A required entitlement is missing."},
    {errSecRestrictedAPI, "This client may not perform the operation."},
    {errSecNotAvailable, "No keychain is available."},
    {errSecReadOnly, "This keychain cannot be modified."},
    {errSecAuthFailed, "The user name or passphrase you entered is not correct."},
    {errSecNoSuchKeychain, "The keychain does not exist."},
    {errSecInvalidKeychain, "The file is not a valid keychain."},
    {errSecDuplicateKeychain, "A keychain with the same name already exists."},
    {errSecDuplicateCallback, "The callback is already installed."},
    {errSecInvalidCallback, "The callback is not valid."},
    {errSecDuplicateItem, "The item already exists in the keychain."},
    {errSecItemNotFound, "The item could not be found in the keychain."},
    {errSecBufferTooSmall, "The buffer is too small for the result."},
    {errSecDataTooLarge, "The data is too large."},
    {errSecNoSuchAttr, "The attribute does not exist for this kind of item."},
    {errSecInvalidItemRef, "The item reference is not valid; the item may have been deleted."},
    {errSecInvalidSearchRef, "The search reference is not valid."},
    {errSecNoSuchClass, "The item class does not exist."},
    {errSecNoDefaultKeychain, "There is no default keychain."},
    {errSecInteractionNotAllowed, "User interaction is not possible or not allowed."},
    {errSecReadOnlyAttr, "The attribute cannot be modified."},
    {errSecWrongSecVersion, "The keychain was written by a newer version and cannot be opened."},
    {errSecKeySizeNotAllowed, "The key size is not allowed."},
    {errSecNoStorageModule, "The storage module is not available."},
    {errSecNoCertificateModule, "The certificate module is not available."},
    {errSecNoPolicyModule, "The policy module is not available."},
    {errSecInteractionRequired, "User interaction is required but not allowed."},
    {errSecDataNotAvailable, "The contents of this item cannot be retrieved."},
    {errSecDataNotModifiable, "The contents of this item cannot be modified."},
    {errSecCreateChainFailed, "The certificate chain could not be built."},
    {errSecInvalidPrefsDomain, "The preference domain is not valid."},
    {errSecInDarkWake, "No user interface is possible now."},
    {errSecACLNotSimple, "The access control list is not in simple form."},
    {errSecPolicyNotFound, "The policy cannot be found."},
    {errSecInvalidTrustSetting, "The trust setting is not valid."},
    {errSecNoAccessForItem, "The item has no access control."},
    {errSecInvalidOwnerEdit, "The owner of this item cannot be changed."},
    {errSecTrustNotAvailable, "No trust results are available."},
    {errSecUnsupportedFormat, "The import or export format is not supported."},
    {errSecUnknownFormat, "The format of the imported data is unknown."},
    {errSecDecode, "The data could not be decoded."},
    {errSecServiceNotAvailable, "The service is not available."},
    {errSecInternalError, "An internal error occurred."},
    {errSecInvalidData, "The data is not valid."},
    {errSecInvalidPointer, "A pointer is not valid."},
    {errSecFunctionFailed, "A function failed."},
    {errSecInvalidHandle, "A handle is not valid."},
    {errSecInvalidQuery, "The query is not valid."},
    {errSecInvalidValue, "A value is not valid."},
    {errSecInvalidAccessCredentials, "The access credentials are not valid."},
    {errSecInvalidRecord, "The record is not valid."},
    {errSecInvalidACL, "The access control list is not valid."},
    {errSecVerifyFailed, "The stored data failed its integrity check."},
    {errSecNotTrusted, "The certificate is not trusted."},
    {errSecDatabaseLocked, "The keychain file is busy; another process holds it."},
};

}  // namespace

extern "C" CFStringRef SecCopyErrorMessageString(OSStatus status, void* reserved) {
  (void)reserved;
  for (const Message& m : kMessages)
    if (m.status == status)
      return CFStringCreateWithCString(kCFAllocatorDefault, m.text, kCFStringEncodingUTF8);
  char buf[160];
  if (status >= 100000 && status <= 100255)
    snprintf(buf, sizeof buf, "UNIX[%s]", strerror(int(status - 100000)));
  else
    snprintf(buf, sizeof buf, "OSStatus %d", int(status));
  return CFStringCreateWithCString(kCFAllocatorDefault, buf, kCFStringEncodingUTF8);
}

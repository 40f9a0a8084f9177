// The classic password calls: add and find generic and internet passwords.
#include <Security/SecKeychain.h>

#include <cstring>

#include "content_memory.h"
#include "item_object.h"
#include "item_ops.h"
#include "keychain_lists.h"
#include "keychain_object.h"

using namespace secimpl;

namespace {

constexpr uint32_t kCreatorApple = FourCC("aapl");

bool Given(const void* p, UInt32 n) { return p && n; }

void AddBlobFilter(std::vector<Filter>* f, uint32_t cls, uint32_t tag, const void* p, UInt32 n) {
  if (!Given(p, n)) return;
  Filter x{FindAttr(cls, tag), std::string(static_cast<const char*>(p), n), 0};
  f->push_back(x);
}

void AddNumberFilter(std::vector<Filter>* f, uint32_t cls, uint32_t tag, uint32_t v) {
  if (!v) return;
  Filter x{FindAttr(cls, tag), std::string(), int64_t(v)};
  f->push_back(x);
}

OSStatus FindOne(CFTypeRef keychainOrArray, uint32_t cls, const std::vector<Filter>& filters,
                 UInt32* passwordLength, void** passwordData, SecKeychainItemRef* itemRef) {
  std::vector<SecKeychainRef> keychains;
  OSStatus status = ResolveKeychains(keychainOrArray, &keychains);
  if (status != errSecSuccess) return status;
  bool wantSecret = passwordLength || passwordData;
  SecKeychainRef foundIn = nullptr;
  ItemRow found;
  OSStatus walk = ForEachMatch(keychains, cls, filters, wantSecret, 1, [&](SecKeychainRef kc, ItemRow& row) {
    foundIn = (SecKeychainRef)CFRetain(kc);
    found = std::move(row);
    return false;
  });
  ReleaseKeychains(&keychains);
  // Nothing found in a keychain that could not be read is not "no such item".
  if (!foundIn) return walk != errSecSuccess ? walk : errSecItemNotFound;
  if (wantSecret) {
    SecureBytes secret;
    status = OpenSecret(foundIn, found, &secret);
    if (status == errSecSuccess && passwordData) {
      *passwordData = found.hasSecret ? AllocContent(secret.data(), secret.size()) : nullptr;
      if (found.hasSecret && !*passwordData) status = errSecAllocate;
    }
    if (status == errSecSuccess && passwordLength) *passwordLength = UInt32(secret.size());
  }
  if (status == errSecSuccess && itemRef) {
    *itemRef = CreateItemRef(foundIn, found.id, found.itemClass);
    if (!*itemRef) status = errSecAllocate;
  }
  CFRelease(foundIn);
  return status;
}

void SetBlob(ItemRow* row, uint32_t tag, const void* p, UInt32 n) {
  if (Given(p, n)) row->attrs[tag] = std::string(static_cast<const char*>(p), n);
}

}  // namespace

extern "C" {

OSStatus SecKeychainAddGenericPassword(SecKeychainRef keychain, UInt32 serviceNameLength,
                                       const char* serviceName, UInt32 accountNameLength,
                                       const char* accountName, UInt32 passwordLength,
                                       const void* passwordData, SecKeychainItemRef* itemRef) {
  if (passwordLength && !passwordData) return errSecParam;
  if (keychain && !IsKeychain(keychain)) return errSecInvalidKeychain;
  ItemRow row;
  row.itemClass = kClassGenericPassword;
  SetBlob(&row, FourCC("svce"), serviceName, serviceNameLength);
  SetBlob(&row, FourCC("acct"), accountName, accountNameLength);
  row.attrs[FourCC("crtr")] = EncodeUInt32(kCreatorApple);
  return AddItemTo(keychain, &row, passwordData, passwordLength, passwordData != nullptr, itemRef);
}

OSStatus SecKeychainAddInternetPassword(SecKeychainRef keychain, UInt32 serverNameLength,
                                        const char* serverName, UInt32 securityDomainLength,
                                        const char* securityDomain, UInt32 accountNameLength,
                                        const char* accountName, UInt32 pathLength, const char* path,
                                        UInt16 port, SecProtocolType protocol,
                                        SecAuthenticationType authenticationType,
                                        UInt32 passwordLength, const void* passwordData,
                                        SecKeychainItemRef* itemRef) {
  if (passwordLength && !passwordData) return errSecParam;
  if (keychain && !IsKeychain(keychain)) return errSecInvalidKeychain;
  ItemRow row;
  row.itemClass = kClassInternetPassword;
  SetBlob(&row, FourCC("srvr"), serverName, serverNameLength);
  SetBlob(&row, FourCC("sdmn"), securityDomain, securityDomainLength);
  SetBlob(&row, FourCC("acct"), accountName, accountNameLength);
  SetBlob(&row, FourCC("path"), path, pathLength);
  row.attrs[FourCC("port")] = EncodeUInt32(port);
  row.attrs[FourCC("ptcl")] = EncodeUInt32(protocol);
  // The authentication type is kept as the four bytes of the value in memory.
  row.attrs[FourCC("atyp")] = std::string(reinterpret_cast<const char*>(&authenticationType), 4);
  row.attrs[FourCC("crtr")] = EncodeUInt32(kCreatorApple);
  return AddItemTo(keychain, &row, passwordData, passwordLength, passwordData != nullptr, itemRef);
}

OSStatus SecKeychainFindGenericPassword(CFTypeRef keychainOrArray, UInt32 serviceNameLength,
                                        const char* serviceName, UInt32 accountNameLength,
                                        const char* accountName, UInt32* passwordLength,
                                        void** passwordData, SecKeychainItemRef* itemRef) {
  const uint32_t cls = kClassGenericPassword;
  std::vector<Filter> filters;
  AddBlobFilter(&filters, cls, FourCC("svce"), serviceName, serviceNameLength);
  AddBlobFilter(&filters, cls, FourCC("acct"), accountName, accountNameLength);
  return FindOne(keychainOrArray, cls, filters, passwordLength, passwordData, itemRef);
}

OSStatus SecKeychainFindInternetPassword(CFTypeRef keychainOrArray, UInt32 serverNameLength,
                                         const char* serverName, UInt32 securityDomainLength,
                                         const char* securityDomain, UInt32 accountNameLength,
                                         const char* accountName, UInt32 pathLength,
                                         const char* path, UInt16 port, SecProtocolType protocol,
                                         SecAuthenticationType authenticationType,
                                         UInt32* passwordLength, void** passwordData,
                                         SecKeychainItemRef* itemRef) {
  const uint32_t cls = kClassInternetPassword;
  std::vector<Filter> filters;
  AddBlobFilter(&filters, cls, FourCC("srvr"), serverName, serverNameLength);
  AddBlobFilter(&filters, cls, FourCC("sdmn"), securityDomain, securityDomainLength);
  AddBlobFilter(&filters, cls, FourCC("acct"), accountName, accountNameLength);
  // The path is compared over its given length (macOS reads up to a NUL).
  AddBlobFilter(&filters, cls, FourCC("path"), path, pathLength);
  AddNumberFilter(&filters, cls, FourCC("port"), port);
  AddNumberFilter(&filters, cls, FourCC("ptcl"), protocol);
  if (authenticationType) {
    Filter x{FindAttr(cls, FourCC("atyp")),
             std::string(reinterpret_cast<const char*>(&authenticationType), 4), 0};
    filters.push_back(x);
  }
  return FindOne(keychainOrArray, cls, filters, passwordLength, passwordData, itemRef);
}

}  // extern "C"

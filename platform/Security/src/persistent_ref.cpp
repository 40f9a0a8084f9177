// Persistent reference layout: "KCPR", a version byte (1), the item class
// (4 bytes, big-endian), the item id (8 bytes, big-endian), the keychain's
// 16-byte identity, then the keychain path in UTF-8 to the end.
#include "persistent_ref.h"

#include <cstring>

#include "item_object.h"
#include "item_ops.h"
#include "keychain_object.h"

namespace secimpl {

namespace {
constexpr size_t kFixed = 4 + 1 + 4 + 8 + 16;
}

OSStatus CreatePersistentRef(SecKeychainItemRef item, CFDataRef* out) {
  SecKeychainRef kc = ItemKeychain(item);
  std::string uuid;
  OSStatus status = WithStore(kc, [&](Store& store) -> OSStatus {
    ItemRow row;
    OSStatus s = store.Get(ItemId(item), false, &row);
    if (s == errSecInvalidItemRef) return errSecItemNotFound;
    uuid = store.header().uuid;
    return s;
  });
  if (status != errSecSuccess) return status == errSecNoSuchKeychain ? errSecItemNotFound : status;
  std::string blob = "KCPR";
  blob += char(1);
  uint32_t cls = ItemClassOf(item);
  for (int i = 3; i >= 0; --i) blob += char((cls >> (8 * i)) & 0xff);
  uint64_t id = uint64_t(ItemId(item));
  for (int i = 7; i >= 0; --i) blob += char((id >> (8 * i)) & 0xff);
  blob += uuid;
  blob += KeychainPath(kc);
  *out = CFDataCreate(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(blob.data()), CFIndex(blob.size()));
  return *out ? errSecSuccess : errSecAllocate;
}

OSStatus ResolvePersistentRef(CFDataRef data, SecKeychainItemRef* out) {
  CFIndex n = CFDataGetLength(data);
  const UInt8* p = CFDataGetBytePtr(data);
  if (n <= CFIndex(kFixed) || !p || memcmp(p, "KCPR", 4) != 0 || p[4] != 1) return errSecItemNotFound;
  uint32_t cls = 0;
  for (int i = 0; i < 4; ++i) cls = (cls << 8) | p[5 + i];
  uint64_t id = 0;
  for (int i = 0; i < 8; ++i) id = (id << 8) | p[9 + i];
  std::string uuid(reinterpret_cast<const char*>(p + 17), 16);
  std::string path(reinterpret_cast<const char*>(p + kFixed), size_t(n) - kFixed);
  if (path.empty() || path[0] != '/' || path.find('\0') != std::string::npos) return errSecItemNotFound;
  SecKeychainRef kc = CopyKeychainForPath(path);
  if (!kc) return errSecAllocate;
  OSStatus status = WithStore(kc, [&](Store& store) -> OSStatus {
    if (store.header().uuid != uuid) return errSecItemNotFound;
    ItemRow row;
    OSStatus s = store.Get(int64_t(id), false, &row);
    if (s == errSecInvalidItemRef || (s == errSecSuccess && row.itemClass != cls)) return errSecItemNotFound;
    return s;
  });
  if (status == errSecSuccess) {
    *out = CreateItemRef(kc, int64_t(id), cls);
    if (!*out) status = errSecAllocate;
  } else if (status == errSecNoSuchKeychain) {
    status = errSecItemNotFound;  // a damaged keychain keeps its own status
  }
  CFRelease(kc);
  return status;
}

}  // namespace secimpl

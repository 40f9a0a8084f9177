// Shared item operations over the store, with sealing and unsealing.
#include "item_ops.h"

#include <sys/stat.h>
#include <sys/time.h>

#include "item_object.h"
#include "keychain_lists.h"
#include "keychain_object.h"

namespace secimpl {

namespace {

constexpr int kBatch = 256;

bool FileExists(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0;
}

void StampNew(ItemRow* row) {
  std::string now = FormatDate(NowSeconds());
  row->attrs[FourCC("cdat")] = now;
  row->attrs[FourCC("mdat")] = now;
  auto nonEmpty = [&](uint32_t tag) {
    auto it = row->attrs.find(tag);
    return it != row->attrs.end() && !it->second.empty() ? &it->second : nullptr;
  };
  if (nonEmpty(FourCC("labl"))) return;
  const std::string* label = nullptr;
  if (row->itemClass == kClassGenericPassword) label = nonEmpty(FourCC("svce"));
  if (row->itemClass == kClassInternetPassword) label = nonEmpty(FourCC("srvr"));
  if (!label) label = nonEmpty(FourCC("acct"));
  if (label) row->attrs[FourCC("labl")] = *label;
}

}  // namespace

double NowSeconds() {
  struct timeval tv;
  gettimeofday(&tv, nullptr);
  return double(tv.tv_sec);
}

OSStatus LoadItem(SecKeychainItemRef item, bool withSecret, ItemRow* row) {
  return WithStore(ItemKeychain(item), [&](Store& store) -> OSStatus {
    OSStatus status = store.Get(ItemId(item), withSecret, row);
    if (status == errSecSuccess && row->itemClass != ItemClassOf(item)) return errSecInvalidItemRef;
    return status;
  });
}

OSStatus OpenSecret(SecKeychainRef kc, const ItemRow& row, SecureBytes* out) {
  if (!row.hasSecret) {
    out->Resize(0);
    return errSecSuccess;
  }
  ScratchKey scratch;
  SecretKey& key = scratch.get();
  if (!key.ok()) return errSecAllocate;
  std::string uuid;
  OSStatus status = ObtainKey(kc, &key, &uuid);
  if (status != errSecSuccess) return status;
  // A ciphertext that does not belong to this item fails here.
  if (!Unseal(key, row.sealed, ItemBinding(uuid, row.itemClass, row.id), out))
    return errSecVerifyFailed;
  return errSecSuccess;
}

OSStatus AddItemTo(SecKeychainRef kc, ItemRow* row, const void* data, size_t length, bool hasData,
                   SecKeychainItemRef* out) {
  SecKeychainRef target = nullptr;
  if (kc && FileExists(KeychainPath(kc))) {
    target = (SecKeychainRef)CFRetain(kc);
  } else {
    // A missing keychain file sends the item to the default keychain.
    OSStatus status = CopyDefaultKeychain(&target);
    if (status != errSecSuccess) return status;
  }
  StampNew(row);
  ScratchKey scratch;
  SecretKey& key = scratch.get();
  OSStatus status = key.ok() ? ObtainKey(target, &key) : errSecAllocate;
  if (status == errSecSuccess) {
    status = WithStore(target, [&](Store& store) -> OSStatus {
      std::string uuid = store.header().uuid;
      SealFn seal = [&](int64_t id, std::string* sealed) -> int {
        *sealed = Seal(key, data, length, ItemBinding(uuid, row->itemClass, id));
        return errSecSuccess;
      };
      return store.Insert(row, hasData ? seal : SealFn());
    });
  }
  if (status == errSecSuccess && out) {
    *out = CreateItemRef(target, row->id, row->itemClass);
    if (!*out) status = errSecAllocate;
  }
  CFRelease(target);
  return status;
}

OSStatus SaveItem(SecKeychainItemRef item, ItemRow* row, const void* data, size_t length,
                  bool replaceData) {
  SecKeychainRef kc = ItemKeychain(item);
  ScratchKey scratch;
  SecretKey& key = scratch.get();
  OSStatus status = key.ok() ? ObtainKey(kc, &key) : errSecAllocate;
  if (status != errSecSuccess) return status;
  return WithStore(kc, [&](Store& store) -> OSStatus {
    std::string uuid = store.header().uuid;
    SealFn seal = [&](int64_t id, std::string* sealed) -> int {
      *sealed = Seal(key, data, length, ItemBinding(uuid, row->itemClass, id));
      return errSecSuccess;
    };
    return store.Update(*row, replaceData ? &seal : nullptr);
  });
}

OSStatus DeleteStoredItem(SecKeychainItemRef item) {
  SecKeychainRef kc = ItemKeychain(item);
  ScratchKey scratch;
  SecretKey& key = scratch.get();
  OSStatus status = key.ok() ? ObtainKey(kc, &key) : errSecAllocate;
  if (status != errSecSuccess) return status;
  return WithStore(kc, [&](Store& store) -> OSStatus { return store.Delete(ItemId(item)); });
}

OSStatus ForEachMatch(const std::vector<SecKeychainRef>& keychains, uint32_t itemClass,
                      const std::vector<Filter>& filters, bool withSecret, size_t limit,
                      const std::function<bool(SecKeychainRef, ItemRow&)>& fn) {
  size_t delivered = 0;
  for (SecKeychainRef kc : keychains) {
    int64_t after = 0;
    for (;;) {
      std::vector<ItemRow> rows;
      int want = kBatch;
      if (limit && limit - delivered < size_t(want)) want = int(limit - delivered);
      OSStatus status = WithStore(kc, [&](Store& store) -> OSStatus {
        return store.Find(itemClass, filters, after, want, withSecret, &rows);
      });
      if (status != errSecSuccess) break;  // an unreadable keychain is skipped
      for (ItemRow& row : rows) {
        after = row.id;
        ++delivered;
        if (!fn(kc, row)) return errSecSuccess;
        if (limit && delivered >= limit) return errSecSuccess;
      }
      if (int(rows.size()) < want) break;
    }
  }
  return errSecSuccess;
}

}  // namespace secimpl

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
  // A ciphertext that belongs to another row, or is shown under other names
  // than it was sealed with, fails here.
  if (Unseal(key, row.sealed, ItemBinding(uuid, row.schema, row), out)) return errSecSuccess;
  // Another process may have upgraded the file since this one read its
  // header: then the row is in the new binding, and one more try under it
  // tells an upgrade from damage.
  int schema = row.schema;
  status = WithStore(kc, [&](Store& store) -> OSStatus {
    OSStatus s = store.ReadHeader();
    schema = store.header().schema;
    return s;
  });
  if (status != errSecSuccess) return status;
  if (schema != row.schema && Unseal(key, row.sealed, ItemBinding(uuid, schema, row), out)) return errSecSuccess;
  // errSecDecode, as Apple names data that cannot be decoded: this item is
  // damaged or moved; the keychain itself still reads.
  return errSecDecode;
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
    SealFn seal = [&](const std::string& ad, std::string* sealed) -> int {
      *sealed = Seal(key, data, length, ad);
      return errSecSuccess;
    };
    status = WithStore(target, [&](Store& store) -> OSStatus {
      return store.Insert(row, hasData ? &seal : nullptr);
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
  SealFn seal = [&](const std::string& ad, std::string* sealed) -> int {
    *sealed = Seal(key, data, length, ad);
    return errSecSuccess;
  };
  // New names re-seal the secret under them, in the same transaction.
  return WithStore(kc, [&](Store& store) -> OSStatus {
    return store.Update(*row, replaceData ? &seal : nullptr, ResealWith(key));
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
  OSStatus failure = errSecSuccess;
  for (SecKeychainRef kc : keychains) {
    int64_t after = 0;
    for (;;) {
      FoundRows batch;
      int want = kBatch;
      if (limit && limit - delivered < size_t(want)) want = int(limit - delivered);
      OSStatus status = WithStore(kc, [&](Store& store) -> OSStatus {
        return store.Find(itemClass, filters, after, want, withSecret, &batch);
      });
      for (ItemRow& row : batch.rows) {
        ++delivered;
        if (!fn(kc, row)) return errSecSuccess;
        if (limit && delivered >= limit) return errSecSuccess;
      }
      // A missing file holds nothing, as on macOS; any other failure is
      // remembered, and the other keychains are still read.
      if (status != errSecSuccess) {
        if (status != errSecNoSuchKeychain) failure = status;
        break;
      }
      after = batch.lastId;
      if (batch.scanned < want) break;
    }
  }
  return failure;
}

}  // namespace secimpl

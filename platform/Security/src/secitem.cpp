// SecItemAdd, SecItemCopyMatching, SecItemUpdate and SecItemDelete over the
// keychain store, for generic and internet passwords.
//
// One deliberate difference from macOS: asking for data of all matches
// (kSecReturnData with kSecMatchLimitAll) returns an array of data instead
// of failing with errSecParam.
#include <Security/SecItem.h>

#include <sodium.h>

#include <functional>
#include <memory>

#include "item_object.h"
#include "item_ops.h"
#include "keychain_lists.h"
#include "keychain_object.h"
#include "persistent_ref.h"
#include "secitem_convert.h"

using namespace secimpl;

namespace {

struct Match {
  SecKeychainRef keychain;  // retained
  ItemRow row;
};

struct Query {
  uint32_t itemClass = 0;
  bool storedClass = true;  // false for classes this store does not hold
  std::vector<Filter> filters;
  bool returnData = false, returnAttributes = false, returnRef = false, returnPersistentRef = false;
  bool limitAll = false;
  CFIndex limit = 1;
  std::vector<SecKeychainRef> keychains;      // where to search (retained)
  bool useItemList = false;                   // only these items, no search
  std::vector<SecKeychainItemRef> items;      // retained
  bool matchItemList = false;
  std::vector<SecKeychainItemRef> matchItems;  // retained
  SecKeychainRef useKeychain = nullptr;        // not retained; Add only

  ~Query() {
    ReleaseKeychains(&keychains);
    for (SecKeychainItemRef i : items) CFRelease(i);
    for (SecKeychainItemRef i : matchItems) CFRelease(i);
  }
};

bool IsType(CFTypeRef v, CFTypeID t) { return v && CFGetTypeID(v) == t; }

bool True(CFDictionaryRef d, CFStringRef key) {
  CFTypeRef v = CFDictionaryGetValue(d, key);
  if (IsType(v, CFBooleanGetTypeID())) return CFBooleanGetValue((CFBooleanRef)v);
  if (IsType(v, CFNumberGetTypeID())) {
    int n = 0;
    CFNumberGetValue((CFNumberRef)v, kCFNumberIntType, &n);
    return n != 0;
  }
  return false;
}

// An item reference, or a persistent reference resolved to one (retained).
OSStatus ItemFrom(CFTypeRef v, SecKeychainItemRef* out) {
  if (IsItem(v)) {
    *out = (SecKeychainItemRef)CFRetain(v);
    return errSecSuccess;
  }
  if (IsType(v, CFDataGetTypeID())) return ResolvePersistentRef((CFDataRef)v, out);
  return errSecParam;
}

OSStatus ItemsFrom(CFTypeRef v, std::vector<SecKeychainItemRef>* out) {
  if (!IsType(v, CFArrayGetTypeID())) return errSecParam;
  for (CFIndex i = 0, n = CFArrayGetCount((CFArrayRef)v); i < n; ++i) {
    SecKeychainItemRef item = nullptr;
    CFTypeRef e = CFArrayGetValueAtIndex((CFArrayRef)v, i);
    OSStatus status = ItemFrom(e, &item);
    // A persistent reference to a gone item matches nothing; one into a
    // damaged keychain says so.
    if (status != errSecSuccess && status != errSecItemNotFound) return status;
    if (item) out->push_back(item);
  }
  return errSecSuccess;
}

OSStatus ParseQuery(CFDictionaryRef dict, bool forAdd, Query* q) {
  if (!IsType(dict, CFDictionaryGetTypeID())) return errSecParam;
  CFTypeRef v;
  if ((v = CFDictionaryGetValue(dict, kSecValueRef))) {
    SecKeychainItemRef item = nullptr;
    if (!IsItem(v)) return errSecParam;
    item = (SecKeychainItemRef)CFRetain(v);
    q->items.push_back(item);
    q->useItemList = true;
  }
  if ((v = CFDictionaryGetValue(dict, kSecValuePersistentRef))) {
    if (!IsType(v, CFDataGetTypeID())) return errSecParam;
    SecKeychainItemRef item = nullptr;
    OSStatus status = ResolvePersistentRef((CFDataRef)v, &item);
    if (status != errSecSuccess && status != errSecItemNotFound) return status;
    if (item) q->items.push_back(item);
    q->useItemList = true;
  }
  if ((v = CFDictionaryGetValue(dict, kSecUseItemList))) {
    OSStatus status = ItemsFrom(v, &q->items);
    if (status != errSecSuccess) return status;
    q->useItemList = true;
  }
  if ((v = CFDictionaryGetValue(dict, kSecMatchItemList))) {
    OSStatus status = ItemsFrom(v, &q->matchItems);
    if (status != errSecSuccess) return status;
    q->matchItemList = true;
  }
  v = CFDictionaryGetValue(dict, kSecClass);
  if (v) {
    OSStatus status = ClassFromValue(v, &q->itemClass);
    if (status != errSecSuccess) return status;
    q->storedClass = q->itemClass != 0;
    if (forAdd && CFEqual(v, kSecClassIdentity)) return errSecParam;
  } else if (!q->useItemList) {
    return errSecParam;
  } else {
    q->itemClass = kClassAnyRecord;
  }
  if (q->storedClass && q->itemClass != kClassAnyRecord) {
    OSStatus status = FiltersFromDictionary(dict, q->itemClass, &q->filters);
    if (status != errSecSuccess) return status;
  }
  q->returnData = True(dict, kSecReturnData);
  q->returnAttributes = True(dict, kSecReturnAttributes);
  q->returnRef = True(dict, kSecReturnRef);
  q->returnPersistentRef = True(dict, kSecReturnPersistentRef);
  if (!q->returnData && !q->returnAttributes && !q->returnPersistentRef) q->returnRef = true;

  if ((v = CFDictionaryGetValue(dict, kSecMatchLimit))) {
    if (IsType(v, CFStringGetTypeID())) {
      if (CFEqual(v, kSecMatchLimitAll)) q->limitAll = true;
      else if (CFEqual(v, kSecMatchLimitOne)) q->limit = 1;
      else return errSecParam;
    } else if (IsType(v, CFNumberGetTypeID())) {
      long long n = 0;
      CFNumberGetValue((CFNumberRef)v, kCFNumberLongLongType, &n);
      if (n < 0) return errSecParam;
      q->limit = CFIndex(n);
    } else {
      return errSecParam;
    }
  }
  if ((v = CFDictionaryGetValue(dict, kSecUseKeychain))) {
    if (!IsKeychain(v)) return errSecParam;
    q->useKeychain = (SecKeychainRef)v;
  }
  if ((v = CFDictionaryGetValue(dict, kSecValueData)) && !IsType(v, CFDataGetTypeID()) &&
      !IsType(v, CFStringGetTypeID()))
    return errSecParam;
  if ((v = CFDictionaryGetValue(dict, kSecMatchValidOnDate)) && !IsType(v, CFDateGetTypeID()) &&
      !IsType(v, CFNullGetTypeID()))
    return errSecParam;
  if ((v = CFDictionaryGetValue(dict, kSecMatchSearchList))) {
    OSStatus status = IsType(v, CFArrayGetTypeID()) ? ResolveKeychains(v, &q->keychains) : errSecParam;
    if (status != errSecSuccess) return status;
  } else if (!forAdd && !q->useItemList) {
    OSStatus status = ResolveKeychains(nullptr, &q->keychains);
    if (status != errSecSuccess) return status;
  }
  return errSecSuccess;
}

bool InList(const std::vector<SecKeychainItemRef>& list, SecKeychainItemRef item) {
  for (SecKeychainItemRef i : list)
    if (CFEqual(i, item)) return true;
  return false;
}

// Hands each match of a query to `take`, at most `max` of them (0: all),
// until `take` answers false. A match's keychain is retained for `take`,
// which owns it from then on. A failure to read is returned even when some
// matches were handed over: a listing that met damage is not passed off as
// complete.
OSStatus ForEachQueryMatch(const Query& q, bool withSecret, size_t max,
                           const std::function<bool(Match&&)>& take) {
  size_t taken = 0;
  if (q.useItemList) {
    for (SecKeychainItemRef item : q.items) {
      if (q.itemClass != kClassAnyRecord && ItemClassOf(item) != q.itemClass) continue;
      Match m{ItemKeychain(item), ItemRow()};
      OSStatus status = LoadItem(item, withSecret, &m.row);
      if (status == errSecInvalidItemRef || status == errSecNoSuchKeychain) continue;  // gone
      if (status != errSecSuccess) return status;
      m.keychain = (SecKeychainRef)CFRetain(m.keychain);
      if (!take(std::move(m)) || (max && ++taken >= max)) break;
    }
    return errSecSuccess;
  }
  if (!q.storedClass) return errSecSuccess;
  size_t limit = q.matchItemList ? 0 : max;
  return ForEachMatch(q.keychains, q.itemClass, q.filters, withSecret, limit, [&](SecKeychainRef kc, ItemRow& row) {
    if (q.matchItemList) {
      SecKeychainItemRef probe = CreateItemRef(kc, row.id, row.itemClass);
      bool keep = probe && InList(q.matchItems, probe);
      if (probe) CFRelease(probe);
      if (!keep) return true;
    }
    if (!take(Match{(SecKeychainRef)CFRetain(kc), std::move(row)})) return false;
    return !(max && ++taken >= max);
  });
}

// The matches of a query, at most `max` of them (0: all), and the walk's status.
OSStatus Collect(const Query& q, bool withSecret, size_t max, std::vector<Match>* out) {
  return ForEachQueryMatch(q, withSecret, max, [out](Match&& m) {
    out->push_back(std::move(m));
    return true;
  });
}

void ReleaseMatches(std::vector<Match>* ms) {
  for (Match& m : *ms) CFRelease(m.keychain);
  ms->clear();
}

struct MatchesHolder {
  std::vector<Match> v;
  ~MatchesHolder() { ReleaseMatches(&v); }
};

// One result in the shape the return keys ask for.
OSStatus Shape(const Query& q, const Match& m, CFTypeRef* out) {
  int kinds = int(q.returnData) + int(q.returnAttributes) + int(q.returnRef) + int(q.returnPersistentRef);
  CFTypeRef data = nullptr, ref = nullptr, pref = nullptr;
  CFMutableDictionaryRef attrs = nullptr;
  OSStatus status = errSecSuccess;
  SecKeychainItemRef item = nullptr;
  if (q.returnRef || q.returnPersistentRef) {
    item = CreateItemRef(m.keychain, m.row.id, m.row.itemClass);
    if (!item) return errSecAllocate;
  }
  if (q.returnData) {
    SecureBytes secret;
    status = OpenSecret(m.keychain, m.row, &secret);
    if (status == errSecSuccess)
      data = CFDataCreate(kCFAllocatorDefault, secret.data(), CFIndex(secret.size()));
  }
  if (status == errSecSuccess && q.returnPersistentRef) status = CreatePersistentRef(item, (CFDataRef*)&pref);
  if (status == errSecSuccess && q.returnRef) ref = CFRetain(item);
  if (status == errSecSuccess && (q.returnAttributes || kinds > 1)) {
    attrs = q.returnAttributes ? CopyAttributesDictionary(m.row)
                               : CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                           &kCFTypeDictionaryValueCallBacks);
    if (!attrs) status = errSecAllocate;
  }
  if (item) CFRelease(item);
  if (status != errSecSuccess) {
    for (CFTypeRef x : {data, ref, pref, (CFTypeRef)attrs})
      if (x) CFRelease(x);
    return status;
  }
  if (kinds == 1 && !q.returnAttributes) {
    *out = data ? data : ref ? ref : pref;
    return errSecSuccess;
  }
  if (kinds > 1) {
    if (data) CFDictionarySetValue(attrs, kSecValueData, data);
    if (ref) CFDictionarySetValue(attrs, kSecValueRef, ref);
    if (pref) CFDictionarySetValue(attrs, kSecValuePersistentRef, pref);
    for (CFTypeRef x : {data, ref, pref})
      if (x) CFRelease(x);
  }
  *out = attrs;
  return errSecSuccess;
}

size_t MaxMatches(const Query& q) { return q.limitAll ? 0 : size_t(q.limit); }

}  // namespace

extern "C" {

OSStatus SecItemCopyMatching(CFDictionaryRef query, CFTypeRef* result) {
  if (result) *result = nullptr;
  Query q;
  OSStatus status = ParseQuery(query, false, &q);
  if (status != errSecSuccess) return status;
  if (!q.limitAll && q.limit == 0) return errSecItemNotFound;
  // Only the secret itself needs the sealed bytes read.
  const bool withSecret = q.returnData;
  if (!result || (!q.limitAll && q.limit == 1)) {
    MatchesHolder ms;
    status = Collect(q, withSecret, 1, &ms.v);
    if (status != errSecSuccess) return status;
    if (ms.v.empty()) return errSecItemNotFound;
    return result ? Shape(q, ms.v.front(), result) : errSecSuccess;
  }
  // Every match is shaped as it is read, so a long result never holds the
  // stored rows and their converted form at once.
  CFMutableArrayRef array = CFArrayCreateMutable(kCFAllocatorDefault, 0, &kCFTypeArrayCallBacks);
  if (!array) return errSecAllocate;
  OSStatus walk = ForEachQueryMatch(q, withSecret, MaxMatches(q), [&](Match&& m) {
    CFTypeRef one = nullptr;
    status = Shape(q, m, &one);
    CFRelease(m.keychain);
    if (status != errSecSuccess) return false;
    CFArrayAppendValue(array, one);
    CFRelease(one);
    return true;
  });
  if (status == errSecSuccess) status = walk;
  if (status == errSecSuccess && CFArrayGetCount(array) == 0) status = errSecItemNotFound;
  if (status != errSecSuccess) {
    CFRelease(array);
    return status;
  }
  *result = array;
  return errSecSuccess;
}

OSStatus SecItemAdd(CFDictionaryRef attributes, CFTypeRef* result) {
  if (result) *result = nullptr;
  Query q;
  OSStatus status = ParseQuery(attributes, true, &q);
  if (status != errSecSuccess) return status;
  if (q.useItemList || !q.storedClass) return errSecUnimplemented;  // only passwords are stored
  ItemRow row;
  row.itemClass = q.itemClass;
  status = RowFromDictionary(attributes, false, &row);  // dates are always "now"
  if (status != errSecSuccess) return status;
  CFTypeRef value = CFDictionaryGetValue(attributes, kSecValueData);
  std::string bytes;
  if (IsType(value, CFDataGetTypeID()))
    bytes.assign(reinterpret_cast<const char*>(CFDataGetBytePtr((CFDataRef)value)),
                 size_t(CFDataGetLength((CFDataRef)value)));
  else if (IsType(value, CFStringGetTypeID())) {
    CFStringRef s = (CFStringRef)value;
    CFIndex len = CFStringGetLength(s), used = 0;
    CFIndex max = CFStringGetMaximumSizeForEncoding(len, kCFStringEncodingUTF8);
    bytes.assign(size_t(max), '\0');
    CFStringGetBytes(s, CFRangeMake(0, len), kCFStringEncodingUTF8, 0, false,
                     reinterpret_cast<UInt8*>(&bytes[0]), max, &used);
    bytes.resize(size_t(used));
  }
  SecKeychainItemRef item = nullptr;
  status = AddItemTo(q.useKeychain, &row, bytes.data(), bytes.size(), value != nullptr, &item);
  if (!bytes.empty()) sodium_memzero(&bytes[0], bytes.size());
  if (status != errSecSuccess) return status;
  if (result) {
    Match m{ItemKeychain(item), row};
    q.limitAll = false;
    q.limit = 1;
    status = Shape(q, m, result);
  }
  CFRelease(item);
  return status;
}

OSStatus SecItemUpdate(CFDictionaryRef query, CFDictionaryRef attributesToUpdate) {
  if (!IsType(attributesToUpdate, CFDictionaryGetTypeID())) return errSecParam;
  Query q;
  OSStatus status = ParseQuery(query, false, &q);
  if (status != errSecSuccess) return status;
  CFTypeRef value = CFDictionaryGetValue(attributesToUpdate, kSecValueData);
  if (value && !IsType(value, CFDataGetTypeID())) return errSecParam;
  MatchesHolder ms;
  status = Collect(q, false, q.limitAll ? 0 : 1, &ms.v);  // the first match only, unless all are asked for
  if (status != errSecSuccess) return status;
  if (ms.v.empty()) return errSecItemNotFound;
  for (Match& m : ms.v) {
    ItemRow row = m.row;
    status = RowFromDictionary(attributesToUpdate, true, &row);
    if (status != errSecSuccess) return status;
    row.attrs[FourCC("mdat")] = FormatDate(NowSeconds());
    SecKeychainItemRef item = CreateItemRef(m.keychain, row.id, row.itemClass);
    if (!item) return errSecAllocate;
    const void* bytes = value ? CFDataGetBytePtr((CFDataRef)value) : nullptr;
    size_t length = value ? size_t(CFDataGetLength((CFDataRef)value)) : 0;
    status = SaveItem(item, &row, bytes, length, value != nullptr);
    CFRelease(item);
    if (status != errSecSuccess) return status;
  }
  return errSecSuccess;
}

OSStatus SecItemDelete(CFDictionaryRef query) {
  Query q;
  OSStatus status = ParseQuery(query, false, &q);
  if (status != errSecSuccess) return status;
  MatchesHolder ms;
  // Explicit item lists name exactly what goes; otherwise the first match,
  // unless all are asked for.
  size_t max = (q.limitAll || q.useItemList || q.matchItemList) ? 0 : 1;
  status = Collect(q, false, max, &ms.v);
  if (status != errSecSuccess) return status;  // nothing is deleted on a keychain that reads wrong
  if (ms.v.empty()) return errSecItemNotFound;
  size_t deleted = 0;
  for (Match& m : ms.v) {
    SecKeychainItemRef item = CreateItemRef(m.keychain, m.row.id, m.row.itemClass);
    if (!item) return errSecAllocate;
    status = DeleteStoredItem(item);
    CFRelease(item);
    // Gone since it was found: another caller deleted it first.
    if (status == errSecInvalidItemRef) continue;
    if (status != errSecSuccess) return status;
    ++deleted;
  }
  return deleted ? errSecSuccess : errSecItemNotFound;
}

}  // extern "C"

// The hashed storage behind CFDictionary, CFSet and CFBag: keys (and values)
// are retained, compared and hashed through the collection's callbacks, and
// each key carries an occurrence count for bags.
#pragma once

#include <functional>
#include <unordered_map>

#include "cf_internal.h"

namespace cf {

class HashTable {
 public:
  struct Entry {
    const void* value;
    CFIndex count;
  };

  HashTable() = default;
  ~HashTable();
  HashTable(const HashTable&) = delete;
  HashTable& operator=(const HashTable&) = delete;

  void Configure(CFAllocatorRef allocator, const CFDictionaryKeyCallBacks* keys,
                 const CFDictionaryValueCallBacks* values);
  const CFDictionaryKeyCallBacks& keyCallBacks() const { return keys_; }
  const CFDictionaryValueCallBacks& valueCallBacks() const { return values_; }

  CFIndex distinctCount() const { return static_cast<CFIndex>(map_.size()); }
  CFIndex totalCount() const { return total_; }

  // The stored key equal to `key` and its entry, or nullptr.
  const Entry* Find(const void* key, const void** storedKey = nullptr) const;

  enum class Mode { kAddIfAbsent, kReplaceIfPresent, kSet, kCount };
  // kCount adds one occurrence of an existing key (bags).
  void Put(const void* key, const void* value, Mode mode);
  // Removes one occurrence, or the whole key with `all`.
  void Remove(const void* key, bool all);
  void RemoveAll();

  void ForEach(const std::function<void(const void* key, const Entry& entry)>& fn) const;
  bool SameContents(const HashTable& other) const;
  bool ValuesEqual(const void* a, const void* b) const;
  bool KeysEqual(const void* a, const void* b) const;

 private:
  struct Hasher {
    const CFDictionaryKeyCallBacks* cb;
    size_t operator()(const void* k) const {
      return cb->hash ? static_cast<size_t>(cb->hash(k)) : std::hash<const void*>()(k);
    }
  };
  struct Equal {
    const CFDictionaryKeyCallBacks* cb;
    bool operator()(const void* a, const void* b) const { return a == b || (cb->equal && cb->equal(a, b)); }
  };

  const void* RetainKey(const void* key) const;
  void ReleaseKey(const void* key) const;
  const void* RetainValue(const void* value) const;
  void ReleaseValue(const void* value) const;

  CFAllocatorRef allocator_ = nullptr;
  CFDictionaryKeyCallBacks keys_ = {0, nullptr, nullptr, nullptr, nullptr, nullptr};
  CFDictionaryValueCallBacks values_ = {0, nullptr, nullptr, nullptr, nullptr};
  std::unordered_map<const void*, Entry, Hasher, Equal> map_{8, Hasher{&keys_}, Equal{&keys_}};
  CFIndex total_ = 0;
};

}  // namespace cf

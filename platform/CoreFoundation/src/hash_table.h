// The hashed storage behind CFDictionary, CFSet and CFBag: keys (and values)
// are retained, compared and hashed through the collection's callbacks, and
// each key carries an occurrence count for bags. The slots are one open-
// addressed array, so a collection costs one allocation for its storage
// however many entries it holds: programs that make thousands of small
// dictionaries (one per keychain item) do not pay an allocation per entry.
#pragma once

#include <functional>
#include <vector>

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

  CFIndex distinctCount() const { return used_; }
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
  enum class SlotState : unsigned char { kEmpty, kFull, kRemoved };
  struct Slot {
    const void* key;
    Entry entry;
    SlotState state;
  };

  size_t Hash(const void* key) const;
  // The slot holding `key`, or nullptr.
  const Slot* Locate(const void* key) const;
  Slot* Locate(const void* key) { return const_cast<Slot*>(static_cast<const HashTable*>(this)->Locate(key)); }
  // Makes room for one more key, keeping at least half the slots empty.
  void Reserve();
  void Insert(const void* key, const Entry& entry);

  const void* RetainKey(const void* key) const;
  void ReleaseKey(const void* key) const;
  const void* RetainValue(const void* value) const;
  void ReleaseValue(const void* value) const;

  CFAllocatorRef allocator_ = nullptr;
  CFDictionaryKeyCallBacks keys_ = {0, nullptr, nullptr, nullptr, nullptr, nullptr};
  CFDictionaryValueCallBacks values_ = {0, nullptr, nullptr, nullptr, nullptr};
  std::vector<Slot> slots_;  // a power of two in size, or empty
  CFIndex used_ = 0;         // full slots
  CFIndex removed_ = 0;      // slots freed by removals, still ending probes
  CFIndex total_ = 0;
};

}  // namespace cf

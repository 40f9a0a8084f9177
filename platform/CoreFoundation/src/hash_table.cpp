// Hashed storage shared by dictionaries, sets and bags.
#include "hash_table.h"

#include <vector>

namespace cf {

HashTable::~HashTable() { RemoveAll(); }

void HashTable::Configure(CFAllocatorRef allocator, const CFDictionaryKeyCallBacks* keys,
                          const CFDictionaryValueCallBacks* values) {
  allocator_ = allocator;
  if (keys) keys_ = *keys;
  if (values) values_ = *values;
}

const void* HashTable::RetainKey(const void* key) const { return keys_.retain ? keys_.retain(allocator_, key) : key; }
void HashTable::ReleaseKey(const void* key) const {
  if (keys_.release) keys_.release(allocator_, key);
}
const void* HashTable::RetainValue(const void* value) const {
  return values_.retain ? values_.retain(allocator_, value) : value;
}
void HashTable::ReleaseValue(const void* value) const {
  if (values_.release) values_.release(allocator_, value);
}

bool HashTable::ValuesEqual(const void* a, const void* b) const {
  return a == b || (values_.equal && values_.equal(a, b));
}

bool HashTable::KeysEqual(const void* a, const void* b) const { return Equal{&keys_}(a, b); }

const HashTable::Entry* HashTable::Find(const void* key, const void** storedKey) const {
  auto it = map_.find(key);
  if (it == map_.end()) return nullptr;
  if (storedKey) *storedKey = it->first;
  return &it->second;
}

void HashTable::Put(const void* key, const void* value, Mode mode) {
  auto it = map_.find(key);
  if (it == map_.end()) {
    if (mode == Mode::kReplaceIfPresent) return;
    const void* k = RetainKey(key);
    const void* v = RetainValue(value);
    map_.emplace(k, Entry{v, 1});
    ++total_;
    return;
  }
  switch (mode) {
    case Mode::kAddIfAbsent:
      return;
    case Mode::kCount:
      // One stored key stands for every occurrence; it is retained once.
      ++it->second.count;
      ++total_;
      return;
    case Mode::kReplaceIfPresent:
    case Mode::kSet: {
      const void* v = RetainValue(value);
      const void* old = it->second.value;
      it->second.value = v;
      ReleaseValue(old);
      return;
    }
  }
}

void HashTable::Remove(const void* key, bool all) {
  auto it = map_.find(key);
  if (it == map_.end()) return;
  const void* k = it->first;
  if (!all && it->second.count > 1) {
    --it->second.count;
    --total_;
    return;
  }
  Entry e = it->second;
  map_.erase(it);
  total_ -= e.count;
  ReleaseKey(k);
  ReleaseValue(e.value);
}

void HashTable::RemoveAll() {
  // Empty the table first: a release callback may look at this collection.
  std::vector<std::pair<const void*, Entry>> old(map_.begin(), map_.end());
  map_.clear();
  total_ = 0;
  for (auto& kv : old) {
    ReleaseKey(kv.first);
    ReleaseValue(kv.second.value);
  }
}

void HashTable::ForEach(const std::function<void(const void*, const Entry&)>& fn) const {
  // Iterate over a snapshot so that the callback may not invalidate us.
  std::vector<std::pair<const void*, Entry>> items(map_.begin(), map_.end());
  for (auto& kv : items) fn(kv.first, kv.second);
}

bool HashTable::SameContents(const HashTable& other) const {
  if (map_.size() != other.map_.size() || total_ != other.total_) return false;
  for (const auto& kv : map_) {
    const Entry* e = other.Find(kv.first);
    if (!e || e->count != kv.second.count || !ValuesEqual(kv.second.value, e->value)) return false;
  }
  return true;
}

}  // namespace cf

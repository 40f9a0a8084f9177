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

bool HashTable::KeysEqual(const void* a, const void* b) const {
  return a == b || (keys_.equal && keys_.equal(a, b));
}

size_t HashTable::Hash(const void* key) const {
  uint64_t h = keys_.hash ? static_cast<uint64_t>(keys_.hash(key)) : reinterpret_cast<uintptr_t>(key) >> 4;
  // Spread the bits: callers' hashes and pointers differ mostly in high or low bits.
  h ^= h >> 33;
  h *= 0xff51afd7ed558ccdULL;
  h ^= h >> 33;
  return static_cast<size_t>(h);
}

const HashTable::Slot* HashTable::Locate(const void* key) const {
  if (slots_.empty()) return nullptr;
  const size_t mask = slots_.size() - 1;
  for (size_t i = Hash(key) & mask;; i = (i + 1) & mask) {
    const Slot& slot = slots_[i];
    if (slot.state == SlotState::kEmpty) return nullptr;
    if (slot.state == SlotState::kFull && KeysEqual(slot.key, key)) return &slot;
  }
}

void HashTable::Insert(const void* key, const Entry& entry) {
  const size_t mask = slots_.size() - 1;
  size_t i = Hash(key) & mask;
  while (slots_[i].state == SlotState::kFull) i = (i + 1) & mask;
  if (slots_[i].state == SlotState::kRemoved) --removed_;
  slots_[i] = Slot{key, entry, SlotState::kFull};
  ++used_;
}

void HashTable::Reserve() {
  const size_t needed = static_cast<size_t>(used_ + removed_ + 1) * 2;
  if (slots_.size() >= needed) return;
  size_t size = 8;
  while (size < static_cast<size_t>(used_ + 1) * 2) size *= 2;
  std::vector<Slot> old;
  old.swap(slots_);
  slots_.assign(size, Slot{nullptr, Entry{nullptr, 0}, SlotState::kEmpty});
  used_ = 0;
  removed_ = 0;
  for (const Slot& slot : old)
    if (slot.state == SlotState::kFull) Insert(slot.key, slot.entry);
}

const HashTable::Entry* HashTable::Find(const void* key, const void** storedKey) const {
  const Slot* slot = Locate(key);
  if (slot == nullptr) return nullptr;
  if (storedKey) *storedKey = slot->key;
  return &slot->entry;
}

void HashTable::Put(const void* key, const void* value, Mode mode) {
  Slot* slot = Locate(key);
  if (slot == nullptr) {
    if (mode == Mode::kReplaceIfPresent) return;
    const void* k = RetainKey(key);
    const void* v = RetainValue(value);
    Reserve();
    Insert(k, Entry{v, 1});
    ++total_;
    return;
  }
  switch (mode) {
    case Mode::kAddIfAbsent:
      return;
    case Mode::kCount:
      // One stored key stands for every occurrence; it is retained once.
      ++slot->entry.count;
      ++total_;
      return;
    case Mode::kReplaceIfPresent:
    case Mode::kSet: {
      const void* v = RetainValue(value);
      const void* old = slot->entry.value;
      slot->entry.value = v;
      ReleaseValue(old);
      return;
    }
  }
}

void HashTable::Remove(const void* key, bool all) {
  Slot* slot = Locate(key);
  if (slot == nullptr) return;
  if (!all && slot->entry.count > 1) {
    --slot->entry.count;
    --total_;
    return;
  }
  const void* k = slot->key;
  const Entry e = slot->entry;
  slot->state = SlotState::kRemoved;
  slot->key = nullptr;
  --used_;
  ++removed_;
  total_ -= e.count;
  ReleaseKey(k);
  ReleaseValue(e.value);
}

void HashTable::RemoveAll() {
  // Empty the table first: a release callback may look at this collection.
  std::vector<Slot> old;
  old.swap(slots_);
  used_ = removed_ = total_ = 0;
  for (const Slot& slot : old) {
    if (slot.state != SlotState::kFull) continue;
    ReleaseKey(slot.key);
    ReleaseValue(slot.entry.value);
  }
}

void HashTable::ForEach(const std::function<void(const void*, const Entry&)>& fn) const {
  // Iterate over a snapshot so that the callback may change the collection.
  std::vector<std::pair<const void*, Entry>> items;
  items.reserve(static_cast<size_t>(used_));
  for (const Slot& slot : slots_)
    if (slot.state == SlotState::kFull) items.emplace_back(slot.key, slot.entry);
  for (auto& kv : items) fn(kv.first, kv.second);
}

bool HashTable::SameContents(const HashTable& other) const {
  if (used_ != other.used_ || total_ != other.total_) return false;
  for (const Slot& slot : slots_) {
    if (slot.state != SlotState::kFull) continue;
    const Entry* e = other.Find(slot.key);
    if (!e || e->count != slot.entry.count || !ValuesEqual(slot.entry.value, e->value)) return false;
  }
  return true;
}

}  // namespace cf

// A table keyed by pointers: the value slabs, keyed by their base address.
// A lock, release or use of a host value that misses the slab found last
// looks its slab up here, so the table is one open-addressed array (linear
// probing, deletion by shifting back) rather than a node per entry: a lookup
// touches one or two cache lines and adding a record allocates nothing but
// the record itself. It offers the part of a map's interface its users need.
#ifndef PLUGIN_HOST_POINTER_MAP_H_
#define PLUGIN_HOST_POINTER_MAP_H_

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

namespace plugin_host {

template <typename T>
class PointerMap {
 public:
  using Slot = std::pair<const void*, std::unique_ptr<T>>;  // key null: empty

  class iterator {
   public:
    iterator(Slot* at, Slot* end) : at_(at), end_(end) { Skip(); }
    Slot& operator*() const { return *at_; }
    Slot* operator->() const { return at_; }
    iterator& operator++() {
      ++at_;
      Skip();
      return *this;
    }
    bool operator==(const iterator& o) const { return at_ == o.at_; }
    bool operator!=(const iterator& o) const { return at_ != o.at_; }

   private:
    void Skip() {
      while (at_ != end_ && at_->first == nullptr) ++at_;
    }
    Slot* at_;
    Slot* end_;
  };

  iterator begin() { return iterator(slots_.data(), slots_.data() + slots_.size()); }
  iterator end() { return iterator(slots_.data() + slots_.size(), slots_.data() + slots_.size()); }
  iterator begin() const { return const_cast<PointerMap*>(this)->begin(); }
  iterator end() const { return const_cast<PointerMap*>(this)->end(); }
  size_t size() const { return count_; }

  iterator find(const void* key) const {
    if (key == nullptr || slots_.empty()) return end();
    for (size_t i = Home(key);; i = (i + 1) & mask_) {
      Slot& s = const_cast<Slot&>(slots_[i]);
      if (s.first == key) return iterator(&s, const_cast<Slot*>(slots_.data()) + slots_.size());
      if (s.first == nullptr) return end();
    }
  }

  // The record of a key, made empty first if the key is new.
  std::unique_ptr<T>& operator[](const void* key) {
    iterator it = find(key);
    if (it != end()) return it->second;
    if ((count_ + 1) * 2 > slots_.size()) Grow();
    size_t i = Home(key);
    while (slots_[i].first != nullptr) i = (i + 1) & mask_;
    slots_[i].first = key;
    ++count_;
    return slots_[i].second;
  }

  void erase(iterator it) {
    size_t hole = static_cast<size_t>(&*it - slots_.data());
    slots_[hole].first = nullptr;
    slots_[hole].second.reset();
    --count_;
    // Entries after the hole that probed past it move back into it, so that
    // every key stays reachable from its home slot without tombstones.
    for (size_t i = (hole + 1) & mask_; slots_[i].first != nullptr; i = (i + 1) & mask_) {
      const size_t home = Home(slots_[i].first);
      const bool stays = hole <= i ? (hole < home && home <= i) : (hole < home || home <= i);
      if (stays) continue;
      slots_[hole] = std::move(slots_[i]);
      slots_[i].first = nullptr;
      hole = i;
    }
  }

  void clear() {
    slots_.clear();
    mask_ = 0;
    count_ = 0;
  }

 private:
  size_t Home(const void* key) const {
    // Records are at least 16-byte aligned: the low bits say nothing.
    uint64_t h = static_cast<uint64_t>(reinterpret_cast<uintptr_t>(key) >> 4) * 0x9E3779B97F4A7C15ull;
    return static_cast<size_t>(h >> 20) & mask_;
  }

  void Grow() {
    std::vector<Slot> old = std::move(slots_);
    slots_ = std::vector<Slot>(old.empty() ? 64 : old.size() * 2);
    mask_ = slots_.size() - 1;
    for (Slot& s : old) {
      if (s.first == nullptr) continue;
      size_t i = Home(s.first);
      while (slots_[i].first != nullptr) i = (i + 1) & mask_;
      slots_[i] = std::move(s);
    }
  }

  std::vector<Slot> slots_;
  size_t mask_ = 0;
  size_t count_ = 0;
};

}  // namespace plugin_host

#endif  // PLUGIN_HOST_POINTER_MAP_H_

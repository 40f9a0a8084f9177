// ValueArena: slabs aligned to their own size, so that a pointer's slab is
// its address with the low bits cleared. A slab holds slots of one size
// class; a payload too large for every class gets a slab of its own, which
// goes back to the allocator with it.
#include "value_arena.h"

#include <cstdlib>
#include <cstring>
#include <memory>

namespace plugin_host {

namespace {

constexpr size_t kSlabBytes = size_t(1) << 18;
constexpr uintptr_t kSlabMask = ~uintptr_t(kSlabBytes - 1);
// A slab's first bytes hold its arena's owner, and no slot starts at its
// base: a pointer to a slab's first byte is never a handle.
constexpr size_t kSlabHeader = 64;
constexpr size_t kPayloads[] = {48,  64,  80,  96,  112, 128,  160,  192,
                                256, 320, 384, 512, 768, 1024, 2048, 4096};
static_assert(kSlabBytes * 4096 < (uint64_t(1) << 32), "slot index by reciprocal");

size_t RoundUp(size_t n, size_t to) { return (n + to - 1) / to * to; }

}  // namespace

struct ValueArena::Slab {
  unsigned char* base = nullptr;
  size_t bytes = 0;     // of the whole slab
  size_t slotSize = 0;
  uint64_t reciprocal = 0;  // ceil(2^32 / slotSize): an offset's slot without a division
  size_t cut = 0;       // slots handed out from fresh memory so far
  size_t capacity = 0;
  int sizeClass = -1;   // -1: a slab of one large payload
  ~Slab() { std::free(base); }
  unsigned char* Slot(size_t i) const { return base + kSlabHeader + i * slotSize; }
};

ValueArena::ValueArena(size_t handleOffset, void* owner) : handleOffset_(handleOffset), owner_(owner) {
  static_assert(sizeof kPayloads / sizeof kPayloads[0] == kClasses, "one free list per class");
}

ValueArena::~ValueArena() = default;

ValueArena::Slab* ValueArena::NewSlab(size_t slotSize, size_t bytes, int sizeClass) {
  void* mem = std::aligned_alloc(kSlabBytes, bytes);
  if (mem == nullptr) return nullptr;
  auto slab = std::make_unique<Slab>();
  slab->base = static_cast<unsigned char*>(mem);
  std::memcpy(mem, &owner_, sizeof owner_);
  slab->bytes = bytes;
  slab->slotSize = slotSize;
  slab->reciprocal = ((uint64_t(1) << 32) + slotSize - 1) / slotSize;
  slab->capacity = (bytes - kSlabHeader) / slotSize;
  slab->sizeClass = sizeClass;
  Slab* raw = slab.get();
  slabs_[mem] = std::move(slab);
  return raw;
}

void* ValueArena::Allocate(size_t bytes) {
  int c = 0;
  while (c < kClasses && kPayloads[c] < bytes) ++c;
  unsigned char* slot = nullptr;
  size_t slotSize;
  if (c == kClasses) {
    slotSize = RoundUp(bytes, 16);
    Slab* slab = NewSlab(slotSize, RoundUp(kSlabHeader + slotSize, kSlabBytes), -1);
    if (slab == nullptr) return nullptr;
    slab->cut = 1;
    slot = slab->Slot(0);
  } else {
    slotSize = kPayloads[c];
    if (!free_[c].empty()) {
      slot = static_cast<unsigned char*>(free_[c].back());
      free_[c].pop_back();
    } else {
      Slab* slab = filling_[c];
      if (slab == nullptr || slab->cut == slab->capacity) {
        slab = NewSlab(slotSize, kSlabBytes, c);
        if (slab == nullptr) return nullptr;
        filling_[c] = slab;
      }
      slot = slab->Slot(slab->cut++);
    }
  }
  std::memset(slot, 0, slotSize);
  return slot;
}

// A freed slot is not touched: it may not have been used for a long while,
// and its record still says it was released until a new value is made in it.
void ValueArena::Free(void* payload) {
  const uintptr_t base = reinterpret_cast<uintptr_t>(payload) & kSlabMask;
  if (recent_ != nullptr && reinterpret_cast<uintptr_t>(recent_->base) == base && recent_->sizeClass >= 0) {
    free_[recent_->sizeClass].push_back(payload);
    return;
  }
  auto it = slabs_.find(reinterpret_cast<void*>(base));
  if (it == slabs_.end()) return;
  if (it->second->sizeClass < 0) {
    if (recent_ == it->second.get()) recent_ = nullptr;
    slabs_.erase(it);
    return;
  }
  free_[it->second->sizeClass].push_back(payload);
}

void* ValueArena::PayloadOf(const void* p) const {
  if (p == nullptr) return nullptr;
  const uintptr_t at = reinterpret_cast<uintptr_t>(p);
  const Slab* found = recent_;
  if (found == nullptr || reinterpret_cast<uintptr_t>(found->base) != (at & kSlabMask)) {
    auto it = slabs_.find(reinterpret_cast<void*>(at & kSlabMask));
    if (it == slabs_.end()) return nullptr;
    found = recent_ = it->second.get();
  }
  const Slab& slab = *found;
  const uintptr_t first = reinterpret_cast<uintptr_t>(slab.base) + kSlabHeader;
  if (at < first) return nullptr;
  const size_t offset = at - first;
  if (offset >= kSlabBytes) return nullptr;  // only a large payload's slab is longer, and its handle is near its start
  // Exact for every offset below kSlabBytes: offset times slotSize stays
  // below 2^32.
  const size_t index = static_cast<size_t>((offset * slab.reciprocal) >> 32);
  if (index >= slab.cut || offset - index * slab.slotSize != handleOffset_) return nullptr;
  return slab.Slot(index);
}

void* ValueArena::OwnerOf(const void* p) {
  void* owner;
  std::memcpy(&owner, reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(p) & kSlabMask), sizeof owner);
  return owner;
}

std::vector<void*> ValueArena::Payloads() const {
  std::vector<void*> out;
  for (auto& [base, slab] : slabs_) {
    for (size_t i = 0; i < slab->cut; ++i) out.push_back(slab->Slot(i));
  }
  return out;
}

}  // namespace plugin_host

// Slabs of fixed-size slots that hold the runtime's objects and strings.
//
// Every lock, release and use of a host value first proves that the pointer
// a plug-in handed over is a value of this host. With the values in slabs,
// that proof is arithmetic on the pointer: its slab is found in a table of a
// few hundred slabs that stays in cache, and its offset inside the slab must
// land on a slot's handle. A table keyed by every value's address missed the
// cache on each look-up once a host held a few thousand values, and a
// malloc'd record per value scattered values made together across the heap.
#ifndef PLUGIN_HOST_VALUE_ARENA_H_
#define PLUGIN_HOST_VALUE_ARENA_H_

#include <cstddef>
#include <cstdint>
#include <vector>

#include "pointer_map.h"

namespace plugin_host {

class ValueArena {
 public:
  // handleOffset: where inside a slot's payload the pointer a plug-in holds
  // points (the same for every slot of this arena).
  explicit ValueArena(size_t handleOffset);
  ~ValueArena();
  ValueArena(const ValueArena&) = delete;
  ValueArena& operator=(const ValueArena&) = delete;

  // A zero-filled, 16-byte aligned payload of at least `bytes`, or null when
  // memory runs out.
  void* Allocate(size_t bytes);
  // Gives a payload back; later allocations reuse its memory. The caller
  // has already wiped what must not linger.
  void Free(void* payload);
  // The allocated payload whose handle is p, or null when p is not the
  // handle of one. Never reads memory outside this arena's slabs.
  void* PayloadOf(const void* p) const;
  // Every allocated payload, in no particular order.
  std::vector<void*> Allocated() const;

 private:
  struct Slab;
  Slab* NewSlab(size_t slotSize, size_t bytes, int sizeClass);

  static constexpr int kClasses = 16;
  const size_t handleOffset_;
  PointerMap<Slab> slabs_;               // keyed by their base address
  std::vector<void*> free_[kClasses];    // freed payloads, reused last in first out
  Slab* filling_[kClasses] = {};         // the slab new slots of a class are cut from
  // The slab the last look-up found: values made together are used
  // together, and mostly share a slab.
  mutable const Slab* recent_ = nullptr;
};

}  // namespace plugin_host

#endif  // PLUGIN_HOST_VALUE_ARENA_H_

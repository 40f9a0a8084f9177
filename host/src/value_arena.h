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
  // owner: what OwnerOf gives for this arena's handles.
  ValueArena(size_t handleOffset, void* owner);
  ~ValueArena();
  ValueArena(const ValueArena&) = delete;
  ValueArena& operator=(const ValueArena&) = delete;

  // A zero-filled, 16-byte aligned payload of at least `bytes`, or null when
  // memory runs out.
  void* Allocate(size_t bytes);
  // Gives a payload back for later allocations, without touching it: until
  // it is handed out again, its contents (a record marked released) stay
  // as they are, and PayloadOf still finds it.
  void Free(void* payload);
  // The payload whose handle is p: one handed out by Allocate, now or
  // before. Null when p is not such a handle. Never reads memory outside
  // this arena's slabs, nor the payload itself.
  void* PayloadOf(const void* p) const;
  // Every payload ever handed out of a slab still held, in no particular
  // order: the caller's records tell the live from the released.
  std::vector<void*> Payloads() const;
  // The owner of the arena whose payload (or handle) p is; p must be one.
  static void* OwnerOf(const void* p);

 private:
  struct Slab;
  Slab* NewSlab(size_t slotSize, size_t bytes, int sizeClass);

  static constexpr int kClasses = 16;
  const size_t handleOffset_;
  void* const owner_;
  PointerMap<Slab> slabs_;               // keyed by their base address
  std::vector<void*> free_[kClasses];    // freed payloads, reused last in first out
  Slab* filling_[kClasses] = {};         // the slab new slots of a class are cut from
  // The slab the last look-up found: values made together are used
  // together, and mostly share a slab.
  mutable const Slab* recent_ = nullptr;
};

}  // namespace plugin_host

#endif  // PLUGIN_HOST_VALUE_ARENA_H_

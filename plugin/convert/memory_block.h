// Host memory blocks from framework bytes, and framework data from host
// memory blocks.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include "host_plugin_interface.h"

// A new memory block holding a copy of count bytes, owned by the caller; nil
// for no bytes. When the host cannot make the block, an
// "OutOfMemoryException" is raised and nil returned.
REALmemoryBlock REALBuildMemoryblock(const void *bytes, int32_t count);

// A new CFData with the block's bytes (the caller releases it); null for a
// nil block, empty data for a block whose bytes cannot be had.
CFDataRef RBMemory2CFData(REALmemoryBlock block);

// A memory block's bytes, borrowed for one framework call: the block stays
// locked while the holder lives. A nil block, or one whose bytes the host
// will not give, reads as no bytes (count 0, null pointer).
class BlockBytes {
 public:
  explicit BlockBytes(REALmemoryBlock block);
  ~BlockBytes();
  BlockBytes(const BlockBytes &) = delete;
  BlockBytes &operator=(const BlockBytes &) = delete;

  const void *bytes() const { return bytes_; }
  RBInteger count() const { return count_; }

 private:
  REALmemoryBlock block_;
  const void *bytes_ = nullptr;
  RBInteger count_ = 0;
};

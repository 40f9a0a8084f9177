// Memory block conversions.
#include "convert/memory_block.h"

#include <stdio.h>
#include <string.h>

#include "frame/exceptions.h"
#include "frame/host_functions.h"

REALmemoryBlock REALBuildMemoryblock(const void *bytes, int32_t count) {
  if (bytes == nullptr || count <= 0) return nullptr;
  if (count != 0x7FFFFFFF) {
    if (REALmemoryBlock block = REALNewMemoryBlockOriginal(count)) {
      void *target = REALMemoryBlockGetPtr(block);
      if (target == nullptr) {
        // A block whose bytes cannot be written is of no use to the caller;
        // it is released rather than handed back empty.
        REALUnlockObject(block);
        return nullptr;
      }
      memcpy(target, bytes, static_cast<size_t>(count));
      return block;
    }
  }
  char message[200];
  snprintf(message, sizeof message, "Failed to allocate a memoryblock with %lld bytes in size.",
           static_cast<long long>(count));
  RaiseException("OutOfMemoryException", message, 0);
  return nullptr;
}

BlockBytes::BlockBytes(REALmemoryBlock block) : block_(block) {
  if (block == nullptr) return;
  REALLockObject(block);
  RBInteger size = REALMemoryBlockGetSize(block);
  if (size < 0) size = 0;
  if (const void *pointer = REALMemoryBlockGetPtr(block)) {
    bytes_ = pointer;
    count_ = size;
  }
}

BlockBytes::~BlockBytes() {
  if (block_ != nullptr) REALUnlockObject(block_);
}

CFDataRef RBMemory2CFData(REALmemoryBlock block) {
  if (block == nullptr) return nullptr;
  BlockBytes source(block);
  return CFDataCreate(kCFAllocatorDefault, static_cast<const UInt8 *>(source.bytes()),
                      static_cast<CFIndex>(source.count()));
}

// Buffers handed to callers for secrets and attribute values. They remember
// their size so that SecKeychainItemFreeContent can wipe them before freeing.
#pragma once

#include <cstddef>

namespace secimpl {

// A buffer of n bytes (n may be 0), or NULL when memory is short.
void* AllocContent(const void* bytes, size_t n);
void FreeContent(void* p);

}  // namespace secimpl

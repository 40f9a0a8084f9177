// Caller-owned content buffers with a size header.
#include "content_memory.h"

#include <sodium.h>

#include <cstdlib>
#include <cstring>

namespace secimpl {

namespace {
constexpr size_t kHeader = 16;  // keeps the payload 16-byte aligned
}

void* AllocContent(const void* bytes, size_t n) {
  unsigned char* p = static_cast<unsigned char*>(malloc(kHeader + n + 1));
  if (!p) return nullptr;
  memcpy(p, &n, sizeof n);
  if (n) memcpy(p + kHeader, bytes, n);
  p[kHeader + n] = 0;  // text attributes can be printed as C strings
  return p + kHeader;
}

void FreeContent(void* data) {
  if (!data) return;
  unsigned char* p = static_cast<unsigned char*>(data) - kHeader;
  size_t n;
  memcpy(&n, p, sizeof n);
  sodium_memzero(p, kHeader + n + 1);
  free(p);
}

}  // namespace secimpl

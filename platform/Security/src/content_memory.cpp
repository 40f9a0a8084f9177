// Caller-owned content buffers with a size header.
#include "content_memory.h"

#include <Security/SecLiveContent.h>
#include <sodium.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace secimpl {

namespace {
constexpr size_t kHeader = 16;  // keeps the payload 16-byte aligned
std::atomic<UInt32> gLiveContent{0};
}  // namespace

void* AllocContent(const void* bytes, size_t n) {
  unsigned char* p = static_cast<unsigned char*>(malloc(kHeader + n + 1));
  if (!p) return nullptr;
  memcpy(p, &n, sizeof n);
  if (n) memcpy(p + kHeader, bytes, n);
  p[kHeader + n] = 0;  // text attributes can be printed as C strings
  gLiveContent.fetch_add(1, std::memory_order_relaxed);
  return p + kHeader;
}

void FreeContent(void* data) {
  if (!data) return;
  unsigned char* p = static_cast<unsigned char*>(data) - kHeader;
  size_t n;
  memcpy(&n, p, sizeof n);
  sodium_memzero(p, kHeader + n + 1);
  free(p);
  gLiveContent.fetch_sub(1, std::memory_order_relaxed);
}

}  // namespace secimpl

UInt32 SecLiveContentGetCount(void) { return secimpl::gLiveContent.load(std::memory_order_relaxed); }

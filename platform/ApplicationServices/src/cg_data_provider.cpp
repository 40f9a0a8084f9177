// CGDataProvider: bytes in memory, either the caller's (given back through
// a callback when the provider dies) or a CFData's.
#include <CoreGraphics/CGDataProvider.h>

#include "cg_internal.h"

struct CGDataProvider {
  CFRuntimeBase base;
  const void* bytes;
  size_t size;
  void* info;
  CGDataProviderReleaseDataCallback releaseData;
  CFDataRef data;  // set instead of bytes for a CFData provider
};

namespace {

void ProviderFinalize(CFTypeRef cf) {
  const auto* p = static_cast<const CGDataProvider*>(cf);
  if (p->releaseData) p->releaseData(p->info, p->bytes, p->size);
  if (p->data) CFRelease(p->data);
}

const CFRuntimeClass kProviderClass = {0, "CGDataProvider", nullptr, nullptr, ProviderFinalize, nullptr, nullptr, nullptr, nullptr};

CGDataProvider* NewProvider() {
  return static_cast<CGDataProvider*>(kc_as::CreateCGInstance(CGDataProviderGetTypeID(), sizeof(CGDataProvider)));
}

}  // namespace

CFTypeID CGDataProviderGetTypeID(void) {
  static const CFTypeID typeID = _CFRuntimeRegisterClass(&kProviderClass);
  return typeID;
}

CGDataProviderRef CGDataProviderCreateWithData(void* info, const void* data, size_t size,
                                               CGDataProviderReleaseDataCallback releaseData) {
  if (!data && size != 0) return nullptr;
  CGDataProvider* p = NewProvider();
  if (!p) return nullptr;
  p->bytes = data;
  p->size = size;
  p->info = info;
  p->releaseData = releaseData;
  return p;
}

CGDataProviderRef CGDataProviderCreateWithCFData(CFDataRef data) {
  if (!kc_as::IsKind(data, CFDataGetTypeID())) return nullptr;
  CGDataProvider* p = NewProvider();
  if (!p) return nullptr;
  p->data = static_cast<CFDataRef>(CFRetain(data));
  return p;
}

CGDataProviderRef CGDataProviderRetain(CGDataProviderRef provider) {
  if (provider) CFRetain(provider);
  return provider;
}

void CGDataProviderRelease(CGDataProviderRef provider) {
  if (provider) CFRelease(provider);
}

CFDataRef CGDataProviderCopyData(CGDataProviderRef provider) {
  const UInt8* bytes;
  size_t size;
  if (!kc_as::ProviderBytes(provider, &bytes, &size)) return nullptr;
  return CFDataCreate(kCFAllocatorDefault, bytes, static_cast<CFIndex>(size));
}

namespace kc_as {

bool ProviderBytes(CGDataProviderRef provider, const UInt8** bytes, size_t* size) {
  if (!IsKind(provider, CGDataProviderGetTypeID())) return false;
  if (provider->data) {
    *bytes = CFDataGetBytePtr(provider->data);
    CFIndex length = CFDataGetLength(provider->data);
    *size = length > 0 ? static_cast<size_t>(length) : 0;
  } else {
    *bytes = static_cast<const UInt8*>(provider->bytes);
    *size = provider->size;
  }
  return true;
}

}  // namespace kc_as

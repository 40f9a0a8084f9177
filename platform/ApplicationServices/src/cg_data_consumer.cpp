// CGDataConsumer: a destination for bytes, either the caller's callbacks or a
// mutable CFData that grows with everything written.
#include <CoreGraphics/CGDataConsumer.h>

#include "cg_internal.h"

struct CGDataConsumer {
  CFRuntimeBase base;
  void* info;
  CGDataConsumerCallbacks callbacks;
};

namespace {

void ConsumerFinalize(CFTypeRef cf) {
  const auto* c = static_cast<const CGDataConsumer*>(cf);
  if (c->callbacks.releaseConsumer) c->callbacks.releaseConsumer(c->info);
}

const CFRuntimeClass kConsumerClass = {0, "CGDataConsumer", nullptr, nullptr, ConsumerFinalize, nullptr, nullptr, nullptr, nullptr};

size_t AppendToData(void* info, const void* buffer, size_t count) {
  CFDataAppendBytes(static_cast<CFMutableDataRef>(info), static_cast<const UInt8*>(buffer),
                    static_cast<CFIndex>(count));
  return count;
}

void ReleaseData(void* info) { CFRelease(static_cast<CFTypeRef>(info)); }

}  // namespace

CFTypeID CGDataConsumerGetTypeID(void) {
  static const CFTypeID typeID = _CFRuntimeRegisterClass(&kConsumerClass);
  return typeID;
}

CGDataConsumerRef CGDataConsumerCreate(void* info, const CGDataConsumerCallbacks* callbacks) {
  if (!callbacks || !callbacks->putBytes) return nullptr;
  auto* c = static_cast<CGDataConsumer*>(kc_as::CreateCGInstance(CGDataConsumerGetTypeID(), sizeof(CGDataConsumer)));
  if (!c) return nullptr;
  c->info = info;
  c->callbacks = *callbacks;
  return c;
}

CGDataConsumerRef CGDataConsumerCreateWithCFData(CFMutableDataRef data) {
  if (!kc_as::IsKind(data, CFDataGetTypeID())) return nullptr;
  const CGDataConsumerCallbacks callbacks = {AppendToData, ReleaseData};
  CFRetain(data);
  CGDataConsumerRef consumer = CGDataConsumerCreate(data, &callbacks);
  if (!consumer) CFRelease(data);
  return consumer;
}

CGDataConsumerRef CGDataConsumerRetain(CGDataConsumerRef consumer) {
  if (consumer) CFRetain(consumer);
  return consumer;
}

void CGDataConsumerRelease(CGDataConsumerRef consumer) {
  if (consumer) CFRelease(consumer);
}

// CGPSConverter: the converter object, its callbacks and options. Converting
// PostScript is not offered on this platform, so a converter is never busy.
#include <CoreGraphics/CGPSConverter.h>

#include "cg_internal.h"

struct CGPSConverter {
  CFRuntimeBase base;
  void* info;
  CGPSConverterCallbacks callbacks;
  CFDictionaryRef options;
};

namespace {

void ConverterFinalize(CFTypeRef cf) {
  const auto* c = static_cast<const CGPSConverter*>(cf);
  if (c->callbacks.releaseInfo) c->callbacks.releaseInfo(c->info);
  if (c->options) CFRelease(c->options);
}

const CFRuntimeClass kConverterClass = {0, "CGPSConverter", nullptr, nullptr, ConverterFinalize, nullptr, nullptr, nullptr, nullptr};

}  // namespace

CFTypeID CGPSConverterGetTypeID(void) {
  static const CFTypeID typeID = _CFRuntimeRegisterClass(&kConverterClass);
  return typeID;
}

CGPSConverterRef CGPSConverterCreate(void* info, const CGPSConverterCallbacks* callbacks, CFDictionaryRef options) {
  if (!callbacks || callbacks->version != 0) return nullptr;
  auto* c = static_cast<CGPSConverter*>(kc_as::CreateCGInstance(CGPSConverterGetTypeID(), sizeof(CGPSConverter)));
  if (!c) return nullptr;
  c->info = info;
  c->callbacks = *callbacks;
  c->options = options ? static_cast<CFDictionaryRef>(CFRetain(options)) : nullptr;
  return c;
}

CGPSConverterRef CGPSConverterRetain(CGPSConverterRef converter) {
  if (converter) CFRetain(converter);
  return converter;
}

void CGPSConverterRelease(CGPSConverterRef converter) {
  if (converter) CFRelease(converter);
}

bool CGPSConverterIsConverting(CGPSConverterRef converter) {
  (void)converter;
  return false;
}

bool CGPSConverterAbort(CGPSConverterRef converter) {
  (void)converter;
  return false;
}

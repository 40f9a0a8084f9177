// A shared library whose static initializers use CoreFoundation before any
// code of the test program runs, as framework libraries do with their
// constant keys.
#include <CoreFoundation/CoreFoundation.h>

namespace {
const CFStringRef kProbeKey = CFSTR("probe key");
const CFArrayRef kProbeArray = [] {
  const void* values[] = {kProbeKey, kCFBooleanTrue};
  return CFArrayCreate(kCFAllocatorDefault, values, 2, &kCFTypeArrayCallBacks);
}();
}  // namespace

extern "C" __attribute__((visibility("default"))) CFStringRef kc_cf_probe_key(void) { return kProbeKey; }
extern "C" __attribute__((visibility("default"))) CFArrayRef kc_cf_probe_array(void) { return kProbeArray; }

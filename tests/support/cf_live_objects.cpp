// Snapshot and comparison of CoreFoundation live-object counts.
#include "support/cf_live_objects.h"

#include <CoreFoundation/CFLiveObjects.h>

namespace kc_test {

CFLiveObjectsSnapshot::CFLiveObjectsSnapshot() {
  CFTypeID max = CFLiveObjectsGetMaxTypeID();
  counts_.assign(max + 1, 0);
  for (CFTypeID t = 1; t <= max; ++t) counts_[t] = CFLiveObjectsGetCount(t);
}

std::string CFLiveObjectsSnapshot::DiffNow() const {
  std::string out;
  CFTypeID max = CFLiveObjectsGetMaxTypeID();
  for (CFTypeID t = 1; t <= max; ++t) {
    // Types registered after the snapshot had no instances then.
    CFIndex before = t < counts_.size() ? counts_[t] : 0;
    CFIndex delta = CFLiveObjectsGetCount(t) - before;
    if (delta == 0) continue;
    const char* name = CFLiveObjectsGetTypeName(t);
    if (!out.empty()) out += ", ";
    out += name ? name : "type " + std::to_string(t);
    out += (delta > 0 ? " +" : " ") + std::to_string(delta);
  }
  return out;
}

}  // namespace kc_test

// Live CoreFoundation object counts before and after a test, so a test can
// prove that it released everything it created.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <string>
#include <vector>

namespace kc_test {

// Records every type's live count when constructed.
class CFLiveObjectsSnapshot {
 public:
  CFLiveObjectsSnapshot();

  // "" when every type's live count equals the recorded one; otherwise the
  // changed types by name with their difference, e.g. "CFString +2, CFArray -1".
  std::string DiffNow() const;

 private:
  std::vector<CFIndex> counts_;  // indexed by type ID
};

}  // namespace kc_test

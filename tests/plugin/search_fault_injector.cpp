// The failing stand-in for the framework's search step.
#include "search_fault_injector.h"

#include <Security/Security.h>
#include <dlfcn.h>

#include <cstdlib>

namespace kc_plugin_test {
namespace {

int remaining = -1;
OSStatus failure = 0;
long steps = 0;

}  // namespace

void FailSearchStepsAfter(int successes, OSStatus status) {
  remaining = successes;
  failure = status;
}

long SearchStepsTaken() { return steps; }

OSStatus NextSearchStep(SecKeychainSearchRef search, SecKeychainItemRef *item) {
  if (remaining == 0) return failure;
  if (remaining > 0) --remaining;
  ++steps;
  using Fn = decltype(&SecKeychainSearchCopyNext);
  static Fn real = reinterpret_cast<Fn>(dlsym(RTLD_NEXT, "SecKeychainSearchCopyNext"));
  if (real == nullptr) abort();
  return real(search, item);
}

}  // namespace kc_plugin_test

extern "C" OSStatus SecKeychainSearchCopyNext(SecKeychainSearchRef search, SecKeychainItemRef *item) {
  return kc_plugin_test::NextSearchStep(search, item);
}

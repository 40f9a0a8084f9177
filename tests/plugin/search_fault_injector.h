// Makes the framework's search step fail on request, to see what a listing
// does when a keychain cannot be read to its end. The test program defines
// SecKeychainSearchCopyNext itself (it exports its symbols, so the plug-in it
// loads binds to it) and passes every call on to the framework until told to
// fail.
#pragma once

#include <MacTypes.h>

namespace kc_plugin_test {

// After `successes` more items, every search step answers `status` with no
// item. A negative count passes every call on (the default).
void FailSearchStepsAfter(int successes, OSStatus status);

// Search steps that reached the framework since the program started.
long SearchStepsTaken();

}  // namespace kc_plugin_test

// Built when the platform frameworks are not part of the build: the host then
// does not offer the folder-item functions or "REALGetStringCFString" (their
// names resolve to null), and no CoreFoundation reference can exist for a
// wrapper stand-in to release.
#include "runtime.h"

namespace plugin_host {

void StandInDestroy(ObjState*) {}
void AddPlatformFunctions(FunctionTable*) {}

}  // namespace plugin_host

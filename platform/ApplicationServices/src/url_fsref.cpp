// The bridges between file URLs and FSRefs, declared with CFURL.
#include <CarbonCore/Files.h>
#include <CoreFoundation/CFURL.h>
#include <limits.h>

#include <cstring>

#include "fs_registry.h"

Boolean CFURLGetFSRef(CFURLRef url, struct FSRef* fsRef) {
  if (!url || !fsRef) return false;
  UInt8 path[PATH_MAX];
  if (!CFURLGetFileSystemRepresentation(url, true, path, sizeof path)) return false;
  return FSPathMakeRef(path, fsRef, nullptr) == noErr;
}

CFURLRef CFURLCreateFromFSRef(CFAllocatorRef allocator, const struct FSRef* fsRef) {
  if (!fsRef) return nullptr;
  kc_as::Item item;
  if (kc_as::ResolveRef(fsRef, &item) != noErr) return nullptr;
  return CFURLCreateFromFileSystemRepresentation(allocator, reinterpret_cast<const UInt8*>(item.path.data()),
                                                 static_cast<CFIndex>(item.path.size()),
                                                 S_ISDIR(item.st.st_mode) ? true : false);
}

// CFBundle: a folder on disk. The main bundle is the folder that holds the
// running program. Bundles here carry an empty information dictionary.
#include <sys/stat.h>
#include <unistd.h>

#include <climits>
#include <mutex>
#include <string>

#include "cf_internal.h"

using namespace cf;

struct BundleImpl {
  CFURLRef url = nullptr;
  CFDictionaryRef info = nullptr;
};

struct __CFBundle {
  CFRuntimeBase base;
  BundleImpl impl;
};

const CFStringRef kCFBundleInfoDictionaryVersionKey = CFSTR("CFBundleInfoDictionaryVersion");
const CFStringRef kCFBundleExecutableKey = CFSTR("CFBundleExecutable");
const CFStringRef kCFBundleIdentifierKey = CFSTR("CFBundleIdentifier");
const CFStringRef kCFBundleVersionKey = CFSTR("CFBundleVersion");
const CFStringRef kCFBundleDevelopmentRegionKey = CFSTR("CFBundleDevelopmentRegion");
const CFStringRef kCFBundleNameKey = CFSTR("CFBundleName");

namespace {

bool IsBundle(CFTypeRef b) { return IsA(b, kBundleTypeID); }

void FinalizeBundle(CFTypeRef cf) {
  const BundleImpl& impl = static_cast<CFBundleRef>(const_cast<void*>(cf))->impl;
  CFRelease(impl.url);
  CFRelease(impl.info);
}

Boolean EqualBundles(CFTypeRef a, CFTypeRef b) {
  return CFEqual(static_cast<const __CFBundle*>(a)->impl.url, static_cast<const __CFBundle*>(b)->impl.url);
}

CFHashCode HashBundle(CFTypeRef cf) { return CFHash(static_cast<const __CFBundle*>(cf)->impl.url); }

__CFBundle* NewBundle(CFAllocatorRef allocator, CFURLRef folder) {
  __CFBundle* b = NewInstance<__CFBundle>(allocator, kBundleTypeID);
  if (!b) return nullptr;
  b->impl.url = static_cast<CFURLRef>(CFRetain(folder));
  b->impl.info = CFDictionaryCreate(allocator, nullptr, nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                    &kCFTypeDictionaryValueCallBacks);
  return b;
}

}  // namespace

const CFRuntimeClass cf::kBundleClass = {0, "CFBundle", nullptr, nullptr, FinalizeBundle, EqualBundles, HashBundle,
                                         nullptr, nullptr};

CFTypeID CFBundleGetTypeID(void) { return kBundleTypeID; }

CFBundleRef CFBundleGetMainBundle(void) {
  static std::once_flag once;
  static CFBundleRef main = nullptr;
  std::call_once(once, [] {
    char exe[PATH_MAX];
    ssize_t n = readlink("/proc/self/exe", exe, sizeof exe - 1);
    std::string folder = "/";
    if (n > 0) {
      std::string path(exe, static_cast<size_t>(n));
      size_t slash = path.rfind('/');
      if (slash != std::string::npos && slash > 0) folder = path.substr(0, slash);
    }
    CFURLRef url = CFURLCreateFromFileSystemRepresentation(kCFAllocatorSystemDefault,
                                                           reinterpret_cast<const UInt8*>(folder.c_str()),
                                                           static_cast<CFIndex>(folder.size()), true);
    if (!url) return;
    __CFBundle* b = NewBundle(kCFAllocatorSystemDefault, url);
    CFRelease(url);
    if (!b) return;
    // Lives as long as the process, like the objects it holds.
    MakeImmortal(b);
    MakeImmortal(b->impl.url);
    MakeImmortal(CFURLGetString(b->impl.url));
    MakeImmortal(b->impl.info);
    main = b;
  });
  return main;
}

CFBundleRef CFBundleCreate(CFAllocatorRef allocator, CFURLRef bundleURL) {
  if (!IsA(bundleURL, kURLTypeID)) return nullptr;
  UInt8 path[PATH_MAX];
  struct stat st;
  if (!CFURLGetFileSystemRepresentation(bundleURL, true, path, sizeof path) ||
      stat(reinterpret_cast<const char*>(path), &st) != 0 || !S_ISDIR(st.st_mode))
    return nullptr;
  CFURLRef absolute = CFURLCopyAbsoluteURL(bundleURL);
  if (!absolute) return nullptr;
  __CFBundle* b = NewBundle(allocator, absolute);
  CFRelease(absolute);
  return b;
}

CFURLRef CFBundleCopyBundleURL(CFBundleRef bundle) {
  return IsBundle(bundle) ? static_cast<CFURLRef>(CFRetain(bundle->impl.url)) : nullptr;
}

CFStringRef CFBundleGetIdentifier(CFBundleRef bundle) {
  return static_cast<CFStringRef>(CFBundleGetValueForInfoDictionaryKey(bundle, kCFBundleIdentifierKey));
}

CFDictionaryRef CFBundleGetInfoDictionary(CFBundleRef bundle) { return IsBundle(bundle) ? bundle->impl.info : nullptr; }

CFTypeRef CFBundleGetValueForInfoDictionaryKey(CFBundleRef bundle, CFStringRef key) {
  CFDictionaryRef info = CFBundleGetInfoDictionary(bundle);
  return info ? CFDictionaryGetValue(info, key) : nullptr;
}

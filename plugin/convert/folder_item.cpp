// Folder items to file URLs: first as the host's FSRef of the item, then as
// a folder's FSRef plus a leaf name (an item that does not exist yet), and
// last through an FSSpec.
#include "convert/folder_item.h"

#include <ApplicationServices/ApplicationServices.h>
#include <stdlib.h>
#include <string.h>

#include "convert/rb_text.h"
#include "frame/host_functions.h"

namespace {

constexpr long long kMaxBytes = 0x7FFFFFFF;

// The File Manager is linked weakly: a system without it has no FSRef URLs.
CFURLRef URLFromFSRef(const FSRef &ref) {
  if (&CFURLCreateFromFSRef == nullptr) return nullptr;
  return CFURLCreateFromFSRef(kCFAllocatorDefault, &ref);
}

// A mutable copy of s in decomposed form (the form file names are stored
// in); s itself when no copy can be made. The caller releases the result.
CFStringRef CopyDecomposed(CFStringRef s) {
  CFMutableStringRef copy = CFStringCreateMutableCopy(kCFAllocatorDefault, 0, s);
  if (copy == nullptr) {
    CFRetain(s);
    return s;
  }
  CFStringNormalize(copy, kCFStringNormalizationFormD);
  return copy;
}

CFURLRef URLFromParentAndLeaf(const FSRef &parentRef, const HFSUniStr255 &name, bool *done) {
  CFURLRef parent = URLFromFSRef(parentRef);
  if (parent == nullptr) return nullptr;
  if (name.length == 0) {
    CFRelease(parent);
    return nullptr;
  }
  CFStringRef leaf = CFStringCreateWithCharacters(kCFAllocatorDefault, name.unicode, name.length);
  if (leaf == nullptr) {
    CFRelease(parent);
    return nullptr;
  }
  CFStringRef decomposed = CopyDecomposed(leaf);
  CFRelease(leaf);
  CFURLRef result =
      CFURLCreateCopyAppendingPathComponent(kCFAllocatorDefault, parent, decomposed, false);
  CFRelease(parent);
  CFRelease(decomposed);
  *done = true;  // the FSSpec route is not tried after this, even on failure
  return result;
}

}  // namespace

CFURLRef CreateCFURLfromFolderItem(REALfolderItem item) {
  if (item == nullptr) return nullptr;
  FSRef ref;
  memset(&ref, 0, sizeof ref);
  if (REALFSRefFromFolderItem(item, &ref, nullptr)) {
    if (CFURLRef url = URLFromFSRef(ref)) return url;
  }
  HFSUniStr255 name;
  memset(&name, 0, sizeof name);
  memset(&ref, 0, sizeof ref);
  if (REALFSRefFromFolderItem(item, &ref, &name)) {
    bool done = false;
    CFURLRef url = URLFromParentAndLeaf(ref, name, &done);
    if (done) return url;
  }
  FSSpec spec;
  memset(&spec, 0, sizeof spec);
  if (!REALFSSpecFromFolderItem(&spec, item)) return nullptr;
  if (&FSpMakeFSRef == nullptr) return nullptr;
  memset(&ref, 0, sizeof ref);
  if (FSpMakeFSRef(&spec, &ref) != 0) return nullptr;
  return URLFromFSRef(ref);
}

rbPath::rbPath(REALfolderItem item) : item_(item) { REALLockObject(item); }

rbPath::~rbPath() {
  REALUnlockObject(item_);
  free(posixPath_);
  free(otherPaths_[0]);
  free(otherPaths_[1]);
  delete text_;
  item_ = nullptr;
  posixPath_ = nullptr;
  otherPaths_[0] = otherPaths_[1] = nullptr;
  text_ = nullptr;
  reserved_ = 0;
}

const char *rbPath::PosixPath() {
  if (posixPath_ != nullptr) return posixPath_;
  CFURLRef url = CreateCFURLfromFolderItem(item_);
  if (url == nullptr) return nullptr;
  CFStringRef path = CFURLCopyFileSystemPath(url, kCFURLPOSIXPathStyle);
  CFRelease(url);
  if (path == nullptr) return nullptr;
  CFStringRef decomposed = CopyDecomposed(path);
  CFRelease(path);

  const CFIndex units = CFStringGetLength(decomposed);
  const long long bytes = static_cast<long long>(units) * 6 + 20;
  char *buffer = nullptr;
  if (units > 0 && bytes <= kMaxBytes) buffer = static_cast<char *>(calloc(static_cast<size_t>(bytes), 1));
  if (buffer != nullptr &&
      !CFStringGetCString(decomposed, buffer, units * 6 + 10, kCFStringEncodingUTF8)) {
    free(buffer);
    buffer = nullptr;
  }
  CFRelease(decomposed);
  posixPath_ = buffer;
  return posixPath_;
}

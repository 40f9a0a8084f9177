// Host folder items to file URLs and POSIX paths.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include "host_plugin_interface.h"

class rbText;

// A new file URL for the folder item (the caller releases it), or null.
CFURLRef CreateCFURLfromFolderItem(REALfolderItem item);

// rbPath: holds one folder item (with a reference of its own) and the path
// forms made from it, for one method call.
class rbPath {
 public:
  explicit rbPath(REALfolderItem item);
  ~rbPath();
  rbPath(const rbPath &) = delete;
  rbPath &operator=(const rbPath &) = delete;

  // The item's POSIX path in decomposed form, zero-terminated UTF-8 owned by
  // the holder, or null when no path can be made.
  const char *PosixPath();

 private:
  REALfolderItem item_;
  char *posixPath_ = nullptr;
  // Two further path forms and a text view of the path; this system asks for
  // none of them, so they stay empty.
  char *otherPaths_[2] = {nullptr, nullptr};
  rbText *text_ = nullptr;
  RBWord reserved_ = 0;
};

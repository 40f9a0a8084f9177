// The instance layout of CFString, shared by the string sources.
#pragma once

#include <string>

#include "cf_internal.h"

namespace cf {

struct StringImpl {
  std::u16string chars;
  // Immutable strings without U+0000 keep their UTF-8 bytes so that
  // CFStringGetCStringPtr can hand out a stable pointer.
  std::string utf8;
  bool hasUTF8 = false;
  bool ascii = false;
};

CFMutableStringRef NewString(CFAllocatorRef allocator, std::u16string chars, bool isMutable);

}  // namespace cf

struct __CFString {
  CFRuntimeBase base;
  cf::StringImpl impl;
};

// CFAttributedString: an immutable string with one attribute dictionary
// that covers the whole text.
#include "cf_internal.h"

using namespace cf;

struct AttributedStringImpl {
  CFStringRef string = nullptr;
  CFDictionaryRef attributes = nullptr;
};

struct __CFAttributedString {
  CFRuntimeBase base;
  AttributedStringImpl impl;
};

namespace {

const AttributedStringImpl& Impl(CFAttributedStringRef s) { return s->impl; }
bool IsAttr(CFTypeRef s) { return IsA(s, kAttributedStringTypeID); }

void FinalizeAttr(CFTypeRef cf) {
  const AttributedStringImpl& impl = Impl(static_cast<CFAttributedStringRef>(cf));
  CFRelease(impl.string);
  CFRelease(impl.attributes);
}

Boolean EqualAttr(CFTypeRef a, CFTypeRef b) {
  const AttributedStringImpl& x = Impl(static_cast<CFAttributedStringRef>(a));
  const AttributedStringImpl& y = Impl(static_cast<CFAttributedStringRef>(b));
  return CFEqual(x.string, y.string) && CFEqual(x.attributes, y.attributes);
}

CFHashCode HashAttr(CFTypeRef cf) { return CFHash(Impl(static_cast<CFAttributedStringRef>(cf)).string); }

CFStringRef DescribeAttr(CFTypeRef cf) {
  return CFStringCreateCopy(nullptr, Impl(static_cast<CFAttributedStringRef>(cf)).string);
}

}  // namespace

const CFRuntimeClass cf::kAttributedStringClass = {0, "CFAttributedString", nullptr, nullptr, FinalizeAttr,
                                                   EqualAttr, HashAttr, nullptr, DescribeAttr};

CFTypeID CFAttributedStringGetTypeID(void) { return kAttributedStringTypeID; }

CFAttributedStringRef CFAttributedStringCreate(CFAllocatorRef alloc, CFStringRef str, CFDictionaryRef attributes) {
  if (!IsA(str, kStringTypeID) || (attributes && !IsA(attributes, kDictionaryTypeID))) return nullptr;
  __CFAttributedString* s = NewInstance<__CFAttributedString>(alloc, kAttributedStringTypeID);
  if (!s) return nullptr;
  s->impl.string = CFStringCreateCopy(alloc, str);
  s->impl.attributes = attributes ? CFDictionaryCreateCopy(alloc, attributes)
                                  : CFDictionaryCreate(alloc, nullptr, nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                       &kCFTypeDictionaryValueCallBacks);
  return s;
}

CFAttributedStringRef CFAttributedStringCreateCopy(CFAllocatorRef alloc, CFAttributedStringRef aStr) {
  if (!IsAttr(aStr)) return nullptr;
  return CFAttributedStringCreate(alloc, Impl(aStr).string, Impl(aStr).attributes);
}

CFStringRef CFAttributedStringGetString(CFAttributedStringRef aStr) { return IsAttr(aStr) ? Impl(aStr).string : nullptr; }

CFIndex CFAttributedStringGetLength(CFAttributedStringRef aStr) {
  return IsAttr(aStr) ? CFStringGetLength(Impl(aStr).string) : 0;
}

CFDictionaryRef CFAttributedStringGetAttributes(CFAttributedStringRef aStr, CFIndex loc, CFRange* effectiveRange) {
  if (!IsAttr(aStr) || loc < 0 || loc >= CFAttributedStringGetLength(aStr)) return nullptr;
  if (effectiveRange) *effectiveRange = CFRangeMake(0, CFAttributedStringGetLength(aStr));
  return Impl(aStr).attributes;
}

CFTypeRef CFAttributedStringGetAttribute(CFAttributedStringRef aStr, CFIndex loc, CFStringRef attrName,
                                         CFRange* effectiveRange) {
  CFDictionaryRef attributes = CFAttributedStringGetAttributes(aStr, loc, effectiveRange);
  return attributes ? CFDictionaryGetValue(attributes, attrName) : nullptr;
}

// CGColor: components in a colour space, alpha last, each within 0...1.
#include <CoreGraphics/CGColor.h>

#include <cmath>
#include <cstring>

#include "cg_internal.h"

namespace {
constexpr size_t kMaxComponents = 5;  // CMYK and alpha
}  // namespace

struct CGColor {
  CFRuntimeBase base;
  CGColorSpaceRef space;
  size_t count;
  CGFloat components[kMaxComponents];
};

namespace {

void ColorFinalize(CFTypeRef cf) { CGColorSpaceRelease(static_cast<const CGColor*>(cf)->space); }

Boolean ColorEqual(CFTypeRef a, CFTypeRef b) {
  const auto* x = static_cast<const CGColor*>(a);
  const auto* y = static_cast<const CGColor*>(b);
  if (x->count != y->count || !CFEqual(x->space, y->space)) return false;
  for (size_t i = 0; i < x->count; ++i) {
    if (x->components[i] != y->components[i]) return false;
  }
  return true;
}

CFHashCode ColorHash(CFTypeRef cf) {
  const auto* c = static_cast<const CGColor*>(cf);
  CFHashCode h = CFHash(c->space);
  for (size_t i = 0; i < c->count; ++i) h = h * 31 + static_cast<CFHashCode>(std::lround(c->components[i] * 65535.0));
  return h;
}

const CFRuntimeClass kColorClass = {0, "CGColor", nullptr, nullptr, ColorFinalize, ColorEqual, ColorHash, nullptr, nullptr};

const CGColor* AsColor(CGColorRef color) { return kc_as::IsKind(color, CGColorGetTypeID()) ? color : nullptr; }

CGFloat Clamp(CGFloat v) {
  if (std::isnan(v) || v < 0.0) return 0.0;
  return v > 1.0 ? 1.0 : v;
}

CGColorRef CreateGeneric(CFStringRef spaceName, const CGFloat* components) {
  CGColorSpaceRef space = CGColorSpaceCreateWithName(spaceName);
  CGColorRef color = CGColorCreate(space, components);
  CGColorSpaceRelease(space);
  return color;
}

}  // namespace

CFTypeID CGColorGetTypeID(void) {
  static const CFTypeID typeID = _CFRuntimeRegisterClass(&kColorClass);
  return typeID;
}

CGColorRef CGColorCreate(CGColorSpaceRef space, const CGFloat* components) {
  const size_t n = CGColorSpaceGetNumberOfComponents(space);
  if (n == 0 || !components) return nullptr;
  auto* color = static_cast<CGColor*>(kc_as::CreateCGInstance(CGColorGetTypeID(), sizeof(CGColor)));
  if (!color) return nullptr;
  color->space = CGColorSpaceRetain(space);
  color->count = n + 1;
  for (size_t i = 0; i < color->count; ++i) color->components[i] = Clamp(components[i]);
  return color;
}

CGColorRef CGColorCreateGenericRGB(CGFloat red, CGFloat green, CGFloat blue, CGFloat alpha) {
  const CGFloat c[] = {red, green, blue, alpha};
  return CreateGeneric(kCGColorSpaceGenericRGB, c);
}

CGColorRef CGColorCreateGenericGray(CGFloat gray, CGFloat alpha) {
  const CGFloat c[] = {gray, alpha};
  return CreateGeneric(kCGColorSpaceGenericGray, c);
}

CGColorRef CGColorCreateGenericCMYK(CGFloat cyan, CGFloat magenta, CGFloat yellow, CGFloat black, CGFloat alpha) {
  const CGFloat c[] = {cyan, magenta, yellow, black, alpha};
  return CreateGeneric(kCGColorSpaceGenericCMYK, c);
}

CGColorRef CGColorCreateCopy(CGColorRef color) {
  const CGColor* c = AsColor(color);
  return c ? CGColorCreate(c->space, c->components) : nullptr;
}

CGColorRef CGColorCreateCopyWithAlpha(CGColorRef color, CGFloat alpha) {
  const CGColor* c = AsColor(color);
  if (!c) return nullptr;
  CGFloat components[kMaxComponents];
  std::memcpy(components, c->components, sizeof components);
  components[c->count - 1] = alpha;
  return CGColorCreate(c->space, components);
}

CGColorRef CGColorRetain(CGColorRef color) {
  if (color) CFRetain(color);
  return color;
}

void CGColorRelease(CGColorRef color) {
  if (color) CFRelease(color);
}

bool CGColorEqualToColor(CGColorRef color1, CGColorRef color2) {
  if (color1 == color2) return true;
  const CGColor* a = AsColor(color1);
  const CGColor* b = AsColor(color2);
  return a && b && ColorEqual(a, b);
}

size_t CGColorGetNumberOfComponents(CGColorRef color) {
  const CGColor* c = AsColor(color);
  return c ? c->count : 0;
}

const CGFloat* CGColorGetComponents(CGColorRef color) {
  const CGColor* c = AsColor(color);
  return c ? c->components : nullptr;
}

CGFloat CGColorGetAlpha(CGColorRef color) {
  const CGColor* c = AsColor(color);
  return c ? c->components[c->count - 1] : 0.0;
}

CGColorSpaceRef CGColorGetColorSpace(CGColorRef color) {
  const CGColor* c = AsColor(color);
  return c ? c->space : nullptr;
}

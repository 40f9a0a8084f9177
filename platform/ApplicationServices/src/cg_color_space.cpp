// CGColorSpace: the device and generic gray, RGB and CMYK spaces.
#include <CoreGraphics/CGColorSpace.h>

#include "cg_internal.h"

const CFStringRef kCGColorSpaceGenericGray = CFSTR("kCGColorSpaceGenericGray");
const CFStringRef kCGColorSpaceGenericRGB = CFSTR("kCGColorSpaceGenericRGB");
const CFStringRef kCGColorSpaceGenericCMYK = CFSTR("kCGColorSpaceGenericCMYK");

namespace {

// The model is kind % 3; device spaces come first.
enum Kind { kDeviceGray, kDeviceRGB, kDeviceCMYK, kGenericGray, kGenericRGB, kGenericCMYK };

}  // namespace

struct CGColorSpace {
  CFRuntimeBase base;
  int kind;
};

namespace {

Boolean SpaceEqual(CFTypeRef a, CFTypeRef b) {
  return static_cast<const CGColorSpace*>(a)->kind == static_cast<const CGColorSpace*>(b)->kind;
}

CFHashCode SpaceHash(CFTypeRef cf) { return static_cast<CFHashCode>(static_cast<const CGColorSpace*>(cf)->kind) + 1; }

const CFRuntimeClass kSpaceClass = {0, "CGColorSpace", nullptr, nullptr, nullptr, SpaceEqual, SpaceHash, nullptr, nullptr};

CGColorSpaceRef CreateSpace(int kind) {
  auto* space = static_cast<CGColorSpace*>(kc_as::CreateCGInstance(CGColorSpaceGetTypeID(), sizeof(CGColorSpace)));
  if (space) space->kind = kind;
  return space;
}

const CGColorSpace* AsSpace(CGColorSpaceRef space) {
  return kc_as::IsKind(space, CGColorSpaceGetTypeID()) ? space : nullptr;
}

}  // namespace

CFTypeID CGColorSpaceGetTypeID(void) {
  static const CFTypeID typeID = _CFRuntimeRegisterClass(&kSpaceClass);
  return typeID;
}

CGColorSpaceRef CGColorSpaceCreateDeviceGray(void) { return CreateSpace(kDeviceGray); }
CGColorSpaceRef CGColorSpaceCreateDeviceRGB(void) { return CreateSpace(kDeviceRGB); }
CGColorSpaceRef CGColorSpaceCreateDeviceCMYK(void) { return CreateSpace(kDeviceCMYK); }

CGColorSpaceRef CGColorSpaceCreateWithName(CFStringRef name) {
  if (!name) return nullptr;
  if (CFEqual(name, kCGColorSpaceGenericGray)) return CreateSpace(kGenericGray);
  if (CFEqual(name, kCGColorSpaceGenericRGB)) return CreateSpace(kGenericRGB);
  if (CFEqual(name, kCGColorSpaceGenericCMYK)) return CreateSpace(kGenericCMYK);
  return nullptr;
}

CGColorSpaceRef CGColorSpaceRetain(CGColorSpaceRef space) {
  if (space) CFRetain(space);
  return space;
}

void CGColorSpaceRelease(CGColorSpaceRef space) {
  if (space) CFRelease(space);
}

CGColorSpaceModel CGColorSpaceGetModel(CGColorSpaceRef space) {
  const CGColorSpace* s = AsSpace(space);
  return s ? static_cast<CGColorSpaceModel>(s->kind % 3) : kCGColorSpaceModelUnknown;
}

size_t CGColorSpaceGetNumberOfComponents(CGColorSpaceRef space) {
  switch (CGColorSpaceGetModel(space)) {
    case kCGColorSpaceModelMonochrome:
      return 1;
    case kCGColorSpaceModelRGB:
      return 3;
    case kCGColorSpaceModelCMYK:
      return 4;
    default:
      return 0;
  }
}

CFStringRef CGColorSpaceCopyName(CGColorSpaceRef space) {
  const CGColorSpace* s = AsSpace(space);
  if (!s) return nullptr;
  switch (s->kind) {
    case kGenericGray:
      return static_cast<CFStringRef>(CFRetain(kCGColorSpaceGenericGray));
    case kGenericRGB:
      return static_cast<CFStringRef>(CFRetain(kCGColorSpaceGenericRGB));
    case kGenericCMYK:
      return static_cast<CFStringRef>(CFRetain(kCGColorSpaceGenericCMYK));
    default:
      return nullptr;
  }
}

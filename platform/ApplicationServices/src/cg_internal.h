// Helpers shared by the CoreGraphics types: instance creation through the
// CoreFoundation runtime, type checks, and the provider bytes that images
// and fonts read.
#pragma once

#include <CoreFoundation/CFRuntime.h>
#include <CoreGraphics/CoreGraphics.h>

#include <cstddef>

namespace kc_as {

// A new instance of typeID, retain count 1, whose struct (CFRuntimeBase
// first) is size bytes, all zero after the base; NULL when out of memory.
void* CreateCGInstance(CFTypeID typeID, size_t size);

// Whether cf is an object of typeID (false for NULL), so that functions given
// the wrong kind of object return a neutral value instead of misreading it.
bool IsKind(const void* cf, CFTypeID typeID);

// The bytes a provider serves right now (a CFData provider follows its data).
bool ProviderBytes(CGDataProviderRef provider, const UInt8** bytes, size_t* size);

// Converts colour components between the gray, RGB and CMYK models: in holds
// the components of model from, out receives those of model to.
void ConvertColor(CGColorSpaceModel from, const CGFloat* in, CGColorSpaceModel to, CGFloat* out);

}  // namespace kc_as

// Instance creation, type checks and colour model conversion shared by the
// CoreGraphics types.
#include "cg_internal.h"

#include <algorithm>

namespace kc_as {

void* CreateCGInstance(CFTypeID typeID, size_t size) {
  return const_cast<void*>(_CFRuntimeCreateInstance(kCFAllocatorDefault, typeID,
                                                    static_cast<CFIndex>(size - sizeof(CFRuntimeBase)), nullptr));
}

bool IsKind(const void* cf, CFTypeID typeID) { return cf != nullptr && CFGetTypeID(cf) == typeID; }

void ConvertColor(CGColorSpaceModel from, const CGFloat* in, CGColorSpaceModel to, CGFloat* out) {
  // Everything passes through RGB, with the classic device conversions
  // (gray from weighted RGB, black generation from the darkest channel).
  CGFloat rgb[3] = {0, 0, 0};
  switch (from) {
    case kCGColorSpaceModelMonochrome:
      rgb[0] = rgb[1] = rgb[2] = in[0];
      break;
    case kCGColorSpaceModelRGB:
      rgb[0] = in[0];
      rgb[1] = in[1];
      rgb[2] = in[2];
      break;
    case kCGColorSpaceModelCMYK:
      for (int i = 0; i < 3; ++i) rgb[i] = (1.0 - in[i]) * (1.0 - in[3]);
      break;
    default:
      break;
  }
  switch (to) {
    case kCGColorSpaceModelMonochrome:
      if (from == kCGColorSpaceModelMonochrome) {
        out[0] = in[0];
      } else {
        out[0] = 0.3 * rgb[0] + 0.59 * rgb[1] + 0.11 * rgb[2];
      }
      break;
    case kCGColorSpaceModelRGB:
      out[0] = rgb[0];
      out[1] = rgb[1];
      out[2] = rgb[2];
      break;
    case kCGColorSpaceModelCMYK: {
      if (from == kCGColorSpaceModelCMYK) {
        std::copy(in, in + 4, out);
        break;
      }
      CGFloat k = 1.0 - std::max({rgb[0], rgb[1], rgb[2]});
      out[3] = k;
      for (int i = 0; i < 3; ++i) out[i] = k >= 1.0 ? 0.0 : (1.0 - rgb[i] - k) / (1.0 - k);
      break;
    }
    default:
      break;
  }
}

}  // namespace kc_as

// CGLayer: an offscreen bitmap context made to match another context.
#include <CoreGraphics/CGBitmapContext.h>
#include <CoreGraphics/CGLayer.h>

#include <cmath>

#include "cg_internal.h"

struct CGLayer {
  CFRuntimeBase base;
  CGSize size;
  CGContextRef context;
};

namespace {

// Large enough for any real layer, small enough that width * height * 4
// cannot overflow.
constexpr CGFloat kMaxLayerSide = 1 << 20;

void LayerFinalize(CFTypeRef cf) { CGContextRelease(static_cast<const CGLayer*>(cf)->context); }

const CFRuntimeClass kLayerClass = {0, "CGLayer", nullptr, nullptr, LayerFinalize, nullptr, nullptr, nullptr, nullptr};

const CGLayer* AsLayer(CGLayerRef layer) { return kc_as::IsKind(layer, CGLayerGetTypeID()) ? layer : nullptr; }

bool ValidSide(CGFloat v) { return std::isfinite(v) && v > 0.0 && v <= kMaxLayerSide; }

}  // namespace

CFTypeID CGLayerGetTypeID(void) {
  static const CFTypeID typeID = _CFRuntimeRegisterClass(&kLayerClass);
  return typeID;
}

CGLayerRef CGLayerCreateWithContext(CGContextRef context, CGSize size, CFDictionaryRef auxiliaryInfo) {
  (void)auxiliaryInfo;  // reserved, as on macOS
  if (!kc_as::IsKind(context, CGContextGetTypeID()) || !ValidSide(size.width) || !ValidSide(size.height)) {
    return nullptr;
  }
  const size_t width = static_cast<size_t>(std::ceil(size.width));
  const size_t height = static_cast<size_t>(std::ceil(size.height));
  CGContextRef own = CGBitmapContextCreate(nullptr, width, height, 8, 0, CGBitmapContextGetColorSpace(context),
                                           CGBitmapContextGetBitmapInfo(context));
  if (!own) return nullptr;
  auto* layer = static_cast<CGLayer*>(kc_as::CreateCGInstance(CGLayerGetTypeID(), sizeof(CGLayer)));
  if (!layer) {
    CGContextRelease(own);
    return nullptr;
  }
  layer->size = CGSizeMake(static_cast<CGFloat>(width), static_cast<CGFloat>(height));
  layer->context = own;
  return layer;
}

CGLayerRef CGLayerRetain(CGLayerRef layer) {
  if (layer) CFRetain(layer);
  return layer;
}

void CGLayerRelease(CGLayerRef layer) {
  if (layer) CFRelease(layer);
}

CGSize CGLayerGetSize(CGLayerRef layer) {
  const CGLayer* l = AsLayer(layer);
  return l ? l->size : CGSizeZero;
}

CGContextRef CGLayerGetContext(CGLayerRef layer) {
  const CGLayer* l = AsLayer(layer);
  return l ? l->context : nullptr;
}

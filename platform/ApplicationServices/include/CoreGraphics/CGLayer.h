/* Layers: offscreen drawing surfaces made to match a context. */
#ifndef KC_CGLAYER_H
#define KC_CGLAYER_H

#include <CoreGraphics/CGBase.h>
#include <CoreGraphics/CGContext.h>
#include <CoreGraphics/CGGeometry.h>

CG_EXTERN_C_BEGIN

typedef struct CGLayer *CGLayerRef;

CG_EXTERN CFTypeID CGLayerGetTypeID(void) CG_WEAK_IMPORT;
/* A layer of size (rounded up to whole pixels) whose own context has the
   colour space and pixel format of context. NULL for a NULL or non-bitmap
   context or an empty size. */
CG_EXTERN CGLayerRef CGLayerCreateWithContext(CGContextRef context, CGSize size,
                                              CFDictionaryRef auxiliaryInfo) CG_WEAK_IMPORT;
CG_EXTERN CGLayerRef CGLayerRetain(CGLayerRef layer) CG_WEAK_IMPORT;
CG_EXTERN void CGLayerRelease(CGLayerRef layer) CG_WEAK_IMPORT;

CG_EXTERN CGSize CGLayerGetSize(CGLayerRef layer);
/* The layer's own context, valid while the layer lives. */
CG_EXTERN CGContextRef CGLayerGetContext(CGLayerRef layer);

CG_EXTERN_C_END

#endif /* KC_CGLAYER_H */

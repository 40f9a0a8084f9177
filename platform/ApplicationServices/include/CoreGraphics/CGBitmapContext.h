/* Contexts that draw into memory. */
#ifndef KC_CGBITMAPCONTEXT_H
#define KC_CGBITMAPCONTEXT_H

#include <CoreGraphics/CGBase.h>
#include <CoreGraphics/CGContext.h>
#include <CoreGraphics/CGImage.h>

CG_EXTERN_C_BEGIN

/* 8 bits per component only: gray with no alpha (8 bits per pixel), alpha
   only (8), RGB with premultiplied or skipped alpha first or last (32, byte
   order default, 32Big or 32Little), CMYK with no alpha (32). data NULL lets
   the context own zero-filled memory; bytesPerRow 0 means the smallest.
   NULL for any other combination. */
CG_EXTERN CGContextRef CGBitmapContextCreate(void *data, size_t width, size_t height, size_t bitsPerComponent,
                                             size_t bytesPerRow, CGColorSpaceRef space,
                                             uint32_t bitmapInfo) CG_WEAK_IMPORT;
CG_EXTERN void *CGBitmapContextGetData(CGContextRef context);
CG_EXTERN size_t CGBitmapContextGetWidth(CGContextRef context);
CG_EXTERN size_t CGBitmapContextGetHeight(CGContextRef context);
CG_EXTERN size_t CGBitmapContextGetBitsPerComponent(CGContextRef context);
CG_EXTERN size_t CGBitmapContextGetBitsPerPixel(CGContextRef context);
CG_EXTERN size_t CGBitmapContextGetBytesPerRow(CGContextRef context);
CG_EXTERN CGColorSpaceRef CGBitmapContextGetColorSpace(CGContextRef context);
CG_EXTERN CGBitmapInfo CGBitmapContextGetBitmapInfo(CGContextRef context);
CG_EXTERN CGImageAlphaInfo CGBitmapContextGetAlphaInfo(CGContextRef context);
/* A new image holding a copy of the pixels as they are now. */
CG_EXTERN CGImageRef CGBitmapContextCreateImage(CGContextRef context) CG_WEAK_IMPORT;

CG_EXTERN_C_END

#endif /* KC_CGBITMAPCONTEXT_H */

/* Bitmap images: geometry and pixel format over a data provider. */
#ifndef KC_CGIMAGE_H
#define KC_CGIMAGE_H

#include <CoreGraphics/CGBase.h>
#include <CoreGraphics/CGColorSpace.h>
#include <CoreGraphics/CGDataProvider.h>

CG_EXTERN_C_BEGIN

typedef struct CGImage *CGImageRef;

typedef uint32_t CGImageAlphaInfo;
enum {
  kCGImageAlphaNone = 0,
  kCGImageAlphaPremultipliedLast = 1,
  kCGImageAlphaPremultipliedFirst = 2,
  kCGImageAlphaLast = 3,
  kCGImageAlphaFirst = 4,
  kCGImageAlphaNoneSkipLast = 5,
  kCGImageAlphaNoneSkipFirst = 6,
  kCGImageAlphaOnly = 7
};

typedef uint32_t CGBitmapInfo;
enum {
  kCGBitmapAlphaInfoMask = 0x1F,
  kCGBitmapFloatComponents = (1 << 8),
  kCGBitmapByteOrderMask = 0x7000,
  kCGBitmapByteOrderDefault = (0 << 12),
  kCGBitmapByteOrder16Little = (1 << 12),
  kCGBitmapByteOrder32Little = (2 << 12),
  kCGBitmapByteOrder16Big = (3 << 12),
  kCGBitmapByteOrder32Big = (4 << 12)
};

CG_EXTERN CFTypeID CGImageGetTypeID(void) CG_WEAK_IMPORT;
/* NULL when the geometry is inconsistent (zero size, a component size other
   than 1, 2, 4, 5, 8, 16 or 32 bits, pixels too small for the space and
   alpha, rows too short), when provider is NULL, when space is NULL for an
   image that is not alpha-only, or when the provider holds fewer bytes than
   the rows need. Keeps references to space and provider; decode (two values
   per colour component) is copied. */
CG_EXTERN CGImageRef CGImageCreate(size_t width, size_t height, size_t bitsPerComponent, size_t bitsPerPixel,
                                   size_t bytesPerRow, CGColorSpaceRef space, CGBitmapInfo bitmapInfo,
                                   CGDataProviderRef provider, const CGFloat *decode, bool shouldInterpolate,
                                   CGColorRenderingIntent intent) CG_WEAK_IMPORT;
CG_EXTERN CGImageRef CGImageRetain(CGImageRef image) CG_WEAK_IMPORT;
CG_EXTERN void CGImageRelease(CGImageRef image) CG_WEAK_IMPORT;

CG_EXTERN size_t CGImageGetWidth(CGImageRef image);
CG_EXTERN size_t CGImageGetHeight(CGImageRef image);
CG_EXTERN size_t CGImageGetBitsPerComponent(CGImageRef image);
CG_EXTERN size_t CGImageGetBitsPerPixel(CGImageRef image);
CG_EXTERN size_t CGImageGetBytesPerRow(CGImageRef image);
CG_EXTERN CGBitmapInfo CGImageGetBitmapInfo(CGImageRef image);
CG_EXTERN CGImageAlphaInfo CGImageGetAlphaInfo(CGImageRef image);
/* Not retained: valid while the image lives. */
CG_EXTERN CGColorSpaceRef CGImageGetColorSpace(CGImageRef image);
CG_EXTERN CGDataProviderRef CGImageGetDataProvider(CGImageRef image);

CG_EXTERN_C_END

#endif /* KC_CGIMAGE_H */

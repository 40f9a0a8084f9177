/* Colour spaces: the device and generic gray, RGB and CMYK spaces. */
#ifndef KC_CGCOLORSPACE_H
#define KC_CGCOLORSPACE_H

#include <CoreGraphics/CGBase.h>

CG_EXTERN_C_BEGIN

typedef struct CGColorSpace *CGColorSpaceRef;

typedef int32_t CGColorSpaceModel;
enum {
  kCGColorSpaceModelUnknown = -1,
  kCGColorSpaceModelMonochrome = 0,
  kCGColorSpaceModelRGB = 1,
  kCGColorSpaceModelCMYK = 2
};

typedef int32_t CGColorRenderingIntent;
enum {
  kCGRenderingIntentDefault = 0,
  kCGRenderingIntentAbsoluteColorimetric = 1,
  kCGRenderingIntentRelativeColorimetric = 2,
  kCGRenderingIntentPerceptual = 3,
  kCGRenderingIntentSaturation = 4
};

CG_EXTERN const CFStringRef kCGColorSpaceGenericGray;
CG_EXTERN const CFStringRef kCGColorSpaceGenericRGB;
CG_EXTERN const CFStringRef kCGColorSpaceGenericCMYK;

CG_EXTERN CFTypeID CGColorSpaceGetTypeID(void) CG_WEAK_IMPORT;
CG_EXTERN CGColorSpaceRef CGColorSpaceCreateDeviceGray(void) CG_WEAK_IMPORT;
CG_EXTERN CGColorSpaceRef CGColorSpaceCreateDeviceRGB(void) CG_WEAK_IMPORT;
CG_EXTERN CGColorSpaceRef CGColorSpaceCreateDeviceCMYK(void) CG_WEAK_IMPORT;
/* NULL for a name other than the kCGColorSpaceGeneric constants. */
CG_EXTERN CGColorSpaceRef CGColorSpaceCreateWithName(CFStringRef name) CG_WEAK_IMPORT;
CG_EXTERN CGColorSpaceRef CGColorSpaceRetain(CGColorSpaceRef space) CG_WEAK_IMPORT;
CG_EXTERN void CGColorSpaceRelease(CGColorSpaceRef space) CG_WEAK_IMPORT;

/* Colour components, alpha not counted; 0 for NULL. */
CG_EXTERN size_t CGColorSpaceGetNumberOfComponents(CGColorSpaceRef space);
CG_EXTERN CGColorSpaceModel CGColorSpaceGetModel(CGColorSpaceRef space);
/* The generic name the space was made with, or NULL for a device space. */
CG_EXTERN CFStringRef CGColorSpaceCopyName(CGColorSpaceRef space);

CG_EXTERN_C_END

#endif /* KC_CGCOLORSPACE_H */

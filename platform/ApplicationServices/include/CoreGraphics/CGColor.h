/* Colours: components in a colour space, alpha last. */
#ifndef KC_CGCOLOR_H
#define KC_CGCOLOR_H

#include <CoreGraphics/CGBase.h>
#include <CoreGraphics/CGColorSpace.h>

CG_EXTERN_C_BEGIN

typedef struct CGColor *CGColorRef;

CG_EXTERN CFTypeID CGColorGetTypeID(void) CG_WEAK_IMPORT;
/* components holds the space's component count plus alpha, each clamped to
   0...1. NULL for a NULL space or NULL components. */
CG_EXTERN CGColorRef CGColorCreate(CGColorSpaceRef space, const CGFloat *components) CG_WEAK_IMPORT;
CG_EXTERN CGColorRef CGColorCreateGenericRGB(CGFloat red, CGFloat green, CGFloat blue, CGFloat alpha) CG_WEAK_IMPORT;
CG_EXTERN CGColorRef CGColorCreateGenericGray(CGFloat gray, CGFloat alpha) CG_WEAK_IMPORT;
CG_EXTERN CGColorRef CGColorCreateGenericCMYK(CGFloat cyan, CGFloat magenta, CGFloat yellow, CGFloat black,
                                              CGFloat alpha) CG_WEAK_IMPORT;
CG_EXTERN CGColorRef CGColorCreateCopy(CGColorRef color) CG_WEAK_IMPORT;
CG_EXTERN CGColorRef CGColorCreateCopyWithAlpha(CGColorRef color, CGFloat alpha) CG_WEAK_IMPORT;
CG_EXTERN CGColorRef CGColorRetain(CGColorRef color) CG_WEAK_IMPORT;
CG_EXTERN void CGColorRelease(CGColorRef color) CG_WEAK_IMPORT;

CG_EXTERN bool CGColorEqualToColor(CGColorRef color1, CGColorRef color2);
/* Components plus alpha (0 for NULL). */
CG_EXTERN size_t CGColorGetNumberOfComponents(CGColorRef color);
/* The colour's own storage, valid while the colour lives; NULL for NULL. */
CG_EXTERN const CGFloat *CGColorGetComponents(CGColorRef color);
CG_EXTERN CGFloat CGColorGetAlpha(CGColorRef color);
/* Not retained: valid while the colour lives. */
CG_EXTERN CGColorSpaceRef CGColorGetColorSpace(CGColorRef color);

CG_EXTERN_C_END

#endif /* KC_CGCOLOR_H */

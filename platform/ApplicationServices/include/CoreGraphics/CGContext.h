/* Drawing contexts: fill state and rectangle filling. */
#ifndef KC_CGCONTEXT_H
#define KC_CGCONTEXT_H

#include <CoreGraphics/CGBase.h>
#include <CoreGraphics/CGColor.h>
#include <CoreGraphics/CGGeometry.h>

CG_EXTERN_C_BEGIN

typedef struct CGContext *CGContextRef;

CG_EXTERN CFTypeID CGContextGetTypeID(void) CG_WEAK_IMPORT;
CG_EXTERN CGContextRef CGContextRetain(CGContextRef c) CG_WEAK_IMPORT;
CG_EXTERN void CGContextRelease(CGContextRef c) CG_WEAK_IMPORT;

/* The fill colour, converted to the context's colour space. The initial
   fill colour is opaque black. */
CG_EXTERN void CGContextSetRGBFillColor(CGContextRef c, CGFloat red, CGFloat green, CGFloat blue, CGFloat alpha);
CG_EXTERN void CGContextSetGrayFillColor(CGContextRef c, CGFloat gray, CGFloat alpha);
CG_EXTERN void CGContextSetFillColorWithColor(CGContextRef c, CGColorRef color);
/* Paints the pixels whose centres lie inside rect (origin at the lower
   left), blending the fill colour over them. */
CG_EXTERN void CGContextFillRect(CGContextRef c, CGRect rect);
/* Sets every byte of the pixels whose centres lie inside rect to zero:
   transparent where the format has alpha. */
CG_EXTERN void CGContextClearRect(CGContextRef c, CGRect rect);

CG_EXTERN_C_END

#endif /* KC_CGCONTEXT_H */

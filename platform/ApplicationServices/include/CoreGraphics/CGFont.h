/* Fonts read from sfnt font data. */
#ifndef KC_CGFONT_H
#define KC_CGFONT_H

#include <CoreGraphics/CGBase.h>
#include <CoreGraphics/CGDataProvider.h>

CG_EXTERN_C_BEGIN

typedef struct CGFont *CGFontRef;
typedef unsigned short CGGlyph;

CG_EXTERN CFTypeID CGFontGetTypeID(void) CG_WEAK_IMPORT;
/* NULL unless the provider holds an sfnt font whose table directory, 'head'
   and 'maxp' tables are complete. */
CG_EXTERN CGFontRef CGFontCreateWithDataProvider(CGDataProviderRef provider) CG_WEAK_IMPORT;
CG_EXTERN CGFontRef CGFontRetain(CGFontRef font) CG_WEAK_IMPORT;
CG_EXTERN void CGFontRelease(CGFontRef font) CG_WEAK_IMPORT;

/* The PostScript name from the 'name' table, or NULL when it has none. */
CG_EXTERN CFStringRef CGFontCopyPostScriptName(CGFontRef font);
CG_EXTERN int CGFontGetUnitsPerEm(CGFontRef font);
CG_EXTERN size_t CGFontGetNumberOfGlyphs(CGFontRef font);

CG_EXTERN_C_END

#endif /* KC_CGFONT_H */

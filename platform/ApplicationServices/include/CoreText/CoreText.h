/* CoreText type identifiers. CoreText is not part of this platform: nothing
   defines these. A program that asks for weak imports (KC_WEAK_IMPORTS, see
   MacTypes.h) sees their addresses as NULL and tests them before use, as on
   a system without CoreText; any other program that calls one fails to link. */
#ifndef KC_CORETEXT_H
#define KC_CORETEXT_H

#include <CoreFoundation/CoreFoundation.h>

CF_EXTERN_C_BEGIN

extern CFTypeID CTFontGetTypeID(void) KC_WEAK_IF_ASKED;
extern CFTypeID CTFontCollectionGetTypeID(void) KC_WEAK_IF_ASKED;
extern CFTypeID CTFrameGetTypeID(void) KC_WEAK_IF_ASKED;
extern CFTypeID CTFramesetterGetTypeID(void) KC_WEAK_IF_ASKED;
extern CFTypeID CTGlyphInfoGetTypeID(void) KC_WEAK_IF_ASKED;
extern CFTypeID CTLineGetTypeID(void) KC_WEAK_IF_ASKED;
extern CFTypeID CTParagraphStyleGetTypeID(void) KC_WEAK_IF_ASKED;
extern CFTypeID CTRunGetTypeID(void) KC_WEAK_IF_ASKED;
extern CFTypeID CTRunDelegateGetTypeID(void) KC_WEAK_IF_ASKED;
extern CFTypeID CTTypesetterGetTypeID(void) KC_WEAK_IF_ASKED;

CF_EXTERN_C_END

#endif /* KC_CORETEXT_H */

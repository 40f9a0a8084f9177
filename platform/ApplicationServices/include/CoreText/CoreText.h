/* CoreText type identifiers. CoreText is not part of this platform: these
   are weak declarations that nothing defines, so their addresses are NULL
   and callers test them before use, as on a system without CoreText. */
#ifndef KC_CORETEXT_H
#define KC_CORETEXT_H

#include <CoreFoundation/CoreFoundation.h>

CF_EXTERN_C_BEGIN

extern CFTypeID CTFontGetTypeID(void) __attribute__((weak));
extern CFTypeID CTFontCollectionGetTypeID(void) __attribute__((weak));
extern CFTypeID CTFrameGetTypeID(void) __attribute__((weak));
extern CFTypeID CTFramesetterGetTypeID(void) __attribute__((weak));
extern CFTypeID CTGlyphInfoGetTypeID(void) __attribute__((weak));
extern CFTypeID CTLineGetTypeID(void) __attribute__((weak));
extern CFTypeID CTParagraphStyleGetTypeID(void) __attribute__((weak));
extern CFTypeID CTRunGetTypeID(void) __attribute__((weak));
extern CFTypeID CTRunDelegateGetTypeID(void) __attribute__((weak));
extern CFTypeID CTTypesetterGetTypeID(void) __attribute__((weak));

CF_EXTERN_C_END

#endif /* KC_CORETEXT_H */

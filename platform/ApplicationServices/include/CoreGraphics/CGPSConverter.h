/* PostScript converter objects and their callbacks. */
#ifndef KC_CGPSCONVERTER_H
#define KC_CGPSCONVERTER_H

#include <CoreGraphics/CGBase.h>

CG_EXTERN_C_BEGIN

typedef struct CGPSConverter *CGPSConverterRef;

typedef void (*CGPSConverterBeginDocumentCallback)(void *info);
typedef void (*CGPSConverterEndDocumentCallback)(void *info, bool success);
typedef void (*CGPSConverterBeginPageCallback)(void *info, size_t pageNumber, CFDictionaryRef pageInfo);
typedef void (*CGPSConverterEndPageCallback)(void *info, size_t pageNumber, CFDictionaryRef pageInfo);
typedef void (*CGPSConverterProgressCallback)(void *info);
typedef void (*CGPSConverterMessageCallback)(void *info, CFStringRef message);
typedef void (*CGPSConverterReleaseInfoCallback)(void *info);

struct CGPSConverterCallbacks {
  unsigned int version;
  CGPSConverterBeginDocumentCallback beginDocument;
  CGPSConverterEndDocumentCallback endDocument;
  CGPSConverterBeginPageCallback beginPage;
  CGPSConverterEndPageCallback endPage;
  CGPSConverterProgressCallback noteProgress;
  CGPSConverterMessageCallback noteMessage;
  CGPSConverterReleaseInfoCallback releaseInfo;
};
typedef struct CGPSConverterCallbacks CGPSConverterCallbacks;

CG_EXTERN CFTypeID CGPSConverterGetTypeID(void) CG_WEAK_IMPORT;
/* NULL when callbacks is NULL or its version is not 0. Keeps a reference to
   options; releaseInfo, if set, is called once with info when the converter
   is destroyed. */
CG_EXTERN CGPSConverterRef CGPSConverterCreate(void *info, const CGPSConverterCallbacks *callbacks,
                                               CFDictionaryRef options) CG_WEAK_IMPORT;
CG_EXTERN CGPSConverterRef CGPSConverterRetain(CGPSConverterRef converter) CG_WEAK_IMPORT;
CG_EXTERN void CGPSConverterRelease(CGPSConverterRef converter) CG_WEAK_IMPORT;

/* Whether a conversion is running on this converter. */
CG_EXTERN bool CGPSConverterIsConverting(CGPSConverterRef converter);
/* Asks a running conversion to stop; false when none is running. */
CG_EXTERN bool CGPSConverterAbort(CGPSConverterRef converter);

CG_EXTERN_C_END

#endif /* KC_CGPSCONVERTER_H */

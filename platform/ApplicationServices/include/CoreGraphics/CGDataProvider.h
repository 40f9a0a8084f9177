/* Data providers: a source of bytes for images and fonts. */
#ifndef KC_CGDATAPROVIDER_H
#define KC_CGDATAPROVIDER_H

#include <CoreGraphics/CGBase.h>

CG_EXTERN_C_BEGIN

typedef struct CGDataProvider *CGDataProviderRef;

/* Called once, when the provider is destroyed, to give the bytes back. */
typedef void (*CGDataProviderReleaseDataCallback)(void *info, const void *data, size_t size);

CG_EXTERN CFTypeID CGDataProviderGetTypeID(void) CG_WEAK_IMPORT;
/* Uses data in place (not copied); releaseData, if not NULL, is called when
   the provider is destroyed. NULL when data is NULL and size is not 0. */
CG_EXTERN CGDataProviderRef CGDataProviderCreateWithData(void *info, const void *data, size_t size,
                                                         CGDataProviderReleaseDataCallback releaseData) CG_WEAK_IMPORT;
/* Keeps a reference to data. */
CG_EXTERN CGDataProviderRef CGDataProviderCreateWithCFData(CFDataRef data) CG_WEAK_IMPORT;
CG_EXTERN CGDataProviderRef CGDataProviderRetain(CGDataProviderRef provider) CG_WEAK_IMPORT;
CG_EXTERN void CGDataProviderRelease(CGDataProviderRef provider) CG_WEAK_IMPORT;

/* A new CFData holding a copy of the provider's bytes. */
CG_EXTERN CFDataRef CGDataProviderCopyData(CGDataProviderRef provider);

CG_EXTERN_C_END

#endif /* KC_CGDATAPROVIDER_H */

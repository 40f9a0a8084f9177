/* Data consumers: a destination for bytes written by CoreGraphics. */
#ifndef KC_CGDATACONSUMER_H
#define KC_CGDATACONSUMER_H

#include <CoreGraphics/CGBase.h>

CG_EXTERN_C_BEGIN

typedef struct CGDataConsumer *CGDataConsumerRef;

typedef size_t (*CGDataConsumerPutBytesCallback)(void *info, const void *buffer, size_t count);
typedef void (*CGDataConsumerReleaseInfoCallback)(void *info);

struct CGDataConsumerCallbacks {
  CGDataConsumerPutBytesCallback putBytes;
  CGDataConsumerReleaseInfoCallback releaseConsumer;
};
typedef struct CGDataConsumerCallbacks CGDataConsumerCallbacks;

CG_EXTERN CFTypeID CGDataConsumerGetTypeID(void) CG_WEAK_IMPORT;
/* NULL when callbacks or its putBytes is NULL. releaseConsumer, if not NULL,
   is called once with info when the consumer is destroyed. */
CG_EXTERN CGDataConsumerRef CGDataConsumerCreate(void *info, const CGDataConsumerCallbacks *callbacks) CG_WEAK_IMPORT;
/* Appends everything written to data, which it keeps a reference to. */
CG_EXTERN CGDataConsumerRef CGDataConsumerCreateWithCFData(CFMutableDataRef data) CG_WEAK_IMPORT;
CG_EXTERN CGDataConsumerRef CGDataConsumerRetain(CGDataConsumerRef consumer) CG_WEAK_IMPORT;
CG_EXTERN void CGDataConsumerRelease(CGDataConsumerRef consumer) CG_WEAK_IMPORT;

CG_EXTERN_C_END

#endif /* KC_CGDATACONSUMER_H */

/* Scalar types and linkage macros shared by the CoreGraphics headers. */
#ifndef KC_CGBASE_H
#define KC_CGBASE_H

#include <CoreFoundation/CoreFoundation.h>
#include <float.h>
#include <stdbool.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define CG_EXTERN_C_BEGIN extern "C" {
#define CG_EXTERN_C_END }
#define CG_EXTERN extern "C" __attribute__((visibility("default")))
#else
#define CG_EXTERN_C_BEGIN
#define CG_EXTERN_C_END
#define CG_EXTERN extern __attribute__((visibility("default")))
#endif

/* The type identifiers, retain functions and constructors are weak for a
   program that asks (KC_WEAK_IMPORTS, see MacTypes.h). */
#define CG_WEAK_IMPORT KC_WEAK_IF_ASKED
#define CG_INLINE static __inline__ __attribute__((always_inline))

typedef double CGFloat;
#define CGFLOAT_IS_DOUBLE 1
#define CGFLOAT_MIN DBL_MIN
#define CGFLOAT_MAX DBL_MAX

#endif /* KC_CGBASE_H */

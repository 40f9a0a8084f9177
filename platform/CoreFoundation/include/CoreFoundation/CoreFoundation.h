/* Umbrella header of the CoreFoundation framework. */
#ifndef KC_COREFOUNDATION_H
#define KC_COREFOUNDATION_H

/* A program that includes the framework gets the C library's common headers
   with it, as it does on macOS: code written there uses bool, true, false,
   NULL, printf, memcmp and the like with no include of its own. */
#include <sys/types.h>
#include <assert.h>
#include <ctype.h>
#include <errno.h>
#include <float.h>
#include <limits.h>
#include <locale.h>
#include <math.h>
#include <setjmp.h>
#include <signal.h>
#include <stdarg.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>
#if defined(__cplusplus) || (defined(__STDC_VERSION__) && __STDC_VERSION__ >= 199901L)
#include <inttypes.h>
#include <iso646.h>
#include <stdbool.h>
#include <stdint.h>
#endif

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFArray.h>
#include <CoreFoundation/CFAttributedString.h>
#include <CoreFoundation/CFBag.h>
#include <CoreFoundation/CFBundle.h>
#include <CoreFoundation/CFCharacterSet.h>
#include <CoreFoundation/CFData.h>
#include <CoreFoundation/CFDate.h>
#include <CoreFoundation/CFDictionary.h>
#include <CoreFoundation/CFError.h>
#include <CoreFoundation/CFNumber.h>
#include <CoreFoundation/CFSet.h>
#include <CoreFoundation/CFString.h>
#include <CoreFoundation/CFTimeZone.h>
#include <CoreFoundation/CFURL.h>
#include <CoreFoundation/CFUUID.h>

#endif /* KC_COREFOUNDATION_H */

/* ApplicationServices: the File Manager, CoreGraphics and the CoreText
   type identifiers, over CoreFoundation. */
#ifndef KC_APPLICATIONSERVICES_H
#define KC_APPLICATIONSERVICES_H

#include <CoreFoundation/CoreFoundation.h>
#include <CarbonCore/MacErrors.h>
#include <CarbonCore/Files.h>
#include <CoreGraphics/CoreGraphics.h>
#include <CoreText/CoreText.h>

#endif /* KC_APPLICATIONSERVICES_H */

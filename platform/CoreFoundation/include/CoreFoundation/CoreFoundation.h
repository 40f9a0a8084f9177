/* Umbrella header of the CoreFoundation framework. */
#ifndef KC_COREFOUNDATION_H
#define KC_COREFOUNDATION_H

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

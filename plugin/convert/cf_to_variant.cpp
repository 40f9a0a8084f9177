// GetCFTypeAsVariant: the value's type is compared with the framework's type
// identifiers in a fixed order, each asked afresh, and the first that matches
// picks the step that makes the host value. Types the host has no value for
// go into wrapper objects of the plug-in family, with CFObjectZNQ as the
// general holder.
#include "convert/cf_to_variant.h"

#include <ApplicationServices/ApplicationServices.h>
#include <CoreText/CoreText.h>
#include <string.h>

#include "convert/dictionary_methods.h"
#include "convert/nesting.h"
#include "convert/string_convert.h"
#include "frame/host_arrays.h"
#include "frame/host_functions.h"
#include "frame/host_variants.h"
#include "frame/instance_data.h"

namespace {

// The tag a fresh wrapper object carries in word 2 of its instance data: the
// four characters RBCF.
constexpr RBWord kWrapperTag = 0x52424346;

constexpr const char *kGeneralWrapper = "CFObjectZNQ";

enum class Step { Nil, Dictionary, String, Data, Date, Wrapper, Image, URL, Boolean, Number, Array };

struct TypeRow {
  CFTypeID (*typeID)(void);  // null on a system without it: the row is skipped
  Step step;
  const char *wrapper;  // the wrapper class of the Wrapper rows
};

// Weak imports (the CoreGraphics and CoreText identifiers) are null where the
// running system lacks them; such a row is skipped rather than called. On
// this platform the CoreText rows are always skipped.
const TypeRow kTypeRows[] = {
    {&CFNullGetTypeID, Step::Nil, nullptr},
    {&CFDictionaryGetTypeID, Step::Dictionary, nullptr},
    {&CFStringGetTypeID, Step::String, nullptr},
    {&CFDataGetTypeID, Step::Data, nullptr},
    {&CFDateGetTypeID, Step::Date, nullptr},
    {&CGColorSpaceGetTypeID, Step::Wrapper, "CGColorSpaceZNQ"},
    {&CGColorGetTypeID, Step::Wrapper, "CGColorZNQ"},
    {&CGImageGetTypeID, Step::Image, nullptr},
    {&CGLayerGetTypeID, Step::Wrapper, "CGLayerZNQ"},
    {&CGFontGetTypeID, Step::Wrapper, "CGFontZNQ"},
    {&CGDataConsumerGetTypeID, Step::Wrapper, "CGDataConsumerZNQ"},
    {&CGDataProviderGetTypeID, Step::Wrapper, "CGDataProviderZNQ"},
    {&CGPSConverterGetTypeID, Step::Wrapper, "CGPSConverterZNQ"},
    {&CGContextGetTypeID, Step::Wrapper, "CGContextZNQ"},
    {&CFURLGetTypeID, Step::URL, nullptr},
    {&CFBooleanGetTypeID, Step::Boolean, nullptr},
    {&CFNumberGetTypeID, Step::Number, nullptr},
    {&CFArrayGetTypeID, Step::Array, nullptr},
    {&CFAttributedStringGetTypeID, Step::Wrapper, "CFAttributedStringZNQ"},
    {&CTFontGetTypeID, Step::Wrapper, "CTFontZNQ"},
    {&CTFontCollectionGetTypeID, Step::Wrapper, "CTFontCollectionZNQ"},
    {&CTFrameGetTypeID, Step::Wrapper, "CTFrameZNQ"},
    {&CTFramesetterGetTypeID, Step::Wrapper, "CTFramesetterZNQ"},
    {&CTGlyphInfoGetTypeID, Step::Wrapper, "CTGlyphInfoZNQ"},
    {&CTLineGetTypeID, Step::Wrapper, "CTLineZNQ"},
    {&CTParagraphStyleGetTypeID, Step::Wrapper, "CTParagraphStyleZNQ"},
    {&CTRunGetTypeID, Step::Wrapper, "CTRunZNQ"},
    {&CTRunDelegateGetTypeID, Step::Wrapper, "CTRunDelegateZNQ"},
    {&CTTypesetterGetTypeID, Step::Wrapper, "CTTypesetterZNQ"},
    {&CFCharacterSetGetTypeID, Step::Wrapper, "CFCharacterSetZNQ"},
    {&CFBundleGetTypeID, Step::Wrapper, "CFBundleZNQ"},
    {&CFSetGetTypeID, Step::Wrapper, "CFSetZNQ"},
    {&CFBagGetTypeID, Step::Wrapper, "CFBagZNQ"},
    {&CFUUIDGetTypeID, Step::Wrapper, "CFUUIDZNQ"},
    {&CFTimeZoneGetTypeID, Step::Wrapper, "CFTimeZoneZNQ"},
    {&CFErrorGetTypeID, Step::Wrapper, "CFErrorZNQ"},
};

RBWord *WrapperWords(REALobject obj) { return &ArgumentData(obj)->Handle; }

// A variant holding a host string; the variant keeps its own reference.
REALobject StringVariant(REALstring text) {
  if (text == nullptr) return nullptr;
  REALobject variant = REALNewVariantString(text);
  REALUnlockString(text);
  return variant;
}

// Data reaches the host as a string of the same bytes: ASCII when every byte
// is below 0x80, raw bytes of no declared encoding otherwise.
REALobject DataVariant(CFDataRef data) {
  const UInt8 *bytes = CFDataGetBytePtr(data);
  const CFIndex length = CFDataGetLength(data);
  if (bytes == nullptr || length <= 0) return nullptr;
  bool ascii = true;
  for (CFIndex i = 0; i < length && ascii; ++i) ascii = bytes[i] < 0x80;
  REALstring text = originalREALBuildString(bytes, static_cast<RBInteger>(length));
  if (text == nullptr) return nullptr;
  REALSetStringEncoding(text, ascii ? kREALEncodingASCII : kREALEncodingUnknown);
  return StringVariant(text);
}

// Dates travel as their GMT fields, the zone the opposite conversion reads.
REALobject DateObject(CFDateRef date) {
  const CFGregorianDate g = CFAbsoluteTimeGetGregorianDate(CFDateGetAbsoluteTime(date), nullptr);
  REALobject obj = REALnewInstance("Date");
  if (obj == nullptr) return nullptr;
  REALSetPropValueInt32(obj, "Year", g.year);
  REALSetPropValueInt32(obj, "Month", g.month);
  REALSetPropValueInt32(obj, "Day", g.day);
  REALSetPropValueInt32(obj, "Hour", g.hour);
  REALSetPropValueInt32(obj, "Minute", g.minute);
  REALSetPropValueInt32(obj, "Second", static_cast<int32_t>(g.second));  // fractions are lost
  return obj;
}

// The variant's width follows the number's stored size, not its value.
REALobject NumberVariant(CFNumberRef number) {
  double d;
  if (CFNumberIsFloatType(number) && CFNumberGetValue(number, kCFNumberDoubleType, &d))
    return REALNewVariantDouble(d);
  int32_t i;
  // A number of up to four bytes is read as the 32-bit integer of the
  // original layout.
  if (CFNumberGetByteSize(number) <= 4 && CFNumberGetValue(number, kCFNumberSInt32Type, &i))
    return REALNewVariantInteger(i);
  long long j;
  if (CFNumberGetValue(number, kCFNumberLongLongType, &j)) return REALNewVariantInt64(j);
  return nullptr;
}

REALobject ArrayObject(CFArrayRef array) {
  const CFIndex count = CFArrayGetCount(array);
  REALarray result = REALCreateArray(kREALArrayObject, count - 1);
  if (result == nullptr) return nullptr;
  for (CFIndex i = 0; i < count; ++i) {
    REALobject element = GetCFTypeAsVariant(CFArrayGetValueAtIndex(array, i));
    REALSetArrayValueObject(result, i, element);
    REALUnlockObject(element);  // the array holds its own reference
  }
  return result;
}

REALobject DictionaryObject(CFDictionaryRef dict) {
  REALobject result = REALnewInstance("Dictionary");
  if (result == nullptr) return nullptr;
  CFDictionaryApplyFunction(dict, MyCFDictionaryApplierFunction, result);
  ForgetDictionaryMethods();
  return result;
}

// A wrapper of the row's class, or the general holder when that class is
// not loaded. An object without the family's tag is not a wrapper: it is let
// go and nothing is returned.
REALobject WrapperObject(CFTypeRef value, const char *className) {
  REALobject obj = REALnewInstance(className);
  if (obj == nullptr) obj = REALnewInstance(kGeneralWrapper);
  if (obj == nullptr) return nullptr;
  RBWord *words = WrapperWords(obj);
  if (words[2] != kWrapperTag) {
    REALUnlockObject(obj);
    return nullptr;
  }
  words[2] = kWrapperTag;
  words[0] = reinterpret_cast<RBWord>(CFRetain(value));
  return obj;
}

// Images go only into CGImageZNQ, retained by CoreGraphics' own function.
REALobject ImageObject(CFTypeRef value) {
  if (&CGImageRetain == nullptr) return nullptr;
  REALobject obj = REALnewInstance("CGImageZNQ");
  if (obj == nullptr) return nullptr;
  WrapperWords(obj)[0] = reinterpret_cast<RBWord>(CGImageRetain(static_cast<CGImageRef>(const_cast<void *>(value))));
  return obj;
}

bool FileManagerPresent() {
  return &CFURLGetFSRef != nullptr && &FSGetCatalogInfo != nullptr;
}

// A folder item for an item that exists: from its parent and its name, or,
// for a volume's root (which has no parent to name it from), from its FSSpec.
REALobject ExistingFolderItem(const FSRef &ref) {
  FSCatalogInfo info;
  memset(&info, 0, sizeof info);
  FSRef parent;
  memset(&parent, 0, sizeof parent);
  if (FSGetCatalogInfo(&ref, kFSCatInfoNodeID, &info, nullptr, nullptr, &parent) == noErr) {
    if (info.nodeID == 2) memset(&parent, 0, sizeof parent);  // the root of its volume
    HFSUniStr255 name;
    memset(&name, 0, sizeof name);
    const OSErr nameStatus = FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, &name, nullptr, nullptr);
    const OSErr parentStatus = FSGetCatalogInfo(&parent, kFSCatInfoNone, nullptr, nullptr, nullptr, nullptr);
    if (nameStatus == noErr && parentStatus == noErr) return REALFolderItemFromParentFSRef(&parent, &name);
  }
  FSSpec spec;
  memset(&spec, 0, sizeof spec);
  if (FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, &spec, nullptr) == noErr)
    return REALFolderItemFromFSSpec(&spec);
  return nullptr;
}

// A folder item for an item not there yet, in a folder that is.
REALobject MissingFolderItem(CFURLRef url) {
  CFURLRef parentURL = CFURLCreateCopyDeletingLastPathComponent(kCFAllocatorDefault, url);
  if (parentURL == nullptr) return nullptr;
  FSRef parent;
  memset(&parent, 0, sizeof parent);
  if (!CFURLGetFSRef(parentURL, &parent)) {
    CFRelease(parentURL);
    return nullptr;
  }
  CFStringRef last = CFURLCopyLastPathComponent(url);
  if (last == nullptr) {
    CFRelease(parentURL);
    return nullptr;
  }
  CFStringRef leaf;
  if (CFMutableStringRef decomposed = CFStringCreateMutableCopy(kCFAllocatorDefault, 0, last)) {
    CFStringNormalize(decomposed, kCFStringNormalizationFormD);
    leaf = decomposed;
  } else {
    leaf = static_cast<CFStringRef>(CFRetain(last));
  }
  HFSUniStr255 name;
  memset(&name, 0, sizeof name);
  CFIndex units = CFStringGetLength(leaf);
  if (units < 0) units = 0;
  if (units > 255) units = 255;
  name.length = static_cast<UInt16>(units);
  CFStringGetCharacters(leaf, CFRangeMake(0, units), name.unicode);
  REALobject item = REALFolderItemFromParentFSRef(&parent, &name);
  CFRelease(leaf);
  CFRelease(last);
  CFRelease(parentURL);
  return item;
}

// A file URL becomes a folder item where the host can make one; any other
// URL, and one whose folder does not exist, becomes its absolute text.
REALobject URLVariant(CFURLRef url) {
  REALobject item = nullptr;
  if (FileManagerPresent()) {
    FSRef ref;
    memset(&ref, 0, sizeof ref);
    item = CFURLGetFSRef(url, &ref) ? ExistingFolderItem(ref) : MissingFolderItem(url);
  }
  if (item != nullptr) return item;
  CFURLRef absolute = CFURLCopyAbsoluteURL(url);
  if (absolute == nullptr) return nullptr;
  REALstring text = CFString2RBString(CFURLGetString(absolute));
  CFRelease(absolute);
  return StringVariant(text);
}

REALobject Convert(CFTypeRef value, const TypeRow &row) {
  switch (row.step) {
    case Step::Nil: return nullptr;
    case Step::Dictionary: return DictionaryObject(static_cast<CFDictionaryRef>(value));
    case Step::String: return StringVariant(CFString2RBString(static_cast<CFStringRef>(value)));
    case Step::Data: return DataVariant(static_cast<CFDataRef>(value));
    case Step::Date: return DateObject(static_cast<CFDateRef>(value));
    case Step::Wrapper: return WrapperObject(value, row.wrapper);
    case Step::Image: return ImageObject(value);
    case Step::URL: return URLVariant(static_cast<CFURLRef>(value));
    case Step::Boolean: return REALNewVariantBoolean(CFBooleanGetValue(static_cast<CFBooleanRef>(value)) ? 1 : 0);
    case Step::Number: return NumberVariant(static_cast<CFNumberRef>(value));
    case Step::Array: return ArrayObject(static_cast<CFArrayRef>(value));
  }
  return nullptr;
}

}  // namespace

REALobject GetCFTypeAsVariant(CFTypeRef value) {
  if (value == nullptr || value == kCFNull || ConversionNesting::Full()) return nullptr;
  const ConversionNesting level;
  const CFTypeID type = CFGetTypeID(value);
  for (const TypeRow &row : kTypeRows) {
    if (row.typeID == nullptr || row.typeID() != type) continue;
    return Convert(value, row);
  }
  // Keychains, items, searches, and every other type the host has no value
  // for.
  return WrapperObject(value, kGeneralWrapper);
}

void MyCFDictionaryApplierFunction(const void *key, const void *value, void *context) {
  REALobject dict = static_cast<REALobject>(context);
  if (key == nullptr || dict == nullptr) return;
  // Both conversions come first: a nested dictionary uses the method cache
  // and leaves it cleared.
  REALobject v = GetCFTypeAsVariant(value);
  REALobject k = GetCFTypeAsVariant(key);
  UseDictionaryMethods(dict);
  if (LastDictionarySetter != nullptr) LastDictionarySetter(dict, k, v);
  REALUnlockObject(k);
  REALUnlockObject(v);
}

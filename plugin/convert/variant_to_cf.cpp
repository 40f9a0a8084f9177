// CopyVariantAsCFType and NewCFDictionary. The variant's type code decides:
// numbers, dates, Booleans and colours by their readers, objects by a row of
// class tests, arrays element by element, and every other code as text.
#include "convert/variant_to_cf.h"

#include <ApplicationServices/ApplicationServices.h>

#include "convert/date_convert.h"
#include "convert/dictionary_methods.h"
#include "convert/folder_item.h"
#include "convert/memory_block.h"
#include "convert/nesting.h"
#include "convert/string_convert.h"
#include "frame/host_arrays.h"
#include "frame/host_functions.h"
#include "frame/host_variants.h"
#include "frame/instance_data.h"

namespace {

// Wrapper objects keep their reference (or, for the geometry classes, their
// doubles) where every plug-in object keeps its instance data.
const void *const *WrapperWords(REALobject obj) {
  return reinterpret_cast<const void *const *>(ArgumentData(obj));
}
const double *WrapperDoubles(REALobject obj) { return reinterpret_cast<const double *>(ArgumentData(obj)); }

// A class test: skipped (false) when the host does not know the class or
// cannot be asked.
bool IsA(REALobject obj, const char *className) {
  REALclassRef cls = REALGetClassRef(className);
  return cls != nullptr && REALObjectIsA(obj, cls);
}

// The geometry classes keep doubles; the framework value is their floats.
CFTypeRef GeometryData(REALobject obj, int count) {
  float floats[4];
  const double *doubles = WrapperDoubles(obj);
  for (int i = 0; i < count; ++i) floats[i] = static_cast<float>(doubles[i]);
  return CFDataCreate(kCFAllocatorDefault, reinterpret_cast<const UInt8 *>(floats),
                      static_cast<CFIndex>(count * sizeof(float)));
}

// A wrapped reference, retained with its own retain function. The
// CoreGraphics retain functions are weak imports: a system without one
// gives null rather than a call through nothing.
template <typename Ref>
CFTypeRef RetainWrapped(REALobject obj, Ref (*retain)(Ref)) {
  const void *ref = WrapperWords(obj)[0];
  if (ref == nullptr || retain == nullptr) return nullptr;
  return retain(static_cast<Ref>(const_cast<void *>(ref)));
}

CFTypeRef RetainWrappedCF(REALobject obj) {
  const void *ref = WrapperWords(obj)[0];
  return ref != nullptr ? CFRetain(ref) : nullptr;
}

constexpr const char *kFolderItemMethod = "TrueItem(Index as integer) as Folderitem";

// Classes whose objects hold one CoreFoundation reference, retained with
// CFRetain, tested in this order after the CoreGraphics ones.
constexpr const char *kRetainedWrappers[] = {
    "CGFontZNQ",    "CGContextZNQ",  "CGLayerZNQ",    "CGPSConverterZNQ",      "KeychainZNQ",
    "KeychainItemZNQ", "CFObjectZNQ", "NSAttributedStringZNQ", "NSTimerZNQ", "NSCalendarZNQ",
    "NSCharacterSetZNQ", "NSErrorZNQ", "NSLocaleZNQ", "NSTimeZoneZNQ",
};

CFTypeRef ObjectAsCFType(REALobject obj) {
  if (IsA(obj, "MemoryBlock")) return RBMemory2CFData(obj);
  if (REALLoadObjectMethod(obj, kFolderItemMethod) != nullptr) return CreateCFURLfromFolderItem(obj);
  if (IsA(obj, "Dictionary")) return NewCFDictionary(obj);
  if (IsA(obj, "CGRectZNQ")) return GeometryData(obj, 4);
  if (IsA(obj, "CGSizeZNQ")) return GeometryData(obj, 2);
  if (IsA(obj, "CGPointZNQ")) return GeometryData(obj, 2);
  if (IsA(obj, "CGImageZNQ")) return RetainWrapped(obj, &CGImageRetain);
  if (IsA(obj, "CGColorSpaceZNQ")) return RetainWrapped(obj, &CGColorSpaceRetain);
  if (IsA(obj, "CGColorZNQ")) return RetainWrapped(obj, &CGColorRetain);
  if (IsA(obj, "CGDataProviderZNQ")) return RetainWrapped(obj, &CGDataProviderRetain);
  if (IsA(obj, "CGDataConsumerZNQ")) return RetainWrapped(obj, &CGDataConsumerRetain);
  for (const char *name : kRetainedWrappers)
    if (IsA(obj, name)) return RetainWrappedCF(obj);
  return nullptr;
}

// Colours are 0xRRGGBB; the top byte never becomes the alpha.
CFTypeRef ColorAsCFType(int32_t color) {
  if (&CGColorCreateGenericRGB == nullptr) return nullptr;
  const uint32_t c = static_cast<uint32_t>(color);
  return CGColorCreateGenericRGB(((c >> 16) & 0xFF) / 255.0, ((c >> 8) & 0xFF) / 255.0, (c & 0xFF) / 255.0, 1.0);
}

CFTypeRef TextAsCFType(REALobject variant) {
  REALstring text = GetVariantString(variant);
  CFStringRef result = RBString2CFString(text);
  if (result == nullptr) result = static_cast<CFStringRef>(CFRetain(CFSTR("")));
  REALUnlockString(text);
  return result;
}

template <typename T>
void AppendNumber(CFMutableArrayRef array, CFNumberType type, T value) {
  if (CFNumberRef number = CFNumberCreate(kCFAllocatorDefault, type, &value)) {
    CFArrayAppendValue(array, number);
    CFRelease(number);
  }
}

void AppendElement(CFMutableArrayRef array, CFTypeRef value) {
  if (value == nullptr) return;
  CFArrayAppendValue(array, value);
  CFRelease(value);
}

// Host arrays inside variants: one entry per element, in index order.
// Strings that do not convert keep their place as empty strings; dates,
// objects and numbers that do not convert are left out.
CFTypeRef ArrayAsCFType(REALarray array, int32_t code) {
  const RBInteger last = REALGetArrayUBound(array);
  CFMutableArrayRef result = CFArrayCreateMutable(kCFAllocatorDefault, last < 0 ? 0 : last + 1, &kCFTypeArrayCallBacks);
  if (result == nullptr || last < 0) return result;
  for (RBInteger i = 0; i <= last; ++i) {
    switch (code) {
      case kREALVarArray + kREALVarInt32:
        AppendNumber(result, kCFNumberSInt32Type, REALGetArrayValueInt32(array, i));
        break;
      case kREALVarArray + kREALVarInt64:
        AppendNumber(result, kCFNumberSInt64Type, REALGetArrayValueInt64(array, i));
        break;
      case kREALVarArray + kREALVarSingle:
        AppendNumber(result, kCFNumberFloat32Type, REALGetArrayValueSingle(array, i));
        break;
      case kREALVarArray + kREALVarDouble:
        AppendNumber(result, kCFNumberFloat64Type, REALGetArrayValueDouble(array, i));
        break;
      case kREALVarArray + kREALVarBoolean:
        CFArrayAppendValue(result, REALGetArrayValueUInt8(array, i) ? kCFBooleanTrue : kCFBooleanFalse);
        break;
      case kREALVarArray + kREALVarString: {
        REALstring element = REALGetArrayValueString(array, i);
        CFStringRef text = RBString2CFString(element);
        AppendElement(result, text != nullptr ? text : CFRetain(CFSTR("")));
        REALUnlockString(element);
        break;
      }
      case kREALVarArray + kREALVarDate: {
        REALobject element = REALGetArrayValueObject(array, i);
        AppendElement(result, RBDate2CFDate(element));
        REALUnlockObject(element);
        break;
      }
      default: {  // objects and variants
        REALobject element = REALGetArrayValueObject(array, i);
        AppendElement(result, CopyVariantAsCFType(element));
        REALUnlockObject(element);
        break;
      }
    }
  }
  return result;
}

bool IsConvertedArray(int32_t code) {
  switch (code) {
    case kREALVarArray + kREALVarInt32:
    case kREALVarArray + kREALVarInt64:
    case kREALVarArray + kREALVarSingle:
    case kREALVarArray + kREALVarDouble:
    case kREALVarArray + kREALVarDate:
    case kREALVarArray + kREALVarString:
    case kREALVarArray + kREALVarObject:
    case kREALVarArray + kREALVarBoolean:
      return true;
    default:
      return false;
  }
}

template <typename T>
CFTypeRef NumberAsCFType(CFNumberType type, T value) {
  return CFNumberCreate(kCFAllocatorDefault, type, &value);
}

}  // namespace

CFTypeRef CopyVariantAsCFType(REALobject variant) {
  if (variant == nullptr || ConversionNesting::Full()) return nullptr;
  const ConversionNesting level;
  const int32_t code = GetVariantType(variant);
  switch (code) {
    case kREALVarNil:
      return nullptr;
    case kREALVarInt32:
      return NumberAsCFType(kCFNumberSInt32Type, GetVariantInt32(variant));
    case kREALVarInt64:
      return NumberAsCFType(kCFNumberSInt64Type, GetVariantInt64(variant));
    case kREALVarSingle:
      return NumberAsCFType(kCFNumberFloat32Type, GetVariantSingle(variant));
    case kREALVarDouble:
    case kREALVarCurrency:
      return NumberAsCFType(kCFNumberFloat64Type, GetVariantDouble(variant));
    case kREALVarDate:
      return RBDate2CFDate(variant);  // the variant is the date object itself
    case kREALVarObject:
      return ObjectAsCFType(variant);
    case kREALVarBoolean:
      return CFRetain((GetVariantInt32(variant) & 0xFF) != 0 ? kCFBooleanTrue : kCFBooleanFalse);
    case kREALVarColor:
      return ColorAsCFType(GetVariantInt32(variant));
    default:
      if (IsConvertedArray(code)) return ArrayAsCFType(variant, code);
      return TextAsCFType(variant);
  }
}

CFMutableDictionaryRef NewCFDictionary(REALobject dict) {
  if (dict == nullptr) return nullptr;
  int32_t count = 0;
  if (!REALGetPropValueInt32(dict, "Count", &count)) count = 0;
  CFMutableDictionaryRef result = CFDictionaryCreateMutable(kCFAllocatorDefault, count < 0 ? 0 : count,
                                                            &kCFTypeDictionaryKeyCallBacks,
                                                            &kCFTypeDictionaryValueCallBacks);
  if (result == nullptr) return nullptr;
  for (int32_t i = 0; i < count; ++i) {
    UseDictionaryMethods(dict);
    REALobject key = LastDictionaryKeyGetter != nullptr ? LastDictionaryKeyGetter(dict, i) : nullptr;
    // Reading the key runs host code; the cache may have moved meanwhile.
    UseDictionaryMethods(dict);
    REALobject value = LastDictionaryGetter != nullptr ? LastDictionaryGetter(dict, key) : nullptr;
    if (key != nullptr) {
      CFTypeRef k = CopyVariantAsCFType(key);
      CFTypeRef v = CopyVariantAsCFType(value);
      CFDictionarySetValue(result, k != nullptr ? k : kCFNull, v != nullptr ? v : kCFNull);
      if (k != nullptr) CFRelease(k);
      if (v != nullptr) CFRelease(v);
      REALUnlockObject(key);
    }
    REALUnlockObject(value);
  }
  ForgetDictionaryMethods();
  return result;
}

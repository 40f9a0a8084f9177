// CFNumber (integers kept as 64-bit, floating point as double, with the
// fixed-width type the number was created as) and the CFBoolean singletons.
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>

#include "cf_internal.h"

using namespace cf;

struct __CFNumber {
  CFRuntimeBase base;
  CFNumberType type;  // one of the fixed-width types SInt8 ... Float64
  bool isFloat;
  int64_t i;
  double d;
};

struct __CFBoolean {
  CFRuntimeBase base;
  Boolean value;
};

namespace {

// The fixed-width type a creating type stands for on this system: long,
// CFIndex and NSInteger are a word wide.
constexpr CFNumberType kWordType = sizeof(long) == 8 ? kCFNumberSInt64Type : kCFNumberSInt32Type;

CFNumberType Canonical(CFNumberType type) {
  switch (type) {
    case kCFNumberSInt8Type:
    case kCFNumberCharType: return kCFNumberSInt8Type;
    case kCFNumberSInt16Type:
    case kCFNumberShortType: return kCFNumberSInt16Type;
    case kCFNumberSInt32Type:
    case kCFNumberIntType: return kCFNumberSInt32Type;
    case kCFNumberLongType:
    case kCFNumberCFIndexType:
    case kCFNumberNSIntegerType: return kWordType;
    case kCFNumberSInt64Type:
    case kCFNumberLongLongType: return kCFNumberSInt64Type;
    case kCFNumberFloat32Type:
    case kCFNumberFloatType: return kCFNumberFloat32Type;
    case kCFNumberFloat64Type:
    case kCFNumberDoubleType:
    case kCFNumberCGFloatType: return kCFNumberFloat64Type;
    default: return 0;
  }
}

CFIndex ByteSize(CFNumberType canonical) {
  switch (canonical) {
    case kCFNumberSInt8Type: return 1;
    case kCFNumberSInt16Type: return 2;
    case kCFNumberSInt32Type:
    case kCFNumberFloat32Type: return 4;
    default: return 8;
  }
}

const __CFNumber* Num(CFNumberRef n) { return n; }

// Orders two numbers by value, whatever their types (NaN sorts first).
int CompareValues(const __CFNumber* a, const __CFNumber* b) {
  if (!a->isFloat && !b->isFloat) return a->i < b->i ? -1 : a->i > b->i ? 1 : 0;
  bool an = a->isFloat && std::isnan(a->d), bn = b->isFloat && std::isnan(b->d);
  if (an || bn) return an && bn ? 0 : an ? -1 : 1;
  // long double holds every 64-bit integer exactly.
  long double x = a->isFloat ? static_cast<long double>(a->d) : static_cast<long double>(a->i);
  long double y = b->isFloat ? static_cast<long double>(b->d) : static_cast<long double>(b->i);
  return x < y ? -1 : x > y ? 1 : 0;
}

Boolean EqualNumbers(CFTypeRef a, CFTypeRef b) {
  return CompareValues(static_cast<const __CFNumber*>(a), static_cast<const __CFNumber*>(b)) == 0;
}

CFHashCode HashNumber(CFTypeRef cf) {
  const __CFNumber* n = static_cast<const __CFNumber*>(cf);
  // Integral values hash as integers so that 1 and 1.0 agree.
  if (!n->isFloat) return static_cast<CFHashCode>(n->i);
  if (std::isfinite(n->d) && n->d == std::trunc(n->d) && std::fabs(n->d) < 9.2e18)
    return static_cast<CFHashCode>(static_cast<int64_t>(n->d));
  uint64_t bits;
  memcpy(&bits, &n->d, sizeof bits);
  return static_cast<CFHashCode>(bits);
}

CFStringRef FormatNumber(CFTypeRef cf, CFDictionaryRef) {
  const __CFNumber* n = static_cast<const __CFNumber*>(cf);
  char text[64];
  if (!n->isFloat) {
    snprintf(text, sizeof text, "%lld", static_cast<long long>(n->i));
  } else if (std::isnan(n->d)) {
    snprintf(text, sizeof text, "nan");
  } else if (std::isinf(n->d)) {
    snprintf(text, sizeof text, n->d > 0 ? "+infinity" : "-infinity");
  } else {
    snprintf(text, sizeof text, "%.15g", n->d);
    if (strtod(text, nullptr) != n->d) snprintf(text, sizeof text, "%.17g", n->d);
  }
  return NewStringFromUTF8(text);
}

CFStringRef DescribeNumber(CFTypeRef cf) { return FormatNumber(cf, nullptr); }

template <class T>
bool StoreInt(int64_t v, void* out) {
  T t = static_cast<T>(v);
  memcpy(out, &t, sizeof t);
  return static_cast<int64_t>(t) == v;
}

template <class T>
bool StoreIntFromDouble(double d, void* out) {
  T t = 0;
  bool exact = false;
  if (std::isfinite(d)) {
    double truncated = std::trunc(d);
    long double lo = static_cast<long double>(std::numeric_limits<T>::min());
    long double hi = static_cast<long double>(std::numeric_limits<T>::max());
    if (truncated < lo) t = std::numeric_limits<T>::min();
    else if (truncated > hi) t = std::numeric_limits<T>::max();
    else {
      t = static_cast<T>(truncated);
      exact = truncated == d;
    }
  }
  memcpy(out, &t, sizeof t);
  return exact;
}

Boolean BooleanEqual(CFTypeRef a, CFTypeRef b) { return a == b; }
CFHashCode BooleanHash(CFTypeRef cf) { return static_cast<const __CFBoolean*>(cf)->value; }
CFStringRef BooleanDescription(CFTypeRef cf) {
  return static_cast<const __CFBoolean*>(cf)->value ? CFSTR("true") : CFSTR("false");
}
CFStringRef BooleanFormat(CFTypeRef cf, CFDictionaryRef) { return BooleanDescription(cf); }

__CFBoolean gTrue = {ImmortalBase(kBooleanTypeID), true};
__CFBoolean gFalse = {ImmortalBase(kBooleanTypeID), false};

__CFNumber gPositiveInfinity = {ImmortalBase(kNumberTypeID), kCFNumberFloat64Type, true, 0, __builtin_huge_val()};
__CFNumber gNegativeInfinity = {ImmortalBase(kNumberTypeID), kCFNumberFloat64Type, true, 0, -__builtin_huge_val()};
__CFNumber gNaN = {ImmortalBase(kNumberTypeID), kCFNumberFloat64Type, true, 0, __builtin_nan("")};

}  // namespace

const CFRuntimeClass cf::kNumberClass = {0, "CFNumber", nullptr, nullptr, nullptr, EqualNumbers, HashNumber,
                                         FormatNumber, DescribeNumber};
const CFRuntimeClass cf::kBooleanClass = {0, "CFBoolean", nullptr, nullptr, nullptr, BooleanEqual, BooleanHash,
                                          BooleanFormat, BooleanDescription};

const CFBooleanRef kCFBooleanTrue = &gTrue;
const CFBooleanRef kCFBooleanFalse = &gFalse;
const CFNumberRef kCFNumberPositiveInfinity = &gPositiveInfinity;
const CFNumberRef kCFNumberNegativeInfinity = &gNegativeInfinity;
const CFNumberRef kCFNumberNaN = &gNaN;

CFTypeID CFBooleanGetTypeID(void) { return kBooleanTypeID; }

Boolean CFBooleanGetValue(CFBooleanRef boolean) {
  return IsA(boolean, kBooleanTypeID) ? boolean->value : false;
}

CFTypeID CFNumberGetTypeID(void) { return kNumberTypeID; }

CFNumberRef CFNumberCreate(CFAllocatorRef allocator, CFNumberType theType, const void* valuePtr) {
  CFNumberType type = Canonical(theType);
  if (!type || !valuePtr) return nullptr;
  __CFNumber* n = const_cast<__CFNumber*>(static_cast<const __CFNumber*>(
      _CFRuntimeCreateInstance(allocator, kNumberTypeID, sizeof(__CFNumber) - sizeof(CFRuntimeBase), nullptr)));
  if (!n) return nullptr;
  n->type = type;
  switch (type) {
    case kCFNumberSInt8Type: { int8_t v; memcpy(&v, valuePtr, sizeof v); n->i = v; break; }
    case kCFNumberSInt16Type: { int16_t v; memcpy(&v, valuePtr, sizeof v); n->i = v; break; }
    case kCFNumberSInt32Type: { int32_t v; memcpy(&v, valuePtr, sizeof v); n->i = v; break; }
    case kCFNumberSInt64Type: { int64_t v; memcpy(&v, valuePtr, sizeof v); n->i = v; break; }
    case kCFNumberFloat32Type: { float v; memcpy(&v, valuePtr, sizeof v); n->d = v; n->isFloat = true; break; }
    default: { double v; memcpy(&v, valuePtr, sizeof v); n->d = v; n->isFloat = true; break; }
  }
  return n;
}

CFNumberType CFNumberGetType(CFNumberRef number) {
  return IsA(number, kNumberTypeID) ? Num(number)->type : 0;
}

CFIndex CFNumberGetByteSize(CFNumberRef number) {
  return IsA(number, kNumberTypeID) ? ByteSize(Num(number)->type) : 0;
}

Boolean CFNumberIsFloatType(CFNumberRef number) {
  return IsA(number, kNumberTypeID) && Num(number)->isFloat;
}

Boolean CFNumberGetValue(CFNumberRef number, CFNumberType theType, void* valuePtr) {
  CFNumberType type = Canonical(theType);
  if (!IsA(number, kNumberTypeID) || !type || !valuePtr) return false;
  const __CFNumber* n = Num(number);
  if (type == kCFNumberFloat32Type || type == kCFNumberFloat64Type) {
    // Stored through memory, so that a wider register (the x87's, at 32
    // bits) cannot keep the bits a double or float drops.
    volatile double rounded = static_cast<double>(n->i);
    double d = n->isFloat ? n->d : rounded;
    // long double holds every 64-bit integer, so this detects rounding.
    bool exact = n->isFloat || static_cast<long double>(d) == static_cast<long double>(n->i);
    if (type == kCFNumberFloat32Type) {
      volatile float narrowed = static_cast<float>(d);
      float f = narrowed;
      memcpy(valuePtr, &f, sizeof f);
      return exact && (static_cast<double>(f) == d || std::isnan(d));
    }
    memcpy(valuePtr, &d, sizeof d);
    return exact;
  }
  if (n->isFloat) {
    switch (type) {
      case kCFNumberSInt8Type: return StoreIntFromDouble<int8_t>(n->d, valuePtr);
      case kCFNumberSInt16Type: return StoreIntFromDouble<int16_t>(n->d, valuePtr);
      case kCFNumberSInt32Type: return StoreIntFromDouble<int32_t>(n->d, valuePtr);
      default: return StoreIntFromDouble<int64_t>(n->d, valuePtr);
    }
  }
  switch (type) {
    case kCFNumberSInt8Type: return StoreInt<int8_t>(n->i, valuePtr);
    case kCFNumberSInt16Type: return StoreInt<int16_t>(n->i, valuePtr);
    case kCFNumberSInt32Type: return StoreInt<int32_t>(n->i, valuePtr);
    default: return StoreInt<int64_t>(n->i, valuePtr);
  }
}

CFComparisonResult CFNumberCompare(CFNumberRef number, CFNumberRef otherNumber, void*) {
  if (!IsA(number, kNumberTypeID) || !IsA(otherNumber, kNumberTypeID)) return kCFCompareEqualTo;
  int r = CompareValues(Num(number), Num(otherNumber));
  return r < 0 ? kCFCompareLessThan : r > 0 ? kCFCompareGreaterThan : kCFCompareEqualTo;
}

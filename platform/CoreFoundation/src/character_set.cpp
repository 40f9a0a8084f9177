// CFCharacterSet: the predefined Unicode classes (answered by ICU's
// character properties) and sets built from strings and ranges.
#include <unicode/uchar.h>

#include <mutex>
#include <unordered_set>
#include <utility>
#include <vector>

#include "cf_internal.h"

using namespace cf;

struct CharacterSetImpl {
  CFCharacterSetPredefinedSet predefined = 0;  // 0: the explicit contents below
  std::unordered_set<UTF32Char> chars;
  std::vector<std::pair<UTF32Char, UTF32Char>> ranges;  // inclusive
  bool inverted = false;
};

struct __CFCharacterSet {
  CFRuntimeBase base;
  CharacterSetImpl impl;
};

namespace {

CharacterSetImpl& Impl(CFCharacterSetRef s) { return const_cast<__CFCharacterSet*>(s)->impl; }
bool IsCharSet(CFTypeRef s) { return IsA(s, kCharacterSetTypeID); }

bool InPredefined(CFCharacterSetPredefinedSet set, UChar32 c) {
  uint32_t mask = U_GET_GC_MASK(c);
  switch (set) {
    case kCFCharacterSetControl: return (mask & (U_GC_CC_MASK | U_GC_CF_MASK)) != 0;
    case kCFCharacterSetWhitespace: return c == 0x09 || (mask & U_GC_ZS_MASK) != 0;
    case kCFCharacterSetWhitespaceAndNewline:
      return (c >= 0x09 && c <= 0x0D) || c == 0x85 || (mask & U_GC_Z_MASK) != 0;
    case kCFCharacterSetDecimalDigit: return (mask & U_GC_ND_MASK) != 0;
    case kCFCharacterSetLetter: return (mask & (U_GC_L_MASK | U_GC_M_MASK)) != 0;
    case kCFCharacterSetLowercaseLetter: return (mask & U_GC_LL_MASK) != 0;
    case kCFCharacterSetUppercaseLetter: return (mask & (U_GC_LU_MASK | U_GC_LT_MASK)) != 0;
    case kCFCharacterSetNonBase: return (mask & U_GC_M_MASK) != 0;
    case kCFCharacterSetDecomposable:
      return u_getIntPropertyValue(c, UCHAR_DECOMPOSITION_TYPE) == U_DT_CANONICAL;
    case kCFCharacterSetAlphaNumeric: return (mask & (U_GC_L_MASK | U_GC_M_MASK | U_GC_N_MASK)) != 0;
    case kCFCharacterSetPunctuation: return (mask & U_GC_P_MASK) != 0;
    case kCFCharacterSetIllegal: return (mask & U_GC_CN_MASK) != 0 || (c & 0xFFFE) == 0xFFFE;
    case kCFCharacterSetCapitalizedLetter: return (mask & U_GC_LT_MASK) != 0;
    case kCFCharacterSetSymbol: return (mask & U_GC_S_MASK) != 0;
    case kCFCharacterSetNewline: return (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029;
    default: return false;
  }
}

bool Contains(const CharacterSetImpl& impl, UTF32Char c) {
  bool in;
  if (impl.predefined) {
    in = InPredefined(impl.predefined, static_cast<UChar32>(c));
  } else {
    in = impl.chars.count(c) > 0;
    for (size_t i = 0; !in && i < impl.ranges.size(); ++i) in = c >= impl.ranges[i].first && c <= impl.ranges[i].second;
  }
  return in != impl.inverted;
}

void AddString(CharacterSetImpl& impl, CFStringRef s) {
  const std::u16string& u = Chars(s);
  for (size_t i = 0; i < u.size(); ++i) {
    UTF32Char c = u[i];
    if (c >= 0xD800 && c <= 0xDBFF && i + 1 < u.size() && u[i + 1] >= 0xDC00 && u[i + 1] <= 0xDFFF) {
      c = 0x10000 + ((c - 0xD800) << 10) + (u[i + 1] - 0xDC00);
      ++i;
    }
    impl.chars.insert(c);
  }
}

bool AddRange(CharacterSetImpl& impl, CFRange r) {
  if (r.location < 0 || r.length < 0 || r.location > 0x10FFFF || r.length > 0x110000 - r.location) return false;
  if (r.length > 0)
    impl.ranges.emplace_back(static_cast<UTF32Char>(r.location), static_cast<UTF32Char>(r.location + r.length - 1));
  return true;
}

void FinalizeCharSet(CFTypeRef cf) { Impl(static_cast<CFCharacterSetRef>(cf)).~CharacterSetImpl(); }

Boolean EqualCharSets(CFTypeRef a, CFTypeRef b) {
  const CharacterSetImpl& x = Impl(static_cast<CFCharacterSetRef>(a));
  const CharacterSetImpl& y = Impl(static_cast<CFCharacterSetRef>(b));
  if (x.predefined || y.predefined) return x.predefined == y.predefined && x.inverted == y.inverted;
  if (x.ranges.empty() && y.ranges.empty()) return x.chars == y.chars && x.inverted == y.inverted;
  // Sets with ranges are compared member by member over all of Unicode.
  for (UTF32Char c = 0; c <= 0x10FFFF; ++c)
    if (Contains(x, c) != Contains(y, c)) return false;
  return true;
}

CFHashCode HashCharSet(CFTypeRef cf) {
  const CharacterSetImpl& x = Impl(static_cast<CFCharacterSetRef>(cf));
  return x.predefined ? static_cast<CFHashCode>(x.predefined) : 0;
}

__CFCharacterSet* NewSet(CFAllocatorRef allocator, bool isMutable) {
  __CFCharacterSet* s = NewInstance<__CFCharacterSet>(allocator, kCharacterSetTypeID);
  if (s && isMutable) SetMutable(s);
  return s;
}

}  // namespace

const CFRuntimeClass cf::kCharacterSetClass = {0, "CFCharacterSet", nullptr, nullptr, FinalizeCharSet,
                                               EqualCharSets, HashCharSet, nullptr, nullptr};

CFTypeID CFCharacterSetGetTypeID(void) { return kCharacterSetTypeID; }

CFCharacterSetRef CFCharacterSetGetPredefined(CFCharacterSetPredefinedSet theSetIdentifier) {
  if (theSetIdentifier < kCFCharacterSetControl || theSetIdentifier > kCFCharacterSetNewline) return nullptr;
  static std::once_flag once;
  static CFCharacterSetRef sets[kCFCharacterSetNewline + 1];
  std::call_once(once, [] {
    for (CFIndex i = kCFCharacterSetControl; i <= kCFCharacterSetNewline; ++i) {
      __CFCharacterSet* s = NewSet(kCFAllocatorSystemDefault, false);
      if (!s) continue;
      s->impl.predefined = i;
      MakeImmortal(s);
      sets[i] = s;
    }
  });
  return sets[theSetIdentifier];
}

CFCharacterSetRef CFCharacterSetCreateWithCharactersInRange(CFAllocatorRef alloc, CFRange theRange) {
  __CFCharacterSet* s = NewSet(alloc, false);
  if (s && !AddRange(s->impl, theRange)) {
    CFRelease(s);
    return nullptr;
  }
  return s;
}

CFCharacterSetRef CFCharacterSetCreateWithCharactersInString(CFAllocatorRef alloc, CFStringRef theString) {
  if (!IsA(theString, kStringTypeID)) return nullptr;
  __CFCharacterSet* s = NewSet(alloc, false);
  if (s) AddString(s->impl, theString);
  return s;
}

CFCharacterSetRef CFCharacterSetCreateInvertedSet(CFAllocatorRef alloc, CFCharacterSetRef theSet) {
  if (!IsCharSet(theSet)) return nullptr;
  __CFCharacterSet* s = NewSet(alloc, false);
  if (!s) return nullptr;
  s->impl = Impl(theSet);
  s->impl.inverted = !s->impl.inverted;
  return s;
}

CFMutableCharacterSetRef CFCharacterSetCreateMutable(CFAllocatorRef alloc) { return NewSet(alloc, true); }

void CFCharacterSetAddCharactersInString(CFMutableCharacterSetRef theSet, CFStringRef theString) {
  if (!IsCharSet(theSet) || !IsMutable(theSet) || !IsA(theString, kStringTypeID)) return;
  AddString(Impl(theSet), theString);
}

void CFCharacterSetAddCharactersInRange(CFMutableCharacterSetRef theSet, CFRange theRange) {
  if (!IsCharSet(theSet) || !IsMutable(theSet)) return;
  AddRange(Impl(theSet), theRange);
}

Boolean CFCharacterSetIsCharacterMember(CFCharacterSetRef theSet, UniChar theChar) {
  return IsCharSet(theSet) && Contains(Impl(theSet), theChar);
}

Boolean CFCharacterSetIsLongCharacterMember(CFCharacterSetRef theSet, UTF32Char theChar) {
  return IsCharSet(theSet) && theChar <= 0x10FFFF && Contains(Impl(theSet), theChar);
}

// CFString and CFMutableString: UTF-16 storage, creation from bytes in the
// supported encodings, extraction, comparison, searching, editing,
// normalization (through ICU) and the uniqued CFSTR constants.
#include <unicode/uchar.h>
#include <unicode/unorm2.h>
#include <unicode/ustring.h>

#include <climits>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <unordered_map>

#include "string_encoding.h"
#include "string_impl.h"

using namespace cf;

namespace {

__CFString* Str(CFStringRef s) { return const_cast<__CFString*>(s); }

bool IsString(CFTypeRef s) { return IsA(s, kStringTypeID); }

bool IsMutableString(CFStringRef s) { return IsString(s) && IsMutable(s); }

bool ValidRange(CFRange range, CFIndex length) {
  return range.location >= 0 && range.length >= 0 && range.location <= length &&
         range.length <= length - range.location;
}

CFIndex Length(CFStringRef s) { return static_cast<CFIndex>(Str(s)->impl.chars.size()); }

void FinalizeString(CFTypeRef cf) { Str(static_cast<CFStringRef>(cf))->impl.~StringImpl(); }

Boolean EqualStrings(CFTypeRef a, CFTypeRef b) {
  return Str(static_cast<CFStringRef>(a))->impl.chars == Str(static_cast<CFStringRef>(b))->impl.chars;
}

CFHashCode HashString(CFTypeRef cf) {
  const std::u16string& c = Str(static_cast<CFStringRef>(cf))->impl.chars;
  return HashBytes(c.data(), c.size() * sizeof(char16_t));
}

CFStringRef FormatString(CFTypeRef cf, CFDictionaryRef) {
  return CFStringCreateCopy(nullptr, static_cast<CFStringRef>(cf));
}

CFStringRef DescribeString(CFTypeRef cf) {
  return CFStringCreateCopy(nullptr, static_cast<CFStringRef>(cf));
}

std::u16string FromUniChars(const UniChar* chars, CFIndex n) {
  std::u16string out(static_cast<size_t>(n), u'\0');
  if (n > 0) memcpy(&out[0], chars, static_cast<size_t>(n) * sizeof(UniChar));
  return out;
}

CFStringRef CreateFromBytes(CFAllocatorRef alloc, const UInt8* bytes, CFIndex numBytes,
                            CFStringEncoding encoding, bool external) {
  if (numBytes < 0 || (numBytes > 0 && !bytes)) return nullptr;
  std::u16string chars;
  if (!DecodeBytes(bytes, static_cast<size_t>(numBytes), encoding, external, &chars)) return nullptr;
  return NewString(alloc, std::move(chars), false);
}

const UNormalizer2* NormalizerFor(CFStringNormalizationForm form) {
  UErrorCode err = U_ZERO_ERROR;
  const UNormalizer2* n = nullptr;
  switch (form) {
    case kCFStringNormalizationFormD: n = unorm2_getNFDInstance(&err); break;
    case kCFStringNormalizationFormKD: n = unorm2_getNFKDInstance(&err); break;
    case kCFStringNormalizationFormC: n = unorm2_getNFCInstance(&err); break;
    case kCFStringNormalizationFormKC: n = unorm2_getNFKCInstance(&err); break;
    default: return nullptr;
  }
  return U_SUCCESS(err) ? n : nullptr;
}

bool Normalize(const std::u16string& in, CFStringNormalizationForm form, std::u16string* out) {
  const UNormalizer2* n = NormalizerFor(form);
  if (!n || in.size() > INT32_MAX / 4) return false;
  UErrorCode err = U_ZERO_ERROR;
  int32_t needed = unorm2_normalize(n, in.data(), static_cast<int32_t>(in.size()), nullptr, 0, &err);
  if (err != U_BUFFER_OVERFLOW_ERROR && U_FAILURE(err)) return false;
  out->assign(static_cast<size_t>(needed), u'\0');
  err = U_ZERO_ERROR;
  unorm2_normalize(n, in.data(), static_cast<int32_t>(in.size()), out->data(), needed, &err);
  return U_SUCCESS(err);
}

// Prepares text for a comparison under the given options. Simple (one unit
// to one unit) case folding keeps indices stable for searching.
std::u16string Fold(const std::u16string& in, CFStringCompareFlags flags) {
  std::u16string s = in;
  if (flags & kCFCompareWidthInsensitive) {
    std::u16string t;
    if (Normalize(s, kCFStringNormalizationFormKD, &t)) s.swap(t);
  }
  if (flags & kCFCompareDiacriticInsensitive) {
    std::u16string t;
    if (Normalize(s, kCFStringNormalizationFormD, &t)) {
      s.clear();
      for (char16_t c : t) {
        if (u_charType(c) != U_NON_SPACING_MARK) s.push_back(c);
      }
    }
  }
  if (flags & kCFCompareCaseInsensitive) {
    for (char16_t& c : s) {
      if (c < 0xD800 || c > 0xDFFF) c = static_cast<char16_t>(u_foldCase(c, U_FOLD_CASE_DEFAULT));
    }
  }
  return s;
}

bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

int CompareUnits(const std::u16string& a, const std::u16string& b, bool numeric) {
  size_t i = 0, j = 0;
  while (i < a.size() && j < b.size()) {
    if (numeric && IsDigit(a[i]) && IsDigit(b[j])) {
      size_t si = i, sj = j;
      while (si < a.size() && a[si] == u'0') ++si;
      while (sj < b.size() && b[sj] == u'0') ++sj;
      size_t ei = si, ej = sj;
      while (ei < a.size() && IsDigit(a[ei])) ++ei;
      while (ej < b.size() && IsDigit(b[ej])) ++ej;
      if (ei - si != ej - sj) return ei - si < ej - sj ? -1 : 1;
      for (size_t k = 0; k < ei - si; ++k) {
        if (a[si + k] != b[sj + k]) return a[si + k] < b[sj + k] ? -1 : 1;
      }
      i = ei;
      j = ej;
      continue;
    }
    if (a[i] != b[j]) return a[i] < b[j] ? -1 : 1;
    ++i;
    ++j;
  }
  if (i < a.size()) return 1;
  if (j < b.size()) return -1;
  return 0;
}

void ApplyCase(CFMutableStringRef s, bool upper) {
  if (!IsMutableString(s)) return;
  std::u16string& chars = Str(s)->impl.chars;
  if (chars.empty() || chars.size() > INT32_MAX / 4) return;
  UErrorCode err = U_ZERO_ERROR;
  auto convert = upper ? u_strToUpper : u_strToLower;
  int32_t needed = convert(nullptr, 0, chars.data(), static_cast<int32_t>(chars.size()), "", &err);
  if (err != U_BUFFER_OVERFLOW_ERROR && U_FAILURE(err)) return;
  std::u16string out(static_cast<size_t>(needed), u'\0');
  err = U_ZERO_ERROR;
  convert(out.data(), needed, chars.data(), static_cast<int32_t>(chars.size()), "", &err);
  if (U_SUCCESS(err)) chars.swap(out);
}

}  // namespace

const CFRuntimeClass cf::kStringClass = {0,           "CFString",   nullptr,
                                         nullptr,     FinalizeString, EqualStrings,
                                         HashString,  FormatString, DescribeString};

// ---- internal helpers ------------------------------------------------------

CFMutableStringRef cf::NewString(CFAllocatorRef allocator, std::u16string chars, bool isMutable) {
  __CFString* s = NewInstance<__CFString>(allocator, kStringTypeID);
  if (!s) return nullptr;
  s->impl.chars = std::move(chars);
  if (isMutable) {
    SetMutable(s);
  } else if (s->impl.chars.find(u'\0') == std::u16string::npos) {
    s->impl.utf8 = ToUTF8(s);
    s->impl.hasUTF8 = true;
    s->impl.ascii = s->impl.utf8.size() == s->impl.chars.size();
  }
  return s;
}

const std::u16string& cf::Chars(CFStringRef string) {
  static const std::u16string* empty = new std::u16string();
  return IsString(string) ? Str(string)->impl.chars : *empty;
}

std::string cf::ToUTF8(CFStringRef string) {
  const std::u16string& chars = Chars(string);
  CFIndex n = static_cast<CFIndex>(chars.size());
  // Three bytes per unit always suffice (a surrogate pair is two units, four bytes).
  std::string out(static_cast<size_t>(n) * 3, '\0');
  CFIndex used = 0;
  if (n > 0) EncodeText(chars, 0, n, kCFStringEncodingUTF8, '?', false, reinterpret_cast<UInt8*>(&out[0]), n * 3, &used);
  out.resize(static_cast<size_t>(used));
  return out;
}

CFStringRef cf::NewStringFromUTF8(const std::string& utf8) {
  return CreateFromBytes(nullptr, reinterpret_cast<const UInt8*>(utf8.data()),
                         static_cast<CFIndex>(utf8.size()), kCFStringEncodingUTF8, false);
}

CFStringRef cf::NewStringFromUTF16(const std::u16string& text) { return NewString(nullptr, text, false); }

// ---- constants -------------------------------------------------------------

CFStringRef __CFStringMakeConstantString(const char* cStr) {
  if (!cStr) return nullptr;
  // Never destroyed: constants are used from other libraries' destructors.
  static std::mutex* lock = new std::mutex();
  static auto* table = new std::unordered_map<std::string, CFStringRef>();
  std::lock_guard<std::mutex> hold(*lock);
  auto it = table->find(cStr);
  if (it != table->end()) return it->second;
  size_t n = strlen(cStr);
  std::u16string chars;
  // Literals are UTF-8; bytes that are not are read as Mac OS Roman.
  if (!DecodeBytes(reinterpret_cast<const UInt8*>(cStr), n, kCFStringEncodingUTF8, false, &chars))
    DecodeBytes(reinterpret_cast<const UInt8*>(cStr), n, kCFStringEncodingMacRoman, false, &chars);
  CFMutableStringRef s = NewString(kCFAllocatorSystemDefault, std::move(chars), false);
  if (!s) return nullptr;
  MakeImmortal(s);
  table->emplace(cStr, s);
  return s;
}

// ---- creating --------------------------------------------------------------

CFTypeID CFStringGetTypeID(void) { return kStringTypeID; }

CFStringRef CFStringCreateWithPascalString(CFAllocatorRef alloc, ConstStr255Param pStr, CFStringEncoding encoding) {
  if (!pStr) return nullptr;
  return CreateFromBytes(alloc, pStr + 1, pStr[0], encoding, false);
}

CFStringRef CFStringCreateWithCString(CFAllocatorRef alloc, const char* cStr, CFStringEncoding encoding) {
  if (!cStr) return nullptr;
  return CreateFromBytes(alloc, reinterpret_cast<const UInt8*>(cStr), static_cast<CFIndex>(strlen(cStr)), encoding, false);
}

CFStringRef CFStringCreateWithBytes(CFAllocatorRef alloc, const UInt8* bytes, CFIndex numBytes,
                                    CFStringEncoding encoding, Boolean isExternalRepresentation) {
  return CreateFromBytes(alloc, bytes, numBytes, encoding, isExternalRepresentation);
}

CFStringRef CFStringCreateWithCharacters(CFAllocatorRef alloc, const UniChar* chars, CFIndex numChars) {
  if (numChars < 0 || (numChars > 0 && !chars)) return nullptr;
  return NewString(alloc, FromUniChars(chars, numChars), false);
}

// The NoCopy variants copy the text and hand the caller's buffer straight
// back to its deallocator, which is what happens at the string's end anyway.
CFStringRef CFStringCreateWithCStringNoCopy(CFAllocatorRef alloc, const char* cStr, CFStringEncoding encoding,
                                            CFAllocatorRef contentsDeallocator) {
  CFStringRef s = CFStringCreateWithCString(alloc, cStr, encoding);
  if (s) CFAllocatorDeallocate(contentsDeallocator, const_cast<char*>(cStr));
  return s;
}

CFStringRef CFStringCreateWithBytesNoCopy(CFAllocatorRef alloc, const UInt8* bytes, CFIndex numBytes,
                                          CFStringEncoding encoding, Boolean isExternalRepresentation,
                                          CFAllocatorRef contentsDeallocator) {
  CFStringRef s = CreateFromBytes(alloc, bytes, numBytes, encoding, isExternalRepresentation);
  if (s) CFAllocatorDeallocate(contentsDeallocator, const_cast<UInt8*>(bytes));
  return s;
}

CFStringRef CFStringCreateWithCharactersNoCopy(CFAllocatorRef alloc, const UniChar* chars, CFIndex numChars,
                                               CFAllocatorRef contentsDeallocator) {
  CFStringRef s = CFStringCreateWithCharacters(alloc, chars, numChars);
  if (s) CFAllocatorDeallocate(contentsDeallocator, const_cast<UniChar*>(chars));
  return s;
}

CFStringRef CFStringCreateWithSubstring(CFAllocatorRef alloc, CFStringRef str, CFRange range) {
  if (!IsString(str) || !ValidRange(range, Length(str))) return nullptr;
  return NewString(alloc, Str(str)->impl.chars.substr(static_cast<size_t>(range.location), static_cast<size_t>(range.length)), false);
}

CFStringRef CFStringCreateCopy(CFAllocatorRef alloc, CFStringRef theString) {
  if (!IsString(theString)) return nullptr;
  if (!IsMutable(theString)) return static_cast<CFStringRef>(CFRetain(theString));
  return NewString(alloc, Str(theString)->impl.chars, false);
}

CFStringRef CFStringCreateFromExternalRepresentation(CFAllocatorRef alloc, CFDataRef data, CFStringEncoding encoding) {
  if (!IsA(data, kDataTypeID)) return nullptr;
  return CreateFromBytes(alloc, CFDataGetBytePtr(data), CFDataGetLength(data), encoding, true);
}

CFDataRef CFStringCreateExternalRepresentation(CFAllocatorRef alloc, CFStringRef theString,
                                               CFStringEncoding encoding, UInt8 lossByte) {
  if (!IsString(theString)) return nullptr;
  const std::u16string& chars = Str(theString)->impl.chars;
  CFIndex n = static_cast<CFIndex>(chars.size());
  CFIndex used = 0;
  if (EncodeText(chars, 0, n, encoding, lossByte, true, nullptr, 0, &used) != n) return nullptr;
  CFMutableDataRef data = CFDataCreateMutable(alloc, used);
  if (!data) return nullptr;
  CFDataSetLength(data, used);
  EncodeText(chars, 0, n, encoding, lossByte, true, CFDataGetMutableBytePtr(data), used, &used);
  return data;
}

CFArrayRef CFStringCreateArrayBySeparatingStrings(CFAllocatorRef alloc, CFStringRef theString,
                                                  CFStringRef separatorString) {
  if (!IsString(theString) || !IsString(separatorString)) return nullptr;
  const std::u16string& s = Str(theString)->impl.chars;
  const std::u16string& sep = Str(separatorString)->impl.chars;
  CFMutableArrayRef parts = CFArrayCreateMutable(alloc, 0, &kCFTypeArrayCallBacks);
  size_t start = 0;
  while (true) {
    size_t at = sep.empty() ? std::u16string::npos : s.find(sep, start);
    CFStringRef part = NewString(alloc, s.substr(start, at == std::u16string::npos ? std::u16string::npos : at - start), false);
    CFArrayAppendValue(parts, part);
    CFRelease(part);
    if (at == std::u16string::npos) break;
    start = at + sep.size();
  }
  CFArrayRef result = CFArrayCreateCopy(alloc, parts);
  CFRelease(parts);
  return result;
}

CFStringRef CFStringCreateByCombiningStrings(CFAllocatorRef alloc, CFArrayRef theArray, CFStringRef separatorString) {
  if (!IsA(theArray, kArrayTypeID) || !IsString(separatorString)) return nullptr;
  std::u16string out;
  CFIndex n = CFArrayGetCount(theArray);
  for (CFIndex i = 0; i < n; ++i) {
    if (i > 0) out += Str(separatorString)->impl.chars;
    out += Chars(static_cast<CFStringRef>(CFArrayGetValueAtIndex(theArray, i)));
  }
  return NewString(alloc, std::move(out), false);
}

CFMutableStringRef CFStringCreateMutable(CFAllocatorRef alloc, CFIndex) {
  return NewString(alloc, std::u16string(), true);
}

CFMutableStringRef CFStringCreateMutableCopy(CFAllocatorRef alloc, CFIndex, CFStringRef theString) {
  if (!IsString(theString)) return nullptr;
  return NewString(alloc, Str(theString)->impl.chars, true);
}

// ---- contents --------------------------------------------------------------

CFIndex CFStringGetLength(CFStringRef theString) { return IsString(theString) ? Length(theString) : 0; }

UniChar CFStringGetCharacterAtIndex(CFStringRef theString, CFIndex idx) {
  if (!IsString(theString) || idx < 0 || idx >= Length(theString)) return 0;
  return Str(theString)->impl.chars[static_cast<size_t>(idx)];
}

void CFStringGetCharacters(CFStringRef theString, CFRange range, UniChar* buffer) {
  if (!IsString(theString) || !buffer || !ValidRange(range, Length(theString))) return;
  if (range.length > 0)
    memcpy(buffer, Str(theString)->impl.chars.data() + range.location, static_cast<size_t>(range.length) * sizeof(UniChar));
}

const UniChar* CFStringGetCharactersPtr(CFStringRef) {
  // Allowed to be NULL; callers then use CFStringGetCharacters.
  return nullptr;
}

Boolean CFStringGetPascalString(CFStringRef theString, StringPtr buffer, CFIndex bufferSize, CFStringEncoding encoding) {
  if (!IsString(theString) || !buffer || bufferSize < 1) return false;
  CFIndex n = Length(theString);
  CFIndex used = 0;
  CFIndex room = bufferSize - 1 < 255 ? bufferSize - 1 : 255;
  if (EncodeText(Str(theString)->impl.chars, 0, n, encoding, 0, false, buffer + 1, room, &used) != n) {
    buffer[0] = 0;
    return false;
  }
  buffer[0] = static_cast<unsigned char>(used);
  return true;
}

Boolean CFStringGetCString(CFStringRef theString, char* buffer, CFIndex bufferSize, CFStringEncoding encoding) {
  if (!IsString(theString) || !buffer || bufferSize < 1) return false;
  CFIndex n = Length(theString);
  CFIndex used = 0;
  UInt8* out = reinterpret_cast<UInt8*>(buffer);
  // ASCII text is the same bytes in every encoding that extends ASCII: most
  // strings are copied unit for unit, and only the rest go through the encoder.
  const bool extendsASCII = encoding == kCFStringEncodingUTF8 || encoding == kCFStringEncodingASCII ||
                            encoding == kCFStringEncodingMacRoman || encoding == kCFStringEncodingISOLatin1 ||
                            encoding == kCFStringEncodingWindowsLatin1;
  if (extendsASCII && n <= bufferSize - 1) {
    const char16_t* chars = Str(theString)->impl.chars.data();
    CFIndex i = 0;
    while (i < n && chars[i] < 0x80) {
      out[i] = static_cast<UInt8>(chars[i]);
      ++i;
    }
    if (i == n) {
      buffer[n] = '\0';
      return true;
    }
  }
  if (EncodeText(Str(theString)->impl.chars, 0, n, encoding, 0, false, out, bufferSize - 1, &used) != n) {
    buffer[0] = '\0';
    return false;
  }
  buffer[used] = '\0';
  return true;
}

const char* CFStringGetCStringPtr(CFStringRef theString, CFStringEncoding encoding) {
  if (!IsString(theString)) return nullptr;
  const StringImpl& impl = Str(theString)->impl;
  if (!impl.hasUTF8) return nullptr;
  if (encoding == kCFStringEncodingUTF8) return impl.utf8.c_str();
  bool asciiCompatible = encoding == kCFStringEncodingASCII || encoding == kCFStringEncodingMacRoman ||
                         encoding == kCFStringEncodingISOLatin1 || encoding == kCFStringEncodingWindowsLatin1;
  return impl.ascii && asciiCompatible ? impl.utf8.c_str() : nullptr;
}

CFIndex CFStringGetBytes(CFStringRef theString, CFRange range, CFStringEncoding encoding, UInt8 lossByte,
                         Boolean isExternalRepresentation, UInt8* buffer, CFIndex maxBufLen, CFIndex* usedBufLen) {
  if (usedBufLen) *usedBufLen = 0;
  if (!IsString(theString) || !ValidRange(range, Length(theString)) || maxBufLen < 0) return 0;
  return EncodeText(Str(theString)->impl.chars, range.location, range.length, encoding, lossByte,
                    isExternalRepresentation, buffer, maxBufLen, usedBufLen);
}

SInt32 CFStringGetIntValue(CFStringRef str) {
  std::string s = ToUTF8(str);
  const char* p = s.c_str();
  while (*p == ' ' || *p == '\t' || *p == '\n' || *p == '\r') ++p;
  bool negative = false;
  if (*p == '+' || *p == '-') negative = *p++ == '-';
  long long value = 0;
  for (; *p >= '0' && *p <= '9'; ++p) {
    value = value * 10 + (*p - '0');
    if (value > static_cast<long long>(INT_MAX) + 1) break;
  }
  if (negative) value = -value;
  if (value > INT_MAX) return INT_MAX;
  if (value < INT_MIN) return INT_MIN;
  return static_cast<SInt32>(value);
}

double CFStringGetDoubleValue(CFStringRef str) {
  std::string s = ToUTF8(str);
  return strtod(s.c_str(), nullptr);
}

// ---- encodings -------------------------------------------------------------

CFStringEncoding CFStringGetSystemEncoding(void) { return kCFStringEncodingUTF8; }

CFStringEncoding CFStringGetFastestEncoding(CFStringRef theString) {
  for (char16_t c : Chars(theString))
    if (c >= 0x80) return kCFStringEncodingUnicode;
  return kCFStringEncodingASCII;
}

CFStringEncoding CFStringGetSmallestEncoding(CFStringRef theString) {
  const std::u16string& chars = Chars(theString);
  CFIndex n = static_cast<CFIndex>(chars.size());
  if (CFStringGetFastestEncoding(theString) == kCFStringEncodingASCII) return kCFStringEncodingASCII;
  if (EncodeText(chars, 0, n, kCFStringEncodingMacRoman, 0, false, nullptr, 0, nullptr) == n)
    return kCFStringEncodingMacRoman;
  return kCFStringEncodingUnicode;
}

Boolean CFStringIsEncodingAvailable(CFStringEncoding encoding) { return EncodingSupported(encoding); }

CFStringRef CFStringGetNameOfEncoding(CFStringEncoding encoding) {
  const char* name = EncodingName(encoding);
  return name ? __CFStringMakeConstantString(name) : nullptr;
}

CFIndex CFStringGetMaximumSizeForEncoding(CFIndex length, CFStringEncoding encoding) {
  CFIndex per = MaxBytesPerUnit(encoding);
  if (length < 0 || per == 0 || length > LONG_MAX / per) return kCFNotFound;
  return length * per;
}

CFIndex CFStringGetMaximumSizeOfFileSystemRepresentation(CFStringRef string) {
  CFIndex n = CFStringGetLength(string);
  if (n > (LONG_MAX - 1) / 3) return kCFNotFound;
  return n * 3 + 1;
}

Boolean CFStringGetFileSystemRepresentation(CFStringRef string, char* buffer, CFIndex maxBufLen) {
  // File names on this system are plain UTF-8 bytes.
  return CFStringGetCString(string, buffer, maxBufLen, kCFStringEncodingUTF8);
}

CFStringRef CFStringCreateWithFileSystemRepresentation(CFAllocatorRef alloc, const char* buffer) {
  return CFStringCreateWithCString(alloc, buffer, kCFStringEncodingUTF8);
}

// ---- comparing and searching ---------------------------------------------------

CFComparisonResult CFStringCompareWithOptions(CFStringRef theString1, CFStringRef theString2, CFRange rangeToCompare,
                                              CFStringCompareFlags compareOptions) {
  if (!IsString(theString1) || !IsString(theString2)) {
    if (IsString(theString1) == IsString(theString2)) return kCFCompareEqualTo;
    return IsString(theString1) ? kCFCompareGreaterThan : kCFCompareLessThan;
  }
  if (!ValidRange(rangeToCompare, Length(theString1))) rangeToCompare = CFRangeMake(0, Length(theString1));
  std::u16string a = Fold(Str(theString1)->impl.chars.substr(static_cast<size_t>(rangeToCompare.location),
                                                             static_cast<size_t>(rangeToCompare.length)),
                          compareOptions);
  std::u16string b = Fold(Str(theString2)->impl.chars, compareOptions);
  int r = CompareUnits(a, b, (compareOptions & kCFCompareNumerically) != 0);
  return r < 0 ? kCFCompareLessThan : r > 0 ? kCFCompareGreaterThan : kCFCompareEqualTo;
}

CFComparisonResult CFStringCompare(CFStringRef theString1, CFStringRef theString2, CFStringCompareFlags compareOptions) {
  return CFStringCompareWithOptions(theString1, theString2, CFRangeMake(0, CFStringGetLength(theString1)), compareOptions);
}

Boolean CFStringFindWithOptions(CFStringRef theString, CFStringRef stringToFind, CFRange rangeToSearch,
                                CFStringCompareFlags searchOptions, CFRange* result) {
  if (!IsString(theString) || !IsString(stringToFind) || !ValidRange(rangeToSearch, Length(theString))) return false;
  // Only options that keep one unit per unit apply to searching.
  CFStringCompareFlags foldFlags = searchOptions & kCFCompareCaseInsensitive;
  std::u16string hay = Fold(Str(theString)->impl.chars, foldFlags);
  std::u16string needle = Fold(Str(stringToFind)->impl.chars, foldFlags);
  CFIndex n = static_cast<CFIndex>(needle.size());
  if (n == 0 || n > rangeToSearch.length) return false;
  CFIndex first = rangeToSearch.location;
  CFIndex last = rangeToSearch.location + rangeToSearch.length - n;
  bool backwards = (searchOptions & kCFCompareBackwards) != 0;
  bool anchored = (searchOptions & kCFCompareAnchored) != 0;
  for (CFIndex k = 0; k <= last - first; ++k) {
    CFIndex at = backwards ? last - k : first + k;
    if (hay.compare(static_cast<size_t>(at), static_cast<size_t>(n), needle) == 0) {
      if (result) *result = CFRangeMake(at, n);
      return true;
    }
    if (anchored) break;
  }
  return false;
}

CFRange CFStringFind(CFStringRef theString, CFStringRef stringToFind, CFStringCompareFlags compareOptions) {
  CFRange found = CFRangeMake(kCFNotFound, 0);
  CFStringFindWithOptions(theString, stringToFind, CFRangeMake(0, CFStringGetLength(theString)), compareOptions, &found);
  return found;
}

Boolean CFStringHasPrefix(CFStringRef theString, CFStringRef prefix) {
  return CFStringFindWithOptions(theString, prefix, CFRangeMake(0, CFStringGetLength(theString)), kCFCompareAnchored, nullptr);
}

Boolean CFStringHasSuffix(CFStringRef theString, CFStringRef suffix) {
  return CFStringFindWithOptions(theString, suffix, CFRangeMake(0, CFStringGetLength(theString)),
                                 kCFCompareAnchored | kCFCompareBackwards, nullptr);
}

// ---- mutating ------------------------------------------------------------------

void CFStringAppend(CFMutableStringRef theString, CFStringRef appendedString) {
  if (!IsMutableString(theString) || !IsString(appendedString)) return;
  std::u16string tail = Str(appendedString)->impl.chars;  // the string may be appended to itself
  Str(theString)->impl.chars += tail;
}

void CFStringAppendCharacters(CFMutableStringRef theString, const UniChar* chars, CFIndex numChars) {
  if (!IsMutableString(theString) || numChars <= 0 || !chars) return;
  Str(theString)->impl.chars += FromUniChars(chars, numChars);
}

void CFStringAppendCString(CFMutableStringRef theString, const char* cStr, CFStringEncoding encoding) {
  if (!IsMutableString(theString) || !cStr) return;
  std::u16string chars;
  if (DecodeBytes(reinterpret_cast<const UInt8*>(cStr), strlen(cStr), encoding, false, &chars))
    Str(theString)->impl.chars += chars;
}

void CFStringAppendPascalString(CFMutableStringRef theString, ConstStr255Param pStr, CFStringEncoding encoding) {
  if (!IsMutableString(theString) || !pStr) return;
  std::u16string chars;
  if (DecodeBytes(pStr + 1, pStr[0], encoding, false, &chars)) Str(theString)->impl.chars += chars;
}

void CFStringInsert(CFMutableStringRef str, CFIndex idx, CFStringRef insertedStr) {
  if (!IsMutableString(str) || !IsString(insertedStr) || idx < 0 || idx > Length(str)) return;
  std::u16string piece = Str(insertedStr)->impl.chars;
  Str(str)->impl.chars.insert(static_cast<size_t>(idx), piece);
}

void CFStringDelete(CFMutableStringRef theString, CFRange range) {
  if (!IsMutableString(theString) || !ValidRange(range, Length(theString))) return;
  Str(theString)->impl.chars.erase(static_cast<size_t>(range.location), static_cast<size_t>(range.length));
}

void CFStringReplace(CFMutableStringRef theString, CFRange range, CFStringRef replacement) {
  if (!IsMutableString(theString) || !IsString(replacement) || !ValidRange(range, Length(theString))) return;
  std::u16string piece = Str(replacement)->impl.chars;
  Str(theString)->impl.chars.replace(static_cast<size_t>(range.location), static_cast<size_t>(range.length), piece);
}

void CFStringReplaceAll(CFMutableStringRef theString, CFStringRef replacement) {
  if (!IsMutableString(theString) || !IsString(replacement)) return;
  std::u16string piece = Str(replacement)->impl.chars;
  Str(theString)->impl.chars = piece;
}

void CFStringLowercase(CFMutableStringRef theString, const void*) { ApplyCase(theString, false); }
void CFStringUppercase(CFMutableStringRef theString, const void*) { ApplyCase(theString, true); }

void CFStringTrimWhitespace(CFMutableStringRef theString) {
  if (!IsMutableString(theString)) return;
  std::u16string& s = Str(theString)->impl.chars;
  size_t begin = 0, end = s.size();
  while (begin < end && u_isUWhiteSpace(s[begin])) ++begin;
  while (end > begin && u_isUWhiteSpace(s[end - 1])) --end;
  s = s.substr(begin, end - begin);
}

void CFStringNormalize(CFMutableStringRef theString, CFStringNormalizationForm theForm) {
  if (!IsMutableString(theString)) return;
  std::u16string out;
  if (Normalize(Str(theString)->impl.chars, theForm, &out)) Str(theString)->impl.chars.swap(out);
}

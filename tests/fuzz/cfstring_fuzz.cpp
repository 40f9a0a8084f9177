// CFString made from bytes in every encoding the project supports and
// converted back. Byte 0 picks the encoding, byte 1 the flags; the rest are
// the bytes. A string that was made converts back to its own encoding with
// nothing lost, and the result reads as the same string.
#include <CoreFoundation/CoreFoundation.h>

#include <cstdlib>
#include <vector>

#include "fuzz_input.h"

namespace {

const CFStringEncoding kEncodings[] = {
    kCFStringEncodingMacRoman,  kCFStringEncodingASCII,      kCFStringEncodingUTF8,
    kCFStringEncodingUTF16,     kCFStringEncodingUTF16BE,    kCFStringEncodingUTF16LE,
    kCFStringEncodingUTF32,     kCFStringEncodingUTF32BE,    kCFStringEncodingUTF32LE,
    kCFStringEncodingISOLatin1, kCFStringEncodingWindowsLatin1, kCFStringEncodingNonLossyASCII,
};
constexpr size_t kCount = sizeof kEncodings / sizeof kEncodings[0];

void Check(bool ok) {
  if (!ok) abort();
}

// The string's bytes in an encoding; false when something would be lost.
bool BytesOf(CFStringRef s, CFStringEncoding e, bool external, std::vector<UInt8>* out) {
  const CFRange all = CFRangeMake(0, CFStringGetLength(s));
  CFIndex needed = 0;
  const CFIndex converted = CFStringGetBytes(s, all, e, 0, external, nullptr, 0, &needed);
  out->assign(size_t(needed), 0);
  CFIndex used = 0;
  Check(CFStringGetBytes(s, all, e, 0, external, out->data(), needed, &used) == converted);
  Check(used == needed);
  return converted == all.length;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput in(data, size);
  const CFStringEncoding encoding = kEncodings[in.Byte() % kCount];
  const uint8_t flags = in.Byte();
  const bool external = flags & 1;
  const std::string bytes = in.Rest();
  CFStringRef s = CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(bytes.data()),
                                          CFIndex(bytes.size()), encoding, external);
  if (s == nullptr) return 0;
  // Every other encoding, with and without a loss byte, and as C strings.
  for (CFStringEncoding other : kEncodings) {
    if (!CFStringIsEncodingAvailable(other)) continue;
    // The encodings of either byte order read a leading U+FEFF as a byte
    // order mark, so they write one of their own ahead of the characters.
    const bool mark = other == kCFStringEncodingUTF16 || other == kCFStringEncodingUTF32;
    std::vector<UInt8> out;
    if (BytesOf(s, other, mark, &out)) {
      CFStringRef back = CFStringCreateWithBytes(nullptr, out.data(), CFIndex(out.size()), other, mark);
      Check(back != nullptr && CFStringCompare(s, back, 0) == kCFCompareEqualTo);
      CFRelease(back);
    }
    CFDataRef lossy = CFStringCreateExternalRepresentation(nullptr, s, other, '?');
    if (lossy) CFRelease(lossy);
    char small[16];
    CFStringGetCString(s, small, sizeof small, other);
  }
  // Its own encoding takes it back without loss (a byte order mark aside).
  std::vector<UInt8> own;
  Check(BytesOf(s, encoding, external, &own));
  CFMutableStringRef copy = CFStringCreateMutableCopy(nullptr, 0, s);
  CFStringAppendCString(copy, "\xC3\xA9", kCFStringEncodingUTF8);
  CFStringNormalize(copy, CFStringNormalizationForm(flags >> 1 & 3));
  CFStringUppercase(copy, nullptr);
  CFRelease(copy);
  CFRelease(s);
  return 0;
}

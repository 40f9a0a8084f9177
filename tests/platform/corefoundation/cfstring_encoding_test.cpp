// Strings to and from bytes in every supported encoding, and the size rules
// of CFStringGetCString and CFStringGetBytes.
#include <climits>
#include <cstring>

#include "cf_test.h"

namespace cf_test {
namespace {

using CFStringEncodings = CFTest;

std::vector<UInt8> Bytes(CFStringRef s, CFStringEncoding enc, UInt8 loss = 0, bool external = false) {
  CFIndex used = 0;
  CFRange all = CFRangeMake(0, CFStringGetLength(s));
  CFStringGetBytes(s, all, enc, loss, external, nullptr, 0, &used);
  std::vector<UInt8> out(static_cast<size_t>(used));
  CFStringGetBytes(s, all, enc, loss, external, out.data(), used, &used);
  return out;
}

TEST_F(CFStringEncodings, MacRomanE9RoundTrips) {
  const UInt8 roman[] = {0x8E};
  Owned<CFStringRef> s(CFStringCreateWithBytes(nullptr, roman, 1, kCFStringEncodingMacRoman, false));
  ASSERT_NE(nullptr, s.get());
  ASSERT_EQ(1, CFStringGetLength(s));
  EXPECT_EQ(0x00E9, CFStringGetCharacterAtIndex(s, 0));
  EXPECT_EQ(std::vector<UInt8>({0x8E}), Bytes(s, kCFStringEncodingMacRoman));
  char c[4];
  ASSERT_TRUE(CFStringGetCString(s, c, sizeof c, kCFStringEncodingMacRoman));
  EXPECT_STREQ("\x8E", c);
  // Every Mac OS Roman byte decodes, and the result encodes back to the same byte.
  for (int b = 1; b < 256; ++b) {
    UInt8 byte = static_cast<UInt8>(b);
    Owned<CFStringRef> one(CFStringCreateWithBytes(nullptr, &byte, 1, kCFStringEncodingMacRoman, false));
    ASSERT_NE(nullptr, one.get()) << b;
    EXPECT_EQ(std::vector<UInt8>({byte}), Bytes(one, kCFStringEncodingMacRoman)) << b;
  }
}

TEST_F(CFStringEncodings, UTF8OfE9IsC3A9AndInvalidUTF8IsRefused) {
  const UniChar e9 = 0x00E9;
  Owned<CFStringRef> s(CFStringCreateWithCharacters(nullptr, &e9, 1));
  EXPECT_EQ(std::vector<UInt8>({0xC3, 0xA9}), Bytes(s, kCFStringEncodingUTF8));
  const UInt8 good[] = {0xC3, 0xA9};
  Owned<CFStringRef> back(CFStringCreateWithBytes(nullptr, good, 2, kCFStringEncodingUTF8, false));
  EXPECT_TRUE(CFEqual(s, back));
  const UInt8 truncated[] = {0x41, 0xC3};
  EXPECT_EQ(nullptr, CFStringCreateWithBytes(nullptr, truncated, 2, kCFStringEncodingUTF8, false));
  const UInt8 overlong[] = {0xC0, 0xAF};
  EXPECT_EQ(nullptr, CFStringCreateWithBytes(nullptr, overlong, 2, kCFStringEncodingUTF8, false));
  // A character outside the BMP is two UTF-16 units and four UTF-8 bytes.
  Owned<CFStringRef> clef(NewString("\xF0\x9D\x84\x9E"));
  EXPECT_EQ(2, CFStringGetLength(clef));
  EXPECT_EQ(std::vector<UInt8>({0xF0, 0x9D, 0x84, 0x9E}), Bytes(clef, kCFStringEncodingUTF8));
}

TEST_F(CFStringEncodings, SixBytesOfUTF16AreThreeUnitsInEveryByteOrder) {
  const UInt8 le[] = {'a', 0, 'b', 0, 0xE9, 0};
  Owned<CFStringRef> host(CFStringCreateWithBytes(nullptr, le, 6, kCFStringEncodingUnicode, false));
  ASSERT_NE(nullptr, host.get());
  EXPECT_EQ(3, CFStringGetLength(host));
  EXPECT_EQ(std::vector<UniChar>({'a', 'b', 0xE9}), Units(host));
  const UInt8 be[] = {0, 'a', 0, 'b', 0, 0xE9};
  Owned<CFStringRef> big(CFStringCreateWithBytes(nullptr, be, 6, kCFStringEncodingUTF16BE, false));
  EXPECT_TRUE(CFEqual(host, big));
  // A byte-order mark decides the order and is not part of the text.
  const UInt8 marked[] = {0xFE, 0xFF, 0, 'a', 0, 'b', 0, 0xE9};
  Owned<CFStringRef> bom(CFStringCreateWithBytes(nullptr, marked, 8, kCFStringEncodingUnicode, true));
  EXPECT_TRUE(CFEqual(host, bom));
  EXPECT_EQ(nullptr, CFStringCreateWithBytes(nullptr, le, 5, kCFStringEncodingUnicode, false));
  EXPECT_EQ(std::vector<UInt8>({'a', 0, 'b', 0, 0xE9, 0}), Bytes(host, kCFStringEncodingUTF16LE));
  EXPECT_EQ(std::vector<UInt8>({0, 0, 0, 'a', 0, 0, 0, 'b', 0, 0, 0, 0xE9}), Bytes(host, kCFStringEncodingUTF32BE));
}

TEST_F(CFStringEncodings, SingleByteEncodingsMapTheirOwnUpperHalves) {
  const UInt8 euro = 0x80;
  Owned<CFStringRef> win(CFStringCreateWithBytes(nullptr, &euro, 1, kCFStringEncodingWindowsLatin1, false));
  ASSERT_NE(nullptr, win.get());
  EXPECT_EQ(0x20AC, CFStringGetCharacterAtIndex(win, 0));
  Owned<CFStringRef> latin(CFStringCreateWithBytes(nullptr, &euro, 1, kCFStringEncodingISOLatin1, false));
  EXPECT_EQ(0x0080, CFStringGetCharacterAtIndex(latin, 0));
  EXPECT_EQ(nullptr, CFStringCreateWithBytes(nullptr, &euro, 1, kCFStringEncodingASCII, false));
  // The euro sign has no ISO Latin 1 byte: conversion stops, or uses the loss byte.
  EXPECT_TRUE(Bytes(win, kCFStringEncodingISOLatin1).empty());
  EXPECT_EQ(std::vector<UInt8>({'?'}), Bytes(win, kCFStringEncodingISOLatin1, '?'));
  EXPECT_EQ(std::vector<UInt8>({0xDB}), Bytes(win, kCFStringEncodingMacRoman));
  for (CFStringEncoding e : {kCFStringEncodingMacRoman, kCFStringEncodingASCII, kCFStringEncodingUTF8,
                             kCFStringEncodingUnicode, kCFStringEncodingISOLatin1, kCFStringEncodingWindowsLatin1,
                             kCFStringEncodingUTF32})
    EXPECT_TRUE(CFStringIsEncodingAvailable(e)) << e;
  EXPECT_FALSE(CFStringIsEncodingAvailable(0x7777));
  EXPECT_EQ(kCFStringEncodingUTF8, CFStringGetSystemEncoding());
  EXPECT_EQ(nullptr, CFStringCreateWithCString(nullptr, "abc", 0x7777));
}

TEST_F(CFStringEncodings, GetCStringNeedsRoomForTheTerminator) {
  std::string text;
  for (int i = 0; i < 100; ++i) text += static_cast<char>('a' + i % 26);
  Owned<CFStringRef> s(NewString(text.c_str()));
  ASSERT_EQ(100, CFStringGetLength(s));
  char big[600];
  ASSERT_TRUE(CFStringGetCString(s, big, sizeof big, kCFStringEncodingUTF8));
  EXPECT_EQ(text, big);
  char exact[101];
  EXPECT_TRUE(CFStringGetCString(s, exact, sizeof exact, kCFStringEncodingUTF8));
  EXPECT_FALSE(CFStringGetCString(s, exact, sizeof exact - 1, kCFStringEncodingUTF8));
  // Multi-byte text: "é" needs 2 bytes plus the terminator.
  Owned<CFStringRef> e(NewString("\xC3\xA9"));
  char two[2], three[3];
  EXPECT_FALSE(CFStringGetCString(e, two, sizeof two, kCFStringEncodingUTF8));
  EXPECT_TRUE(CFStringGetCString(e, three, sizeof three, kCFStringEncodingUTF8));
  EXPECT_FALSE(CFStringGetCString(e, three, sizeof three, kCFStringEncodingASCII));
  EXPECT_FALSE(CFStringGetCString(e, nullptr, 10, kCFStringEncodingUTF8));
  EXPECT_FALSE(CFStringGetCString(e, three, 0, kCFStringEncodingUTF8));

  // A Pascal string's length is one byte: at most 255 bytes, whatever the buffer.
  unsigned char pascal[600];
  Owned<CFStringRef> longest(NewString(std::string(255, 'p').c_str()));
  Owned<CFStringRef> tooLong(NewString(std::string(256, 'p').c_str()));
  ASSERT_TRUE(CFStringGetPascalString(longest, pascal, sizeof pascal, kCFStringEncodingMacRoman));
  EXPECT_EQ(255, pascal[0]);
  EXPECT_FALSE(CFStringGetPascalString(tooLong, pascal, sizeof pascal, kCFStringEncodingMacRoman));
  EXPECT_FALSE(CFStringGetPascalString(s, pascal, 100, kCFStringEncodingMacRoman));  // 100 + length byte
}

TEST_F(CFStringEncodings, EmptyStringsAndLeadingNulAreKept) {
  Owned<CFStringRef> empty(NewString(""));
  ASSERT_NE(nullptr, empty.get());
  EXPECT_EQ(0, CFStringGetLength(empty));
  char one[1] = {'x'};
  EXPECT_TRUE(CFStringGetCString(empty, one, 1, kCFStringEncodingUTF8));
  EXPECT_EQ('\0', one[0]);
  Owned<CFStringRef> noBytes(CFStringCreateWithBytes(nullptr, nullptr, 0, kCFStringEncodingUTF8, false));
  EXPECT_TRUE(CFEqual(empty, noBytes));

  const UniChar nulFirst[] = {0, 'a', 'b'};
  Owned<CFStringRef> s(CFStringCreateWithCharacters(nullptr, nulFirst, 3));
  EXPECT_EQ(3, CFStringGetLength(s));
  EXPECT_EQ(0, CFStringGetCharacterAtIndex(s, 0));
  EXPECT_EQ(std::vector<UInt8>({0, 'a', 'b'}), Bytes(s, kCFStringEncodingUTF8));
  // A C string cannot carry it, so no C string pointer is offered.
  EXPECT_EQ(nullptr, CFStringGetCStringPtr(s, kCFStringEncodingUTF8));
  EXPECT_EQ(nullptr, CFStringCreateWithCharacters(nullptr, nullptr, 2));
  EXPECT_EQ(nullptr, CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>("x"), -1, kCFStringEncodingUTF8, false));
}

TEST_F(CFStringEncodings, MaximumSizesCoverTheWorstCase) {
  EXPECT_EQ(300, CFStringGetMaximumSizeForEncoding(100, kCFStringEncodingUTF8));
  EXPECT_EQ(200, CFStringGetMaximumSizeForEncoding(100, kCFStringEncodingUnicode));
  EXPECT_EQ(100, CFStringGetMaximumSizeForEncoding(100, kCFStringEncodingMacRoman));
  EXPECT_EQ(kCFNotFound, CFStringGetMaximumSizeForEncoding(LONG_MAX / 2, kCFStringEncodingUTF8));
  Owned<CFStringRef> s(NewString("\xE2\x82\xAC\xF0\x9D\x84\x9E"));  // euro sign, musical clef
  EXPECT_LE(static_cast<CFIndex>(Bytes(s, kCFStringEncodingUTF8).size()),
            CFStringGetMaximumSizeForEncoding(CFStringGetLength(s), kCFStringEncodingUTF8));
}

TEST_F(CFStringEncodings, GetBytesStopsAtTheBufferEndOnCharacterBoundaries) {
  Owned<CFStringRef> s(NewString("a\xC3\xA9z"));
  UInt8 buf[8];
  CFIndex used = -1;
  CFIndex n = CFStringGetBytes(s, CFRangeMake(0, 3), kCFStringEncodingUTF8, 0, false, buf, 2, &used);
  EXPECT_EQ(1, n);  // "é" does not fit in the second byte
  EXPECT_EQ(1, used);
  n = CFStringGetBytes(s, CFRangeMake(1, 2), kCFStringEncodingUTF8, 0, false, buf, 8, &used);
  EXPECT_EQ(2, n);
  EXPECT_EQ(3, used);
  EXPECT_EQ(0, CFStringGetBytes(s, CFRangeMake(2, 5), kCFStringEncodingUTF8, 0, false, buf, 8, &used));
}

TEST_F(CFStringEncodings, ExternalRepresentationCarriesAByteOrderMark) {
  Owned<CFStringRef> s(NewString("hi"));
  Owned<CFDataRef> utf16(CFStringCreateExternalRepresentation(nullptr, s, kCFStringEncodingUnicode, 0));
  ASSERT_NE(nullptr, utf16.get());
  EXPECT_EQ(6, CFDataGetLength(utf16));
  Owned<CFStringRef> back(CFStringCreateFromExternalRepresentation(nullptr, utf16, kCFStringEncodingUnicode));
  EXPECT_TRUE(CFEqual(s, back));
  Owned<CFDataRef> utf8(CFStringCreateExternalRepresentation(nullptr, s, kCFStringEncodingUTF8, 0));
  EXPECT_EQ(2, CFDataGetLength(utf8));
  Owned<CFStringRef> euro(NewString("\xE2\x82\xAC"));
  EXPECT_EQ(nullptr, CFStringCreateExternalRepresentation(nullptr, euro, kCFStringEncodingASCII, 0));
}

}  // namespace
}  // namespace cf_test

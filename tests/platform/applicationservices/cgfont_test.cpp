// CGFont: reading sfnt font data, its PostScript name and metrics, and
// refusing damaged data without reading past it.
#include <CoreGraphics/CoreGraphics.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "live_objects_test.h"
#include "test_font.h"

namespace kc_as_test {
namespace {

using CGFontTest = LiveObjectsTest;

// The bytes are copied into a buffer of exactly their size, so that the
// address sanitizer sees any read past the end.
CGFontRef FontFrom(const std::vector<uint8_t>& bytes) {
  void* exact = std::malloc(bytes.empty() ? 1 : bytes.size());
  if (!bytes.empty()) std::memcpy(exact, bytes.data(), bytes.size());
  CGDataProviderRef provider = CGDataProviderCreateWithData(exact, exact, bytes.size(),
                                                            [](void* info, const void*, size_t) { std::free(info); });
  CGFontRef font = CGFontCreateWithDataProvider(provider);
  CGDataProviderRelease(provider);
  return font;
}

std::u16string Utf16(CFStringRef s) {
  std::u16string out(static_cast<size_t>(CFStringGetLength(s)), u'\0');
  CFStringGetCharacters(s, CFRangeMake(0, CFStringGetLength(s)), reinterpret_cast<UniChar*>(&out[0]));
  return out;
}

TEST_F(CGFontTest, CGFont_ReadsPostScriptNameUnitsAndGlyphCount) {
  TestFontOptions options;
  options.unitsPerEm = 2048;
  options.glyphCount = 517;
  CGFontRef font = FontFrom(BuildTestFont(options));
  ASSERT_NE(nullptr, font);
  EXPECT_EQ(CGFontGetTypeID(), CFGetTypeID(font));
  EXPECT_EQ(2048, CGFontGetUnitsPerEm(font));
  EXPECT_EQ(517u, CGFontGetNumberOfGlyphs(font));
  CFStringRef name = CGFontCopyPostScriptName(font);
  ASSERT_NE(nullptr, name);
  EXPECT_EQ(u"TestSans-Regular", Utf16(name));
  CFRelease(name);
  // The font keeps its provider: releasing the caller's one left it alive.
  EXPECT_EQ(1, CFLiveObjectsGetCount(CGDataProviderGetTypeID()));
  CGFontRelease(font);
  EXPECT_EQ(0, CFLiveObjectsGetCount(CGDataProviderGetTypeID()));
}

TEST_F(CGFontTest, CGFont_MacRomanNameIsUsedWhenNoUnicodeNameExists) {
  TestFontOptions options;
  options.hasUnicodeName = false;
  options.hasRomanName = true;
  options.romanName = "Caf\x8E-Bold";  // 0x8E is U+00E9 in Mac OS Roman
  CGFontRef font = FontFrom(BuildTestFont(options));
  ASSERT_NE(nullptr, font);
  CFStringRef name = CGFontCopyPostScriptName(font);
  ASSERT_NE(nullptr, name);
  EXPECT_EQ(u"Caf\u00e9-Bold", Utf16(name));
  CFRelease(name);
  CGFontRelease(font);

  options.hasRomanName = false;
  font = FontFrom(BuildTestFont(options));
  ASSERT_NE(nullptr, font);
  EXPECT_EQ(nullptr, CGFontCopyPostScriptName(font));
  CGFontRelease(font);
}

TEST_F(CGFontTest, CGFont_DamagedDataIsRefused) {
  const std::vector<uint8_t> good = BuildTestFont(TestFontOptions());
  // Every truncation of the file. The name table is optional: cutting into
  // it may still leave a font.
  for (size_t n = 0; n < good.size(); ++n) {
    CGFontRef font = FontFrom(std::vector<uint8_t>(good.begin(), good.begin() + static_cast<long>(n)));
    if (font) {
      EXPECT_GE(n, 12u + 3 * 16 + 54 + 6) << "accepted with " << n << " bytes";
      CFStringRef name = CGFontCopyPostScriptName(font);
      if (name) CFRelease(name);
    }
    CGFontRelease(font);
  }
  std::vector<uint8_t> bad = good;
  bad[0] = 0x7F;  // not an sfnt version
  EXPECT_EQ(nullptr, FontFrom(bad));
  bad = good;
  bad[12 + 8] = 0x7F;  // 'head' offset far past the end
  EXPECT_EQ(nullptr, FontFrom(bad));
  // A name table claiming more records than it holds: the font is usable,
  // the records past the table are not read.
  TestFontOptions nameless;
  nameless.hasUnicodeName = false;
  bad = BuildTestFont(nameless);
  const size_t nameTable = 12 + 3 * 16 + 54 + 6;
  bad[nameTable + 2] = 0xFF;
  bad[nameTable + 3] = 0xFF;
  CGFontRef font = FontFrom(bad);
  ASSERT_NE(nullptr, font);
  EXPECT_EQ(nullptr, CGFontCopyPostScriptName(font));
  CGFontRelease(font);
  TestFontOptions tiny;
  tiny.unitsPerEm = 8;
  EXPECT_EQ(nullptr, FontFrom(BuildTestFont(tiny)));
  EXPECT_EQ(nullptr, CGFontCreateWithDataProvider(nullptr));
  EXPECT_EQ(nullptr, CGFontCopyPostScriptName(nullptr));
  EXPECT_EQ(0, CGFontGetUnitsPerEm(nullptr));
}

}  // namespace
}  // namespace kc_as_test

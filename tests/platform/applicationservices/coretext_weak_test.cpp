// CoreText is absent from this platform: a program that asks for weak
// imports sees its type identifiers at null addresses, so that callers that
// test them skip CoreText types.
#define KC_WEAK_IMPORTS 1
#include <CoreText/CoreText.h>
#include <gtest/gtest.h>

namespace kc_as_test {
namespace {

typedef CFTypeID (*TypeIDFunction)(void);

TEST(CoreTextTest, CoreText_TypeIdentifierAddressesAreNull) {
  const TypeIDFunction functions[] = {
      CTFontGetTypeID,   CTFontCollectionGetTypeID, CTFrameGetTypeID,          CTFramesetterGetTypeID,
      CTGlyphInfoGetTypeID, CTLineGetTypeID,        CTParagraphStyleGetTypeID, CTRunGetTypeID,
      CTRunDelegateGetTypeID, CTTypesetterGetTypeID,
  };
  for (TypeIDFunction f : functions) EXPECT_EQ(nullptr, f);
}

}  // namespace
}  // namespace kc_as_test

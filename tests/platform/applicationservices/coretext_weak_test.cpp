// CoreText is absent from this platform: its type identifiers resolve to
// null addresses, so callers that test them skip CoreText types.
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

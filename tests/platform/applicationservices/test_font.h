// Builds small sfnt font files for the font tests.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kc_as_test {

struct TestFontOptions {
  int unitsPerEm = 1000;
  int glyphCount = 3;
  bool hasUnicodeName = true;  // platform 3, UTF-16 big-endian
  std::u16string unicodeName = u"TestSans-Regular";
  bool hasRomanName = false;  // platform 1, Mac OS Roman bytes
  std::string romanName;
};

// An sfnt with 'head', 'maxp' and 'name' tables.
std::vector<uint8_t> BuildTestFont(const TestFontOptions& options);

}  // namespace kc_as_test

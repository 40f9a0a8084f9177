// Builds small TrueType files for the font tests.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace kc_as_test {

struct TestFontOptions {
  int unitsPerEm = 1000;
  int glyphCount = 3;
  bool hasWindowsName = true;
  std::u16string windowsName = u"TestSans-Regular";
  bool hasMacName = false;
  std::string macName;  // Mac OS Roman bytes
};

// An sfnt with 'head', 'maxp' and 'name' tables.
std::vector<uint8_t> BuildTestFont(const TestFontOptions& options);

}  // namespace kc_as_test

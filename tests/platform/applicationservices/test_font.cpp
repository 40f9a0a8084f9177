// Small sfnt font files for the font tests.
#include "test_font.h"

namespace kc_as_test {
namespace {

void Put16(std::vector<uint8_t>* out, unsigned v) {
  out->push_back(static_cast<uint8_t>(v >> 8));
  out->push_back(static_cast<uint8_t>(v));
}

void Put32(std::vector<uint8_t>* out, uint32_t v) {
  Put16(out, v >> 16);
  Put16(out, v & 0xFFFF);
}

std::vector<uint8_t> NameTable(const TestFontOptions& options) {
  struct Record {
    unsigned platform, encoding, language;
    std::vector<uint8_t> bytes;
  };
  std::vector<Record> records;
  if (options.hasRomanName) records.push_back({1, 0, 0, std::vector<uint8_t>(options.romanName.begin(), options.romanName.end())});
  if (options.hasUnicodeName) {
    std::vector<uint8_t> utf16;
    for (char16_t c : options.unicodeName) Put16(&utf16, c);
    records.push_back({3, 1, 0x409, utf16});
  }
  std::vector<uint8_t> t;
  Put16(&t, 0);
  Put16(&t, static_cast<unsigned>(records.size()));
  Put16(&t, static_cast<unsigned>(6 + 12 * records.size()));
  unsigned offset = 0;
  for (const Record& r : records) {
    Put16(&t, r.platform);
    Put16(&t, r.encoding);
    Put16(&t, r.language);
    Put16(&t, 6);  // PostScript name
    Put16(&t, static_cast<unsigned>(r.bytes.size()));
    Put16(&t, offset);
    offset += static_cast<unsigned>(r.bytes.size());
  }
  for (const Record& r : records) t.insert(t.end(), r.bytes.begin(), r.bytes.end());
  return t;
}

}  // namespace

std::vector<uint8_t> BuildTestFont(const TestFontOptions& options) {
  std::vector<uint8_t> head(54, 0);
  head[1] = 1;  // version 1.0
  head[12] = 0x5F;
  head[13] = 0x0F;
  head[14] = 0x3C;
  head[15] = 0xF5;
  head[18] = static_cast<uint8_t>(options.unitsPerEm >> 8);
  head[19] = static_cast<uint8_t>(options.unitsPerEm);
  std::vector<uint8_t> maxp;
  Put32(&maxp, 0x00005000);
  Put16(&maxp, static_cast<unsigned>(options.glyphCount));
  const std::vector<uint8_t> name = NameTable(options);

  const std::vector<std::pair<const char*, const std::vector<uint8_t>*>> tables = {
      {"head", &head}, {"maxp", &maxp}, {"name", &name}};
  std::vector<uint8_t> font;
  Put32(&font, 0x00010000);
  Put16(&font, static_cast<unsigned>(tables.size()));
  Put16(&font, 32);
  Put16(&font, 1);
  Put16(&font, 16);
  uint32_t offset = static_cast<uint32_t>(12 + 16 * tables.size());
  for (const auto& t : tables) {
    for (int i = 0; i < 4; ++i) font.push_back(static_cast<uint8_t>(t.first[i]));
    Put32(&font, 0);  // checksum, not verified by readers
    Put32(&font, offset);
    Put32(&font, static_cast<uint32_t>(t.second->size()));
    offset += static_cast<uint32_t>(t.second->size());
  }
  for (const auto& t : tables) font.insert(font.end(), t.second->begin(), t.second->end());
  return font;
}

}  // namespace kc_as_test

// CGFont: an sfnt font (the outline font format Apple defined) read from a
// data provider. The table
// directory, 'head' and 'maxp' are checked when the font is made; the
// PostScript name comes from the 'name' table.
#include <CoreGraphics/CGFont.h>

#include <string>
#include <vector>

#include "cg_internal.h"

struct CGFont {
  CFRuntimeBase base;
  CGDataProviderRef provider;
  CFStringRef postScriptName;  // NULL when the font has none
  int unitsPerEm;
  size_t glyphCount;
};

namespace {

void FontFinalize(CFTypeRef cf) {
  const auto* font = static_cast<const CGFont*>(cf);
  CGDataProviderRelease(font->provider);
  if (font->postScriptName) CFRelease(font->postScriptName);
}

const CFRuntimeClass kFontClass = {0, "CGFont", nullptr, nullptr, FontFinalize, nullptr, nullptr, nullptr, nullptr};

const CGFont* AsFont(CGFontRef font) { return kc_as::IsKind(font, CGFontGetTypeID()) ? font : nullptr; }

// Big-endian reads with bounds checks: every offset in a font file is
// untrusted.
struct Reader {
  const UInt8* bytes;
  size_t size;
  bool Has(size_t offset, size_t length) const { return offset <= size && length <= size - offset; }
  UInt16 U16(size_t o) const { return static_cast<UInt16>((bytes[o] << 8) | bytes[o + 1]); }
  UInt32 U32(size_t o) const {
    return (static_cast<UInt32>(bytes[o]) << 24) | (static_cast<UInt32>(bytes[o + 1]) << 16) |
           (static_cast<UInt32>(bytes[o + 2]) << 8) | bytes[o + 3];
  }
};

struct Table {
  size_t offset = 0;
  size_t length = 0;
  bool found = false;
};

constexpr UInt32 Tag(char a, char b, char c, char d) {
  return (static_cast<UInt32>(a) << 24) | (static_cast<UInt32>(b) << 16) | (static_cast<UInt32>(c) << 8) |
         static_cast<UInt32>(d);
}

bool FindTable(const Reader& r, UInt32 tag, Table* table) {
  const UInt16 count = r.U16(4);
  for (size_t i = 0; i < count; ++i) {
    const size_t record = 12 + 16 * i;
    if (!r.Has(record, 16)) return false;
    if (r.U32(record) != tag) continue;
    table->offset = r.U32(record + 8);
    table->length = r.U32(record + 12);
    table->found = r.Has(table->offset, table->length);
    return table->found;
  }
  return false;
}

// nameID 6. Records of platforms 0 and 3 are UTF-16 big-endian, those of
// platform 1 encoding 0 Mac OS Roman bytes; UTF-16 is preferred, as it is
// the more common and holds any name.
CFStringRef CopyPostScriptName(const Reader& r, const Table& name) {
  if (name.length < 6) return nullptr;
  const size_t count = r.U16(name.offset + 2);
  const size_t strings = name.offset + r.U16(name.offset + 4);
  CFStringRef mac = nullptr;
  for (size_t i = 0; i < count; ++i) {
    const size_t record = name.offset + 6 + 12 * i;
    if (record + 12 > name.offset + name.length) break;
    const UInt16 platform = r.U16(record), encoding = r.U16(record + 2), nameID = r.U16(record + 6);
    const size_t length = r.U16(record + 8), offset = strings + r.U16(record + 10);
    if (nameID != 6 || length == 0 || !r.Has(offset, length) || offset + length > name.offset + name.length) continue;
    if ((platform == 3 || platform == 0) && length % 2 == 0) {
      std::vector<UniChar> units(length / 2);
      for (size_t k = 0; k < units.size(); ++k) units[k] = r.U16(offset + 2 * k);
      if (mac) CFRelease(mac);
      return CFStringCreateWithCharacters(kCFAllocatorDefault, units.data(), static_cast<CFIndex>(units.size()));
    }
    if (platform == 1 && encoding == 0 && !mac) {
      mac = CFStringCreateWithBytes(kCFAllocatorDefault, r.bytes + offset, static_cast<CFIndex>(length),
                                    kCFStringEncodingMacRoman, false);
    }
  }
  return mac;
}

}  // namespace

CFTypeID CGFontGetTypeID(void) {
  static const CFTypeID typeID = _CFRuntimeRegisterClass(&kFontClass);
  return typeID;
}

CGFontRef CGFontCreateWithDataProvider(CGDataProviderRef provider) {
  Reader r;
  if (!kc_as::ProviderBytes(provider, &r.bytes, &r.size) || !r.Has(0, 12)) return nullptr;
  const UInt32 version = r.U32(0);
  if (version != 0x00010000 && version != Tag('t', 'r', 'u', 'e') && version != Tag('O', 'T', 'T', 'O')) {
    return nullptr;
  }
  Table head, maxp, name;
  if (!FindTable(r, Tag('h', 'e', 'a', 'd'), &head) || head.length < 54 || r.U32(head.offset + 12) != 0x5F0F3CF5) {
    return nullptr;
  }
  const int unitsPerEm = r.U16(head.offset + 18);
  if (unitsPerEm < 16 || unitsPerEm > 16384) return nullptr;
  if (!FindTable(r, Tag('m', 'a', 'x', 'p'), &maxp) || maxp.length < 6) return nullptr;

  auto* font = static_cast<CGFont*>(kc_as::CreateCGInstance(CGFontGetTypeID(), sizeof(CGFont)));
  if (!font) return nullptr;
  font->provider = CGDataProviderRetain(provider);
  font->unitsPerEm = unitsPerEm;
  font->glyphCount = r.U16(maxp.offset + 4);
  if (FindTable(r, Tag('n', 'a', 'm', 'e'), &name)) font->postScriptName = CopyPostScriptName(r, name);
  return font;
}

CGFontRef CGFontRetain(CGFontRef font) {
  if (font) CFRetain(font);
  return font;
}

void CGFontRelease(CGFontRef font) {
  if (font) CFRelease(font);
}

CFStringRef CGFontCopyPostScriptName(CGFontRef font) {
  const CGFont* f = AsFont(font);
  if (!f || !f->postScriptName) return nullptr;
  return static_cast<CFStringRef>(CFRetain(f->postScriptName));
}

int CGFontGetUnitsPerEm(CGFontRef font) {
  const CGFont* f = AsFont(font);
  return f ? f->unitsPerEm : 0;
}

size_t CGFontGetNumberOfGlyphs(CGFontRef font) {
  const CGFont* f = AsFont(font);
  return f ? f->glyphCount : 0;
}

// Text encodings of host strings: decoding to code points and encoding back,
// for the encodings strings are tagged with.
#include <cstring>

#include "runtime.h"

namespace plugin_host {

namespace {

// Mac OS Roman, bytes 0x80 to 0xFF.
const char32_t kMacRoman[128] = {
    0x00C4, 0x00C5, 0x00C7, 0x00C9, 0x00D1, 0x00D6, 0x00DC, 0x00E1, 0x00E0, 0x00E2, 0x00E4,
    0x00E3, 0x00E5, 0x00E7, 0x00E9, 0x00E8, 0x00EA, 0x00EB, 0x00ED, 0x00EC, 0x00EE, 0x00EF,
    0x00F1, 0x00F3, 0x00F2, 0x00F4, 0x00F6, 0x00F5, 0x00FA, 0x00F9, 0x00FB, 0x00FC, 0x2020,
    0x00B0, 0x00A2, 0x00A3, 0x00A7, 0x2022, 0x00B6, 0x00DF, 0x00AE, 0x00A9, 0x2122, 0x00B4,
    0x00A8, 0x2260, 0x00C6, 0x00D8, 0x221E, 0x00B1, 0x2264, 0x2265, 0x00A5, 0x00B5, 0x2202,
    0x2211, 0x220F, 0x03C0, 0x222B, 0x00AA, 0x00BA, 0x03A9, 0x00E6, 0x00F8, 0x00BF, 0x00A1,
    0x00AC, 0x221A, 0x0192, 0x2248, 0x2206, 0x00AB, 0x00BB, 0x2026, 0x00A0, 0x00C0, 0x00C3,
    0x00D5, 0x0152, 0x0153, 0x2013, 0x2014, 0x201C, 0x201D, 0x2018, 0x2019, 0x00F7, 0x25CA,
    0x00FF, 0x0178, 0x2044, 0x20AC, 0x2039, 0x203A, 0xFB01, 0xFB02, 0x2021, 0x00B7, 0x201A,
    0x201E, 0x2030, 0x00C2, 0x00CA, 0x00C1, 0x00CB, 0x00C8, 0x00CD, 0x00CE, 0x00CF, 0x00CC,
    0x00D3, 0x00D4, 0xF8FF, 0x00D2, 0x00DA, 0x00DB, 0x00D9, 0x0131, 0x02C6, 0x02DC, 0x00AF,
    0x02D8, 0x02D9, 0x02DA, 0x00B8, 0x02DD, 0x02DB, 0x02C7};

// Windows Latin 1, bytes 0x80 to 0x9F (0: unassigned).
const char32_t kWindows1252[32] = {
    0x20AC, 0, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0, 0x017D, 0, 0, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0, 0x017E, 0x0178};

bool LittleEndianHost() {
  const uint16_t one = 1;
  return *reinterpret_cast<const unsigned char*>(&one) == 1;
}

bool DecodeUTF8(const unsigned char* b, size_t n, std::u32string* out) {
  for (size_t i = 0; i < n;) {
    unsigned char c = b[i];
    char32_t cp;
    size_t len;
    if (c < 0x80) {
      cp = c;
      len = 1;
    } else if ((c & 0xE0) == 0xC0) {
      cp = c & 0x1F;
      len = 2;
    } else if ((c & 0xF0) == 0xE0) {
      cp = c & 0x0F;
      len = 3;
    } else if ((c & 0xF8) == 0xF0) {
      cp = c & 0x07;
      len = 4;
    } else {
      return false;
    }
    if (i + len > n) return false;
    for (size_t k = 1; k < len; ++k) {
      if ((b[i + k] & 0xC0) != 0x80) return false;
      cp = (cp << 6) | (b[i + k] & 0x3F);
    }
    static const char32_t kMin[5] = {0, 0, 0x80, 0x800, 0x10000};
    if (cp < kMin[len] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return false;
    out->push_back(cp);
    i += len;
  }
  return true;
}

bool DecodeUTF16(const unsigned char* b, size_t n, bool little, std::u32string* out) {
  if (n % 2 != 0) return false;
  for (size_t i = 0; i < n; i += 2) {
    char32_t u = little ? (b[i] | (b[i + 1] << 8)) : ((b[i] << 8) | b[i + 1]);
    if (u >= 0xD800 && u <= 0xDBFF) {
      if (i + 3 >= n) return false;
      char32_t l = little ? (b[i + 2] | (b[i + 3] << 8)) : ((b[i + 2] << 8) | b[i + 3]);
      if (l < 0xDC00 || l > 0xDFFF) return false;
      u = 0x10000 + ((u - 0xD800) << 10) + (l - 0xDC00);
      i += 2;
    } else if (u >= 0xDC00 && u <= 0xDFFF) {
      return false;
    }
    out->push_back(u);
  }
  return true;
}

void PutUTF16(char32_t cp, bool little, std::string* out) {
  auto unit = [&](char32_t u) {
    if (little) {
      out->push_back(static_cast<char>(u & 0xFF));
      out->push_back(static_cast<char>(u >> 8));
    } else {
      out->push_back(static_cast<char>(u >> 8));
      out->push_back(static_cast<char>(u & 0xFF));
    }
  };
  if (cp >= 0x10000) {
    cp -= 0x10000;
    unit(0xD800 + (cp >> 10));
    unit(0xDC00 + (cp & 0x3FF));
  } else {
    unit(cp);
  }
}

}  // namespace

bool DecodeText(const unsigned char* b, size_t n, uint32_t enc, std::u32string* out) {
  out->clear();
  out->reserve(n);  // grown once: no partial copy of the text is freed on the way
  switch (enc) {
    case kREALEncodingUTF8: return DecodeUTF8(b, n, out);
    case kREALEncodingUTF16: return DecodeUTF16(b, n, LittleEndianHost(), out);
    case kREALEncodingUTF16LE: return DecodeUTF16(b, n, true, out);
    case kREALEncodingUTF16BE: return DecodeUTF16(b, n, false, out);
    case kREALEncodingUTF32: {
      if (n % 4 != 0) return false;
      for (size_t i = 0; i < n; i += 4) {
        char32_t cp;
        std::memcpy(&cp, b + i, 4);
        if (cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return false;
        out->push_back(cp);
      }
      return true;
    }
    case kREALEncodingMacRoman:
      for (size_t i = 0; i < n; ++i) out->push_back(b[i] < 0x80 ? b[i] : kMacRoman[b[i] - 0x80]);
      return true;
    case kREALEncodingISOLatin1:
      for (size_t i = 0; i < n; ++i) out->push_back(b[i]);
      return true;
    case kREALEncodingWindowsLatin1:
      for (size_t i = 0; i < n; ++i) {
        char32_t cp = b[i];
        if (cp >= 0x80 && cp <= 0x9F) {
          cp = kWindows1252[cp - 0x80];
          if (cp == 0) return false;
        }
        out->push_back(cp);
      }
      return true;
    case kREALEncodingASCII:
    case kREALEncodingUnknown:
      // Bytes of no declared encoding have a meaning only where they are ASCII.
      for (size_t i = 0; i < n; ++i) {
        if (b[i] >= 0x80) return false;
        out->push_back(b[i]);
      }
      return true;
    default: return false;
  }
}

bool EncodeText(const std::u32string& text, uint32_t enc, std::string* out) {
  out->clear();
  out->reserve(4 * text.size());
  for (char32_t cp : text) {
    switch (enc) {
      case kREALEncodingUTF8:
        if (cp < 0x80) {
          out->push_back(static_cast<char>(cp));
        } else if (cp < 0x800) {
          out->push_back(static_cast<char>(0xC0 | (cp >> 6)));
          out->push_back(static_cast<char>(0x80 | (cp & 0x3F)));
        } else if (cp < 0x10000) {
          out->push_back(static_cast<char>(0xE0 | (cp >> 12)));
          out->push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
          out->push_back(static_cast<char>(0x80 | (cp & 0x3F)));
        } else {
          out->push_back(static_cast<char>(0xF0 | (cp >> 18)));
          out->push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
          out->push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
          out->push_back(static_cast<char>(0x80 | (cp & 0x3F)));
        }
        break;
      case kREALEncodingUTF16: PutUTF16(cp, LittleEndianHost(), out); break;
      case kREALEncodingUTF16LE: PutUTF16(cp, true, out); break;
      case kREALEncodingUTF16BE: PutUTF16(cp, false, out); break;
      case kREALEncodingUTF32: out->append(reinterpret_cast<const char*>(&cp), 4); break;
      case kREALEncodingASCII:
        if (cp >= 0x80) return false;
        out->push_back(static_cast<char>(cp));
        break;
      case kREALEncodingISOLatin1:
        if (cp >= 0x100) return false;
        out->push_back(static_cast<char>(cp));
        break;
      case kREALEncodingMacRoman:
      case kREALEncodingWindowsLatin1: {
        if (cp < 0x80 || (enc == kREALEncodingWindowsLatin1 && cp >= 0xA0 && cp < 0x100)) {
          out->push_back(static_cast<char>(cp));
          break;
        }
        const char32_t* table = enc == kREALEncodingMacRoman ? kMacRoman : kWindows1252;
        size_t size = enc == kREALEncodingMacRoman ? 128 : 32;
        size_t k = 0;
        while (k < size && table[k] != cp) ++k;
        if (k == size || cp == 0) return false;
        out->push_back(static_cast<char>(0x80 + k));
        break;
      }
      default: return false;
    }
  }
  return true;
}

bool ConvertBytes(const std::string& in, uint32_t from, uint32_t to, std::string* out) {
  if (from == to || to == kREALEncodingUnknown) {
    *out = in;
    return true;
  }
  std::u32string text;
  const Wiped<std::u32string> wipe(&text);
  if (!DecodeText(reinterpret_cast<const unsigned char*>(in.data()), in.size(), from, &text)) {
    return false;
  }
  return EncodeText(text, to, out);
}

}  // namespace plugin_host

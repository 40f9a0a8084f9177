// Byte encodings of strings. The single-byte encodings (Mac OS Roman,
// ISO Latin 1, Windows Latin 1) use tables that ICU's converters fill once;
// UTF-8 goes through ICU; ASCII, UTF-16 and UTF-32 are done here directly.
#include "string_encoding.h"

#include <unicode/ucnv.h>
#include <unicode/ustring.h>

#include <cstring>
#include <mutex>
#include <unordered_map>

namespace cf {
namespace {

struct SingleByteTable {
  char16_t toUnicode[256];
  bool defined[256];
  std::unordered_map<char16_t, UInt8> fromUnicode;
  bool usable;
};

void BuildTable(const char* icuName, SingleByteTable* table) {
  table->usable = false;
  UErrorCode err = U_ZERO_ERROR;
  UConverter* conv = ucnv_open(icuName, &err);
  if (U_FAILURE(err)) return;
  ucnv_setToUCallBack(conv, UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &err);
  for (int b = 0; b < 256; ++b) {
    char byte = static_cast<char>(b);
    UChar out[4];
    err = U_ZERO_ERROR;
    int32_t n = ucnv_toUChars(conv, out, 4, &byte, 1, &err);
    table->defined[b] = U_SUCCESS(err) && n == 1;
    table->toUnicode[b] = table->defined[b] ? out[0] : 0;
    if (table->defined[b]) table->fromUnicode.emplace(out[0], static_cast<UInt8>(b));
  }
  ucnv_close(conv);
  table->usable = true;
}

const SingleByteTable* TableFor(CFStringEncoding encoding) {
  static std::once_flag macOnce, latin1Once, winOnce;
  static SingleByteTable* mac = nullptr;
  static SingleByteTable* latin1 = nullptr;
  static SingleByteTable* win = nullptr;
  auto get = [](std::once_flag& once, SingleByteTable*& table, const char* name) {
    std::call_once(once, [&] {
      // Kept for the life of the process: strings may convert during exit.
      table = new SingleByteTable();
      BuildTable(name, table);
    });
    return table->usable ? table : nullptr;
  };
  switch (encoding) {
    case kCFStringEncodingMacRoman: return get(macOnce, mac, "macintosh");
    case kCFStringEncodingISOLatin1: return get(latin1Once, latin1, "ISO-8859-1");
    case kCFStringEncodingWindowsLatin1: return get(winOnce, win, "windows-1252");
    default: return nullptr;
  }
}

bool IsUTF16(CFStringEncoding e) {
  return e == kCFStringEncodingUTF16 || e == kCFStringEncodingUTF16BE || e == kCFStringEncodingUTF16LE;
}
bool IsUTF32(CFStringEncoding e) {
  return e == kCFStringEncodingUTF32 || e == kCFStringEncodingUTF32BE || e == kCFStringEncodingUTF32LE;
}

constexpr bool kHostBigEndian = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;

uint32_t ReadUnit(const UInt8* p, int size, bool bigEndian) {
  uint32_t v = 0;
  for (int i = 0; i < size; ++i) v |= static_cast<uint32_t>(p[bigEndian ? i : size - 1 - i]) << (8 * (size - 1 - i));
  return v;
}

void WriteUnit(uint32_t v, int size, bool bigEndian, UInt8* out) {
  for (int i = 0; i < size; ++i) {
    int shift = 8 * (bigEndian ? size - 1 - i : i);
    out[i] = static_cast<UInt8>(v >> shift);
  }
}

void AppendScalar(uint32_t cp, std::u16string* out) {
  if (cp >= 0x10000) {
    cp -= 0x10000;
    out->push_back(static_cast<char16_t>(0xD800 + (cp >> 10)));
    out->push_back(static_cast<char16_t>(0xDC00 + (cp & 0x3FF)));
  } else {
    out->push_back(static_cast<char16_t>(cp));
  }
}

bool DecodeWide(const UInt8* bytes, size_t length, CFStringEncoding encoding, int size,
                std::u16string* out) {
  if (length % size != 0) return false;
  bool big = kHostBigEndian;
  if (encoding == kCFStringEncodingUTF16BE || encoding == kCFStringEncodingUTF32BE) big = true;
  if (encoding == kCFStringEncodingUTF16LE || encoding == kCFStringEncodingUTF32LE) big = false;
  size_t i = 0;
  // The unmarked encodings always look for a byte-order mark.
  if ((encoding == kCFStringEncodingUTF16 || encoding == kCFStringEncodingUTF32) && length >= static_cast<size_t>(size)) {
    if (ReadUnit(bytes, size, true) == 0xFEFF) {
      big = true;
      i = size;
    } else if (ReadUnit(bytes, size, false) == 0xFEFF) {
      big = false;
      i = size;
    }
  }
  out->reserve((length - i) / size);
  for (; i < length; i += size) {
    uint32_t v = ReadUnit(bytes + i, size, big);
    if (size == 2) {
      out->push_back(static_cast<char16_t>(v));
    } else {
      if (v > 0x10FFFF || (v >= 0xD800 && v <= 0xDFFF)) return false;
      AppendScalar(v, out);
    }
  }
  return true;
}

}  // namespace

bool EncodingSupported(CFStringEncoding encoding) {
  switch (encoding) {
    case kCFStringEncodingASCII:
    case kCFStringEncodingUTF8:
      return true;
    default:
      return IsUTF16(encoding) || IsUTF32(encoding) || TableFor(encoding) != nullptr;
  }
}

const char* EncodingName(CFStringEncoding encoding) {
  switch (encoding) {
    case kCFStringEncodingMacRoman: return "Western (Mac OS Roman)";
    case kCFStringEncodingWindowsLatin1: return "Western (Windows Latin 1)";
    case kCFStringEncodingISOLatin1: return "Western (ISO Latin 1)";
    case kCFStringEncodingASCII: return "Western (ASCII)";
    case kCFStringEncodingUTF8: return "Unicode (UTF-8)";
    case kCFStringEncodingUTF16: return "Unicode (UTF-16)";
    case kCFStringEncodingUTF16BE: return "Unicode (UTF-16BE)";
    case kCFStringEncodingUTF16LE: return "Unicode (UTF-16LE)";
    case kCFStringEncodingUTF32: return "Unicode (UTF-32)";
    case kCFStringEncodingUTF32BE: return "Unicode (UTF-32BE)";
    case kCFStringEncodingUTF32LE: return "Unicode (UTF-32LE)";
    default: return nullptr;
  }
}

CFIndex MaxBytesPerUnit(CFStringEncoding encoding) {
  if (!EncodingSupported(encoding)) return 0;
  if (encoding == kCFStringEncodingUTF8) return 3;
  if (IsUTF16(encoding)) return 2;
  if (IsUTF32(encoding)) return 4;
  return 1;
}

bool DecodeBytes(const UInt8* bytes, size_t length, CFStringEncoding encoding, bool external,
                 std::u16string* out) {
  out->clear();
  if (length == 0) return EncodingSupported(encoding);
  if (!bytes) return false;
  if (encoding == kCFStringEncodingASCII) {
    out->reserve(length);
    for (size_t i = 0; i < length; ++i) {
      if (bytes[i] >= 0x80) return false;
      out->push_back(bytes[i]);
    }
    return true;
  }
  if (encoding == kCFStringEncodingUTF8) {
    size_t ascii = 0;
    while (ascii < length && bytes[ascii] < 0x80) ++ascii;
    if (ascii == length) {
      out->assign(bytes, bytes + length);
      return true;
    }
    if (external && length >= 3 && bytes[0] == 0xEF && bytes[1] == 0xBB && bytes[2] == 0xBF) {
      bytes += 3;
      length -= 3;
    }
    if (length > 0x7FFFFFFF) return false;
    const char* src = reinterpret_cast<const char*>(bytes);
    UErrorCode err = U_ZERO_ERROR;
    int32_t needed = 0;
    u_strFromUTF8(nullptr, 0, &needed, src, static_cast<int32_t>(length), &err);
    if (err != U_BUFFER_OVERFLOW_ERROR && U_FAILURE(err)) return false;
    out->resize(static_cast<size_t>(needed));
    err = U_ZERO_ERROR;
    u_strFromUTF8(out->data(), needed, nullptr, src, static_cast<int32_t>(length), &err);
    if (U_FAILURE(err)) {
      out->clear();
      return false;
    }
    return true;
  }
  if (IsUTF16(encoding)) return DecodeWide(bytes, length, encoding, 2, out);
  if (IsUTF32(encoding)) return DecodeWide(bytes, length, encoding, 4, out);
  const SingleByteTable* table = TableFor(encoding);
  if (!table) return false;
  out->reserve(length);
  for (size_t i = 0; i < length; ++i) {
    if (!table->defined[bytes[i]]) return false;
    out->push_back(table->toUnicode[bytes[i]]);
  }
  return true;
}

CFIndex EncodeText(const std::u16string& text, CFIndex location, CFIndex length,
                   CFStringEncoding encoding, UInt8 lossByte, bool external, UInt8* buffer,
                   CFIndex maxLength, CFIndex* used) {
  CFIndex written = 0;
  CFIndex converted = 0;
  if (used) *used = 0;
  if (!EncodingSupported(encoding)) return 0;
  const SingleByteTable* table = TableFor(encoding);
  bool big = kHostBigEndian;
  if (encoding == kCFStringEncodingUTF16BE || encoding == kCFStringEncodingUTF32BE) big = true;
  if (encoding == kCFStringEncodingUTF16LE || encoding == kCFStringEncodingUTF32LE) big = false;
  auto fits = [&](CFIndex n) { return !buffer || written + n <= maxLength; };

  if (external && (encoding == kCFStringEncodingUTF16 || encoding == kCFStringEncodingUTF32)) {
    int size = encoding == kCFStringEncodingUTF16 ? 2 : 4;
    if (!fits(size)) return 0;
    if (buffer) WriteUnit(0xFEFF, size, big, buffer);
    written += size;
  }

  CFIndex end = location + length;
  CFIndex i = location;
  while (i < end) {
    uint32_t unit = text[static_cast<size_t>(i)];
    uint32_t cp = unit;
    CFIndex units = 1;
    bool lone = false;
    if (unit >= 0xD800 && unit <= 0xDBFF && i + 1 < end) {
      uint32_t low = text[static_cast<size_t>(i + 1)];
      if (low >= 0xDC00 && low <= 0xDFFF) {
        cp = 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
        units = 2;
      } else {
        lone = true;
      }
    } else if (unit >= 0xD800 && unit <= 0xDFFF) {
      lone = true;
    }

    UInt8 tmp[8];
    CFIndex n = 0;
    if (IsUTF16(encoding)) {
      WriteUnit(unit, 2, big, tmp);
      n = 2;
      units = 1;
    } else if (IsUTF32(encoding)) {
      if (!lone) {
        WriteUnit(cp, 4, big, tmp);
        n = 4;
      }
    } else if (encoding == kCFStringEncodingUTF8) {
      if (lone) {
        n = 0;
      } else if (cp < 0x80) {
        tmp[n++] = static_cast<UInt8>(cp);
      } else if (cp < 0x800) {
        tmp[n++] = static_cast<UInt8>(0xC0 | (cp >> 6));
        tmp[n++] = static_cast<UInt8>(0x80 | (cp & 0x3F));
      } else if (cp < 0x10000) {
        tmp[n++] = static_cast<UInt8>(0xE0 | (cp >> 12));
        tmp[n++] = static_cast<UInt8>(0x80 | ((cp >> 6) & 0x3F));
        tmp[n++] = static_cast<UInt8>(0x80 | (cp & 0x3F));
      } else {
        tmp[n++] = static_cast<UInt8>(0xF0 | (cp >> 18));
        tmp[n++] = static_cast<UInt8>(0x80 | ((cp >> 12) & 0x3F));
        tmp[n++] = static_cast<UInt8>(0x80 | ((cp >> 6) & 0x3F));
        tmp[n++] = static_cast<UInt8>(0x80 | (cp & 0x3F));
      }
    } else if (encoding == kCFStringEncodingASCII) {
      if (cp < 0x80) tmp[n++] = static_cast<UInt8>(cp);
    } else if (table && units == 1) {
      auto it = table->fromUnicode.find(static_cast<char16_t>(cp));
      if (it != table->fromUnicode.end()) tmp[n++] = it->second;
    }
    if (n == 0) {
      if (lossByte == 0) break;
      tmp[n++] = lossByte;
    }
    if (!fits(n)) break;
    if (buffer) memcpy(buffer + written, tmp, static_cast<size_t>(n));
    written += n;
    i += units;
    converted += units;
  }
  if (used) *used = written;
  return converted;
}

}  // namespace cf

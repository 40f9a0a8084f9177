// Name conversions between POSIX file names and Carbon names.
#include "fs_names.h"

#include <unicode/normalizer2.h>
#include <unicode/ucnv.h>
#include <unicode/unistr.h>
#include <unicode/ustring.h>
#include <unicode/utf16.h>

#include <cstdio>
#include <cstring>
#include <memory>

namespace kc_as {
namespace {

void SwapSeparators(std::u16string* s) {
  for (char16_t& c : *s) {
    if (c == u':') c = u'/';
    else if (c == u'/') c = u':';
  }
}

bool Utf8ToUtf16(const std::string& utf8, std::u16string* out) {
  UErrorCode status = U_ZERO_ERROR;
  int32_t needed = 0;
  u_strFromUTF8(nullptr, 0, &needed, utf8.data(), static_cast<int32_t>(utf8.size()), &status);
  if (status != U_BUFFER_OVERFLOW_ERROR && U_FAILURE(status)) return false;
  out->assign(static_cast<size_t>(needed), u'\0');
  status = U_ZERO_ERROR;
  u_strFromUTF8(reinterpret_cast<UChar*>(out->data()), needed, nullptr, utf8.data(),
                static_cast<int32_t>(utf8.size()), &status);
  return U_SUCCESS(status);
}

bool Utf16ToUtf8(const char16_t* units, size_t count, std::string* out) {
  UErrorCode status = U_ZERO_ERROR;
  int32_t needed = 0;
  u_strToUTF8(nullptr, 0, &needed, reinterpret_cast<const UChar*>(units), static_cast<int32_t>(count), &status);
  if (status != U_BUFFER_OVERFLOW_ERROR && U_FAILURE(status)) return false;
  out->assign(static_cast<size_t>(needed), '\0');
  status = U_ZERO_ERROR;
  u_strToUTF8(out->data(), needed, nullptr, reinterpret_cast<const UChar*>(units), static_cast<int32_t>(count),
              &status);
  return U_SUCCESS(status);
}

struct ConverterCloser {
  void operator()(UConverter* c) const { ucnv_close(c); }
};
using Converter = std::unique_ptr<UConverter, ConverterCloser>;

// A converter that stops at the first unmappable character instead of
// substituting one, so that a name never silently changes.
Converter OpenMacRoman() {
  UErrorCode status = U_ZERO_ERROR;
  Converter c(ucnv_open("macintosh", &status));
  if (U_FAILURE(status)) return nullptr;
  ucnv_setFromUCallBack(c.get(), UCNV_FROM_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  ucnv_setToUCallBack(c.get(), UCNV_TO_U_CALLBACK_STOP, nullptr, nullptr, nullptr, &status);
  if (U_FAILURE(status)) return nullptr;
  return c;
}

}  // namespace

bool PosixNameToUnicode(const std::string& posix, std::u16string* out) {
  if (!Utf8ToUtf16(posix, out)) return false;
  SwapSeparators(out);
  return true;
}

bool UnicodeNameToPosix(const UniChar* units, size_t count, std::string* out) {
  std::u16string s(reinterpret_cast<const char16_t*>(units), count);
  for (char16_t c : s) {
    if (c == u':' || c == u'\0') return false;  // would be '/' or end the POSIX name
  }
  SwapSeparators(&s);
  return Utf16ToUtf8(s.data(), s.size(), out);
}

bool PosixNameToMacRoman(const std::string& posix, size_t maxBytes, std::string* out) {
  std::u16string u;
  if (!Utf8ToUtf16(ComposedUtf8(posix), &u)) return false;
  SwapSeparators(&u);
  Converter conv = OpenMacRoman();
  if (!conv) return false;
  UErrorCode status = U_ZERO_ERROR;
  std::string bytes(u.size() * 2 + 1, '\0');
  int32_t n = ucnv_fromUChars(conv.get(), bytes.data(), static_cast<int32_t>(bytes.size()),
                              reinterpret_cast<const UChar*>(u.data()), static_cast<int32_t>(u.size()), &status);
  if (U_FAILURE(status) || n < 0 || static_cast<size_t>(n) > maxBytes) return false;
  bytes.resize(static_cast<size_t>(n));
  *out = bytes;
  return true;
}

bool MacRomanNameToPosix(const unsigned char* bytes, size_t count, std::string* out) {
  Converter conv = OpenMacRoman();
  if (!conv) return false;
  UErrorCode status = U_ZERO_ERROR;
  std::u16string u(count * 2 + 1, u'\0');
  int32_t n = ucnv_toUChars(conv.get(), reinterpret_cast<UChar*>(u.data()), static_cast<int32_t>(u.size()),
                            reinterpret_cast<const char*>(bytes), static_cast<int32_t>(count), &status);
  if (U_FAILURE(status) || n < 0) return false;
  u.resize(static_cast<size_t>(n));
  return UnicodeNameToPosix(reinterpret_cast<const UniChar*>(u.data()), u.size(), out);
}

std::string MangledMacRomanName(const std::string& posix, UInt32 nodeID) {
  constexpr size_t kMaxMangled = 31;
  constexpr size_t kMaxExtension = 5;  // the dot and up to four characters
  std::u16string u;
  if (!Utf8ToUtf16(ComposedUtf8(posix), &u)) u.clear();
  SwapSeparators(&u);
  Converter conv = OpenMacRoman();
  std::string roman;
  for (size_t i = 0; i < u.size(); ++i) {
    const size_t n = U16_IS_LEAD(u[i]) && i + 1 < u.size() ? 2 : 1;
    char byte = '_';
    UErrorCode status = U_ZERO_ERROR;
    if (conv && ucnv_fromUChars(conv.get(), &byte, 1, reinterpret_cast<const UChar*>(&u[i]), static_cast<int32_t>(n),
                                &status) != 1) {
      byte = '_';
    }
    if (U_FAILURE(status)) byte = '_';
    roman.push_back(byte);
    i += n - 1;
  }
  std::string extension;
  size_t dot = roman.rfind('.');
  if (dot != std::string::npos && dot > 0 && roman.size() - dot <= kMaxExtension) {
    extension = roman.substr(dot);
    roman.resize(dot);
  }
  char id[16];
  snprintf(id, sizeof id, "#%X", static_cast<unsigned>(nodeID));
  const size_t room = kMaxMangled - extension.size() - std::strlen(id);
  if (roman.size() > room) roman.resize(room);
  return roman + id + extension;
}

std::string ComposedUtf8(const std::string& utf8) {
  UErrorCode status = U_ZERO_ERROR;
  const icu::Normalizer2* nfc = icu::Normalizer2::getNFCInstance(status);
  if (U_FAILURE(status)) return utf8;
  icu::UnicodeString in = icu::UnicodeString::fromUTF8(utf8);
  if (in.indexOf(static_cast<UChar>(0xFFFD)) >= 0 && utf8.find("\xEF\xBF\xBD") == std::string::npos) return utf8;
  icu::UnicodeString composed = nfc->normalize(in, status);
  if (U_FAILURE(status)) return utf8;
  std::string out;
  composed.toUTF8String(out);
  return out;
}

}  // namespace kc_as

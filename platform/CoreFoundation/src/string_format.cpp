// printf-style formatting into strings (with %@ for any CF object) and CFShow.
#include <cstdio>
#include <cstring>
#include <string>

#include "string_encoding.h"
#include "string_impl.h"

using namespace cf;

namespace {

void AppendUnits(std::string* out, const std::u16string& units) {
  CFStringRef s = NewStringFromUTF16(units);
  *out += ToUTF8(s);
  CFRelease(s);
}

// Formats one conversion whose argument has already been fetched.
template <class T>
void AppendPrintf(std::string* out, const std::string& directive, T value) {
  char small[128];
  int n = snprintf(small, sizeof small, directive.c_str(), value);
  if (n < 0) return;
  if (static_cast<size_t>(n) < sizeof small) {
    out->append(small, static_cast<size_t>(n));
    return;
  }
  std::string big(static_cast<size_t>(n) + 1, '\0');
  snprintf(&big[0], big.size(), directive.c_str(), value);
  out->append(big.data(), static_cast<size_t>(n));
}

// Applies width and the '-' flag to text produced by %@, %C and %S.
void AppendPadded(std::string* out, const std::string& text, int width, bool left) {
  size_t shown = 0;
  for (unsigned char c : text) shown += (c & 0xC0) != 0x80;
  std::string pad(width > 0 && static_cast<size_t>(width) > shown ? static_cast<size_t>(width) - shown : 0, ' ');
  *out += left ? text + pad : pad + text;
}

std::string Format(const std::string& format, va_list args) {
  std::string out;
  size_t i = 0;
  while (i < format.size()) {
    char c = format[i];
    if (c != '%') {
      out += c;
      ++i;
      continue;
    }
    size_t start = i++;
    std::string directive = "%";
    bool left = false;
    while (i < format.size() && strchr("-+ #0'", format[i])) {
      if (format[i] == '-') left = true;
      if (format[i] != '\'') directive += format[i];
      ++i;
    }
    int width = 0;
    if (i < format.size() && format[i] == '*') {
      width = va_arg(args, int);
      if (width < 0) {
        left = true;
        width = -width;
        directive += '-';
      }
      directive += std::to_string(width);
      ++i;
    } else {
      while (i < format.size() && format[i] >= '0' && format[i] <= '9') {
        width = width * 10 + (format[i] - '0');
        directive += format[i++];
      }
    }
    if (i < format.size() && format[i] == '.') {
      directive += format[i++];
      if (i < format.size() && format[i] == '*') {
        directive += std::to_string(va_arg(args, int));
        ++i;
      } else {
        while (i < format.size() && format[i] >= '0' && format[i] <= '9') directive += format[i++];
      }
    }
    std::string length;
    while (i < format.size() && strchr("hlqLzjt", format[i])) length += format[i++];
    if (i >= format.size()) {
      out += format.substr(start);
      break;
    }
    char conv = format[i++];
    if (length == "q") length = "ll";
    switch (conv) {
      case '%':
        out += '%';
        break;
      case '@': {
        CFTypeRef obj = va_arg(args, CFTypeRef);
        CFStringRef desc = CopyFormattingDescription(obj);
        AppendPadded(&out, ToUTF8(desc), width, left);
        CFRelease(desc);
        break;
      }
      case 'd':
      case 'i':
        directive += length + conv;
        if (length == "ll") AppendPrintf(&out, directive, va_arg(args, long long));
        else if (length == "l") AppendPrintf(&out, directive, va_arg(args, long));
        else if (length == "z") AppendPrintf(&out, directive, va_arg(args, ssize_t));
        else if (length == "t") AppendPrintf(&out, directive, va_arg(args, ptrdiff_t));
        else if (length == "j") AppendPrintf(&out, directive, va_arg(args, intmax_t));
        else AppendPrintf(&out, directive, va_arg(args, int));
        break;
      case 'u':
      case 'o':
      case 'x':
      case 'X':
        directive += length + conv;
        if (length == "ll") AppendPrintf(&out, directive, va_arg(args, unsigned long long));
        else if (length == "l") AppendPrintf(&out, directive, va_arg(args, unsigned long));
        else if (length == "z") AppendPrintf(&out, directive, va_arg(args, size_t));
        else if (length == "t") AppendPrintf(&out, directive, va_arg(args, ptrdiff_t));
        else if (length == "j") AppendPrintf(&out, directive, va_arg(args, uintmax_t));
        else AppendPrintf(&out, directive, va_arg(args, unsigned int));
        break;
      case 'D':
      case 'U':
      case 'O':
        directive += "l";
        directive += static_cast<char>(conv + ('a' - 'A'));
        if (conv == 'D') AppendPrintf(&out, directive, va_arg(args, long));
        else AppendPrintf(&out, directive, va_arg(args, unsigned long));
        break;
      case 'f':
      case 'F':
      case 'e':
      case 'E':
      case 'g':
      case 'G':
      case 'a':
      case 'A':
        if (length == "L") {
          directive += "L";
          directive += conv;
          AppendPrintf(&out, directive, va_arg(args, long double));
        } else {
          directive += conv;
          AppendPrintf(&out, directive, va_arg(args, double));
        }
        break;
      case 'c':
        directive += conv;
        AppendPrintf(&out, directive, va_arg(args, int));
        break;
      case 'C': {
        std::u16string unit(1, static_cast<char16_t>(va_arg(args, int)));
        std::string text;
        AppendUnits(&text, unit);
        AppendPadded(&out, text, width, left);
        break;
      }
      case 's': {
        const char* s = va_arg(args, const char*);
        directive += conv;
        AppendPrintf(&out, directive, s ? s : "(null)");
        break;
      }
      case 'S': {
        const UniChar* s = va_arg(args, const UniChar*);
        std::u16string units;
        for (const UniChar* p = s; p && *p; ++p) units.push_back(*p);
        std::string text;
        AppendUnits(&text, s ? units : u"(null)");
        AppendPadded(&out, text, width, left);
        break;
      }
      case 'p':
        directive += conv;
        AppendPrintf(&out, directive, va_arg(args, void*));
        break;
      case 'n':
        // Writing through the argument is never wanted; consume and skip it.
        (void)va_arg(args, void*);
        break;
      default:
        // Unknown conversions are copied through unchanged.
        out += format.substr(start, i - start);
        break;
    }
  }
  return out;
}

std::string FormatString(CFStringRef format, va_list args) {
  va_list copy;
  va_copy(copy, args);
  std::string out = Format(ToUTF8(format), copy);
  va_end(copy);
  return out;
}

}  // namespace

CFStringRef CFStringCreateWithFormatAndArguments(CFAllocatorRef alloc, CFDictionaryRef, CFStringRef format,
                                                 va_list arguments) {
  if (!IsA(format, kStringTypeID)) return nullptr;
  std::string text = FormatString(format, arguments);
  std::u16string chars;
  if (!DecodeBytes(reinterpret_cast<const UInt8*>(text.data()), text.size(), kCFStringEncodingUTF8, false, &chars))
    DecodeBytes(reinterpret_cast<const UInt8*>(text.data()), text.size(), kCFStringEncodingMacRoman, false, &chars);
  return NewString(alloc, std::move(chars), false);
}

CFStringRef CFStringCreateWithFormat(CFAllocatorRef alloc, CFDictionaryRef formatOptions, CFStringRef format, ...) {
  va_list args;
  va_start(args, format);
  CFStringRef s = CFStringCreateWithFormatAndArguments(alloc, formatOptions, format, args);
  va_end(args);
  return s;
}

void CFStringAppendFormatAndArguments(CFMutableStringRef theString, CFDictionaryRef formatOptions, CFStringRef format,
                                      va_list arguments) {
  if (!IsA(theString, kStringTypeID) || !IsMutable(theString)) return;
  CFStringRef piece = CFStringCreateWithFormatAndArguments(nullptr, formatOptions, format, arguments);
  if (!piece) return;
  CFStringAppend(theString, piece);
  CFRelease(piece);
}

void CFStringAppendFormat(CFMutableStringRef theString, CFDictionaryRef formatOptions, CFStringRef format, ...) {
  va_list args;
  va_start(args, format);
  CFStringAppendFormatAndArguments(theString, formatOptions, format, args);
  va_end(args);
}

void CFShow(CFTypeRef obj) {
  CFStringRef desc = obj ? CopyFormattingDescription(obj) : nullptr;
  fprintf(stderr, "%s\n", desc ? ToUTF8(desc).c_str() : "(null)");
  if (desc) CFRelease(desc);
}

void CFShowStr(CFStringRef str) {
  if (!IsA(str, kStringTypeID)) {
    fprintf(stderr, "(null)\n");
    return;
  }
  fprintf(stderr, "Length %ld\nIsMutable %d\nContents %s\n", CFStringGetLength(str), IsMutable(str) ? 1 : 0,
          ToUTF8(str).c_str());
}

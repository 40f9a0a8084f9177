// The attributes a password item can carry: tag, storage column, value kind,
// and which item classes have them. Shared by the store and the API layers.
#pragma once

#include <cstdint>
#include <string>

namespace secimpl {

constexpr uint32_t FourCC(const char (&s)[5]) {
  return (uint32_t(uint8_t(s[0])) << 24) | (uint32_t(uint8_t(s[1])) << 16) |
         (uint32_t(uint8_t(s[2])) << 8) | uint32_t(uint8_t(s[3]));
}

constexpr uint32_t kClassGenericPassword = FourCC("genp");
constexpr uint32_t kClassInternetPassword = FourCC("inet");
constexpr uint32_t kClassAnyRecord = 0x0A;  // matches every item

enum class AttrKind { Blob, UInt32, SInt32, Date };

struct AttrDesc {
  uint32_t tag;
  const char* column;
  AttrKind kind;
  bool genp;
  bool inet;
  bool key;  // part of the class's unique key: never NULL in the store
};

// The descriptor of a tag for a class, or nullptr when that class has no such
// attribute. kClassAnyRecord accepts every tag that any class has.
const AttrDesc* FindAttr(uint32_t itemClass, uint32_t tag);
const AttrDesc* AllAttrs(int* count);
bool IsPasswordClass(uint32_t itemClass);

// Integer attributes accept 1, 2 or 4 bytes and are widened.
bool DecodeInteger(const void* data, uint32_t length, AttrKind kind, int64_t* out);
std::string EncodeUInt32(uint32_t v);

// Dates are stored as 16 bytes: "YYYYMMDDhhmmssZ" and a NUL, in UTC.
std::string FormatDate(double unixSeconds);
bool ParseDate(const std::string& text, double* unixSeconds);
bool IsValidDateText(const void* data, uint32_t length);

}  // namespace secimpl

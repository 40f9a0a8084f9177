// Attribute table and value encodings of password items.
#include "attributes.h"

#include <cstring>
#include <ctime>

namespace secimpl {

namespace {

const AttrDesc kAttrs[] = {
    {FourCC("cdat"), "a_cdat", AttrKind::Date, true, true, false},
    {FourCC("mdat"), "a_mdat", AttrKind::Date, true, true, false},
    {FourCC("desc"), "a_desc", AttrKind::Blob, true, true, false},
    {FourCC("icmt"), "a_icmt", AttrKind::Blob, true, true, false},
    {FourCC("crtr"), "a_crtr", AttrKind::UInt32, true, true, false},
    {FourCC("type"), "a_type", AttrKind::UInt32, true, true, false},
    {FourCC("scrp"), "a_scrp", AttrKind::SInt32, true, true, false},
    {FourCC("labl"), "a_labl", AttrKind::Blob, true, true, false},
    {FourCC("invi"), "a_invi", AttrKind::SInt32, true, true, false},
    {FourCC("nega"), "a_nega", AttrKind::SInt32, true, true, false},
    {FourCC("cusi"), "a_cusi", AttrKind::SInt32, true, true, false},
    {FourCC("acct"), "a_acct", AttrKind::Blob, true, true, true},
    {FourCC("svce"), "a_svce", AttrKind::Blob, true, false, true},
    {FourCC("gena"), "a_gena", AttrKind::Blob, true, false, false},
    {FourCC("sdmn"), "a_sdmn", AttrKind::Blob, false, true, true},
    {FourCC("srvr"), "a_srvr", AttrKind::Blob, false, true, true},
    {FourCC("atyp"), "a_atyp", AttrKind::Blob, false, true, true},
    {FourCC("port"), "a_port", AttrKind::UInt32, false, true, true},
    {FourCC("path"), "a_path", AttrKind::Blob, false, true, true},
    {FourCC("ptcl"), "a_ptcl", AttrKind::UInt32, false, true, true},
};

}  // namespace

const AttrDesc* AllAttrs(int* count) {
  *count = int(sizeof kAttrs / sizeof kAttrs[0]);
  return kAttrs;
}

bool IsPasswordClass(uint32_t itemClass) {
  return itemClass == kClassGenericPassword || itemClass == kClassInternetPassword;
}

const AttrDesc* FindAttr(uint32_t itemClass, uint32_t tag) {
  for (const AttrDesc& d : kAttrs) {
    if (d.tag != tag) continue;
    if (itemClass == kClassAnyRecord) return &d;
    if (itemClass == kClassGenericPassword && d.genp) return &d;
    if (itemClass == kClassInternetPassword && d.inet) return &d;
    return nullptr;
  }
  return nullptr;
}

bool DecodeInteger(const void* data, uint32_t length, AttrKind kind, int64_t* out) {
  if (!data && length) return false;
  switch (length) {
    case 0: *out = 0; return true;
    case 1: {
      uint8_t v; memcpy(&v, data, 1);
      *out = kind == AttrKind::SInt32 ? int64_t(int8_t(v)) : int64_t(v);
      return true;
    }
    case 2: {
      uint16_t v; memcpy(&v, data, 2);
      *out = kind == AttrKind::SInt32 ? int64_t(int16_t(v)) : int64_t(v);
      return true;
    }
    case 4: {
      uint32_t v; memcpy(&v, data, 4);
      *out = kind == AttrKind::SInt32 ? int64_t(int32_t(v)) : int64_t(v);
      return true;
    }
    default: return false;
  }
}

std::string EncodeUInt32(uint32_t v) { return std::string(reinterpret_cast<const char*>(&v), 4); }

std::string FormatDate(double unixSeconds) {
  time_t t = time_t(unixSeconds);
  struct tm tmv;
  gmtime_r(&t, &tmv);
  char buf[32];
  snprintf(buf, sizeof buf, "%04d%02d%02d%02d%02d%02dZ", tmv.tm_year + 1900, tmv.tm_mon + 1,
           tmv.tm_mday, tmv.tm_hour, tmv.tm_min, tmv.tm_sec);
  return std::string(buf, 15) + '\0';
}

bool IsValidDateText(const void* data, uint32_t length) {
  if (!data || length != 16) return false;
  const char* s = static_cast<const char*>(data);
  for (int i = 0; i < 14; ++i)
    if (s[i] < '0' || s[i] > '9') return false;
  if (s[14] != 'Z' || s[15] != '\0') return false;
  auto num = [&](int at, int n) {
    int v = 0;
    for (int i = 0; i < n; ++i) v = v * 10 + (s[at + i] - '0');
    return v;
  };
  int mon = num(4, 2), day = num(6, 2), hour = num(8, 2), min = num(10, 2), sec = num(12, 2);
  return mon >= 1 && mon <= 12 && day >= 1 && day <= 31 && hour <= 23 && min <= 59 && sec <= 60;
}

bool ParseDate(const std::string& text, double* unixSeconds) {
  if (!IsValidDateText(text.data(), uint32_t(text.size()))) return false;
  struct tm tmv = {};
  auto num = [&](int at, int n) {
    int v = 0;
    for (int i = 0; i < n; ++i) v = v * 10 + (text[at + i] - '0');
    return v;
  };
  tmv.tm_year = num(0, 4) - 1900;
  tmv.tm_mon = num(4, 2) - 1;
  tmv.tm_mday = num(6, 2);
  tmv.tm_hour = num(8, 2);
  tmv.tm_min = num(10, 2);
  tmv.tm_sec = num(12, 2);
  *unixSeconds = double(timegm(&tmv));
  return true;
}

}  // namespace secimpl

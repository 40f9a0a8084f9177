// Item-query dictionaries to rows and back.
#include "secitem_convert.h"

#include <cstring>

namespace secimpl {

namespace {

struct CodeName {
  uint32_t code;  // for authentication types: the four bytes in reading order
  CFStringRef* name;
};

const CodeName* ProtocolTable(size_t* n) {
  static CodeName table[] = {
      {FourCC("ftp "), (CFStringRef*)&kSecAttrProtocolFTP},
      {FourCC("ftpa"), (CFStringRef*)&kSecAttrProtocolFTPAccount},
      {FourCC("http"), (CFStringRef*)&kSecAttrProtocolHTTP},
      {FourCC("irc "), (CFStringRef*)&kSecAttrProtocolIRC},
      {FourCC("nntp"), (CFStringRef*)&kSecAttrProtocolNNTP},
      {FourCC("pop3"), (CFStringRef*)&kSecAttrProtocolPOP3},
      {FourCC("smtp"), (CFStringRef*)&kSecAttrProtocolSMTP},
      {FourCC("sox "), (CFStringRef*)&kSecAttrProtocolSOCKS},
      {FourCC("imap"), (CFStringRef*)&kSecAttrProtocolIMAP},
      {FourCC("ldap"), (CFStringRef*)&kSecAttrProtocolLDAP},
      {FourCC("atlk"), (CFStringRef*)&kSecAttrProtocolAppleTalk},
      {FourCC("afp "), (CFStringRef*)&kSecAttrProtocolAFP},
      {FourCC("teln"), (CFStringRef*)&kSecAttrProtocolTelnet},
      {FourCC("ssh "), (CFStringRef*)&kSecAttrProtocolSSH},
      {FourCC("ftps"), (CFStringRef*)&kSecAttrProtocolFTPS},
      {FourCC("htps"), (CFStringRef*)&kSecAttrProtocolHTTPS},
      {FourCC("htpx"), (CFStringRef*)&kSecAttrProtocolHTTPProxy},
      {FourCC("htsx"), (CFStringRef*)&kSecAttrProtocolHTTPSProxy},
      {FourCC("ftpx"), (CFStringRef*)&kSecAttrProtocolFTPProxy},
      {FourCC("smb "), (CFStringRef*)&kSecAttrProtocolSMB},
      {FourCC("rtsp"), (CFStringRef*)&kSecAttrProtocolRTSP},
      {FourCC("rtsx"), (CFStringRef*)&kSecAttrProtocolRTSPProxy},
      {FourCC("daap"), (CFStringRef*)&kSecAttrProtocolDAAP},
      {FourCC("eppc"), (CFStringRef*)&kSecAttrProtocolEPPC},
      {FourCC("ipp "), (CFStringRef*)&kSecAttrProtocolIPP},
      {FourCC("ntps"), (CFStringRef*)&kSecAttrProtocolNNTPS},
      {FourCC("ldps"), (CFStringRef*)&kSecAttrProtocolLDAPS},
      {FourCC("tels"), (CFStringRef*)&kSecAttrProtocolTelnetS},
      {FourCC("imps"), (CFStringRef*)&kSecAttrProtocolIMAPS},
      {FourCC("ircs"), (CFStringRef*)&kSecAttrProtocolIRCS},
      {FourCC("pops"), (CFStringRef*)&kSecAttrProtocolPOP3S},
  };
  *n = sizeof table / sizeof table[0];
  return table;
}

const CodeName* AuthTable(size_t* n) {
  static CodeName table[] = {
      {FourCC("ntlm"), (CFStringRef*)&kSecAttrAuthenticationTypeNTLM},
      {FourCC("msna"), (CFStringRef*)&kSecAttrAuthenticationTypeMSN},
      {FourCC("dpaa"), (CFStringRef*)&kSecAttrAuthenticationTypeDPA},
      {FourCC("rpaa"), (CFStringRef*)&kSecAttrAuthenticationTypeRPA},
      {FourCC("http"), (CFStringRef*)&kSecAttrAuthenticationTypeHTTPBasic},
      {FourCC("httd"), (CFStringRef*)&kSecAttrAuthenticationTypeHTTPDigest},
      {FourCC("form"), (CFStringRef*)&kSecAttrAuthenticationTypeHTMLForm},
      {FourCC("dflt"), (CFStringRef*)&kSecAttrAuthenticationTypeDefault},
  };
  *n = sizeof table / sizeof table[0];
  return table;
}

uint32_t CodeFor(const CodeName* table, size_t n, CFTypeRef value) {
  if (!value || CFGetTypeID(value) != CFStringGetTypeID()) return 0;
  for (size_t i = 0; i < n; ++i)
    if (CFEqual(value, *table[i].name)) return table[i].code;
  return 0;  // an unknown name means "any"
}

CFStringRef NameFor(const CodeName* table, size_t n, uint32_t code) {
  for (size_t i = 0; i < n; ++i)
    if (table[i].code == code) return *table[i].name;
  return nullptr;
}

std::string BigEndianBytes(uint32_t code) {
  char b[4] = {char(code >> 24), char(code >> 16), char(code >> 8), char(code)};
  return std::string(b, 4);
}

uint32_t FromBigEndianBytes(const std::string& s) {
  if (s.size() != 4) return 0;
  return (uint32_t(uint8_t(s[0])) << 24) | (uint32_t(uint8_t(s[1])) << 16) |
         (uint32_t(uint8_t(s[2])) << 8) | uint32_t(uint8_t(s[3]));
}

bool Utf8(CFStringRef s, std::string* out) {
  CFIndex len = CFStringGetLength(s);
  CFIndex max = CFStringGetMaximumSizeForEncoding(len, kCFStringEncodingUTF8);
  std::string buf(size_t(max) + 1, '\0');
  CFIndex used = 0;
  CFStringGetBytes(s, CFRangeMake(0, len), kCFStringEncodingUTF8, 0, false,
                   reinterpret_cast<UInt8*>(&buf[0]), max, &used);
  buf.resize(size_t(used));
  *out = buf;
  return true;
}

bool Bytes(CFTypeRef v, std::string* out) {
  if (v && CFGetTypeID(v) == CFStringGetTypeID()) return Utf8((CFStringRef)v, out);
  if (v && CFGetTypeID(v) == CFDataGetTypeID()) {
    out->assign(reinterpret_cast<const char*>(CFDataGetBytePtr((CFDataRef)v)),
                size_t(CFDataGetLength((CFDataRef)v)));
    return true;
  }
  return false;
}

bool Number(CFTypeRef v, int64_t* out) {
  if (!v) return false;
  if (CFGetTypeID(v) == CFNumberGetTypeID()) return CFNumberGetValue((CFNumberRef)v, kCFNumberSInt64Type, out);
  if (CFGetTypeID(v) == CFBooleanGetTypeID()) {
    *out = CFBooleanGetValue((CFBooleanRef)v) ? 1 : 0;
    return true;
  }
  if (CFGetTypeID(v) == CFStringGetTypeID()) {
    std::string s;
    Utf8((CFStringRef)v, &s);
    if (s.empty() || s.size() > 10) return false;
    int64_t n = 0;
    for (char c : s) {
      if (c < '0' || c > '9') return false;
      n = n * 10 + (c - '0');
    }
    *out = n;
    return true;
  }
  return false;
}

struct KeyTag {
  const CFStringRef* key;
  uint32_t tag;
};

const KeyTag kKeyTags[] = {
    {&kSecAttrCreationDate, FourCC("cdat")}, {&kSecAttrModificationDate, FourCC("mdat")},
    {&kSecAttrDescription, FourCC("desc")},  {&kSecAttrComment, FourCC("icmt")},
    {&kSecAttrCreator, FourCC("crtr")},      {&kSecAttrType, FourCC("type")},
    {&kSecAttrLabel, FourCC("labl")},        {&kSecAttrIsInvisible, FourCC("invi")},
    {&kSecAttrIsNegative, FourCC("nega")},   {&kSecAttrAccount, FourCC("acct")},
    {&kSecAttrService, FourCC("svce")},      {&kSecAttrGeneric, FourCC("gena")},
    {&kSecAttrServer, FourCC("srvr")},       {&kSecAttrSecurityDomain, FourCC("sdmn")},
    {&kSecAttrPath, FourCC("path")},         {&kSecAttrPort, FourCC("port")},
    {&kSecAttrProtocol, FourCC("ptcl")},     {&kSecAttrAuthenticationType, FourCC("atyp")},
};

// The stored form of one dictionary value for an attribute.
OSStatus Encode(const AttrDesc& d, CFTypeRef v, std::string* out) {
  size_t n = 0;
  if (d.tag == FourCC("ptcl")) {
    const CodeName* t = ProtocolTable(&n);
    *out = EncodeUInt32(CodeFor(t, n, v));
    return errSecSuccess;
  }
  if (d.tag == FourCC("atyp")) {
    const CodeName* t = AuthTable(&n);
    uint32_t code = CodeFor(t, n, v);
    *out = code ? BigEndianBytes(code) : std::string(4, '\0');
    return errSecSuccess;
  }
  switch (d.kind) {
    case AttrKind::Blob:
      if (d.tag == FourCC("svce") && CFGetTypeID(v) != CFStringGetTypeID()) return errSecParam;
      return Bytes(v, out) ? errSecSuccess : errSecParam;
    case AttrKind::Date: {
      if (CFGetTypeID(v) != CFDateGetTypeID()) return errSecParam;
      double posix = CFDateGetAbsoluteTime((CFDateRef)v) + kCFAbsoluteTimeIntervalSince1970;
      *out = FormatDate(posix);
      return errSecSuccess;
    }
    case AttrKind::UInt32:
    case AttrKind::SInt32: {
      int64_t num = 0;
      if (!Number(v, &num)) return errSecParam;
      if (d.tag == FourCC("port")) num &= 0xffff;  // ports travel as 16 bits
      *out = EncodeUInt32(uint32_t(num));
      return errSecSuccess;
    }
  }
  return errSecParam;
}

CFStringRef NewString(const std::string& bytes) {
  CFStringRef s = CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes.data()),
                                          CFIndex(bytes.size()), kCFStringEncodingUTF8, false);
  if (!s)
    s = CFStringCreateWithBytes(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(bytes.data()),
                                CFIndex(bytes.size()), kCFStringEncodingMacRoman, false);
  return s;
}

void SetOwned(CFMutableDictionaryRef d, CFStringRef key, CFTypeRef value) {
  if (!value) return;
  CFDictionarySetValue(d, key, value);
  CFRelease(value);
}

}  // namespace

OSStatus ClassFromValue(CFTypeRef value, uint32_t* itemClass) {
  if (!value || CFGetTypeID(value) != CFStringGetTypeID()) return errSecParam;
  if (CFEqual(value, kSecClassGenericPassword)) *itemClass = kClassGenericPassword;
  else if (CFEqual(value, kSecClassInternetPassword)) *itemClass = kClassInternetPassword;
  else if (CFEqual(value, kSecClassCertificate) || CFEqual(value, kSecClassKey) ||
           CFEqual(value, kSecClassIdentity)) *itemClass = 0;
  else return errSecParam;
  return errSecSuccess;
}

OSStatus RowFromDictionary(CFDictionaryRef dict, bool withDates, ItemRow* row) {
  for (const KeyTag& kt : kKeyTags) {
    const AttrDesc* d = FindAttr(row->itemClass, kt.tag);
    if (!d) continue;
    if (!withDates && d->kind == AttrKind::Date) continue;
    CFTypeRef v = CFDictionaryGetValue(dict, *kt.key);
    if (!v) continue;
    std::string value;
    OSStatus status = Encode(*d, v, &value);
    if (status != errSecSuccess) return status;
    row->attrs[kt.tag] = value;
  }
  return errSecSuccess;
}

OSStatus FiltersFromDictionary(CFDictionaryRef query, uint32_t itemClass, std::vector<Filter>* out) {
  ItemRow row;
  row.itemClass = itemClass;
  OSStatus status = RowFromDictionary(query, true, &row);
  if (status != errSecSuccess) return status;
  for (auto& kv : row.attrs) {
    const AttrDesc* d = FindAttr(itemClass, kv.first);
    Filter f{d, kv.second, 0};
    if (d->kind == AttrKind::UInt32 || d->kind == AttrKind::SInt32) {
      int64_t v = 0;
      DecodeInteger(kv.second.data(), uint32_t(kv.second.size()), d->kind, &v);
      f.number = v;
    }
    out->push_back(f);
  }
  return errSecSuccess;
}

CFMutableDictionaryRef CopyAttributesDictionary(const ItemRow& row) {
  CFMutableDictionaryRef d = CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                       &kCFTypeDictionaryValueCallBacks);
  if (!d) return nullptr;
  bool inet = row.itemClass == kClassInternetPassword;
  CFDictionarySetValue(d, kSecClass, inet ? kSecClassInternetPassword : kSecClassGenericPassword);
  for (const KeyTag& kt : kKeyTags) {
    const AttrDesc* desc = FindAttr(row.itemClass, kt.tag);
    if (!desc) continue;
    auto it = row.attrs.find(kt.tag);
    if (it == row.attrs.end()) continue;
    const std::string& v = it->second;
    size_t n = 0;
    if (kt.tag == FourCC("ptcl")) {
      const CodeName* t = ProtocolTable(&n);
      uint32_t code = 0;
      memcpy(&code, v.data(), v.size() == 4 ? 4 : 0);
      CFStringRef name = NameFor(t, n, code);
      if (name) CFDictionarySetValue(d, *kt.key, name);
      continue;
    }
    if (kt.tag == FourCC("atyp")) {
      const CodeName* t = AuthTable(&n);
      CFStringRef name = NameFor(t, n, FromBigEndianBytes(v));
      if (name) CFDictionarySetValue(d, *kt.key, name);
      continue;
    }
    // Internet items report only non-empty values; the port is always there.
    if (inet && v.empty()) continue;
    switch (desc->kind) {
      case AttrKind::Date: {
        double posix = 0;
        if (ParseDate(v, &posix))
          SetOwned(d, *kt.key, CFDateCreate(kCFAllocatorDefault, posix - kCFAbsoluteTimeIntervalSince1970));
        break;
      }
      case AttrKind::UInt32:
      case AttrKind::SInt32: {
        int64_t num = 0;
        DecodeInteger(v.data(), uint32_t(v.size()), desc->kind, &num);
        if (kt.tag == FourCC("invi") || kt.tag == FourCC("nega")) {
          CFDictionarySetValue(d, *kt.key, num ? kCFBooleanTrue : kCFBooleanFalse);
        } else {
          SInt32 s = SInt32(uint32_t(num));
          SetOwned(d, *kt.key, CFNumberCreate(kCFAllocatorDefault, kCFNumberSInt32Type, &s));
        }
        break;
      }
      case AttrKind::Blob:
        if (kt.tag == FourCC("gena"))
          SetOwned(d, *kt.key, CFDataCreate(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(v.data()),
                                            CFIndex(v.size())));
        else
          SetOwned(d, *kt.key, NewString(v));
        break;
    }
  }
  return d;
}

}  // namespace secimpl

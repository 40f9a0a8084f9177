// CFURL: a URL string with an optional base URL. File URLs are made from
// POSIX paths by percent-escaping their UTF-8 bytes, and give paths back by
// unescaping them.
#include <unistd.h>

#include <climits>
#include <cstring>
#include <string>

#include "string_encoding.h"
#include "cf_internal.h"
#include "url_parts.h"

using namespace cf;

struct URLImpl {
  CFStringRef string = nullptr;
  CFURLRef base = nullptr;
  std::string text;  // the string's ASCII text
  URLParts parts;
};

struct __CFURL {
  CFRuntimeBase base;
  URLImpl impl;
};

namespace {

const URLImpl& Impl(CFURLRef u) { return const_cast<__CFURL*>(u)->impl; }
bool IsURL(CFTypeRef u) { return IsA(u, kURLTypeID); }

void FinalizeURL(CFTypeRef cf) {
  URLImpl& impl = const_cast<__CFURL*>(static_cast<CFURLRef>(cf))->impl;
  CFRelease(impl.string);
  if (impl.base) CFRelease(impl.base);
  impl.~URLImpl();
}

Boolean EqualURLs(CFTypeRef a, CFTypeRef b) {
  const URLImpl& x = Impl(static_cast<CFURLRef>(a));
  const URLImpl& y = Impl(static_cast<CFURLRef>(b));
  if (x.text != y.text) return false;
  if (!x.base || !y.base) return x.base == y.base;
  return CFEqual(x.base, y.base);
}

CFHashCode HashURL(CFTypeRef cf) {
  const std::string& t = Impl(static_cast<CFURLRef>(cf)).text;
  return HashBytes(t.data(), t.size());
}

CFStringRef DescribeURL(CFTypeRef cf) {
  const URLImpl& impl = Impl(static_cast<CFURLRef>(cf));
  if (!impl.base) return CFStringCreateCopy(nullptr, impl.string);
  CFStringRef base = CFCopyDescription(impl.base);
  std::string text = impl.text + " -- " + ToUTF8(base);
  CFRelease(base);
  return NewStringFromUTF8(text);
}

// Makes a URL from text already known to be legal.
CFURLRef NewURL(CFAllocatorRef allocator, const std::string& text, CFURLRef base) {
  __CFURL* u = NewInstance<__CFURL>(allocator, kURLTypeID);
  if (!u) return nullptr;
  u->impl.text = text;
  u->impl.string = NewStringFromUTF8(text);
  u->impl.parts = SplitURL(text);
  // A URL with a scheme is absolute; a base would never be consulted.
  if (base && !u->impl.parts.hasScheme) u->impl.base = static_cast<CFURLRef>(CFRetain(base));
  if (!u->impl.string) {
    CFRelease(u);
    return nullptr;
  }
  return u;
}

URLParts AbsoluteParts(CFURLRef url) {
  const URLImpl& impl = Impl(url);
  if (!impl.base) return impl.parts;
  return ResolveURL(impl.parts, AbsoluteParts(impl.base));
}

bool EqualsIgnoringCase(const std::string& a, const char* b) {
  return strcasecmp(a.c_str(), b) == 0;
}

bool IsFileURL(CFURLRef url) {
  URLParts p = AbsoluteParts(url);
  return p.hasScheme && EqualsIgnoringCase(p.scheme, "file");
}

std::string CurrentFolderURLText() {
  char buf[PATH_MAX];
  std::string cwd = getcwd(buf, sizeof buf) ? buf : "/";
  if (cwd.empty() || cwd.back() != '/') cwd += '/';
  return "file://" + PercentEscape(cwd, kPathSafe);
}

CFURLRef FileURLFromBytes(CFAllocatorRef allocator, const std::string& path, bool isDirectory, CFURLRef base) {
  if (path.empty()) return nullptr;
  std::string escaped = PercentEscape(path, kPathSafe);
  if (isDirectory && escaped.back() != '/') escaped += '/';
  if (path[0] == '/') return NewURL(allocator, "file://" + escaped, nullptr);
  if (base) return NewURL(allocator, escaped, base);
  CFURLRef cwd = NewURL(allocator, CurrentFolderURLText(), nullptr);
  if (!cwd) return nullptr;
  CFURLRef url = NewURL(allocator, escaped, cwd);
  CFRelease(cwd);
  return url;
}

// The decoded path bytes, without a trailing slash except for the root.
bool DecodedPath(const std::string& escapedPath, std::string* out) {
  if (!PercentUnescape(escapedPath, "", out)) return false;
  while (out->size() > 1 && out->back() == '/') out->pop_back();
  return true;
}

CFStringRef StringFromPathBytes(const std::string& bytes) {
  CFStringRef s = NewStringFromUTF8(bytes);
  if (!s) {
    s = CFStringCreateWithBytes(nullptr, reinterpret_cast<const UInt8*>(bytes.data()),
                                static_cast<CFIndex>(bytes.size()), kCFStringEncodingMacRoman, false);
  }
  return s;
}

CFURLRef WithPath(CFAllocatorRef allocator, CFURLRef url, const std::string& path) {
  URLParts p = Impl(url).parts;
  p.path = path;
  return NewURL(allocator, JoinURL(p), Impl(url).base);
}

// The last path segment (escaped) and where it starts; a trailing slash is not part of it.
std::string LastSegment(const std::string& path, size_t* start = nullptr) {
  std::string trimmed = path;
  while (trimmed.size() > 1 && trimmed.back() == '/') trimmed.pop_back();
  if (trimmed == "/") {
    if (start) *start = 0;
    return "/";
  }
  size_t slash = trimmed.rfind('/');
  size_t s = slash == std::string::npos ? 0 : slash + 1;
  if (start) *start = s;
  return trimmed.substr(s);
}

CFStringRef CopyDecoded(const std::string& text, CFStringRef leaveEscaped) {
  if (!leaveEscaped) return NewStringFromUTF8(text);
  std::string out;
  if (!PercentUnescape(text, ToUTF8(leaveEscaped), &out)) return nullptr;
  return NewStringFromUTF8(out);
}

}  // namespace

const CFRuntimeClass cf::kURLClass = {0, "CFURL", nullptr, nullptr, FinalizeURL, EqualURLs, HashURL,
                                      nullptr, DescribeURL};

CFTypeID CFURLGetTypeID(void) { return kURLTypeID; }

// ---- creating --------------------------------------------------------------

CFURLRef CFURLCreateWithString(CFAllocatorRef allocator, CFStringRef URLString, CFURLRef baseURL) {
  if (!IsA(URLString, kStringTypeID) || (baseURL && !IsURL(baseURL))) return nullptr;
  std::string text = ToUTF8(URLString);
  if (!IsLegalURLText(text)) return nullptr;
  return NewURL(allocator, text, baseURL);
}

CFURLRef CFURLCreateWithBytes(CFAllocatorRef allocator, const UInt8* URLBytes, CFIndex length,
                              CFStringEncoding encoding, CFURLRef baseURL) {
  CFStringRef s = CFStringCreateWithBytes(allocator, URLBytes, length, encoding, false);
  if (!s) return nullptr;
  CFURLRef url = CFURLCreateWithString(allocator, s, baseURL);
  CFRelease(s);
  return url;
}

CFURLRef CFURLCreateAbsoluteURLWithBytes(CFAllocatorRef alloc, const UInt8* relativeURLBytes, CFIndex length,
                                         CFStringEncoding encoding, CFURLRef baseURL, Boolean) {
  CFURLRef url = CFURLCreateWithBytes(alloc, relativeURLBytes, length, encoding, baseURL);
  if (!url) return nullptr;
  CFURLRef absolute = CFURLCopyAbsoluteURL(url);
  CFRelease(url);
  return absolute;
}

CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator, CFStringRef filePath, CFURLPathStyle pathStyle,
                                       Boolean isDirectory) {
  return CFURLCreateWithFileSystemPathRelativeToBase(allocator, filePath, pathStyle, isDirectory, nullptr);
}

CFURLRef CFURLCreateWithFileSystemPathRelativeToBase(CFAllocatorRef allocator, CFStringRef filePath,
                                                     CFURLPathStyle pathStyle, Boolean isDirectory, CFURLRef baseURL) {
  if (pathStyle != kCFURLPOSIXPathStyle || !IsA(filePath, kStringTypeID) || (baseURL && !IsURL(baseURL))) return nullptr;
  return FileURLFromBytes(allocator, ToUTF8(filePath), isDirectory, baseURL);
}

CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef allocator, const UInt8* buffer, CFIndex bufLen,
                                                 Boolean isDirectory) {
  if (!buffer || bufLen <= 0) return nullptr;
  std::string path(reinterpret_cast<const char*>(buffer), static_cast<size_t>(bufLen));
  size_t nul = path.find('\0');
  if (nul != std::string::npos) path.resize(nul);
  return FileURLFromBytes(allocator, path, isDirectory, nullptr);
}

CFURLRef CFURLCopyAbsoluteURL(CFURLRef relativeURL) {
  if (!IsURL(relativeURL)) return nullptr;
  if (!Impl(relativeURL).base) return static_cast<CFURLRef>(CFRetain(relativeURL));
  return NewURL(CFGetAllocator(relativeURL), JoinURL(AbsoluteParts(relativeURL)), nullptr);
}

CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef allocator, CFURLRef url, CFStringRef pathComponent,
                                               Boolean isDirectory) {
  if (!IsURL(url) || !IsA(pathComponent, kStringTypeID)) return nullptr;
  std::string path = Impl(url).parts.path;
  std::string piece = PercentEscape(ToUTF8(pathComponent), kPathSafe);
  if (path.empty() ? Impl(url).parts.hasAuthority : path.back() != '/') path += '/';
  path += piece;
  if (isDirectory && (piece.empty() || piece.back() != '/')) path += '/';
  return WithPath(allocator, url, path);
}

CFURLRef CFURLCreateCopyDeletingLastPathComponent(CFAllocatorRef allocator, CFURLRef url) {
  if (!IsURL(url)) return nullptr;
  const std::string& path = Impl(url).parts.path;
  std::string trimmed = path;
  while (trimmed.size() > 1 && trimmed.back() == '/') trimmed.pop_back();
  std::string parent;
  if (trimmed == "/") {
    parent = "/../";
  } else if (trimmed.empty() || trimmed == "." || trimmed == "..") {
    parent = trimmed.empty() ? "../" : trimmed + "/../";
  } else {
    size_t slash = trimmed.rfind('/');
    parent = slash == std::string::npos ? "./" : trimmed.substr(0, slash + 1);
  }
  return WithPath(allocator, url, parent);
}

CFURLRef CFURLCreateCopyAppendingPathExtension(CFAllocatorRef allocator, CFURLRef url, CFStringRef extension) {
  if (!IsURL(url) || !IsA(extension, kStringTypeID)) return nullptr;
  std::string path = Impl(url).parts.path;
  bool directory = path.size() > 1 && path.back() == '/';
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  if (path.empty() || path == "/") return nullptr;
  path += "." + PercentEscape(ToUTF8(extension), kPathSafe);
  if (directory) path += '/';
  return WithPath(allocator, url, path);
}

CFURLRef CFURLCreateCopyDeletingPathExtension(CFAllocatorRef allocator, CFURLRef url) {
  if (!IsURL(url)) return nullptr;
  std::string path = Impl(url).parts.path;
  bool directory = path.size() > 1 && path.back() == '/';
  while (path.size() > 1 && path.back() == '/') path.pop_back();
  size_t start;
  std::string last = LastSegment(path, &start);
  size_t dot = last.rfind('.');
  if (dot != std::string::npos && dot > 0) path.erase(start + dot);
  if (directory) path += '/';
  return WithPath(allocator, url, path);
}

// ---- reading ---------------------------------------------------------------

CFStringRef CFURLGetString(CFURLRef anURL) { return IsURL(anURL) ? Impl(anURL).string : nullptr; }

CFURLRef CFURLGetBaseURL(CFURLRef anURL) { return IsURL(anURL) ? Impl(anURL).base : nullptr; }

Boolean CFURLCanBeDecomposed(CFURLRef anURL) {
  if (!IsURL(anURL)) return false;
  const URLParts& p = Impl(anURL).parts;
  return !p.hasScheme || p.hasAuthority || (!p.path.empty() && p.path[0] == '/');
}

CFStringRef CFURLCopyScheme(CFURLRef anURL) {
  if (!IsURL(anURL)) return nullptr;
  URLParts p = AbsoluteParts(anURL);
  return p.hasScheme ? NewStringFromUTF8(p.scheme) : nullptr;
}

CFStringRef CFURLCopyNetLocation(CFURLRef anURL) {
  if (!IsURL(anURL)) return nullptr;
  URLParts p = AbsoluteParts(anURL);
  return p.hasAuthority && !p.authority.empty() ? NewStringFromUTF8(p.authority) : nullptr;
}

namespace {
struct Authority {
  std::string user, password, host;
  bool hasUser = false, hasPassword = false;
  SInt32 port = -1;
};

Authority SplitAuthority(const std::string& a) {
  Authority out;
  std::string rest = a;
  size_t at = rest.rfind('@');
  if (at != std::string::npos) {
    std::string info = rest.substr(0, at);
    rest = rest.substr(at + 1);
    size_t colon = info.find(':');
    out.hasUser = true;
    out.user = info.substr(0, colon);
    if (colon != std::string::npos) {
      out.hasPassword = true;
      out.password = info.substr(colon + 1);
    }
  }
  size_t portColon = rest.rfind(':');
  size_t bracket = rest.rfind(']');
  if (portColon != std::string::npos && (bracket == std::string::npos || portColon > bracket)) {
    std::string port = rest.substr(portColon + 1);
    rest = rest.substr(0, portColon);
    if (!port.empty() && port.size() < 8 && port.find_first_not_of("0123456789") == std::string::npos)
      out.port = static_cast<SInt32>(std::stol(port));
  }
  if (rest.size() >= 2 && rest.front() == '[' && rest.back() == ']') rest = rest.substr(1, rest.size() - 2);
  out.host = rest;
  return out;
}

CFStringRef Unescaped(const std::string& text) {
  std::string out;
  return PercentUnescape(text, "", &out) ? NewStringFromUTF8(out) : nullptr;
}
}  // namespace

CFStringRef CFURLCopyHostName(CFURLRef anURL) {
  if (!IsURL(anURL)) return nullptr;
  URLParts p = AbsoluteParts(anURL);
  if (!p.hasAuthority || p.authority.empty()) return nullptr;
  return Unescaped(SplitAuthority(p.authority).host);
}

SInt32 CFURLGetPortNumber(CFURLRef anURL) {
  if (!IsURL(anURL)) return -1;
  URLParts p = AbsoluteParts(anURL);
  return p.hasAuthority ? SplitAuthority(p.authority).port : -1;
}

CFStringRef CFURLCopyUserName(CFURLRef anURL) {
  if (!IsURL(anURL)) return nullptr;
  URLParts p = AbsoluteParts(anURL);
  Authority a = SplitAuthority(p.authority);
  return p.hasAuthority && a.hasUser ? Unescaped(a.user) : nullptr;
}

CFStringRef CFURLCopyPassword(CFURLRef anURL) {
  if (!IsURL(anURL)) return nullptr;
  URLParts p = AbsoluteParts(anURL);
  Authority a = SplitAuthority(p.authority);
  return p.hasAuthority && a.hasPassword ? Unescaped(a.password) : nullptr;
}

CFStringRef CFURLCopyPath(CFURLRef anURL) {
  return IsURL(anURL) ? NewStringFromUTF8(Impl(anURL).parts.path) : nullptr;
}

CFStringRef CFURLCopyStrictPath(CFURLRef anURL, Boolean* isAbsolute) {
  if (!IsURL(anURL)) return nullptr;
  std::string path = Impl(anURL).parts.path;
  bool absolute = !path.empty() && path[0] == '/';
  if (isAbsolute) *isAbsolute = absolute;
  if (absolute) path.erase(0, 1);
  return path.empty() ? nullptr : NewStringFromUTF8(path);
}

CFStringRef CFURLCopyFileSystemPath(CFURLRef anURL, CFURLPathStyle pathStyle) {
  if (!IsURL(anURL) || pathStyle != kCFURLPOSIXPathStyle) return nullptr;
  std::string bytes;
  if (!DecodedPath(Impl(anURL).parts.path, &bytes)) return nullptr;
  return StringFromPathBytes(bytes);
}

Boolean CFURLHasDirectoryPath(CFURLRef anURL) {
  if (!IsURL(anURL)) return false;
  const std::string& path = Impl(anURL).parts.path;
  if (path.empty()) return Impl(anURL).base ? CFURLHasDirectoryPath(Impl(anURL).base) : false;
  return path.back() == '/';
}

CFStringRef CFURLCopyResourceSpecifier(CFURLRef anURL) {
  if (!IsURL(anURL)) return nullptr;
  const URLParts& p = Impl(anURL).parts;
  if (!CFURLCanBeDecomposed(anURL)) {
    // Everything after "scheme:".
    return NewStringFromUTF8(Impl(anURL).text.substr(p.scheme.size() + 1));
  }
  std::string out;
  if (p.hasQuery) out += "?" + p.query;
  if (p.hasFragment) out += "#" + p.fragment;
  return out.empty() ? nullptr : NewStringFromUTF8(out);
}

CFStringRef CFURLCopyQueryString(CFURLRef anURL, CFStringRef charactersToLeaveEscaped) {
  if (!IsURL(anURL) || !Impl(anURL).parts.hasQuery) return nullptr;
  return CopyDecoded(Impl(anURL).parts.query, charactersToLeaveEscaped);
}

CFStringRef CFURLCopyFragment(CFURLRef anURL, CFStringRef charactersToLeaveEscaped) {
  if (!IsURL(anURL) || !Impl(anURL).parts.hasFragment) return nullptr;
  return CopyDecoded(Impl(anURL).parts.fragment, charactersToLeaveEscaped);
}

CFStringRef CFURLCopyLastPathComponent(CFURLRef url) {
  if (!IsURL(url)) return nullptr;
  std::string bytes;
  if (!PercentUnescape(LastSegment(Impl(url).parts.path), "", &bytes)) return nullptr;
  return StringFromPathBytes(bytes);
}

CFStringRef CFURLCopyPathExtension(CFURLRef url) {
  if (!IsURL(url)) return nullptr;
  std::string last = LastSegment(Impl(url).parts.path);
  size_t dot = last.rfind('.');
  if (dot == std::string::npos || dot == 0 || dot + 1 == last.size()) return nullptr;
  std::string bytes;
  if (!PercentUnescape(last.substr(dot + 1), "", &bytes)) return nullptr;
  return StringFromPathBytes(bytes);
}

Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase, UInt8* buffer, CFIndex maxBufLen) {
  if (!IsURL(url) || !buffer || maxBufLen <= 0) return false;
  URLParts p = resolveAgainstBase ? AbsoluteParts(url) : Impl(url).parts;
  bool file = p.hasScheme ? EqualsIgnoringCase(p.scheme, "file") : IsFileURL(url);
  if (!file) return false;
  std::string bytes;
  if (!DecodedPath(p.path, &bytes) || bytes.empty()) return false;
  if (bytes.find('\0') != std::string::npos || static_cast<CFIndex>(bytes.size()) >= maxBufLen) return false;
  memcpy(buffer, bytes.c_str(), bytes.size() + 1);
  return true;
}

CFIndex CFURLGetBytes(CFURLRef url, UInt8* buffer, CFIndex bufferLength) {
  if (!IsURL(url)) return -1;
  const std::string& t = Impl(url).text;
  CFIndex n = static_cast<CFIndex>(t.size());
  if (!buffer) return n;
  if (bufferLength < n) return -1;
  memcpy(buffer, t.data(), t.size());
  return n;
}

// ---- percent escapes -------------------------------------------------------

CFStringRef CFURLCreateStringByReplacingPercentEscapes(CFAllocatorRef allocator, CFStringRef originalString,
                                                       CFStringRef charactersToLeaveEscaped) {
  return CFURLCreateStringByReplacingPercentEscapesUsingEncoding(allocator, originalString, charactersToLeaveEscaped,
                                                                 kCFStringEncodingUTF8);
}

CFStringRef CFURLCreateStringByReplacingPercentEscapesUsingEncoding(CFAllocatorRef allocator, CFStringRef origString,
                                                                    CFStringRef charsToLeaveEscaped,
                                                                    CFStringEncoding encoding) {
  if (!IsA(origString, kStringTypeID)) return nullptr;
  if (!charsToLeaveEscaped) return CFStringCreateCopy(allocator, origString);
  std::string bytes;
  if (!PercentUnescape(ToUTF8(origString), ToUTF8(charsToLeaveEscaped), &bytes)) return nullptr;
  return CFStringCreateWithBytes(allocator, reinterpret_cast<const UInt8*>(bytes.data()),
                                 static_cast<CFIndex>(bytes.size()), encoding, false);
}

CFStringRef CFURLCreateStringByAddingPercentEscapes(CFAllocatorRef allocator, CFStringRef originalString,
                                                    CFStringRef charactersToLeaveUnescaped,
                                                    CFStringRef legalURLCharactersToBeEscaped, CFStringEncoding encoding) {
  if (!IsA(originalString, kStringTypeID)) return nullptr;
  std::string keep = "-._~:/?#[]@!$&'()*+,;=";
  if (legalURLCharactersToBeEscaped) {
    for (char c : ToUTF8(legalURLCharactersToBeEscaped)) {
      size_t at = keep.find(c);
      if (at != std::string::npos) keep.erase(at, 1);
    }
  }
  if (charactersToLeaveUnescaped) keep += ToUTF8(charactersToLeaveUnescaped);
  const std::u16string& chars = Chars(originalString);
  CFIndex n = static_cast<CFIndex>(chars.size());
  CFIndex used = 0;
  if (EncodeText(chars, 0, n, encoding, 0, false, nullptr, 0, &used) != n) return nullptr;
  std::string bytes(static_cast<size_t>(used), '\0');
  if (used > 0) EncodeText(chars, 0, n, encoding, 0, false, reinterpret_cast<UInt8*>(&bytes[0]), used, &used);
  // Characters outside ASCII are always escaped, whatever `keep` holds.
  std::string asciiKeep;
  for (char c : keep)
    if (static_cast<unsigned char>(c) < 0x80) asciiKeep += c;
  CFStringRef s = NewStringFromUTF8(PercentEscape(bytes, asciiKeep.c_str()));
  (void)allocator;
  return s;
}

// URL text handling, independent of the CFURL object.
#include "url_parts.h"

#include <cctype>
#include <cstring>

namespace cf {

const char kPathSafe[] = "-._~!$&'()*+,=:@/";

namespace {

bool IsSchemeChar(char c, bool first) {
  if (isalpha(static_cast<unsigned char>(c))) return true;
  return !first && (isdigit(static_cast<unsigned char>(c)) || c == '+' || c == '-' || c == '.');
}

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

URLParts SplitURL(const std::string& text) {
  URLParts p;
  size_t i = 0;
  size_t colon = text.find(':');
  if (colon != std::string::npos && colon > 0) {
    bool ok = true;
    for (size_t k = 0; k < colon && ok; ++k) ok = IsSchemeChar(text[k], k == 0);
    if (ok) {
      p.hasScheme = true;
      p.scheme = text.substr(0, colon);
      i = colon + 1;
    }
  }
  if (text.compare(i, 2, "//") == 0) {
    size_t end = text.find_first_of("/?#", i + 2);
    if (end == std::string::npos) end = text.size();
    p.hasAuthority = true;
    p.authority = text.substr(i + 2, end - i - 2);
    i = end;
  }
  size_t end = text.find_first_of("?#", i);
  if (end == std::string::npos) end = text.size();
  p.path = text.substr(i, end - i);
  i = end;
  if (i < text.size() && text[i] == '?') {
    end = text.find('#', i);
    if (end == std::string::npos) end = text.size();
    p.hasQuery = true;
    p.query = text.substr(i + 1, end - i - 1);
    i = end;
  }
  if (i < text.size() && text[i] == '#') {
    p.hasFragment = true;
    p.fragment = text.substr(i + 1);
  }
  return p;
}

std::string JoinURL(const URLParts& p) {
  std::string out;
  if (p.hasScheme) out += p.scheme + ":";
  if (p.hasAuthority) out += "//" + p.authority;
  out += p.path;
  if (p.hasQuery) out += "?" + p.query;
  if (p.hasFragment) out += "#" + p.fragment;
  return out;
}

std::string RemoveDotSegments(const std::string& path) {
  std::string in = path, out;
  while (!in.empty()) {
    if (in.compare(0, 3, "../") == 0) in.erase(0, 3);
    else if (in.compare(0, 2, "./") == 0) in.erase(0, 2);
    else if (in.compare(0, 3, "/./") == 0) in.erase(0, 2);
    else if (in == "/.") in = "/";
    else if (in.compare(0, 4, "/../") == 0 || in == "/..") {
      in = in == "/.." ? "/" : in.substr(3);
      size_t cut = out.rfind('/');
      out.erase(cut == std::string::npos ? 0 : cut);
    } else if (in == "." || in == "..") in.clear();
    else {
      size_t next = in.find('/', in[0] == '/' ? 1 : 0);
      if (next == std::string::npos) next = in.size();
      out += in.substr(0, next);
      in.erase(0, next);
    }
  }
  return out;
}

URLParts ResolveURL(const URLParts& r, const URLParts& b) {
  URLParts t;
  if (r.hasScheme) {
    t = r;
    t.path = RemoveDotSegments(r.path);
    return t;
  }
  if (r.hasAuthority) {
    t.hasAuthority = true;
    t.authority = r.authority;
    t.path = RemoveDotSegments(r.path);
    t.hasQuery = r.hasQuery;
    t.query = r.query;
  } else {
    if (r.path.empty()) {
      t.path = b.path;
      t.hasQuery = r.hasQuery || b.hasQuery;
      t.query = r.hasQuery ? r.query : b.query;
    } else {
      if (r.path[0] == '/') {
        t.path = RemoveDotSegments(r.path);
      } else {
        std::string merged;
        if (b.hasAuthority && b.path.empty()) {
          merged = "/" + r.path;
        } else {
          size_t slash = b.path.rfind('/');
          merged = (slash == std::string::npos ? std::string() : b.path.substr(0, slash + 1)) + r.path;
        }
        t.path = RemoveDotSegments(merged);
      }
      t.hasQuery = r.hasQuery;
      t.query = r.query;
    }
    t.hasAuthority = b.hasAuthority;
    t.authority = b.authority;
  }
  t.hasScheme = b.hasScheme;
  t.scheme = b.scheme;
  t.hasFragment = r.hasFragment;
  t.fragment = r.fragment;
  return t;
}

bool IsLegalURLText(const std::string& text) {
  for (size_t i = 0; i < text.size(); ++i) {
    unsigned char c = static_cast<unsigned char>(text[i]);
    if (c <= 0x20 || c >= 0x7F || strchr("\"<>\\^`{|}", c)) return false;
    if (c == '%') {
      if (i + 2 >= text.size() || HexValue(text[i + 1]) < 0 || HexValue(text[i + 2]) < 0) return false;
    }
  }
  return true;
}

std::string PercentEscape(const std::string& bytes, const char* keep) {
  static const char hex[] = "0123456789ABCDEF";
  std::string out;
  for (unsigned char c : bytes) {
    if (isalnum(c) && c < 0x80) {
      out += static_cast<char>(c);
    } else if (c != 0 && strchr(keep, c)) {
      out += static_cast<char>(c);
    } else {
      out += '%';
      out += hex[c >> 4];
      out += hex[c & 15];
    }
  }
  return out;
}

bool PercentUnescape(const std::string& text, const std::string& leaveEscaped, std::string* out) {
  out->clear();
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '%') {
      *out += text[i];
      continue;
    }
    if (i + 2 >= text.size() || HexValue(text[i + 1]) < 0 || HexValue(text[i + 2]) < 0) return false;
    char byte = static_cast<char>(HexValue(text[i + 1]) * 16 + HexValue(text[i + 2]));
    if (byte != 0 && leaveEscaped.find(byte) != std::string::npos) *out += text.substr(i, 3);
    else *out += byte;
    i += 2;
  }
  return true;
}

}  // namespace cf

// Splitting URL text into its parts, putting it back together, resolving a
// relative reference against a base, and percent escapes.
#pragma once

#include <string>

namespace cf {

struct URLParts {
  bool hasScheme = false;
  std::string scheme;
  bool hasAuthority = false;
  std::string authority;
  std::string path;
  bool hasQuery = false;
  std::string query;
  bool hasFragment = false;
  std::string fragment;
};

URLParts SplitURL(const std::string& text);
std::string JoinURL(const URLParts& parts);
// RFC 3986 resolution; `base` must be absolute.
URLParts ResolveURL(const URLParts& relative, const URLParts& base);
std::string RemoveDotSegments(const std::string& path);

// True when text is made only of characters allowed in URLs, with every
// '%' starting a two-digit hexadecimal escape.
bool IsLegalURLText(const std::string& text);

// Escapes every byte outside A-Z a-z 0-9 and `keep` as %XX (upper-case hex).
std::string PercentEscape(const std::string& bytes, const char* keep);
// Replaces %XX escapes by their bytes, except those that decode to a byte in
// `leaveEscaped`; false when an escape is malformed.
bool PercentUnescape(const std::string& text, const std::string& leaveEscaped, std::string* out);

// Characters left unescaped in the path of a file URL.
extern const char kPathSafe[];

}  // namespace cf

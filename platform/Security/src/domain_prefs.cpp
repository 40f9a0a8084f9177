// Reading and atomically replacing a domain's preference file. The format is
// one entry per line, "default <path>" or "search <path>", with '%' and
// newlines escaped as %25 and %0A.
#include "domain_prefs.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>

#include "environment.h"

namespace secimpl {

namespace {

std::string PrefsPath(int domain) {
  std::string dir = DomainDir(domain);
  return dir.empty() ? dir : dir + "/keychain-preferences";
}

std::string Escape(const std::string& s) {
  std::string out;
  for (char c : s) {
    if (c == '%') out += "%25";
    else if (c == '\n') out += "%0A";
    else out += c;
  }
  return out;
}

std::string Unescape(const std::string& s) {
  std::string out;
  for (size_t i = 0; i < s.size(); ++i) {
    if (s.compare(i, 3, "%25") == 0) {
      out += '%';
      i += 2;
    } else if (s.compare(i, 3, "%0A") == 0) {
      out += '\n';
      i += 2;
    } else {
      out += s[i];
    }
  }
  return out;
}

}  // namespace

DomainPrefs ReadDomainPrefs(int domain) {
  DomainPrefs p;
  std::string path = PrefsPath(domain);
  if (path.empty()) return p;
  std::ifstream in(path);
  std::string line;
  while (std::getline(in, line)) {
    if (line.compare(0, 8, "default ") == 0)
      p.defaultKeychain = Unescape(line.substr(8));
    else if (line.compare(0, 7, "search ") == 0)
      p.searchList.push_back(Unescape(line.substr(7)));
  }
  return p;
}

bool WriteDomainPrefs(int domain, const DomainPrefs& p) {
  std::string path = PrefsPath(domain);
  if (path.empty()) return false;
  if (p.defaultKeychain.empty() && p.searchList.empty()) {
    unlink(path.c_str());
    return true;
  }
  if (!MakeDirs(ParentDir(path))) return false;
  std::ostringstream text;
  if (!p.defaultKeychain.empty()) text << "default " << Escape(p.defaultKeychain) << "\n";
  for (const std::string& k : p.searchList) text << "search " << Escape(k) << "\n";
  std::string body = text.str();
  std::string tmp = path + ".tmp." + std::to_string(getpid());
  int fd = open(tmp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  if (fd < 0) return false;
  bool ok = write(fd, body.data(), body.size()) == ssize_t(body.size()) && fsync(fd) == 0;
  ok = close(fd) == 0 && ok;
  if (!ok || rename(tmp.c_str(), path.c_str()) != 0) {
    unlink(tmp.c_str());
    return false;
  }
  return true;
}

}  // namespace secimpl

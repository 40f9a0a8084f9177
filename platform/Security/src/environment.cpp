// Keychain folders from KEYCHAIN_HOME, XDG_DATA_HOME, HOME,
// KEYCHAIN_SYSTEM_HOME and KEYCHAIN_COMMON_HOME.
#include "environment.h"

#include <pwd.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <vector>

#include "session.h"

namespace secimpl {

namespace {

std::string Env(const char* name) {
  const char* v = std::getenv(name);
  return v && *v ? std::string(v) : std::string();
}

std::string HomeDir() {
  std::string home = Env("HOME");
  if (!home.empty()) return home;
  struct passwd pw, *res = nullptr;
  std::vector<char> buf(16384);
  if (getpwuid_r(getuid(), &pw, buf.data(), buf.size(), &res) == 0 && res && res->pw_dir)
    return res->pw_dir;
  return "/";
}

}  // namespace

std::string DomainDir(int domain) {
  switch (domain) {
    case 0: {
      std::string d = Env("KEYCHAIN_HOME");
      if (!d.empty()) return d;
      std::string data = Env("XDG_DATA_HOME");
      if (data.empty()) data = HomeDir() + "/.local/share";
      return data + "/keychains";
    }
    case 1: {
      std::string d = Env("KEYCHAIN_SYSTEM_HOME");
      return d.empty() ? std::string("/var/lib/keychains/system") : d;
    }
    case 2: {
      std::string d = Env("KEYCHAIN_COMMON_HOME");
      return d.empty() ? std::string("/var/lib/keychains/common") : d;
    }
    default: return std::string();
  }
}

std::string ResolveKeychainPath(const char* name) {
  std::string n = name ? name : "";
  if (!n.empty() && n[0] == '/') return n;
  int domain = CurrentPreferenceDomain();
  std::string dir = DomainDir(domain == 3 ? 0 : domain);
  return dir + "/" + n;
}

std::string ParentDir(const std::string& path) {
  size_t slash = path.find_last_of('/');
  if (slash == std::string::npos) return ".";
  if (slash == 0) return "/";
  return path.substr(0, slash);
}

int BusyTimeoutMs(int fallback) {
  const std::string v = Env("KEYCHAIN_BUSY_TIMEOUT_MS");
  char* end = nullptr;
  const long ms = v.empty() ? 0 : std::strtol(v.c_str(), &end, 10);
  return ms > 0 && ms <= 3600000 && end && *end == '\0' ? int(ms) : fallback;
}

bool MakeDirs(const std::string& dir) {
  if (dir.empty()) return false;
  struct stat st;
  if (stat(dir.c_str(), &st) == 0) return S_ISDIR(st.st_mode);
  std::string parent = ParentDir(dir);
  if (parent != dir && !MakeDirs(parent)) return false;
  return mkdir(dir.c_str(), 0700) == 0 || errno == EEXIST;
}

}  // namespace secimpl

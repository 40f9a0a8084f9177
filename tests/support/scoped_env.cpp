// Environment changes that last for one test.
#include "support/scoped_env.h"

#include <sys/stat.h>

#include <cstdlib>

namespace kc_test {

ScopedEnv::~ScopedEnv() {
  for (auto it = saved_.rbegin(); it != saved_.rend(); ++it) {
    if (it->had)
      setenv(it->name.c_str(), it->value.c_str(), 1);
    else
      unsetenv(it->name.c_str());
  }
}

void ScopedEnv::Set(const char* name, const char* value) {
  const char* old = std::getenv(name);
  saved_.push_back({name, old != nullptr, old ? old : ""});
  if (value)
    setenv(name, value, 1);
  else
    unsetenv(name);
}

IsolatedKeychainHome::IsolatedKeychainHome() {
  const std::string& r = dir_.path();
  env_.Set("HOME", r.c_str());
  env_.Set("XDG_DATA_HOME", (r + "/data").c_str());
  env_.Set("KEYCHAIN_HOME", (r + "/user").c_str());
  env_.Set("KEYCHAIN_SYSTEM_HOME", (r + "/system").c_str());
  env_.Set("KEYCHAIN_COMMON_HOME", (r + "/common").c_str());
  env_.Set("KEYCHAIN_ASKPASS", nullptr);
}

}  // namespace kc_test

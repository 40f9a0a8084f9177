// Environment changes that last for one test.
#include "support/scoped_env.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>

namespace kc_test {

namespace {

// Password prompts open /dev/tty whatever standard input is. A session
// leader giving up its terminal would hang up its whole session, so only
// another process (as a test under CTest or a shell is) lets go of it.
void GiveUpControllingTerminal() {
  int fd = open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (fd < 0) return;  // there is none
  if (getsid(0) != getpid()) ioctl(fd, TIOCNOTTY);
  close(fd);
}

}  // namespace

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
  GiveUpControllingTerminal();
}

}  // namespace kc_test

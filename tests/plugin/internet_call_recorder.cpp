// The recording stand-ins for the two internet password calls; each passes
// its call on to the framework's own function.
#include "internet_call_recorder.h"

#include <Security/Security.h>
#include <dlfcn.h>

#include <cstdlib>

namespace kc_plugin_test {
namespace {

RecordedInternetCall last;

RecordedText Record(const char *text, UInt32 length) { return {text == nullptr, length}; }

void *Next(const char *name) {
  void *f = dlsym(RTLD_NEXT, name);
  if (f == nullptr) abort();  // the framework must be loaded after this program
  return f;
}

}  // namespace

const RecordedInternetCall &LastInternetCall() { return last; }
void ForgetInternetCalls() { last = RecordedInternetCall(); }

}  // namespace kc_plugin_test

using kc_plugin_test::Record;

extern "C" OSStatus SecKeychainAddInternetPassword(
    SecKeychainRef keychain, UInt32 serverNameLength, const char *serverName, UInt32 securityDomainLength,
    const char *securityDomain, UInt32 accountNameLength, const char *accountName, UInt32 pathLength,
    const char *path, UInt16 port, SecProtocolType protocol, SecAuthenticationType authenticationType,
    UInt32 passwordLength, const void *passwordData, SecKeychainItemRef *itemRef) {
  kc_plugin_test::last = {"add",
                          Record(serverName, serverNameLength),
                          Record(securityDomain, securityDomainLength),
                          Record(accountName, accountNameLength),
                          Record(path, pathLength),
                          port};
  using Fn = decltype(&SecKeychainAddInternetPassword);
  static Fn real = reinterpret_cast<Fn>(kc_plugin_test::Next("SecKeychainAddInternetPassword"));
  return real(keychain, serverNameLength, serverName, securityDomainLength, securityDomain,
              accountNameLength, accountName, pathLength, path, port, protocol, authenticationType,
              passwordLength, passwordData, itemRef);
}

extern "C" OSStatus SecKeychainFindInternetPassword(
    CFTypeRef keychainOrArray, UInt32 serverNameLength, const char *serverName, UInt32 securityDomainLength,
    const char *securityDomain, UInt32 accountNameLength, const char *accountName, UInt32 pathLength,
    const char *path, UInt16 port, SecProtocolType protocol, SecAuthenticationType authenticationType,
    UInt32 *passwordLength, void **passwordData, SecKeychainItemRef *itemRef) {
  kc_plugin_test::last = {"find",
                          Record(serverName, serverNameLength),
                          Record(securityDomain, securityDomainLength),
                          Record(accountName, accountNameLength),
                          Record(path, pathLength),
                          port};
  using Fn = decltype(&SecKeychainFindInternetPassword);
  static Fn real = reinterpret_cast<Fn>(kc_plugin_test::Next("SecKeychainFindInternetPassword"));
  return real(keychainOrArray, serverNameLength, serverName, securityDomainLength, securityDomain,
              accountNameLength, accountName, pathLength, path, port, protocol, authenticationType,
              passwordLength, passwordData, itemRef);
}

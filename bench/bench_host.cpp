// The benchmarks' host runtime.
#include "bench_host.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "bench_support.h"

namespace kc_bench {

plugin_host::Host &TheHost() {
  static plugin_host::Host *host = [] {
    Home();
    auto *h = new plugin_host::Host();
    std::string error;
    if (!h->Load(KC_PLUGIN_PATH, &error)) {
      fprintf(stderr, "cannot load the plug-in: %s\n", error.c_str());
      exit(2);
    }
    return h;
  }();
  return *host;
}

plugin_host::Value KeychainObject(SecKeychainRef keychain) {
  plugin_host::Host &host = TheHost();
  char path[1024];
  UInt32 length = sizeof path;
  SecKeychainGetPath(keychain, &length, path);
  return host.CallShared(kModule, host.DeclarationOf(kModule, "Open", {"string"}),
                         {host.String(std::string(path, length))})
      .value;
}

}  // namespace kc_bench

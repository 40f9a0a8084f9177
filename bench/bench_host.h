// The host program side of the whole-stack benchmarks: one host runtime with
// the plug-in loaded for the whole run, and keychains as KeychainZNQ objects.
#pragma once

#include <Security/Security.h>

#include "plugin_host/host.h"

namespace kc_bench {

constexpr const char *kModule = "KeychainManagerZNQ";

plugin_host::Host &TheHost();

// The keychain as a KeychainZNQ object of TheHost().
plugin_host::Value KeychainObject(SecKeychainRef keychain);

}  // namespace kc_bench

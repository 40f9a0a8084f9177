// What the benchmark programs share: a private keychain home under /tmp,
// keychains filled once per size, and the resident memory of the process.
#pragma once

#include <Security/Security.h>

#include <string>

namespace kc_bench {

// The private folder every benchmark works in (its own HOME, KEYCHAIN_HOME
// and domain folders), made on first use.
const std::string &Home();

std::string Account(long i);

// An unlocked keychain holding n generic passwords (service "service",
// accounts Account(0) ... Account(n - 1)), made and filled once per run. The
// keychain uses the cheapest key derivation: that changes unlocking only.
SecKeychainRef Populated(long n);

long ResidentKiB();

}  // namespace kc_bench

// What the keychain fuzz targets share: a private keychain home with the
// cheap key derivation, and one keychain made there once, holding a generic
// and an internet password.
#pragma once

#include <Security/Security.h>
#include <dlfcn.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>

#include "fuzz_input.h"

// Applies edits read from the input: (offset: 3 bytes, length: 1 byte,
// bytes), the offset taken modulo the size.
inline void ApplyEdits(FuzzInput& in, std::string* bytes) {
  while (!in.empty() && !bytes->empty()) {
    const size_t at = size_t(in.Number(3)) % bytes->size();
    const std::string patch = in.Bytes(in.Byte() % 32 + 1);
    bytes->replace(at, std::min(patch.size(), bytes->size() - at), patch);
  }
}

// Every key derivation costs the least libsodium allows, whatever a file
// asks for, so that parameters a mutated file claims cannot stall the run.
// The keychain library binds to this definition, exported by the program.
extern "C" int crypto_pwhash(unsigned char* out, unsigned long long outlen, const char* passwd,
                             unsigned long long passwdlen, const unsigned char* salt,
                             unsigned long long, size_t, int alg) {
  using Fn = int (*)(unsigned char*, unsigned long long, const char*, unsigned long long,
                     const unsigned char*, unsigned long long, size_t, int);
  static Fn real = reinterpret_cast<Fn>(dlsym(RTLD_NEXT, "crypto_pwhash"));
  return real(out, outlen, passwd, passwdlen, salt, 1, 8192, alg);
}

struct FuzzKeychain {
  std::string folder, path;
  std::string bytes;      // the file as made
  std::string reference;  // a persistent reference to its generic password
};

inline const FuzzKeychain& BaseKeychain() {
  static FuzzKeychain* base = [] {
    auto* k = new FuzzKeychain;
    char folder[] = "/tmp/kc-fuzz-XXXXXX";
    k->folder = mkdtemp(folder);
    for (const char* name : {"HOME", "XDG_DATA_HOME", "KEYCHAIN_HOME", "KEYCHAIN_SYSTEM_HOME",
                             "KEYCHAIN_COMMON_HOME"})
      setenv(name, k->folder.c_str(), 1);
    unsetenv("KEYCHAIN_ASKPASS");
    SecKeychainSetUserInteractionAllowed(false);
    k->path = k->folder + "/base.keychain";
    SecKeychainRef kc = nullptr;
    if (SecKeychainCreate(k->path.c_str(), 2, "pw", false, nullptr, &kc) != errSecSuccess) abort();
    SecKeychainItemRef item = nullptr;
    SecKeychainAddGenericPassword(kc, 3, "svc", 4, "acct", 6, "secret", &item);
    SecKeychainAddInternetPassword(kc, 4, "host", 3, "dom", 4, "acct", 5, "/path", 443,
                                   kSecProtocolTypeHTTPS, kSecAuthenticationTypeDefault, 2, "pw",
                                   nullptr);
    CFDataRef reference = nullptr;
    if (!item || SecKeychainItemCreatePersistentReference(item, &reference) != errSecSuccess) abort();
    k->reference.assign(reinterpret_cast<const char*>(CFDataGetBytePtr(reference)),
                        size_t(CFDataGetLength(reference)));
    CFRelease(reference);
    CFRelease(item);
    // The file is read once its store has closed.
    SecKeychainLock(kc);
    CFRelease(kc);
    std::ifstream in(k->path, std::ios::binary);
    k->bytes.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    return k;
  }();
  return *base;
}

// Key derivation, key wrapping and item sealing for keychain files.
// Keys live in sodium_malloc memory and are wiped when released.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace secimpl {

constexpr size_t kKeyBytes = 32;
constexpr size_t kSaltBytes = 16;

// A 256-bit key in guarded memory.
class SecretKey {
 public:
  SecretKey();
  ~SecretKey();
  SecretKey(const SecretKey&) = delete;
  SecretKey& operator=(const SecretKey&) = delete;

  bool ok() const { return bytes_ != nullptr; }
  unsigned char* data() { return bytes_; }
  const unsigned char* data() const { return bytes_; }
  void CopyFrom(const SecretKey& other);

 private:
  unsigned char* bytes_;
};

// Plaintext that is wiped when it goes out of scope.
class SecureBytes {
 public:
  SecureBytes() = default;
  explicit SecureBytes(size_t n) : v_(n) {}
  ~SecureBytes();
  SecureBytes(const SecureBytes&) = delete;
  SecureBytes& operator=(const SecureBytes&) = delete;

  void Resize(size_t n);
  unsigned char* data() { return v_.data(); }
  const unsigned char* data() const { return v_.data(); }
  size_t size() const { return v_.size(); }

 private:
  std::vector<unsigned char> v_;
};

// A per-thread key buffer for short uses, so that hot paths do not map fresh
// guarded pages on every call; the guard wipes it when the use ends. Uses
// must not nest.
class ScratchKey {
 public:
  ScratchKey();
  ~ScratchKey();
  ScratchKey(const ScratchKey&) = delete;
  ScratchKey& operator=(const ScratchKey&) = delete;
  SecretKey& get() { return key_; }

 private:
  SecretKey& key_;
};

struct KdfParams {
  uint64_t opslimit = 0;
  uint64_t memlimit = 0;
  std::string salt;  // kSaltBytes
};

// Parameters for a new keychain: interactive-grade Argon2id, or the cheapest
// allowed when KEYCHAIN_KDF_PROFILE=minimal (read at each call).
KdfParams NewKdfParams();
// Rejects parameters outside what libsodium accepts, so a tampered file cannot
// make us allocate absurd amounts of memory.
bool KdfParamsAcceptable(const KdfParams& p);

bool InitCrypto();
void RandomBytes(void* out, size_t n);
void GenerateKey(SecretKey* key);
bool DeriveKey(const void* password, size_t length, const KdfParams& params, SecretKey* out);

// Authenticated encryption with XChaCha20-Poly1305; the result is nonce || ciphertext.
std::string Seal(const SecretKey& key, const void* plain, size_t length, const std::string& ad);
bool Unseal(const SecretKey& key, const std::string& sealed, const std::string& ad, SecureBytes* out);
// Opens under oldAd and seals again under newAd; false when it does not open.
bool Reseal(const SecretKey& key, const std::string& sealed, const std::string& oldAd,
            const std::string& newAd, std::string* out);

// Keyed digest used to check that a keychain header is intact.
std::string Digest(const std::string& data);

}  // namespace secimpl

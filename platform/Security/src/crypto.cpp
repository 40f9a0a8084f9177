// Key derivation (Argon2id), key wrapping and item sealing (XChaCha20-Poly1305).
#include "crypto.h"

#include <sodium.h>

#include <cstdlib>
#include <cstring>

namespace secimpl {

SecretKey::SecretKey() : bytes_(nullptr) {
  if (!InitCrypto()) return;
  bytes_ = static_cast<unsigned char*>(sodium_malloc(kKeyBytes));
  if (bytes_) sodium_memzero(bytes_, kKeyBytes);
}

SecretKey::~SecretKey() {
  if (bytes_) sodium_free(bytes_);  // sodium_free wipes before unmapping
}

void SecretKey::CopyFrom(const SecretKey& other) {
  if (bytes_ && other.bytes_) memcpy(bytes_, other.bytes_, kKeyBytes);
}

namespace {
SecretKey& ThreadKey() {
  static thread_local SecretKey key;
  return key;
}
}  // namespace

ScratchKey::ScratchKey() : key_(ThreadKey()) {}

ScratchKey::~ScratchKey() {
  if (key_.ok()) sodium_memzero(key_.data(), kKeyBytes);
}

SecureBytes::~SecureBytes() {
  if (!v_.empty()) sodium_memzero(v_.data(), v_.size());
}

void SecureBytes::Resize(size_t n) {
  if (!v_.empty()) sodium_memzero(v_.data(), v_.size());
  std::vector<unsigned char>().swap(v_);
  v_.resize(n);
}

bool InitCrypto() {
  static const bool ready = sodium_init() >= 0;
  return ready;
}

KdfParams NewKdfParams() {
  InitCrypto();
  KdfParams p;
  const char* profile = std::getenv("KEYCHAIN_KDF_PROFILE");
  if (profile && strcmp(profile, "minimal") == 0) {
    // For test suites only: the cheapest cost libsodium accepts.
    p.opslimit = crypto_pwhash_OPSLIMIT_MIN;
    p.memlimit = crypto_pwhash_MEMLIMIT_MIN;
  } else {
    // Interactive grade: 2 passes over 64 MiB.
    p.opslimit = crypto_pwhash_OPSLIMIT_INTERACTIVE;
    p.memlimit = crypto_pwhash_MEMLIMIT_INTERACTIVE;
  }
  p.salt.resize(kSaltBytes);
  RandomBytes(&p.salt[0], kSaltBytes);
  return p;
}

bool KdfParamsAcceptable(const KdfParams& p) {
  return p.salt.size() == crypto_pwhash_SALTBYTES && p.opslimit >= crypto_pwhash_OPSLIMIT_MIN &&
         p.opslimit <= 64 && p.memlimit >= crypto_pwhash_MEMLIMIT_MIN &&
         p.memlimit <= (uint64_t{4} << 30);
}

void RandomBytes(void* out, size_t n) {
  InitCrypto();
  randombytes_buf(out, n);
}

void GenerateKey(SecretKey* key) {
  InitCrypto();
  crypto_aead_xchacha20poly1305_ietf_keygen(key->data());
}

bool DeriveKey(const void* password, size_t length, const KdfParams& params, SecretKey* out) {
  if (!InitCrypto() || !out->ok() || !KdfParamsAcceptable(params)) return false;
  static const char kEmpty[1] = {0};
  const char* pw = length ? static_cast<const char*>(password) : kEmpty;
  return crypto_pwhash(out->data(), kKeyBytes, pw, length,
                       reinterpret_cast<const unsigned char*>(params.salt.data()), params.opslimit,
                       static_cast<size_t>(params.memlimit), crypto_pwhash_ALG_ARGON2ID13) == 0;
}

std::string Seal(const SecretKey& key, const void* plain, size_t length, const std::string& ad) {
  InitCrypto();
  const size_t nonceBytes = crypto_aead_xchacha20poly1305_ietf_NPUBBYTES;
  std::string out(nonceBytes + length + crypto_aead_xchacha20poly1305_ietf_ABYTES, '\0');
  unsigned char* o = reinterpret_cast<unsigned char*>(&out[0]);
  randombytes_buf(o, nonceBytes);
  unsigned long long clen = 0;
  static const unsigned char kNone[1] = {0};
  crypto_aead_xchacha20poly1305_ietf_encrypt(
      o + nonceBytes, &clen, length ? static_cast<const unsigned char*>(plain) : kNone, length,
      reinterpret_cast<const unsigned char*>(ad.data()), ad.size(), nullptr, o, key.data());
  out.resize(nonceBytes + clen);
  return out;
}

bool Unseal(const SecretKey& key, const std::string& sealed, const std::string& ad, SecureBytes* out) {
  InitCrypto();
  const size_t nonceBytes = crypto_aead_xchacha20poly1305_ietf_NPUBBYTES;
  const size_t tagBytes = crypto_aead_xchacha20poly1305_ietf_ABYTES;
  if (sealed.size() < nonceBytes + tagBytes) return false;
  const unsigned char* s = reinterpret_cast<const unsigned char*>(sealed.data());
  out->Resize(sealed.size() - nonceBytes - tagBytes);
  unsigned long long mlen = 0;
  unsigned char scratch[1];
  unsigned char* dst = out->size() ? out->data() : scratch;
  if (crypto_aead_xchacha20poly1305_ietf_decrypt(dst, &mlen, nullptr, s + nonceBytes,
                                                 sealed.size() - nonceBytes,
                                                 reinterpret_cast<const unsigned char*>(ad.data()),
                                                 ad.size(), s, key.data()) != 0) {
    out->Resize(0);
    return false;
  }
  return true;
}

bool Reseal(const SecretKey& key, const std::string& sealed, const std::string& oldAd,
            const std::string& newAd, std::string* out) {
  SecureBytes plain;  // wiped on the way out
  if (!Unseal(key, sealed, oldAd, &plain)) return false;
  *out = Seal(key, plain.data(), plain.size(), newAd);
  return true;
}

std::string Digest(const std::string& data) {
  InitCrypto();
  std::string out(crypto_generichash_BYTES, '\0');
  crypto_generichash(reinterpret_cast<unsigned char*>(&out[0]), out.size(),
                     reinterpret_cast<const unsigned char*>(data.data()), data.size(), nullptr, 0);
  return out;
}

}  // namespace secimpl

// SecKeychainRef objects, their registry by path, and their stores.
#include "keychain_object.h"

#include <CoreFoundation/CFRuntime.h>
#include <sys/stat.h>

#include <chrono>
#include <map>
#include <memory>
#include <mutex>

#include "unlock_state.h"

namespace secimpl {

namespace {

struct KeychainImpl {
  std::string path;
  std::mutex mu;
  std::unique_ptr<Store> store;
  dev_t dev = 0;
  ino_t ino = 0;
  std::chrono::steady_clock::time_point checked;
};

// How long a look at the file stays good: a file deleted or replaced by
// another process is noticed within this time, and hot paths skip a stat().
constexpr auto kRecheckAfter = std::chrono::milliseconds(50);

struct KeychainObject {
  CFRuntimeBase base;
  KeychainImpl* impl;
};

std::mutex& RegistryMutex() {
  static std::mutex* m = new std::mutex;
  return *m;
}

std::map<std::string, KeychainObject*>& Registry() {
  static auto* r = new std::map<std::string, KeychainObject*>;
  return *r;
}

void FinalizeKeychain(CFTypeRef cf) {
  auto* obj = static_cast<KeychainObject*>(const_cast<void*>(cf));
  if (!obj->impl) return;
  {
    std::lock_guard<std::mutex> g(RegistryMutex());
    auto it = Registry().find(obj->impl->path);
    if (it != Registry().end() && it->second == obj) Registry().erase(it);
  }
  delete obj->impl;
  obj->impl = nullptr;
}

CFStringRef DescribeKeychain(CFTypeRef cf) {
  auto* obj = static_cast<const KeychainObject*>(cf);
  return CFStringCreateWithFormat(kCFAllocatorDefault, nullptr, CFSTR("<SecKeychain %p [%s]>"), cf,
                                  obj->impl ? obj->impl->path.c_str() : "");
}

const CFRuntimeClass kKeychainClass = {
    0, "SecKeychain", nullptr, nullptr, FinalizeKeychain, nullptr, nullptr, nullptr, DescribeKeychain,
};

KeychainImpl* Impl(SecKeychainRef kc) { return reinterpret_cast<KeychainObject*>(kc)->impl; }

}  // namespace

CFTypeID KeychainTypeID() {
  static const CFTypeID id = _CFRuntimeRegisterClass(&kKeychainClass);
  return id;
}

bool IsKeychain(CFTypeRef cf) { return cf && CFGetTypeID(cf) == KeychainTypeID(); }

SecKeychainRef CopyKeychainForPath(const std::string& path) {
  CFTypeID type = KeychainTypeID();
  std::lock_guard<std::mutex> g(RegistryMutex());
  auto it = Registry().find(path);
  // An entry whose object is already being released on another thread is
  // replaced; that object's finalize then leaves the new entry alone.
  if (it != Registry().end()) {
    if (CFTypeRef alive = _CFTryRetain(it->second)) return (SecKeychainRef)alive;
  }
  auto* obj = (KeychainObject*)_CFRuntimeCreateInstance(
      kCFAllocatorDefault, type, sizeof(KeychainObject) - sizeof(CFRuntimeBase), nullptr);
  if (!obj) return nullptr;
  obj->impl = new KeychainImpl;
  obj->impl->path = path;
  Registry()[path] = obj;
  return reinterpret_cast<SecKeychainRef>(obj);
}

const std::string& KeychainPath(SecKeychainRef kc) { return Impl(kc)->path; }

OSStatus WithStore(SecKeychainRef kc, const std::function<OSStatus(Store&)>& fn) {
  KeychainImpl* k = Impl(kc);
  std::lock_guard<std::mutex> g(k->mu);
  auto now = std::chrono::steady_clock::now();
  if (k->store && now - k->checked < kRecheckAfter) return fn(*k->store);
  struct stat st;
  if (stat(k->path.c_str(), &st) != 0) {
    k->store.reset();
    return errSecNoSuchKeychain;
  }
  k->checked = now;
  // A file replaced under the same path is opened afresh.
  if (k->store && (st.st_dev != k->dev || st.st_ino != k->ino)) k->store.reset();
  if (!k->store) {
    std::unique_ptr<Store> s;
    OSStatus status = Store::Open(k->path, &s);
    if (status != errSecSuccess) return status;
    k->store = std::move(s);
    k->dev = st.st_dev;
    k->ino = st.st_ino;
  }
  return fn(*k->store);
}

void CloseStore(SecKeychainRef kc) {
  KeychainImpl* k = Impl(kc);
  std::lock_guard<std::mutex> g(k->mu);
  k->store.reset();
}

ResealFn ResealWith(const SecretKey& key) {
  return [&key](const std::string& sealed, const std::string& oldAd, const std::string& newAd,
                std::string* out) -> int {
    return Reseal(key, sealed, oldAd, newAd, out) ? errSecSuccess : errSecDecode;
  };
}

std::string KeyBinding(const std::string& uuid) { return "keychain-key" + uuid; }

}  // namespace secimpl

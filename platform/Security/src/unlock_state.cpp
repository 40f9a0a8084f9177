// The process's unlocked keychains. Keys sit in sodium_malloc memory and are
// wiped when a keychain locks, by call or by its lock interval.
#include "unlock_state.h"

#include <chrono>
#include <map>
#include <memory>
#include <mutex>

namespace secimpl {

namespace {

struct Entry {
  std::string uuid;
  std::unique_ptr<SecretKey> key;
  std::chrono::steady_clock::time_point lastUse;
};

std::mutex& Mutex() {
  static std::mutex* m = new std::mutex;
  return *m;
}

std::map<std::string, Entry>& Table() {
  static auto* t = new std::map<std::string, Entry>;
  return *t;
}

// Called with the mutex held.
Entry* Live(const std::string& path, const std::string& uuid, uint32_t lockInterval) {
  auto it = Table().find(path);
  if (it == Table().end()) return nullptr;
  bool expired = false;
  if (lockInterval != kNoLockInterval) {
    auto idle = std::chrono::steady_clock::now() - it->second.lastUse;
    expired = idle >= std::chrono::seconds(lockInterval);
  }
  if (expired || it->second.uuid != uuid) {
    Table().erase(it);
    return nullptr;
  }
  return &it->second;
}

}  // namespace

bool IsUnlocked(const std::string& path, const std::string& uuid, uint32_t lockInterval) {
  std::lock_guard<std::mutex> g(Mutex());
  return Live(path, uuid, lockInterval) != nullptr;
}

bool UseKey(const std::string& path, const std::string& uuid, uint32_t lockInterval, SecretKey* out) {
  std::lock_guard<std::mutex> g(Mutex());
  Entry* e = Live(path, uuid, lockInterval);
  if (!e) return false;
  out->CopyFrom(*e->key);
  e->lastUse = std::chrono::steady_clock::now();
  return true;
}

void RememberKey(const std::string& path, const std::string& uuid, const SecretKey& key) {
  auto copy = std::make_unique<SecretKey>();
  copy->CopyFrom(key);
  std::lock_guard<std::mutex> g(Mutex());
  Entry& e = Table()[path];
  e.uuid = uuid;
  e.key = std::move(copy);
  e.lastUse = std::chrono::steady_clock::now();
}

void ForgetKey(const std::string& path) {
  std::lock_guard<std::mutex> g(Mutex());
  Table().erase(path);
}

void ForgetAllKeys() {
  std::lock_guard<std::mutex> g(Mutex());
  Table().clear();
}

}  // namespace secimpl

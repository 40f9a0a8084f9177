// The process's unlocked keychains. Keys sit in sodium_malloc memory and are
// wiped when a keychain locks, by call or by its lock interval.
#include "unlock_state.h"

#include <chrono>
#include <map>
#include <memory>
#include <mutex>
#include <set>

namespace secimpl {

namespace {

struct Entry {
  std::string uuid;
  std::unique_ptr<SecretKey> key;
  std::chrono::steady_clock::time_point lastUse;
  bool emptyPassword = false;
};

std::mutex& Mutex() {
  static std::mutex* m = new std::mutex;
  return *m;
}

std::map<std::string, Entry>& Table() {
  static auto* t = new std::map<std::string, Entry>;
  return *t;
}

std::set<std::string>& LockedPaths() {
  static auto* s = new std::set<std::string>;
  return *s;
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

void RememberKey(const std::string& path, const std::string& uuid, const SecretKey& key,
                 bool emptyPassword) {
  auto copy = std::make_unique<SecretKey>();
  copy->CopyFrom(key);
  std::lock_guard<std::mutex> g(Mutex());
  Entry& e = Table()[path];
  e.uuid = uuid;
  e.key = std::move(copy);
  e.lastUse = std::chrono::steady_clock::now();
  e.emptyPassword = emptyPassword;
  LockedPaths().erase(path);
}

bool UnlockedByEmptyPassword(const std::string& path) {
  std::lock_guard<std::mutex> g(Mutex());
  auto it = Table().find(path);
  return it != Table().end() && it->second.emptyPassword;
}

void LockKey(const std::string& path) {
  std::lock_guard<std::mutex> g(Mutex());
  Table().erase(path);
  LockedPaths().insert(path);
}

void LockAllKeys() {
  std::lock_guard<std::mutex> g(Mutex());
  for (const auto& entry : Table()) LockedPaths().insert(entry.first);
  Table().clear();
}

bool LockedByCall(const std::string& path) {
  std::lock_guard<std::mutex> g(Mutex());
  return LockedPaths().count(path) != 0;
}

void ForgetKey(const std::string& path) {
  std::lock_guard<std::mutex> g(Mutex());
  Table().erase(path);
  LockedPaths().erase(path);
}

}  // namespace secimpl

// The shared parts of every verb.
#include "command.h"

#include <stdlib.h>
#include <sys/stat.h>

#include <cstdio>

#include "secrets.h"

namespace kctool {

int Command::Fail(long status) {
  std::string message = client_.Message(status);
  if (message.empty()) message = "status " + std::to_string(status);
  fprintf(stderr, "kctool: %s: %s\n", verb_.name, message.c_str());
  const int code = static_cast<int>(static_cast<unsigned long>(status) & 0xFF);
  return code != 0 ? code : 1;
}

int Command::Fail(const std::string &message) {
  fprintf(stderr, "kctool: %s: %s\n", verb_.name, message.c_str());
  return 1;
}

int Command::Usage() {
  fprintf(stderr, "usage: kctool %s %s\n", verb_.name, verb_.usage);
  return kExitUsage;
}

std::string KeychainHome() {
  if (const char *home = getenv("KEYCHAIN_HOME"); home != nullptr && *home != '\0') return home;
  if (const char *data = getenv("XDG_DATA_HOME"); data != nullptr && *data != '\0')
    return std::string(data) + "/keychains";
  const char *home = getenv("HOME");
  return std::string(home != nullptr ? home : "") + "/.local/share/keychains";
}

namespace {
bool Exists(const std::string &path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0;
}
}  // namespace

// A name without a folder is looked for in the keychain folder as it is,
// then with the file endings keychains are given.
std::string ResolveKeychainPath(const std::string &nameOrPath) {
  if (nameOrPath.find('/') != std::string::npos) return nameOrPath;
  const std::string base = KeychainHome() + "/" + nameOrPath;
  for (const std::string &candidate : {base, base + "-db", base + ".keychain-db", base + ".keychain"})
    if (Exists(candidate)) return candidate;
  return base;
}

Value Command::Keychain(const std::string &nameOrPath) {
  if (nameOrPath.empty()) {
    Value keychain = client_.Shared("Default", {});
    if (keychain.isNil()) Fail(client_.LastError());
    return keychain;
  }
  const std::string path = ResolveKeychainPath(nameOrPath);
  struct stat st;
  if (stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
    Fail(path + ": is a folder, not a keychain");
    return Value();
  }
  Value keychain = client_.Shared("Open", {"string"}, {client_.Text(path)});
  if (keychain.isNil()) {
    Fail(client_.LastError());
    return Value();
  }
  // Opening never fails for a missing file; its status tells.
  client_.Method(keychain, "Status");
  const long status = client_.ObjectStatus(keychain);
  if (status != 0) {
    Fail(status);
    return Value();
  }
  return keychain;
}

std::vector<Value> Command::Keychains() {
  std::vector<Value> keychains;
  if (options_.operands.empty()) {
    keychains.push_back(Keychain(""));
  } else {
    for (const std::string &name : options_.operands) keychains.push_back(Keychain(name));
  }
  return keychains;
}

std::optional<std::string> Command::Secret(char option, const std::string &prompt) {
  if (auto given = options_.Value(option)) return given;
  return ReadSecret(prompt);
}

}  // namespace kctool

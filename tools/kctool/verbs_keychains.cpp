// The verbs that work on keychains and the keychain environment: creating,
// deleting, listing, defaults, locking, unlocking, settings and passwords.
// Creating a keychain and changing its password are the two things the
// plug-in does not offer; they call the keychain framework directly.
#include <Security/Security.h>
#include <stdlib.h>
#include <unistd.h>
#include <string.h>

#include <cstdio>

#include "command.h"
#include "json.h"
#include "secrets.h"
#include "verbs.h"

namespace kctool {

namespace {

// The preference domains by the names the tool takes.
std::optional<RBInteger> Domain(const Options &options) {
  const std::optional<std::string> name = options.Value('d');
  if (!name || *name == "user") return kSecPreferencesDomainUser;
  if (*name == "system") return kSecPreferencesDomainSystem;
  if (*name == "common") return kSecPreferencesDomainCommon;
  if (*name == "dynamic") return kSecPreferencesDomainDynamic;
  return std::nullopt;
}

std::string PathOf(PluginClient &client, const Value &keychain) {
  return client.TextOf(client.Method(keychain, "Path"));
}

// Keychain paths, quoted and indented as the keychain tool lists them, or as
// a JSON array.
void PrintKeychains(Command &c, const std::vector<std::string> &paths, const char *key) {
  if (c.options().json) {
    Json json;
    json.BeginObject();
    json.Key(key);
    json.BeginArray();
    for (const std::string &p : paths) json.String(p);
    json.EndArray();
    json.EndObject();
    fputs(json.Text().c_str(), stdout);
    return;
  }
  for (const std::string &p : paths) printf("    \"%s\"\n", p.c_str());
}

std::vector<std::string> PathsOfArray(PluginClient &client, const Value &array) {
  std::vector<std::string> paths;
  for (RBInteger i = 0; i <= client.host().ArrayUBound(array); ++i) {
    Value keychain = client.host().ArrayElement(array, i);
    if (!keychain.isNil()) paths.push_back(PathOf(client, keychain));
  }
  return paths;
}

int SecretUnreadable(Command &c) { return c.Fail("no password could be read"); }

// "No timeout", as the framework keeps it.
constexpr long kNoTimeout = 0x7FFFFFFF;

// The framework reference a KeychainZNQ holds, for the calls made directly.
SecKeychainRef KeychainRef(PluginClient &client, const Value &keychain) {
  return reinterpret_cast<SecKeychainRef>(client.host().GetProperty(keychain, "Handle").value.integer());
}

}  // namespace

int CreateKeychain(Command &c) {
  if (c.options().operands.size() != 1) return c.Usage();
  const std::string path = ResolveKeychainPath(c.options().operands[0]);
  std::optional<std::string> password = c.options().Value('p');
  if (!password) password = ReadSecret("password for new keychain: ");
  if (!password) return SecretUnreadable(c);
  SecKeychainRef keychain = nullptr;
  const OSStatus status = SecKeychainCreate(path.c_str(), static_cast<UInt32>(password->size()), password->data(),
                                            false, nullptr, &keychain);
  Wipe(&*password);
  if (keychain != nullptr) CFRelease(keychain);
  return status == 0 ? 0 : c.Fail(status);
}

int DeleteKeychain(Command &c) {
  if (c.options().operands.empty()) return c.Usage();
  for (const std::string &name : c.options().operands) {
    Value keychain = c.Keychain(name);
    if (keychain.isNil()) return 1;
    c.client().Method(keychain, "Delete");
    const long status = c.client().ObjectStatus(keychain);
    if (status != 0) return c.Fail(status);
  }
  return 0;
}

int ListKeychains(Command &c) {
  const std::optional<RBInteger> domain = Domain(c.options());
  if (!domain) return c.Usage();
  PluginClient &client = c.client();
  if (c.options().Has('s')) {
    std::vector<Value> keychains;
    for (const std::string &name : c.options().operands) {
      Value keychain = c.Keychain(name);
      if (keychain.isNil()) return 1;
      keychains.push_back(keychain);
    }
    Value list = client.host().Array(kREALArrayObject, keychains);
    if (c.options().Has('d'))
      client.Shared("SetDomainSearchList", {"integer", "KeychainZNQ()"}, {Value::Integer(*domain), list});
    else
      client.Shared("SetSearchList", {"KeychainZNQ()"}, {list});
    return client.LastError() == 0 ? 0 : c.Fail(client.LastError());
  }
  Value list = c.options().Has('d')
                   ? client.Shared("DomainSearchList", {"integer"}, {Value::Integer(*domain)})
                   : client.Shared("SearchList", {});
  if (client.LastError() != 0) return c.Fail(client.LastError());
  PrintKeychains(c, PathsOfArray(client, list), "keychains");
  return 0;
}

int DefaultKeychain(Command &c) {
  const std::optional<RBInteger> domain = Domain(c.options());
  if (!domain || c.options().operands.size() > 1) return c.Usage();
  PluginClient &client = c.client();
  if (c.options().Has('s')) {
    if (c.options().operands.empty()) return c.Usage();
    Value keychain = c.Keychain(c.options().operands[0]);
    if (keychain.isNil()) return 1;
    client.Shared("SetDomainDefault", {"integer", "KeychainZNQ"}, {Value::Integer(*domain), keychain});
    return client.LastError() == 0 ? 0 : c.Fail(client.LastError());
  }
  Value keychain = client.Shared("DomainDefault", {"integer"}, {Value::Integer(*domain)});
  if (keychain.isNil()) return c.Fail(client.LastError());
  PrintKeychains(c, {PathOf(client, keychain)}, "keychains");
  return 0;
}

// The login keychain is the one made on first use in the user's folder.
int LoginKeychain(Command &c) {
  if (!c.options().operands.empty()) return c.Usage();
  // Asking for the default makes the login keychain when there is none yet.
  if (access((KeychainHome() + "/login.keychain-db").c_str(), F_OK) != 0) c.client().Shared("Default", {});
  Value keychain = c.Keychain(KeychainHome() + "/login.keychain-db");
  if (keychain.isNil()) return 1;
  PrintKeychains(c, {PathOf(c.client(), keychain)}, "keychains");
  return 0;
}

int LockKeychain(Command &c) {
  PluginClient &client = c.client();
  if (c.options().Has('a')) {
    if (!c.options().operands.empty()) return c.Usage();
    client.Shared("LockAll", {});
    return client.LastError() == 0 ? 0 : c.Fail(client.LastError());
  }
  if (c.options().operands.size() > 1) return c.Usage();
  Value keychain = c.Keychain(c.options().operands.empty() ? "" : c.options().operands[0]);
  if (keychain.isNil()) return 1;
  client.Method(keychain, "Lock");
  const long status = client.ObjectStatus(keychain);
  return status == 0 ? 0 : c.Fail(status);
}

int UnlockKeychain(Command &c) {
  if (c.options().operands.size() > 1) return c.Usage();
  PluginClient &client = c.client();
  Value keychain = c.Keychain(c.options().operands.empty() ? "" : c.options().operands[0]);
  if (keychain.isNil()) return 1;
  if (c.options().Has('u')) {
    // The keychain framework asks for the password itself.
    client.Method(keychain, "Unlock");
  } else {
    std::optional<std::string> password = c.Secret('p', "password to unlock " + PathOf(client, keychain) + ": ");
    if (!password) return SecretUnreadable(c);
    client.Method(keychain, "Unlock", {"string"}, {client.Text(*password)});
    Wipe(&*password);
  }
  const long status = client.ObjectStatus(keychain);
  return status == 0 ? 0 : c.Fail(status);
}

// The lock timeout is the -t value; without -t the keychain has none, which
// the framework keeps as the largest interval. -u asks for the timeout to
// be used, which is what giving one means here.
int SetKeychainSettings(Command &c) {
  if (c.options().operands.size() > 1) return c.Usage();
  long timeout = kNoTimeout;
  if (auto t = c.options().Value('t')) {
    char *end = nullptr;
    timeout = strtol(t->c_str(), &end, 10);
    if (t->empty() || *end != '\0' || timeout < 0 || timeout > kNoTimeout) return c.Usage();
  }
  PluginClient &client = c.client();
  Value keychain = c.Keychain(c.options().operands.empty() ? "" : c.options().operands[0]);
  if (keychain.isNil()) return 1;
  Value settings = client.host().NewInstance("KeychainSettingsZNQ");
  client.host().SetProperty(settings, "lockOnSleep", Value::Boolean(c.options().Has('l')));
  client.host().SetProperty(settings, "useLockInterval", Value::Boolean(timeout != kNoTimeout));
  client.host().SetProperty(settings, "lockInterval", Value::Integer(timeout));
  client.Assign(keychain, "Settings", {}, {}, settings);
  const long status = client.ObjectStatus(keychain);
  return status == 0 ? 0 : c.Fail(status);
}

// The plug-in reads settings with a record the framework does not fill (its
// version is 0), so the settings are read here from the framework itself.
int ShowKeychainInfo(Command &c) {
  if (c.options().operands.size() > 1) return c.Usage();
  PluginClient &client = c.client();
  Value keychain = c.Keychain(c.options().operands.empty() ? "" : c.options().operands[0]);
  if (keychain.isNil()) return 1;
  SecKeychainSettings settings;
  memset(&settings, 0, sizeof settings);
  settings.version = SEC_KEYCHAIN_SETTINGS_VERS1;
  const OSStatus status = SecKeychainCopySettings(KeychainRef(client, keychain), &settings);
  if (status != 0) return c.Fail(status);
  const bool timeout = settings.lockInterval != kNoTimeout;
  const std::string path = PathOf(client, keychain);
  if (c.options().json) {
    Json json;
    json.BeginObject();
    json.Key("keychain");
    json.String(path);
    json.Key("lockOnSleep");
    json.Boolean(settings.lockOnSleep != 0);
    json.Key("timeout");
    if (timeout)
      json.Number(settings.lockInterval);
    else
      json.Null();
    json.EndObject();
    fputs(json.Text().c_str(), stdout);
    return 0;
  }
  const std::string interval = timeout ? "timeout=" + std::to_string(settings.lockInterval) + "s" : "no-timeout";
  printf("Keychain \"%s\"%s %s\n", path.c_str(), settings.lockOnSleep ? " lock-on-sleep" : "", interval.c_str());
  return 0;
}

int SetKeychainPassword(Command &c) {
  if (c.options().operands.size() > 1) return c.Usage();
  Value keychain = c.Keychain(c.options().operands.empty() ? "" : c.options().operands[0]);
  if (keychain.isNil()) return 1;
  std::optional<std::string> old = c.Secret('o', "old password: ");
  if (!old) return SecretUnreadable(c);
  std::optional<std::string> fresh = c.Secret('p', "new password: ");
  if (!fresh) {
    Wipe(&*old);
    return SecretUnreadable(c);
  }
  const OSStatus status = SecKeychainChangePassword(KeychainRef(c.client(), keychain), static_cast<UInt32>(old->size()), old->data(),
                                                    static_cast<UInt32>(fresh->size()), fresh->data());
  Wipe(&*old);
  Wipe(&*fresh);
  return status == 0 ? 0 : c.Fail(status);
}

}  // namespace kctool

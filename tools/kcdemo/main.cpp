// kcdemo: a host program that loads libKeychainManagerZNQ.so and, in the
// default keychain (created on first use), adds a generic and an internet
// password, finds them back, reads and changes item attributes, and deletes
// them, printing each step and its status. The only secrets it prints are
// its own sample passwords.
//
//   kcdemo [path/to/libKeychainManagerZNQ.so]
#include <limits.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "plugin_host/host.h"

namespace {

using plugin_host::Arg;
using plugin_host::CallResult;
using plugin_host::Host;
using plugin_host::Value;

constexpr const char *kModule = "KeychainManagerZNQ";
constexpr const char *kService = "kcdemo.example";
constexpr const char *kServer = "www.example.com";
constexpr const char *kAccount = "demo-user";

// The plug-in next to this program: bin/../lib.
std::string DefaultPluginPath() {
  char self[PATH_MAX];
  const ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
  if (n <= 0) return "libKeychainManagerZNQ.so";
  std::string dir(self, static_cast<size_t>(n));
  dir = dir.substr(0, dir.rfind('/'));
  return dir.substr(0, dir.rfind('/')) + "/lib/libKeychainManagerZNQ.so";
}

class Demo {
 public:
  explicit Demo(Host &host) : host_(host) {}

  // Methods are named by name and parameter types; the declaration is the
  // one the plug-in registered.
  using Types = std::vector<std::string>;
  Value Shared(const std::string &name, const Types &types, const std::vector<Arg> &args = {}) {
    const std::string declaration = host_.DeclarationOf(kModule, name, types);
    return Checked(host_.CallShared(kModule, declaration, args), name);
  }
  Value Method(const Value &object, const std::string &name, const Types &types = {},
               const std::vector<Arg> &args = {}) {
    const std::string declaration = host_.DeclarationOf(host_.ClassName(object), name, types);
    return Checked(host_.CallMethod(object, declaration, args), name);
  }
  void Assign(const Value &object, const std::string &name, const Value &value) {
    const std::string declaration = host_.DeclarationOf(host_.ClassName(object), name, {});
    Checked(host_.AssignMethod(object, declaration, {}, value), name);
  }

  RBInteger LastError() { return host_.GetModuleProperty(kModule, "LastError").value.integer(); }
  RBInteger ObjectStatus(const Value &object) { return host_.GetProperty(object, "Lasterror").value.integer(); }

  std::string Message(RBInteger status) {
    Value text = host_.CallShared(kModule, host_.DeclarationOf(kModule, "ErrorMessageString", {"integer"}),
                                  {Value::Integer(status)}).value;
    return text.isNil() ? "" : host_.StringUTF8(text);
  }

  void Report(const char *step, RBInteger status, const std::string &detail = "") {
    std::printf("%-44s status %-7ld %s%s%s\n", step, static_cast<long>(status), Message(status).c_str(),
                detail.empty() ? "" : " | ", detail.c_str());
    if (status != 0) ++failures_;
  }

  std::string Text(const Value &s) { return s.isNil() ? "(nil)" : host_.StringUTF8(s); }
  std::string Bytes(const Value &block) { return block.isNil() ? "(nil)" : host_.MemoryBlockBytes(block); }
  Value Str(const std::string &s) { return host_.String(s); }
  Host &host() { return host_; }
  int failures() const { return failures_; }

 private:
  Value Checked(CallResult r, const std::string &declaration) {
    if (!r.ok) {
      std::fprintf(stderr, "kcdemo: the host refused %s: %s\n", declaration.c_str(), r.error.c_str());
      ++failures_;
    }
    if (auto e = host_.TakeException())
      std::fprintf(stderr, "kcdemo: %s raised %s: %s\n", declaration.c_str(), e->className.c_str(),
                   e->message.c_str());
    return std::move(r.value);
  }

  Host &host_;
  int failures_ = 0;
};

// Parameter types of the module forms of the password operations.
const Demo::Types kGenericTypes = {"KeychainZNQ", "string", "string"};
const Demo::Types kInternetTypes = {"KeychainZNQ", "string", "string", "string", "string",
                                    "integer",     "string", "string"};
Demo::Types With(Demo::Types types, const std::string &last) {
  types.push_back(last);
  return types;
}

std::vector<Arg> InternetArgs(Demo &d, const Value &keychain, std::vector<Value> &keep) {
  keep = {d.Str(kServer), d.Str(""), d.Str(kAccount), d.Str("/login"), Value::Integer(443),
          d.Str("htps"), d.Str("dflt")};
  std::vector<Arg> args = {keychain};
  for (const Value &v : keep) args.push_back(v);
  return args;
}

// Leftovers of an interrupted run are removed first, so the adds succeed.
void RemoveLeftovers(Demo &d, const Value &keychain) {
  Value generic = d.Shared("FindGenericItem", kGenericTypes, {keychain, d.Str(kService), d.Str(kAccount)});
  if (!generic.isNil()) d.Method(generic, "Delete");
  std::vector<Value> keep;
  Value internet = d.Shared("FindInternetItem", kInternetTypes, InternetArgs(d, keychain, keep));
  if (!internet.isNil()) d.Method(internet, "Delete");
}

int Run(Demo &d) {
  Value keychain = d.Shared("Default", {});
  d.Report("Default keychain", d.LastError());
  if (keychain.isNil()) return 1;
  Value path = d.Method(keychain, "Path");
  d.Report("  its path", d.ObjectStatus(keychain), d.Text(path));
  Value name = d.Method(keychain, "Name");
  d.Report("  its name", d.ObjectStatus(keychain), d.Text(name));
  // Unlocking lasts for one process. The keychain made on first use has an
  // empty password; any other is unlocked by asking the user.
  if (!d.Method(keychain, "IsUnlocked").boolean()) {
    d.Method(keychain, "Unlock", {"string"}, {d.Str("")});
    RBInteger status = d.ObjectStatus(keychain);
    if (status != 0) {
      std::printf("%-44s status %-7ld %s\n", "Unlock with an empty password", static_cast<long>(status),
                  d.Message(status).c_str());
      d.Method(keychain, "Unlock");
      status = d.ObjectStatus(keychain);
    }
    d.Report("Unlock the default keychain", status);
  }
  Value version = d.Shared("Version", {});
  d.Report("Keychain Services version", d.LastError(), std::to_string(version.integer()));
  RemoveLeftovers(d, keychain);

  Value generic = d.Shared("AddGenericPassword", With(kGenericTypes, "string"), {keychain, d.Str(kService), d.Str(kAccount), d.Str("demo-password-1")});
  d.Report("Add generic password", d.LastError(), std::string(kService) + " / " + kAccount);

  std::vector<Value> keep;
  std::vector<Arg> internetArgs = InternetArgs(d, keychain, keep);
  Value secret = d.host().MemoryBlock("demo-password-2");
  internetArgs.push_back(secret);
  Value internet = d.Shared("AddInternetPassword", With(kInternetTypes, "memoryblock"), internetArgs);
  d.Report("Add internet password", d.LastError(), std::string("https://") + kServer + "/login");

  Value password;
  Value found = d.Shared("FindGenericPassword", With(kGenericTypes, "byref memoryblock"), {keychain, d.Str(kService), d.Str(kAccount), Arg::ByRef(password)});
  d.Report("Find generic password", d.LastError(), "password " + d.Bytes(password));

  Value internetPassword;
  std::vector<Arg> findArgs = InternetArgs(d, keychain, keep);
  findArgs.push_back(Arg::ByRef(internetPassword));
  Value foundInternet = d.Shared("FindInternetPassword", With(kInternetTypes, "byref memoryblock"), findArgs);
  d.Report("Find internet password", d.LastError(), "password " + d.Bytes(internetPassword));
  if (found.isNil() || foundInternet.isNil()) return 1;

  d.Report("  generic item class", d.ObjectStatus(found), d.Text(d.Method(found, "ItemClass")));
  d.Report("  internet item class", d.ObjectStatus(foundInternet),
           d.Text(d.Method(foundInternet, "ItemClass")));
  d.Report("  account", d.ObjectStatus(found), d.Text(d.Method(found, "Account")));
  d.Report("  service", d.ObjectStatus(found), d.Text(d.Method(found, "Service")));
  d.Report("  server (attribute srvr)", d.ObjectStatus(foundInternet),
           d.Text(d.Method(foundInternet, "AttributeText", {"string"}, {d.Str("srvr")})));

  d.Assign(found, "Label", d.Str("kcdemo sample"));
  d.Report("Set label", d.ObjectStatus(found));
  d.Assign(found, "Comment", d.Str("written by kcdemo"));
  d.Report("Set comment", d.ObjectStatus(found));
  d.Report("  label now", d.ObjectStatus(found), d.Text(d.Method(found, "Label")));
  d.Report("  comment now", d.ObjectStatus(found), d.Text(d.Method(found, "Comment")));

  d.Assign(found, "Password", d.host().MemoryBlock("demo-password-3"));
  d.Report("Change generic password", d.ObjectStatus(found));
  Value again = d.Shared("FindGenericPassword", With(kGenericTypes, "byref memoryblock"), {keychain, d.Str(kService), d.Str(kAccount), Arg::ByRef(password)});
  d.Report("Find it again", d.LastError(), "password " + d.Bytes(password));

  Value reference = d.Method(found, "PersistentReference");
  d.Report("Persistent reference", d.ObjectStatus(found), std::to_string(d.Bytes(reference).size()) + " bytes");
  Value fromReference = d.Shared("ItemFromPersistentReference", {"memoryblock"}, {reference});
  d.Report("  item from it", d.LastError(), d.Text(d.Method(fromReference, "Label")));

  d.Method(found, "Delete");
  d.Report("Delete generic password", d.ObjectStatus(found));
  d.Method(foundInternet, "Delete");
  d.Report("Delete internet password", d.ObjectStatus(foundInternet));

  Value gone = d.Shared("FindGenericItem", kGenericTypes, {keychain, d.Str(kService), d.Str(kAccount)});
  const RBInteger status = d.LastError();
  std::printf("%-44s status %-7ld %s (expected: not found)\n", "Find deleted generic password",
              static_cast<long>(status), d.Message(status).c_str());
  return status == -25300 && d.failures() == 0 ? 0 : 1;
}

}  // namespace

int main(int argc, char **argv) {
  const std::string pluginPath = argc > 1 ? argv[1] : DefaultPluginPath();
  Host host;
  std::string error;
  if (!host.Load(pluginPath, &error)) {
    std::fprintf(stderr, "kcdemo: cannot load %s: %s\n", pluginPath.c_str(), error.c_str());
    return 2;
  }
  std::printf("Loaded %s\n", pluginPath.c_str());
  Demo demo(host);
  const int result = Run(demo);
  std::printf(result == 0 ? "All steps succeeded.\n" : "Some steps failed.\n");
  return result;
}

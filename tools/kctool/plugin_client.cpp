// The plug-in client: loading, calls by name and parameter types, statuses.
#include "plugin_client.h"

namespace kctool {

namespace {
constexpr const char *kModule = "KeychainManagerZNQ";
}

bool PluginClient::Load(const std::string &pluginPath, std::string *error) {
  if (!host_.Load(pluginPath, error)) return false;
  if (host_.Module(kModule) == nullptr) {
    *error = pluginPath + " registers no module " + kModule;
    return false;
  }
  return true;
}

Value PluginClient::Checked(plugin_host::CallResult r, const std::string &name) {
  problem_.clear();
  if (!r.ok) problem_ = "the host refused " + name + ": " + r.error;
  if (auto e = host_.TakeException()) problem_ = name + " raised " + e->className + ": " + e->message;
  return std::move(r.value);
}

Value PluginClient::Shared(const std::string &name, const Types &types, const std::vector<Arg> &args) {
  const std::string declaration = host_.DeclarationOf(kModule, name, types);
  return Checked(host_.CallShared(kModule, declaration, args), name);
}

Value PluginClient::Method(const Value &object, const std::string &name, const Types &types,
                           const std::vector<Arg> &args) {
  const std::string declaration = host_.DeclarationOf(host_.ClassName(object), name, types);
  return Checked(host_.CallMethod(object, declaration, args), name);
}

void PluginClient::Assign(const Value &object, const std::string &name, const Types &types,
                          const std::vector<Arg> &args, const Value &value) {
  const std::string declaration = host_.DeclarationOf(host_.ClassName(object), name, types);
  Checked(host_.AssignMethod(object, declaration, args, value), name);
}

long PluginClient::LastError() { return static_cast<long>(host_.GetModuleProperty(kModule, "LastError").value.integer()); }

long PluginClient::ObjectStatus(const Value &object) {
  return static_cast<long>(host_.GetProperty(object, "Lasterror").value.integer());
}

std::string PluginClient::Message(long status) {
  return TextOf(Shared("ErrorMessageString", {"integer"}, {Value::Integer(status)}));
}

}  // namespace kctool

// kctool's way into the keychain: the plug-in, loaded through the host
// runtime, with its methods named by name and parameter types (the host
// supplies the declaration the plug-in registered). Every call a verb makes
// goes through here, so kctool uses the keychain exactly as a host program.
#pragma once

#include <string>
#include <vector>

#include "plugin_host/host.h"

namespace kctool {

using plugin_host::Arg;
using plugin_host::Host;
using plugin_host::Value;

class PluginClient {
 public:
  // Loads the plug-in; false with a reason when it cannot.
  bool Load(const std::string &pluginPath, std::string *error);

  Host &host() { return host_; }

  using Types = std::vector<std::string>;
  // A module method and a class method, by name and parameter types.
  Value Shared(const std::string &name, const Types &types, const std::vector<Arg> &args = {});
  Value Method(const Value &object, const std::string &name, const Types &types = {},
               const std::vector<Arg> &args = {});
  // Assigns a property-like method of an object.
  void Assign(const Value &object, const std::string &name, const Types &types, const std::vector<Arg> &args,
              const Value &value);

  // The module's LastError and an object's own Lasterror.
  long LastError();
  long ObjectStatus(const Value &object);
  // The keychain's text for a status, or "" when it has none.
  std::string Message(long status);

  Value Text(const std::string &utf8) { return host_.String(utf8); }
  Value Bytes(const std::string &bytes) { return host_.MemoryBlock(bytes); }
  std::string TextOf(const Value &s) { return s.isNil() ? std::string() : host_.StringUTF8(s); }
  std::string BytesOf(const Value &block) { return block.isNil() ? std::string() : host_.MemoryBlockBytes(block); }

  // Problems the host reported for a call (a refused declaration, an
  // exception the plug-in raised); empty when the call went through.
  const std::string &callProblem() const { return problem_; }

 private:
  Value Checked(plugin_host::CallResult r, const std::string &name);

  Host host_;
  std::string problem_;
};

}  // namespace kctool

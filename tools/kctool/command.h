// What every verb shares: the parsed command line, the plug-in client, where
// keychains are found, and the way a failure becomes a message and an exit
// status.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "plugin_client.h"

namespace kctool {

// Exit statuses besides a failing status's low byte.
constexpr int kExitUsage = 2;

struct Options {
  std::map<char, std::string> values;  // options with an argument
  std::map<char, int> flags;           // options without one, with their count
  std::vector<std::string> operands;
  bool json = false;
  bool help = false;

  bool Has(char c) const { return values.count(c) != 0 || flags.count(c) != 0; }
  std::optional<std::string> Value(char c) const {
    auto it = values.find(c);
    return it == values.end() ? std::nullopt : std::optional<std::string>(it->second);
  }
};

struct Verb;

class Command {
 public:
  Command(PluginClient &client, const Verb &verb, Options options)
      : client_(client), verb_(verb), options_(std::move(options)) {}

  PluginClient &client() { return client_; }
  const Options &options() const { return options_; }
  const Verb &verb() const { return verb_; }

  // Prints "kctool: VERB: <the keychain's text for status>" and returns the
  // exit status for it: its low byte, or 1 when that is 0.
  int Fail(long status);
  // Prints "kctool: VERB: message" and returns 1.
  int Fail(const std::string &message);
  // Prints the verb's usage and returns 2.
  int Usage();

  // A keychain by path or by name in the user's keychain folder, or the
  // default keychain for an empty text. Nil, with the failure reported, when
  // it cannot be had.
  Value Keychain(const std::string &nameOrPath);
  // The keychains named by the operands, or the default one when none is.
  std::vector<Value> Keychains();

  // A password from an option, or asked for when the option is absent or
  // left without a value; nothing when none could be read.
  std::optional<std::string> Secret(char option, const std::string &prompt);

 private:
  PluginClient &client_;
  const Verb &verb_;
  Options options_;
};

struct Verb {
  const char *name;
  const char *usage;    // the synopsis after the verb's name
  const char *summary;  // one line for "help"
  const char *optionsWithValue;
  const char *flags;
  int (*run)(Command &command);
};

// The user's keychain folder: KEYCHAIN_HOME, else $XDG_DATA_HOME/keychains,
// else ~/.local/share/keychains, as the keychain framework places it.
std::string KeychainHome();
std::string ResolveKeychainPath(const std::string &nameOrPath);

const std::vector<Verb> &Verbs();
const Verb *FindVerb(const std::string &name);

}  // namespace kctool

// kctool: manages keychains from the command line with the verbs, options,
// output and exit statuses of the macOS keychain tool. It is a host program
// of the keychain plug-in: it loads the plug-in through the host runtime and
// calls its methods, so every run uses the keychain as any host program does.
//
//   kctool [--plugin path] verb [options] [operands]
//   kctool help [verb]
#include <ctype.h>
#include <limits.h>
#include <stdlib.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "command.h"
#include "verbs.h"

namespace kctool {

namespace {

const char kMatchOptions[] = "a:s:D:j:l:G:c:C:";
const char kInternetMatchOptions[] = "a:s:D:j:l:c:C:d:p:P:r:t:";

const std::vector<Verb> kVerbs = {
    {"create-keychain", "[-P] [-p password] keychain", "Create a keychain.", "p:", "P", CreateKeychain},
    {"delete-keychain", "keychain...", "Delete keychains and remove them from the search list.", "", "", DeleteKeychain},
    {"list-keychains", "[-d user|system|common|dynamic] [-s [keychain...]] [--json]",
     "Display or set the keychain search list.", "d:", "s", ListKeychains},
    {"default-keychain", "[-d user|system|common|dynamic] [-s keychain] [--json]",
     "Display or set the default keychain.", "d:", "s", DefaultKeychain},
    {"login-keychain", "[--json]", "Display the login keychain.", "", "", LoginKeychain},
    {"lock-keychain", "[-a | keychain]", "Lock the keychain, or every keychain with -a.", "", "a", LockKeychain},
    {"unlock-keychain", "[-u] [-p password] [keychain]",
     "Unlock the keychain; -u lets the keychain framework ask for the password.", "p:", "u", UnlockKeychain},
    {"set-keychain-settings", "[-l] [-u] [-t timeout] [keychain]",
     "Set lock on sleep (-l) and the lock timeout in seconds (-t; none without it).", "t:", "lu",
     SetKeychainSettings},
    {"show-keychain-info", "[keychain] [--json]", "Show the keychain's settings.", "", "", ShowKeychainInfo},
    {"set-keychain-password", "[-o old] [-p new] [keychain]", "Change the keychain's password.", "o:p:", "",
     SetKeychainPassword},
    {"add-generic-password",
     "[-a account] [-s service] [-w password | -X hex] [-l label] [-j comment] [-D kind] [-G value] "
     "[-c creator] [-C type] [-U] [keychain]",
     "Add a generic password (-U updates one that exists; -w last asks for the password).",
     "a:s:w:X:l:j:D:G:c:C:", "U", AddPassword},
    {"add-internet-password",
     "[-a account] [-s server] [-w password | -X hex] [-d domain] [-p path] [-P port] [-r protocol] "
     "[-t authtype] [-l label] [-j comment] [-D kind] [-c creator] [-C type] [-U] [keychain]",
     "Add an internet password.", "a:s:w:X:d:p:P:r:t:l:j:D:c:C:", "U", AddPassword},
    {"find-generic-password", "[-a account] [-s service] [-l label] [-j comment] [-D kind] [-G value] [-c creator] "
                              "[-C type] [-g | -w] [--json] [keychain...]",
     "Find a generic password (-g also shows its password, -w shows only that).", kMatchOptions, "gw",
     FindPassword},
    {"find-internet-password",
     "[-a account] [-s server] [-d domain] [-p path] [-P port] [-r protocol] [-t authtype] [-l label] "
     "[-j comment] [-D kind] [-c creator] [-C type] [-g | -w] [--json] [keychain...]",
     "Find an internet password.", kInternetMatchOptions, "gw", FindPassword},
    {"delete-generic-password", "[-a account] [-s service] [-l label] [...] [--json] [keychain...]",
     "Delete the first generic password that matches.", kMatchOptions, "", DeletePassword},
    {"delete-internet-password", "[-a account] [-s server] [-d domain] [-P port] [...] [--json] [keychain...]",
     "Delete the first internet password that matches.", kInternetMatchOptions, "", DeletePassword},
    {"dump-keychain", "[-d] [--json] [keychain...]", "Show every item; -d also shows the passwords.", "", "d",
     DumpKeychain},
    {"error", "status...", "Show the text of a status code.", "", "", ErrorText},
};

// Options as the keychain tool reads them: single letters, clustered or
// not, values attached or in the next word; "--json" anywhere; "--" ends the
// options. -w without a value (the last word) asks for the password.
bool Parse(const Verb &verb, int argc, char **argv, Options *out) {
  for (int i = 0; i < argc; ++i) {
    const std::string arg = argv[i];
    if (arg == "--json") {
      out->json = true;
      continue;
    }
    if (arg == "--") {
      for (++i; i < argc; ++i) out->operands.push_back(argv[i]);
      break;
    }
    // A negative number is an operand (a status), not options.
    if (arg.size() < 2 || arg[0] != '-' || isdigit(static_cast<unsigned char>(arg[1]))) {
      out->operands.push_back(arg);
      continue;
    }
    for (size_t k = 1; k < arg.size(); ++k) {
      const char c = arg[k];
      if (c == 'h') {
        out->help = true;
        continue;
      }
      const char *withValue = strchr(verb.optionsWithValue, c);
      if (withValue != nullptr && withValue[1] == ':') {
        if (k + 1 < arg.size()) {
          out->values[c] = arg.substr(k + 1);
        } else if (i + 1 < argc) {
          out->values[c] = argv[++i];
        } else if (c == 'w' || c == 's') {
          // -w last asks for the password; -s alone sets an empty list.
          ++out->flags[c];
        } else {
          return false;
        }
        break;
      }
      if (strchr(verb.flags, c) == nullptr) return false;
      ++out->flags[c];
    }
  }
  return true;
}

// The plug-in next to this program: bin/../lib.
std::string DefaultPluginPath() {
  if (const char *path = getenv("KCTOOL_PLUGIN"); path != nullptr && *path != '\0') return path;
  char self[PATH_MAX];
  const ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
  if (n <= 0) return "libKeychainManagerZNQ.so";
  std::string dir(self, static_cast<size_t>(n));
  dir = dir.substr(0, dir.rfind('/'));
  return dir.substr(0, dir.rfind('/')) + "/lib/libKeychainManagerZNQ.so";
}

int Help(const char *verbName) {
  if (verbName != nullptr) {
    const Verb *verb = FindVerb(verbName);
    if (verb == nullptr) {
      fprintf(stderr, "kctool: help: no verb \"%s\"\n", verbName);
      return kExitUsage;
    }
    printf("usage: kctool %s %s\n    %s\n", verb->name, verb->usage, verb->summary);
    return 0;
  }
  printf("usage: kctool verb [options] [operands]\n\nVerbs:\n");
  for (const Verb &v : kVerbs) printf("    %-26s %s\n", v.name, v.summary);
  printf("    %-26s %s\n", "help [verb]", "Show the verbs, or one verb's usage.");
  printf("\nKeychains are paths, or names in %s.\n", KeychainHome().c_str());
  printf("Each run is a process of its own: a keychain with a password is unlocked for that run,\n"
         "asking through KEYCHAIN_ASKPASS or the terminal when it must.\n");
  return 0;
}

}  // namespace

const std::vector<Verb> &Verbs() { return kVerbs; }

const Verb *FindVerb(const std::string &name) {
  for (const Verb &v : kVerbs)
    if (name == v.name) return &v;
  return nullptr;
}

}  // namespace kctool

int main(int argc, char **argv) {
  using namespace kctool;
  int first = 1;
  std::string pluginPath;
  if (argc > 2 && strcmp(argv[1], "--plugin") == 0) {
    pluginPath = argv[2];
    first = 3;
  }
  if (argc <= first) {
    Help(nullptr);
    return kExitUsage;
  }
  const std::string name = argv[first];
  if (name == "help" || name == "-h" || name == "--help") return Help(argc > first + 1 ? argv[first + 1] : nullptr);
  const Verb *verb = FindVerb(name);
  if (verb == nullptr) {
    fprintf(stderr, "kctool: unknown verb \"%s\"; \"kctool help\" lists them\n", name.c_str());
    return kExitUsage;
  }
  Options options;
  if (!Parse(*verb, argc - first - 1, argv + first + 1, &options)) {
    fprintf(stderr, "usage: kctool %s %s\n", verb->name, verb->usage);
    return kExitUsage;
  }
  if (options.help) {
    printf("usage: kctool %s %s\n    %s\n", verb->name, verb->usage, verb->summary);
    return 0;
  }
  PluginClient client;
  std::string error;
  if (pluginPath.empty()) pluginPath = DefaultPluginPath();
  if (!client.Load(pluginPath, &error)) {
    fprintf(stderr, "kctool: cannot load the keychain plug-in %s: %s\n", pluginPath.c_str(), error.c_str());
    return 1;
  }
  Command command(client, *verb, std::move(options));
  return verb->run(command);
}

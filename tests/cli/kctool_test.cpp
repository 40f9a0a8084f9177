// kctool as a person and a script use it: every verb run as its own process
// in a private keychain folder, with its text and JSON output, its prompts
// (a pipe, a terminal, an askpass program) and its exit statuses; items it
// adds are seen by host programs of the plug-in, and the other way round.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>

#include "json_reader.h"
#include "plugin_host/host.h"
#include "support/scoped_env.h"
#include "tool_runner.h"

namespace kc_cli_test {
namespace {

using plugin_host::Arg;
using plugin_host::Host;
using plugin_host::Value;

constexpr int kNotFound = 44;       // -25300's low byte
constexpr int kDuplicate = 45;      // -25299
constexpr int kDuplicateKeychain = 48;  // -25296
constexpr int kAuthFailed = 51;     // -25293
constexpr int kNoInteraction = 36;  // -25308
constexpr int kUsage = 2;

// Each run is a process of its own, which finds a keychain with a password
// locked: the tests' keychains all have the password "pw", which this askpass
// program gives when the keychain asks. Any other prompt gets "from askpass".
class Kctool : public ::testing::Test {
 protected:
  void SetUp() override {
    env_.Set("KEYCHAIN_KDF_PROFILE", "minimal");
    askpass_ = home_.root() + "/askpass.sh";
    std::ofstream(askpass_) << "#!/bin/sh\ncase \"$1\" in *\"for keychain\"*) echo pw;; *) echo 'from askpass';; esac\n";
    chmod(askpass_.c_str(), 0700);
    env_.Set("KEYCHAIN_ASKPASS", askpass_.c_str());
  }

  std::string Path(const std::string &name) const { return home_.userDomainDir() + "/" + name; }

  // A keychain made by the tool, with a password.
  void Create(const std::string &name, const std::string &password) {
    ToolResult r = RunTool({"create-keychain", "-p", password, name});
    ASSERT_EQ(r.exitStatus, 0) << r.err;
  }

  kc_test::IsolatedKeychainHome home_;
  kc_test::ScopedEnv env_;
  std::string askpass_;
};

TEST_F(Kctool, KeychainsAreCreatedListedDefaultedLockedChangedAndDeleted) {
  Create("work", "pw");
  EXPECT_TRUE(std::ifstream(Path("work")).good()) << "a name is a file in the keychain folder";
  Create(home_.root() + "/elsewhere.keychain", "other");
  EXPECT_EQ(RunTool({"create-keychain", "-p", "x", "work"}).exitStatus, kDuplicateKeychain);

  ToolResult r = RunTool({"list-keychains", "-s", "work", home_.root() + "/elsewhere.keychain"});
  ASSERT_EQ(r.exitStatus, 0) << r.err;
  r = RunTool({"list-keychains"});
  EXPECT_EQ(r.out, "    \"" + Path("work") + "\"\n    \"" + home_.root() + "/elsewhere.keychain\"\n");
  r = RunTool({"list-keychains", "-d", "user", "--json"});
  auto doc = JsonReader::Parse(r.out);
  ASSERT_TRUE(doc.has_value()) << r.out;
  ASSERT_EQ((*doc)["keychains"].items.size(), 2u);
  EXPECT_EQ((*doc)["keychains"].items[0].text, Path("work"));
  EXPECT_EQ(RunTool({"list-keychains", "-d", "nowhere"}).exitStatus, kUsage);

  ASSERT_EQ(RunTool({"default-keychain", "-s", "work"}).exitStatus, 0);
  EXPECT_EQ(RunTool({"default-keychain"}).out, "    \"" + Path("work") + "\"\n");

  // Locking, unlocking (a wrong password is refused), the settings.
  ASSERT_EQ(RunTool({"lock-keychain", "work"}).exitStatus, 0);
  r = RunTool({"unlock-keychain", "-p", "wrong", "work"});
  EXPECT_EQ(r.exitStatus, kAuthFailed);
  EXPECT_NE(r.err.find("kctool: unlock-keychain: "), std::string::npos) << r.err;
  EXPECT_EQ(RunTool({"unlock-keychain", "-p", "pw", "work"}).exitStatus, 0);
  ASSERT_EQ(RunTool({"set-keychain-settings", "-l", "-t", "60", "work"}).exitStatus, 0);
  EXPECT_EQ(RunTool({"show-keychain-info", "work"}).out, "Keychain \"" + Path("work") + "\" lock-on-sleep timeout=60s\n");
  ASSERT_EQ(RunTool({"set-keychain-settings", "work"}).exitStatus, 0);
  doc = JsonReader::Parse(RunTool({"show-keychain-info", "--json", "work"}).out);
  ASSERT_TRUE(doc.has_value());
  EXPECT_FALSE((*doc)["lockOnSleep"].boolean);
  EXPECT_EQ((*doc)["timeout"].kind, JsonValue::Null);

  // A new password of another length than the old one.
  ASSERT_EQ(RunTool({"set-keychain-password", "-o", "pw", "-p", "a much longer password", "work"}).exitStatus, 0);
  EXPECT_EQ(RunTool({"set-keychain-password", "-o", "pw", "-p", "x", "work"}).exitStatus, kAuthFailed);
  ASSERT_EQ(RunTool({"lock-keychain", "-a"}).exitStatus, 0);
  EXPECT_EQ(RunTool({"unlock-keychain", "-p", "pw", "work"}).exitStatus, kAuthFailed);
  EXPECT_EQ(RunTool({"unlock-keychain", "-p", "a much longer password", "work"}).exitStatus, 0);

  ASSERT_EQ(RunTool({"delete-keychain", "work"}).exitStatus, 0);
  EXPECT_FALSE(std::ifstream(Path("work")).good());
}

TEST_F(Kctool, PasswordsAreAddedFoundUpdatedAndDeletedInTheToolsLayout) {
  Create("items", "pw");
  ToolResult r = RunTool({"add-generic-password", "-a", "ann", "-s", "mail", "-w", "s3cret", "-l", "Mail",
                          "-j", "a note", "-D", "kind", "-c", "abcd", "-C", "wxyz", "items"});
  ASSERT_EQ(r.exitStatus, 0) << r.err;
  EXPECT_EQ(RunTool({"add-generic-password", "-a", "ann", "-s", "mail", "-w", "again", "items"}).exitStatus,
            kDuplicate);

  r = RunTool({"find-generic-password", "-s", "mail", "-g", "items"});
  ASSERT_EQ(r.exitStatus, 0) << r.err;
  EXPECT_EQ(r.out.rfind("keychain: \"" + Path("items") + "\"\nversion: 512\nclass: \"genp\"\nattributes:\n", 0), 0u)
      << r.out;
  for (const char *line : {"    \"acct\"<blob>=\"ann\"\n", "    \"labl\"<blob>=\"Mail\"\n",
                           "    \"icmt\"<blob>=\"a note\"\n", "    \"desc\"<blob>=\"kind\"\n",
                           "    \"crtr\"<uint32>=\"abcd\"\n", "    \"type\"<uint32>=\"wxyz\"\n", "    \"gena\"<blob>=<NULL>\n"})
    EXPECT_NE(r.out.find(line), std::string::npos) << line;
  EXPECT_EQ(r.out.find("s3cret"), std::string::npos) << "the password goes to standard error only";
  EXPECT_EQ(r.err, "password: \"s3cret\"\n");
  EXPECT_EQ(RunTool({"find-generic-password", "-a", "ann", "-c", "abcd", "-w", "items"}).out, "s3cret\n");
  EXPECT_EQ(RunTool({"find-generic-password", "-a", "ann", "-c", "zzzz", "items"}).exitStatus, kNotFound);

  // -U replaces the secret of the item that is there; -X takes hex, and a
  // secret that is no text is shown as hex.
  ASSERT_EQ(RunTool({"add-generic-password", "-U", "-a", "ann", "-s", "mail", "-X", "00ff41", "items"}).exitStatus, 0);
  EXPECT_EQ(RunTool({"find-generic-password", "-s", "mail", "-w", "items"}).out, "00FF41\n");

  ASSERT_EQ(RunTool({"add-internet-password", "-a", "bob", "-s", "example.org", "-P", "8443", "-r", "htps", "-p",
                     "/login", "-w", "web pw", "items"})
                .exitStatus,
            0);
  r = RunTool({"find-internet-password", "-s", "example.org", "-P", "8443", "-r", "htps", "-t", "dflt", "-g",
               "--json", "items"});
  ASSERT_EQ(r.exitStatus, 0) << r.err;
  auto doc = JsonReader::Parse(r.out);
  ASSERT_TRUE(doc.has_value()) << r.out;
  const JsonValue &item = (*doc)["items"].items.at(0);
  EXPECT_EQ(item["class"].text, "inet");
  EXPECT_EQ(item["attributes"]["srvr"].text, "example.org");
  EXPECT_EQ(item["attributes"]["port"].number, 8443);
  EXPECT_EQ(item["attributes"]["ptcl"].text, "htps");
  EXPECT_EQ(item["attributes"]["path"].text, "/login");
  EXPECT_EQ(item["password"].text, "web pw");
  EXPECT_EQ(RunTool({"find-internet-password", "-s", "example.org", "-P", "80", "items"}).exitStatus, kNotFound);

  r = RunTool({"dump-keychain", "-d", "items"});
  EXPECT_NE(r.out.find("password: 0x00FF41"), std::string::npos) << r.out;
  EXPECT_NE(r.out.find("password: \"web pw\""), std::string::npos);

  r = RunTool({"delete-internet-password", "-s", "example.org", "items"});
  ASSERT_EQ(r.exitStatus, 0) << r.err;
  EXPECT_NE(r.out.find("password has been deleted."), std::string::npos);
  EXPECT_EQ(RunTool({"delete-internet-password", "-s", "example.org", "items"}).exitStatus, kNotFound);
  doc = JsonReader::Parse(RunTool({"dump-keychain", "--json", "items"}).out);
  ASSERT_TRUE(doc.has_value());
  EXPECT_EQ((*doc)["items"].items.size(), 1u);
}

// A password not on the command line comes from an askpass program, from
// the terminal (without echo), or from one line of standard input.
TEST_F(Kctool, SecretsAreReadFromAskpassTerminalOrStandardInput) {
  Create("asked", "pw");
  ToolResult r = RunTool({"add-generic-password", "-a", "askpass", "-s", "svc", "asked", "-w"}, "ignored\n");
  ASSERT_EQ(r.exitStatus, 0) << r.err;
  EXPECT_EQ(RunTool({"find-generic-password", "-a", "askpass", "-w", "asked"}).out, "from askpass\n");

  // Without an askpass program, one line of standard input; the keychain's
  // own password is then typed on the terminal.
  const std::map<std::string, std::string> noAskpass = {{"KEYCHAIN_ASKPASS", ""}};
  r = RunToolOnTerminal({"add-generic-password", "-a", "tty", "-s", "svc", "asked", "-w"},
                        {{"password data", "typed secret\n"}, {"for keychain", "pw\n"}}, noAskpass);
  ASSERT_EQ(r.exitStatus, 0) << r.out;
  EXPECT_EQ(r.out.find("typed secret"), std::string::npos) << "the terminal echoed the secret";
  EXPECT_EQ(r.out.find("pw\r"), std::string::npos) << "the terminal echoed the keychain's password";
  EXPECT_EQ(RunTool({"find-generic-password", "-a", "tty", "-w", "asked"}).out, "typed secret\n");
  r = RunTool({"unlock-keychain", "asked"}, "pw\n", noAskpass);
  EXPECT_EQ(r.exitStatus, 0) << r.err;
  r = RunTool({"unlock-keychain", "asked"}, "wrong\n", noAskpass);
  EXPECT_EQ(r.exitStatus, kAuthFailed) << r.err;
}

// The two kinds of host program share one keychain: what kctool adds a
// program finds through the plug-in, and what a program adds kctool finds.
TEST_F(Kctool, ItemsAreSharedWithHostProgramsOfThePlugIn) {
  Create("shared", "pw");
  ASSERT_EQ(RunTool({"add-generic-password", "-a", "ann", "-s", "cli", "-w", "from the tool", "shared"}).exitStatus, 0);
  {
    Host host;
    ASSERT_TRUE(host.Load(KC_PLUGIN_PATH));
    const char *module = "KeychainManagerZNQ";
    Value keychain = host.CallShared(module, host.DeclarationOf(module, "Open", {"string"}), {host.String(Path("shared"))}).value;
    host.CallMethod(keychain, host.DeclarationOf("KeychainZNQ", "Unlock", {"string"}), {host.String("pw")});
    Value password;
    Value found = host.CallShared(module,
                                  host.DeclarationOf(module, "FindGenericPassword",
                                                     {"KeychainZNQ", "string", "string", "byref memoryblock"}),
                                  {keychain, host.String("cli"), host.String("ann"), Arg::ByRef(password)})
                      .value;
    ASSERT_FALSE(found.isNil());
    EXPECT_EQ(host.MemoryBlockBytes(password), "from the tool");
    Value added = host.CallShared(module,
                                  host.DeclarationOf(module, "AddGenericPassword",
                                                     {"KeychainZNQ", "string", "string", "string"}),
                                  {keychain, host.String("program"), host.String("bob"), host.String("from a program")})
                      .value;
    ASSERT_FALSE(added.isNil());
  }
  EXPECT_EQ(RunTool({"find-generic-password", "-s", "program", "-w", "shared"}).out, "from a program\n");
}

// Bad input gets a clear message and the right status, and changes nothing.
TEST_F(Kctool, BadInputIsRefusedClearlyAndChangesNothing) {
  Create("safe", "pw");
  ASSERT_EQ(RunTool({"add-generic-password", "-a", "ann", "-s", "kept", "-w", "x", "safe"}).exitStatus, 0);

  ToolResult r = RunTool({"frobnicate"});
  EXPECT_EQ(r.exitStatus, kUsage);
  EXPECT_NE(r.err.find("unknown verb"), std::string::npos);
  r = RunTool({"find-generic-password", "-a"});
  EXPECT_EQ(r.exitStatus, kUsage);
  EXPECT_EQ(r.err.rfind("usage: kctool find-generic-password", 0), 0u) << r.err;
  EXPECT_EQ(RunTool({"add-generic-password", "-Z", "safe"}).exitStatus, kUsage);
  EXPECT_EQ(RunTool({"add-internet-password", "-s", "x", "-P", "port", "safe"}).exitStatus, kUsage);
  EXPECT_EQ(RunTool({"add-generic-password", "-c", "toolong", "safe"}).exitStatus, kUsage);
  r = RunTool({"add-generic-password", "-a", "bob", "-s", "hex", "-X", "0g", "safe"});
  EXPECT_EQ(r.exitStatus, 1);
  EXPECT_NE(r.err.find("not a hex string"), std::string::npos) << r.err;
  r = RunTool({"find-generic-password", "-s", "kept", home_.root()});
  EXPECT_NE(r.exitStatus, 0);
  EXPECT_NE(r.err.find("is a folder"), std::string::npos) << r.err;
  r = RunTool({"show-keychain-info", home_.root() + "/missing.keychain"});
  EXPECT_NE(r.exitStatus, 0);
  EXPECT_EQ(r.err.rfind("kctool: show-keychain-info: ", 0), 0u) << r.err;

  // A locked keychain with nobody to ask: its items are listed, the secret
  // is refused, and the keychain stays locked.
  ASSERT_EQ(RunTool({"lock-keychain", "safe"}).exitStatus, 0);
  EXPECT_EQ(RunTool({"find-generic-password", "-s", "kept", "safe"}).exitStatus, 0);
  r = RunTool({"find-generic-password", "-s", "kept", "-w", "safe"}, "", {{"KEYCHAIN_ASKPASS", ""}});
  EXPECT_EQ(r.exitStatus, kNoInteraction) << r.err;
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(RunTool({"unlock-keychain", "safe"}, "", {{"KEYCHAIN_ASKPASS", ""}}).exitStatus, 1)
      << "no password could be read";
  EXPECT_EQ(RunTool({"unlock-keychain", "-p", "pw", "safe"}).exitStatus, 0);
  EXPECT_EQ(RunTool({"find-generic-password", "-s", "kept", "-w", "safe"}).out, "x\n");
  EXPECT_EQ(RunTool({"find-generic-password", "-s", "hex", "safe"}).exitStatus, kNotFound);
}

TEST_F(Kctool, HelpListsEveryVerbAndEachVerbShowsItsUsage) {
  ToolResult r = RunTool({"help"});
  ASSERT_EQ(r.exitStatus, 0);
  const char *verbs[] = {"create-keychain", "delete-keychain", "list-keychains", "default-keychain",
                         "login-keychain", "lock-keychain", "unlock-keychain", "set-keychain-settings",
                         "show-keychain-info", "set-keychain-password", "add-generic-password",
                         "add-internet-password", "find-generic-password", "find-internet-password",
                         "delete-generic-password", "delete-internet-password", "dump-keychain", "error"};
  for (const char *verb : verbs) {
    EXPECT_NE(r.out.find(verb), std::string::npos) << verb;
    ToolResult usage = RunTool({"help", verb});
    EXPECT_EQ(usage.exitStatus, 0) << verb;
    EXPECT_EQ(usage.out.rfind(std::string("usage: kctool ") + verb, 0), 0u) << verb;
  }
  EXPECT_EQ(RunTool({"help", "nothing"}).exitStatus, kUsage);
  EXPECT_EQ(RunTool({"error", "-25300"}).out,
            "Error: 0xFFFF9D2C -25300 The item could not be found in the keychain.\n");
  EXPECT_EQ(RunTool({}).exitStatus, kUsage);
  // The login keychain is the one made on first use.
  r = RunTool({"login-keychain"});
  EXPECT_EQ(r.out, "    \"" + Path("login.keychain-db") + "\"\n") << r.err;
}

}  // namespace
}  // namespace kc_cli_test

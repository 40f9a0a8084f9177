// Programs written for Apple's keychain API, built on Linux as their authors
// would build them: a credential helper compiled by gcc and by clang with a
// plain compile line (the compiler's default flags, no linker options), run
// with a pipe for standard input and nobody to ask, against the login
// keychain; the same helper asking for the login keychain's password on its
// terminal; and every public header compiled alone as C and as C++.
#include <cstdlib>
#include <filesystem>
#include <fstream>

#include "keychain_fixture.h"
#include "program_runner.h"

namespace sectest {
namespace {

namespace fs = std::filesystem;

const char* const kIncludeDirs[] = {PLATFORM_DIR "/CoreFoundation/include", PLATFORM_DIR "/Security/include",
                                    PLATFORM_DIR "/ApplicationServices/include"};

struct Compiler {
  const char* name;
  const char* path;  // empty when not installed
};
const Compiler kCompilers[] = {{"gcc", GCC_PATH}, {"clang", CLANG_PATH}};

std::string CompilerName(const ::testing::TestParamInfo<Compiler>& info) { return info.param.name; }

// How a helper finds the frameworks: the library path, as a user without
// installed libraries sets it (ahead of any the tests were given, as the
// 32-bit build's), and in sanitizer builds their runtime first.
std::vector<std::string> HelperEnvironment() {
  std::string path = FRAMEWORK_LIB_DIR;
  if (const char* inherited = getenv("LD_LIBRARY_PATH")) path = path + ":" + inherited;
  std::vector<std::string> env = {"LD_LIBRARY_PATH=" + path};
  if (*SANITIZER_RUNTIME) env.push_back(std::string("LD_PRELOAD=") + SANITIZER_RUNTIME);
  return env;
}

std::string Request(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\n";
  return text;
}

class CredentialHelper : public KeychainTest, public ::testing::WithParamInterface<Compiler> {
 protected:
  std::string LoginPath() const { return home().userDomainDir() + "/login.keychain-db"; }

  Outcome Helper(const std::string& operation, const std::vector<std::string>& lines) {
    return RunProgram({helper_, operation}, Request(lines), HelperEnvironment());
  }

  std::string helper_;
};

TEST_P(CredentialHelper, BuiltWithAPlainCompileLineStoresFindsUpdatesAndErases) {
  if (!*GetParam().path) GTEST_SKIP() << GetParam().name << " is not installed (scripts/install-deps.sh installs it)";
  helper_ = PathIn("helper");
  std::vector<std::string> compile = {GetParam().path, HELPER_SOURCE};
  for (const char* dir : kIncludeDirs) compile.push_back(std::string("-I") + dir);
  for (const char* arg : {"-L" FRAMEWORK_LIB_DIR, "-lSecurity", "-lCoreFoundation", "-o"}) compile.push_back(arg);
  compile.push_back(helper_);
  Outcome built = RunProgram(compile, "");
  ASSERT_EQ(built.exitCode, 0) << built.err;

  const std::vector<std::string> site = {"protocol=https", "host=vault.example.org"};
  auto with = [&](std::vector<std::string> extra) {
    std::vector<std::string> lines = site;
    lines.insert(lines.end(), extra.begin(), extra.end());
    return lines;
  };
  // Each run is a new process that finds the login keychain locked, with
  // stdin a pipe, no terminal and no askpass program; the first creates it.
  Outcome r = Helper("store", with({"username=ann", "password=first secret"}));
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_TRUE(fs::exists(LoginPath()));
  r = Helper("get", site);
  EXPECT_EQ(r.out, "username=ann\npassword=first secret\n") << r.err;
  r = Helper("store", with({"username=ann", "password=n\xC3\xA9w \xE2\x82\xAC"}));  // an update
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(Helper("get", site).out, "username=ann\npassword=n\xC3\xA9w \xE2\x82\xAC\n");

  r = Helper("store", with({"port=8443", "path=team", "username=bob", "password=bob's"}));
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(Helper("get", with({"port=8443"})).out, "username=bob\npassword=bob's\n");
  EXPECT_EQ(Helper("get", {"protocol=http", "host=vault.example.org"}).out, "");  // another protocol

  r = Helper("erase", with({"username=ann"}));
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(Helper("get", with({"username=ann"})).out, "");
  EXPECT_EQ(Helper("get", site).out, "username=bob\npassword=bob's\n");

  // Bad input is refused with a message, never a crash.
  r = Helper("store", {"host vault.example.org"});
  EXPECT_EQ(r.exitCode, 2);
  EXPECT_NE(r.err.find("without '='"), std::string::npos) << r.err;
  EXPECT_EQ(Helper("get", with({"port=http"})).exitCode, 2);
  EXPECT_EQ(Helper("get", {"protocol=gopher", "host=vault.example.org"}).exitCode, 2);

  // What the helpers wrote is in the login keychain, which shows no idle lock.
  SecKeychainRef def = nullptr;
  ASSERT_EQ(SecKeychainCopyDefault(&def), errSecSuccess);
  char path[1024];
  UInt32 length = sizeof path;
  ASSERT_EQ(SecKeychainGetPath(def, &length, path), errSecSuccess);
  EXPECT_EQ(std::string(path, length), LoginPath());
  SecKeychainSettings settings = {SEC_KEYCHAIN_SETTINGS_VERS1, 1, 1, 300};
  ASSERT_EQ(SecKeychainCopySettings(def, &settings), errSecSuccess);
  EXPECT_EQ(settings.lockInterval, 0x7fffffffu);
  EXPECT_EQ(settings.lockOnSleep, 0);
  CFRelease(def);
}

INSTANTIATE_TEST_SUITE_P(Compilers, CredentialHelper, ::testing::ValuesIn(kCompilers), CompilerName);

class CredentialHelperOnATerminal : public KeychainTest {};

TEST_F(CredentialHelperOnATerminal, AsksForTheLoginKeychainPasswordOnItsTerminalWithEchoOff) {
  const std::vector<std::string> env = HelperEnvironment();
  const std::string site = Request({"protocol=https", "host=vault.example.org"});
  const std::string helper = HELPER_PATH;
  Outcome r = RunProgram({helper, "store"}, site + "username=ann\npassword=behind a password\n", env);
  ASSERT_EQ(r.exitCode, 0) << r.err;
  ASSERT_EQ(SecKeychainChangePassword(nullptr, 0, "", 13, "Tty-Secret-42"), errSecSuccess);

  const std::string prompt = "Password for keychain " + home().userDomainDir() + "/login.keychain-db: ";
  // Standard input is the request on a pipe; the password comes from the terminal.
  r = RunOnTerminal({helper, "get"}, site, env, prompt, "Tty-Secret-42\n");
  EXPECT_EQ(r.exitCode, 0) << r.err;
  EXPECT_EQ(r.out, "username=ann\npassword=behind a password\n");
  EXPECT_NE(r.terminal.find(prompt), std::string::npos) << r.terminal;
  EXPECT_EQ(r.terminal.find("Tty-Secret"), std::string::npos) << "echoed: " << r.terminal;

  r = RunOnTerminal({helper, "get"}, site, env, prompt, "wrong\n");
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_NE(r.err.find("status -25293"), std::string::npos) << r.err;  // errSecAuthFailed
  EXPECT_EQ(r.out, "");

  // Without a terminal nobody can be asked.
  r = RunProgram({helper, "get"}, site, env);
  EXPECT_EQ(r.exitCode, 1);
  EXPECT_NE(r.err.find("status -25308"), std::string::npos) << r.err;  // errSecInteractionNotAllowed
}

struct HeaderCheck {
  const char* name;
  Compiler compiler;
  const char* language;  // the -x and -std options
  const char* standard;
};

class PublicHeaders : public ::testing::TestWithParam<HeaderCheck> {};

TEST_P(PublicHeaders, EachCompilesAloneWithoutWarningsAskingForWeakImportsOrNot) {
  const HeaderCheck& check = GetParam();
  if (!*check.compiler.path) GTEST_SKIP() << check.compiler.name << " is not installed";
  kc_test::TempDir dir;
  const std::string unit = dir.path() + "/unit";
  int compiled = 0;
  for (const char* root : kIncludeDirs) {
    for (const auto& entry : fs::recursive_directory_iterator(root)) {
      if (entry.path().extension() != ".h") continue;
      const std::string header = fs::relative(entry.path(), root).string();
      std::ofstream(unit) << "#include <" << header << ">\n";
      for (bool weak : {false, true}) {
        std::vector<std::string> args = {check.compiler.path, "-fsyntax-only", "-Wall", "-Wextra", "-Werror",
                                         "-x", check.language, check.standard};
        if (weak) args.push_back("-DKC_WEAK_IMPORTS");
        for (const char* inc : kIncludeDirs) args.push_back(std::string("-I") + inc);
        args.push_back(unit);
        Outcome r = RunProgram(args, "");
        EXPECT_EQ(r.exitCode, 0) << header << (weak ? " with weak imports" : "") << "\n" << r.err;
        ++compiled;
      }
    }
  }
  EXPECT_GT(compiled, 80);  // every framework's headers were found
}

INSTANTIATE_TEST_SUITE_P(
    Languages, PublicHeaders,
    ::testing::Values(HeaderCheck{"gcc_C11", kCompilers[0], "c", "-std=c11"},
                      HeaderCheck{"gcc_Cxx17", kCompilers[0], "c++", "-std=c++17"},
                      HeaderCheck{"clang_C11", kCompilers[1], "c", "-std=c11"},
                      HeaderCheck{"clang_Cxx17", kCompilers[1], "c++", "-std=c++17"}),
    [](const ::testing::TestParamInfo<HeaderCheck>& info) { return std::string(info.param.name); });

}  // namespace
}  // namespace sectest

// One keychain, several processes: four writers adding a thousand items each
// lose and duplicate nothing; a writer killed at five random moments of a
// stream of adds leaves a keychain that opens and holds every acknowledged
// add; four processes mixing adds, changes, deletes and searches leave every
// item with the secret of its last acknowledged write; a file held past the
// wait is reported busy.
#include <signal.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <map>
#include <random>
#include <set>
#include <sstream>

#include "keychain_fixture.h"

namespace sectest {
namespace {

// The sanitizer build runs a smaller share of each workload.
#ifdef KC_SANITIZED_BUILD
constexpr int kScale = 4;
#else
constexpr int kScale = 1;
#endif

struct Child {
  pid_t pid = -1;
  FILE* out = nullptr;  // the child's standard output
};

Child Start(std::vector<std::string> argv) {
  int fds[2];
  Child c;
  if (pipe(fds) != 0) return c;
  c.pid = fork();
  if (c.pid == 0) {
    dup2(fds[1], STDOUT_FILENO);
    close(fds[0]);
    close(fds[1]);
    std::vector<char*> args;
    for (std::string& a : argv) args.push_back(a.data());
    args.push_back(nullptr);
    execv(args[0], args.data());
    _exit(127);
  }
  close(fds[1]);
  c.out = fdopen(fds[0], "r");
  return c;
}

// Reads the child's lines to its end and returns its wait status.
int Finish(Child& c, std::vector<std::string>* lines) {
  char line[256];
  while (fgets(line, sizeof line, c.out)) lines->emplace_back(line, strcspn(line, "\n"));
  fclose(c.out);
  int status = 0;
  waitpid(c.pid, &status, 0);
  return status;
}

Child Writer(const std::string& path, const std::string& prefix, int count) {
  return Start({KEYCHAIN_WRITER_PATH, path, "pw", prefix, std::to_string(count)});
}

// Every generic password of the keychain: account -> secret.
std::map<std::string, std::string> Contents(SecKeychainRef kc, size_t* duplicates) {
  std::map<std::string, std::string> items;
  SecKeychainSearchRef search = nullptr;
  EXPECT_EQ(SecKeychainSearchCreateFromAttributes(kc, kSecGenericPasswordItemClass, nullptr, &search), 0);
  SecKeychainItemRef item = nullptr;
  while (search && SecKeychainSearchCopyNext(search, &item) == errSecSuccess) {
    std::string account, secret;
    EXPECT_EQ(ReadAttr(item, kSecAccountItemAttr, &account), 0);
    UInt32 length = 0;
    void* data = nullptr;
    EXPECT_EQ(SecKeychainItemCopyContent(item, nullptr, nullptr, &length, &data), 0) << account;
    if (data) secret.assign(static_cast<char*>(data), length);
    SecKeychainItemFreeContent(nullptr, data);
    *duplicates += items.count(account);
    items[account] = secret;
    CFRelease(item);
  }
  if (search) CFRelease(search);
  return items;
}

class KeychainProcesses : public KeychainTest {
 protected:
  std::string MakeKeychain() {
    CFRelease(Create("shared.keychain", "pw"));
    return PathIn("shared.keychain");
  }
  SecKeychainRef Reopen(const std::string& path) {
    SecKeychainRef kc = nullptr;
    EXPECT_EQ(SecKeychainOpen(path.c_str(), &kc), 0);
    SecKeychainStatus status = 0;
    EXPECT_EQ(SecKeychainGetStatus(kc, &status), 0) << "the keychain no longer opens";
    EXPECT_EQ(SecKeychainUnlock(kc, 2, "pw", true), 0);
    return kc;
  }
};

TEST_F(KeychainProcesses, FourWritersOfAThousandLoseAndDuplicateNothing) {
  const std::string path = MakeKeychain();
  const int each = 1000 / kScale;
  std::vector<Child> writers;
  for (const char* prefix : {"a", "b", "c", "d"}) writers.push_back(Writer(path, prefix, each));
  std::set<std::string> acknowledged;
  for (size_t w = 0; w < writers.size(); ++w) {
    std::vector<std::string> lines;
    int status = Finish(writers[w], &lines);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "writer " << w << " status " << status;
    for (const std::string& n : lines) acknowledged.insert(std::string(1, char('a' + w)) + "-" + n);
  }
  ASSERT_EQ(acknowledged.size(), size_t(4 * each));
  SecKeychainRef kc = Reopen(path);
  size_t duplicates = 0;
  auto items = Contents(kc, &duplicates);
  EXPECT_EQ(duplicates, 0u);
  EXPECT_EQ(items.size(), acknowledged.size());
  for (const std::string& account : acknowledged) EXPECT_EQ(items[account], "secret-" + account);
  CFRelease(kc);
}

TEST_F(KeychainProcesses, WriterKilledFiveTimesKeepsEveryAcknowledgedAdd) {
  const std::string path = MakeKeychain();
  const int total = 10000 / kScale;
  std::mt19937 random(std::random_device{}());
  std::vector<int> killAt;
  for (int i = 0; i < 5; ++i) killAt.push_back(int(random() % total));
  std::sort(killAt.begin(), killAt.end());
  std::set<std::string> acknowledged;
  int done = 0;
  for (int round = 0; round <= 5 && done < total; ++round) {
    // Each round resumes the stream with a prefix of its own; the last runs to the end.
    const std::string prefix = "r" + std::to_string(round);
    Child c = Writer(path, prefix, total - done);
    std::vector<std::string> lines;
    char line[64];
    const int stopAfter = round < 5 ? std::max(0, killAt[round] - done) : total;
    while (int(lines.size()) < stopAfter && fgets(line, sizeof line, c.out)) lines.emplace_back(line, strcspn(line, "\n"));
    if (round < 5) kill(c.pid, SIGKILL);
    int status = Finish(c, &lines);
    if (round < 5) EXPECT_TRUE(WIFSIGNALED(status) || WIFEXITED(status)) << status;
    else EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    for (const std::string& n : lines) acknowledged.insert(prefix + "-" + n);
    done += int(lines.size());

    // After every kill the keychain opens and holds every acknowledged add.
    SecKeychainRef kc = Reopen(path);
    size_t duplicates = 0;
    auto items = Contents(kc, &duplicates);
    CFRelease(kc);
    EXPECT_EQ(duplicates, 0u);
    size_t missing = 0;
    for (const std::string& account : acknowledged) missing += items[account] != "secret-" + account;
    ASSERT_EQ(missing, 0u) << "after round " << round << " of " << acknowledged.size() << " adds";
    // At most the one add in flight when the writer died is there unacknowledged.
    EXPECT_LE(items.size(), acknowledged.size() + round + 1);
  }
  EXPECT_GE(done, total - 5);
}

TEST_F(KeychainProcesses, MixedWorkloadLeavesEveryItemWithItsLastAcknowledgedSecret) {
  const std::string path = MakeKeychain();
  const std::string millis = std::to_string(8000 / kScale);
  std::vector<Child> workers;
  for (int w = 0; w < 4; ++w)
    workers.push_back(Start({KEYCHAIN_MIXER_PATH, path, "pw", std::to_string(w), millis,
                             std::to_string(std::random_device{}())}));
  std::map<std::string, std::string> expected;
  size_t writes = 0;
  for (Child& c : workers) {
    std::vector<std::string> lines;
    int status = Finish(c, &lines);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0)
        << "status " << status << ", last line: " << (lines.empty() ? "" : lines.back());
    for (const std::string& line : lines) {
      std::istringstream in(line);
      std::string op, account, secret;
      in >> op >> account >> secret;
      if (op == "D") expected.erase(account);
      else if (op == "A" || op == "U") expected[account] = secret;
      ++writes;
    }
  }
  EXPECT_GT(writes, 100u) << "the workload did too little to prove anything";
  SecKeychainRef kc = Reopen(path);
  size_t duplicates = 0;
  EXPECT_EQ(Contents(kc, &duplicates), expected);
  EXPECT_EQ(duplicates, 0u);
  CFRelease(kc);
}

// Another holder of the file's write lock (here a plain SQLite connection,
// as another process would be) makes a writer wait, then report the file busy.
TEST_F(KeychainProcesses, WriteLockHeldPastTheWaitIsReportedBusyNotAsAnError) {
  kc_test::ScopedEnv env;
  env.Set("KEYCHAIN_BUSY_TIMEOUT_MS", "200");
  SecKeychainRef kc = Create("busy.keychain", "pw");
  sqlite3* other = nullptr;
  ASSERT_EQ(sqlite3_open(PathIn("busy.keychain").c_str(), &other), SQLITE_OK);
  ASSERT_EQ(sqlite3_exec(other, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr), SQLITE_OK);
  EXPECT_EQ(AddGeneric(kc, "svc", "acct", "v"), errSecDatabaseLocked);
  sqlite3_exec(other, "ROLLBACK", nullptr, nullptr, nullptr);
  sqlite3_close(other);
  EXPECT_EQ(AddGeneric(kc, "svc", "acct", "v"), errSecSuccess);
  EXPECT_EQ(FindSecret(kc, "svc", "acct"), "v");
  CFRelease(kc);
}

}  // namespace
}  // namespace sectest

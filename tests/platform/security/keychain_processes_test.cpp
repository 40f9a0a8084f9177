// Several processes on one keychain: concurrent writers lose nothing, a
// writer killed mid-stream leaves a keychain that opens and holds every add
// that returned success, and a file held past the wait is reported busy.
#include <signal.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <set>

#include "keychain_fixture.h"

namespace sectest {
namespace {

class KeychainProcesses : public KeychainTest {};

// Starts the writer with its stdout on a pipe; returns the pid.
pid_t StartWriter(const std::string& path, const std::string& prefix, int count, int* stdoutFd) {
  int fds[2];
  if (pipe(fds) != 0) return -1;
  pid_t pid = fork();
  if (pid == 0) {
    dup2(fds[1], STDOUT_FILENO);
    close(fds[0]);
    close(fds[1]);
    std::string n = std::to_string(count);
    execl(KEYCHAIN_WRITER_PATH, KEYCHAIN_WRITER_PATH, path.c_str(), "pw", prefix.c_str(), n.c_str(),
          static_cast<char*>(nullptr));
    _exit(127);
  }
  close(fds[1]);
  *stdoutFd = fds[0];
  return pid;
}

int CountItems(SecKeychainRef kc) {
  SecKeychainSearchRef search = nullptr;
  if (SecKeychainSearchCreateFromAttributes(kc, kSecGenericPasswordItemClass, nullptr, &search) != errSecSuccess)
    return -1;
  int n = 0;
  SecKeychainItemRef item = nullptr;
  while (SecKeychainSearchCopyNext(search, &item) == errSecSuccess) {
    ++n;
    CFRelease(item);
  }
  CFRelease(search);
  return n;
}

TEST_F(KeychainProcesses, TwoWritersAddingAThousandEachLoseNothing) {
  SecKeychainRef kc = Create("shared.keychain", "pw");
  std::string path = PathIn("shared.keychain");
  int outA = -1, outB = -1;
  pid_t a = StartWriter(path, "a", 1000, &outA);
  pid_t b = StartWriter(path, "b", 1000, &outB);
  ASSERT_GT(a, 0);
  ASSERT_GT(b, 0);
  // Drain both pipes so neither writer blocks on a full one.
  char buf[4096];
  for (int fd : {outA, outB})
    while (read(fd, buf, sizeof buf) > 0) {
    }
  int sa = 0, sb = 0;
  waitpid(a, &sa, 0);
  waitpid(b, &sb, 0);
  close(outA);
  close(outB);
  ASSERT_TRUE(WIFEXITED(sa) && WEXITSTATUS(sa) == 0) << "writer a status " << sa;
  ASSERT_TRUE(WIFEXITED(sb) && WEXITSTATUS(sb) == 0) << "writer b status " << sb;
  EXPECT_EQ(CountItems(kc), 2000);
  for (const char* acct : {"a-0", "a-999", "b-0", "b-500", "b-999"})
    EXPECT_EQ(FindSecret(kc, "service", acct), std::string("secret-") + acct);
  CFRelease(kc);
}

TEST_F(KeychainProcesses, KilledWriterLeavesEveryAcknowledgedAdd) {
  SecKeychainRef kc = Create("crash.keychain", "pw");
  CFRelease(kc);
  std::string path = PathIn("crash.keychain");
  int out = -1;
  pid_t pid = StartWriter(path, "k", 100000, &out);
  ASSERT_GT(pid, 0);
  FILE* lines = fdopen(out, "r");
  std::set<long> acknowledged;
  char line[64];
  while (acknowledged.size() < 60 && fgets(line, sizeof line, lines)) acknowledged.insert(strtol(line, nullptr, 10));
  kill(pid, SIGKILL);
  while (fgets(line, sizeof line, lines)) acknowledged.insert(strtol(line, nullptr, 10));
  fclose(lines);
  int status = 0;
  waitpid(pid, &status, 0);
  ASSERT_TRUE(WIFSIGNALED(status));
  ASSERT_GE(acknowledged.size(), 60u);

  ASSERT_EQ(SecKeychainOpen(path.c_str(), &kc), errSecSuccess);
  SecKeychainStatus st = 0;
  ASSERT_EQ(SecKeychainGetStatus(kc, &st), errSecSuccess);
  ASSERT_EQ(SecKeychainUnlock(kc, 2, "pw", true), errSecSuccess);
  for (long i : acknowledged) {
    std::string acct = "k-" + std::to_string(i);
    ASSERT_EQ(FindSecret(kc, "service", acct), "secret-" + acct);
  }
  // The keychain still takes writes.
  EXPECT_EQ(AddGeneric(kc, "after", "crash", "ok"), errSecSuccess);
  EXPECT_GE(CountItems(kc), int(acknowledged.size()) + 1);
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

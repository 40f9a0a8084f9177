// Threads of one process sharing keychain objects: adds, finds, searches and
// locking run at once without losing items or mixing up secrets.
#include <atomic>
#include <thread>
#include <vector>

#include "keychain_fixture.h"

namespace sectest {
namespace {

class KeychainThreads : public KeychainTest {};

TEST_F(KeychainThreads, ConcurrentAddsFindsAndOpensStayConsistent) {
  SecKeychainRef kc = Create("threads.keychain", "pw");
  const int kThreads = 4, kEach = 50;
  std::atomic<int> failures{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&, t] {
      // Each thread opens the path itself: all get the same object.
      SecKeychainRef mine = nullptr;
      if (SecKeychainOpen(PathIn("threads.keychain").c_str(), &mine) != errSecSuccess || mine != kc) ++failures;
      for (int i = 0; i < kEach; ++i) {
        std::string acct = "t" + std::to_string(t) + "-" + std::to_string(i);
        if (AddGeneric(mine, "svc", acct, "secret-" + acct) != errSecSuccess) ++failures;
        if (FindSecret(mine, "svc", acct) != "secret-" + acct) ++failures;
      }
      if (mine) CFRelease(mine);
    });
  }
  for (auto& th : threads) th.join();
  EXPECT_EQ(failures.load(), 0);

  SecKeychainSearchRef search = nullptr;
  ASSERT_EQ(SecKeychainSearchCreateFromAttributes(kc, kSecGenericPasswordItemClass, nullptr, &search),
            errSecSuccess);
  int n = 0;
  SecKeychainItemRef item = nullptr;
  while (SecKeychainSearchCopyNext(search, &item) == errSecSuccess) {
    ++n;
    CFRelease(item);
  }
  CFRelease(search);
  EXPECT_EQ(n, kThreads * kEach);
  CFRelease(kc);
}

}  // namespace
}  // namespace sectest

// Threads of one process sharing keychain objects: adds, finds, searches and
// locking run at once without losing items or mixing up secrets, and racing
// deletes of one item have one winner.
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

// Every thread finds the item before any deletes it often enough that the
// losers of the race are seen: each must get errSecItemNotFound.
TEST_F(KeychainThreads, RacingItemDeletesHaveOneWinnerAndTheRestFindNothing) {
  SecKeychainRef kc = Create("race.keychain", "pw");
  CFArrayRef searchList = CFArrayCreate(nullptr, (const void**)&kc, 1, &kCFTypeArrayCallBacks);
  CFStringRef service = CFSTR("svc");
  const void* keys[] = {kSecClass, kSecAttrService, kSecMatchSearchList};
  const void* values[] = {kSecClassGenericPassword, service, searchList};
  CFDictionaryRef query = CFDictionaryCreate(nullptr, keys, values, 3, &kCFTypeDictionaryKeyCallBacks,
                                             &kCFTypeDictionaryValueCallBacks);
  const int kThreads = 4, kRounds = 30;
  int unexpected = 0, wins = 0, losses = 0;
  for (int round = 0; round < kRounds; ++round) {
    ASSERT_EQ(AddGeneric(kc, "svc", "acct", "secret"), errSecSuccess);
    std::atomic<int> ready{0};
    std::vector<OSStatus> results(kThreads, 1);
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
      threads.emplace_back([&, t] {
        ++ready;
        while (ready.load() < kThreads) {
        }
        results[size_t(t)] = SecItemDelete(query);
      });
    }
    for (auto& th : threads) th.join();
    int roundWins = 0;
    for (OSStatus r : results) {
      if (r == errSecSuccess)
        ++roundWins;
      else if (r == errSecItemNotFound)
        ++losses;
      else
        ++unexpected;
    }
    EXPECT_EQ(roundWins, 1) << "round " << round;
    wins += roundWins;
  }
  EXPECT_EQ(unexpected, 0);
  EXPECT_EQ(wins, kRounds);
  EXPECT_EQ(losses, kRounds * (kThreads - 1));
  CFRelease(query);
  CFRelease(searchList);
  CFRelease(kc);
}

}  // namespace
}  // namespace sectest

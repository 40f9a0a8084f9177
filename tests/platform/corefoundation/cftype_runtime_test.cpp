// The object runtime: retain counts, finalization, class registration,
// immortal objects, type IDs, live-object counts and C linkage.
#include <CoreFoundation/CFLiveObjects.h>
#include <CoreFoundation/CFRuntime.h>

#include <atomic>
#include <cstdio>
#include <cstring>
#include <set>
#include <thread>

#include "cf_test.h"

extern "C" int kc_cf_c_caller_round_trip(void);
extern "C" CFStringRef kc_cf_probe_key(void);
extern "C" CFArrayRef kc_cf_probe_array(void);

namespace cf_test {
namespace {

// Made before main() runs, as frameworks do with their constant keys.
const CFStringRef kMadeDuringStaticInit = CFSTR("made during static init");

std::atomic<int> gFinalized{0};

struct Probe {
  CFRuntimeBase base;
  int payload[8];
};

void FinalizeProbe(CFTypeRef) { ++gFinalized; }

const CFRuntimeClass kProbeClass = {0, "KCProbe", nullptr, nullptr, FinalizeProbe, nullptr, nullptr, nullptr, nullptr};

CFTypeID ProbeTypeID() {
  static CFTypeID id = _CFRuntimeRegisterClass(&kProbeClass);
  return id;
}

Probe* NewProbe() {
  return const_cast<Probe*>(static_cast<const Probe*>(
      _CFRuntimeCreateInstance(kCFAllocatorDefault, ProbeTypeID(), sizeof(Probe) - sizeof(CFRuntimeBase), nullptr)));
}

using CFTypeRuntime = CFTest;

TEST_F(CFTypeRuntime, RetainAndReleaseCountAndFinalizeExactlyOnce) {
  gFinalized = 0;
  CFIndex liveBefore = CFLiveObjectsGetCount(ProbeTypeID());
  Probe* p = NewProbe();
  ASSERT_NE(nullptr, p);
  EXPECT_EQ(liveBefore + 1, CFLiveObjectsGetCount(ProbeTypeID()));
  EXPECT_EQ(1, CFGetRetainCount(p));
  EXPECT_EQ(p, CFRetain(p));
  EXPECT_EQ(2, CFGetRetainCount(p));
  CFRelease(p);
  EXPECT_EQ(1, CFGetRetainCount(p));
  EXPECT_EQ(0, gFinalized.load());
  CFRelease(p);
  EXPECT_EQ(1, gFinalized.load());
  EXPECT_EQ(liveBefore, CFLiveObjectsGetCount(ProbeTypeID()));
}

// A finalize that asks for its own object again, as a registry lookup racing
// with the last release would, must be refused.
CFTypeRef gTryRetainDuringFinalize = reinterpret_cast<CFTypeRef>(1);
void FinalizeTryingToRevive(CFTypeRef cf) { gTryRetainDuringFinalize = _CFTryRetain(cf); }
const CFRuntimeClass kRevivingClass = {0, "KCReviving", nullptr, nullptr, FinalizeTryingToRevive,
                                       nullptr, nullptr, nullptr, nullptr};

TEST_F(CFTypeRuntime, TryRetainRetainsLiveObjectsButNotOnesBeingFinalized) {
  Probe* p = NewProbe();
  ASSERT_NE(nullptr, p);
  EXPECT_EQ(p, _CFTryRetain(p));
  EXPECT_EQ(2, CFGetRetainCount(p));
  CFRelease(p);
  CFRelease(p);
  EXPECT_EQ(nullptr, _CFTryRetain(nullptr));
  EXPECT_EQ(kCFBooleanTrue, _CFTryRetain(kCFBooleanTrue));

  static CFTypeID reviving = _CFRuntimeRegisterClass(&kRevivingClass);
  CFTypeRef r = _CFRuntimeCreateInstance(kCFAllocatorDefault, reviving, 8, nullptr);
  ASSERT_NE(nullptr, r);
  CFRelease(r);
  EXPECT_EQ(nullptr, gTryRetainDuringFinalize);
}

TEST_F(CFTypeRuntime, RegisteredClassHasItsOwnTypeZeroedStorageAndDefaults) {
  CFTypeID id = ProbeTypeID();
  EXPECT_GT(id, CFStringGetTypeID());
  EXPECT_LE(id, CFLiveObjectsGetMaxTypeID());
  EXPECT_STREQ("KCProbe", CFLiveObjectsGetTypeName(id));
  EXPECT_EQ(nullptr, CFLiveObjectsGetTypeName(CFLiveObjectsGetMaxTypeID() + 1));

  Probe* a = NewProbe();
  Probe* b = NewProbe();
  for (int v : a->payload) EXPECT_EQ(0, v);
  EXPECT_EQ(id, CFGetTypeID(a));
  // No equal or hash callback: identity.
  EXPECT_TRUE(CFEqual(a, a));
  EXPECT_FALSE(CFEqual(a, b));
  Owned<CFStringRef> desc(CFCopyDescription(a));
  EXPECT_EQ(0u, UTF8(desc).rfind("<KCProbe 0x", 0)) << UTF8(desc);
  CFRelease(a);
  CFRelease(b);
  EXPECT_EQ(nullptr, _CFRuntimeCreateInstance(nullptr, 0, 0, nullptr));
  EXPECT_EQ(nullptr, _CFRuntimeCreateInstance(nullptr, CFLiveObjectsGetMaxTypeID() + 1, 0, nullptr));
}

TEST_F(CFTypeRuntime, NullArgumentsAreHarmless) {
  EXPECT_EQ(nullptr, CFRetain(nullptr));
  CFRelease(nullptr);
  EXPECT_EQ(0u, CFGetTypeID(nullptr));
  EXPECT_FALSE(CFEqual(nullptr, CFSTR("x")));
  EXPECT_FALSE(CFEqual(CFSTR("x"), nullptr));
  EXPECT_EQ(0u, CFHash(nullptr));
  EXPECT_EQ(nullptr, CFCopyDescription(nullptr));
  EXPECT_EQ(0, CFStringGetLength(nullptr));
  EXPECT_EQ(0, CFArrayGetCount(nullptr));
  EXPECT_EQ(nullptr, CFDictionaryGetValue(nullptr, CFSTR("k")));
  // A value of the wrong type is refused, not misread.
  EXPECT_EQ(0, CFStringGetLength(reinterpret_cast<CFStringRef>(kCFBooleanTrue)));
  EXPECT_EQ(0, CFDataGetLength(reinterpret_cast<CFDataRef>(CFSTR("text"))));
}

TEST_F(CFTypeRuntime, RetainCountsStayExactUnderConcurrentRetainAndRelease) {
  Owned<CFStringRef> s(NewString("shared"));
  const int kThreads = 4, kRounds = 20000;
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < kRounds; ++i) CFRetain(s);
      for (int i = 0; i < kRounds; ++i) CFRelease(s);
    });
  }
  for (auto& th : threads) th.join();
  EXPECT_EQ(1, CFGetRetainCount(s));
}

TEST_F(CFTypeRuntime, ImmortalObjectsIgnoreRetainReleaseAndAreNotCounted) {
  CFIndex total = CFLiveObjectsGetTotalCount();
  CFStringRef a = CFSTR("uniqued text");
  EXPECT_EQ(a, CFSTR("uniqued text"));
  EXPECT_NE(a, CFSTR("other text"));
  CFTypeRef immortals[] = {a,
                           kCFBooleanTrue,
                           kCFBooleanFalse,
                           kCFNull,
                           kCFAllocatorSystemDefault,
                           kCFAllocatorMalloc,
                           kCFAllocatorNull,
                           CFCharacterSetGetPredefined(kCFCharacterSetWhitespace),
                           kCFNumberNaN};
  for (CFTypeRef obj : immortals) {
    ASSERT_NE(nullptr, obj);
    for (int i = 0; i < 5; ++i) CFRelease(obj);
    CFRetain(obj);
    EXPECT_TRUE(CFEqual(obj, obj));
  }
  EXPECT_EQ("uniqued text", UTF8(a));
  EXPECT_EQ(total, CFLiveObjectsGetTotalCount());
  EXPECT_EQ("made during static init", UTF8(kMadeDuringStaticInit));
  EXPECT_EQ(kMadeDuringStaticInit, CFSTR("made during static init"));
}

TEST_F(CFTypeRuntime, AnotherLibrarysStaticInitializersCanUseTheFramework) {
  // The probe library built its constants while it was being loaded.
  EXPECT_EQ(CFSTR("probe key"), kc_cf_probe_key());
  CFArrayRef a = kc_cf_probe_array();
  ASSERT_EQ(2, CFArrayGetCount(a));
  EXPECT_EQ(kc_cf_probe_key(), CFArrayGetValueAtIndex(a, 0));
  EXPECT_EQ(kCFBooleanTrue, CFArrayGetValueAtIndex(a, 1));
}

TEST_F(CFTypeRuntime, EveryTypeHasADistinctIDMatchingItsInstances) {
  std::set<CFTypeID> ids = {CFAllocatorGetTypeID(),  CFNullGetTypeID(),     CFBooleanGetTypeID(),
                            CFStringGetTypeID(),     CFDataGetTypeID(),     CFNumberGetTypeID(),
                            CFDateGetTypeID(),       CFTimeZoneGetTypeID(), CFArrayGetTypeID(),
                            CFDictionaryGetTypeID(), CFSetGetTypeID(),      CFBagGetTypeID(),
                            CFURLGetTypeID(),        CFCharacterSetGetTypeID(), CFAttributedStringGetTypeID(),
                            CFBundleGetTypeID(),     CFUUIDGetTypeID(),     CFErrorGetTypeID()};
  EXPECT_EQ(18u, ids.size());
  EXPECT_EQ(0u, ids.count(0));
  EXPECT_EQ(CFNullGetTypeID(), CFGetTypeID(kCFNull));
  EXPECT_EQ(CFBooleanGetTypeID(), CFGetTypeID(kCFBooleanFalse));
  EXPECT_EQ(CFAllocatorGetTypeID(), CFGetTypeID(kCFAllocatorSystemDefault));
  EXPECT_EQ(CFStringGetTypeID(), CFGetTypeID(CFSTR("s")));
  for (CFTypeID id : ids) EXPECT_NE(nullptr, CFLiveObjectsGetTypeName(id)) << id;
  EXPECT_STREQ("CFString", CFLiveObjectsGetTypeName(CFStringGetTypeID()));
}

TEST_F(CFTypeRuntime, LiveCountsFollowCreationAndReleasePerType) {
  CFIndex strings = CFLiveObjectsGetCount(CFStringGetTypeID());
  CFIndex total = CFLiveObjectsGetTotalCount();
  CFStringRef s = NewString("counted");
  CFDataRef d = CFDataCreate(nullptr, reinterpret_cast<const UInt8*>("x"), 1);
  EXPECT_EQ(strings + 1, CFLiveObjectsGetCount(CFStringGetTypeID()));
  EXPECT_EQ(total + 2, CFLiveObjectsGetTotalCount());
  kc_test::CFLiveObjectsSnapshot snapshot;
  CFRelease(s);
  EXPECT_EQ("CFString -1", snapshot.DiffNow());
  CFRelease(d);
  EXPECT_EQ("CFString -1, CFData -1", snapshot.DiffNow());
  EXPECT_EQ(strings, CFLiveObjectsGetCount(CFStringGetTypeID()));
  EXPECT_EQ(0, CFLiveObjectsGetCount(0));
}

TEST_F(CFTypeRuntime, ConstantStringsAreUniquedAcrossRacingThreads) {
  const int kThreads = 4;
  CFStringRef seen[kThreads][50];
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&seen, t] {
      char text[32];
      for (int i = 0; i < 50; ++i) {
        snprintf(text, sizeof text, "race-%d", i);
        seen[t][i] = __CFStringMakeConstantString(text);
      }
    });
  }
  for (auto& th : threads) th.join();
  for (int i = 0; i < 50; ++i)
    for (int t = 1; t < kThreads; ++t) EXPECT_EQ(seen[0][i], seen[t][i]) << i;
}

TEST_F(CFTypeRuntime, ObjectsMadeAndReleasedOnManyThreadsLeaveNoneAlive) {
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([t] {
      for (int i = 0; i < 2000; ++i) {
        int v = t * 10000 + i;
        CFNumberRef n = CFNumberCreate(nullptr, kCFNumberIntType, &v);
        CFMutableArrayRef a = CFArrayCreateMutable(nullptr, 0, &kCFTypeArrayCallBacks);
        CFArrayAppendValue(a, n);
        CFRelease(n);
        CFRelease(a);
      }
    });
  }
  for (auto& th : threads) th.join();
  // The fixture's check at the end of the test proves the counts are back.
}

TEST_F(CFTypeRuntime, HeadersCompileAsCAndFunctionsHaveCLinkage) { EXPECT_EQ(1, kc_cf_c_caller_round_trip()); }

TEST_F(CFTypeRuntime, AllocatorsAllocateExceptTheNullAllocator) {
  void* p = CFAllocatorAllocate(kCFAllocatorDefault, 64, 0);
  ASSERT_NE(nullptr, p);
  memset(p, 0xAB, 64);
  p = CFAllocatorReallocate(kCFAllocatorDefault, p, 128, 0);
  ASSERT_NE(nullptr, p);
  EXPECT_EQ(0xAB, static_cast<unsigned char*>(p)[63]);
  CFAllocatorDeallocate(kCFAllocatorDefault, p);
  EXPECT_EQ(nullptr, CFAllocatorAllocate(kCFAllocatorNull, 16, 0));
  EXPECT_EQ(nullptr, CFAllocatorAllocate(kCFAllocatorMalloc, 0, 0));
  CFAllocatorDeallocate(kCFAllocatorNull, &p);  // never frees
  Owned<CFStringRef> s(NewString("x"));
  EXPECT_EQ(kCFAllocatorSystemDefault, CFGetAllocator(s));
}

}  // namespace
}  // namespace cf_test

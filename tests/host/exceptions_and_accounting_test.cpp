// Exceptions kept pending until the plug-in returns, withheld host names and
// look-up counts, and the accounting that catches a leak and a double
// release.
#include <cstring>

#include "probe_host.h"

namespace host_test {
namespace {

using ExceptionsAndAccounting = ProbeTest;

TEST_F(ExceptionsAndAccounting, RaisedExceptionsAreDeliveredAfterTheCall) {
  const char* kRaise = "Raise(className as string, message as string, number as integer)";
  const struct {
    const char* asked;
    const char* got;
  } kCases[] = {
      {"NilObjectException", "NilObjectException"},
      {"OutOfMemoryException", "OutOfMemoryException"},
      {"ProbeError", "ProbeError"},            // the plug-in's own subclass
      {"NoSuchException", "RuntimeException"},  // unknown: the plug-in falls back
  };
  for (const auto& c : kCases) {
    Shared(kRaise, {Text(c.asked), Text("query is nil"), Value::Integer(-25300)});
    auto e = host().TakeException();
    ASSERT_TRUE(e.has_value()) << c.asked;
    EXPECT_EQ(e->className, c.got);
    EXPECT_EQ(e->message, "query is nil");
    EXPECT_EQ(e->errorNumber, -25300);
    EXPECT_FALSE(host().TakeException().has_value());  // handed over once
  }
  // The first exception of a call is the one delivered; the later one is
  // released by the plug-in like any value it made.
  Shared("RaiseTwice");
  auto e = host().TakeException();
  ASSERT_TRUE(e.has_value());
  EXPECT_EQ(e->message, "first");
  // An exception stays pending across other calls and property reads until
  // taken, and a later raise replaces it.
  Shared(kRaise, {Text("RuntimeException"), Text("old"), Value::Integer(0)});
  EXPECT_EQ(Int("Constructed as integer"), 0);
  EXPECT_EQ(host().GetModuleProperty(kModule, "Counter").value.integer(), 0);
  Shared(kRaise, {Text("NilObjectException"), Text("new"), Value::Integer(0)});
  e = host().TakeException();
  ASSERT_TRUE(e.has_value());
  EXPECT_EQ(e->message, "new");
  EXPECT_EQ(host().LiveObjects(), 0u);
}

TEST_F(ExceptionsAndAccounting, UnknownClassesGiveNilAndClassTestsWork) {
  EXPECT_TRUE(Shared("Make(className as string) as Object", {Text("NoSuchClass")}).isNil());
  EXPECT_TRUE(Shared("Make(className as string) as Object", {Text("Variant")}).isNil());
  Value e = Shared("Make(className as string) as Object", {Text("ProbeError")});
  const char* kIsA = "IsA(o as Object, className as string) as boolean";
  EXPECT_TRUE(Shared(kIsA, {e, Text("RuntimeException")}).boolean());
  EXPECT_TRUE(Shared(kIsA, {e, Text("ProbeError")}).boolean());
  EXPECT_FALSE(Shared(kIsA, {e, Text("NilObjectException")}).boolean());
  EXPECT_FALSE(Shared(kIsA, {e, Text("NoSuchClass")}).boolean());
  EXPECT_FALSE(Shared(kIsA, {Value(), Text("ProbeError")}).boolean());
  Value m = host().MemoryBlock("x");
  EXPECT_TRUE(Shared(kIsA, {m, Text("MemoryBlock")}).boolean());
}

TEST_F(ExceptionsAndAccounting, WithheldNamesResolveToNullAndAreAskedAgain) {
  HostOptions opt;
  opt.withheld = {"PluginNewInstance", "REALLockString"};
  StartHost(opt);
  Value s = Text("x");
  EXPECT_TRUE(Shared("Make(className as string) as Object", {Text("ProbeThing")}).isNil());
  EXPECT_TRUE(Shared("Make(className as string) as Object", {Text("ProbeThing")}).isNil());
  EXPECT_EQ(host().LookupCount("PluginNewInstance"), 2);
  // A name that resolves is asked for once and then kept.
  Shared("Encoding(s as string) as integer", {s});
  Shared("Encoding(s as string) as integer", {s});
  EXPECT_EQ(host().LookupCount("REALGetStringEncoding"), 1);
  EXPECT_EQ(host().Resolve("REALLockString"), nullptr);
  EXPECT_NE(host().Resolve("REALUnlockString"), nullptr);
  EXPECT_EQ(host().Resolve("NoSuchHostFunction"), nullptr);
  EXPECT_EQ(host().LookupCount("NoSuchHostFunction"), 1);
}

TEST_F(ExceptionsAndAccounting, TheAccountingCatchesALeakAndADoubleRelease) {
  Shared("Leak(className as string)", {Text("ProbeThing")});
  Shared("LeakString(text as string)", {Text("kept")});
  Shared("LeakStringData(text as string)", {Text("bytes")});
  EXPECT_EQ(host().LiveStringData(), 1u);
  // Data the plug-in allocated itself is freed by the host's disposal (the
  // sanitizer build would report it otherwise) and is not counted.
  Shared("DisposeOwnData");
  EXPECT_EQ(host().LiveStringData(), 1u);
  EXPECT_EQ(host().LiveInstances("ProbeThing"), 1u);
  EXPECT_EQ(host().LiveObjects(), 1u);
  EXPECT_EQ(host().LiveStrings(), 1u);

  Value t = host().NewInstance("ProbeThing");
  Shared("Hold(o as Object)", {t});
  EXPECT_EQ(host().LockCount(t), 2);
  Shared("ReleaseHeld");
  EXPECT_EQ(host().LockCount(t), 1);
  // Releasing twice what it holds once: the object goes with the first, the
  // second is reported and ignored, and the caller's own release then too.
  Shared("ReleaseTwice(o as Object)", {t});
  EXPECT_EQ(host().BadReleases(), 1u);
  EXPECT_EQ(host().LockCount(t), -1);
  t.reset();
  EXPECT_EQ(host().BadReleases(), 2u);
  ASSERT_FALSE(host().Problems().empty());
  EXPECT_NE(host().Problems().back().find("no lock left"), std::string::npos);
  // Releasing something that was never a host value is reported as well.
  int local = 0;
  auto unlock = reinterpret_cast<REALUnlockObject_fn>(host().Resolve("REALUnlockObject"));
  unlock(reinterpret_cast<REALobject>(&local));
  EXPECT_EQ(host().BadReleases(), 3u);
  unlock(nullptr);  // nil is no fault
  EXPECT_EQ(host().BadReleases(), 3u);
  // A destructor that releases its own object once more is caught as well:
  // ProbeThing's releases its Partner, here the object itself, unlocked.
  Value self = host().NewInstance("ProbeThing");
  const RBWord raw = reinterpret_cast<RBWord>(self.object());
  std::memcpy(host().InstanceData(self) + 3 * sizeof(RBWord), &raw, sizeof raw);
  self.reset();
  EXPECT_EQ(host().BadReleases(), 4u);
  EXPECT_EQ(host().LiveInstances("ProbeThing"), 1u) << "only the deliberate leak is left";
  // So is a lock taken on a string already released.
  Value gone = Text("gone");
  REALstring stale = gone.string();
  gone.reset();
  reinterpret_cast<REALLockString_fn>(host().Resolve("REALLockString"))(stale);
  EXPECT_EQ(host().BadReleases(), 5u);

  // The leaks were deliberate: a fresh host for the fixture's final checks.
  StartHost(HostOptions());
}

// A handle is a host value only at its exact address: an address inside a
// value, or next to one, is refused without being read as a value. Values
// released long ago give their memory to new ones without disturbing the
// values still held, and values too large to share memory with others
// (long texts, large instance data) come and go like the rest.
TEST_F(ExceptionsAndAccounting, OnlyExactHandlesAreValuesAndReusedMemoryLeavesHeldValuesIntact) {
  HostOptions opt;
  opt.standIns = {{"CFObjectZNQ", true, 8 * sizeof(void*)}, {"CGImageZNQ", false, 100000}};
  StartHost(opt);
  auto lockObject = reinterpret_cast<REALLockObject_fn>(host().Resolve("REALLockObject"));
  auto lockString = reinterpret_cast<REALLockString_fn>(host().Resolve("REALLockString"));
  Value variant = host().Variant(Text("held"));
  Value text = Text("kept text");
  const std::string longText(5000, 'x');
  Value longString = Text(longText);
  Value large = host().NewInstance("CGImageZNQ");
  ASSERT_FALSE(large.isNil());
  size_t bad = 0;
  for (const Value* v : {&variant, &large}) {
    auto* at = reinterpret_cast<unsigned char*>(v->object());
    for (long offset : {-16L, -8L, 8L, 16L}) {
      lockObject(reinterpret_cast<REALobject>(at + offset));
      EXPECT_EQ(host().BadReleases(), ++bad) << offset;
    }
    lockString(reinterpret_cast<REALstring>(at));  // an object is not a string
    EXPECT_EQ(host().BadReleases(), ++bad);
  }
  for (const Value* s : {&text, &longString}) {
    lockString(reinterpret_cast<REALstring>(reinterpret_cast<unsigned char*>(s->string()) + 8));
    EXPECT_EQ(host().BadReleases(), ++bad);
    lockObject(reinterpret_cast<REALobject>(s->string()));  // a string is not an object
    EXPECT_EQ(host().BadReleases(), ++bad);
  }
  // A released value's memory is not reused at once: a late lock of it is
  // still caught, and lands on no value made since.
  for (int i = 0; i < 2; ++i) {
    Value gone = i == 0 ? host().Variant(Text("gone")) : Text("gone");
    void* stale = i == 0 ? static_cast<void*>(gone.object()) : static_cast<void*>(gone.string());
    gone.reset();
    Value next = i == 0 ? host().Variant(Text("next")) : Text("next");
    if (i == 0) lockObject(static_cast<REALobject>(stale));
    else lockString(static_cast<REALstring>(stale));
    EXPECT_EQ(host().BadReleases(), ++bad);
    EXPECT_EQ(host().LockCount(next), 1);
  }
  expectedBadReleases_ = bad;
  EXPECT_EQ(host().LockCount(variant), 1);
  EXPECT_EQ(host().LockCount(large), 1);

  // Far more values made and released than are kept as released records.
  for (int i = 0; i < 20000; ++i) {
    Value v = host().Variant(Text("churn " + std::to_string(i)));
    if (i % 1000 == 0) {
      Value big = host().NewInstance("CGImageZNQ");
      Value longer = Text(std::string(3000 + i % 7, 'y'));
      EXPECT_EQ(host().StringBytes(longer).size(), size_t(3000 + i % 7));
    }
  }
  EXPECT_EQ(host().StringBytes(host().VariantValue(variant)), "held");
  EXPECT_EQ(host().StringBytes(text), "kept text");
  EXPECT_EQ(host().StringBytes(longString), longText);
  EXPECT_EQ(host().LockCount(variant), 1);
  EXPECT_EQ(host().LockCount(large), 1);
  EXPECT_EQ(host().LiveObjects(), 2u);
  EXPECT_EQ(host().LiveStrings(), 3u);  // the variant's text, and the two strings
  EXPECT_EQ(host().BadReleases(), bad);
}

}  // namespace
}  // namespace host_test

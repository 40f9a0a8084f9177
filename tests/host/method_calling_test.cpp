// Calling plug-in code by declaration: every argument type of the calling
// shape, by-reference slots, property-like methods and their setters,
// inherited methods, properties stored by the host and served by functions,
// module properties, constructors and destructors, and calls the host refuses.
#include <cstring>

#include "probe_host.h"

namespace host_test {
namespace {

using MethodCalling = ProbeTest;

TEST_F(MethodCalling, ArgumentsOfEveryTypeArriveInOrder) {
  Value t = host().NewInstance("ProbeThing");
  ASSERT_FALSE(t.isNil());
  EXPECT_EQ(Method(t, "Add(x as integer) as integer", {Value::Integer(-9)}).integer(), -2);
  // Doubles and singles travel in other registers than the object.
  EXPECT_DOUBLE_EQ(Method(t, "Scale(f as double, g as single) as double",
                          {Value::Double(1.5), Value::Single(2.0f)}).real(), 21.0);
  Value mixed = Method(t, "Mix(a as int32, b as int64, c as boolean, d as color, e as int8, f as uint16) as int64",
                       {Value::Int32(-1), Value::Int64(int64_t(1) << 40), Value::Boolean(true),
                        Value::Color(0x00FF8000), Value::Integer(-3), Value::Integer(65535)});
  EXPECT_EQ(mixed.kind(), Kind::Int64);
  EXPECT_EQ(mixed.int64(), -1 + (int64_t(1) << 40) + 1 + 0x00FF8000 - 3 + 65535);
  // Unsigned results keep their value whatever their top bit.
  EXPECT_EQ(Method(t, "Not32(v as uint32) as uint32", {Value::Integer(1)}).integer(), RBInteger(0xFFFFFFFE));
  EXPECT_EQ(Method(t, "Not16(v as uint16) as uint16", {Value::Integer(1)}).integer(), RBInteger(0xFFFE));
  EXPECT_FALSE(Method(t, "Flagged as boolean").boolean());
  ASSERT_TRUE(host().SetProperty(t, "Flag", Value::Boolean(true)).ok);
  EXPECT_TRUE(Method(t, "Flagged as boolean").boolean());
}

TEST_F(MethodCalling, ByRefSlotsComeBackWithTheirNewValuesAndLocks) {
  Value t = host().NewInstance("ProbeThing");
  Value n = Value::Integer(4);
  Value s = Text("old");
  ASSERT_TRUE(host().CallMethod(t, "Swap(byref a as integer, byref b as string)",
                                {Arg::ByRef(n), Arg::ByRef(s)}).ok);
  EXPECT_EQ(n.integer(), 40);
  EXPECT_EQ(host().StringBytes(s), "swapped old");
  EXPECT_EQ(host().LockCount(s), 1);  // the plug-in released the old text
  EXPECT_EQ(host().LiveStrings(), 1u);

  // A memory block slot that starts nil receives a new block.
  Value block;
  Value ok = Shared("StringData(s as string, encoding as integer, byref data as memoryblock) as boolean",
                    {Text("hi"), Value::Integer(kREALEncodingUTF8), Arg::ByRef(block)});
  EXPECT_TRUE(ok.boolean());
  EXPECT_EQ(host().MemoryBlockBytes(block), std::string("hi\0\0\0\0", 6));
}

TEST_F(MethodCalling, PropertyLikeMethodsReadAndAssign) {
  Value t = host().NewInstance("ProbeThing");
  ASSERT_TRUE(host().SetProperty(t, "Label", Text("red")).ok);
  EXPECT_EQ(host().StringBytes(Method(t, "Describe as string")), "thing 7 red");
  ASSERT_TRUE(host().AssignMethod(t, "Describe as string", {}, Text("abcd")).ok);
  EXPECT_EQ(host().GetProperty(t, "Number").value.integer(), 4);
  // With arguments, the assigned value comes last.
  ASSERT_TRUE(host().AssignMethod(t, "Suffix(n as integer) as string", {Value::Integer(10)}, Text("xy")).ok);
  EXPECT_EQ(host().GetProperty(t, "Number").value.integer(), 12);
  EXPECT_EQ(host().StringBytes(Method(t, "Suffix(n as integer) as string", {Value::Integer(1)})), "13");
  // A method without a setter cannot be assigned.
  CallResult r = host().AssignMethod(t, "Flagged as boolean", {}, Value::Boolean(true));
  EXPECT_FALSE(r.ok);
  EXPECT_NE(r.error.find("cannot be assigned"), std::string::npos);
}

TEST_F(MethodCalling, StoredAndFunctionPropertiesUseTheInstanceData) {
  Value t = host().NewInstance("ProbeThing");
  unsigned char* data = host().InstanceData(t);
  ASSERT_NE(data, nullptr);
  EXPECT_EQ(data - reinterpret_cast<unsigned char*>(t.object()), kREALObjectHeaderSize);
  RBInteger number;
  std::memcpy(&number, data, sizeof number);
  EXPECT_EQ(number, 7);  // set by the constructor after zero-filling

  ASSERT_TRUE(host().SetProperty(t, "Number", Value::Integer(-21)).ok);
  std::memcpy(&number, data, sizeof number);
  EXPECT_EQ(number, -21);
  EXPECT_EQ(host().GetProperty(t, "doubled").value.integer(), -42);  // any case
  ASSERT_TRUE(host().SetProperty(t, "Doubled", Value::Integer(100)).ok);
  EXPECT_EQ(host().GetProperty(t, "Number").value.integer(), 50);
  EXPECT_EQ(data[sizeof(RBWord)], 0);
  ASSERT_TRUE(host().SetProperty(t, "Flag", Value::Boolean(true)).ok);
  EXPECT_EQ(data[sizeof(RBWord)], 1);

  // Stored handles hold a lock of their own, dropped when replaced.
  Value partner = host().NewInstance("ProbeThing");
  ASSERT_TRUE(host().SetProperty(t, "Partner", partner).ok);
  EXPECT_EQ(host().LockCount(partner), 2);
  EXPECT_EQ(host().GetProperty(t, "Partner").value.object(), partner.object());
  ASSERT_TRUE(host().SetProperty(t, "Partner", Value()).ok);
  EXPECT_EQ(host().LockCount(partner), 1);

  CallResult r = host().SetProperty(t, "Fixed", Value::Integer(1));
  EXPECT_FALSE(r.ok);
  EXPECT_NE(r.error.find("read-only"), std::string::npos);
  EXPECT_FALSE(host().SetProperty(t, "Label", Value::Integer(1)).ok);
  EXPECT_FALSE(host().GetProperty(t, "NoSuchThing").ok);
  // A field that runs past the end of the instance data is neither read nor written.
  r = host().GetProperty(t, "Straddle");
  EXPECT_FALSE(r.ok);
  EXPECT_NE(r.error.find("outside the instance data"), std::string::npos) << r.error;
  EXPECT_FALSE(host().SetProperty(t, "Straddle", Value::Int64(-1)).ok);
}

TEST_F(MethodCalling, ModulePropertiesGoThroughTheirFunctions) {
  EXPECT_EQ(host().GetModuleProperty(kModule, "Counter").value.integer(), 0);
  ASSERT_TRUE(host().SetModuleProperty(kModule, "Counter", Value::Integer(17)).ok);
  EXPECT_EQ(host().GetModuleProperty(kModule, "counter").value.integer(), 17);
  EXPECT_FALSE(host().SetModuleProperty(kModule, "DirectReads", Value::Integer(1)).ok);
  EXPECT_FALSE(host().GetModuleProperty("NoModule", "Counter").ok);
}

TEST_F(MethodCalling, ConstructorsRunOnCreationAndDestructorsOnTheLastUnlock) {
  {
    Value t = host().NewInstance("ProbeThing");
    Value child = host().NewInstance("probechild");  // class names in any case
    EXPECT_EQ(Int("Constructed as integer"), 2);  // the child runs its base's constructor
    // ...first: the child's own constructor finds the base's 7 and makes it 21.
    EXPECT_EQ(Method(child, "ChildOnly as integer").integer(), 1021);
    EXPECT_EQ(Method(child, "Add(x as integer) as integer", {Value::Integer(1)}).integer(), 22);
    EXPECT_TRUE(host().IsA(child, "ProbeThing"));
    EXPECT_FALSE(host().IsA(t, "ProbeChild"));
    EXPECT_EQ(host().LiveInstances("ProbeThing"), 2u);
    Value copy = t;  // a second lock
    t.reset();
    EXPECT_EQ(Int("Destructed as integer"), 0);
  }
  EXPECT_EQ(Int("Destructed as integer"), 2);
  EXPECT_EQ(host().LiveInstances("ProbeThing"), 0u);

  // A subclass that declares no data of its own still gets its base's.
  Value bare = host().NewInstance("ProbeBare");
  EXPECT_EQ(host().GetProperty(bare, "Number").value.integer(), 7);
  ASSERT_TRUE(host().SetProperty(bare, "Label", Text("kept")).ok);
  EXPECT_EQ(host().StringBytes(Method(bare, "Describe as string")), "thing 7 kept");
}

TEST_F(MethodCalling, MismatchedCallsAreRefusedWithoutCallingThePlugin) {
  Value t = host().NewInstance("ProbeThing");
  const struct {
    std::string declaration;
    std::vector<Value> args;
    const char* why;
  } kCases[] = {
      {"Add(x as integer) as integer", {}, "takes 1 arguments"},
      {"Add(x as integer) as integer", {Text("1")}, "does not fit"},
      {"Add(x as integer) as integer", {Value::Double(1)}, "does not fit"},
      {"Add(x as integer) as integer", {Value::Boolean(true)}, "does not fit"},
      {"Add(x as Integer) as integer", {Value::Integer(1)}, "no method"},  // text must be exact
      {"Scale(f as double, g as single) as double", {Value::Integer(1), Value::Single(1)}, "does not fit"},
  };
  for (const auto& c : kCases) {
    std::vector<Arg> args(c.args.begin(), c.args.end());
    CallResult r = host().CallMethod(t, c.declaration, args);
    EXPECT_FALSE(r.ok) << c.declaration;
    EXPECT_NE(r.error.find(c.why), std::string::npos) << r.error;
  }
  Value n = Value::Integer(1), s = Text("x");
  CallResult r = host().CallMethod(t, "Swap(byref a as integer, byref b as string)", {n, Arg::ByRef(s)});
  EXPECT_FALSE(r.ok);
  EXPECT_NE(r.error.find("by reference"), std::string::npos);
  EXPECT_EQ(host().LockCount(s), 1);  // a refused call leaves the slot alone
  EXPECT_FALSE(host().CallShared("Nowhere", "Echo(s as string) as string", {s}).ok);
  EXPECT_FALSE(host().CallMethod(Value(), "Add(x as integer) as integer", {n}).ok);
  EXPECT_EQ(Int("Constructed as integer"), 1);
}

}  // namespace
}  // namespace host_test

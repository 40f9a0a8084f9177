// Host values a plug-in makes and reads: arrays through the host's
// procedures and through exposed storage, variants of every type code and
// their conversions, dictionaries, dates, memory blocks and folder items.
#include <sys/stat.h>

#include <cmath>
#include <fstream>
#include <random>
#include <unordered_map>

#include "pointer_map.h"
#include "probe_host.h"
#ifdef HOST_TEST_WITH_PLATFORM
#include <CoreFoundation/CoreFoundation.h>
#endif
#include "support/temp_dir.h"

namespace host_test {
namespace {

// The records of every object and string live in this table: a key lost by
// an erase that shifts its neighbours back would make a live value "not a
// host object". Keys are spaced as allocations are, and the table grows and
// wraps around its end.
TEST(PointerMap, AgreesWithAMapThroughGrowthAndErasesThatShiftNeighbours) {
  plugin_host::PointerMap<int> table;
  std::unordered_map<const void*, int> model;
  std::mt19937 rng(7);
  for (int step = 0; step < 200000; ++step) {
    const auto* key = reinterpret_cast<const void*>(uintptr_t(16 + 16 * (rng() % 3000)));
    auto it = table.find(key);
    ASSERT_EQ(it != table.end(), model.count(key) == 1) << step;
    if (it != table.end()) {
      ASSERT_EQ(*it->second, model[key]);
      if (rng() % 2 == 0) {
        table.erase(it);
        model.erase(key);
      }
    } else {
      table[key] = std::make_unique<int>(step);
      model[key] = step;
    }
  }
  size_t seen = 0;
  for (auto& [key, value] : table) {
    ASSERT_EQ(*value, model.at(key));
    ++seen;
  }
  EXPECT_EQ(seen, model.size());
  EXPECT_EQ(table.size(), model.size());
}

using HostValues = ProbeTest;

void CheckArraysOnThisHost(ProbeTest* t, Host& host, bool direct) {
  (void)t;
  Value ints = host.Array(kREALArrayInt32, {Value::Int32(-5), Value::Int32(7), Value::Int32(100)});
  Value longs = host.Array(kREALArrayInt64, {Value::Int64(int64_t(1) << 40), Value::Int64(-1)});
  Value doubles = host.Array(kREALArrayDouble, {Value::Double(0.25), Value::Double(1.5)});
  Value singles = host.Array(kREALArraySingle, {Value::Single(0.5f), Value::Single(2.0f)});
  Value bools = host.Array(kREALArrayBoolean, {Value::Boolean(true), Value::Boolean(false), Value::Boolean(true)});
  Value strings = host.Array(kREALArrayString, {host.String("a"), Value(), host.String("c")});
  auto call = [&](const char* decl, const Value& a) {
    CallResult r = host.CallShared(kModule, decl, {a});
    EXPECT_TRUE(r.ok) << r.error;
    return std::move(r.value);
  };
  EXPECT_EQ(call("SumInt32(a() as Int32) as Int64", ints).int64(), 102);
  EXPECT_EQ(call("SumInt64(a() as Int64) as Int64", longs).int64(), (int64_t(1) << 40) - 1);
  EXPECT_DOUBLE_EQ(call("SumDouble(a() as Double) as Double", doubles).real(), 1.75);
  EXPECT_DOUBLE_EQ(call("SumSingle(a() as Single) as Double", singles).real(), 2.5);
  EXPECT_EQ(call("CountTrue(a() as Boolean) as integer", bools).integer(), 2);
  EXPECT_EQ(host.StringBytes(call("JoinStrings(a() as string) as string", strings)), "a||c|");

  // Objects: set, read back and insert, with the locks the array keeps.
  CallResult made = host.CallShared(kModule, "MakeObjects(count as integer) as Variant()", {Value::Integer(2)});
  Value objects = std::move(made.value);
  EXPECT_EQ(host.ArrayUBound(objects), 1);
  Value thing = host.NewInstance("ProbeThing");
  EXPECT_TRUE(host.CallShared(kModule, "PutObject(a() as Variant, i as integer, v as Variant)",
                              {objects, Value::Integer(1), thing}).ok);
  EXPECT_EQ(host.LockCount(thing), 2);
  CallResult at = host.CallShared(kModule, "ObjectAt(a() as Variant, i as integer) as Variant",
                                  {objects, Value::Integer(1)});
  EXPECT_EQ(at.value.object(), thing.object());
  EXPECT_EQ(host.LockCount(thing), 3);
  at.value.reset();
  if (!direct) {
    // Through the procedures, an index past the end reads nothing.
    at = host.CallShared(kModule, "ObjectAt(a() as Variant, i as integer) as Variant", {objects, Value::Integer(2)});
    EXPECT_TRUE(at.ok && at.value.isNil());
    ASSERT_FALSE(host.Problems().empty());
    EXPECT_NE(host.Problems().back().find("out of bounds"), std::string::npos);
  }
  EXPECT_TRUE(host.CallShared(kModule, "InsertObject(a() as Variant, i as integer, v as Variant)",
                              {objects, Value::Integer(0), thing}).ok);
  EXPECT_EQ(host.ArrayUBound(objects), 2);
  EXPECT_EQ(host.ArrayElement(objects, 2).object(), thing.object());
  EXPECT_TRUE(host.ArrayElement(objects, 1).isNil());
  EXPECT_EQ(host.LockCount(thing), 3);
  EXPECT_TRUE(host.CallShared(kModule, "PutObject(a() as Variant, i as integer, v as Variant)",
                              {objects, Value::Integer(2), Value()}).ok);
  EXPECT_EQ(host.LockCount(thing), 2);

  Value reads = host.GetModuleProperty(kModule, "DirectReads").value;
  EXPECT_EQ(reads.integer() > 0, direct);
}

TEST_F(HostValues, ArraysWorkThroughProceduresAndThroughExposedStorage) {
  {
    SCOPED_TRACE("procedures");
    CheckArraysOnThisHost(this, host(), false);
  }
  HostOptions opt;
  opt.version = 2013.9;
  opt.arraysExposeStorage = true;
  StartHost(opt);
  {
    SCOPED_TRACE("storage");
    CheckArraysOnThisHost(this, host(), true);
  }
  {
    // Exposed storage is never a null pointer, even for an empty array.
    Value a = host().Array(kREALArrayInt32, {});
    EXPECT_EQ(host().ArrayUBound(a), -1);
    EXPECT_NE(reinterpret_cast<REALobjectHeader*>(a.object())->elementStorage, nullptr);
  }
  StartHost(HostOptions());
  Value b = host().Array(kREALArrayObject, {Value()});
  EXPECT_EQ(reinterpret_cast<REALobjectHeader*>(b.object())->elementStorage, nullptr);
}

TEST_F(HostValues, StringArraysGrowByInsertionAndHoldTheirElements) {
  // More than 2^28 elements are refused, not allocated.
  EXPECT_TRUE(Shared("MakeObjects(count as integer) as Variant()", {Value::Integer((RBInteger(1) << 28) + 1)}).isNil());
  Value s = Text("x");
  Value a = Shared("MakeStrings(count as integer, s as string) as string()", {Value::Integer(3), s});
  EXPECT_EQ(host().ArrayElementType(a), kREALArrayString);
  EXPECT_EQ(host().ArrayUBound(a), 2);
  EXPECT_EQ(host().LockCount(s), 4);
  EXPECT_EQ(host().LiveArrays(), 1u);
  a.reset();
  EXPECT_EQ(host().LockCount(s), 1);
  EXPECT_EQ(host().LiveArrays(), 0u);
  Value empty = Shared("MakeStrings(count as integer, s as string) as string()", {Value::Integer(0), s});
  EXPECT_EQ(host().ArrayUBound(empty), -1);
  EXPECT_EQ(host().VariantType(empty), kREALVarArray + kREALVarString);
}

TEST_F(HostValues, VariantsOfEveryTypeCodeConvert) {
  const char* kNew = "NewVariant(kind as integer, i as Int64, d as double, s as string) as Variant";
  auto made = [&](RBInteger kind, int64_t i, double d, const Value& s) {
    return Shared(kNew, {Value::Integer(kind), Value::Int64(i), Value::Double(d), s});
  };
  Value i32 = made(0, -7, 0, Value());
  Value i64 = made(1, int64_t(1) << 40, 0, Value());
  Value dbl = made(2, 0, 2.75, Value());
  Value yes = made(3, 1, 0, Value());
  Value str = made(4, 0, 0, Text("42.9"));
  Value sgl = host().Variant(Value::Single(1.5f));
  Value color = host().Variant(Value::Color(0x00FF8000));
  Value currency = host().CurrencyVariant(123456);  // 12.3456
  Value date = host().Date({2010, 3, 4, 5, 6, 7});
  Value dict = host().Dictionary();
  Value array = host().Array(kREALArrayDouble, {});
  Value ostype = host().TextVariant(kREALVarOSType, "genp");

  auto vartype = [&](const Value& v) { return Shared("VarTypeOf(v as Variant) as Int32", {v}).int32(); };
  auto text = [&](const Value& v) { return host().StringBytes(Shared("VariantText(v as Variant) as string", {v})); };
  auto asInt = [&](const Value& v) { return Shared("VariantInt32(v as Variant) as Int32", {v}).int32(); };
  EXPECT_EQ(vartype(Value()), kREALVarNil);
  EXPECT_EQ(vartype(i32), kREALVarInt32);
  EXPECT_EQ(vartype(i64), kREALVarInt64);
  EXPECT_EQ(vartype(sgl), kREALVarSingle);
  EXPECT_EQ(vartype(dbl), kREALVarDouble);
  EXPECT_EQ(vartype(currency), kREALVarCurrency);
  EXPECT_EQ(vartype(date), kREALVarDate);
  EXPECT_EQ(vartype(str), kREALVarString);
  EXPECT_EQ(vartype(dict), kREALVarObject);
  EXPECT_EQ(vartype(yes), kREALVarBoolean);
  EXPECT_EQ(vartype(color), kREALVarColor);
  EXPECT_EQ(vartype(array), kREALVarArray + kREALVarDouble);
  EXPECT_EQ(vartype(ostype), kREALVarOSType);

  EXPECT_EQ(text(i32), "-7");
  EXPECT_EQ(text(i64), "1099511627776");
  EXPECT_EQ(text(dbl), "2.75");
  EXPECT_EQ(text(yes), "True");
  EXPECT_EQ(text(str), "42.9");
  EXPECT_EQ(text(date), "2010-03-04 05:06:07");
  EXPECT_EQ(text(ostype), "genp");
  EXPECT_EQ(asInt(str), 42);
  EXPECT_EQ(asInt(dbl), 2);  // truncated, as a C cast
  EXPECT_EQ(asInt(yes), 1);
  EXPECT_EQ(asInt(color), 0x00FF8000);
  EXPECT_EQ(asInt(currency), 12);
  const char* kInt64 = "VariantInt64(v as Variant) as Int64";
  EXPECT_EQ(Shared(kInt64, {i64}).int64(), int64_t(1) << 40);
  // Reals past the range held at its ends, NaN as 0.
  EXPECT_EQ(Shared(kInt64, {made(2, 0, -1e306, Value())}).int64(), INT64_MIN);
  EXPECT_EQ(Shared(kInt64, {made(2, 0, 9.3e18, Value())}).int64(), INT64_MAX);
  EXPECT_EQ(Shared(kInt64, {made(2, 0, std::nan(""), Value())}).int64(), 0);
  EXPECT_FLOAT_EQ(Shared("VariantSingle(v as Variant) as Single", {dbl}).single(), 2.75f);
  EXPECT_DOUBLE_EQ(Shared("VariantDouble(v as Variant) as Double", {currency}).real(), 12.3456);
  EXPECT_DOUBLE_EQ(Shared("VariantDouble(v as Variant) as Double", {i32}).real(), -7.0);

  // The accessor properties, read as plug-ins read them.
  Value ok = Value::Boolean(false);
  const char* kInt = "PropInt32(o as Object, name as string, byref ok as boolean) as Int32";
  EXPECT_EQ(Shared(kInt, {i64, Text("Type"), Arg::ByRef(ok)}).int32(), kREALVarInt64);
  EXPECT_TRUE(ok.boolean());
  EXPECT_EQ(Shared("PropInt64(o as Object, name as string, byref ok as boolean) as Int64",
                   {i64, Text("LongValue"), Arg::ByRef(ok)}).int64(), int64_t(1) << 40);
  EXPECT_FLOAT_EQ(Shared("PropSingle(o as Object, name as string, byref ok as boolean) as Single",
                         {sgl, Text("SingleValue"), Arg::ByRef(ok)}).single(), 1.5f);
  EXPECT_DOUBLE_EQ(Shared("PropDouble(o as Object, name as string, byref ok as boolean) as Double",
                          {dbl, Text("DoubleValue"), Arg::ByRef(ok)}).real(), 2.75);
  EXPECT_EQ(host().StringBytes(Shared("PropString(o as Object, name as string, byref ok as boolean) as String",
                                      {i32, Text("StringValue"), Arg::ByRef(ok)})), "-7");
  EXPECT_EQ(Shared(kInt, {yes, Text("NoSuchValue"), Arg::ByRef(ok)}).int32(), 0);
  EXPECT_FALSE(ok.boolean());
  EXPECT_EQ(host().VariantValue(str).kind(), Kind::String);
}

TEST_F(HostValues, DictionariesKeepInsertionOrderAndMatchEqualKeys) {
  Value d = host().Dictionary();
  Value one32 = host().Variant(Value::Int32(1));
  Value one64 = host().Variant(Value::Double(1.0));
  // The same text in two encodings is one key.
  Value keyA = host().Variant(Text("\xC3\xA9" "a"));
  Value keyA2 = host().Variant(host().String("\x8E" "a", kREALEncodingMacRoman));
  Value v1 = host().Variant(Text("first")), v2 = host().Variant(Text("second"));
  Shared("DictPut(d as Dictionary, key as Variant, value as Variant)", {d, keyA, v1});
  Shared("DictPut(d as Dictionary, key as Variant, value as Variant)", {d, one32, v2});
  Shared("DictPut(d as Dictionary, key as Variant, value as Variant)", {d, one64, v1});  // same key as one32
  Shared("DictPut(d as Dictionary, key as Variant, value as Variant)", {d, keyA2, Value()});
  EXPECT_EQ(Int("DictCount(d as Dictionary) as integer", {d}), 2);
  EXPECT_EQ(host().DictionaryCount(d), 2);
  EXPECT_EQ(Shared("DictKey(d as Dictionary, index as integer) as Variant", {d, Value::Integer(0)}).object(), keyA.object());
  EXPECT_EQ(Shared("DictGet(d as Dictionary, key as Variant) as Variant", {d, one64}).object(), v1.object());
  EXPECT_TRUE(Shared("DictGet(d as Dictionary, key as Variant) as Variant", {d, keyA}).isNil());
  EXPECT_TRUE(Shared("DictKey(d as Dictionary, index as integer) as Variant", {d, Value::Integer(2)}).isNil());
  EXPECT_TRUE(Shared("DictGet(d as Dictionary, key as Variant) as Variant", {d, v2}).isNil());
  // The dictionary's own locks go with it.
  EXPECT_EQ(host().LockCount(v1), 2);
  d.reset();
  EXPECT_EQ(host().LockCount(v1), 1);
}

TEST_F(HostValues, DatesAndMemoryBlocks) {
  Value date = Shared("MakeDate(y as integer, mo as integer, d as integer, h as integer, mi as integer, s as integer) as Date",
                      {Value::Integer(2001), Value::Integer(1), Value::Integer(2), Value::Integer(3),
                       Value::Integer(4), Value::Integer(59)});
  ASSERT_TRUE(host().DateOf(date).has_value());
  EXPECT_EQ(host().DateOf(date)->second, 59);
  EXPECT_EQ(host().DateOf(date)->day, 2);
  EXPECT_EQ(host().GetProperty(date, "Hour").value.integer(), 3);
  EXPECT_EQ(host().ClassName(date), "Date");

  Value block = Shared("Block(size as integer, fill as integer) as MemoryBlock", {Value::Integer(3), Value::Integer(0x41)});
  EXPECT_EQ(host().MemoryBlockBytes(block), "AAA");
  EXPECT_EQ(Int("BlockSize(m as memoryblock) as integer", {block}), 3);
  Value empty = Shared("Block(size as integer, fill as integer) as MemoryBlock", {Value::Integer(0), Value::Integer(0)});
  EXPECT_FALSE(empty.isNil());
  EXPECT_EQ(Int("BlockSize(m as memoryblock) as integer", {empty}), 0);
  EXPECT_EQ(Int("BlockSize(m as memoryblock) as integer", {Value()}), 0);
  // A block the host cannot make gives nil, and the plug-in raises.
  EXPECT_TRUE(Shared("Block(size as integer, fill as integer) as MemoryBlock",
                     {Value::Integer(RBInteger(1) << 30), Value::Integer(0)}).isNil());
  auto e = host().TakeException();
  ASSERT_TRUE(e.has_value());
  EXPECT_EQ(e->className, "OutOfMemoryException");
}

#ifdef HOST_TEST_WITH_PLATFORM
TEST_F(HostValues, FolderItemsTravelThroughFileManagerRecords) {
  kc_test::TempDir dir;
  std::string existing = dir.file("present.txt");
  std::ofstream(existing) << "x";
  std::string missing = dir.file("absent.txt");
  for (const std::string& path : {existing, missing}) {
    SCOPED_TRACE(path);
    Value item = host().FolderItem(path);
    EXPECT_EQ(host().FolderItemPath(Shared("ThroughFSRef(f as FolderItem) as FolderItem", {item})), path);
    EXPECT_EQ(host().FolderItemPath(Shared("ThroughFSSpec(f as FolderItem) as FolderItem", {item})), path);
  }
  // An item in a folder that does not exist has no File Manager form.
  Value nowhere = host().FolderItem(dir.file("no/such/file"));
  EXPECT_TRUE(Shared("ThroughFSRef(f as FolderItem) as FolderItem", {nowhere}).isNil());
  EXPECT_TRUE(Shared("ThroughFSSpec(f as FolderItem) as FolderItem", {nowhere}).isNil());
  // "TrueItem" is there for plug-ins to load.
  Value folder = host().FolderItem(dir.path());
  EXPECT_EQ(host().FolderItemPath(Shared("FirstEntry(f as FolderItem) as FolderItem", {folder})), existing);
  EXPECT_TRUE(Shared("FirstEntry(f as FolderItem) as FolderItem", {nowhere}).isNil());
  EXPECT_TRUE(host().GetProperty(host().FolderItem(existing), "Exists").value.boolean());
}

TEST_F(HostValues, WrapperStandInsCarryTheTagAndReleaseWhatTheyHold) {
  HostOptions opt;
  opt.standIns = {{"CFObjectZNQ", true, 8 * sizeof(void*)}, {"CGImageZNQ", false, 8 * sizeof(void*)}};
  StartHost(opt);
  Value wrapper = Shared("Make(className as string) as Object", {Text("CFObjectZNQ")});
  ASSERT_FALSE(wrapper.isNil());
  RBWord* words = reinterpret_cast<RBWord*>(host().InstanceData(wrapper));
  EXPECT_EQ(words[2], 0x52424346u);
  EXPECT_EQ(words[0], 0u);
  // What a plug-in stores in word 0 the stand-in releases when it goes; the
  // fixture's CoreFoundation count proves it.
  CFStringRef held = CFStringCreateWithCString(nullptr, "held", kCFStringEncodingUTF8);
  words[0] = reinterpret_cast<RBWord>(held);
  wrapper.reset();
  Value image = host().NewInstance("cgimageznq");
  EXPECT_EQ(reinterpret_cast<RBWord*>(host().InstanceData(image))[2], 0u);
  EXPECT_TRUE(host().NewInstance("CTFontZNQ").isNil());  // not a stand-in here
}
#endif

}  // namespace
}  // namespace host_test

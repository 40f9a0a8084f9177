// Host values to CoreFoundation and back, as the item queries carry them: a
// host Dictionary handed to "CopyMatching" reaches the framework converted
// (the stand-in keeps what it was given), and whatever the framework answers
// comes back to the host converted (the stand-in answers what a test asks).
#include <ApplicationServices/ApplicationServices.h>
#include <stdlib.h>
#include <string.h>

#include <fstream>

#include "item_query_stand_in.h"
#include "keychain_class_fixture.h"

namespace kc_plugin_test {
namespace {

using plugin_host::DateFields;
using plugin_host::Kind;
using plugin_host::StandInClass;

class ValueConversion : public KeychainClassTest {
 protected:
  void TearDown() override {
    ForgetItemQueries();
    KeychainClassTest::TearDown();
  }

  // Starts a host that knows the given wrapper classes of the plug-in family.
  void StartHostWith(std::vector<StandInClass> standIns) {
    HostOptions options;
    options.standIns = std::move(standIns);
    StartHost(options);
  }

  // The dictionary the framework was given for this host dictionary; it
  // lives until the next query.
  CFDictionaryRef Sent(const Value &dict) {
    AnswerItemQueriesWith(errSecItemNotFound, nullptr);
    Value result;
    EXPECT_FALSE(Shared(decl::kCopyMatching, {dict, Arg::ByRef(result)}).boolean());
    EXPECT_FALSE(host().TakeException().has_value());
    EXPECT_EQ(LastItemQuery().function, "copy");
    return LastItemQuery().query;
  }

  // What the framework was given for one host value, sent under the key "v".
  CFTypeRef ValueSent(const Value &value) {
    Value dict = host().Dictionary();
    EXPECT_TRUE(host().DictionarySet(dict, Key("v"), value));
    CFDictionaryRef query = Sent(dict);
    return query ? CFDictionaryGetValue(query, CFSTR("v")) : nullptr;
  }

  // The host value a framework value comes back as.
  Value Received(CFTypeRef value) {
    AnswerItemQueriesWith(errSecSuccess, value);
    Value result;
    EXPECT_TRUE(Shared(decl::kCopyMatching, {host().Dictionary(), Arg::ByRef(result)}).boolean());
    EXPECT_EQ(LastError(), 0);
    return result;
  }

  Value Key(const char *text) { return host().Variant(PluginTest::Text(text)); }

  std::string Text(const Value &v) {
    Value inner = host().VariantValue(v);
    return inner.kind() == Kind::String ? host().StringBytes(inner) : std::string("<not text>");
  }
  using PluginTest::Text;
};

std::string CFText(CFTypeRef s) {
  if (s == nullptr || CFGetTypeID(s) != CFStringGetTypeID()) return "<not a string>";
  char buffer[512];
  return CFStringGetCString(static_cast<CFStringRef>(s), buffer, sizeof buffer, kCFStringEncodingUTF8) ? buffer
                                                                                                        : "<?>";
}

CFNumberType NumberType(CFTypeRef n) { return CFNumberGetType(static_cast<CFNumberRef>(n)); }

TEST_F(ValueConversion, ScalarsBecomeNumbersOfTheirOwnWidthBooleansAndColours) {
  CFTypeRef v = ValueSent(host().Variant(Value::Int32(-1)));
  ASSERT_NE(v, nullptr);
  ASSERT_EQ(CFGetTypeID(v), CFNumberGetTypeID());
  EXPECT_EQ(NumberType(v), kCFNumberSInt32Type);
  int32_t i32 = 0;
  CFNumberGetValue(static_cast<CFNumberRef>(v), kCFNumberSInt32Type, &i32);
  EXPECT_EQ(i32, -1);

  v = ValueSent(host().Variant(Value::Int64(int64_t(1) << 40)));
  EXPECT_EQ(NumberType(v), kCFNumberSInt64Type);
  int64_t i64 = 0;
  CFNumberGetValue(static_cast<CFNumberRef>(v), kCFNumberSInt64Type, &i64);
  EXPECT_EQ(i64, int64_t(1) << 40);

  v = ValueSent(host().Variant(Value::Single(1.5f)));
  EXPECT_EQ(NumberType(v), kCFNumberFloat32Type);
  v = ValueSent(host().Variant(Value::Double(-2.25)));
  EXPECT_EQ(NumberType(v), kCFNumberFloat64Type);
  double d = 0;
  CFNumberGetValue(static_cast<CFNumberRef>(v), kCFNumberFloat64Type, &d);
  EXPECT_EQ(d, -2.25);
  // A currency is read as its double value.
  v = ValueSent(host().CurrencyVariant(12345));
  EXPECT_EQ(NumberType(v), kCFNumberFloat64Type);
  CFNumberGetValue(static_cast<CFNumberRef>(v), kCFNumberFloat64Type, &d);
  EXPECT_DOUBLE_EQ(d, 1.2345);

  // Booleans are the shared constants themselves.
  EXPECT_EQ(ValueSent(host().Variant(Value::Boolean(true))), kCFBooleanTrue);
  EXPECT_EQ(ValueSent(host().Variant(Value::Boolean(false))), kCFBooleanFalse);

  // Colours are 0xRRGGBB at full alpha; the top byte never changes the alpha.
  for (RBColor color : {RBColor(0x00FF8000), RBColor(0xFFFF8000)}) {
    v = ValueSent(host().Variant(Value::Color(color)));
    ASSERT_NE(v, nullptr);
    ASSERT_EQ(CFGetTypeID(v), CGColorGetTypeID());
    const CGFloat *c = CGColorGetComponents((CGColorRef)(v));
    EXPECT_EQ(c[0], 1.0);
    EXPECT_DOUBLE_EQ(c[1], 128 / 255.0);
    EXPECT_EQ(c[2], 0.0);
    EXPECT_EQ(CGColorGetAlpha((CGColorRef)(v)), 1.0);
  }
}

TEST_F(ValueConversion, TextDatesBlocksAndFoldersBecomeTheirFrameworkValues) {
  EXPECT_EQ(CFText(ValueSent(host().Variant(Text("caf\xC3\xA9")))), "caf\xC3\xA9");
  // Variants of other kinds go over as their text.
  EXPECT_EQ(CFText(ValueSent(host().TextVariant(kREALVarOSType, "htps"))), "htps");
  EXPECT_EQ(CFText(ValueSent(host().TextVariant(kREALVarCString, ""))), "");

  // Dates are read as GMT fields whatever the machine's zone.
  env_.Set("TZ", "Pacific/Chatham");
  tzset();
  CFTypeRef date = ValueSent(host().Date(DateFields{2010, 3, 4, 5, 6, 7}));
  ASSERT_NE(date, nullptr);
  ASSERT_EQ(CFGetTypeID(date), CFDateGetTypeID());
  CFGregorianDate g = {2010, 3, 4, 5, 6, 7.0};
  EXPECT_EQ(CFDateGetAbsoluteTime(static_cast<CFDateRef>(date)), CFGregorianDateGetAbsoluteTime(g, nullptr));

  CFTypeRef data = ValueSent(host().MemoryBlock(std::string("\x00\xFF", 2)));
  ASSERT_EQ(CFGetTypeID(data), CFDataGetTypeID());
  EXPECT_EQ(std::string(reinterpret_cast<const char *>(CFDataGetBytePtr(static_cast<CFDataRef>(data))), 2),
            std::string("\x00\xFF", 2));
  data = ValueSent(host().MemoryBlock(""));
  ASSERT_NE(data, nullptr) << "an empty block is empty data, not nothing";
  EXPECT_EQ(CFDataGetLength(static_cast<CFDataRef>(data)), 0);

  const std::string file = home_.root() + "/file.txt";
  std::ofstream(file) << "x";
  CFTypeRef url = ValueSent(host().FolderItem(file));
  ASSERT_NE(url, nullptr);
  ASSERT_EQ(CFGetTypeID(url), CFURLGetTypeID());
  CFStringRef path = CFURLCopyFileSystemPath(static_cast<CFURLRef>(url), kCFURLPOSIXPathStyle);
  EXPECT_EQ(CFText(path), file);
  CFRelease(path);
}

// Arrays are read, and framework arrays written, in place on hosts up to
// 2013.9 that expose their storage and through the host's procedures on the
// others: both ways keep every element in its place.
struct ArrayHostKind {
  const char *name;
  double version;
  bool exposesStorage;
};
void PrintTo(const ArrayHostKind &k, std::ostream *os) { *os << k.name; }

class ArrayConversion : public ValueConversion, public ::testing::WithParamInterface<ArrayHostKind> {
 protected:
  void SetUp() override {
    ValueConversion::SetUp();
    HostOptions options;
    options.version = GetParam().version;
    options.arraysExposeStorage = GetParam().exposesStorage;
    StartHost(options);
  }
};

INSTANTIATE_TEST_SUITE_P(Hosts, ArrayConversion,
                         ::testing::Values(ArrayHostKind{"InPlace2013_0", 2013.0, true},
                                           ArrayHostKind{"Procedures2014_0", 2014.0, false}),
                         [](const ::testing::TestParamInfo<ArrayHostKind> &info) { return info.param.name; });

TEST_P(ArrayConversion, ArraysKeepTheirElementsInOrder) {
  CFTypeRef v = ValueSent(host().Array(kREALArrayInt32, {Value::Int32(7), Value::Int32(-8)}));
  ASSERT_EQ(CFGetTypeID(v), CFArrayGetTypeID());
  CFArrayRef a = static_cast<CFArrayRef>(v);
  ASSERT_EQ(CFArrayGetCount(a), 2);
  EXPECT_EQ(NumberType(CFArrayGetValueAtIndex(a, 1)), kCFNumberSInt32Type);
  int32_t n = 0;
  CFNumberGetValue(static_cast<CFNumberRef>(CFArrayGetValueAtIndex(a, 1)), kCFNumberSInt32Type, &n);
  EXPECT_EQ(n, -8);

  a = static_cast<CFArrayRef>(ValueSent(host().Array(kREALArrayDouble, {Value::Double(0.5)})));
  EXPECT_EQ(NumberType(CFArrayGetValueAtIndex(a, 0)), kCFNumberFloat64Type);
  a = static_cast<CFArrayRef>(ValueSent(host().Array(kREALArrayBoolean, {Value::Boolean(false), Value::Boolean(true)})));
  ASSERT_EQ(CFArrayGetCount(a), 2);
  EXPECT_EQ(CFArrayGetValueAtIndex(a, 0), kCFBooleanFalse);
  EXPECT_EQ(CFArrayGetValueAtIndex(a, 1), kCFBooleanTrue);

  // A nil string keeps its place as an empty string.
  a = static_cast<CFArrayRef>(ValueSent(host().Array(kREALArrayString, {Text("a"), Value(), Text("c")})));
  ASSERT_EQ(CFArrayGetCount(a), 3);
  EXPECT_EQ(CFText(CFArrayGetValueAtIndex(a, 1)), "");
  EXPECT_EQ(CFText(CFArrayGetValueAtIndex(a, 2)), "c");

  // Objects convert one by one; one that converts to nothing is left out.
  Value unknown = host().NewInstance("KeychainSettingsZNQ");
  Value inner = host().Dictionary();
  host().DictionarySet(inner, Key("deep"), host().Variant(Value::Int32(1)));
  a = static_cast<CFArrayRef>(
      ValueSent(host().Array(kREALArrayObject, {host().Variant(Text("x")), unknown, inner, Value()})));
  ASSERT_EQ(CFArrayGetCount(a), 2);
  EXPECT_EQ(CFText(CFArrayGetValueAtIndex(a, 0)), "x");
  EXPECT_EQ(CFGetTypeID(CFArrayGetValueAtIndex(a, 1)), CFDictionaryGetTypeID());

  v = ValueSent(host().Array(kREALArrayObject, {}));
  ASSERT_NE(v, nullptr);
  EXPECT_EQ(CFArrayGetCount(static_cast<CFArrayRef>(v)), 0);
}

// Keys of any kind, nil values as kCFNull, nil keys left out, and nested
// dictionaries whole: the outer walk carries on after an inner one.
TEST_F(ValueConversion, DictionariesNestWholeAndKeepOneEntryPerKey) {
  Value inner = host().Dictionary();
  host().DictionarySet(inner, Key("innerKey"), host().Variant(Text("innerValue")));
  host().DictionarySet(inner, host().Variant(Value::Int32(2)), Value());
  Value list = host().Array(kREALArrayObject, {inner});
  Value outer = host().Dictionary();
  host().DictionarySet(outer, host().Variant(Value::Int32(1)), host().Variant(Text("one")));
  host().DictionarySet(outer, Key("list"), list);
  host().DictionarySet(outer, Key("nested"), inner);
  host().DictionarySet(outer, Key("after"), host().Variant(Value::Boolean(true)));
  host().DictionarySet(outer, Key("nothing"), Value());

  CFDictionaryRef sent = Sent(outer);
  ASSERT_NE(sent, nullptr);
  EXPECT_EQ(CFDictionaryGetCount(sent), 5);
  int32_t one = 1;
  CFNumberRef key = CFNumberCreate(nullptr, kCFNumberSInt32Type, &one);
  EXPECT_EQ(CFText(CFDictionaryGetValue(sent, key)), "one");
  CFRelease(key);
  EXPECT_EQ(CFDictionaryGetValue(sent, CFSTR("after")), kCFBooleanTrue);
  EXPECT_EQ(CFDictionaryGetValue(sent, CFSTR("nothing")), kCFNull);
  auto checkInner = [](CFTypeRef d) {
    ASSERT_NE(d, nullptr);
    ASSERT_EQ(CFGetTypeID(d), CFDictionaryGetTypeID());
    CFDictionaryRef dict = static_cast<CFDictionaryRef>(d);
    EXPECT_EQ(CFDictionaryGetCount(dict), 2);
    EXPECT_EQ(CFText(CFDictionaryGetValue(dict, CFSTR("innerKey"))), "innerValue");
  };
  checkInner(CFDictionaryGetValue(sent, CFSTR("nested")));
  CFTypeRef array = CFDictionaryGetValue(sent, CFSTR("list"));
  ASSERT_EQ(CFGetTypeID(array), CFArrayGetTypeID());
  checkInner(CFArrayGetValueAtIndex(static_cast<CFArrayRef>(array), 0));
}

// Objects of this plug-in and of its sibling wrapper classes go over as the
// reference they hold, retained once more for the dictionary; the geometry
// classes as their doubles narrowed to floats; an unknown object as nothing.
TEST_F(ValueConversion, WrapperObjectsGiveTheirReferencesAndGeometryItsFloats) {
  StartHostWith({{"CGRectZNQ", false, 8 * sizeof(void *)}, {"CFObjectZNQ", true, 8 * sizeof(void *)}});
  Value keychain = CreateKeychain("wrapped.keychain", "");
  Value item = Method(keychain, decl::kAddGenericText, {PluginTest::Text("svc"), PluginTest::Text("ann"),
                                                        PluginTest::Text("pw")});
  const CFIndex held = RetainCountOf(item);
  CFTypeRef sent = ValueSent(item);
  EXPECT_EQ(sent, HandleOf<CFTypeRef>(item));
  EXPECT_EQ(RetainCountOf(item), held + 1) << "the framework's dictionary holds its own retain";
  EXPECT_EQ(ValueSent(keychain), HandleOf<CFTypeRef>(keychain));
  ForgetItemQueries();
  EXPECT_EQ(RetainCountOf(item), held);

  Value rect = host().NewInstance("CGRectZNQ");
  double *doubles = reinterpret_cast<double *>(host().InstanceData(rect));
  doubles[0] = 1.5;
  doubles[1] = -2;
  doubles[2] = 300.25;
  doubles[3] = 4;
  CFTypeRef data = ValueSent(rect);
  ASSERT_EQ(CFGetTypeID(data), CFDataGetTypeID());
  ASSERT_EQ(CFDataGetLength(static_cast<CFDataRef>(data)), 16);
  const float *floats = reinterpret_cast<const float *>(CFDataGetBytePtr(static_cast<CFDataRef>(data)));
  EXPECT_EQ(floats[0], 1.5f);
  EXPECT_EQ(floats[2], 300.25f);
  memset(doubles, 0, 4 * sizeof(double));  // the stand-in class releases what word 0 holds

  Value holder = host().NewInstance("CFObjectZNQ");
  CFStringRef wrapped = CFStringCreateWithCString(nullptr, "held", kCFStringEncodingUTF8);
  reinterpret_cast<RBWord *>(host().InstanceData(holder))[0] = reinterpret_cast<RBWord>(wrapped);
  EXPECT_EQ(ValueSent(holder), wrapped);  // the stand-in releases it with the object

  EXPECT_EQ(ValueSent(host().NewInstance("KeychainSettingsZNQ")), kCFNull);
  EXPECT_EQ(ValueSent(host().NewInstance("CFObjectZNQ")), kCFNull) << "a wrapper holding nothing";
}

TEST_F(ValueConversion, FrameworkScalarsTextAndDataComeBackAsVariants) {
  EXPECT_TRUE(Received(kCFNull).isNil());
  EXPECT_TRUE(Received(CFSTR("")).isNil());
  Value s = Received(CFSTR("caf\u00E9"));
  EXPECT_EQ(host().VariantType(s), kREALVarString);
  EXPECT_EQ(Text(s), "caf\xC3\xA9");

  CFDataRef ascii = CFDataCreate(nullptr, reinterpret_cast<const UInt8 *>("AB"), 2);
  CFDataRef raw = CFDataCreate(nullptr, reinterpret_cast<const UInt8 *>("A\x80"), 2);
  CFDataRef empty = CFDataCreate(nullptr, nullptr, 0);
  Value fromAscii = Received(ascii);
  EXPECT_EQ(Text(fromAscii), "AB");
  EXPECT_EQ(host().StringEncoding(host().VariantValue(fromAscii)), kEncodingASCII);
  Value fromRaw = Received(raw);
  EXPECT_EQ(Text(fromRaw), "A\x80");
  EXPECT_EQ(host().StringEncoding(host().VariantValue(fromRaw)), kREALEncodingUnknown);
  EXPECT_TRUE(Received(empty).isNil());
  for (CFDataRef d : {ascii, raw, empty}) CFRelease(d);

  int32_t three = 3;
  int64_t wide = 3;
  double half = 1.5;
  CFNumberRef n32 = CFNumberCreate(nullptr, kCFNumberSInt32Type, &three);
  CFNumberRef n64 = CFNumberCreate(nullptr, kCFNumberSInt64Type, &wide);
  CFNumberRef real = CFNumberCreate(nullptr, kCFNumberFloat64Type, &half);
  EXPECT_EQ(host().VariantType(Received(n32)), kREALVarInt32);
  EXPECT_EQ(host().VariantType(Received(n64)), kREALVarInt64) << "the width follows the stored size";
  Value fromReal = Received(real);
  EXPECT_EQ(host().VariantType(fromReal), kREALVarDouble);
  EXPECT_EQ(host().VariantValue(fromReal).real(), 1.5);
  for (CFNumberRef n : {n32, n64, real}) CFRelease(n);
  EXPECT_EQ(host().VariantType(Received(kCFBooleanTrue)), kREALVarBoolean);
  EXPECT_TRUE(host().VariantValue(Received(kCFBooleanTrue)).boolean());

  // Dates come back as GMT fields in any zone; fractions of a second go.
  env_.Set("TZ", "America/St_Johns");
  tzset();
  for (double at : {0.0, 59.9}) {
    CFDateRef date = CFDateCreate(nullptr, at);
    auto fields = host().DateOf(Received(date));
    CFRelease(date);
    ASSERT_TRUE(fields.has_value());
    EXPECT_EQ(fields->year, 2001);
    EXPECT_EQ(fields->month, 1);
    EXPECT_EQ(fields->day, 1);
    EXPECT_EQ(fields->hour, 0);
    EXPECT_EQ(fields->minute, 0);
    EXPECT_EQ(fields->second, at == 0 ? 0 : 59);
  }
}

TEST_P(ArrayConversion, FrameworkArraysAndDictionariesComeBackWhole) {
  int32_t one = 1;
  CFNumberRef number = CFNumberCreate(nullptr, kCFNumberSInt32Type, &one);
  const void *deepest[] = {kCFBooleanTrue};
  CFArrayRef nested = CFArrayCreate(nullptr, deepest, 1, &kCFTypeArrayCallBacks);
  const void *elements[] = {number, CFSTR("a"), nested};
  CFArrayRef array = CFArrayCreate(nullptr, elements, 3, &kCFTypeArrayCallBacks);
  Value back = Received(array);
  ASSERT_EQ(host().ArrayUBound(back), 2);
  EXPECT_EQ(host().VariantType(host().ArrayElement(back, 0)), kREALVarInt32);
  EXPECT_EQ(Text(host().ArrayElement(back, 1)), "a");
  Value last = host().ArrayElement(back, 2);
  ASSERT_EQ(host().ArrayUBound(last), 0);
  EXPECT_TRUE(host().VariantValue(host().ArrayElement(last, 0)).boolean());
  CFArrayRef none = CFArrayCreate(nullptr, nullptr, 0, &kCFTypeArrayCallBacks);
  EXPECT_EQ(host().ArrayUBound(Received(none)), -1);

  // A dictionary inside a dictionary: both get their own entries, so the
  // outer one's methods were loaded again after the inner one was filled.
  const void *innerKeys[] = {CFSTR("k")};
  const void *innerValues[] = {CFSTR("inner")};
  CFDictionaryRef inner = CFDictionaryCreate(nullptr, innerKeys, innerValues, 1, &kCFTypeDictionaryKeyCallBacks,
                                             &kCFTypeDictionaryValueCallBacks);
  const void *keys[] = {CFSTR("a"), CFSTR("b"), CFSTR("c")};
  const void *values[] = {inner, CFSTR("x"), array};
  CFDictionaryRef outer = CFDictionaryCreate(nullptr, keys, values, 3, &kCFTypeDictionaryKeyCallBacks,
                                             &kCFTypeDictionaryValueCallBacks);
  Value dict = Received(outer);
  ASSERT_EQ(host().ClassName(dict), "Dictionary");
  EXPECT_EQ(host().DictionaryCount(dict), 3);
  Value innerBack = host().DictionaryLookup(dict, host().Variant(PluginTest::Text("a")));
  ASSERT_FALSE(innerBack.isNil());
  EXPECT_EQ(host().DictionaryCount(innerBack), 1);
  EXPECT_EQ(Text(host().DictionaryLookup(innerBack, host().Variant(PluginTest::Text("k")))), "inner");
  EXPECT_EQ(Text(host().DictionaryLookup(dict, host().Variant(PluginTest::Text("b")))), "x");
  EXPECT_EQ(host().ArrayUBound(host().DictionaryLookup(dict, host().Variant(PluginTest::Text("c")))), 2);
  EXPECT_EQ(host().LookupCount("RuntimeArrayDirectGetSetProc") > 0, !GetParam().exposesStorage)
      << "arrays were written the other way";
  for (CFTypeRef r : {static_cast<CFTypeRef>(number), static_cast<CFTypeRef>(nested), static_cast<CFTypeRef>(array),
                      static_cast<CFTypeRef>(none), static_cast<CFTypeRef>(inner), static_cast<CFTypeRef>(outer)})
    CFRelease(r);
}

// A file URL becomes a folder item for an existing item and for a missing
// one in an existing folder; anything else becomes the URL's text.
TEST_F(ValueConversion, FrameworkURLsComeBackAsFolderItemsWhereTheyCan) {
  const std::string file = home_.root() + "/exists.txt";
  std::ofstream(file) << "x";
  struct Case {
    std::string path;
    bool folderItem;
  };
  const Case cases[] = {{file, true},
                        {home_.root() + "/missing.txt", true},
                        {home_.root() + "/no-such-folder/missing.txt", false}};
  for (const Case &c : cases) {
    CFStringRef text = CFStringCreateWithCString(nullptr, c.path.c_str(), kCFStringEncodingUTF8);
    CFURLRef url = CFURLCreateWithFileSystemPath(nullptr, text, kCFURLPOSIXPathStyle, false);
    Value back = Received(url);
    if (c.folderItem) {
      EXPECT_EQ(host().ClassName(back), "FolderItem") << c.path;
      EXPECT_EQ(host().FolderItemPath(back), c.path);
    } else {
      EXPECT_EQ(Text(back), "file://" + c.path) << c.path;
    }
    CFRelease(url);
    CFRelease(text);
  }
  CFURLRef web = CFURLCreateWithString(nullptr, CFSTR("https://example.org/a?b"), nullptr);
  EXPECT_EQ(Text(Received(web)), "https://example.org/a?b");
  CFRelease(web);
}

// Types the host has no value for go into the wrapper class of their type,
// or into CFObjectZNQ, each wrapper holding one retain; without either class,
// or with a class that lacks the family's tag, nothing comes back. Images
// have no fallback.
TEST_F(ValueConversion, OtherTypesComeBackInWrapperObjects) {
  struct Values {
    CFMutableSetRef set = CFSetCreateMutable(nullptr, 0, &kCFTypeSetCallBacks);
    CGColorRef color = CGColorCreateGenericRGB(0.5, 0.5, 0.5, 1);
    CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
    CGContextRef context = CGBitmapContextCreate(nullptr, 1, 1, 8, 4, space, kCGImageAlphaPremultipliedLast);
    CGImageRef image = CGBitmapContextCreateImage(context);
    ~Values() {
      ForgetItemQueries();
      CGImageRelease(image);
      CGContextRelease(context);
      CGColorSpaceRelease(space);
      CGColorRelease(color);
      CFRelease(set);
    }
  };
  const size_t words = 8 * sizeof(void *);
  {
    Values v;
    ASSERT_NE(v.image, nullptr);
    EXPECT_TRUE(Received(v.set).isNil()) << "no wrapper class is loaded";
    EXPECT_TRUE(Received(v.image).isNil());
  }
  StartHostWith({{"CFObjectZNQ", true, words}, {"CGColorZNQ", true, words}, {"CFSetZNQ", false, words}});
  {
    Values v;
    AnswerItemQueriesWith(errSecSuccess, v.set);
    const CFIndex setRetains = CFGetRetainCount(v.set);
    EXPECT_TRUE(Received(v.set).isNil()) << "CFSetZNQ lacks the tag, and is not replaced";
    EXPECT_EQ(CFGetRetainCount(v.set), setRetains);
    const CFIndex colorRetains = CFGetRetainCount(v.color) + 1;  // the stand-in's answer holds one
    Value colorBack = Received(v.color);
    EXPECT_EQ(host().ClassName(colorBack), "CGColorZNQ");
    EXPECT_EQ(reinterpret_cast<RBWord *>(host().InstanceData(colorBack))[0], reinterpret_cast<RBWord>(v.color));
    EXPECT_EQ(CFGetRetainCount(v.color), colorRetains + 1);
    EXPECT_TRUE(Received(v.image).isNil()) << "images go only into CGImageZNQ";
  }
  StartHostWith({{"CFObjectZNQ", true, words}});
  {
    Values v;
    AnswerItemQueriesWith(errSecSuccess, v.set);
    const CFIndex setRetains = CFGetRetainCount(v.set);
    Value setBack = Received(v.set);
    EXPECT_EQ(host().ClassName(setBack), "CFObjectZNQ");
    EXPECT_EQ(CFGetRetainCount(v.set), setRetains + 1);
    setBack.reset();
    EXPECT_EQ(CFGetRetainCount(v.set), setRetains);
  }
  StartHostWith({{"CGImageZNQ", false, words}});
  {
    Values v;
    Value imageBack = Received(v.image);
    EXPECT_EQ(host().ClassName(imageBack), "CGImageZNQ") << "no tag test for images";
    EXPECT_EQ(reinterpret_cast<RBWord *>(host().InstanceData(imageBack))[0], reinterpret_cast<RBWord>(v.image));
  }
}

}  // namespace
}  // namespace kc_plugin_test

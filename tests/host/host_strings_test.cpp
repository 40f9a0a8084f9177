// Host strings: encodings tagged and converted, string data in any encoding
// with its terminator, the record older plug-ins read directly, C strings
// with "LenB", CoreFoundation strings, and the lock a returned string carries.
#include "probe_host.h"
#include "runtime.h"

namespace host_test {
namespace {

using HostStrings = ProbeTest;


TEST_F(HostStrings, StringDataConvertsToEveryEncodingOrFails) {
  Value s = Text("a\xC3\xA9\xE2\x82\xAC");  // a, e-acute, euro sign
  const struct {
    uint32_t encoding;
    std::string bytes;
  } kCases[] = {
      {kREALEncodingUTF8, "a\xC3\xA9\xE2\x82\xAC"},
      {kREALEncodingMacRoman, "a\x8E\xDB"},
      {kREALEncodingWindowsLatin1, "a\xE9\x80"},
      {kREALEncodingUTF16BE, std::string("\0a\0\xE9\x20\xAC", 6)},
      {kREALEncodingUTF16LE, std::string("a\0\xE9\0\xAC\x20", 6)},
      {kREALEncodingUTF16, std::string("a\0\xE9\0\xAC\x20", 6)},
      {kREALEncodingUTF32, std::string("a\0\0\0\xE9\0\0\0\xAC\x20\0\0", 12)},
      {kREALEncodingUnknown, "a\xC3\xA9\xE2\x82\xAC"},  // the bytes as they are
  };
  for (const auto& c : kCases) {
    Value block;
    Value ok = Shared("StringData(s as string, encoding as integer, byref data as memoryblock) as boolean",
                      {s, Value::Integer(c.encoding), Arg::ByRef(block)});
    EXPECT_TRUE(ok.boolean()) << std::hex << c.encoding;
    EXPECT_EQ(host().MemoryBlockBytes(block), c.bytes + std::string(4, '\0')) << std::hex << c.encoding;
  }
  // The euro sign has no ASCII or Latin-1 form: the conversion is refused.
  for (uint32_t enc : {kREALEncodingASCII, kREALEncodingISOLatin1}) {
    Value block;
    EXPECT_FALSE(Shared("StringData(s as string, encoding as integer, byref data as memoryblock) as boolean",
                        {s, Value::Integer(enc), Arg::ByRef(block)}).boolean());
    EXPECT_TRUE(block.isNil());
  }
}

TEST_F(HostStrings, BuiltStringsHaveNoEncodingUntilTagged) {
  Value bytes = host().MemoryBlock("\x8E");
  Value s = Shared("BuildBytes(data as memoryblock, encoding as integer) as string", {bytes, Value::Integer(-1)});
  EXPECT_EQ(host().StringEncoding(s), kREALEncodingUnknown);
  EXPECT_EQ(Int("Encoding(s as string) as integer", {s}), 0xFFFF);
  EXPECT_EQ(Int("Encoding(s as string) as integer", {Value()}), 0xFFFF);
  // Non-ASCII bytes of no encoding cannot be converted.
  EXPECT_TRUE(Shared("Convert(s as string, encoding as integer) as string", {s, Value::Integer(kREALEncodingUTF8)}).isNil());
  // Tagging changes the encoding, never the bytes.
  Shared("Retag(s as string, encoding as integer)", {s, Value::Integer(kREALEncodingMacRoman)});
  EXPECT_EQ(host().StringBytes(s), "\x8E");
  Value utf8 = Shared("Convert(s as string, encoding as integer) as string", {s, Value::Integer(kREALEncodingUTF8)});
  EXPECT_EQ(host().StringBytes(utf8), "\xC3\xA9");
  EXPECT_EQ(host().StringEncoding(utf8), kREALEncodingUTF8);
  EXPECT_EQ(host().StringUTF8(s), "\xC3\xA9");
}

TEST_F(HostStrings, TheRecordAndCStringViewsShowTheTextAndItsTerminator) {
  Value s = host().String(std::string("ab\0c", 4), kREALEncodingUTF8);
  auto* rec = reinterpret_cast<const REALstringRecord*>(s.string());
  EXPECT_EQ(rec->refCount, 1u);
  EXPECT_EQ(rec->length, 4u);
  EXPECT_EQ(rec->encoding, kREALEncodingUTF8);
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(rec->buffer + 1), 4), std::string("ab\0c", 4));
  EXPECT_EQ(host().MemoryBlockBytes(Shared("RecordBytes(s as string) as memoryblock", {s})), std::string("ab\0c", 4));
  // "LenB" counts bytes, past the embedded zero, and the text is terminated.
  EXPECT_EQ(host().MemoryBlockBytes(Shared("CString(s as string) as memoryblock", {s})), std::string("ab\0c\0", 5));
  EXPECT_EQ(rec->refCount, 1u);  // every lock the plug-in took is gone
}

TEST_F(HostStrings, AReturnedStringCarriesOneLockToTheCaller) {
  Value s = Text("same");
  Value back = Shared("Echo(s as string) as string", {s});
  EXPECT_EQ(back.string(), s.string());
  EXPECT_EQ(host().LockCount(s), 2);
  back.reset();
  EXPECT_EQ(host().LockCount(s), 1);
  EXPECT_TRUE(Shared("Echo(s as string) as string", {Value()}).isNil());
}

// A released string's record stays a while, to catch a late release; its
// bytes, often a password, are wiped at once. (The test reads the record a
// plug-in with a stale handle would see.)
TEST_F(HostStrings, AReleasedStringsBytesAreWipedAtOnceAndNoStringHasANegativeLength) {
  Value s = Text("hunter2 password");
  const REALstringRecord& rec = *reinterpret_cast<const REALstringRecord*>(s.string());
  const unsigned char* bytes = rec.buffer;
  const size_t allocated = rec.allocated;
  s.reset();
  EXPECT_EQ(std::string(reinterpret_cast<const char*>(bytes), allocated), std::string(allocated, '\0'));

  auto build = reinterpret_cast<REALBuildString_fn>(host().Resolve("REALBuildString"));
  EXPECT_EQ(build("abc", -1), nullptr);
  EXPECT_EQ(build(nullptr, 3), nullptr);
}

#ifdef HOST_TEST_WITH_PLATFORM
TEST_F(HostStrings, CoreFoundationStringsFollowTheEncoding) {
  EXPECT_EQ(Int("CFLength(s as string) as integer", {Text("a\xC3\xA9\xF0\x9F\x98\x80")}), 4);  // surrogate pair
  EXPECT_EQ(Int("CFLength(s as string) as integer", {host().String("\x8E\x8F", kREALEncodingUnknown)}), 2);
  EXPECT_EQ(Int("CFLength(s as string) as integer", {host().String(std::string("a\0b\0", 4), kREALEncodingUTF16LE)}), 2);
  EXPECT_EQ(Int("CFLength(s as string) as integer", {host().String("\xFF", kREALEncodingUTF8)}), -1);
  EXPECT_EQ(Int("CFLength(s as string) as integer", {Value()}), -1);
  HostOptions opt;
  opt.withheld = {"REALGetStringCFString"};
  StartHost(opt);
  EXPECT_EQ(Int("CFLength(s as string) as integer", {Text("x")}), -2);
}
#endif

TEST(HostEncodings, MacRomanAndWindowsLatinTablesRoundTrip) {
  using plugin_host::ConvertBytes;
  for (int b = 0x20; b <= 0xFF; ++b) {
    if (b == 0x7F) continue;
    std::string in(1, static_cast<char>(b)), utf8, back;
    ASSERT_TRUE(ConvertBytes(in, kREALEncodingMacRoman, kREALEncodingUTF8, &utf8)) << b;
    ASSERT_TRUE(ConvertBytes(utf8, kREALEncodingUTF8, kREALEncodingMacRoman, &back)) << b;
    EXPECT_EQ(back, in) << b;
  }
  std::string out;
  EXPECT_TRUE(ConvertBytes("\xDB", kREALEncodingMacRoman, kREALEncodingUTF8, &out));
  EXPECT_EQ(out, "\xE2\x82\xAC");  // the euro sign
  for (char undefined : {'\x81', '\x8D', '\x8F', '\x90', '\x9D'}) {
    EXPECT_FALSE(ConvertBytes(std::string(1, undefined), kREALEncodingWindowsLatin1, kREALEncodingUTF8, &out));
  }
  EXPECT_FALSE(ConvertBytes("\xC3", kREALEncodingUTF8, kREALEncodingUTF16, &out));  // truncated
  EXPECT_FALSE(ConvertBytes("\xED\xA0\x80", kREALEncodingUTF8, kREALEncodingUTF16, &out));  // a surrogate
  EXPECT_FALSE(ConvertBytes("\xC0\xAF", kREALEncodingUTF8, kREALEncodingUTF16, &out));  // overlong
  EXPECT_FALSE(ConvertBytes(std::string("\x00\xD8", 2), kREALEncodingUTF16LE, kREALEncodingUTF8, &out));
}

}  // namespace
}  // namespace host_test

// After a secret is added, found and deleted through the plug-in, its bytes
// remain in no freed heap block. This program's own free() (which the
// frameworks, the plug-in and the host reach, and operator delete with them)
// looks through every block it is handed while a scan is on.
#include <malloc.h>

#include <cstring>
#include <functional>

#include "plugin_fixture.h"

extern "C" void __libc_free(void*);
extern "C" void* __libc_malloc(size_t);

namespace {

// The secret as UTF-8, and as UTF-16 and UTF-32 in processor order.
const char kSecret[] = "Zq7-needle-in-the-heap-9481";
constexpr size_t kLength = sizeof kSecret - 1;
char gSecret16[2 * kLength], gSecret32[4 * kLength];
bool gScanning = false;
size_t gFound = 0;

void Scan(void* p) {
  if (!gScanning || p == nullptr) return;
  const size_t n = malloc_usable_size(p);
  if (memmem(p, n, kSecret, kLength) || memmem(p, n, gSecret16, sizeof gSecret16) ||
      memmem(p, n, gSecret32, sizeof gSecret32))
    ++gFound;
}

}  // namespace

extern "C" void free(void* p) {
  Scan(p);
  __libc_free(p);
}

// A block that moves is freed by realloc inside the C library, out of reach
// of free() above; moving it here brings the old block past the scan.
extern "C" void* realloc(void* p, size_t size) {
  if (p == nullptr) return __libc_malloc(size);
  if (size == 0) {
    free(p);
    return nullptr;
  }
  void* moved = __libc_malloc(size);
  if (moved == nullptr) return nullptr;
  std::memcpy(moved, p, std::min(size, malloc_usable_size(p)));
  free(p);
  return moved;
}

namespace kc_plugin_test {
namespace {

class FreedSecret : public PluginTest {
 protected:
  void SetUp() override {
    for (size_t i = 0; i < kLength; ++i) gSecret16[2 * i] = gSecret32[4 * i] = kSecret[i];
    PluginTest::SetUp();
    gFound = 0;
    gScanning = true;
  }
  void TearDown() override {
    PluginTest::TearDown();  // the host goes too, with everything it still held
    gScanning = false;
  }
};

TEST_F(FreedSecret, AddFindAndDeleteLeaveTheSecretInNoFreedBlock) {
  {
    Value keychain = NewKeychain("scanned.keychain");
    // The test's own copies of the secret are host values and views, never
    // heap strings of its own, so that what the scan finds is the product's.
    auto secret = [&] { return host().String(kSecret); };
    auto holdsSecret = [&](const Value& b) {
      gScanning = false;
      const bool same = host().MemoryBlockBytes(b) == kSecret;
      gScanning = true;
      return same;
    };
    struct Step {
      const char* what;
      std::function<Value()> call;
    };
    Value block, result;
    Value queryDict = host().Dictionary();
    const std::vector<Step> steps = {
        {"add as text", [&] { return Method(keychain, decl::kAddGenericText, {Text("text"), Text("a"), secret()}); }},
        {"add as UTF-16 text", [&] {
           return Method(keychain, decl::kAddGenericText,
                         {Text("wide"), Text("a"), host().String(std::string_view(gSecret16, sizeof gSecret16), kREALEncodingUTF16)});
         }},
        {"add as block", [&] { return Method(keychain, decl::kAddGenericBlock, {Text("block"), Text("a"), host().MemoryBlock(kSecret)}); }},
        {"find with secret", [&] { return Method(keychain, decl::kFindGenericPassword, {Text("text"), Text("a"), Arg::ByRef(block)}); }},
        {"read the secret", [&] {
           Value item = Method(keychain, decl::kFindGenericItem, {Text("block"), Text("a")});
           return Method(item, decl::kPassword);
         }},
        {"query the secret", [&] {
           auto set = [&](const Value& k, const Value& v) {
             EXPECT_TRUE(host().DictionarySet(queryDict, host().Variant(k), host().Variant(v)));
           };
           set(Shared("kSecClass as string"), Shared("kSecClassGenericPassword as string"));
           set(Shared("kSecAttrService as string"), Text("text"));
           EXPECT_TRUE(host().DictionarySet(queryDict, host().Variant(Shared("kSecMatchSearchList as string")),
                                            host().Array(4, {keychain})));
           return Shared(decl::kGetPassword, {queryDict, Arg::ByRef(result)});
         }},
        {"change the secret", [&] {
           Value item = Method(keychain, decl::kFindGenericItem, {Text("text"), Text("a")});
           AssignMethod(item, decl::kPassword, {}, host().MemoryBlock("other"));
           return item;
         }},
    };
    for (const Step& step : steps) {
      EXPECT_FALSE(step.call().isNil()) << step.what;
      EXPECT_EQ(gFound, 0u) << "the secret was left in a freed block by: " << step.what;
      gFound = 0;
    }
    EXPECT_TRUE(holdsSecret(block));
    EXPECT_TRUE(holdsSecret(result));
    block = result = queryDict = Value();
    EXPECT_EQ(gFound, 0u) << "the secret was left in a freed block by the memory blocks it was read into";
    for (const char* service : {"text", "wide", "block"}) {
      Value item = Method(keychain, decl::kFindGenericItem, {Text(service), Text("a")});
      Method(item, decl::kDelete);
      EXPECT_EQ(LastError(), 0);
    }
  }
  EXPECT_EQ(gFound, 0u) << "the secret was left in a freed block by the deletes";
}

}  // namespace
}  // namespace kc_plugin_test

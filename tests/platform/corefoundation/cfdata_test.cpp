// CFData and CFMutableData: copies, caller-owned bytes, growth and editing.
#include <cstdlib>
#include <cstring>

#include "cf_test.h"

namespace cf_test {
namespace {

using CFDataBytes = CFTest;

const UInt8 kBytes[] = {1, 2, 3, 4, 5};

TEST_F(CFDataBytes, CreateCopiesTheBytes) {
  UInt8 source[5];
  memcpy(source, kBytes, 5);
  Owned<CFDataRef> d(CFDataCreate(nullptr, source, 5));
  source[0] = 99;
  EXPECT_EQ(5, CFDataGetLength(d));
  EXPECT_EQ(1, CFDataGetBytePtr(d)[0]);
  UInt8 out[3] = {0, 0, 0};
  CFDataGetBytes(d, CFRangeMake(2, 3), out);
  EXPECT_EQ(0, memcmp(out, kBytes + 2, 3));
  CFDataGetBytes(d, CFRangeMake(4, 3), out);  // out of range: untouched
  EXPECT_EQ(3, out[0]);
  Owned<CFDataRef> empty(CFDataCreate(nullptr, nullptr, 0));
  EXPECT_EQ(0, CFDataGetLength(empty));
  EXPECT_EQ(nullptr, CFDataCreate(nullptr, nullptr, 3));
  EXPECT_EQ(nullptr, CFDataCreate(nullptr, kBytes, -1));
  // Immutable data has no mutable pointer.
  EXPECT_EQ(nullptr, CFDataGetMutableBytePtr(const_cast<CFMutableDataRef>(d.get())));
}

TEST_F(CFDataBytes, NoCopyUsesTheCallersBytesAndFreesThemWithTheDeallocator) {
  UInt8 stack[5];
  memcpy(stack, kBytes, 5);
  {
    Owned<CFDataRef> d(CFDataCreateWithBytesNoCopy(nullptr, stack, 5, kCFAllocatorNull));
    EXPECT_EQ(stack, CFDataGetBytePtr(d));
  }
  UInt8* heap = static_cast<UInt8*>(malloc(5));
  memcpy(heap, kBytes, 5);
  Owned<CFDataRef> owned(CFDataCreateWithBytesNoCopy(nullptr, heap, 5, kCFAllocatorMalloc));
  EXPECT_EQ(heap, CFDataGetBytePtr(owned));  // freed by the data (the sanitizer build proves it)
  Owned<CFDataRef> copy(CFDataCreateCopy(nullptr, owned));
  EXPECT_NE(CFDataGetBytePtr(owned), CFDataGetBytePtr(copy));
  EXPECT_TRUE(CFEqual(owned, copy));
  EXPECT_EQ(CFHash(owned), CFHash(copy));
}

TEST_F(CFDataBytes, MutableDataGrowsZeroFillsAndEdits) {
  CFMutableDataRef m = CFDataCreateMutable(nullptr, 0);
  CFDataAppendBytes(m, kBytes, 5);
  CFDataSetLength(m, 8);
  EXPECT_EQ(8, CFDataGetLength(m));
  EXPECT_EQ(0, CFDataGetBytePtr(m)[7]);
  CFDataSetLength(m, 2);
  EXPECT_EQ(2, CFDataGetLength(m));
  std::vector<UInt8> big(10000, 7);
  CFDataAppendBytes(m, big.data(), static_cast<CFIndex>(big.size()));
  EXPECT_EQ(10002, CFDataGetLength(m));
  EXPECT_EQ(7, CFDataGetBytePtr(m)[10001]);
  const UInt8 mid[] = {9, 9};
  CFDataReplaceBytes(m, CFRangeMake(0, 10000), mid, 2);
  EXPECT_EQ(4, CFDataGetLength(m));
  EXPECT_EQ(std::vector<UInt8>({9, 9, 7, 7}), std::vector<UInt8>(CFDataGetBytePtr(m), CFDataGetBytePtr(m) + 4));
  // Appending the data's own bytes to itself.
  CFDataAppendBytes(m, CFDataGetBytePtr(m), 4);
  EXPECT_EQ(std::vector<UInt8>({9, 9, 7, 7, 9, 9, 7, 7}),
            std::vector<UInt8>(CFDataGetBytePtr(m), CFDataGetBytePtr(m) + 8));
  CFDataDeleteBytes(m, CFRangeMake(1, 6));
  EXPECT_EQ(2, CFDataGetLength(m));
  // Ranges that run past the end are ignored, whatever they would replace.
  CFDataReplaceBytes(m, CFRangeMake(1, 5), mid, 2);
  CFDataDeleteBytes(m, CFRangeMake(3, 1));
  EXPECT_EQ(std::vector<UInt8>({9, 7}), std::vector<UInt8>(CFDataGetBytePtr(m), CFDataGetBytePtr(m) + CFDataGetLength(m)));
  CFDataGetMutableBytePtr(m)[0] = 1;
  EXPECT_EQ(1, CFDataGetBytePtr(m)[0]);
  CFMutableDataRef copy = CFDataCreateMutableCopy(nullptr, 0, m);
  EXPECT_TRUE(CFEqual(m, copy));
  CFDataIncreaseLength(copy, 1);
  EXPECT_FALSE(CFEqual(m, copy));
  CFRelease(copy);
  CFRelease(m);
}

}  // namespace
}  // namespace cf_test

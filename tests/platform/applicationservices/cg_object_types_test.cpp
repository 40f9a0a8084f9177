// The CoreGraphics object types as CoreFoundation types: one of every kind,
// distinct type IDs, live-object counting, retain functions, and the release
// callbacks of providers, consumers and converters.
#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "live_objects_test.h"
#include "test_font.h"

namespace kc_as_test {
namespace {

using CGObjectTypesTest = LiveObjectsTest;

struct Made {
  const char* className;
  CFTypeID typeID;
  CFTypeRef object;
};

TEST_F(CGObjectTypesTest, CGTypes_OneOfEveryKindIsADistinctCountedTypeWithItsRetainFunctions) {
  static const UInt8 pixels[16] = {0};
  CGColorSpaceRef space = CGColorSpaceCreateDeviceRGB();
  CGColorRef color = CGColorCreateGenericRGB(1, 0, 0, 1);
  CGDataProviderRef provider = CGDataProviderCreateWithData(nullptr, pixels, sizeof pixels, nullptr);
  CFMutableDataRef sink = CFDataCreateMutable(kCFAllocatorDefault, 0);
  CGDataConsumerRef consumer = CGDataConsumerCreateWithCFData(sink);
  CGImageRef image = CGImageCreate(2, 2, 8, 32, 8, space, kCGImageAlphaPremultipliedLast, provider, nullptr, false,
                                   kCGRenderingIntentDefault);
  CGContextRef context = CGBitmapContextCreate(nullptr, 4, 4, 8, 0, space, kCGImageAlphaPremultipliedLast);
  CGLayerRef layer = CGLayerCreateWithContext(context, CGSizeMake(2, 2), nullptr);
  const CGPSConverterCallbacks callbacks = {0, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr};
  CGPSConverterRef converter = CGPSConverterCreate(nullptr, &callbacks, nullptr);
  const std::vector<uint8_t> fontBytes = BuildTestFont(TestFontOptions());
  CGDataProviderRef fontData = CGDataProviderCreateWithData(nullptr, fontBytes.data(), fontBytes.size(), nullptr);
  CGFontRef font = CGFontCreateWithDataProvider(fontData);
  CGDataProviderRelease(fontData);

  const std::vector<Made> made = {
      {"CGColorSpace", CGColorSpaceGetTypeID(), space},
      {"CGColor", CGColorGetTypeID(), color},
      {"CGDataProvider", CGDataProviderGetTypeID(), provider},
      {"CGDataConsumer", CGDataConsumerGetTypeID(), consumer},
      {"CGImage", CGImageGetTypeID(), image},
      {"CGContext", CGContextGetTypeID(), context},
      {"CGLayer", CGLayerGetTypeID(), layer},
      {"CGPSConverter", CGPSConverterGetTypeID(), converter},
      {"CGFont", CGFontGetTypeID(), font},
  };
  std::set<CFTypeID> ids = {CFStringGetTypeID(), CFDataGetTypeID(), CFURLGetTypeID(), CFNumberGetTypeID()};
  for (const Made& m : made) {
    SCOPED_TRACE(m.className);
    ASSERT_NE(nullptr, m.object);
    EXPECT_TRUE(ids.insert(m.typeID).second) << "type ID shared with another type";
    EXPECT_EQ(m.typeID, CFGetTypeID(m.object));
    ASSERT_NE(nullptr, CFLiveObjectsGetTypeName(m.typeID));
    EXPECT_EQ(std::string(m.className), CFLiveObjectsGetTypeName(m.typeID));
    EXPECT_GE(CFLiveObjectsGetCount(m.typeID), 1);
  }
  // The layer owns a second context of its own.
  EXPECT_EQ(2, CFLiveObjectsGetCount(CGContextGetTypeID()));

  // Each kind's retain function adds one reference and gives the object back;
  // its release function takes one away. Both take NULL.
  EXPECT_EQ(space, CGColorSpaceRetain(space));
  EXPECT_EQ(color, CGColorRetain(color));
  EXPECT_EQ(provider, CGDataProviderRetain(provider));
  EXPECT_EQ(consumer, CGDataConsumerRetain(consumer));
  EXPECT_EQ(image, CGImageRetain(image));
  EXPECT_EQ(context, CGContextRetain(context));
  EXPECT_EQ(layer, CGLayerRetain(layer));
  EXPECT_EQ(converter, CGPSConverterRetain(converter));
  EXPECT_EQ(font, CGFontRetain(font));
  for (const Made& m : made) EXPECT_LE(2, CFGetRetainCount(m.object)) << m.className;
  EXPECT_EQ(2, CFGetRetainCount(layer));
  EXPECT_EQ(2, CFGetRetainCount(converter));
  EXPECT_EQ(2, CFGetRetainCount(consumer));
  CGColorSpaceRelease(space);
  CGColorRelease(color);
  CGDataProviderRelease(provider);
  CGDataConsumerRelease(consumer);
  CGImageRelease(image);
  CGContextRelease(context);
  CGLayerRelease(layer);
  CGPSConverterRelease(converter);
  CGFontRelease(font);
  EXPECT_EQ(1, CFGetRetainCount(layer));
  EXPECT_EQ(1, CFGetRetainCount(converter));
  EXPECT_EQ(nullptr, CGColorSpaceRetain(nullptr));
  EXPECT_EQ(nullptr, CGDataProviderRetain(nullptr));
  EXPECT_EQ(nullptr, CGDataConsumerRetain(nullptr));
  EXPECT_EQ(nullptr, CGImageRetain(nullptr));
  EXPECT_EQ(nullptr, CGFontRetain(nullptr));
  EXPECT_EQ(nullptr, CGContextRetain(nullptr));
  EXPECT_EQ(nullptr, CGLayerRetain(nullptr));
  EXPECT_EQ(nullptr, CGPSConverterRetain(nullptr));
  CGColorSpaceRelease(nullptr);
  CGDataProviderRelease(nullptr);
  CGDataConsumerRelease(nullptr);
  CGImageRelease(nullptr);
  CGFontRelease(nullptr);
  CGContextRelease(nullptr);
  CGLayerRelease(nullptr);
  CGPSConverterRelease(nullptr);

  CGLayerRelease(layer);
  EXPECT_EQ(1, CFLiveObjectsGetCount(CGContextGetTypeID()));
  CGPSConverterRelease(converter);
  CGFontRelease(font);
  CGContextRelease(context);
  CGImageRelease(image);
  CGDataConsumerRelease(consumer);
  CGDataProviderRelease(provider);
  CGColorRelease(color);
  CGColorSpaceRelease(space);
  CFRelease(sink);
  for (const Made& m : made) EXPECT_EQ(0, CFLiveObjectsGetCount(m.typeID)) << m.className;
}

struct ReleaseLog {
  int calls = 0;
  void* info = nullptr;
  const void* data = nullptr;
  size_t size = 0;
};

TEST_F(CGObjectTypesTest, CGDataProvider_GivesBytesBackOnceWhenLastReferenceGoes) {
  static const UInt8 bytes[] = {1, 2, 3};
  ReleaseLog log;
  CGDataProviderRef provider = CGDataProviderCreateWithData(
      &log, bytes, sizeof bytes, [](void* info, const void* data, size_t size) {
        auto* l = static_cast<ReleaseLog*>(info);
        ++l->calls;
        l->info = info;
        l->data = data;
        l->size = size;
      });
  ASSERT_NE(nullptr, provider);
  CFDataRef copy = CGDataProviderCopyData(provider);
  ASSERT_NE(nullptr, copy);
  EXPECT_EQ(3, CFDataGetLength(copy));
  EXPECT_EQ(0, memcmp(bytes, CFDataGetBytePtr(copy), 3));
  CFRelease(copy);
  CGDataProviderRetain(provider);
  CGDataProviderRelease(provider);
  EXPECT_EQ(0, log.calls);
  CGDataProviderRelease(provider);
  EXPECT_EQ(1, log.calls);
  EXPECT_EQ(&log, log.info);
  EXPECT_EQ(bytes, log.data);
  EXPECT_EQ(sizeof bytes, log.size);

  EXPECT_EQ(nullptr, CGDataProviderCreateWithData(nullptr, nullptr, 5, nullptr));
  EXPECT_EQ(nullptr, CGDataProviderCreateWithCFData(nullptr));
  EXPECT_EQ(nullptr, CGDataProviderCopyData(nullptr));
}

TEST_F(CGObjectTypesTest, CGDataProvider_CFDataProviderHoldsItsDataAndFollowsIt) {
  CFMutableDataRef data = CFDataCreateMutable(kCFAllocatorDefault, 0);
  CFDataAppendBytes(data, reinterpret_cast<const UInt8*>("ab"), 2);
  CGDataProviderRef provider = CGDataProviderCreateWithCFData(data);
  ASSERT_NE(nullptr, provider);
  EXPECT_EQ(2, CFGetRetainCount(data));
  CFDataAppendBytes(data, reinterpret_cast<const UInt8*>("c"), 1);
  CFDataRef copy = CGDataProviderCopyData(provider);
  ASSERT_NE(nullptr, copy);
  EXPECT_EQ(3, CFDataGetLength(copy));
  CFRelease(copy);
  CGDataProviderRelease(provider);
  EXPECT_EQ(1, CFGetRetainCount(data));
  CFRelease(data);
}

TEST_F(CGObjectTypesTest, CGDataConsumer_ReleasesItsInfoOnceAndRejectsMissingCallbacks) {
  int released = 0;
  CGDataConsumerCallbacks callbacks = {[](void*, const void*, size_t count) { return count; },
                                       [](void* info) { ++*static_cast<int*>(info); }};
  CGDataConsumerRef consumer = CGDataConsumerCreate(&released, &callbacks);
  ASSERT_NE(nullptr, consumer);
  CGDataConsumerRetain(consumer);
  CGDataConsumerRelease(consumer);
  EXPECT_EQ(0, released);
  CGDataConsumerRelease(consumer);
  EXPECT_EQ(1, released);

  CFMutableDataRef data = CFDataCreateMutable(kCFAllocatorDefault, 0);
  consumer = CGDataConsumerCreateWithCFData(data);
  EXPECT_EQ(2, CFGetRetainCount(data));
  CGDataConsumerRelease(consumer);
  EXPECT_EQ(1, CFGetRetainCount(data));
  CFRelease(data);

  callbacks.putBytes = nullptr;
  EXPECT_EQ(nullptr, CGDataConsumerCreate(&released, &callbacks));
  EXPECT_EQ(nullptr, CGDataConsumerCreate(&released, nullptr));
  EXPECT_EQ(nullptr, CGDataConsumerCreateWithCFData(nullptr));
  EXPECT_EQ(1, released);
}

TEST_F(CGObjectTypesTest, CGPSConverter_ReleasesInfoOnceAndHoldsOptions) {
  int released = 0;
  CGPSConverterCallbacks callbacks = {};
  callbacks.releaseInfo = [](void* info) { ++*static_cast<int*>(info); };
  CFMutableDictionaryRef options = CFDictionaryCreateMutable(kCFAllocatorDefault, 0, &kCFTypeDictionaryKeyCallBacks,
                                                             &kCFTypeDictionaryValueCallBacks);
  CGPSConverterRef converter = CGPSConverterCreate(&released, &callbacks, options);
  ASSERT_NE(nullptr, converter);
  EXPECT_EQ(2, CFGetRetainCount(options));
  EXPECT_FALSE(CGPSConverterIsConverting(converter));
  EXPECT_FALSE(CGPSConverterAbort(converter));
  CGPSConverterRelease(converter);
  EXPECT_EQ(1, released);
  EXPECT_EQ(1, CFGetRetainCount(options));
  CFRelease(options);

  callbacks.version = 1;
  EXPECT_EQ(nullptr, CGPSConverterCreate(&released, &callbacks, nullptr));
  EXPECT_EQ(nullptr, CGPSConverterCreate(&released, nullptr, nullptr));
  EXPECT_EQ(1, released);
}

}  // namespace
}  // namespace kc_as_test

// Shared by the CoreFoundation tests: a fixture that fails any test that
// leaves CF objects alive, an owning holder, and text helpers.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "support/cf_live_objects.h"

namespace cf_test {

class CFTest : public ::testing::Test {
 protected:
  void TearDown() override { EXPECT_EQ("", before_.DiffNow()) << "objects leaked or over-released"; }

 private:
  kc_test::CFLiveObjectsSnapshot before_;
};

// Releases what it holds when it goes out of scope (also when an assertion
// returns early), so a failing check does not also report a leak.
template <class T>
class Owned {
 public:
  explicit Owned(T ref = nullptr) : ref_(ref) {}
  ~Owned() {
    if (ref_) CFRelease(ref_);
  }
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;
  T get() const { return ref_; }
  operator T() const { return ref_; }

 private:
  T ref_;
};

inline std::string UTF8(CFStringRef s) {
  if (!s) return "<null>";
  CFIndex n = CFStringGetMaximumSizeForEncoding(CFStringGetLength(s), kCFStringEncodingUTF8) + 1;
  std::vector<char> buf(static_cast<size_t>(n));
  if (!CFStringGetCString(s, buf.data(), n, kCFStringEncodingUTF8)) return "<unconvertible>";
  return buf.data();
}

inline CFStringRef NewString(const char* utf8) {
  return CFStringCreateWithCString(kCFAllocatorDefault, utf8, kCFStringEncodingUTF8);
}

inline std::vector<UniChar> Units(CFStringRef s) {
  std::vector<UniChar> out(static_cast<size_t>(CFStringGetLength(s)));
  CFStringGetCharacters(s, CFRangeMake(0, CFStringGetLength(s)), out.data());
  return out;
}

}  // namespace cf_test

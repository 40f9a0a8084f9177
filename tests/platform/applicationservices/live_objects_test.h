// A test fixture that fails any test leaving CoreFoundation objects alive.
#pragma once

#include <CoreFoundation/CFLiveObjects.h>
#include <gtest/gtest.h>

namespace kc_as_test {

class LiveObjectsTest : public ::testing::Test {
 protected:
  void SetUp() override { before_ = CFLiveObjectsGetTotalCount(); }
  void TearDown() override {
    EXPECT_EQ(before_, CFLiveObjectsGetTotalCount()) << "objects leaked or released once too often";
  }

 private:
  CFIndex before_ = 0;
};

}  // namespace kc_as_test

// A test fixture that fails any test leaving CoreFoundation objects alive,
// or releasing some once too often, naming the types concerned.
#pragma once

#include <CoreFoundation/CFLiveObjects.h>
#include <gtest/gtest.h>

#include <memory>

#include "support/cf_live_objects.h"

namespace kc_as_test {

class LiveObjectsTest : public ::testing::Test {
 protected:
  void SetUp() override { before_ = std::make_unique<kc_test::CFLiveObjectsSnapshot>(); }
  void TearDown() override { EXPECT_EQ("", before_->DiffNow()) << "live objects changed"; }

 private:
  std::unique_ptr<kc_test::CFLiveObjectsSnapshot> before_;
};

}  // namespace kc_as_test

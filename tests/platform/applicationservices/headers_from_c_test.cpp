// The public headers compile as C and give C the same record layouts.
#include <ApplicationServices/ApplicationServices.h>
#include <gtest/gtest.h>

extern "C" size_t kc_as_c_sizes(size_t* fsref, size_t* hfsName, size_t* cgfloat);

namespace kc_as_test {
namespace {

TEST(HeadersFromCTest, Headers_RecordSizesAgreeBetweenCAndCxx) {
  size_t fsref = 0, hfsName = 0, cgfloat = 0;
  EXPECT_EQ(70u, kc_as_c_sizes(&fsref, &hfsName, &cgfloat));
  EXPECT_EQ(80u, fsref);
  EXPECT_EQ(512u, hfsName);
  EXPECT_EQ(sizeof(double), cgfloat);
  EXPECT_EQ(sizeof(FSSpec), 70u);
  EXPECT_EQ(offsetof(FSSpec, name), 6u);
}

}  // namespace
}  // namespace kc_as_test

// Helpers shared by the File Manager tests.
#include "fs_test_util.h"

#include <gtest/gtest.h>
#include <limits.h>
#include <stdlib.h>
#include <sys/stat.h>

#include <cstring>
#include <fstream>

namespace kc_as_test {

void WriteFile(const std::string& path, const std::string& contents) {
  std::ofstream out(path, std::ios::binary);
  out << contents;
  ASSERT_TRUE(out.good()) << path;
}

void MakeFolder(const std::string& path) { ASSERT_EQ(0, mkdir(path.c_str(), 0700)) << path; }

std::string Canonical(const std::string& path) {
  char buf[PATH_MAX];
  return realpath(path.c_str(), buf) ? std::string(buf) : std::string();
}

FSRef RefFor(const std::string& path) {
  FSRef ref;
  std::memset(&ref, 0, sizeof ref);
  EXPECT_EQ(noErr, FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, nullptr)) << path;
  return ref;
}

std::string PathOf(const FSRef& ref) {
  UInt8 buf[PATH_MAX];
  if (FSRefMakePath(&ref, buf, sizeof buf) != noErr) return std::string();
  return reinterpret_cast<const char*>(buf);
}

FSCatalogInfo InfoOf(const FSRef& ref, FSCatalogInfoBitmap which) {
  FSCatalogInfo info;
  std::memset(&info, 0, sizeof info);
  EXPECT_EQ(noErr, FSGetCatalogInfo(&ref, which, &info, nullptr, nullptr, nullptr));
  return info;
}

std::string Pascal(const std::string& bytes) { return std::string(1, static_cast<char>(bytes.size())) + bytes; }

std::u16string NameOf(const HFSUniStr255& name) {
  return std::u16string(reinterpret_cast<const char16_t*>(name.unicode), name.length);
}

}  // namespace kc_as_test

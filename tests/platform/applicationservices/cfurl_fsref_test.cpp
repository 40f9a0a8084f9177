// The CFURL-FSRef bridges: existing items both ways, and what fails.
#include <CarbonCore/Files.h>
#include <CoreFoundation/CoreFoundation.h>
#include <gtest/gtest.h>
#include <limits.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "fs_test_util.h"
#include "live_objects_test.h"
#include "support/temp_dir.h"

namespace kc_as_test {
namespace {

using CFURLFSRefTest = LiveObjectsTest;

CFURLRef FileURL(const std::string& path, bool isDirectory) {
  return CFURLCreateFromFileSystemRepresentation(kCFAllocatorDefault, reinterpret_cast<const UInt8*>(path.data()),
                                                 static_cast<CFIndex>(path.size()), isDirectory);
}

std::string PathOfURL(CFURLRef url) {
  UInt8 buf[PATH_MAX];
  if (!CFURLGetFileSystemRepresentation(url, true, buf, sizeof buf)) return std::string();
  return reinterpret_cast<const char*>(buf);
}

TEST_F(CFURLFSRefTest, CFURLFSRef_ExistingFileRoundTripsThroughFSRef) {
  kc_test::TempDir dir;
  const std::string path = dir.file("r\xC3\xA9sum\xC3\xA9.txt");
  WriteFile(path, "x");
  CFURLRef url = FileURL(path, false);
  ASSERT_NE(nullptr, url);
  FSRef ref;
  ASSERT_TRUE(CFURLGetFSRef(url, &ref));
  EXPECT_EQ(Canonical(path), PathOf(ref));

  CFURLRef back = CFURLCreateFromFSRef(kCFAllocatorDefault, &ref);
  ASSERT_NE(nullptr, back);
  EXPECT_EQ(Canonical(path), PathOfURL(back));
  EXPECT_FALSE(CFURLHasDirectoryPath(back));
  CFStringRef last = CFURLCopyLastPathComponent(back);
  ASSERT_NE(nullptr, last);
  EXPECT_TRUE(CFEqual(last, CFSTR("r\xC3\xA9sum\xC3\xA9.txt")));
  CFRelease(last);
  FSRef again;
  ASSERT_TRUE(CFURLGetFSRef(back, &again));
  EXPECT_EQ(noErr, FSCompareFSRefs(&ref, &again));
  CFRelease(back);
  CFRelease(url);
}

TEST_F(CFURLFSRefTest, CFURLFSRef_FolderComesBackAsDirectoryURL) {
  kc_test::TempDir dir;
  MakeFolder(dir.file("folder"));
  CFURLRef url = FileURL(dir.file("folder"), true);
  FSRef ref;
  ASSERT_TRUE(CFURLGetFSRef(url, &ref));
  CFURLRef back = CFURLCreateFromFSRef(kCFAllocatorDefault, &ref);
  ASSERT_NE(nullptr, back);
  EXPECT_TRUE(CFURLHasDirectoryPath(back));
  EXPECT_EQ(Canonical(dir.file("folder")), PathOfURL(back));
  CFRelease(back);
  CFRelease(url);

  // The root of the file system is node 2.
  CFURLRef root = CFURLCreateWithString(kCFAllocatorDefault, CFSTR("file:///"), nullptr);
  ASSERT_TRUE(CFURLGetFSRef(root, &ref));
  EXPECT_EQ(2u, InfoOf(ref, kFSCatInfoNodeID).nodeID);
  CFRelease(root);
}

TEST_F(CFURLFSRefTest, CFURLGetFSRef_FailsForMissingFilesAndOtherURLs) {
  kc_test::TempDir dir;
  FSRef ref;
  CFURLRef missing = FileURL(dir.file("missing.txt"), false);
  EXPECT_FALSE(CFURLGetFSRef(missing, &ref));
  CFRelease(missing);
  CFURLRef web = CFURLCreateWithString(kCFAllocatorDefault, CFSTR("https://example.com/index.html"), nullptr);
  ASSERT_NE(nullptr, web);
  EXPECT_FALSE(CFURLGetFSRef(web, &ref));
  CFRelease(web);
  EXPECT_FALSE(CFURLGetFSRef(nullptr, &ref));
  CFURLRef here = FileURL(dir.path(), true);
  EXPECT_FALSE(CFURLGetFSRef(here, nullptr));
  CFRelease(here);
}

TEST_F(CFURLFSRefTest, CFURLCreateFromFSRef_InvalidOrStaleReferenceGivesNull) {
  FSRef zero;
  std::memset(&zero, 0, sizeof zero);
  EXPECT_EQ(nullptr, CFURLCreateFromFSRef(kCFAllocatorDefault, &zero));
  EXPECT_EQ(nullptr, CFURLCreateFromFSRef(kCFAllocatorDefault, nullptr));
  kc_test::TempDir dir;
  WriteFile(dir.file("soon-gone"), "");
  FSRef ref = RefFor(dir.file("soon-gone"));
  ASSERT_EQ(0, unlink(dir.file("soon-gone").c_str()));
  EXPECT_EQ(nullptr, CFURLCreateFromFSRef(kCFAllocatorDefault, &ref));
}

}  // namespace
}  // namespace kc_as_test

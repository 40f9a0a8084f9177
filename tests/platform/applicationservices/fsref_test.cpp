// FSRef: references made from paths, the paths and catalog information they
// give back, and what happens to references whose item goes away.
#include <CarbonCore/Files.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "fs_test_util.h"
#include "live_objects_test.h"
#include "support/temp_dir.h"

namespace kc_as_test {
namespace {

using FSRefTest = LiveObjectsTest;

TEST_F(FSRefTest, FSPathMakeRef_GivesCanonicalPathAndKind) {
  kc_test::TempDir dir;
  WriteFile(dir.file("file.txt"), "hello");
  MakeFolder(dir.file("folder"));
  ASSERT_EQ(0, symlink(dir.file("file.txt").c_str(), dir.file("link").c_str()));

  FSRef ref;
  Boolean isDir = 2;
  ASSERT_EQ(noErr, FSPathMakeRef(reinterpret_cast<const UInt8*>(dir.file("file.txt").c_str()), &ref, &isDir));
  EXPECT_EQ(0, isDir);
  EXPECT_EQ(Canonical(dir.file("file.txt")), PathOf(ref));

  ASSERT_EQ(noErr, FSPathMakeRef(reinterpret_cast<const UInt8*>((dir.file("folder") + "/").c_str()), &ref, &isDir));
  EXPECT_EQ(1, isDir);
  EXPECT_EQ(Canonical(dir.file("folder")), PathOf(ref));

  // A symbolic link and a path with "." and ".." name the item they lead to.
  FSRef viaLink = RefFor(dir.file("link"));
  FSRef viaDots = RefFor(dir.path() + "/folder/../file.txt");
  EXPECT_EQ(Canonical(dir.file("file.txt")), PathOf(viaLink));
  EXPECT_EQ(noErr, FSCompareFSRefs(&viaLink, &viaDots));
  FSRef folder = RefFor(dir.file("folder"));
  EXPECT_EQ(errFSRefsDifferent, FSCompareFSRefs(&viaLink, &folder));
}

TEST_F(FSRefTest, FSPathMakeRef_MissingItemsAreNotFound) {
  kc_test::TempDir dir;
  WriteFile(dir.file("file.txt"), "x");
  FSRef ref;
  EXPECT_EQ(fnfErr, FSPathMakeRef(reinterpret_cast<const UInt8*>(dir.file("missing").c_str()), &ref, nullptr));
  EXPECT_EQ(fnfErr, FSPathMakeRef(reinterpret_cast<const UInt8*>(dir.file("missing/leaf").c_str()), &ref, nullptr));
  // A file is no folder to look inside.
  EXPECT_EQ(fnfErr, FSPathMakeRef(reinterpret_cast<const UInt8*>(dir.file("file.txt/x").c_str()), &ref, nullptr));
  ASSERT_EQ(0, symlink(dir.file("missing").c_str(), dir.file("dangling").c_str()));
  EXPECT_EQ(fnfErr, FSPathMakeRef(reinterpret_cast<const UInt8*>(dir.file("dangling").c_str()), &ref, nullptr));
  EXPECT_EQ(fnfErr, FSPathMakeRef(reinterpret_cast<const UInt8*>(""), &ref, nullptr));
  // A name longer than any file system takes is a bad name.
  const std::string tooLong = dir.file(std::string(300, 'n'));
  EXPECT_EQ(bdNamErr, FSPathMakeRef(reinterpret_cast<const UInt8*>(tooLong.c_str()), &ref, nullptr));
}

TEST_F(FSRefTest, FSRef_DeletedOrReplacedItemIsNoLongerFound) {
  kc_test::TempDir dir;
  WriteFile(dir.file("a"), "first");
  WriteFile(dir.file("b"), "second");
  FSRef a = RefFor(dir.file("a"));
  // Another file moved to the same path is not the item the reference named.
  ASSERT_EQ(0, rename(dir.file("b").c_str(), dir.file("a").c_str()));
  UInt8 path[1024];
  EXPECT_EQ(fnfErr, FSRefMakePath(&a, path, sizeof path));
  FSCatalogInfo info;
  EXPECT_EQ(fnfErr, FSGetCatalogInfo(&a, kFSCatInfoNodeID, &info, nullptr, nullptr, nullptr));
  // A fresh reference to the path names the newcomer.
  FSRef again = RefFor(dir.file("a"));
  EXPECT_EQ(Canonical(dir.file("a")), PathOf(again));

  ASSERT_EQ(0, unlink(dir.file("a").c_str()));
  EXPECT_EQ(fnfErr, FSRefMakePath(&again, path, sizeof path));
}

TEST_F(FSRefTest, FSRef_InvalidReferencesAndArgumentsGiveErrors) {
  FSRef zero;
  std::memset(&zero, 0, sizeof zero);
  FSRef junk;
  std::memset(&junk, 0xA5, sizeof junk);
  UInt8 path[64];
  FSCatalogInfo info;
  HFSUniStr255 name;
  for (const FSRef* bad : {&zero, &junk}) {
    EXPECT_EQ(nsvErr, FSRefMakePath(bad, path, sizeof path));
    EXPECT_EQ(nsvErr, FSGetCatalogInfo(bad, kFSCatInfoNodeID, &info, &name, nullptr, nullptr));
    EXPECT_EQ(nsvErr, FSGetCatalogInfo(bad, kFSCatInfoNone, nullptr, nullptr, nullptr, nullptr));
  }
  FSRef root = RefFor("/");
  EXPECT_EQ(nsvErr, FSCompareFSRefs(&root, &zero));

  EXPECT_EQ(paramErr, FSPathMakeRef(nullptr, &root, nullptr));
  EXPECT_EQ(paramErr, FSPathMakeRef(reinterpret_cast<const UInt8*>("/"), nullptr, nullptr));
  EXPECT_EQ(paramErr, FSRefMakePath(nullptr, path, sizeof path));
  EXPECT_EQ(paramErr, FSRefMakePath(&root, nullptr, 10));
  EXPECT_EQ(paramErr, FSGetCatalogInfo(nullptr, kFSCatInfoNone, nullptr, nullptr, nullptr, nullptr));
  // Asking for fields without a record to put them in.
  EXPECT_EQ(paramErr, FSGetCatalogInfo(&root, kFSCatInfoNodeID, nullptr, nullptr, nullptr, nullptr));
  EXPECT_EQ(paramErr, FSCompareFSRefs(&root, nullptr));
}

TEST_F(FSRefTest, FSRefMakePath_NeedsRoomForTheTerminator) {
  kc_test::TempDir dir;
  WriteFile(dir.file("f"), "");
  FSRef ref = RefFor(dir.file("f"));
  const std::string expected = Canonical(dir.file("f"));
  std::string buf(expected.size() + 1, '\x7f');
  EXPECT_EQ(pathTooLongErr, FSRefMakePath(&ref, reinterpret_cast<UInt8*>(&buf[0]), expected.size()));
  EXPECT_EQ(noErr, FSRefMakePath(&ref, reinterpret_cast<UInt8*>(&buf[0]), expected.size() + 1));
  EXPECT_EQ(expected + '\0', buf);
  EXPECT_EQ(pathTooLongErr, FSRefMakePath(&ref, reinterpret_cast<UInt8*>(&buf[0]), 0));
}

TEST_F(FSRefTest, FSGetCatalogInfo_RootIsNodeTwoWithoutParent) {
  FSRef root = RefFor("/");
  FSCatalogInfo info;
  HFSUniStr255 name;
  FSRef parent;
  std::memset(&parent, 0x5A, sizeof parent);
  ASSERT_EQ(noErr, FSGetCatalogInfo(&root, kFSCatInfoNodeID | kFSCatInfoParentDirID | kFSCatInfoNodeFlags, &info,
                                    &name, nullptr, &parent));
  EXPECT_EQ(2u, info.nodeID);
  EXPECT_EQ(1u, info.parentDirID);
  EXPECT_EQ(kFSNodeIsDirectoryMask, info.nodeFlags & kFSNodeIsDirectoryMask);
  EXPECT_EQ(u"/", NameOf(name));
  // The root's parent reference is invalid, so asking anything of it fails.
  FSRef zero;
  std::memset(&zero, 0, sizeof zero);
  EXPECT_EQ(0, std::memcmp(&zero, &parent, sizeof parent));
  EXPECT_NE(noErr, FSGetCatalogInfo(&parent, kFSCatInfoNone, nullptr, &name, nullptr, nullptr));
}

TEST_F(FSRefTest, FSGetCatalogInfo_EveryMountPointIsTheRootOfItsVolume) {
  struct stat rootStat;
  ASSERT_EQ(0, stat("/", &rootStat));
  int checked = 0;
  std::vector<std::pair<FSRef, struct stat>> roots;
  for (const char* path : {"/proc", "/sys", "/dev"}) {
    struct stat st;
    if (stat(path, &st) != 0 || st.st_dev == rootStat.st_dev) continue;  // not a mount point here
    SCOPED_TRACE(path);
    ++checked;
    FSRef ref = RefFor(path);
    // Roots of other file systems often share an inode number; they are
    // still different items.
    for (const auto& [other, otherStat] : roots) {
      if (otherStat.st_ino == st.st_ino) {
        EXPECT_EQ(errFSRefsDifferent, FSCompareFSRefs(&ref, &other));
      }
    }
    roots.push_back({ref, st});
    FSCatalogInfo info;
    HFSUniStr255 name;
    FSSpec spec;
    ASSERT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNodeID | kFSCatInfoParentDirID | kFSCatInfoVolume, &info,
                                      &name, &spec, nullptr));
    EXPECT_EQ(2u, info.nodeID);
    EXPECT_EQ(1u, info.parentDirID);
    EXPECT_NE(InfoOf(RefFor("/"), kFSCatInfoVolume).volume, info.volume);
    EXPECT_EQ(std::u16string(path + 1, path + std::strlen(path)), NameOf(name));
    FSRef back;
    ASSERT_EQ(noErr, FSpMakeFSRef(&spec, &back));
    EXPECT_EQ(path, PathOf(back));
  }
  if (checked == 0) GTEST_SKIP() << "no separate file systems mounted";
}

TEST_F(FSRefTest, FSGetCatalogInfo_ReportsIdsNameSizesAndParent) {
  kc_test::TempDir dir;
  MakeFolder(dir.file("sub"));
  const std::string file = dir.file("sub/caf\xC3\xA9.txt");
  WriteFile(file, "12345");
  FSRef folderRef = RefFor(dir.file("sub"));
  FSRef fileRef = RefFor(file);

  const FSCatalogInfoBitmap all = kFSCatInfoGettableInfo;
  FSCatalogInfo folderInfo = InfoOf(folderRef, all);
  FSCatalogInfo info;
  std::memset(&info, 0xEE, sizeof info);
  HFSUniStr255 name;
  FSRef parent;
  ASSERT_EQ(noErr, FSGetCatalogInfo(&fileRef, all, &info, &name, nullptr, &parent));

  EXPECT_NE(0u, info.nodeID);
  EXPECT_NE(2u, info.nodeID);
  EXPECT_NE(folderInfo.nodeID, info.nodeID);
  EXPECT_EQ(folderInfo.nodeID, info.parentDirID);
  EXPECT_EQ(folderInfo.volume, info.volume);
  EXPECT_LT(FSVolumeRefNum{info.volume}, 0);
  EXPECT_EQ(0, info.nodeFlags & kFSNodeIsDirectoryMask);
  EXPECT_EQ(kFSNodeIsDirectoryMask, folderInfo.nodeFlags & kFSNodeIsDirectoryMask);
  EXPECT_EQ(5u, UInt64{info.dataLogicalSize});
  EXPECT_EQ(0u, UInt64{info.rsrcLogicalSize});
  EXPECT_EQ(1u, UInt32{folderInfo.valence});
  EXPECT_EQ(u"caf\u00e9.txt", NameOf(name));
  EXPECT_EQ(noErr, FSCompareFSRefs(&parent, &folderRef));

  struct stat st;
  ASSERT_EQ(0, stat(file.c_str(), &st));
  const UInt64 carbonSeconds = static_cast<UInt64>(st.st_mtim.tv_sec) + 2082844800ULL;
  EXPECT_EQ(carbonSeconds >> 32, UInt16{info.contentModDate.highSeconds});
  EXPECT_EQ(carbonSeconds & 0xFFFFFFFFu, UInt32{info.contentModDate.lowSeconds});
  EXPECT_EQ(st.st_uid, UInt32{info.permissions.userID});
  EXPECT_EQ(static_cast<UInt16>(st.st_mode), UInt16{info.permissions.mode});

  // Fields not asked for are left alone.
  FSCatalogInfo partial;
  std::memset(&partial, 0xEE, sizeof partial);
  ASSERT_EQ(noErr, FSGetCatalogInfo(&fileRef, kFSCatInfoNodeID, &partial, nullptr, nullptr, nullptr));
  EXPECT_EQ(info.nodeID, partial.nodeID);
  EXPECT_EQ(0xEEEEEEEEu, partial.parentDirID);
  EXPECT_EQ(0xEEEEu, partial.nodeFlags);
}

TEST_F(FSRefTest, FSMakeFSRefUnicode_FindsChildrenByCarbonName) {
  kc_test::TempDir dir;
  WriteFile(dir.file("a:b"), "");
  // Stored decomposed: e followed by a combining acute accent.
  WriteFile(dir.file("e\xCC\x81"), "");
  FSRef folder = RefFor(dir.path());
  FSRef colon = RefFor(dir.file("a:b"));

  // POSIX ':' is '/' in a Carbon name, both ways.
  HFSUniStr255 name;
  ASSERT_EQ(noErr, FSGetCatalogInfo(&colon, kFSCatInfoNone, nullptr, &name, nullptr, nullptr));
  EXPECT_EQ(u"a/b", NameOf(name));
  FSRef found;
  ASSERT_EQ(noErr, FSMakeFSRefUnicode(&folder, name.length, name.unicode, 0, &found));
  EXPECT_EQ(noErr, FSCompareFSRefs(&found, &colon));
  const UniChar withColon[] = {'a', ':', 'b'};
  EXPECT_EQ(bdNamErr, FSMakeFSRefUnicode(&folder, 3, withColon, 0, &found));

  // Names are found whatever their Unicode normalisation, by name and by path.
  const UniChar composed[] = {0x00E9};
  ASSERT_EQ(noErr, FSMakeFSRefUnicode(&folder, 1, composed, 0, &found));
  EXPECT_EQ(Canonical(dir.file("e\xCC\x81")), PathOf(found));
  FSRef byPath = RefFor(dir.file("\xC3\xA9"));
  EXPECT_EQ(noErr, FSCompareFSRefs(&found, &byPath));

  const UniChar missing[] = {'z'};
  EXPECT_EQ(fnfErr, FSMakeFSRefUnicode(&folder, 1, missing, 0, &found));
  EXPECT_EQ(errFSNotAFolder, FSMakeFSRefUnicode(&colon, 1, missing, 0, &found));
  EXPECT_EQ(bdNamErr, FSMakeFSRefUnicode(&folder, 0, missing, 0, &found));
  EXPECT_EQ(paramErr, FSMakeFSRefUnicode(&folder, 1, nullptr, 0, &found));

  // A name stays inside its folder: "." and ".." are no names, nor is one
  // with a NUL in it or of more than 255 units.
  const UniChar dot[] = {'.', '.'};
  const UniChar withNul[] = {'a', 0, 'b'};
  const std::u16string tooLong(256, u'x');
  std::memset(&found, 0xAB, sizeof found);
  EXPECT_EQ(bdNamErr, FSMakeFSRefUnicode(&folder, 2, dot, 0, &found));
  EXPECT_EQ(bdNamErr, FSMakeFSRefUnicode(&folder, 1, dot, 0, &found));
  EXPECT_EQ(bdNamErr, FSMakeFSRefUnicode(&folder, 3, withNul, 0, &found));
  EXPECT_EQ(bdNamErr, FSMakeFSRefUnicode(&folder, tooLong.size(),
                                         reinterpret_cast<const UniChar*>(tooLong.data()), 0, &found));
}

TEST_F(FSRefTest, FSRef_ThreadsMakingReferencesAtOnceEachGetTheirOwnItem) {
  kc_test::TempDir dir;
  constexpr int kThreads = 4, kFilesEach = 50;
  for (int t = 0; t < kThreads; ++t) {
    for (int i = 0; i < kFilesEach; ++i) WriteFile(dir.file(std::to_string(t) + "-" + std::to_string(i)), "");
  }
  std::vector<int> wrong(kThreads, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) {
    threads.emplace_back([&dir, &wrong, t] {
      for (int i = 0; i < kFilesEach; ++i) {
        const std::string path = dir.file(std::to_string(t) + "-" + std::to_string(i));
        FSRef ref;
        UInt8 back[4096];
        FSCatalogInfo info;
        if (FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), &ref, nullptr) != noErr ||
            FSGetCatalogInfo(&ref, kFSCatInfoNodeID | kFSCatInfoParentDirID | kFSCatInfoVolume, &info, nullptr,
                             nullptr, nullptr) != noErr ||
            FSRefMakePath(&ref, back, sizeof back) != noErr ||
            path.substr(path.rfind('/')) != std::string(reinterpret_cast<char*>(back)).substr(
                                                 std::string(reinterpret_cast<char*>(back)).rfind('/'))) {
          ++wrong[t];
        }
      }
    });
  }
  for (std::thread& th : threads) th.join();
  for (int t = 0; t < kThreads; ++t) EXPECT_EQ(0, wrong[t]) << "thread " << t;
}

}  // namespace
}  // namespace kc_as_test

// FSSpec: specs of existing and not yet existing items, their Mac OS Roman
// names, and the way back to an FSRef.
#include <CarbonCore/Files.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "fs_test_util.h"
#include "live_objects_test.h"
#include "support/temp_dir.h"

namespace kc_as_test {
namespace {

using FSSpecTest = LiveObjectsTest;

std::string SpecName(const FSSpec& spec) {
  return std::string(reinterpret_cast<const char*>(spec.name + 1), spec.name[0]);
}

const UInt8* Name(const std::string& pascal) { return reinterpret_cast<const UInt8*>(pascal.data()); }

TEST_F(FSSpecTest, FSMakeFSSpec_MissingLeafIsSpecifiedThenFoundOnceCreated) {
  kc_test::TempDir dir;
  FSCatalogInfo folder = InfoOf(RefFor(dir.path()), kFSCatInfoNodeID | kFSCatInfoVolume);
  // "new é" in Mac OS Roman, where é is 0x8E.
  const std::string name = Pascal("new \x8E");
  FSSpec spec;
  std::memset(&spec, 0, sizeof spec);
  ASSERT_EQ(fnfErr, FSMakeFSSpec(folder.volume, static_cast<SInt32>(folder.nodeID), Name(name), &spec));
  EXPECT_EQ(folder.volume, FSVolumeRefNum{spec.vRefNum});
  EXPECT_EQ(static_cast<SInt32>(folder.nodeID), SInt32{spec.parID});
  EXPECT_EQ("new \x8E", SpecName(spec));
  FSRef ref;
  EXPECT_EQ(fnfErr, FSpMakeFSRef(&spec, &ref));

  WriteFile(dir.file("new \xC3\xA9"), "");
  ASSERT_EQ(noErr, FSpMakeFSRef(&spec, &ref));
  EXPECT_EQ(Canonical(dir.file("new \xC3\xA9")), PathOf(ref));
  FSSpec again;
  EXPECT_EQ(noErr, FSMakeFSSpec(folder.volume, static_cast<SInt32>(folder.nodeID), Name(name), &again));
  EXPECT_EQ(0, std::memcmp(&spec, &again, sizeof spec));
}

TEST_F(FSSpecTest, FSGetCatalogInfo_SpecRoundTripsThroughFSpMakeFSRef) {
  kc_test::TempDir dir;
  MakeFolder(dir.file("r\xC3\xA9sum\xC3\xA9s"));
  const std::string file = dir.file("r\xC3\xA9sum\xC3\xA9s/caf\xC3\xA9");
  WriteFile(file, "x");
  for (const std::string& path : {file, dir.file("r\xC3\xA9sum\xC3\xA9s")}) {
    FSRef ref = RefFor(path);
    FSSpec spec;
    FSRef parent;
    ASSERT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, &spec, &parent));
    FSCatalogInfo parentInfo = InfoOf(parent, kFSCatInfoNodeID | kFSCatInfoVolume);
    EXPECT_EQ(static_cast<SInt32>(parentInfo.nodeID), SInt32{spec.parID});
    EXPECT_EQ(parentInfo.volume, FSVolumeRefNum{spec.vRefNum});
    FSRef back;
    ASSERT_EQ(noErr, FSpMakeFSRef(&spec, &back)) << path;
    EXPECT_EQ(noErr, FSCompareFSRefs(&ref, &back));
  }
  FSSpec spec;
  FSRef ref = RefFor(file);
  ASSERT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, &spec, nullptr));
  EXPECT_EQ("caf\x8E", SpecName(spec));
}

TEST_F(FSSpecTest, FSMakeFSSpec_EmptyNameSpecifiesTheFolderItself) {
  kc_test::TempDir dir;
  MakeFolder(dir.file("inner"));
  FSCatalogInfo outer = InfoOf(RefFor(dir.path()), kFSCatInfoNodeID);
  FSCatalogInfo inner = InfoOf(RefFor(dir.file("inner")), kFSCatInfoNodeID | kFSCatInfoVolume);
  FSSpec spec;
  const std::string empty = Pascal("");
  ASSERT_EQ(noErr, FSMakeFSSpec(inner.volume, static_cast<SInt32>(inner.nodeID), Name(empty), &spec));
  EXPECT_EQ(static_cast<SInt32>(outer.nodeID), SInt32{spec.parID});
  EXPECT_EQ("inner", SpecName(spec));
  ASSERT_EQ(noErr, FSMakeFSSpec(inner.volume, static_cast<SInt32>(inner.nodeID), nullptr, &spec));
  FSRef ref;
  ASSERT_EQ(noErr, FSpMakeFSRef(&spec, &ref));
  EXPECT_EQ(Canonical(dir.file("inner")), PathOf(ref));
}

TEST_F(FSSpecTest, FSMakeFSSpec_PartialPathsWalkDownAndUp) {
  kc_test::TempDir dir;
  MakeFolder(dir.file("sub"));
  WriteFile(dir.file("sub/file"), "");
  WriteFile(dir.file("top"), "");
  FSCatalogInfo outer = InfoOf(RefFor(dir.path()), kFSCatInfoNodeID | kFSCatInfoVolume);
  FSCatalogInfo sub = InfoOf(RefFor(dir.file("sub")), kFSCatInfoNodeID);
  const SInt32 outerID = static_cast<SInt32>(outer.nodeID), subID = static_cast<SInt32>(sub.nodeID);
  FSSpec spec;
  FSRef ref;

  ASSERT_EQ(noErr, FSMakeFSSpec(outer.volume, outerID, Name(Pascal(":sub:file")), &spec));
  EXPECT_EQ(subID, SInt32{spec.parID});
  EXPECT_EQ("file", SpecName(spec));
  ASSERT_EQ(noErr, FSpMakeFSRef(&spec, &ref));
  EXPECT_EQ(Canonical(dir.file("sub/file")), PathOf(ref));

  // One level up from sub, to a file there and to one not made yet.
  ASSERT_EQ(noErr, FSMakeFSSpec(outer.volume, subID, Name(Pascal("::top")), &spec));
  EXPECT_EQ(outerID, SInt32{spec.parID});
  EXPECT_EQ(fnfErr, FSMakeFSSpec(outer.volume, subID, Name(Pascal("::later")), &spec));
  EXPECT_EQ(outerID, SInt32{spec.parID});
  EXPECT_EQ("later", SpecName(spec));

  // A trailing ':' names the folder itself; ":file" is a plain leaf.
  ASSERT_EQ(noErr, FSMakeFSSpec(outer.volume, outerID, Name(Pascal(":sub:")), &spec));
  EXPECT_EQ("sub", SpecName(spec));
  EXPECT_EQ(outerID, SInt32{spec.parID});
  EXPECT_EQ(noErr, FSMakeFSSpec(outer.volume, subID, Name(Pascal(":file")), &spec));

  EXPECT_EQ(dirNFErr, FSMakeFSSpec(outer.volume, outerID, Name(Pascal(":nope:file")), &spec));
  EXPECT_EQ(dirNFErr, FSMakeFSSpec(outer.volume, outerID, Name(Pascal(":top:file")), &spec));  // a file
}

TEST_F(FSSpecTest, FSMakeFSSpec_ZeroVolumeAndFolderMeanTheWorkingFolder) {
  kc_test::TempDir dir;
  WriteFile(dir.file("here"), "");
  char saved[4096];
  ASSERT_NE(nullptr, getcwd(saved, sizeof saved));
  ASSERT_EQ(0, chdir(dir.path().c_str()));
  FSSpec spec;
  const std::string name = Pascal("here");
  OSErr err = FSMakeFSSpec(0, 0, Name(name), &spec);
  FSRef ref;
  OSErr refErr = FSpMakeFSRef(&spec, &ref);
  ASSERT_EQ(0, chdir(saved));
  EXPECT_EQ(noErr, err);
  ASSERT_EQ(noErr, refErr);
  EXPECT_EQ(Canonical(dir.file("here")), PathOf(ref));
}

TEST_F(FSSpecTest, FSSpec_OfRootNamesTheVolumeRoot) {
  FSRef root = RefFor("/");
  FSSpec spec;
  ASSERT_EQ(noErr, FSGetCatalogInfo(&root, kFSCatInfoNone, nullptr, nullptr, &spec, nullptr));
  EXPECT_EQ(1, SInt32{spec.parID});
  EXPECT_EQ("/", SpecName(spec));
  FSRef back;
  ASSERT_EQ(noErr, FSpMakeFSRef(&spec, &back));
  EXPECT_EQ("/", PathOf(back));
  EXPECT_EQ(2u, InfoOf(back, kFSCatInfoNodeID).nodeID);
  // The root folder by its node ID, through an FSSpec with an empty name.
  const std::string empty = Pascal("");
  ASSERT_EQ(noErr, FSMakeFSSpec(spec.vRefNum, 2, Name(empty), &spec));
  EXPECT_EQ(1, SInt32{spec.parID});
  // Nothing is above the root: a partial path cannot climb out of it.
  EXPECT_EQ(dirNFErr, FSMakeFSSpec(spec.vRefNum, 2, Name(Pascal("::etc")), &spec));
}

TEST_F(FSSpecTest, FSSpec_BadVolumesFoldersAndNamesGiveErrors) {
  kc_test::TempDir dir;
  FSCatalogInfo folder = InfoOf(RefFor(dir.path()), kFSCatInfoNodeID | kFSCatInfoVolume);
  const SInt32 dirID = static_cast<SInt32>(folder.nodeID);
  FSSpec spec;
  const std::string ok = Pascal("ok");
  EXPECT_EQ(nsvErr, FSMakeFSSpec(12345, dirID, Name(ok), &spec));
  EXPECT_EQ(dirNFErr, FSMakeFSSpec(folder.volume, 0x7FFFFFF0, Name(ok), &spec));
  EXPECT_EQ(bdNamErr, FSMakeFSSpec(folder.volume, dirID, Name(Pascal(std::string(64, 'x'))), &spec));
  EXPECT_EQ(bdNamErr, FSMakeFSSpec(folder.volume, dirID, Name(Pascal("Volume:b")), &spec));  // full pathname
  EXPECT_EQ(paramErr, FSMakeFSSpec(folder.volume, dirID, Name(ok), nullptr));

  FSRef ref;

  // A name of 64 'x': one more than the field holds, the last byte taken
  // from whatever follows the FSSpec in memory (here an 'x' too).
  struct {
    FSSpec spec;
    unsigned char after[8];
  } padded;
  std::memset(&padded, 'x', sizeof padded);
  FSSpec& bad = padded.spec;
  bad.vRefNum = folder.volume;
  bad.parID = dirID;
  bad.name[0] = 64;
  EXPECT_EQ(bdNamErr, FSpMakeFSRef(&bad, &ref));
  bad.vRefNum = -1;
  bad.name[0] = 0;
  EXPECT_EQ(nsvErr, FSpMakeFSRef(&bad, &ref));
  EXPECT_EQ(paramErr, FSpMakeFSRef(nullptr, &ref));
  EXPECT_EQ(paramErr, FSpMakeFSRef(&bad, nullptr));

  // A folder ID that now names a file is no folder.
  MakeFolder(dir.file("gone"));
  FSCatalogInfo gone = InfoOf(RefFor(dir.file("gone")), kFSCatInfoNodeID);
  ASSERT_EQ(0, rmdir(dir.file("gone").c_str()));
  EXPECT_EQ(dirNFErr, FSMakeFSSpec(folder.volume, static_cast<SInt32>(gone.nodeID), Name(ok), &spec));
}

TEST_F(FSSpecTest, FSSpec_LongAndNonRomanNamesAreMangledAndFoundAgain) {
  kc_test::TempDir dir;
  // No Mac OS Roman form for these characters; and a name of 40 bytes.
  const std::string japanese = dir.file("\xE6\x97\xA5\xE6\x9C\xAC.txt");
  const std::string longName = dir.file(std::string(36, 'L') + ".dat");
  WriteFile(japanese, "");
  WriteFile(longName, "");
  for (const std::string& path : {japanese, longName}) {
    SCOPED_TRACE(path);
    FSRef ref = RefFor(path);
    const UInt32 nodeID = InfoOf(ref, kFSCatInfoNodeID).nodeID;
    FSSpec spec;
    ASSERT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, &spec, nullptr));
    const std::string name = SpecName(spec);
    EXPECT_LE(name.size(), 31u);
    char id[16];
    snprintf(id, sizeof id, "#%X", static_cast<unsigned>(nodeID));
    EXPECT_NE(std::string::npos, name.find(id)) << name;
    EXPECT_EQ(path.substr(path.size() - 4), name.substr(name.size() - 4));  // the extension survives
    FSRef back;
    ASSERT_EQ(noErr, FSpMakeFSRef(&spec, &back));
    EXPECT_EQ(noErr, FSCompareFSRefs(&ref, &back));
    // The same shape of name with another node ID names nothing.
    spec.name[name.find('#') + 2] = spec.name[name.find('#') + 2] == '1' ? '2' : '1';
    EXPECT_EQ(fnfErr, FSpMakeFSRef(&spec, &back));
  }
  FSSpec spec;
  FSRef ref = RefFor(japanese);
  ASSERT_EQ(noErr, FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, &spec, nullptr));
  EXPECT_EQ("__#", SpecName(spec).substr(0, 3));
}

}  // namespace
}  // namespace kc_as_test

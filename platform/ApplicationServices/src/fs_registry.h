// How an FSRef names a file on Linux, and the volume and node numbers the
// File Manager reports.
#pragma once

#include <CarbonCore/Files.h>
#include <sys/stat.h>

#include <string>

namespace kc_as {

// An existing item as the File Manager sees it: its canonical absolute path
// (no symbolic links, no "." or ".."), what stat() says of it, and where it
// sits in its volume.
struct Item {
  std::string path;
  struct stat st;
  bool isVolumeRoot = false;
};

// Makes an Item of an existing path (following symbolic links); fnfErr when
// nothing is there. A name that is missing only because the caller's text is
// in another Unicode normalisation than the stored name is still found, as
// on file systems that compare names by normalisation.
OSErr ItemFromPath(const std::string& path, Item* item);

// Fills ref for item.
void MakeRef(const Item& item, FSRef* ref);
// nsvErr for a reference that never came from MakeRef (all-zero included),
// fnfErr when the item it names is gone or was replaced.
OSErr ResolveRef(const FSRef* ref, Item* item);

// Node ID 2 for a volume root, else a 32-bit number derived from the inode.
// Remembers the item so that FindDirectory can find it by that number.
UInt32 NodeIdOf(const Item& item);
// The volume number of the item's file system (negative, as Carbon's).
FSVolumeRefNum VolumeOf(const Item& item);

// The folder dirID of volume vRefNum: 2 is the volume root; any other number
// must have been handed out by NodeIdOf. vRefNum 0 means the volume of the
// current working folder, and dirID 0 that folder itself. nsvErr for an
// unknown volume, dirNFErr for an unknown or vanished folder.
OSErr FindDirectory(FSVolumeRefNum vRefNum, SInt32 dirID, Item* dir);

// The parent folder of an item that is not a volume root.
OSErr ParentOf(const Item& item, Item* parent);

// The existing item named posixName inside folder dir (compared exactly,
// then regardless of normalisation); fnfErr when there is none.
OSErr ChildOf(const Item& dir, const std::string& posixName, Item* child);

// The existing item inside folder dir whose node ID is nodeID (found by
// reading the folder); fnfErr when there is none.
OSErr ChildWithNodeId(const Item& dir, UInt32 nodeID, Item* child);

// The last path component of an item ("/" for the system root). A volume
// root's Carbon name is the last component of its mount point.
std::string LeafName(const Item& item);

}  // namespace kc_as

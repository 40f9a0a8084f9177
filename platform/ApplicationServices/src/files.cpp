// The File Manager functions: references from paths and FSSpecs, paths from
// references, and catalog information.
#include <CarbonCore/Files.h>

#include "fs_names.h"
#include "fs_registry.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cctype>
#include <cstdlib>
#include <cstring>
#include <string>

using kc_as::Item;

namespace {

// Seconds from 1904-01-01 (the Carbon epoch) to 1970-01-01 (the Unix epoch).
constexpr UInt64 kCarbonToUnixSeconds = 2082844800ULL;

UTCDateTime ToUTCDateTime(const struct timespec& ts) {
  UTCDateTime d;
  std::memset(&d, 0, sizeof d);
  if (ts.tv_sec < -static_cast<long long>(kCarbonToUnixSeconds)) return d;  // before 1904: no date
  UInt64 seconds = static_cast<UInt64>(ts.tv_sec + static_cast<long long>(kCarbonToUnixSeconds));
  d.highSeconds = static_cast<UInt16>((seconds >> 32) & 0xFFFF);
  d.lowSeconds = static_cast<UInt32>(seconds & 0xFFFFFFFFu);
  d.fraction = static_cast<UInt16>((static_cast<UInt64>(ts.tv_nsec) << 16) / 1000000000ULL);
  return d;
}

UInt32 CountEntries(const std::string& dir) {
  DIR* d = opendir(dir.c_str());
  if (!d) return 0;
  UInt32 n = 0;
  while (dirent* e = readdir(d)) {
    if (std::strcmp(e->d_name, ".") != 0 && std::strcmp(e->d_name, "..") != 0) ++n;
  }
  closedir(d);
  return n;
}

// The birth time where the file system records one; no date otherwise.
UTCDateTime CreationDate(const std::string& path) {
  struct statx sx;
  UTCDateTime none;
  std::memset(&none, 0, sizeof none);
  if (statx(AT_FDCWD, path.c_str(), 0, STATX_BTIME, &sx) != 0 || !(sx.stx_mask & STATX_BTIME)) return none;
  struct timespec ts;
  ts.tv_sec = sx.stx_btime.tv_sec;
  ts.tv_nsec = sx.stx_btime.tv_nsec;
  return ToUTCDateTime(ts);
}

void FillCatalogInfo(const Item& item, FSCatalogInfoBitmap which, FSCatalogInfo* info) {
  const struct stat& st = item.st;
  const bool isDir = S_ISDIR(st.st_mode);
  if (which & kFSCatInfoTextEncoding) info->textEncodingHint = 0;  // Mac OS Roman, as Carbon reports by default
  if (which & kFSCatInfoNodeFlags) info->nodeFlags = isDir ? kFSNodeIsDirectoryMask : 0;
  if (which & kFSCatInfoVolume) info->volume = kc_as::VolumeOf(item);
  if (which & kFSCatInfoParentDirID) {
    Item parent;
    if (item.isVolumeRoot) {
      info->parentDirID = fsRtParID;
    } else {
      info->parentDirID = kc_as::ParentOf(item, &parent) == noErr ? kc_as::NodeIdOf(parent) : 0;
    }
  }
  if (which & kFSCatInfoNodeID) info->nodeID = kc_as::NodeIdOf(item);
  if (which & kFSCatInfoCreateDate) info->createDate = CreationDate(item.path);
  if (which & kFSCatInfoContentMod) info->contentModDate = ToUTCDateTime(st.st_mtim);
  if (which & kFSCatInfoAttrMod) info->attributeModDate = ToUTCDateTime(st.st_ctim);
  if (which & kFSCatInfoAccessDate) info->accessDate = ToUTCDateTime(st.st_atim);
  if (which & kFSCatInfoBackupDate) std::memset(&info->backupDate, 0, sizeof info->backupDate);
  if (which & kFSCatInfoPermissions) {
    std::memset(&info->permissions, 0, sizeof info->permissions);
    info->permissions.userID = st.st_uid;
    info->permissions.groupID = st.st_gid;
    info->permissions.mode = static_cast<UInt16>(st.st_mode);
  }
  if (which & kFSCatInfoFinderInfo) std::memset(info->finderInfo, 0, sizeof info->finderInfo);
  if (which & kFSCatInfoFinderXInfo) std::memset(info->extFinderInfo, 0, sizeof info->extFinderInfo);
  if (which & kFSCatInfoValence) info->valence = isDir ? CountEntries(item.path) : 0;
  if (which & kFSCatInfoDataSizes) {
    info->dataLogicalSize = isDir ? 0 : static_cast<UInt64>(st.st_size);
    info->dataPhysicalSize = isDir ? 0 : static_cast<UInt64>(st.st_blocks) * 512u;
  }
  if (which & kFSCatInfoRsrcSizes) {
    info->rsrcLogicalSize = 0;
    info->rsrcPhysicalSize = 0;
  }
  if (which & kFSCatInfoSharingFlags) info->sharingFlags = 0;
  if (which & kFSCatInfoUserPrivs) info->userPrivileges = 0;
}

// Carbon's name of an item. The system root has no POSIX name; it is shown
// as "/", which is taken literally rather than as a POSIX separator.
bool CarbonUnicodeName(const Item& item, std::u16string* units) {
  if (item.path == "/") {
    *units = u"/";
    return true;
  }
  return kc_as::PosixNameToUnicode(kc_as::LeafName(item), units);
}

// FSSpec names hold at most 31 Mac OS Roman bytes, as on HFS volumes; other
// names are shown in their mangled form, which FSpMakeFSRef understands.
std::string CarbonMacRomanName(const Item& item) {
  if (item.path == "/") return "/";
  std::string name;
  if (kc_as::PosixNameToMacRoman(kc_as::LeafName(item), 31, &name)) return name;
  return kc_as::MangledMacRomanName(kc_as::LeafName(item), kc_as::NodeIdOf(item));
}

// The item inside dir that an FSSpec name denotes: the item of that name, or
// the one whose mangled name it is.
OSErr ChildOfSpecName(const Item& dir, const unsigned char* name, size_t length, Item* child) {
  std::string leaf;
  if (!kc_as::MacRomanNameToPosix(name, length, &leaf)) return bdNamErr;
  OSErr err = kc_as::ChildOf(dir, leaf, child);
  if (err != fnfErr) return err;
  const std::string given(reinterpret_cast<const char*>(name), length);
  const size_t hash = given.rfind('#');
  if (hash == std::string::npos) return fnfErr;
  size_t end = hash + 1;
  while (end < given.size() && std::isxdigit(static_cast<unsigned char>(given[end]))) ++end;
  if (end == hash + 1 || end - hash - 1 > 8) return fnfErr;
  const UInt32 nodeID = static_cast<UInt32>(std::strtoul(given.substr(hash + 1, end - hash - 1).c_str(), nullptr, 16));
  if (kc_as::ChildWithNodeId(dir, nodeID, child) != noErr) return fnfErr;
  return CarbonMacRomanName(*child) == given ? static_cast<OSErr>(noErr) : static_cast<OSErr>(fnfErr);
}

OSErr FillName(const Item& item, HFSUniStr255* out) {
  std::u16string units;
  if (!CarbonUnicodeName(item, &units)) return bdNamErr;
  if (units.size() > 255) return errFSNameTooLong;
  std::memset(out, 0, sizeof *out);
  out->length = static_cast<UInt16>(units.size());
  std::memcpy(out->unicode, units.data(), units.size() * sizeof(UniChar));
  return noErr;
}

// Follows a partial pathname (":a:b", "::b", ":a:") from *dir: each name
// before a ':' enters that folder, each empty one goes up a level. Leaves
// *dir at the last folder and *name at what follows the last ':' (empty when
// the path names that folder itself).
OSErr WalkPartialPath(Item* dir, std::string* name) {
  std::string rest = name->substr(1);
  size_t colon;
  while ((colon = rest.find(':')) != std::string::npos) {
    const std::string component = rest.substr(0, colon);
    rest.erase(0, colon + 1);
    Item next;
    if (component.empty()) {
      if (dir->isVolumeRoot || kc_as::ParentOf(*dir, &next) != noErr) return dirNFErr;
    } else if (component.size() > 63 ||
               ChildOfSpecName(*dir, reinterpret_cast<const unsigned char*>(component.data()), component.size(),
                               &next) != noErr ||
               !S_ISDIR(next.st.st_mode)) {
      return dirNFErr;
    }
    *dir = next;
  }
  *name = rest;
  return noErr;
}

// An FSSpec holds the parent folder's node ID and the item's Mac OS Roman
// name.
OSErr FillSpec(const Item& item, FSSpec* spec) {
  const std::string name = CarbonMacRomanName(item);
  SInt32 parID = fsRtParID;
  if (!item.isVolumeRoot) {
    Item parent;
    OSErr err = kc_as::ParentOf(item, &parent);
    if (err != noErr) return err;
    parID = static_cast<SInt32>(kc_as::NodeIdOf(parent));
  }
  std::memset(spec, 0, sizeof *spec);
  spec->vRefNum = kc_as::VolumeOf(item);
  spec->parID = parID;
  spec->name[0] = static_cast<unsigned char>(name.size());
  std::memcpy(spec->name + 1, name.data(), name.size());
  return noErr;
}

}  // namespace

OSErr FSGetCatalogInfo(const FSRef* ref, FSCatalogInfoBitmap whichInfo, FSCatalogInfo* catalogInfo,
                       HFSUniStr255* outName, FSSpec* fsSpec, FSRef* parentRef) {
  if (!ref || (whichInfo != kFSCatInfoNone && !catalogInfo)) return paramErr;
  Item item;
  OSErr err = kc_as::ResolveRef(ref, &item);
  if (err != noErr) return err;
  if (catalogInfo) FillCatalogInfo(item, whichInfo, catalogInfo);
  if (outName && (err = FillName(item, outName)) != noErr) return err;
  if (fsSpec && (err = FillSpec(item, fsSpec)) != noErr) return err;
  if (parentRef) {
    // A volume root has no parent folder: its parent reference is invalid.
    std::memset(parentRef, 0, sizeof *parentRef);
    if (!item.isVolumeRoot) {
      Item parent;
      if ((err = kc_as::ParentOf(item, &parent)) != noErr) return err;
      kc_as::MakeRef(parent, parentRef);
    }
  }
  return noErr;
}

OSStatus FSPathMakeRef(const UInt8* path, FSRef* ref, Boolean* isDirectory) {
  if (!path || !ref) return paramErr;
  Item item;
  OSErr err = kc_as::ItemFromPath(reinterpret_cast<const char*>(path), &item);
  if (err != noErr) return err;
  kc_as::MakeRef(item, ref);
  if (isDirectory) *isDirectory = S_ISDIR(item.st.st_mode) ? 1 : 0;
  return noErr;
}

OSStatus FSRefMakePath(const FSRef* ref, UInt8* path, UInt32 maxPathSize) {
  if (!ref || !path) return paramErr;
  Item item;
  OSErr err = kc_as::ResolveRef(ref, &item);
  if (err != noErr) return err;
  if (item.path.size() + 1 > maxPathSize) return pathTooLongErr;
  std::memcpy(path, item.path.c_str(), item.path.size() + 1);
  return noErr;
}

OSErr FSCompareFSRefs(const FSRef* ref1, const FSRef* ref2) {
  if (!ref1 || !ref2) return paramErr;
  Item a, b;
  OSErr err = kc_as::ResolveRef(ref1, &a);
  if (err != noErr) return err;
  if ((err = kc_as::ResolveRef(ref2, &b)) != noErr) return err;
  return (a.st.st_dev == b.st.st_dev && a.st.st_ino == b.st.st_ino) ? static_cast<OSErr>(noErr)
                                                                     : static_cast<OSErr>(errFSRefsDifferent);
}

OSErr FSpMakeFSRef(const FSSpec* source, FSRef* newRef) {
  if (!source || !newRef) return paramErr;
  const unsigned char length = source->name[0];
  if (length > 63) return bdNamErr;
  Item item;
  if (source->parID == static_cast<SInt32>(fsRtParID)) {
    // The volume root itself, named by its volume name (or no name).
    OSErr err = kc_as::FindDirectory(source->vRefNum, fsRtDirID, &item);
    if (err != noErr) return err;
    if (length != 0 && CarbonMacRomanName(item) != std::string(reinterpret_cast<const char*>(source->name + 1), length)) {
      return fnfErr;
    }
  } else {
    Item dir;
    OSErr err = kc_as::FindDirectory(source->vRefNum, source->parID, &dir);
    if (err != noErr) return err;
    if (length == 0) {
      item = dir;
    } else if ((err = ChildOfSpecName(dir, source->name + 1, length, &item)) != noErr) {
      return err;
    }
  }
  kc_as::MakeRef(item, newRef);
  return noErr;
}

OSErr FSMakeFSSpec(FSVolumeRefNum vRefNum, SInt32 dirID, ConstStr255Param fileName, FSSpec* spec) {
  if (!spec) return paramErr;
  Item dir;
  OSErr err = kc_as::FindDirectory(vRefNum, dirID, &dir);
  if (err != noErr) return err;
  if (!S_ISDIR(dir.st.st_mode)) return dirNFErr;
  std::string name = fileName ? std::string(reinterpret_cast<const char*>(fileName + 1), fileName[0]) : "";
  if (name.find(':') != std::string::npos) {
    // Full pathnames start with a volume name, which Linux volumes lack.
    if (name[0] != ':') return bdNamErr;
    if ((err = WalkPartialPath(&dir, &name)) != noErr) return err;
  }
  if (name.empty()) return FillSpec(dir, spec);
  if (name.size() > 63) return bdNamErr;
  const auto* bytes = reinterpret_cast<const unsigned char*>(name.data());
  std::string leaf;
  if (!kc_as::MacRomanNameToPosix(bytes, name.size(), &leaf)) return bdNamErr;
  std::memset(spec, 0, sizeof *spec);
  spec->vRefNum = kc_as::VolumeOf(dir);
  spec->parID = static_cast<SInt32>(kc_as::NodeIdOf(dir));
  spec->name[0] = static_cast<unsigned char>(name.size());
  std::memcpy(spec->name + 1, name.data(), name.size());
  Item child;
  return ChildOfSpecName(dir, bytes, name.size(), &child);
}

OSErr FSMakeFSRefUnicode(const FSRef* parentRef, UniCharCount nameLength, const UniChar* name,
                         TextEncoding textEncodingHint, FSRef* newRef) {
  (void)textEncodingHint;  // names are Unicode throughout; the hint only mattered to HFS
  if (!parentRef || !newRef || (nameLength != 0 && !name)) return paramErr;
  if (nameLength == 0 || nameLength > 255) return bdNamErr;
  Item dir;
  OSErr err = kc_as::ResolveRef(parentRef, &dir);
  if (err != noErr) return err;
  if (!S_ISDIR(dir.st.st_mode)) return errFSNotAFolder;
  std::string leaf;
  if (!kc_as::UnicodeNameToPosix(name, nameLength, &leaf)) return bdNamErr;
  Item child;
  if ((err = kc_as::ChildOf(dir, leaf, &child)) != noErr) return err;
  kc_as::MakeRef(child, newRef);
  return noErr;
}

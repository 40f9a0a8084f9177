// FSRef on Linux. An FSRef is 80 opaque bytes and must name an existing item;
// a path does not fit in it, and Linux cannot open a file by its inode
// number without privileges. So the process keeps a registry of the
// canonical paths it has handed out references to, and an FSRef holds the
// path's slot in that registry together with the device and inode the path
// had. Every use re-checks the path's device and inode: a reference to a
// file that was deleted, or replaced by another file at the same path, then
// fails with fnfErr instead of silently naming the newcomer. Unlike an HFS
// reference, it does not follow an item that is renamed. Paths are
// canonical (symbolic links resolved), so equal items share one slot and the
// registry grows only with the number of distinct items the process names.
// Node IDs (32 bits in Carbon) come from the inode number, except that a
// volume root is always 2; the registry also maps node IDs back to folders,
// so an FSSpec (volume, parent node ID, name) can be turned into a path.
#include "fs_registry.h"

#include "fs_names.h"

#include <dirent.h>
#include <limits.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <map>
#include <mutex>
#include <unordered_map>
#include <utility>
#include <vector>

namespace kc_as {
namespace {

constexpr UInt32 kRefMagic = 0x4B435246;  // 'KCRF'
constexpr FSVolumeRefNum kFirstVolumeRefNum = -100;

struct RefImage {
  UInt32 magic;
  UInt32 slot;  // 1-based index into Registry::paths
  UInt64 dev;
  UInt64 ino;
  UInt8 unused[56];
};
static_assert(sizeof(RefImage) == sizeof(FSRef), "the reference image fills an FSRef exactly");

struct Volume {
  dev_t dev;
  FSVolumeRefNum refNum;
  std::string root;
};

struct Registry {
  std::mutex mu;
  std::vector<std::string> paths;
  std::unordered_map<std::string, UInt32> slotByPath;
  std::map<std::pair<dev_t, UInt32>, std::string> pathByNode;
  std::vector<Volume> volumes;
};

// Deliberately never destroyed: references may be used from other libraries'
// static destructors, after this library's statics would be gone.
Registry& TheRegistry() {
  static Registry* registry = new Registry;
  return *registry;
}

OSErr ErrnoToOSErr(int err) {
  switch (err) {
    case ENOENT:
    case ENOTDIR:
    case ELOOP:
      return fnfErr;
    case EACCES:
    case EPERM:
      return permErr;
    case ENAMETOOLONG:
      return bdNamErr;
    case ENOMEM:
      return memFullErr;
    default:
      return ioErr;
  }
}

std::string JoinPath(const std::string& dir, const std::string& name) {
  return dir == "/" ? "/" + name : dir + "/" + name;
}

std::string ParentPath(const std::string& path) {
  size_t slash = path.rfind('/');
  if (slash == std::string::npos || slash == 0) return "/";
  return path.substr(0, slash);
}

bool RealPath(const std::string& path, std::string* out) {
  char buf[PATH_MAX];
  if (!realpath(path.c_str(), buf)) return false;
  *out = buf;
  return true;
}

// The entry of dir whose name equals name once both are composed.
bool FindEntryIgnoringNormalization(const std::string& dir, const std::string& name, std::string* found) {
  DIR* d = opendir(dir.c_str());
  if (!d) return false;
  const std::string wanted = ComposedUtf8(name);
  bool ok = false;
  while (dirent* e = readdir(d)) {
    std::string entry = e->d_name;
    if (entry == "." || entry == "..") continue;
    if (ComposedUtf8(entry) == wanted) {
      *found = entry;
      ok = true;
      break;
    }
  }
  closedir(d);
  return ok;
}

// realpath() that, where a component is missing, looks for an entry whose
// name differs only in normalisation. errno describes a failure.
bool ResolveIgnoringNormalization(const std::string& path, std::string* out) {
  std::string prefix;
  if (path[0] == '/') {
    prefix = "/";
  } else if (!RealPath(".", &prefix)) {
    return false;
  }
  size_t pos = 0;
  while (pos <= path.size()) {
    size_t next = path.find('/', pos);
    if (next == std::string::npos) next = path.size();
    std::string comp = path.substr(pos, next - pos);
    pos = next + 1;
    if (comp.empty() || comp == ".") continue;
    std::string resolved;
    if (RealPath(JoinPath(prefix, comp), &resolved)) {
      prefix = resolved;
      continue;
    }
    if (errno != ENOENT) return false;
    std::string entry;
    if (!FindEntryIgnoringNormalization(prefix, comp, &entry) || !RealPath(JoinPath(prefix, entry), &resolved)) {
      errno = ENOENT;
      return false;
    }
    prefix = resolved;
  }
  *out = prefix;
  return true;
}

bool ComputeIsVolumeRoot(const std::string& path, const struct stat& st) {
  if (path == "/") return true;
  struct stat parent;
  if (stat(ParentPath(path).c_str(), &parent) != 0) return false;
  return parent.st_dev != st.st_dev;
}

// The mount point of the file system holding path: the highest folder
// above it on the same device.
std::string MountPointOf(const std::string& path, dev_t dev) {
  std::string current = path;
  while (current != "/") {
    std::string parent = ParentPath(current);
    struct stat st;
    if (stat(parent.c_str(), &st) != 0 || st.st_dev != dev) break;
    current = parent;
  }
  return current;
}

OSErr FinishItem(const std::string& canonical, Item* item) {
  struct stat st;
  if (stat(canonical.c_str(), &st) != 0) return ErrnoToOSErr(errno);
  item->path = canonical;
  item->st = st;
  item->isVolumeRoot = ComputeIsVolumeRoot(canonical, st);
  return noErr;
}

}  // namespace

OSErr ItemFromPath(const std::string& path, Item* item) {
  if (path.empty()) return fnfErr;
  std::string canonical;
  if (!RealPath(path, &canonical)) {
    if (errno != ENOENT || !ResolveIgnoringNormalization(path, &canonical)) return ErrnoToOSErr(errno);
  }
  return FinishItem(canonical, item);
}

void MakeRef(const Item& item, FSRef* ref) {
  Registry& r = TheRegistry();
  UInt32 slot;
  {
    std::lock_guard<std::mutex> lock(r.mu);
    auto it = r.slotByPath.find(item.path);
    if (it != r.slotByPath.end()) {
      slot = it->second;
    } else {
      r.paths.push_back(item.path);
      slot = static_cast<UInt32>(r.paths.size());
      r.slotByPath.emplace(item.path, slot);
    }
  }
  RefImage image;
  std::memset(&image, 0, sizeof image);
  image.magic = kRefMagic;
  image.slot = slot;
  image.dev = static_cast<UInt64>(item.st.st_dev);
  image.ino = static_cast<UInt64>(item.st.st_ino);
  std::memcpy(ref->hidden, &image, sizeof image);
}

OSErr ResolveRef(const FSRef* ref, Item* item) {
  RefImage image;
  std::memcpy(&image, ref->hidden, sizeof image);
  if (image.magic != kRefMagic || image.slot == 0) return nsvErr;
  std::string path;
  {
    Registry& r = TheRegistry();
    std::lock_guard<std::mutex> lock(r.mu);
    if (image.slot > r.paths.size()) return nsvErr;
    path = r.paths[image.slot - 1];
  }
  OSErr err = FinishItem(path, item);
  if (err != noErr) return fnfErr;
  if (static_cast<UInt64>(item->st.st_dev) != image.dev || static_cast<UInt64>(item->st.st_ino) != image.ino) {
    return fnfErr;
  }
  return noErr;
}

namespace {

UInt32 ComputeNodeId(const Item& item) {
  if (item.isVolumeRoot) return fsRtDirID;
  UInt32 id = static_cast<UInt32>(item.st.st_ino);
  // HFS keeps IDs below 16 for the volume's own structures (1 is the parent
  // of the root, 2 the root); an ordinary item never reports one.
  if (id < 16) id |= 0x80000000u;
  return id;
}

}  // namespace

UInt32 NodeIdOf(const Item& item) {
  const UInt32 id = ComputeNodeId(item);
  if (item.isVolumeRoot) {
    VolumeOf(item);
    return id;
  }
  Registry& r = TheRegistry();
  std::lock_guard<std::mutex> lock(r.mu);
  r.pathByNode[std::make_pair(item.st.st_dev, id)] = item.path;
  return id;
}

FSVolumeRefNum VolumeOf(const Item& item) {
  Registry& r = TheRegistry();
  {
    std::lock_guard<std::mutex> lock(r.mu);
    for (const Volume& v : r.volumes) {
      if (v.dev == item.st.st_dev) return v.refNum;
    }
  }
  std::string root = item.isVolumeRoot ? item.path : MountPointOf(item.path, item.st.st_dev);
  std::lock_guard<std::mutex> lock(r.mu);
  for (const Volume& v : r.volumes) {  // another thread may have added it meanwhile
    if (v.dev == item.st.st_dev) return v.refNum;
  }
  int number = kFirstVolumeRefNum - static_cast<int>(r.volumes.size());
  if (number < -32768) return kFSInvalidVolumeRefNum;
  r.volumes.push_back(Volume{item.st.st_dev, static_cast<FSVolumeRefNum>(number), root});
  return static_cast<FSVolumeRefNum>(number);
}

std::string LeafName(const Item& item) {
  if (item.path == "/") return "/";
  return item.path.substr(item.path.rfind('/') + 1);
}

OSErr FindDirectory(FSVolumeRefNum vRefNum, SInt32 dirID, Item* dir) {
  if (vRefNum == 0) {
    Item cwd;
    OSErr err = ItemFromPath(".", &cwd);
    if (err != noErr) return err;
    if (dirID == 0) {
      *dir = cwd;
      return noErr;
    }
    vRefNum = VolumeOf(cwd);
  }
  dev_t dev = 0;
  std::string root;
  bool known = false;
  {
    Registry& r = TheRegistry();
    std::lock_guard<std::mutex> lock(r.mu);
    for (const Volume& v : r.volumes) {
      if (v.refNum == vRefNum) {
        dev = v.dev;
        root = v.root;
        known = true;
        break;
      }
    }
  }
  if (!known) return nsvErr;
  if (dirID == 0 || dirID == static_cast<SInt32>(fsRtDirID)) {
    if (ItemFromPath(root, dir) != noErr || dir->st.st_dev != dev) return nsvErr;
    return noErr;
  }
  std::string path;
  {
    Registry& r = TheRegistry();
    std::lock_guard<std::mutex> lock(r.mu);
    auto it = r.pathByNode.find(std::make_pair(dev, static_cast<UInt32>(dirID)));
    if (it == r.pathByNode.end()) return dirNFErr;
    path = it->second;
  }
  if (ItemFromPath(path, dir) != noErr || dir->st.st_dev != dev || !S_ISDIR(dir->st.st_mode) ||
      NodeIdOf(*dir) != static_cast<UInt32>(dirID)) {
    return dirNFErr;
  }
  return noErr;
}

OSErr ParentOf(const Item& item, Item* parent) { return ItemFromPath(ParentPath(item.path), parent); }

OSErr ChildOf(const Item& dir, const std::string& posixName, Item* child) {
  if (posixName.empty() || posixName == "." || posixName == ".." || posixName.find('/') != std::string::npos) {
    return bdNamErr;
  }
  if (!S_ISDIR(dir.st.st_mode)) return dirNFErr;
  std::string candidate = JoinPath(dir.path, posixName);
  struct stat st;
  if (lstat(candidate.c_str(), &st) != 0) {
    if (errno != ENOENT) return ErrnoToOSErr(errno);
    std::string entry;
    if (!FindEntryIgnoringNormalization(dir.path, posixName, &entry)) return fnfErr;
    candidate = JoinPath(dir.path, entry);
  }
  return ItemFromPath(candidate, child);
}

OSErr ChildWithNodeId(const Item& dir, UInt32 nodeID, Item* child) {
  DIR* d = opendir(dir.path.c_str());
  if (!d) return ErrnoToOSErr(errno);
  OSErr result = fnfErr;
  while (dirent* e = readdir(d)) {
    const std::string name = e->d_name;
    if (name == "." || name == "..") continue;
    Item item;
    if (ItemFromPath(JoinPath(dir.path, name), &item) == noErr && ComputeNodeId(item) == nodeID) {
      *child = item;
      result = noErr;
      break;
    }
  }
  closedir(d);
  return result;
}

}  // namespace kc_as

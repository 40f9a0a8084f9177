// The host functions built on the platform frameworks: folder items as File
// Manager references and specs, host strings as CoreFoundation strings, and
// the release of the reference a wrapper stand-in holds.
#include <ApplicationServices/ApplicationServices.h>
#include <CoreFoundation/CoreFoundation.h>

#include <cstring>

#include "runtime.h"

namespace plugin_host {

namespace {

ObjState* Item(REALfolderItem item) {
  Runtime* rt = Runtime::Current();
  return rt ? rt->StateOfKind(item, Builtin::FolderItem) : nullptr;
}

void SplitPath(const std::string& path, std::string* folder, std::string* leaf) {
  size_t slash = path.find_last_of('/');
  if (slash == std::string::npos) {
    *folder = ".";
    *leaf = path;
  } else {
    *folder = slash == 0 ? "/" : path.substr(0, slash);
    *leaf = path.substr(slash + 1);
  }
}

bool PathRef(const std::string& path, FSRef* ref) {
  return FSPathMakeRef(reinterpret_cast<const UInt8*>(path.c_str()), ref, nullptr) == noErr;
}

std::string RefPath(const FSRef* ref) {
  std::vector<UInt8> buf(4096);
  if (FSRefMakePath(ref, buf.data(), static_cast<UInt32>(buf.size())) != noErr) return std::string();
  return reinterpret_cast<const char*>(buf.data());
}

std::string Join(const std::string& folder, const std::string& leaf) {
  if (leaf.empty()) return folder;
  return (folder == "/" ? std::string() : folder) + "/" + leaf;
}

RBBoolean HostFSRefFromFolderItem(REALfolderItem item, FSRef* ref, HFSUniStr255* name) {
  ObjState* st = Item(item);
  if (st == nullptr || ref == nullptr) return 0;
  if (PathRef(st->Extra().path, ref)) {
    if (name != nullptr) name->length = 0;
    return 1;
  }
  // A not yet existing item: its folder and its leaf name, when asked for.
  std::string folder, leaf;
  SplitPath(st->Extra().path, &folder, &leaf);
  std::u32string cps;
  std::string units;
  if (name == nullptr || leaf.empty() ||
      !DecodeText(reinterpret_cast<const unsigned char*>(leaf.data()), leaf.size(), kREALEncodingUTF8, &cps) ||
      !EncodeText(cps, kREALEncodingUTF16, &units) || units.size() / 2 > 255 || !PathRef(folder, ref)) {
    std::memset(ref, 0, sizeof *ref);
    return 0;
  }
  name->length = static_cast<UInt16>(units.size() / 2);
  std::memcpy(name->unicode, units.data(), units.size());
  return 1;
}

RBBoolean HostFSSpecFromFolderItem(FSSpec* fsSpec, REALfolderItem item) {
  ObjState* st = Item(item);
  if (st == nullptr || fsSpec == nullptr) return 0;
  FSRef ref;
  if (PathRef(st->Extra().path, &ref)) {
    return FSGetCatalogInfo(&ref, kFSCatInfoNone, nullptr, nullptr, fsSpec, nullptr) == noErr ? 1 : 0;
  }
  std::string folder, leaf, roman;
  SplitPath(st->Extra().path, &folder, &leaf);
  FSCatalogInfo info;
  if (!PathRef(folder, &ref) || !ConvertBytes(leaf, kREALEncodingUTF8, kREALEncodingMacRoman, &roman) ||
      roman.empty() || roman.size() > 63 ||
      FSGetCatalogInfo(&ref, kFSCatInfoNodeID | kFSCatInfoVolume, &info, nullptr, nullptr, nullptr) != noErr) {
    return 0;
  }
  Str255 pascal = {};
  pascal[0] = static_cast<unsigned char>(roman.size());
  std::memcpy(pascal + 1, roman.data(), roman.size());
  OSErr err = FSMakeFSSpec(info.volume, static_cast<SInt32>(info.nodeID), pascal, fsSpec);
  return err == noErr || err == fnfErr ? 1 : 0;
}

REALfolderItem HostFolderItemFromParentFSRef(const FSRef* parent, const HFSUniStr255* name) {
  Runtime* rt = Runtime::Current();
  if (rt == nullptr || parent == nullptr) return nullptr;
  std::string folder = RefPath(parent);
  if (folder.empty()) return nullptr;
  std::string leaf;
  if (name != nullptr && name->length > 0) {
    std::u32string cps;
    if (!DecodeText(reinterpret_cast<const unsigned char*>(name->unicode), name->length * 2u,
                    kREALEncodingUTF16, &cps) ||
        !EncodeText(cps, kREALEncodingUTF8, &leaf)) {
      return nullptr;
    }
  }
  return NewFolderItem(rt, Join(folder, leaf));
}

REALfolderItem HostFolderItemFromFSSpec(const FSSpec* fsSpec) {
  Runtime* rt = Runtime::Current();
  if (rt == nullptr || fsSpec == nullptr) return nullptr;
  FSRef ref;
  if (FSpMakeFSRef(fsSpec, &ref) == noErr) return NewFolderItem(rt, RefPath(&ref));
  // The leaf does not exist yet: its folder and its Mac OS Roman name.
  FSSpec parentFSSpec;
  std::string leaf;
  if (FSMakeFSSpec(fsSpec->vRefNum, fsSpec->parID, nullptr, &parentFSSpec) != noErr ||
      FSpMakeFSRef(&parentFSSpec, &ref) != noErr ||
      !ConvertBytes(std::string(reinterpret_cast<const char*>(fsSpec->name + 1), fsSpec->name[0]),
                    kREALEncodingMacRoman, kREALEncodingUTF8, &leaf)) {
    return nullptr;
  }
  std::string folder = RefPath(&ref);
  return folder.empty() ? nullptr : NewFolderItem(rt, Join(folder, leaf));
}

const struct __CFString* HostGetStringCFString(REALstring s, RBBoolean stripAmpersands) {
  Runtime* rt = Runtime::Current();
  StrRec* r = rt ? rt->Str(s) : nullptr;
  if (r == nullptr) return nullptr;
  std::string bytes = StringBytesOf(s);
  uint32_t enc = static_cast<uint32_t>(r->rec.encoding);
  std::u32string cps;
  if (!DecodeText(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(), enc, &cps)) {
    // Bytes of no declared encoding read as Mac OS Roman.
    if (enc != kREALEncodingUnknown ||
        !DecodeText(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size(),
                    kREALEncodingMacRoman, &cps)) {
      return nullptr;
    }
  }
  if (stripAmpersands) {
    // A lone ampersand marks a menu shortcut; a doubled one is a literal.
    std::u32string kept;
    for (size_t i = 0; i < cps.size(); ++i) {
      if (cps[i] == U'&') {
        if (i + 1 < cps.size() && cps[i + 1] == U'&') kept.push_back(cps[++i]);
        continue;
      }
      kept.push_back(cps[i]);
    }
    cps.swap(kept);
  }
  std::string units;
  if (!EncodeText(cps, kREALEncodingUTF16, &units)) return nullptr;
  return CFStringCreateWithCharacters(kCFAllocatorDefault, reinterpret_cast<const UniChar*>(units.data()),
                                      static_cast<CFIndex>(units.size() / 2));
}

}  // namespace

void StandInDestroy(ObjState* st) {
  CFTypeRef held;
  unsigned char* word0 = st->mem() + kREALObjectHeaderSize;
  std::memcpy(&held, word0, sizeof held);
  if (held != nullptr) CFRelease(held);
  std::memset(word0, 0, sizeof held);
}

void AddPlatformFunctions(FunctionTable* t) {
  (*t)["REALGetStringCFString"] = reinterpret_cast<void*>(&HostGetStringCFString);
  // The File Manager is linked weakly: without it the host offers no
  // folder-item records.
  if (&FSPathMakeRef == nullptr || &FSRefMakePath == nullptr || &FSGetCatalogInfo == nullptr ||
      &FSMakeFSSpec == nullptr || &FSpMakeFSRef == nullptr) {
    return;
  }
  (*t)["REALFSRefFromFolderItem"] = reinterpret_cast<void*>(&HostFSRefFromFolderItem);
  (*t)["REALFSSpecFromFolderItem"] = reinterpret_cast<void*>(&HostFSSpecFromFolderItem);
  (*t)["REALFolderItemFromParentFSRef"] = reinterpret_cast<void*>(&HostFolderItemFromParentFSRef);
  (*t)["FolderItemFromFSSpec"] = reinterpret_cast<void*>(&HostFolderItemFromFSSpec);
}

}  // namespace plugin_host

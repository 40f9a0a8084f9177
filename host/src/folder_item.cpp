// The built-in FolderItem class: a path, whether or not anything exists
// there yet, its properties and its method "TrueItem(Index as integer) as
// Folderitem" (the Index-th entry of a folder, counted from 1 in name order,
// links not followed).
#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>

#include <iterator>

#include "runtime.h"

namespace plugin_host {

REALobject NewFolderItem(Runtime* rt, const std::string& path) {
  if (path.empty()) return nullptr;
  REALobject o = rt->NewObject(rt->BuiltinClass(Builtin::FolderItem));
  if (ObjState* st = rt->State(o)) st->Extra().path = path;
  return o;
}

bool FolderItemProperty(Runtime* rt, ObjState* st, const std::string& name, Value* out) {
  if (name == "nativepath" || name == "shellpath" || name == "absolutepath") {
    *out = Value::AdoptString(rt->NewString(st->Extra().path.data(), st->Extra().path.size(), kREALEncodingUTF8));
    return true;
  }
  if (name == "name") {
    size_t slash = st->Extra().path.find_last_of('/');
    std::string leaf = slash == std::string::npos ? st->Extra().path : st->Extra().path.substr(slash + 1);
    *out = Value::AdoptString(rt->NewString(leaf.data(), leaf.size(), kREALEncodingUTF8));
    return true;
  }
  if (name == "exists" || name == "directory") {
    struct stat sb;
    bool exists = ::lstat(st->Extra().path.c_str(), &sb) == 0;
    *out = Value::Boolean(name == "exists" ? exists : exists && S_ISDIR(sb.st_mode));
    return true;
  }
  return false;
}

namespace {

REALfolderItem TrueItem(REALobject item, RBInteger index) {
  Runtime* rt = Runtime::Current();
  ObjState* st = rt ? rt->StateOfKind(item, Builtin::FolderItem) : nullptr;
  if (st == nullptr || index < 1) return nullptr;
  DIR* dir = ::opendir(st->Extra().path.c_str());
  if (dir == nullptr) return nullptr;
  std::vector<std::string> names;
  while (dirent* e = ::readdir(dir)) {
    std::string n = e->d_name;
    if (n != "." && n != "..") names.push_back(n);
  }
  ::closedir(dir);
  std::sort(names.begin(), names.end());
  if (static_cast<size_t>(index) > names.size()) return nullptr;
  std::string base = st->Extra().path == "/" ? std::string() : st->Extra().path;
  return NewFolderItem(rt, base + "/" + names[static_cast<size_t>(index) - 1]);
}

}  // namespace

void* FolderItemMethod(const Declaration& decl) {
  static const KnownMethod kMethods[] = {
      {"TrueItem(Index as integer) as Folderitem", reinterpret_cast<void*>(&TrueItem)},
  };
  static std::vector<Declaration> parsed;
  return MatchKnownMethod(kMethods, std::size(kMethods), &parsed, decl);
}

}  // namespace plugin_host

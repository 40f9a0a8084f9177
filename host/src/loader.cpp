// Loading a plug-in and answering its resolver.
//
// Each Host loads a private copy of the plug-in file: the copy is made in a
// temporary file, opened with dlopen (RTLD_NOW | RTLD_LOCAL) and unlinked at
// once. A plug-in keeps process-wide state (its resolver, cached host
// functions, its last status) and its REALPluginMain runs once per load, so a
// fresh copy gives every Host a plug-in that starts from nothing, in one
// process. The copy is never closed: a plug-in has no unload path, and the
// host keeps pointing at its records (the converted version-9 tables among
// them) for as long as the process runs.
#include <dlfcn.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>

#include "runtime.h"

namespace plugin_host {

namespace {

void* ResolveThunk(const char* name) {
  Runtime* rt = Runtime::Current();
  return rt ? rt->Resolve(name) : nullptr;
}

bool CopyFile(const std::string& from, int toFd) {
  std::ifstream in(from, std::ios::binary);
  if (!in) return false;
  char buf[65536];
  while (in) {
    in.read(buf, sizeof buf);
    std::streamsize n = in.gcount();
    const char* p = buf;
    while (n > 0) {
      ssize_t w = ::write(toFd, p, static_cast<size_t>(n));
      if (w <= 0) return false;
      p += w;
      n -= w;
    }
  }
  return true;
}

}  // namespace

bool Runtime::Load(const std::string& path, std::string* error) {
  auto fail = [&](const std::string& why) {
    if (error) *error = why;
    return false;
  };
  const char* tmp = std::getenv("TMPDIR");
  std::string templ = std::string(tmp && *tmp ? tmp : "/tmp") + "/plugin-copy-XXXXXX";
  int fd = ::mkstemp(templ.data());
  if (fd < 0) return fail("cannot make a private copy of " + path);
  bool copied = CopyFile(path, fd);
  ::close(fd);
  if (!copied) {
    ::unlink(templ.c_str());
    return fail("cannot read " + path);
  }
  void* lib = ::dlopen(templ.c_str(), RTLD_NOW | RTLD_LOCAL);
  ::unlink(templ.c_str());
  if (lib == nullptr) {
    const char* why = ::dlerror();
    return fail(std::string("cannot load ") + path + ": " + (why ? why : "unknown error"));
  }
  auto main = reinterpret_cast<REALPluginMain_fn>(::dlsym(lib, "REALPluginMain"));
  if (main == nullptr) return fail(path + " exports no REALPluginMain");
  Activate active(this);
  main(&ResolveThunk);
  return true;
}

void* Runtime::Resolve(const char* name) {
  if (name == nullptr) return nullptr;
  std::string n(name);
  ++lookups_[n];
  if (options_.withheld.count(n) != 0) return nullptr;
  if (n == "REALGetRBVersion" && !options_.version.has_value()) return nullptr;
  return HostFunction(n);
}

int Runtime::LookupCount(const std::string& name) const {
  auto it = lookups_.find(name);
  return it == lookups_.end() ? 0 : it->second;
}

void* HostFunction(const std::string& name) {
  static const FunctionTable table = [] {
    FunctionTable t;
    AddRegistrationFunctions(&t);
    AddObjectFunctions(&t);
    AddPropertyFunctions(&t);
    AddStringFunctions(&t);
    AddMemoryBlockFunctions(&t);
    AddArrayFunctions(&t);
    AddVariantFunctions(&t);
    AddExceptionFunctions(&t);
    AddMethodLoadingFunctions(&t);
    AddPlatformFunctions(&t);
    return t;
  }();
  auto it = table.find(name);
  return it == table.end() ? nullptr : it->second;
}

}  // namespace plugin_host

// Objects and methods as plug-ins reach them: creating instances by class
// name, locking, class references and membership, and loading the methods of
// objects and the global methods by declaration.
#include <iterator>

#include "runtime.h"

namespace plugin_host {

void* BuiltinObjectMethod(ObjState* st, const Declaration& decl) {
  for (const ClassDef* c = st->cls; c != nullptr; c = c->super) {
    if (c->builtin == Builtin::Dictionary) {
      if (void* fn = DictionaryMethod(decl)) return fn;
    }
    if (c->builtin == Builtin::FolderItem) {
      if (void* fn = FolderItemMethod(decl)) return fn;
    }
  }
  return nullptr;
}

void* GlobalMethod(const Declaration& decl) {
  static const KnownMethod kMethods[] = {
      {"VarType(value As Variant) As Int32", reinterpret_cast<void*>(&VarTypeMethod)},
      {"LenB( s as string ) as integer", reinterpret_cast<void*>(&LenBMethod)},
  };
  static std::vector<Declaration> parsed;
  void* fn = MatchKnownMethod(kMethods, std::size(kMethods), &parsed, decl);
  return fn != nullptr ? reinterpret_cast<void* (*)()>(fn)() : nullptr;
}

namespace {

void* MatchPluginMethod(const std::vector<MethodDef>& methods, const Declaration& decl) {
  for (const MethodDef& m : methods) {
    if (m.parsedOk && SameSignature(m.parsed, decl)) return m.function;
  }
  return nullptr;
}

REALobject HostNewInstance(const char* className) {
  Runtime* rt = Runtime::Current();
  return rt ? rt->NewInstance(className) : nullptr;
}

void HostLockObject(REALobject o) {
  if (Runtime* rt = Runtime::Current()) rt->LockObject(o);
}

void HostUnlockObject(REALobject o) {
  if (Runtime* rt = Runtime::Current()) rt->UnlockObject(o);
}

REALclassRef HostObjectType(const char* className) {
  Runtime* rt = Runtime::Current();
  if (rt == nullptr || className == nullptr) return nullptr;
  return reinterpret_cast<REALclassRef>(rt->FindClass(className));
}

RBBoolean HostObjectIsa(REALobject o, REALclassRef cls) {
  Runtime* rt = Runtime::Current();
  if (rt == nullptr) return 0;
  return rt->IsA(rt->State(o, true), reinterpret_cast<const ClassDef*>(cls)) ? 1 : 0;
}

// Plug-ins load the same few methods over and over (a dictionary's three,
// once per dictionary they fill), so each declaration text is parsed once.
void* HostLoadObjectMethod(REALobject o, const char* declaration) {
  Runtime* rt = Runtime::Current();
  if (rt == nullptr || declaration == nullptr) return nullptr;
  const Declaration* decl = rt->ParsedDeclaration(declaration);
  if (decl == nullptr) return nullptr;
  ObjState* st = rt->State(o, true);
  if (st == nullptr) return nullptr;
  return rt->ObjectMethod(st, decl);
}

void* HostLoadGlobalMethod(const char* module, const char* prototype) {
  Runtime* rt = Runtime::Current();
  Declaration decl;
  if (rt == nullptr || prototype == nullptr || !ParseDeclaration(prototype, &decl)) return nullptr;
  if (module == nullptr) return GlobalMethod(decl);
  ModuleDef* m = rt->FindModule(module);
  return m ? MatchPluginMethod(m->methods, decl) : nullptr;
}

}  // namespace

void* Runtime::ObjectMethod(const ObjState* st, const Declaration* decl) {
  const uintptr_t key = reinterpret_cast<uintptr_t>(st->cls) ^ (reinterpret_cast<uintptr_t>(decl) >> 4);
  MethodSlot& slot = methodSlots_[(key >> 4) % kMethodSlots];
  if (slot.cls == st->cls && slot.decl == decl) return slot.fn;
  void* found = nullptr;
  for (const ClassDef* c = st->cls; c != nullptr && found == nullptr; c = c->super) {
    if (c->fromPlugin) found = MatchPluginMethod(c->methods, *decl);
  }
  if (found == nullptr) found = BuiltinObjectMethod(const_cast<ObjState*>(st), *decl);
  slot.cls = st->cls;
  slot.decl = decl;
  slot.fn = found;
  return found;
}

void AddObjectFunctions(FunctionTable* t) {
  (*t)["PluginNewInstance"] = reinterpret_cast<void*>(&HostNewInstance);
  (*t)["REALLockObject"] = reinterpret_cast<void*>(&HostLockObject);
  (*t)["REALUnlockObject"] = reinterpret_cast<void*>(&HostUnlockObject);
  (*t)["pluginObjectType"] = reinterpret_cast<void*>(&HostObjectType);
  (*t)["RuntimeObjectIsa"] = reinterpret_cast<void*>(&HostObjectIsa);
}

void AddMethodLoadingFunctions(FunctionTable* t) {
  (*t)["REALLoadObjectMethod"] = reinterpret_cast<void*>(&HostLoadObjectMethod);
  (*t)["REALLoadGlobalMethod"] = reinterpret_cast<void*>(&HostLoadGlobalMethod);
}

}  // namespace plugin_host

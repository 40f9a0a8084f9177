// The host function wrappers: one cache per wrapper, filled from gResolver.
#include "frame/host_functions.h"

#include <stdlib.h>
#include <string.h>

#include "frame/plugin_state.h"

void *Bind(void *&cache, const char *name) {
  if (cache == nullptr && gResolver != nullptr) cache = gResolver(name);
  return cache;
}

namespace {

template <typename Fn>
Fn As(void *address) {
  return reinterpret_cast<Fn>(address);
}

}  // namespace

void REALRegisterModule(REALmoduleDefinition *module) {
  static void *cache;
  if (auto f = As<PluginRegisterModule_fn>(Bind(cache, "PluginRegisterModule"))) f(module);
}

void REALRegisterClass(REALclassDefinition *cls) {
  static void *cache;
  if (auto f = As<PluginRegisterClass_fn>(Bind(cache, "PluginRegisterClass"))) f(cls);
}

REALobject REALnewInstance(const char *className) {
  static void *cache;
  auto f = As<PluginNewInstance_fn>(Bind(cache, "PluginNewInstance"));
  return f ? f(className) : nullptr;
}

void REALLockObject(REALobject obj) {
  static void *cache;
  if (auto f = As<REALLockObject_fn>(Bind(cache, "REALLockObject"))) f(obj);
}

void REALUnlockObject(REALobject obj) {
  static void *cache;
  if (auto f = As<REALUnlockObject_fn>(Bind(cache, "REALUnlockObject"))) f(obj);
}

void REALRaiseException(REALobject exception) {
  static void *cache;
  if (auto f = As<RuntimeRaiseException_fn>(Bind(cache, "RuntimeRaiseException"))) f(exception);
}

void *REALLoadFrameworkMethod(const char *prototype) {
  static void *cache;
  auto f = As<REALLoadGlobalMethod_fn>(Bind(cache, "REALLoadGlobalMethod"));
  return f ? f(nullptr, prototype) : nullptr;
}

void *REALLoadObjectMethod(REALobject obj, const char *declaration) {
  static void *cache;
  auto f = As<REALLoadObjectMethod_fn>(Bind(cache, "REALLoadObjectMethod"));
  return f ? f(obj, declaration) : nullptr;
}

REALclassRef REALGetClassRef(const char *className) {
  static void *cache;
  auto f = As<pluginObjectType_fn>(Bind(cache, "pluginObjectType"));
  return f ? f(className) : nullptr;
}

bool REALObjectIsA(REALobject obj, REALclassRef cls) {
  static void *cache;
  auto f = As<RuntimeObjectIsa_fn>(Bind(cache, "RuntimeObjectIsa"));
  return f ? f(obj, cls) != 0 : false;
}

bool REALGetPropValueInt64(REALobject obj, const char *name, int64_t *out) {
  static void *cache;
  auto f = As<REALGetPropValueInt64_fn>(Bind(cache, "REALGetPropValueInt64"));
  return f ? f(obj, name, out) != 0 : false;
}

bool REALGetPropValueSingle(REALobject obj, const char *name, float *out) {
  static void *cache;
  auto f = As<REALGetPropValueSingle_fn>(Bind(cache, "REALGetPropValueSingle"));
  return f ? f(obj, name, out) != 0 : false;
}

bool REALGetPropValueDouble(REALobject obj, const char *name, double *out) {
  static void *cache;
  auto f = As<REALGetPropValueDouble_fn>(Bind(cache, "REALGetPropValueDouble"));
  return f ? f(obj, name, out) != 0 : false;
}

bool REALGetPropValueString(REALobject obj, const char *name, REALstring *out) {
  static void *cache;
  auto f = As<REALGetPropValueString_fn>(Bind(cache, "REALGetPropValueString"));
  return f ? f(obj, name, out) != 0 : false;
}

bool REALGetPropValueInt32(REALobject obj, const char *name, int32_t *out) {
  static void *cache;
  auto f = As<REALGetPropValueInt_fn>(Bind(cache, "REALGetPropValueInt"));
  return f ? f(obj, name, out) != 0 : false;
}

bool REALSetPropValueInt32(REALobject obj, const char *name, int32_t value) {
  static void *cache;
  auto f = As<REALSetPropValueInt_fn>(Bind(cache, "REALSetPropValueInt"));
  return f ? f(obj, name, value) != 0 : false;
}

bool REALSetPropValueString(REALobject obj, const char *name, REALstring value) {
  static void *cache;
  auto f = As<REALSetPropValueString_fn>(Bind(cache, "REALSetPropValueString"));
  return f ? f(obj, name, value) != 0 : false;
}

REALstring originalREALBuildString(const void *bytes, RBInteger byteCount) {
  static void *cache;
  auto f = As<REALBuildString_fn>(Bind(cache, "REALBuildString"));
  return f ? f(bytes, byteCount) : nullptr;
}

void REALSetStringEncoding(REALstring str, uint32_t encoding) {
  static void *cache;
  if (auto f = As<REALSetStringEncoding_fn>(Bind(cache, "REALSetStringEncoding")))
    f(str, encoding);
}

uint32_t REALGetStringEncoding(REALstring str) {
  static void *cache;
  auto f = As<REALGetStringEncoding_fn>(Bind(cache, "REALGetStringEncoding"));
  return f ? f(str) : 0;
}

REALstring REALConvertString(REALstring str, uint32_t encoding) {
  static void *cache;
  auto f = As<REALConvertString_fn>(Bind(cache, "REALConvertString"));
  return f ? f(str, encoding) : nullptr;
}

void REALLockString(REALstring str) {
  static void *cache;
  if (auto f = As<REALLockString_fn>(Bind(cache, "REALLockString"))) f(str);
}

void REALUnlockString(REALstring str) {
  static void *cache;
  if (auto f = As<REALUnlockString_fn>(Bind(cache, "REALUnlockString"))) f(str);
}

void REALDisposeStringData(REALstringData *data) {
  static void *cache;
  if (auto f = As<PluginDisposeStringData_fn>(Bind(cache, "PluginDisposeStringData"))) {
    f(data);
  } else {
    // The buffer may hold a password; it is wiped before it goes.
    if (data->data != nullptr && data->length > 0)
      explicit_bzero(const_cast<void *>(data->data), static_cast<size_t>(data->length));
    free(const_cast<void *>(data->data));
  }
  data->data = nullptr;
}

const struct __CFString *REALGetStringCFString(REALstring str, RBBoolean flag) {
  static void *cache;
  auto f = As<REALGetStringCFString_fn>(Bind(cache, "REALGetStringCFString"));
  return f ? f(str, flag) : nullptr;
}

REALmemoryBlock REALNewMemoryBlockOriginal(RBInteger size) {
  static void *cache;
  auto f = As<newMemoryBlock_fn>(Bind(cache, "newMemoryBlock"));
  return f ? f(size) : nullptr;
}

void *REALMemoryBlockGetPtr(REALmemoryBlock block) {
  static void *cache;
  auto f = As<memoryBlockGetPtr_fn>(Bind(cache, "memoryBlockGetPtr"));
  return f ? f(block) : nullptr;
}

RBInteger REALMemoryBlockGetSize(REALmemoryBlock block) {
  static void *cache;
  auto f = As<memoryBlockGetSize_fn>(Bind(cache, "memoryBlockGetSize"));
  return f ? f(block) : 0;
}

bool REALFSRefFromFolderItem(REALfolderItem item, struct FSRef *ref, struct HFSUniStr255 *name) {
  static void *cache;
  auto f = As<REALFSRefFromFolderItem_fn>(Bind(cache, "REALFSRefFromFolderItem"));
  return f ? f(item, ref, name) != 0 : false;
}

bool REALFSSpecFromFolderItem(struct FSSpec *spec, REALfolderItem item) {
  static void *cache;
  auto f = As<REALFSSpecFromFolderItem_fn>(Bind(cache, "REALFSSpecFromFolderItem"));
  return f ? f(spec, item) != 0 : false;
}

REALfolderItem REALFolderItemFromParentFSRef(const struct FSRef *parent, const struct HFSUniStr255 *name) {
  static void *cache;
  auto f = As<REALFolderItemFromParentFSRef_fn>(Bind(cache, "REALFolderItemFromParentFSRef"));
  return f ? f(parent, name) : nullptr;
}

REALfolderItem REALFolderItemFromFSSpec(const struct FSSpec *spec) {
  static void *cache;
  auto f = As<FolderItemFromFSSpec_fn>(Bind(cache, "FolderItemFromFSSpec"));
  return f ? f(spec) : nullptr;
}

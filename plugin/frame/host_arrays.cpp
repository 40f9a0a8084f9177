// The array wrappers and the choice between exposed storage and the host's
// per-array procedures.
#include "frame/host_arrays.h"

#include "frame/host_functions.h"
#include "frame/plugin_state.h"

namespace {

// Word 2 of an array object: its element storage, or null.
void **Storage(REALarray array) {
  return static_cast<void **>(reinterpret_cast<REALobjectHeader *>(array)->elementStorage);
}

}  // namespace

bool ReadsArrayStorage(REALarray array) {
  return array != nullptr && !(rbversion_rbversion > 2013.9) && Storage(array) != nullptr;
}

REALarray REALCreateArray(RBInteger elementType, RBInteger upperBound) {
  static void *cache;
  auto f = reinterpret_cast<RuntimeArrayCreateSingleDimBoundedArray_fn>(
      Bind(cache, "RuntimeArrayCreateSingleDimBoundedArray"));
  return f ? f(elementType, upperBound) : nullptr;
}

RBInteger REALGetArrayUBound(REALarray array) {
  static void *cache;
  auto f = reinterpret_cast<RuntimeUBound_fn>(Bind(cache, "RuntimeUBound"));
  return f ? f(array) : 0;
}

void REALInsertArrayValueObject(REALarray array, RBInteger index, REALobject obj) {
  static void *cache;
  auto f = reinterpret_cast<RuntimeArrayDirectGetInsertProc_fn>(
      Bind(cache, "RuntimeArrayDirectGetInsertProc"));
  if (f == nullptr || array == nullptr) return;
  if (auto insert = reinterpret_cast<REALArrayInsertObjectProc>(f(array))) insert(array, index, obj);
}

REALobject REALGetArrayValueObject(REALarray array, RBInteger index) {
  if (array == nullptr) return nullptr;
  if (ReadsArrayStorage(array)) {
    // Elements in the storage belong to the array: the reader takes a lock
    // of its own, as the host's procedure would give it.
    REALobject element = static_cast<REALobject>(Storage(array)[index]);
    if (element != nullptr) REALLockObject(element);
    return element;
  }
  static void *cache;
  auto f = reinterpret_cast<RuntimeArrayDirectGetGetProc_fn>(Bind(cache, "RuntimeArrayDirectGetGetProc"));
  if (f == nullptr) return nullptr;
  auto get = reinterpret_cast<REALArrayGetObjectProc>(f(array));
  return get ? get(array, index) : nullptr;
}

REALstring REALGetArrayString(REALarray array, RBInteger index) {
  if (array == nullptr) return nullptr;
  if (ReadsArrayStorage(array)) {
    REALstring element = static_cast<REALstring>(Storage(array)[index]);
    if (element != nullptr) REALLockString(element);
    return element;
  }
  static void *cache;
  auto f = reinterpret_cast<RuntimeDirectReadStringArray_fn>(Bind(cache, "RuntimeDirectReadStringArray"));
  return f ? f(array, index) : nullptr;
}

namespace {

// The array's get procedure, asked for through one wrapper's own cache.
void *GetProcedure(void *&cache, REALarray array) {
  auto f = reinterpret_cast<RuntimeArrayDirectGetGetProc_fn>(Bind(cache, "RuntimeArrayDirectGetGetProc"));
  return f != nullptr && array != nullptr ? f(array) : nullptr;
}

}  // namespace

REALstring REALGetArrayValueString(REALarray array, RBInteger index) {
  if (array == nullptr) return nullptr;
  if (ReadsArrayStorage(array)) {
    REALstring element = static_cast<REALstring>(Storage(array)[index]);
    if (element != nullptr) REALLockString(element);
    return element;
  }
  static void *cache;
  auto get = reinterpret_cast<REALArrayGetStringProc>(GetProcedure(cache, array));
  return get ? get(array, index) : nullptr;
}

int32_t REALGetArrayValueInt32(REALarray array, RBInteger index) {
  static void *cache;
  auto get = reinterpret_cast<REALArrayGetInt32Proc>(GetProcedure(cache, array));
  return get ? get(array, index) : 0;
}

int64_t REALGetArrayValueInt64(REALarray array, RBInteger index) {
  static void *cache;
  auto get = reinterpret_cast<REALArrayGetInt64Proc>(GetProcedure(cache, array));
  return get ? get(array, index) : 0;
}

float REALGetArrayValueSingle(REALarray array, RBInteger index) {
  static void *cache;
  auto get = reinterpret_cast<REALArrayGetSingleProc>(GetProcedure(cache, array));
  return get ? get(array, index) : 0;
}

double REALGetArrayValueDouble(REALarray array, RBInteger index) {
  static void *cache;
  auto get = reinterpret_cast<REALArrayGetDoubleProc>(GetProcedure(cache, array));
  return get ? get(array, index) : 0;
}

bool REALGetArrayValueUInt8(REALarray array, RBInteger index) {
  if (ReadsArrayStorage(array)) return reinterpret_cast<const unsigned char *>(Storage(array))[index] != 0;
  static void *cache;
  auto get = reinterpret_cast<REALArrayGetBooleanProc>(GetProcedure(cache, array));
  return get ? (get(array, index) & 0xFF) != 0 : false;
}

void REALSetArrayValueObject(REALarray array, RBInteger index, REALobject obj) {
  if (array == nullptr) return;
  if (ReadsArrayStorage(array)) {
    void **slot = Storage(array) + index;
    if (obj != nullptr) REALLockObject(obj);
    if (*slot != nullptr) {
      REALUnlockObject(static_cast<REALobject>(*slot));
      *slot = nullptr;
    }
    *slot = obj;
    return;
  }
  static void *cache;
  auto f = reinterpret_cast<RuntimeArrayDirectGetSetProc_fn>(Bind(cache, "RuntimeArrayDirectGetSetProc"));
  if (f == nullptr) return;
  if (auto set = reinterpret_cast<REALArraySetObjectProc>(f(array))) set(array, obj, index);
}

// The built-in MemoryBlock class and its host functions: a zero-filled byte
// area of a fixed size with a stable address.
#include <cstring>
#include <new>

#include "runtime.h"

namespace plugin_host {

bool MemoryBlockProperty(ObjState* st, const std::string& name, Value* out) {
  if (name != "size") return false;
  *out = Value::Integer(st->Extra().size);
  return true;
}

namespace {

// Larger requests are refused as a host refuses what it cannot allocate.
constexpr RBInteger kMaxBlock = RBInteger(1) << 30;

REALmemoryBlock HostNewMemoryBlock(RBInteger size) {
  Runtime* rt = Runtime::Current();
  if (rt == nullptr || size < 0 || size >= kMaxBlock) return nullptr;
  REALobject o = rt->NewObject(rt->BuiltinClass(Builtin::MemoryBlock));
  ObjState* st = rt->State(o);
  if (st == nullptr) return nullptr;
  st->Extra().bytes.reset(new (std::nothrow) unsigned char[static_cast<size_t>(size) + 1]());
  if (!st->Extra().bytes) {
    rt->UnlockObject(o);
    return nullptr;
  }
  st->Extra().size = size;
  return o;
}

void* HostMemoryBlockGetPtr(REALmemoryBlock b) {
  Runtime* rt = Runtime::Current();
  ObjState* st = rt ? rt->StateOfKind(b, Builtin::MemoryBlock) : nullptr;
  return st ? st->Extra().bytes.get() : nullptr;
}

RBInteger HostMemoryBlockGetSize(REALmemoryBlock b) {
  Runtime* rt = Runtime::Current();
  ObjState* st = rt ? rt->StateOfKind(b, Builtin::MemoryBlock) : nullptr;
  return st ? st->Extra().size : 0;
}

}  // namespace

void AddMemoryBlockFunctions(FunctionTable* t) {
  (*t)["newMemoryBlock"] = reinterpret_cast<void*>(&HostNewMemoryBlock);
  (*t)["memoryBlockGetPtr"] = reinterpret_cast<void*>(&HostMemoryBlockGetPtr);
  (*t)["memoryBlockGetSize"] = reinterpret_cast<void*>(&HostMemoryBlockGetSize);
}

REALobject NewMemoryBlock(Runtime* rt, const void* bytes, size_t n) {
  Activate active(rt);
  REALobject o = HostNewMemoryBlock(static_cast<RBInteger>(n));
  if (o != nullptr && n > 0) std::memcpy(HostMemoryBlockGetPtr(o), bytes, n);
  return o;
}

}  // namespace plugin_host

// Typed one-dimensional arrays: element storage, the procedures handed out
// per element type for get, set and insert, and the array host functions.
//
// Elements are stored contiguously at their natural width; strings, dates
// and objects as one handle per word, each holding its own lock, Booleans one
// per byte. When the host is set to expose storage, word 2 of the array
// object points at it (and follows it when an insert moves it).
#include <cstring>

#include "runtime.h"

namespace plugin_host {

namespace {

size_t ElementSize(int type) {
  switch (type) {
    case kREALArrayInt32:
    case kREALArraySingle:
    case kREALArrayUInt32:
    case kREALArrayColor: return 4;
    case kREALArrayDouble:
    case kREALArrayUInt64:
    case kREALArrayInt64:
    case kREALArrayCurrency: return 8;
    case kREALArrayString:
    case kREALArrayObject:
    case kREALArrayPtr: return sizeof(void*);
    case kREALArrayUInt8:
    case kREALArrayInt8:
    case kREALArrayBoolean: return 1;
    case kREALArrayUInt16:
    case kREALArrayInt16: return 2;
    default: return 0;  // structures are not offered
  }
}

bool HoldsHandles(int type) { return type == kREALArrayString || type == kREALArrayObject; }

void Sync(ObjState* st) {
  auto* head = reinterpret_cast<ObjectHead*>(st->mem());
  head->elementStorage = st->rt->options().arraysExposeStorage ? st->Extra().elems.data() : nullptr;
}

ObjState* Arr(REALarray a) {
  Runtime* rt = Runtime::Current();
  return rt ? rt->StateOfKind(a, Builtin::Array) : nullptr;
}

unsigned char* Slot(ObjState* st, RBInteger i) {
  ObjExtra& a = st->Extra();
  if (i < 0 || i >= a.count) {
    st->rt->Problem("array index " + std::to_string(i) + " out of bounds");
    return nullptr;
  }
  return a.elems.data() + static_cast<size_t>(i) * a.elemSize;
}

void* HandleAt(const unsigned char* p) {
  void* h;
  std::memcpy(&h, p, sizeof h);
  return h;
}

void LockHandle(ObjState* st, void* h) {
  if (st->Extra().elemType == kREALArrayString) {
    st->rt->LockString(static_cast<REALstring>(h));
  } else {
    st->rt->LockObject(static_cast<REALobject>(h));
  }
}

void UnlockHandle(ObjState* st, void* h) {
  if (st->Extra().elemType == kREALArrayString) {
    st->rt->UnlockString(static_cast<REALstring>(h));
  } else {
    st->rt->UnlockObject(static_cast<REALobject>(h));
  }
}

// Stores a handle in a slot, taking a lock on the new one and dropping the
// slot's lock on the old one.
void PutHandle(ObjState* st, unsigned char* p, void* h) {
  if (h != nullptr) LockHandle(st, h);
  void* old = HandleAt(p);
  std::memcpy(p, &h, sizeof h);
  if (old != nullptr) UnlockHandle(st, old);
}

// Opens a zero-filled slot at i (clamped to 0 ... count).
unsigned char* InsertSlot(ObjState* st, RBInteger i) {
  ObjExtra& a = st->Extra();
  if (i < 0) i = 0;
  if (i > a.count) i = a.count;
  size_t at = static_cast<size_t>(i) * a.elemSize;
  size_t used = static_cast<size_t>(a.count) * a.elemSize;
  if (a.elems.size() < used + a.elemSize) a.elems.resize(used + a.elemSize);
  std::memmove(a.elems.data() + at + a.elemSize, a.elems.data() + at, used - at);
  std::memset(a.elems.data() + at, 0, a.elemSize);
  ++a.count;
  Sync(st);
  return a.elems.data() + at;
}

template <typename T>
T GetNumber(REALarray a, RBInteger i) {
  ObjState* st = Arr(a);
  unsigned char* p = st ? Slot(st, i) : nullptr;
  T v{};
  if (p != nullptr) std::memcpy(&v, p, sizeof v);
  return v;
}

template <typename T>
void SetNumber(REALarray a, T v, RBInteger i) {
  ObjState* st = Arr(a);
  unsigned char* p = st ? Slot(st, i) : nullptr;
  if (p != nullptr) std::memcpy(p, &v, sizeof v);
}

template <typename T>
void InsertNumber(REALarray a, RBInteger i, T v) {
  ObjState* st = Arr(a);
  if (st != nullptr) std::memcpy(InsertSlot(st, i), &v, sizeof v);
}

RBWord GetBoolean(REALarray a, RBInteger i) { return GetNumber<uint8_t>(a, i) != 0 ? 1 : 0; }
void SetBoolean(REALarray a, RBBoolean v, RBInteger i) { SetNumber<uint8_t>(a, v != 0, i); }
void InsertBoolean(REALarray a, RBInteger i, RBBoolean v) { InsertNumber<uint8_t>(a, i, v != 0); }

void* GetHandle(REALarray a, RBInteger i) {
  ObjState* st = Arr(a);
  unsigned char* p = st ? Slot(st, i) : nullptr;
  if (p == nullptr) return nullptr;
  void* h = HandleAt(p);
  if (h != nullptr) LockHandle(st, h);  // the reader owns what it gets
  return h;
}
REALobject GetObject(REALarray a, RBInteger i) { return static_cast<REALobject>(GetHandle(a, i)); }
REALstring GetString(REALarray a, RBInteger i) { return static_cast<REALstring>(GetHandle(a, i)); }

void SetHandle(REALarray a, void* v, RBInteger i) {
  ObjState* st = Arr(a);
  unsigned char* p = st ? Slot(st, i) : nullptr;
  if (p != nullptr) PutHandle(st, p, v);
}
void SetObject(REALarray a, REALobject v, RBInteger i) { SetHandle(a, v, i); }
void SetString(REALarray a, REALstring v, RBInteger i) { SetHandle(a, v, i); }

void InsertHandle(REALarray a, RBInteger i, void* v) {
  ObjState* st = Arr(a);
  if (st != nullptr) PutHandle(st, InsertSlot(st, i), v);
}
void InsertObject(REALarray a, RBInteger i, REALobject v) { InsertHandle(a, i, v); }
void InsertString(REALarray a, RBInteger i, REALstring v) { InsertHandle(a, i, v); }

struct Procs {
  void* get;
  void* set;
  void* insert;
};

template <typename T>
Procs NumberProcs() {
  return {reinterpret_cast<void*>(&GetNumber<T>), reinterpret_cast<void*>(&SetNumber<T>),
          reinterpret_cast<void*>(&InsertNumber<T>)};
}

// Floating-point elements travel in other registers than integers, so every
// element type has procedures of its own.
Procs ProcsFor(int type) {
  switch (type) {
    case kREALArrayInt32: return NumberProcs<int32_t>();
    case kREALArraySingle: return NumberProcs<float>();
    case kREALArrayDouble: return NumberProcs<double>();
    case kREALArrayUInt8: return NumberProcs<uint8_t>();
    case kREALArrayInt8: return NumberProcs<int8_t>();
    case kREALArrayUInt16: return NumberProcs<uint16_t>();
    case kREALArrayInt16: return NumberProcs<int16_t>();
    case kREALArrayUInt32: return NumberProcs<uint32_t>();
    case kREALArrayColor: return NumberProcs<uint32_t>();
    case kREALArrayUInt64: return NumberProcs<uint64_t>();
    case kREALArrayInt64: return NumberProcs<int64_t>();
    case kREALArrayCurrency: return NumberProcs<int64_t>();
    case kREALArrayPtr: return NumberProcs<void*>();
    case kREALArrayBoolean:
      return {reinterpret_cast<void*>(&GetBoolean), reinterpret_cast<void*>(&SetBoolean),
              reinterpret_cast<void*>(&InsertBoolean)};
    case kREALArrayString:
      return {reinterpret_cast<void*>(&GetString), reinterpret_cast<void*>(&SetString),
              reinterpret_cast<void*>(&InsertString)};
    case kREALArrayObject:
      return {reinterpret_cast<void*>(&GetObject), reinterpret_cast<void*>(&SetObject),
              reinterpret_cast<void*>(&InsertObject)};
    default: return {nullptr, nullptr, nullptr};
  }
}

REALarray HostCreateArray(RBInteger type, RBInteger upperBound) {
  Runtime* rt = Runtime::Current();
  return rt ? NewArray(rt, static_cast<int>(type), upperBound) : nullptr;
}

RBInteger HostUBound(REALarray a) {
  ObjState* st = Arr(a);
  return st ? st->Extra().count - 1 : -1;
}

void* HostGetInsertProc(REALarray a) {
  ObjState* st = Arr(a);
  return st ? ProcsFor(st->Extra().elemType).insert : nullptr;
}
void* HostGetGetProc(REALarray a) {
  ObjState* st = Arr(a);
  return st ? ProcsFor(st->Extra().elemType).get : nullptr;
}
void* HostGetSetProc(REALarray a) {
  ObjState* st = Arr(a);
  return st ? ProcsFor(st->Extra().elemType).set : nullptr;
}

REALstring HostReadStringArray(REALarray a, RBInteger i) {
  ObjState* st = Arr(a);
  if (st == nullptr || st->Extra().elemType != kREALArrayString) return nullptr;
  return GetString(a, i);
}

}  // namespace

REALarray NewArray(Runtime* rt, int type, RBInteger upperBound) {
  size_t size = ElementSize(type);
  if (size == 0 || upperBound < -1 || upperBound >= (RBInteger(1) << 28)) return nullptr;
  REALobject o = rt->NewObject(rt->BuiltinClass(Builtin::Array));
  ObjState* st = rt->State(o);
  if (st == nullptr) return nullptr;
  ObjExtra& a = st->Extra();
  a.elemType = type;
  a.elemSize = size;
  a.count = upperBound + 1;
  // Never empty, so exposed storage is never a null pointer.
  a.elems.assign(static_cast<size_t>(a.count > 0 ? a.count : 1) * size, 0);
  ++rt->liveArrays;
  Sync(st);
  return o;
}

int ArrayVariantCode(int type) {
  switch (type) {
    case kREALArrayInt32: return kREALVarArray + kREALVarInt32;
    case kREALArraySingle: return kREALVarArray + kREALVarSingle;
    case kREALArrayDouble: return kREALVarArray + kREALVarDouble;
    case kREALArrayString: return kREALVarArray + kREALVarString;
    case kREALArrayObject: return kREALVarArray + kREALVarObject;
    case kREALArrayInt64: return kREALVarArray + kREALVarInt64;
    case kREALArrayBoolean: return kREALVarArray + kREALVarBoolean;
    case kREALArrayColor: return kREALVarArray + kREALVarColor;
    case kREALArrayCurrency: return kREALVarArray + kREALVarCurrency;
    // Element types without a variant code of their own get codes no reader
    // takes for another type.
    default: return kREALVarArray + 0x40 + type;
  }
}

bool ArraySetFromValue(Runtime* rt, ObjState* st, RBInteger i, const Value& v) {
  Activate active(rt);
  auto* a = reinterpret_cast<REALarray>(st->mem());
  unsigned char* p = Slot(st, i);
  if (p == nullptr) return false;
  int64_t n;
  double d;
  switch (st->Extra().elemType) {
    case kREALArrayString:
      if (v.kind() != Kind::String && !v.isNil()) return false;
      PutHandle(st, p, v.string());
      return true;
    case kREALArrayObject:
      if (v.kind() != Kind::Object && !v.isNil()) return false;
      PutHandle(st, p, v.object());
      return true;
    case kREALArraySingle:
      if (!ValueToDouble(v, &d)) return false;
      SetNumber<float>(a, static_cast<float>(d), i);
      return true;
    case kREALArrayDouble:
      if (!ValueToDouble(v, &d)) return false;
      SetNumber<double>(a, d, i);
      return true;
    default:
      if (!ValueToInt64(v, &n)) return false;
      if (st->Extra().elemType == kREALArrayBoolean) n = n != 0;
      std::memcpy(p, &n, st->Extra().elemSize);  // little-endian: the low bytes
      return true;
  }
}

Value ArrayGetValue(Runtime* rt, ObjState* st, RBInteger i) {
  Activate active(rt);
  auto* a = reinterpret_cast<REALarray>(st->mem());
  if (i < 0 || i >= st->Extra().count) return Value();
  switch (st->Extra().elemType) {
    case kREALArrayString: return Value::AdoptString(GetString(a, i));
    case kREALArrayObject: return Value::AdoptObject(GetObject(a, i));
    case kREALArrayInt32: return Value::Int32(GetNumber<int32_t>(a, i));
    case kREALArraySingle: return Value::Single(GetNumber<float>(a, i));
    case kREALArrayDouble: return Value::Double(GetNumber<double>(a, i));
    case kREALArrayUInt8: return Value::Integer(GetNumber<uint8_t>(a, i));
    case kREALArrayInt8: return Value::Integer(GetNumber<int8_t>(a, i));
    case kREALArrayUInt16: return Value::Integer(GetNumber<uint16_t>(a, i));
    case kREALArrayInt16: return Value::Integer(GetNumber<int16_t>(a, i));
    case kREALArrayUInt32: return Value::Int64(GetNumber<uint32_t>(a, i));
    case kREALArrayColor: return Value::Color(GetNumber<uint32_t>(a, i));
    case kREALArrayBoolean: return Value::Boolean(GetBoolean(a, i) != 0);
    default: return Value::Int64(GetNumber<int64_t>(a, i));
  }
}

void ArrayReleaseElements(Runtime*, ObjState* st) {
  ObjExtra& a = st->Extra();
  if (!HoldsHandles(a.elemType)) return;
  for (RBInteger i = 0; i < a.count; ++i) {
    unsigned char* p = a.elems.data() + static_cast<size_t>(i) * a.elemSize;
    void* h = HandleAt(p);
    std::memset(p, 0, sizeof h);
    if (h != nullptr) UnlockHandle(st, h);
  }
}

void AddArrayFunctions(FunctionTable* t) {
  (*t)["RuntimeArrayCreateSingleDimBoundedArray"] = reinterpret_cast<void*>(&HostCreateArray);
  (*t)["RuntimeUBound"] = reinterpret_cast<void*>(&HostUBound);
  (*t)["RuntimeArrayDirectGetInsertProc"] = reinterpret_cast<void*>(&HostGetInsertProc);
  (*t)["RuntimeArrayDirectGetGetProc"] = reinterpret_cast<void*>(&HostGetGetProc);
  (*t)["RuntimeArrayDirectGetSetProc"] = reinterpret_cast<void*>(&HostGetSetProc);
  (*t)["RuntimeDirectReadStringArray"] = reinterpret_cast<void*>(&HostReadStringArray);
}

}  // namespace plugin_host

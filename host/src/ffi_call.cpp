// Calling plug-in functions through libffi with the C types their
// declarations name, and moving values between Values and those C types.
#include <ffi.h>

#include <cstring>

#include "runtime.h"

namespace plugin_host {

namespace {

ffi_type* FfiType(CType t) {
  switch (t) {
    case CType::Void: return &ffi_type_void;
    case CType::Word: return sizeof(void*) == 8 ? &ffi_type_sint64 : &ffi_type_sint32;
    case CType::I8: return &ffi_type_sint8;
    case CType::U8: return &ffi_type_uint8;
    case CType::Bool: return &ffi_type_uint8;
    case CType::I16: return &ffi_type_sint16;
    case CType::U16: return &ffi_type_uint16;
    case CType::I32: return &ffi_type_sint32;
    case CType::U32: return &ffi_type_uint32;
    case CType::Color: return &ffi_type_uint32;
    case CType::I64: return &ffi_type_sint64;
    case CType::U64: return &ffi_type_uint64;
    case CType::Float: return &ffi_type_float;
    case CType::Double: return &ffi_type_double;
    case CType::Ptr: return &ffi_type_pointer;
  }
  return &ffi_type_void;
}

template <typename T>
void Put(void* buf, T v) {
  std::memcpy(buf, &v, sizeof v);
}
template <typename T>
T Get(const void* buf) {
  T v;
  std::memcpy(&v, buf, sizeof v);
  return v;
}

}  // namespace

bool FfiCall(void* fn, CType ret, const std::vector<CType>& argTypes, void** args, void* result) {
  if (fn == nullptr) return false;
  std::vector<ffi_type*> types;
  for (CType t : argTypes) types.push_back(FfiType(t));
  ffi_cif cif;
  if (ffi_prep_cif(&cif, FFI_DEFAULT_ABI, static_cast<unsigned>(types.size()), FfiType(ret),
                   types.empty() ? nullptr : types.data()) != FFI_OK) {
    return false;
  }
  // Integer results narrower than a register come back widened to ffi_arg.
  ffi_arg wide = 0;
  unsigned char raw[16] = {};
  bool narrow = ret == CType::I8 || ret == CType::U8 || ret == CType::Bool || ret == CType::I16 ||
                ret == CType::U16 || ret == CType::I32 || ret == CType::U32 ||
                ret == CType::Color || (ret == CType::Word && sizeof(void*) == 4);
  ffi_call(&cif, reinterpret_cast<void (*)(void)>(fn), narrow ? static_cast<void*>(&wide) : raw,
           args);
  std::memset(result, 0, 16);
  if (!narrow) {
    std::memcpy(result, raw, 16);
    return true;
  }
  switch (ret) {
    case CType::I8: Put(result, static_cast<int8_t>(wide)); break;
    case CType::U8:
    case CType::Bool: Put(result, static_cast<uint8_t>(wide)); break;
    case CType::I16: Put(result, static_cast<int16_t>(wide)); break;
    case CType::U16: Put(result, static_cast<uint16_t>(wide)); break;
    case CType::I32: Put(result, static_cast<int32_t>(wide)); break;
    case CType::U32:
    case CType::Color: Put(result, static_cast<uint32_t>(wide)); break;
    case CType::Word: Put(result, static_cast<RBInteger>(wide)); break;
    default: break;
  }
  return true;
}

int64_t RealToInt64(double d) {
  // 2^63 is exact as a double; anything at or past it does not fit.
  constexpr double kLimit = 9223372036854775808.0;
  if (d != d) return 0;
  if (d >= kLimit) return INT64_MAX;
  if (d <= -kLimit) return INT64_MIN;
  return static_cast<int64_t>(d);
}

bool ValueToInt64(const Value& v, int64_t* out) {
  switch (v.kind()) {
    case Kind::Integer:
    case Kind::Int32:
    case Kind::Int64: *out = v.int64(); return true;
    case Kind::Boolean: *out = v.boolean() ? 1 : 0; return true;
    case Kind::Color: *out = v.color(); return true;
    case Kind::Single:
    case Kind::Double: *out = RealToInt64(v.real()); return true;
    default: return false;
  }
}

bool ValueToDouble(const Value& v, double* out) {
  int64_t i;
  if (v.kind() == Kind::Single || v.kind() == Kind::Double) {
    *out = v.real();
    return true;
  }
  if (!ValueToInt64(v, &i)) return false;
  *out = static_cast<double>(i);
  return true;
}

static const char* KindName(Kind k) {
  switch (k) {
    case Kind::Nil: return "nil";
    case Kind::Integer: return "Integer";
    case Kind::Int32: return "Int32";
    case Kind::Int64: return "Int64";
    case Kind::Boolean: return "Boolean";
    case Kind::Single: return "Single";
    case Kind::Double: return "Double";
    case Kind::Color: return "Color";
    case Kind::String: return "String";
    case Kind::Object: return "object";
  }
  return "?";
}

// Whether an object passed for an array parameter is an array whose
// elements are of the declared kind, as a typed host language only lets
// through: strings for "x() as String", objects for a class, scalars for
// the others.
bool ArrayFits(REALobject obj, const TypeRef& type) {
  Runtime* rt = Runtime::Current();
  ObjState* st = rt ? rt->StateOfKind(obj, Builtin::Array) : nullptr;
  if (st == nullptr) return false;
  const Category element = ResolveType(type.name, false).category;
  if (element == Category::String) return st->Extra().elemType == kREALArrayString;
  if (element == Category::Object) return st->Extra().elemType == kREALArrayObject;
  return st->Extra().elemType != kREALArrayString && st->Extra().elemType != kREALArrayObject;
}

bool ToC(const Value& v, const TypeRef& type, void* buf, std::string* error) {
  std::memset(buf, 0, 16);
  bool ok = false;
  switch (type.category) {
    case Category::Integer:
      ok = v.kind() == Kind::Integer || v.kind() == Kind::Int32 || v.kind() == Kind::Int64;
      break;
    case Category::Boolean: ok = v.kind() == Kind::Boolean; break;
    case Category::Real: ok = v.kind() == Kind::Single || v.kind() == Kind::Double; break;
    case Category::Color: ok = v.kind() == Kind::Color; break;
    case Category::String: ok = v.kind() == Kind::String || v.isNil(); break;
    case Category::Object:
      ok = v.isNil() || (v.kind() == Kind::Object && (!type.array || ArrayFits(v.object(), type)));
      break;
    case Category::None: ok = false; break;
  }
  if (!ok) {
    if (error) *error = std::string("a ") + KindName(v.kind()) + " does not fit \"" + type.name + "\"";
    return false;
  }
  switch (type.ctype) {
    case CType::Word: Put(buf, static_cast<RBInteger>(v.int64())); break;
    case CType::I8: Put(buf, static_cast<int8_t>(v.int64())); break;
    case CType::U8: Put(buf, static_cast<uint8_t>(v.int64())); break;
    case CType::I16: Put(buf, static_cast<int16_t>(v.int64())); break;
    case CType::U16: Put(buf, static_cast<uint16_t>(v.int64())); break;
    case CType::I32: Put(buf, static_cast<int32_t>(v.int64())); break;
    case CType::U32: Put(buf, static_cast<uint32_t>(v.int64())); break;
    case CType::I64: Put(buf, static_cast<int64_t>(v.int64())); break;
    case CType::U64: Put(buf, static_cast<uint64_t>(v.int64())); break;
    case CType::Bool: Put(buf, static_cast<RBBoolean>(v.boolean() ? 1 : 0)); break;
    case CType::Float: Put(buf, v.single()); break;
    case CType::Double: Put(buf, v.real()); break;
    case CType::Color: Put(buf, v.color()); break;
    case CType::Ptr:
      if (type.category == Category::String) {
        Put(buf, static_cast<void*>(v.string()));
      } else if (type.category == Category::Object) {
        Put(buf, static_cast<void*>(v.object()));
      } else {
        Put(buf, reinterpret_cast<void*>(static_cast<intptr_t>(v.int64())));
      }
      break;
    case CType::Void: break;
  }
  return true;
}

Value FromC(const TypeRef& type, const void* buf) {
  switch (type.ctype) {
    case CType::Void: return Value();
    case CType::Word: return Value::Integer(Get<RBInteger>(buf));
    case CType::I8: return Value::Integer(Get<int8_t>(buf));
    case CType::U8: return Value::Integer(Get<uint8_t>(buf));
    case CType::I16: return Value::Integer(Get<int16_t>(buf));
    case CType::U16: return Value::Integer(Get<uint16_t>(buf));
    case CType::I32: return Value::Int32(Get<int32_t>(buf));
    case CType::U32: return Value::Integer(static_cast<RBInteger>(Get<uint32_t>(buf)));
    case CType::I64: return Value::Int64(Get<int64_t>(buf));
    case CType::U64: return Value::Int64(static_cast<int64_t>(Get<uint64_t>(buf)));
    case CType::Bool: return Value::Boolean(Get<RBBoolean>(buf) != 0);
    case CType::Float: return Value::Single(Get<float>(buf));
    case CType::Double: return Value::Double(Get<double>(buf));
    case CType::Color: return Value::Color(Get<RBColor>(buf));
    case CType::Ptr: {
      void* p = Get<void*>(buf);
      if (type.category == Category::String) return Value::AdoptString(static_cast<REALstring>(p));
      if (type.category == Category::Object) return Value::AdoptObject(static_cast<REALobject>(p));
      return Value::Integer(reinterpret_cast<intptr_t>(p));
    }
  }
  return Value();
}

}  // namespace plugin_host

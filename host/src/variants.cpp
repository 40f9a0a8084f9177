// Variants: boxes for scalars and strings (objects are their own variants),
// their type codes, conversions, accessor properties, equality as dictionary
// keys use it, and the variant host functions.
#include <cinttypes>
#include <cstdio>
#include <cstdlib>

#include <cstring>
#include <functional>
#include <string_view>

#include "runtime.h"

namespace plugin_host {

REALobject NewVariant(Runtime* rt, int32_t code, Value boxed) {
  REALobject o = rt->NewObject(rt->BuiltinClass(Builtin::Variant));
  if (o != nullptr) {
    ObjState* st = reinterpret_cast<ObjectHead*>(o)->state;
    st->varType = code;
    st->boxed = std::move(boxed);
  }
  return o;
}

int32_t VarTypeOf(Runtime* rt, REALobject v) {
  ObjState* st = rt->State(v, true);
  if (st == nullptr) return kREALVarNil;
  if (rt->StateOfKind(v, Builtin::Variant)) return st->varType;
  if (rt->StateOfKind(v, Builtin::Date)) return kREALVarDate;
  if (rt->StateOfKind(v, Builtin::Array)) return ArrayVariantCode(st->Extra().elemType);
  return kREALVarObject;
}

Value VariantScalar(Runtime* rt, REALobject v) {
  ObjState* st = rt->StateOfKind(v, Builtin::Variant);
  if (st == nullptr) return Value::RetainObject(rt->State(v, true) ? v : nullptr);
  switch (st->varType) {
    case kREALVarInt32:
    case kREALVarInt64:
    case kREALVarSingle:
    case kREALVarDouble:
    case kREALVarString:
    case kREALVarBoolean:
    case kREALVarColor:
    case kREALVarObject: return st->boxed;
    case kREALVarCurrency: return Value::Double(static_cast<double>(st->Extra().currency) / 10000.0);
    default:
      // The type codes held as text only.
      return Value::AdoptString(rt->NewString(st->Extra().text.data(), st->Extra().text.size(), kREALEncodingUTF8));
  }
}

namespace {

std::string FormatDouble(double d) {
  char buf[64];
  std::snprintf(buf, sizeof buf, "%.15g", d);
  return buf;
}

// The text a variant converts to; false when it has none (objects).
bool TextOf(Runtime* rt, REALobject v, Value* asString, std::string* text) {
  ObjState* st = rt->State(v, true);
  if (st == nullptr) return false;
  if (ObjState* d = rt->StateOfKind(v, Builtin::Date)) {
    char buf[64];
    std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d", d->Extra().date.year, d->Extra().date.month,
                  d->Extra().date.day, d->Extra().date.hour, d->Extra().date.minute, d->Extra().date.second);
    *text = buf;
    return true;
  }
  if (!rt->StateOfKind(v, Builtin::Variant)) return false;
  Value s = VariantScalar(rt, v);
  char buf[64];
  switch (s.kind()) {
    case Kind::String:
      *asString = s;
      return true;
    case Kind::Nil: *text = ""; return true;
    case Kind::Integer:
    case Kind::Int32:
    case Kind::Int64:
      std::snprintf(buf, sizeof buf, "%" PRId64, s.int64());
      *text = buf;
      return true;
    case Kind::Single:
    case Kind::Double: *text = FormatDouble(s.real()); return true;
    case Kind::Boolean: *text = s.boolean() ? "True" : "False"; return true;
    case Kind::Color:
      std::snprintf(buf, sizeof buf, "&c%06X", static_cast<unsigned>(s.color()) & 0xFFFFFFu);
      *text = buf;
      return true;
    case Kind::Object: return false;
  }
  return false;
}

bool NumberOf(Runtime* rt, REALobject v, double* d, int64_t* i) {
  ObjState* st = rt->StateOfKind(v, Builtin::Variant);
  if (st == nullptr) return false;
  if (st->varType == kREALVarCurrency) {
    *i = st->Extra().currency / 10000;
    *d = static_cast<double>(st->Extra().currency) / 10000.0;
    return true;
  }
  Value s = VariantScalar(rt, v);
  if (s.kind() == Kind::String) {
    std::string utf8;
    StrRec* r = rt->Str(s.string(), true);
    if (!ConvertBytes(StringBytesOf(s.string()), r ? static_cast<uint32_t>(r->rec.encoding) : 0,
                      kREALEncodingUTF8, &utf8)) {
      return false;
    }
    *d = std::strtod(utf8.c_str(), nullptr);
    *i = std::strtoll(utf8.c_str(), nullptr, 10);
    return true;
  }
  if (s.kind() == Kind::Single || s.kind() == Kind::Double) {
    *d = s.real();
    *i = RealToInt64(s.real());
    return true;
  }
  if (!ValueToInt64(s, i)) return false;
  *d = static_cast<double>(*i);
  return true;
}

}  // namespace

REALstring VariantText(Runtime* rt, REALobject v) {
  Value s;
  std::string text;
  if (!TextOf(rt, v, &s, &text)) return nullptr;
  if (s.kind() == Kind::String) return s.releaseString();
  return rt->NewString(text.data(), text.size(), kREALEncodingUTF8);
}

bool VariantsEqual(Runtime* rt, const Value& a0, const Value& b0) {
  if (a0.kind() == Kind::Object && a0.object() == b0.object()) return true;
  Value a = a0.kind() == Kind::Object ? VariantScalar(rt, a0.object()) : a0;
  Value b = b0.kind() == Kind::Object ? VariantScalar(rt, b0.object()) : b0;
  if (a.isNil() || b.isNil()) return a.isNil() && b.isNil();
  if (a.kind() == Kind::Object || b.kind() == Kind::Object) return a.object() == b.object();
  if (a.kind() == Kind::String || b.kind() == Kind::String) {
    if (a.kind() != b.kind()) return false;
    std::string x, y;
    StrRec* ra = rt->Str(a.string(), true);
    StrRec* rb = rt->Str(b.string(), true);
    if (!ra || !rb) return false;
    // Texts in one encoding compare by their bytes; others in UTF-8.
    if (ra->rec.encoding == rb->rec.encoding)
      return ra->rec.length == rb->rec.length &&
             std::memcmp(ra->rec.buffer + 1, rb->rec.buffer + 1, ra->rec.length) == 0;
    if (!ConvertBytes(StringBytesOf(a.string()), static_cast<uint32_t>(ra->rec.encoding), kREALEncodingUTF8, &x)) x = StringBytesOf(a.string());
    if (!ConvertBytes(StringBytesOf(b.string()), static_cast<uint32_t>(rb->rec.encoding), kREALEncodingUTF8, &y)) y = StringBytesOf(b.string());
    return x == y;
  }
  if (a.kind() == Kind::Boolean || b.kind() == Kind::Boolean) {
    return a.kind() == b.kind() && a.boolean() == b.boolean();
  }
  double x, y;
  if (!ValueToDouble(a, &x) || !ValueToDouble(b, &y)) return false;
  return x == y;
}

size_t VariantHash(Runtime* rt, const Value& v0) {
  // A variant holding a scalar or a string is hashed through its box, without
  // a copy (a copy locks and unlocks the boxed string).
  const Value* in = &v0;
  Value scalar;
  if (v0.kind() == Kind::Object) {
    ObjState* st = rt->StateOfKind(v0.object(), Builtin::Variant);
    const int32_t code = st ? st->varType : kREALVarObject;
    if (code == kREALVarInt32 || code == kREALVarInt64 || code == kREALVarSingle || code == kREALVarDouble ||
        code == kREALVarString || code == kREALVarBoolean || code == kREALVarColor) {
      in = &st->boxed;
    } else {
      scalar = VariantScalar(rt, v0.object());
      in = &scalar;
    }
  }
  const Value& v = *in;
  if (v.isNil()) return 0;
  if (v.kind() == Kind::Object) return std::hash<const void*>()(v.object());
  if (v.kind() == Kind::String) {
    StrRec* r = rt->Str(v.string(), true);
    if (r == nullptr) return 1;
    std::string_view bytes;
    if (r->rec.buffer != nullptr && r->rec.length > 0)
      bytes = std::string_view(reinterpret_cast<const char*>(r->rec.buffer) + 1, static_cast<size_t>(r->rec.length));
    // Texts of other encodings compare in UTF-8, so they hash in it.
    std::string utf8;
    if (r->rec.encoding != kREALEncodingUTF8 && r->rec.encoding != kREALEncodingASCII &&
        ConvertBytes(std::string(bytes), static_cast<uint32_t>(r->rec.encoding), kREALEncodingUTF8, &utf8)) {
      bytes = utf8;
    }
    return std::hash<std::string_view>()(bytes);
  }
  if (v.kind() == Kind::Boolean) return v.boolean() ? 2 : 3;
  double d;
  if (!ValueToDouble(v, &d)) return 4;
  if (d == 0) d = 0;  // 0 and -0 are equal
  return std::hash<double>()(d);
}

// The accessor properties. A variant whose value has no number (an object,
// text that is not numeric) reads as 0.
bool VariantProperty(Runtime* rt, ObjState* st, const std::string& name, Value* out) {
  auto* v = reinterpret_cast<REALobject>(st->mem());
  double d = 0;
  int64_t i = 0;
  if (!NumberOf(rt, v, &d, &i)) {
    d = 0;
    i = 0;
  }
  if (name == "type") {
    *out = Value::Int32(st->varType);
  } else if (name == "stringvalue") {
    *out = Value::AdoptString(VariantText(rt, v));
  } else if (name == "int32value") {
    *out = Value::Int32(static_cast<int32_t>(i));
  } else if (name == "integervalue") {
    *out = Value::Integer(static_cast<RBInteger>(i));
  } else if (name == "colorvalue") {
    *out = Value::Color(static_cast<RBColor>(i));
  } else if (name == "int64value" || name == "longvalue") {
    *out = Value::Int64(i);
  } else if (name == "singlevalue") {
    *out = Value::Single(static_cast<float>(d));
  } else if (name == "doublevalue" || name == "currencyvalue") {
    *out = Value::Double(d);
  } else if (name == "booleanvalue") {
    *out = Value::Boolean(i != 0 || d != 0);
  } else {
    return false;
  }
  return true;
}

namespace {

REALobject HostStringToVariant(REALstring s) {
  Runtime* rt = Runtime::Current();
  if (rt == nullptr) return nullptr;
  StrRec* r = rt->Str(s);
  return NewVariant(rt, kREALVarString, r ? HoldString(r) : Value());
}
REALobject HostInt32ToVariant(int32_t v) {
  Runtime* rt = Runtime::Current();
  return rt ? NewVariant(rt, kREALVarInt32, Value::Int32(v)) : nullptr;
}
REALobject HostInt64ToVariant(int64_t v) {
  Runtime* rt = Runtime::Current();
  return rt ? NewVariant(rt, kREALVarInt64, Value::Int64(v)) : nullptr;
}
REALobject HostDoubleToVariant(double v) {
  Runtime* rt = Runtime::Current();
  return rt ? NewVariant(rt, kREALVarDouble, Value::Double(v)) : nullptr;
}
REALobject HostBooleanToVariant(RBBoolean v) {
  Runtime* rt = Runtime::Current();
  return rt ? NewVariant(rt, kREALVarBoolean, Value::Boolean(v != 0)) : nullptr;
}

REALstring HostVariantToString(REALobject v) {
  Runtime* rt = Runtime::Current();
  return rt ? VariantText(rt, v) : nullptr;
}

template <typename T>
T Number(REALobject v, bool real) {
  Runtime* rt = Runtime::Current();
  double d = 0;
  int64_t i = 0;
  if (rt == nullptr || !NumberOf(rt, v, &d, &i)) return T(0);
  return real ? static_cast<T>(d) : static_cast<T>(i);
}
int32_t HostVariantToInt32(REALobject v) { return Number<int32_t>(v, false); }
int64_t HostVariantToInt64(REALobject v) { return Number<int64_t>(v, false); }
float HostVariantToSingle(REALobject v) { return Number<float>(v, true); }
double HostVariantToDouble(REALobject v) { return Number<double>(v, true); }

// "VarType(value As Variant) As Int32", loadable with "REALLoadGlobalMethod".
int32_t VarType(REALobject v) {
  Runtime* rt = Runtime::Current();
  return rt ? VarTypeOf(rt, v) : 0;
}

}  // namespace

void* VarTypeMethod() { return reinterpret_cast<void*>(&VarType); }

void AddVariantFunctions(FunctionTable* t) {
  (*t)["StringToVariant"] = reinterpret_cast<void*>(&HostStringToVariant);
  (*t)["Int32ToVariant"] = reinterpret_cast<void*>(&HostInt32ToVariant);
  (*t)["Int64ToVariant"] = reinterpret_cast<void*>(&HostInt64ToVariant);
  (*t)["DoubleToVariant"] = reinterpret_cast<void*>(&HostDoubleToVariant);
  (*t)["BooleanToVariant"] = reinterpret_cast<void*>(&HostBooleanToVariant);
  (*t)["VariantToString"] = reinterpret_cast<void*>(&HostVariantToString);
  (*t)["VariantToInt32"] = reinterpret_cast<void*>(&HostVariantToInt32);
  (*t)["VariantToInt64"] = reinterpret_cast<void*>(&HostVariantToInt64);
  (*t)["VariantToSingle"] = reinterpret_cast<void*>(&HostVariantToSingle);
  (*t)["VariantToDouble"] = reinterpret_cast<void*>(&HostVariantToDouble);
}

}  // namespace plugin_host

// Properties by name: stored fields (getter or setter -1) read and written at
// instance data + parameter, property functions called with the calling
// shape of their entry, the properties of the built-in classes, and the
// host functions that read and write properties for plug-ins.
#include <cstring>

#include "runtime.h"

namespace plugin_host {

namespace {

const PropDef* FindProp(const std::vector<PropDef>& props, const std::string& name) {
  for (const PropDef& p : props) {
    if (SameName(p.name, name)) return &p;
  }
  return nullptr;
}

// Numbers convert into any numeric property, as the host's own assignments
// do; strings and objects only into their own kinds.
bool Coerce(const Value& in, const TypeRef& t, Value* out) {
  int64_t i;
  double d;
  switch (t.category) {
    case Category::Integer:
      if (!ValueToInt64(in, &i)) return false;
      *out = Value::Int64(i);
      return true;
    case Category::Boolean:
      if (in.kind() == Kind::Boolean) {
        *out = in;
        return true;
      }
      if (!ValueToInt64(in, &i)) return false;
      *out = Value::Boolean(i != 0);
      return true;
    case Category::Real:
      if (!ValueToDouble(in, &d)) return false;
      *out = Value::Double(d);
      return true;
    case Category::Color:
      if (!ValueToInt64(in, &i)) return false;
      *out = Value::Color(static_cast<RBColor>(i));
      return true;
    case Category::String:
      if (in.kind() != Kind::String && !in.isNil()) return false;
      *out = in;
      return true;
    case Category::Object:
      if (in.kind() != Kind::Object && !in.isNil()) return false;
      *out = in;
      return true;
    case Category::None: return false;
  }
  return false;
}

size_t FieldSize(CType t) {
  switch (t) {
    case CType::I8:
    case CType::U8:
    case CType::Bool: return 1;
    case CType::I16:
    case CType::U16: return 2;
    case CType::I32:
    case CType::U32:
    case CType::Float:
    case CType::Color: return 4;
    case CType::I64:
    case CType::U64:
    case CType::Double: return 8;
    case CType::Word:
    case CType::Ptr: return sizeof(void*);
    case CType::Void: return 0;
  }
  return 0;
}

bool ReadPluginProp(Runtime* rt, ObjState* st, const PropDef& p, Value* out,
                    std::string* error) {
  auto* obj = reinterpret_cast<REALobject>(st->mem());
  unsigned char buf[16] = {};
  if (p.storedGet) {
    size_t n = FieldSize(p.type.ctype);
    if (p.param + n > st->dataSize) {
      *error = "property " + p.name + " lies outside the instance data";
      return false;
    }
    std::memcpy(buf, st->mem() + kREALObjectHeaderSize + p.param, n);
    TypeRef t = p.type;
    // A stored handle stays the object's; the reader gets a lock of its own.
    if (t.category == Category::String || t.category == Category::Object) {
      void* h;
      std::memcpy(&h, buf, sizeof h);
      *out = t.category == Category::String ? Value::RetainString(static_cast<REALstring>(h))
                                            : Value::RetainObject(static_cast<REALobject>(h));
      return true;
    }
    *out = FromC(t, buf);
    return true;
  }
  if (p.getter == nullptr) {
    *error = "property " + p.name + " cannot be read";
    return false;
  }
  RBWord param = p.param;
  void* args[] = {&obj, &param};
  Activate active(rt);
  FfiCall(p.getter, p.type.ctype, {CType::Ptr, CType::Word}, args, buf);
  *out = FromC(p.type, buf);
  return true;
}

bool WritePluginProp(Runtime* rt, ObjState* st, const PropDef& p,
                     const Value& in, std::string* error) {
  Value v;
  if (!Coerce(in, p.type, &v)) {
    *error = "the value does not fit property " + p.name + " of type " + p.type.name;
    return false;
  }
  auto* obj = reinterpret_cast<REALobject>(st->mem());
  unsigned char buf[16];
  ToC(v, p.type, buf, error);
  if (p.storedSet) {
    size_t n = FieldSize(p.type.ctype);
    if (p.param + n > st->dataSize) {
      *error = "property " + p.name + " lies outside the instance data";
      return false;
    }
    unsigned char* field = st->mem() + kREALObjectHeaderSize + p.param;
    if (p.type.category == Category::String || p.type.category == Category::Object) {
      void *old, *now;
      std::memcpy(&old, field, sizeof old);
      std::memcpy(&now, buf, sizeof now);
      if (p.type.category == Category::String) {
        rt->LockString(static_cast<REALstring>(now));
        rt->UnlockString(static_cast<REALstring>(old));
      } else {
        rt->LockObject(static_cast<REALobject>(now));
        rt->UnlockObject(static_cast<REALobject>(old));
      }
    }
    std::memcpy(field, buf, n);
    return true;
  }
  if (p.setter == nullptr) {
    *error = "property " + p.name + " is read-only";
    return false;
  }
  RBWord param = p.param;
  void* args[] = {&obj, &param, buf};
  unsigned char ret[16];
  Activate active(rt);
  FfiCall(p.setter, CType::Void, {CType::Ptr, CType::Word, p.type.ctype}, args, ret);
  return true;
}

// The property a plug-in class, or the nearest plug-in superclass, declares
// under this name.
const PropDef* FindPluginProp(const ClassDef* cls, const std::string& name) {
  for (const ClassDef* c = cls; c != nullptr; c = c->super) {
    if (!c->fromPlugin) continue;
    if (const PropDef* p = FindProp(c->props, name)) return p;
  }
  return nullptr;
}

}  // namespace

bool GetPropertyValue(Runtime* rt, REALobject obj, const std::string& name, Value* out,
                      std::string* error) {
  std::string scratch;
  if (error == nullptr) error = &scratch;
  ObjState* st = rt->State(obj, true);
  if (st == nullptr) {
    *error = "not a live host object";
    return false;
  }
  if (const PropDef* p = FindPluginProp(st->cls, name)) return ReadPluginProp(rt, st, *p, out, error);
  if (BuiltinProperty(rt, st, name, out)) return true;
  *error = st->cls->name + " has no property " + name;
  return false;
}

bool SetPropertyValue(Runtime* rt, REALobject obj, const std::string& name, const Value& v,
                      std::string* error) {
  std::string scratch;
  if (error == nullptr) error = &scratch;
  ObjState* st = rt->State(obj, true);
  if (st == nullptr) {
    *error = "not a live host object";
    return false;
  }
  if (const PropDef* p = FindPluginProp(st->cls, name)) return WritePluginProp(rt, st, *p, v, error);
  if (SetBuiltinProperty(rt, st, name, v)) return true;
  *error = st->cls->name + " has no property " + name + " that takes this value";
  return false;
}

bool GetModulePropertyValue(ModuleDef* mod, const std::string& name, Value* out,
                            std::string* error) {
  const PropDef* p = FindProp(mod->props, name);
  if (p == nullptr) {
    *error = mod->info.name + " has no property " + name;
    return false;
  }
  if (p->getter == nullptr) {
    *error = "property " + name + " cannot be read";
    return false;
  }
  RBWord param = p->param;
  void* args[] = {&param};
  unsigned char buf[16];
  FfiCall(p->getter, p->type.ctype, {CType::Word}, args, buf);
  *out = FromC(p->type, buf);
  return true;
}

bool SetModulePropertyValue(ModuleDef* mod, const std::string& name, const Value& in,
                            std::string* error) {
  const PropDef* p = FindProp(mod->props, name);
  if (p == nullptr) {
    *error = mod->info.name + " has no property " + name;
    return false;
  }
  if (p->setter == nullptr) {
    *error = "property " + name + " is read-only";
    return false;
  }
  Value v;
  if (!Coerce(in, p->type, &v)) {
    *error = "the value does not fit property " + name;
    return false;
  }
  unsigned char buf[16], ret[16];
  ToC(v, p->type, buf, error);
  RBWord param = p->param;
  void* args[] = {&param, buf};
  FfiCall(p->setter, CType::Void, {CType::Word, p->type.ctype}, args, ret);
  return true;
}

namespace {

template <typename T>
RBBoolean GetNumber(REALobject obj, const char* name, T* out, bool real) {
  Runtime* rt = Runtime::Current();
  if (rt == nullptr || name == nullptr || out == nullptr) return 0;
  Value v;
  if (!GetPropertyValue(rt, obj, name, &v, nullptr)) return 0;
  if (real) {
    double d;
    if (!ValueToDouble(v, &d)) return 0;
    *out = static_cast<T>(d);
  } else {
    int64_t i;
    if (!ValueToInt64(v, &i)) return 0;
    *out = static_cast<T>(i);
  }
  return 1;
}

RBBoolean HostGetPropInt(REALobject o, const char* n, int32_t* out) { return GetNumber(o, n, out, false); }
RBBoolean HostGetPropInt64(REALobject o, const char* n, int64_t* out) { return GetNumber(o, n, out, false); }
RBBoolean HostGetPropSingle(REALobject o, const char* n, float* out) { return GetNumber(o, n, out, true); }
RBBoolean HostGetPropDouble(REALobject o, const char* n, double* out) { return GetNumber(o, n, out, true); }

RBBoolean HostGetPropString(REALobject obj, const char* name, REALstring* out) {
  Runtime* rt = Runtime::Current();
  if (rt == nullptr || name == nullptr || out == nullptr) return 0;
  Value v;
  if (!GetPropertyValue(rt, obj, name, &v, nullptr)) return 0;
  if (v.kind() != Kind::String && !v.isNil()) return 0;
  *out = v.releaseString();
  return 1;
}

RBBoolean HostSetPropInt(REALobject obj, const char* name, int32_t value) {
  Runtime* rt = Runtime::Current();
  if (rt == nullptr || name == nullptr) return 0;
  // Plug-ins fill each new Date field by field; a Date of the built-in class
  // itself has no plug-in properties to look through first.
  ObjState* st = rt->State(obj, true);
  if (st != nullptr && st->cls->builtin == Builtin::Date && !st->cls->fromPlugin)
    return SetDateProperty(st, name, Value::Int32(value)) ? 1 : 0;
  return SetPropertyValue(rt, obj, name, Value::Int32(value), nullptr) ? 1 : 0;
}

RBBoolean HostSetPropString(REALobject obj, const char* name, REALstring value) {
  Runtime* rt = Runtime::Current();
  if (rt == nullptr || name == nullptr) return 0;
  if (value != nullptr && rt->Str(value) == nullptr) return 0;  // reported by Str
  return SetPropertyValue(rt, obj, name, Value::RetainString(value), nullptr) ? 1 : 0;
}

}  // namespace

void AddPropertyFunctions(FunctionTable* t) {
  (*t)["REALGetPropValueInt"] = reinterpret_cast<void*>(&HostGetPropInt);
  (*t)["REALGetPropValueInt64"] = reinterpret_cast<void*>(&HostGetPropInt64);
  (*t)["REALGetPropValueSingle"] = reinterpret_cast<void*>(&HostGetPropSingle);
  (*t)["REALGetPropValueDouble"] = reinterpret_cast<void*>(&HostGetPropDouble);
  (*t)["REALGetPropValueString"] = reinterpret_cast<void*>(&HostGetPropString);
  (*t)["REALSetPropValueInt"] = reinterpret_cast<void*>(&HostSetPropInt);
  (*t)["REALSetPropValueString"] = reinterpret_cast<void*>(&HostSetPropString);
}

}  // namespace plugin_host

namespace plugin_host {

bool BuiltinProperty(Runtime* rt, ObjState* st, const std::string& name, Value* out) {
  std::string low = Lower(name);
  for (const ClassDef* c = st->cls; c != nullptr; c = c->super) {
    switch (c->builtin) {
      case Builtin::Date:
        if (DateProperty(st, low, out)) return true;
        break;
      case Builtin::Exception:
        if (ExceptionProperty(st, low, out)) return true;
        break;
      case Builtin::MemoryBlock:
        if (MemoryBlockProperty(st, low, out)) return true;
        break;
      case Builtin::Dictionary:
        if (DictionaryProperty(st, low, out)) return true;
        break;
      case Builtin::Variant:
        if (VariantProperty(rt, st, low, out)) return true;
        break;
      case Builtin::FolderItem:
        if (FolderItemProperty(rt, st, low, out)) return true;
        break;
      default: break;
    }
  }
  return false;
}

bool SetBuiltinProperty(Runtime*, ObjState* st, const std::string& name, const Value& v) {
  for (const ClassDef* c = st->cls; c != nullptr; c = c->super) {
    if (c->builtin == Builtin::Date && SetDateProperty(st, name, v)) return true;
    if (c->builtin == Builtin::Exception && SetExceptionProperty(st, Lower(name), v)) return true;
  }
  return false;
}

}  // namespace plugin_host

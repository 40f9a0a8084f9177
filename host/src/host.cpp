// The Host API: what a host program does with a loaded plug-in (making
// values, calling methods by declaration, properties, exceptions, reading
// values back, accounting).
#include <array>
#include <cstring>

#include "runtime.h"

namespace plugin_host {

namespace {

CallResult Refused(const std::string& why) {
  CallResult r;
  r.error = why;
  return r;
}

// Calls fn with the calling shape of decl: the object first (when there is
// one), the declared arguments, and the assigned value last (for setters).
CallResult Invoke(Runtime* rt, void* fn, const MethodDef* m, const Declaration& decl,
                  REALobject self, const std::vector<Arg>& args, const Value* assigned) {
  if (m != nullptr && !m->parsedOk) return Refused("cannot read the declaration \"" + m->declaration + "\"");
  if (fn == nullptr) return Refused("the method has no function");
  if (args.size() != decl.params.size()) {
    return Refused(decl.name + " takes " + std::to_string(decl.params.size()) + " arguments, not " +
                   std::to_string(args.size()));
  }
  size_t n = args.size() + (self ? 1 : 0) + (assigned ? 1 : 0);
  std::vector<CType> types;
  std::vector<std::array<unsigned char, 16>> bufs(n);
  std::vector<std::array<unsigned char, 16>> slots(args.size());
  std::vector<void*> slotPtrs(args.size());
  std::vector<void*> argv;
  size_t k = 0;
  if (self != nullptr) {
    types.push_back(CType::Ptr);
    std::memcpy(bufs[k].data(), &self, sizeof self);
    argv.push_back(bufs[k++].data());
  }
  for (size_t i = 0; i < args.size(); ++i) {
    const Param& p = decl.params[i];
    std::string err;
    if (p.byRef != (args[i].slot() != nullptr)) {
      return Refused("argument " + std::to_string(i + 1) + " (" + p.name + ") must be passed " +
                     (p.byRef ? "by reference" : "by value"));
    }
    if (!ToC(args[i].value(), p.type, p.byRef ? slots[i].data() : bufs[k].data(), &err)) {
      return Refused("argument " + std::to_string(i + 1) + " (" + p.name + "): " + err);
    }
    if (p.byRef) {
      slotPtrs[i] = slots[i].data();
      std::memcpy(bufs[k].data(), &slotPtrs[i], sizeof(void*));
      types.push_back(CType::Ptr);
    } else {
      types.push_back(p.type.ctype);
    }
    argv.push_back(bufs[k++].data());
  }
  if (assigned != nullptr) {
    std::string err;
    if (decl.result.ctype == CType::Void) return Refused(decl.name + " has no type to assign");
    if (!ToC(*assigned, decl.result, bufs[k].data(), &err)) return Refused("assigned value: " + err);
    types.push_back(decl.result.ctype);
    argv.push_back(bufs[k++].data());
  }
  // A by-reference slot holds the caller's lock while the plug-in runs.
  for (size_t i = 0; i < args.size(); ++i) {
    const Param& p = decl.params[i];
    if (p.byRef && (p.type.category == Category::String || p.type.category == Category::Object)) {
      Value* v = args[i].slot();
      if (p.type.category == Category::String) {
        v->releaseString();
      } else {
        v->releaseObject();
      }
    }
  }
  CType ret = assigned ? CType::Void : decl.result.ctype;
  unsigned char out[16];
  {
    Activate active(rt);
    rt->BeginCall();
    FfiCall(fn, ret, types, argv.data(), out);
  }
  for (size_t i = 0; i < args.size(); ++i) {
    if (decl.params[i].byRef) *args[i].slot() = FromC(decl.params[i].type, slots[i].data());
  }
  CallResult r;
  r.ok = true;
  if (!assigned) r.value = FromC(decl.result, out);
  return r;
}

const MethodDef* FindExact(const std::vector<MethodDef>& methods, const std::string& decl) {
  for (const MethodDef& m : methods) {
    if (m.declaration == decl) return &m;
  }
  return nullptr;
}

}  // namespace

Host::Host(HostOptions options) : rt_(std::make_unique<Runtime>(std::move(options))) {}
Host::~Host() = default;

bool Host::Load(const std::string& path, std::string* error) { return rt_->Load(path, error); }
int Host::announcedLayoutVersion() const { return rt_->announcedLayout; }
int Host::LookupCount(const std::string& name) const { return rt_->LookupCount(name); }
void* Host::Resolve(const char* name) { return rt_->Resolve(name); }

const DefinitionInfo* Host::Module(const std::string& name) const {
  ModuleDef* m = rt_->FindModule(name);
  return m ? &m->info : nullptr;
}

const DefinitionInfo* Host::Class(const std::string& name) const {
  ClassDef* c = rt_->FindClass(name);
  return c && c->fromPlugin ? &c->info : nullptr;
}

std::string Host::DeclarationOf(const std::string& owner, const std::string& name,
                                const std::vector<std::string>& parameterTypes) const {
  const DefinitionInfo* info = Module(owner);
  if (info == nullptr) info = Class(owner);
  if (info == nullptr) return std::string();
  // The wanted shape, as a declaration with made-up parameter names.
  std::string prototype = name + "(";
  for (size_t i = 0; i < parameterTypes.size(); ++i) {
    std::string type = parameterTypes[i];
    std::string byRef;
    if (type.compare(0, 6, "byref ") == 0) {
      byRef = "byref ";
      type = type.substr(6);
    }
    prototype += (i ? ", " : "") + byRef + "p" + std::to_string(i) + " as " + type;
  }
  prototype += ")";
  Declaration wanted;
  if (!ParseDeclaration(prototype, &wanted)) return std::string();
  for (const MethodInfo& m : info->methods) {
    Declaration d;
    if (!ParseDeclaration(m.declaration, &d) || !SameName(d.name, wanted.name) ||
        d.params.size() != wanted.params.size())
      continue;
    bool same = true;
    for (size_t i = 0; i < d.params.size() && same; ++i) {
      const Param& p = d.params[i];
      const Param& q = wanted.params[i];
      same = SameName(p.type.name, q.type.name) && p.type.array == q.type.array && p.byRef == q.byRef;
    }
    if (same) return m.declaration;
  }
  return std::string();
}

std::optional<std::string> Host::Constant(const std::string& owner, const std::string& name) const {
  const DefinitionInfo* info = Module(owner);
  if (info == nullptr) info = Class(owner);
  if (info == nullptr) return std::nullopt;
  for (const std::string& c : info->constants) {
    size_t eq = c.find('=');
    if (eq == std::string::npos) continue;
    std::string left = c.substr(0, eq);
    while (!left.empty() && left.back() == ' ') left.pop_back();
    if (!SameName(left, name)) continue;
    size_t start = eq + 1;
    while (start < c.size() && c[start] == ' ') ++start;
    return c.substr(start);
  }
  return std::nullopt;
}

// ---- Making values ---------------------------------------------------------------

Value Host::String(std::string_view bytes, uint32_t encoding) {
  Activate active(rt_.get());
  return Value::AdoptString(rt_->NewString(bytes.data(), bytes.size(), encoding));
}

Value Host::NewInstance(const std::string& className) {
  Activate active(rt_.get());
  return Value::AdoptObject(rt_->NewInstance(className.c_str()));
}

Value Host::MemoryBlock(std::string_view bytes) {
  return Value::AdoptObject(NewMemoryBlock(rt_.get(), bytes.data(), bytes.size()));
}

Value Host::Date(const DateFields& fields) {
  Activate active(rt_.get());
  REALobject o = rt_->NewObject(rt_->FindClass("Date"));
  if (ObjState* st = rt_->State(o)) st->Extra().date = fields;
  return Value::AdoptObject(o);
}

Value Host::FolderItem(const std::string& path) {
  Activate active(rt_.get());
  return Value::AdoptObject(NewFolderItem(rt_.get(), path));
}

Value Host::Dictionary() {
  Activate active(rt_.get());
  return Value::AdoptObject(rt_->NewObject(rt_->FindClass("Dictionary")));
}

bool Host::DictionarySet(const Value& dict, const Value& key, const Value& value) {
  Activate active(rt_.get());
  ObjState* d = rt_->StateOfKind(dict.object(), Builtin::Dictionary);
  if (d == nullptr) return false;
  if ((key.kind() != Kind::Object && !key.isNil()) || (value.kind() != Kind::Object && !value.isNil())) {
    return false;  // keys and values are variants
  }
  DictionarySetEntry(rt_.get(), d, key, value);
  return true;
}

Value Host::Array(int elementType, const std::vector<Value>& elements) {
  Activate active(rt_.get());
  Value a = Value::AdoptObject(NewArray(rt_.get(), elementType, static_cast<RBInteger>(elements.size()) - 1));
  ObjState* st = rt_->State(a.object(), true);
  if (st == nullptr) return Value();
  for (size_t i = 0; i < elements.size(); ++i) {
    if (!ArraySetFromValue(rt_.get(), st, static_cast<RBInteger>(i), elements[i])) return Value();
  }
  return a;
}

Value Host::Variant(const Value& v) {
  Activate active(rt_.get());
  int32_t code;
  Value boxed = v;
  switch (v.kind()) {
    case Kind::Nil: return Value();
    case Kind::Object: return v;
    case Kind::Integer:
      code = sizeof(RBInteger) == 8 ? kREALVarInt64 : kREALVarInt32;
      boxed = sizeof(RBInteger) == 8 ? Value::Int64(v.int64()) : Value::Int32(v.int32());
      break;
    case Kind::Int32: code = kREALVarInt32; break;
    case Kind::Int64: code = kREALVarInt64; break;
    case Kind::Single: code = kREALVarSingle; break;
    case Kind::Double: code = kREALVarDouble; break;
    case Kind::Boolean: code = kREALVarBoolean; break;
    case Kind::Color: code = kREALVarColor; break;
    case Kind::String: code = kREALVarString; break;
    default: return Value();
  }
  return Value::AdoptObject(NewVariant(rt_.get(), code, std::move(boxed)));
}

Value Host::CurrencyVariant(int64_t tenThousandths) {
  Activate active(rt_.get());
  REALobject o = NewVariant(rt_.get(), kREALVarCurrency, Value());
  if (ObjState* st = rt_->State(o)) st->Extra().currency = tenThousandths;
  return Value::AdoptObject(o);
}

Value Host::TextVariant(int32_t typeCode, std::string_view text) {
  Activate active(rt_.get());
  REALobject o = NewVariant(rt_.get(), typeCode, Value());
  if (ObjState* st = rt_->State(o)) st->Extra().text = std::string(text);
  return Value::AdoptObject(o);
}

// ---- Calling -------------------------------------------------------------------------

CallResult Host::CallShared(const std::string& module, const std::string& declaration,
                            const std::vector<Arg>& args) {
  ModuleDef* m = rt_->FindModule(module);
  if (m == nullptr) return Refused("no module " + module);
  const MethodDef* def = FindExact(m->methods, declaration);
  if (def == nullptr) return Refused("module " + module + " has no method \"" + declaration + "\"");
  return Invoke(rt_.get(), def->function, def, def->parsed, nullptr, args, nullptr);
}

CallResult Host::AssignShared(const std::string& module, const std::string& declaration,
                              const std::vector<Arg>& args, const Value& value) {
  ModuleDef* m = rt_->FindModule(module);
  if (m == nullptr) return Refused("no module " + module);
  const MethodDef* def = FindExact(m->methods, declaration);
  if (def == nullptr) return Refused("module " + module + " has no method \"" + declaration + "\"");
  if (def->setter == nullptr) return Refused("\"" + declaration + "\" cannot be assigned");
  return Invoke(rt_.get(), def->setter, def, def->parsed, nullptr, args, &value);
}

namespace {

CallResult CallOnObject(Runtime* rt, const Value& object, const std::string& declaration,
                        const std::vector<Arg>& args, const Value* assigned) {
  ObjState* st = rt->State(object.object(), true);
  if (st == nullptr) return Refused("not a live object");
  for (const ClassDef* c = st->cls; c != nullptr; c = c->super) {
    if (!c->fromPlugin) continue;
    if (const MethodDef* def = FindExact(c->methods, declaration)) {
      if (assigned != nullptr && def->setter == nullptr) {
        return Refused("\"" + declaration + "\" cannot be assigned");
      }
      return Invoke(rt, assigned ? def->setter : def->function, def, def->parsed, object.object(), args,
                    assigned);
    }
  }
  Declaration decl;
  if (assigned == nullptr && ParseDeclaration(declaration, &decl)) {
    if (void* fn = BuiltinObjectMethod(st, decl)) {
      return Invoke(rt, fn, nullptr, decl, object.object(), args, nullptr);
    }
  }
  return Refused(st->cls->name + " has no method \"" + declaration + "\"");
}

}  // namespace

CallResult Host::CallMethod(const Value& object, const std::string& declaration,
                            const std::vector<Arg>& args) {
  return CallOnObject(rt_.get(), object, declaration, args, nullptr);
}

CallResult Host::AssignMethod(const Value& object, const std::string& declaration,
                              const std::vector<Arg>& args, const Value& value) {
  return CallOnObject(rt_.get(), object, declaration, args, &value);
}

CallResult Host::GetProperty(const Value& object, const std::string& name) {
  CallResult r;
  Activate active(rt_.get());
  r.ok = GetPropertyValue(rt_.get(), object.object(), name, &r.value, &r.error);
  return r;
}

CallResult Host::SetProperty(const Value& object, const std::string& name, const Value& value) {
  CallResult r;
  Activate active(rt_.get());
  r.ok = SetPropertyValue(rt_.get(), object.object(), name, value, &r.error);
  return r;
}

CallResult Host::GetModuleProperty(const std::string& module, const std::string& name) {
  ModuleDef* m = rt_->FindModule(module);
  if (m == nullptr) return Refused("no module " + module);
  CallResult r;
  Activate active(rt_.get());
  r.ok = GetModulePropertyValue(m, name, &r.value, &r.error);
  return r;
}

CallResult Host::SetModuleProperty(const std::string& module, const std::string& name,
                                   const Value& value) {
  ModuleDef* m = rt_->FindModule(module);
  if (m == nullptr) return Refused("no module " + module);
  CallResult r;
  Activate active(rt_.get());
  r.ok = SetModulePropertyValue(m, name, value, &r.error);
  return r;
}

std::optional<ExceptionInfo> Host::TakeException() {
  Activate active(rt_.get());
  return rt_->TakePending();
}

// ---- Reading values -------------------------------------------------------------------

std::string Host::ClassName(const Value& object) const {
  ObjState* st = rt_->State(object.object(), true);
  return st ? st->cls->name : std::string();
}

bool Host::IsA(const Value& object, const std::string& className) const {
  return rt_->IsA(rt_->State(object.object(), true), rt_->FindClass(className));
}

unsigned char* Host::InstanceData(const Value& object) const {
  ObjState* st = rt_->State(object.object(), true);
  return st ? st->mem() + kREALObjectHeaderSize : nullptr;
}

RBInteger Host::LockCount(const Value& v) const {
  if (StrRec* s = rt_->Str(v.string(), true)) return static_cast<RBInteger>(s->rec.refCount);
  if (ObjState* st = rt_->State(v.object(), true)) return st->locks;
  return -1;
}

std::string Host::StringBytes(const Value& str) const {
  return rt_->Str(str.string(), true) ? StringBytesOf(str.string()) : std::string();
}

uint32_t Host::StringEncoding(const Value& str) const {
  StrRec* s = rt_->Str(str.string(), true);
  return s ? static_cast<uint32_t>(s->rec.encoding) : kREALEncodingUnknown;
}

std::string Host::StringUTF8(const Value& str) const {
  StrRec* s = rt_->Str(str.string(), true);
  if (s == nullptr) return std::string();
  std::string bytes = StringBytesOf(str.string()), out;
  uint32_t enc = static_cast<uint32_t>(s->rec.encoding);
  if (ConvertBytes(bytes, enc, kREALEncodingUTF8, &out)) return out;
  if (enc == kREALEncodingUnknown && ConvertBytes(bytes, kREALEncodingMacRoman, kREALEncodingUTF8, &out)) {
    return out;
  }
  return bytes;
}

std::string Host::MemoryBlockBytes(const Value& block) const {
  ObjState* st = rt_->StateOfKind(block.object(), Builtin::MemoryBlock);
  if (st == nullptr || st->Extra().size == 0) return std::string();
  return std::string(reinterpret_cast<const char*>(st->Extra().bytes.get()), static_cast<size_t>(st->Extra().size));
}

int Host::ArrayElementType(const Value& array) const {
  ObjState* st = rt_->StateOfKind(array.object(), Builtin::Array);
  return st ? st->Extra().elemType : -1;
}

RBInteger Host::ArrayUBound(const Value& array) const {
  ObjState* st = rt_->StateOfKind(array.object(), Builtin::Array);
  return st ? st->Extra().count - 1 : -1;
}

Value Host::ArrayElement(const Value& array, RBInteger index) const {
  ObjState* st = rt_->StateOfKind(array.object(), Builtin::Array);
  return st ? ArrayGetValue(rt_.get(), st, index) : Value();
}

int32_t Host::VariantType(const Value& v) const {
  if (v.kind() == Kind::String) return kREALVarString;
  return VarTypeOf(rt_.get(), v.object());
}

Value Host::VariantValue(const Value& v) const {
  if (v.kind() != Kind::Object) return v;
  Activate active(rt_.get());
  return VariantScalar(rt_.get(), v.object());
}

RBInteger Host::DictionaryCount(const Value& dict) const {
  ObjState* d = rt_->StateOfKind(dict.object(), Builtin::Dictionary);
  return d ? static_cast<RBInteger>(d->Extra().entries.size()) : 0;
}

Value Host::DictionaryKey(const Value& dict, RBInteger index) const {
  ObjState* d = rt_->StateOfKind(dict.object(), Builtin::Dictionary);
  if (d == nullptr || index < 0 || static_cast<size_t>(index) >= d->Extra().entries.size()) return Value();
  return d->Extra().entries[static_cast<size_t>(index)].key;
}

Value Host::DictionaryValueAt(const Value& dict, RBInteger index) const {
  ObjState* d = rt_->StateOfKind(dict.object(), Builtin::Dictionary);
  if (d == nullptr || index < 0 || static_cast<size_t>(index) >= d->Extra().entries.size()) return Value();
  return d->Extra().entries[static_cast<size_t>(index)].value;
}

Value Host::DictionaryLookup(const Value& dict, const Value& key) const {
  ObjState* d = rt_->StateOfKind(dict.object(), Builtin::Dictionary);
  if (d == nullptr) return Value();
  Activate active(rt_.get());
  const DictEntry* e = DictionaryFind(rt_.get(), d, key);
  return e ? e->value : Value();
}

std::optional<DateFields> Host::DateOf(const Value& date) const {
  ObjState* d = rt_->StateOfKind(date.object(), Builtin::Date);
  if (d == nullptr) return std::nullopt;
  return d->Extra().date;
}

std::string Host::FolderItemPath(const Value& item) const {
  ObjState* st = rt_->StateOfKind(item.object(), Builtin::FolderItem);
  return st ? st->Extra().path : std::string();
}

// ---- Accounting -------------------------------------------------------------------------

size_t Host::LiveObjects() const { return rt_->liveObjects; }
size_t Host::LiveStrings() const { return rt_->liveStrings; }
size_t Host::LiveArrays() const { return rt_->liveArrays; }
size_t Host::LiveInstances(const std::string& className) const {
  ClassDef* c = rt_->FindClass(className);
  if (c == nullptr) return 0;
  return c->live;
}
size_t Host::LiveStringData() const { return rt_->stringData.size(); }
size_t Host::BadReleases() const { return rt_->badReleases; }
std::vector<std::string> Host::Problems() const { return rt_->problems; }

}  // namespace plugin_host

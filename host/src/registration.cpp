// Registration: reading a plug-in's module and class records in the layouts
// 9 (short entries and records) and 10, 11, 12 (long ones), as word 0 of
// each record says, and writing the instance-data offset into the class
// record.
#include "runtime.h"

namespace plugin_host {

namespace {

// Entry strides, in words, of the two layouts.
struct Strides {
  size_t method, constant, property;
};
Strides StridesFor(RBWord version) {
  if (version == 9) return {4, 3, 10};
  return {6, 5, 12};
}

bool KnownLayout(RBWord v) { return v >= 9 && v <= 12; }

std::string Text(RBWord w) {
  const char* s = reinterpret_cast<const char*>(w);
  return s ? std::string(s) : std::string();
}

void ReadMethods(const RBWord* list, RBWord count, size_t stride, std::vector<MethodDef>* out,
                 std::vector<MethodInfo>* info) {
  if (list == nullptr) return;
  for (RBWord i = 0; i < count; ++i) {
    const RBWord* e = list + i * stride;
    MethodDef m;
    m.function = reinterpret_cast<void*>(e[0]);
    m.setter = reinterpret_cast<void*>(e[1]);
    m.declaration = Text(e[2]);
    m.flags = e[3];
    m.parsedOk = ParseDeclaration(m.declaration, &m.parsed);
    info->push_back({m.declaration, m.setter != nullptr, m.flags});
    out->push_back(std::move(m));
  }
}

void ReadProperties(const RBWord* list, RBWord count, size_t stride, std::vector<PropDef>* out,
                    std::vector<PropertyInfo>* info) {
  if (list == nullptr) return;
  const RBWord kStandard = static_cast<RBWord>(-1);
  for (RBWord i = 0; i < count; ++i) {
    const RBWord* e = list + i * stride;
    PropDef p;
    p.name = Text(e[1]);
    p.type = ResolveType(Text(e[2]), false);
    p.flags = e[3];
    p.storedGet = e[4] == kStandard;
    p.storedSet = e[5] == kStandard;
    p.getter = p.storedGet ? nullptr : reinterpret_cast<void*>(e[4]);
    p.setter = p.storedSet ? nullptr : reinterpret_cast<void*>(e[5]);
    p.param = e[6];
    PropertyInfo pi;
    pi.name = p.name;
    pi.type = p.type.name;
    pi.flags = p.flags;
    pi.storedGetter = p.storedGet;
    pi.storedSetter = p.storedSet;
    pi.readOnly = e[5] == 0;
    pi.param = p.param;
    info->push_back(pi);
    out->push_back(std::move(p));
  }
}

void ReadConstants(const RBWord* list, RBWord count, size_t stride, std::vector<std::string>* out) {
  if (list == nullptr) return;
  for (RBWord i = 0; i < count; ++i) out->push_back(Text(list[i * stride]));
}

const RBWord* Words(RBWord w) { return reinterpret_cast<const RBWord*>(w); }

}  // namespace

void Runtime::RegisterModule(const RBWord* r) {
  if (r == nullptr) return;
  if (!KnownLayout(r[0])) {
    Problem("module record of unknown layout " + std::to_string(r[0]));
    return;
  }
  Strides s = StridesFor(r[0]);
  auto m = std::make_unique<ModuleDef>();
  m->info.name = Text(r[1]);
  m->info.layoutVersion = static_cast<int>(r[0]);
  m->info.record = r;
  ReadMethods(Words(r[2]), r[3], s.method, &m->methods, &m->info.methods);
  ReadConstants(Words(r[4]), r[5], s.constant, &m->info.constants);
  ReadProperties(Words(r[6]), r[7], s.property, &m->props, &m->info.properties);
  if (m->info.name.empty()) {
    Problem("module record without a name");
    return;
  }
  ForgetSpellings();  // a module of the same name replaces the one before
  modules_[m->info.name] = std::move(m);
}

void Runtime::RegisterClass(RBWord* r) {
  if (r == nullptr) return;
  if (!KnownLayout(r[0])) {
    Problem("class record of unknown layout " + std::to_string(r[0]));
    return;
  }
  Strides s = StridesFor(r[0]);
  auto c = std::make_unique<ClassDef>();
  c->name = Text(r[1]);
  if (c->name.empty()) {
    Problem("class record without a name");
    return;
  }
  c->superName = Text(r[2]);
  c->fromPlugin = true;
  c->dataSize = r[3];
  // The plug-in finds its instance data at this offset in every object.
  r[4] = kREALObjectHeaderSize;
  c->constructor = reinterpret_cast<void (*)(REALobject)>(r[5]);
  c->destructor = reinterpret_cast<void (*)(REALobject)>(r[6]);
  DefinitionInfo& info = c->info;
  info.name = c->name;
  info.superName = c->superName;
  info.layoutVersion = static_cast<int>(r[0]);
  info.dataSize = c->dataSize;
  info.flags = r[20];
  info.hasConstructor = r[5] != 0;
  info.hasDestructor = r[6] != 0;
  info.record = r;
  ReadProperties(Words(r[7]), r[8], s.property, &c->props, &info.properties);
  ReadMethods(Words(r[9]), r[10], s.method, &c->methods, &info.methods);
  ReadConstants(Words(r[18]), r[19], s.constant, &info.constants);
  ReadProperties(Words(r[21]), r[22], s.property, &c->props, &info.properties);
  ReadMethods(Words(r[23]), r[24], s.method, &c->methods, &info.methods);
  std::string key = Lower(c->name);
  if (classes_.count(key) != 0) {
    Problem("class " + c->name + " registered twice; the first stays");
    return;
  }
  ForgetSpellings();
  classes_[key] = std::move(c);
  // Link superclasses, also those registered before their base.
  for (auto& [k, cls] : classes_) {
    if (cls->super == nullptr && !cls->superName.empty()) cls->super = FindClass(cls->superName);
  }
  ClassDef* added = classes_[key].get();
  if (added->superName.empty()) added->super = FindClass("Object");
}

namespace {

void HostRegisterPluginVersion(int32_t version) {
  if (Runtime* rt = Runtime::Current()) rt->announcedLayout = version;
}

double HostGetRBVersion() {
  Runtime* rt = Runtime::Current();
  return rt ? rt->options().version.value_or(0.0) : 0.0;
}

void HostRegisterModule(REALmoduleDefinition* m) {
  if (Runtime* rt = Runtime::Current()) rt->RegisterModule(reinterpret_cast<const RBWord*>(m));
}

void HostRegisterClass(REALclassDefinition* c) {
  if (Runtime* rt = Runtime::Current()) rt->RegisterClass(reinterpret_cast<RBWord*>(c));
}

}  // namespace

void AddRegistrationFunctions(FunctionTable* t) {
  (*t)["RegisterPluginVersion"] = reinterpret_cast<void*>(&HostRegisterPluginVersion);
  (*t)["REALGetRBVersion"] = reinterpret_cast<void*>(&HostGetRBVersion);
  (*t)["PluginRegisterModule"] = reinterpret_cast<void*>(&HostRegisterModule);
  (*t)["PluginRegisterClass"] = reinterpret_cast<void*>(&HostRegisterClass);
}

}  // namespace plugin_host

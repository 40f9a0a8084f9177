// Objects and classes: the runtime's class table, object creation with
// zero-filled instance data, locking, destruction and class membership.
//
// A released object or string stays as a tombstone while the next
// kReleasedKept releases happen, so that a late lock or an extra release is
// recognised and reported instead of touching freed memory; after that its
// slot goes back to the arena for a new value, so a long-lived host does not
// grow with every value it ever made. A late release of a value that old is
// still reported, as its record still says it was released, unless a new
// value has been made in its slot by then.
#include <algorithm>
#include <cctype>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <new>
#include <set>
#include <string.h>

#include "runtime.h"

namespace plugin_host {

namespace {
Runtime* gCurrent = nullptr;
// Every runtime alive, so that a Host destroyed after a later one never
// makes a destroyed one current again.
std::set<Runtime*>& LiveRuntimes() {
  static std::set<Runtime*> live;
  return live;
}
}  // namespace

Runtime* Runtime::Current() { return gCurrent; }
void Runtime::SetCurrent(Runtime* rt) { gCurrent = rt; }

Runtime::Runtime(HostOptions options) : options_(std::move(options)) {
  previous_ = gCurrent;
  gCurrent = this;
  LiveRuntimes().insert(this);
  AddBuiltinClasses();
}

Runtime::~Runtime() {
  // Values still held inside live objects (and a pending exception) refer to
  // records freed below; drop them without running any plug-in code: locks
  // and releases are ignored from here on.
  tearingDown_ = true;
  pending_ = nullptr;
  // Released records are among these too: they hold nothing any more.
  const std::vector<void*> objects = objects_.Payloads();
  for (void* p : objects) {
    auto* st = static_cast<ObjState*>(p);
    if (st->extra) {
      st->extra->entries.clear();
      st->extra->message = Value();
    }
    st->boxed = Value();
  }
  for (void* p : objects) static_cast<ObjState*>(p)->~ObjState();
  for (void* p : strings_.Payloads()) {
    auto* s = static_cast<StrRec*>(p);
    if (s->rec.buffer == nullptr) continue;  // released, and its own buffer freed
    explicit_bzero(s->rec.buffer, s->rec.allocated);  // strings a plug-in never released
    if (s->rec.buffer != reinterpret_cast<unsigned char*>(s + 1)) std::free(s->rec.buffer);
  }
  // String data a plug-in never disposed (counted as live until now).
  for (const void* d : stringData) std::free(const_cast<void*>(d));
  LiveRuntimes().erase(this);
  if (gCurrent == this) gCurrent = LiveRuntimes().count(previous_) ? previous_ : nullptr;
}

void Runtime::AddBuiltinClasses() {
  struct B {
    const char* name;
    const char* super;
    Builtin kind;
  };
  static const B kBuiltins[] = {
      {"Object", "", Builtin::None},
      {"Dictionary", "Object", Builtin::Dictionary},
      {"Date", "Object", Builtin::Date},
      {"MemoryBlock", "Object", Builtin::MemoryBlock},
      {"FolderItem", "Object", Builtin::FolderItem},
      {"Variant", "Object", Builtin::Variant},
      {"Array", "Object", Builtin::Array},
      {"RuntimeException", "Object", Builtin::Exception},
      {"NilObjectException", "RuntimeException", Builtin::Exception},
      {"OutOfMemoryException", "RuntimeException", Builtin::Exception},
  };
  for (const B& b : kBuiltins) {
    auto c = std::make_unique<ClassDef>();
    c->name = b.name;
    c->superName = b.super;
    c->super = b.super[0] ? FindClass(b.super) : nullptr;
    c->builtin = b.kind;
    c->info.name = b.name;
    c->info.superName = b.super;
    // The first class of each kind is the one values of that kind are made of.
    ClassDef*& builtin = builtinClasses_[static_cast<int>(b.kind)];
    if (builtin == nullptr) builtin = c.get();
    classes_[b.name] = std::move(c);
  }
  for (const StandInClass& s : options_.standIns) {
    auto c = std::make_unique<ClassDef>();
    c->name = s.name;
    c->superName = "Object";
    c->super = FindClass("Object");
    c->builtin = Builtin::StandIn;
    c->dataSize = s.dataSize;
    c->standIn = s;
    c->info.name = s.name;
    c->info.dataSize = s.dataSize;
    classes_[s.name] = std::move(c);
  }
  ForgetSpellings();  // a stand-in may replace a built-in class looked up above
}

bool Runtime::NameLess::operator()(std::string_view a, std::string_view b) const {
  const size_t n = std::min(a.size(), b.size());
  for (size_t i = 0; i < n; ++i) {
    const int x = static_cast<unsigned char>(LowerAscii(a[i]));
    const int y = static_cast<unsigned char>(LowerAscii(b[i]));
    if (x != y) return x < y;
  }
  return a.size() < b.size();
}

namespace {

template <typename Def, typename Map, typename Slot>
Def* FindBySpelling(const Map& defs, Slot* slots, size_t count, std::string_view name) {
  Slot& slot = slots[std::hash<std::string_view>()(name) % count];
  if (slot.def != nullptr && slot.name == name) return slot.def;
  auto it = defs.find(name);
  if (it == defs.end()) return nullptr;
  slot.name.assign(name.data(), name.size());
  slot.def = it->second.get();
  return slot.def;
}

}  // namespace

ClassDef* Runtime::FindClass(std::string_view name) const {
  return FindBySpelling<ClassDef>(classes_, classSpellings_, kSpellingSlots, name);
}

ModuleDef* Runtime::FindModule(std::string_view name) const {
  return FindBySpelling<ModuleDef>(modules_, moduleSpellings_, kSpellingSlots, name);
}

void Runtime::ForgetSpellings() {
  for (auto& s : classSpellings_) s.def = nullptr;
  for (auto& s : moduleSpellings_) s.def = nullptr;
  for (auto& s : methodSlots_) s.cls = nullptr;
}

void Runtime::Problem(const std::string& text) { problems.push_back(text); }

REALobject Runtime::NewObject(ClassDef* cls) {
  if (cls == nullptr) return nullptr;
  // A class's instance data also serves the classes it inherits from, so it
  // is never smaller than theirs.
  size_t data = 0;
  for (const ClassDef* c = cls; c != nullptr; c = c->super) data = std::max(data, c->dataSize);
  void* payload = objects_.Allocate(kStateBytes + kREALObjectHeaderSize + data + 16);
  if (payload == nullptr) return nullptr;
  auto* mem = static_cast<unsigned char*>(payload) + kStateBytes;
  ObjState* raw = new (payload) ObjState();
  raw->rt = this;
  raw->cls = cls;
  raw->dataSize = data;
  raw->locks = 1;
  auto* head = reinterpret_cast<ObjectHead*>(mem);
  head->state = raw;
  head->magic = kObjectMagic;
  ++liveObjects;
  for (ClassDef* c = cls; c != nullptr; c = c->super) ++c->live;

  auto* obj = reinterpret_cast<REALobject>(mem);
  if (cls->builtin == Builtin::StandIn && cls->standIn.writesTag && data >= 3 * sizeof(RBWord)) {
    RBWord tag = 0x52424346;
    std::memcpy(mem + kREALObjectHeaderSize + 2 * sizeof(RBWord), &tag, sizeof tag);
  }
  if (cls->builtin == Builtin::MemoryBlock) {
    raw->Extra().bytes.reset(new unsigned char[1]());
  }
  RunConstructors(cls, obj);
  return obj;
}

// Constructors run from the base class down, as each class's part of the
// object is set up before the classes built on it.
void Runtime::RunConstructors(const ClassDef* cls, REALobject obj) {
  if (cls == nullptr) return;
  RunConstructors(cls->super, obj);
  if (cls->constructor != nullptr) cls->constructor(obj);
}

const Declaration* Runtime::ParsedDeclaration(const char* text) {
  DeclarationSlot& slot = declarationSlots_[(reinterpret_cast<uintptr_t>(text) >> 3) % kDeclarationSlots];
  if (slot.text == text && slot.copy == text) return slot.decl;
  auto it = parsedDeclarations_.find(text);
  if (it == parsedDeclarations_.end()) {
    auto decl = std::make_unique<Declaration>();
    if (!ParseDeclaration(text, decl.get())) decl.reset();
    it = parsedDeclarations_.emplace(text, std::move(decl)).first;
  }
  slot.text = text;
  slot.copy = text;
  slot.decl = it->second.get();
  return slot.decl;
}

REALobject Runtime::NewInstance(const char* className) {
  if (className == nullptr) return nullptr;
  ClassDef* cls = FindClass(className);
  if (cls == nullptr || cls->builtin == Builtin::Array || cls->builtin == Builtin::Variant ||
      SameName(cls->name, "object")) {
    return nullptr;
  }
  return NewObject(cls);
}

ObjState* Runtime::State(const void* obj, bool quiet) const {
  if (obj == nullptr) return nullptr;
  auto* st = static_cast<ObjState*>(objects_.PayloadOf(obj));
  if (st == nullptr) {
    if (!quiet) const_cast<Runtime*>(this)->Problem("not a host object: " + std::to_string(reinterpret_cast<uintptr_t>(obj)));
    return nullptr;
  }
  if (st->dead) {
    if (!quiet) const_cast<Runtime*>(this)->Problem("use of a released " + st->cls->name);
    return nullptr;
  }
  return st;
}

ObjState* Runtime::StateOfKind(const void* obj, Builtin kind) const {
  ObjState* st = State(obj, true);
  if (st == nullptr) return nullptr;
  for (const ClassDef* c = st->cls; c != nullptr; c = c->super) {
    if (c->builtin == kind) return st;
  }
  return nullptr;
}

bool Runtime::IsA(const ObjState* st, const ClassDef* cls) const {
  if (st == nullptr || cls == nullptr) return false;
  for (const ClassDef* c = st->cls; c != nullptr; c = c->super) {
    if (c == cls) return true;
  }
  return false;
}

void Runtime::LockObject(REALobject obj) {
  if (obj == nullptr || tearingDown_) return;
  auto* st = static_cast<ObjState*>(objects_.PayloadOf(obj));
  if (st == nullptr) {
    ++badReleases;
    Problem("lock of a pointer that is not a host object");
    return;
  }
  if (st->dead) {
    ++badReleases;
    Problem("lock of a released " + st->cls->name);
    return;
  }
  ++st->locks;
}

void Runtime::UnlockObject(REALobject obj) {
  if (obj == nullptr || tearingDown_) return;
  auto* st = static_cast<ObjState*>(objects_.PayloadOf(obj));
  if (st == nullptr) {
    ++badReleases;
    Problem("release of a pointer that is not a host object");
    return;
  }
  if (st->dead || st->locks <= 0) {
    ++badReleases;
    Problem("release of a " + st->cls->name + " that had no lock left");
    return;
  }
  if (--st->locks == 0 && !st->destroying) DestroyObject(st);
}

void Runtime::DestroyObject(ObjState* st) {
  st->destroying = true;
  auto* obj = reinterpret_cast<REALobject>(st->mem());
  // Destructors run from the most derived class up.
  for (const ClassDef* c = st->cls; c != nullptr; c = c->super) {
    if (c->destructor != nullptr) c->destructor(obj);
    if (c->builtin == Builtin::StandIn) StandInDestroy(st);
  }
  if (st->locks > 0) {
    // A destructor that keeps its object alive is a fault of the plug-in.
    Problem("destructor of " + st->cls->name + " left it locked");
  }
  if (st->extra) {
    st->extra->entries.clear();
    st->extra->message = Value();
  }
  st->boxed = Value();
  if (st->cls->builtin == Builtin::Array) {
    ArrayReleaseElements(this, st);
    --liveArrays;
  }
  // Memory blocks carry passwords; their bytes do not outlive them in freed memory.
  if (st->extra && st->extra->bytes) explicit_bzero(st->extra->bytes.get(), size_t(st->extra->size));
  // A released object keeps only what reports a late use of it: its class
  // and that it is dead. Its slot is reused later without being read again.
  st->extra.reset();
  st->dead = true;
  st->locks = 0;
  --liveObjects;
  for (ClassDef* c = st->cls; c != nullptr; c = c->super) --c->live;
  if (ObjState* oldest = releasedObjects_.Keep(st, false).record) objects_.Free(oldest);
}

}  // namespace plugin_host

// The host runtime's internal model: classes, modules, objects, strings and
// the state one Host keeps. Shared by the host's source files only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <deque>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

#include <string.h>

#include "host_plugin_interface.h"
#include "plugin_host/host.h"
#include "value_arena.h"

namespace plugin_host {

// ---- Declarations ------------------------------------------------------------

// The C type a declared type travels as.
enum class CType { Void, Word, I8, U8, I16, U16, I32, U32, I64, U64, Float, Double, Bool, Color, Ptr };
// How a host program's Value maps onto it.
enum class Category { None, Integer, Boolean, Real, Color, String, Object };

struct TypeRef {
  std::string name;  // as written, without "()"
  bool array = false;
  CType ctype = CType::Void;
  Category category = Category::None;
};
TypeRef ResolveType(const std::string& name, bool array);

struct Param {
  std::string name;
  TypeRef type;
  bool byRef = false;
  bool assigns = false;
};

struct Declaration {
  std::string name;
  std::vector<Param> params;
  TypeRef result;  // ctype Void when there is none
};
// Parses "Name(a as T, byref b as U, Assigns c as V) as W", "Name as T" and
// "Name". False for text that is none of these.
bool ParseDeclaration(const std::string& text, Declaration* out);
// Same name (any case), same parameter types, passing and result; parameter
// names do not count.
bool SameSignature(const Declaration& a, const Declaration& b);

// A declaration text the host knows, parsed once on first use.
struct KnownMethod {
  const char* text;
  void* fn;
};
// The function of the first known method whose signature decl has, or null.
// `parsed` caches the parsed texts: one entry per known method.
void* MatchKnownMethod(const KnownMethod* known, size_t count, std::vector<Declaration>* parsed,
                       const Declaration& decl);

// ---- Classes and modules -------------------------------------------------------

enum class Builtin { None, Dictionary, Date, MemoryBlock, FolderItem, Exception, Variant, Array, StandIn };

struct MethodDef {
  std::string declaration;
  Declaration parsed;
  bool parsedOk = false;
  void* function = nullptr;
  void* setter = nullptr;
  RBWord flags = 0;
};

struct PropDef {
  std::string name;
  TypeRef type;
  RBWord flags = 0;
  void* getter = nullptr;  // null: write-only; stored when storedGet
  void* setter = nullptr;  // null: read-only
  bool storedGet = false;
  bool storedSet = false;
  RBWord param = 0;
};

struct ClassDef {
  std::string name;
  size_t live = 0;  // live objects of this class or of classes built on it
  std::string superName;
  ClassDef* super = nullptr;
  Builtin builtin = Builtin::None;
  bool fromPlugin = false;
  size_t dataSize = 0;
  void (*constructor)(REALobject) = nullptr;
  void (*destructor)(REALobject) = nullptr;
  std::vector<MethodDef> methods;
  std::vector<PropDef> props;
  DefinitionInfo info;
  StandInClass standIn;
};

struct ModuleDef {
  std::vector<MethodDef> methods;
  std::vector<PropDef> props;
  DefinitionInfo info;
};

// ---- Objects and strings -------------------------------------------------------

constexpr RBWord kObjectMagic = 0x4F424A31;  // word 1 of every host object
// Released values kept as tombstones before their slots are reused.
constexpr size_t kReleasedKept = 4096;
constexpr uint32_t kStringMagic = 0x53545231;

struct ObjState;

// The first 24 bytes of every object; instance data follows.
struct ObjectHead {
  ObjState* state;
  RBWord magic;
  void* elementStorage;
};
static_assert(sizeof(ObjectHead) <= kREALObjectHeaderSize, "object header");

// A dictionary entry keeps its key's hash so that finding a key compares
// hashes first: a plug-in fills dictionaries one entry at a time, and each
// full comparison of two variants asks the runtime about both.
struct DictEntry {
  Value key;
  Value value;
  size_t hash = 0;
};

// What only some kinds of object need; an object gets it on first use, so
// that the many variants a conversion makes stay a few cache lines each.
struct ObjExtra {
  // Dictionary: entries in insertion order.
  std::vector<DictEntry> entries;
  // Date, as GMT fields.
  DateFields date;
  // MemoryBlock.
  std::unique_ptr<unsigned char[]> bytes;
  RBInteger size = 0;
  // FolderItem.
  std::string path;
  // Exceptions.
  Value message;
  RBInteger errorNumber = 0;
  // Variant boxes of the type codes held as text only, and of currency.
  std::string text;
  int64_t currency = 0;
  // Arrays.
  int elemType = 0;
  size_t elemSize = 0;
  RBInteger count = 0;
  std::vector<unsigned char> elems;
};

struct ObjState {
  Runtime* rt = nullptr;
  ClassDef* cls = nullptr;
  size_t dataSize = 0;  // bytes of instance data after the header
  RBInteger locks = 0;
  // Variant boxes: the type code, and the scalar or string.
  int32_t varType = 0;
  bool dead = false;
  bool destroying = false;
  Value boxed;
  mutable std::unique_ptr<ObjExtra> extra;

  ObjExtra& Extra() const {
    if (!extra) extra = std::make_unique<ObjExtra>();
    return *extra;
  }
  // The object as plug-ins see it, which follows its state in their slot.
  unsigned char* mem() const;
};

// An object's slot holds its state and then the memory plug-ins see.
constexpr size_t kStateBytes = (sizeof(ObjState) + 15) / 16 * 16;
inline unsigned char* ObjState::mem() const {
  return const_cast<unsigned char*>(reinterpret_cast<const unsigned char*>(this)) + kStateBytes;
}

// A string's slot holds its record and, unless the text is long, its buffer.
// Its runtime is its arena's owner (ValueArena::OwnerOf): short texts then
// share a cache line with their record.
struct StrRec {
  REALstringRecord rec;  // must stay first: plug-ins read these words
  uint32_t magic;
  bool dead;
};
// Texts up to this many bytes share their record's slot.
constexpr size_t kInlineStringBytes = 1024;

// The last kReleasedKept released records of one kind, in a ring. An entry
// says whether its record still holds memory of its own, so that the many
// that do not are given back without being read again.
template <typename T>
class Tombstones {
 public:
  struct Entry {
    T* record = nullptr;
    bool holdsMemory = false;
  };
  // Keeps r; gives back the entry it pushes out (no record until the ring
  // is full).
  Entry Keep(T* r, bool holdsMemory) {
    Entry oldest = ring_[next_];
    ring_[next_] = Entry{r, holdsMemory};
    next_ = (next_ + 1) % kReleasedKept;
    return oldest;
  }

 private:
  Entry ring_[kReleasedKept];
  size_t next_ = 0;
};

// ---- The runtime ---------------------------------------------------------------

class Runtime {
 public:
  explicit Runtime(HostOptions options);
  ~Runtime();

  static Runtime* Current();
  static void SetCurrent(Runtime* rt);

  const HostOptions& options() const { return options_; }

  // Loading and resolving (loader.cpp)
  bool Load(const std::string& path, std::string* error);
  void* Resolve(const char* name);
  int LookupCount(const std::string& name) const;
  int announcedLayout = -1;

  // Registration (registration.cpp)
  void RegisterModule(const RBWord* record);
  void RegisterClass(RBWord* record);
  ClassDef* FindClass(std::string_view name) const;  // any case
  ClassDef* BuiltinClass(Builtin kind) const { return builtinClasses_[static_cast<int>(kind)]; }
  ModuleDef* FindModule(std::string_view name) const;
  // Names compare in any case, without making lower-case copies: plug-ins
  // ask for classes by name on every conversion.
  struct NameLess {
    using is_transparent = void;
    bool operator()(std::string_view a, std::string_view b) const;
  };

  // Objects (objects.cpp)
  REALobject NewObject(ClassDef* cls);  // one lock, constructors run
  REALobject NewInstance(const char* className);
  ObjState* State(const void* obj, bool quiet = false) const;  // null unless a live object
  ObjState* StateOfKind(const void* obj, Builtin kind) const;
  void LockObject(REALobject obj);
  void UnlockObject(REALobject obj);
  bool IsA(const ObjState* st, const ClassDef* cls) const;
  void Problem(const std::string& text);

  // Strings (strings.cpp)
  REALstring NewString(const void* bytes, size_t length, uint32_t encoding);
  StrRec* Str(const void* s, bool quiet = false) const;
  void LockString(REALstring s);
  void UnlockString(REALstring s);

  // Exceptions (exceptions.cpp)
  void BeginCall() { ++callSerial_; }
  void Raise(REALobject exc);
  void ClearPending();
  std::optional<ExceptionInfo> TakePending();

  // Accounting
  size_t liveObjects = 0, liveStrings = 0, liveArrays = 0, badReleases = 0;
  // The data of filled REALstringData records not yet disposed.
  std::unordered_set<const void*> stringData;
  std::vector<std::string> problems;
  // Declarations plug-ins ask methods by, parsed once per text.
  const Declaration* ParsedDeclaration(const char* text);
  // The method of an object's class (or a class it is built on) with decl's
  // signature, or null (method_loading.cpp).
  void* ObjectMethod(const ObjState* st, const Declaration* decl);

 private:
  friend class Host;
  void AddBuiltinClasses();
  void DestroyObject(ObjState* st);
  void DestroyString(StrRec* s);
  void RunConstructors(const ClassDef* cls, REALobject obj);

  HostOptions options_;
  Runtime* previous_ = nullptr;
  std::unordered_map<std::string, int> lookups_;
  std::map<std::string, std::unique_ptr<ClassDef>, NameLess> classes_;
  std::map<std::string, std::unique_ptr<ModuleDef>, NameLess> modules_;
  // Plug-ins ask for the same few names, spelled the same way, several times
  // a call: a name is looked up by its exact spelling first, in a small
  // direct-mapped table that registration empties.
  template <typename Def>
  struct SpellingSlot {
    std::string name;
    Def* def = nullptr;
  };
  static constexpr size_t kSpellingSlots = 64;
  mutable SpellingSlot<ClassDef> classSpellings_[kSpellingSlots];
  mutable SpellingSlot<ModuleDef> moduleSpellings_[kSpellingSlots];
  // Plug-ins load the same methods by the same literal texts for every
  // object they fill: the last parse of a text and the last method found
  // for a class and a declaration are kept in small direct-mapped tables
  // (registration empties the second).
  struct DeclarationSlot {
    const char* text = nullptr;  // null: empty
    std::string copy;            // the text as it was: a plug-in may reuse a buffer
    const Declaration* decl = nullptr;
  };
  struct MethodSlot {
    const ClassDef* cls = nullptr;  // null: empty
    const Declaration* decl = nullptr;
    void* fn = nullptr;
  };
  static constexpr size_t kDeclarationSlots = 32, kMethodSlots = 64;
  DeclarationSlot declarationSlots_[kDeclarationSlots];
  MethodSlot methodSlots_[kMethodSlots];
  void ForgetSpellings();
  ValueArena objects_{kStateBytes, this};  // live and released
  std::unordered_map<std::string, std::unique_ptr<Declaration>> parsedDeclarations_;  // null: unreadable
  // Released objects and strings, oldest first, kept as tombstones until
  // kReleasedKept newer ones have followed them.
  Tombstones<ObjState> releasedObjects_;
  Tombstones<StrRec> releasedStrings_;
  void Reclaim(Tombstones<StrRec>::Entry released);
  ClassDef* builtinClasses_[static_cast<int>(Builtin::StandIn) + 1] = {};
  ValueArena strings_{0, this};
  REALobject pending_ = nullptr;
  bool tearingDown_ = false;
  uint64_t callSerial_ = 0;     // counts calls into plug-in methods
  uint64_t pendingSerial_ = 0;  // the call that raised pending_
};

// A new lock on a value just found live by State or Str, without finding
// it again.
inline Value HoldObject(ObjState* st) {
  ++st->locks;
  return Value::AdoptObject(reinterpret_cast<REALobject>(st->mem()));
}
inline Value HoldString(StrRec* r) {
  ++r->rec.refCount;
  return Value::AdoptString(reinterpret_cast<REALstring>(r));
}

// Makes a runtime the active one for a scope.
class Activate {
 public:
  explicit Activate(Runtime* rt) : prev_(Runtime::Current()) { Runtime::SetCurrent(rt); }
  ~Activate() { Runtime::SetCurrent(prev_); }
  Activate(const Activate&) = delete;
  Activate& operator=(const Activate&) = delete;

 private:
  Runtime* prev_;
};

// Names fold case in ASCII only, as the C locale does; a byte outside ASCII
// matches only itself.
inline char LowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c; }
std::string Lower(const std::string& s);
// Equal in any case, without lower-case copies (names are compared on every
// call a plug-in makes by name).
inline bool SameName(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (LowerAscii(a[i]) != LowerAscii(b[i])) return false;
  }
  return true;
}

// Wipes a string's whole buffer when it goes out of scope: copies of a
// password's text do not outlive it in freed memory.
template <typename S>
class Wiped {
 public:
  explicit Wiped(S* s) : s_(s) {}
  ~Wiped() { explicit_bzero(&(*s_)[0], s_->capacity() * sizeof((*s_)[0])); }
  Wiped(const Wiped&) = delete;
  Wiped& operator=(const Wiped&) = delete;

 private:
  S* s_;
};

// ---- Text (encoding.cpp) ---------------------------------------------------------
// Decodes bytes of an encoding into code points; false when they are not
// valid in it (the unknown encoding decodes only when all bytes are ASCII).
bool DecodeText(const unsigned char* bytes, size_t n, uint32_t encoding, std::u32string* out);
// Encodes code points; false when one has no form in the encoding.
bool EncodeText(const std::u32string& text, uint32_t encoding, std::string* out);
bool ConvertBytes(const std::string& in, uint32_t from, uint32_t to, std::string* out);

// ---- Host-side helpers used across files ------------------------------------------
std::string StringBytesOf(REALstring s);
// Properties by name of any object (properties.cpp); false when there is no
// such property or the value does not fit it.
bool GetPropertyValue(Runtime* rt, REALobject obj, const std::string& name, Value* out,
                      std::string* error);
bool SetPropertyValue(Runtime* rt, REALobject obj, const std::string& name, const Value& v,
                      std::string* error);
bool GetModulePropertyValue(ModuleDef* mod, const std::string& name, Value* out,
                            std::string* error);
bool SetModulePropertyValue(ModuleDef* mod, const std::string& name, const Value& v,
                            std::string* error);

// Calling through libffi (ffi_call.cpp). args point at the values; the result
// lands in a buffer of at least 16 bytes.
bool FfiCall(void* fn, CType ret, const std::vector<CType>& argTypes, void** args, void* result);
// Converts a Value into the C form of a type (in a 16-byte buffer); false
// when the kinds do not match.
bool ToC(const Value& v, const TypeRef& type, void* buf, std::string* error);
// Reads a C result of a type into a Value; handles carry their lock over.
Value FromC(const TypeRef& type, const void* buf);
// Converts a Value for the numeric readers of the host functions.
bool ValueToInt64(const Value& v, int64_t* out);
// A real number as a whole one: the fraction dropped, a value beyond the
// range held at its nearest end, and NaN as 0.
int64_t RealToInt64(double d);
bool ValueToDouble(const Value& v, double* out);

// ---- Built-ins (variants.cpp, dictionary.cpp, arrays.cpp, folder_item.cpp) -----------
REALobject NewVariant(Runtime* rt, int32_t code, Value boxed);
int32_t VarTypeOf(Runtime* rt, REALobject v);
Value VariantScalar(Runtime* rt, REALobject v);  // the boxed value (objects: themselves)
REALstring VariantText(Runtime* rt, REALobject v);  // owned, or null
bool VariantsEqual(Runtime* rt, const Value& a, const Value& b);
bool BuiltinProperty(Runtime* rt, ObjState* st, const std::string& name, Value* out);
bool SetBuiltinProperty(Runtime* rt, ObjState* st, const std::string& name, const Value& v);
// One pair per built-in class; name is lower-case (Date's fields are found in any case).
bool DateProperty(ObjState* st, const std::string& name, Value* out);
bool SetDateProperty(ObjState* st, std::string_view name, const Value& v);
bool ExceptionProperty(ObjState* st, const std::string& name, Value* out);
bool SetExceptionProperty(ObjState* st, const std::string& name, const Value& v);
bool MemoryBlockProperty(ObjState* st, const std::string& name, Value* out);
bool DictionaryProperty(ObjState* st, const std::string& name, Value* out);
bool VariantProperty(Runtime* rt, ObjState* st, const std::string& name, Value* out);
bool FolderItemProperty(Runtime* rt, ObjState* st, const std::string& name, Value* out);
void* BuiltinObjectMethod(ObjState* st, const Declaration& decl);
void* GlobalMethod(const Declaration& decl);

REALarray NewArray(Runtime* rt, int elementType, RBInteger upperBound);
bool ArraySetFromValue(Runtime* rt, ObjState* arr, RBInteger index, const Value& v);
Value ArrayGetValue(Runtime* rt, ObjState* arr, RBInteger index);
void ArrayReleaseElements(Runtime* rt, ObjState* arr);
int ArrayVariantCode(int elementType);

void DictionarySetEntry(Runtime* rt, ObjState* d, Value key, Value value);
// The entry whose key equals key, or null.
const DictEntry* DictionaryFind(Runtime* rt, ObjState* d, const Value& key);
// Equal variants hash alike (VariantsEqual's rules).
size_t VariantHash(Runtime* rt, const Value& v);
void StandInDestroy(ObjState* st);

REALobject NewFolderItem(Runtime* rt, const std::string& path);
REALobject NewMemoryBlock(Runtime* rt, const void* bytes, size_t n);
void* LenBMethod();     // "LenB( s as string ) as integer"
void* VarTypeMethod();  // "VarType(value As Variant) As Int32"
void* DictionaryMethod(const Declaration& decl);
void* FolderItemMethod(const Declaration& decl);

// The host functions the resolver serves, by name; each topic's file adds
// its own (host_functions.cpp gathers them).
using FunctionTable = std::unordered_map<std::string, void*>;
void* HostFunction(const std::string& name);
void AddRegistrationFunctions(FunctionTable* t);
void AddObjectFunctions(FunctionTable* t);
void AddPropertyFunctions(FunctionTable* t);
void AddStringFunctions(FunctionTable* t);
void AddMemoryBlockFunctions(FunctionTable* t);
void AddArrayFunctions(FunctionTable* t);
void AddVariantFunctions(FunctionTable* t);
void AddExceptionFunctions(FunctionTable* t);
void AddMethodLoadingFunctions(FunctionTable* t);
void AddPlatformFunctions(FunctionTable* t);  // folder items, CoreFoundation strings

}  // namespace plugin_host

// A small plug-in of our own that the host runtime's tests load: one module
// and three classes, registered in the layout the host's version calls for
// (9, 10, 11 or 12), whose methods each drive a few host functions so that
// every host function is exercised through a real plug-in.
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>

#include "host_plugin_interface.h"

#ifdef PROBE_WITH_COREFOUNDATION
#include <CoreFoundation/CoreFoundation.h>
#endif

namespace {

REALResolver gResolver = nullptr;
double gVersion = 0.0;
int gLayout = 12;
RBInteger gConstructed = 0, gDestructed = 0, gDirectReads = 0, gCounter = 0;
REALobject gHeld = nullptr;

// Host functions are looked up on first use; a name the host does not offer
// is asked for again next time.
void* Bind(const char* name) {
  static std::map<std::string, void*> cache;
  void*& slot = cache[name];
  if (slot == nullptr && gResolver != nullptr) slot = gResolver(name);
  return slot;
}
#define HOST(T, name) reinterpret_cast<T>(Bind(name))

void Unlock(REALobject o) {
  if (auto f = HOST(REALUnlockObject_fn, "REALUnlockObject")) f(o);
}
void UnlockStr(REALstring s) {
  if (auto f = HOST(REALUnlockString_fn, "REALUnlockString")) f(s);
}

// The bytes of a string in UTF-8, or empty.
std::string Utf8(REALstring s) {
  auto get = HOST(PluginGetStringData_fn, "PluginGetStringData");
  auto dispose = HOST(PluginDisposeStringData_fn, "PluginDisposeStringData");
  REALstringData d;
  if (s == nullptr || get == nullptr || dispose == nullptr || !get(s, kREALEncodingUTF8, &d)) return {};
  std::string r(static_cast<const char*>(d.data), static_cast<size_t>(d.length));
  dispose(&d);
  return r;
}

REALstring MakeString(const std::string& text) {
  auto build = HOST(REALBuildString_fn, "REALBuildString");
  auto tag = HOST(REALSetStringEncoding_fn, "REALSetStringEncoding");
  if (build == nullptr) return nullptr;
  REALstring s = build(text.data(), static_cast<RBInteger>(text.size()));
  if (s != nullptr && tag != nullptr) tag(s, kREALEncodingUTF8);
  return s;
}

REALmemoryBlock MakeBlock(const void* bytes, size_t n) {
  auto make = HOST(newMemoryBlock_fn, "newMemoryBlock");
  auto ptr = HOST(memoryBlockGetPtr_fn, "memoryBlockGetPtr");
  REALmemoryBlock b = make ? make(static_cast<RBInteger>(n)) : nullptr;
  if (b != nullptr && ptr != nullptr && n > 0) std::memcpy(ptr(b), bytes, n);
  return b;
}

void Raise(const char* cls, const std::string& message, RBInteger number) {
  auto make = HOST(PluginNewInstance_fn, "PluginNewInstance");
  if (make == nullptr) return;
  REALobject e = make(cls);
  if (e == nullptr) e = make("RuntimeException");
  if (e == nullptr) return;
  REALstring m = MakeString(message);
  if (auto set = HOST(REALSetPropValueString_fn, "REALSetPropValueString")) set(e, "Message", m);
  if (auto set = HOST(REALSetPropValueInt_fn, "REALSetPropValueInt")) set(e, "ErrorNumber", static_cast<int32_t>(number));
  if (auto raise = HOST(RuntimeRaiseException_fn, "RuntimeRaiseException")) raise(e);
  Unlock(e);
  UnlockStr(m);
}

// Direct element storage: taken on hosts up to 2013.9 that expose it.
void** Storage(REALarray a) {
  if (a == nullptr || gVersion > 2013.9) return nullptr;
  return static_cast<void**>(reinterpret_cast<REALobjectHeader*>(a)->elementStorage);
}

RBInteger UBound(REALarray a) {
  auto ub = HOST(RuntimeUBound_fn, "RuntimeUBound");
  return ub ? ub(a) : -1;
}

// ---- Shared methods -------------------------------------------------------------

REALstring Echo(REALstring s) {
  if (auto lock = HOST(REALLockString_fn, "REALLockString")) lock(s);
  return s;
}

REALstring BuildBytes(REALmemoryBlock data, RBInteger encoding) {
  auto ptr = HOST(memoryBlockGetPtr_fn, "memoryBlockGetPtr");
  auto size = HOST(memoryBlockGetSize_fn, "memoryBlockGetSize");
  auto build = HOST(REALBuildString_fn, "REALBuildString");
  if (data == nullptr || !ptr || !size || !build) return nullptr;
  REALstring s = build(ptr(data), size(data));
  if (encoding >= 0) {
    if (auto tag = HOST(REALSetStringEncoding_fn, "REALSetStringEncoding")) tag(s, static_cast<uint32_t>(encoding));
  }
  return s;
}

// The string's bytes in an encoding, with the four terminating zero bytes.
RBBoolean StringData(REALstring s, RBInteger encoding, REALmemoryBlock* out) {
  Unlock(*out);
  *out = nullptr;
  auto get = HOST(PluginGetStringData_fn, "PluginGetStringData");
  auto dispose = HOST(PluginDisposeStringData_fn, "PluginDisposeStringData");
  REALstringData d;
  if (!get || !dispose || !get(s, static_cast<uint32_t>(encoding), &d)) return 0;
  bool tagged = d.encoding == static_cast<RBWord>(static_cast<uint32_t>(encoding));
  *out = MakeBlock(d.data, static_cast<size_t>(d.length) + 4);
  dispose(&d);
  // True when the record carried the encoding asked for and disposing it
  // cleared it.
  return tagged && d.data == nullptr ? 1 : 0;
}

RBInteger Encoding(REALstring s) {
  auto get = HOST(REALGetStringEncoding_fn, "REALGetStringEncoding");
  return get ? static_cast<RBInteger>(get(s)) : -1;
}

void Retag(REALstring s, RBInteger encoding) {
  if (auto set = HOST(REALSetStringEncoding_fn, "REALSetStringEncoding")) set(s, static_cast<uint32_t>(encoding));
}

REALstring Convert(REALstring s, RBInteger encoding) {
  auto conv = HOST(REALConvertString_fn, "REALConvertString");
  return conv ? conv(s, static_cast<uint32_t>(encoding)) : nullptr;
}

// Reads the string record directly, as plug-ins do on older hosts.
REALmemoryBlock RecordBytes(REALstring s) {
  if (s == nullptr) return nullptr;
  auto lock = HOST(REALLockString_fn, "REALLockString");
  if (lock) lock(s);
  auto* rec = reinterpret_cast<const REALstringRecord*>(s);
  REALmemoryBlock b = MakeBlock(rec->buffer + 1, rec->length);
  UnlockStr(s);
  return b;
}

// StringGetCString and the loaded "LenB": the text and its terminator.
REALmemoryBlock CString(REALstring s) {
  auto cstr = HOST(StringGetCString_fn, "StringGetCString");
  auto load = HOST(REALLoadGlobalMethod_fn, "REALLoadGlobalMethod");
  auto lenb = load ? reinterpret_cast<LenB_method>(load(nullptr, "LenB( s as string ) as integer")) : nullptr;
  if (!cstr || !lenb || s == nullptr) return nullptr;
  return MakeBlock(cstr(s), static_cast<size_t>(lenb(s)) + 1);
}

RBInteger CFLength(REALstring s) {
#ifdef PROBE_WITH_COREFOUNDATION
  auto get = HOST(REALGetStringCFString_fn, "REALGetStringCFString");
  if (get == nullptr) return -2;
  CFStringRef cf = get(s, 0);
  if (cf == nullptr) return -1;
  RBInteger n = CFStringGetLength(cf);
  CFRelease(cf);
  return n;
#else
  (void)s;
  return -3;
#endif
}

REALmemoryBlock Block(RBInteger size, RBInteger fill) {
  auto make = HOST(newMemoryBlock_fn, "newMemoryBlock");
  auto ptr = HOST(memoryBlockGetPtr_fn, "memoryBlockGetPtr");
  REALmemoryBlock b = make ? make(size) : nullptr;
  if (b == nullptr) {
    Raise("OutOfMemoryException", "no block of " + std::to_string(size) + " bytes", 0);
    return nullptr;
  }
  if (ptr && size > 0) std::memset(ptr(b), static_cast<int>(fill), static_cast<size_t>(size));
  return b;
}

RBInteger BlockSize(REALmemoryBlock b) {
  auto size = HOST(memoryBlockGetSize_fn, "memoryBlockGetSize");
  return size ? size(b) : -1;
}

REALobject Make(REALstring className) {
  auto make = HOST(PluginNewInstance_fn, "PluginNewInstance");
  return make ? make(Utf8(className).c_str()) : nullptr;
}

RBBoolean IsA(REALobject o, REALstring className) {
  auto type = HOST(pluginObjectType_fn, "pluginObjectType");
  auto isa = HOST(RuntimeObjectIsa_fn, "RuntimeObjectIsa");
  if (!type || !isa) return 0;
  REALclassRef c = type(Utf8(className).c_str());
  return c != nullptr && isa(o, c) ? 1 : 0;
}

void Hold(REALobject o) {
  if (auto lock = HOST(REALLockObject_fn, "REALLockObject")) lock(o);
  Unlock(gHeld);
  gHeld = o;
}

void ReleaseHeld() {
  Unlock(gHeld);
  gHeld = nullptr;
}

// Faults on purpose, for the accounting to catch.
void ReleaseTwice(REALobject o) {
  Unlock(o);
  Unlock(o);
}
void Leak(REALstring className) { Make(className); }
void LeakString(REALstring text) { MakeString(Utf8(text)); }
// Fills a record itself, as plug-ins do on hosts without
// "PluginGetStringData", and hands it to the host to dispose.
void DisposeOwnData() {
  REALstringData d = {};
  d.data = std::calloc(1, 8);
  d.length = 4;
  if (auto dispose = HOST(PluginDisposeStringData_fn, "PluginDisposeStringData")) dispose(&d);
}
void LeakStringData(REALstring text) {
  REALstringData d;
  if (auto get = HOST(PluginGetStringData_fn, "PluginGetStringData")) get(text, kREALEncodingUTF8, &d);
}

void RaiseNamed(REALstring className, REALstring message, RBInteger number) {
  Raise(Utf8(className).c_str(), Utf8(message), number);
}

void RaiseTwice() {
  Raise("NilObjectException", "first", 1);
  Raise("OutOfMemoryException", "second", 2);
}

int64_t PropInt64(REALobject o, REALstring name, RBBoolean* ok) {
  int64_t v = 0;
  auto get = HOST(REALGetPropValueInt64_fn, "REALGetPropValueInt64");
  *ok = get ? get(o, Utf8(name).c_str(), &v) : 0;
  return v;
}
int32_t PropInt32(REALobject o, REALstring name, RBBoolean* ok) {
  int32_t v = 0;
  auto get = HOST(REALGetPropValueInt_fn, "REALGetPropValueInt");
  *ok = get ? get(o, Utf8(name).c_str(), &v) : 0;
  return v;
}
double PropDouble(REALobject o, REALstring name, RBBoolean* ok) {
  double v = 0;
  auto get = HOST(REALGetPropValueDouble_fn, "REALGetPropValueDouble");
  *ok = get ? get(o, Utf8(name).c_str(), &v) : 0;
  return v;
}
float PropSingle(REALobject o, REALstring name, RBBoolean* ok) {
  float v = 0;
  auto get = HOST(REALGetPropValueSingle_fn, "REALGetPropValueSingle");
  *ok = get ? get(o, Utf8(name).c_str(), &v) : 0;
  return v;
}
REALstring PropString(REALobject o, REALstring name, RBBoolean* ok) {
  REALstring v = nullptr;
  auto get = HOST(REALGetPropValueString_fn, "REALGetPropValueString");
  *ok = get ? get(o, Utf8(name).c_str(), &v) : 0;
  return v;
}

REALobject NewVariant(RBInteger kind, int64_t i, double d, REALstring s) {
  switch (kind) {
    case 0: if (auto f = HOST(Int32ToVariant_fn, "Int32ToVariant")) return f(static_cast<int32_t>(i)); break;
    case 1: if (auto f = HOST(Int64ToVariant_fn, "Int64ToVariant")) return f(i); break;
    case 2: if (auto f = HOST(DoubleToVariant_fn, "DoubleToVariant")) return f(d); break;
    case 3: if (auto f = HOST(BooleanToVariant_fn, "BooleanToVariant")) return f(i != 0); break;
    case 4: if (auto f = HOST(StringToVariant_fn, "StringToVariant")) return f(s); break;
    default: break;
  }
  return nullptr;
}

int32_t VarTypeOf(REALobject v) {
  auto load = HOST(REALLoadGlobalMethod_fn, "REALLoadGlobalMethod");
  auto vt = load ? reinterpret_cast<VarType_method>(load(nullptr, "VarType(value As Variant) As Int32")) : nullptr;
  return vt ? vt(v) : -1;
}

REALstring VariantText(REALobject v) {
  auto f = HOST(VariantToString_fn, "VariantToString");
  return f ? f(v) : nullptr;
}
int32_t VariantInt32(REALobject v) {
  auto f = HOST(VariantToInt32_fn, "VariantToInt32");
  return f ? f(v) : -1;
}
int64_t VariantInt64(REALobject v) {
  auto f = HOST(VariantToInt64_fn, "VariantToInt64");
  return f ? f(v) : -1;
}
float VariantSingle(REALobject v) {
  auto f = HOST(VariantToSingle_fn, "VariantToSingle");
  return f ? f(v) : -1.0f;
}
double VariantDouble(REALobject v) {
  auto f = HOST(VariantToDouble_fn, "VariantToDouble");
  return f ? f(v) : -1.0;
}

void* DictMethod(REALobject d, const char* decl) {
  auto load = HOST(REALLoadObjectMethod_fn, "REALLoadObjectMethod");
  return load ? load(d, decl) : nullptr;
}
void DictPut(REALobject d, REALobject key, REALobject value) {
  auto set = reinterpret_cast<DictionaryValueSetter_method>(
      DictMethod(d, "Value(key As Variant, Assigns _value As Variant)"));
  if (set) set(d, key, value);
}
REALobject DictGet(REALobject d, REALobject key) {
  auto get = reinterpret_cast<DictionaryValueGetter_method>(DictMethod(d, "Value(key As Variant) As Variant"));
  return get ? get(d, key) : nullptr;
}
REALobject DictKey(REALobject d, RBInteger i) {
  auto key = reinterpret_cast<DictionaryKey_method>(DictMethod(d, "Key(index As Integer) As Variant"));
  return key ? key(d, i) : nullptr;
}
RBInteger DictCount(REALobject d) {
  int32_t n = -1;
  auto get = HOST(REALGetPropValueInt_fn, "REALGetPropValueInt");
  if (get) get(d, "Count", &n);
  return n;
}

REALobject MakeDate(RBInteger y, RBInteger mo, RBInteger d, RBInteger h, RBInteger mi, RBInteger s) {
  auto make = HOST(PluginNewInstance_fn, "PluginNewInstance");
  auto set = HOST(REALSetPropValueInt_fn, "REALSetPropValueInt");
  REALobject o = make ? make("Date") : nullptr;
  if (o == nullptr || set == nullptr) return o;
  const char* names[] = {"Year", "Month", "Day", "Hour", "Minute", "Second"};
  RBInteger values[] = {y, mo, d, h, mi, s};
  for (int k = 0; k < 6; ++k) set(o, names[k], static_cast<int32_t>(values[k]));
  return o;
}

REALarray MakeStrings(RBInteger count, REALstring s) {
  auto create = HOST(RuntimeArrayCreateSingleDimBoundedArray_fn, "RuntimeArrayCreateSingleDimBoundedArray");
  auto getInsert = HOST(RuntimeArrayDirectGetInsertProc_fn, "RuntimeArrayDirectGetInsertProc");
  REALarray a = create ? create(kREALArrayString, -1) : nullptr;
  if (a == nullptr || getInsert == nullptr) return a;
  using InsertString = void (*)(REALarray, RBInteger, REALstring);
  auto insert = reinterpret_cast<InsertString>(getInsert(a));
  for (RBInteger i = 0; i < count && insert; ++i) insert(a, i, s);
  return a;
}

REALarray MakeObjects(RBInteger count) {
  auto create = HOST(RuntimeArrayCreateSingleDimBoundedArray_fn, "RuntimeArrayCreateSingleDimBoundedArray");
  return create ? create(kREALArrayObject, count - 1) : nullptr;
}

template <typename Proc>
Proc GetProc(REALarray a) {
  auto f = HOST(RuntimeArrayDirectGetGetProc_fn, "RuntimeArrayDirectGetGetProc");
  return f && a ? reinterpret_cast<Proc>(f(a)) : nullptr;
}

int64_t SumInt32(REALarray a) {
  int64_t sum = 0;
  auto get = GetProc<REALArrayGetInt32Proc>(a);
  for (RBInteger i = 0; get && i <= UBound(a); ++i) sum += get(a, i);
  return sum;
}
int64_t SumInt64(REALarray a) {
  int64_t sum = 0;
  auto get = GetProc<REALArrayGetInt64Proc>(a);
  for (RBInteger i = 0; get && i <= UBound(a); ++i) sum += get(a, i);
  return sum;
}
double SumDouble(REALarray a) {
  double sum = 0;
  auto get = GetProc<REALArrayGetDoubleProc>(a);
  for (RBInteger i = 0; get && i <= UBound(a); ++i) sum += get(a, i);
  return sum;
}
double SumSingle(REALarray a) {
  double sum = 0;
  auto get = GetProc<REALArrayGetSingleProc>(a);
  for (RBInteger i = 0; get && i <= UBound(a); ++i) sum += get(a, i);
  return sum;
}
RBInteger CountTrue(REALarray a) {
  RBInteger n = 0;
  if (const auto* bytes = reinterpret_cast<const unsigned char*>(Storage(a))) {
    ++gDirectReads;
    for (RBInteger i = 0; i <= UBound(a); ++i) n += bytes[i] != 0;
    return n;
  }
  auto get = GetProc<REALArrayGetBooleanProc>(a);
  for (RBInteger i = 0; get && i <= UBound(a); ++i) n += (get(a, i) & 0xFF) != 0;
  return n;
}

REALstring JoinStrings(REALarray a) {
  std::string all;
  void** direct = Storage(a);
  if (direct) ++gDirectReads;
  auto lock = HOST(REALLockString_fn, "REALLockString");
  auto read = HOST(RuntimeDirectReadStringArray_fn, "RuntimeDirectReadStringArray");
  for (RBInteger i = 0; i <= UBound(a); ++i) {
    REALstring s = nullptr;
    if (direct) {
      s = static_cast<REALstring>(direct[i]);
      if (s && lock) lock(s);
    } else if (read) {
      s = read(a, i);
    }
    all += Utf8(s) + "|";
    UnlockStr(s);
  }
  return MakeString(all);
}

REALobject ObjectAt(REALarray a, RBInteger i) {
  if (void** direct = Storage(a)) {
    ++gDirectReads;
    auto o = static_cast<REALobject>(direct[i]);
    if (o) {
      if (auto lock = HOST(REALLockObject_fn, "REALLockObject")) lock(o);
    }
    return o;
  }
  auto get = GetProc<REALArrayGetObjectProc>(a);
  return get ? get(a, i) : nullptr;
}

void PutObject(REALarray a, RBInteger i, REALobject v) {
  if (void** direct = Storage(a)) {
    ++gDirectReads;
    if (v) {
      if (auto lock = HOST(REALLockObject_fn, "REALLockObject")) lock(v);
    }
    Unlock(static_cast<REALobject>(direct[i]));
    direct[i] = v;
    return;
  }
  auto f = HOST(RuntimeArrayDirectGetSetProc_fn, "RuntimeArrayDirectGetSetProc");
  auto set = f && a ? reinterpret_cast<REALArraySetObjectProc>(f(a)) : nullptr;
  if (set) set(a, v, i);
}

void InsertObject(REALarray a, RBInteger i, REALobject v) {
  auto f = HOST(RuntimeArrayDirectGetInsertProc_fn, "RuntimeArrayDirectGetInsertProc");
  auto insert = f && a ? reinterpret_cast<REALArrayInsertObjectProc>(f(a)) : nullptr;
  if (insert) insert(a, i, v);
}

// Folder items through File Manager records, both ways.
REALfolderItem ThroughFSRef(REALfolderItem item) {
  auto toRef = HOST(REALFSRefFromFolderItem_fn, "REALFSRefFromFolderItem");
  auto back = HOST(REALFolderItemFromParentFSRef_fn, "REALFolderItemFromParentFSRef");
  if (!toRef || !back) return nullptr;
  alignas(8) unsigned char ref[80] = {};
  alignas(8) unsigned char name[512] = {};
  auto* r = reinterpret_cast<struct FSRef*>(ref);
  auto* n = reinterpret_cast<struct HFSUniStr255*>(name);
  if (toRef(item, r, nullptr)) return back(r, nullptr);
  if (toRef(item, r, n)) return back(r, n);
  return nullptr;
}

REALfolderItem ThroughFSSpec(REALfolderItem item) {
  auto toSpec = HOST(REALFSSpecFromFolderItem_fn, "REALFSSpecFromFolderItem");
  auto back = HOST(FolderItemFromFSSpec_fn, "FolderItemFromFSSpec");
  alignas(8) unsigned char fsSpec[72] = {};
  auto* s = reinterpret_cast<struct FSSpec*>(fsSpec);
  if (!toSpec || !back || !toSpec(s, item)) return nullptr;
  return back(s);
}

REALfolderItem FirstEntry(REALfolderItem folder) {
  auto load = HOST(REALLoadObjectMethod_fn, "REALLoadObjectMethod");
  auto item = load ? reinterpret_cast<FolderItemTrueItem_method>(
                         load(folder, "TrueItem(Index as integer) as Folderitem"))
                   : nullptr;
  return item ? item(folder, 1) : nullptr;
}

RBInteger Constructed() { return gConstructed; }
RBInteger Destructed() { return gDestructed; }

RBInteger GetDirectReads(RBInteger) { return gDirectReads; }
RBInteger GetCounter(RBInteger param) { return gCounter + param; }
void SetCounter(RBInteger, RBInteger v) { gCounter = v; }

REALproc P(const void* f) { return reinterpret_cast<REALproc>(const_cast<void*>(f)); }
#define M(fn, decl) {P(reinterpret_cast<const void*>(&fn)), nullptr, decl, kREALFlagConsoleSafe, 0, 0}

REALmethodDefinition gModuleMethods[] = {
    M(Echo, "Echo(s as string) as string"),
    M(BuildBytes, "BuildBytes(data as memoryblock, encoding as integer) as string"),
    M(StringData, "StringData(s as string, encoding as integer, byref data as memoryblock) as boolean"),
    M(Encoding, "Encoding(s as string) as integer"),
    M(Retag, "Retag(s as string, encoding as integer)"),
    M(Convert, "Convert(s as string, encoding as integer) as string"),
    M(RecordBytes, "RecordBytes(s as string) as memoryblock"),
    M(CString, "CString(s as string) as memoryblock"),
    M(CFLength, "CFLength(s as string) as integer"),
    M(Block, "Block(size as integer, fill as integer) as MemoryBlock"),
    M(BlockSize, "BlockSize(m as memoryblock) as integer"),
    M(Make, "Make(className as string) as Object"),
    M(IsA, "IsA(o as Object, className as string) as boolean"),
    M(Hold, "Hold(o as Object)"),
    M(ReleaseHeld, "ReleaseHeld"),
    M(ReleaseTwice, "ReleaseTwice(o as Object)"),
    M(Leak, "Leak(className as string)"),
    M(LeakString, "LeakString(text as string)"),
    M(LeakStringData, "LeakStringData(text as string)"),
    M(DisposeOwnData, "DisposeOwnData"),
    M(RaiseNamed, "Raise(className as string, message as string, number as integer)"),
    M(RaiseTwice, "RaiseTwice"),
    M(PropInt64, "PropInt64(o as Object, name as string, byref ok as boolean) as Int64"),
    M(PropInt32, "PropInt32(o as Object, name as string, byref ok as boolean) as Int32"),
    M(PropDouble, "PropDouble(o as Object, name as string, byref ok as boolean) as Double"),
    M(PropSingle, "PropSingle(o as Object, name as string, byref ok as boolean) as Single"),
    M(PropString, "PropString(o as Object, name as string, byref ok as boolean) as String"),
    M(NewVariant, "NewVariant(kind as integer, i as Int64, d as double, s as string) as Variant"),
    M(VarTypeOf, "VarTypeOf(v as Variant) as Int32"),
    M(VariantText, "VariantText(v as Variant) as string"),
    M(VariantInt32, "VariantInt32(v as Variant) as Int32"),
    M(VariantInt64, "VariantInt64(v as Variant) as Int64"),
    M(VariantSingle, "VariantSingle(v as Variant) as Single"),
    M(VariantDouble, "VariantDouble(v as Variant) as Double"),
    M(DictPut, "DictPut(d as Dictionary, key as Variant, value as Variant)"),
    M(DictGet, "DictGet(d as Dictionary, key as Variant) as Variant"),
    M(DictKey, "DictKey(d as Dictionary, index as integer) as Variant"),
    M(DictCount, "DictCount(d as Dictionary) as integer"),
    M(MakeDate, "MakeDate(y as integer, mo as integer, d as integer, h as integer, mi as integer, s as integer) as Date"),
    M(MakeStrings, "MakeStrings(count as integer, s as string) as string()"),
    M(MakeObjects, "MakeObjects(count as integer) as Variant()"),
    M(SumInt32, "SumInt32(a() as Int32) as Int64"),
    M(SumInt64, "SumInt64(a() as Int64) as Int64"),
    M(SumDouble, "SumDouble(a() as Double) as Double"),
    M(SumSingle, "SumSingle(a() as Single) as Double"),
    M(CountTrue, "CountTrue(a() as Boolean) as integer"),
    M(JoinStrings, "JoinStrings(a() as string) as string"),
    M(ObjectAt, "ObjectAt(a() as Variant, i as integer) as Variant"),
    M(PutObject, "PutObject(a() as Variant, i as integer, v as Variant)"),
    M(InsertObject, "InsertObject(a() as Variant, i as integer, v as Variant)"),
    M(ThroughFSRef, "ThroughFSRef(f as FolderItem) as FolderItem"),
    M(ThroughFSSpec, "ThroughFSSpec(f as FolderItem) as FolderItem"),
    M(FirstEntry, "FirstEntry(f as FolderItem) as FolderItem"),
    M(Constructed, "Constructed as integer"),
    M(Destructed, "Destructed as integer"),
};

REALconstant gModuleConstants[] = {{"Version = 3", 0, 0, 0, 0}, {"Name = \"probe\"", 0, 0, 0, 0}};

REALproperty gModuleProperties[] = {
    {nullptr, "DirectReads", "Integer", 6, P(reinterpret_cast<const void*>(&GetDirectReads)), nullptr, 0, {}},
    {nullptr, "Counter", "Integer", 6, P(reinterpret_cast<const void*>(&GetCounter)),
     P(reinterpret_cast<const void*>(&SetCounter)), 0, {}},
};

REALmoduleDefinition gModule = {12, "ProbeModule", gModuleMethods, sizeof gModuleMethods / sizeof gModuleMethods[0],
                                gModuleConstants, 2, gModuleProperties, 2, nullptr, 0, nullptr, 0, {}};

// ---- ProbeThing: instance data of 5 words ----------------------------------------
//   word 0 Number (Integer), byte 8 Flag (Boolean), word 2 Label (String),
//   word 3 Partner (object), word 4 spare.

REALclassDefinition gThingClass;

RBWord* Data(REALobject o) {
  return reinterpret_cast<RBWord*>(reinterpret_cast<unsigned char*>(o) + gThingClass.forSystemUse);
}

void ThingConstructor(REALobject o) {
  ++gConstructed;
  Data(o)[0] = 7;
}

void ThingDestructor(REALobject o) {
  ++gDestructed;
  UnlockStr(reinterpret_cast<REALstring>(Data(o)[2]));
  Unlock(reinterpret_cast<REALobject>(Data(o)[3]));
  Data(o)[2] = Data(o)[3] = 0;
}

RBInteger GetDoubled(REALobject o, RBWord) { return static_cast<RBInteger>(Data(o)[0]) * 2; }
void SetDoubled(REALobject o, RBWord, RBInteger v) { Data(o)[0] = static_cast<RBWord>(v / 2); }

RBInteger Add(REALobject o, RBInteger x) { return static_cast<RBInteger>(Data(o)[0]) + x; }
double Scale(REALobject o, double f, float g) { return static_cast<double>(static_cast<RBInteger>(Data(o)[0])) * f * g; }
RBBoolean Flagged(REALobject o) { return reinterpret_cast<unsigned char*>(Data(o))[sizeof(RBWord)]; }
REALstring Describe(REALobject o) {
  return MakeString("thing " + std::to_string(static_cast<RBInteger>(Data(o)[0])) + " " +
                    Utf8(reinterpret_cast<REALstring>(Data(o)[2])));
}
void SetDescribe(REALobject o, REALstring s) { Data(o)[0] = static_cast<RBWord>(Utf8(s).size()); }
REALstring Suffix(REALobject o, RBInteger n) { return MakeString(std::to_string(static_cast<RBInteger>(Data(o)[0]) + n)); }
void SetSuffix(REALobject o, RBInteger n, REALstring s) { Data(o)[0] = static_cast<RBWord>(n + static_cast<RBInteger>(Utf8(s).size())); }
void Swap(REALobject, RBInteger* a, REALstring* b) {
  *a = *a * 10;
  REALstring fresh = MakeString("swapped " + Utf8(*b));
  UnlockStr(*b);
  *b = fresh;
}
int64_t Mix(REALobject, int32_t a, int64_t b, RBBoolean c, RBColor d, int8_t e, uint16_t f) {
  return a + b + c + static_cast<int64_t>(d) + e + f;
}

uint32_t Not32(REALobject, uint32_t v) { return ~v; }
uint16_t Not16(REALobject, uint16_t v) { return static_cast<uint16_t>(~v); }

REALproperty gThingProperties[] = {
    {nullptr, "Number", "Integer", 6, REALstandardGetter, REALstandardSetter, 0, {}},
    {nullptr, "Flag", "Boolean", 6, REALstandardGetter, REALstandardSetter, sizeof(RBWord), {}},
    {nullptr, "Label", "String", 6, REALstandardGetter, REALstandardSetter, 2 * sizeof(RBWord), {}},
    {nullptr, "Partner", "ProbeThing", 6, REALstandardGetter, REALstandardSetter, 3 * sizeof(RBWord), {}},
    {nullptr, "Doubled", "Integer", 6, P(reinterpret_cast<const void*>(&GetDoubled)),
     P(reinterpret_cast<const void*>(&SetDoubled)), 0, {}},
    {nullptr, "Fixed", "Integer", 6, REALstandardGetter, nullptr, 0, {}},
    // Declared across the end of the instance data, as a faulty table would.
    {nullptr, "Straddle", "Int64", 6, REALstandardGetter, REALstandardSetter,
     (5 * sizeof(RBWord) + 15) / 16 * 16 - 4, {}},
};

REALmethodDefinition gThingMethods[] = {
    M(Add, "Add(x as integer) as integer"),
    M(Scale, "Scale(f as double, g as single) as double"),
    M(Flagged, "Flagged as boolean"),
    {P(reinterpret_cast<const void*>(&Describe)), P(reinterpret_cast<const void*>(&SetDescribe)),
     "Describe as string", kREALFlagConsoleSafe, 0, 0},
    {P(reinterpret_cast<const void*>(&Suffix)), P(reinterpret_cast<const void*>(&SetSuffix)),
     "Suffix(n as integer) as string", kREALFlagConsoleSafe, 0, 0},
    M(Swap, "Swap(byref a as integer, byref b as string)"),
    M(Mix, "Mix(a as int32, b as int64, c as boolean, d as color, e as int8, f as uint16) as int64"),
    M(Not32, "Not32(v as uint32) as uint32"),
    M(Not16, "Not16(v as uint16) as uint16"),
};

REALconstant gThingConstants[] = {{"Answer = 42", 0, 0, 0, 0}};

// ProbeError: an exception class of the plug-in's own.
REALclassDefinition gErrorClass;
// ProbeBare: a subclass of ProbeThing that declares no instance data.
REALclassDefinition gBareClass;
// ProbeChild: a subclass of ProbeThing with a method of its own.
REALclassDefinition gChildClass;
RBInteger ChildOnly(REALobject o) { return static_cast<RBInteger>(Data(o)[0]) + 1000; }
// Builds on what its base's constructor left: 7 becomes 21.
void ChildConstructor(REALobject o) { Data(o)[0] *= 3; }
REALmethodDefinition gChildMethods[] = {M(ChildOnly, "ChildOnly as integer")};

void SetUpClasses() {
  gThingClass = REALclassDefinition{};
  gThingClass.version = 12;
  gThingClass.name = "ProbeThing";
  gThingClass.dataSize = 5 * sizeof(RBWord);
  gThingClass.constructor = &ThingConstructor;
  gThingClass.destructor = &ThingDestructor;
  gThingClass.properties = gThingProperties;
  gThingClass.propertyCount = sizeof gThingProperties / sizeof gThingProperties[0];
  gThingClass.methods = gThingMethods;
  gThingClass.methodCount = sizeof gThingMethods / sizeof gThingMethods[0];
  gThingClass.constants = gThingConstants;
  gThingClass.constantCount = 1;
  gThingClass.mFlags = kREALFlagConsoleSafe;

  gErrorClass = REALclassDefinition{};
  gErrorClass.version = 12;
  gErrorClass.name = "ProbeError";
  gErrorClass.superName = "RuntimeException";
  gErrorClass.mFlags = kREALFlagConsoleSafe;

  gBareClass = REALclassDefinition{};
  gBareClass.version = 12;
  gBareClass.name = "ProbeBare";
  gBareClass.superName = "ProbeThing";
  gBareClass.mFlags = kREALFlagConsoleSafe;

  gChildClass = REALclassDefinition{};
  gChildClass.version = 12;
  gChildClass.name = "ProbeChild";
  gChildClass.superName = "ProbeThing";
  gChildClass.dataSize = 5 * sizeof(RBWord);
  gChildClass.constructor = &ChildConstructor;
  gChildClass.methods = gChildMethods;
  gChildClass.methodCount = 1;
  gChildClass.mFlags = kREALFlagConsoleSafe;
}

// ---- Registration in the layout of the host's version --------------------------------

template <typename Short, typename Long>
Short* Shorten(const Long* list, RBWord count) {
  if (list == nullptr || count == 0) return nullptr;
  auto* out = static_cast<Short*>(std::calloc(count, sizeof(Short)));
  for (RBWord i = 0; i < count; ++i) std::memcpy(&out[i], &list[i], sizeof(Short));
  return out;
}

void RegisterClass(REALclassDefinition* c) {
  c->dataSize = (c->dataSize + 15) / 16 * 16;
  auto reg = HOST(PluginRegisterClass_fn, "PluginRegisterClass");
  if (reg == nullptr) return;
  c->version = static_cast<RBWord>(gLayout);
  if (gLayout > 9) {
    reg(c);
    return;
  }
  // The short layout: shorter entries, copied over the front of the record,
  // which stays the record the host keeps (and writes word 4 of).
  REALclassDefinition9 s{};
  std::memcpy(&s, c, 7 * sizeof(RBWord));
  s.properties = Shorten<REALproperty9>(c->properties, c->propertyCount);
  s.propertyCount = c->propertyCount;
  s.methods = Shorten<REALmethodDefinition9>(c->methods, c->methodCount);
  s.methodCount = c->methodCount;
  s.constants = Shorten<REALconstant9>(c->constants, c->constantCount);
  s.constantCount = c->constantCount;
  s.mFlags = c->mFlags;
  std::memcpy(c, &s, sizeof s);
  reg(c);
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void REALPluginMain(REALResolver resolver) {
  gResolver = resolver;
  auto announce = HOST(RegisterPluginVersion_fn, "RegisterPluginVersion");
  if (auto version = HOST(REALGetRBVersion_fn, "REALGetRBVersion")) gVersion = version();
  gLayout = gVersion >= 2013.03 ? 12 : gVersion >= 2013.0 ? 11 : gVersion >= 2012.0 ? 10 : 9;
  if (announce) announce(gLayout);
  SetUpClasses();
  if (auto reg = HOST(PluginRegisterModule_fn, "PluginRegisterModule")) {
    gModule.version = static_cast<RBWord>(gLayout);
    if (gLayout > 9) {
      reg(&gModule);
    } else {
      REALmoduleDefinition9 s{};
      s.version = 9;
      s.name = gModule.name;
      s.methods = Shorten<REALmethodDefinition9>(gModule.methods, gModule.methodCount);
      s.methodCount = gModule.methodCount;
      s.constants = Shorten<REALconstant9>(gModule.constants, gModule.constantCount);
      s.constantCount = gModule.constantCount;
      s.properties = Shorten<REALproperty9>(gModule.properties, gModule.propertyCount);
      s.propertyCount = gModule.propertyCount;
      std::memcpy(&gModule, &s, sizeof s);
      reg(&gModule);
    }
  }
  RegisterClass(&gThingClass);
  RegisterClass(&gErrorClass);
  RegisterClass(&gChildClass);
  RegisterClass(&gBareClass);
}

// The built-in Dictionary class: entries in insertion order, keys equal when
// their variants are equal (found by hash first), "Count", and the methods "Value" (get and
// assign) and "Key" that plug-ins load by declaration.
#include <iterator>

#include "runtime.h"

namespace plugin_host {

bool DictionaryProperty(ObjState* st, const std::string& name, Value* out) {
  if (name != "count") return false;
  *out = Value::Integer(static_cast<RBInteger>(st->Extra().entries.size()));
  return true;
}

namespace {

DictEntry* FindHashed(Runtime* rt, ObjState* d, const Value& key, size_t hash) {
  for (DictEntry& e : d->Extra().entries) {
    if (e.hash == hash && VariantsEqual(rt, e.key, key)) return &e;
  }
  return nullptr;
}

}  // namespace

const DictEntry* DictionaryFind(Runtime* rt, ObjState* d, const Value& key) {
  return FindHashed(rt, d, key, VariantHash(rt, key));
}

void DictionarySetEntry(Runtime* rt, ObjState* d, Value key, Value value) {
  const size_t hash = VariantHash(rt, key);
  if (DictEntry* e = FindHashed(rt, d, key, hash)) {
    e->value = std::move(value);
    return;
  }
  // Plug-ins fill a dictionary an entry at a time: room for a few at once.
  if (d->Extra().entries.empty()) d->Extra().entries.reserve(8);
  d->Extra().entries.push_back(DictEntry{std::move(key), std::move(value), hash});
}

namespace {

ObjState* Dict(REALobject d) {
  Runtime* rt = Runtime::Current();
  return rt ? rt->StateOfKind(d, Builtin::Dictionary) : nullptr;
}

// Keys and values travel as variants; a nil one is stored as nil, and one
// that is no live object is locked the usual way, which reports it.
Value AsHeld(Runtime* rt, REALobject v) {
  if (ObjState* st = rt->State(v, true)) return HoldObject(st);
  return Value::RetainObject(v);
}

// "Value(key As Variant) As Variant": nil for a key that is not there.
REALobject DictionaryValue(REALobject dict, REALobject key) {
  ObjState* d = Dict(dict);
  if (d == nullptr) return nullptr;
  Runtime* rt = d->rt;
  const DictEntry* e = DictionaryFind(rt, d, AsHeld(rt, key));
  return e ? Value(e->value).releaseObject() : nullptr;
}

// "Value(key As Variant, Assigns _value As Variant)"
void DictionaryAssign(REALobject dict, REALobject key, REALobject value) {
  ObjState* d = Dict(dict);
  if (d == nullptr) return;
  DictionarySetEntry(d->rt, d, AsHeld(d->rt, key), AsHeld(d->rt, value));
}

// "Key(index As Integer) As Variant": nil outside 0 ... Count - 1.
REALobject DictionaryKeyAt(REALobject dict, RBInteger index) {
  ObjState* d = Dict(dict);
  if (d == nullptr || index < 0 || static_cast<size_t>(index) >= d->Extra().entries.size()) return nullptr;
  return Value(d->Extra().entries[static_cast<size_t>(index)].key).releaseObject();
}

}  // namespace

void* DictionaryMethod(const Declaration& decl) {
  static const KnownMethod kMethods[] = {
      {"Value(key As Variant) As Variant", reinterpret_cast<void*>(&DictionaryValue)},
      {"Value(key As Variant, Assigns _value As Variant)", reinterpret_cast<void*>(&DictionaryAssign)},
      {"Key(index As Integer) As Variant", reinterpret_cast<void*>(&DictionaryKeyAt)},
  };
  static std::vector<Declaration> parsed;
  return MatchKnownMethod(kMethods, std::size(kMethods), &parsed, decl);
}

}  // namespace plugin_host

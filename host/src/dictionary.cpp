// The built-in Dictionary class: entries in insertion order, keys equal when
// their variants are equal, "Count", and the methods "Value" (get and
// assign) and "Key" that plug-ins load by declaration.
#include <iterator>

#include "runtime.h"

namespace plugin_host {

bool DictionaryProperty(ObjState* st, const std::string& name, Value* out) {
  if (name != "count") return false;
  *out = Value::Integer(static_cast<RBInteger>(st->entries.size()));
  return true;
}

void DictionarySetEntry(Runtime* rt, ObjState* d, const Value& key, const Value& value) {
  for (auto& e : d->entries) {
    if (VariantsEqual(rt, e.first, key)) {
      e.second = value;
      return;
    }
  }
  d->entries.emplace_back(key, value);
}

namespace {

ObjState* Dict(REALobject d) {
  Runtime* rt = Runtime::Current();
  return rt ? rt->StateOfKind(d, Builtin::Dictionary) : nullptr;
}

// Keys and values travel as variants; a nil one is stored as nil.
Value AsHeld(REALobject v) { return Value::RetainObject(v); }

// "Value(key As Variant) As Variant": nil for a key that is not there.
REALobject DictionaryValue(REALobject dict, REALobject key) {
  ObjState* d = Dict(dict);
  if (d == nullptr) return nullptr;
  Runtime* rt = d->rt;
  Value k = AsHeld(key);
  for (auto& e : d->entries) {
    if (VariantsEqual(rt, e.first, k)) return Value(e.second).releaseObject();
  }
  return nullptr;
}

// "Value(key As Variant, Assigns _value As Variant)"
void DictionaryAssign(REALobject dict, REALobject key, REALobject value) {
  ObjState* d = Dict(dict);
  if (d == nullptr) return;
  DictionarySetEntry(d->rt, d, AsHeld(key), AsHeld(value));
}

// "Key(index As Integer) As Variant": nil outside 0 ... Count - 1.
REALobject DictionaryKeyAt(REALobject dict, RBInteger index) {
  ObjState* d = Dict(dict);
  if (d == nullptr || index < 0 || static_cast<size_t>(index) >= d->entries.size()) return nullptr;
  return Value(d->entries[static_cast<size_t>(index)].first).releaseObject();
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

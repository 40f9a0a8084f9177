// The dictionary method cache.
#include "convert/dictionary_methods.h"

#include "frame/host_functions.h"

REALobject LastDictionary = nullptr;
DictionaryKey_method LastDictionaryKeyGetter = nullptr;
DictionaryValueGetter_method LastDictionaryGetter = nullptr;
DictionaryValueSetter_method LastDictionarySetter = nullptr;

void UseDictionaryMethods(REALobject dict) {
  if (LastDictionary == dict) return;
  LastDictionary = dict;
  LastDictionarySetter = reinterpret_cast<DictionaryValueSetter_method>(
      REALLoadObjectMethod(dict, "Value(key As Variant, Assigns _value As Variant)"));
  LastDictionaryGetter =
      reinterpret_cast<DictionaryValueGetter_method>(REALLoadObjectMethod(dict, "Value(key As Variant) As Variant"));
  LastDictionaryKeyGetter =
      reinterpret_cast<DictionaryKey_method>(REALLoadObjectMethod(dict, "Key(index As Integer) As Variant"));
}

void ForgetDictionaryMethods() { LastDictionary = nullptr; }

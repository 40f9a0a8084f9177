// The methods of the last host Dictionary a conversion worked on. A host
// dictionary's methods are loaded by declaration per object; a conversion
// walks one dictionary entry by entry, so the three methods are loaded once
// for that dictionary and kept until another dictionary needs its own.
// Nested conversions switch the cache to the inner dictionary and clear it
// when they finish, and the outer walk then loads its methods again.
#pragma once

#include "host_plugin_interface.h"

extern REALobject LastDictionary;
extern DictionaryKey_method LastDictionaryKeyGetter;        // "Key(index As Integer) As Variant"
extern DictionaryValueGetter_method LastDictionaryGetter;   // "Value(key As Variant) As Variant"
extern DictionaryValueSetter_method LastDictionarySetter;   // "Value(key As Variant, Assigns _value As Variant)"

// Makes the cache hold dict's methods (each null when the host or the
// dictionary lacks it), loading them only when it holds another dictionary.
void UseDictionaryMethods(REALobject dict);

// Forgets the cached dictionary, so that the next use loads afresh.
void ForgetDictionaryMethods();

// Conversions between item-query dictionaries and stored item rows: the
// per-class attribute tables, the protocol and authentication-type tables,
// and the attribute dictionaries that queries return.
#pragma once

#include <Security/SecItem.h>

#include <vector>

#include "store.h"

namespace secimpl {

// The classic class of a kSecClass value; 0 for classes this store lacks
// (certificates, keys, identities), errSecParam for anything unknown.
OSStatus ClassFromValue(CFTypeRef value, uint32_t* itemClass);

// Copies the class's attributes from a dictionary into a row (for adds and
// updates). Keys outside the class's table are ignored; dates are ignored
// when `withDates` is false.
OSStatus RowFromDictionary(CFDictionaryRef dict, bool withDates, ItemRow* row);
// Exact-match filters for the class's attributes present in a query.
OSStatus FiltersFromDictionary(CFDictionaryRef query, uint32_t itemClass, std::vector<Filter>* out);
// A new dictionary with kSecClass and the row's attributes.
CFMutableDictionaryRef CopyAttributesDictionary(const ItemRow& row);

}  // namespace secimpl

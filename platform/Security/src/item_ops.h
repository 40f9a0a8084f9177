// Item operations shared by the classic calls and the item queries: loading,
// adding, saving and deleting items, opening their secrets, and streaming
// the matches of a search over several keychains.
#pragma once

#include <Security/SecBase.h>

#include <functional>
#include <vector>

#include "store.h"

namespace secimpl {

// Loads the stored item; errSecInvalidItemRef when it has been deleted.
OSStatus LoadItem(SecKeychainItemRef item, bool withSecret, ItemRow* row);
// Decrypts a loaded secret (row loaded withSecret) of an item in kc, under
// the row's names; errSecDecode when it does not open.
OSStatus OpenSecret(SecKeychainRef kc, const ItemRow& row, SecureBytes* out);

// Adds to kc, or to the default keychain when kc is NULL or its file does not
// exist. Stamps the dates and the default label. *out may be NULL.
OSStatus AddItemTo(SecKeychainRef kc, ItemRow* row, const void* data, size_t length, bool hasData,
                   SecKeychainItemRef* out);
// Writes back a changed row; the secret is replaced when replaceData is set.
OSStatus SaveItem(SecKeychainItemRef item, ItemRow* row, const void* data, size_t length,
                  bool replaceData);
OSStatus DeleteStoredItem(SecKeychainItemRef item);

// Calls fn for each match in keychain order, at most `limit` times (0: no
// limit), until fn returns false. A keychain that fails part-way does not
// stop the walk: the others are still read. Returns errSecSuccess when the
// walk was stopped by fn or the limit or read every keychain to its end, and
// otherwise the last failure, so that a caller that found less than it asked
// for never mistakes damage for "no more items". (macOS returns the last
// failure only when every keychain failed; one damaged keychain among sound
// ones may hold the item asked for, so here it is reported too.) A missing
// keychain file is not a failure: it holds nothing.
OSStatus ForEachMatch(const std::vector<SecKeychainRef>& keychains, uint32_t itemClass,
                      const std::vector<Filter>& filters, bool withSecret, size_t limit,
                      const std::function<bool(SecKeychainRef, ItemRow&)>& fn);

double NowSeconds();

}  // namespace secimpl

// Applying classic attribute lists to item rows, and turning them into
// search filters.
#pragma once

#include <Security/SecKeychainItem.h>

#include <vector>

#include "store.h"

namespace secimpl {

// Sets the listed attributes on a row; errSecNoSuchAttr for a tag the class
// lacks, errSecParam for a malformed value. *touchedModDate tells whether the
// list set the modification date itself.
OSStatus ApplyAttributes(const SecKeychainAttributeList* list, ItemRow* row, bool* touchedModDate);
// Exact-match filters for a search of a class (kClassAnyRecord: any class).
OSStatus FiltersFromAttributes(uint32_t itemClass, const SecKeychainAttributeList* list,
                               std::vector<Filter>* out);

}  // namespace secimpl

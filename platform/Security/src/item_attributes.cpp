// Classic attribute lists against item rows.
#include "item_attributes.h"

#include <cstring>
#include <ctime>

namespace secimpl {

namespace {

// Seconds since 1904 in local time (4 or 8 bytes) become the UTC text form.
bool NumericDateToText(const void* data, uint32_t length, std::string* text) {
  int64_t v = 0;
  if (length == 4) {
    uint32_t u;
    memcpy(&u, data, 4);
    v = u;
  } else if (length == 8) {
    memcpy(&v, data, 8);
  } else {
    return false;
  }
  time_t local = time_t(v - 2082844800LL);
  struct tm tmv;
  gmtime_r(&local, &tmv);
  tmv.tm_isdst = -1;
  time_t utc = mktime(&tmv);
  *text = FormatDate(double(utc));
  return true;
}

OSStatus Encode(const AttrDesc& d, const SecKeychainAttribute& a, std::string* out, bool* clear) {
  *clear = false;
  if (!a.data && a.length) return errSecParam;
  switch (d.kind) {
    case AttrKind::Blob:
      *out = std::string(static_cast<const char*>(a.data), a.length);
      return errSecSuccess;
    case AttrKind::Date:
      if (a.length == 0) {
        *clear = true;
        return errSecSuccess;
      }
      if (IsValidDateText(a.data, a.length)) {
        *out = std::string(static_cast<const char*>(a.data), 16);
        return errSecSuccess;
      }
      return NumericDateToText(a.data, a.length, out) ? errSecSuccess : errSecParam;
    case AttrKind::UInt32:
    case AttrKind::SInt32: {
      if (a.length == 0) {
        *clear = true;
        return errSecSuccess;
      }
      int64_t v = 0;
      if (!DecodeInteger(a.data, a.length, d.kind, &v)) return errSecParam;
      *out = EncodeUInt32(uint32_t(v));
      return errSecSuccess;
    }
  }
  return errSecParam;
}

}  // namespace

OSStatus ApplyAttributes(const SecKeychainAttributeList* list, ItemRow* row, bool* touchedModDate) {
  *touchedModDate = false;
  if (!list) return errSecSuccess;
  if (list->count && !list->attr) return errSecParam;
  ItemRow changed = *row;
  for (UInt32 i = 0; i < list->count; ++i) {
    const SecKeychainAttribute& a = list->attr[i];
    const AttrDesc* d = FindAttr(row->itemClass, a.tag);
    if (!d) return errSecNoSuchAttr;
    std::string value;
    bool clear = false;
    OSStatus status = Encode(*d, a, &value, &clear);
    if (status != errSecSuccess) return status;
    if (clear)
      changed.attrs.erase(a.tag);
    else
      changed.attrs[a.tag] = value;
    if (a.tag == FourCC("mdat")) *touchedModDate = true;
  }
  row->attrs.swap(changed.attrs);
  return errSecSuccess;
}

OSStatus FiltersFromAttributes(uint32_t itemClass, const SecKeychainAttributeList* list,
                               std::vector<Filter>* out) {
  if (!list) return errSecSuccess;
  if (list->count && !list->attr) return errSecParam;
  for (UInt32 i = 0; i < list->count; ++i) {
    const SecKeychainAttribute& a = list->attr[i];
    const AttrDesc* d = FindAttr(itemClass, a.tag);
    if (!d) return errSecNoSuchAttr;
    std::string value;
    bool clear = false;
    OSStatus status = Encode(*d, a, &value, &clear);
    if (status != errSecSuccess) return status;
    Filter f{d, value, 0};
    if (d->kind == AttrKind::UInt32 || d->kind == AttrKind::SInt32) {
      int64_t v = 0;
      DecodeInteger(value.data(), uint32_t(value.size()), d->kind, &v);
      f.number = v;
    }
    out->push_back(f);
  }
  return errSecSuccess;
}

}  // namespace secimpl

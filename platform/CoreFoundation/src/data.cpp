// CFData and CFMutableData. Bytes live in a malloc'd buffer, or for
// CFDataCreateWithBytesNoCopy in the caller's buffer, handed to its
// deallocator when the data is destroyed.
#include <cstdlib>
#include <cstring>
#include <limits>

#include "cf_internal.h"

using namespace cf;

struct DataImpl {
  UInt8* bytes = nullptr;
  CFIndex length = 0;
  CFIndex capacity = 0;
  CFAllocatorRef deallocator = nullptr;  // set only for caller-owned bytes
  bool external = false;
};

struct __CFData {
  CFRuntimeBase base;
  DataImpl impl;
};

namespace {

__CFData* Dat(CFDataRef d) { return const_cast<__CFData*>(d); }
bool IsData(CFTypeRef d) { return IsA(d, kDataTypeID); }
bool IsMutableData(CFDataRef d) { return IsData(d) && IsMutable(d); }

// Hands the buffer back: to the caller's deallocator, or wiped to free().
void ReleaseBytes(DataImpl& impl) {
  if (impl.external) {
    CFAllocatorDeallocate(impl.deallocator, impl.bytes);
  } else if (impl.bytes) {
    explicit_bzero(impl.bytes, static_cast<size_t>(impl.capacity));
    free(impl.bytes);
  }
}

void FinalizeData(CFTypeRef cf) {
  DataImpl& impl = Dat(static_cast<CFDataRef>(cf))->impl;
  ReleaseBytes(impl);
  impl.~DataImpl();
}

Boolean EqualData(CFTypeRef a, CFTypeRef b) {
  const DataImpl& x = Dat(static_cast<CFDataRef>(a))->impl;
  const DataImpl& y = Dat(static_cast<CFDataRef>(b))->impl;
  return x.length == y.length && (x.length == 0 || memcmp(x.bytes, y.bytes, static_cast<size_t>(x.length)) == 0);
}

CFHashCode HashData(CFTypeRef cf) {
  const DataImpl& x = Dat(static_cast<CFDataRef>(cf))->impl;
  // Only a prefix is hashed: equal data hash equally and long data stay cheap.
  return HashBytes(x.bytes, static_cast<size_t>(x.length < 80 ? x.length : 80)) ^ static_cast<CFHashCode>(x.length);
}

CFStringRef DescribeData(CFTypeRef cf) {
  const DataImpl& x = Dat(static_cast<CFDataRef>(cf))->impl;
  std::string text = "<";
  static const char hex[] = "0123456789abcdef";
  for (CFIndex i = 0; i < x.length; ++i) {
    if (i > 0 && i % 4 == 0) text += ' ';
    text += hex[x.bytes[i] >> 4];
    text += hex[x.bytes[i] & 15];
  }
  text += '>';
  return NewStringFromUTF8(text);
}

// Grows the owned buffer to hold at least `needed` bytes; false when memory is short.
bool Reserve(DataImpl& impl, CFIndex needed) {
  if (needed <= impl.capacity && !impl.external) return true;
  CFIndex capacity = impl.capacity > 0 ? impl.capacity : 16;
  while (capacity < needed) {
    if (capacity > std::numeric_limits<CFIndex>::max() / 2) return false;
    capacity *= 2;
  }
  UInt8* bytes = static_cast<UInt8*>(malloc(static_cast<size_t>(capacity)));
  if (!bytes) return false;
  if (impl.length > 0) memcpy(bytes, impl.bytes, static_cast<size_t>(impl.length));
  ReleaseBytes(impl);
  impl.bytes = bytes;
  impl.capacity = capacity;
  impl.external = false;
  return true;
}

__CFData* NewData(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length, bool isMutable) {
  if (length < 0 || (length > 0 && !bytes)) return nullptr;
  __CFData* d = NewInstance<__CFData>(allocator, kDataTypeID);
  if (!d) return nullptr;
  if (length > 0 && !Reserve(d->impl, length)) {
    CFRelease(d);
    return nullptr;
  }
  if (length > 0) memcpy(d->impl.bytes, bytes, static_cast<size_t>(length));
  d->impl.length = length;
  if (isMutable) SetMutable(d);
  return d;
}

}  // namespace

const CFRuntimeClass cf::kDataClass = {0, "CFData", nullptr, nullptr, FinalizeData, EqualData, HashData,
                                       nullptr, DescribeData};

CFTypeID CFDataGetTypeID(void) { return kDataTypeID; }

CFDataRef CFDataCreate(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length) {
  return NewData(allocator, bytes, length, false);
}

CFDataRef CFDataCreateWithBytesNoCopy(CFAllocatorRef allocator, const UInt8* bytes, CFIndex length,
                                      CFAllocatorRef bytesDeallocator) {
  if (length < 0 || (length > 0 && !bytes)) return nullptr;
  __CFData* d = NewInstance<__CFData>(allocator, kDataTypeID);
  if (!d) return nullptr;
  d->impl.bytes = const_cast<UInt8*>(bytes);
  d->impl.length = length;
  d->impl.capacity = length;
  d->impl.external = true;
  d->impl.deallocator = bytesDeallocator;
  return d;
}

CFDataRef CFDataCreateCopy(CFAllocatorRef allocator, CFDataRef theData) {
  if (!IsData(theData)) return nullptr;
  return NewData(allocator, Dat(theData)->impl.bytes, Dat(theData)->impl.length, false);
}

CFMutableDataRef CFDataCreateMutable(CFAllocatorRef allocator, CFIndex) {
  return NewData(allocator, nullptr, 0, true);
}

CFMutableDataRef CFDataCreateMutableCopy(CFAllocatorRef allocator, CFIndex, CFDataRef theData) {
  if (!IsData(theData)) return nullptr;
  return NewData(allocator, Dat(theData)->impl.bytes, Dat(theData)->impl.length, true);
}

CFIndex CFDataGetLength(CFDataRef theData) { return IsData(theData) ? Dat(theData)->impl.length : 0; }

const UInt8* CFDataGetBytePtr(CFDataRef theData) { return IsData(theData) ? Dat(theData)->impl.bytes : nullptr; }

UInt8* CFDataGetMutableBytePtr(CFMutableDataRef theData) {
  return IsMutableData(theData) ? Dat(theData)->impl.bytes : nullptr;
}

void CFDataGetBytes(CFDataRef theData, CFRange range, UInt8* buffer) {
  if (!IsData(theData) || !buffer) return;
  const DataImpl& impl = Dat(theData)->impl;
  if (range.location < 0 || range.length < 0 || range.location > impl.length ||
      range.length > impl.length - range.location || range.length == 0)
    return;
  memcpy(buffer, impl.bytes + range.location, static_cast<size_t>(range.length));
}

void CFDataSetLength(CFMutableDataRef theData, CFIndex length) {
  if (!IsMutableData(theData) || length < 0) return;
  DataImpl& impl = Dat(theData)->impl;
  if (length > impl.length) {
    if (!Reserve(impl, length)) return;
    memset(impl.bytes + impl.length, 0, static_cast<size_t>(length - impl.length));
  }
  impl.length = length;
}

void CFDataIncreaseLength(CFMutableDataRef theData, CFIndex extraLength) {
  if (!IsMutableData(theData) || extraLength < 0) return;
  CFDataSetLength(theData, Dat(theData)->impl.length + extraLength);
}

void CFDataReplaceBytes(CFMutableDataRef theData, CFRange range, const UInt8* newBytes, CFIndex newLength) {
  if (!IsMutableData(theData) || newLength < 0 || (newLength > 0 && !newBytes)) return;
  DataImpl& impl = Dat(theData)->impl;
  if (range.location < 0 || range.length < 0 || range.location > impl.length ||
      range.length > impl.length - range.location)
    return;
  CFIndex total = impl.length - range.length + newLength;
  // newBytes may point into this data's own buffer, which Reserve can move.
  std::string saved(reinterpret_cast<const char*>(newBytes ? newBytes : impl.bytes), static_cast<size_t>(newLength));
  if (!Reserve(impl, total)) return;
  CFIndex tail = impl.length - range.location - range.length;
  if (tail > 0)
    memmove(impl.bytes + range.location + newLength, impl.bytes + range.location + range.length, static_cast<size_t>(tail));
  if (newLength > 0) memcpy(impl.bytes + range.location, saved.data(), static_cast<size_t>(newLength));
  impl.length = total;
}

void CFDataAppendBytes(CFMutableDataRef theData, const UInt8* bytes, CFIndex length) {
  if (!IsMutableData(theData)) return;
  CFDataReplaceBytes(theData, CFRangeMake(Dat(theData)->impl.length, 0), bytes, length);
}

void CFDataDeleteBytes(CFMutableDataRef theData, CFRange range) {
  CFDataReplaceBytes(theData, range, nullptr, 0);
}

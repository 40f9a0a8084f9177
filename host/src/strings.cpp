// Host strings: reference-counted records tagged with an encoding, laid out so
// that plug-ins may read the buffer (text at buffer + 1) and the byte length
// directly, and the string host functions.
#include <cstdlib>
#include <cstring>
#include <string.h>

#include "runtime.h"

namespace plugin_host {

namespace {
// Marks a REALstringData that this host filled (word 3 is the host's own).
constexpr RBWord kStringDataMark = 0x53444154;
}  // namespace

REALstring Runtime::NewString(const void* bytes, size_t length, uint32_t encoding) {
  // One leading byte before the text, four zero bytes after it, so that every
  // view of the text, wide ones included, ends terminated.
  const size_t bufferBytes = length + 5;
  const bool inlineBuffer = bufferBytes <= kInlineStringBytes;
  auto* s = static_cast<StrRec*>(strings_.Allocate(sizeof(StrRec) + (inlineBuffer ? bufferBytes : 0)));
  if (s == nullptr) return nullptr;
  unsigned char* buf = reinterpret_cast<unsigned char*>(s + 1);
  if (!inlineBuffer) {
    buf = static_cast<unsigned char*>(std::calloc(1, bufferBytes));
    if (buf == nullptr) {
      s->dead = true;  // the slot is found by its address until reused
      strings_.Free(s);
      return nullptr;
    }
  }
  if (length > 0) std::memcpy(buf + 1, bytes, length);
  buf[0] = static_cast<unsigned char>(length > 255 ? 255 : length);
  s->rec.refCount = 1;
  s->rec.buffer = buf;
  s->rec.allocated = bufferBytes;
  s->rec.length = length;
  s->rec.encoding = encoding;
  s->magic = kStringMagic;
  s->dead = false;
  ++liveStrings;
  return reinterpret_cast<REALstring>(s);
}

StrRec* Runtime::Str(const void* s, bool quiet) const {
  if (s == nullptr) return nullptr;
  auto* r = static_cast<StrRec*>(strings_.PayloadOf(s));
  if (r == nullptr || r->dead) {
    if (!quiet) const_cast<Runtime*>(this)->Problem(r == nullptr ? "not a host string" : "use of a released string");
    return nullptr;
  }
  return r;
}

void Runtime::LockString(REALstring s) {
  if (s == nullptr || tearingDown_) return;
  auto* r = static_cast<StrRec*>(strings_.PayloadOf(s));
  if (r == nullptr || r->dead) {
    ++badReleases;
    Problem("lock of a string that is not live");
    return;
  }
  ++r->rec.refCount;
}

void Runtime::UnlockString(REALstring s) {
  if (s == nullptr || tearingDown_) return;
  auto* r = static_cast<StrRec*>(strings_.PayloadOf(s));
  if (r == nullptr) {
    ++badReleases;
    Problem("release of a pointer that is not a host string");
    return;
  }
  if (r->dead || r->rec.refCount == 0) {
    ++badReleases;
    Problem("release of a string that had no lock left");
    return;
  }
  if (--r->rec.refCount == 0) DestroyString(r);
}

void Runtime::DestroyString(StrRec* s) {
  s->dead = true;
  --liveStrings;
  // Strings carry passwords: their bytes go when they do, although the record
  // stays a while to catch a late release.
  explicit_bzero(s->rec.buffer, s->rec.allocated);
  const bool ownBuffer = s->rec.buffer != reinterpret_cast<unsigned char*>(s + 1);
  Reclaim(releasedStrings_.Keep(s, ownBuffer));
}

void Runtime::Reclaim(Tombstones<StrRec>::Entry released) {
  StrRec* s = released.record;
  if (s == nullptr) return;
  if (released.holdsMemory) {
    std::free(s->rec.buffer);
    s->rec.buffer = nullptr;
    s->rec.allocated = 0;
    s->rec.length = 0;
  }
  strings_.Free(s);
}

std::string StringBytesOf(REALstring s) {
  if (s == nullptr) return std::string();
  auto* r = reinterpret_cast<StrRec*>(s);
  return std::string(reinterpret_cast<const char*>(r->rec.buffer + 1), r->rec.length);
}

namespace {

StrRec* LiveStr(REALstring s) {
  Runtime* rt = Runtime::Current();
  return rt ? rt->Str(s) : nullptr;
}

REALstring HostBuildString(const void* bytes, RBInteger n) {
  Runtime* rt = Runtime::Current();
  if (rt == nullptr || n < 0 || (bytes == nullptr && n > 0)) return nullptr;
  return rt->NewString(bytes, static_cast<size_t>(n), kREALEncodingUnknown);
}

void HostSetStringEncoding(REALstring s, uint32_t encoding) {
  if (StrRec* r = LiveStr(s)) r->rec.encoding = encoding;
}

uint32_t HostGetStringEncoding(REALstring s) {
  StrRec* r = LiveStr(s);
  return r ? static_cast<uint32_t>(r->rec.encoding) : kREALEncodingUnknown;
}

REALstring HostConvertString(REALstring s, uint32_t encoding) {
  StrRec* r = LiveStr(s);
  if (r == nullptr) return nullptr;
  std::string out;
  if (!ConvertBytes(StringBytesOf(s), static_cast<uint32_t>(r->rec.encoding), encoding, &out)) {
    return nullptr;
  }
  return Runtime::Current()->NewString(out.data(), out.size(), encoding);
}

void HostLockString(REALstring s) {
  if (Runtime* rt = Runtime::Current()) rt->LockString(s);
}

void HostUnlockString(REALstring s) {
  if (Runtime* rt = Runtime::Current()) rt->UnlockString(s);
}

RBBoolean HostGetStringData(REALstring s, uint32_t encoding, REALstringData* out) {
  if (out == nullptr) return 0;
  std::memset(out, 0, sizeof *out);
  StrRec* r = LiveStr(s);
  if (r == nullptr) return 0;
  std::string bytes = StringBytesOf(s);
  std::string converted;
  const Wiped<std::string> wipeBytes(&bytes), wipeConverted(&converted);
  if (encoding != kREALEncodingUnknown && encoding != r->rec.encoding) {
    if (!ConvertBytes(bytes, static_cast<uint32_t>(r->rec.encoding), encoding, &converted)) return 0;
    bytes.swap(converted);
  }
  auto* data = static_cast<unsigned char*>(std::calloc(1, bytes.size() + 4));
  if (data == nullptr) return 0;
  if (!bytes.empty()) std::memcpy(data, bytes.data(), bytes.size());
  out->data = data;
  out->length = static_cast<RBInteger>(bytes.size());
  out->encoding = encoding;
  out->hostWord3 = kStringDataMark;
  // Data a plug-in disposes through the host is tracked until then; a host
  // without "PluginDisposeStringData" leaves freeing it to the plug-in.
  Runtime* rt = Runtime::Current();
  if (rt->options().withheld.count("PluginDisposeStringData") == 0) rt->stringData.insert(data);
  return 1;
}

// Frees the data of a filled record: this host's, or one a plug-in filled
// itself with malloc when the host did not offer "PluginGetStringData".
void HostDisposeStringData(REALstringData* d) {
  if (d == nullptr) return;
  if (d->hostWord3 == kStringDataMark) {
    if (Runtime* rt = Runtime::Current()) rt->stringData.erase(d->data);
  }
  if (d->data != nullptr && d->length > 0) explicit_bzero(const_cast<void*>(d->data), size_t(d->length));
  std::free(const_cast<void*>(d->data));
  std::memset(d, 0, sizeof *d);
}

const char* HostStringGetCString(REALstring s) {
  StrRec* r = LiveStr(s);
  return r ? reinterpret_cast<const char*>(r->rec.buffer + 1) : nullptr;
}

// "LenB( s as string ) as integer", loadable with "REALLoadGlobalMethod".
RBInteger LenB(REALstring s) {
  StrRec* r = LiveStr(s);
  return r ? static_cast<RBInteger>(r->rec.length) : 0;
}

}  // namespace

void* LenBMethod() { return reinterpret_cast<void*>(&LenB); }

void AddStringFunctions(FunctionTable* t) {
  (*t)["REALBuildString"] = reinterpret_cast<void*>(&HostBuildString);
  (*t)["REALSetStringEncoding"] = reinterpret_cast<void*>(&HostSetStringEncoding);
  (*t)["REALGetStringEncoding"] = reinterpret_cast<void*>(&HostGetStringEncoding);
  (*t)["REALConvertString"] = reinterpret_cast<void*>(&HostConvertString);
  (*t)["REALLockString"] = reinterpret_cast<void*>(&HostLockString);
  (*t)["REALUnlockString"] = reinterpret_cast<void*>(&HostUnlockString);
  (*t)["PluginGetStringData"] = reinterpret_cast<void*>(&HostGetStringData);
  (*t)["PluginDisposeStringData"] = reinterpret_cast<void*>(&HostDisposeStringData);
  (*t)["StringGetCString"] = reinterpret_cast<void*>(&HostStringGetCString);
}

}  // namespace plugin_host

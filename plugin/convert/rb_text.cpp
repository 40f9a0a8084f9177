// rbText: byte views of a host string. Hosts up to 2013.0 let the holder read
// a string's record directly; from 2012.0 on, converted views come from
// REALGetStringData, before that from "REALConvertString".
#include "convert/rb_text.h"

#include <stdlib.h>
#include <string.h>

#include "frame/host_functions.h"
#include "frame/host_string_data.h"
#include "frame/plugin_state.h"

namespace {

// Shared read-only empty texts: every empty view points here, so it can
// always be read as a terminated text.
const char EmptyText[4] = {0, 0, 0, 0};

constexpr int64_t kMaxBytes = 0x7FFFFFFF;

bool ReadsRecordDirectly() { return !(rbversion_rbversion > 2013.0); }
bool ConvertsThroughStringData() { return rbversion_rbversion >= 2012.0; }

}  // namespace

rbText::rbText(REALstring s) {
  Clear();
  if (s == nullptr) return;

  if (REALGetStringEncoding(s) != kREALEncodingUnknown) {
    // A known encoding, or a host that cannot tell: views are converted.
    text_ = s;
    REALLockString(s);
  } else {
    // Raw bytes: read them unconverted to see whether they are plain ASCII.
    REALstringData raw = {};
    bool rawFilled = false;
    const unsigned char *bytes = nullptr;
    RBInteger count = 0;
    if (ReadsRecordDirectly()) {
      REALLockString(s);
      StringRecordBytes record = ReadStringRecord(s);
      bytes = record.bytes;
      count = record.length;
    } else if (REALGetStringData(s, kREALEncodingUnknown, &raw)) {
      rawFilled = true;
      bytes = static_cast<const unsigned char *>(raw.data);
      count = raw.length;
    }
    if (bytes == nullptr || count < 0) count = 0;

    bool ascii = true;
    for (RBInteger i = 0; i < count && ascii; ++i) ascii = bytes[i] < 0x80;
    if (ascii) {
      text_ = s;
      REALLockString(s);
      rawASCII_ = true;
    } else if (count + 4 <= kMaxBytes) {
      // Bytes of no declared encoding with the high bit set are taken as
      // Mac OS Roman, the encoding such text came from.
      text_ = originalREALBuildString(bytes, count);
      if (text_ != nullptr) REALSetStringEncoding(text_, kREALEncodingMacRoman);
    }

    if (rawFilled)
      REALDisposeStringData(&raw);
    else if (ReadsRecordDirectly())
      REALUnlockString(s);
  }
  length_[kMacRoman] = -1;
  length_[kUTF8] = -1;
}

rbText::~rbText() {
  REALUnlockString(text_);
  for (int t = 0; t < kTargetCount; ++t) {
    REALUnlockString(converted_[t]);
    if (recordFilled_[t]) REALDisposeStringData(&record_[t]);
    // Views often hold passwords: the holder's own copies are wiped.
    if (ownedCopy_[t] != nullptr) {
      explicit_bzero(ownedCopy_[t], static_cast<size_t>(length_[t] > 0 ? length_[t] : 0));
      free(ownedCopy_[t]);
    }
  }
  Clear();
}

void rbText::Clear() {
  text_ = nullptr;
  rawASCII_ = false;
  for (int t = 0; t < kTargetCount; ++t) {
    converted_[t] = nullptr;
    length_[t] = 0;
    view_[t] = EmptyText;
    ownedCopy_[t] = nullptr;
    record_[t] = REALstringData{};
    recordFilled_[t] = false;
  }
}

const char *rbText::MacRomanText() {
  if (length_[kMacRoman] == -1) ConvertMacRoman();
  return view_[kMacRoman];
}

int32_t rbText::MacRomanLength() {
  if (length_[kMacRoman] == -1) ConvertMacRoman();
  return length_[kMacRoman];
}

const char *rbText::UTF8Text() {
  if (length_[kUTF8] == -1) ConvertUTF8();
  return view_[kUTF8];
}

int32_t rbText::UTF8Length() {
  if (length_[kUTF8] == -1) ConvertUTF8();
  return length_[kUTF8];
}

void rbText::ConvertMacRoman() { Convert(kMacRoman, kREALEncodingMacRoman); }
void rbText::ConvertUTF8() { Convert(kUTF8, kREALEncodingUTF8); }

void rbText::Convert(Target target, uint32_t encoding) {
  length_[target] = 0;
  view_[target] = EmptyText;
  if (text_ == nullptr) return;

  // Plain ASCII of no declared encoding serves unconverted as every view.
  const uint32_t wanted = rawASCII_ ? kREALEncodingUnknown : encoding;
  if (ConvertsThroughStringData()) {
    if (!REALGetStringData(text_, wanted, &record_[target])) return;
    recordFilled_[target] = true;
    if (record_[target].data == nullptr || record_[target].length < 0 ||
        record_[target].length > kMaxBytes) {
      // Nothing usable came back; the record is still disposed later.
      return;
    }
    view_[target] = static_cast<const char *>(record_[target].data);
    length_[target] = static_cast<int32_t>(record_[target].length);
  } else {
    REALstring source = text_;
    if (!rawASCII_) {
      converted_[target] = REALConvertString(text_, encoding);
      if (converted_[target] == nullptr) return;
      source = converted_[target];
    }
    StringRecordBytes record = ReadStringRecord(source);
    if (record.bytes == nullptr || record.length < 0 || record.length > kMaxBytes) return;
    view_[target] = reinterpret_cast<const char *>(record.bytes);
    length_[target] = static_cast<int32_t>(record.length);
  }
  if (!rawASCII_) TerminateView(target);
}

// Views handed to the framework must end in a zero byte; when the host's
// bytes do not, the holder makes a terminated copy of its own.
void rbText::TerminateView(Target target) {
  const int32_t length = length_[target];
  if (view_[target][length] == '\0') return;
  char *copy = nullptr;
  if (static_cast<int64_t>(length) + 4 <= kMaxBytes)
    copy = static_cast<char *>(calloc(static_cast<size_t>(length) + 4, 1));
  if (copy == nullptr) {
    view_[target] = EmptyText;
    length_[target] = 0;
    return;
  }
  memcpy(copy, view_[target], static_cast<size_t>(length));
  ownedCopy_[target] = copy;
  view_[target] = copy;
}

// rbText: a holder, built on the stack of one method call, that gives
// zero-terminated UTF-8 and Mac OS Roman byte views of a host string and
// releases everything it took when it goes out of scope.
#pragma once

#include "host_plugin_interface.h"

class rbText {
 public:
  explicit rbText(REALstring s);
  ~rbText();
  rbText(const rbText &) = delete;
  rbText &operator=(const rbText &) = delete;

  // Views are never null: an empty or failed view is an empty text.
  const char *MacRomanText();
  int32_t MacRomanLength();
  const char *UTF8Text();
  int32_t UTF8Length();

  void ConvertMacRoman();
  void ConvertUTF8();

 private:
  // The two targets this holder fills; the host's other encodings are never
  // asked for, so they have no slots.
  enum Target { kMacRoman = 0, kUTF8 = 1, kTargetCount = 2 };

  void Convert(Target target, uint32_t encoding);
  void TerminateView(Target target);
  void Clear();

  REALstring text_;
  REALstring converted_[kTargetCount];
  int32_t length_[kTargetCount];
  const char *view_[kTargetCount];
  char *ownedCopy_[kTargetCount];
  REALstringData record_[kTargetCount];
  bool recordFilled_[kTargetCount];
  bool rawASCII_;
};

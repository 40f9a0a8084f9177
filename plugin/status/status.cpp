// "LastError" and "ErrorMessageString". Neither records a status: reading
// the text of a code must not change the code a program is looking at.
#include "status/status.h"

#include <Security/Security.h>

#include "convert/string_convert.h"
#include "frame/plugin_state.h"

RBInteger GetLasterror(RBInteger /*param*/) { return Lasterror; }

REALstring rbSecCopyErrorMessageString(RBInteger error) {
  CFStringRef message = SecCopyErrorMessageString(static_cast<OSStatus>(error), nullptr);
  if (message == nullptr) return nullptr;
  REALstring result = CFString2RBString(message);
  CFRelease(message);
  return result;
}

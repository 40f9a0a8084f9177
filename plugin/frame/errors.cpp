// The module's last status, host exceptions, and status texts.
#include "frame/errors.h"

#include <Security/Security.h>
#include <string.h>

#include "convert/string_convert.h"
#include "frame/host_functions.h"
#include "frame/plugin_state.h"

RBInteger GetLasterror(RBInteger /*param*/) { return Lasterror; }

void RaiseException(const char *className, const char *message, uint32_t errorNumber) {
  REALstring text = nullptr;
  if (message != nullptr && message[0] != '\0') {
    text = originalREALBuildString(message, static_cast<RBInteger>(strlen(message)));
    if (text != nullptr) REALSetStringEncoding(text, kREALEncodingASCII);
  }
  REALobject exception = REALnewInstance(className);
  if (exception == nullptr) exception = REALnewInstance("RuntimeException");
  if (exception != nullptr) {
    REALSetPropValueString(exception, "Message", text);
    REALSetPropValueInt32(exception, "ErrorNumber", static_cast<int32_t>(errorNumber));
    REALRaiseException(exception);
    REALUnlockObject(exception);
  }
  if (text != nullptr) REALUnlockString(text);
}

REALstring rbSecCopyErrorMessageString(RBInteger error) {
  CFStringRef message = SecCopyErrorMessageString(static_cast<OSStatus>(error), nullptr);
  if (message == nullptr) return nullptr;
  REALstring result = CFString2RBString(message);
  CFRelease(message);
  return result;
}

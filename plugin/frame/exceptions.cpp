// Host exceptions: built, given their message and number, raised, and let go.
#include "frame/exceptions.h"

#include <string.h>

#include "frame/host_functions.h"

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

// Watches what reaches the keychain framework in the internet password calls,
// for the arguments the framework itself cannot tell apart: a text passed as a
// null pointer and one passed as an empty, non-null text both mean "none" to
// it, yet the plug-in must pass each form exactly as its interface says.
//
// The test program defines SecKeychainAddInternetPassword and
// SecKeychainFindInternetPassword itself (the program exports its symbols, so
// the plug-in it loads binds to these), records the text arguments, and
// passes every call on to the framework unchanged.
#pragma once

#include <MacTypes.h>

#include <string>

namespace kc_plugin_test {

struct RecordedText {
  bool null = true;
  UInt32 length = 0;
};

struct RecordedInternetCall {
  std::string function;  // "add" or "find"
  RecordedText server, securityDomain, account, path;
  UInt16 port = 0;
};

// The last internet password call that reached the framework.
const RecordedInternetCall &LastInternetCall();
void ForgetInternetCalls();

}  // namespace kc_plugin_test

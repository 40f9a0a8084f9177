// Watches, and on request answers, the four item query calls the plug-in
// makes. The test program defines SecItemCopyMatching, SecItemAdd,
// SecItemUpdate and SecItemDelete itself (it exports its symbols, so the
// plug-in it loads binds to these): each keeps a copy of the dictionaries it
// was given and passes the call on to the framework, unless a test has told
// it what to answer instead. That shows exactly what reached the framework,
// and lets a test hand the plug-in framework values no keychain would hold.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <MacTypes.h>

#include <string>

namespace kc_plugin_test {

struct ItemQueryCall {
  std::string function;  // "copy", "add", "update" or "delete"; empty: none yet
  CFDictionaryRef query = nullptr;       // a copy of what the plug-in passed
  CFDictionaryRef attributes = nullptr;  // the second dictionary of an update
  bool wantedResult = false;             // a result pointer was passed
};

const ItemQueryCall &LastItemQuery();

// The next calls answer `status` and, where a result is asked for, a new
// reference to `result` (null for none), without reaching the framework.
void AnswerItemQueriesWith(OSStatus status, CFTypeRef result);
// Calls reach the framework again.
void PassItemQueriesOn();

// Lets go of everything recorded and passes calls on: tests call it before
// counting live CoreFoundation objects.
void ForgetItemQueries();

}  // namespace kc_plugin_test

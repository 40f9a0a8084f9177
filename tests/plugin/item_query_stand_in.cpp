// The recording, answering stand-ins for the item query calls.
#include "item_query_stand_in.h"

#include <Security/Security.h>
#include <dlfcn.h>

#include <cstdlib>

namespace kc_plugin_test {
namespace {

ItemQueryCall last;
bool answering = false;
OSStatus answerStatus = 0;
CFTypeRef answerResult = nullptr;

void Release(CFTypeRef &ref) {
  if (ref != nullptr) CFRelease(ref);
  ref = nullptr;
}

CFDictionaryRef Copy(CFDictionaryRef d) {
  return d != nullptr ? CFDictionaryCreateCopy(kCFAllocatorDefault, d) : nullptr;
}

void Record(const char *function, CFDictionaryRef query, CFDictionaryRef attributes, bool wantedResult) {
  CFTypeRef q = last.query, a = last.attributes;
  Release(q);
  Release(a);
  last = {function, Copy(query), Copy(attributes), wantedResult};
}

// The answer a stand-in gives instead of the framework's.
OSStatus Answer(CFTypeRef *result) {
  if (result != nullptr) *result = answerResult != nullptr ? CFRetain(answerResult) : nullptr;
  return answerStatus;
}

template <typename Fn>
Fn Next(const char *name) {
  void *f = dlsym(RTLD_NEXT, name);
  if (f == nullptr) abort();  // the framework must be loaded after this program
  return reinterpret_cast<Fn>(f);
}

}  // namespace

const ItemQueryCall &LastItemQuery() { return last; }

void AnswerItemQueriesWith(OSStatus status, CFTypeRef result) {
  Release(answerResult);
  answering = true;
  answerStatus = status;
  answerResult = result != nullptr ? CFRetain(result) : nullptr;
}

void PassItemQueriesOn() {
  answering = false;
  Release(answerResult);
}

void ForgetItemQueries() {
  PassItemQueriesOn();
  Record("", nullptr, nullptr, false);
  last.function.clear();
}

OSStatus StandInCopyMatching(CFDictionaryRef query, CFTypeRef *result) {
  Record("copy", query, nullptr, result != nullptr);
  if (answering) return Answer(result);
  static auto real = Next<decltype(&SecItemCopyMatching)>("SecItemCopyMatching");
  return real(query, result);
}

OSStatus StandInAdd(CFDictionaryRef attributes, CFTypeRef *result) {
  Record("add", attributes, nullptr, result != nullptr);
  if (answering) return Answer(result);
  static auto real = Next<decltype(&SecItemAdd)>("SecItemAdd");
  return real(attributes, result);
}

OSStatus StandInUpdate(CFDictionaryRef query, CFDictionaryRef attributes) {
  Record("update", query, attributes, false);
  if (answering) return Answer(nullptr);
  static auto real = Next<decltype(&SecItemUpdate)>("SecItemUpdate");
  return real(query, attributes);
}

OSStatus StandInDelete(CFDictionaryRef query) {
  Record("delete", query, nullptr, false);
  if (answering) return Answer(nullptr);
  static auto real = Next<decltype(&SecItemDelete)>("SecItemDelete");
  return real(query);
}

}  // namespace kc_plugin_test

extern "C" OSStatus SecItemCopyMatching(CFDictionaryRef query, CFTypeRef *result) {
  return kc_plugin_test::StandInCopyMatching(query, result);
}
extern "C" OSStatus SecItemAdd(CFDictionaryRef attributes, CFTypeRef *result) {
  return kc_plugin_test::StandInAdd(attributes, result);
}
extern "C" OSStatus SecItemUpdate(CFDictionaryRef query, CFDictionaryRef attributesToUpdate) {
  return kc_plugin_test::StandInUpdate(query, attributesToUpdate);
}
extern "C" OSStatus SecItemDelete(CFDictionaryRef query) { return kc_plugin_test::StandInDelete(query); }

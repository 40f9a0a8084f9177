// AddKeychainArray and CopyKeychainList.
#include "convert/keychain_list.h"

#include <Security/Security.h>

#include "frame/host_arrays.h"
#include "frame/host_functions.h"
#include "frame/instance_data.h"

namespace {

// Framework keychain lists start with room for this many keychains and grow
// as needed beyond it.
constexpr CFIndex kListCapacity = 20;

}  // namespace

void AddKeychainArray(REALarray array, CFArrayRef keychains) {
  const CFIndex count = CFArrayGetCount(keychains);
  RBInteger index = 0;
  for (CFIndex i = 0; i < count; ++i) {
    CFTypeRef keychain = CFArrayGetValueAtIndex(keychains, i);
    if (keychain == nullptr || CFGetTypeID(keychain) != SecKeychainGetTypeID()) continue;
    // The framework array keeps its own retain; the object takes one more.
    REALobject obj = REALnewInstance("KeychainZNQ");
    if (obj != nullptr) {
      ArgumentData(obj)->Handle = reinterpret_cast<RBWord>(keychain);
      CFRetain(keychain);
    }
    REALInsertArrayValueObject(array, index++, obj);
    REALUnlockObject(obj);
  }
}

CFMutableArrayRef CopyKeychainList(REALarray array) {
  CFMutableArrayRef list = CFArrayCreateMutable(kCFAllocatorDefault, kListCapacity, &kCFTypeArrayCallBacks);
  if (list == nullptr) return nullptr;
  const RBInteger upperBound = REALGetArrayUBound(array);
  for (RBInteger i = 0; i <= upperBound; ++i) {
    REALobject element = REALGetArrayValueObject(array, i);
    if (element == nullptr) continue;
    if (const void *keychain = ArgumentHandle(element)) CFArrayAppendValue(list, keychain);
    REALUnlockObject(element);
  }
  return list;
}

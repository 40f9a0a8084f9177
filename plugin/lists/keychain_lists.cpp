// Search lists, domains and the global settings of Keychain Services.
#include "lists/keychain_lists.h"

#include <Security/Security.h>

#include "convert/keychain_list.h"
#include "frame/exceptions.h"
#include "frame/host_arrays.h"
#include "frame/instance_data.h"
#include "frame/plugin_state.h"

namespace {

// A listing is an array even when the framework fails: empty unless the
// framework handed back a list anyway. Nil only when the host cannot make
// arrays; the framework is asked all the same, so LastError tells its answer.
REALarray TakeKeychainList(CFArrayRef keychains, REALarray result) {
  if (keychains == nullptr) return result;
  if (result != nullptr) AddKeychainArray(result, keychains);
  CFRelease(keychains);
  return result;
}

// Both setters refuse a nil list; the framework gets the list without its
// nil entries and objects that hold no keychain.
template <typename SetList>
void SetKeychainList(REALarray list, SetList set) {
  Lasterror = -1;
  if (list == nullptr) {
    RaiseException("NilObjectException", "list is nil", 0);
    return;
  }
  CFMutableArrayRef keychains = CopyKeychainList(list);
  if (keychains == nullptr) return;
  Lasterror = set(keychains);
  CFRelease(keychains);
}

}  // namespace

REALarray rbSecKeychainCopySearchList() {
  REALarray result = REALCreateArray(kREALArrayObject, -1);
  Lasterror = -1;
  CFArrayRef keychains = nullptr;
  Lasterror = SecKeychainCopySearchList(&keychains);
  return TakeKeychainList(keychains, result);
}

REALarray rbSecKeychainCopyDomainSearchList(RBInteger domain) {
  REALarray result = REALCreateArray(kREALArrayObject, -1);
  Lasterror = -1;
  CFArrayRef keychains = nullptr;
  Lasterror = SecKeychainCopyDomainSearchList(static_cast<SecPreferencesDomain>(domain), &keychains);
  return TakeKeychainList(keychains, result);
}

void rbSecKeychainSetSearchList(REALarray list) {
  SetKeychainList(list, [](CFArrayRef keychains) { return SecKeychainSetSearchList(keychains); });
}

void rbSecKeychainSetDomainSearchList(RBInteger domain, REALarray list) {
  SetKeychainList(list, [domain](CFArrayRef keychains) {
    return SecKeychainSetDomainSearchList(static_cast<SecPreferencesDomain>(domain), keychains);
  });
}

// A keychain reference that comes back is wrapped whatever the status says.
REALobject rbSecKeychainCopyDomainDefault(RBInteger domain) {
  Lasterror = -1;
  SecKeychainRef keychain = nullptr;
  Lasterror = SecKeychainCopyDomainDefault(static_cast<SecPreferencesDomain>(domain), &keychain);
  return WrapReference("KeychainZNQ", keychain);
}

void rbSecKeychainSetDomainDefault(RBInteger domain, REALobject keychain) {
  Lasterror = -1;
  const void *reference = ArgumentHandle(keychain);
  if (reference == nullptr) {
    RaiseException("NilObjectException", "keychain is nil", 0);
    return;
  }
  Lasterror = SecKeychainSetDomainDefault(static_cast<SecPreferencesDomain>(domain),
                                          static_cast<SecKeychainRef>(const_cast<void *>(reference)));
}

// -1 when the framework does not write the domain.
RBInteger rbSecKeychainGetPreferenceDomain() {
  Lasterror = -1;
  SecPreferencesDomain domain = static_cast<SecPreferencesDomain>(-1);
  Lasterror = SecKeychainGetPreferenceDomain(&domain);
  return static_cast<RBInteger>(domain);
}

void rbSecKeychainSetPreferenceDomain(RBInteger domain) {
  Lasterror = -1;
  Lasterror = SecKeychainSetPreferenceDomain(static_cast<SecPreferencesDomain>(domain));
}

RBBoolean rbSecKeychainGetUserInteractionAllowed() {
  Lasterror = -1;
  Boolean allowed = false;
  Lasterror = SecKeychainGetUserInteractionAllowed(&allowed);
  return allowed != 0;
}

void rbSecKeychainSetUserInteractionAllowed(RBBoolean allowed) {
  Lasterror = -1;
  Lasterror = SecKeychainSetUserInteractionAllowed(allowed != 0);
}

void rbSecKeychainLockAll() {
  Lasterror = -1;
  Lasterror = SecKeychainLockAll();
}

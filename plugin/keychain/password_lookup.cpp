// Finding and adding generic and internet passwords. Each function serves a
// module method (the keychain is its first argument) and a KeychainZNQ
// method (the keychain is the object itself), so it reads the keychain's
// Handle as any object argument's and records its status in the module's
// Lasterror, never in the keychain object's.
#include "keychain/password_lookup.h"

#include <Security/Security.h>

#include "convert/memory_block.h"
#include "convert/ostype.h"
#include "convert/rb_text.h"
#include "frame/host_functions.h"
#include "frame/instance_data.h"
#include "frame/plugin_state.h"

namespace {

constexpr const char *kItemClassName = "KeychainItemZNQ";

// A nil keychain, or one without a reference, is null: the framework then
// uses the default search list (finds) or the default keychain (adds).
SecKeychainRef KeychainArgument(REALobject keychain) {
  return static_cast<SecKeychainRef>(const_cast<void *>(ArgumentHandle(keychain)));
}

UInt32 Length(rbText &text) { return static_cast<UInt32>(text.UTF8Length()); }

// Some arguments go to the framework as null when empty, meaning "any" for a
// find and "none" for an add.
const char *NullWhenEmpty(rbText &text) { return text.UTF8Length() == 0 ? nullptr : text.UTF8Text(); }

// Ports are 16 bits; the host integer is cut to its low 16 bits.
UInt16 Port(RBInteger port) { return static_cast<UInt16>(port & 0xFFFF); }

// The by-reference password variable is emptied before anything else, so it
// is nil after every call that finds no password.
void ClearPasswordVariable(REALmemoryBlock *password) {
  if (password == nullptr || *password == nullptr) return;
  REALUnlockObject(*password);
  *password = nullptr;
}

// Whatever the framework returned is taken over, whatever its status: the
// item is wrapped, the password copied into a new block and its buffer freed.
REALobject TakeFindResults(SecKeychainItemRef item, UInt32 length, void *secret,
                           REALmemoryBlock *password) {
  REALobject result = WrapReference(kItemClassName, item);
  if (secret != nullptr) {
    REALmemoryBlock block = REALBuildMemoryblock(secret, static_cast<int32_t>(length));
    if (password != nullptr)
      *password = block;
    else
      REALUnlockObject(block);
    SecKeychainItemFreeContent(nullptr, secret);
  }
  return result;
}

REALobject FindGeneric(REALobject keychain, REALstring serviceName, REALstring accountName,
                       REALmemoryBlock *password, bool withPassword) {
  Lasterror = -1;
  SecKeychainRef keychainRef = KeychainArgument(keychain);
  rbText service(serviceName);
  rbText account(accountName);
  UInt32 length = 0;
  void *secret = nullptr;
  SecKeychainItemRef item = nullptr;
  Lasterror = SecKeychainFindGenericPassword(keychainRef, Length(service), service.UTF8Text(),
                                             Length(account), account.UTF8Text(),
                                             withPassword ? &length : nullptr,
                                             withPassword ? &secret : nullptr, &item);
  return TakeFindResults(item, length, secret, password);
}

REALobject FindInternet(REALobject keychain, REALstring serverName, REALstring securityDomain,
                        REALstring accountName, REALstring path, RBInteger port,
                        REALstring protocol, REALstring authenticationType,
                        REALmemoryBlock *password, bool withPassword) {
  Lasterror = -1;
  SecKeychainRef keychainRef = KeychainArgument(keychain);
  rbText server(serverName);
  rbText domain(securityDomain);
  rbText account(accountName);
  rbText pathText(path);
  const SecProtocolType protocolCode = REALstringToOSType(protocol);
  const SecAuthenticationType authenticationCode = REALstringToOSType(authenticationType);
  UInt32 length = 0;
  void *secret = nullptr;
  SecKeychainItemRef item = nullptr;
  Lasterror = SecKeychainFindInternetPassword(
      keychainRef, Length(server), server.UTF8Text(), Length(domain), domain.UTF8Text(),
      Length(account), account.UTF8Text(), Length(pathText), NullWhenEmpty(pathText), Port(port),
      protocolCode, authenticationCode, withPassword ? &length : nullptr,
      withPassword ? &secret : nullptr, &item);
  return TakeFindResults(item, length, secret, password);
}

REALobject AddGeneric(REALobject keychain, REALstring serviceName, REALstring accountName,
                      UInt32 passwordLength, const void *passwordData) {
  SecKeychainRef keychainRef = KeychainArgument(keychain);
  rbText service(serviceName);
  rbText account(accountName);
  SecKeychainItemRef item = nullptr;
  Lasterror = SecKeychainAddGenericPassword(keychainRef, Length(service), service.UTF8Text(),
                                            Length(account), account.UTF8Text(), passwordLength,
                                            passwordData, &item);
  return WrapReference(kItemClassName, item);
}

// The string overload passes an empty security domain as null, the memory
// block overload as an empty text.
REALobject AddInternet(REALobject keychain, REALstring serverName, REALstring securityDomain,
                       REALstring accountName, REALstring path, RBInteger port,
                       REALstring protocol, REALstring authenticationType, bool nullEmptyDomain,
                       UInt32 passwordLength, const void *passwordData) {
  SecKeychainRef keychainRef = KeychainArgument(keychain);
  rbText server(serverName);
  rbText domain(securityDomain);
  rbText account(accountName);
  rbText pathText(path);
  const SecProtocolType protocolCode = REALstringToOSType(protocol);
  const SecAuthenticationType authenticationCode = REALstringToOSType(authenticationType);
  SecKeychainItemRef item = nullptr;
  Lasterror = SecKeychainAddInternetPassword(
      keychainRef, Length(server), server.UTF8Text(), Length(domain),
      nullEmptyDomain ? NullWhenEmpty(domain) : domain.UTF8Text(), Length(account),
      account.UTF8Text(), Length(pathText), NullWhenEmpty(pathText), Port(port), protocolCode,
      authenticationCode, passwordLength, passwordData, &item);
  return WrapReference(kItemClassName, item);
}

}  // namespace

REALobject rbSecKeychainFindGenericPassword(REALobject keychain, REALstring serviceName,
                                            REALstring accountName, REALmemoryBlock *password) {
  ClearPasswordVariable(password);
  return FindGeneric(keychain, serviceName, accountName, password, true);
}

REALobject rbSecKeychainFindGenericItem(REALobject keychain, REALstring serviceName,
                                        REALstring accountName) {
  return FindGeneric(keychain, serviceName, accountName, nullptr, false);
}

REALobject rbSecKeychainFindInternetPassword(REALobject keychain, REALstring serverName,
                                             REALstring securityDomain, REALstring accountName,
                                             REALstring path, RBInteger port, REALstring protocol,
                                             REALstring authenticationType, REALmemoryBlock *password) {
  ClearPasswordVariable(password);
  return FindInternet(keychain, serverName, securityDomain, accountName, path, port, protocol,
                      authenticationType, password, true);
}

REALobject rbSecKeychainFindInternetItem(REALobject keychain, REALstring serverName,
                                         REALstring securityDomain, REALstring accountName,
                                         REALstring path, RBInteger port, REALstring protocol,
                                         REALstring authenticationType) {
  return FindInternet(keychain, serverName, securityDomain, accountName, path, port, protocol,
                      authenticationType, nullptr, false);
}

REALobject rbSecKeychainAddGenericPasswordS(REALobject keychain, REALstring serviceName,
                                            REALstring accountName, REALstring password) {
  Lasterror = -1;
  rbText secret(password);
  return AddGeneric(keychain, serviceName, accountName, Length(secret), secret.UTF8Text());
}

REALobject rbSecKeychainAddGenericPasswordM(REALobject keychain, REALstring serviceName,
                                            REALstring accountName, REALmemoryBlock password) {
  Lasterror = -1;
  BlockBytes secret(password);  // locked until the item is wrapped
  return AddGeneric(keychain, serviceName, accountName, static_cast<UInt32>(secret.count()),
                    secret.bytes());
}

REALobject rbSecKeychainAddInternetPasswordS(REALobject keychain, REALstring serverName,
                                             REALstring securityDomain, REALstring accountName,
                                             REALstring path, RBInteger port, REALstring protocol,
                                             REALstring authenticationType, REALstring password) {
  Lasterror = -1;
  rbText secret(password);
  return AddInternet(keychain, serverName, securityDomain, accountName, path, port, protocol,
                     authenticationType, true, Length(secret), secret.UTF8Text());
}

REALobject rbSecKeychainAddInternetPasswordM(REALobject keychain, REALstring serverName,
                                             REALstring securityDomain, REALstring accountName,
                                             REALstring path, RBInteger port, REALstring protocol,
                                             REALstring authenticationType, REALmemoryBlock password) {
  Lasterror = -1;
  BlockBytes secret(password);
  return AddInternet(keychain, serverName, securityDomain, accountName, path, port, protocol,
                     authenticationType, false, static_cast<UInt32>(secret.count()), secret.bytes());
}

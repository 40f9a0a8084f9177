// KeychainZNQ: locking, unlocking, status, path and name, deletion, making a
// keychain the default, its destructor; and the module methods that make
// keychain objects ("Default", "Open") and "Version".
#include "keychain/keychain_object.h"

#include <Security/Security.h>
#include <string.h>

#include "convert/folder_item.h"
#include "convert/rb_text.h"
#include "frame/host_functions.h"
#include "frame/instance_data.h"
#include "frame/plugin_state.h"

namespace {

constexpr const char *kKeychainClassName = "KeychainZNQ";
constexpr UInt32 kPathBufferSize = 1024;

SecKeychainRef KeychainOf(const KeychainData *data) {
  return reinterpret_cast<SecKeychainRef>(data->Handle);
}

REALstring BuildUTF8String(const char *bytes, size_t length) {
  REALstring s = originalREALBuildString(bytes, static_cast<RBInteger>(length));
  if (s != nullptr) REALSetStringEncoding(s, kREALEncodingUTF8);
  return s;
}

// Every class method starts here: the object's status becomes -1, and the
// call goes on only when the object holds a keychain.
KeychainData *BeginCall(REALobject instance) {
  KeychainData *data = KeychainDataOf(instance);
  data->Lasterror = -1;
  return data->Handle != 0 ? data : nullptr;
}

UInt32 StatusBits(REALobject instance) {
  KeychainData *data = BeginCall(instance);
  if (data == nullptr) return 0;
  SecKeychainStatus bits = 0;
  data->Lasterror = SecKeychainGetStatus(KeychainOf(data), &bits);
  return bits;
}

}  // namespace

void rbSecKeychainLock(REALobject instance) {
  if (KeychainData *data = BeginCall(instance)) data->Lasterror = SecKeychainLock(KeychainOf(data));
}

// Without a password the system asks the user.
void rbSecKeychainUnlock(REALobject instance) {
  if (KeychainData *data = BeginCall(instance))
    data->Lasterror = SecKeychainUnlock(KeychainOf(data), 0, nullptr, false);
}

// A nil or empty password is an empty password, not a request to ask.
void rbSecKeychainUnlock2(REALobject instance, REALstring password) {
  KeychainData *data = BeginCall(instance);
  if (data == nullptr) return;
  rbText text(password);
  data->Lasterror = SecKeychainUnlock(KeychainOf(data), static_cast<UInt32>(text.UTF8Length()),
                                      text.UTF8Text(), true);
}

void rbSecKeychainSetDefault(REALobject instance) {
  if (KeychainData *data = BeginCall(instance))
    data->Lasterror = SecKeychainSetDefault(KeychainOf(data));
}

// The object keeps its reference to the deleted keychain until destroyed.
void rbSecKeychainDelete(REALobject instance) {
  if (KeychainData *data = BeginCall(instance)) data->Lasterror = SecKeychainDelete(KeychainOf(data));
}

RBInteger rbSecKeychainGetStatus(REALobject instance) {
  return static_cast<RBInteger>(StatusBits(instance));
}

RBBoolean IsUnlocked(REALobject instance) {
  return (StatusBits(instance) & kSecUnlockStateStatus) != 0;
}

REALstring rbSecKeychainGetPath(REALobject instance) {
  KeychainData *data = BeginCall(instance);
  if (data == nullptr) return nullptr;
  char buffer[kPathBufferSize];
  memset(buffer, 0, sizeof buffer);
  UInt32 length = kPathBufferSize;
  data->Lasterror = SecKeychainGetPath(KeychainOf(data), &length, buffer);
  buffer[kPathBufferSize - 1] = '\0';
  if (buffer[0] == '\0') return nullptr;
  return BuildUTF8String(buffer, strlen(buffer));
}

// The last path component without its extension; a leading dot (a hidden
// file) is part of the name, not an extension.
REALstring rbSecKeychainGetName(REALobject instance) {
  KeychainData *data = BeginCall(instance);
  if (data == nullptr) return nullptr;
  char buffer[kPathBufferSize];
  memset(buffer, 0, sizeof buffer);
  UInt32 length = kPathBufferSize;
  data->Lasterror = SecKeychainGetPath(KeychainOf(data), &length, buffer);
  buffer[kPathBufferSize - 1] = '\0';
  if (length > kPathBufferSize - 1) length = kPathBufferSize - 1;

  const char *slash = strrchr(buffer, '/');
  char *name = slash ? const_cast<char *>(slash) + 1 : buffer;
  const long start = name - buffer;
  for (long i = static_cast<long>(length) - 1; i > start; --i) {
    if (buffer[i] == '.') {
      buffer[i] = '\0';
      break;
    }
  }
  if (name[0] == '\0') return nullptr;
  return BuildUTF8String(name, strlen(name));
}

void KeychainDestructor(REALobject instance) { ReleaseHandle(KeychainDataOf(instance)); }

namespace {

// A keychain reference that came with a failure status is released, not
// wrapped.
REALobject WrapKeychainOnSuccess(OSStatus status, SecKeychainRef keychain) {
  if (status != 0) {
    if (keychain != nullptr) CFRelease(keychain);
    return nullptr;
  }
  return WrapReference(kKeychainClassName, keychain);
}

}  // namespace

REALobject rbSecKeychainCopyDefault() {
  Lasterror = -1;
  SecKeychainRef keychain = nullptr;
  Lasterror = SecKeychainCopyDefault(&keychain);
  return WrapKeychainOnSuccess(Lasterror, keychain);
}

REALobject rbSecKeychainOpenPath(REALstring path) {
  Lasterror = -1;
  if (path == nullptr) return nullptr;
  rbText text(path);
  SecKeychainRef keychain = nullptr;
  Lasterror = SecKeychainOpen(text.UTF8Text(), &keychain);
  return WrapKeychainOnSuccess(Lasterror, keychain);
}

// The framework is asked even without a path, so its status tells why.
REALobject rbSecKeychainOpenFile(REALfolderItem file) {
  Lasterror = -1;
  if (file == nullptr) return nullptr;
  rbPath path(file);
  SecKeychainRef keychain = nullptr;
  Lasterror = SecKeychainOpen(path.PosixPath(), &keychain);
  return WrapKeychainOnSuccess(Lasterror, keychain);
}

RBInteger rbSecKeychainGetVersion() {
  Lasterror = -1;
  UInt32 version = 0;
  Lasterror = SecKeychainGetVersion(&version);
  return Lasterror == 0 ? static_cast<RBInteger>(version) : 0;
}

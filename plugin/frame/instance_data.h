// The instance data every object of a plug-in class carries, the ways to
// reach it, and the one way a framework reference becomes a plug-in object. Each field of the original 32-bit layout is one pointer-sized
// word here, so the byte offsets are those of the 32-bit layout on a 32-bit
// build and twice them on a 64-bit one.
#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <stddef.h>

#include "host_plugin_interface.h"

// KeychainZNQ, KeychainItemZNQ and KeychainSearchZNQ.
struct KeychainData {
  RBWord Handle;        // word 0: the retained framework reference, or 0
  RBInteger Lasterror;  // word 1: the object's last status, sign-extended
  RBWord unused[3];
};

// KeychainSettingsZNQ. The Booleans use the first byte of their word.
struct KeychainSettingsData {
  RBWord version;             // word 0
  RBBoolean lockOnSleep;      // word 1
  RBWord lockInterval;        // word 2
  RBBoolean useLockInterval;  // word 3
  RBWord unused;              // word 4
};

static_assert(sizeof(KeychainData) == 5 * sizeof(void *), "instance data is 5 words");
static_assert(sizeof(KeychainSettingsData) == 5 * sizeof(void *), "settings data is 5 words");
static_assert(offsetof(KeychainData, Lasterror) == sizeof(void *), "Lasterror is word 1");
static_assert(offsetof(KeychainSettingsData, lockOnSleep) == 1 * sizeof(void *), "lockOnSleep is word 1");
static_assert(offsetof(KeychainSettingsData, lockInterval) == 2 * sizeof(void *), "lockInterval is word 2");
static_assert(offsetof(KeychainSettingsData, useLockInterval) == 3 * sizeof(void *), "useLockInterval is word 3");
#if UINTPTR_MAX == 0xFFFFFFFFu
static_assert(sizeof(KeychainData) == 20, "instance data is 20 bytes");
static_assert(offsetof(KeychainData, Lasterror) == 4, "Lasterror at byte 4");
static_assert(offsetof(KeychainSettingsData, lockOnSleep) == 4, "lockOnSleep at byte 4");
static_assert(offsetof(KeychainSettingsData, lockInterval) == 8, "lockInterval at byte 8");
static_assert(offsetof(KeychainSettingsData, useLockInterval) == 12, "useLockInterval at byte 12");
#endif

// The declared size of every class's instance data.
constexpr RBWord kInstanceDataSize = sizeof(KeychainData);

// Instance data of an object passed as an argument (the host puts it right
// after the object header); null for a nil object.
inline KeychainData *ArgumentData(REALobject obj) {
  return obj ? reinterpret_cast<KeychainData *>(reinterpret_cast<char *>(obj) + kREALObjectHeaderSize)
             : nullptr;
}

// Instance data of an object of the given class, at the offset the host wrote
// into word 4 of the class record when the class was registered.
inline void *ClassData(REALobject obj, const REALclassDefinition &cls) {
  return reinterpret_cast<char *>(obj) + cls.forSystemUse;
}

// The framework reference of a KeychainZNQ or KeychainItemZNQ argument, null
// for a nil object.
inline const void *ArgumentHandle(REALobject obj) {
  KeychainData *d = ArgumentData(obj);
  return d ? reinterpret_cast<const void *>(d->Handle) : nullptr;
}

// The instance data of an object of one of the plug-in's classes, for
// methods the host called on that object.
KeychainData *KeychainDataOf(REALobject instance);
KeychainData *KeychainItemDataOf(REALobject instance);
KeychainData *KeychainSearchDataOf(REALobject instance);
KeychainSettingsData *KeychainSettingsDataOf(REALobject instance);

// Takes over the caller's reference: a new object of className holding its
// own retain of ref, or nil (the reference is released either way).
REALobject WrapReference(const char *className, CFTypeRef ref);

// Releases the reference an object holds and clears its Handle.
void ReleaseHandle(KeychainData *data);

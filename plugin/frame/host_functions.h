// Wrappers of the host functions the plug-in calls. Each finds its host
// function by name through gResolver on first use and keeps the address in
// a cache of its own; a name that does not resolve is asked for again on the
// next call, and meanwhile the wrapper returns its empty result (null, 0 or
// false) or does nothing.
#pragma once

#include "host_plugin_interface.h"

struct FSRef;
struct FSSpec;
struct HFSUniStr255;
struct __CFString;

// The binding rule every wrapper follows: while the cache is empty, ask
// gResolver for the name and store the answer (a null answer leaves the
// cache empty, so the next call asks again). Returns the cache.
void *Bind(void *&cache, const char *name);

// Registration
void REALRegisterModule(REALmoduleDefinition *module);
void REALRegisterClass(REALclassDefinition *cls);

// Objects and classes
REALobject REALnewInstance(const char *className);  // owned
void REALLockObject(REALobject obj);
void REALUnlockObject(REALobject obj);
void REALRaiseException(REALobject exception);
void *REALLoadFrameworkMethod(const char *prototype);
void *REALLoadObjectMethod(REALobject obj, const char *declaration);
REALclassRef REALGetClassRef(const char *className);
bool REALObjectIsA(REALobject obj, REALclassRef cls);
bool REALGetPropValueInt32(REALobject obj, const char *name, int32_t *out);
bool REALGetPropValueInt64(REALobject obj, const char *name, int64_t *out);
bool REALGetPropValueSingle(REALobject obj, const char *name, float *out);
bool REALGetPropValueDouble(REALobject obj, const char *name, double *out);
bool REALGetPropValueString(REALobject obj, const char *name, REALstring *out);  // owned
bool REALSetPropValueInt32(REALobject obj, const char *name, int32_t value);
bool REALSetPropValueString(REALobject obj, const char *name, REALstring value);

// Strings
REALstring originalREALBuildString(const void *bytes, RBInteger byteCount);  // owned
void REALSetStringEncoding(REALstring str, uint32_t encoding);
uint32_t REALGetStringEncoding(REALstring str);
REALstring REALConvertString(REALstring str, uint32_t encoding);  // owned
void REALLockString(REALstring str);
void REALUnlockString(REALstring str);
// Releases what a filled string-data record holds: through the host's
// "PluginDisposeStringData", or with free when the host lacks it. A record the
// plug-in filled itself (on a host without "PluginGetStringData") holds a
// malloc'd buffer too, which the host's dispose function releases like its
// own; the record's two host words are never touched.
void REALDisposeStringData(REALstringData *data);
const struct __CFString *REALGetStringCFString(REALstring str, RBBoolean flag);  // retained

// Memory blocks
REALmemoryBlock REALNewMemoryBlockOriginal(RBInteger size);  // owned
void *REALMemoryBlockGetPtr(REALmemoryBlock block);
RBInteger REALMemoryBlockGetSize(REALmemoryBlock block);

// Folder items
bool REALFSRefFromFolderItem(REALfolderItem item, struct FSRef *ref, struct HFSUniStr255 *name);
bool REALFSSpecFromFolderItem(struct FSSpec *spec, REALfolderItem item);
REALfolderItem REALFolderItemFromParentFSRef(const struct FSRef *parent, const struct HFSUniStr255 *name);  // owned
REALfolderItem REALFolderItemFromFSSpec(const struct FSSpec *spec);  // owned

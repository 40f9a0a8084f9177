// Host arrays: creating them, their upper bound, and reading, writing and
// inserting elements. Hosts up to 2013.9 may expose an array's element
// storage in word 2 of the array object; there elements are read and written
// in place. Newer hosts, and arrays without exposed storage, are served
// through the procedures the host hands out per array. Each wrapper keeps
// its own cache of the host names it uses.
#pragma once

#include "host_plugin_interface.h"

// A new array of elementType with the given upper bound (-1: empty), owned;
// nil when the host cannot make one.
REALarray REALCreateArray(RBInteger elementType, RBInteger upperBound);

// The last index (-1 for an empty array). A host without "RuntimeUBound"
// gives 0, so callers visit index 0 only.
RBInteger REALGetArrayUBound(REALarray array);

// Inserts obj (nil allowed) at index; the array takes its own lock. Always
// through the host's insert procedure; nothing happens without one.
void REALInsertArrayValueObject(REALarray array, RBInteger index, REALobject obj);

// Element index of an array of objects, owned by the caller; nil for a nil
// element or when the element cannot be read.
REALobject REALGetArrayValueObject(REALarray array, RBInteger index);

// Element index of an array of strings, owned by the caller, read through
// "RuntimeDirectReadStringArray" where the storage is not exposed.
REALstring REALGetArrayString(REALarray array, RBInteger index);

// The same element read through the array's get procedure where the storage
// is not exposed (arrays of strings inside variants).
REALstring REALGetArrayValueString(REALarray array, RBInteger index);

// Numeric elements, always through the array's get procedure (0 without
// one); Booleans, in place where the storage is exposed (one byte each).
int32_t REALGetArrayValueInt32(REALarray array, RBInteger index);
int64_t REALGetArrayValueInt64(REALarray array, RBInteger index);
float REALGetArrayValueSingle(REALarray array, RBInteger index);
double REALGetArrayValueDouble(REALarray array, RBInteger index);
bool REALGetArrayValueUInt8(REALarray array, RBInteger index);

// Stores obj (nil allowed) at index of an array of objects: in place, with
// the locks moved by hand, where the storage is exposed, else through the
// array's set procedure; nothing happens without one.
void REALSetArrayValueObject(REALarray array, RBInteger index, REALobject obj);

// True when this array's elements are read in place: the host is 2013.9 or
// older and exposes the array's storage.
bool ReadsArrayStorage(REALarray array);

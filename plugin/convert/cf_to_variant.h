// CoreFoundation to host values: any framework value to one host object that
// can stand in a Variant (a string, Boolean or number variant, a Date, a
// FolderItem, a Dictionary, an array of objects, or a wrapper object of the
// plug-in family holding the value), recursively. The caller owns the
// result; the framework value is never consumed.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include "host_plugin_interface.h"

// Nil for null, kCFNull, an empty string or data object, and anything that
// cannot be made on this host.
REALobject GetCFTypeAsVariant(CFTypeRef value);

// The CFDictionaryApplyFunction step that stores one entry, converted, in the
// host Dictionary given as context. The caller forgets the dictionary method
// cache once the whole dictionary is applied.
void MyCFDictionaryApplierFunction(const void *key, const void *value, void *context);

// Reading a host string's bytes in a chosen encoding on every host generation
// (with a fallback for hosts without "PluginGetStringData"), and the direct
// read of the string record that older hosts allow.
#pragma once

#include "host_plugin_interface.h"

// Fills out with s's bytes in encoding (kREALEncodingUnknown: the bytes as
// they are) and returns true; the caller then disposes out with
// REALDisposeStringData. False when the bytes cannot be had.
bool REALGetStringData(REALstring s, uint32_t encoding, REALstringData *out);

// A string's text and byte length read from its record, as hosts up to
// 2013.0 let plug-ins do.
struct StringRecordBytes {
  const unsigned char *bytes;
  RBInteger length;
};
StringRecordBytes ReadStringRecord(REALstring s);

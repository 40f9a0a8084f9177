// Conversions between UTF-16 text and the byte encodings strings support.
#pragma once

#include <CoreFoundation/CFString.h>

#include <string>

namespace cf {

bool EncodingSupported(CFStringEncoding encoding);
const char* EncodingName(CFStringEncoding encoding);
// Worst-case bytes per UTF-16 unit, 0 for an unsupported encoding.
CFIndex MaxBytesPerUnit(CFStringEncoding encoding);

// Decodes bytes; false when they are not valid text in that encoding. With
// `external`, a leading byte-order mark is honoured and dropped.
bool DecodeBytes(const UInt8* bytes, size_t length, CFStringEncoding encoding, bool external,
                 std::u16string* out);

// Encodes text[location, location + length) as CFStringGetBytes does: stops
// at the first character that has no encoding when lossByte is 0, or when
// the next character does not fit in maxLength bytes (buffer NULL: no limit).
// Returns the number of UTF-16 units converted; *used gets the byte count.
CFIndex EncodeText(const std::u16string& text, CFIndex location, CFIndex length,
                   CFStringEncoding encoding, UInt8 lossByte, bool external, UInt8* buffer,
                   CFIndex maxLength, CFIndex* used);

}  // namespace cf

// Name conversions for the File Manager: POSIX names (UTF-8 bytes) to and
// from the names Carbon sees (UTF-16 and Mac OS Roman), and comparison of
// names regardless of Unicode normalisation.
#pragma once

#include <MacTypes.h>

#include <string>

namespace kc_as {

// Carbon names use '/' where POSIX names use ':' and cannot hold ':' (the
// HFS path separator); these swap the two while converting.
bool PosixNameToUnicode(const std::string& posix, std::u16string* out);
bool UnicodeNameToPosix(const UniChar* units, size_t count, std::string* out);

// Mac OS Roman, composed first, as an FSSpec holds it. False when a character
// has no Mac OS Roman byte or the result is longer than maxBytes.
bool PosixNameToMacRoman(const std::string& posix, size_t maxBytes, std::string* out);
bool MacRomanNameToPosix(const unsigned char* bytes, size_t count, std::string* out);

// The short Mac OS Roman name Carbon shows in an FSSpec for a name that has
// no Mac OS Roman form or is too long: as much of the name as fits (each
// character without a Mac OS Roman byte as '_'), '#', the node ID in
// hexadecimal, and a short extension, 31 bytes at most.
std::string MangledMacRomanName(const std::string& posix, UInt32 nodeID);

// The composed (NFC) form of UTF-8 text; the input unchanged when it is not
// valid UTF-8.
std::string ComposedUtf8(const std::string& utf8);

}  // namespace kc_as

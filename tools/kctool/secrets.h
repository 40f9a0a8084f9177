// Secrets kctool reads and shows: a password asked for when it is not on
// the command line, and the hex forms of binary secrets.
#pragma once

#include <optional>
#include <string>

namespace kctool {

// A password read without echo: from the program named by KEYCHAIN_ASKPASS
// (its first line of output), else from the terminal when standard input is
// one, else one line of standard input. Nothing when none can be read.
std::optional<std::string> ReadSecret(const std::string &prompt);

// Bytes of a hex text ("0x" prefix allowed); nothing for an odd length or a
// character that is no hex digit.
std::optional<std::string> FromHex(const std::string &hex);
std::string ToHex(const std::string &bytes);

// Whether bytes are text that can be shown as they are: valid UTF-8 without
// control characters other than tab.
bool IsPrintableText(const std::string &bytes);

// Overwrites a string's bytes before it is released.
void Wipe(std::string *s);

}  // namespace kctool

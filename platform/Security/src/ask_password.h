// Asking the user for a keychain password: through the program named by
// KEYCHAIN_ASKPASS, else on the controlling terminal.
#pragma once

#include <string>

#include "crypto.h"

namespace secimpl {

// errSecSuccess with the password; errSecInteractionNotAllowed when there is
// no way to ask; errSecUserCanceled when the user declined.
int AskPassword(const std::string& prompt, SecureBytes* out);

}  // namespace secimpl

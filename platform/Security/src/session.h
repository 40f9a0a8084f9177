// Process-wide settings of Keychain Services: whether the user may be asked
// for anything, the current preference domain, and the dynamic search list.
#pragma once

#include <string>
#include <vector>

namespace secimpl {

bool UserInteractionAllowed();
void SetUserInteractionAllowed(bool allowed);
int CurrentPreferenceDomain();
void SetCurrentPreferenceDomain(int domain);

}  // namespace secimpl

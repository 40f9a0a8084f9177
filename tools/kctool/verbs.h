// The verbs' entry points; each takes the parsed command and returns the
// process's exit status.
#pragma once

#include "command.h"

namespace kctool {

int CreateKeychain(Command &c);
int DeleteKeychain(Command &c);
int ListKeychains(Command &c);
int DefaultKeychain(Command &c);
int LoginKeychain(Command &c);
int LockKeychain(Command &c);
int UnlockKeychain(Command &c);
int SetKeychainSettings(Command &c);
int ShowKeychainInfo(Command &c);
int SetKeychainPassword(Command &c);
int AddPassword(Command &c);
int FindPassword(Command &c);
int DeletePassword(Command &c);
int DumpKeychain(Command &c);
int ErrorText(Command &c);

}  // namespace kctool

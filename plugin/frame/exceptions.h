// Raising host exceptions. This sits in the bottom layer because it needs
// nothing but host functions: the message string is built by the host, so
// every layer above (conversions that run out of memory, methods given a nil
// argument) can raise without reaching sideways or up.
#pragma once

#include <stdint.h>

// Raises a host exception of className (a "RuntimeException" when the host
// does not know that class) with the message and error number given. The
// host delivers it when the current method returns, so callers go on to
// return their failure result.
void RaiseException(const char *className, const char *message, uint32_t errorNumber);

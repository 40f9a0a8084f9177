// Status and exception helpers: the module's "LastError" getter, raising a
// host exception, and the text of a status code.
#pragma once

#include <stdint.h>

#include "host_plugin_interface.h"

// Getter of the module property "LastError"; param is the entry's word (0).
RBInteger GetLasterror(RBInteger param);

// Raises a host exception of className (a "RuntimeException" when the host
// does not know that class) with the message and error number given. The
// host delivers it when the current method returns, so callers go on to
// return their failure result.
void RaiseException(const char *className, const char *message, uint32_t errorNumber);

// "ErrorMessageString(error as integer) as string"
REALstring rbSecCopyErrorMessageString(RBInteger error);

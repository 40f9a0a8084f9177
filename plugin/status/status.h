// The module's status surface: the read-only property "LastError" and
// "ErrorMessageString", which turns a status code into the keychain's text.
#pragma once

#include "host_plugin_interface.h"

// Getter of the module property "LastError"; param is the entry's word (0).
RBInteger GetLasterror(RBInteger param);

// "ErrorMessageString(error as integer) as string"
REALstring rbSecCopyErrorMessageString(RBInteger error);

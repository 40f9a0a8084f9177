// The process-wide state of the plug-in, with the values it has at load.
#include "frame/plugin_state.h"

REALResolver gResolver = nullptr;
double rbversion_rbversion = 0.0;
int32_t CurrentREALControlVersion = 12;
OSStatus Lasterror = 0;

// Registration of the definition records in the layout the host reads:
// the long records as stored for layouts 10 to 12, converted short copies
// for layout 9.
#pragma once

#include "host_plugin_interface.h"

// Registers the module record in the layout CurrentREALControlVersion names.
void MyREALRegisterModule(REALmoduleDefinition *module);

// Registers one class record in the layout CurrentREALControlVersion names.
void MyREALRegisterClass(REALclassDefinition *cls);

// A new array of count properties in the short layout (10 words each), or
// null for no properties. Never freed: the host keeps pointing at it.
REALproperty9 *FixProperties(const REALproperty *properties, RBWord count);

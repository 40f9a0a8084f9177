// The definition records the plug-in registers: the module and its four
// classes. They are static, stored in the long layout, and changed only by
// registration (layout version, rounded instance size, the host's instance
// data offset, and the short form for the oldest hosts).
#pragma once

#include "host_plugin_interface.h"

extern REALmoduleDefinition KeychainModule;
extern REALclassDefinition KeychainClass;
extern REALclassDefinition KeychainItemClass;
extern REALclassDefinition KeychainSettingsClass;
extern REALclassDefinition KeychainSearchClass;

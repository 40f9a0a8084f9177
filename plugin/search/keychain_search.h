// KeychainSearchZNQ: the object that owns one attribute search.
#pragma once

#include "host_plugin_interface.h"

void KeychainSearchDestructor(REALobject instance);

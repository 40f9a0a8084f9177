// The dictionary-driven item operations: a host Dictionary of query names and
// host values becomes a framework dictionary, one item query call is made,
// and what comes back becomes host values. Each records its status in the
// module's LastError.
#pragma once

#include "host_plugin_interface.h"

RBBoolean DeleteItem(REALobject query);
RBBoolean UpdateItem(REALobject query, REALobject attributesToUpdate);
RBBoolean CopyMatching(REALobject query, REALobject *result);
REALarray CopyMatchingDics(REALobject query);
REALarray CopyMatchingItems(REALobject query);
RBBoolean rbGetPassword(REALobject query, REALmemoryBlock *result);
RBBoolean AddItemK(REALobject keychain, REALobject attributesDictionary);
RBBoolean AddItemK2(REALobject keychain, REALobject attributesDictionary, REALobject *result);

// KeychainItemZNQ's methods and properties (status into the object's
// Lasterror), its destructor, and the module method that turns a persistent
// reference back into an item (status into the module's LastError).
#pragma once

#include "host_plugin_interface.h"

void rbSecKeychainItemDelete(REALobject instance);
REALmemoryBlock CopyPassword(REALobject instance);
void SetPassword(REALobject instance, REALmemoryBlock value);
REALmemoryBlock CopyAttributeData(REALobject instance, REALstring attributeName);
void SetAttributeData(REALobject instance, REALstring attributeName, REALmemoryBlock value);
REALstring CopyAttributeText(REALobject instance, REALstring attributeName);
void SetAttributeText(REALobject instance, REALstring attributeName, REALstring value);
REALstring getLabel(REALobject instance);
void setLabel(REALobject instance, REALstring value);
REALstring getDescription(REALobject instance);
void setDescription(REALobject instance, REALstring value);
REALstring getAccount(REALobject instance);
void setAccount(REALobject instance, REALstring value);
REALstring getComment(REALobject instance);
void setComment(REALobject instance, REALstring value);
REALstring getService(REALobject instance);
void setService(REALobject instance, REALstring value);
REALstring getItemClass(REALobject instance);
REALobject rbSecKeychainItemCopyKeychain(REALobject instance);
REALmemoryBlock rbSecKeychainItemCreatePersistentReference(REALobject instance);
void KeychainItemDestructor(REALobject instance);

REALobject rbSecKeychainItemCopyFromPersistentReference(REALmemoryBlock data);

// The functions that implement the methods, properties, constructor and
// destructors of KeychainZNQ, KeychainItemZNQ, KeychainSettingsZNQ and
// KeychainSearchZNQ, and the keychain methods of the module. The host calls
// them with the object first (for the module's methods, the first declared
// argument), then the declared arguments in order.
#pragma once

#include "host_plugin_interface.h"

// KeychainZNQ: class-only methods (status into the object's Lasterror).
RBBoolean IsUnlocked(REALobject instance);
REALstring rbSecKeychainGetPath(REALobject instance);
REALstring rbSecKeychainGetName(REALobject instance);
RBInteger rbSecKeychainGetStatus(REALobject instance);
void rbSecKeychainUnlock2(REALobject instance, REALstring password);
void rbSecKeychainUnlock(REALobject instance);
void rbSecKeychainDelete(REALobject instance);
void rbSecKeychainLock(REALobject instance);
void rbSecKeychainSetDefault(REALobject instance);
REALobject rbSecKeychainCopySettings(REALobject instance);
void rbSecKeychainSetSettings(REALobject instance, REALobject settings);
void KeychainDestructor(REALobject instance);

// KeychainZNQ and module: finds and adds (status into the module's
// Lasterror). The keychain is the instance or the first argument.
REALobject rbSecKeychainFindInternetPassword(REALobject keychain, REALstring serverName,
                                             REALstring securityDomain, REALstring accountName,
                                             REALstring path, RBInteger port, REALstring protocol,
                                             REALstring authenticationType, REALmemoryBlock *password);
REALobject rbSecKeychainFindGenericPassword(REALobject keychain, REALstring serviceName,
                                            REALstring accountName, REALmemoryBlock *password);
REALobject rbSecKeychainFindInternetItem(REALobject keychain, REALstring serverName,
                                         REALstring securityDomain, REALstring accountName,
                                         REALstring path, RBInteger port, REALstring protocol,
                                         REALstring authenticationType);
REALobject rbSecKeychainFindGenericItem(REALobject keychain, REALstring serviceName,
                                        REALstring accountName);
REALobject rbSecKeychainAddGenericPasswordM(REALobject keychain, REALstring serviceName,
                                            REALstring accountName, REALmemoryBlock password);
REALobject rbSecKeychainAddInternetPasswordM(REALobject keychain, REALstring serverName,
                                             REALstring securityDomain, REALstring accountName,
                                             REALstring path, RBInteger port, REALstring protocol,
                                             REALstring authenticationType, REALmemoryBlock password);
REALobject rbSecKeychainAddGenericPasswordS(REALobject keychain, REALstring serviceName,
                                            REALstring accountName, REALstring password);
REALobject rbSecKeychainAddInternetPasswordS(REALobject keychain, REALstring serverName,
                                             REALstring securityDomain, REALstring accountName,
                                             REALstring path, RBInteger port, REALstring protocol,
                                             REALstring authenticationType, REALstring password);

// Module methods that make keychain objects from nothing.
REALobject rbSecKeychainOpenFile(REALfolderItem file);
REALobject rbSecKeychainOpenPath(REALstring path);
REALobject rbSecKeychainCopyDefault();
RBInteger rbSecKeychainGetVersion();

// KeychainSettingsZNQ
void KeychainSettingsConstructor(REALobject instance);

// KeychainItemZNQ: class-only methods (status into the object's Lasterror).
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

// Module: an item back from its persistent reference.
REALobject rbSecKeychainItemCopyFromPersistentReference(REALmemoryBlock data);

// KeychainSearchZNQ
void KeychainSearchDestructor(REALobject instance);

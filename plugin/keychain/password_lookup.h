// Finding and adding generic and internet passwords. Each function serves a
// module method and a KeychainZNQ method: the keychain comes first either
// way (the module form's first argument, or the object itself), and the
// status goes to the module's LastError in both forms.
#pragma once

#include "host_plugin_interface.h"

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

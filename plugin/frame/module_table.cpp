// The module KeychainManagerZNQ: its shared methods, constants and the
// read-only property "LastError".
#include <iterator>

#include "frame/errors.h"
#include "frame/tables.h"
#include "keychain/keychain_methods.h"

namespace {

REALmethodDefinition SharedMethods[] = {
    {reinterpret_cast<REALproc>(rbSecKeychainFindInternetPassword), nullptr, "FindInternetPassword(keychain as KeychainZNQ, serverName as string, securityDomain as string, accountName as string, path as string, port as integer, protocol as string, authenticationType as string, byref password as memoryblock) as KeychainItemZNQ", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainFindGenericPassword), nullptr, "FindGenericPassword(keychain as KeychainZNQ, serviceName as string, accountName as string, byref password as memoryblock) as KeychainItemZNQ", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainFindInternetItem), nullptr, "FindInternetItem(keychain as KeychainZNQ, serverName as string, securityDomain as string, accountName as string, path as string, port as integer, protocol as string, authenticationType as string) as KeychainItemZNQ", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainFindGenericItem), nullptr, "FindGenericItem(keychain as KeychainZNQ, serviceName as string, accountName as string) as KeychainItemZNQ", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainAddGenericPasswordM), nullptr, "AddGenericPassword(keychain as KeychainZNQ, serviceName as string, accountName as string, password as memoryblock) as KeychainItemZNQ", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainAddInternetPasswordM), nullptr, "AddInternetPassword(keychain as KeychainZNQ, serverName as string, securityDomain as string, accountName as string, path as string, port as integer, protocol as string, authenticationType as string, password as memoryblock) as KeychainItemZNQ", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainAddGenericPasswordS), nullptr, "AddGenericPassword(keychain as KeychainZNQ, serviceName as string, accountName as string, password as string) as KeychainItemZNQ", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainAddInternetPasswordS), nullptr, "AddInternetPassword(keychain as KeychainZNQ, serverName as string, securityDomain as string, accountName as string, path as string, port as integer, protocol as string, authenticationType as string, password as string) as KeychainItemZNQ", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecCopyErrorMessageString), nullptr, "ErrorMessageString(error as integer) as string", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainItemCopyFromPersistentReference), nullptr, "ItemFromPersistentReference(data as memoryblock) as KeychainItemZNQ", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainOpenFile), nullptr, "Open(file as folderitem) as KeychainZNQ", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainOpenPath), nullptr, "Open(path as string) as KeychainZNQ", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainCopyDefault), nullptr, "Default as KeychainZNQ", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainGetVersion), nullptr, "Version as integer", kREALFlagConsoleSafe, 0, 0},
};

REALconstant SharedConstants[] = {
    {"ErrorNone = 0", 0, 0, 0, 0},
    {"ErrorInvalidParameter = -50", 0, 0, 0, 0},
    {"ErrorFailedToAllocated = -108", 0, 0, 0, 0},
    {"ErrorNotAvailable = -25291", 0, 0, 0, 0},
    {"ErrorAuthorizationFailed = -25293", 0, 0, 0, 0},
    {"ErrorDuplicatedItem = -25299", 0, 0, 0, 0},
    {"ErrorNotFound = -25300", 0, 0, 0, 0},
    {"ErrorInteractionNotAllowed = -25308", 0, 0, 0, 0},
    {"ErrorFailedToDecode = -26275", 0, 0, 0, 0},
    {"kSecPreferencesDomainUser = 0", 0, 0, 0, 0},
    {"kSecPreferencesDomainSystem = 1", 0, 0, 0, 0},
    {"kSecPreferencesDomainCommon = 2", 0, 0, 0, 0},
    {"kSecPreferencesDomainDynamic = 3", 0, 0, 0, 0},
    {"kSecInternetPasswordItemClass = \"inet\"", 0, 0, 0, 0},
    {"kSecGenericPasswordItemClass = \"genp\"", 0, 0, 0, 0},
    {"kSecAppleSharePasswordItemClass = \"ashp\"", 0, 0, 0, 0},
};

REALproperty SharedProperties[] = {
    {nullptr, "LastError", "Integer", kREALFlagRuntimeOnly | kREALFlagConsoleSafe,
     reinterpret_cast<REALproc>(GetLasterror), nullptr, 0, {0, 0, 0, 0, 0}},
};

}  // namespace

REALmoduleDefinition KeychainModule = {
    12,
    "KeychainManagerZNQ",
    SharedMethods,
    std::size(SharedMethods),
    SharedConstants,
    std::size(SharedConstants),
    SharedProperties,
    std::size(SharedProperties),
    nullptr,
    0,
    nullptr,
    0,
    {0, 0, 0, 0},
};

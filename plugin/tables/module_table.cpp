// The module KeychainManagerZNQ: its shared methods, constants and the
// read-only property "LastError".
#include <iterator>

#include "frame/tables.h"
#include "keychain/keychain_item.h"
#include "keychain/keychain_object.h"
#include "keychain/password_lookup.h"
#include "lists/keychain_lists.h"
#include "query/item_queries.h"
#include "query/query_names.h"
#include "search/keychain_search.h"
#include "status/status.h"
#include "tables/table_rows.h"

namespace {

REALmethodDefinition SharedMethods[] = {
    Method(AllItems, "AllItems(keychain as KeychainZNQ, itemClass as string) as KeychainItemZNQ()"),
    Method(rbSecKeychainFindInternetPassword, "FindInternetPassword(keychain as KeychainZNQ, serverName as string, securityDomain as string, accountName as string, path as string, port as integer, protocol as string, authenticationType as string, byref password as memoryblock) as KeychainItemZNQ"),
    Method(rbSecKeychainFindGenericPassword, "FindGenericPassword(keychain as KeychainZNQ, serviceName as string, accountName as string, byref password as memoryblock) as KeychainItemZNQ"),
    Method(rbSecKeychainFindInternetItem, "FindInternetItem(keychain as KeychainZNQ, serverName as string, securityDomain as string, accountName as string, path as string, port as integer, protocol as string, authenticationType as string) as KeychainItemZNQ"),
    Method(rbSecKeychainFindGenericItem, "FindGenericItem(keychain as KeychainZNQ, serviceName as string, accountName as string) as KeychainItemZNQ"),
    Method(rbSecKeychainAddGenericPasswordM, "AddGenericPassword(keychain as KeychainZNQ, serviceName as string, accountName as string, password as memoryblock) as KeychainItemZNQ"),
    Method(rbSecKeychainAddInternetPasswordM, "AddInternetPassword(keychain as KeychainZNQ, serverName as string, securityDomain as string, accountName as string, path as string, port as integer, protocol as string, authenticationType as string, password as memoryblock) as KeychainItemZNQ"),
    Method(rbSecKeychainAddGenericPasswordS, "AddGenericPassword(keychain as KeychainZNQ, serviceName as string, accountName as string, password as string) as KeychainItemZNQ"),
    Method(rbSecKeychainAddInternetPasswordS, "AddInternetPassword(keychain as KeychainZNQ, serverName as string, securityDomain as string, accountName as string, path as string, port as integer, protocol as string, authenticationType as string, password as string) as KeychainItemZNQ"),
    Method(rbSecCopyErrorMessageString, "ErrorMessageString(error as integer) as string"),
    Method(rbSecKeychainSetDomainDefault, "SetDomainDefault(domain as integer, keychain as KeychainZNQ)"),
    Method(rbSecKeychainCopyDomainDefault, "DomainDefault(domain as integer) as KeychainZNQ"),
    Method(rbSecKeychainSetDomainSearchList, "SetDomainSearchList(domain as integer, list() as KeychainZNQ)"),
    Method(rbSecKeychainCopyDomainSearchList, "DomainSearchList(domain as integer) as KeychainZNQ()"),
    Method(rbSecKeychainGetPreferenceDomain, rbSecKeychainSetPreferenceDomain, "PreferenceDomain as integer"),
    Method(rbSecKeychainSetSearchList, "SetSearchList(list() as KeychainZNQ)"),
    Method(rbSecKeychainCopySearchList, "SearchList as KeychainZNQ()"),
    Method(rbSecKeychainItemCopyFromPersistentReference, "ItemFromPersistentReference(data as memoryblock) as KeychainItemZNQ"),
    Method(rbSecKeychainSearchCreateFromAttributes, "SearchCreateFromAttributes(keychain as KeychainZNQ, itemClass as string, AttributeKeys() as string, AttributeValues() as string) as KeychainSearchZNQ"),
    Method(rbSecKeychainSearchCreateFromAttributes2, "SearchCreateFromAttributes(keychains() as KeychainZNQ, itemClass as string, AttributeKeys() as string, AttributeValues() as string) as KeychainSearchZNQ"),
    Method(rbSecKeychainOpenFile, "Open(file as folderitem) as KeychainZNQ"),
    Method(rbSecKeychainOpenPath, "Open(path as string) as KeychainZNQ"),
    Method(rbSecKeychainCopyDefault, "Default as KeychainZNQ"),
    Method(rbSecKeychainGetVersion, "Version as integer"),
    Method(rbSecKeychainLockAll, "LockAll"),
    Method(rbSecKeychainGetUserInteractionAllowed, rbSecKeychainSetUserInteractionAllowed, "UserInteractionAllowed as boolean"),
    Method(DeleteItem, "DeleteItem(Query as Dictionary) as boolean"),
    Method(UpdateItem, "UpdateItem(Query as Dictionary, attributesToUpdate as dictionary) as boolean"),
    Method(CopyMatching, "CopyMatching(Query as dictionary, byref result as variant) as boolean"),
    Method(CopyMatchingDics, "CopyMatchingDictionaries(Query as dictionary) as Dictionary()"),
    Method(CopyMatchingItems, "CopyMatchingItems(Query as dictionary) as KeychainItemZNQ()"),
    Method(rbGetPassword, "GetPassword(Query as dictionary, byref result as Memoryblock) as boolean"),
    Method(AddItemK, "AddItem(Keychain as KeychainZNQ, attributesDictionary as dictionary) as boolean"),
    Method(AddItemK2, "AddItem(Keychain as KeychainZNQ, attributesDictionary as dictionary, byref result as variant) as boolean"),
// The query names: "kSecClass as string" answered by getkSecClass, and so on.
#define KC_QUERY_NAME_ROW(name) Method(get##name, #name " as string"),
    KC_QUERY_NAMES(KC_QUERY_NAME_ROW)
#undef KC_QUERY_NAME_ROW
};

REALconstant SharedConstants[] = {
    Constant("ErrorNone = 0"),
    Constant("ErrorInvalidParameter = -50"),
    Constant("ErrorFailedToAllocated = -108"),
    Constant("ErrorNotAvailable = -25291"),
    Constant("ErrorAuthorizationFailed = -25293"),
    Constant("ErrorDuplicatedItem = -25299"),
    Constant("ErrorNotFound = -25300"),
    Constant("ErrorInteractionNotAllowed = -25308"),
    Constant("ErrorFailedToDecode = -26275"),
    Constant("kSecPreferencesDomainUser = 0"),
    Constant("kSecPreferencesDomainSystem = 1"),
    Constant("kSecPreferencesDomainCommon = 2"),
    Constant("kSecPreferencesDomainDynamic = 3"),
    Constant("kSecInternetPasswordItemClass = \"inet\""),
    Constant("kSecGenericPasswordItemClass = \"genp\""),
    Constant("kSecAppleSharePasswordItemClass = \"ashp\""),
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

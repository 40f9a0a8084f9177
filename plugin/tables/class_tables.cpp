// The four classes KeychainZNQ, KeychainItemZNQ, KeychainSettingsZNQ and
// KeychainSearchZNQ: their methods, stored-field properties and constants.
#include <stddef.h>

#include <iterator>

#include "frame/instance_data.h"
#include "frame/tables.h"
#include "keychain/keychain_item.h"
#include "keychain/keychain_object.h"
#include "keychain/keychain_settings.h"
#include "keychain/password_lookup.h"
#include "search/keychain_search.h"
#include "tables/table_rows.h"

namespace {

constexpr RBWord kPropertyFlags = kREALFlagRuntimeOnly | kREALFlagConsoleSafe;

// A property the host reads and writes itself at the given byte offset of
// the instance data.
REALproperty StoredField(const char *name, const char *type, size_t offset) {
  return {nullptr, name, type, kPropertyFlags, REALstandardGetter, REALstandardSetter,
          offset, {0, 0, 0, 0, 0}};
}

// Handle and Lasterror of the three classes that hold a reference; each
// class has its own list.
REALproperty KeychainProperties[] = {
    StoredField("Handle", "Integer", offsetof(KeychainData, Handle)),
    StoredField("Lasterror", "Integer", offsetof(KeychainData, Lasterror)),
};
REALproperty KeychainItemProperties[] = {
    StoredField("Handle", "Integer", offsetof(KeychainData, Handle)),
    StoredField("Lasterror", "Integer", offsetof(KeychainData, Lasterror)),
};
REALproperty KeychainSearchProperties[] = {
    StoredField("Handle", "Integer", offsetof(KeychainData, Handle)),
    StoredField("Lasterror", "Integer", offsetof(KeychainData, Lasterror)),
};
REALproperty KeychainSettingsProperties[] = {
    StoredField("version", "Integer", offsetof(KeychainSettingsData, version)),
    StoredField("lockInterval", "Integer", offsetof(KeychainSettingsData, lockInterval)),
    StoredField("lockOnSleep", "Boolean", offsetof(KeychainSettingsData, lockOnSleep)),
    StoredField("useLockInterval", "Boolean", offsetof(KeychainSettingsData, useLockInterval)),
};

REALmethodDefinition KeychainMethods[] = {
    Method(IsUnlocked, "IsUnlocked as boolean"),
    Method(AllItems, "AllItems(itemClass as string) as KeychainItemZNQ()"),
    Method(rbSecKeychainFindInternetPassword, "FindInternetPassword(serverName as string, securityDomain as string, accountName as string, path as string, port as integer, protocol as string, authenticationType as string, byref password as memoryblock) as KeychainItemZNQ"),
    Method(rbSecKeychainFindGenericPassword, "FindGenericPassword(serviceName as string, accountName as string, byref password as memoryblock) as KeychainItemZNQ"),
    Method(rbSecKeychainFindInternetItem, "FindInternetItem(serverName as string, securityDomain as string, accountName as string, path as string, port as integer, protocol as string, authenticationType as string) as KeychainItemZNQ"),
    Method(rbSecKeychainFindGenericItem, "FindGenericItem(serviceName as string, accountName as string) as KeychainItemZNQ"),
    Method(rbSecKeychainAddGenericPasswordM, "AddGenericPassword(serviceName as string, accountName as string, password as memoryblock) as KeychainItemZNQ"),
    Method(rbSecKeychainAddInternetPasswordM, "AddInternetPassword(serverName as string, securityDomain as string, accountName as string, path as string, port as integer, protocol as string, authenticationType as string, password as memoryblock) as KeychainItemZNQ"),
    Method(rbSecKeychainAddGenericPasswordS, "AddGenericPassword(serviceName as string, accountName as string, password as string) as KeychainItemZNQ"),
    Method(rbSecKeychainAddInternetPasswordS, "AddInternetPassword(serverName as string, securityDomain as string, accountName as string, path as string, port as integer, protocol as string, authenticationType as string, password as string) as KeychainItemZNQ"),
    Method(rbSecKeychainGetPath, "Path as string"),
    Method(rbSecKeychainGetName, "Name as string"),
    Method(rbSecKeychainGetStatus, "Status as integer"),
    Method(rbSecKeychainUnlock2, "Unlock(password as string)"),
    Method(rbSecKeychainUnlock, "Unlock"),
    Method(rbSecKeychainDelete, "Delete"),
    Method(rbSecKeychainLock, "Lock"),
    Method(rbSecKeychainSetDefault, "SetDefault"),
    Method(rbSecKeychainCopySettings, rbSecKeychainSetSettings, "Settings as KeychainSettingsZNQ"),
};

REALmethodDefinition KeychainItemMethods[] = {
    Method(rbSecKeychainItemDelete, "Delete"),
    Method(CopyPassword, SetPassword, "Password as memoryblock"),
    Method(CopyAttributeData, SetAttributeData, "AttributeData(attributeName as string) as memoryblock"),
    Method(CopyAttributeText, SetAttributeText, "AttributeText(attributeName as string) as string"),
    Method(getLabel, setLabel, "Label as string"),
    Method(getDescription, setDescription, "Description as string"),
    Method(getAccount, setAccount, "Account as string"),
    Method(getComment, setComment, "Comment as string"),
    Method(getService, setService, "Service as string"),
    Method(getItemClass, "ItemClass as string"),
    Method(rbSecKeychainItemCopyKeychain, "Keychain as KeychainZNQ"),
    Method(rbSecKeychainItemCreatePersistentReference, "PersistentReference as Memoryblock"),
};

REALmethodDefinition KeychainSearchMethods[] = {
    Method(rbSecKeychainSearchCopyNext, "NextItem as KeychainItemZNQ"),
};

REALconstant KeychainConstants[] = {
    Constant("StatusUnlocked = 1"),
    Constant("StatusReadable = 2"),
    Constant("StatusWritable = 4"),
};

REALconstant KeychainItemConstants[] = {
    Constant("kSecCreationDateItemAttr = \"cdat\""),
    Constant("kSecModDateItemAttr = \"mdat\""),
    Constant("kSecDescriptionItemAttr = \"desc\""),
    Constant("kSecCommentItemAttr = \"icmt\""),
    Constant("kSecCreatorItemAttr = \"crtr\""),
    Constant("kSecTypeItemAttr = \"type\""),
    Constant("kSecScriptCodeItemAttr = \"scrp\""),
    Constant("kSecLabelItemAttr = \"labl\""),
    Constant("kSecInvisibleItemAttr = \"invi\""),
    Constant("kSecNegativeItemAttr = \"nega\""),
    Constant("kSecCustomIconItemAttr = \"cusi\""),
    Constant("kSecAccountItemAttr = \"acct\""),
    Constant("kSecServiceItemAttr = \"svce\""),
    Constant("kSecGenericItemAttr = \"gena\""),
    Constant("kSecSecurityDomainItemAttr = \"sdmn\""),
    Constant("kSecServerItemAttr = \"srvr\""),
    Constant("kSecAuthenticationTypeItemAttr = \"atyp\""),
    Constant("kSecPortItemAttr = \"port\""),
    Constant("kSecPathItemAttr = \"path\""),
    Constant("kSecVolumeItemAttr = \"vlme\""),
    Constant("kSecAddressItemAttr = \"addr\""),
    Constant("kSecSignatureItemAttr = \"ssig\""),
    Constant("kSecProtocolItemAttr = \"ptcl\""),
    Constant("kSecCertificateType = \"ctyp\""),
    Constant("kSecCertificateEncoding = \"cenc\""),
    Constant("kSecCrlType = \"crtp\""),
    Constant("kSecCrlEncoding = \"crnc\""),
    Constant("kSecAlias = \"alis\""),
};

constexpr RBWord kClassFlags = kREALFlagConsoleSafe;

}  // namespace

// Every class: no superclass, 5 words of instance data, no further lists.
REALclassDefinition KeychainClass = {
    12, "KeychainZNQ", nullptr, kInstanceDataSize, 0, nullptr, KeychainDestructor,
    KeychainProperties, std::size(KeychainProperties), KeychainMethods, std::size(KeychainMethods),
    nullptr, 0, {0, 0, 0}, {0, 0}, KeychainConstants, std::size(KeychainConstants), kClassFlags,
    nullptr, 0, nullptr, 0, {0, 0, 0, 0},
};

REALclassDefinition KeychainItemClass = {
    12, "KeychainItemZNQ", nullptr, kInstanceDataSize, 0, nullptr, KeychainItemDestructor,
    KeychainItemProperties, std::size(KeychainItemProperties), KeychainItemMethods,
    std::size(KeychainItemMethods), nullptr, 0, {0, 0, 0}, {0, 0}, KeychainItemConstants,
    std::size(KeychainItemConstants), kClassFlags, nullptr, 0, nullptr, 0, {0, 0, 0, 0},
};

REALclassDefinition KeychainSettingsClass = {
    12, "KeychainSettingsZNQ", nullptr, kInstanceDataSize, 0, KeychainSettingsConstructor, nullptr,
    KeychainSettingsProperties, std::size(KeychainSettingsProperties), nullptr, 0,
    nullptr, 0, {0, 0, 0}, {0, 0}, nullptr, 0, kClassFlags, nullptr, 0, nullptr, 0, {0, 0, 0, 0},
};

REALclassDefinition KeychainSearchClass = {
    12, "KeychainSearchZNQ", nullptr, kInstanceDataSize, 0, nullptr, KeychainSearchDestructor,
    KeychainSearchProperties, std::size(KeychainSearchProperties), KeychainSearchMethods,
    std::size(KeychainSearchMethods),
    nullptr, 0, {0, 0, 0}, {0, 0}, nullptr, 0, kClassFlags, nullptr, 0, nullptr, 0, {0, 0, 0, 0},
};

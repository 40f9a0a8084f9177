// The four classes KeychainZNQ, KeychainItemZNQ, KeychainSettingsZNQ and
// KeychainSearchZNQ: their methods, stored-field properties and constants.
#include <stddef.h>

#include <iterator>

#include "frame/instance_data.h"
#include "frame/tables.h"
#include "keychain/keychain_methods.h"

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
    {reinterpret_cast<REALproc>(IsUnlocked), nullptr, "IsUnlocked as boolean", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainFindInternetPassword), nullptr, "FindInternetPassword(serverName as string, securityDomain as string, accountName as string, path as string, port as integer, protocol as string, authenticationType as string, byref password as memoryblock) as KeychainItemZNQ", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainFindGenericPassword), nullptr, "FindGenericPassword(serviceName as string, accountName as string, byref password as memoryblock) as KeychainItemZNQ", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainFindInternetItem), nullptr, "FindInternetItem(serverName as string, securityDomain as string, accountName as string, path as string, port as integer, protocol as string, authenticationType as string) as KeychainItemZNQ", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainFindGenericItem), nullptr, "FindGenericItem(serviceName as string, accountName as string) as KeychainItemZNQ", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainAddGenericPasswordM), nullptr, "AddGenericPassword(serviceName as string, accountName as string, password as memoryblock) as KeychainItemZNQ", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainAddInternetPasswordM), nullptr, "AddInternetPassword(serverName as string, securityDomain as string, accountName as string, path as string, port as integer, protocol as string, authenticationType as string, password as memoryblock) as KeychainItemZNQ", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainAddGenericPasswordS), nullptr, "AddGenericPassword(serviceName as string, accountName as string, password as string) as KeychainItemZNQ", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainAddInternetPasswordS), nullptr, "AddInternetPassword(serverName as string, securityDomain as string, accountName as string, path as string, port as integer, protocol as string, authenticationType as string, password as string) as KeychainItemZNQ", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainGetPath), nullptr, "Path as string", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainGetName), nullptr, "Name as string", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainGetStatus), nullptr, "Status as integer", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainUnlock2), nullptr, "Unlock(password as string)", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainUnlock), nullptr, "Unlock", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainDelete), nullptr, "Delete", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainLock), nullptr, "Lock", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainSetDefault), nullptr, "SetDefault", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainCopySettings), reinterpret_cast<REALproc>(rbSecKeychainSetSettings), "Settings as KeychainSettingsZNQ", kREALFlagConsoleSafe, 0, 0},
};

REALmethodDefinition KeychainItemMethods[] = {
    {reinterpret_cast<REALproc>(rbSecKeychainItemDelete), nullptr, "Delete", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(CopyPassword), reinterpret_cast<REALproc>(SetPassword), "Password as memoryblock", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(CopyAttributeData), reinterpret_cast<REALproc>(SetAttributeData), "AttributeData(attributeName as string) as memoryblock", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(CopyAttributeText), reinterpret_cast<REALproc>(SetAttributeText), "AttributeText(attributeName as string) as string", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(getLabel), reinterpret_cast<REALproc>(setLabel), "Label as string", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(getDescription), reinterpret_cast<REALproc>(setDescription), "Description as string", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(getAccount), reinterpret_cast<REALproc>(setAccount), "Account as string", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(getComment), reinterpret_cast<REALproc>(setComment), "Comment as string", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(getService), reinterpret_cast<REALproc>(setService), "Service as string", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(getItemClass), nullptr, "ItemClass as string", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainItemCopyKeychain), nullptr, "Keychain as KeychainZNQ", kREALFlagConsoleSafe, 0, 0},
    {reinterpret_cast<REALproc>(rbSecKeychainItemCreatePersistentReference), nullptr, "PersistentReference as Memoryblock", kREALFlagConsoleSafe, 0, 0},
};

REALconstant KeychainConstants[] = {
    {"StatusUnlocked = 1", 0, 0, 0, 0},
    {"StatusReadable = 2", 0, 0, 0, 0},
    {"StatusWritable = 4", 0, 0, 0, 0},
};

REALconstant KeychainItemConstants[] = {
    {"kSecCreationDateItemAttr = \"cdat\"", 0, 0, 0, 0},
    {"kSecModDateItemAttr = \"mdat\"", 0, 0, 0, 0},
    {"kSecDescriptionItemAttr = \"desc\"", 0, 0, 0, 0},
    {"kSecCommentItemAttr = \"icmt\"", 0, 0, 0, 0},
    {"kSecCreatorItemAttr = \"crtr\"", 0, 0, 0, 0},
    {"kSecTypeItemAttr = \"type\"", 0, 0, 0, 0},
    {"kSecScriptCodeItemAttr = \"scrp\"", 0, 0, 0, 0},
    {"kSecLabelItemAttr = \"labl\"", 0, 0, 0, 0},
    {"kSecInvisibleItemAttr = \"invi\"", 0, 0, 0, 0},
    {"kSecNegativeItemAttr = \"nega\"", 0, 0, 0, 0},
    {"kSecCustomIconItemAttr = \"cusi\"", 0, 0, 0, 0},
    {"kSecAccountItemAttr = \"acct\"", 0, 0, 0, 0},
    {"kSecServiceItemAttr = \"svce\"", 0, 0, 0, 0},
    {"kSecGenericItemAttr = \"gena\"", 0, 0, 0, 0},
    {"kSecSecurityDomainItemAttr = \"sdmn\"", 0, 0, 0, 0},
    {"kSecServerItemAttr = \"srvr\"", 0, 0, 0, 0},
    {"kSecAuthenticationTypeItemAttr = \"atyp\"", 0, 0, 0, 0},
    {"kSecPortItemAttr = \"port\"", 0, 0, 0, 0},
    {"kSecPathItemAttr = \"path\"", 0, 0, 0, 0},
    {"kSecVolumeItemAttr = \"vlme\"", 0, 0, 0, 0},
    {"kSecAddressItemAttr = \"addr\"", 0, 0, 0, 0},
    {"kSecSignatureItemAttr = \"ssig\"", 0, 0, 0, 0},
    {"kSecProtocolItemAttr = \"ptcl\"", 0, 0, 0, 0},
    {"kSecCertificateType = \"ctyp\"", 0, 0, 0, 0},
    {"kSecCertificateEncoding = \"cenc\"", 0, 0, 0, 0},
    {"kSecCrlType = \"crtp\"", 0, 0, 0, 0},
    {"kSecCrlEncoding = \"crnc\"", 0, 0, 0, 0},
    {"kSecAlias = \"alis\"", 0, 0, 0, 0},
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

// Its "NextItem" method arrives with the searches.
REALclassDefinition KeychainSearchClass = {
    12, "KeychainSearchZNQ", nullptr, kInstanceDataSize, 0, nullptr, KeychainSearchDestructor,
    KeychainSearchProperties, std::size(KeychainSearchProperties), nullptr, 0,
    nullptr, 0, {0, 0, 0}, {0, 0}, nullptr, 0, kClassFlags, nullptr, 0, nullptr, 0, {0, 0, 0, 0},
};

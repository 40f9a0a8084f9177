// The declarations the plug-in registers, written out once for every test:
// each text as a host program calls it, and the lists of them in the order
// of the definition tables, which the registration test compares with what
// the host read. Typed by hand from the published interface, never copied
// from the plug-in's own tables, so a changed character fails a test.
#pragma once

#include <string>
#include <vector>

namespace kc_plugin_test {
namespace decl {

// ---- Module KeychainManagerZNQ ------------------------------------------------
inline constexpr const char kAllItemsM[] =
    "AllItems(keychain as KeychainZNQ, itemClass as string) as KeychainItemZNQ()";
inline constexpr const char kFindInternetPasswordM[] =
    "FindInternetPassword(keychain as KeychainZNQ, serverName as string, securityDomain as string, "
    "accountName as string, path as string, port as integer, protocol as string, authenticationType as "
    "string, byref password as memoryblock) as KeychainItemZNQ";
inline constexpr const char kFindGenericPasswordM[] =
    "FindGenericPassword(keychain as KeychainZNQ, serviceName as string, accountName as string, byref "
    "password as memoryblock) as KeychainItemZNQ";
inline constexpr const char kFindInternetItemM[] =
    "FindInternetItem(keychain as KeychainZNQ, serverName as string, securityDomain as string, "
    "accountName as string, path as string, port as integer, protocol as string, authenticationType as "
    "string) as KeychainItemZNQ";
inline constexpr const char kFindGenericItemM[] =
    "FindGenericItem(keychain as KeychainZNQ, serviceName as string, accountName as string) as "
    "KeychainItemZNQ";
inline constexpr const char kAddGenericBlockM[] =
    "AddGenericPassword(keychain as KeychainZNQ, serviceName as string, accountName as string, password "
    "as memoryblock) as KeychainItemZNQ";
inline constexpr const char kAddInternetBlockM[] =
    "AddInternetPassword(keychain as KeychainZNQ, serverName as string, securityDomain as string, "
    "accountName as string, path as string, port as integer, protocol as string, authenticationType as "
    "string, password as memoryblock) as KeychainItemZNQ";
inline constexpr const char kAddGenericTextM[] =
    "AddGenericPassword(keychain as KeychainZNQ, serviceName as string, accountName as string, password "
    "as string) as KeychainItemZNQ";
inline constexpr const char kAddInternetTextM[] =
    "AddInternetPassword(keychain as KeychainZNQ, serverName as string, securityDomain as string, "
    "accountName as string, path as string, port as integer, protocol as string, authenticationType as "
    "string, password as string) as KeychainItemZNQ";
inline constexpr const char kMessage[] = "ErrorMessageString(error as integer) as string";
inline constexpr const char kSetDomainDefault[] =
    "SetDomainDefault(domain as integer, keychain as KeychainZNQ)";
inline constexpr const char kDomainDefault[] = "DomainDefault(domain as integer) as KeychainZNQ";
inline constexpr const char kSetDomainSearchList[] =
    "SetDomainSearchList(domain as integer, list() as KeychainZNQ)";
inline constexpr const char kDomainSearchList[] = "DomainSearchList(domain as integer) as KeychainZNQ()";
inline constexpr const char kPreferenceDomain[] = "PreferenceDomain as integer";
inline constexpr const char kSetSearchList[] = "SetSearchList(list() as KeychainZNQ)";
inline constexpr const char kSearchList[] = "SearchList as KeychainZNQ()";
inline constexpr const char kFromReference[] =
    "ItemFromPersistentReference(data as memoryblock) as KeychainItemZNQ";
inline constexpr const char kSearchCreate[] =
    "SearchCreateFromAttributes(keychain as KeychainZNQ, itemClass as string, AttributeKeys() as "
    "string, AttributeValues() as string) as KeychainSearchZNQ";
inline constexpr const char kSearchCreateMany[] =
    "SearchCreateFromAttributes(keychains() as KeychainZNQ, itemClass as string, AttributeKeys() as "
    "string, AttributeValues() as string) as KeychainSearchZNQ";
inline constexpr const char kOpenFile[] = "Open(file as folderitem) as KeychainZNQ";
inline constexpr const char kOpenPath[] = "Open(path as string) as KeychainZNQ";
inline constexpr const char kDefault[] = "Default as KeychainZNQ";
inline constexpr const char kVersion[] = "Version as integer";
inline constexpr const char kLockAll[] = "LockAll";
inline constexpr const char kUserInteractionAllowed[] = "UserInteractionAllowed as boolean";
inline constexpr const char kDeleteItem[] = "DeleteItem(Query as Dictionary) as boolean";
inline constexpr const char kUpdateItem[] =
    "UpdateItem(Query as Dictionary, attributesToUpdate as dictionary) as boolean";
inline constexpr const char kCopyMatching[] = "CopyMatching(Query as dictionary, byref result as variant) as boolean";
inline constexpr const char kCopyMatchingDictionaries[] =
    "CopyMatchingDictionaries(Query as dictionary) as Dictionary()";
inline constexpr const char kCopyMatchingItems[] = "CopyMatchingItems(Query as dictionary) as KeychainItemZNQ()";
inline constexpr const char kGetPassword[] =
    "GetPassword(Query as dictionary, byref result as Memoryblock) as boolean";
inline constexpr const char kAddItem[] =
    "AddItem(Keychain as KeychainZNQ, attributesDictionary as dictionary) as boolean";
inline constexpr const char kAddItemWithResult[] =
    "AddItem(Keychain as KeychainZNQ, attributesDictionary as dictionary, byref result as variant) as "
    "boolean";

// ---- KeychainZNQ --------------------------------------------------------------
inline constexpr const char kIsUnlocked[] = "IsUnlocked as boolean";
inline constexpr const char kAllItems[] = "AllItems(itemClass as string) as KeychainItemZNQ()";
inline constexpr const char kFindInternetPassword[] =
    "FindInternetPassword(serverName as string, securityDomain as string, accountName as string, path "
    "as string, port as integer, protocol as string, authenticationType as string, byref password as "
    "memoryblock) as KeychainItemZNQ";
inline constexpr const char kFindGenericPassword[] =
    "FindGenericPassword(serviceName as string, accountName as string, byref password as memoryblock) "
    "as KeychainItemZNQ";
inline constexpr const char kFindInternetItem[] =
    "FindInternetItem(serverName as string, securityDomain as string, accountName as string, path as "
    "string, port as integer, protocol as string, authenticationType as string) as KeychainItemZNQ";
inline constexpr const char kFindGenericItem[] =
    "FindGenericItem(serviceName as string, accountName as string) as KeychainItemZNQ";
inline constexpr const char kAddGenericBlock[] =
    "AddGenericPassword(serviceName as string, accountName as string, password as memoryblock) as "
    "KeychainItemZNQ";
inline constexpr const char kAddInternetBlock[] =
    "AddInternetPassword(serverName as string, securityDomain as string, accountName as string, path "
    "as string, port as integer, protocol as string, authenticationType as string, password as "
    "memoryblock) as KeychainItemZNQ";
inline constexpr const char kAddGenericText[] =
    "AddGenericPassword(serviceName as string, accountName as string, password as string) as "
    "KeychainItemZNQ";
inline constexpr const char kAddInternetText[] =
    "AddInternetPassword(serverName as string, securityDomain as string, accountName as string, path "
    "as string, port as integer, protocol as string, authenticationType as string, password as "
    "string) as KeychainItemZNQ";
inline constexpr const char kPath[] = "Path as string";
inline constexpr const char kName[] = "Name as string";
inline constexpr const char kStatus[] = "Status as integer";
inline constexpr const char kUnlockWith[] = "Unlock(password as string)";
inline constexpr const char kUnlock[] = "Unlock";
inline constexpr const char kDelete[] = "Delete";  // KeychainZNQ and KeychainItemZNQ
inline constexpr const char kLock[] = "Lock";
inline constexpr const char kSetDefault[] = "SetDefault";
inline constexpr const char kSettings[] = "Settings as KeychainSettingsZNQ";

// ---- KeychainItemZNQ ----------------------------------------------------------
inline constexpr const char kPassword[] = "Password as memoryblock";
inline constexpr const char kAttributeData[] = "AttributeData(attributeName as string) as memoryblock";
inline constexpr const char kAttributeText[] = "AttributeText(attributeName as string) as string";
inline constexpr const char kLabel[] = "Label as string";
inline constexpr const char kDescription[] = "Description as string";
inline constexpr const char kAccount[] = "Account as string";
inline constexpr const char kComment[] = "Comment as string";
inline constexpr const char kService[] = "Service as string";
inline constexpr const char kItemClass[] = "ItemClass as string";
inline constexpr const char kKeychain[] = "Keychain as KeychainZNQ";
inline constexpr const char kPersistentReference[] = "PersistentReference as Memoryblock";

// ---- KeychainSearchZNQ --------------------------------------------------------
inline constexpr const char kNextItem[] = "NextItem as KeychainItemZNQ";

// The query names, in the order of the module's table; each is declared as
// the name followed by " as string" (QueryNameDeclaration).
inline const std::vector<std::string> kQueryNames = {
    "kSecClass", "kSecClassInternetPassword", "kSecClassGenericPassword", "kSecClassCertificate",
    "kSecClassKey", "kSecClassIdentity", "kSecAttrAccess", "kSecAttrCreationDate",
    "kSecAttrModificationDate", "kSecAttrDescription", "kSecAttrComment", "kSecAttrCreator",
    "kSecAttrType", "kSecAttrLabel", "kSecAttrIsInvisible", "kSecAttrIsNegative", "kSecAttrAccount",
    "kSecAttrService", "kSecAttrGeneric", "kSecAttrSecurityDomain", "kSecAttrServer",
    "kSecAttrProtocol", "kSecAttrAuthenticationType", "kSecAttrPort", "kSecAttrPath", "kSecAttrSubject",
    "kSecAttrIssuer", "kSecAttrSerialNumber", "kSecAttrSubjectKeyID", "kSecAttrPublicKeyHash",
    "kSecAttrCertificateType", "kSecAttrCertificateEncoding", "kSecAttrKeyClass",
    "kSecAttrApplicationLabel", "kSecAttrIsPermanent", "kSecAttrApplicationTag", "kSecAttrKeyType",
    "kSecAttrPRF", "kSecAttrSalt", "kSecAttrRounds", "kSecAttrKeySizeInBits",
    "kSecAttrEffectiveKeySize", "kSecAttrCanEncrypt", "kSecAttrCanDecrypt", "kSecAttrCanDerive",
    "kSecAttrCanSign", "kSecAttrCanVerify", "kSecAttrCanWrap", "kSecAttrCanUnwrap",
    "kSecAttrProtocolFTP", "kSecAttrProtocolFTPAccount", "kSecAttrProtocolHTTP", "kSecAttrProtocolIRC",
    "kSecAttrProtocolNNTP", "kSecAttrProtocolPOP3", "kSecAttrProtocolSMTP", "kSecAttrProtocolSOCKS",
    "kSecAttrProtocolIMAP", "kSecAttrProtocolLDAP", "kSecAttrProtocolAppleTalk", "kSecAttrProtocolAFP",
    "kSecAttrProtocolTelnet", "kSecAttrProtocolSSH", "kSecAttrProtocolFTPS", "kSecAttrProtocolHTTPS",
    "kSecAttrProtocolHTTPProxy", "kSecAttrProtocolHTTPSProxy", "kSecAttrProtocolFTPProxy",
    "kSecAttrProtocolSMB", "kSecAttrProtocolRTSP", "kSecAttrProtocolRTSPProxy", "kSecAttrProtocolDAAP",
    "kSecAttrProtocolEPPC", "kSecAttrProtocolIPP", "kSecAttrProtocolNNTPS", "kSecAttrProtocolLDAPS",
    "kSecAttrProtocolTelnetS", "kSecAttrProtocolIMAPS", "kSecAttrProtocolIRCS", "kSecAttrProtocolPOP3S",
    "kSecAttrAuthenticationTypeNTLM", "kSecAttrAuthenticationTypeMSN", "kSecAttrAuthenticationTypeDPA",
    "kSecAttrAuthenticationTypeRPA", "kSecAttrAuthenticationTypeHTTPBasic",
    "kSecAttrAuthenticationTypeHTTPDigest", "kSecAttrAuthenticationTypeHTMLForm",
    "kSecAttrAuthenticationTypeDefault", "kSecAttrKeyClassPublic", "kSecAttrKeyClassPrivate",
    "kSecAttrKeyClassSymmetric", "kSecAttrKeyTypeRSA", "kSecAttrKeyTypeDSA", "kSecAttrKeyTypeAES",
    "kSecAttrKeyTypeDES", "kSecAttrKeyType3DES", "kSecAttrKeyTypeRC4", "kSecAttrKeyTypeRC2",
    "kSecAttrKeyTypeCAST", "kSecAttrKeyTypeECDSA", "kSecAttrPRFHmacAlgSHA1", "kSecAttrPRFHmacAlgSHA224",
    "kSecAttrPRFHmacAlgSHA256", "kSecAttrPRFHmacAlgSHA384", "kSecAttrPRFHmacAlgSHA512",
    "kSecMatchPolicy", "kSecMatchItemList", "kSecMatchSearchList", "kSecMatchIssuers",
    "kSecMatchEmailAddressIfPresent", "kSecMatchSubjectContains", "kSecMatchSubjectStartsWith",
    "kSecMatchSubjectEndsWith", "kSecMatchSubjectWholeString", "kSecMatchCaseInsensitive",
    "kSecMatchDiacriticInsensitive", "kSecMatchWidthInsensitive", "kSecMatchTrustedOnly",
    "kSecMatchValidOnDate", "kSecMatchLimit", "kSecMatchLimitOne", "kSecMatchLimitAll",
    "kSecReturnData", "kSecReturnAttributes", "kSecReturnRef", "kSecReturnPersistentRef",
    "kSecValueData", "kSecValueRef", "kSecValuePersistentRef", "kSecUseItemList", "kSecUseKeychain",
};
inline std::string QueryNameDeclaration(const std::string &name) { return name + " as string"; }

}  // namespace decl

// ---- The tables, in order -------------------------------------------------------
struct ExpectedMethod {
  std::string declaration;
  bool hasSetter;  // a property-like method
};

inline const std::vector<ExpectedMethod> kModuleMethodsBeforeQueryNames = {
    {decl::kAllItemsM, false},
    {decl::kFindInternetPasswordM, false},
    {decl::kFindGenericPasswordM, false},
    {decl::kFindInternetItemM, false},
    {decl::kFindGenericItemM, false},
    {decl::kAddGenericBlockM, false},
    {decl::kAddInternetBlockM, false},
    {decl::kAddGenericTextM, false},
    {decl::kAddInternetTextM, false},
    {decl::kMessage, false},
    {decl::kSetDomainDefault, false},
    {decl::kDomainDefault, false},
    {decl::kSetDomainSearchList, false},
    {decl::kDomainSearchList, false},
    {decl::kPreferenceDomain, true},
    {decl::kSetSearchList, false},
    {decl::kSearchList, false},
    {decl::kFromReference, false},
    {decl::kSearchCreate, false},
    {decl::kSearchCreateMany, false},
    {decl::kOpenFile, false},
    {decl::kOpenPath, false},
    {decl::kDefault, false},
    {decl::kVersion, false},
    {decl::kLockAll, false},
    {decl::kUserInteractionAllowed, true},
    {decl::kDeleteItem, false},
    {decl::kUpdateItem, false},
    {decl::kCopyMatching, false},
    {decl::kCopyMatchingDictionaries, false},
    {decl::kCopyMatchingItems, false},
    {decl::kGetPassword, false},
    {decl::kAddItem, false},
    {decl::kAddItemWithResult, false},
};

// Every shared method: the operations, then one accessor per query name.
inline const std::vector<ExpectedMethod> kModuleMethods = [] {
  std::vector<ExpectedMethod> methods = kModuleMethodsBeforeQueryNames;
  for (const std::string &name : decl::kQueryNames) methods.push_back({decl::QueryNameDeclaration(name), false});
  return methods;
}();

inline const std::vector<ExpectedMethod> kKeychainMethods = {
    {decl::kIsUnlocked, false},
    {decl::kAllItems, false},
    {decl::kFindInternetPassword, false},
    {decl::kFindGenericPassword, false},
    {decl::kFindInternetItem, false},
    {decl::kFindGenericItem, false},
    {decl::kAddGenericBlock, false},
    {decl::kAddInternetBlock, false},
    {decl::kAddGenericText, false},
    {decl::kAddInternetText, false},
    {decl::kPath, false},
    {decl::kName, false},
    {decl::kStatus, false},
    {decl::kUnlockWith, false},
    {decl::kUnlock, false},
    {decl::kDelete, false},
    {decl::kLock, false},
    {decl::kSetDefault, false},
    {decl::kSettings, true},
};

inline const std::vector<ExpectedMethod> kItemMethods = {
    {decl::kDelete, false},
    {decl::kPassword, true},
    {decl::kAttributeData, true},
    {decl::kAttributeText, true},
    {decl::kLabel, true},
    {decl::kDescription, true},
    {decl::kAccount, true},
    {decl::kComment, true},
    {decl::kService, true},
    {decl::kItemClass, false},
    {decl::kKeychain, false},
    {decl::kPersistentReference, false},
};

inline const std::vector<ExpectedMethod> kSearchMethods = {
    {decl::kNextItem, false},
};

inline const std::vector<std::string> kModuleConstants = {
    "ErrorNone = 0",
    "ErrorInvalidParameter = -50",
    "ErrorFailedToAllocated = -108",
    "ErrorNotAvailable = -25291",
    "ErrorAuthorizationFailed = -25293",
    "ErrorDuplicatedItem = -25299",
    "ErrorNotFound = -25300",
    "ErrorInteractionNotAllowed = -25308",
    "ErrorFailedToDecode = -26275",
    "kSecPreferencesDomainUser = 0",
    "kSecPreferencesDomainSystem = 1",
    "kSecPreferencesDomainCommon = 2",
    "kSecPreferencesDomainDynamic = 3",
    "kSecInternetPasswordItemClass = \"inet\"",
    "kSecGenericPasswordItemClass = \"genp\"",
    "kSecAppleSharePasswordItemClass = \"ashp\"",
};

inline const std::vector<std::string> kKeychainConstants = {
    "StatusUnlocked = 1",
    "StatusReadable = 2",
    "StatusWritable = 4",
};

inline const std::vector<std::string> kItemConstants = {
    "kSecCreationDateItemAttr = \"cdat\"",
    "kSecModDateItemAttr = \"mdat\"",
    "kSecDescriptionItemAttr = \"desc\"",
    "kSecCommentItemAttr = \"icmt\"",
    "kSecCreatorItemAttr = \"crtr\"",
    "kSecTypeItemAttr = \"type\"",
    "kSecScriptCodeItemAttr = \"scrp\"",
    "kSecLabelItemAttr = \"labl\"",
    "kSecInvisibleItemAttr = \"invi\"",
    "kSecNegativeItemAttr = \"nega\"",
    "kSecCustomIconItemAttr = \"cusi\"",
    "kSecAccountItemAttr = \"acct\"",
    "kSecServiceItemAttr = \"svce\"",
    "kSecGenericItemAttr = \"gena\"",
    "kSecSecurityDomainItemAttr = \"sdmn\"",
    "kSecServerItemAttr = \"srvr\"",
    "kSecAuthenticationTypeItemAttr = \"atyp\"",
    "kSecPortItemAttr = \"port\"",
    "kSecPathItemAttr = \"path\"",
    "kSecVolumeItemAttr = \"vlme\"",
    "kSecAddressItemAttr = \"addr\"",
    "kSecSignatureItemAttr = \"ssig\"",
    "kSecProtocolItemAttr = \"ptcl\"",
    "kSecCertificateType = \"ctyp\"",
    "kSecCertificateEncoding = \"cenc\"",
    "kSecCrlType = \"crtp\"",
    "kSecCrlEncoding = \"crnc\"",
    "kSecAlias = \"alis\"",
};

}  // namespace kc_plugin_test

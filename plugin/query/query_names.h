// The 131 query names of the item queries, each a module method without
// arguments that returns the framework's constant of that name as a new host
// string: "kSecClass as string" is getkSecClass, returning kSecClass.
#pragma once

#include "host_plugin_interface.h"

// Every name, in the order of the module's table. X(name) is expanded once
// per name: here to declare its accessor, in the tables to write its row.
#define KC_QUERY_NAMES(X) \
  X(kSecClass) X(kSecClassInternetPassword) X(kSecClassGenericPassword) X(kSecClassCertificate) \
  X(kSecClassKey) X(kSecClassIdentity) X(kSecAttrAccess) X(kSecAttrCreationDate) \
  X(kSecAttrModificationDate) X(kSecAttrDescription) X(kSecAttrComment) X(kSecAttrCreator) \
  X(kSecAttrType) X(kSecAttrLabel) X(kSecAttrIsInvisible) X(kSecAttrIsNegative) X(kSecAttrAccount) \
  X(kSecAttrService) X(kSecAttrGeneric) X(kSecAttrSecurityDomain) X(kSecAttrServer) \
  X(kSecAttrProtocol) X(kSecAttrAuthenticationType) X(kSecAttrPort) X(kSecAttrPath) \
  X(kSecAttrSubject) X(kSecAttrIssuer) X(kSecAttrSerialNumber) X(kSecAttrSubjectKeyID) \
  X(kSecAttrPublicKeyHash) X(kSecAttrCertificateType) X(kSecAttrCertificateEncoding) \
  X(kSecAttrKeyClass) X(kSecAttrApplicationLabel) X(kSecAttrIsPermanent) X(kSecAttrApplicationTag) \
  X(kSecAttrKeyType) X(kSecAttrPRF) X(kSecAttrSalt) X(kSecAttrRounds) X(kSecAttrKeySizeInBits) \
  X(kSecAttrEffectiveKeySize) X(kSecAttrCanEncrypt) X(kSecAttrCanDecrypt) X(kSecAttrCanDerive) \
  X(kSecAttrCanSign) X(kSecAttrCanVerify) X(kSecAttrCanWrap) X(kSecAttrCanUnwrap) \
  X(kSecAttrProtocolFTP) X(kSecAttrProtocolFTPAccount) X(kSecAttrProtocolHTTP) \
  X(kSecAttrProtocolIRC) X(kSecAttrProtocolNNTP) X(kSecAttrProtocolPOP3) X(kSecAttrProtocolSMTP) \
  X(kSecAttrProtocolSOCKS) X(kSecAttrProtocolIMAP) X(kSecAttrProtocolLDAP) \
  X(kSecAttrProtocolAppleTalk) X(kSecAttrProtocolAFP) X(kSecAttrProtocolTelnet) \
  X(kSecAttrProtocolSSH) X(kSecAttrProtocolFTPS) X(kSecAttrProtocolHTTPS) \
  X(kSecAttrProtocolHTTPProxy) X(kSecAttrProtocolHTTPSProxy) X(kSecAttrProtocolFTPProxy) \
  X(kSecAttrProtocolSMB) X(kSecAttrProtocolRTSP) X(kSecAttrProtocolRTSPProxy) \
  X(kSecAttrProtocolDAAP) X(kSecAttrProtocolEPPC) X(kSecAttrProtocolIPP) X(kSecAttrProtocolNNTPS) \
  X(kSecAttrProtocolLDAPS) X(kSecAttrProtocolTelnetS) X(kSecAttrProtocolIMAPS) \
  X(kSecAttrProtocolIRCS) X(kSecAttrProtocolPOP3S) X(kSecAttrAuthenticationTypeNTLM) \
  X(kSecAttrAuthenticationTypeMSN) X(kSecAttrAuthenticationTypeDPA) \
  X(kSecAttrAuthenticationTypeRPA) X(kSecAttrAuthenticationTypeHTTPBasic) \
  X(kSecAttrAuthenticationTypeHTTPDigest) X(kSecAttrAuthenticationTypeHTMLForm) \
  X(kSecAttrAuthenticationTypeDefault) X(kSecAttrKeyClassPublic) X(kSecAttrKeyClassPrivate) \
  X(kSecAttrKeyClassSymmetric) X(kSecAttrKeyTypeRSA) X(kSecAttrKeyTypeDSA) X(kSecAttrKeyTypeAES) \
  X(kSecAttrKeyTypeDES) X(kSecAttrKeyType3DES) X(kSecAttrKeyTypeRC4) X(kSecAttrKeyTypeRC2) \
  X(kSecAttrKeyTypeCAST) X(kSecAttrKeyTypeECDSA) X(kSecAttrPRFHmacAlgSHA1) \
  X(kSecAttrPRFHmacAlgSHA224) X(kSecAttrPRFHmacAlgSHA256) X(kSecAttrPRFHmacAlgSHA384) \
  X(kSecAttrPRFHmacAlgSHA512) X(kSecMatchPolicy) X(kSecMatchItemList) X(kSecMatchSearchList) \
  X(kSecMatchIssuers) X(kSecMatchEmailAddressIfPresent) X(kSecMatchSubjectContains) \
  X(kSecMatchSubjectStartsWith) X(kSecMatchSubjectEndsWith) X(kSecMatchSubjectWholeString) \
  X(kSecMatchCaseInsensitive) X(kSecMatchDiacriticInsensitive) X(kSecMatchWidthInsensitive) \
  X(kSecMatchTrustedOnly) X(kSecMatchValidOnDate) X(kSecMatchLimit) X(kSecMatchLimitOne) \
  X(kSecMatchLimitAll) X(kSecReturnData) X(kSecReturnAttributes) X(kSecReturnRef) \
  X(kSecReturnPersistentRef) X(kSecValueData) X(kSecValueRef) X(kSecValuePersistentRef) \
  X(kSecUseItemList) X(kSecUseKeychain)

#define KC_DECLARE_QUERY_NAME_ACCESSOR(name) REALstring get##name();
KC_QUERY_NAMES(KC_DECLARE_QUERY_NAME_ACCESSOR)
#undef KC_DECLARE_QUERY_NAME_ACCESSOR

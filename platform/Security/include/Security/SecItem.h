/* Dictionary-based item queries and the kSec constants they use. A program
   that defines KC_WEAK_IMPORTS (see MacTypes.h) gets them weak: it then runs
   against a Security library that lacks them, and tests their addresses
   (for example SecItemAdd != NULL) before calling through them. */
#ifndef SECURITY_SECITEM_H
#define SECURITY_SECITEM_H

#include <Security/SecBase.h>

#ifdef __cplusplus
extern "C" {
#endif

#define SEC_ITEM_WEAK KC_WEAK_IF_ASKED

extern const CFStringRef kSecClass SEC_ITEM_WEAK;
extern const CFStringRef kSecClassInternetPassword SEC_ITEM_WEAK;
extern const CFStringRef kSecClassGenericPassword SEC_ITEM_WEAK;
extern const CFStringRef kSecClassCertificate SEC_ITEM_WEAK;
extern const CFStringRef kSecClassKey SEC_ITEM_WEAK;
extern const CFStringRef kSecClassIdentity SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrAccess SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrCreationDate SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrModificationDate SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrDescription SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrComment SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrCreator SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrType SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrLabel SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrIsInvisible SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrIsNegative SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrAccount SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrService SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrGeneric SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrSecurityDomain SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrServer SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocol SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrAuthenticationType SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrPort SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrPath SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrSubject SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrIssuer SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrSerialNumber SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrSubjectKeyID SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrPublicKeyHash SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrCertificateType SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrCertificateEncoding SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrKeyClass SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrApplicationLabel SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrIsPermanent SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrApplicationTag SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrKeyType SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrPRF SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrSalt SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrRounds SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrKeySizeInBits SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrEffectiveKeySize SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrCanEncrypt SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrCanDecrypt SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrCanDerive SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrCanSign SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrCanVerify SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrCanWrap SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrCanUnwrap SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolFTP SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolFTPAccount SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolHTTP SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolIRC SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolNNTP SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolPOP3 SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolSMTP SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolSOCKS SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolIMAP SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolLDAP SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolAppleTalk SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolAFP SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolTelnet SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolSSH SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolFTPS SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolHTTPS SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolHTTPProxy SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolHTTPSProxy SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolFTPProxy SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolSMB SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolRTSP SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolRTSPProxy SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolDAAP SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolEPPC SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolIPP SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolNNTPS SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolLDAPS SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolTelnetS SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolIMAPS SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolIRCS SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrProtocolPOP3S SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrAuthenticationTypeNTLM SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrAuthenticationTypeMSN SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrAuthenticationTypeDPA SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrAuthenticationTypeRPA SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrAuthenticationTypeHTTPBasic SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrAuthenticationTypeHTTPDigest SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrAuthenticationTypeHTMLForm SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrAuthenticationTypeDefault SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrKeyClassPublic SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrKeyClassPrivate SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrKeyClassSymmetric SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrKeyTypeRSA SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrKeyTypeDSA SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrKeyTypeAES SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrKeyTypeDES SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrKeyType3DES SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrKeyTypeRC4 SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrKeyTypeRC2 SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrKeyTypeCAST SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrKeyTypeECDSA SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrPRFHmacAlgSHA1 SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrPRFHmacAlgSHA224 SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrPRFHmacAlgSHA256 SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrPRFHmacAlgSHA384 SEC_ITEM_WEAK;
extern const CFStringRef kSecAttrPRFHmacAlgSHA512 SEC_ITEM_WEAK;
extern const CFStringRef kSecMatchPolicy SEC_ITEM_WEAK;
extern const CFStringRef kSecMatchItemList SEC_ITEM_WEAK;
extern const CFStringRef kSecMatchSearchList SEC_ITEM_WEAK;
extern const CFStringRef kSecMatchIssuers SEC_ITEM_WEAK;
extern const CFStringRef kSecMatchEmailAddressIfPresent SEC_ITEM_WEAK;
extern const CFStringRef kSecMatchSubjectContains SEC_ITEM_WEAK;
extern const CFStringRef kSecMatchSubjectStartsWith SEC_ITEM_WEAK;
extern const CFStringRef kSecMatchSubjectEndsWith SEC_ITEM_WEAK;
extern const CFStringRef kSecMatchSubjectWholeString SEC_ITEM_WEAK;
extern const CFStringRef kSecMatchCaseInsensitive SEC_ITEM_WEAK;
extern const CFStringRef kSecMatchDiacriticInsensitive SEC_ITEM_WEAK;
extern const CFStringRef kSecMatchWidthInsensitive SEC_ITEM_WEAK;
extern const CFStringRef kSecMatchTrustedOnly SEC_ITEM_WEAK;
extern const CFStringRef kSecMatchValidOnDate SEC_ITEM_WEAK;
extern const CFStringRef kSecMatchLimit SEC_ITEM_WEAK;
extern const CFStringRef kSecMatchLimitOne SEC_ITEM_WEAK;
extern const CFStringRef kSecMatchLimitAll SEC_ITEM_WEAK;
extern const CFStringRef kSecReturnData SEC_ITEM_WEAK;
extern const CFStringRef kSecReturnAttributes SEC_ITEM_WEAK;
extern const CFStringRef kSecReturnRef SEC_ITEM_WEAK;
extern const CFStringRef kSecReturnPersistentRef SEC_ITEM_WEAK;
extern const CFStringRef kSecValueData SEC_ITEM_WEAK;
extern const CFStringRef kSecValueRef SEC_ITEM_WEAK;
extern const CFStringRef kSecValuePersistentRef SEC_ITEM_WEAK;
extern const CFStringRef kSecUseItemList SEC_ITEM_WEAK;
extern const CFStringRef kSecUseKeychain SEC_ITEM_WEAK;

OSStatus SecItemCopyMatching(CFDictionaryRef query, CFTypeRef *result) SEC_ITEM_WEAK;
OSStatus SecItemAdd(CFDictionaryRef attributes, CFTypeRef *result) SEC_ITEM_WEAK;
OSStatus SecItemUpdate(CFDictionaryRef query, CFDictionaryRef attributesToUpdate) SEC_ITEM_WEAK;
OSStatus SecItemDelete(CFDictionaryRef query) SEC_ITEM_WEAK;

#ifdef __cplusplus
}
#endif

#endif

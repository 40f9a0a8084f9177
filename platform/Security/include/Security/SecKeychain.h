/* Keychains: creating, opening, locking, settings, search lists, preference
   domains, and the classic password calls. */
#ifndef SECURITY_SECKEYCHAIN_H
#define SECURITY_SECKEYCHAIN_H

#include <Security/SecBase.h>

#ifdef __cplusplus
extern "C" {
#endif

enum {
    kSecUnlockStateStatus = 1,
    kSecReadPermStatus = 2,
    kSecWritePermStatus = 4
};

#define SEC_KEYCHAIN_SETTINGS_VERS1 1

typedef struct SecKeychainSettings {
    UInt32 version;
    Boolean lockOnSleep;
    Boolean useLockInterval;
    UInt32 lockInterval;
} SecKeychainSettings;

/* Four-character codes, most significant byte first. */
typedef FourCharCode SecProtocolType;
enum {
    kSecProtocolTypeFTP = 0x66747020,          /* 'ftp ' */
    kSecProtocolTypeFTPAccount = 0x66747061,   /* 'ftpa' */
    kSecProtocolTypeHTTP = 0x68747470,         /* 'http' */
    kSecProtocolTypeIRC = 0x69726320,          /* 'irc ' */
    kSecProtocolTypeNNTP = 0x6E6E7470,         /* 'nntp' */
    kSecProtocolTypePOP3 = 0x706F7033,         /* 'pop3' */
    kSecProtocolTypeSMTP = 0x736D7470,         /* 'smtp' */
    kSecProtocolTypeSOCKS = 0x736F7820,        /* 'sox ' */
    kSecProtocolTypeIMAP = 0x696D6170,         /* 'imap' */
    kSecProtocolTypeLDAP = 0x6C646170,         /* 'ldap' */
    kSecProtocolTypeAppleTalk = 0x61746C6B,    /* 'atlk' */
    kSecProtocolTypeAFP = 0x61667020,          /* 'afp ' */
    kSecProtocolTypeTelnet = 0x74656C6E,       /* 'teln' */
    kSecProtocolTypeSSH = 0x73736820,          /* 'ssh ' */
    kSecProtocolTypeFTPS = 0x66747073,         /* 'ftps' */
    kSecProtocolTypeHTTPS = 0x68747073,        /* 'htps' */
    kSecProtocolTypeHTTPProxy = 0x68747078,    /* 'htpx' */
    kSecProtocolTypeHTTPSProxy = 0x68747378,   /* 'htsx' */
    kSecProtocolTypeFTPProxy = 0x66747078,     /* 'ftpx' */
    kSecProtocolTypeCIFS = 0x63696673,         /* 'cifs' */
    kSecProtocolTypeSMB = 0x736D6220,          /* 'smb ' */
    kSecProtocolTypeRTSP = 0x72747370,         /* 'rtsp' */
    kSecProtocolTypeRTSPProxy = 0x72747378,    /* 'rtsx' */
    kSecProtocolTypeDAAP = 0x64616170,         /* 'daap' */
    kSecProtocolTypeEPPC = 0x65707063,         /* 'eppc' */
    kSecProtocolTypeIPP = 0x69707020,          /* 'ipp ' */
    kSecProtocolTypeNNTPS = 0x6E747073,        /* 'ntps' */
    kSecProtocolTypeLDAPS = 0x6C647073,        /* 'ldps' */
    kSecProtocolTypeTelnetS = 0x74656C73,      /* 'tels' */
    kSecProtocolTypeIMAPS = 0x696D7073,        /* 'imps' */
    kSecProtocolTypeIRCS = 0x69726373,         /* 'ircs' */
    kSecProtocolTypePOP3S = 0x706F7073,        /* 'pops' */
    kSecProtocolTypeCVSpserver = 0x63767370,   /* 'cvsp' */
    kSecProtocolTypeSVN = 0x73766E20,          /* 'svn ' */
    kSecProtocolTypeAny = 0
};

/* Authentication types are stored as four bytes that spell the code in
   reading order; on a little-endian machine the integer is byte-swapped. */
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
#define SEC_AUTH_TYPE_CODE(a, b, c, d) \
    ((FourCharCode)(((UInt32)(d) << 24) | ((UInt32)(c) << 16) | ((UInt32)(b) << 8) | (UInt32)(a)))
#else
#define SEC_AUTH_TYPE_CODE(a, b, c, d) \
    ((FourCharCode)(((UInt32)(a) << 24) | ((UInt32)(b) << 16) | ((UInt32)(c) << 8) | (UInt32)(d)))
#endif

typedef FourCharCode SecAuthenticationType;
enum {
    kSecAuthenticationTypeNTLM = SEC_AUTH_TYPE_CODE('n', 't', 'l', 'm'),
    kSecAuthenticationTypeMSN = SEC_AUTH_TYPE_CODE('m', 's', 'n', 'a'),
    kSecAuthenticationTypeDPA = SEC_AUTH_TYPE_CODE('d', 'p', 'a', 'a'),
    kSecAuthenticationTypeRPA = SEC_AUTH_TYPE_CODE('r', 'p', 'a', 'a'),
    kSecAuthenticationTypeHTTPBasic = SEC_AUTH_TYPE_CODE('h', 't', 't', 'p'),
    kSecAuthenticationTypeHTTPDigest = SEC_AUTH_TYPE_CODE('h', 't', 't', 'd'),
    kSecAuthenticationTypeHTMLForm = SEC_AUTH_TYPE_CODE('f', 'o', 'r', 'm'),
    kSecAuthenticationTypeDefault = SEC_AUTH_TYPE_CODE('d', 'f', 'l', 't'),
    kSecAuthenticationTypeAny = 0
};

typedef int SecPreferencesDomain;
enum {
    kSecPreferencesDomainUser = 0,
    kSecPreferencesDomainSystem = 1,
    kSecPreferencesDomainCommon = 2,
    kSecPreferencesDomainDynamic = 3
};

typedef UInt32 SecKeychainEvent;
enum {
    kSecLockEvent = 1,
    kSecUnlockEvent = 2,
    kSecAddEvent = 3,
    kSecDeleteEvent = 4,
    kSecUpdateEvent = 5,
    kSecPasswordChangedEvent = 6,
    kSecDefaultChangedEvent = 9,
    kSecDataAccessEvent = 10,
    kSecKeychainListChangedEvent = 11,
    kSecTrustSettingsChangedEvent = 12
};

CFTypeID SecKeychainGetTypeID(void);
OSStatus SecKeychainGetVersion(UInt32 *returnVers);

OSStatus SecKeychainOpen(const char *pathName, SecKeychainRef *keychain);
OSStatus SecKeychainCreate(const char *pathName, UInt32 passwordLength, const void *password,
                           Boolean promptUser, SecAccessRef initialAccess, SecKeychainRef *keychain);
OSStatus SecKeychainDelete(SecKeychainRef keychainOrArray);

OSStatus SecKeychainSetSettings(SecKeychainRef keychain, const SecKeychainSettings *newSettings);
OSStatus SecKeychainCopySettings(SecKeychainRef keychain, SecKeychainSettings *outSettings);

OSStatus SecKeychainUnlock(SecKeychainRef keychain, UInt32 passwordLength, const void *password,
                           Boolean usePassword);
OSStatus SecKeychainLock(SecKeychainRef keychain);
OSStatus SecKeychainLockAll(void);
/* Public here: rewraps the keychain key under the new password. */
OSStatus SecKeychainChangePassword(SecKeychainRef keychain, UInt32 oldPasswordLength,
                                   const void *oldPassword, UInt32 newPasswordLength,
                                   const void *newPassword);

OSStatus SecKeychainCopyDefault(SecKeychainRef *keychain);
OSStatus SecKeychainSetDefault(SecKeychainRef keychain);
OSStatus SecKeychainCopySearchList(CFArrayRef *searchList);
OSStatus SecKeychainSetSearchList(CFArrayRef searchList);

OSStatus SecKeychainCopyDomainDefault(SecPreferencesDomain domain, SecKeychainRef *keychain);
OSStatus SecKeychainSetDomainDefault(SecPreferencesDomain domain, SecKeychainRef keychain);
OSStatus SecKeychainCopyDomainSearchList(SecPreferencesDomain domain, CFArrayRef *searchList);
OSStatus SecKeychainSetDomainSearchList(SecPreferencesDomain domain, CFArrayRef searchList);
OSStatus SecKeychainSetPreferenceDomain(SecPreferencesDomain domain);
OSStatus SecKeychainGetPreferenceDomain(SecPreferencesDomain *domain);

OSStatus SecKeychainGetStatus(SecKeychainRef keychain, SecKeychainStatus *keychainStatus);
OSStatus SecKeychainGetPath(SecKeychainRef keychain, UInt32 *ioPathLength, char *pathName);

OSStatus SecKeychainSetUserInteractionAllowed(Boolean state);
OSStatus SecKeychainGetUserInteractionAllowed(Boolean *state);

OSStatus SecKeychainAddInternetPassword(SecKeychainRef keychain, UInt32 serverNameLength,
                                        const char *serverName, UInt32 securityDomainLength,
                                        const char *securityDomain, UInt32 accountNameLength,
                                        const char *accountName, UInt32 pathLength, const char *path,
                                        UInt16 port, SecProtocolType protocol,
                                        SecAuthenticationType authenticationType,
                                        UInt32 passwordLength, const void *passwordData,
                                        SecKeychainItemRef *itemRef);
OSStatus SecKeychainFindInternetPassword(CFTypeRef keychainOrArray, UInt32 serverNameLength,
                                         const char *serverName, UInt32 securityDomainLength,
                                         const char *securityDomain, UInt32 accountNameLength,
                                         const char *accountName, UInt32 pathLength,
                                         const char *path, UInt16 port, SecProtocolType protocol,
                                         SecAuthenticationType authenticationType,
                                         UInt32 *passwordLength, void **passwordData,
                                         SecKeychainItemRef *itemRef);
OSStatus SecKeychainAddGenericPassword(SecKeychainRef keychain, UInt32 serviceNameLength,
                                       const char *serviceName, UInt32 accountNameLength,
                                       const char *accountName, UInt32 passwordLength,
                                       const void *passwordData, SecKeychainItemRef *itemRef);
OSStatus SecKeychainFindGenericPassword(CFTypeRef keychainOrArray, UInt32 serviceNameLength,
                                        const char *serviceName, UInt32 accountNameLength,
                                        const char *accountName, UInt32 *passwordLength,
                                        void **passwordData, SecKeychainItemRef *itemRef);

#ifdef __cplusplus
}
#endif

#endif

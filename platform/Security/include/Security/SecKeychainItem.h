/* Keychain items: classes, attribute tags, content, persistent references. */
#ifndef SECURITY_SECKEYCHAINITEM_H
#define SECURITY_SECKEYCHAINITEM_H

#include <Security/SecBase.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef FourCharCode SecItemClass;
enum {
    kSecInternetPasswordItemClass = 0x696E6574,   /* 'inet' */
    kSecGenericPasswordItemClass = 0x67656E70,    /* 'genp' */
    kSecAppleSharePasswordItemClass = 0x61736870, /* 'ashp' */
    kSecCertificateItemClass = 0x80001000,
    kSecPublicKeyItemClass = 0x0000000F,
    kSecPrivateKeyItemClass = 0x00000010,
    kSecSymmetricKeyItemClass = 0x00000011
};

typedef FourCharCode SecItemAttr;
enum {
    kSecCreationDateItemAttr = 0x63646174,       /* 'cdat' */
    kSecModDateItemAttr = 0x6D646174,            /* 'mdat' */
    kSecDescriptionItemAttr = 0x64657363,        /* 'desc' */
    kSecCommentItemAttr = 0x69636D74,            /* 'icmt' */
    kSecCreatorItemAttr = 0x63727472,            /* 'crtr' */
    kSecTypeItemAttr = 0x74797065,               /* 'type' */
    kSecScriptCodeItemAttr = 0x73637270,         /* 'scrp' */
    kSecLabelItemAttr = 0x6C61626C,              /* 'labl' */
    kSecInvisibleItemAttr = 0x696E7669,          /* 'invi' */
    kSecNegativeItemAttr = 0x6E656761,           /* 'nega' */
    kSecCustomIconItemAttr = 0x63757369,         /* 'cusi' */
    kSecAccountItemAttr = 0x61636374,            /* 'acct' */
    kSecServiceItemAttr = 0x73766365,            /* 'svce' */
    kSecGenericItemAttr = 0x67656E61,            /* 'gena' */
    kSecSecurityDomainItemAttr = 0x73646D6E,     /* 'sdmn' */
    kSecServerItemAttr = 0x73727672,             /* 'srvr' */
    kSecAuthenticationTypeItemAttr = 0x61747970, /* 'atyp' */
    kSecPortItemAttr = 0x706F7274,               /* 'port' */
    kSecPathItemAttr = 0x70617468,               /* 'path' */
    kSecVolumeItemAttr = 0x766C6D65,             /* 'vlme' */
    kSecAddressItemAttr = 0x61646472,            /* 'addr' */
    kSecSignatureItemAttr = 0x73736967,          /* 'ssig' */
    kSecProtocolItemAttr = 0x7074636C,           /* 'ptcl' */
    kSecCertificateType = 0x63747970,            /* 'ctyp' */
    kSecCertificateEncoding = 0x63656E63,        /* 'cenc' */
    kSecCrlType = 0x63727470,                    /* 'crtp' */
    kSecCrlEncoding = 0x63726E63,                /* 'crnc' */
    kSecAlias = 0x616C6973                       /* 'alis' */
};

CFTypeID SecKeychainItemGetTypeID(void);

OSStatus SecKeychainItemCopyContent(SecKeychainItemRef itemRef, SecItemClass *itemClass,
                                    SecKeychainAttributeList *attrList, UInt32 *length,
                                    void **outData);
OSStatus SecKeychainItemFreeContent(SecKeychainAttributeList *attrList, void *data);
OSStatus SecKeychainItemModifyContent(SecKeychainItemRef itemRef,
                                      const SecKeychainAttributeList *attrList, UInt32 length,
                                      const void *data);
OSStatus SecKeychainItemModifyAttributesAndData(SecKeychainItemRef itemRef,
                                                const SecKeychainAttributeList *attrList,
                                                UInt32 length, const void *data);
OSStatus SecKeychainItemDelete(SecKeychainItemRef itemRef);
OSStatus SecKeychainItemCopyKeychain(SecKeychainItemRef itemRef, SecKeychainRef *keychainRef);
OSStatus SecKeychainItemCreatePersistentReference(SecKeychainItemRef itemRef,
                                                  CFDataRef *persistentItemRef);
OSStatus SecKeychainItemCopyFromPersistentReference(CFDataRef persistentItemRef,
                                                    SecKeychainItemRef *itemRef);

#ifdef __cplusplus
}
#endif

#endif

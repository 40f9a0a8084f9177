/* The File Manager: FSRef, FSSpec and HFSUniStr255 records, catalog
   information, and the conversions between paths, references and FSSpecs.
   Weak for a program that asks (KC_WEAK_IMPORTS, see MacTypes.h), as macOS
   programs that target older systems link the File Manager weakly. */
#ifndef KC_FILES_H
#define KC_FILES_H

#include <MacTypes.h>
#include <CarbonCore/MacErrors.h>

#ifdef __cplusplus
#define FS_EXTERN extern "C" __attribute__((visibility("default")))
#else
#define FS_EXTERN extern __attribute__((visibility("default")))
#endif
#define FS_WEAK_IMPORT KC_WEAK_IF_ASKED

#ifdef __cplusplus
extern "C" {
#endif

typedef SInt16 FSVolumeRefNum;
typedef Str63 StrFileName;
typedef UInt32 TextEncoding;

enum {
  kFSInvalidVolumeRefNum = 0,
  fsRtParID = 1, /* parent ID of a volume's root folder */
  fsRtDirID = 2  /* node ID of a volume's root folder */
};

/* An existing file or folder. Opaque: only the File Manager reads it. */
struct FSRef {
  UInt8 hidden[80];
};
typedef struct FSRef FSRef;
typedef FSRef *FSRefPtr;

/* A name as stored by the file system: up to 255 UTF-16 units. */
struct HFSUniStr255 {
  UInt16 length;
  UniChar unicode[255];
};
typedef struct HFSUniStr255 HFSUniStr255;
typedef const HFSUniStr255 *ConstHFSUniStr255Param;

#pragma pack(push, 2)
/* A folder and a leaf name in Mac OS Roman; the leaf need not exist. */
struct FSSpec {
  FSVolumeRefNum vRefNum;
  SInt32 parID;
  StrFileName name;
};
typedef struct FSSpec FSSpec;
typedef FSSpec *FSSpecPtr;

/* Seconds since 1904-01-01 00:00:00 UTC, 48 bits, plus 1/65536 fractions. */
struct UTCDateTime {
  UInt16 highSeconds;
  UInt32 lowSeconds;
  UInt16 fraction;
};
typedef struct UTCDateTime UTCDateTime;

struct FSPermissionInfo {
  UInt32 userID;
  UInt32 groupID;
  UInt8 reserved1;
  UInt8 userAccess;
  UInt16 mode;
  void *fileSec;
};
typedef struct FSPermissionInfo FSPermissionInfo;

typedef UInt32 FSCatalogInfoBitmap;
enum {
  kFSCatInfoNone = 0x00000000,
  kFSCatInfoTextEncoding = 0x00000001,
  kFSCatInfoNodeFlags = 0x00000002,
  kFSCatInfoVolume = 0x00000004,
  kFSCatInfoParentDirID = 0x00000008,
  kFSCatInfoNodeID = 0x00000010,
  kFSCatInfoCreateDate = 0x00000020,
  kFSCatInfoContentMod = 0x00000040,
  kFSCatInfoAttrMod = 0x00000080,
  kFSCatInfoAccessDate = 0x00000100,
  kFSCatInfoBackupDate = 0x00000200,
  kFSCatInfoPermissions = 0x00000400,
  kFSCatInfoFinderInfo = 0x00000800,
  kFSCatInfoFinderXInfo = 0x00001000,
  kFSCatInfoValence = 0x00002000,
  kFSCatInfoDataSizes = 0x00004000,
  kFSCatInfoRsrcSizes = 0x00008000,
  kFSCatInfoSharingFlags = 0x00010000,
  kFSCatInfoUserPrivs = 0x00020000,
  kFSCatInfoUserAccess = 0x00080000,
  kFSCatInfoAllDates = 0x000003E0,
  kFSCatInfoGettableInfo = 0x0003FFFF
};

enum {
  kFSNodeLockedMask = 0x0001,
  kFSNodeIsDirectoryMask = 0x0010
};

struct FSCatalogInfo {
  UInt16 nodeFlags;
  FSVolumeRefNum volume;
  UInt32 parentDirID;
  UInt32 nodeID;
  UInt8 sharingFlags;
  UInt8 userPrivileges;
  UInt8 reserved1;
  UInt8 reserved2;
  UTCDateTime createDate;
  UTCDateTime contentModDate;
  UTCDateTime attributeModDate;
  UTCDateTime accessDate;
  UTCDateTime backupDate;
  FSPermissionInfo permissions;
  UInt8 finderInfo[16];
  UInt8 extFinderInfo[16];
  UInt64 dataLogicalSize;
  UInt64 dataPhysicalSize;
  UInt64 rsrcLogicalSize;
  UInt64 rsrcPhysicalSize;
  UInt32 valence;
  TextEncoding textEncodingHint;
};
typedef struct FSCatalogInfo FSCatalogInfo;
typedef FSCatalogInfo *FSCatalogInfoPtr;
#pragma pack(pop)

#ifdef __cplusplus
static_assert(sizeof(FSRef) == 80, "FSRef is 80 bytes");
static_assert(sizeof(HFSUniStr255) == 512, "HFSUniStr255 is 512 bytes");
static_assert(sizeof(FSSpec) == 70, "FSSpec is 70 bytes");
#else
_Static_assert(sizeof(FSRef) == 80, "FSRef is 80 bytes");
_Static_assert(sizeof(HFSUniStr255) == 512, "HFSUniStr255 is 512 bytes");
_Static_assert(sizeof(FSSpec) == 70, "FSSpec is 70 bytes");
#endif

/* Catalog information of ref. Every out-parameter may be NULL; catalogInfo
   receives the fields named in whichInfo, outName the item's name as stored
   (with POSIX ':' shown as '/', as Carbon names do; a volume root is named
   after its mount point, the system root "/"), fsSpec the item as parent
   folder and Mac OS Roman name (a name longer than 31 bytes or without a
   Mac OS Roman form is mangled: a prefix, '#', the node ID in hexadecimal,
   the extension; FSpMakeFSRef accepts it),
   parentRef the folder holding it (all zero, invalid, for a volume root,
   whose node ID is 2 and parent ID 1). */
FS_EXTERN OSErr FSGetCatalogInfo(const FSRef *ref, FSCatalogInfoBitmap whichInfo, FSCatalogInfo *catalogInfo,
                                 HFSUniStr255 *outName, FSSpec *fsSpec, FSRef *parentRef) FS_WEAK_IMPORT;

/* A reference to the existing item that source names; fnfErr if it does not
   exist. */
FS_EXTERN OSErr FSpMakeFSRef(const FSSpec *source, FSRef *newRef) FS_WEAK_IMPORT;

/* An FSSpec for fileName inside folder dirID of volume vRefNum. vRefNum 0
   with dirID 0 is the current working folder; dirID 0 with a volume is its
   root. An empty or NULL name gives the folder itself. When the folder
   exists but the leaf does not, the FSSpec is filled in all the same and the
   result is fnfErr. fileName may be a partial pathname relative to that
   folder (":a:b", "::b" one level up, ":a:" the folder a itself; dirNFErr
   when a folder on the way is missing); full pathnames, which begin with a
   volume name, and leaf names longer than 63 bytes give bdNamErr. */
FS_EXTERN OSErr FSMakeFSSpec(FSVolumeRefNum vRefNum, SInt32 dirID, ConstStr255Param fileName,
                             FSSpec *spec) FS_WEAK_IMPORT;

/* A reference to the item at a UTF-8 POSIX path. References name the item a
   path leads to once symbolic links are followed, and stay valid while that
   item stays at that path (a renamed or replaced item is no longer found). */
FS_EXTERN OSStatus FSPathMakeRef(const UInt8 *path, FSRef *ref, Boolean *isDirectory) FS_WEAK_IMPORT;

/* The UTF-8 POSIX path of ref, zero-terminated, into path[maxPathSize]. */
FS_EXTERN OSStatus FSRefMakePath(const FSRef *ref, UInt8 *path, UInt32 maxPathSize) FS_WEAK_IMPORT;

/* The existing item called name (as outName of FSGetCatalogInfo gives it)
   inside the folder parentRef; fnfErr when there is none. */
FS_EXTERN OSErr FSMakeFSRefUnicode(const FSRef *parentRef, UniCharCount nameLength, const UniChar *name,
                                   TextEncoding textEncodingHint, FSRef *newRef) FS_WEAK_IMPORT;

/* noErr when both references name the same item, errFSRefsDifferent when not. */
FS_EXTERN OSErr FSCompareFSRefs(const FSRef *ref1, const FSRef *ref2) FS_WEAK_IMPORT;

#ifdef __cplusplus
}
#endif

#endif /* KC_FILES_H */

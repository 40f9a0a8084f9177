/*
 * The interface between the host runtime and a plug-in.
 *
 * A plug-in exports one function, REALPluginMain, and reaches every host
 * service through the resolver it is given: a host function is looked up by
 * its name and called through the pointer types declared here. This header
 * holds what both sides must agree on: the handle types, the definition
 * records a plug-in registers, the string, string-data and array records that
 * older hosts let plug-ins read directly, and the C signature of every host
 * function.
 *
 * Word size. Every record is an array of words, one word per field, in the
 * order of its layout. A word is pointer-sized (RBWord): 4 bytes in a 32-bit
 * build, where the sizes are the original byte-for-byte layouts, and 8 bytes
 * in a 64-bit build. Counts, flags and versions each fill a whole word.
 *
 * Calling shape of plug-in methods. The host calls a method's function with
 * the object first (instance methods), then the declared arguments in order:
 *   String                         REALstring
 *   Integer                        RBInteger (one signed word)
 *   Int32 / Int64                  int32_t / int64_t
 *   Boolean                        RBBoolean (one byte)
 *   Single / Double                float / double
 *   Color                          RBColor
 *   any class, Variant, MemoryBlock,
 *   FolderItem, Dictionary, Date   REALobject
 *   T() (an array)                 REALarray
 *   ByRef T                        a pointer to the caller's slot of type T
 * A property-like method's setter gets the same arguments with the assigned
 * value last. A value a plug-in function returns carries one lock to the host;
 * arguments are borrowed.
 */
#ifndef HOST_PLUGIN_INTERFACE_H
#define HOST_PLUGIN_INTERFACE_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Scalars ------------------------------------------------------------ */

typedef uintptr_t RBWord;         /* one word of a record */
typedef intptr_t RBInteger;       /* the host's "Integer" */
typedef unsigned char RBBoolean;  /* the host's "Boolean": one byte */
typedef uint32_t RBColor;         /* 0x00RRGGBB */

/* ---- Handles ------------------------------------------------------------ */

/* Every host value but strings is an object: class instances, variants,
 * dates, dictionaries, memory blocks, folder items and arrays. Objects are
 * locked and unlocked with "REALLockObject" / "REALUnlockObject". */
typedef struct REALobjectStruct REALobjectStruct;
typedef REALobjectStruct REALmemoryBlockStruct;
typedef REALobjectStruct REALfolderItemStruct;
typedef REALobjectStruct REALarrayStruct;
typedef REALobjectStruct REALarrayObject;
typedef REALobjectStruct REALarrayString;
typedef REALobjectStruct REALstringArrayStruct;
typedef REALobjectStruct _REALdictionary;
typedef REALobjectStruct _REALdate;
typedef REALobjectStruct *REALobject;
typedef REALobjectStruct *REALmemoryBlock;
typedef REALobjectStruct *REALfolderItem;
typedef REALobjectStruct *REALarray;

/* Strings are reference-counted values of their own, locked with
 * "REALLockString" / "REALUnlockString". */
typedef struct REALstringStruct REALstringStruct;
typedef REALstringStruct *REALstring;

/* A class as the host knows it ("pluginObjectType"). */
typedef struct REALclassRefStruct REALclassRefStruct;
typedef REALclassRefStruct *REALclassRef;

/* Every object starts with a header of this many bytes; the instance data of
 * a plug-in class follows it, on both word sizes. */
#define kREALObjectHeaderSize 24

/* ---- Records that older hosts let plug-ins read directly ---------------- */

/* The first words of a host string. The text starts at buffer + 1. */
typedef struct REALstringRecord {
  RBWord refCount;       /* word 0 */
  unsigned char *buffer; /* word 1 */
  RBWord allocated;      /* word 2 */
  RBWord length;         /* word 3: byte length of the text */
  RBWord encoding;       /* word 4 */
} REALstringRecord;

/* The first words of every host object. For an array, word 2 points at its
 * element storage on hosts that expose it (null otherwise): string, date and
 * object elements as one handle per word, Boolean elements one per byte. */
typedef struct REALobjectHeader {
  RBWord hostWord0;
  RBWord hostWord1;
  void *elementStorage; /* word 2 */
} REALobjectHeader;

/* Filled by "PluginGetStringData", released with "PluginDisposeStringData". */
typedef struct REALstringData {
  const void *data;  /* word 0: the bytes, followed by four zero bytes */
  RBInteger length;  /* word 1: byte count, terminator not included */
  RBWord encoding;   /* word 2: always the encoding asked for */
  RBWord hostWord3;  /* words 3 and 4 belong to the host */
  RBWord hostWord4;
} REALstringData;

/* ---- Encodings (CoreFoundation's numbers) -------------------------------- */

#define kREALEncodingMacRoman 0x00000000u
#define kREALEncodingUTF16 0x00000100u
#define kREALEncodingISOLatin1 0x00000201u
#define kREALEncodingWindowsLatin1 0x00000500u
#define kREALEncodingASCII 0x00000600u
#define kREALEncodingUTF8 0x08000100u
#define kREALEncodingUTF16BE 0x10000100u
#define kREALEncodingUTF16LE 0x14000100u
#define kREALEncodingUTF32 0x0C000100u
#define kREALEncodingUnknown 0x0000FFFFu

/* ---- Array element types ------------------------------------------------- */

enum {
  kREALArrayInt32 = 0,
  kREALArraySingle = 1,
  kREALArrayDouble = 2,
  kREALArrayString = 3,
  kREALArrayObject = 4, /* also variants */
  kREALArrayUInt8 = 5,
  kREALArrayInt8 = 6,
  kREALArrayUInt16 = 7,
  kREALArrayInt16 = 8,
  kREALArrayUInt32 = 9,
  kREALArrayUInt64 = 10,
  kREALArrayInt64 = 11,
  kREALArrayStructure = 12,
  kREALArrayPtr = 13,
  kREALArrayColor = 14,
  kREALArrayCurrency = 15,
  kREALArrayBoolean = 16
};

/* ---- Variant type codes ("VarType", a variant's "Type") ------------------ */

enum {
  kREALVarNil = 0,
  kREALVarInt32 = 2,
  kREALVarInt64 = 3,
  kREALVarSingle = 4,
  kREALVarDouble = 5,
  kREALVarCurrency = 6,
  kREALVarDate = 7,
  kREALVarString = 8,
  kREALVarObject = 9,
  kREALVarBoolean = 11,
  kREALVarColor = 16,
  kREALVarCString = 18,
  kREALVarWString = 19,
  kREALVarPString = 20,
  kREALVarCFStringRef = 21,
  kREALVarOSType = 23,
  kREALVarPtr = 26,
  kREALVarStructure = 36,
  kREALVarArray = 0x1000 /* plus the element's code */
};

/* ---- Flags of methods, properties, constants and classes ----------------- */

enum {
  kREALFlagRuntimeOnly = 2,
  kREALFlagConsoleSafe = 4, /* usable in every kind of project */
  kREALFlagConsoleOnly = 8,
  kREALScopeGlobal = 16,
  kREALScopePublic = 32,
  kREALScopeProtected = 64,
  kREALScopePrivate = 128,
  kREALFlagWebOnly = 256
};

/* ---- Definition records -------------------------------------------------- */

typedef void (*REALproc)(void);

/* A property getter or setter of this value makes the host read or write the
 * field at instance data + the entry's parameter itself. */
#define REALstandardGetter ((REALproc)(intptr_t)-1)
#define REALstandardSetter ((REALproc)(intptr_t)-1)

/* Layout versions 10, 11 and 12 store the long records below; version 9
 * keeps only their leading words (the *9 records). */

typedef struct REALmethodDefinition {
  REALproc function;       /* 0 */
  REALproc setterFunction; /* 1: null unless property-like */
  const char *declaration; /* 2 */
  RBWord mFlags;           /* 3 */
  RBWord reserved4;        /* 4 */
  RBWord reserved5;        /* 5 */
} REALmethodDefinition;

typedef struct REALmethodDefinition9 {
  REALproc function;
  REALproc setterFunction;
  const char *declaration;
  RBWord mFlags;
} REALmethodDefinition9;

typedef struct REALconstant {
  const char *declaration; /* 0: "Name = value" */
  RBWord reserved1;
  RBWord reserved2;
  RBWord reserved3;
  RBWord reserved4;
} REALconstant;

typedef struct REALconstant9 {
  const char *declaration;
  RBWord reserved1;
  RBWord reserved2;
} REALconstant9;

typedef struct REALproperty {
  const char *group; /* 0 */
  const char *name;  /* 1 */
  const char *type;  /* 2: "Integer", "Boolean", "String", ... */
  RBWord flags;      /* 3 */
  REALproc getter;   /* 4: function, REALstandardGetter, or null */
  REALproc setter;   /* 5: function, REALstandardSetter, or null (read-only) */
  RBWord param;      /* 6: byte offset of a stored field, or the word passed */
  RBWord reserved[5];
} REALproperty;

typedef struct REALproperty9 {
  const char *group;
  const char *name;
  const char *type;
  RBWord flags;
  REALproc getter;
  REALproc setter;
  RBWord param;
  RBWord reserved[3];
} REALproperty9;

typedef struct REALmoduleDefinition {
  RBWord version;                   /* 0 */
  const char *name;                 /* 1 */
  REALmethodDefinition *methods;    /* 2 */
  RBWord methodCount;               /* 3 */
  REALconstant *constants;          /* 4 */
  RBWord constantCount;             /* 5 */
  REALproperty *properties;         /* 6 */
  RBWord propertyCount;             /* 7 */
  void *list6;                      /* 8: entries of 6 words (4 in version 9) */
  RBWord list6Count;                /* 9 */
  void *list7;                      /* 10: entries of 7 words (5 in version 9) */
  RBWord list7Count;                /* 11 */
  RBWord reserved[4];               /* 12-15: absent in version 9 */
} REALmoduleDefinition;

typedef struct REALmoduleDefinition9 {
  RBWord version;
  const char *name;
  REALmethodDefinition9 *methods;
  RBWord methodCount;
  REALconstant9 *constants;
  RBWord constantCount;
  REALproperty9 *properties;
  RBWord propertyCount;
  void *list6;
  RBWord list6Count;
  void *list7;
  RBWord list7Count;
} REALmoduleDefinition9;

typedef struct REALclassDefinition {
  RBWord version;                       /* 0 */
  const char *name;                     /* 1 */
  const char *superName;                /* 2 */
  RBWord dataSize;                      /* 3: rounded up to 16 at registration */
  RBWord forSystemUse;                  /* 4: instance-data offset, written by the host */
  void (*constructor)(REALobject);      /* 5 */
  void (*destructor)(REALobject);       /* 6 */
  REALproperty *properties;             /* 7 */
  RBWord propertyCount;                 /* 8 */
  REALmethodDefinition *methods;        /* 9 */
  RBWord methodCount;                   /* 10 */
  void *list4;                          /* 11: entries of 4 words (2 in version 9) */
  RBWord list4Count;                    /* 12 */
  RBWord reserved13[3];                 /* 13-15 */
  RBWord reserved16[2];                 /* 16-17: 0 in version 9 */
  REALconstant *constants;              /* 18 */
  RBWord constantCount;                 /* 19 */
  RBWord mFlags;                        /* 20 */
  REALproperty *properties2;            /* 21 */
  RBWord propertyCount2;                /* 22 */
  REALmethodDefinition *methods2;       /* 23 */
  RBWord methodCount2;                  /* 24 */
  RBWord reserved25[4];                 /* 25-28: absent in version 9 */
} REALclassDefinition;

typedef struct REALclassDefinition9 {
  RBWord version;
  const char *name;
  const char *superName;
  RBWord dataSize;
  RBWord forSystemUse;
  void (*constructor)(REALobject);
  void (*destructor)(REALobject);
  REALproperty9 *properties;
  RBWord propertyCount;
  REALmethodDefinition9 *methods;
  RBWord methodCount;
  void *list4;
  RBWord list4Count;
  RBWord reserved13[3];
  RBWord reserved16[2];
  REALconstant9 *constants;
  RBWord constantCount;
  RBWord mFlags;
  REALproperty9 *properties2;
  RBWord propertyCount2;
  REALmethodDefinition9 *methods2;
  RBWord methodCount2;
} REALclassDefinition9;

/* ---- The entry point ----------------------------------------------------- */

/* Takes a host entry-point name, returns its address or null. */
typedef void *(*REALResolver)(const char *entryName);
typedef void (*REALPluginMain_fn)(REALResolver resolver);

/* ---- Host functions, by the name the resolver knows them under ----------- */

struct FSRef;
struct FSSpec;
struct HFSUniStr255;
struct __CFString;

/* Registration */
typedef void (*RegisterPluginVersion_fn)(int32_t layoutVersion);
typedef double (*REALGetRBVersion_fn)(void);
typedef void (*PluginRegisterModule_fn)(REALmoduleDefinition *module);
typedef void (*PluginRegisterClass_fn)(REALclassDefinition *cls);

/* Objects and classes. Created values come with one lock for the caller. */
typedef REALobject (*PluginNewInstance_fn)(const char *className);
typedef void (*REALLockObject_fn)(REALobject obj);   /* null: no-op */
typedef void (*REALUnlockObject_fn)(REALobject obj); /* null: no-op */
typedef RBBoolean (*RuntimeObjectIsa_fn)(REALobject obj, REALclassRef cls);
typedef REALclassRef (*pluginObjectType_fn)(const char *className);
typedef void (*RuntimeRaiseException_fn)(REALobject exception); /* borrows it */
typedef void *(*REALLoadObjectMethod_fn)(REALobject obj, const char *declaration);
typedef void *(*REALLoadGlobalMethod_fn)(const char *module, const char *prototype);
typedef RBBoolean (*REALGetPropValueInt_fn)(REALobject obj, const char *name, int32_t *out);
typedef RBBoolean (*REALGetPropValueInt64_fn)(REALobject obj, const char *name, int64_t *out);
typedef RBBoolean (*REALGetPropValueSingle_fn)(REALobject obj, const char *name, float *out);
typedef RBBoolean (*REALGetPropValueDouble_fn)(REALobject obj, const char *name, double *out);
/* The string read comes with one lock for the caller. */
typedef RBBoolean (*REALGetPropValueString_fn)(REALobject obj, const char *name, REALstring *out);
typedef RBBoolean (*REALSetPropValueInt_fn)(REALobject obj, const char *name, int32_t value);
typedef RBBoolean (*REALSetPropValueString_fn)(REALobject obj, const char *name, REALstring value);

/* Strings */
typedef REALstring (*REALBuildString_fn)(const void *bytes, RBInteger byteCount); /* encoding unknown */
typedef void (*REALSetStringEncoding_fn)(REALstring str, uint32_t encoding);
typedef uint32_t (*REALGetStringEncoding_fn)(REALstring str);
typedef REALstring (*REALConvertString_fn)(REALstring str, uint32_t encoding);
typedef void (*REALLockString_fn)(REALstring str);   /* null: no-op */
typedef void (*REALUnlockString_fn)(REALstring str); /* null: no-op */
typedef RBBoolean (*PluginGetStringData_fn)(REALstring str, uint32_t encoding, REALstringData *out);
typedef const char *(*StringGetCString_fn)(REALstring str);
typedef void (*PluginDisposeStringData_fn)(REALstringData *data);
/* Returns a retained CFStringRef that the caller releases. */
typedef const struct __CFString *(*REALGetStringCFString_fn)(REALstring str, RBBoolean stripAmpersands);

/* Memory blocks */
typedef REALmemoryBlock (*newMemoryBlock_fn)(RBInteger size);
typedef void *(*memoryBlockGetPtr_fn)(REALmemoryBlock block);
typedef RBInteger (*memoryBlockGetSize_fn)(REALmemoryBlock block);

/* Arrays. The get, set and insert procedures a host hands out are specific
 * to the array's element type (floating-point values travel in other
 * registers); these are the ones for objects and strings. */
typedef REALarray (*RuntimeArrayCreateSingleDimBoundedArray_fn)(RBInteger elementType, RBInteger upperBound);
typedef RBInteger (*RuntimeUBound_fn)(REALarray array); /* -1 when empty */
typedef void (*REALArrayInsertObjectProc)(REALarray array, RBInteger index, REALobject value);
typedef REALobject (*REALArrayGetObjectProc)(REALarray array, RBInteger index); /* owned */
typedef REALstring (*REALArrayGetStringProc)(REALarray array, RBInteger index); /* owned */
typedef int32_t (*REALArrayGetInt32Proc)(REALarray array, RBInteger index);
typedef int64_t (*REALArrayGetInt64Proc)(REALarray array, RBInteger index);
typedef float (*REALArrayGetSingleProc)(REALarray array, RBInteger index);
typedef double (*REALArrayGetDoubleProc)(REALarray array, RBInteger index);
typedef RBWord (*REALArrayGetBooleanProc)(REALarray array, RBInteger index); /* low byte */
typedef void (*REALArraySetObjectProc)(REALarray array, REALobject value, RBInteger index);
typedef void *(*RuntimeArrayDirectGetInsertProc_fn)(REALarray array);
typedef void *(*RuntimeArrayDirectGetGetProc_fn)(REALarray array);
typedef void *(*RuntimeArrayDirectGetSetProc_fn)(REALarray array);
typedef REALstring (*RuntimeDirectReadStringArray_fn)(REALarray array, RBInteger index); /* owned */

/* Variants. New variants come with one lock for the caller. */
typedef REALobject (*StringToVariant_fn)(REALstring value);
typedef REALobject (*Int32ToVariant_fn)(int32_t value);
typedef REALobject (*Int64ToVariant_fn)(int64_t value);
typedef REALobject (*DoubleToVariant_fn)(double value);
typedef REALobject (*BooleanToVariant_fn)(RBBoolean value);
typedef REALstring (*VariantToString_fn)(REALobject variant); /* owned */
typedef int32_t (*VariantToInt32_fn)(REALobject variant);
typedef int64_t (*VariantToInt64_fn)(REALobject variant);
typedef float (*VariantToSingle_fn)(REALobject variant);
typedef double (*VariantToDouble_fn)(REALobject variant);

/* Global methods loaded with "REALLoadGlobalMethod" */
typedef int32_t (*VarType_method)(REALobject variant);    /* "VarType(value As Variant) As Int32" */
typedef RBInteger (*LenB_method)(REALstring str);         /* "LenB( s as string ) as integer" */

/* Methods of built-in classes loaded with "REALLoadObjectMethod"; the object
 * comes first. Results come with one lock for the caller. */
typedef REALobject (*DictionaryValueGetter_method)(REALobject dict, REALobject key);
typedef void (*DictionaryValueSetter_method)(REALobject dict, REALobject key, REALobject value);
typedef REALobject (*DictionaryKey_method)(REALobject dict, RBInteger index);
typedef REALfolderItem (*FolderItemTrueItem_method)(REALobject item, RBInteger index);

/* Folder items */
typedef RBBoolean (*REALFSRefFromFolderItem_fn)(REALfolderItem item, struct FSRef *ref,
                                                struct HFSUniStr255 *name /* may be null */);
typedef RBBoolean (*REALFSSpecFromFolderItem_fn)(struct FSSpec *spec, REALfolderItem item);
typedef REALfolderItem (*REALFolderItemFromParentFSRef_fn)(const struct FSRef *parent,
                                                           const struct HFSUniStr255 *name);
typedef REALfolderItem (*FolderItemFromFSSpec_fn)(const struct FSSpec *spec);

#ifdef __cplusplus
} /* extern "C" */

/* Every record is a whole number of words, so the layouts hold on both word
 * sizes; a 32-bit build has the original byte sizes. */
static_assert(sizeof(REALstringRecord) == 5 * sizeof(void *), "string record");
static_assert(sizeof(REALstringData) == 5 * sizeof(void *), "string data");
static_assert(sizeof(REALmethodDefinition) == 6 * sizeof(void *), "method entry");
static_assert(sizeof(REALmethodDefinition9) == 4 * sizeof(void *), "method entry, v9");
static_assert(sizeof(REALconstant) == 5 * sizeof(void *), "constant entry");
static_assert(sizeof(REALconstant9) == 3 * sizeof(void *), "constant entry, v9");
static_assert(sizeof(REALproperty) == 12 * sizeof(void *), "property entry");
static_assert(sizeof(REALproperty9) == 10 * sizeof(void *), "property entry, v9");
static_assert(sizeof(REALmoduleDefinition) == 16 * sizeof(void *), "module record");
static_assert(sizeof(REALmoduleDefinition9) == 12 * sizeof(void *), "module record, v9");
static_assert(sizeof(REALclassDefinition) == 29 * sizeof(void *), "class record");
static_assert(sizeof(REALclassDefinition9) == 25 * sizeof(void *), "class record, v9");
#if UINTPTR_MAX == 0xFFFFFFFFu
static_assert(sizeof(REALmoduleDefinition) == 64, "module record is 64 bytes");
static_assert(sizeof(REALmoduleDefinition9) == 48, "v9 module record is 48 bytes");
static_assert(sizeof(REALclassDefinition) == 116, "class record is 116 bytes");
static_assert(sizeof(REALclassDefinition9) == 100, "v9 class record is 100 bytes");
static_assert(sizeof(REALmethodDefinition) == 24, "method entry is 24 bytes");
static_assert(sizeof(REALconstant) == 20, "constant entry is 20 bytes");
static_assert(sizeof(REALproperty) == 48, "property entry is 48 bytes");
static_assert(sizeof(REALstringData) == 20, "string data is 20 bytes");
#endif
#endif /* __cplusplus */

#endif /* HOST_PLUGIN_INTERFACE_H */

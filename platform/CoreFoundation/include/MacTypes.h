/* Basic Mac OS scalar, text and status types shared by every framework. */
#ifndef KC_MACTYPES_H
#define KC_MACTYPES_H

#include <stddef.h>
#include <stdint.h>

/* Weak imports, on request. A program that must also run against a build of
   these frameworks without some of their functions (the item queries, the
   File Manager, CoreGraphics, CoreText) defines KC_WEAK_IMPORTS before its
   first framework include (or passes -DKC_WEAK_IMPORTS), and then tests each
   such function's address before calling it: the frameworks declare those
   names weak, and an absent one reads as NULL. Every other program gets
   ordinary declarations, so that a plain link keeps the libraries it uses
   (a linker that drops unneeded libraries drops one that is only referenced
   weakly). */
#ifdef KC_WEAK_IMPORTS
#define KC_WEAK_IF_ASKED __attribute__((weak))
#else
#define KC_WEAK_IF_ASKED
#endif

#ifdef __cplusplus
extern "C" {
#endif

typedef unsigned char UInt8;
typedef signed char SInt8;
typedef unsigned short UInt16;
typedef signed short SInt16;
typedef unsigned int UInt32;
typedef signed int SInt32;
typedef unsigned long long UInt64;
typedef signed long long SInt64;

typedef float Float32;
typedef double Float64;

typedef unsigned char Boolean;
typedef UInt8 Byte;
typedef SInt8 SignedByte;

typedef SInt16 OSErr;
typedef SInt32 OSStatus;
typedef UInt32 OptionBits;
typedef UInt32 FourCharCode;
typedef FourCharCode OSType;
typedef FourCharCode ResType;

typedef unsigned long ByteCount;
typedef unsigned long ByteOffset;
typedef unsigned long ItemCount;
typedef long Size;
typedef char *Ptr;
typedef Ptr *Handle;
typedef void *LogicalAddress;

typedef UInt16 UniChar;
typedef UniChar *UniCharPtr;
typedef unsigned long UniCharCount;
typedef UInt32 UTF32Char;
typedef UInt16 UTF16Char;
typedef UInt8 UTF8Char;

typedef SInt16 ScriptCode;
typedef SInt16 LangCode;
typedef SInt16 RegionCode;

typedef unsigned char Str255[256];
typedef unsigned char Str63[64];
typedef unsigned char Str32[33];
typedef unsigned char Str31[32];
typedef unsigned char Str27[28];
typedef unsigned char Str15[16];
typedef unsigned char *StringPtr;
typedef StringPtr *StringHandle;
typedef const unsigned char *ConstStringPtr;
typedef const unsigned char *ConstStr255Param;
typedef const unsigned char *ConstStr63Param;
typedef const unsigned char *ConstStr31Param;

typedef SInt32 Fixed;
typedef Fixed *FixedPtr;

enum { noErr = 0 };

#ifdef __cplusplus
}
#endif

#endif /* KC_MACTYPES_H */

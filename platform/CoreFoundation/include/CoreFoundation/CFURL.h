/* URLs: parsing, file-system paths, path components and percent escapes. */
#ifndef KC_CFURL_H
#define KC_CFURL_H

#include <CoreFoundation/CFBase.h>
#include <CoreFoundation/CFData.h>
#include <CoreFoundation/CFString.h>

CF_EXTERN_C_BEGIN

typedef CFIndex CFURLPathStyle;
enum {
  kCFURLPOSIXPathStyle = 0,
  kCFURLHFSPathStyle = 1,
  kCFURLWindowsPathStyle = 2
};

typedef const struct __CFURL *CFURLRef;

CF_EXPORT CFTypeID CFURLGetTypeID(void);

/* Creating */
CF_EXPORT CFURLRef CFURLCreateWithString(CFAllocatorRef allocator, CFStringRef URLString, CFURLRef baseURL);
CF_EXPORT CFURLRef CFURLCreateWithBytes(CFAllocatorRef allocator, const UInt8 *URLBytes, CFIndex length, CFStringEncoding encoding, CFURLRef baseURL);
CF_EXPORT CFURLRef CFURLCreateAbsoluteURLWithBytes(CFAllocatorRef alloc, const UInt8 *relativeURLBytes, CFIndex length, CFStringEncoding encoding, CFURLRef baseURL, Boolean useCompatibilityMode);
/* Only the POSIX style is supported here; other styles give NULL. A relative
   path is taken relative to the current working folder. */
CF_EXPORT CFURLRef CFURLCreateWithFileSystemPath(CFAllocatorRef allocator, CFStringRef filePath, CFURLPathStyle pathStyle, Boolean isDirectory);
CF_EXPORT CFURLRef CFURLCreateWithFileSystemPathRelativeToBase(CFAllocatorRef allocator, CFStringRef filePath, CFURLPathStyle pathStyle, Boolean isDirectory, CFURLRef baseURL);
CF_EXPORT CFURLRef CFURLCreateFromFileSystemRepresentation(CFAllocatorRef allocator, const UInt8 *buffer, CFIndex bufLen, Boolean isDirectory);
CF_EXPORT CFURLRef CFURLCopyAbsoluteURL(CFURLRef relativeURL);
CF_EXPORT CFURLRef CFURLCreateCopyAppendingPathComponent(CFAllocatorRef allocator, CFURLRef url, CFStringRef pathComponent, Boolean isDirectory);
CF_EXPORT CFURLRef CFURLCreateCopyDeletingLastPathComponent(CFAllocatorRef allocator, CFURLRef url);
CF_EXPORT CFURLRef CFURLCreateCopyAppendingPathExtension(CFAllocatorRef allocator, CFURLRef url, CFStringRef extension);
CF_EXPORT CFURLRef CFURLCreateCopyDeletingPathExtension(CFAllocatorRef allocator, CFURLRef url);

/* Reading */
CF_EXPORT CFStringRef CFURLGetString(CFURLRef anURL);
CF_EXPORT CFURLRef CFURLGetBaseURL(CFURLRef anURL);
CF_EXPORT Boolean CFURLCanBeDecomposed(CFURLRef anURL);
CF_EXPORT CFStringRef CFURLCopyScheme(CFURLRef anURL);
CF_EXPORT CFStringRef CFURLCopyNetLocation(CFURLRef anURL);
CF_EXPORT CFStringRef CFURLCopyHostName(CFURLRef anURL);
CF_EXPORT SInt32 CFURLGetPortNumber(CFURLRef anURL);
CF_EXPORT CFStringRef CFURLCopyUserName(CFURLRef anURL);
CF_EXPORT CFStringRef CFURLCopyPassword(CFURLRef anURL);
/* The path as written, percent escapes kept, not resolved against the base. */
CF_EXPORT CFStringRef CFURLCopyPath(CFURLRef anURL);
CF_EXPORT CFStringRef CFURLCopyStrictPath(CFURLRef anURL, Boolean *isAbsolute);
/* The decoded path, without a trailing slash (except for "/"). */
CF_EXPORT CFStringRef CFURLCopyFileSystemPath(CFURLRef anURL, CFURLPathStyle pathStyle);
CF_EXPORT Boolean CFURLHasDirectoryPath(CFURLRef anURL);
CF_EXPORT CFStringRef CFURLCopyResourceSpecifier(CFURLRef anURL);
CF_EXPORT CFStringRef CFURLCopyQueryString(CFURLRef anURL, CFStringRef charactersToLeaveEscaped);
CF_EXPORT CFStringRef CFURLCopyFragment(CFURLRef anURL, CFStringRef charactersToLeaveEscaped);
CF_EXPORT CFStringRef CFURLCopyLastPathComponent(CFURLRef url);
CF_EXPORT CFStringRef CFURLCopyPathExtension(CFURLRef url);
CF_EXPORT Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase, UInt8 *buffer, CFIndex maxBufLen);
CF_EXPORT CFIndex CFURLGetBytes(CFURLRef url, UInt8 *buffer, CFIndex bufferLength);

/* Percent escapes */
CF_EXPORT CFStringRef CFURLCreateStringByReplacingPercentEscapes(CFAllocatorRef allocator, CFStringRef originalString, CFStringRef charactersToLeaveEscaped);
CF_EXPORT CFStringRef CFURLCreateStringByReplacingPercentEscapesUsingEncoding(CFAllocatorRef allocator, CFStringRef origString, CFStringRef charsToLeaveEscaped, CFStringEncoding encoding);
CF_EXPORT CFStringRef CFURLCreateStringByAddingPercentEscapes(CFAllocatorRef allocator, CFStringRef originalString, CFStringRef charactersToLeaveUnescaped, CFStringRef legalURLCharactersToBeEscaped, CFStringEncoding encoding);

/* File Manager bridges, provided by ApplicationServices; weak for a program
   that asks (KC_WEAK_IMPORTS, see MacTypes.h). */
struct FSRef;
CF_EXPORT Boolean CFURLGetFSRef(CFURLRef url, struct FSRef *fsRef) KC_WEAK_IF_ASKED;
CF_EXPORT CFURLRef CFURLCreateFromFSRef(CFAllocatorRef allocator, const struct FSRef *fsRef) KC_WEAK_IF_ASKED;

CF_EXTERN_C_END

#endif /* KC_CFURL_H */

// CFError: a domain, a code and a user-info dictionary.
#include <string>

#include "cf_internal.h"

using namespace cf;

struct ErrorImpl {
  CFStringRef domain = nullptr;
  CFIndex code = 0;
  CFDictionaryRef userInfo = nullptr;
};

struct __CFError {
  CFRuntimeBase base;
  ErrorImpl impl;
};

const CFStringRef kCFErrorDomainPOSIX = CFSTR("NSPOSIXErrorDomain");
const CFStringRef kCFErrorDomainOSStatus = CFSTR("NSOSStatusErrorDomain");
const CFStringRef kCFErrorDomainMach = CFSTR("NSMachErrorDomain");
const CFStringRef kCFErrorDomainCocoa = CFSTR("NSCocoaErrorDomain");
const CFStringRef kCFErrorLocalizedDescriptionKey = CFSTR("NSLocalizedDescription");
const CFStringRef kCFErrorLocalizedFailureReasonKey = CFSTR("NSLocalizedFailureReason");
const CFStringRef kCFErrorLocalizedRecoverySuggestionKey = CFSTR("NSLocalizedRecoverySuggestion");
const CFStringRef kCFErrorDescriptionKey = CFSTR("NSDescription");
const CFStringRef kCFErrorUnderlyingErrorKey = CFSTR("NSUnderlyingError");

namespace {

const ErrorImpl& Impl(CFErrorRef e) { return e->impl; }
bool IsError(CFTypeRef e) { return IsA(e, kErrorTypeID); }

void FinalizeError(CFTypeRef cf) {
  const ErrorImpl& impl = Impl(static_cast<CFErrorRef>(const_cast<void*>(cf)));
  CFRelease(impl.domain);
  CFRelease(impl.userInfo);
}

Boolean EqualErrors(CFTypeRef a, CFTypeRef b) {
  const ErrorImpl& x = Impl(static_cast<CFErrorRef>(const_cast<void*>(a)));
  const ErrorImpl& y = Impl(static_cast<CFErrorRef>(const_cast<void*>(b)));
  return x.code == y.code && CFEqual(x.domain, y.domain) && CFEqual(x.userInfo, y.userInfo);
}

CFHashCode HashErrors(CFTypeRef cf) {
  const ErrorImpl& x = Impl(static_cast<CFErrorRef>(const_cast<void*>(cf)));
  return static_cast<CFHashCode>(x.code) ^ CFHash(x.domain);
}

CFStringRef DescribeError(CFTypeRef cf) { return CFErrorCopyDescription(static_cast<CFErrorRef>(const_cast<void*>(cf))); }

CFStringRef CopyStringFromUserInfo(CFErrorRef err, CFStringRef key) {
  if (!IsError(err)) return nullptr;
  CFTypeRef v = CFDictionaryGetValue(Impl(err).userInfo, key);
  return IsA(v, kStringTypeID) ? static_cast<CFStringRef>(CFRetain(v)) : nullptr;
}

}  // namespace

const CFRuntimeClass cf::kErrorClass = {0, "CFError", nullptr, nullptr, FinalizeError, EqualErrors, HashErrors,
                                        nullptr, DescribeError};

CFTypeID CFErrorGetTypeID(void) { return kErrorTypeID; }

CFErrorRef CFErrorCreate(CFAllocatorRef allocator, CFErrorDomain domain, CFIndex code, CFDictionaryRef userInfo) {
  if (!IsA(domain, kStringTypeID) || (userInfo && !IsA(userInfo, kDictionaryTypeID))) return nullptr;
  __CFError* e = NewInstance<__CFError>(allocator, kErrorTypeID);
  if (!e) return nullptr;
  e->impl.domain = CFStringCreateCopy(allocator, domain);
  e->impl.code = code;
  e->impl.userInfo = userInfo ? CFDictionaryCreateCopy(allocator, userInfo)
                              : CFDictionaryCreate(allocator, nullptr, nullptr, 0, &kCFTypeDictionaryKeyCallBacks,
                                                   &kCFTypeDictionaryValueCallBacks);
  return e;
}

CFErrorRef CFErrorCreateWithUserInfoKeysAndValues(CFAllocatorRef allocator, CFErrorDomain domain, CFIndex code,
                                                  const void* const* userInfoKeys, const void* const* userInfoValues,
                                                  CFIndex numUserInfoValues) {
  CFDictionaryRef info = CFDictionaryCreate(allocator, const_cast<const void**>(userInfoKeys),
                                            const_cast<const void**>(userInfoValues), numUserInfoValues,
                                            &kCFTypeDictionaryKeyCallBacks, &kCFTypeDictionaryValueCallBacks);
  if (!info) return nullptr;
  CFErrorRef e = CFErrorCreate(allocator, domain, code, info);
  CFRelease(info);
  return e;
}

CFErrorDomain CFErrorGetDomain(CFErrorRef err) { return IsError(err) ? Impl(err).domain : nullptr; }

CFIndex CFErrorGetCode(CFErrorRef err) { return IsError(err) ? Impl(err).code : 0; }

CFDictionaryRef CFErrorCopyUserInfo(CFErrorRef err) {
  return IsError(err) ? static_cast<CFDictionaryRef>(CFRetain(Impl(err).userInfo)) : nullptr;
}

CFStringRef CFErrorCopyDescription(CFErrorRef err) {
  if (!IsError(err)) return nullptr;
  if (CFStringRef s = CopyStringFromUserInfo(err, kCFErrorLocalizedDescriptionKey)) return s;
  std::string text = "The operation couldn't be completed. (" + ToUTF8(Impl(err).domain) + " error " +
                     std::to_string(Impl(err).code) + ".)";
  return NewStringFromUTF8(text);
}

CFStringRef CFErrorCopyFailureReason(CFErrorRef err) {
  return CopyStringFromUserInfo(err, kCFErrorLocalizedFailureReasonKey);
}

CFStringRef CFErrorCopyRecoverySuggestion(CFErrorRef err) {
  return CopyStringFromUserInfo(err, kCFErrorLocalizedRecoverySuggestionKey);
}

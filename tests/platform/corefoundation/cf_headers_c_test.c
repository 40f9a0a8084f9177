/* Compiled as C: proves the framework headers are valid C and that their
   functions link with C linkage. Called from the C++ runtime tests. */
#include <CoreFoundation/CoreFoundation.h>
#include <CoreFoundation/CFLiveObjects.h>
#include <CoreFoundation/CFRuntime.h>

int kc_cf_c_caller_round_trip(void) {
  CFStringRef s = CFStringCreateWithCString(kCFAllocatorDefault, "from C", kCFStringEncodingUTF8);
  if (!s) return 0;
  int ok = CFStringGetLength(s) == 6 && CFEqual(s, CFSTR("from C")) && CFGetTypeID(s) == CFStringGetTypeID();
  CFRelease(s);
  return ok;
}

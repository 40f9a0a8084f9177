/* A keychain program as it is written for macOS: it includes the two
   framework umbrellas and nothing else, yet uses bool, true, false, NULL,
   printf and memcmp. Built with the project's warnings as errors, it proves
   the umbrellas bring the C library along; run, it exits 0. */
#include <CoreFoundation/CoreFoundation.h>
#include <Security/Security.h>

static bool SameBytes(CFDataRef data, const char *text) {
    size_t n = strlen(text);
    return data != NULL && (size_t)CFDataGetLength(data) == n &&
           memcmp(CFDataGetBytePtr(data), text, n) == 0;
}

int main(void) {
    CFDataRef data = CFDataCreate(NULL, (const UInt8 *)"secret", 6);
    bool ok = SameBytes(data, "secret") == true && SameBytes(data, "Secret") == false;
    UInt32 version = 0;
    ok = ok && SecKeychainGetVersion(&version) == errSecSuccess && version != 0;
    printf("%s\n", ok ? "ok" : "wrong");
    if (data != NULL) CFRelease(data);
    return ok ? EXIT_SUCCESS : EXIT_FAILURE;
}

// Keychain file bytes opened, unlocked, searched and read. Byte 0 chooses
// a whole file of the input's bytes (odd) or edits to a real keychain file
// (even). Whatever the file holds, every call returns a status.
#include <sys/stat.h>

#include "fuzz_keychain.h"

namespace {

void ReadEverything(SecKeychainRef kc, SecItemClass itemClass) {
  SecKeychainSearchRef search = nullptr;
  if (SecKeychainSearchCreateFromAttributes(kc, itemClass, nullptr, &search) != errSecSuccess) return;
  SecKeychainItemRef item = nullptr;
  for (int n = 0; n < 16 && SecKeychainSearchCopyNext(search, &item) == errSecSuccess; ++n) {
    SecKeychainAttribute attrs[] = {{kSecAccountItemAttr, 0, nullptr}, {kSecLabelItemAttr, 0, nullptr},
                                    {kSecCreationDateItemAttr, 0, nullptr}};
    SecKeychainAttributeList list = {3, attrs};
    UInt32 length = 0;
    void* data = nullptr;
    if (SecKeychainItemCopyContent(item, nullptr, &list, &length, &data) == errSecSuccess)
      SecKeychainItemFreeContent(&list, data);
    CFRelease(item);
  }
  CFRelease(search);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const FuzzKeychain& base = BaseKeychain();
  FuzzInput in(data, size);
  std::string file = base.bytes;
  if (in.Byte() & 1) file = in.Rest();
  else ApplyEdits(in, &file);
  const std::string path = base.folder + "/fuzz.keychain";
  for (const char* suffix : {"", "-wal", "-shm", "-journal"}) unlink((path + suffix).c_str());
  FILE* f = fopen(path.c_str(), "wb");
  fwrite(file.data(), 1, file.size(), f);
  fclose(f);

  SecKeychainRef kc = nullptr;
  if (SecKeychainOpen(path.c_str(), &kc) != errSecSuccess) abort();
  SecKeychainStatus status = 0;
  SecKeychainGetStatus(kc, &status);
  SecKeychainSettings settings = {SEC_KEYCHAIN_SETTINGS_VERS1, 0, 0, 0};
  SecKeychainCopySettings(kc, &settings);
  SecKeychainUnlock(kc, 2, "pw", true);
  ReadEverything(kc, kSecGenericPasswordItemClass);
  ReadEverything(kc, kSecInternetPasswordItemClass);
  UInt32 length = 0;
  void* secret = nullptr;
  if (SecKeychainFindGenericPassword(kc, 3, "svc", 4, "acct", &length, &secret, nullptr) == errSecSuccess)
    SecKeychainItemFreeContent(nullptr, secret);
  SecKeychainLock(kc);
  CFRelease(kc);
  return 0;
}

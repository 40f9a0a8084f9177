// Persistent-reference bytes resolved, through the item call and through an
// item query. Byte 0 chooses the input's own bytes (odd) or edits to a real
// reference (even). A reference resolves to an item or gives a status.
#include "fuzz_keychain.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const FuzzKeychain& base = BaseKeychain();
  FuzzInput in(data, size);
  std::string bytes = base.reference;
  if (in.Byte() & 1) bytes = in.Rest();
  else ApplyEdits(in, &bytes);
  CFDataRef reference = CFDataCreate(nullptr, reinterpret_cast<const UInt8*>(bytes.data()), CFIndex(bytes.size()));
  SecKeychainItemRef item = nullptr;
  OSStatus status = SecKeychainItemCopyFromPersistentReference(reference, &item);
  if ((status == errSecSuccess) != (item != nullptr)) abort();
  if (item) {
    SecItemClass itemClass = 0;
    SecKeychainItemCopyContent(item, &itemClass, nullptr, nullptr, nullptr);
    CFRelease(item);
  }
  const void* keys[] = {kSecValuePersistentRef, kSecReturnAttributes};
  const void* values[] = {reference, kCFBooleanTrue};
  CFDictionaryRef query = CFDictionaryCreate(nullptr, keys, values, 2, &kCFTypeDictionaryKeyCallBacks,
                                             &kCFTypeDictionaryValueCallBacks);
  CFTypeRef result = nullptr;
  status = SecItemCopyMatching(query, &result);
  if ((status == errSecSuccess) != (result != nullptr)) abort();
  if (result) CFRelease(result);
  CFRelease(query);
  CFRelease(reference);
  return 0;
}

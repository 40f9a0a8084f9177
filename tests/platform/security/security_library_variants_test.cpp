// The two builds of the library: the full one exports every item-query call
// and kSec constant, the one without item queries exports none of them but
// still the keychain calls. Loaded with dlopen, as a program would find them.
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <string>

namespace {

const char* const kItemSymbols[] = {
    "SecItemAdd", "SecItemCopyMatching", "SecItemUpdate", "SecItemDelete", "kSecClass",
    "kSecClassGenericPassword", "kSecAttrAccount", "kSecAttrProtocolFTP", "kSecMatchLimitAll",
    "kSecReturnData", "kSecValueData", "kSecUseKeychain", "kSecAttrPRFHmacAlgSHA512",
};
const char* const kKeychainSymbols[] = {
    "SecKeychainCreate", "SecKeychainOpen", "SecKeychainFindGenericPassword",
    "SecKeychainSearchCopyNext", "SecCopyErrorMessageString", "SecKeychainItemGetTypeID",
};

TEST(SecurityLibraryVariants, WithoutItemsLacksEveryItemQuerySymbolButKeepsKeychainCalls) {
  void* lib = dlopen(SECURITY_NOITEMS_PATH, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(lib, nullptr) << dlerror();
  for (const char* name : kItemSymbols) EXPECT_EQ(dlsym(lib, name), nullptr) << name;
  for (const char* name : kKeychainSymbols) EXPECT_NE(dlsym(lib, name), nullptr) << name;
  EXPECT_NE(std::string(SECURITY_NOITEMS_PATH).find("/libSecurity.so"), std::string::npos);
  dlclose(lib);
}

TEST(SecurityLibraryVariants, FullLibraryExportsItemQueriesAndKeychainCalls) {
  void* lib = dlopen(SECURITY_FULL_PATH, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(lib, nullptr) << dlerror();
  for (const char* name : kItemSymbols) EXPECT_NE(dlsym(lib, name), nullptr) << name;
  for (const char* name : kKeychainSymbols) EXPECT_NE(dlsym(lib, name), nullptr) << name;
  dlclose(lib);
}

}  // namespace

// How the keychain classes report failure to a host program: the module's
// read-only "LastError", the nil-argument exception of
// ItemFromPersistentReference, and ErrorMessageString, which turns a status
// into the keychain's own text without disturbing "LastError".
#include <cstdlib>

#include "keychain_class_fixture.h"

namespace kc_plugin_test {
namespace {

class ErrorReporting : public KeychainClassTest {
 protected:
  // The keychain's own text for a status, as UTF-8; nullopt when it has none.
  std::optional<std::string> FrameworkText(OSStatus status) {
    CFHold text(SecCopyErrorMessageString(status, nullptr));
    if (!text.get()) return std::nullopt;
    CFStringRef s = static_cast<CFStringRef>(text.get());
    const CFIndex capacity = CFStringGetMaximumSizeForEncoding(CFStringGetLength(s), kCFStringEncodingUTF8) + 1;
    std::string buffer(static_cast<size_t>(capacity), '\0');
    if (!CFStringGetCString(s, &buffer[0], capacity, kCFStringEncodingUTF8)) return std::nullopt;
    buffer.resize(std::char_traits<char>::length(buffer.c_str()));
    return buffer;
  }

  // Leaves a known, non-trivial status in "LastError".
  void MissOnce() {
    Value keychain = Shared(decl::kOpenPath, {Text(KeychainPath("errors.keychain"))});
    EXPECT_TRUE(Method(keychain, decl::kFindGenericItem, {Text("nothing"), Text("here")}).isNil());
    ASSERT_EQ(LastError(), errSecItemNotFound);
  }
};

TEST_F(ErrorReporting, NilPersistentReferenceRaisesAndLeavesMinusOne) {
  MissOnce();
  Value item = Shared(decl::kFromReference, {Value()});
  // The exception belongs to this call: take it before any other call.
  std::optional<plugin_host::ExceptionInfo> raised = host().TakeException();
  EXPECT_TRUE(item.isNil());
  ASSERT_TRUE(raised.has_value()) << "a nil block must raise";
  EXPECT_EQ(raised->className, "NilObjectException");
  EXPECT_EQ(raised->message, "data is nil");
  EXPECT_EQ(raised->errorNumber, 0);
  EXPECT_EQ(LastError(), -1) << "no framework call was made";

  // Bytes that are no reference reach the framework: a status, no exception.
  for (const std::string &bytes : {std::string("not a reference"), std::string(1, '\0'), std::string()}) {
    Value none = Shared(decl::kFromReference, {host().MemoryBlock(bytes)});
    EXPECT_FALSE(host().TakeException().has_value()) << bytes.size();
    EXPECT_TRUE(none.isNil()) << bytes.size();
    EXPECT_NE(LastError(), 0) << bytes.size();
    EXPECT_NE(LastError(), -1) << bytes.size();
  }
}

TEST_F(ErrorReporting, LastErrorIsReadOnlyAndStartsAtZero) {
  EXPECT_EQ(LastError(), 0) << "a freshly loaded plug-in has made no call";
  CallResult assigned = host().SetModuleProperty(kModule, "LastError", Value::Integer(5));
  EXPECT_FALSE(assigned.ok) << "host programs cannot assign LastError";
  EXPECT_EQ(LastError(), 0);
  MissOnce();
  EXPECT_FALSE(host().SetModuleProperty(kModule, "LastError", Value::Integer(0)).ok);
  EXPECT_EQ(LastError(), errSecItemNotFound);
}

// The text is the keychain's own, as UTF-8, for success and for every
// status the module publishes; asking never changes LastError.
TEST_F(ErrorReporting, ErrorMessageStringGivesTheKeychainsTextAndKeepsLastError) {
  MissOnce();
  const char *constants[] = {"ErrorNone",       "ErrorInvalidParameter",   "ErrorFailedToAllocated",
                             "ErrorNotAvailable", "ErrorAuthorizationFailed", "ErrorDuplicatedItem",
                             "ErrorNotFound",   "ErrorInteractionNotAllowed", "ErrorFailedToDecode"};
  for (const char *name : constants) {
    std::optional<std::string> declared = host().Constant(kModule, name);
    ASSERT_TRUE(declared.has_value()) << name;
    const OSStatus status = static_cast<OSStatus>(std::strtol(declared->c_str(), nullptr, 10));
    Value text = Shared(decl::kMessage, {Value::Integer(status)});
    std::optional<std::string> expected = FrameworkText(status);
    ASSERT_TRUE(expected.has_value()) << name;
    ASSERT_FALSE(text.isNil()) << name;
    EXPECT_EQ(host().StringBytes(text), *expected) << name;
    EXPECT_EQ(host().StringEncoding(text), kEncodingUTF8) << name;
    EXPECT_EQ(LastError(), errSecItemNotFound) << name;
    EXPECT_FALSE(host().TakeException().has_value()) << name;
  }

  // Success has its own text, different from a failure's.
  EXPECT_NE(host().StringBytes(Shared(decl::kMessage, {Value::Integer(0)})),
            host().StringBytes(Shared(decl::kMessage, {Value::Integer(errSecItemNotFound)})));

  // Codes the module does not name: whatever the keychain says, or nil.
  for (OSStatus status : std::vector<OSStatus>{errSecNoSuchKeychain, errSecBufferTooSmall, -1, 12345, INT32_MIN}) {
    Value text = Shared(decl::kMessage, {Value::Integer(status)});
    std::optional<std::string> expected = FrameworkText(status);
    if (!expected || expected->empty())
      EXPECT_TRUE(text.isNil()) << status;
    else
      EXPECT_EQ(host().StringBytes(text), *expected) << status;
  }
  EXPECT_EQ(LastError(), errSecItemNotFound);
}

}  // namespace
}  // namespace kc_plugin_test

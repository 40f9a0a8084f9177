// CFURL: file URLs from paths and back, path components, parsing of other
// URLs, relative resolution and percent escapes.
#include <unistd.h>

#include <climits>

#include "cf_test.h"

namespace cf_test {
namespace {

using CFURLs = CFTest;

CFURLRef FileURL(const char* path, bool isDirectory) {
  Owned<CFStringRef> p(NewString(path));
  return CFURLCreateWithFileSystemPath(nullptr, p, kCFURLPOSIXPathStyle, isDirectory);
}

CFURLRef URL(const char* text, CFURLRef base = nullptr) {
  Owned<CFStringRef> s(NewString(text));
  return CFURLCreateWithString(nullptr, s, base);
}

std::string Take(CFStringRef s) {
  std::string out = UTF8(s);
  if (s) CFRelease(s);
  return out;
}

TEST_F(CFURLs, FileURLOfAnAccentedPathEscapesUTF8AndRoundTrips) {
  Owned<CFURLRef> u(FileURL("/tmp/caf\xC3\xA9 menu.txt", false));
  ASSERT_NE(nullptr, u.get());
  EXPECT_EQ("file:///tmp/caf%C3%A9%20menu.txt", UTF8(CFURLGetString(u)));
  EXPECT_EQ("/tmp/caf\xC3\xA9 menu.txt", Take(CFURLCopyFileSystemPath(u, kCFURLPOSIXPathStyle)));
  EXPECT_EQ("/tmp/caf%C3%A9%20menu.txt", Take(CFURLCopyPath(u)));
  EXPECT_EQ("file", Take(CFURLCopyScheme(u)));
  EXPECT_FALSE(CFURLHasDirectoryPath(u));
  UInt8 fs[PATH_MAX];
  ASSERT_TRUE(CFURLGetFileSystemRepresentation(u, true, fs, sizeof fs));
  EXPECT_STREQ("/tmp/caf\xC3\xA9 menu.txt", reinterpret_cast<char*>(fs));
  const CFIndex length = static_cast<CFIndex>(strlen(reinterpret_cast<char*>(fs)));
  EXPECT_FALSE(CFURLGetFileSystemRepresentation(u, true, fs, 5));
  EXPECT_FALSE(CFURLGetFileSystemRepresentation(u, true, fs, length));  // no room for the NUL
  // An escaped NUL would cut the name short: such a URL has no file name.
  Owned<CFURLRef> nul(CFURLCreateWithString(nullptr, CFSTR("file:///tmp/a%00b"), nullptr));
  ASSERT_NE(nullptr, nul.get());
  EXPECT_FALSE(CFURLGetFileSystemRepresentation(nul, true, fs, sizeof fs));
  Owned<CFURLRef> back(CFURLCreateFromFileSystemRepresentation(nullptr, fs, static_cast<CFIndex>(strlen((char*)fs)), false));
  EXPECT_TRUE(CFEqual(u, back));
  EXPECT_EQ(CFHash(u), CFHash(back));
  // Characters that mean something in URLs are escaped too.
  Owned<CFURLRef> odd(FileURL("/a%b?c#d", false));
  EXPECT_EQ("file:///a%25b%3Fc%23d", UTF8(CFURLGetString(odd)));
  EXPECT_EQ("/a%b?c#d", Take(CFURLCopyFileSystemPath(odd, kCFURLPOSIXPathStyle)));
}

TEST_F(CFURLs, DirectoriesGetATrailingSlashThatPathsDrop) {
  Owned<CFURLRef> dir(FileURL("/var/tmp", true));
  EXPECT_EQ("file:///var/tmp/", UTF8(CFURLGetString(dir)));
  EXPECT_TRUE(CFURLHasDirectoryPath(dir));
  EXPECT_EQ("/var/tmp", Take(CFURLCopyFileSystemPath(dir, kCFURLPOSIXPathStyle)));
  EXPECT_EQ("tmp", Take(CFURLCopyLastPathComponent(dir)));
  Owned<CFURLRef> root(FileURL("/", true));
  EXPECT_EQ("file:///", UTF8(CFURLGetString(root)));
  EXPECT_EQ("/", Take(CFURLCopyFileSystemPath(root, kCFURLPOSIXPathStyle)));
  EXPECT_EQ("/", Take(CFURLCopyLastPathComponent(root)));
  EXPECT_EQ(nullptr, FileURL("", false));
  Owned<CFStringRef> p(NewString("/x"));
  EXPECT_EQ(nullptr, CFURLCreateWithFileSystemPath(nullptr, p, kCFURLHFSPathStyle, false));
}

TEST_F(CFURLs, AppendingAndDeletingPathComponents) {
  Owned<CFURLRef> dir(FileURL("/var/tmp", true));
  Owned<CFStringRef> name(NewString("r\xC3\xA9sum\xC3\xA9.txt"));
  Owned<CFURLRef> file(CFURLCreateCopyAppendingPathComponent(nullptr, dir, name, false));
  EXPECT_EQ("file:///var/tmp/r%C3%A9sum%C3%A9.txt", UTF8(CFURLGetString(file)));
  EXPECT_FALSE(CFURLHasDirectoryPath(file));
  EXPECT_EQ("r\xC3\xA9sum\xC3\xA9.txt", Take(CFURLCopyLastPathComponent(file)));
  EXPECT_EQ("txt", Take(CFURLCopyPathExtension(file)));
  Owned<CFURLRef> noSlash(FileURL("/var/tmp", false));
  Owned<CFURLRef> sub(CFURLCreateCopyAppendingPathComponent(nullptr, noSlash, CFSTR("sub"), true));
  EXPECT_EQ("file:///var/tmp/sub/", UTF8(CFURLGetString(sub)));
  EXPECT_TRUE(CFURLHasDirectoryPath(sub));

  Owned<CFURLRef> parent(CFURLCreateCopyDeletingLastPathComponent(nullptr, file));
  EXPECT_EQ("file:///var/tmp/", UTF8(CFURLGetString(parent)));
  Owned<CFURLRef> grand(CFURLCreateCopyDeletingLastPathComponent(nullptr, parent));
  EXPECT_EQ("file:///var/", UTF8(CFURLGetString(grand)));
  Owned<CFURLRef> noExt(CFURLCreateCopyDeletingPathExtension(nullptr, file));
  EXPECT_EQ("file:///var/tmp/r%C3%A9sum%C3%A9", UTF8(CFURLGetString(noExt)));
  Owned<CFURLRef> ext(CFURLCreateCopyAppendingPathExtension(nullptr, noExt, CFSTR("pdf")));
  EXPECT_EQ("file:///var/tmp/r%C3%A9sum%C3%A9.pdf", UTF8(CFURLGetString(ext)));
  Owned<CFURLRef> web(URL("http://example.com"));
  Owned<CFURLRef> page(CFURLCreateCopyAppendingPathComponent(nullptr, web, CFSTR("index.html"), false));
  EXPECT_EQ("http://example.com/index.html", UTF8(CFURLGetString(page)));
}

TEST_F(CFURLs, NetworkURLsSplitIntoTheirParts) {
  Owned<CFURLRef> u(URL("https://user:pw@Example.com:8443/a/b%20c?q=1&r=%41#frag"));
  ASSERT_NE(nullptr, u.get());
  EXPECT_EQ("https", Take(CFURLCopyScheme(u)));
  EXPECT_EQ("Example.com", Take(CFURLCopyHostName(u)));
  EXPECT_EQ(8443, CFURLGetPortNumber(u));
  EXPECT_EQ("user", Take(CFURLCopyUserName(u)));
  EXPECT_EQ("pw", Take(CFURLCopyPassword(u)));
  EXPECT_EQ("user:pw@Example.com:8443", Take(CFURLCopyNetLocation(u)));
  EXPECT_EQ("/a/b%20c", Take(CFURLCopyPath(u)));
  EXPECT_EQ("/a/b c", Take(CFURLCopyFileSystemPath(u, kCFURLPOSIXPathStyle)));
  EXPECT_EQ("q=1&r=%41", Take(CFURLCopyQueryString(u, nullptr)));
  EXPECT_EQ("q=1&r=A", Take(CFURLCopyQueryString(u, CFSTR(""))));
  EXPECT_EQ("frag", Take(CFURLCopyFragment(u, nullptr)));
  EXPECT_EQ("?q=1&r=%41#frag", Take(CFURLCopyResourceSpecifier(u)));
  UInt8 fs[64];
  EXPECT_FALSE(CFURLGetFileSystemRepresentation(u, true, fs, sizeof fs));  // not a file URL
  Owned<CFURLRef> noPort(URL("http://[::1]/"));
  EXPECT_EQ(-1, CFURLGetPortNumber(noPort));
  EXPECT_EQ("::1", Take(CFURLCopyHostName(noPort)));
  Owned<CFURLRef> mail(URL("mailto:someone@example.org"));
  EXPECT_FALSE(CFURLCanBeDecomposed(mail));
  EXPECT_EQ("someone@example.org", Take(CFURLCopyResourceSpecifier(mail)));
  // Text that is not a legal URL is refused.
  EXPECT_EQ(nullptr, URL("http://example.com/a b"));
  EXPECT_EQ(nullptr, URL("http://example.com/%zz"));
  EXPECT_EQ(nullptr, URL("caf\xC3\xA9"));
}

TEST_F(CFURLs, RelativeURLsResolveAgainstTheirBase) {
  Owned<CFURLRef> base(URL("http://a/b/c/d;p?q"));
  struct Case {
    const char* relative;
    const char* absolute;
  } cases[] = {{"g", "http://a/b/c/g"},         {"./g", "http://a/b/c/g"},   {"g/", "http://a/b/c/g/"},
               {"/g", "http://a/g"},            {"//g", "http://g"},         {"?y", "http://a/b/c/d;p?y"},
               {"#s", "http://a/b/c/d;p?q#s"},  {"..", "http://a/b/"},       {"../../g", "http://a/g"},
               {"../../../../g", "http://a/g"}, {"g?y#s", "http://a/b/c/g?y#s"}, {"ftp://x/y", "ftp://x/y"}};
  for (const Case& c : cases) {
    Owned<CFURLRef> rel(URL(c.relative, base));
    ASSERT_NE(nullptr, rel.get()) << c.relative;
    Owned<CFURLRef> abs(CFURLCopyAbsoluteURL(rel));
    EXPECT_EQ(c.absolute, UTF8(CFURLGetString(abs))) << c.relative;
    EXPECT_EQ(nullptr, CFURLGetBaseURL(abs));
  }
  Owned<CFURLRef> rel(URL("x/y", base));
  EXPECT_EQ(base.get(), CFURLGetBaseURL(rel));
  EXPECT_EQ("x/y", UTF8(CFURLGetString(rel)));
  EXPECT_EQ("http", Take(CFURLCopyScheme(rel)));
  Owned<CFURLRef> same(CFURLCopyAbsoluteURL(base));
  EXPECT_EQ(base.get(), same.get());
}

TEST_F(CFURLs, RelativePathsAreTakenFromTheWorkingFolder) {
  char cwd[PATH_MAX];
  ASSERT_NE(nullptr, getcwd(cwd, sizeof cwd));
  Owned<CFURLRef> rel(FileURL("some/file", false));
  ASSERT_NE(nullptr, rel.get());
  EXPECT_EQ("some/file", UTF8(CFURLGetString(rel)));
  EXPECT_EQ("some/file", Take(CFURLCopyFileSystemPath(rel, kCFURLPOSIXPathStyle)));
  UInt8 fs[PATH_MAX];
  ASSERT_TRUE(CFURLGetFileSystemRepresentation(rel, true, fs, sizeof fs));
  std::string expected = std::string(cwd) + (std::string(cwd) == "/" ? "" : "/") + "some/file";
  EXPECT_EQ(expected, reinterpret_cast<char*>(fs));
  Owned<CFURLRef> parent(CFURLCreateCopyDeletingLastPathComponent(nullptr, rel));
  EXPECT_EQ("some/", UTF8(CFURLGetString(parent)));
}

TEST_F(CFURLs, PercentEscapesAddAndRemove) {
  Owned<CFStringRef> raw(NewString("a b/\xC3\xA9?&%"));
  Owned<CFStringRef> escaped(
      CFURLCreateStringByAddingPercentEscapes(nullptr, raw, nullptr, CFSTR("?&"), kCFStringEncodingUTF8));
  EXPECT_EQ("a%20b/%C3%A9%3F%26%25", UTF8(escaped));
  Owned<CFStringRef> back(CFURLCreateStringByReplacingPercentEscapes(nullptr, escaped, CFSTR("")));
  EXPECT_TRUE(CFEqual(raw, back));
  Owned<CFStringRef> partly(CFURLCreateStringByReplacingPercentEscapes(nullptr, escaped, CFSTR("/?")));
  EXPECT_EQ("a b/\xC3\xA9%3F&%", UTF8(partly));
  Owned<CFStringRef> untouched(CFURLCreateStringByReplacingPercentEscapes(nullptr, escaped, nullptr));
  EXPECT_TRUE(CFEqual(escaped, untouched));
  EXPECT_EQ(nullptr, CFURLCreateStringByReplacingPercentEscapes(nullptr, CFSTR("%C3"), CFSTR("")));  // not UTF-8
  EXPECT_EQ(nullptr, CFURLCreateStringByReplacingPercentEscapes(nullptr, CFSTR("%4"), CFSTR("")));
}

}  // namespace
}  // namespace cf_test

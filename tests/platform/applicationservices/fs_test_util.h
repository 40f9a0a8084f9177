// Small helpers shared by the File Manager tests.
#pragma once

#include <CarbonCore/Files.h>

#include <string>

namespace kc_as_test {

// Creates a file holding contents; fails the test when it cannot.
void WriteFile(const std::string& path, const std::string& contents);
void MakeFolder(const std::string& path);
// realpath() of path, so that expectations match canonical File Manager paths.
std::string Canonical(const std::string& path);

FSRef RefFor(const std::string& path);
std::string PathOf(const FSRef& ref);
FSCatalogInfo InfoOf(const FSRef& ref, FSCatalogInfoBitmap which);
// Pascal string (length byte first) of raw bytes.
std::string Pascal(const std::string& bytes);
std::u16string NameOf(const HFSUniStr255& name);

}  // namespace kc_as_test

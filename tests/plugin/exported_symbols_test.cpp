// The plug-in file exports REALPluginMain and nothing else, and needs only
// the platform frameworks and the C and C++ runtime libraries.
#include <dlfcn.h>
#include <elf.h>
#include <link.h>
#include <gtest/gtest.h>

#include <cstring>
#include <fstream>
#include <iterator>
#include <set>
#include <string>
#include <vector>

namespace {

struct DynamicInfo {
  std::set<std::string> definedSymbols;
  std::vector<std::string> needed;
};

// Reads the dynamic symbol table and the needed libraries of an ELF file of
// this machine's word size.
bool ReadDynamicInfo(const std::string &path, DynamicInfo *out) {
  std::ifstream in(path, std::ios::binary);
  std::vector<char> file((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  if (file.size() < sizeof(ElfW(Ehdr))) return false;
  const auto *header = reinterpret_cast<const ElfW(Ehdr) *>(file.data());
  if (memcmp(header->e_ident, ELFMAG, SELFMAG) != 0) return false;
  const auto *sections = reinterpret_cast<const ElfW(Shdr) *>(file.data() + header->e_shoff);
  for (int i = 0; i < header->e_shnum; ++i) {
    const ElfW(Shdr) &s = sections[i];
    const char *strings = file.data() + sections[s.sh_link].sh_offset;
    if (s.sh_type == SHT_DYNSYM) {
      const auto *symbols = reinterpret_cast<const ElfW(Sym) *>(file.data() + s.sh_offset);
      for (size_t k = 0; k < s.sh_size / sizeof(ElfW(Sym)); ++k) {
        const ElfW(Sym) &sym = symbols[k];
        const int binding = ELF64_ST_BIND(sym.st_info);
        if (sym.st_shndx != SHN_UNDEF && (binding == STB_GLOBAL || binding == STB_WEAK) &&
            sym.st_name != 0)
          out->definedSymbols.insert(strings + sym.st_name);
      }
    } else if (s.sh_type == SHT_DYNAMIC) {
      const auto *entries = reinterpret_cast<const ElfW(Dyn) *>(file.data() + s.sh_offset);
      for (size_t k = 0; k < s.sh_size / sizeof(ElfW(Dyn)) && entries[k].d_tag != DT_NULL; ++k)
        if (entries[k].d_tag == DT_NEEDED) out->needed.push_back(strings + entries[k].d_un.d_val);
    }
  }
  return true;
}

bool IsAllowedLibrary(const std::string &name) {
  for (const char *prefix : {"libCoreFoundation.so", "libSecurity.so", "libApplicationServices.so",
                             "libstdc++.so", "libc.so", "libm.so", "libgcc_s.so",
                             // sanitizer runtimes, in the sanitizer build only
                             "libasan.so", "libubsan.so"})
    if (name.rfind(prefix, 0) == 0) return true;
  return false;
}

TEST(ExportedSymbols, OnlyREALPluginMainIsExportedAndOnlyFrameworksAreNeeded) {
  DynamicInfo info;
  ASSERT_TRUE(ReadDynamicInfo(KC_PLUGIN_PATH, &info)) << KC_PLUGIN_PATH;
  EXPECT_EQ(info.definedSymbols, std::set<std::string>{"REALPluginMain"});
  EXPECT_FALSE(info.needed.empty());
  for (const std::string &lib : info.needed) EXPECT_TRUE(IsAllowedLibrary(lib)) << lib;

  // The loader agrees: the entry point resolves, internal names do not.
  void *plugin = dlopen(KC_PLUGIN_PATH, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(plugin, nullptr) << dlerror();
  EXPECT_NE(dlsym(plugin, "REALPluginMain"), nullptr);
  for (const char *internal : {"gResolver", "Lasterror", "KeychainModule", "_Z10GetLasterrorl",
                               "_Z17RBString2CFStringP16REALstringStruct"})
    EXPECT_EQ(dlsym(plugin, internal), nullptr) << internal;
  dlclose(plugin);
}

}  // namespace

// Declaration texts parsed by the host: any text either parses or is
// refused, and one that parses has the same signature as itself and as its
// text parsed again in other letter case.
#include <cctype>
#include <cstdlib>

#include "fuzz_input.h"
#include "runtime.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  FuzzInput in(data, size);
  const std::string text = in.Rest();
  plugin_host::Declaration d;
  if (!plugin_host::ParseDeclaration(text, &d)) return 0;
  if (!plugin_host::SameSignature(d, d)) abort();
  std::string upper = text;
  for (char& c : upper) c = char(std::toupper(static_cast<unsigned char>(c)));
  plugin_host::Declaration u;
  if (!plugin_host::ParseDeclaration(upper, &u) || !plugin_host::SameSignature(d, u)) abort();
  for (const plugin_host::Param& p : d.params) plugin_host::ResolveType(p.type.name, p.type.array);
  return 0;
}

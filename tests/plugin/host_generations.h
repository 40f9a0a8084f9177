// The host generations the plug-in serves, listed once. Tests that must hold
// on every generation are parameterised over this list (INSTANTIATE_TEST_SUITE_P
// with ::testing::ValuesIn(kHostGenerations) and HostGenerationName).
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace kc_plugin_test {

struct HostGeneration {
  const char *name;               // for test names: letters, digits and _ only
  std::optional<double> version;  // what "REALGetRBVersion" reports; none: withheld
  int layout;                     // the record layout the plug-in must choose
};

inline const std::vector<HostGeneration> kHostGenerations = {
    {"NoVersion", std::nullopt, 9}, {"Host2011_9", 2011.9, 9},   {"Host2012_0", 2012.0, 10},
    {"Host2012_9", 2012.9, 10},     {"Host2013_0", 2013.0, 11},  {"Host2013_02", 2013.02, 11},
    {"Host2013_03", 2013.03, 12},   {"Host2013_9", 2013.9, 12},  {"Host2014_0", 2014.0, 12},
};

// What a generation lets the plug-in do, by the thresholds of its version.
// A host without a version counts as the oldest.
inline bool ReadsStringRecords(const HostGeneration &g) { return !(g.version && *g.version > 2013.0); }
inline bool ConvertsThroughStringData(const HostGeneration &g) { return g.version && *g.version >= 2012.0; }
inline bool MayReadArrayStorage(const HostGeneration &g) { return !(g.version && *g.version > 2013.9); }

// Test output names the generation, not its bytes.
inline void PrintTo(const HostGeneration &g, std::ostream *os) { *os << g.name; }

inline std::string HostGenerationName(const ::testing::TestParamInfo<HostGeneration> &info) {
  return info.param.name;
}

}  // namespace kc_plugin_test

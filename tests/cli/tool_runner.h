// Runs kctool as a separate process, as a person or a script would: with
// arguments, an environment, standard input from a pipe or a pseudo-terminal,
// and its output and exit status collected.
#pragma once

#include <map>
#include <string>
#include <vector>

namespace kc_cli_test {

struct ToolResult {
  int exitStatus = -1;  // -1: did not exit normally
  std::string out, err;
};

// Standard input is a pipe holding `input` (then closed).
ToolResult RunTool(const std::vector<std::string> &args, const std::string &input = "",
                   const std::map<std::string, std::string> &env = {});

// Standard input, output and error are one pseudo-terminal, its controlling
// terminal. Each answer is typed once its prompt has appeared, in order;
// `out` receives everything the terminal showed.
struct PromptAnswer {
  std::string prompt, answer;
};
ToolResult RunToolOnTerminal(const std::vector<std::string> &args, const std::vector<PromptAnswer> &dialogue,
                             const std::map<std::string, std::string> &env = {});

}  // namespace kc_cli_test

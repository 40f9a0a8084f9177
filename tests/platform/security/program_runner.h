// Runs a program as a child process the way a user's shell or script would:
// standard input a pipe, standard output and error captured; either without
// any controlling terminal or with a pseudo-terminal as its controlling
// terminal, on which a test can answer a prompt.
#pragma once

#include <string>
#include <vector>

namespace sectest {

struct Outcome {
  int exitCode = -1;     // -1 when it did not exit normally (signal, timeout)
  std::string out, err;  // standard output and error
  std::string terminal;  // what it wrote on its terminal
};

// argv[0] is a path. `environment` entries (NAME=value) are added to this
// process's environment. The child starts a session of its own, so it has
// no controlling terminal.
Outcome RunProgram(const std::vector<std::string>& argv, const std::string& input,
            const std::vector<std::string>& environment = {});

// As RunProgram, with a new pseudo-terminal as the child's controlling terminal.
// When `awaited` has appeared on it, `reply` is typed on it, once.
Outcome RunOnTerminal(const std::vector<std::string>& argv, const std::string& input,
                      const std::vector<std::string>& environment, const std::string& awaited,
                      const std::string& reply);

}  // namespace sectest

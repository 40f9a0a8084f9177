// Running kctool in a child process.
#include "tool_runner.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>

namespace kc_cli_test {

namespace {

[[noreturn]] void Exec(const std::vector<std::string> &args, const std::map<std::string, std::string> &env) {
  for (const auto &[name, value] : env) setenv(name.c_str(), value.c_str(), 1);
  std::vector<char *> argv;
  std::string tool = KCTOOL_PATH;
  argv.push_back(&tool[0]);
  std::vector<std::string> copy = args;
  for (std::string &a : copy) argv.push_back(&a[0]);
  argv.push_back(nullptr);
  execv(argv[0], argv.data());
  _exit(127);
}

int Wait(pid_t pid) {
  int status = 0;
  while (waitpid(pid, &status, 0) < 0) {
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

}  // namespace

ToolResult RunTool(const std::vector<std::string> &args, const std::string &input,
                   const std::map<std::string, std::string> &env) {
  int in[2], out[2], err[2];
  if (pipe(in) != 0 || pipe(out) != 0 || pipe(err) != 0) abort();
  const pid_t pid = fork();
  if (pid == 0) {
    setsid();  // no controlling terminal: nobody to ask but what the test gives
    dup2(in[0], 0);
    dup2(out[1], 1);
    dup2(err[1], 2);
    for (int fd : {in[0], in[1], out[0], out[1], err[0], err[1]}) close(fd);
    Exec(args, env);
  }
  close(in[0]);
  close(out[1]);
  close(err[1]);
  signal(SIGPIPE, SIG_IGN);
  if (!input.empty() && write(in[1], input.data(), input.size()) < 0) {
    // The tool may not read its input at all.
  }
  close(in[1]);
  ToolResult r;
  struct pollfd fds[2] = {{out[0], POLLIN, 0}, {err[0], POLLIN, 0}};
  int open = 2;
  while (open > 0) {
    if (poll(fds, 2, 60000) <= 0) break;
    for (int k = 0; k < 2; ++k) {
      if (fds[k].fd < 0 || !(fds[k].revents & (POLLIN | POLLHUP))) continue;
      char buf[4096];
      const ssize_t n = read(fds[k].fd, buf, sizeof buf);
      if (n <= 0) {
        close(fds[k].fd);
        fds[k].fd = -1;
        --open;
      } else {
        (k == 0 ? r.out : r.err).append(buf, static_cast<size_t>(n));
      }
    }
  }
  for (auto &f : fds)
    if (f.fd >= 0) close(f.fd);
  r.exitStatus = Wait(pid);
  return r;
}

ToolResult RunToolOnTerminal(const std::vector<std::string> &args, const std::vector<PromptAnswer> &dialogue,
                             const std::map<std::string, std::string> &env) {
  int master = -1;
  const pid_t pid = forkpty(&master, nullptr, nullptr, nullptr);
  if (pid < 0) abort();
  if (pid == 0) Exec(args, env);
  ToolResult r;
  size_t next = 0;     // the next prompt to answer
  size_t searched = 0;  // output already matched against earlier prompts
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (std::chrono::steady_clock::now() < deadline) {
    struct pollfd fd = {master, POLLIN, 0};
    if (poll(&fd, 1, 1000) <= 0) continue;
    char buf[4096];
    const ssize_t n = read(master, buf, sizeof buf);
    if (n <= 0) break;  // the tool has exited and closed the terminal
    r.out.append(buf, static_cast<size_t>(n));
    if (next < dialogue.size()) {
      const size_t at = r.out.find(dialogue[next].prompt, searched);
      if (at != std::string::npos) {
        searched = at + dialogue[next].prompt.size();
        const std::string &answer = dialogue[next++].answer;
        if (write(master, answer.data(), answer.size()) < 0) break;
      }
    }
  }
  close(master);
  r.exitStatus = Wait(pid);
  return r;
}

}  // namespace kc_cli_test

// Child processes with piped standard streams and an optional terminal.
#include "program_runner.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>

extern char** environ;

namespace sectest {

namespace {

// Long enough for a compiler on a loaded machine; a hung child fails the test
// instead of holding up the suite.
constexpr auto kDeadline = std::chrono::seconds(120);

std::vector<std::string> Environment(const std::vector<std::string>& extra) {
  std::vector<std::string> env;
  for (char** e = environ; *e; ++e) {
    std::string entry = *e;
    bool replaced = false;
    for (const std::string& x : extra)
      replaced = replaced || entry.compare(0, x.find('=') + 1, x, 0, x.find('=') + 1) == 0;
    if (!replaced) env.push_back(entry);
  }
  env.insert(env.end(), extra.begin(), extra.end());
  return env;
}

std::vector<char*> Pointers(std::vector<std::string>& strings) {
  std::vector<char*> p;
  for (std::string& s : strings) p.push_back(&s[0]);
  p.push_back(nullptr);
  return p;
}

Outcome Start(const std::vector<std::string>& argvIn, const std::string& input,
              const std::vector<std::string>& environment, bool withTerminal, const std::string& awaited,
              const std::string& reply) {
  Outcome outcome;
  std::vector<std::string> args = argvIn, env = Environment(environment);
  std::vector<char*> argv = Pointers(args), envp = Pointers(env);
  int in[2], out[2], err[2];
  if (pipe2(in, O_CLOEXEC) != 0 || pipe2(out, O_CLOEXEC) != 0 || pipe2(err, O_CLOEXEC) != 0) return outcome;
  int master = -1, slave = -1;
  std::string slaveName;
  if (withTerminal) {
    master = posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (master < 0 || grantpt(master) != 0 || unlockpt(master) != 0) return outcome;
    slaveName = ptsname(master);
    // Held open here so that the terminal never reads as hung up before the
    // child opens it or after it exits; the child's pipes say when it is done.
    slave = open(slaveName.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (slave < 0) return outcome;
  }
  pid_t pid = fork();
  if (pid == 0) {
    setsid();
    // A session leader that opens a terminal makes it its controlling one.
    if (withTerminal && open(slaveName.c_str(), O_RDWR | O_CLOEXEC) < 0) _exit(126);
    dup2(in[0], STDIN_FILENO);
    dup2(out[1], STDOUT_FILENO);
    dup2(err[1], STDERR_FILENO);
    execve(argv[0], argv.data(), envp.data());
    _exit(127);
  }
  close(in[0]);
  close(out[1]);
  close(err[1]);
  if (pid < 0) {
    close(in[1]);
    close(out[0]);
    close(err[0]);
    if (master >= 0) close(master);
    if (slave >= 0) close(slave);
    return outcome;
  }
  // Requests are small: the pipe holds them whole.
  if (!input.empty() && write(in[1], input.data(), input.size()) < 0) {
  }
  close(in[1]);

  bool replied = false;
  auto deadline = std::chrono::steady_clock::now() + kDeadline;
  struct Stream {
    int fd;
    std::string* text;
  } streams[] = {{out[0], &outcome.out}, {err[0], &outcome.err}, {master, &outcome.terminal}};
  for (;;) {
    pollfd fds[3];
    nfds_t n = 0;
    Stream* which[3];
    for (Stream& s : streams) {
      if (s.fd < 0) continue;
      fds[n] = {s.fd, POLLIN, 0};
      which[n++] = &s;
    }
    if (n == 0) break;
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    if (left.count() <= 0 || poll(fds, n, int(left.count())) <= 0) {
      kill(pid, SIGKILL);
      break;
    }
    for (nfds_t i = 0; i < n; ++i) {
      if (!(fds[i].revents & (POLLIN | POLLHUP | POLLERR))) continue;
      char buf[4096];
      ssize_t r = read(fds[i].fd, buf, sizeof buf);
      if (r > 0) {
        which[i]->text->append(buf, size_t(r));
        continue;
      }
      close(fds[i].fd);
      which[i]->fd = -1;
    }
    if (master >= 0 && streams[2].fd >= 0 && !replied && !awaited.empty() &&
        outcome.terminal.find(awaited) != std::string::npos) {
      replied = true;
      if (write(master, reply.data(), reply.size()) < 0) {
      }
    }
    if (streams[0].fd < 0 && streams[1].fd < 0) break;
  }
  if (streams[2].fd >= 0) {
    // What the child wrote on the terminal last is still waiting there.
    fcntl(master, F_SETFL, O_NONBLOCK);
    char buf[4096];
    ssize_t r;
    while ((r = read(master, buf, sizeof buf)) > 0) outcome.terminal.append(buf, size_t(r));
    close(master);
  }
  if (slave >= 0) close(slave);
  for (int i = 0; i < 2; ++i)
    if (streams[i].fd >= 0) close(streams[i].fd);  // after a timeout
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (WIFEXITED(status)) outcome.exitCode = WEXITSTATUS(status);
  return outcome;
}

}  // namespace

Outcome RunProgram(const std::vector<std::string>& argv, const std::string& input,
            const std::vector<std::string>& environment) {
  return Start(argv, input, environment, false, "", "");
}

Outcome RunOnTerminal(const std::vector<std::string>& argv, const std::string& input,
                      const std::vector<std::string>& environment, const std::string& awaited,
                      const std::string& reply) {
  return Start(argv, input, environment, true, awaited, reply);
}

}  // namespace sectest

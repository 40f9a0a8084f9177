// Reading passwords without echo, and hex.
#include "secrets.h"

#include <errno.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

namespace kctool {

namespace {

// Reads up to the end of the line (not kept) or of the input.
std::optional<std::string> ReadLine(int fd) {
  std::string line;
  char c;
  bool any = false;
  for (;;) {
    const ssize_t n = read(fd, &c, 1);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) break;
    any = true;
    if (c == '\n') break;
    line.push_back(c);
  }
  if (!any) return std::nullopt;
  if (!line.empty() && line.back() == '\r') line.pop_back();
  return line;
}

std::optional<std::string> FromAskpass(const char *program, const std::string &prompt) {
  int pipefd[2];
  if (pipe(pipefd) != 0) return std::nullopt;
  const pid_t pid = fork();
  if (pid < 0) {
    close(pipefd[0]);
    close(pipefd[1]);
    return std::nullopt;
  }
  if (pid == 0) {
    dup2(pipefd[1], STDOUT_FILENO);
    close(pipefd[0]);
    close(pipefd[1]);
    execlp(program, program, prompt.c_str(), static_cast<char *>(nullptr));
    _exit(127);
  }
  close(pipefd[1]);
  std::optional<std::string> line = ReadLine(pipefd[0]);
  // The rest of the output is not ours to keep.
  char drain[256];
  while (read(pipefd[0], drain, sizeof drain) > 0) {
  }
  close(pipefd[0]);
  int status = 0;
  while (waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    if (line) Wipe(&*line);
    return std::nullopt;
  }
  return line;
}

// Echo goes off before the prompt appears, so that an answer typed as soon
// as the prompt shows is neither echoed nor thrown away.
std::optional<std::string> FromTerminal(const std::string &prompt) {
  const int fd = open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (fd < 0) return std::nullopt;
  struct termios saved;
  const bool isTerminal = tcgetattr(fd, &saved) == 0;
  if (isTerminal) {
    struct termios quiet = saved;
    quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
    tcsetattr(fd, TCSANOW, &quiet);
  }
  std::optional<std::string> line;
  if (write(fd, prompt.data(), prompt.size()) >= 0) line = ReadLine(fd);
  if (isTerminal) tcsetattr(fd, TCSANOW, &saved);
  if (write(fd, "\n", 1) < 0) {
    // The newline only tidies the terminal.
  }
  close(fd);
  return line;
}

}  // namespace

std::optional<std::string> ReadSecret(const std::string &prompt) {
  if (const char *askpass = getenv("KEYCHAIN_ASKPASS"); askpass != nullptr && *askpass != '\0')
    return FromAskpass(askpass, prompt);
  if (isatty(STDIN_FILENO)) return FromTerminal(prompt);
  return ReadLine(STDIN_FILENO);
}

std::optional<std::string> FromHex(const std::string &hex) {
  std::string digits = hex;
  if (digits.size() >= 2 && digits[0] == '0' && (digits[1] == 'x' || digits[1] == 'X')) digits.erase(0, 2);
  if (digits.size() % 2 != 0) return std::nullopt;
  auto value = [](char c) -> int {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
  };
  std::string bytes;
  for (size_t i = 0; i < digits.size(); i += 2) {
    const int hi = value(digits[i]), lo = value(digits[i + 1]);
    if (hi < 0 || lo < 0) return std::nullopt;
    bytes.push_back(static_cast<char>(hi * 16 + lo));
  }
  return bytes;
}

std::string ToHex(const std::string &bytes) {
  static const char kDigits[] = "0123456789ABCDEF";
  std::string out;
  for (unsigned char b : bytes) {
    out.push_back(kDigits[b >> 4]);
    out.push_back(kDigits[b & 15]);
  }
  return out;
}

bool IsPrintableText(const std::string &bytes) {
  size_t i = 0;
  while (i < bytes.size()) {
    const unsigned char c = static_cast<unsigned char>(bytes[i]);
    if (c < 0x80) {
      if ((c < 0x20 && c != '\t') || c == 0x7F) return false;
      ++i;
      continue;
    }
    size_t extra;
    if (c >= 0xC2 && c <= 0xDF)
      extra = 1;
    else if (c >= 0xE0 && c <= 0xEF)
      extra = 2;
    else if (c >= 0xF0 && c <= 0xF4)
      extra = 3;
    else
      return false;
    if (i + extra >= bytes.size()) return false;
    for (size_t k = 1; k <= extra; ++k)
      if ((static_cast<unsigned char>(bytes[i + k]) & 0xC0) != 0x80) return false;
    i += extra + 1;
  }
  return true;
}

void Wipe(std::string *s) {
  if (!s->empty()) explicit_bzero(&(*s)[0], s->size());
  s->clear();
}

}  // namespace kctool

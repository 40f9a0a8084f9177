// Password prompts. The askpass program gets the prompt as its argument and
// prints the password on its standard output; a non-zero exit is a refusal.
// Without one, the prompt goes to the controlling terminal with echo off.
#include "ask_password.h"

#include <Security/SecBase.h>
#include <fcntl.h>
#include <signal.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <cstdlib>
#include <cstring>

namespace secimpl {

namespace {

void StripNewline(SecureBytes* b, size_t* n) {
  while (*n > 0 && (b->data()[*n - 1] == '\n' || b->data()[*n - 1] == '\r')) --*n;
}

int ReadAll(int fd, SecureBytes* out) {
  SecureBytes buf(4096);
  size_t n = 0;
  for (;;) {
    if (n == buf.size()) break;  // a password longer than this is cut
    ssize_t r = read(fd, buf.data() + n, buf.size() - n);
    if (r < 0 && errno == EINTR) continue;
    if (r <= 0) break;
    n += size_t(r);
  }
  StripNewline(&buf, &n);
  out->Resize(n);
  if (n) memcpy(out->data(), buf.data(), n);
  return 0;
}

int AskProgram(const char* program, const std::string& prompt, SecureBytes* out) {
  int fds[2];
  if (pipe2(fds, O_CLOEXEC) != 0) return errSecInteractionNotAllowed;
  pid_t pid = fork();
  if (pid < 0) {
    close(fds[0]);
    close(fds[1]);
    return errSecInteractionNotAllowed;
  }
  if (pid == 0) {
    dup2(fds[1], STDOUT_FILENO);
    execlp(program, program, prompt.c_str(), static_cast<char*>(nullptr));
    _exit(127);
  }
  close(fds[1]);
  ReadAll(fds[0], out);
  close(fds[0]);
  int wstatus = 0;
  while (waitpid(pid, &wstatus, 0) < 0 && errno == EINTR) {
  }
  if (!WIFEXITED(wstatus) || WEXITSTATUS(wstatus) != 0) {
    out->Resize(0);
    return errSecUserCanceled;
  }
  return errSecSuccess;
}

// Echo goes off before the prompt is shown, and nothing typed is thrown away:
// an answer typed as soon as the prompt appears is read, and never echoed.
int AskTerminal(const std::string& prompt, SecureBytes* out) {
  int fd = open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC);
  if (fd < 0) return errSecInteractionNotAllowed;
  struct termios old, quiet;
  bool restore = tcgetattr(fd, &old) == 0;
  if (restore) {
    quiet = old;
    quiet.c_lflag &= ~tcflag_t(ECHO);
    tcsetattr(fd, TCSANOW, &quiet);
  }
  std::string text = prompt + ": ";
  if (write(fd, text.data(), text.size()) < 0) {
    if (restore) tcsetattr(fd, TCSANOW, &old);
    close(fd);
    return errSecInteractionNotAllowed;
  }
  SecureBytes buf(4096);
  size_t n = 0;
  while (n < buf.size()) {
    char c;
    ssize_t r = read(fd, &c, 1);
    if (r < 0 && errno == EINTR) continue;
    if (r <= 0 || c == '\n') break;
    buf.data()[n++] = static_cast<unsigned char>(c);
    c = 0;
  }
  if (restore) tcsetattr(fd, TCSANOW, &old);
  if (write(fd, "\n", 1) < 0) {
  }
  close(fd);
  StripNewline(&buf, &n);
  out->Resize(n);
  if (n) memcpy(out->data(), buf.data(), n);
  return errSecSuccess;
}

}  // namespace

int AskPassword(const std::string& prompt, SecureBytes* out) {
  const char* program = std::getenv("KEYCHAIN_ASKPASS");
  if (program && *program) return AskProgram(program, prompt, out);
  // The controlling terminal, whatever standard input is: a program whose
  // input is a pipe still has a person at its terminal. Without one the
  // open fails and nobody can be asked.
  return AskTerminal(prompt, out);
}

}  // namespace secimpl

#include "terminal/password.h"

#include <fcntl.h>
#include <regex.h>
#include <sys/stat.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "failure.h"

namespace kivosql {

namespace {

constexpr const char* kVariable = "KIVO_PASSWORD";

/// What a URL with a password in it matches. A POSIX expression, since those of C++ overflow the stack on a long one.
constexpr const char* kHoldsPassword =
    "(password|passwd|passphrase|pwd)=|[?&;]pass="
    "|^jdbc:(q|kx):([^:]*:){3}"   // kdb+: host:port:user:password
    "|^jdbc:oracle:[^@]*/[^@]*@"  // thin:user/password@host
    // //user:password@host, but not //host:port/path@ with several hosts or IPv6 addresses.
    "|//(\\[[^]]*]|[^:/?;@[]|:[0-9]*,)*:[0-9]*([^0-9,/?;@][^@]*)?@";

/// Reads up to the end of the line, LF or CRLF. @return false when a signal interrupted it
bool readLine(int descriptor, std::string& line) {
  char byte = 0;
  ssize_t length = 0;
  while ((length = read(descriptor, &byte, 1)) == 1 && byte != '\n') line += byte;
  if (!line.empty() && line.back() == '\r') line.pop_back();
  return length >= 0;
}

std::string fromFile(const std::string& path) {
  // Opening a named pipe would otherwise wait for a writer.
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (file < 0) throw Failure("cannot read " + path + ": " + std::strerror(errno), kWrongUse);
  std::string password;
  std::string fault;
  struct stat status {};
  if (fstat(file, &status) != 0 || !S_ISREG(status.st_mode)) {
    fault = path + " is not a file";
  } else if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    fault = "others have access to " + path + ", so it cannot hold a password: chmod 600 " + path;
  } else if (!readLine(file, password)) {
    fault = "cannot read " + path;
  }
  close(file);
  if (!fault.empty()) throw Failure(fault, kWrongUse);
  return password;
}

/// Wiped in place, since /proc shows the process's first environment.
std::string fromEnvironment(char* value) {
  std::string password = value;
  std::memset(value, 0, std::strlen(value));
  unsetenv(kVariable);
  return password;
}

/// Reads without echo. The handler makes Ctrl-C end the reading, so that the echo comes back.
std::string fromPrompt(int terminal, const std::string& user) {
  struct sigaction handler {};
  struct sigaction before {};
  handler.sa_handler = [](int /*signal*/) {};
  sigaction(SIGINT, &handler, &before);
  termios mode{};
  tcgetattr(terminal, &mode);
  termios silent = mode;
  silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
  dprintf(terminal, "Password of %s: ", user.c_str());
  tcsetattr(terminal, TCSAFLUSH, &silent);

  std::string password;
  const bool read = readLine(terminal, password);

  tcsetattr(terminal, TCSAFLUSH, &mode);
  sigaction(SIGINT, &before, nullptr);
  dprintf(terminal, "\n");
  close(terminal);
  if (!read) throw Failure("interrupted", kInterrupted);
  return password;
}

}  // namespace

std::string findPassword(const std::string& user, const std::string& file) {
  if (!file.empty()) return fromFile(file);
  if (char* value = std::getenv(kVariable); value != nullptr) return fromEnvironment(value);
  const int terminal = user.empty() ? -1 : open("/dev/tty", O_RDWR | O_CLOEXEC);
  return terminal < 0 ? "" : fromPrompt(terminal, user);
}

bool holdsPassword(const std::string& url) {
  regex_t form;
  const bool found = regcomp(&form, kHoldsPassword, REG_EXTENDED | REG_ICASE | REG_NOSUB) == 0 &&
                     regexec(&form, url.c_str(), 0, nullptr, 0) == 0;
  regfree(&form);
  return found;
}

}  // namespace kivosql

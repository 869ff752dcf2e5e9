#include "terminal/password.h"

#include <bsd/readpassphrase.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ext/stdio_filebuf.h>
#include <istream>

#include "failure.h"

namespace kivosql {

namespace {

constexpr const char* kVariable = "KIVO_PASSWORD";

/// The first line, which may end with CRLF.
std::string fromFile(const std::string& path) {
  // Opening a named pipe would otherwise wait for a writer.
  const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  if (descriptor < 0) throw Failure("cannot read " + path + ": " + std::strerror(errno), kWrongUse);
  __gnu_cxx::stdio_filebuf<char> file(descriptor, std::ios::in);
  struct stat status {};
  if (fstat(descriptor, &status) != 0 || !S_ISREG(status.st_mode)) throw Failure(path + " is not a file", kWrongUse);
  if ((status.st_mode & (S_IRWXG | S_IRWXO)) != 0) {
    throw Failure("others have access to " + path + ", so it cannot hold a password: chmod 600 " + path, kWrongUse);
  }
  std::istream lines(&file);
  std::string password;
  std::getline(lines, password);
  if (lines.bad()) throw Failure("cannot read " + path, kWrongUse);
  if (!password.empty() && password.back() == '\r') password.pop_back();
  return password;
}

/// Wiped in place, since /proc shows the process's first environment.
std::string fromEnvironment(char* value) {
  std::string password = value;
  std::memset(value, 0, std::strlen(value));
  unsetenv(kVariable);
  return password;
}

/// Without a terminal, nothing. Ctrl-C ends the process, after the echo has come back.
std::string fromPrompt(const std::string& user) {
  const std::string prompt = "Password of " + user + ": ";
  std::string line(4096, '\0');  // a terminal's longest; not on the stack, which the VM's crash file shows
  const bool read = readpassphrase(prompt.c_str(), line.data(), line.size(), RPP_REQUIRE_TTY) != nullptr;
  if (!read && errno != ENOTTY) throw Failure("interrupted", kInterrupted);
  return line.substr(0, line.find('\0'));
}

}  // namespace

std::string findPassword(const std::string& user, const std::string& file) {
  if (!file.empty()) return fromFile(file);
  if (char* value = std::getenv(kVariable); value != nullptr) return fromEnvironment(value);
  return user.empty() ? "" : fromPrompt(user);
}

}  // namespace kivosql

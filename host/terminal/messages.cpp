#include "terminal/messages.h"

#include <fcntl.h>
#include <unistd.h>

#include <cctype>
#include <cstdio>

#include "terminal/display.h"

namespace kivosql {

namespace {

/// Drivers repeat whole statements, with the reason before or after them, and a batch has a text for each of its
/// statements.
constexpr std::size_t kMaxCells = 500;

/// Standard error as it was at the start: a session may send descriptor 2 elsewhere (java_errors.h).
const int errors = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);

std::string& secret() {
  static std::string text;
  return text;
}

/// A shorter secret is masked only where it stands alone: inside a word it is mere chance, and the gap would give it
/// away.
constexpr std::size_t kLeastInWords = 4;

/// Whether a word runs across @p at.
bool isInWord(const std::string& text, std::size_t at) {
  const auto isPart = [](unsigned char byte) { return std::isalnum(byte) != 0 || byte == '_' || byte >= 0x80; };
  return at > 0 && at < text.size() && isPart(static_cast<unsigned char>(text[at - 1])) &&
         isPart(static_cast<unsigned char>(text[at]));
}

}  // namespace

std::string masked(std::string text) {
  const std::string& hidden = secret();
  for (std::size_t at = 0; !hidden.empty() && (at = text.find(hidden, at)) != std::string::npos;) {
    const std::size_t end = at + hidden.size();
    const bool inWord = isInWord(text, at) || isInWord(text, end);
    if (inWord && hidden.size() < kLeastInWords) {
      ++at;
    } else {
      text.replace(at, hidden.size(), "***");
      at += 3;
    }
  }
  return text;
}

void draw(const std::string& text) {
  std::size_t written = 0;
  while (written < text.size()) {
    const ssize_t length = write(errors, text.data() + written, text.size() - written);
    if (length <= 0) return;
    written += static_cast<std::size_t>(length);
  }
}

void say(const std::string& text) { draw(visible(masked(text), "\n\t") + '\n'); }

void complain(const std::string& text) { say("kivosql: " + abridged(visible(masked(text)), kMaxCells)); }

void keepSecret(const std::string& text) { secret() = text; }

bool errorsOnTerminal() {
  static const bool onTerminal = isatty(errors) == 1;
  return onTerminal;
}

bool outputOnTerminal() {
  static const bool onTerminal = isatty(STDOUT_FILENO) == 1;
  return onTerminal;
}

std::string grouped(unsigned long long number) {
  std::string digits = std::to_string(number);
  for (std::size_t at = digits.size(); at > 3;) digits.insert(at -= 3, 1, ',');
  return digits;
}

std::string counted(unsigned long long number, const char* noun) {
  return grouped(number) + ' ' + noun + (number == 1 ? "" : "s");
}

std::string seconds(double value) {
  char text[32];
  std::snprintf(text, sizeof text, "%.2f s", value);
  return text;
}

}  // namespace kivosql

#include "terminal/messages.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "sql/statement_splitter.h"
#include "terminal/display.h"

namespace kivosql {

namespace {

/// Drivers repeat whole statements, with the reason before or after them, and a batch has a text for each of its
/// statements.
constexpr std::size_t kMaxCells = 500;

/// A shorter secret is masked only where it stands alone: in a word it is there by chance, and the gap would reveal it.
constexpr std::size_t kLeastInWords = 4;

/// Standard error as it was at the start: a session may send descriptor 2 elsewhere (JavaErrors).
const int errors = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);

std::string secret;

/// Whether a word runs across @p at.
bool isInWord(const std::string& text, std::size_t at) {
  return at > 0 && at < text.size() && isWordByte(text[at - 1]) && isWordByte(text[at]);
}

/// Of a statement, on either side of a fault.
constexpr std::size_t kMaxShown = 60;

/// Only what stands near the place, since a line may be as long as a file.
std::string pointedAt(const std::string& line, std::size_t place) {
  std::string before = masked(line.substr(0, place));
  const std::string after = masked(line.substr(place));
  // A secret that the place divides would show in two parts.
  if (before + after != masked(line)) return {};
  before = visible(before);
  if (before.size() > kMaxShown) before = "…" + tail(before, kMaxShown);
  return "  " + before + shortened(visible(after), kMaxShown) + "\n  " + std::string(cellsOf(before), ' ') + '^';
}

constexpr auto kQuiet = std::chrono::seconds(1);
constexpr auto kBeat = std::chrono::milliseconds(200);
constexpr const char* kErase = "\r\x1B[K";

}  // namespace

const bool errorsOnTerminal = isatty(errors) == 1;
const bool outputOnTerminal = isatty(STDOUT_FILENO) == 1;

std::string masked(std::string text) {
  for (std::size_t at = 0; !secret.empty() && (at = text.find(secret, at)) != std::string::npos;) {
    const bool standsAlone = !isInWord(text, at) && !isInWord(text, at + secret.size());
    const bool hides = standsAlone || secret.size() >= kLeastInWords;
    if (hides) text.replace(at, secret.size(), "***");
    at += hides ? 3 : 1;
  }
  return text;
}

void draw(const std::string& text) { dprintf(errors, "%s", text.c_str()); }

void say(const std::string& text) { draw(visible(masked(text), "\n\t") + '\n'); }

void complain(const std::string& text) { say("kivosql: " + abridged(visible(masked(text)), kMaxCells)); }

std::string faultLine(const std::string& sql, const std::string& errorText) {
  constexpr std::string_view kMark = "\n  Position: ";
  const std::size_t mark = errorText.find(kMark);
  if (mark == std::string::npos) return {};
  std::size_t place = 0;
  std::size_t left = std::strtoul(errorText.c_str() + mark + kMark.size(), nullptr, 10);
  for (; left > 1 && place < sql.size(); --left) place = endOfCharacter(sql, place);
  if (left != 1) return {};
  const std::size_t begin = place == 0 ? 0 : sql.rfind('\n', place - 1) + 1;
  std::string line = sql.substr(begin, sql.find('\n', place) - begin);
  if (!line.empty() && line.back() == '\r' && place - begin < line.size()) line.pop_back();
  return pointedAt(line, place - begin);
}

void keepSecret(const std::string& text) { secret = text; }

std::string grouped(unsigned long long number) {
  std::string digits = std::to_string(number);
  for (std::size_t at = digits.size(); at > 3;) digits.insert(at -= 3, 1, ',');
  return digits;
}

std::string counted(unsigned long long number, const char* noun) {
  return grouped(number) + ' ' + noun + (number == 1 ? "" : "s");
}

Progress::Progress() {
  if (errorsOnTerminal) thread_ = std::thread([this] { run(); });
}

void Progress::stop() {
  if (!thread_.joinable()) return;
  stopping_.set_value();
  thread_.join();
}

void Progress::run() {
  const std::future<void> stopping = stopping_.get_future();
  if (stopping.wait_for(kQuiet) == std::future_status::ready) return;
  do {
    draw(kErase + text("/s"));
  } while (stopping.wait_for(kBeat) == std::future_status::timeout);
  draw(kErase);
}

std::string Progress::text(const char* perSecond) const {
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start_;
  const unsigned long long rows = rows_;
  char seconds[32];
  std::snprintf(seconds, sizeof seconds, "%.2f s", elapsed.count());
  const auto rate = static_cast<unsigned long long>(double(rows) / elapsed.count());
  return counted(rows, "row") + " in " + seconds + ", " + grouped(rate) + " rows" + perSecond;
}

}  // namespace kivosql

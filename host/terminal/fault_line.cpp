#include "terminal/fault_line.h"

#include <algorithm>
#include <charconv>

#include "terminal/display.h"
#include "terminal/messages.h"

namespace kivosql {

namespace {

/// Shown on either side of the place.
constexpr std::size_t kMaxCharacters = 60;
constexpr std::size_t kNowhere = std::string_view::npos;

bool isInsideCharacter(std::string_view text, std::size_t at) {
  return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U;
}

/// Where the character is that stands @p count characters after @p at.
std::size_t forward(std::string_view text, std::size_t at, std::size_t count) {
  for (; count > 0 && at < text.size(); --count) {
    do ++at;
    while (isInsideCharacter(text, at));
  }
  return count == 0 ? at : kNowhere;
}

std::size_t backward(std::string_view text, std::size_t at, std::size_t count) {
  for (; count > 0 && at > 0; --count) {
    do --at;
    while (isInsideCharacter(text, at));
  }
  return at;
}

/// Takes the text up to and with the last @p mark away, and the number after it. @return the number, 0 for none
std::size_t takeNumber(std::string_view& text, std::string_view mark) {
  const std::size_t at = text.rfind(mark);
  if (at == kNowhere) return 0;
  text.remove_prefix(at + mark.size());
  std::size_t number = 0;
  const auto* const end = std::from_chars(text.data(), text.data() + text.size(), number).ptr;
  text.remove_prefix(static_cast<std::size_t>(end - text.data()));
  return number;
}

/// PostgreSQL's driver counts characters.
std::size_t byCharacter(std::string_view sql, std::string_view errorText) {
  const std::size_t number = takeNumber(errorText, "\n  Position: ");
  return number == 0 ? kNowhere : forward(sql, 0, number - 1);
}

/// Derby's counts lines and columns, and its tabs reach to the next multiple of 8.
std::size_t byLine(std::string_view sql, std::string_view errorText) {
  const std::size_t line = takeNumber(errorText, " at line ");
  const std::size_t column = takeNumber(errorText, ", column ");
  if (line == 0 || column == 0) return kNowhere;
  std::size_t at = 0;
  for (std::size_t number = 1; number < line; ++number) {
    at = sql.find('\n', at);
    if (at++ == kNowhere) return kNowhere;
  }
  std::size_t reached = 0;
  for (; at < sql.size() && sql[at] != '\n'; at = forward(sql, at, 1)) {
    reached += sql[at] == '\t' ? 8 - reached % 8 : 1;
    if (reached >= column) return at;
  }
  return kNowhere;
}

/// How many bytes H2 writes for the character of the statement: \000a for a control character, quotes and backslashes
/// twice. @return 0 when it stands for another character
std::size_t lengthInQuotes(char byte, std::string_view quoted) {
  if (quoted.empty() || (quoted[0] != byte && quoted[0] != '\\')) return 0;
  if (quoted[0] != byte) return 5;
  return byte == '"' || byte == '\\' ? 2 : 1;
}

/// H2's repeats the statement with a mark at the place.
std::size_t byMark(std::string_view sql, std::string_view errorText) {
  constexpr std::string_view kBegin = "SQL statement \"";
  constexpr std::string_view kMark = "[*]";
  const std::size_t begin = errorText.find(kBegin);
  if (begin == kNowhere) return kNowhere;
  std::string_view quoted = errorText.substr(begin + kBegin.size());
  for (std::size_t at = 0; at <= sql.size(); ++at) {
    if (quoted.substr(0, kMark.size()) == kMark && sql.substr(at, kMark.size()) != kMark) return at;
    const std::size_t length = at == sql.size() ? 0 : lengthInQuotes(sql[at], quoted);
    if (length == 0) return kNowhere;
    quoted.remove_prefix(std::min(length, quoted.size()));
  }
  return kNowhere;
}

constexpr std::size_t (*kFinders[])(std::string_view sql, std::string_view errorText) = {byCharacter, byLine, byMark};

/// Only what stands near the place, since a line may be as long as a file.
std::string pointedAt(std::string_view line, std::size_t place) {
  std::string before = masked(std::string(line.substr(0, place)));
  const std::size_t begin = backward(before, before.size(), kMaxCharacters);
  before = (begin == 0 ? "" : "…") + visible(before.substr(begin));
  const std::string after = shortened(visible(masked(std::string(line.substr(place)))), kMaxCharacters);
  return "  " + before + after + "\n  " + std::string(cellsOf(before), ' ') + '^';
}

}  // namespace

std::string faultLine(std::string_view sql, std::string_view errorText) {
  for (const auto find : kFinders) {
    const std::size_t place = find(sql, errorText);
    if (place == kNowhere || place > sql.size()) continue;
    const std::size_t begin = place == 0 ? 0 : sql.rfind('\n', place - 1) + 1;
    std::string_view line = sql.substr(begin, sql.find('\n', place) - begin);
    if (!line.empty() && line.back() == '\r' && place - begin < line.size()) line.remove_suffix(1);
    return pointedAt(line, place - begin);
  }
  return {};
}

}  // namespace kivosql

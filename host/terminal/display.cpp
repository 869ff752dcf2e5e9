#include "terminal/display.h"

#include <utf8proc.h>

#include <algorithm>
#include <regex>

#include "terminal/messages.h"

namespace kivosql {

namespace {

struct Character {
  std::size_t end;
  std::size_t cells;
};

Character characterAt(std::string_view text, std::size_t at) {
  const auto* const bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data()) + at;
  utf8proc_int32_t code = 0;
  const utf8proc_ssize_t length = utf8proc_iterate(bytes, static_cast<utf8proc_ssize_t>(text.size() - at), &code);
  return {at + static_cast<std::size_t>(std::max<utf8proc_ssize_t>(length, 1)),
          static_cast<std::size_t>(std::max(0, utf8proc_charwidth(code)))};
}

/// Where a character begins, at @p at or after it.
std::size_t characterFrom(std::string_view text, std::size_t at) {
  while (at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U) ++at;
  return at;
}

/// Shown on either side of the place.
constexpr std::size_t kMaxShown = 60;

/// Only what stands near the place, since a line may be as long as a file.
std::string pointedAt(const std::string& line, std::size_t place) {
  std::string before = masked(line.substr(0, place));
  std::string after = masked(line.substr(place));
  // A secret that the place divides would show in two parts.
  if (before + after != masked(line)) return {};
  before = visible(before);
  if (before.size() > kMaxShown) before = "…" + before.substr(characterFrom(before, before.size() - kMaxShown));
  after = shortened(visible(after), kMaxShown);
  return "  " + before + after + "\n  " + std::string(cellsOf(before), ' ') + '^';
}

}  // namespace

std::string visible(std::string_view text, std::string_view kept) {
  std::string shown;
  shown.reserve(text.size());
  for (std::size_t at = 0; at < text.size(); ++at) {
    const auto byte = static_cast<unsigned char>(text[at]);
    const bool isC1 = byte == 0xC2 && at + 1 < text.size() && static_cast<unsigned char>(text[at + 1]) < 0xA0;
    const bool isControl = byte < 0x20 || byte == 0x7F;
    if (isControl && kept.find(text[at]) == std::string_view::npos) {
      // U+2400 to U+2421 picture the control characters.
      shown += "\xE2\x90";
      shown += static_cast<char>(0x80 + (byte == 0x7F ? 0x21 : byte));
    } else if (isC1) {
      shown += "\xEF\xBF\xBD";
      ++at;
    } else {
      shown += text[at];
    }
  }
  return shown;
}

std::size_t cellsOf(std::string_view text) {
  std::size_t cells = 0;
  for (Character character{0, 0}; character.end < text.size(); cells += character.cells) {
    character = characterAt(text, character.end);
  }
  return cells;
}

std::string shortened(const std::string& text, std::size_t cells) {
  if (cells == 0 || text.size() <= cells) return text;
  std::size_t used = 0;
  std::size_t kept = 0;
  for (Character character{0, 0}; character.end < text.size();) {
    character = characterAt(text, character.end);
    used += character.cells;
    if (used > cells) return text.substr(0, kept) + "…";
    if (used < cells) kept = character.end;
  }
  return text;
}

std::string abridged(const std::string& text, std::size_t cells) {
  if (cellsOf(text) <= cells) return text;
  return shortened(text, cells / 2) + text.substr(characterFrom(text, text.size() - cells / 2));
}

std::string faultLine(const std::string& sql, const std::string& errorText) {
  static const std::regex position("\n  Position: ([0-9]{1,9})");
  std::smatch found;
  if (!std::regex_search(errorText, found, position)) return {};
  std::size_t place = 0;
  std::size_t left = std::stoul(found[1]);
  for (; left > 1 && place < sql.size(); --left) place = characterFrom(sql, place + 1);
  if (left != 1) return {};
  const std::size_t begin = place == 0 ? 0 : sql.rfind('\n', place - 1) + 1;
  std::string line = sql.substr(begin, sql.find('\n', place) - begin);
  if (!line.empty() && line.back() == '\r' && place - begin < line.size()) line.pop_back();
  return pointedAt(line, place - begin);
}

}  // namespace kivosql

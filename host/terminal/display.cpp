#include "terminal/display.h"

#include <utf8proc.h>

#include <algorithm>
#include <regex>

#include "terminal/messages.h"

namespace kivosql {

namespace {

/// What a person sees as one character.
struct Cluster {
  std::size_t end;
  std::size_t cells;
};

Cluster clusterAt(std::string_view text, std::size_t start) {
  const auto* const bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data());
  const auto isAscii = [text](std::size_t at) { return at == text.size() || (text[at] >= 0x20 && text[at] < 0x7F); };
  if (isAscii(start) && isAscii(start + 1)) return {start + 1, 1};
  Cluster cluster{start, 0};
  utf8proc_int32_t before = 0;
  utf8proc_int32_t state = 0;
  while (cluster.end < text.size()) {
    utf8proc_int32_t code = 0;
    const auto left = static_cast<utf8proc_ssize_t>(text.size() - cluster.end);
    const utf8proc_ssize_t length = utf8proc_iterate(bytes + cluster.end, left, &code);
    if (cluster.end > start && utf8proc_grapheme_break_stateful(before, code, &state)) break;
    cluster.end += static_cast<std::size_t>(std::max<utf8proc_ssize_t>(length, 1));
    cluster.cells += static_cast<std::size_t>(std::max(0, utf8proc_charwidth(code)));
    // The selector of the emoji form widens a narrow symbol.
    if (code == 0xFE0F) cluster.cells = 2;
    before = code;
  }
  cluster.cells = std::min<std::size_t>(cluster.cells, 2);
  return cluster;
}

/// Where a character begins, at @p at or after it.
std::size_t characterFrom(std::string_view text, std::size_t at) {
  while (at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U) ++at;
  return at;
}

/// Shown on either side of the place.
constexpr std::size_t kMaxShown = 60;
constexpr std::size_t kNowhere = std::string_view::npos;

std::size_t number(const std::ssub_match& digits) { return std::stoul(digits.str()); }

/// PostgreSQL's driver counts characters.
std::size_t byCharacter(const std::string& sql, const std::string& errorText) {
  static const std::regex place("\n  Position: ([0-9]{1,9})");
  std::smatch found;
  if (!std::regex_search(errorText, found, place)) return kNowhere;
  std::size_t left = number(found[1]);
  std::size_t at = 0;
  for (; left > 1 && at < sql.size(); --left) at = characterFrom(sql, at + 1);
  return left == 1 ? at : kNowhere;
}

/// Derby's driver counts lines and columns, with tabs that reach to the next multiple of 8.
std::size_t byLine(const std::string& sql, const std::string& errorText) {
  static const std::regex place(" at line ([0-9]{1,9}), column ([0-9]{1,9})");
  std::smatch found;
  if (!std::regex_search(errorText, found, place)) return kNowhere;
  std::size_t at = 0;
  for (std::size_t left = number(found[1]); left > 1; --left) {
    at = sql.find('\n', at) + 1;
    if (at == 0) return kNowhere;
  }
  for (std::size_t column = 0; at < sql.size() && sql[at] != '\n'; at = characterFrom(sql, at + 1)) {
    column += sql[at] == '\t' ? 8 - column % 8 : 1;
    if (column >= number(found[2])) return at;
  }
  return kNowhere;
}

/// H2's driver repeats the statement with a mark at the place, and escapes it: \000a for a control character, quotes
/// and backslashes twice.
std::size_t byMark(const std::string& sql, const std::string& errorText) {
  static const std::regex escaped(R"(\\0[0-9a-f]{3}|""|\\\\)");
  constexpr std::string_view kBegin = "SQL statement \"";
  const std::size_t begin = errorText.find(kBegin);
  if (begin == kNowhere) return kNowhere;
  const std::string marked = std::regex_replace(errorText.substr(begin + kBegin.size()), escaped, "?");
  std::string plain = sql;
  const auto isEscaped = [](char byte) { return (byte >= 0 && byte < 0x20) || byte == '"' || byte == '\\'; };
  std::replace_if(plain.begin(), plain.end(), isEscaped, '?');
  // The statement may have the text of the mark in it.
  for (std::size_t at = 0; (at = marked.find("[*]", at)) != kNowhere; ++at) {
    if (plain.compare(0, at, marked, 0, at) == 0 && plain.compare(at, 3, "[*]") != 0) return at;
  }
  return kNowhere;
}

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
  for (Cluster cluster{0, 0}; cluster.end < text.size(); cells += cluster.cells) cluster = clusterAt(text, cluster.end);
  return cells;
}

std::string shortened(const std::string& text, std::size_t cells) {
  if (cells == 0 || text.size() <= cells) return text;
  std::size_t used = 0;
  std::size_t kept = 0;
  for (Cluster cluster{0, 0}; cluster.end < text.size();) {
    cluster = clusterAt(text, cluster.end);
    used += cluster.cells;
    if (used > cells) return text.substr(0, kept) + "…";
    if (used < cells) kept = cluster.end;
  }
  return text;
}

std::string abridged(const std::string& text, std::size_t cells) {
  if (cellsOf(text) <= cells) return text;
  return shortened(text, cells / 2) + text.substr(characterFrom(text, text.size() - cells / 2));
}

std::string faultLine(const std::string& sql, const std::string& errorText) {
  for (const auto find : {byCharacter, byLine, byMark}) {
    const std::size_t place = find(sql, errorText);
    if (place > sql.size()) continue;
    const std::size_t begin = place == 0 ? 0 : sql.rfind('\n', place - 1) + 1;
    std::string line = sql.substr(begin, sql.find('\n', place) - begin);
    if (!line.empty() && line.back() == '\r' && place - begin < line.size()) line.pop_back();
    return pointedAt(line, place - begin);
  }
  return {};
}

}  // namespace kivosql

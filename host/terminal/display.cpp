#include "terminal/display.h"

#include <utf8proc.h>

#include <algorithm>

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

/// Whether the byte is inside a character.
bool continues(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

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

std::size_t endOfCharacter(std::string_view text, std::size_t at) {
  do ++at;
  while (at < text.size() && continues(text[at]));
  return at;
}

std::string tail(const std::string& text, std::size_t bytes) {
  std::size_t at = text.size() - std::min(bytes, text.size());
  while (at < text.size() && continues(text[at])) ++at;
  return text.substr(at);
}

std::string abridged(const std::string& text, std::size_t cells) {
  return cellsOf(text) <= cells ? text : shortened(text, cells / 2) + tail(text, cells / 2);
}

}  // namespace kivosql

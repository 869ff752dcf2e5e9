#include "terminal/display.h"

#include <utf8proc.h>

#include <algorithm>

namespace kivosql {

namespace {

struct Character {
  std::size_t end;
  utf8proc_int32_t code;

  std::size_t cells() const { return static_cast<std::size_t>(std::max(0, utf8proc_charwidth(code))); }
};

Character characterAt(std::string_view text, std::size_t at) {
  const auto* const bytes = reinterpret_cast<const utf8proc_uint8_t*>(text.data()) + at;
  utf8proc_int32_t code = 0;
  const utf8proc_ssize_t length = utf8proc_iterate(bytes, static_cast<utf8proc_ssize_t>(text.size() - at), &code);
  return {at + static_cast<std::size_t>(std::max<utf8proc_ssize_t>(length, 1)), code};
}

}  // namespace

std::string visible(std::string_view text, std::string_view kept) {
  std::string shown;
  shown.reserve(text.size());
  for (Character character{0, 0}; character.end < text.size();) {
    const std::size_t at = character.end;
    character = characterAt(text, at);
    if (utf8proc_category(character.code) != UTF8PROC_CATEGORY_CC || kept.find(text[at]) != std::string_view::npos) {
      shown += text.substr(at, character.end - at);
    } else if (character.code >= 0x80) {
      shown += "\uFFFD";
    } else {
      // U+2400 to U+2421 picture the control characters.
      shown += "\xE2\x90";
      shown += static_cast<char>(0x80 + (character.code == 0x7F ? 0x21 : character.code));
    }
  }
  return shown;
}

std::size_t cellsOf(std::string_view text) {
  std::size_t cells = 0;
  for (Character character{0, 0}; character.end < text.size(); cells += character.cells()) {
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
    used += character.cells();
    if (used > cells) return text.substr(0, kept) + "…";
    if (used < cells) kept = character.end;
  }
  return text;
}

std::size_t endOfCharacter(std::string_view text, std::size_t at) { return characterAt(text, at).end; }

std::string tail(const std::string& text, std::size_t bytes) {
  std::size_t at = text.size() - std::min(bytes, text.size());
  // Not from within a character.
  while (at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U) ++at;
  return text.substr(at);
}

std::string abridged(const std::string& text, std::size_t cells) {
  return cellsOf(text) <= cells ? text : shortened(text, cells / 2) + tail(text, cells / 2);
}

}  // namespace kivosql

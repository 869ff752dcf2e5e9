#include "terminal/display.h"

#include <utf8proc.h>

#include <algorithm>

namespace kivosql {

namespace {

/// Steps from cluster to cluster: what a person sees as one character.
class Clusters {
 public:
  explicit Clusters(std::string_view text) : text_(text) { end_ = decode(0, code_); }

  bool next() {
    if (end_ > text_.size()) return false;
    width_ = 0;
    do {
      width_ += static_cast<std::size_t>(std::max(0, utf8proc_charwidth(code_)));
      // The selector of the emoji form widens a narrow symbol.
      if (code_ == 0xFE0F) width_ = 2;
      at_ = end_;
      const utf8proc_int32_t before = code_;
      end_ = decode(at_, code_);
      if (end_ > text_.size() || utf8proc_grapheme_break_stateful(before, code_, &state_)) break;
    } while (true);
    width_ = std::min<std::size_t>(width_, 2);
    return true;
  }

  std::size_t end() const { return at_; }
  std::size_t width() const { return width_; }

 private:
  /// @return the end of the code point at @p at, beyond the text when there is none.
  std::size_t decode(std::size_t at, utf8proc_int32_t& code) const {
    const auto* bytes = reinterpret_cast<const utf8proc_uint8_t*>(text_.data());
    const auto left = static_cast<utf8proc_ssize_t>(text_.size() - at);
    const utf8proc_ssize_t length = left == 0 ? 0 : utf8proc_iterate(bytes + at, left, &code);
    return length <= 0 ? text_.size() + 1 : at + static_cast<std::size_t>(length);
  }

  std::string_view text_;
  std::size_t at_ = 0;
  std::size_t end_ = 0;
  std::size_t width_ = 0;
  utf8proc_int32_t code_ = 0;
  utf8proc_int32_t state_ = 0;
};

bool isPlain(char byte) { return static_cast<unsigned char>(byte) >= 0x20 && static_cast<unsigned char>(byte) < 0x7F; }

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
  if (std::all_of(text.begin(), text.end(), isPlain)) return text.size();
  std::size_t cells = 0;
  for (Clusters clusters(text); clusters.next();) cells += clusters.width();
  return cells;
}

std::string shortened(const std::string& text, std::size_t cells) {
  if (cells == 0 || text.size() <= cells) return text;
  std::size_t used = 0;
  std::size_t kept = 0;
  for (Clusters clusters(text); clusters.next();) {
    used += clusters.width();
    if (used > cells) return text.substr(0, kept) + "…";
    if (used < cells) kept = clusters.end();
  }
  return text;
}

std::string abridged(const std::string& text, std::size_t cells) {
  const std::size_t half = cells / 2;
  if (cellsOf(text) <= cells) return text;
  std::size_t end = text.size() - half;
  while (end < text.size() && (static_cast<unsigned char>(text[end]) & 0xC0U) == 0x80U) ++end;
  return shortened(text, half) + text.substr(end);
}

}  // namespace kivosql

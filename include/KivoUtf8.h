#pragma once

#include <cstddef>
#include <string>
#include <string_view>

/// Conversion between standard UTF-8 and the modified UTF-8 in which JNI, and so this library, hands text out.
///
/// The two differ in two places only: a NUL is the bytes C0 80 in the modified form, and a character beyond U+FFFF is a
/// surrogate pair of two three-byte sequences instead of one four-byte sequence. All other text is the same bytes in
/// both. Any thread; std::bad_alloc can escape.
namespace kivo::utf8 {

/// A converted text. Each invalid byte became U+FFFD, as did each half of a surrogate pair that stood alone.
struct Converted {
  std::string text;              ///< in the other form
  std::size_t replacements = 0;  ///< how many; 0 means that nothing was lost
};

namespace detail {

inline bool continues(char byte) { return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U; }

/// Length of the sequence that starts at @p at and has @p available bytes: 1 to 4, 0 when the first byte is malformed.
/// C0 80 and the three-byte form of a surrogate count as well-formed here. In a NUL-terminated text 4 may be given
/// throughout: a NUL continues nothing, so that no byte beyond it is read.
inline std::size_t sequenceLength(const char* at, std::size_t available) {
  const auto byte = [at](std::size_t index) { return static_cast<unsigned char>(at[index]); };
  const auto continued = [at, available](std::size_t index) { return index < available && continues(at[index]); };
  const unsigned char lead = byte(0);
  if (lead < 0x80) return 1;
  if (lead < 0xC0 || lead > 0xF4 || !continued(1)) return 0;
  if (lead < 0xE0) return lead >= 0xC2 || (lead == 0xC0 && byte(1) == 0x80) ? 2 : 0;
  if ((lead == 0xE0 && byte(1) < 0xA0) || !continued(2)) return 0;
  if (lead < 0xF0) return 3;
  if ((lead == 0xF0 && byte(1) < 0x90) || (lead == 0xF4 && byte(1) > 0x8F) || !continued(3)) return 0;
  return 4;
}

/// The code point, or UTF-16 unit, of a well-formed sequence of the given length.
inline unsigned decode(const char* at, std::size_t length) {
  const unsigned lead = static_cast<unsigned char>(at[0]);
  if (length == 1) return lead;
  unsigned code = lead & (0x7FU >> length);
  for (std::size_t index = 1; index < length; ++index)
    code = code << 6U | (static_cast<unsigned char>(at[index]) & 0x3FU);
  return code;
}

/// Appends @p code as a sequence of three or four bytes.
inline void appendLong(std::string& out, unsigned code) {
  const auto append = [&out](unsigned byte) { out += static_cast<char>(byte); };
  if (code > 0xFFFFU) {
    append(0xF0U | code >> 18U);
    append(0x80U | (code >> 12U & 0x3FU));
  } else {
    append(0xE0U | code >> 12U);
  }
  append(0x80U | (code >> 6U & 0x3FU));
  append(0x80U | (code & 0x3FU));
}

inline void appendSurrogates(std::string& out, unsigned code) {
  appendLong(out, 0xD7C0U + (code >> 10U));
  appendLong(out, 0xDC00U + (code & 0x3FFU));
}

inline void appendReplacement(std::string& out) { appendLong(out, 0xFFFDU); }

inline void replace(Converted& result) {
  appendReplacement(result.text);
  ++result.replacements;
}

inline bool isHighSurrogate(unsigned code) { return code >= 0xD800U && code <= 0xDBFFU; }
inline bool isLowSurrogate(unsigned code) { return code >= 0xDC00U && code <= 0xDFFFU; }

/// The low half directly after a high one; 0 when there is none.
inline unsigned lowSurrogateAt(std::string_view text, std::size_t at) {
  if (at >= text.size() || sequenceLength(text.data() + at, text.size() - at) != 3) return 0;
  const unsigned code = decode(text.data() + at, 3);
  return isLowSurrogate(code) ? code : 0;
}

}  // namespace detail

/// Standard UTF-8, NULs included, to modified UTF-8. Every text that came out valid (no replacements) converts back
/// to the same bytes.
inline Converted toModified(std::string_view standard) {
  Converted result;
  result.text.reserve(standard.size());
  for (std::size_t at = 0; at < standard.size();) {
    const char* start = standard.data() + at;
    const std::size_t length = detail::sequenceLength(start, standard.size() - at);
    const unsigned code = length == 0 ? 0 : detail::decode(start, length);
    const bool invalid =
        length == 0 || (length == 2 && code == 0) || (length == 3 && code >= 0xD800U && code <= 0xDFFFU);
    // A sequence that is invalid as a whole counts byte by byte, so that its rest is looked at afresh.
    at += invalid ? 1 : length;
    if (invalid) {
      detail::replace(result);
    } else if (length == 4) {
      detail::appendSurrogates(result.text, code);
    } else if (code == 0) {
      result.text += "\xC0\x80";
    } else {
      result.text.append(start, length);
    }
  }
  return result;
}

/// Modified UTF-8 to standard UTF-8. A four-byte sequence, which the modified form does not have, is taken as it is.
inline Converted toStandard(std::string_view modified) {
  Converted result;
  result.text.reserve(modified.size());
  for (std::size_t at = 0; at < modified.size();) {
    const char* start = modified.data() + at;
    const std::size_t length = detail::sequenceLength(start, modified.size() - at);
    const unsigned code = length == 0 ? 0 : detail::decode(start, length);
    at += length == 0 ? 1 : length;
    const unsigned low = length == 3 && detail::isHighSurrogate(code) ? detail::lowSurrogateAt(modified, at) : 0;
    if (low != 0) {
      detail::appendLong(result.text, ((code - 0xD7C0U) << 10U) + (low - 0xDC00U));
      at += 3;
    } else if (length == 0 || (length == 3 && code >= 0xD800U && code <= 0xDFFFU)) {
      detail::replace(result);
    } else if (length == 2 && code == 0) {
      result.text += '\0';
    } else {
      result.text.append(start, length);
    }
  }
  return result;
}

}  // namespace kivo::utf8

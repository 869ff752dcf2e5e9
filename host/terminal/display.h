#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kivosql {

/// Text for one line of a terminal: control characters, which could move the cursor or worse, become pictures of
/// themselves, except those in @p kept. @param text valid UTF-8
std::string visible(std::string_view text, std::string_view kept = {});

/// Cells that the text's characters take on a terminal.
std::size_t cellsOf(std::string_view text);

/// The text cut to @p cells, with an ellipsis as its end; 0 is no limit.
std::string shortened(const std::string& text, std::size_t cells);

/// The same with the ellipsis in the middle. The end has as many bytes as the beginning has cells.
std::string abridged(const std::string& text, std::size_t cells);

/// The end of the text, of at most @p bytes and whole characters.
std::string tail(const std::string& text, std::size_t bytes);

/// Where the character that begins at @p at ends.
std::size_t endOfCharacter(std::string_view text, std::size_t at);

}  // namespace kivosql

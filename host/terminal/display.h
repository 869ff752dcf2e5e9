#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kivosql {

/// Text for one line of a terminal: control characters, which could move the cursor or worse, become pictures of
/// themselves, except those to keep. @param text valid UTF-8.
std::string visible(std::string_view text, std::string_view kept = {});

/// Cells that the text takes on a terminal; a cluster such as an emoji with its modifiers takes two.
std::size_t cellsOf(std::string_view text);

/// At most @p cells of the text, a shortened one ending in an ellipsis; 0 is no limit.
std::string shortened(const std::string& text, std::size_t cells);

/// The same with the ellipsis in the middle, and the end in as many bytes as the beginning may have cells.
std::string abridged(const std::string& text, std::size_t cells);

}  // namespace kivosql

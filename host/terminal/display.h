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

/// The line of the statement where PostgreSQL's driver places the fault, with a caret below it; empty without a place.
/// The texts of other drivers show the place themselves. @param errorText as the driver wrote it, with its line ends
std::string faultLine(const std::string& sql, const std::string& errorText);

}  // namespace kivosql

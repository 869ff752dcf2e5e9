#pragma once

#include <string>
#include <vector>

namespace kivosql {

/// The word that @p text is probably a slip of the hand for, or the begin of; empty when there is none.
std::string nearest(const std::string& text, const std::vector<std::string>& words);

}  // namespace kivosql

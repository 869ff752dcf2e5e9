#include "cli/nearest.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace kivosql {

namespace {

/// How many characters must be put in, taken out or replaced; one more for a slip in the begin of a longer word.
std::size_t distance(const std::string& text, const std::string& word) {
  std::vector<std::size_t> row(word.size() + 1);
  std::iota(row.begin(), row.end(), 0);
  for (std::size_t line = 1; line <= text.size(); ++line) {
    std::size_t diagonal = std::exchange(row[0], line);
    for (std::size_t at = 1; at <= word.size(); ++at) {
      const std::size_t replaced = diagonal + (text[line - 1] == word[at - 1] ? 0 : 1);
      diagonal = std::exchange(row[at], std::min({row[at] + 1, row[at - 1] + 1, replaced}));
    }
  }
  const std::size_t ofBegin = *std::min_element(row.begin(), row.end());
  return ofBegin == 0 ? 0 : std::min(row.back(), ofBegin + 1);
}

}  // namespace

std::string nearest(const std::string& text, const std::vector<std::string>& words) {
  std::size_t least = std::max<std::size_t>(1, text.size() / 3) + 1;
  std::string found;
  for (const std::string& word : words) {
    const std::size_t far = distance(text, word);
    if (far >= least) continue;
    least = far;
    found = word;
  }
  return found;
}

}  // namespace kivosql

#include "cli/nearest.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace kivosql {

namespace {

/// How many characters must be put in, taken out or replaced.
std::size_t distance(const std::string& from, const std::string& to) {
  std::vector<std::size_t> row(to.size() + 1);
  std::iota(row.begin(), row.end(), 0);
  for (std::size_t line = 1; line <= from.size(); ++line) {
    std::size_t diagonal = std::exchange(row[0], line);
    for (std::size_t at = 1; at <= to.size(); ++at) {
      const std::size_t replaced = diagonal + (from[line - 1] == to[at - 1] ? 0 : 1);
      diagonal = std::exchange(row[at], std::min({row[at] + 1, row[at - 1] + 1, replaced}));
    }
  }
  return row.back();
}

}  // namespace

std::string nearest(const std::string& text, const std::vector<std::string>& words) {
  constexpr std::size_t kLeastBegin = 3;
  std::size_t least = std::max<std::size_t>(1, text.size() / 3) + 1;
  std::string found;
  for (const std::string& word : words) {
    const bool isBegin = text.size() >= kLeastBegin && word.rfind(text, 0) == 0;
    const std::size_t far = isBegin ? 0 : distance(text, word);
    if (far >= least) continue;
    least = far;
    found = word;
  }
  return found;
}

}  // namespace kivosql

#pragma once

#include <algorithm>
#include <cstdlib>

namespace kivo::test {

/// What every deadline of the tests is multiplied by: KIVO_PATIENCE, a whole number, for machines that are slow.
inline unsigned patience() {
  const char* factor = std::getenv("KIVO_PATIENCE");
  return factor == nullptr ? 1 : std::max(1U, static_cast<unsigned>(std::strtoul(factor, nullptr, 10)));
}

}  // namespace kivo::test

#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace kivo::fuzz {

/// Ends the run as a finding unless the property holds.
inline void require(bool holds, const char* property) {
  if (holds) return;
  std::fprintf(stderr, "does not hold: %s\n", property);
  std::abort();
}

inline std::string text(const std::uint8_t* data, std::size_t size) {
  return {reinterpret_cast<const char*>(data), size};
}

inline bool contains(const std::string& whole, const std::string& part) {
  return whole.find(part) != std::string::npos;
}

/// The lines of an input that stands for several texts; as many as wanted, the missing ones empty, the last one with
/// all that is left.
inline std::vector<std::string> lines(const std::string& input, std::size_t count) {
  std::vector<std::string> texts(count);
  std::size_t start = 0;
  for (std::size_t index = 0; index < count && start <= input.size(); ++index) {
    const std::size_t end = index + 1 == count ? input.size() : std::min(input.find('\n', start), input.size());
    texts[index] = input.substr(start, end - start);
    start = end + 1;
  }
  return texts;
}

}  // namespace kivo::fuzz

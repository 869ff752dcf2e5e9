#include "terminal/output.h"

#include <cerrno>
#include <cstring>

namespace kivosql {

Output& Output::write(std::string_view text) {
  if (good() && fwrite_unlocked(text.data(), 1, text.size(), file_) != text.size()) error_ = errno;
  return *this;
}

Output& Output::fill(std::string_view text, std::size_t times) {
  while (times-- > 0) write(text);
  return *this;
}

bool Output::flush() {
  if (std::fflush(file_) != 0 && good()) error_ = errno;
  return good();
}

bool Output::abandoned() const { return error_ == EPIPE; }

std::string Output::reason() const { return std::strerror(error_); }

}  // namespace kivosql

#include "terminal/output.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace kivosql {

Output& Output::write(std::string_view text) {
  while (!text.empty()) {
    if (used_ == buffer_.size()) flush();
    const std::size_t length = text.copy(buffer_.data() + used_, buffer_.size() - used_);
    used_ += length;
    text.remove_prefix(length);
  }
  return *this;
}

Output& Output::fill(std::string_view text, std::size_t times) {
  while (times-- > 0) write(text);
  return *this;
}

bool Output::flush() {
  for (std::size_t written = 0; written < used_ && good();) {
    const ssize_t length = ::write(descriptor_, buffer_.data() + written, used_ - written);
    if (length >= 0) {
      written += static_cast<std::size_t>(length);
    } else if (errno != EINTR) {
      error_ = errno;
    }
  }
  used_ = 0;
  return good();
}

bool Output::abandoned() const { return error_ == EPIPE; }

std::string Output::reason() const { return std::strerror(error_); }

}  // namespace kivosql

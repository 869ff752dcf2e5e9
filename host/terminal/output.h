#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace kivosql {

/// Standard output, written in large pieces. It is also a stream in the sense of RapidJSON, hence the capital letters.
///
/// A failed write shows in good(), and whoever produces the rest may stop. SIGPIPE does not reach the process, since
/// the Java VM handles it: a reader that went away shows as a failed write too.
class Output {
 public:
  using Ch = char;

  /// @param descriptor stays open.
  explicit Output(int descriptor) : descriptor_(descriptor) {}
  ~Output() { flush(); }
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  void Put(char byte) {
    if (used_ == buffer_.size()) flush();
    buffer_[used_++] = byte;
  }
  void Flush() {}

  Output& write(std::string_view text);
  Output& fill(std::string_view text, std::size_t times);
  bool flush();

  bool good() const { return error_ == 0; }
  /// The reader has had enough, which is no error.
  bool abandoned() const;
  /// What the system says of the failed write.
  std::string reason() const;

 private:
  int descriptor_;
  int error_ = 0;
  std::size_t used_ = 0;
  std::array<char, std::size_t{64} * 1024> buffer_;
};

}  // namespace kivosql

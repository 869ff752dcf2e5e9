#pragma once

#include <cstdio>
#include <string>
#include <string_view>

namespace kivosql {

/// Standard output. It is also a stream in the sense of RapidJSON, hence the capital letters.
///
/// A failed write shows in good(), and whoever produces the rest may stop. SIGPIPE does not reach the process, since
/// the Java VM handles it: a reader that went away shows as a failed write too.
class Output {
 public:
  using Ch = char;

  /// @param file stays open.
  explicit Output(std::FILE* file) : file_(file) {}
  ~Output() { flush(); }
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;

  void Put(char byte) { write({&byte, 1}); }
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
  std::FILE* file_;
  int error_ = 0;
};

}  // namespace kivosql

#pragma once

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sql/rows.h"

namespace kivosql {

/// Standard output. It is also a stream in the sense of RapidJSON, hence the capital letters.
///
/// After a failed write good() is false, and whoever produces the rest may stop. SIGPIPE does not reach the process,
/// since the Java VM handles it: a reader that went away is a failed write too.
class Output {
 public:
  using Ch = char;

  /// @param file stays open.
  explicit Output(std::FILE* file) : file_(file) {}

  void Put(char byte) { check(putc_unlocked(byte, file_) != EOF); }
  void Flush() {}

  Output& write(std::string_view text) {
    check(fwrite_unlocked(text.data(), 1, text.size(), file_) == text.size());
    return *this;
  }

  Output& fill(std::string_view text, std::size_t times) {
    while (times-- > 0) write(text);
    return *this;
  }

  bool flush() {
    check(fflush_unlocked(file_) == 0);
    return good();
  }

  bool good() const { return error_ == 0; }
  /// Whether the reader went away, which is no error.
  bool abandoned() const { return error_ == EPIPE; }
  /// The system's text for the failed write.
  std::string reason() const { return std::strerror(error_); }

 private:
  void check(bool written) {
    if (!written && good()) error_ = errno;
  }

  std::FILE* file_;
  int error_ = 0;
};

struct Style {
  std::string null;          ///< how NULL is written; JSON has its own
  std::size_t maxCells = 0;  ///< maximum width of a cell of an aligned table; 0 is no limit
  bool crlf = false;         ///< how a line of CSV ends
};

/// Writes one result. Rows are written as they come; only the aligned table keeps the first ones to measure them.
class Writer {
 public:
  Writer(Output& out, Style style) : out_(out), style_(std::move(style)) {}
  virtual ~Writer() = default;

  virtual void begin(const std::vector<Column>& columns) = 0;
  virtual void row(const Row& row) = 0;
  /// @param rows how many there were
  virtual void end(unsigned long long /*rows*/) {}

 protected:
  Output& out_;
  const Style style_;
};

struct Format {
  const char* name;
  const char* about;
  const char* null;  ///< how NULL is written by default
  bool forPeople;    ///< remarks may stand between its rows
  bool isCsv;
  const char *open, *between, *close;  ///< what stands around and between the results of a script
  std::unique_ptr<Writer> (*make)(Output& out, const Style& style);
};

extern const Format kFormats[4];

}  // namespace kivosql

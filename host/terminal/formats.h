#pragma once

#include <array>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "sql/sql_types.h"

namespace kivosql {

/// Standard output, written in large pieces. It is also a stream in the sense of RapidJSON, hence the capital letters.
///
/// After a failed write good() is false, and whoever produces the rest may stop. SIGPIPE does not reach the process,
/// since the Java VM handles it: a reader that went away is a failed write too.
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
  /// Whether the reader went away, which is no error.
  bool abandoned() const;
  /// The system's text for the failed write.
  std::string reason() const;

 private:
  int descriptor_;
  int error_ = 0;
  std::size_t used_ = 0;
  std::array<char, std::size_t{64} * 1024> buffer_;
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

/// What stands around and between the results of a script.
struct Results {
  const char* open;
  const char* between;
  const char* close;
};

struct Format {
  const char* name;
  const char* about;
  const char* null;  ///< how NULL is written by default
  bool forPeople;    ///< remarks may stand between its rows
  bool isCsv;
  Results ofScript;
  std::unique_ptr<Writer> (*make)(Output& out, const Style& style);
};

extern const Format kFormats[4];

}  // namespace kivosql

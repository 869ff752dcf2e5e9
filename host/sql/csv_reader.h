#pragma once

#include <cstddef>
#include <istream>
#include <string>
#include <vector>

namespace kivosql {

struct CsvField {
  std::string text;
  bool quoted = false;
};

/// Reads CSV by RFC 4180, record by record; line ends may be CRLF or LF, a byte order mark is skipped.
class CsvReader {
 public:
  /// @param input outlives the reader.
  explicit CsvReader(std::istream& input) : input_(*input.rdbuf()) {}

  /// @return false at the end, and on an error: then error() says which.
  bool next(std::vector<CsvField>& record);

  const std::string& error() const { return error_; }
  /// Where the last record begins, counted from 1.
  std::size_t line() const { return recordLine_; }
  /// Bytes read so far.
  unsigned long long bytes() const { return bytes_; }

 private:
  int take();
  bool takeIf(char byte);
  std::string skipByteOrderMark();
  bool takeQuoted(std::string& text);
  void takePlain(std::string& text);

  std::streambuf& input_;
  std::string error_;
  std::size_t line_ = 1;
  std::size_t recordLine_ = 0;
  unsigned long long bytes_ = 0;
};

}  // namespace kivosql

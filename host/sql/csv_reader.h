#pragma once

#include <cstddef>
#include <streambuf>
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
  explicit CsvReader(std::streambuf& input) : input_(input) {}

  /// Throws Failure on text that is no CSV. @return false at the end.
  bool next(std::vector<CsvField>& record);

  /// Where the last record begins, counted from 1.
  std::size_t line() const { return recordLine_; }

 private:
  int take();
  bool takeIf(char byte);
  std::string skipByteOrderMark();
  void takeQuoted(std::string& text);
  void takePlain(std::string& text);

  std::streambuf& input_;
  std::size_t line_ = 1;
  std::size_t recordLine_ = 0;
};

}  // namespace kivosql

#pragma once

#include <cstddef>
#include <streambuf>
#include <string>
#include <utility>
#include <vector>

#include "failure.h"

namespace kivosql {

struct CsvField {
  std::string text;
  bool quoted = false;
};

/// Reads CSV by RFC 4180, record by record; line ends may be CRLF or LF, a byte order mark is skipped.
class CsvReader {
 public:
  /// @param name of the file. @param input outlives the reader.
  CsvReader(std::string name, std::streambuf& input) : name_(std::move(name)), input_(input) {}

  /// Throws Failure on text that is no CSV. @return false at the end.
  bool next(std::vector<CsvField>& record);

  /// Where the last record begins, counted from 1.
  std::size_t line() const { return recordLine_; }

  /// Throws a Failure that names the file.
  [[noreturn]] void fail(const std::string& fault) const { throw Failure(name_ + ": " + fault); }

 private:
  int take();
  bool takeIf(char byte);
  std::string skipByteOrderMark();
  void takeQuoted(std::string& text);
  void takePlain(std::string& text);

  std::string name_;
  std::streambuf& input_;
  std::size_t line_ = 1;
  std::size_t recordLine_ = 0;
};

}  // namespace kivosql

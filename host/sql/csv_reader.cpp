#include "sql/csv_reader.h"

#include <cstdio>
#include <utility>

namespace kivosql {

int CsvReader::take() {
  const int byte = input_.sbumpc();
  if (byte == '\n') ++line_;
  return byte;
}

bool CsvReader::takeIf(char byte) {
  const bool isNext = input_.sgetc() == static_cast<unsigned char>(byte);
  if (isNext) take();
  return isNext;
}

/// @return the bytes that looked like the beginning of one and are text.
std::string CsvReader::skipByteOrderMark() {
  std::string taken;
  for (char byte : {'\xEF', '\xBB', '\xBF'}) {
    if (!takeIf(byte)) return taken;
    taken += byte;
  }
  return {};
}

/// The opening quote has been read.
void CsvReader::takeQuoted(std::string& text) {
  for (int byte = take(); byte != EOF; byte = take()) {
    if (byte == '"' && !takeIf('"')) return;
    text += static_cast<char>(byte);
  }
  fail("a quote in the record that begins on line " + std::to_string(recordLine_) + " never ends");
}

void CsvReader::takePlain(std::string& text) {
  for (int byte = input_.sgetc(); byte != EOF && byte != ',' && byte != '\n' && byte != '\r'; byte = input_.sgetc()) {
    text += static_cast<char>(take());
  }
}

bool CsvReader::next(std::vector<CsvField>& record) {
  record.clear();
  std::string start = recordLine_ == 0 ? skipByteOrderMark() : "";
  recordLine_ = line_;
  if (start.empty() && input_.sgetc() == EOF) return false;
  do {
    CsvField& field = record.emplace_back();
    field.text = std::exchange(start, {});
    field.quoted = field.text.empty() && takeIf('"');
    if (field.quoted) {
      takeQuoted(field.text);
    } else {
      takePlain(field.text);
    }
  } while (takeIf(','));
  takeIf('\r');
  if (takeIf('\n') || input_.sgetc() == EOF) return true;
  fail("line " + std::to_string(line_) + " has text after a closing quote, or a lone carriage return");
}

}  // namespace kivosql

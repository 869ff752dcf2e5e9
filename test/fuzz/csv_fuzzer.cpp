#include <sstream>
#include <string>
#include <vector>

#include "failure.h"
#include "fuzzing.h"
#include "sql/csv_reader.h"

using kivo::fuzz::require;
using kivosql::CsvField;
using kivosql::CsvReader;

namespace {

using Records = std::vector<std::vector<CsvField>>;

/// @return whether the text was read to its end.
bool read(const std::string& text, Records& records) {
  std::istringstream input(text);
  CsvReader reader(input);
  const auto failure = kivosql::attempt([&] {
    for (std::vector<CsvField> record; reader.next(record);) {
      require(!record.empty(), "a record has a field");
      records.push_back(record);
    }
    require(input.peek() == std::istringstream::traits_type::eof(), "text is read to its end or an error");
  });
  return !failure;
}

std::string quoted(const std::string& text) {
  std::string quoted = "\"";
  for (const char byte : text) quoted += byte == '"' ? "\"\"" : std::string(1, byte);
  return quoted + '"';
}

std::string write(const Records& records) {
  std::string text;
  for (const std::vector<CsvField>& record : records) {
    for (const CsvField& field : record) text += (&field == &record.front() ? "" : ",") + quoted(field.text);
    text += "\r\n";
  }
  return text;
}

bool sameTexts(const Records& one, const Records& other) { return write(one) == write(other); }

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  Records records;
  read(kivo::fuzz::text(data, size), records);
  Records again;
  require(read(write(records), again), "what was read can be written and read");
  require(records.size() == again.size() && sameTexts(records, again), "it comes back as it was");
  return 0;
}

#include "sql/sql_types.h"

#include <strings.h>

#include <algorithm>

namespace kivosql {

namespace {

/// Types with consecutive codes.
struct SqlTypes {
  int first;
  std::initializer_list<const char*> names;
};

constexpr SqlTypes kTypes[] = {
    {-16, {"LONGNVARCHAR", "NCHAR"}},
    {-9,
     {"NVARCHAR", "ROWID", "BIT", "TINYINT", "BIGINT", "LONGVARBINARY", "VARBINARY", "BINARY", "LONGVARCHAR", "NULL",
      "CHAR", "NUMERIC", "DECIMAL", "INTEGER", "SMALLINT", "FLOAT", "REAL", "DOUBLE"}},
    {12, {"VARCHAR"}},
    {16, {"BOOLEAN"}},
    {70, {"DATALINK"}},
    {91, {"DATE", "TIME", "TIMESTAMP"}},
    {1111, {"OTHER"}},
    {2000, {"JAVA_OBJECT", "DISTINCT", "STRUCT", "ARRAY", "BLOB", "CLOB", "REF"}},
    {2009, {"SQLXML"}},
    {2011, {"NCLOB"}},
    {2013, {"TIME_WITH_TIMEZONE", "TIMESTAMP_WITH_TIMEZONE"}},
};

constexpr int kNumeric[] = {-6, -5, 2, 3, 4, 5, 6, 7, 8};
constexpr int kBoolean[] = {-7, 16};

}  // namespace

bool isNumeric(int type) { return std::find(std::begin(kNumeric), std::end(kNumeric), type) != std::end(kNumeric); }

bool isBoolean(int type) { return std::find(std::begin(kBoolean), std::end(kBoolean), type) != std::end(kBoolean); }

std::string typeName(int type) {
  for (const SqlTypes& types : kTypes) {
    const std::ptrdiff_t index = type - types.first;
    if (index >= 0 && index < static_cast<std::ptrdiff_t>(types.names.size())) return types.names.begin()[index];
  }
  return std::to_string(type);
}

bool isJsonNumber(std::string_view text) {
  const char* at = text.begin();
  const auto skip = [&](char byte) { return at < text.end() && *at == byte && ++at > text.begin(); };
  const auto skipDigits = [&] {
    const char* const start = at;
    at = std::find_if_not(at, text.end(), [](char byte) { return byte >= '0' && byte <= '9'; });
    return at > start;
  };
  skip('-');
  if (!skip('0') && !skipDigits()) return false;
  if (skip('.') && !skipDigits()) return false;
  if (skip('e') || skip('E')) {
    if (!skip('+')) skip('-');
    if (!skipDigits()) return false;
  }
  return at == text.end();
}

std::optional<bool> booleanOf(std::string_view text) {
  // Every second one means true.
  constexpr std::string_view kWords[] = {"f", "t", "false", "true", "0", "1"};
  const auto isSame = [text](std::string_view word) {
    return text.size() == word.size() && strncasecmp(text.data(), word.data(), word.size()) == 0;
  };
  const auto* const found = std::find_if(std::begin(kWords), std::end(kWords), isSame);
  if (found == std::end(kWords)) return {};
  return (found - std::begin(kWords)) % 2 == 1;
}

}  // namespace kivosql

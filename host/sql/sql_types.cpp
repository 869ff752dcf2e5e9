#include "sql/sql_types.h"

#include <strings.h>

#include <cctype>

namespace kivosql {

namespace {

struct SqlType {
  const char* name;
  int code;
  Kind kind;
};

constexpr SqlType kTypes[] = {
    {"LONGNVARCHAR", -16, Kind::text},
    {"NCHAR", -15, Kind::text},
    {"NVARCHAR", -9, Kind::text},
    {"ROWID", -8, Kind::text},
    {"BIT", -7, Kind::truth},
    {"TINYINT", -6, Kind::integer},
    {"BIGINT", -5, Kind::integer},
    {"LONGVARBINARY", -4, Kind::text},
    {"VARBINARY", -3, Kind::text},
    {"BINARY", -2, Kind::text},
    {"LONGVARCHAR", -1, Kind::text},
    {"NULL", 0, Kind::text},
    {"CHAR", 1, Kind::text},
    {"NUMERIC", 2, Kind::decimal},
    {"DECIMAL", 3, Kind::decimal},
    {"INTEGER", 4, Kind::integer},
    {"SMALLINT", 5, Kind::integer},
    {"FLOAT", 6, Kind::decimal},
    {"REAL", 7, Kind::decimal},
    {"DOUBLE", 8, Kind::decimal},
    {"VARCHAR", 12, Kind::text},
    {"BOOLEAN", 16, Kind::truth},
    {"DATALINK", 70, Kind::text},
    {"DATE", 91, Kind::text},
    {"TIME", 92, Kind::text},
    {"TIMESTAMP", 93, Kind::text},
    {"OTHER", 1111, Kind::text},
    {"JAVA_OBJECT", 2000, Kind::text},
    {"DISTINCT", 2001, Kind::text},
    {"STRUCT", 2002, Kind::text},
    {"ARRAY", 2003, Kind::text},
    {"BLOB", 2004, Kind::text},
    {"CLOB", 2005, Kind::text},
    {"REF", 2006, Kind::text},
    {"SQLXML", 2009, Kind::text},
    {"NCLOB", 2011, Kind::text},
    {"TIME_WITH_TIMEZONE", 2013, Kind::text},
    {"TIMESTAMP_WITH_TIMEZONE", 2014, Kind::text},
};

const SqlType* find(int code) {
  for (const SqlType& type : kTypes) {
    if (type.code == code) return &type;
  }
  return nullptr;
}

/// Steps over decimal digits. @return whether there was one.
bool skipDigits(std::string_view text, std::size_t& at) {
  const std::size_t start = at;
  while (at < text.size() && std::isdigit(static_cast<unsigned char>(text[at])) != 0) ++at;
  return at > start;
}

bool skipOneOf(std::string_view characters, std::string_view text, std::size_t& at) {
  if (at >= text.size() || characters.find(text[at]) == std::string_view::npos) return false;
  ++at;
  return true;
}

}  // namespace

Kind kindOf(int type) {
  const SqlType* known = find(type);
  return known == nullptr ? Kind::text : known->kind;
}

std::string typeName(int type) {
  const SqlType* known = find(type);
  return known == nullptr ? std::to_string(type) : known->name;
}

bool isNumber(std::string_view text) {
  std::size_t at = 0;
  skipOneOf("-", text, at);
  if (!skipOneOf("0", text, at) && !skipDigits(text, at)) return false;
  if (skipOneOf(".", text, at) && !skipDigits(text, at)) return false;
  if (skipOneOf("eE", text, at)) {
    skipOneOf("+-", text, at);
    if (!skipDigits(text, at)) return false;
  }
  return at == text.size();
}

int truthOf(std::string_view text) {
  constexpr const char* kWords[][2] = {{"f", "t"}, {"false", "true"}, {"0", "1"}};
  for (const auto& pair : kWords) {
    for (int truth : {0, 1}) {
      const std::string_view word = pair[truth];
      if (text.size() == word.size() && strncasecmp(text.data(), word.data(), word.size()) == 0) return truth;
    }
  }
  return -1;
}

}  // namespace kivosql

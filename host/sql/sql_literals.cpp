#include "sql/sql_literals.h"

#include <algorithm>
#include <cctype>
#include <cstdlib>

namespace kivosql {

namespace {

constexpr const char* kZero = "-0e0";
constexpr Literals kLiterals[] = {
    {"h2", "\"", "'", "X'", "'", true, false, kZero, "json ", Dialect::standard, "", "checkpoint sync"},
    {"postgresql", "\"", "'", "decode('", "', 'hex')", false, false, "'-0'", "", Dialect::standard, "", ""},
    {"mariadb", "`", "'", "X'", "'", true, false, kZero, "", Dialect::backslash, "show create table ", ""},
    {"mysql", "`", "'", "X'", "'", true, false, kZero, "", Dialect::backslash, "show create table ", ""},
    {"sqlserver", "\"", "N'", "0x", "", false, false, kZero, "", Dialect::standard, "", ""},
    {"microsoft", "\"", "N'", "0x", "", false, false, kZero, "", Dialect::standard, "", ""},
    {"oracle", "\"", "'", "hextoraw('", "')", false, true, kZero, "", Dialect::flat, "", ""},
    {"hsqldb", "\"", "'", "X'", "'", true, false, kZero, "", Dialect::flat, "", ""},
    {"sqlite", "\"", "'", "X'", "'", true, false, kZero, "", Dialect::flat, "", ""},
};
constexpr Literals kOthers = {"", "\"", "'", "X'", "'", true, false, kZero, "", Dialect::standard, "", ""};

std::string doubled(std::string_view text, std::string_view characters) {
  std::string result;
  for (char byte : text) {
    if (characters.find(byte) != std::string_view::npos) result += byte;
    result += byte;
  }
  return result;
}

std::string quotedText(std::string_view text, const Literals& literals, Dialect dialect) {
  return literals.textOpen + doubled(text, dialect == Dialect::backslash ? "'\\" : "'") + '\'';
}

bool isHexadecimal(std::string_view text) {
  for (char digit : text) {
    if (std::isxdigit(static_cast<unsigned char>(digit)) == 0) return false;
  }
  return text.size() % 2 == 0;
}

bool isNegativeZero(std::string_view number) {
  const std::string_view digits = number.substr(0, number.find_first_of("eE"));
  return number.front() == '-' && digits.find_first_not_of("-0.") == std::string_view::npos;
}

/// The number without its exponent, for which some databases would make a floating-point one of it; empty when that
/// takes too many zeros.
std::string withoutExponent(const std::string& number) {
  constexpr long kMaxZeros = 1000;
  const std::size_t mark = number.find_first_of("eE");
  if (mark == std::string::npos) return number;
  const long exponent = std::strtol(number.c_str() + mark + 1, nullptr, 10);
  if (exponent < -kMaxZeros || exponent > kMaxZeros) return {};
  const bool negative = number.front() == '-';
  std::string digits = number.substr(negative ? 1 : 0, mark - (negative ? 1 : 0));
  const std::size_t point = digits.find('.');
  if (point != std::string::npos) digits.erase(point, 1);
  const long whole = exponent + static_cast<long>(std::min(point, digits.size()));
  if (whole < 1) digits.insert(0, static_cast<std::size_t>(1 - whole), '0');
  const auto places = static_cast<std::size_t>(std::max(whole, 1L));
  if (places > digits.size()) digits.append(places - digits.size(), '0');
  if (places < digits.size()) digits.insert(places, 1, '.');
  return (negative ? "-" : "") + digits;
}

/// The value as a number that needs no quotes; empty when it is none.
std::string bareNumber(const std::string& text, int type, const Literals& literals) {
  constexpr int kNumeric = 2;
  constexpr int kDecimal = 3;
  const Kind kind = kindOf(type);
  if ((kind != Kind::integer && kind != Kind::decimal) || !isNumber(text)) return {};
  if (kind == Kind::integer) return text.find_first_of(".eE") == std::string::npos ? text : "";
  if (type == kNumeric || type == kDecimal) return withoutExponent(text);
  return isNegativeZero(text) ? literals.negativeZero : text;
}

const char* temporalWord(Kind kind) {
  switch (kind) {
    case Kind::date:
      return "date ";
    case Kind::time:
      return "time ";
    case Kind::timestamp:
      return "timestamp ";
    default:
      return "";
  }
}

}  // namespace

const Literals& literalsFor(const std::string& url) {
  const std::string word = url.size() < 5 ? "" : url.substr(5, url.find(':', 5) - 5);
  for (const Literals& row : kLiterals) {
    if (word == row.word) return row;
  }
  return kOthers;
}

std::string quotedName(const std::string& name, const Literals& literals) {
  return literals.quote + doubled(name, literals.quote) + literals.quote;
}

std::string parameter(const Cell& value, int type) {
  const bool isBytes = kindOf(type) == Kind::binary && isHexadecimal(value.text);
  return (isBytes ? "\\x" : "") + std::string(value.text);
}

/// A number goes bare, as some databases take no text for one, but only where it can be stored as it stands; everything
/// else is quoted, and what the type cannot hold is the database's to refuse.
std::string literal(const Cell& value, const Column& column, const Literals& literals, Dialect dialect) {
  if (value.isNull) return "null";
  const Kind kind = kindOf(column.type);
  std::string text(value.text);
  if (std::string number = bareNumber(text, column.type, literals); !number.empty()) return number;
  if (kind == Kind::truth && literals.truthWords && truthOf(text) >= 0) {
    return truthOf(text) == 1 ? "true" : "false";
  }
  if (kind == Kind::binary && isHexadecimal(text)) return literals.binaryOpen + text + literals.binaryClose;
  const char* word = literals.temporalWords ? temporalWord(kind) : "";
  if (column.typeName == kJson) word = literals.jsonWord;
  return word + quotedText(text, literals, dialect);
}

}  // namespace kivosql

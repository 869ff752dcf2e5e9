#include "sql_literals.h"

#include <cctype>

namespace kivosql {

namespace {

constexpr Literals kLiterals[] = {
    {"postgresql", "\"", "'", "decode('", "', 'hex')", false, false, Dialect::standard},
    {"mariadb", "`", "'", "X'", "'", true, false, Dialect::backslash},
    {"mysql", "`", "'", "X'", "'", true, false, Dialect::backslash},
    {"sqlserver", "\"", "N'", "0x", "", false, false, Dialect::standard},
    {"microsoft", "\"", "N'", "0x", "", false, false, Dialect::standard},
    {"oracle", "\"", "'", "hextoraw('", "')", false, true, Dialect::standard},
};
constexpr Literals kOthers = {"", "\"", "'", "X'", "'", true, false, Dialect::standard};

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
std::string literal(const Cell& value, int type, const Literals& literals, Dialect dialect) {
  if (value.isNull) return "null";
  const Kind kind = kindOf(type);
  std::string text(value.text);
  const bool isWhole = text.find_first_of(".eE") == std::string::npos;
  if ((kind == Kind::decimal || (kind == Kind::integer && isWhole)) && isNumber(text)) return text;
  if (kind == Kind::truth && literals.truthWords && truthOf(text) >= 0) {
    return truthOf(text) == 1 ? "true" : "false";
  }
  if (kind == Kind::binary && isHexadecimal(text)) return literals.binaryOpen + text + literals.binaryClose;
  const char* word = literals.temporalWords ? temporalWord(kind) : "";
  return word + quotedText(text, literals, dialect);
}

}  // namespace kivosql

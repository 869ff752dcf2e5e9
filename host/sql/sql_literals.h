#pragma once

#include <string>

#include "session/session.h"
#include "sql/statement_splitter.h"

namespace kivosql {

/// How a database wants values and names written.
struct Literals {
  const char* word;          ///< of the URL, between "jdbc:" and the next colon
  const char* quote;         ///< around names
  const char* textOpen;      ///< before a text
  const char* binaryOpen;    ///< before hexadecimal digits
  const char* binaryClose;   ///< after them
  bool truthWords;           ///< true and false are words
  bool temporalWords;        ///< a date needs the word before it
  const char* negativeZero;  ///< for a column of floating point: a bare -0 is the integer 0
  const char* jsonWord;      ///< before a JSON text, where one without it is a mere string; else empty
  Dialect dialect;           ///< until the database has answered
  const char* definition;    ///< asks for a table's definition, where that may be without transactions; else empty
  const char* sync;          ///< has commits written to disk, where a commit does not wait for that; else empty
};

/// The name of the type of a JSON column, where it matters; java.sql.Types has no code for it.
constexpr const char* kJson = "JSON";

/// The row for a URL.
const Literals& literalsFor(const std::string& url);

/// A name exactly as the database has it.
std::string quotedName(const std::string& name, const Literals& literals);

/// The text that a value's literal has between its quotes, for a database that takes it as a parameter.
/// @param type a code of java.sql.Types
std::string parameter(const Cell& value, int type);

/// A value for a column of the given type. Whatever it holds, it is one literal to a database that reads quotes by
/// @p dialect.
std::string literal(const Cell& value, const Column& column, const Literals& literals, Dialect dialect);

}  // namespace kivosql

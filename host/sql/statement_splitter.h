#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace kivosql {

/// How a database's SQL is read.
enum class Dialect {
  standard,
  flat,       ///< the same, but block comments do not nest
  backslash,  ///< MySQL's family: a backslash escapes in quotes, "--" needs a blank after it, "#" begins a comment
              ///< and "/*!" code, block comments do not nest
};

/// Whether the byte belongs to a word. Bytes beyond ASCII belong to letters of any script.
bool isWordByte(char byte);

/// @param url a JDBC URL
Dialect dialectOf(std::string_view url);

struct Statement {
  std::string_view text;  ///< without the semicolon
  std::size_t line = 0;   ///< where it begins, counted from 1
  bool complete = true;   ///< false when a quote or comment in it never ends
};

/// Splits a script at the semicolons outside quotes, dollar quotes and comments. Blanks and comments alone are not a
/// statement. @param script outlives the statements.
std::vector<Statement> splitStatements(std::string_view script, Dialect dialect);

}  // namespace kivosql

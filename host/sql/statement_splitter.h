#pragma once

#include <cstddef>
#include <string_view>

namespace kivosql {

/// How a database's SQL is read.
enum class Dialect {
  standard,
  flat,       ///< the same, but block comments do not nest
  backslash,  ///< MySQL's family: a backslash escapes in quotes, "--" needs a blank after it, "#" begins a comment
              ///< and "/*!" code, block comments do not nest
};

/// @param url a JDBC URL
Dialect dialectOf(std::string_view url);

struct Statement {
  std::string_view text;  ///< without the semicolon
  std::size_t line = 0;   ///< where it begins, counted from 1
  bool complete = true;   ///< false when a quote or comment in it never ends
};

/// Splits a script at the semicolons outside quotes, dollar quotes and comments.
class StatementSplitter {
 public:
  /// @param script outlives the splitter and its statements.
  StatementSplitter(std::string_view script, Dialect dialect) : script_(script), dialect_(dialect) {}

  /// @return false after the last statement. Blanks and comments alone are not a statement.
  bool next(Statement& statement);

 private:
  std::string_view script_;
  Dialect dialect_;
  std::size_t at_ = 0;
  std::size_t line_ = 1;
};

/// Whether the statement returns rows, judged by its words.
bool givesRows(std::string_view statement, Dialect dialect);

/// Whether the statement begins or ends a transaction.
bool controlsTransaction(std::string_view statement);

}  // namespace kivosql

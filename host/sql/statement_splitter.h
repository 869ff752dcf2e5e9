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

/// Cuts a script at its semicolons, those in quotes, dollar quotes and comments aside. Pure text: knows no database.
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

/// Whether the statement is one that gives rows, by its leading words.
bool givesRows(std::string_view statement, Dialect dialect);

/// Whether a transaction begun in SQL is open after a statement that succeeded. @param open whether one was before
bool leavesTransaction(std::string_view statement, bool open);

}  // namespace kivosql

#pragma once

#include <cstdint>

#include "jdbcWrapper.h"
#include "session/block_rows.h"

namespace kivosql {

/// Stores rows of text in one table, many at once. The companion jar does the work.
class RowLoader {
 public:
  /// @param loader the jar's RowLoader, a local reference of this thread, which returns to no Java code
  RowLoader(jdbcWrapper& database, jobject loader) : database_(database), loader_(loader) {}

  /// Adds a value to the rows that are not stored yet.
  void add(const Cell& value);
  std::size_t bytes() const { return text_.size() + ends_.size() * sizeof(ends_[0]); }

  /// Stores the added rows as one transaction, and is empty again. After a failure none is stored, unless the table
  /// cannot undo rows or the connection is broken.
  void store();

  /// Finds the row for which store() has just failed: stores the rows one by one and undoes them. Only for a table that
  /// can. @param why receives that row's failure. @return counted from 0; nothing if it is unknown.
  std::optional<std::size_t> failedRow(Failure& why);

  /// Makes the database write what is stored to disk, if a commit does not wait for that.
  void sync();

  /// Whether the table can undo rows.
  bool undoes() { return call<bool>(database_.env, loader_, "undoes", "()Z") == true; }

 private:
  template <typename Result>
  std::optional<Result> callWithRows(const char* method, const char* signature);

  jdbcWrapper& database_;
  jobject loader_;
  std::vector<std::int32_t> ends_;  ///< where each value's text ends; the complement for NULL
  std::string text_;                ///< the values, one after the other
};

/// Any JDBC driver, errors as text; it streams large results by itself.
class WrapperSession : public Session {
 public:
  std::vector<Column> query(const std::string& sql, int maxRows, int blockRows) override;
  bool next(Row& row) override { return rows_.next(row); }
  WrapperSession* writing() override { return this; }
  bool cancel() override { return cancelInJava(database_.utilitiesObject); }
  bool isBroken() override { return isBrokenInJava(database_.env, database_.utilitiesObject); }
  void close() override { check(database_.closeConnection()); }

  /// Runs a statement that gives no rows. @return how many it changed
  int update(const std::string& sql);

  /// Runs any statement. @return how many rows it changed; nothing if it gives rows, which are then a query's
  std::optional<int> execute(const std::string& sql, int maxRows, int blockRows, std::vector<Column>& columns);

  /// Begins a transaction that includes all that follows, loaded rows too.
  void beginTransaction() { transact("beginTransaction"); }

  /// A refused commit must be followed by a rollback. A rollback fails if something is known to stay stored.
  void endTransaction(bool commit) { transact(commit ? "commitTransaction" : "rollbackTransaction"); }

  /// @param table its name as it stands in SQL. @param columns those to fill, with their exact names
  RowLoader loader(const std::string& table, const std::vector<Column>& columns);

 private:
  bool connect(Target& java) override;
  bool list(std::vector<std::string>& tables) override { return database_.getTables(tables); }
  std::string typeName(int column) override { return typeNameOf(database_.env, database_.utilitiesObject, column); }
  void check(bool worked) override;
  std::vector<Column> readRows(int blockRows);
  void transact(const char* method);

  jdbcWrapper database_;
  BlockRows rows_;  ///< of the last query; destroyed before the database
};

}  // namespace kivosql
